#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace camera::ravel {

/// The device's integer configuration values. Thread-safe.
class Configuration {
public:
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
};

} // namespace camera::ravel
