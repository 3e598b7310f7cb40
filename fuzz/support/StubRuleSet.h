#pragma once

#include "plugin/analytics/IRuleSet.h"

#include <string>
#include <vector>

namespace fuzz {

/**
 * A rule set that takes what reads as XML and bears its engine's name, and whose content changes with every
 * component that is set or deleted.
 *
 * Some names make it refuse, so that the fuzzer reaches what follows a refusal: "Refused" is valid but never
 * taken, a whole configuration that contains "Unwanted" is not restored.
 */
class StubRuleSet : public analytics_lib::IRuleSet {
public:
    explicit StubRuleSet(std::string engineName);
    virtual ~StubRuleSet() = default;

    bool validateFullConfig(const std::string& config) override;
    bool validateConfig(const std::string& name, const std::string& type, const std::string& parameters) override;
    bool setConfig(const std::string& name, const std::string& type, const std::string& parameters) override;
    bool detach() override;
    bool deleteBehavior(const std::string& name) override;
    bool setFullConfig(const std::string& config) override;
    std::string getFullConfig() override;

private:
    struct Component {
        bool module = false;
        std::string name;
        std::string type;
        std::string parameters;
    };

    void append(std::string& text, bool modules) const;
    bool remove(const std::string& name);

    std::string _prefix;
    std::string _content; ///< as it was given, until a component changes
    std::vector<Component> _components;
};

} // namespace fuzz
