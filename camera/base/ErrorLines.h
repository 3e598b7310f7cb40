#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace camera::base {

/**
 * The texts of the error lines that the current thread logs while the object lives, in their order, one printable line
 * each. The level of the log does not matter. Objects nest: a line is in each of them.
 *
 * Thread-bound; the object made last ends first.
 */
class ErrorLines {
public:
    /// Later lines are left out.
    static constexpr std::size_t kMost = 64;

    ErrorLines();
    ~ErrorLines();
    ErrorLines(const ErrorLines&) = delete;
    ErrorLines& operator=(const ErrorLines&) = delete;

    const std::vector<std::string>& texts() const { return _texts; }

    /// For the log: whether an object of the current thread takes lines, and one line for it.
    static bool wanted();
    static void add(const std::string& text);

private:
    ErrorLines* const _outer;
    std::vector<std::string> _texts;
};

} // namespace camera::base
