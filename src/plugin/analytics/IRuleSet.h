#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace analytics_lib {

/**
 * One configuration of an engine: its modules and rules for one camera position.
 *
 * Created by IOnvifAnalytics::createRuleSet and destroyed by releaseRuleSet of the same engine.
 * Thread: the control thread.
 */
class __attribute__((visibility("default"))) IRuleSet {
public:
    /// Whether the engine would accept the whole configuration text.
    virtual bool validateFullConfig(const std::string& config) = 0;

    /// Whether one component would be accepted; parameters is its printed tt:Parameters element.
    virtual bool validateConfig(const std::string& name, const std::string& type, const std::string& parameters) = 0;

    /// Adds a component or replaces the one of that name.
    virtual bool setConfig(const std::string& name, const std::string& type, const std::string& parameters) = 0;

    /// Announces that the rule set is about to be handed back.
    virtual bool detach() = 0;

    /// Removes a component; true when this rule set held it.
    virtual bool deleteBehavior(const std::string& name) = 0;

    /// Replaces the whole content.
    virtual bool setFullConfig(const std::string& config) = 0;

    /// The whole content as a configuration document.
    virtual std::string getFullConfig() = 0;

protected:
    IRuleSet() = default;
    ~IRuleSet() = default; // destroyed by its engine only
};

} // namespace analytics_lib

#pragma GCC visibility pop
