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

Activity::Scope::Scope(Kind kind, const Label& label, Clock::time_point now)
    : _slot(instance().slot(kind)), _depth(_slot.depth.load(std::memory_order_relaxed))
{
    _slot.write(_depth, label);
    _slot.depth.store(_depth + 1, std::memory_order_release);
    if (_depth == 0) {
        _slot.since.store(now.time_since_epoch().count(), std::memory_order_release);
    }
}

Activity::Scope::Scope(Kind kind, const Label& label, const Label& afterwards) : Scope(kind, label)
{
    if (_depth != 0) {
        _slot.write(_depth - 1, afterwards);
    }
}

Activity::Scope::~Scope()
{
    if (_depth == 0) {
        _slot.since.store(0, std::memory_order_release);
    }
    _slot.depth.store(_depth, std::memory_order_release);
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
        each.depth = 0;
    }
    _page->frames = 0;
    _page->shutDown = false;
}

void Activity::Slot::write(std::size_t scope, const Label& label)
{
    auto& words = labels[std::min(scope, kLabels - 1)];
    for (std::size_t i = 0; i < Label::kWords; ++i) {
        words[i].store(label._words[i], std::memory_order_relaxed);
    }
}

Activity::Label Activity::Slot::read(std::size_t scope) const
{
    const auto& words = labels[std::min(scope, kLabels - 1)];
    Label label("");
    for (std::size_t i = 0; i < Label::kWords; ++i) {
        label._words[i] = words[i].load(std::memory_order_relaxed);
    }
    return label;
}

std::optional<Activity::Doing> Activity::doing(Kind kind) const
{
    const std::int64_t since = slot(kind).since.load(std::memory_order_acquire);
    const std::size_t depth = slot(kind).depth.load(std::memory_order_acquire);
    if (since == 0 || depth == 0) {
        return std::nullopt;
    }
    std::array<char, sizeof(Label::_words) + 1> text{};
    const Label label = slot(kind).read(depth - 1);
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
