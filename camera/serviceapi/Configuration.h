#pragma once

#include "camera/serviceapi/RemoteServices.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace camera::serviceapi {

/// The device's integer configuration values. Thread-safe.
class Configuration {
public:
    /// The values live elsewhere: reads go to remote, until it has gone.
    void ask(const std::shared_ptr<RemoteServices>& remote);

    /// Reads a value; it is left as it is when the status is not 0.
    ravel_core_status read(const std::string& key, int& value) const;

    void set(const std::string& key, int value);
    void remove(const std::string& key);
    std::optional<int> get(const std::string& key) const;

    /// From now on every read fails, or no longer does.
    void fail(bool failing);
    bool fails() const;

private:
    mutable std::mutex _mutex;
    std::map<std::string, int> _values;
    bool _failing = false;
    std::weak_ptr<RemoteServices> _remote;
};

} // namespace camera::serviceapi
