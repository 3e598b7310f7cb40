#include "integration/camera_services/ServicesFixture.h"

#include <future>

namespace {

using namespace services_test;
using testing::ElementsAre;

/// One harmless question to each service.
struct Question {
    const char* service;
    const char* method;
};

constexpr Question kQuestions[] = {{service::kDayNight, "isMoving"},
                                   {service::kWindowBlanking, "getEnable"},
                                   {service::kRotate, "getAngle"},
                                   {service::kConfiguration, "list"},
                                   {service::kOnvifMetadataStreamer, "getSocket"}};

class FaultsTest : public ServicesFixture, public testing::WithParamInterface<Question> {
protected:
    // "answered", or the error's "name|text".
    std::string outcome(const Question& question, std::chrono::milliseconds patience = kPatience)
    {
        const auto now = client.proxies();
        auto call =
            now->of(question.service).createMethodCall(camera::bus::interfaceName(question.service), question.method);
        auto promise = std::make_shared<std::promise<std::string>>();
        auto answer = promise->get_future();
        now->of(question.service)
            .callMethod(
                call,
                [promise](sdbus::MethodReply&, const sdbus::Error* error) {
                    promise->set_value(error == nullptr ? "answered" : error->getName() + "|" + error->getMessage());
                },
                static_cast<std::uint64_t>(std::chrono::microseconds(patience).count()));
        return answer.get();
    }

    std::string faultOf(const std::string& name)
    {
        return client.one<std::map<std::string, std::string>>(service::kServices, "faults").at(name);
    }

    void expectOthersAnswer()
    {
        for (const Question& other : kQuestions) {
            if (std::string(other.service) != GetParam().service) {
                EXPECT_EQ(outcome(other), "answered") << other.service;
            }
        }
    }
};

TEST_P(FaultsTest, anAbsentServiceHasNoNameUntilItIsBack)
{
    client.setFault(GetParam().service, "absent");
    EXPECT_FALSE(client.isServed(GetParam().service));
    EXPECT_EQ(outcome(GetParam()).substr(0, 41), "org.freedesktop.DBus.Error.ServiceUnknown");
    EXPECT_EQ(faultOf(GetParam().service), "absent");
    expectOthersAnswer();
    client.setFault(GetParam().service, "absent");
    client.setFault(GetParam().service, "off");
    client.setFault(GetParam().service, "off");
    EXPECT_TRUE(client.isServed(GetParam().service));
    EXPECT_EQ(outcome(GetParam()), "answered");
}

TEST_P(FaultsTest, aFailingServiceAnswersEverythingWithAnError)
{
    client.setFault(GetParam().service, "fail");
    EXPECT_EQ(outcome(GetParam()), "ravel.Error.Failed|made to fail");
    EXPECT_TRUE(client.isServed(GetParam().service));
    expectOthersAnswer();
    client.setFault(GetParam().service, "off");
    EXPECT_EQ(outcome(GetParam()), "answered");
}

TEST_P(FaultsTest, aSlowServiceKeepsOnlyItsOwnCallersWaiting)
{
    client.setFault(GetParam().service, "slow", 3600);
    EXPECT_NE(outcome(GetParam(), 20ms), "answered");
    expectOthersAnswer();
    client.setFault(GetParam().service, "slow", 0.02);
    EXPECT_EQ(outcome(GetParam()), "answered");
    client.setFault(GetParam().service, "off");
    EXPECT_EQ(outcome(GetParam()), "answered");
}

TEST_P(FaultsTest, aFaultHoldsWhenTheBusComesBack)
{
    client.setFault(GetParam().service, "absent");
    restartBus();
    EXPECT_FALSE(client.isServed(GetParam().service));
    expectOthersAnswer();
    client.setFault(GetParam().service, "fail");
    restartBus();
    EXPECT_EQ(outcome(GetParam()), "ravel.Error.Failed|made to fail");
}

INSTANTIATE_TEST_SUITE_P(EachService, FaultsTest, testing::ValuesIn(kQuestions),
                         [](const testing::TestParamInfo<Question>& tested) {
                             return std::string(tested.param.service);
                         });

class FaultEffectsTest : public ServicesFixture {};

TEST_F(FaultEffectsTest, anAbsentServicesObjectIsGoneByEveryName)
{
    const auto byAnotherName = [&] {
        try {
            BusClient::call<bool>(client.proxies()->of(kDayNightByAnotherName),
                                  camera::bus::interfaceName(service::kDayNight), "isMoving", kPatience);
            return std::string("answered");
        } catch (const sdbus::Error& refused) {
            return refused.getName();
        }
    };
    EXPECT_EQ(byAnotherName(), "answered");
    client.setFault(service::kDayNight, "absent");
    EXPECT_EQ(byAnotherName(), "org.freedesktop.DBus.Error.UnknownObject");
}

TEST_F(FaultEffectsTest, aFailingServiceNeitherChangesNorTellsAnything)
{
    for (const char* name : kEach) {
        client.setFault(name, "fail");
    }
    const std::string failed = "ravel.Error.Failed|made to fail";
    EXPECT_EQ(client.refusal(service::kDayNight, "begin"), failed);
    EXPECT_EQ(client.refusal(service::kDayNight, "end"), failed);
    EXPECT_EQ(client.refusal(service::kWindowBlanking, "setEnable", true), failed);
    EXPECT_EQ(
        client.refusal(service::kWindowBlanking, "setRegionColor", std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3}),
        failed);
    EXPECT_EQ(client.refusal(service::kRotate, "setAngle", 90U), failed);
    EXPECT_EQ(client.refusal(service::kConfiguration, "setIntValue", std::string("k"), 1), failed);
    EXPECT_EQ(client.refusal(service::kConfiguration, "removeValue", std::string("default_analytics_rotation")),
              failed);
    EXPECT_EQ(client.refusal(service::kOnvifMetadataStreamer, "sendOnvifAnalyticsMetadataXml", std::string("<a/>"), 1),
              failed);
    for (const char* name : kEach) {
        client.setFault(name, "off");
    }
    EXPECT_FALSE(client.moving());
    EXPECT_EQ(client.enabled(), 0);
    EXPECT_EQ(client.angle(), 0U);
    EXPECT_EQ(client.values().size(), 1U);
    EXPECT_EQ(process->connection().sessions(), 1U);
    client.ask<>(service::kDayNight, "begin");
    EXPECT_THAT(client.journal.lines(1), ElementsAre("movementChange 1"));
}

TEST_F(FaultEffectsTest, aSlowRefusalIsARefusalAndASlowValueIsTheValue)
{
    client.setFault(service::kRotate, "slow", 0.01);
    EXPECT_EQ(client.refusal(service::kRotate, "setAngle", 7U),
              "ravel.Error.Refused|the angle is 0, 90, 180 or 270 degrees, not 7");
    client.setAngle(270);
    EXPECT_EQ(client.angle(), 270U);
    client.setFault(service::kWindowBlanking, "slow", 0.01);
    EXPECT_EQ(std::get<1>(client.color()), 128);
}

TEST_F(FaultEffectsTest, aSlowServiceDoesAtOnceWhatItAnswersLate)
{
    client.setFault(service::kRotate, "slow", 3600);
    EXPECT_THROW(client.askWithin<>(1ms, service::kRotate, "setAngle", 270U), sdbus::Error);
    EXPECT_THAT(client.journal.lines(1), ElementsAre("orientationChanged 270"));
    client.setFault(service::kRotate, "off");
    EXPECT_EQ(client.angle(), 270U);
}

TEST_F(FaultEffectsTest, waitingAnswersGoWithTheBusAndNobodyWaitsForThem)
{
    client.setFault(service::kDayNight, "slow", 3600);
    auto outcome = std::async(std::launch::async, [&] { return client.refusal<bool>(service::kDayNight, "isMoving"); });
    client.angle();
    restartBus();
    EXPECT_NE(outcome.get(), "answered");
    EXPECT_EQ(client.angle(), 0U);
}

TEST_F(FaultEffectsTest, moreSlowAnswersThanFitAreErrors)
{
    client.setFault(service::kOnvifMetadataStreamer, "slow", 3600);
    const std::string large(15 * 1024 * 1024, 'x');
    std::string last;
    for (int i = 0; i < 5; ++i) {
        last = refusalOf<sdbus::Error>([&] {
            client.askWithin<>(i < 4 ? 1ms : 300000ms, service::kOnvifMetadataStreamer, "sendOnvifAnalyticsMetadataXml",
                               large, 1);
        });
    }
    EXPECT_EQ(last, "[ravel.Error.Failed] made slow, and too many answers wait already");
}

TEST_F(FaultEffectsTest, faultsEndWithTheProcess)
{
    client.setFault(service::kRotate, "absent");
    restart();
    EXPECT_TRUE(client.isServed(service::kRotate));
}

TEST_F(FaultEffectsTest, namesComeBackAndStateIsKeptHoweverOftenTheBusDies)
{
    client.setAngle(90);
    client.ask<>(service::kDayNight, "begin");
    for (int round = 0; round < 3; ++round) {
        restartBus();
        for (const Question& question : kQuestions) {
            EXPECT_TRUE(client.isServed(question.service));
        }
        EXPECT_EQ(client.angle(), 90U);
        EXPECT_TRUE(client.moving());
    }
    client.setAngle(180);
    EXPECT_THAT(client.journal.lines(3),
                ElementsAre("orientationChanged 90", "movementChange 1", "orientationChanged 180"));
}

TEST_F(FaultEffectsTest, aNameThatSomebodyElseHoldsIsReportedOnceAndTakenWhenItIsFree)
{
    const TemporaryFolder other;
    auto second = options;
    second.state = other.path();
    const camera::services::ServicesProcess waiting(second);
    ASSERT_TRUE(eventually([&] { return log.count("the services cannot appear on the bus") > 0; }));
    process.reset();
    ASSERT_TRUE(waiting.connection().waitUntilConnected(soon()));
    EXPECT_TRUE(eventually([&] { return client.isServed(service::kRotate); }));
    EXPECT_EQ(log.count("the services cannot appear on the bus"), 1U);
}

} // namespace
