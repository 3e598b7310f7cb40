#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

class RavelApiAnalyticsTargetImplBase;

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

/// "done", "refused: ..." and so on, for people.
std::string describe(Outcome outcome);

/// What an operation with a status word answered.
struct Answer {
    int result = 0;
    Outcome outcome = Outcome::done;
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
public:
    TargetClient(serviceapi::ControlThread& control, serviceapi::ServedTargets& targets, std::string service);
    TargetClient(const TargetClient&) = delete;
    TargetClient& operator=(const TargetClient&) = delete;

    std::vector<std::string> eventTopics();
    std::vector<std::string> supportedRules();
    std::vector<std::string> supportedEngines();

    /// Whole elements, one string each.
    std::vector<std::string> currentRules();
    std::vector<std::string> currentEngines();

    /// Each item is one tt:Rule, respectively tt:AnalyticsModule element.
    Answer createRules(const std::vector<std::string>& rules);
    Answer modifyRules(const std::vector<std::string>& rules);
    Answer createEngines(const std::vector<std::string>& engines);
    Answer modifyEngines(const std::vector<std::string>& engines);
    Answer deleteRules(const std::vector<std::string>& names);
    Answer deleteEngines(const std::vector<std::string>& names);

    /// The merged document of the active, respectively of one preset's configurations.
    std::string currentConfiguration();
    std::string presetConfiguration(const std::string& preset);

    /// What the target said of a whole configuration.
    struct Acceptance {
        int result = 1;
        unsigned char failed = 1; ///< the flag that it wrote
        bool ok() const { return result == 0 && failed == 0; }
    };
    Acceptance acceptConfiguration(const std::string& xml);

    /// False when the target refused the document.
    bool setConfiguration(const std::string& xml) { return acceptConfiguration(xml).ok(); }

    void restoreDefaultSettings();
    std::vector<std::string> usedPtzPresets();

    /// No engine of that name: nothing happens. The target does not say whether the file could be used.
    void readFramesFromFile(const std::string& engine, const std::string& path, bool flag);
    void writeFramesToFile(const std::string& engine, const std::string& path, unsigned int count);

private:
    using Target = RavelApiAnalyticsTargetImplBase;

    void call(const std::function<void(Target&)>& operation);
    std::vector<std::string> list(const char* name, int (Target::*operation)(char***));
    std::string text(const char* name, const std::function<int(Target&, char**)>& operation);
    Answer change(int (Target::*operation)(char**, unsigned int*), const std::vector<std::string>& items);

    serviceapi::ControlThread& _control;
    serviceapi::ServedTargets& _targets;
    std::string _service;
};

} // namespace camera::pipeline
