#include "DeviceTest.h"
#include "kit/PrivateBus.h"

#include <csignal>

namespace camera::system_tests {
namespace {

using testing::HasSubstr;

// The programs without the one that starts them: on a bus that somebody else runs.
class StartedAloneTest : public DeviceTest {
protected:
    void SetUp() override
    {
        if (run({"busctl", "--version"}).exitCode != 0) {
            GTEST_SKIP() << "busctl is missing";
        }
    }

    Finished call(const std::string& service, const Words& method) const
    {
        const std::string name = "ravel." + service;
        Words words = {
            "busctl", "--address=" + bus.address(), "--json=short", "call", name, "/ravel/" + service + "/main", name};
        words.insert(words.end(), method.begin(), method.end());
        return run(words);
    }

    bool answers(const std::string& service, const Words& method) const
    {
        return eventually([&] { return call(service, method).exitCode == 0; });
    }

    // Asks the bus: "busctl status" looks into the owner's control group, which a plain container has not.
    bool serves(const std::string& service) const
    {
        return run({"busctl", "--address=" + bus.address(), "call", "org.freedesktop.DBus", "/org/freedesktop/DBus",
                    "org.freedesktop.DBus", "GetNameOwner", "s", "ravel." + service})
                   .exitCode == 0;
    }

    Words services() const { return {SERVICES_PROGRAM, "--bus", bus.address(), "--state", path("services-state")}; }
    Words pipeline() const
    {
        return {PIPELINE_PROGRAM, kLively, "--bus", bus.address(), "--state", state(), "--engine", JOURNAL_ENGINE};
    }

    kit::PrivateBus bus;
};

TEST_F(StartedAloneTest, theServicesServeWithoutAPipeline)
{
    ChildProcess process(services(), kit::bothOutputs());
    ASSERT_TRUE(answers("rotate", {"setAngle", "u", "180"})) << process.out();
    EXPECT_EQ("{\"type\":\"u\",\"data\":[180]}\n", call("rotate", {"getAngle"}).out);
    for (const std::string service :
         {"day_night", "window_blanking", "onvif_metadata_streamer", "configuration", "services"}) {
        EXPECT_TRUE(eventually([&] { return serves(service); })) << service;
    }
    EXPECT_FALSE(serves("pipeline"));
    EXPECT_EQ(0, process.end(SIGTERM)) << process.out();
    EXPECT_FALSE(serves("rotate"));
    EXPECT_THAT(leftBehind(), testing::IsEmpty());
}

TEST_F(StartedAloneTest, thePipelineServesWithoutServicesAndFindsThemWhenItStartsAfterThem)
{
    {
        ChildProcess alone(pipeline(), kit::bothOutputs());
        ASSERT_TRUE(answers("pipeline", {"storedKeys"})) << alone.out();
        EXPECT_TRUE(answers("onvif_analytic_service", {"getSupportedRules"}));
        EXPECT_FALSE(serves("rotate"));
        EXPECT_EQ(0, alone.end(SIGINT)) << alone.out();
        EXPECT_FALSE(serves("pipeline"));
    }
    ChildProcess beside(services(), kit::bothOutputs());
    ASSERT_TRUE(answers("rotate", {"setAngle", "u", "180"})) << beside.out();
    std::filesystem::remove(path("journal"));
    ChildProcess process(pipeline(), kit::bothOutputs());
    ASSERT_TRUE(answers("pipeline", {"storedKeys"})) << process.out();
    EXPECT_TRUE(eventually([&] { return journal("orientation") == std::vector<std::string>{"180"}; }))
        << testing::PrintToString(journal("orientation"));
    EXPECT_EQ(0, process.end(SIGTERM)) << process.out();
}

TEST_F(StartedAloneTest, thePipelineSaysWhatItNeeds)
{
    const Finished done = run({PIPELINE_PROGRAM, "scene:size=64x64,frames=5"});
    EXPECT_EQ(2, done.exitCode);
    EXPECT_THAT(done.err, HasSubstr("--bus ADDRESS is missing"));
}

TEST_F(StartedAloneTest, theServicesSayWhatTheyNeed)
{
    const Finished done = run({SERVICES_PROGRAM, "--state", state()});
    EXPECT_EQ(2, done.exitCode);
    EXPECT_THAT(done.err, HasSubstr("--bus ADDRESS is missing"));
}

} // namespace
} // namespace camera::system_tests
