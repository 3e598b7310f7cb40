#include "host-seam/Journal.h"

#include <algorithm>

namespace host_seam {

namespace {

bool contains(std::initializer_list<Part> parts, Part part)
{
    return std::find(parts.begin(), parts.end(), part) != parts.end();
}

} // namespace

void Journal::append(Part part, std::string text, std::string format)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _entries.push_back({part, std::move(text), std::move(format)});
}

void Journal::clear()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _entries.clear();
}

template <typename Wanted>
std::vector<std::string> Journal::select(Wanted wanted) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::vector<std::string> texts;
    for (const Entry& entry : _entries) {
        if (wanted(entry)) {
            texts.push_back(entry.text);
        }
    }
    return texts;
}

std::vector<std::string> Journal::formats() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::vector<std::string> formats;
    for (const Entry& entry : _entries) {
        if (entry.part == Part::Log) {
            formats.push_back(entry.format);
        }
    }
    return formats;
}

std::vector<std::string> Journal::all() const
{
    return select([](const Entry&) { return true; });
}

std::vector<std::string> Journal::of(std::initializer_list<Part> parts) const
{
    return select([&](const Entry& entry) { return contains(parts, entry.part); });
}

std::vector<std::string> Journal::except(std::initializer_list<Part> parts) const
{
    return select([&](const Entry& entry) { return !contains(parts, entry.part); });
}

std::vector<std::string> Journal::startingWith(const std::string& prefix) const
{
    return select([&](const Entry& entry) { return entry.text.compare(0, prefix.size(), prefix) == 0; });
}

std::size_t Journal::count(const std::string& text) const
{
    return select([&](const Entry& entry) { return entry.text == text; }).size();
}

std::string Journal::dump() const
{
    std::string lines;
    for (const std::string& entry : all()) {
        lines += "  " + entry + "\n";
    }
    return lines;
}

} // namespace host_seam
