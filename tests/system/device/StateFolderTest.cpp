#include "DeviceTest.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>

#include <unistd.h>

namespace camera::system_tests {
namespace {

namespace fs = std::filesystem;
using namespace testing;

// What a state folder keeps over the end of its camera, and commands on a folder where no camera runs.
class StateFolderTest : public DeviceTest {
protected:
    // Every file below the state folder with its content, and when it was written.
    std::map<std::string, std::string> content() const
    {
        std::map<std::string, std::string> all;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(state())) {
            all[entry.path()] = (entry.is_regular_file() ? read(entry.path()) : "") +
                                std::to_string(entry.last_write_time().time_since_epoch().count());
        }
        return all;
    }
};

struct OlderFolder {
    const char* name;
    const char* newestRule;
    std::size_t documents;
};

void PrintTo(const OlderFolder& folder, std::ostream* out)
{
    *out << folder.name;
}

// Written by the version that had no camera.json yet; one of them by a pipeline that was killed while it wrote.
class OlderFolderTest : public StateFolderTest, public testing::WithParamInterface<OlderFolder> {
protected:
    OlderFolderTest() { fs::copy(fs::path(STATE_FOLDERS) / GetParam().name, state(), fs::copy_options::recursive); }
};

TEST_P(OlderFolderTest, showsItsDocumentsToALookThatChangesNothing)
{
    const auto before = content();
    EXPECT_THAT(on({"rules", "list"}).out,
                AllOf(HasSubstr(std::string("Name=\"") + GetParam().newestRule + "\""), HasSubstr("Name=\"Door rule\""),
                      HasSubstr("rule 'Dark' (ex:TooDark, preset Door), of an engine that is not loaded\n")));
    EXPECT_EQ("Door\n", on({"config", "presets"}).out);
    EXPECT_THAT(on({"config", "get"}).out, HasSubstr(GetParam().newestRule));
    EXPECT_EQ(GetParam().documents, count(on({"config", "history"}).out, " UTC  "));
    EXPECT_EQ(before, content());
    EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_P(OlderFolderTest, isACameraWithItsPresetsItsToursAndTheStateOfItsServices)
{
    RunningCamera camera(state(), {kLively});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const Json::Value now = camera.status();
    EXPECT_EQ("Gate", now["position"]["preset"].asString());
    EXPECT_EQ(180, now["pipeline"]["orientation"].asInt());
    EXPECT_TRUE(now["services"]["blanking"].asBool());
    EXPECT_THAT(camera.command({"preset", "list"}).out, AllOf(HasSubstr("Door  pan 10.000  tilt 0.000  zoom 2.00\n"),
                                                              HasSubstr("Gate  pan 40.000  tilt -5.000  zoom 3.00\n")));
    EXPECT_THAT(camera.command({"tour", "list"}).out, HasSubstr("Round  Gate 3600.0 s 100 %  Door 20.0 s"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

INSTANTIATE_TEST_SUITE_P(All, OlderFolderTest,
                         testing::Values(OlderFolder{"closed", "Gate two", 4}, OlderFolder{"killed", "Gate three", 5}));

TEST_F(StateFolderTest, remembersModelOrientationAndEngineModules)
{
    const std::string engine = path("engine.so");
    fs::copy(JOURNAL_ENGINE, engine);
    ASSERT_EQ(0, on({"run", kLively, "--frames", "5", "--model", "ptz-long-range", "--preset", "Door", "--engine",
                     engine, "--orientation", "90"})
                     .exitCode);
    EXPECT_THAT(read(state() + "/camera.json"), AllOf(HasSubstr("ptz-long-range"), HasSubstr(engine)));
    fs::remove(path("journal"));
    ASSERT_EQ(0, on({"run", kLively, "--frames", "5"}).exitCode);
    EXPECT_THAT(journal("orientation"), testing::Contains("90"));
    EXPECT_THAT(read(state() + "/camera.json"), AllOf(HasSubstr("ptz-long-range"), HasSubstr(engine)));

    fs::remove(engine);
    RunningCamera camera(state(), {kLively});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_THAT(camera.err(), HasSubstr(engine));
    EXPECT_EQ(engine, camera.status()["missingEngine"]["file"].asString());
    EXPECT_THAT(camera.command({"status"}).out, HasSubstr("not loaded  engine module '" + engine + "'"));
    EXPECT_EQ(0, camera.end(SIGINT));
    EXPECT_THAT(read(state() + "/camera.json"), HasSubstr(engine)) << "it may come back";

    ASSERT_EQ(1, on({"run", kLively, "--frames", "5", "--engine", engine}).exitCode) << "one that is named must load";
    ASSERT_EQ(0, on({"run", kLively, "--frames", "5", "--engine", "none"}).exitCode);
    EXPECT_THAT(read(state() + "/camera.json"), AllOf(HasSubstr("ptz-long-range"), Not(HasSubstr(engine))));
}

TEST_F(StateFolderTest, isACameraThatDoesNotMoveWhenItsRecordIsDamaged)
{
    must({"run", kLively, "--frames", "5", "--speed", "max"});
    write("state/camera.json", "{\"movable\":");
    const Finished done = on({"run", kLively, "--frames", "5", "--speed", "max"});
    EXPECT_EQ(0, done.exitCode);
    EXPECT_THAT(done.err, HasSubstr("camera.json' is damaged"));
    EXPECT_TRUE(fs::exists(state() + "/camera.json.damaged"));
    EXPECT_THAT(read(state() + "/camera.json"), HasSubstr("\"movable\":false"));
}

TEST_F(StateFolderTest, isNotMadeByALook)
{
    for (const Words& words : {Words{"rules", "list"}, Words{"modules", "types"}, Words{"config", "history"}}) {
        const Finished done = on(words);
        EXPECT_EQ(1, done.exitCode);
        EXPECT_EQ("camera: there is no state folder '" + state() + "'; name the folder that a camera was run with.\n",
                  done.err);
    }
    EXPECT_FALSE(fs::exists(state()));
}

TEST_F(StateFolderTest, canBeLookedAtButNotChangedWhereNobodyMayWrite)
{
    must({"config", "set", simple("Gate")});
    if (geteuid() == 0) {
        GTEST_SKIP() << "permissions do not bind this user";
    }
    fs::permissions(state(), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_THAT(on({"rules", "list"}).out, HasSubstr("Name=\"Gate\""));
    EXPECT_EQ(1, on({"rules", "delete", "Gate"}).exitCode);
    fs::permissions(state(), fs::perms::owner_all);
    EXPECT_THAT(on({"rules", "list"}).out, HasSubstr("Name=\"Gate\""));
}

TEST_F(StateFolderTest, canBeLookedAtButNotChangedWhileAProcessHoldsIt)
{
    must({"config", "set", simple("Gate")});
    ChildProcess holder({"flock", state() + "/lock", "sleep", "600"});
    ASSERT_TRUE(eventually([&] { return run({"flock", "-n", state() + "/lock", "true"}).exitCode != 0; }));
    EXPECT_THAT(on({"rules", "list"}).out, HasSubstr("Name=\"Gate\""));
    const Finished refused = on({"rules", "delete", "Gate"});
    EXPECT_EQ(1, refused.exitCode);
    EXPECT_THAT(refused.err, HasSubstr("is in use by"));
}

TEST_F(StateFolderTest, isWorkedOnByTheCameraThatRunsOnIt)
{
    RunningCamera camera(state(), {kLively, "--config", simple("Old")});
    ASSERT_TRUE(camera.serves()) << camera.err();
    must({"config", "set", simple("New")});
    EXPECT_THAT(camera.command({"rules", "list"}).out, HasSubstr("Name=\"New\""));
    const std::string history = on({"config", "history"}).out;
    const std::string oldest = history.substr(history.rfind('\n', history.size() - 2) + 1);
    const Finished restored = on({"config", "restore", oldest.substr(0, oldest.find(' '))});
    EXPECT_EQ(0, restored.exitCode) << restored.err;
    EXPECT_THAT(restored.out, HasSubstr("is the newest again; the camera's pipeline starts again with it."));
    EXPECT_TRUE(eventually([&] {
        return camera.command({"rules", "list"}).out.find("Name=\"Old\"") != std::string::npos;
    }));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST(CameraProgram, needsNeitherVideoNorEngines)
{
    const Finished needed = run({"readelf", "-d", CAMERA_PROGRAM});
    ASSERT_EQ(0, needed.exitCode);
    EXPECT_THAT(needed.out, AllOf(HasSubstr("libsdbus"), Not(HasSubstr("opencv")), Not(HasSubstr("libav"))));
}

} // namespace
} // namespace camera::system_tests
