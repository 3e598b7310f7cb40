#include "camera/framework/PluginRegistry.h"

namespace camera::framework {

PluginRegistry& PluginRegistry::instance()
{
    // Made at the first registration, which may come from a static object of any order; never destroyed.
    static PluginRegistry& registry = *new PluginRegistry;
    return registry;
}

void PluginRegistry::add(const std::string& name, Factory factory)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _entries.push_back({name, factory});
}

std::size_t PluginRegistry::size() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _entries.size();
}

std::vector<PluginRegistry::Entry> PluginRegistry::since(std::size_t from) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (from >= _entries.size()) {
        return {};
    }
    return {_entries.begin() + static_cast<std::ptrdiff_t>(from), _entries.end()};
}

} // namespace camera::framework

namespace korva::meridan {

void PluginManager::RegisterPlugin(const std::string& name, Factory factory)
{
    camera::framework::PluginRegistry::instance().add(name, factory);
}

} // namespace korva::meridan
