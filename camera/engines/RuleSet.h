#pragma once

#include "camera/engines/Component.h"
#include "camera/engines/EngineLog.h"
#include "plugin/analytics/IRuleSet.h"

#include <string>

namespace camera::engines {

/**
 * One stored configuration, kept as text. A camera with thousands of configurations then needs memory
 * for the texts only; activation compiles a RuleProgram from the text. A change of an active rule set
 * takes effect when it is activated again.
 *
 * Thread: the control thread.
 */
class RuleSet final : public analytics_lib::IRuleSet {
public:
    /// Borrows both for its life.
    RuleSet(const ComponentTypes& types, const EngineLog& log) : _types(types), _log(log) {}

    /// Each refusal writes one log line and leaves the content as it was.
    bool validateFullConfig(const std::string& config) override;
    bool validateConfig(const std::string& component, const std::string& type, const std::string& list) override;
    bool setConfig(const std::string& component, const std::string& type, const std::string& list) override;
    bool setFullConfig(const std::string& config) override;

    bool detach() override { return true; }
    bool deleteBehavior(const std::string& name) override;
    std::string getFullConfig() override;

    /// The stored components, parsed and checked. Does not throw for a text that this class wrote.
    Components components() const;

private:
    Component complete(const std::string& component, const std::string& type, const std::string& list,
                       const Components& others) const;
    void store(const Components& components);
    bool refuse(const std::exception& reason) const;

    const ComponentTypes& _types;
    const EngineLog& _log;
    std::string _text;            ///< the modules' elements, then the rules'
    std::size_t _moduleBytes = 0; ///< how much of it are modules
};

} // namespace camera::engines
