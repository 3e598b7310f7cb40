#pragma once

#include "plugin/analytics/IRuleSet.h"

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
    const std::string& content() const { return _content; }
    void setContent(const std::string& text);

    /// The arguments that arrived last.
    std::string lastFullConfig;
    Component lastComponent;

private:
    bool usable(const char* call) const;
    bool removeComponent(const std::string& name);
    void print();

    FakeEngine& _engine;
    int _id;
    bool _released = false;
    std::string _content;
    std::vector<Component> _modules;
    std::vector<Component> _rules;
};

} // namespace kit
