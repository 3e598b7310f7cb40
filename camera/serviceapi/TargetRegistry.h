#pragma once

#include <functional>
#include <map>
#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

namespace camera::serviceapi {

/// Which targets are served under which service name. Look-ups are answered from memory, without
/// waiting for any service. Thread-safe.
class TargetRegistry {
public:
    /// The ids of a service's targets; nothing when nobody serves that name.
    std::optional<std::vector<std::string>> ids(const std::string& service) const;

    /// The service is known from now on, with these targets; replaces what was known.
    void add(const std::string& service, std::vector<std::string> ids);
    void remove(const std::string& service);

private:
    mutable std::shared_mutex _mutex;
    std::map<std::string, std::vector<std::string>> _services;
};

} // namespace camera::serviceapi
