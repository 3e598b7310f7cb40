#include "camera/base/Console.h"

#include "camera/base/PrintableText.h"

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
    : out(out), err(err), live(isatty(fileno(out)) != 0), lastQuietLine(std::chrono::steady_clock::now())
{
}

void Console::print(std::FILE* stream, const std::string& text)
{
    eraseStatus();
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
    drawStatus();
}

void Console::line(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(mutex);
    print(out, text + "\n");
}

void Console::error(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(mutex);
    // Sentences come from every folder of the program; here all of them get their full stop.
    const bool ended = !text.empty() && text.back() == '.';
    print(err, "camera: " + printable(text) + (ended ? "\n" : ".\n"));
}

void Console::log(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(mutex);
    print(err, text);
}

void Console::status(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (live) {
        eraseStatus();
        shown = text.substr(0, columnsOf(out));
        drawStatus();
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - lastQuietLine >= kQuietInterval) {
        lastQuietLine = now;
        print(out, text + "\n");
    }
}

void Console::clearStatus()
{
    const std::lock_guard<std::mutex> lock(mutex);
    eraseStatus();
    shown.clear();
}

bool Console::writable() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return std::ferror(out) == 0;
}

void Console::eraseStatus()
{
    if (live && !shown.empty()) {
        std::fputs("\r\x1b[K", out);
        std::fflush(out);
    }
}

void Console::drawStatus()
{
    if (live && !shown.empty()) {
        std::fputs(shown.c_str(), out);
        std::fflush(out);
    }
}

} // namespace camera::base
