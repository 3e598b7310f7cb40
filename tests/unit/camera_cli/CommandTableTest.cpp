#include "camera/base/OptionTable.h"
#include "camera/cli/Command.h"
#include "camera/cli/FramesFile.h"
#include "camera/cli/SuperviseCommand.h"
#include "unit/camera_video/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace camera::cli {
namespace {

using namespace camera::base;
using namespace camera::pipeline;

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using Words = std::vector<std::string>;

// What is said of wrong arguments; nothing is asked of any camera then.
std::string refused(const Words& words)
{
    Console console(stdout, stderr);
    try {
        performCommand(words, console);
    } catch (const UsageError& error) {
        return error.what();
    } catch (const std::exception& error) {
        return std::string("not the arguments: ") + error.what();
    }
    return "accepted";
}

TEST(CommandTable, refusesWrongArgumentsOfEveryCommandInOneSentence)
{
    const std::vector<std::pair<Words, std::string>> cases = {
        {{}, "a command is missing; see camera --help."},
        {{"walk"}, "there is no command 'walk'; see camera --help."},
        {{"preset"}, "camera preset: what to do is missing: one of list, save, go, rename, remove."},
        {{"preset", "eat"}, "camera preset: 'eat' is none of list, save, go, rename, remove."},
        {{"preset", "list", "x"}, "camera preset list: 'x' is too much; see camera preset list --help."},
        {{"preset", "save"}, "camera preset save: NAME is missing; see camera preset save --help."},
        {{"preset", "save", ""}, "camera preset save: NAME is empty; see camera preset save --help."},
        {{"preset", "save", "\xFF"}, "camera preset save: '\xFF' is not UTF-8 text; write it in UTF-8."},
        {{"preset", "go"}, "camera preset go: NAME is missing; see camera preset go --help."},
        {{"preset", "go", "a", "--priority", "500"}, "--priority takes a whole number from 0 to 499, not '500'."},
        {{"preset", "rename", "a"}, "camera preset rename: NEW is missing; see camera preset rename --help."},
        {{"preset", "remove"}, "camera preset remove: NAME is missing; see camera preset remove --help."},
        {{"tour", "list", "--nonsense"},
         "camera tour list: there is no option --nonsense; see camera tour list --help."},
        {{"tour", "create", "a"},
         "camera tour create: PRESET[:DWELL_S[:SPEED]] is missing; see camera tour create --help."},
        {{"tour", "create", "a", "b:x"}, "camera tour create: the stop 'b:x' takes a number from 0 to 86400, not 'x'."},
        {{"tour", "create", "a", "b:1:101"},
         "camera tour create: the stop 'b:1:101' takes a whole number from 1 to 100, not '101'."},
        {{"tour", "create", "a", ":1"},
         "camera tour create: the stop ':1' names no preset; a stop is PRESET, "
         "PRESET:SECONDS or PRESET:SECONDS:PERCENT."},
        {{"tour", "start"}, "camera tour start: NAME is missing; see camera tour start --help."},
        {{"tour", "stop", "x"}, "camera tour stop: 'x' is too much; see camera tour stop --help."},
        {{"tour", "pause", "x"}, "camera tour pause: 'x' is too much; see camera tour pause --help."},
        {{"tour", "resume", "x"}, "camera tour resume: 'x' is too much; see camera tour resume --help."},
        {{"tour", "remove"}, "camera tour remove: NAME is missing; see camera tour remove --help."},
        {{"move", "1", "2"}, "camera move: ZOOM is missing; see camera move --help."},
        {{"move", "361", "2", "1"}, "camera move: PAN takes a number from -360 to 360, not '361'."},
        {{"move", "1", "-90.5", "1"}, "camera move: TILT takes a number from -90 to 90, not '-90.5'."},
        {{"move", "1", "2", "0.5"}, "camera move: ZOOM takes a number from 1 to 1000, not '0.5'."},
        {{"move", "1x", "2", "1"}, "camera move: PAN takes a number from -360 to 360, not '1x'."},
        {{"move", "1-2", "2", "1"}, "camera move: PAN takes a number from -360 to 360, not '1-2'."},
        {{"move", "1", "1.2.3", "1"}, "camera move: TILT takes a number from -90 to 90, not '1.2.3'."},
        {{"move", "nan", "2", "1"}, "camera move: PAN takes a number from -360 to 360, not 'nan'."},
        {{"move", "0x1", "2", "1"}, "camera move: PAN takes a number from -360 to 360, not '0x1'."},
        {{"stop", "now"}, "camera stop: 'now' is too much; see camera stop --help."},
        {{"drive", "1", "2"}, "camera drive: VZ is missing; see camera drive --help."},
        {{"drive", "1", "-101", "0"}, "camera drive takes a whole number from -100 to 100, not '-101'."},
        {{"drive", "1", "1", "0", "--for", "0"}, "--for takes a whole number from 1 to 3600000, not '0'."},
        {{"daynight"}, "camera daynight: begin|end is missing; see camera daynight --help."},
        {{"daynight", "noon"}, "camera daynight takes begin or end, not 'noon'."},
        {{"blanking", "maybe"}, "camera blanking takes on or off, not 'maybe'."},
        {{"blanking", "on", "#12345"},
         "camera blanking takes a colour as #RRGGBB, black, blue, green, grey, red, "
         "white, yellow, not '#12345'."},
        {{"rotate", "45"}, "camera rotate takes 0, 90, 180 or 270, not '45'."},
        {{"rules"}, "camera rules: what to do is missing: one of list, types, create, modify, delete."},
        {{"rules", "create"}, "camera rules create: FILE is missing; see camera rules create --help."},
        {{"rules", "modify"}, "camera rules modify: FILE is missing; see camera rules modify --help."},
        {{"rules", "delete"}, "camera rules delete: NAME is missing; see camera rules delete --help."},
        {{"rules", "types", "x"}, "camera rules types: 'x' is too much; see camera rules types --help."},
        {{"modules", "create"}, "camera modules create: FILE is missing; see camera modules create --help."},
        {{"modules", "delete"}, "camera modules delete: NAME is missing; see camera modules delete --help."},
        {{"modules", "list", "x"}, "camera modules list: 'x' is too much; see camera modules list --help."},
        {{"presets-used", "x"}, "camera presets-used: 'x' is too much; see camera presets-used --help."},
        {{"topics", "x"}, "camera topics: 'x' is too much; see camera topics --help."},
        {{"events", "x"}, "camera events: 'x' is too much; see camera events --help."},
        {{"metadata", "--json"}, "camera metadata: there is no option --json; see camera metadata --help."},
        {{"frames", "record", "Motion"}, "camera frames record: FILE is missing; see camera frames record --help."},
        {{"frames", "record", "Motion", "f", "-1"},
         "camera frames record: N takes a whole number from 0 to 4294967295, not '-1'."},
        {{"frames", "replay"}, "camera frames replay: ENGINE is missing; see camera frames replay --help."},
        {{"status", "x"}, "camera status: 'x' is too much; see camera status --help."},
        {{"status", "--timeout", "0"}, "--timeout takes a whole number from 1 to 86400, not '0'."},
        {{"status", "--camera", ""}, "camera status: --camera is given an empty value; see camera status --help."},
        {{"shutdown", "x"}, "camera shutdown: 'x' is too much; see camera shutdown --help."},
        {{"fault", "day_night"}, "camera fault: absent|fail|slow|off is missing; see camera fault --help."},
        {{"fault", "day_night", "tired"}, "camera fault takes absent, fail, slow or off, not 'tired'."},
        {{"fault", "day_night", "slow"}, "camera fault: SECONDS is missing after slow; see camera fault --help."},
        {{"fault", "day_night", "fail", "1"}, "camera fault: '1' is too much; only slow takes seconds."},
        {{"fault", "day_night", "slow", "-1"}, "camera fault: SECONDS takes a number from 0 to 3600, not '-1'."},
        {{"faults", "x"}, "camera faults: 'x' is too much; see camera faults --help."},
        {{"completion", "fish"}, "camera completion takes bash or zsh, not 'fish'."},
        {{"run"}, "camera run: the input is missing; name a video file, a URL, or scene: for a generated scene."},
        {{"config"},
         "camera config: what to do is missing: set, get, rules, modules, history, restore or reset; see camera "
         "config --help."},
    };
    for (const auto& [words, sentence] : cases) {
        EXPECT_EQ(refused(words), sentence) << testing::PrintToString(words);
    }
}

TEST(CommandTable, everyCommandHasHelpAndIsInTheProgramsHelp)
{
    const std::string all = programHelp();
    for (const Command& command : commands()) {
        EXPECT_THAT(all, HasSubstr("\n  " + command.name)) << command.name;
        EXPECT_FALSE(command.help.empty()) << command.name;
        if (!command.raw) {
            EXPECT_THAT(commandHelp(command), StartsWith("usage: camera " + command.name));
            EXPECT_EQ(parseCommand(command, {"--help"}), std::nullopt);
        }
    }
}

// What a command prints by itself, with standard output being this file.
class StandardOutputTest : public testing::TestWithParam<Words> {
protected:
    static int codeOf(const Words& words, const std::string& file)
    {
        std::fflush(stdout);
        const int before = ::dup(STDOUT_FILENO);
        const int other = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        ::dup2(other, STDOUT_FILENO);
        ::close(other);
        Console console(stdout, stderr);
        const int code = performCommand(words, console);
        std::clearerr(stdout);
        ::dup2(before, STDOUT_FILENO);
        ::close(before);
        return code;
    }
};

TEST_P(StandardOutputTest, isHelpOrAScriptWhoseCodeSaysWhetherItWasPrinted)
{
    const video::TemporaryFolder folder;
    EXPECT_EQ(codeOf(GetParam(), folder.path("text")), 0);
    EXPECT_GT(std::filesystem::file_size(folder.path("text")), 100U);
    EXPECT_EQ(codeOf(GetParam(), "/dev/full"), 1);
}

INSTANTIATE_TEST_SUITE_P(Texts, StandardOutputTest,
                         testing::Values(Words{"--help"}, Words{"help"}, Words{"run", "--help"},
                                         Words{"config", "--help"}, Words{"preset", "go", "--help"},
                                         Words{"completion", "bash"}));

TEST(CommandTable, listingsHaveAFormForPrograms)
{
    for (const Command& command : commands()) {
        const bool list = command.name.find("list") != std::string::npos ||
                          command.name.find("types") != std::string::npos || command.name == "status" ||
                          command.name == "events" || command.name == "topics" || command.name == "faults" ||
                          command.name == "presets-used";
        EXPECT_EQ(command.listing, list) << command.name;
    }
}

class CompletionTest : public testing::Test {
protected:
    // What bash offers after these words, the last of which is being typed.
    std::string offered(const std::string& words, int current) const
    {
        const std::string script = folder.write("completion", completionScript("bash"));
        const std::string command = "bash -c 'source \"" + script + "\"; COMP_WORDS=(" + words +
                                    "); COMP_CWORD=" + std::to_string(current) +
                                    "; _camera; echo \"${COMPREPLY[@]}\"' 2>&1";
        std::FILE* out = ::popen(command.c_str(), "r");
        std::string text;
        std::array<char, 4096> part{};
        while (const std::size_t length = std::fread(part.data(), 1, part.size(), out)) {
            text.append(part.data(), length);
        }
        EXPECT_EQ(::pclose(out), 0);
        return " " + text.substr(0, text.find_last_not_of('\n') + 1) + " ";
    }

    video::TemporaryFolder folder;
};

TEST_F(CompletionTest, offersEveryCommandInBash)
{
    const std::string first = offered("camera \"\"", 1);
    for (const Command& command : commands()) {
        const std::size_t blank = command.name.find(' ');
        EXPECT_THAT(first, HasSubstr(" " + command.name.substr(0, blank) + " "));
        if (blank != std::string::npos) {
            EXPECT_THAT(offered("camera " + command.name.substr(0, blank) + " \"\"", 2),
                        HasSubstr(" " + command.name.substr(blank + 1) + " "));
        }
    }
}

TEST_F(CompletionTest, offersChoicesOptionsAndFiles)
{
    EXPECT_EQ(offered("camera daynight b", 2), " begin ");
    EXPECT_EQ(offered("camera preset re", 2), " remove rename ");
    EXPECT_EQ(offered("camera preset go --p", 3), " --priority ");
    EXPECT_EQ(offered("camera rules list --j", 3), " --json ");
    folder.write("rule.xml", "x");
    EXPECT_THAT(offered("camera rules create " + folder.path("ru"), 3), HasSubstr(folder.path("rule.xml")));
    EXPECT_EQ(offered("camera nothing x", 2), "  ");
}

TEST_F(CompletionTest, namesEveryCommandInZsh)
{
    const std::string script = completionScript("zsh");
    EXPECT_THAT(script, StartsWith("#compdef camera\n"));
    for (const Command& command : commands()) {
        EXPECT_THAT(script, HasSubstr("    '" + command.name + "') next="));
    }
}

TEST(RestartArguments, leavesOutWhatTheCameraHasKeptSinceItsFirstStart)
{
    EXPECT_THAT(restartArguments({"film.mp4", "--config", "a.xml", "--speed", "max", "--config=b.xml", "-v"}),
                ElementsAre("film.mp4", "--speed", "max", "-v"));
    EXPECT_THAT(restartArguments({"--", "--config"}), ElementsAre("--", "--config"));
}

TEST(RestartArguments, keepsACameraMovable)
{
    EXPECT_THAT(restartArguments({"a", "--preset", "Door"}), ElementsAre("--ptz", "a"));
    EXPECT_THAT(restartArguments({"--ptz", "--place=Door=1,2,3", "a", "--config", "a.xml", "--tour", "Door"}),
                ElementsAre("--ptz", "a", "--tour", "Door"));
}

class FramesFileTest : public testing::Test {
protected:
    std::string refusal(const std::string& given, const std::string& name) const
    {
        try {
            return "taken: " + framesFile(state, given, name);
        } catch (const CameraError& error) {
            return error.what();
        }
    }

    video::TemporaryFolder folder;
    const fs::path state = fs::canonical(folder.path("."));
};

TEST_F(FramesFileTest, liesInTheStateFoldersFrames)
{
    EXPECT_EQ(framesFile(state, "", "walk"), (state / "frames" / "walk").string());
    EXPECT_TRUE(fs::is_directory(state / "frames"));
    EXPECT_EQ(framesFile(state, "", (state / "frames" / "sub" / ".." / "walk").string()),
              (state / "frames" / "walk").string());
}

TEST_F(FramesFileTest, refusesWhatLiesElsewhereHoweverItIsNamed)
{
    const std::string end = "' does not lie in '" + (state / "frames").string() +
                            "'; name one there, or another folder with --frames-dir DIR";
    fs::create_directories(state / "frames");
    fs::create_directory_symlink("/tmp", state / "frames" / "link");
    for (const std::string name : {"/tmp/walk", "../walk", "sub/../../walk", "link/walk", ".", "..", "/"}) {
        EXPECT_EQ(refusal("", name), "the file '" + name + end);
    }
    EXPECT_THAT(refusal("", (state / "frames2" / "walk").string()), HasSubstr(end));
}

TEST_F(FramesFileTest, liesInTheFolderThatIsGivenInstead)
{
    EXPECT_EQ(framesFile(state, (state / "other").string(), "walk"), (state / "other" / "walk").string());
    EXPECT_THAT(refusal((state / "other").string(), "/tmp/walk"), HasSubstr("does not lie in"));
    folder.write("file", "x");
    EXPECT_THAT(refusal((state / "file").string(), "walk"), StartsWith("the folder '" + (state / "file").string()));
}

} // namespace
} // namespace camera::cli
