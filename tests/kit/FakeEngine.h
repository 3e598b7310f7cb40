#pragma once

#include "kit/FakeRuleSet.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
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
 * The engine of all tests: it records every call in the journal, answers as its scripts say, and owns the rule sets
 * that it gives out. While the journal records they live until the engine is destroyed, so that a late call on one is
 * noticed; without a journal a rule set ends when it is handed back.
 *
 * Without a script it claims the documents and components whose types are its own: those that begin with
 * "tt:", its name and "Rule" or "Module". When memory runs out an operation throws and leaves the engine as it was.
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
    std::function<bool(const Component& component)> takes = [](const Component&) { return true; };
    std::function<bool(const std::string& config)> takesFull = [](const std::string&) { return true; };
    std::function<bool(const std::string& content)> activates = [](const std::string&) { return true; };
    std::optional<std::size_t> mostRuleSets; ///< that exist at the same time; one more yields null
    /// kReal: components change the text. kFixed: they are known by their names and leave the text alone, so that each
    /// costs the same.
    enum class Content { kReal, kFixed };
    Content content = Content::kReal;
    std::string emptyContent; ///< the text of a rule set that was given nothing
    Answers createAnswers;    ///< false: createRuleSet yields null
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
    std::vector<MetadataBuffers> outputsSeen;    ///< as they arrived, while the journal records

    /// Rule sets that were given out and never came back.
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

    /// Rule sets with the same text share it.
    std::shared_ptr<const std::string> shared(const std::string& text);

private:
    FakeRuleSet* own(analytics_lib::IRuleSet* ruleSet) const;

    mutable std::mutex _mutex; // events against clearAllRules
    std::map<analytics_lib::IRuleSet*, std::unique_ptr<FakeRuleSet>> _ruleSets;
    std::shared_ptr<const std::string> _lastText = std::make_shared<std::string>();
    FakeRuleSet* _active = nullptr;
    analytics_lib::IEventHandler* _handler = nullptr;
};

/// The next rule set of any engine gets number 1 again.
void restartRuleSetIds();

} // namespace kit
