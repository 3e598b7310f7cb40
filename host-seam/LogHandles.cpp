#include "host-seam/LogHandles.h"

namespace host_seam {

void* LogHandles::add()
{
    _handles.push_back({true});
    return &_handles.back();
}

void* LogHandles::standing() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _standing;
}

void* LogHandles::open()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return add();
}

bool LogHandles::close(void* handle)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    for (Handle& known : _handles) {
        if (&known == handle && known.open) {
            known.open = false;
            return true;
        }
    }
    return false;
}

bool LogHandles::isOpen(const void* handle) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    for (const Handle& known : _handles) {
        if (&known == handle) {
            return known.open;
        }
    }
    return false;
}

void LogHandles::reset()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    for (Handle& known : _handles) {
        known.open = false;
    }
    _standing = add();
}

LogHandles& logHandles()
{
    static auto* const handles = new LogHandles;
    return *handles;
}

} // namespace host_seam
