#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace analytics_lib {
class IOnvifAnalytics;
class IRuleSet;
} // namespace analytics_lib

namespace korva::meridan {

/**
 * The live rule sets: one per settings key, made by the engine whose name the key begins with.
 *
 * The map lends nothing and owns nothing: rule sets belong to the engine that made them, and go back
 * to it where an operation says so.
 *
 * Thread: thread-safe. The lock is held while engines and rule sets are called, so none of them may
 * call back; it is released on every exit, and what they throw passes on.
 */
class RuleSetMap {
public:
    /// @param logContext Borrowed for the life of the map.
    explicit RuleSetMap(void* logContext);
    ~RuleSetMap() = default; // engines are not called: the holder of rule sets hands them back first

    RuleSetMap(const RuleSetMap&) = delete;
    RuleSetMap& operator=(const RuleSetMap&) = delete;

    /// Forgets every entry without telling the engines.
    void clear();

    /// Always empty, whatever the key holds. Callers rely on it: a delete persists this text.
    std::string getFullConfig(const std::string& key);

    /// Always false, and nothing changes. Callers rely on it: a partly failed delete stays reduced.
    bool setFullConfig(const std::string& key, const std::string& config);

    /// Adds or replaces one component of the key's rule set.
    /// @return whether it was taken, and the rule set's whole text after the attempt; (false, "")
    ///         for an unknown key.
    std::pair<bool, std::string> setConfig(const std::string& key, const std::string& name, const std::string& type,
                                           const std::string& parameters);

    /// The whole text of every rule set, in key order.
    std::vector<std::string> getAllConfigs();

    /// Detaches the key's rule set, hands it back and forgets the key.
    void deleteRuleSet(const std::string& key, analytics_lib::IOnvifAnalytics* engine);

    /// Hands back and forgets every key that begins with prefix. Nothing is detached here.
    void deleteRulesWithPrefix(analytics_lib::IOnvifAnalytics* engine, const std::string& prefix);

    /// Logs each rule's type with the document's active text. Takes no lock.
    void logRuleNamesFromConfig(const std::string& config);

    /// Makes the key's rule set the engine's active one.
    /// @return the engine's answer; false for an unknown key.
    bool activateRuleSet(analytics_lib::IOnvifAnalytics* engine, const std::string& key);

    /// Removes a component from the first rule set, in key order, that holds it.
    /// @return that rule set's key, or "" when none held it. The entry stays.
    std::string deleteBehavior(const std::string& behavior);

    /// Asks the key's rule set, or a new one that stays in the map when it accepts.
    bool validateConfig(analytics_lib::IOnvifAnalytics* engine, const std::string& key, const std::string& name,
                        const std::string& type, const std::string& parameters);
    bool validateFullConfig(analytics_lib::IOnvifAnalytics* engine, const std::string& key, const std::string& config);

    /// Puts a new rule set with this text under the key. One that stood there is not handed back.
    bool restoreFullConfig(analytics_lib::IOnvifAnalytics* engine, const std::string& key, const std::string& config);

private:
    friend class RuleSetMapPeer;

    template <typename Validate>
    bool validateUnderLock(analytics_lib::IOnvifAnalytics* engine, const std::string& key, const Validate& accepts);

    void* logContext;
    std::map<std::string, analytics_lib::IRuleSet*> ruleSets;
    std::mutex mutex;
};

} // namespace korva::meridan
