#pragma once

#include "camera/base/Activity.h"

#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace camera::supervisor {

/**
 * Decides which processes hang, from what is seen of them at each look.
 *
 * A process whose bus thread does not answer is to be killed, unless it is traced or stopped: somebody holds it on
 * purpose, which is told once. An engine that has a frame or an operation for long is told once, and its process is to
 * be killed only when that was asked for. Time during which a process was held, or during which nobody looked, because
 * the supervisor itself was stopped, counts for nothing. Thread-bound.
 */
class Watchdog {
public:
    using Clock = std::chrono::steady_clock;

    struct Options {
        std::chrono::milliseconds silence{10000}; ///< told after so long; 0: nothing is watched but what follows
        std::chrono::milliseconds frames{0};      ///< a frame or an operation that takes longer is ended; 0: never
    };

    /// One of the processes.
    struct Seen {
        std::string name;
        pid_t pid = 0;                            ///< 0: it does not run
        std::optional<Clock::time_point> askedAt; ///< the question that it owes an answer to
        const base::Activity* activity = nullptr; ///< what its engines do; null: it has none
        bool carriesAnswers = false;              ///< the others answer through it
    };

    struct Finding {
        std::string name;
        std::string sentence;
        bool kill = false;
    };

    /// Says by whom a process is held, "traced by process 7" for instance; empty: by nobody.
    using Held = std::function<std::string(pid_t)>;

    explicit Watchdog(Options options, Held held = heldInKernel);

    bool watches() const { return _options.silence.count() != 0 || _options.frames.count() != 0; }

    /// How long to wait between two looks.
    std::chrono::milliseconds interval() const;

    std::vector<Finding> look(Clock::time_point now, const std::vector<Seen>& processes);

    /// What /proc tells.
    static std::string heldInKernel(pid_t pid);

private:
    struct Known {
        pid_t pid = 0;
        Clock::time_point countsFrom; ///< earlier time is not counted
        std::optional<Clock::time_point> heldSince;
        bool holderTold = false;
        std::array<Clock::time_point, 2> told; ///< the operation that was told, by its begin
    };

    bool isHeld(const Seen& seen, Known& known, Clock::time_point now, std::vector<Finding>& findings) const;
    void judgeEngines(const Seen& seen, Known& known, Clock::time_point now, std::vector<Finding>& findings) const;

    const Options _options;
    const Held _held;
    std::map<std::string, Known> _known;
    std::optional<Clock::time_point> _lastLook;
};

} // namespace camera::supervisor
