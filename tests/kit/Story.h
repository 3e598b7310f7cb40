#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace kit {

// What the journal must hold, built from what happens, so that the text of a line stands in one place.

using Lines = std::vector<std::string>;

/// The preset part of the key while a camera that can move stands at no preset.
inline constexpr char kAway[] = "ZintuInternalSimpleAnalyticsPreset";

Lines joined(std::initializer_list<Lines> parts);

std::string activeKeyLine(const std::string& key);
std::string clearingLine(const std::string& engine);
std::string activatingLine(const std::string& key);

/// An engine is reconfigured for a key that it has no rule set for.
Lines cleared(const std::string& engine, const std::string& key);
/// Every one of these engines is reconfigured while analytics rests.
Lines stopped(std::initializer_list<std::string> engines);
/// An engine is reconfigured and gets the rule set of that number; contents are the lines about its rules.
Lines activated(const std::string& engine, const std::string& key, int ruleSet, const Lines& contents = {});

/// A single component is offered to an engine's new rule set, which refuses it.
Lines refusedByNewRuleSet(const std::string& engine, int ruleSet, const std::string& component,
                          const std::string& keyLine);

/// The start of the plug-in with everything in it; device services are missing unless lines for them are given.
class StartStory {
public:
    enum class Outcome { kTaken, kRefused, kNoRuleSet };

    explicit StartStory(bool movable) : _movable(movable) {}

    /// In the order of the factory.
    StartStory& engines(std::initializer_list<std::string> names);
    /// Stored keys in byte order; an engine restores those that begin with its name.
    StartStory& restores(std::initializer_list<std::string> keys);
    /// What becomes of one of them.
    StartStory& restore(const std::string& key, Outcome outcome);
    /// Where a camera that can move stands.
    StartStory& atPreset(const std::string& preset);
    /// What the three device services show, up to the orientation.
    StartStory& devices(Lines lines);
    StartStory& orientation(int degrees);

    Lines lines() const;
    operator Lines() const { return lines(); } // reads as its lines

private:
    struct RuleSet {
        std::string engine;
        std::string key;
        int number;
    };

    Lines restored(std::vector<RuleSet>& ruleSets) const;
    Lines reconfigured(const std::vector<RuleSet>& ruleSets) const;
    Lines positioned(const std::vector<RuleSet>& ruleSets) const;

    bool _movable;
    std::vector<std::string> _engines;
    std::vector<std::pair<std::string, Outcome>> _keys;
    std::string _preset;
    Lines _devices;
    int _orientation = 0;
};

StartStory fixedCamera();
StartStory movableCamera();

/// Missing services, as a start shows them.
Lines missingDevices();

} // namespace kit
