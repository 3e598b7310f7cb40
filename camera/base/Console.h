#pragma once

#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>

namespace camera::base {

/**
 * Where the program speaks: lines, and on a terminal one live status line below them, which every other
 * line moves down. Thread-safe.
 */
class Console {
public:
    /// @param out lines and status, @param err refusals and log; both borrowed.
    Console(std::FILE* out, std::FILE* err);
    ~Console() { clearStatus(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void line(const std::string& text);
    void error(const std::string& text);

    /// Text with its line break, as the log writes it.
    void log(const std::string& text);

    /// Replaces the status line; where out is no terminal, prints a line every ten seconds instead.
    void status(const std::string& text);
    void clearStatus();

    /// Whether lines could be written so far: a full disk or a closed pipe behind out shows here.
    bool writable() const;

private:
    void print(std::FILE* stream, const std::string& text);
    void eraseStatus();
    void drawStatus();

    std::FILE* out;
    std::FILE* err;
    const bool live;
    mutable std::mutex mutex;
    std::string shown;
    std::chrono::steady_clock::time_point lastQuietLine;
};

} // namespace camera::base
