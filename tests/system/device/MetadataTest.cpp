#include "DeviceTest.h"

#include <csignal>
#include <sstream>

namespace camera::system_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class MetadataTest : public DeviceTest {
protected:
    std::vector<std::string> lines(const std::string& file) const
    {
        std::vector<std::string> found;
        std::istringstream in(read(file));
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
    const auto first = camera.follow({"metadata"}, path("1.xml"));
    const auto second = camera.follow({"metadata"}, path("2.xml"));
    const auto third = camera.follow({"metadata"}, path("3.xml"));
    const std::vector<std::string> files = {path("1.xml"), path("2.xml"), path("3.xml")};
    for (const std::string& file : files) {
        ASSERT_TRUE(eventually([&] { return lines(file).size() >= 20; })) << read(file);
        for (const std::string& line : lines(file)) {
            ASSERT_THAT(line, AllOf(testing::StartsWith("<tt:MetadataStream "), HasSubstr("<tt:Frame UtcTime="),
                                    testing::EndsWith("</tt:MetadataStream>")));
        }
    }
    const std::string last = lines(files[2]).back();
    for (const std::string& file : files) {
        EXPECT_TRUE(eventually([&] { return read(file).find(last) != std::string::npos; })) << file;
    }
    const Json::Value counters = camera.status()["metadata"];
    EXPECT_EQ(3U, counters["subscribers"].asUInt());
    EXPECT_EQ(0U, counters["lost"].asUInt());
    EXPECT_GE(counters["received"].asUInt(), 20U);
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    // Who follows is told that it is over.
    EXPECT_EQ(1, first->exitCode());
    EXPECT_THAT(read(files[0]), HasSubstr("has ended"));
}

TEST_F(MetadataTest, countsTheSubscribersThatAreThere)
{
    RunningCamera camera(state(), {kLively, "--config", simple()});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const auto subscribers = [&] { return camera.status()["metadata"]["subscribers"].asUInt(); };
    EXPECT_EQ(0U, subscribers());
    {
        const auto one = camera.follow({"metadata"}, path("1.xml"));
        EXPECT_TRUE(eventually([&] { return subscribers() == 1; }));
        one->signal(SIGINT);
        EXPECT_EQ(0, one->exitCode());
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
    ASSERT_EQ(0, camera.command({"frames", "replay", "Journal", "walk.frames"}).exitCode);
    const std::string file = std::filesystem::canonical(state()).string() + "/frames/walk.frames";
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
