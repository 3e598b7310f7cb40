#include "camera/onvif/AnalyticsTransactions.h"

#include <algorithm>
#include <utility>

namespace camera::onvif {

namespace {

/// The texts of what stands in a document, to be compared.
std::vector<std::string> elementTexts(const PlacedComponents& components, const DocumentKey& key)
{
    std::vector<std::string> texts;
    for (const PlacedComponent& component : components) {
        if (component.key == key) {
            texts.push_back(component.xml);
        }
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

/// Those documents of a change that are not as they were before it.
AnalyticsChange back(const IntendedChange& change, const PlacedComponents& now)
{
    AnalyticsChange changed;
    for (const DocumentKey& key : change.keys) {
        if (elementTexts(now, key) != elementTexts(change.before, key)) {
            changed.keys.push_back(key);
        }
    }
    return undone(changed, change.before);
}

} // namespace

AnalyticsTransactions::AnalyticsTransactions(AnalyticsActions actions, Kept<IntendedChange>& intended)
    : _actions(std::move(actions)), _intended(intended), _unsettled(intended.value())
{
}

void AnalyticsTransactions::read(std::function<void(const Outcome<AnalyticsView>&)> done)
{
    push({std::move(done)});
}

void AnalyticsTransactions::change(Make make, Refused refused, Done done)
{
    push({{}, std::move(make), std::move(refused), std::move(done)});
}

void AnalyticsTransactions::push(Task task)
{
    _tasks.push_back(std::move(task));
    if (!_busy) {
        next();
    }
}

void AnalyticsTransactions::next()
{
    _busy = !_tasks.empty();
    if (_busy) {
        look([this](const AnalyticsView& view) { settle(view); });
    }
}

/// Asks how it is now. Without an answer all that waits has failed: each would wait for as long again.
void AnalyticsTransactions::look(const std::function<void(const AnalyticsView&)>& then)
{
    _actions.view([this, then](const Outcome<AnalyticsView>& outcome) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            failAll(*fault);
        } else {
            then(std::get<AnalyticsView>(outcome));
        }
    });
}

/// Undoes what an earlier change has left, then serves the first task.
void AnalyticsTransactions::settle(const AnalyticsView& view)
{
    if (_unsettled.keys.empty()) {
        serve(view);
        return;
    }
    takeBack(view, [this](const std::optional<Fault>& failure) {
        if (failure) {
            failAll(*failure);
        } else {
            look([this](const AnalyticsView& now) { serve(now); });
        }
    });
}

void AnalyticsTransactions::serve(const AnalyticsView& view)
{
    if (!_tasks.front().read) {
        begin(view);
        return;
    }
    std::vector<Task> reads;
    while (!_tasks.empty() && _tasks.front().read) {
        reads.push_back(std::move(_tasks.front()));
        _tasks.pop_front();
    }
    for (const Task& task : reads) {
        task.read(view);
    }
    next();
}

void AnalyticsTransactions::begin(const AnalyticsView& view)
{
    AnalyticsChange change;
    Steps steps;
    try {
        change = _tasks.front().make(view);
        steps = stepsOf(change, view.components);
    } catch (...) {
        finish(Fault::current());
        return;
    }
    _unsettled = {change.keys, undone(change, view.components).wanted};
    const auto perform = [this, steps](const std::optional<Fault>& failure) {
        if (failure) { // nothing was done
            _unsettled = {};
            finish(*failure);
            return;
        }
        const Then forgotten = [this](const std::optional<Fault>& unwritten) {
            if (unwritten) { // a later start would undo it, so it is undone now
                undo(*unwritten);
            } else {
                finish(std::nullopt);
            }
        };
        run(steps, 0, _tasks.front().refused, [this, forgotten](const std::optional<Fault>& failed) {
            if (failed && std::exchange(_unanswered, false)) {
                // The client has waited long enough. What the step may still do is taken back by the next task.
                _tasks.push_back({[](const Outcome<AnalyticsView>&) {}});
                finish(failed);
            } else if (failed) {
                undo(*failed);
            } else {
                forget(forgotten);
            }
        });
    };
    // One step is done or not done: nothing of it can be left half done by the end of this process.
    if (steps.size() > 1) {
        _intended.change([this](IntendedChange& intended) { intended = _unsettled; }, perform);
    } else {
        perform(std::nullopt);
    }
}

void AnalyticsTransactions::run(const Steps& steps, std::size_t position, const Decide& refused, const Then& then)
{
    if (position == steps.size()) {
        then(std::nullopt);
        return;
    }
    _actions.perform(steps[position], [this, steps, position, refused, then](const Outcome<StepAnswer>& outcome) {
        std::optional<Fault> failure;
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            failure = *fault;
            _unanswered = true;
        } else if (const StepAnswer& answer = std::get<StepAnswer>(outcome); !answer.accepted) {
            failure = refused(answer.reasons);
        }
        if (failure) {
            then(failure);
        } else {
            run(steps, position + 1, refused, then);
        }
    });
}

/// Ends the first task with a failure once nothing of it is left, or leaves that to the next one.
void AnalyticsTransactions::undo(const Fault& failure)
{
    _actions.view([this, failure](const Outcome<AnalyticsView>& outcome) {
        if (std::holds_alternative<Fault>(outcome)) {
            finish(failure);
            return;
        }
        takeBack(std::get<AnalyticsView>(outcome),
                 [this, failure](const std::optional<Fault>& /*unsettled*/) { finish(failure); });
    });
}

/// Brings back what stood there before the unsettled change.
void AnalyticsTransactions::takeBack(const AnalyticsView& view, const Then& then)
{
    // What is refused now would be refused for ever: its engine has changed. The rest is brought back.
    const auto refused = [this](const std::vector<std::string>& reasons) {
        _actions.log("A half-done change of the analytics configuration cannot be undone: " +
                     (reasons.empty() ? "no engine takes back what there was" : reasons.front()) + ".");
        return std::optional<Fault>();
    };
    run(stepsOf(back(_unsettled, view.components), view.components), 0, refused,
        [this, then](const std::optional<Fault>& failure) {
            _unanswered = false;
            if (failure) {
                then(failure);
            } else {
                forget(then);
            }
        });
}

void AnalyticsTransactions::forget(const Then& then)
{
    const auto forgotten = [this, then](const std::optional<Fault>& failure) {
        if (!failure) {
            _unsettled = {};
        }
        then(failure);
    };
    if (_intended.value().keys.empty()) {
        forgotten(std::nullopt);
    } else {
        _intended.change([](IntendedChange& intended) { intended = {}; }, forgotten);
    }
}

void AnalyticsTransactions::finish(const std::optional<Fault>& failure)
{
    const Task task = std::move(_tasks.front());
    _tasks.pop_front();
    task.done(failure);
    next();
}

void AnalyticsTransactions::failAll(const Fault& fault)
{
    std::deque<Task> failed;
    failed.swap(_tasks);
    for (const Task& task : failed) {
        if (task.read) {
            task.read(fault);
        } else {
            task.done(fault);
        }
    }
    next();
}

} // namespace camera::onvif
