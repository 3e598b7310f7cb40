#include "camera/supervisor/Watchdog.h"

#include <algorithm>
#include <fstream>
#include <utility>

namespace camera::supervisor {

namespace {

using base::Activity;

// A look that comes so much too late: the supervisor was stopped, or the machine was too busy to judge anybody.
constexpr std::chrono::seconds kLate(2);

std::string seconds(std::chrono::nanoseconds time)
{
    const auto tenths = std::chrono::duration_cast<std::chrono::milliseconds>(time).count() / 100;
    return std::to_string(tenths / 10) + (tenths % 10 == 0 ? "" : "." + std::to_string(tenths % 10)) + " s";
}

} // namespace

Watchdog::Watchdog(Options options, Held held) : _options(options), _held(std::move(held))
{
}

std::chrono::milliseconds Watchdog::interval() const
{
    using std::chrono::milliseconds;
    const milliseconds shortest = _options.silence.count() == 0  ? _options.frames
                                  : _options.frames.count() == 0 ? _options.silence
                                                                 : std::min(_options.silence, _options.frames);
    return std::clamp(shortest / 5, milliseconds(20), milliseconds(1000));
}

std::vector<Watchdog::Finding> Watchdog::look(Clock::time_point now, const std::vector<Seen>& processes)
{
    const bool late = _lastLook && now - *_lastLook > interval() + kLate;
    _lastLook = now;
    std::vector<Finding> findings;
    // A bus that is slow or held makes all others silent.
    const bool answersArrive = std::none_of(processes.begin(), processes.end(), [&](const Seen& seen) {
        return seen.carriesAnswers && (seen.pid == 0 || (seen.askedAt && now - *seen.askedAt > interval() * 2));
    });
    for (const Seen& seen : processes) {
        Known& known = _known[seen.name];
        if (known.pid != seen.pid) {
            known = Known();
            known.pid = seen.pid;
            known.countsFrom = now;
        } else if (late) {
            known.countsFrom = now;
        }
        if (seen.pid == 0 || isHeld(seen, known, now, findings)) {
            continue;
        }
        if (!answersArrive && !seen.carriesAnswers) {
            known.countsFrom = now;
        }
        const bool silent = _options.silence.count() != 0 && seen.askedAt &&
                            now - std::max(*seen.askedAt, known.countsFrom) >= _options.silence;
        if (silent) {
            findings.push_back(
                {seen.name, seen.name + " does not answer for " + seconds(_options.silence) + " and is killed", true});
        } else {
            judgeEngines(seen, known, now, findings);
        }
    }
    return findings;
}

bool Watchdog::isHeld(const Seen& seen, Known& known, Clock::time_point now, std::vector<Finding>& findings) const
{
    const std::string holder = _held(seen.pid);
    if (holder.empty()) {
        known.heldSince.reset();
        known.holderTold = known.holderTold && seen.askedAt;
        return false;
    }
    known.heldSince = known.heldSince.value_or(now);
    known.countsFrom = now;
    if (!known.holderTold && seen.askedAt && _options.silence.count() != 0 &&
        now - *known.heldSince >= _options.silence) {
        known.holderTold = true;
        findings.push_back({seen.name, seen.name + " does not answer: it is " + holder + " and left alone", false});
    }
    return true;
}

void Watchdog::judgeEngines(const Seen& seen, Known& known, Clock::time_point now, std::vector<Finding>& findings) const
{
    for (const auto kind : {Activity::Kind::frame, Activity::Kind::control}) {
        const std::optional<Activity::Doing> doing =
            seen.activity == nullptr ? std::nullopt : seen.activity->doing(kind);
        if (!doing) {
            continue;
        }
        const auto age = now - std::max(doing->since, known.countsFrom);
        Clock::time_point& told = known.told[kind == Activity::Kind::frame ? 0 : 1];
        const std::string what = seen.name + " is in " + doing->what + " for ";
        if (_options.frames.count() != 0 && age >= _options.frames) {
            findings.push_back({seen.name, what + seconds(_options.frames) + " and is killed", true});
            return;
        }
        if (_options.silence.count() != 0 && age >= _options.silence && told != doing->since) {
            told = doing->since;
            findings.push_back({seen.name, what + seconds(_options.silence), false});
        }
    }
}

std::string Watchdog::heldInKernel(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    std::string state;
    for (std::string word; file >> word;) {
        if (word == "State:") {
            file >> state;
        } else if (word == "TracerPid:" && file >> word && word != "0") {
            return "traced by process " + word;
        }
    }
    return state == "T" ? "stopped by a signal" : "";
}

} // namespace camera::supervisor
