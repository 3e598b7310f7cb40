#include "camera/cli/ConfigOptions.h"
#include "camera/cli/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camera::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Words = std::vector<std::string>;

ConfigOptions parseConfig(const Words& words)
{
    for (const base::Command& command : cameraProgram().commands) {
        if (command.name == "config") {
            return configOptions(*base::parseArguments(cameraProgram(), command, words));
        }
    }
    throw std::logic_error("no such command");
}

std::string refusedConfig(const Words& words)
{
    try {
        parseConfig(words);
    } catch (const base::UsageError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(ConfigOptions, readsEveryAction)
{
    const auto action = [](Words words) {
        words.insert(words.end(), {"--state", "d"});
        return parseConfig(words).action;
    };
    EXPECT_EQ(ConfigAction::set, action({"set", "a.xml"}));
    EXPECT_EQ(ConfigAction::get, action({"get"}));
    EXPECT_EQ(ConfigAction::list, action({"rules"}));
    EXPECT_EQ(ConfigAction::list, action({"modules", "list"}));
    EXPECT_EQ(ConfigAction::types, action({"modules", "types"}));
    EXPECT_EQ(ConfigAction::add, action({"rules", "add", "r.xml"}));
    EXPECT_EQ(ConfigAction::modify, action({"rules", "modify", "r.xml"}));
    EXPECT_EQ(ConfigAction::remove, action({"modules", "delete", "x"}));
    EXPECT_EQ(ConfigAction::history, action({"history"}));
    EXPECT_EQ(ConfigAction::restore, action({"restore", "3"}));
    EXPECT_EQ(ConfigAction::reset, action({"reset"}));
}

TEST(ConfigOptions, tellsRulesFromModulesAndKeepsNames)
{
    const ConfigOptions rules = parseConfig({"rules", "delete", "a", "b c", "--state", "d"});
    EXPECT_TRUE(rules.rules);
    EXPECT_THAT(rules.arguments, ElementsAre("a", "b c"));
    EXPECT_FALSE(parseConfig({"modules", "--state", "d"}).rules);
    EXPECT_EQ(7, parseConfig({"restore", "7", "--state", "d"}).sequence);
}

TEST(ConfigOptions, refusesWhatItCannotUseInOneSentence)
{
    EXPECT_THAT(refusedConfig({}), HasSubstr("ACTION is missing"));
    EXPECT_THAT(refusedConfig({"sett", "--state", "d"}), HasSubstr("'sett' is none of set, get, rules"));
    EXPECT_THAT(refusedConfig({"rules", "drop", "--state", "d"}), HasSubstr("'drop' is none of list, types, add"));
    EXPECT_THAT(refusedConfig({"set", "--state", "d"}), HasSubstr("a file is missing"));
    EXPECT_THAT(refusedConfig({"rules", "add", "--state", "d"}), HasSubstr("a file is missing"));
    EXPECT_THAT(refusedConfig({"rules", "delete", "--state", "d"}), HasSubstr("the name of what to delete is missing"));
    EXPECT_THAT(refusedConfig({"get", "x", "--state", "d"}), HasSubstr("'x' is too much"));
    EXPECT_THAT(refusedConfig({"restore", "--state", "d"}), HasSubstr("restore takes one number"));
    EXPECT_THAT(refusedConfig({"restore", "x", "--state", "d"}), HasSubstr("restore takes a whole number"));
    EXPECT_THAT(refusedConfig({"get", "--state", "d", "--camera", "e"}), HasSubstr("are given both"));
    EXPECT_EQ("--timeout takes a whole number from 1 to 86400, not '0'.", refusedConfig({"get", "--timeout", "0"}));
    EXPECT_THAT(refusedConfig({"get", "--frames", "2"}), HasSubstr("there is no option --frames"));
}

} // namespace
} // namespace camera::cli
