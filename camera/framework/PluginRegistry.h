#pragma once

#include "korva/meridan/PluginManager.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace camera::framework {

/// Every factory that a loaded module registered, in the order of registration. Lives as long as the
/// process. Thread-safe.
class PluginRegistry {
public:
    using Factory = korva::meridan::PluginManager::Factory;
    struct Entry {
        std::string name;
        Factory factory = nullptr;
    };

    static PluginRegistry& instance();

    void add(const std::string& name, Factory factory);
    std::size_t size() const;

    /// What was registered after the first `from` entries.
    std::vector<Entry> since(std::size_t from) const;

private:
    PluginRegistry() = default;

    mutable std::mutex _mutex;
    std::vector<Entry> _entries;
};

} // namespace camera::framework
