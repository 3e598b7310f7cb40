#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

namespace camera::onvif {

/**
 * How many messages of strangers are answered: some at once, then one after the other with a pause, for each sender
 * and for all together. Who sends more gets no answer, and costs the others none as long as all together are few.
 *
 * Thread-bound.
 */
class SenderRate {
public:
    using Clock = std::chrono::steady_clock;

    /// So many at once, and another one for each pause that has gone by.
    struct Limit {
        int atOnce;
        std::chrono::milliseconds pause;
    };

    SenderRate(Limit ofSender, Limit ofAll) : _ofSender(ofSender), _ofAll(ofAll) {}

    /// Whether a message of the sender is answered now; it then counts.
    bool takes(const std::string& sender, Clock::time_point now);

    /// How many senders are remembered: those that have sent too lately to be treated as new ones.
    std::size_t size() const { return _paidUntil.size(); }

private:
    void forget(Clock::time_point now);

    Limit _ofSender;
    Limit _ofAll;
    std::map<std::string, Clock::time_point> _paidUntil; ///< when the pauses of its messages have gone by
    Clock::time_point _allPaidUntil;
};

} // namespace camera::onvif
