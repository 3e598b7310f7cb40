#pragma once

#include "camera/onvif/AnalyticsChange.h"
#include "camera/onvif/IntendedChange.h"
#include "camera/onvif/Kept.h"
#include "camera/onvif/Operations.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// What the analytics service said to a step.
struct StepAnswer {
    bool accepted = false;
    std::vector<std::string> reasons = {}; ///< why it refuses
};

/// What the changes of the analytics configuration ask of the device. Each is called on the thread of the services.
struct AnalyticsActions {
    Ask<AnalyticsView> view; ///< without limitsOf
    std::function<void(const AnalyticsStep&, std::function<void(const Outcome<StepAnswer>&)>)> perform;
    std::function<void(const std::string& line)> log;
};

/**
 * Reads and changes the analytics configuration, one after the other in the order of the calls: each finds what the one
 * before left. A change takes place as a whole or not at all. One of several steps is written down before the first of
 * them, so that what the end of a process leaves half done is undone before anything else happens.
 *
 * Thread-bound; it lives until all that it asked has answered.
 */
class AnalyticsTransactions {
public:
    /// @param intended  borrowed.
    AnalyticsTransactions(AnalyticsActions actions, Kept<IntendedChange>& intended);

    /// How it is now. Reads that wait together get one answer.
    void read(std::function<void(const Outcome<AnalyticsView>&)> done);

    /// @param make     may throw a Fault, which is what comes of the change.
    /// @param refused  makes the fault when the service refuses a step for these reasons.
    using Make = std::function<AnalyticsChange(const AnalyticsView&)>;
    using Refused = std::function<Fault(const std::vector<std::string>& reasons)>;
    void change(Make make, Refused refused, Done done);

private:
    struct Task {
        std::function<void(const Outcome<AnalyticsView>&)> read; ///< empty: a change
        Make make = {};
        Refused refused = {};
        Done done = {};
    };
    using Steps = std::vector<AnalyticsStep>;
    using Then = std::function<void(const std::optional<Fault>&)>;
    /// What comes of a step that the service refuses; nothing: the next step is performed.
    using Decide = std::function<std::optional<Fault>(const std::vector<std::string>& reasons)>;

    void push(Task task);
    void next();
    void look(const std::function<void(const AnalyticsView&)>& then);
    void settle(const AnalyticsView& view);
    void serve(const AnalyticsView& view);
    void begin(const AnalyticsView& view);
    void undo(const Fault& failure);
    void takeBack(const AnalyticsView& view, const Then& then);
    void run(const Steps& steps, std::size_t position, const Decide& refused, const Then& then);
    void forget(const Then& then);
    void finish(const std::optional<Fault>& failure);
    void failAll(const Fault& fault);

    const AnalyticsActions _actions;
    Kept<IntendedChange>& _intended;
    IntendedChange _unsettled; ///< a change of which may be seen what has not been undone
    std::deque<Task> _tasks;   ///< the first one is under way while _busy
    bool _busy = false;
    bool _unanswered = false; ///< the step that has failed may still take place
};

} // namespace camera::onvif
