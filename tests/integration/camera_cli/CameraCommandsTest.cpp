#include "camera/cli/Command.h"
#include "integration/camera_cli/FakeCamera.h"
#include "kit/Eventually.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <json/json.h>

#include <csignal>
#include <cstdio>
#include <future>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace camera::cli {
namespace {

using namespace camera::base;

namespace fs = std::filesystem;
using namespace testing;

using Words = std::vector<std::string>;

/// The commands against a camera whose every answer the test gives.
class CameraCommandsTest : public testing::Test {
protected:
    CameraCommandsTest()
    {
        ::setenv("XDG_RUNTIME_DIR", folder.path().string().c_str(), 1);
        fake = std::make_unique<FakeCamera>(state);
    }
    ~CameraCommandsTest() override
    {
        fake.reset();
        ::unsetenv("XDG_RUNTIME_DIR");
        std::fclose(out);
        std::fclose(err);
    }

    // The exit code; what was printed is in printed() afterwards.
    int perform(const Words& words)
    {
        try {
            return performProgram(cameraProgram(), words, console);
        } catch (const UsageError& error) {
            console.error(error.what());
            return 2;
        } catch (const std::exception& error) {
            console.error(error.what());
            return 1;
        }
    }

    static std::string contentOf(std::FILE* file)
    {
        std::string text(1 << 16, '\0');
        const ssize_t length = ::pread(::fileno(file), text.data(), text.size(), 0);
        text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return text;
    }

    std::string printed() const { return contentOf(out); }
    std::string complained() const { return contentOf(err); }

    // Output of one command that succeeds.
    std::string outputOf(const Words& words)
    {
        const std::size_t before = printed().size();
        EXPECT_EQ(perform(words), 0) << testing::PrintToString(words) << complained();
        return printed().substr(before);
    }

    // The one sentence of a command that fails.
    std::string failureOf(const Words& words)
    {
        const std::size_t before = complained().size();
        EXPECT_EQ(perform(words), 1) << testing::PrintToString(words);
        return complained().substr(before);
    }

    // The call that one command makes.
    std::string callOf(const Words& words)
    {
        const std::size_t before = fake->calls().size();
        EXPECT_EQ(perform(words), 0) << testing::PrintToString(words) << complained();
        std::string all;
        const std::vector<std::string> calls = fake->calls();
        for (std::size_t i = before; i < calls.size(); ++i) {
            all += (i == before ? "" : "; ") + calls[i];
        }
        return all;
    }

    // The call by which one command changes something. What it asks before says how, what it asks afterwards is
    // compared with what is stored.
    std::string changeOf(const Words& words)
    {
        std::string calls = callOf(words);
        const std::string asked =
            "analytics.engines; onvif_analytic_service.getCurrentRules; onvif_analytic_service.getCurrentEngines; ";
        calls.erase(0, calls.rfind(asked, 0) == 0 ? asked.size() : 0);
        return calls.substr(0, calls.find("; "));
    }

    kit::TemporaryFolder folder;
    const fs::path state = fs::canonical(folder.path()) / "s";
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    Console console{out, err};
    std::unique_ptr<FakeCamera> fake;
};

TEST_F(CameraCommandsTest, positioningCommandsAskForWhatTheyWereToldInTheCamerasUnits)
{
    fake->serve();
    EXPECT_EQ(callOf({"preset", "save", "Door"}), "positioning.savePreset Door");
    EXPECT_EQ(callOf({"preset", "go", "Door"}), "positioning.goToPreset Door 100");
    EXPECT_EQ(callOf({"preset", "go", "Door", "--priority", "7"}), "positioning.goToPreset Door 7");
    EXPECT_EQ(callOf({"preset", "rename", "Door", "Gate"}), "positioning.renamePreset Door Gate");
    EXPECT_EQ(callOf({"preset", "remove", "Door"}), "positioning.removePreset Door");
    EXPECT_EQ(callOf({"tour", "create", "Walk", "Door", "Gate:1.5", "Yard:0:50"}),
              "positioning.createTour Walk Door/5000/100 Gate/1500/100 Yard/0/50");
    EXPECT_EQ(changeOf({"tour", "start", "Walk", "--priority=400"}), "positioning.startTour Walk 400");
    EXPECT_EQ(callOf({"tour", "stop"}), "positioning.stopTour");
    EXPECT_EQ(callOf({"tour", "pause"}), "positioning.pauseTour");
    EXPECT_EQ(callOf({"tour", "resume"}), "positioning.resumeTour");
    EXPECT_EQ(callOf({"tour", "remove", "Walk"}), "positioning.removeTour Walk");
    EXPECT_EQ(changeOf({"move", "12.5", "-3", "2.0"}), "positioning.moveTo 12500 -3000 200 100");
    EXPECT_EQ(changeOf({"move", "-12.5", ".25", "1", "--priority", "0"}), "positioning.moveTo 347500 250 100 0");
    EXPECT_EQ(changeOf({"move", "360", "0", "1"}), "positioning.moveTo 0 0 100 100");
    EXPECT_EQ(changeOf({"move", "-360", "0", "1"}), "positioning.moveTo 0 0 100 100");
    EXPECT_EQ(callOf({"stop"}), "positioning.stop 100");
    EXPECT_EQ(callOf({"drive", "-100", "0", "7", "--for", "250"}), "positioning.drive -100 0 7 250 100");
    EXPECT_EQ(callOf({"drive", "1", "2", "3"}), "positioning.drive 1 2 3 0 100");
    EXPECT_EQ(complained(), "");
}

TEST_F(CameraCommandsTest, aTourThatLeavesPresetsOutAndAMoveBeyondThePictureSaySo)
{
    fake->serve();
    EXPECT_EQ(outputOf({"tour", "start", "Walk"}), "Tour 'Walk' runs.\n");
    EXPECT_EQ(outputOf({"move", "12.5", "-3", "2.0"}), "On its way to pan 12.500  tilt -3.000  zoom 2.00.\n");
    fake->change()->tourPreset = "Gone";
    fake->change()->elsewhere = true;
    EXPECT_EQ(outputOf({"tour", "start", "Walk"}),
              "Tour 'Walk' runs.\nIt leaves out what is no preset any more: 'Gone'.\n");
    EXPECT_EQ(outputOf({"move", "90", "0", "1"}), "On its way to pan 90.000  tilt 0.000  zoom 1.00.\n"
                                                  "The picture of the input ends before that; the camera will show its "
                                                  "edge.\n");
}

TEST_F(CameraCommandsTest, deviceCommandsReachTheirServices)
{
    fake->serve();
    EXPECT_EQ(callOf({"daynight", "begin"}), "day_night.begin");
    EXPECT_EQ(callOf({"daynight", "end"}), "day_night.end");
    EXPECT_EQ(callOf({"blanking", "off"}), "window_blanking.setEnable false");
    EXPECT_EQ(callOf({"blanking", "on", "#10fF02"}),
              "window_blanking.setRegionColor 16 255 2; window_blanking.setEnable true");
    for (const auto& [name, colour] :
         {std::pair("black", "0 0 0"), std::pair("white", "255 255 255"), std::pair("grey", "128 128 128"),
          std::pair("red", "255 0 0"), std::pair("green", "0 255 0"), std::pair("blue", "0 0 255"),
          std::pair("yellow", "255 255 0")}) {
        EXPECT_EQ(callOf({"blanking", "on", name}),
                  std::string("window_blanking.setRegionColor ") + colour + "; window_blanking.setEnable true");
    }
    EXPECT_EQ(callOf({"rotate", "270"}), "rotate.setAngle 270");
    EXPECT_EQ(callOf({"fault", "day_night", "slow", "1.5"}), "services.setFault day_night slow 1.5");
    EXPECT_EQ(callOf({"fault", "rotate", "off"}), "services.setFault rotate off 0");
    EXPECT_EQ(callOf({"shutdown"}), "supervisor.stop");
    EXPECT_EQ(callOf({"log", "debug"}),
              "supervisor.setLogLevel debug; services.setLogLevel debug; pipeline.setLogLevel debug");
}

TEST_F(CameraCommandsTest, listingsArePrintedForPeopleAndForPrograms)
{
    fake->serve();
    EXPECT_EQ(outputOf({"preset", "list"}),
              "Door  pan 12.500  tilt -3.000  zoom 2.00\nGate  pan 0.000  tilt 0.000  zoom 1.00\n");
    EXPECT_EQ(outputOf({"preset", "list", "--json"}), "{\"preset\":\"Door\",\"pan\":12.5,\"tilt\":-3,\"zoom\":2}\n"
                                                      "{\"preset\":\"Gate\",\"pan\":0,\"tilt\":0,\"zoom\":1}\n");
    EXPECT_EQ(outputOf({"tour", "list"}), "Walk  Door 1.5 s 50 %\n");
    EXPECT_EQ(outputOf({"tour", "list", "--json"}),
              "{\"preset\":\"Door\",\"seconds\":1.5,\"speedPercent\":50,\"tour\":\"Walk\",\"tourStop\":0}\n");
    EXPECT_EQ(outputOf({"rules", "list"}), "<tt:Rule Name=\"Gate\" Type=\"tt:X\"/>\n");
    EXPECT_EQ(
        outputOf({"rules", "list", "--json"}),
        "{\"rule\":\"Gate\",\"preset\":\"\",\"loaded\":true,\"type\":\"tt:X\",\"xml\":\"<tt:Rule Name=\\\"Gate\\\" "
        "Type=\\\"tt:X\\\"/>\"}\n");
    EXPECT_EQ(outputOf({"rules", "types"}), "tt:X\ntt:Y\n");
    EXPECT_EQ(outputOf({"modules", "types", "--json"}), "{\"type\":\"tt:M\"}\n");
    EXPECT_THAT(outputOf({"modules", "list"}), StartsWith("<tt:AnalyticsModule "));
    EXPECT_EQ(outputOf({"topics"}), "tns1:A\ntns1:B\n");
    EXPECT_EQ(outputOf({"config", "presets", "--json"}), "{\"preset\":\"Door\"}\n");
    EXPECT_EQ(outputOf({"faults"}), "day_night  slow\nrotate  off\n");
    EXPECT_EQ(outputOf({"faults", "--json"}), "{\"fault\":\"slow\",\"service\":\"day_night\"}\n"
                                              "{\"fault\":\"off\",\"service\":\"rotate\"}\n");
    fake->change()->rules.clear();
    EXPECT_EQ(outputOf({"rules", "list", "--json"}), "");
    fake->change()->configuration = "<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration><tt:Rule Name=\"A\" "
                                    "Type=\"tt:X\"/></tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
    EXPECT_THAT(outputOf({"config", "get", "--json"}),
                StartsWith("{\"rule\":\"A\",\"preset\":\"\",\"type\":\"tt:X\",\"xml\":"));
}

TEST_F(CameraCommandsTest, rulesComeFromFilesUnderTheirUsualNames)
{
    fake->serve();
    const std::string file =
        folder.write("r.xml", "<x:Rule xmlns:x='http://www.onvif.org/ver10/schema' Name='A' Type='x:T'/>");
    const std::string rule = "<tt:Rule xmlns:tt=\"http://www.onvif.org/ver10/schema\" Name=\"A\" Type=\"tt:T\"/>";
    EXPECT_EQ(changeOf({"rules", "create", file}), "analytics.createRules " + rule);
    EXPECT_EQ(changeOf({"rules", "modify", file, file}), "analytics.modifyRules " + rule + " " + rule);
    EXPECT_THAT(printed(), HasSubstr("1 rule stored.\n2 rules stored.\n"));
}

TEST_F(CameraCommandsTest, deletesTheLastOfADocumentAndLeavesWhatStandsBesideOthers)
{
    fake->serve();
    const std::string gate = "<tt:Rule Name=\"Gate\" Type=\"tt:X\"/>";
    fake->change()->rules = {gate};
    EXPECT_EQ(changeOf({"rules", "delete", "Gate", "Gate"}), "analytics.deleteRules Gate");
    EXPECT_EQ(changeOf({"modules", "delete", "A"}), "analytics.deleteRules A");
    fake->change()->rules = {"<tt:Rule Name='B' Type='tt:X'/>", gate};
    EXPECT_THAT(changeOf({"rules", "delete", "B"}),
                AllOf(StartsWith("analytics.setConfiguration <tt:VideoAnalyticsConfiguration "), HasSubstr(gate),
                      Not(HasSubstr("\"B\""))));
    EXPECT_THAT(printed(), HasSubstr("1 rule deleted.\n1 module deleted.\n1 rule deleted.\n"));
}

/// One name may stand at several places: each is shown and taken under a name of its own.
TEST_F(CameraCommandsTest, tellsRulesOfOneNameApart)
{
    fake->serve();
    const std::string atDoor = "<tt:Rule Name=\"Gate\" Type=\"tt:X\"><tt:Parameters><tt:SimpleItem "
                               "Name=\"PtzPreset\" Value=\"Door\"/></tt:Parameters></tt:Rule>";
    fake->change()->rules = {"<tt:Rule Name=\"Gate\" Type=\"tt:X\"/>", atDoor};
    EXPECT_THAT(outputOf({"rules", "list"}),
                AllOf(HasSubstr("<tt:Rule Name=\"Gate@\" "), HasSubstr("<tt:Rule Name=\"Gate@Door\" ")));
    EXPECT_THAT(outputOf({"rules", "list", "--json"}), HasSubstr("\"rule\":\"Gate@Door\""));
    EXPECT_THAT(failureOf({"rules", "delete", "Gate"}), HasSubstr("there is no rule 'Gate'"));
    // The module of that place stays beside it.
    EXPECT_THAT(
        changeOf({"rules", "delete", "Gate@Door"}),
        AllOf(StartsWith("analytics.setConfiguration"), HasSubstr("tt:AnalyticsModule"), Not(HasSubstr("tt:X"))));
    // The first of that name would go.
    EXPECT_THAT(changeOf({"rules", "delete", "Gate@"}),
                AllOf(StartsWith("analytics.setConfiguration"), HasSubstr("Name=\"Gate@1\"")));
}

TEST_F(CameraCommandsTest, whatTheCameraRefusesIsOneSentence)
{
    fake->serve();
    EXPECT_EQ(failureOf({"rules", "delete", "A"}),
              "camera: cannot delete 1 rule: there is no rule 'A'; camera rules list "
              "shows the names.\n");
    fake->change()->result = -1;
    EXPECT_EQ(failureOf({"rules", "delete", "Gate"}), "camera: cannot delete 1 rule: the camera failed.\n");
    fake->change()->lines = {"Motion: it is needed"};
    EXPECT_EQ(failureOf({"rules", "delete", "Gate"}), "camera: cannot delete 1 rule: Motion: it is needed.\n");
    EXPECT_THAT(failureOf({"config", "reset"}), HasSubstr("cannot restore its defaults"));
    fake->change()->result = 0;
    fake->change()->refusal = "there is no preset 'Door'";
    EXPECT_EQ(failureOf({"preset", "go", "Door"}), "camera: there is no preset 'Door'.\n");
    EXPECT_EQ(failureOf({"daynight", "begin"}), "camera: there is no preset 'Door'.\n");
    EXPECT_EQ(printed(), "");
}

TEST_F(CameraCommandsTest, configurationsAreStoredAndSaidToBeActiveOrNot)
{
    fake->serve();
    const std::string file = folder.write(
        "c.xml", "<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration><tt:Rule Name='A' Type='tt:X'/>"
                 "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>");
    EXPECT_EQ(outputOf({"config", "set", file}),
              "'" + file + "' is stored; it is not active where the camera stands now.\n");
    const std::string active = "<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration>"
                               "<tt:Rule Name='A' Type='tt:X'/>"
                               "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
    fake->change()->configuration = active;
    EXPECT_EQ(outputOf({"config", "set", file, "--state", state}), "'" + file + "' is stored and active.\n");
    EXPECT_EQ(outputOf({"config", "get", "--camera", state}), active + "\n");
    EXPECT_EQ(outputOf({"config", "get", "--preset", "Door"}), "<of-preset/>\n");
    EXPECT_THAT(fake->calls().back(), "onvif_analytic_service.getPtzPresetConfiguration Door");
    EXPECT_EQ(outputOf({"config", "reset"}),
              "The engines have no rules now; what is stored comes back when the camera starts again.\n");
    EXPECT_EQ(outputOf({"config", "history"}),
              "4  1970-01-02 00:00:00 UTC  1.5 kB\n3  1970-01-01 00:00:00 UTC  20 bytes  damaged\n");
    EXPECT_EQ(fake->calls().back(), "pipeline.history OnvifAnalytics");
    EXPECT_EQ(outputOf({"config", "history", "--json"}),
              "{\"time\":\"1970-01-02T00:00:00Z\",\"bytes\":1500,\"document\":4,\"good\":true}\n"
              "{\"time\":\"1970-01-01T00:00:00Z\",\"bytes\":20,\"document\":3,\"good\":false}\n");
    EXPECT_EQ(callOf({"config", "restore", "3"}), "pipeline.restore OnvifAnalytics 3; supervisor.restartPipeline");
    EXPECT_THAT(printed(), HasSubstr("Document 3 is the newest again; the camera's pipeline starts again with it.\n"));
}

TEST_F(CameraCommandsTest, whatIsStoredForAnEngineThatIsNotLoadedIsListedAsSuch)
{
    fake->change()->ruleTypes = {"tt:Y"};
    fake->change()->rules.clear();
    fake->serve();
    EXPECT_EQ(outputOf({"rules", "list"}), "rule 'Gate' (tt:X), of an engine that is not loaded\n");
    EXPECT_EQ(outputOf({"rules", "list", "--json"}),
              "{\"rule\":\"Gate\",\"preset\":\"\",\"loaded\":false,\"type\":\"tt:X\"}\n");
    EXPECT_EQ(outputOf({"config", "presets"}), "Door\n");
    EXPECT_EQ(outputOf({"config", "reset"}),
              "The engines have no rules now; what is stored comes back when the camera starts again.\n");
}

TEST_F(CameraCommandsTest, whatARestartLosesAndBringsBackIsToldAfterEachChange)
{
    fake->change()->rules = {"<tt:Rule Name=\"New\" Type=\"tt:Y\"/>"};
    fake->serve();
    const std::string differences = "After a restart rule 'New' (tt:Y) is gone: it is live, but not stored.\n"
                                    "After a restart rule 'Gate' (tt:X) is back: it is still stored.\n";
    EXPECT_EQ(outputOf({"rules", "delete", "New"}), "1 rule deleted.\n" + differences);
    const std::size_t before = printed().size();
    EXPECT_THAT(failureOf({"rules", "delete", "A"}), HasSubstr("there is no rule 'A'"));
    EXPECT_EQ(printed().substr(before), differences);
}

TEST_F(CameraCommandsTest, aRefusedConfigurationIsExplainedAsFarAsItsTypesTell)
{
    fake->serve();
    fake->change()->failed = 1;
    const std::string begin = "<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration>";
    const std::string end = "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
    const std::string unknown = folder.write("u.xml", begin + "<tt:Rule Name='A' Type='tt:Z'/>" + end);
    EXPECT_EQ(
        failureOf({"config", "set", unknown}),
        "camera: the camera refuses the configuration '" + unknown +
            "': no engine knows the type of its rule 'A' (tt:Z); camera rules types lists those that there are.\n");
    const std::string known = folder.write("k.xml", begin + "<tt:Rule Name='A' Type='tt:X'/>" + end);
    EXPECT_THAT(failureOf({"config", "set", known}), HasSubstr("it mixes the types of several engines"));
    fake->change()->lines = {"Simple: component 'A' is wrong"};
    EXPECT_EQ(failureOf({"config", "set", known}),
              "camera: the camera refuses the configuration '" + known + "': Simple: component 'A' is wrong.\n");
    const std::string empty = folder.write("e.xml", begin + end);
    EXPECT_THAT(failureOf({"config", "set", empty}), HasSubstr("there is no rule and no module in it"));
}

TEST_F(CameraCommandsTest, aRefusedComponentIsExplainedByTheEngine)
{
    fake->serve();
    fake->change()->status = 4;
    fake->change()->lines = {"Simple: component 'A', parameter 'N' with value 'x': it takes a whole number from 1 to 9",
                             "not a valid component"};
    const std::string known = folder.write("k.xml", "<tt:Rule Name='A' Type='tt:X'/>");
    for (const char* command : {"create", "modify"}) {
        EXPECT_EQ(failureOf({"rules", command, known, known}),
                  "camera: cannot store 2 rules: Simple: component 'A', parameter 'N' with value 'x': it takes a whole "
                  "number from 1 to 9.\n");
    }
    const std::string unknown = folder.write("u.xml", "<tt:AnalyticsModule Name='M' Type='tt:Z'/>");
    EXPECT_EQ(failureOf({"modules", "create", unknown}),
              "camera: cannot store 1 module: no engine knows the type of its module 'M' (tt:Z); camera modules types "
              "lists those that there are.\n");
    fake->change()->lines = {"not a valid component"};
    EXPECT_EQ(failureOf({"rules", "create", known}), "camera: cannot store 1 rule: not a valid component.\n");
    fake->change()->status = 1;
    EXPECT_THAT(failureOf({"rules", "create", known}), HasSubstr("interrupted: what was stored before stays"));
    EXPECT_EQ(printed(), "");
}

TEST_F(CameraCommandsTest, filesThatCannotBeSentAreRefusedByNameBeforeAnythingIsAsked)
{
    fake->serve();
    const std::string latin = folder.write("l.xml", "<tt:Rule Name='caf\xE9' Type='tt:X'/>");
    EXPECT_EQ(failureOf({"rules", "create", latin}),
              "camera: the configuration '" + latin + "' is refused: it is not UTF-8 text; save it as UTF-8.\n");
    EXPECT_THAT(failureOf({"rules", "modify", (folder / "none.xml").string()}),
                HasSubstr((folder / "none.xml").string()));
    EXPECT_THAT(failureOf({"config", "set", latin}), HasSubstr(latin));
    EXPECT_THAT(fake->calls(), IsEmpty());
}

TEST_F(CameraCommandsTest, framesGoWithAbsolutePathsIntoTheStateFolder)
{
    fake->serve();
    const std::string walk = (state / "frames" / "walk").string();
    EXPECT_EQ(callOf({"frames", "record", "Motion", "walk"}),
              "pipeline.engines; onvif_analytic_service.writeFramesToFile Motion " + walk + " 100");
    EXPECT_EQ(callOf({"frames", "record", "Motion", walk, "7"}),
              "pipeline.engines; onvif_analytic_service.writeFramesToFile Motion " + walk + " 7");
    folder.write("s/frames/walk", "frames");
    EXPECT_EQ(callOf({"frames", "replay", "Motion", "walk"}),
              "pipeline.engines; onvif_analytic_service.readFramesFromFile Motion " + walk + " false");
    EXPECT_EQ(callOf({"frames", "replay", "Motion", "walk", "--forget"}),
              "pipeline.engines; onvif_analytic_service.readFramesFromFile Motion " + walk + " true");
    const std::string other = (fs::canonical(folder.path()) / "o" / "walk").string();
    fs::create_directory(folder / "o");
    folder.write("o/walk", "frames");
    EXPECT_EQ(callOf({"frames", "replay", "Motion", "walk", "--frames-dir", (folder / "o").string()}),
              "pipeline.engines; onvif_analytic_service.readFramesFromFile Motion " + other + " false");
    const std::size_t before = fake->calls().size();
    EXPECT_THAT(failureOf({"frames", "record", "Motion", "/tmp/walk"}), HasSubstr("does not lie in"));
    EXPECT_EQ(fake->calls().size(), before);
    fake->change()->result = 1;
    const std::string done = printed();
    EXPECT_THAT(failureOf({"frames", "record", "Motion", "walk"}), HasSubstr("the camera cannot record frames"));
    EXPECT_THAT(failureOf({"frames", "replay", "Motion", "walk"}), HasSubstr("the camera cannot replay frames"));
    EXPECT_EQ(printed(), done);
}

TEST_F(CameraCommandsTest, picturesAndVideosGoIntoFilesThatAreOpenedHere)
{
    fake->serve();
    const std::string picture = (folder / "a.png").string();
    const std::string video = (folder / "a.mp4").string();
    EXPECT_EQ(callOf({"picture", picture}), "pipeline.picture file " + picture);
    EXPECT_EQ(callOf({"record", video, "--seconds", "1.5"}), "pipeline.record file " + video + " 1.5 file");
    EXPECT_EQ(printed(), "written   " + picture + " (0 bytes)\nwritten   " + video + " (0 bytes)\n");
    fake->change()->refusal = "no frame comes";
    EXPECT_EQ(failureOf({"picture", picture}), "camera: no frame comes.\n");
    EXPECT_FALSE(fs::exists(picture)) << "nothing was written";
    EXPECT_THAT(failureOf({"picture", (folder / "none" / "a.png").string()}),
                HasSubstr("a.png': No such file or directory; name a file in a folder that can be written"));
}

TEST_F(CameraCommandsTest, framesOfAnEngineOrAFileThatIsNotThereAreRefusedBeforeTheServiceIsAsked)
{
    fake->serve();
    for (const char* command : {"record", "replay"}) {
        EXPECT_EQ(failureOf({"frames", command, "Nobody", "walk"}),
                  "camera: there is no engine 'Nobody'; the camera has Simple and Motion.\n");
    }
    EXPECT_THAT(failureOf({"frames", "replay", "Motion", "walk"}),
                HasSubstr("there is no file '" + (state / "frames" / "walk").string() + "'"));
    EXPECT_THAT(fake->calls(), testing::Each("pipeline.engines"));
}

TEST_F(CameraCommandsTest, statusIsOneScreen)
{
    fake->serve();
    EXPECT_EQ(outputOf({"status"}),
              "camera      " + state.string() +
                  "\n"
                  "processes   dbus-daemon       pid 11\n"
                  "            camera-pipeline   does not run  restarts 2, last by signal 9 (Killed)\n"
                  "bus         unix:path=/b\n"
                  "position    pan 12.500  tilt -3.000  zoom 2.00  view 34.7 degrees  moving  at preset 'Door'\n"
                  "input       a.mp4\n"
                  "frames      250  24.9/s  failed 1  longest 1.2 ms\n"
                  "events      7  dropped 2\n"
                  "documents   9  dropped 3\n"
                  "active      Simple: preset 'Door', rule 'Any', module 'M'\n"
                  "            Motion: none\n"
                  "engines     Simple: calls 260  exceptions 2  frames 250  mean 0.13 ms  longest 3.0 ms\n"
                  "            Motion: calls 9  exceptions 0  frames 0  mean 0.00 ms  longest 0.0 ms\n"
                  "not loaded  engine module '/e.so'\n"
                  "metadata    received 9  delivered 8  lost 1  subscribers 2\n"
                  "faults      day_night slow\n");
}

TEST_F(CameraCommandsTest, theGatewayIsAPartOfTheStatusAndOfTheLogWhereThereIsOne)
{
    fake->change()->onvif = {"http://h/o", "https://h/o"};
    fake->serve();
    EXPECT_THAT(outputOf({"status"}),
                AllOf(HasSubstr("bus         unix:path=/b\nonvif       http://h/o  https://h/o\n"),
                      EndsWith("faults      day_night slow\n")));
    EXPECT_THAT(outputOf({"status", "--json"}),
                AllOf(HasSubstr("\"onvif\":\"http://h/o\",\"onvifTls\":\"https://h/o\""),
                      HasSubstr("{\"part\":\"gateway\",\"pid\":8}\n")));
    EXPECT_EQ(callOf({"log", "debug"}), "supervisor.setLogLevel debug; services.setLogLevel debug; "
                                        "pipeline.setLogLevel debug; gateway.setLogLevel debug");
}

TEST_F(CameraCommandsTest, aGatewayThatDoesNotAnswerIsAPartThatDoesNot)
{
    fake->change()->onvif = {"http://h/o"};
    fake->change()->without = {"gateway"};
    fake->serve();
    EXPECT_EQ(perform({"status"}), 1);
    EXPECT_THAT(printed(), HasSubstr("\ngateway     nobody serves the camera's gateway now;"));
    EXPECT_EQ(perform({"status", "--json"}), 1);
    EXPECT_THAT(printed(), HasSubstr("{\"part\":\"gateway\",\"error\":\"nobody serves"));
}

TEST_F(CameraCommandsTest, statusForProgramsIsAFlatObjectALineForEachPart)
{
    fake->serve();
    EXPECT_THAT(
        outputOf({"status", "--json"}),
        AllOf(HasSubstr("{\"part\":\"supervisor\",\"bus\":\"unix:path=/b\",\"folder\":"),
              HasSubstr("{\"part\":\"process\",\"lastExit\":\"\",\"pid\":11,\"process\":\"dbus-daemon\",\"restarts\":0,"
                        "\"started\":\"1970-01-01T00:00:05Z\"}\n"),
              HasSubstr(
                  "{\"part\":\"position\",\"preset\":\"Door\",\"angleOfView\":34.7,\"available\":true,\"moving\":true,"
                  "\"pan\":12.5,\"tilt\":-3,\"zoom\":2}\n"),
              HasSubstr("\"frames\":250,\"framesFailed\":1,\"framesPerSecond\":24.94,\"input\":\"a.mp4\","),
              HasSubstr("{\"part\":\"engine\",\"preset\":\"Door\",\"calls\":260,\"engine\":\"Simple\",\"exceptions\":2,"
                        "\"frames\":250,\"longestFrameMs\":3.04,\"meanFrameMs\":0.126}\n"
                        "{\"part\":\"active\",\"rule\":\"Any\",\"preset\":\"Door\",\"engine\":\"Simple\"}\n"
                        "{\"part\":\"active\",\"module\":\"M\",\"preset\":\"Door\",\"engine\":\"Simple\"}\n"
                        "{\"part\":\"frameTimes\",\"belowMs\":0.002,\"engine\":\"Simple\",\"frames\":249}\n"
                        "{\"part\":\"frameTimes\",\"engine\":\"Simple\",\"frames\":1}\n"),
              HasSubstr("{\"part\":\"missingEngine\",\"file\":\"/e.so\"}\n"),
              HasSubstr("{\"part\":\"fault\",\"fault\":\"slow\",\"service\":\"day_night\"}\n")));
}

TEST_F(CameraCommandsTest, statusShowsWhatDoesNotAnswerAsSuch)
{
    fake->change()->without = {"pipeline", "positioning", "services"};
    fake->serve();
    EXPECT_EQ(perform({"status"}), 1);
    const std::string screen = printed();
    EXPECT_THAT(screen, HasSubstr("\nposition    nobody serves the camera's positioning now;"));
    EXPECT_THAT(screen, HasSubstr("\nframes      nobody serves the camera's pipeline now;"));
    EXPECT_THAT(screen, HasSubstr("\nfaults      nobody serves the camera's services now;"));
    EXPECT_THAT(screen, HasSubstr("\nmetadata    received 9"));
    EXPECT_THAT(failureOf({"preset", "list"}),
                StartsWith("camera: nobody serves the camera's positioning now; camera status shows what runs."));
}

TEST_F(CameraCommandsTest, aPartOfTheStatusThatDoesNotAnswerIsAFailureForProgramsToo)
{
    fake->change()->without = {"onvif_metadata_streamer"};
    fake->serve();
    EXPECT_EQ(perform({"status", "--json"}), 1);
    EXPECT_THAT(printed(),
                AllOf(HasSubstr("{\"part\":\"metadata\",\"error\":\"nobody serves"), HasSubstr("\"frames\":250,")));
}

TEST_F(CameraCommandsTest, statusWaitsUntilTheCameraIsReady)
{
    EXPECT_THAT(failureOf({"status", "--wait", "1"}), StartsWith("camera: the camera is not ready after 1 s: nobody "));
    fake->change()->without = {"pipeline"};
    fake->serve();
    EXPECT_THAT(failureOf({"status", "--wait", "1"}),
                StartsWith("camera: the camera is not ready after 1 s: nobody serves the camera's pipeline now"));
    fake.reset();
    auto waiting = std::async(std::launch::async, [this] { return perform({"status", "--wait", "60"}); });
    fake = std::make_unique<FakeCamera>(state);
    fake->serve();
    EXPECT_EQ(waiting.get(), 0) << complained();
    EXPECT_THAT(printed(), HasSubstr("frames      250"));
}

TEST_F(CameraCommandsTest, theRunningCamerasAreListed)
{
    fake->serve();
    const std::string pid = std::to_string(::getpid());
    EXPECT_EQ(outputOf({"list"}), state.string() + "  pid " + pid + "\n");
    Json::Value one;
    std::istringstream(outputOf({"list", "--json"})) >> one;
    EXPECT_EQ(one["folder"].asString(), state.string());
    EXPECT_EQ(one["pid"].asInt(), ::getpid());
    EXPECT_EQ(one["user"].asUInt(), ::geteuid());
    EXPECT_THAT(fake->calls(), IsEmpty());
    fake.reset();
    EXPECT_EQ(outputOf({"list"}), "");
}

TEST_F(CameraCommandsTest, theCameraIsChosenByItsStateFolder)
{
    fake->serve();
    FakeCamera second((folder / "t").string());
    EXPECT_EQ(failureOf({"topics"}), "camera: several cameras run: '" + state.string() + "', '" +
                                         (state.parent_path() / "t").string() + "'; choose one with --camera DIR.\n");
    EXPECT_EQ(outputOf({"topics", "--camera", state}), "tns1:A\ntns1:B\n");
    EXPECT_THAT(fake->calls(), ElementsAre("onvif_analytic_service.getEventTopics"));
    EXPECT_THAT(failureOf({"topics", "--camera", (folder / "none").string()}),
                StartsWith("camera: no camera runs on the state folder '" + (folder / "none").string() + "'; "));
}

TEST_F(CameraCommandsTest, withoutARunningCameraThereIsOneSentence)
{
    fake.reset();
    const std::string sentence = "camera: no camera runs that can be found; start one with camera run INPUT, or name "
                                 "its state folder with --camera DIR.\n";
    EXPECT_EQ(failureOf({"topics"}), sentence);
    EXPECT_EQ(failureOf({"status"}), sentence);
    EXPECT_EQ(failureOf({"events"}), sentence);
    EXPECT_EQ(failureOf({"config", "get"}), sentence);
}

// The camera's programs do not lie beside this one.
TEST_F(CameraCommandsTest, aStateFolderOnWhichNoCameraCanBeStartedIsOneSentence)
{
    EXPECT_THAT(failureOf({"config", "reset", "--state", (folder / "other").string()}),
                AllOf(StartsWith("camera: no camera can be started on the state folder '" +
                                 (folder / "other").string() + "': cannot start '"),
                      HasSubstr("/camera-services': No such file or directory;")));
}

TEST_F(CameraCommandsTest, noWaitIsLongerThanItWasTold)
{
    fake->serve();
    fake->killBus();
    EXPECT_THAT(failureOf({"topics", "--timeout", "1"}), HasSubstr("' does not answer: "));
}

// What the bus' own wait for an answer ends with, when no thread of the library is left to notice.
TEST_F(CameraCommandsTest, aServiceThatDoesNotAnswerIsNamedWithTheTimeThatWasWaited)
{
    fake->serve();
    fake->change()->refusal = "nothing came";
    fake->change()->refusalName = bus::error::kNoReply;
    EXPECT_EQ(failureOf({"preset", "go", "Door", "--timeout", "7"}),
              "camera: the camera's positioning does not answer within 7 s; --timeout S waits longer.\n");
}

TEST_F(CameraCommandsTest, eventsAreFollowedUntilCtrlC)
{
    fake->change()->without = {"positioning"}; // as long as it does not answer, the camera is at no preset
    fake->serve();
    auto code = std::async(std::launch::async, [this] { return perform({"events"}); });
    // Nobody tells when the follower listens: events are sent until one is heard.
    EXPECT_TRUE(kit::eventually([&] {
        fake->emitEvent("tns1:A", "Gate", "");
        return printed().find("event  tns1:A  Gate\n") != std::string::npos;
    }));
    ::raise(SIGINT);
    ASSERT_EQ(code.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(code.get(), 0);
    EXPECT_EQ(complained(), "");
}

TEST_F(CameraCommandsTest, eventsForProgramsAreOneObjectALineAndTheirEndIsTold)
{
    fake->serve();
    auto code = std::async(std::launch::async, [this] { return perform({"events", "--json"}); });
    EXPECT_TRUE(kit::eventually([&] {
        fake->emitEvent("t", "a\nb", "<x/>");
        return printed().find("{\"topic\":\"t\",\"rule\":\"a\\nb\",\"preset\":\"Door\",\"data\":\"<x/>\"}\n") !=
               std::string::npos;
    }));
    fake.reset();
    ASSERT_EQ(code.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(code.get(), 1);
    EXPECT_THAT(complained(), HasSubstr("camera: the camera has ended.\n"));
}

/// A metadata streamer's socket.
class MetadataCommandTest : public CameraCommandsTest {
protected:
    MetadataCommandTest() : listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const std::string socket = folder / "metadata.sock";
        fake->change()->socket = socket;
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socket.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(listener.get(), 1), 0);
        fake->serve();
    }

    base::FileDescriptor listener;
};

TEST_F(MetadataCommandTest, printsDocumentsUntilTheStreamerEnds)
{
    auto code = std::async(std::launch::async, [this] { return perform({"metadata"}); });
    base::FileDescriptor reader(::accept(listener.get(), nullptr, nullptr));
    for (const std::string part : {"<a/>\n<b", "/>\n<half"}) {
        EXPECT_EQ(::write(reader.get(), part.data(), part.size()), static_cast<ssize_t>(part.size()));
    }
    EXPECT_TRUE(kit::eventually([&] { return printed() == "<a/>\n<b/>\n"; }));
    reader.reset();
    ASSERT_EQ(code.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(code.get(), 1);
    EXPECT_THAT(complained(), HasSubstr("the camera's metadata streamer has ended"));
}

TEST_F(MetadataCommandTest, forProgramsItIsAnObjectALine)
{
    auto code = std::async(std::launch::async, [this] { return perform({"metadata", "--json"}); });
    base::FileDescriptor reader(::accept(listener.get(), nullptr, nullptr));
    const std::string document = "<tt:Frame UtcTime='T'><tt:Object ObjectId='1'/></tt:Frame>\n";
    EXPECT_EQ(::write(reader.get(), document.data(), document.size()), static_cast<ssize_t>(document.size()));
    EXPECT_TRUE(kit::eventually([&] { return printed() == "{\"time\":\"T\",\"object\":1}\n"; }));
    reader.reset();
    ASSERT_EQ(code.wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST_F(MetadataCommandTest, endsAtCtrlC)
{
    auto code = std::async(std::launch::async, [this] { return perform({"metadata"}); });
    const base::FileDescriptor reader(::accept(listener.get(), nullptr, nullptr));
    ::raise(SIGTERM);
    ASSERT_EQ(code.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(code.get(), 0);
}

TEST_F(MetadataCommandTest, aSocketThatNobodyServesIsOneSentence)
{
    const std::string socket = folder / "none.sock";
    fake->change()->socket = socket;
    EXPECT_THAT(failureOf({"metadata"}), HasSubstr("the metadata socket '" + socket + "' cannot be used: "));
}

} // namespace
} // namespace camera::cli
