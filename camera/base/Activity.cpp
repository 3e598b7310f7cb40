#include "camera/base/Activity.h"

#include "camera/base/MappedFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace camera::base {

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

Activity::Label::Label(const std::string& text)
{
    std::memcpy(_words.data(), text.data(), std::min(text.size(), sizeof _words - 1));
}

Activity::Scope::Scope(Kind kind, const Label& label)
    : _kind(kind), _since(instance().slot(kind).since.load(std::memory_order_relaxed)), _outer(instance().read(kind))
{
    instance().write(kind, label);
    if (_since == 0) {
        instance().slot(kind).since.store(Clock::now().time_since_epoch().count(), std::memory_order_release);
    }
}

Activity::Scope::~Scope()
{
    instance().slot(_kind).since.store(_since == 0 ? 0 : instance().slot(_kind).since.load());
    instance().write(_kind, _outer);
}

Activity& Activity::instance()
{
    static Activity activity;
    return activity;
}

void Activity::map(const std::filesystem::path& file, int flags)
{
    const std::shared_ptr<Page> page = mapFile<Page>(file, flags);
    if (!page) {
        throw std::runtime_error("the file '" + file.string() + "' cannot be used: " + std::strerror(errno) +
                                 "; make room on the disk");
    }
    _page = page;
}

void Activity::create(const std::filesystem::path& file)
{
    map(file, O_CREAT);
    clear();
}

void Activity::share(const std::filesystem::path& file)
{
    map(file, 0);
}

void Activity::clear()
{
    for (Slot& each : _page->slots) {
        each.since = 0;
    }
    _page->frames = 0;
    _page->shutDown = false;
}

void Activity::write(Kind kind, const Label& label)
{
    Slot& written = slot(kind);
    for (std::size_t i = 0; i < Label::kWords; ++i) {
        written.words[i].store(label._words[i], std::memory_order_relaxed);
    }
}

Activity::Label Activity::read(Kind kind) const
{
    Label label("");
    for (std::size_t i = 0; i < Label::kWords; ++i) {
        label._words[i] = slot(kind).words[i].load(std::memory_order_relaxed);
    }
    return label;
}

std::optional<Activity::Doing> Activity::doing(Kind kind) const
{
    const std::int64_t since = slot(kind).since.load(std::memory_order_acquire);
    if (since == 0) {
        return std::nullopt;
    }
    std::array<char, sizeof(Label::_words) + 1> text{};
    const Label label = read(kind);
    std::memcpy(text.data(), label._words.data(), sizeof label._words);
    return Doing{text.data(), Clock::time_point(Clock::duration(since))};
}

std::string Activity::text() const
{
    std::string text;
    for (const Kind kind : {Kind::frame, Kind::control}) {
        if (const auto now = doing(kind)) {
            text += (text.empty() ? " during " : " and ") + now->what;
        }
    }
    return text;
}

void Activity::addFrame()
{
    _page->frames.fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t Activity::frames() const
{
    return _page->frames.load(std::memory_order_relaxed);
}

} // namespace camera::base
