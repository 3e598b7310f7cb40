#pragma once

#include "kit/HostSeam.h"
#include "plugin/analytics/IRuleSet.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace kit {

class FakeEngine;

/// One module or rule as a rule set keeps it.
struct Component {
    std::string name;
    std::string type;
    std::string parameters;
};

/**
 * A rule set that keeps real content: it takes a document, adds, replaces and removes components and prints
 * the document again. Whether it accepts something is its engine's script.
 *
 * Once handed back it answers nothing any more; a call is then journaled as "used after release".
 */
class FakeRuleSet final : public analytics_lib::IRuleSet {
public:
    FakeRuleSet(FakeEngine& engine, int id);
    ~FakeRuleSet();

    bool validateFullConfig(const std::string& config) override;
    bool validateConfig(const std::string& name, const std::string& type, const std::string& parameters) override;
    bool setConfig(const std::string& name, const std::string& type, const std::string& parameters) override;
    bool detach() override;
    bool deleteBehavior(const std::string& name) override;
    bool setFullConfig(const std::string& config) override;
    std::string getFullConfig() override;

    int id() const { return _id; }
    bool released() const { return _released; }
    void release() { _released = true; }
    /// What getFullConfig answers, without a call in the journal.
    std::string content() const;
    void setContent(const std::string& text);

    /// The arguments that arrived last while the journal recorded.
    std::string lastFullConfig;
    Component lastComponent;

private:
    bool usable(const char* call) const;
    bool fixed() const;
    void remember(const std::string& name, const std::string& type, const std::string& parameters);
    void parse();
    bool removeComponent(const std::string& name);

    FakeEngine& _engine;
    int _id;
    bool _released = false;
    std::shared_ptr<const std::string> _text; ///< as it was given; null once a component changed it
    bool _parsed = false;                     ///< whether the components are those of the text
    std::vector<Component> _components;       ///< in the order in which they came
    std::set<std::string> _names;             ///< of the components, where the text is fixed
};

} // namespace kit
