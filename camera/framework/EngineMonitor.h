#pragma once

#include "camera/base/Activity.h"
#include "camera/base/Event.h"
#include "plugin/analytics/IEventHandler.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace camera::framework {

/// How long an engine had its frames, those that left with an exception included.
struct FrameTimes {
    /// Bucket 0 counts the frames that took less than 2 us, each following one those that took less than twice as long
    /// as the one before says, the last one all the others.
    static constexpr std::size_t kBuckets = 20;

    std::uint64_t count = 0;
    std::chrono::nanoseconds sum{0};
    std::chrono::nanoseconds longest{0};
    std::array<std::uint64_t, kBuckets> histogram{};
};

class EngineMonitor;

/// The types of components that an engine says it supports.
struct EngineTypes {
    std::vector<std::string> modules;
    std::vector<std::string> rules;
};

/// Who is told what an engine does. Each may be empty.
struct EngineListeners {
    /// Called on the control thread, inside the operation, each time that a rule set was activated or the active one is
    /// no more. Throws nothing.
    std::function<void()> activeChanged = {};

    /// The engine raised an event, which the plug-in gets next. Called on the engine's thread.
    std::function<void(const std::string& engine, const base::Event& event)> raised = {};

    /// The engine was told to clear its rules or to give the active rule set back, and has done so: it has no rules,
    /// and every event that it raised for them was told. Called on the control thread.
    std::function<void(const std::string& engine)> cleared = {};
};

/// What is known of one engine, also after it was destroyed. Thread-safe, activeRuleSet() and types() apart.
class EngineRecord {
public:
    /// @param module  the engine module's file; empty: it is an engine of the program.
    EngineRecord(std::string name, EngineListeners listeners, std::filesystem::path module = {});

    const std::string& name() const { return _name; }
    const std::filesystem::path& module() const { return _module; }

    /// Asks the engine; none when it was destroyed. Throws what the engine throws. Thread: the control thread.
    EngineTypes types() const;

    /// The rule set whose activation the engine accepted last; null after clearAllRules, after the release of that rule
    /// set and without the engine. Thread: the control thread, on which it may be asked for its text.
    analytics_lib::IRuleSet* activeRuleSet() const { return _active; }

    std::uint64_t calls() const { return _calls.load(std::memory_order_relaxed) + frameTimes().count; }
    std::uint64_t exceptions() const { return _exceptions.load(std::memory_order_relaxed); }
    FrameTimes frameTimes() const;

    /// The plug-in is destroyed next. From then on what the engine throws is logged and not passed on, because the
    /// plug-in's destructor would end the process. Thread: the control thread.
    void pluginEnds() { _pluginEnds = true; }

private:
    friend class EngineMonitor;

    void setActive(analytics_lib::IRuleSet* ruleSet);
    void tellRaised(const base::Event& event) const;
    void tellCleared() const;
    void addFrame(std::chrono::nanoseconds took);

    const std::string _name;
    const std::filesystem::path _module;
    const std::string _ofEngine;
    const base::Activity::Label _frame;
    const EngineListeners _listeners;
    EngineMonitor* _monitor = nullptr;          // control thread; null without the engine
    analytics_lib::IRuleSet* _active = nullptr; // control thread
    bool _pluginEnds = false;                   // control thread
    std::atomic<std::uint64_t> _calls{0};       // without onFrame
    std::atomic<std::uint64_t> _exceptions{0};

    // Written by the frame thread alone.
    std::atomic<std::int64_t> _sumNs{0};
    std::atomic<std::int64_t> _longestNs{0};
    std::array<std::atomic<std::uint64_t>, FrameTimes::kBuckets> _histogram{};
};

/**
 * Stands between the plug-in and one engine: forwards every operation once and unchanged, and notes in the record what
 * can be seen from there.
 *
 * Thread: each operation on the thread that the engine interface names for it. An exception of the engine is counted
 * and passed on, but not to a destructor of the plug-in. An event, or the metadata of a frame, that no message can
 * carry is refused with the engine's name. A frame allocates nothing and takes no lock. What the engine is called for
 * can be seen from outside the process, see base::Activity.
 */
class EngineMonitor final : public analytics_lib::IOnvifAnalytics {
public:
    EngineMonitor(std::shared_ptr<analytics_lib::IOnvifAnalytics> engine, std::shared_ptr<EngineRecord> record);
    ~EngineMonitor() override;
    EngineMonitor(const EngineMonitor&) = delete;
    EngineMonitor& operator=(const EngineMonitor&) = delete;

    std::string getName() const override;
    bool isEngineConfiguration(const std::string& config) override;
    void setEventHandler(analytics_lib::IEventHandler* handler) override;
    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) override;
    void onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color) override;
    void onOrientationChanged(unsigned int degrees) override;
    std::vector<std::string> getEventTopics() override;
    std::vector<std::string> getSupportedEngines() override;
    std::vector<std::string> getSupportedRules() override;
    bool readFramesFromFile(const char* path, bool flag) override;
    bool writeFramesToFile(const char* path, unsigned int count) override;
    analytics_lib::IRuleSet* createRuleSet() override;
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    bool activateRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    void clearAllRules() override;

private:
    /// Passes an engine's events on, those apart that are too large for the bus.
    class Events final : public analytics_lib::IEventHandler {
    public:
        explicit Events(const EngineRecord& record) : _record(record) {}
        void OnEvent(const std::string& topic, const std::string& source, const std::string& data) override;

        std::atomic<analytics_lib::IEventHandler*> handler{nullptr};

    private:
        const EngineRecord& _record;
    };

    /// At the end of an operation, also when the engine throws: then it has no active rules either.
    struct TellsCleared {
        const EngineRecord* record; ///< null: of nothing
        ~TellsCleared()
        {
            if (record != nullptr) {
                record->tellCleared();
            }
        }
    };

    template <class Operation>
    auto guarded(const Operation& operation) const; // counts an exception
    template <class Operation>
    auto forwarded(const char* name, const Operation& operation) const; // counts the call too
    template <class Operation>
    void forwardedToTheEnd(const char* name, const Operation& operation) const; // what the plug-in's destructor calls

    const std::shared_ptr<EngineRecord> _record;
    Events _events{*_record};
    const std::shared_ptr<analytics_lib::IOnvifAnalytics> _engine; ///< last: it may raise events until it is gone
};

} // namespace camera::framework
