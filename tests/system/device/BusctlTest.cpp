#include "DeviceTest.h"

#include <csignal>

namespace camera::system_tests {
namespace {

using namespace testing;

// Every operation of the analytics target by the distribution's own bus tool.
class BusctlTest : public DeviceTest {
protected:
    void SetUp() override
    {
        if (run({"busctl", "--version"}).exitCode != 0) {
            GTEST_SKIP() << "busctl is missing";
        }
        camera = std::make_unique<RunningCamera>(
            state(), Words{kLively, "--ptz", "--engine", JOURNAL_ENGINE, "--config", simple("Anything")});
        ASSERT_TRUE(camera->serves()) << camera->err();
        address = camera->address();
    }

    Finished busctl(const std::string& method, const Words& arguments = {}) const
    {
        Words words = {"busctl",
                       "--address=" + address,
                       "--json=short",
                       "call",
                       "ravel.onvif_analytic_service",
                       "/ravel/onvif_analytic_service/main",
                       "ravel.onvif_analytic_service",
                       method};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return run(words);
    }

    // What a method answers, a list of values.
    Json::Value answer(const std::string& method, const Words& arguments = {}) const
    {
        const Finished done = busctl(method, arguments);
        EXPECT_EQ(0, done.exitCode) << method << ": " << done.err;
        return parsedJson(done.out)["data"];
    }

    // A method that answers result and status.
    unsigned int statusOf(const std::string& method, const Words& items) const
    {
        Words arguments = {"as", std::to_string(items.size())};
        arguments.insert(arguments.end(), items.begin(), items.end());
        const Json::Value answered = answer(method, arguments);
        EXPECT_EQ(0, answered[0].asInt()) << method;
        return answered[1].asUInt();
    }

    std::string list(const std::string& method) const
    {
        std::string all;
        const Json::Value answered = answer(method);
        for (const Json::Value& item : answered[0]) {
            all += item.asString() + "\n";
        }
        return all;
    }

    static std::string rule(const std::string& name, const std::string& minCount)
    {
        return "<tt:Rule Name=\"" + name + "\" Type=\"tt:CellMotionDetector\"><tt:Parameters><tt:SimpleItem " +
               "Name=\"MinCount\" Value=\"" + minCount + "\"/></tt:Parameters></tt:Rule>";
    }

    static std::string module(const std::string& name, const std::string& sensitivity)
    {
        return "<tt:AnalyticsModule Name=\"" + name + "\" Type=\"tt:CellMotionEngine\"><tt:Parameters>" +
               "<tt:SimpleItem Name=\"Sensitivity\" Value=\"" + sensitivity +
               "\"/></tt:Parameters></tt:AnalyticsModule>";
    }

    std::unique_ptr<RunningCamera> camera;
    std::string address;
};

constexpr unsigned int kDone = 0;
constexpr unsigned int kRefused = 4;
constexpr unsigned int kUnknown = 5;

TEST_F(BusctlTest, listsWhatTheEnginesKnow)
{
    EXPECT_THAT(list("getEventTopics"), AllOf(HasSubstr(kCellTopic), HasSubstr(kRegionTopic)));
    EXPECT_THAT(list("getSupportedRules"),
                AllOf(HasSubstr("tt:CellMotionDetector\n"), HasSubstr("tt:MotionRegionDetector\n")));
    EXPECT_THAT(list("getSupportedEngines"),
                AllOf(HasSubstr("tt:CellMotionEngine\n"), HasSubstr("vca:MotionRegionEngine\n")));
}

TEST_F(BusctlTest, createsModifiesAndDeletesRules)
{
    EXPECT_EQ(kDone, statusOf("createRules", {rule("More", "9"), rule("Most", "12")}));
    EXPECT_THAT(list("getCurrentRules"), AllOf(HasSubstr("Name=\"Anything\""), HasSubstr("Name=\"More\""),
                                               HasSubstr("Name=\"Most\""), HasSubstr("Value=\"9\"")));
    EXPECT_EQ(kDone, statusOf("modifyRules", {rule("More", "11")}));
    EXPECT_THAT(list("getCurrentRules"), AllOf(HasSubstr("Value=\"11\""), Not(HasSubstr("Value=\"9\""))));
    EXPECT_EQ(kRefused, statusOf("modifyRules", {rule("More", "never")}));
    EXPECT_THAT(list("getCurrentRules"), HasSubstr("Value=\"11\""));
    EXPECT_EQ(kDone, statusOf("deleteRules", {"More"}));
    EXPECT_THAT(list("getCurrentRules"), AllOf(HasSubstr("Name=\"Most\""), Not(HasSubstr("Name=\"More\""))));
    EXPECT_EQ(kUnknown, statusOf("deleteRules", {"Nobody"}));
}

TEST_F(BusctlTest, createsModifiesAndDeletesModules)
{
    EXPECT_EQ(kDone, statusOf("modifyEngines", {module("Cells", "33")}));
    EXPECT_THAT(list("getCurrentEngines"), AllOf(HasSubstr("Name=\"Cells\""), HasSubstr("Value=\"33\"")));
    EXPECT_EQ(kRefused, statusOf("createEngines", {module("Other", "never")}));
    EXPECT_THAT(list("getCurrentEngines"), Not(HasSubstr("Name=\"Other\"")));
    EXPECT_EQ(kUnknown, statusOf("deleteEngines", {"Nobody"}));
    EXPECT_EQ(kDone, statusOf("deleteEngines", {"Cells"}));
    EXPECT_THAT(list("getCurrentEngines"), Not(HasSubstr("Name=\"Cells\"")));
    EXPECT_EQ(kDone, statusOf("createEngines", {module("Cells", "44")}));
    EXPECT_THAT(list("getCurrentEngines"), HasSubstr("Value=\"44\""));
}

TEST_F(BusctlTest, setsConfigurationsForPlacesAndReadsThemBack)
{
    const Json::Value taken = answer("setConfiguration", {"s", motionConfiguration("Door rule", "Door")});
    EXPECT_EQ(0, taken[0].asInt());
    EXPECT_EQ(0, taken[1].asInt());
    EXPECT_THAT(answer("getPtzPresetConfiguration", {"s", "Door"})[0].asString(), HasSubstr("Door rule"));
    EXPECT_THAT(answer("getPtzPresetConfiguration", {"s", "Gate"})[0].asString(), Not(HasSubstr("Door rule")));
    EXPECT_THAT(answer("getCurrentConfiguration")[0].asString(),
                AllOf(HasSubstr("Anything"), Not(HasSubstr("Door rule"))));
    EXPECT_EQ("Door\n", list("getUsedPtzPresets"));

    EXPECT_NE(0, answer("setConfiguration", {"s", "<tt:VideoAnalyticsConfiguration/>"})[1].asInt());
    EXPECT_THAT(answer("getCurrentConfiguration")[0].asString(), HasSubstr("Anything"));
}

TEST_F(BusctlTest, restoresTheDefaults)
{
    EXPECT_EQ(0, answer("restoreDefaultSettings")[0].asInt());
    EXPECT_EQ("", list("getCurrentRules"));
    EXPECT_EQ("", list("getCurrentEngines"));
}

TEST_F(BusctlTest, hasTheNamedEngineWriteAndReadFrames)
{
    EXPECT_EQ(0, answer("writeFramesToFile", {"ssu", "Journal", "/tmp/frames of it", "7"})[0].asInt());
    EXPECT_EQ(0, answer("readFramesFromFile", {"ssb", "Journal", "/tmp/frames of it", "true"})[0].asInt());
    EXPECT_THAT(journal("write"), testing::ElementsAre("/tmp/frames of it 7"));
    EXPECT_THAT(journal("read"), testing::ElementsAre("/tmp/frames of it 1"));
}

TEST_F(BusctlTest, refusesWhatItDoesNotHaveAndGoesOn)
{
    const Finished unknown = busctl("format");
    EXPECT_NE(0, unknown.exitCode);
    EXPECT_THAT(unknown.err, HasSubstr("nknown method"));
    EXPECT_NE(0, busctl("createRules", {"s", "no list"}).exitCode);
    EXPECT_EQ(kDone, statusOf("createRules", {}));
    EXPECT_THAT(list("getCurrentRules"), HasSubstr("Name=\"Anything\""));
}

} // namespace
} // namespace camera::system_tests
