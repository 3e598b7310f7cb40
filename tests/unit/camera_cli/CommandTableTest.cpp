#include "camera/cli/Command.h"
#include "camera/cli/FramesFile.h"
#include "camera/cli/GatewayStart.h"
#include "camera/cli/SuperviseCommand.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace camera::cli {
namespace {

using namespace camera::base;

namespace fs = std::filesystem;
using namespace testing;

using Words = std::vector<std::string>;

// What is said of wrong arguments; nothing is asked of any camera then.
std::string refused(const Words& words)
{
    Console console(stdout, stderr);
    try {
        performProgram(cameraProgram(), words, console);
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
        {{"preset", "save", "\xFF"}, "camera preset save: NAME: '\xFF' is not UTF-8 text; write it in UTF-8."},
        {{"preset", "go"}, "camera preset go: NAME is missing; see camera preset go --help."},
        {{"preset", "go", "a", "--priority", "500"}, "--priority takes a whole number from 0 to 499, not '500'."},
        {{"preset", "rename", "a"}, "camera preset rename: NEW is missing; see camera preset rename --help."},
        {{"preset", "remove"}, "camera preset remove: NAME is missing; see camera preset remove --help."},
        {{"tour", "list", "--nonsense"},
         "camera tour list: there is no option --nonsense; see camera tour list --help."},
        {{"tour", "create", "a"},
         "camera tour create: PRESET[:SECONDS[:PERCENT]] is missing; see camera tour create --help."},
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
        {{"drive", "1", "-101", "0"}, "camera drive: VY takes a whole number from -100 to 100, not '-101'."},
        {{"drive", "1", "1", "0", "--for", "0"}, "--for takes a whole number from 1 to 3600000, not '0'."},
        {{"daynight"}, "camera daynight: begin|end is missing; see camera daynight --help."},
        {{"daynight", "noon"}, "camera daynight takes begin or end, not 'noon'."},
        {{"blanking", "maybe"}, "camera blanking takes on or off, not 'maybe'."},
        {{"blanking", "on", "#12345"},
         "camera blanking: COLOUR takes #RRGGBB, black, blue, green, grey, red, white, yellow, not '#12345'."},
        {{"rotate", "45"}, "camera rotate takes 0, 90, 180 or 270, not '45'."},
        {{"rules"}, "camera rules: what to do is missing: one of list, types, create, modify, delete."},
        {{"rules", "create"}, "camera rules create: FILE.xml is missing; see camera rules create --help."},
        {{"rules", "modify"}, "camera rules modify: FILE.xml is missing; see camera rules modify --help."},
        {{"rules", "delete"}, "camera rules delete: NAME is missing; see camera rules delete --help."},
        {{"rules", "types", "x"}, "camera rules types: 'x' is too much; see camera rules types --help."},
        {{"modules", "create"}, "camera modules create: FILE.xml is missing; see camera modules create --help."},
        {{"modules", "delete"}, "camera modules delete: NAME is missing; see camera modules delete --help."},
        {{"modules", "list", "x"}, "camera modules list: 'x' is too much; see camera modules list --help."},
        {{"rules", "list", "--state", "a", "--camera", "b"},
         "--state and --camera are given both; one names the camera."},
        {{"topics", "--state", "a"}, "camera topics: there is no option --state; see camera topics --help."},
        {{"topics", "x"}, "camera topics: 'x' is too much; see camera topics --help."},
        {{"events", "x"}, "camera events: 'x' is too much; see camera events --help."},
        {{"metadata", "x"}, "camera metadata: 'x' is too much; see camera metadata --help."},
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
        {{"run"}, "camera run: INPUT is missing; see camera run --help."},
        {{"config"}, "camera config: what to do is missing: one of get, set, presets, history, restore, reset."},
        {{"config", "set"}, "camera config set: FILE.xml is missing; see camera config set --help."},
        {{"config", "presets", "x"}, "camera config presets: 'x' is too much; see camera config presets --help."},
        {{"config", "restore"}, "camera config restore: N is missing; see camera config restore --help."},
        {{"config", "restore", "x"},
         "camera config restore: N takes a whole number from 1 to 9223372036854775807, not 'x'."},
    };
    for (const auto& [words, sentence] : cases) {
        EXPECT_EQ(refused(words), sentence) << testing::PrintToString(words);
    }
}

TEST(CommandTable, everyCommandHasHelpAndIsInTheProgramsHelp)
{
    const std::string all = programHelp(cameraProgram());
    for (const Command& command : cameraProgram().commands) {
        EXPECT_THAT(all, HasSubstr("\n  " + command.name)) << command.name;
        EXPECT_THAT(commandHelp(cameraProgram(), command), StartsWith("usage: camera " + command.name));
        EXPECT_THAT(command.summary, testing::MatchesRegex("[A-Z].*\\.")) << command.name;
        EXPECT_EQ(parseArguments(cameraProgram(), command, {"--help"}), std::nullopt);
    }
}

class PipelineArgumentsTest : public testing::Test {
protected:
    static Words after(const Words& words, bool first)
    {
        return pipelineArguments(*parseArguments(cameraProgram(), runCommand(), words), first);
    }
};

TEST_F(PipelineArgumentsTest, areThoseOfTheRun)
{
    EXPECT_THAT(after({"a", "--config", "a.xml", "-v", "--config=b.xml", "-v"}, true),
                ElementsAre("--config=a.xml", "--config=b.xml", "--", "a"));
    EXPECT_THAT(after({"--", "--config"}, true), ElementsAre("--", "--config"));
}

TEST_F(PipelineArgumentsTest, areWithoutWhatTheCameraKeepsOnceAStartHasTakenIt)
{
    EXPECT_THAT(after({"a", "--config", "a.xml", "--speed", "max", "--config=b.xml", "-v"}, false),
                ElementsAre("--speed=max", "--again", "--", "a"));
}

TEST_F(PipelineArgumentsTest, keepACameraMovable)
{
    EXPECT_THAT(after({"a", "--preset", "Door"}, false), ElementsAre("--ptz", "--again", "--", "a"));
    EXPECT_THAT(after({"--ptz", "--place=Door=1,2,3", "a", "--tour", "Door"}, false),
                ElementsAre("--tour=Door", "--ptz", "--again", "--", "a"));
}

class WantsGatewayTest : public testing::Test {
protected:
    static base::Arguments parsed(Words words)
    {
        words.insert(words.begin(), "a");
        return *parseArguments(cameraProgram(), runCommand(), words);
    }
    static bool wants(const Words& words) { return wantsGateway(parsed(words)); }
    static std::string refusal(const Words& words)
    {
        return kit::refusalOf<base::UsageError>([&] { wants(words); });
    }
};

TEST_F(WantsGatewayTest, aRunServesOnvifClientsUnlessItIsToEndByItself)
{
    for (const Words& words : {Words{}, {"--bind", "::1"}, {"--user", "a:b:administrator"}, {"--speed", "real"}}) {
        EXPECT_TRUE(wants(words)) << testing::PrintToString(words);
    }
    for (const Words& words :
         {Words{"--no-network"}, {"--speed", "max"}, {"--oneshot"}, {"--frames", "5"}, {"--no-network", "--oneshot"}}) {
        EXPECT_FALSE(wants(words)) << testing::PrintToString(words);
    }
    EXPECT_TRUE(wants({"--speed", "max", "--http", "0"}));
    EXPECT_TRUE(wants({"--oneshot", "--https", "0", "--users", "u"}));
}

TEST_F(WantsGatewayTest, whatExcludesEachOtherIsRefused)
{
    for (const char* option : {"--http=0", "--https=0", "--bind=::1", "--users=u", "--user=a:b:user",
                               "--advertise-host=a", "--no-discovery"}) {
        const std::string name = std::string(option).substr(0, std::string(option).find('='));
        EXPECT_EQ(refusal({option, "--no-network"}),
                  "camera run: --no-network and " + name + " exclude each other; keep one of them.");
    }
    for (const char* option : {"--bind=::1", "--users=u", "--user=a:b:user", "--advertise-host=a", "--no-discovery"}) {
        const std::string name = std::string(option).substr(0, std::string(option).find('='));
        EXPECT_EQ(refusal({option, "--frames", "1"}),
                  "camera run: " + name +
                      " needs --http or --https in a run with --speed max, --oneshot or --frames, "
                      "which otherwise serves no ONVIF clients.");
    }
}

TEST_F(WantsGatewayTest, aHostIsAdvertisedWhereThereIsDiscovery)
{
    EXPECT_TRUE(wants({"--advertise-host", "a", "--bind", "0.0.0.0"}));
    EXPECT_TRUE(wants({"--no-discovery"}));
    EXPECT_EQ(refusal({"--advertise-host=a", "--no-discovery", "--bind=0.0.0.0"}),
              "camera run: --no-discovery and --advertise-host exclude each other; keep one of them.");
    for (const Words& words : {Words{"--advertise-host=a"},
                               {"--advertise-host=a", "--bind=127.0.0.2"},
                               {"--advertise-host=a", "--bind=::1"}}) {
        EXPECT_EQ(refusal(words),
                  "camera run: --advertise-host needs --bind with an address that others reach, 0.0.0.0 "
                  "for instance; without it there is no discovery.");
    }
    for (const char* host : {"a b", "a/", "<", "a\n"}) {
        EXPECT_EQ(refused({"run", "a", "--advertise-host", host}),
                  "--advertise-host takes the name or the address of a host, not '" + std::string(host) + "'.");
    }
}

TEST_F(WantsGatewayTest, theStandardInputIsReadForOneThingOnly)
{
    for (const std::string input : {"-", "pipe:0"}) {
        const auto both = parseArguments(cameraProgram(), runCommand(), {input, "--users", "-"});
        EXPECT_EQ(kit::refusalOf<base::UsageError>([&] { wantsGateway(*both); }),
                  "camera run: --users - and the input '" + input +
                      "' both read the standard input; write the users into a file.");
    }
    EXPECT_TRUE(wants({"--users", "-"}));
}

TEST(CommandTable, aPortThatIsNoneIsRefused)
{
    for (const char* option : {"--http", "--https"}) {
        EXPECT_EQ(refused({"run", "a", option, "65536"}),
                  std::string(option) + " takes a whole number from 0 to 65535, not '65536'.");
    }
}

class FramesFileTest : public testing::Test {
protected:
    std::string refusal(const std::string& given, const std::string& name) const
    {
        return kit::refusalOf<CameraError>([&] { framesFile(state, given, name); });
    }

    kit::TemporaryFolder folder;
    const fs::path state = fs::canonical(folder.path());
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
