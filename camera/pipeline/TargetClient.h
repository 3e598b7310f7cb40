#pragma once

#include "ravel/RavelApiAnalyticsTargetImplBase.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace camera::serviceapi {
class ControlThread;
class ServedTargets;
} // namespace camera::serviceapi

namespace camera::pipeline {

/// The status word of the operations that create, modify and delete.
enum class Outcome : unsigned int {
    done = 0,
    interrupted = 1, ///< cut short; what was stored before stays
    refused = 4,     ///< one of the rules or modules is not valid: nothing of the call was stored
    notFound = 5,    ///< one of the names is unknown
};

/// What an operation with a status word answered.
struct Answer {
    int result = 0;
    Outcome outcome = Outcome::done;
    std::vector<std::string> refusal; ///< the error lines of the call, in their order; none when it succeeded
    bool ok() const { return result == 0 && outcome == Outcome::done; }
};

/**
 * The analytics target's operations as plain C++ values.
 *
 * Each call runs on the control thread and returns when it is done; called on the control thread
 * itself it runs at once. Thread-safe.
 *
 * Every operation throws std::runtime_error with one sentence when nobody serves the target any
 * more, when the operation itself threw (a settings store that cannot be written: the text of that
 * error), or when it answered with a failure it has no other way to report; std::invalid_argument
 * when a text holds a NUL byte, which no operation could take.
 */
class TargetClient {
    using Target = RavelApiAnalyticsTargetImplBase;
    using Texts = std::vector<std::string>;

public:
    /// @param changed  called on the control thread when an operation has changed the configuration, or may have.
    TargetClient(serviceapi::ControlThread& control, serviceapi::ServedTargets& targets, std::string service,
                 std::function<void()> changed);
    TargetClient(const TargetClient&) = delete;
    TargetClient& operator=(const TargetClient&) = delete;

    Texts eventTopics() { return list("getEventTopics", &Target::getEventTopics); }
    Texts supportedRules() { return list("getSupportedRules", &Target::getSupportedRules); }
    Texts supportedEngines() { return list("getSupportedEngines", &Target::getSupportedEngines); }

    /// Whole elements, one string each.
    Texts currentRules() { return list("getCurrentRules", &Target::getCurrentRules); }
    Texts currentEngines() { return list("getCurrentEngines", &Target::getCurrentEngines); }

    /// Each item is one tt:Rule, respectively tt:AnalyticsModule element.
    Answer createRules(const Texts& rules) { return change(&Target::createRules, rules); }
    Answer modifyRules(const Texts& rules) { return change(&Target::modifyRules, rules); }
    Answer createEngines(const Texts& engines) { return change(&Target::createEngines, engines); }
    Answer modifyEngines(const Texts& engines) { return change(&Target::modifyEngines, engines); }
    Answer deleteRules(const Texts& names) { return change(&Target::deleteRules, names); }
    Answer deleteEngines(const Texts& names) { return change(&Target::deleteEngines, names); }

    /// The merged document of the active, respectively of one preset's configurations.
    std::string currentConfiguration();
    std::string presetConfiguration(const std::string& preset);

    /// What the target said of a whole configuration.
    struct Acceptance {
        int result = 1;
        unsigned char failed = 1;           ///< the flag that it wrote
        std::vector<std::string> refusal{}; ///< as Answer::refusal
        bool ok() const { return result == 0 && failed == 0; }
    };
    Acceptance acceptConfiguration(const std::string& xml);

    /// False when the target refused the document.
    bool setConfiguration(const std::string& xml) { return acceptConfiguration(xml).ok(); }

    void restoreDefaultSettings();
    Texts usedPtzPresets() { return list("getUsedPtzPresets", &Target::getUsedPtzPresets); }

    /// No engine of that name: nothing happens. The target does not say whether the file could be used.
    void readFramesFromFile(const std::string& engine, const std::string& path, bool flag);
    void writeFramesToFile(const std::string& engine, const std::string& path, unsigned int count);

private:
    void call(const std::function<void(Target&)>& operation);
    Texts list(const char* name, int (Target::*operation)(char***));
    std::string text(const char* name, const std::function<int(Target&, char**)>& operation);
    Texts errorsOf(const std::function<void(Target&)>& operation);
    Answer change(int (Target::*operation)(char**, unsigned int*), const Texts& items);

    serviceapi::ControlThread& _control;
    serviceapi::ServedTargets& _targets;
    std::string _service;
    const std::function<void()> _changed;
};

} // namespace camera::pipeline
