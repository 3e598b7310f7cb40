#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace bench {

/// Measures once: the seconds that one unit of the work takes.
using Measurement = std::function<double()>;

/// Seconds of this process's processor time so far.
double processorSeconds();

/// The compiler must take the value for read and all memory for changed.
template <typename Value>
void keep(const Value& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

/// Processor time of one call of work. Each measurement makes as many calls as take some milliseconds, so that the
/// clock's own steps do not show.
template <typename Work>
Measurement timed(Work work)
{
    return [work = std::move(work), calls = 1L]() mutable {
        constexpr double kEnough = 0.01;
        for (;; calls *= 2) {
            const double begin = processorSeconds();
            for (long call = 0; call < calls; ++call) {
                work();
            }
            const double seconds = processorSeconds() - begin;
            if (seconds >= kEnough) {
                return seconds / static_cast<double>(calls);
            }
        }
    };
}

/// What the ratio of a row must keep to.
struct Limit {
    enum class Kind { atMost, atLeast } kind;
    double ratio;
};

constexpr Limit atMost(double ratio)
{
    return {Limit::Kind::atMost, ratio};
}

constexpr Limit atLeast(double ratio)
{
    return {Limit::Kind::atLeast, ratio};
}

/**
 * Measures a thing and its yardstick in turns: one measurement of the one and at once one of the other, the order
 * changing from pair to pair. Each pair gives a ratio, so that what slows the machine for longer than a pair
 * slows both sides of it.
 *
 * Prints one line for each row, for scripts/bench: title, what it stands beside, limit, median of each side in seconds,
 * and the ratios' first quartile, median and third quartile, separated by tabs.
 */
class Pairs {
public:
    /// Arguments of the program: how many pairs, and optionally a text that the titles of the wanted rows contain.
    Pairs(int argc, char** argv);
    Pairs(int pairs, std::string wanted);

    void compare(const std::string& title, const Measurement& measured, const std::string& beside,
                 const Measurement& yardstick, const std::optional<Limit>& limit = {}) const;

private:
    int _pairs;
    std::string _wanted;
};

} // namespace bench
