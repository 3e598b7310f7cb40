// Streams that die and come back, served over HTTP and RTSP by processes of the test.
#include "DeviceTest.h"

#include <csignal>
#include <memory>

namespace camera::system_tests {
namespace {

using namespace testing;

class LiveSourceTest : public DeviceTest {
protected:
    std::string film(const std::string& name, const std::string& size) const
    {
        const std::string file = path(name);
        const Finished made =
            camera({"run", "scene:size=" + size + ",fps=25,objects=1,frames=50", "--speed", "max", "--overlay", file});
        EXPECT_EQ(0, made.exitCode) << made.err;
        return file;
    }

    // Serves until it is killed, at the port of the one before.
    void serve(const Words& words)
    {
        Words all = {"/usr/bin/python3", words[0]};
        all.insert(all.end(), words.begin() + 1, words.end());
        all.push_back(_port);
        const std::string log = path("server.log" + std::to_string(++_servers));
        _server = std::make_unique<ChildProcess>(all, kit::bothOutputs(log));
        ASSERT_TRUE(eventually([&] { return read(log).find('\n') != std::string::npos || !_server->runs(); }));
        ASSERT_TRUE(_server->runs()) << read(log);
        _port = read(log).substr(0, read(log).find('\n'));
    }

    void kill()
    {
        ::kill(_server->id(), SIGKILL);
        ASSERT_TRUE(eventually([this] { return !_server->runs(); }));
    }

    std::string port() const { return _port; }

    static bool gone(const RunningCamera& camera)
    {
        return eventually([&camera] { return camera.status()["pipeline"]["sourceGone"].asBool(); });
    }

    static bool there(const RunningCamera& camera)
    {
        const auto frames = [&camera] { return camera.status()["pipeline"]["frames"].asUInt64(); };
        const auto before = frames();
        return eventually([&] { return frames() > before + 10; });
    }

private:
    std::string _port = "0";
    int _servers = 0;
    std::unique_ptr<ChildProcess> _server;
};

TEST_F(LiveSourceTest, aStreamOverHttpThatDiesIsWaitedFor)
{
    const std::string film1 = film("1.mp4", "320x180");
    const std::string film2 = film("2.mp4", "160x90");
    serve({STREAM_SERVER, film1});
    RunningCamera camera(
        state(), {"http://127.0.0.1:" + port() + "/film", "--engine", JOURNAL_ENGINE, "--overlay", path("o.mp4")});
    ASSERT_TRUE(camera.waitForFrames(10)) << camera.err();
    kill();
    ASSERT_TRUE(eventually([&] {
        return count(camera.err(), "waiting for the source") > count(camera.err(), "is there after") && gone(camera);
    })) << camera.err();
    serve({STREAM_SERVER, film2});
    ASSERT_TRUE(there(camera)) << camera.err();
    EXPECT_THAT(camera.err(), HasSubstr("are 160x90 now; they are scaled to 320x180"));
    EXPECT_GT(camera.status()["pipeline"]["sourceLosses"].asUInt64(), 0U);
    kill();
    ASSERT_TRUE(gone(camera));
    EXPECT_EQ(0, camera.end(SIGINT)) << "while it waits";
    EXPECT_THAT(camera.out(), AllOf(HasSubstr("  source    gone "), HasSubstr("written   " + path("o.mp4"))));
    const auto frames = journalFrames();
    for (std::size_t i = 1; i < frames.size(); ++i) {
        EXPECT_LT(frames[i - 1].nanoseconds, frames[i].nanoseconds);
        EXPECT_EQ("320x180", frames[i].size);
    }
}

TEST_F(LiveSourceTest, aStreamOverHttpEndsTheRunOnceItIsReadOnce)
{
    serve({STREAM_SERVER, film("1.mp4", "320x180")});
    const Finished done = camera({"run", "http://127.0.0.1:" + port() + "/film", "--oneshot"});
    EXPECT_EQ(0, done.exitCode) << done.err;
    EXPECT_THAT(done.out, HasSubstr("  frames    50 in "));
}

TEST_F(LiveSourceTest, aStreamThatIsNotThereAtTheStartIsWaitedForWhenAskedTo)
{
    serve({STREAM_SERVER, film("1.mp4", "320x180")});
    kill();
    const std::string url = "http://127.0.0.1:" + port() + "/film";
    EXPECT_EQ(1, camera({"run", url}).exitCode);
    {
        RunningCamera camera(state(), {url, "--wait-source"});
        ASSERT_TRUE(eventually([&] { return count(camera.err(), "waiting for the source") == 1; }));
        EXPECT_EQ(0, camera.command({"shutdown"}).exitCode);
        ASSERT_TRUE(eventually([&] { return !camera.runs(); }));
        EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    }
    RunningCamera camera(path("other"), {url, "--wait-source"});
    ASSERT_TRUE(eventually([&] { return count(camera.err(), "waiting for the source") == 1; }));
    serve({STREAM_SERVER, film("1.mp4", "320x180")});
    EXPECT_TRUE(camera.waitForFrames(5)) << camera.err();
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(LiveSourceTest, aStreamOverRtspThatDiesIsWaitedFor)
{
    if (run({"/usr/bin/python3", RTSP_SERVER, "--check"}).exitCode != 0) {
        GTEST_SKIP() << "there is no RTSP server for tests; scripts/bootstrap test installs it";
    }
    serve({RTSP_SERVER});
    RunningCamera camera(state(), {"rtsp://127.0.0.1:" + port() + "/test"});
    ASSERT_TRUE(camera.waitForFrames(5)) << camera.err();
    kill();
    ASSERT_TRUE(gone(camera)) << camera.err();
    serve({RTSP_SERVER});
    EXPECT_TRUE(there(camera)) << camera.err();
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    EXPECT_EQ(1U, count(camera.err(), "waiting for the source"));
}

} // namespace
} // namespace camera::system_tests
