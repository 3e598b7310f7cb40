// The lock is held for the whole of every operation, engine calls included, and never stays behind.

#include "unit/settings/RuleSetMapFixture.h"

#include <chrono>
#include <functional>

namespace korva::meridan::tests {

namespace {

struct Operation {
    const char* name;
    std::function<void(RuleSetMap&, kit::FakeEngine&)> run;
    std::vector<const char*> engineCalls; ///< what it calls on a map that holds "Motion"
};

std::ostream& operator<<(std::ostream& stream, const Operation& operation)
{
    return stream << operation.name;
}

class RuleSetMapLockTest : public RuleSetMapTest, public ::testing::WithParamInterface<Operation> {};

TEST_P(RuleSetMapLockTest, waitsForTheLockBeforeItBegins)
{
    given("Motion", configuration("Motion"));
    std::unique_lock<std::mutex> held(RuleSetMapPeer::mutex(map));

    auto running = std::async(std::launch::async, [this] { GetParam().run(map, engine); });

    EXPECT_EQ(running.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    EXPECT_THAT(takeEngineCalls(), IsEmpty());
    held.unlock();
    running.get();
}

TEST_P(RuleSetMapLockTest, holdsTheLockWhileItCallsTheEngine)
{
    given("Motion", configuration("Motion"));
    int seen = 0;
    for (const char* call : GetParam().engineCalls) {
        engine.before[call] = [this, &seen] {
            ++seen;
            EXPECT_TRUE(RuleSetMapPeer::isLocked(map));
        };
    }

    GetParam().run(map, engine);

    EXPECT_EQ(seen, static_cast<int>(GetParam().engineCalls.size()));
    EXPECT_FALSE(RuleSetMapPeer::isLocked(map));
}

TEST_P(RuleSetMapLockTest, letsGoOfTheLockWhenTheEngineThrows)
{
    for (const char* call : GetParam().engineCalls) {
        engine.before.clear();
        map.clear();
        given("Motion", configuration("Motion"));
        engine.before[call] = [] { throw std::runtime_error("engine"); };

        EXPECT_THROW(GetParam().run(map, engine), std::runtime_error) << call;

        EXPECT_FALSE(RuleSetMapPeer::isLocked(map)) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(
    everyOperation, RuleSetMapLockTest,
    ::testing::Values(
        Operation{"clear", [](auto& map, auto&) { map.clear(); }, {}},
        Operation{"getFullConfig", [](auto& map, auto&) { map.getFullConfig("Motion"); }, {}},
        Operation{"setFullConfig", [](auto& map, auto&) { map.setFullConfig("Motion", ""); }, {}},
        Operation{"setConfig",
                  [](auto& map, auto&) { map.setConfig("Motion", "R2", "tt:MotionRule", ""); },
                  {"ruleSet.setConfig", "ruleSet.getFullConfig"}},
        Operation{"getAllConfigs", [](auto& map, auto&) { map.getAllConfigs(); }, {"ruleSet.getFullConfig"}},
        Operation{"deleteRuleSet",
                  [](auto& map, auto& engine) { map.deleteRuleSet("Motion", &engine); },
                  {"ruleSet.detach", "releaseRuleSet"}},
        Operation{"deleteRulesWithPrefix",
                  [](auto& map, auto& engine) { map.deleteRulesWithPrefix(&engine, "Motion"); },
                  {"releaseRuleSet"}},
        Operation{"activateRuleSet",
                  [](auto& map, auto& engine) { map.activateRuleSet(&engine, "Motion"); },
                  {"ruleSet.getFullConfig", "activateRuleSet"}},
        Operation{"deleteBehavior", [](auto& map, auto&) { map.deleteBehavior("R1"); }, {"ruleSet.deleteBehavior"}},
        Operation{"validateConfigOfAKnownKey",
                  [](auto& map, auto& engine) { map.validateConfig(&engine, "Motion", "R2", "tt:MotionRule", ""); },
                  {"ruleSet.validateConfig"}},
        Operation{"validateConfigOfANewKey",
                  [](auto& map, auto& engine) { map.validateConfig(&engine, "MotionP1", "R2", "tt:MotionRule", ""); },
                  {"createRuleSet", "ruleSet.validateConfig"}},
        Operation{"validateFullConfig",
                  [](auto& map, auto& engine) { map.validateFullConfig(&engine, "MotionP1", ""); },
                  {"createRuleSet", "ruleSet.validateFullConfig"}},
        Operation{"restoreFullConfig",
                  [](auto& map, auto& engine) { map.restoreFullConfig(&engine, "MotionP1", ""); },
                  {"createRuleSet", "ruleSet.setFullConfig"}}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace

} // namespace korva::meridan::tests
