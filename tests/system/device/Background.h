#pragma once

#include "system/cli/Program.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace camera::system_tests {

// Far more than anything here takes: it ends what hangs, it measures nothing.
inline constexpr std::chrono::seconds kPatience(60);

/// Whether the condition came true before the patience ended.
bool eventually(const std::function<bool()>& condition);

/// A process beside the test whose output goes to files. It is asked to end with the object, or when the test dies;
/// one that does not is killed.
class Background {
public:
    /// Both outputs go to out when err is empty.
    Background(const Words& words, const std::string& out, const std::string& err = "");
    ~Background();
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    pid_t id() const { return _id; }
    bool runs();
    void signal(int number) const;

    /// Its exit code once it has ended, -1 for a signal; nothing when the patience ended before.
    std::optional<int> exitCode();

private:
    void collect(int options);

    pid_t _id = -1;
    std::optional<int> _code;
};

} // namespace camera::system_tests
