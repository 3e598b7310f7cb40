#include "camera/base/Console.h"

#include "camera/base/Log.h"
#include "camera/base/Text.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <unistd.h>

namespace camera::base {

namespace {

constexpr std::chrono::seconds kQuietInterval(10);

std::size_t columnsOf(std::FILE* stream)
{
    winsize size{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col < 20) {
        return 79;
    }
    return static_cast<std::size_t>(size.ws_col - 1);
}

} // namespace

Console::Console(std::FILE* out, std::FILE* err)
    : _out(out), _err(err), _onTerminal(isatty(fileno(err)) != 0), _lastQuietLine(std::chrono::steady_clock::now())
{
}

void Console::print(std::FILE* stream, const std::string& text)
{
    eraseStatus();
    const bool written = std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
    _readerGone = _readerGone || (!written && stream == _out && errno == EPIPE);
    drawStatus();
}

void Console::line(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    print(_out, text + "\n");
}

void Console::error(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    // Exceptions of all folders come here; their sentences get a full stop when they have none.
    const bool ended = !text.empty() && text.back() == '.';
    const std::string sentence = text + (ended ? "" : ".");
    const Log& log = Log::instance();
    print(_err, log.format() == LogFormat::json ? log.lineOf(LogLevel::error, "camera", sentence)
                                                : "camera: " + printable(sentence) + "\n");
}

void Console::log(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    print(_err, text);
}

void Console::status(const std::string& text, std::chrono::steady_clock::time_point now)
{
    if (Log::instance().format() == LogFormat::json) {
        return; // who reads the stream as JSON finds nothing else there
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_onTerminal) {
        eraseStatus();
        _status = text.substr(0, columnsOf(_err));
        drawStatus();
        return;
    }
    if (now - _lastQuietLine >= kQuietInterval) {
        _lastQuietLine = now;
        print(_err, text + "\n");
    }
}

void Console::clearStatus()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    eraseStatus();
    _status.clear();
}

bool Console::writable() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return std::ferror(_out) == 0;
}

bool Console::readerGone() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _readerGone;
}

void Console::eraseStatus()
{
    if (_onTerminal && !_status.empty()) {
        std::fputs("\r\x1b[K", _err);
        std::fflush(_err);
    }
}

void Console::drawStatus()
{
    if (_onTerminal && !_status.empty()) {
        std::fputs(_status.c_str(), _err);
        std::fflush(_err);
    }
}

} // namespace camera::base
