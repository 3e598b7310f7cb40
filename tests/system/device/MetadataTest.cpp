#include "DeviceTest.h"

#include <csignal>
#include <fstream>
#include <sstream>

namespace camera::system_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class MetadataTest : public DeviceTest {
protected:
    static std::vector<std::string> lines(const ChildProcess& follower)
    {
        std::vector<std::string> found;
        std::istringstream in(follower.out());
        for (std::string line; std::getline(in, line) && !in.eof();) {
            found.push_back(line);
        }
        return found;
    }
};

TEST_F(MetadataTest, reachesSeveralSubscribersAtOnce)
{
    RunningCamera camera(state(), {kLively, "--config", simple(), "--config", motion()});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const std::unique_ptr<ChildProcess> followers[] = {camera.follow({"metadata"}), camera.follow({"metadata"}),
                                                       camera.follow({"metadata"})};
    for (const auto& follower : followers) {
        ASSERT_TRUE(eventually([&] { return lines(*follower).size() >= 20; })) << follower->out();
        for (const std::string& line : lines(*follower)) {
            ASSERT_THAT(line, AllOf(testing::StartsWith("<tt:MetadataStream "), HasSubstr("<tt:Frame UtcTime="),
                                    testing::EndsWith("</tt:MetadataStream>")));
        }
    }
    const std::string last = lines(*followers[2]).back();
    for (const auto& follower : followers) {
        EXPECT_TRUE(follower->waitForOutput(last));
    }
    const Json::Value counters = camera.status()["metadata"];
    EXPECT_EQ(3U, counters["subscribers"].asUInt());
    EXPECT_EQ(0U, counters["lost"].asUInt());
    EXPECT_GE(counters["received"].asUInt(), 20U);
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    // Who follows is told that it is over.
    const Finished told = followers[0]->finish();
    EXPECT_EQ(1, told.exitCode);
    EXPECT_THAT(told.err, HasSubstr("has ended"));
}

TEST_F(MetadataTest, countsTheSubscribersThatAreThere)
{
    RunningCamera camera(state(), {kLively, "--config", simple()});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const auto subscribers = [&] { return camera.status()["metadata"]["subscribers"].asUInt(); };
    EXPECT_EQ(0U, subscribers());
    {
        const auto one = camera.follow({"metadata"});
        EXPECT_TRUE(eventually([&] { return subscribers() == 1; }));
        EXPECT_EQ(0, one->end(SIGINT));
    }
    EXPECT_TRUE(eventually([&] { return subscribers() == 0; }));
}

class FramesFileTest : public DeviceTest {
protected:
    FramesFileTest()
        : camera(state(), {"scene:size=320x180,fps=30,objects=2,enter=15,frames=0", "--config", motion("Path"),
                           "--engine", JOURNAL_ENGINE})
    {
    }
    void SetUp() override { ASSERT_TRUE(camera.serves()) << camera.err(); }

    RunningCamera camera;
};

TEST_F(FramesFileTest, recordsIntoTheFolderOfTheStateAndReplaysFromThere)
{
    const Finished recorded = camera.command({"frames", "record", "Motion", "walk.frames", "20"});
    ASSERT_EQ(0, recorded.exitCode) << recorded.err;
    const std::string file = state() + "/frames/walk.frames";
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(file) && std::filesystem::file_size(file) > 0; }));
    const Finished replayed = camera.command({"frames", "replay", "Motion", "walk.frames", "--forget"});
    EXPECT_EQ(0, replayed.exitCode) << replayed.err;
    EXPECT_THAT(replayed.out, HasSubstr("sees the frames of"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(FramesFileTest, givesEnginesAbsolutePaths)
{
    ASSERT_EQ(0, camera.command({"frames", "record", "Journal", "a/../walk.frames", "7"}).exitCode);
    const std::string file = std::filesystem::canonical(state()).string() + "/frames/walk.frames";
    std::ofstream(file) << "recorded by nobody"; // the engine of this test only notes what it is asked
    ASSERT_EQ(0, camera.command({"frames", "replay", "Journal", "walk.frames"}).exitCode);
    EXPECT_THAT(journal("write"), testing::ElementsAre(file + " 7"));
    EXPECT_THAT(journal("read"), testing::ElementsAre(file + " 0"));
}

TEST_F(FramesFileTest, refusesFilesElsewhere)
{
    std::filesystem::create_directories(state() + "/frames");
    std::filesystem::create_directory_symlink(path(""), state() + "/frames/out");
    for (const std::string name : {"../walk", "/tmp/walk", "out/walk", "a/../../walk", "."}) {
        for (const std::string action : {"record", "replay"}) {
            const Finished done = camera.command({"frames", action, "Journal", name});
            EXPECT_EQ(1, done.exitCode) << name;
            EXPECT_THAT(done.err, HasSubstr("does not lie in")) << name;
        }
    }
    EXPECT_THAT(journal("write"), testing::IsEmpty());
    EXPECT_THAT(journal("read"), testing::IsEmpty());
}

TEST_F(FramesFileTest, takesAnotherFolderThatIsNamed)
{
    const std::string other = path("elsewhere");
    ASSERT_EQ(0, camera.command({"frames", "record", "Journal", "walk", "3", "--frames-dir", other}).exitCode);
    EXPECT_THAT(journal("write"), testing::ElementsAre(std::filesystem::canonical(other).string() + "/walk 3"));
    EXPECT_EQ(1, camera.command({"frames", "record", "Journal", "../walk", "--frames-dir", other}).exitCode);
}

} // namespace
} // namespace camera::system_tests
