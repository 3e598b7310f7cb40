// What the camera offers of its analytics beyond the target: changes that say why they are refused.
#include "integration/camera_pipeline/ServedDevice.h"

namespace pipeline_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AnalyticsObjectTest : public ServedDevice {
protected:
    using Change = std::tuple<std::int32_t, std::uint32_t, Texts>;
    using Taken = std::tuple<std::int32_t, std::uint8_t, Texts>;

    void SetUp() override
    {
        ServedDevice::SetUp();
        hosted.onRefused = [](const std::string& engine) { say(engine + ": no"); };
        serve();
    }

    static void say(const std::string& text)
    {
        camera::base::Log::instance().write(camera::base::LogLevel::error, "engines", text);
    }

    Change changed(const std::string& method, const Texts& items)
    {
        return client.ask<std::int32_t, std::uint32_t, Texts>(service::kAnalytics, method, items);
    }

    Taken taken(const std::string& xml)
    {
        return client.ask<std::int32_t, std::uint8_t, Texts>(service::kAnalytics, "setConfiguration", xml);
    }

    const Texts kEachRefuses = {"Motion: no", "Simple: no", "not a valid component"};
};

TEST_F(AnalyticsObjectTest, everyChangeIsTheTargetsAndSaysWhyItIsRefused)
{
    EXPECT_EQ(changed("createRules", {rule("R")}), Change(0, 0, {}));
    EXPECT_EQ(changed("createRules", {rule("R"), rule("S", "invalid")}), Change(0, 4, kEachRefuses));
    EXPECT_EQ(changed("createRules", {"no xml"}), Change(0, 4, {"not a valid component"}));
    EXPECT_EQ(changed("modifyRules", {rule("R")}), Change(0, 0, {}));
    EXPECT_EQ(changed("modifyRules", {rule("R", "invalid")}), Change(0, 4, kEachRefuses));
    EXPECT_EQ(changed("createEngines", {module("M", "tt:GoodModule")}), Change(0, 0, {}));
    EXPECT_EQ(changed("createEngines", {module("M", "invalid")}), Change(0, 4, kEachRefuses));
    EXPECT_EQ(changed("modifyEngines", {module("M", "tt:GoodModule")}), Change(0, 0, {}));
    EXPECT_EQ(changed("modifyEngines", {module("M", "invalid")}), Change(0, 4, kEachRefuses));
    EXPECT_THAT(analytics<Texts>("getCurrentRules"), ElementsAre(HasSubstr("\"R\"")));
    EXPECT_THAT(analytics<Texts>("getCurrentEngines"), ElementsAre(HasSubstr("\"M\"")));
    EXPECT_EQ(changed("deleteRules", {"unknown"}), Change(0, 5, {}));
    EXPECT_EQ(changed("deleteEngines", {"unknown"}), Change(0, 5, {}));
    EXPECT_EQ(changed("deleteRules", {"R"}), Change(0, 0, {}));
    EXPECT_EQ(changed("deleteEngines", {"M"}), Change(0, 0, {}));
    EXPECT_THAT(analytics<Texts>("getCurrentRules"), IsEmpty());
    EXPECT_THAT(analytics<Texts>("getCurrentEngines"), IsEmpty());
}

TEST_F(AnalyticsObjectTest, aConfigurationSaysWhyItIsRefused)
{
    EXPECT_EQ(taken(documentFor("Motion")), Taken(0, 0, {}));
    EXPECT_EQ(taken(documentFor("Motion", "", "invalid")), Taken(1, 1, {"Motion: no"}));
    EXPECT_EQ(taken(documentFor("Nobody")), Taken(0, 1, {})) << "no engine claims it";
    EXPECT_THAT(std::get<2>(taken("<tt:VideoAnalyticsConfiguration for=\"Motion\">")),
                ElementsAre(HasSubstr("Failed to parse"), HasSubstr("got non-hashable key")))
        << "no XML";
    EXPECT_EQ(analytics<std::string>("getCurrentConfiguration"), device->target().currentConfiguration());
}

TEST_F(AnalyticsObjectTest, theReasonDoesNotDependOnWhatTheLogWrites)
{
    camera::base::Log::instance().setLevel(camera::base::LogLevel::silent);
    EXPECT_EQ(changed("createRules", {rule("S", "invalid")}), Change(0, 4, kEachRefuses));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(AnalyticsObjectTest, whatIsLoggedDuringAChangeThatSucceedsIsNoRefusal)
{
    hosted.onControl = [](const std::string& operation) {
        if (operation == "Motion createRuleSet") {
            say("Motion: made one more");
        }
    };
    EXPECT_EQ(changed("createRules", {rule("R")}), Change(0, 0, {}));
    EXPECT_EQ(taken(documentFor("Motion")), Taken(0, 0, {}));
    EXPECT_THAT(lines(), testing::Contains(HasSubstr("made one more")));
}

TEST_F(AnalyticsObjectTest, aRefusalHoldsTheLinesOfItsOwnCallOnly)
{
    changed("createRules", {rule("S", "invalid")});
    say("of another thread");
    EXPECT_EQ(taken(documentFor("Simple", "", "invalid")), Taken(1, 1, {"Simple: no"}));
}

TEST_F(AnalyticsObjectTest, anOperationThatFailsIsAnErrorWithItsSentence)
{
    hosted.onControl = [](const std::string& operation) {
        if (operation == "Motion createRuleSet") {
            throw std::runtime_error("the engine broke");
        }
    };
    EXPECT_THAT(
        (client.refusal<std::int32_t, std::uint32_t, Texts>(service::kAnalytics, "createRules", Texts{rule("R")})),
        testing::StartsWith("ravel.Error.Failed|the engine broke"));
    hosted.onControl = nullptr;
    EXPECT_EQ(changed("createRules", {rule("R")}), Change(0, 0, {}));
}

} // namespace
} // namespace pipeline_test
