#include "camera/framework/EngineMonitor.h"

#include "camera/base/Contained.h"
#include "camera/base/Log.h"
#include "camera/base/MessageLimit.h"

#include <exception>
#include <utility>

namespace camera::framework {

namespace {

using analytics_lib::IRuleSet;
using Clock = std::chrono::steady_clock;

// There is one writer, so a plain addition is enough: an atomic one would cost a frame as much as reading the clock.
template <class Number>
void add(std::atomic<Number>& total, Number amount)
{
    total.store(total.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
}

std::size_t bucketOf(std::chrono::nanoseconds took)
{
    std::size_t bucket = 0;
    for (auto rest = took.count() / 2000; rest > 0 && bucket + 1 < FrameTimes::kBuckets; rest /= 2) {
        ++bucket;
    }
    return bucket;
}

void refuse(const EngineRecord& record, const std::string& what, std::size_t bytes)
{
    base::Log::instance().write(base::LogLevel::error, "engines",
                                base::tooLarge(what + " of engine '" + record.name() + "'", bytes) + "; it is refused");
}

} // namespace

EngineRecord::EngineRecord(std::string name, EngineListeners listeners, std::filesystem::path module)
    : _name(std::move(name)),
      _module(std::move(module)),
      _ofEngine(" of engine '" + _name + "'"),
      _frame("onFrame" + _ofEngine),
      _listeners(std::move(listeners))
{
}

// A rule set that is active already may have another content by now, which is a change as well.
void EngineRecord::setActive(IRuleSet* ruleSet)
{
    const bool changed = ruleSet != nullptr || _active != nullptr;
    _active = ruleSet;
    if (changed && _listeners.activeChanged) {
        _listeners.activeChanged();
    }
}

void EngineRecord::tellRaised(const base::Event& event) const
{
    if (_listeners.raised) {
        base::contained("engines", "an event" + _ofEngine + " is not kept", [&] { _listeners.raised(_name, event); });
    }
}

void EngineRecord::tellCleared() const
{
    if (_listeners.cleared) {
        base::contained("engines", "the end of the rules" + _ofEngine + " is not told",
                        [&] { _listeners.cleared(_name); });
    }
}

EngineTypes EngineRecord::types() const
{
    return _monitor != nullptr ? EngineTypes{_monitor->getSupportedEngines(), _monitor->getSupportedRules()}
                               : EngineTypes();
}

void EngineRecord::addFrame(std::chrono::nanoseconds took)
{
    add(_sumNs, std::int64_t{took.count()});
    add(_histogram[bucketOf(took)], std::uint64_t{1});
    if (took.count() > _longestNs.load(std::memory_order_relaxed)) {
        _longestNs.store(took.count(), std::memory_order_relaxed);
    }
}

FrameTimes EngineRecord::frameTimes() const
{
    FrameTimes times;
    times.sum = std::chrono::nanoseconds(_sumNs.load(std::memory_order_relaxed));
    times.longest = std::chrono::nanoseconds(_longestNs.load(std::memory_order_relaxed));
    for (std::size_t bucket = 0; bucket < FrameTimes::kBuckets; ++bucket) {
        times.histogram[bucket] = _histogram[bucket].load(std::memory_order_relaxed);
        times.count += times.histogram[bucket];
    }
    return times;
}

EngineMonitor::EngineMonitor(std::shared_ptr<analytics_lib::IOnvifAnalytics> engine,
                             std::shared_ptr<EngineRecord> record)
    : _record(std::move(record)), _engine(std::move(engine))
{
    _record->_monitor = this;
}

void EngineMonitor::Events::OnEvent(const std::string& topic, const std::string& source, const std::string& data)
{
    const std::size_t bytes = topic.size() + source.size() + data.size();
    if (bytes > base::kLargestMessage) {
        return refuse(_record, "an event", bytes);
    }
    _record.tellRaised({topic, source, data});
    handler.load()->OnEvent(topic, source, data);
}

EngineMonitor::~EngineMonitor()
{
    _record->_monitor = nullptr;
    _record->setActive(nullptr); // the rule sets go with the engine
}

template <class Operation>
auto EngineMonitor::guarded(const Operation& operation) const
{
    try {
        return operation();
    } catch (...) {
        _record->_exceptions.fetch_add(1, std::memory_order_relaxed);
        throw;
    }
}

template <class Operation>
auto EngineMonitor::forwarded(const char* name, const Operation& operation) const
{
    // What follows inside the same task of the control thread is asked of a rule set of this engine.
    const std::string what = name + _record->_ofEngine;
    const base::Activity::Scope scope(base::Activity::Kind::control, base::Activity::Label(what),
                                      base::Activity::Label("what follows " + what));
    _record->_calls.fetch_add(1, std::memory_order_relaxed);
    return guarded(operation);
}

template <class Operation>
void EngineMonitor::forwardedToTheEnd(const char* name, const Operation& operation) const
{
    const bool duringADestructor = _record->_pluginEnds || std::uncaught_exceptions() > 0; // also of a failed start
    if (!duringADestructor) {
        forwarded(name, operation);
        return;
    }
    base::contained("engines", name + _record->_ofEngine + " failed", [&] { forwarded(name, operation); });
}

std::string EngineMonitor::getName() const
{
    std::string name = _record->_name;
    forwardedToTheEnd("getName", [&] { name = _engine->getName(); });
    return name;
}

bool EngineMonitor::isEngineConfiguration(const std::string& config)
{
    return forwarded("isEngineConfiguration", [&] { return _engine->isEngineConfiguration(config); });
}

void EngineMonitor::setEventHandler(analytics_lib::IEventHandler* handler)
{
    if (handler != nullptr) {
        _events.handler = handler; // an engine may still have the one before in a thread of its own
    }
    forwarded("setEventHandler", [&] { _engine->setEventHandler(handler != nullptr ? &_events : nullptr); });
}

bool EngineMonitor::onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs)
{
    struct Timer { // measures a frame that leaves with an exception too
        EngineRecord& record;
        const Clock::time_point begin = Clock::now();
        ~Timer() { record.addFrame(Clock::now() - begin); }
    };
    const Timer timer{*_record};
    const base::Activity::Scope scope(base::Activity::Kind::frame, _record->_frame, timer.begin);
    const bool analysed = guarded([&] { return _engine->onFrame(frame, outputs); });
    if (outputs.metadataXml.size() > base::kLargestMessage) {
        refuse(*_record, "the metadata of a frame", outputs.metadataXml.size());
        outputs.metadataXml.clear(); // with what other engines wrote: the text is one document
    }
    return analysed;
}

void EngineMonitor::onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color)
{
    forwarded("onWindowBlankingChange", [&] { _engine->onWindowBlankingChange(enabled, color); });
}

void EngineMonitor::onOrientationChanged(unsigned int degrees)
{
    forwarded("onOrientationChanged", [&] { _engine->onOrientationChanged(degrees); });
}

std::vector<std::string> EngineMonitor::getEventTopics()
{
    return forwarded("getEventTopics", [&] { return _engine->getEventTopics(); });
}

std::vector<std::string> EngineMonitor::getSupportedEngines()
{
    return forwarded("getSupportedEngines", [&] { return _engine->getSupportedEngines(); });
}

std::vector<std::string> EngineMonitor::getSupportedRules()
{
    return forwarded("getSupportedRules", [&] { return _engine->getSupportedRules(); });
}

bool EngineMonitor::readFramesFromFile(const char* path, bool flag)
{
    return forwarded("readFramesFromFile", [&] { return _engine->readFramesFromFile(path, flag); });
}

bool EngineMonitor::writeFramesToFile(const char* path, unsigned int count)
{
    return forwarded("writeFramesToFile", [&] { return _engine->writeFramesToFile(path, count); });
}

IRuleSet* EngineMonitor::createRuleSet()
{
    return forwarded("createRuleSet", [&] { return _engine->createRuleSet(); });
}

// The record forgets it before the engine destroys it, because a reader of the record asks the rule set for its text.
void EngineMonitor::releaseRuleSet(IRuleSet* ruleSet)
{
    const bool active = ruleSet == _record->_active;
    if (active) {
        _record->setActive(nullptr);
    }
    const TellsCleared end{active ? _record.get() : nullptr};
    forwardedToTheEnd("releaseRuleSet", [&] { _engine->releaseRuleSet(ruleSet); });
}

bool EngineMonitor::activateRuleSet(IRuleSet* ruleSet)
{
    const bool activated = forwarded("activateRuleSet", [&] { return _engine->activateRuleSet(ruleSet); });
    if (activated) {
        _record->setActive(ruleSet);
    }
    return activated;
}

void EngineMonitor::clearAllRules()
{
    _record->setActive(nullptr);
    const TellsCleared end{_record.get()};
    forwardedToTheEnd("clearAllRules", [&] { _engine->clearAllRules(); });
}

} // namespace camera::framework
