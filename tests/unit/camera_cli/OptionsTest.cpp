#include "camera/base/OptionTable.h"
#include "camera/cli/ConfigOptions.h"
#include "camera/pipeline/RunOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camera::cli {
namespace {

using namespace camera::base;
using namespace camera::pipeline;

using testing::ElementsAre;
using testing::HasSubstr;

using Words = std::vector<std::string>;

std::string refusedRun(const Words& words)
{
    try {
        parseRun(words);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

std::string refusedConfig(const Words& words)
{
    try {
        parseConfig(words);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(RunOptions, hasDefaultsForEverythingButTheInput)
{
    const RunOptions options = parseRun({"film.mp4"});
    EXPECT_EQ("film.mp4", options.input);
    EXPECT_EQ(0, options.orientation);
    EXPECT_EQ(0, options.frames);
    EXPECT_TRUE(options.realSpeed);
    EXPECT_TRUE(options.loop);
    EXPECT_FALSE(options.camera.ptz);
    EXPECT_EQ("", options.camera.stateDir);
    EXPECT_EQ(0, options.camera.verbosity);
}

TEST(RunOptions, readsEveryOptionInBothForms)
{
    const RunOptions options = parseRun({"--config",  "a.xml",    "film.mp4",    "--config=b.xml", "--orientation",
                                         "270",       "--ptz",    "--preset",    "Door",           "--state=dir",
                                         "--frames",  "12",       "--speed=max", "--metadata",     "m.xml",
                                         "--overlay", "o.mp4",    "--picture",   "p.png",          "--plugin",
                                         "x.so",      "--engine", "e1.so",       "--engine",       "e2.so",
                                         "--loop",    "-v",       "-v"});
    EXPECT_EQ("film.mp4", options.input);
    EXPECT_THAT(options.configFiles, ElementsAre("a.xml", "b.xml"));
    EXPECT_EQ(270, options.orientation);
    EXPECT_TRUE(options.camera.ptz);
    EXPECT_EQ("Door", options.camera.preset);
    EXPECT_EQ("dir", options.camera.stateDir);
    EXPECT_EQ(12, options.frames);
    EXPECT_FALSE(options.realSpeed);
    EXPECT_EQ("m.xml", options.metadata);
    EXPECT_EQ("o.mp4", options.overlay);
    EXPECT_EQ("p.png", options.picture);
    EXPECT_EQ("x.so", options.camera.plugin);
    EXPECT_THAT(options.camera.engines, ElementsAre("e1.so", "e2.so"));
    EXPECT_TRUE(options.loop);
    EXPECT_EQ(2, options.camera.verbosity);
}

TEST(RunOptions, aRunAtRealSpeedBeginsAgainUnlessOnePassIsAskedFor)
{
    EXPECT_FALSE(parseRun({"a", "--oneshot"}).loop);
    EXPECT_FALSE(parseRun({"a", "--speed", "max"}).loop);
    EXPECT_TRUE(parseRun({"a", "--speed", "max", "--loop"}).loop);
    EXPECT_EQ("camera run: --loop and --oneshot exclude each other; keep one of them.",
              refusedRun({"a", "--loop", "--oneshot"}));
}

TEST(RunOptions, takesAPresetForACameraThatCanMove)
{
    EXPECT_TRUE(parseRun({"a", "--preset", "Door"}).camera.ptz);
}

TEST(RunOptions, takesWhatFollowsTwoDashesForTheInput)
{
    EXPECT_EQ("-strange.mp4", parseRun({"--", "-strange.mp4"}).input);
    EXPECT_EQ("-", parseRun({"-"}).input);
}

TEST(RunOptions, refusesWhatItCannotUseInOneSentence)
{
    EXPECT_THAT(refusedRun({}), HasSubstr("camera run: the input is missing; name a video file"));
    EXPECT_EQ("camera run: there is one input, 'a' and 'b' are two.", refusedRun({"a", "b"}));
    EXPECT_EQ("camera run: there is no option --colour; see camera run --help.", refusedRun({"a", "--colour"}));
    EXPECT_EQ("camera run: there is no option -x; see camera run --help.", refusedRun({"a", "-x"}));
    EXPECT_EQ("--orientation takes 0, 90, 180 or 270, not '45'.", refusedRun({"a", "--orientation", "45"}));
    EXPECT_EQ("--orientation takes 0, 90, 180 or 270, not '90.0'.", refusedRun({"a", "--orientation=90.0"}));
    EXPECT_EQ("--speed takes real or max, not 'fast'.", refusedRun({"a", "--speed", "fast"}));
    EXPECT_EQ("camera run: --config needs FILE.xml after it.", refusedRun({"a", "--config"}));
    EXPECT_EQ("camera run: --config needs FILE.xml after it.", refusedRun({"a", "--config", "--ptz"}));
    EXPECT_EQ("camera run: --ptz takes no value.", refusedRun({"a", "--ptz=yes"}));
    EXPECT_EQ("camera run: --state is given twice; once is enough.", refusedRun({"a", "--state", "x", "--state", "y"}));
    EXPECT_THAT(refusedRun({"a", "--state="}), HasSubstr("--state is given an empty value"));
}

TEST(RunOptions, refusesNumbersOfFramesThatAreNone)
{
    for (const std::string text : {"0", "1.5", "ten", "", "1e3", "99999999999999999999", " 1", "1 "}) {
        EXPECT_EQ("--frames takes a whole number from 1 to 1000000000000, not '" + text + "'.",
                  refusedRun({"a", "--frames=" + text}));
    }
    EXPECT_THAT(refusedRun({"a", "--frames", "-1"}), HasSubstr("--frames needs N after it"));
}

TEST(RunOptions, helpNeedsNoInputAndNamesEveryOption)
{
    EXPECT_TRUE(parseRun({"--help"}).help);
    EXPECT_TRUE(parseRun({"-h"}).help);
    for (const std::string option : {"--config", "--orientation", "--ptz", "--preset", "--state", "--frames", "--speed",
                                     "--metadata", "--overlay", "--picture", "--plugin", "--engine", "-v", "--loop"}) {
        EXPECT_THAT(runHelp(), HasSubstr("  " + option));
    }
    EXPECT_THAT(runHelp(), HasSubstr("switchlevels"));
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
    EXPECT_THAT(refusedConfig({}), HasSubstr("what to do is missing"));
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

TEST(ConfigOptions, helpNamesEveryAction)
{
    EXPECT_TRUE(parseConfig({"--help"}).help);
    for (const std::string word : {"set", "get", "rules", "modules", "history", "restore", "reset", "--state"}) {
        EXPECT_THAT(configHelp(), HasSubstr(word));
    }
}

} // namespace
} // namespace camera::cli
