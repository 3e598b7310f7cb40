#pragma once

#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>

namespace camera::base {

/**
 * The program's output: lines on one stream; errors, log and progress on the other, where on a terminal the progress is
 * one status line below, which is replaced in place. Thread-safe.
 */
class Console {
public:
    /// @param out lines, @param err refusals, log and status; both borrowed.
    Console(std::FILE* out, std::FILE* err);
    ~Console() { clearStatus(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void line(const std::string& text);
    void error(const std::string& text);

    /// Text with its line break, as the log writes it.
    void log(const std::string& text);

    /// Replaces the status line; when err is not a terminal, prints a line every ten seconds instead.
    void status(const std::string& text, std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now());
    void clearStatus();

    /// Whether lines could be written so far: false after a full disk or a closed pipe.
    bool writable() const;

    /// Whether that is because nobody reads them any more: a closed pipe.
    bool readerGone() const;

private:
    void print(std::FILE* stream, const std::string& text);
    void eraseStatus();
    void drawStatus();

    std::FILE* const _out;
    std::FILE* const _err;
    const bool _onTerminal;
    mutable std::mutex _mutex;
    bool _readerGone = false;
    std::string _status;                                  ///< the line that a terminal shows
    std::chrono::steady_clock::time_point _lastQuietLine; ///< of a status, where err is not a terminal
};

} // namespace camera::base
