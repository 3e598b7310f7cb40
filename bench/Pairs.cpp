#include "bench/Pairs.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <stdexcept>
#include <vector>

namespace bench {

namespace {

/// The value that the given share of the values is not above, between two neighbours in proportion.
double quantile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    const double place = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
}

std::string textOf(const std::optional<Limit>& limit)
{
    if (!limit) {
        return "";
    }
    std::string number = std::to_string(limit->ratio);
    number.resize(number.find('.') + 3);
    return (limit->kind == Limit::Kind::atMost ? "at most " : "at least ") + number;
}

} // namespace

double processorSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

Pairs::Pairs(int argc, char** argv) : Pairs(argc > 1 ? std::atoi(argv[1]) : 0, argc > 2 ? argv[2] : "")
{
}

Pairs::Pairs(int pairs, std::string wanted) : _pairs(pairs), _wanted(std::move(wanted))
{
    if (_pairs < 1) {
        throw std::invalid_argument("usage: PROGRAM PAIRS [TEXT IN THE TITLE]");
    }
}

void Pairs::compare(const std::string& title, const Measurement& measured, const std::string& beside,
                    const Measurement& yardstick, const std::optional<Limit>& limit) const
{
    if (title.find(_wanted) == std::string::npos) {
        return;
    }
    // The first pair finds out how many calls are enough, and warms the caches.
    measured();
    yardstick();
    std::vector<double> measuredTimes;
    std::vector<double> yardstickTimes;
    std::vector<double> ratios;
    for (int pair = 0; pair < _pairs; ++pair) {
        const bool measuredFirst = pair % 2 == 0;
        const double first = measuredFirst ? measured() : yardstick();
        const double second = measuredFirst ? yardstick() : measured();
        measuredTimes.push_back(measuredFirst ? first : second);
        yardstickTimes.push_back(measuredFirst ? second : first);
        ratios.push_back(measuredTimes.back() / yardstickTimes.back());
    }
    std::cout << title << '\t' << beside << '\t' << textOf(limit) << '\t' << quantile(measuredTimes, 0.5) << '\t'
              << quantile(yardstickTimes, 0.5) << '\t' << quantile(ratios, 0.25) << '\t' << quantile(ratios, 0.5)
              << '\t' << quantile(ratios, 0.75) << std::endl;
}

} // namespace bench
