#pragma once

#include "kit/FakeRuleSet.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace kit {

/// Answers given one by one; when none is left the caller's own answer stands.
class Answers {
public:
    Answers& operator=(std::initializer_list<bool> answers)
    {
        _queue.assign(answers.begin(), answers.end());
        return *this;
    }

    bool next(bool otherwise)
    {
        if (_queue.empty()) {
            return otherwise;
        }
        const bool answer = _queue.front();
        _queue.pop_front();
        return answer;
    }

private:
    std::deque<bool> _queue;
};

/**
 * An engine that records every call in the shared journal, answers as told and owns the rule sets that it
 * lends: they live until the engine is destroyed, so that a late call on one is noticed.
 *
 * Without a script it claims the documents and components whose types are its own: those that begin with
 * "tt:", its name and "Rule" or "Module".
 */
class FakeEngine : public analytics_lib::IOnvifAnalytics {
public:
    using FrameScript = std::function<bool(const analytics_lib::YuvFrame&, MetadataBuffers&)>;

    explicit FakeEngine(std::string engineName);
    ~FakeEngine() override;

    std::string getName() const override { return name; }
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

    const std::string name;

    // Scripts, set before the code under test runs.
    std::function<bool(const std::string& config)> claims;
    std::function<bool(const std::string& config)> acceptsFull = [](const std::string&) { return true; };
    std::function<bool(const Component& component)> accepts;
    Answers createAnswers; ///< false: createRuleSet yields null
    Answers validateFullAnswers;
    Answers validateAnswers;
    Answers setAnswers;
    Answers setFullAnswers;
    Answers activateAnswers;
    bool fileResult = true;
    std::vector<std::string> topics;
    std::vector<std::string> engines;
    std::vector<std::string> rules;
    FrameScript frameScript;

    /// Runs before the call of that name takes effect; rule-set calls are named "ruleSet.setConfig" and so on.
    std::map<std::string, std::function<void()>, std::less<>> before;

    // What happened.
    std::vector<analytics_lib::YuvFrame> frames; ///< as they arrived, while the journal records
    std::vector<MetadataBuffers> outputsSeen;    ///< as they arrived

    /// Rule sets that were lent and never came back.
    int notReturned() const;
    /// The rule set of that number, handed back or not; null when there is none.
    FakeRuleSet* ruleSet(int id) const;
    /// The number of the rule set that is evaluated, 0 when there is none.
    int activeRuleSet() const;
    analytics_lib::IEventHandler* handler() const;

    /// Raises an event on the calling thread as an engine must: only while a rule set is active, and never
    /// once clearAllRules has returned. False when nothing was raised.
    bool raise(const std::string& topic, const std::string& source, const std::string& data);
    /// Raises an event no matter what is active.
    void raiseAlways(const std::string& topic, const std::string& source, const std::string& data);

    /// Writes drawing and motion bytes, appends xml, answers `answer`.
    static FrameScript writes(std::uint32_t drawingBytes, std::uint32_t motionBytes = 0, std::string xml = "",
                              bool answer = true);

    void reached(std::string_view call) const;

private:
    FakeRuleSet* own(analytics_lib::IRuleSet* ruleSet) const;

    mutable std::mutex _mutex; // events against clearAllRules
    std::vector<std::unique_ptr<FakeRuleSet>> _ruleSets;
    FakeRuleSet* _active = nullptr;
    analytics_lib::IEventHandler* _handler = nullptr;
};

/// The number that the next rule set of any engine gets; back to 1 with the journal.
int nextRuleSetId();
void restartRuleSetIds();

} // namespace kit
