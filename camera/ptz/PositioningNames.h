#pragma once

#include "camera/ptz/Position.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace camera::ptz {

constexpr std::size_t kLongestName = 128;
constexpr std::size_t kMostPresets = 256;
constexpr std::size_t kMostTours = 64;
constexpr std::size_t kMostStops = 64;
constexpr std::chrono::milliseconds kLongestDwell{24 * 3600 * 1000};

/// What is wrong with the name of a preset or a tour, as one sentence; empty: nothing.
std::string nameProblem(const std::string& name);

/// What is wrong with a tour's stops, whether or not their presets exist.
std::string tourProblem(const Tour& tour);

/// The preset or tour of that name in a list; null when there is none.
template <class List>
auto findNamed(List& list, const std::string& name) -> decltype(list.data())
{
    const auto found = std::find_if(list.begin(), list.end(), [&](const auto& entry) { return entry.name == name; });
    return found == list.end() ? nullptr : &*found;
}

} // namespace camera::ptz
