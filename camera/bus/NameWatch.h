#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace camera::bus {

/// Follows whether bus names have an owner. Lives on the bus thread.
class NameWatch {
public:
    /// Called on the bus thread: once for each name as it is found, then when its owner changes.
    using Changed = std::function<void(const std::string& name, bool owned)>;

    NameWatch(sdbus::IConnection& connection, std::vector<std::string> names, Changed changed);

private:
    const std::vector<std::string> _names;
    const Changed _changed;
    const std::unique_ptr<sdbus::IProxy> _proxy;
};

} // namespace camera::bus
