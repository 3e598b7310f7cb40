#include "camera/onvif/EventService.h"
#include "AskedOperation.h"
#include "FakeAnalyticsService.h"
#include "camera/onvif/Times.h"
#include "kit/OnvifSchemas.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace camera::onvif {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kMotion = "tns1:RuleEngine/MotionRegionDetector/Motion";
constexpr const char* kCellMotion = "tns1:RuleEngine/CellMotionDetector/Motion";

std::string in(const std::string& name, const std::string& content)
{
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string topicFilter(const std::string& topics, const std::string& attributes = "")
{
    return in("tev:Filter", "<wsnt:TopicExpression " + attributes +
                                " Dialect='http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet'>" + topics +
                                "</wsnt:TopicExpression>");
}

std::string itemFilter(const std::string& filter, const std::string& attributes = "")
{
    return in("tev:Filter", "<wsnt:MessageContent " + attributes +
                                " Dialect='http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter'>" + filter +
                                "</wsnt:MessageContent>");
}

std::string textBetween(const std::string& text, const std::string& begin, const std::string& end)
{
    const std::size_t at = text.find(begin);
    return at == std::string::npos
               ? ""
               : text.substr(at + begin.size(), text.find(end, at + begin.size()) - at - begin.size());
}

/// The messages of an answer: "Initialized Gate=true", or without an operation " Gate=true".
std::vector<std::string> messagesIn(const std::string& text)
{
    std::vector<std::string> found;
    for (std::size_t at = text.find("<tt:Message "); at != std::string::npos; at = text.find("<tt:Message ", at + 1)) {
        const std::string message = text.substr(at, text.find("</tt:Message>", at) - at);
        found.push_back(textBetween(message, "PropertyOperation=\"", "\"") + " " +
                        textBetween(message, "Name=\"Rule\" Value=\"", "\"") + "=" +
                        textBetween(message, "Name=\"State\" Value=\"", "\""));
    }
    return found;
}

Notification state(const std::string& rule, const std::string& value,
                   PropertyOperation operation = PropertyOperation::changed, const std::string& topic = kMotion)
{
    Notification made{topic, "2024-06-30T12:00:00Z", operation};
    made.source = {{"Rule", rule}};
    made.data = {{"State", value}};
    return made;
}

class EventServiceTest : public testing::Test {
protected:
    void SetUp() override
    {
        _view.engines = _analytics.engines;
        _view.moves = true;
        make({});
    }

    void make(EventLimits limits)
    {
        EventActions actions;
        actions.live = [this](const auto& done) {
            ++liveAsked;
            if (holdLive) {
                heldLive.push_back(done);
            } else {
                done(live);
            }
        };
        actions.view = [this](const auto& done) { done(view); };
        actions.push = [this](const PushMessage& message, const Done& done) { pushed.push_back({message, done}); };
        actions.wakeAt = [this](auto time) { wakeAt = time; };
        actions.log = [this](const std::string& line) { log.push_back(line); };
        actions.consumersAnywhere = consumersAnywhere;
        _operations = Operations();
        _service.emplace(std::move(actions), Clocks{[this] { return wall; }, [this] { return steady += tick; }},
                         limits);
        _service->addTo(_operations, _directory);
    }

    EventService& service() { return *_service; }
    const Operations& operations() const { return _operations; }

    AskedOutcome begin(const std::string& name, const std::string& content, const std::string& path = "",
                       const std::string& user = "root", const WhenGone& whenGone = {})
    {
        return begun(_operations, name, content, {path, user, UserLevel::user, "10.0.0.5", whenGone});
    }

    std::string call(const std::string& name, const std::string& content, const std::string& path = "",
                     const std::string& user = "root")
    {
        return outcomeText(*begin(name, content, path, user));
    }

    /// The path of a new pull point; of a refusal its text.
    std::string created(const std::string& content = "", const std::string& user = "root")
    {
        return pathIn(call("tev:CreatePullPointSubscription", content, "/onvif/event_service", user));
    }

    std::string subscribed(const std::string& address, const std::string& content = "")
    {
        return pathIn(call("wsnt:Subscribe", in("wsnt:ConsumerReference", in("wsa:Address", address)) + content));
    }

    static std::string pathIn(const std::string& answer)
    {
        const std::string address = textBetween(answer, "<wsa:Address>http://camera", "</wsa:Address>");
        return address.empty() ? answer : address;
    }

    AskedOutcome beginPull(const std::string& path, const std::string& timeout = "PT1M", int limit = 1000,
                           const WhenGone& whenGone = {})
    {
        return begin("tev:PullMessages", in("tev:Timeout", timeout) + in("tev:MessageLimit", std::to_string(limit)),
                     path, "root", whenGone);
    }

    std::string pulledText(const std::string& path, int limit = 1000)
    {
        return outcomeText(*beginPull(path, "PT0S", limit));
    }

    std::vector<std::string> pulled(const std::string& path, int limit = 1000)
    {
        return messagesIn(pulledText(path, limit));
    }

    void pass(std::chrono::milliseconds time)
    {
        steady += time;
        wall += time;
        if (wakeAt && *wakeAt <= steady) {
            wakeAt.reset();
            service().wake();
        }
    }

    std::vector<Notification> live;
    Outcome<AnalyticsView> view = AnalyticsView();
    bool holdLive = false;
    bool consumersAnywhere = false;
    std::vector<std::function<void(Outcome<std::vector<Notification>>)>> heldLive;
    int liveAsked = 0;
    std::vector<std::pair<PushMessage, Done>> pushed;
    std::optional<std::chrono::steady_clock::time_point> wakeAt;
    std::vector<std::string> log;
    std::chrono::system_clock::time_point wall = parseDateTime("2024-06-30T12:00:00Z").value();
    std::chrono::steady_clock::time_point steady{1h};
    std::chrono::nanoseconds tick{}; ///< how far the clock goes from one look at it to the next

    FakeAnalyticsService _analytics{describedEngines()};
    AnalyticsView _view;

private:
    Operations _operations;
    ServiceDirectory _directory;
    std::optional<EventService> _service;
};

TEST_F(EventServiceTest, subscriptionBeginsWithTheStateOfEveryLivePropertyThenGetsWhatIsTold)
{
    live = {state("A", "true", PropertyOperation::initialized), state("B", "false", PropertyOperation::initialized)};
    const std::string path = created();
    service().tell(state("A", "false"));
    service().tell(state("B", "", PropertyOperation::deleted));
    EXPECT_THAT(pulled(path),
                ElementsAre("Initialized A=true", "Initialized B=false", "Changed A=false", "Deleted B="));
    EXPECT_THAT(pulled(path), IsEmpty());
}

TEST_F(EventServiceTest, subscriptionTakesPartFromTheAnswerOfTheLivePropertiesOn)
{
    holdLive = true;
    const AskedOutcome creating = begin("tev:CreatePullPointSubscription", "");
    service().tell(state("A", "true")); // which the answer has
    EXPECT_FALSE(*creating);
    heldLive.at(0)(std::vector<Notification>{state("A", "true", PropertyOperation::initialized)});
    service().tell(state("A", "false"));
    EXPECT_THAT(pulled(pathIn(outcomeText(*creating))), ElementsAre("Initialized A=true", "Changed A=false"));
}

TEST_F(EventServiceTest, synchronizationPointPutsStatesInOrderWithWhatIsTold)
{
    const std::string path = created();
    holdLive = true;
    const AskedOutcome synchronizing = begin("tev:SetSynchronizationPoint", "", path);
    service().tell(state("A", "true"));
    EXPECT_FALSE(*synchronizing);
    heldLive.at(0)(std::vector<Notification>{state("A", "true", PropertyOperation::initialized)});
    EXPECT_EQ("<tev:SetSynchronizationPointResponse/>", outcomeText(*synchronizing));
    service().tell(state("A", "false"));
    EXPECT_THAT(pulled(path), ElementsAre("Changed A=true", "Initialized A=true", "Changed A=false"));
}

TEST_F(EventServiceTest, synchronizationPointAnswersAPullThatWaits)
{
    const std::string path = created();
    const AskedOutcome pull = beginPull(path);
    live = {state("A", "true", PropertyOperation::initialized)};
    call("tev:SetSynchronizationPoint", "", path);
    EXPECT_THAT(messagesIn(outcomeText(*pull)), ElementsAre("Initialized A=true"));
}

TEST_F(EventServiceTest, synchronizationPointOfASubscriptionThatEndsMeanwhileIsRefused)
{
    const std::string path = created();
    holdLive = true;
    const AskedOutcome synchronizing = begin("tev:SetSynchronizationPoint", "", path);
    call("wsnt:Unsubscribe", "", path);
    heldLive.at(0)(std::vector<Notification>());
    EXPECT_THAT(outcomeText(*synchronizing), StartsWith("Sender wsrf-r:ResourceUnknownFault"));
}

TEST_F(EventServiceTest, refusesASubscriptionWhileTheLivePropertiesCannotBeTold)
{
    holdLive = true;
    const AskedOutcome creating = begin("tev:CreatePullPointSubscription", "");
    heldLive.at(0)(Fault::receiver({"ter:Action"}, "gone"));
    EXPECT_EQ("Receiver ter:Action: gone", outcomeText(*creating));
    EXPECT_EQ(0U, service().subscriptions());
}

TEST_F(EventServiceTest, pullWaitsForAMessageAndIsAnsweredWithItAtOnce)
{
    const std::string path = created();
    const AskedOutcome pull = beginPull(path);
    EXPECT_FALSE(*pull);
    service().tell(state("A", "true"));
    EXPECT_THAT(messagesIn(outcomeText(*pull)), ElementsAre("Changed A=true"));
    service().tell(state("A", "false"));
    EXPECT_THAT(pulled(path), ElementsAre("Changed A=false"));
}

TEST_F(EventServiceTest, emptyAnswerComesAtTheTimeoutAndNotBefore)
{
    const std::string path = created(in("tev:InitialTerminationTime", "PT10S"));
    const AskedOutcome pull = beginPull(path, "PT2M");
    pass(119999ms);
    service().wake();
    EXPECT_FALSE(*pull);
    pass(1ms);
    const std::string answer = outcomeText(*pull);
    EXPECT_THAT(messagesIn(answer), IsEmpty());
    EXPECT_THAT(answer, StartsWith("<tev:PullMessagesResponse><tev:CurrentTime>2024-06-30T12:02:00Z</tev:CurrentTime>"
                                   "<tev:TerminationTime>2024-06-30T12:02:10Z</tev:TerminationTime>"));
}

TEST_F(EventServiceTest, pullTakesAtMostItsLimitInTheirOrder)
{
    const std::string path = created();
    for (const char* const rule : {"A", "B", "C"}) {
        service().tell(state(rule, "true"));
    }
    EXPECT_THAT(pulled(path, 2), ElementsAre("Changed A=true", "Changed B=true"));
    EXPECT_THAT(pulled(path, 2), ElementsAre("Changed C=true"));
}

TEST_F(EventServiceTest, tooLargeALimitIsNoFault)
{
    make({1000, 2});
    const std::string path = created();
    for (const char* const rule : {"A", "B", "C"}) {
        service().tell(state(rule, "true"));
    }
    EXPECT_THAT(pulled(path, 2147483647), ElementsAre("Changed A=true", "Changed B=true"));
}

TEST_F(EventServiceTest, refusesPullsThatCannotBe)
{
    const std::string path = created();
    for (const char* const timeout : {"", "60", "-PT1S", "now"}) {
        EXPECT_THAT(outcomeText(*beginPull(path, timeout)), StartsWith("Sender ter:InvalidArgVal")) << timeout;
    }
    EXPECT_THAT(outcomeText(*beginPull(path, "PT1S", 0)), StartsWith("Sender ter:InvalidArgVal"));
    EXPECT_THAT(outcomeText(*beginPull(path, "PT1S", -1)), StartsWith("Sender ter:InvalidArgVal"));
    EXPECT_THAT(call("tev:PullMessages", in("tev:MessageLimit", "1"), path), StartsWith("Sender ter:InvalidArgs"));
}

TEST_F(EventServiceTest, tooLongAPullIsToldTheLimits)
{
    const AskedOutcome pull = beginPull(created(), "PT10M1S");
    const Fault fault = std::get<Fault>(pull->value());
    EXPECT_EQ("<tev:PullMessagesFaultResponse><tev:MaxTimeout>PT600S</tev:MaxTimeout><tev:MaxMessageLimit>250"
              "</tev:MaxMessageLimit></tev:PullMessagesFaultResponse>",
              fault.detail);
}

TEST_F(EventServiceTest, secondPullEndsTheFirstWithAFaultAndGetsTheMessages)
{
    const std::string path = created();
    const AskedOutcome first = beginPull(path);
    const AskedOutcome second = beginPull(path);
    EXPECT_THAT(outcomeText(*first), StartsWith("Sender wsnt:UnableToGetMessagesFault"));
    EXPECT_FALSE(*second);
    service().tell(state("A", "true"));
    EXPECT_THAT(messagesIn(outcomeText(*second)), ElementsAre("Changed A=true"));
}

TEST_F(EventServiceTest, messageIsKeptForTheNextPullWhenTheClientGoesWhileOneWaits)
{
    const std::string path = created();
    std::function<void()> gone;
    const AskedOutcome pull = beginPull(path, "PT1M", 10, [&gone](auto call) { gone = std::move(call); });
    gone();
    EXPECT_TRUE(*pull);
    service().tell(state("A", "true"));
    EXPECT_THAT(pulled(path), ElementsAre("Changed A=true"));
}

TEST_F(EventServiceTest, clientThatGoesLateEndsNoOtherPull)
{
    const std::string path = created();
    std::function<void()> gone;
    beginPull(path, "PT1M", 10, [&gone](auto call) { gone = std::move(call); });
    const AskedOutcome second = beginPull(path);
    gone();
    EXPECT_FALSE(*second);
    call("wsnt:Unsubscribe", "", path);
    gone();
}

TEST_F(EventServiceTest, subscriptionEndsByItselfUnlessItIsRenewed)
{
    const std::string kept = created(in("tev:InitialTerminationTime", "PT1M"));
    const std::string abandoned = created(in("tev:InitialTerminationTime", "PT1M"));
    pass(50s);
    EXPECT_THAT(call("wsnt:Renew", in("wsnt:TerminationTime", "PT30S"), kept),
                HasSubstr("<wsnt:TerminationTime>2024-06-30T12:01:20Z</wsnt:TerminationTime><wsnt:CurrentTime>"
                          "2024-06-30T12:00:50Z</wsnt:CurrentTime>"));
    pass(10s);
    EXPECT_EQ(1U, service().subscriptions());
    EXPECT_THAT(pulledText(abandoned), StartsWith("Sender wsrf-r:ResourceUnknownFault"));
    pass(20s);
    EXPECT_THAT(pulledText(kept), StartsWith("Sender wsrf-r:ResourceUnknownFault"));
    EXPECT_EQ(0U, service().subscriptions());
}

TEST_F(EventServiceTest, clockOfTheWallEndsNoSubscription)
{
    const std::string path = created(in("tev:InitialTerminationTime", "2024-06-30T12:01:00Z"));
    wall += 24h * 365;
    service().wake();
    EXPECT_THAT(pulledText(path), HasSubstr("<tev:TerminationTime>2025-06-30T12:01:00Z<"));
    steady += 1min;
    service().wake();
    EXPECT_EQ(0U, service().subscriptions());
}

TEST_F(EventServiceTest, eachPullKeepsItsSubscriptionAlive)
{
    const std::string path = created(in("tev:InitialTerminationTime", "PT10S"));
    for (int i = 0; i < 5; ++i) {
        pass(9s);
        EXPECT_THAT(pulledText(path), StartsWith("<tev:PullMessagesResponse>"));
    }
}

TEST_F(EventServiceTest, timesAreDurationsOrTimesToComeOfADayAtMost)
{
    EXPECT_THAT(call("tev:CreatePullPointSubscription", in("tev:InitialTerminationTime", "2024-06-30T14:05:00+02:00")),
                HasSubstr("<wsnt:CurrentTime>2024-06-30T12:00:00Z</wsnt:CurrentTime><wsnt:TerminationTime>"
                          "2024-06-30T12:05:00Z</wsnt:TerminationTime>"));
    EXPECT_THAT(call("tev:CreatePullPointSubscription", ""), HasSubstr("T12:01:00Z</wsnt:TerminationTime>"));
    EXPECT_THAT(call("tev:CreatePullPointSubscription", "<tev:InitialTerminationTime xsi:nil='true'/>"),
                HasSubstr("T12:01:00Z</wsnt:TerminationTime>"));
    const std::string path = created();
    for (const char* const time : {"PT0S", "-PT1M", "P2D", "2024-06-30T11:59:59Z", "2024-07-02T00:00:00Z", "soon"}) {
        EXPECT_THAT(created(in("tev:InitialTerminationTime", time)),
                    StartsWith("Sender wsnt:UnacceptableInitialTerminationTimeFault"))
            << time;
        EXPECT_THAT(call("wsnt:Renew", in("wsnt:TerminationTime", time), path),
                    StartsWith("Sender wsnt:UnacceptableTerminationTimeFault"))
            << time;
    }
}

TEST_F(EventServiceTest, timesThatAreToldAreThoseThatWereAskedFor)
{
    wall += 123456us;
    tick = 1us;
    const auto until = [this](const std::string& time) {
        return call("tev:CreatePullPointSubscription", in("tev:InitialTerminationTime", time));
    };
    EXPECT_THAT(until("2024-06-30T12:01:00Z"), HasSubstr("T12:01:00Z</wsnt:TerminationTime>"));
    EXPECT_THAT(until("PT1M"), HasSubstr("T12:00:00.123Z</wsnt:CurrentTime><wsnt:TerminationTime>"
                                         "2024-06-30T12:01:00.123Z</wsnt:TerminationTime>"));
    EXPECT_THAT(pulledText(pathIn(until("PT1M"))), HasSubstr("<tev:TerminationTime>2024-06-30T12:01:00.123Z<"));
}

TEST_F(EventServiceTest, unknownSubscriptionsAreRefusedForAllOperations)
{
    created();
    for (const char* const path : {"", "/onvif/event_service", "/onvif/event_service/", "/onvif/event_service/12"}) {
        EXPECT_THAT(call("wsnt:Renew", in("wsnt:TerminationTime", "PT1M"), path),
                    StartsWith("Sender wsrf-r:ResourceUnknownFault"));
        EXPECT_THAT(call("wsnt:Unsubscribe", "", path), StartsWith("Sender wsrf-r:ResourceUnknownFault"));
        EXPECT_THAT(call("tev:SetSynchronizationPoint", "", path), StartsWith("Sender wsrf-r:ResourceUnknownFault"));
        EXPECT_THAT(pulledText(path), StartsWith("Sender wsrf-r:ResourceUnknownFault"));
    }
}

TEST_F(EventServiceTest, subscriptionBelongsToItsUserAndToAdministrators)
{
    const std::string path = created("", "anna");
    EXPECT_THAT(call("wsnt:Unsubscribe", "", path, "ben"), StartsWith("Sender wsrf-r:ResourceUnknownFault"));
    EXPECT_EQ("<wsnt:UnsubscribeResponse/>",
              outcomeText(*begun(operations(), "wsnt:Unsubscribe", "", {path, "ben", UserLevel::administrator})));
}

TEST_F(EventServiceTest, unsubscribeEndsThePullThatWaits)
{
    const std::string path = created();
    const AskedOutcome pull = beginPull(path);
    EXPECT_EQ("<wsnt:UnsubscribeResponse/>", call("wsnt:Unsubscribe", "", path));
    EXPECT_THAT(outcomeText(*pull), StartsWith("Sender wsnt:UnableToGetMessagesFault"));
    EXPECT_EQ(0U, service().subscriptions());
}

TEST_F(EventServiceTest, endOfTheDeviceAnswersAllThatWait)
{
    const AskedOutcome pull = beginPull(created());
    service().end();
    EXPECT_THAT(outcomeText(*pull), StartsWith("Sender wsnt:UnableToGetMessagesFault"));
}

TEST_F(EventServiceTest, oldestMessagesGoWhenTheClientTakesNoneAndTheirNumberIsLogged)
{
    const std::string path = created();
    for (int i = 0; i < 1005; ++i) {
        service().tell(state(std::to_string(i), "true"));
    }
    EXPECT_THAT(log, IsEmpty());
    std::vector<std::string> all;
    for (int i = 0; i < 5; ++i) {
        for (std::string& each : pulled(path)) {
            all.push_back(std::move(each));
        }
    }
    EXPECT_EQ(1000U, all.size());
    EXPECT_EQ("Changed 5=true", all.front());
    EXPECT_EQ("Changed 1004=true", all.back());
    EXPECT_THAT(log, ElementsAre(HasSubstr("lost its 5 oldest messages")));
}

TEST_F(EventServiceTest, userHasAsManyPullPointsAsTheCapabilitiesTell)
{
    const std::string capabilities = call("tev:GetServiceCapabilities", "");
    const int most = std::stoi(textBetween(capabilities, "MaxPullPoints=\"", "\""));
    EXPECT_GE(most, 16);
    std::string last;
    for (int i = 0; i < most; ++i) {
        last = created();
        ASSERT_THAT(last, StartsWith("/onvif/event_service/"));
    }
    EXPECT_THAT(created(), StartsWith("Sender wsnt:SubscribeCreationFailedFault"));
    EXPECT_THAT(created("", "another"), StartsWith("/onvif/"));
    call("wsnt:Unsubscribe", "", last);
    EXPECT_THAT(created(), StartsWith("/onvif/"));
}

TEST_F(EventServiceTest, allUsersTogetherHaveALimitAndWhatEndsMakesRoom)
{
    for (int i = 0; i < 64; ++i) {
        ASSERT_THAT(created("", i % 2 == 0 ? "anna" : "ben"), StartsWith("/onvif/"));
    }
    EXPECT_THAT(created("", "carl"), StartsWith("Sender wsnt:SubscribeCreationFailedFault"));
    steady += 1min; // nobody has called wake()
    EXPECT_THAT(created("", "carl"), StartsWith("/onvif/"));
}

TEST_F(EventServiceTest, limitHoldsForSubscriptionsThatWaitForTheirBeginning)
{
    make({1000, 250, 1});
    holdLive = true;
    begin("tev:CreatePullPointSubscription", "");
    const AskedOutcome second = begin("tev:CreatePullPointSubscription", "");
    heldLive.at(0)(std::vector<Notification>());
    heldLive.at(1)(std::vector<Notification>());
    EXPECT_THAT(outcomeText(*second), StartsWith("Sender wsnt:SubscribeCreationFailedFault"));
}

TEST_F(EventServiceTest, topicsAreMeantAsTheClientDeclaresTheirPrefixes)
{
    view = _view;
    const std::string path =
        created(topicFilter("a:RuleEngine/MotionRegionDetector//.", "xmlns:a='http://www.onvif.org/ver10/topics'"));
    const std::string repeated = created(
        topicFilter("a:RuleEngine/a:CellMotionDetector/a:Motion", "xmlns:a='http://www.onvif.org/ver10/topics'"));
    service().tell(state("A", "true"));
    service().tell(state("B", "true", PropertyOperation::changed, kCellMotion));
    EXPECT_THAT(pulled(path), ElementsAre("Changed A=true"));
    EXPECT_THAT(pulled(repeated), ElementsAre("Changed B=true"));
    EXPECT_THAT(created(topicFilter("tns1:RuleEngine//.", "xmlns:tns1='urn:other'")),
                StartsWith("Sender wsnt:TopicNotSupportedFault"));
}

TEST_F(EventServiceTest, livePropertiesAreFilteredToo)
{
    view = _view;
    live = {state("A", "true", PropertyOperation::initialized),
            state("B", "true", PropertyOperation::initialized, kCellMotion)};
    EXPECT_THAT(pulled(created(topicFilter(kCellMotion))), ElementsAre("Initialized B=true"));
}

TEST_F(EventServiceTest, itemsAreMeantAsTheClientDeclaresTheirPrefixes)
{
    const std::string path = created(itemFilter("boolean(//x:SimpleItem[@Name=\"Rule\" and @Value=\"x:A\"])",
                                                "xmlns:x='http://www.onvif.org/ver10/schema'"));
    service().tell(state("x:A", "true"));
    service().tell(state("B", "true"));
    EXPECT_THAT(pulled(path), ElementsAre("Changed x:A=true"));
    EXPECT_THAT(created(itemFilter("boolean(//tt:SimpleItem[@Name=\"Rule\"])", "xmlns:tt='urn:other'")),
                StartsWith("Sender wsnt:InvalidMessageContentExpressionFault"));
}

TEST_F(EventServiceTest, allFiltersOfASubscriptionMustMatch)
{
    view = _view;
    view = _view;
    const std::string both =
        topicFilter(kMotion) + itemFilter("boolean(//tt:SimpleItem[@Name=\"Rule\" and @Value=\"A\"])");
    std::string one = both;
    one.erase(one.find("</tev:Filter><tev:Filter>"), std::string("</tev:Filter><tev:Filter>").size());
    const std::string path = created(one);
    service().tell(state("A", "true", PropertyOperation::changed, kCellMotion));
    service().tell(state("B", "true"));
    service().tell(state("A", "false"));
    EXPECT_THAT(pulled(path), ElementsAre("Changed A=false"));
}

TEST_F(EventServiceTest, refusesFiltersThatItDoesNotKnow)
{
    view = _view;
    EXPECT_THAT(created(topicFilter("tns1:Device//.")), StartsWith("Sender wsnt:TopicNotSupportedFault"));
    EXPECT_THAT(created(topicFilter("tns1:Device//.|tns1:RuleEngine//.")), StartsWith("/onvif/"));
    EXPECT_THAT(created(topicFilter("RuleEngine")), StartsWith("Sender wsnt:InvalidTopicExpressionFault"));
    EXPECT_THAT(created(in("tev:Filter", "<wsnt:TopicExpression Dialect='urn:x'>tns1:A</wsnt:TopicExpression>")),
                StartsWith("Sender wsnt:TopicExpressionDialectUnknownFault"));
    EXPECT_THAT(created(in("tev:Filter", "<wsnt:MessageContent Dialect='urn:x'/>")),
                StartsWith("Sender wsnt:InvalidFilterFault"));
    EXPECT_THAT(created(in("tev:Filter", "<wsnt:ProducerProperties Dialect='urn:x'/>")),
                StartsWith("Sender wsnt:InvalidFilterFault"));
    EXPECT_THAT(created(itemFilter("true()")), StartsWith("Sender wsnt:InvalidMessageContentExpressionFault"));
    EXPECT_EQ(1U, service().subscriptions());
}

TEST_F(EventServiceTest, topicsOfAnEngineWithoutADescriptionAreTaken)
{
    view = _view;
    std::get<AnalyticsView>(view).engines.front().description = "";
    EXPECT_THAT(created(topicFilter("tns1:RuleEngine/Whatever")), StartsWith("/onvif/"));
}

TEST_F(EventServiceTest, tellsOnlyChangesWhereTheClientWantsOnlyThese)
{
    live = {state("A", "true", PropertyOperation::initialized)};
    const std::string path = created(in("tev:SubscriptionPolicy", "<tev:ChangedOnly/>"));
    service().tell(state("A", "false"));
    service().tell(state("A", "", PropertyOperation::deleted));
    service().tell(state("B", "x", PropertyOperation::none));
    EXPECT_THAT(pulled(path), ElementsAre("Changed A=false", " B=x"));
}

TEST_F(EventServiceTest, topicSetHasTheTopicsOfTheEnginesAndOfTheDevice)
{
    view = _view;
    const std::string answer = call("tev:GetEventProperties", "");
    EXPECT_THAT(answer, HasSubstr("<MotionRegionDetector><Motion wstop:topic=\"true\"><tt:MessageDescription "
                                  "IsProperty=\"true\"><tt:Source><tt:SimpleItemDescription Name=\"VideoSource\" "
                                  "Type=\"tt:ReferenceToken\"/><tt:SimpleItemDescription Name=\"RuleName\""));
    EXPECT_THAT(answer, HasSubstr("<CellMotionDetector><Motion wstop:topic=\"true\">"));
    for (const char* const topic : {"MotionAlarm", "ProfileChanged", "ConfigurationChanged", "LastReboot", "Invoked",
                                    "Reached", "Aborted", "Left"}) {
        EXPECT_THAT(answer, HasSubstr(std::string("<") + topic + " wstop:topic=\"true\"><tt:MessageDescription"))
            << topic;
    }
    std::get<AnalyticsView>(view).moves = false;
    EXPECT_THAT(call("tev:GetEventProperties", ""), Not(HasSubstr("PTZController")));
}

TEST_F(EventServiceTest, topicOfAnotherNamespaceIsDeclaredInTheTopicSet)
{
    AnalyticsView mine = _view;
    std::string& description = mine.engines.front().description;
    const std::size_t at = description.find("<tt:ParentTopic>");
    description.replace(at, description.find("</tt:ParentTopic>") - at,
                        "<tt:ParentTopic xmlns:my='urn:mine'>my:Crowd/Dense");
    view = mine;
    EXPECT_THAT(call("tev:GetEventProperties", ""),
                HasSubstr("<my:Crowd xmlns:my=\"urn:mine\"><Dense wstop:topic=\"true\">"));
    Notification told = state("A", "true");
    told.topic = "my:Crowd/Dense";
    const std::string path = created(topicFilter("my:Crowd//.", "xmlns:my='urn:mine'"));
    service().tell(told);
    EXPECT_THAT(pulled(path), ElementsAre("Changed A=true"));
}

TEST_F(EventServiceTest, thereIsNothingToSeekIn)
{
    EXPECT_THAT(call("tev:Seek", "", created()), StartsWith("Receiver ter:ActionNotSupported"));
}

TEST_F(EventServiceTest, pushesOneMessageAtATimeToAConsumer)
{
    live = {state("A", "true", PropertyOperation::initialized)};
    subscribed("http://10.0.0.5:5000/events");
    ASSERT_EQ(1U, pushed.size());
    EXPECT_EQ("http://10.0.0.5:5000/events", pushed[0].first.address);
    EXPECT_EQ("10.0.0.5", pushed[0].first.onlyHost);
    EXPECT_THAT(messagesIn(pushed[0].first.text), ElementsAre("Initialized A=true"));
    EXPECT_THAT(pushed[0].first.text,
                HasSubstr("<wsa:To>http://10.0.0.5:5000/events</wsa:To><wsa:Action>http://docs.oasis-open.org/wsn/bw-2/"
                          "NotificationConsumer/Notify</wsa:Action></env:Header><env:Body><wsnt:Notify>"));
    service().tell(state("A", "false"));
    service().tell(state("B", "true"));
    EXPECT_EQ(1U, pushed.size());
    pushed[0].second(std::nullopt);
    ASSERT_EQ(2U, pushed.size());
    EXPECT_THAT(messagesIn(pushed[1].first.text), ElementsAre("Changed A=false", "Changed B=true"));
    pushed[1].second(std::nullopt);
    EXPECT_EQ(2U, pushed.size());
}

TEST_F(EventServiceTest, eachMessageToAConsumerHasTheParametersOfItsReference)
{
    const auto subscribe = [this](const std::string& parameters) {
        return call("wsnt:Subscribe", in("wsnt:ConsumerReference", in("wsa:Address", "http://10.0.0.5/") +
                                                                       in("wsa:ReferenceParameters", parameters)));
    };
    subscribe("<mine:Key xmlns:mine='urn:mine' a='&amp;' wsa:IsReferenceParameter='false'><mine:In/>5</mine:Key>\n"
              "<t:Number xmlns:t='http://www.onvif.org/ver10/schema'>6</t:Number><!-- x --><plain/>");
    for (int i = 0; i < 2; ++i) {
        service().tell(state("A", "true"));
        const std::string& text = pushed.at(static_cast<std::size_t>(i)).first.text;
        EXPECT_THAT(text, HasSubstr("Notify</wsa:Action><mine:Key a=\"&amp;\" xmlns:mine=\"urn:mine\" "
                                    "wsa:IsReferenceParameter=\"true\"><mine:In xmlns:mine=\"urn:mine\"/>5</mine:Key>"
                                    "<tt:Number wsa:IsReferenceParameter=\"true\">6</tt:Number>"
                                    "<plain wsa:IsReferenceParameter=\"true\"/></env:Header>"));
        pugi::xml_document document;
        EXPECT_TRUE(document.load_string(text.c_str()));
        pushed.back().second(std::nullopt);
    }
    EXPECT_THAT(subscribe(in("mine", std::string(2000, 'x'))), StartsWith("<wsnt:SubscribeResponse>"));
    EXPECT_THAT(subscribe(in("mine", std::string(2048, 'x'))), StartsWith("Sender wsnt:SubscribeCreationFailedFault"));
    EXPECT_THAT(subscribe(""), StartsWith("<wsnt:SubscribeResponse>"));
    service().tell(state("A", "true"));
    const auto unmarked = std::count_if(pushed.begin(), pushed.end(), [](const auto& each) {
        return each.first.text.find("IsReferenceParameter") == std::string::npos;
    });
    EXPECT_EQ(1, unmarked) << "to the consumer without any";
}

TEST_F(EventServiceTest, consumerThatFailsGetsAllWithTheNextMessage)
{
    subscribed("http://10.0.0.5/");
    service().tell(state("A", "true"));
    const Fault failure = Fault::receiver({"ter:Action"}, "refused");
    pushed.at(0).second(failure);
    EXPECT_EQ(1U, pushed.size());
    EXPECT_THAT(log, ElementsAre(HasSubstr("takes no messages: refused")));
    service().tell(state("A", "false"));
    EXPECT_THAT(messagesIn(pushed.at(1).first.text), ElementsAre("Changed A=true", "Changed A=false"));
    pushed[1].second(failure);
    EXPECT_EQ(1U, log.size());
    service().tell(state("B", "true"));
    pushed.at(2).second(std::nullopt);
    EXPECT_EQ(3U, pushed.size());
    EXPECT_THAT(log.back(), HasSubstr("takes messages again"));
}

TEST_F(EventServiceTest, consumerThatFailsForLongLosesItsOldestMessages)
{
    make({3});
    const std::string path = subscribed("http://10.0.0.5/");
    service().tell(state("0", "true"));
    for (int i = 1; i <= 3; ++i) {
        service().tell(state(std::to_string(i), "true"));
    }
    pushed.at(0).second(Fault::receiver({"ter:Action"}, "gone"));
    service().tell(state("4", "true"));
    EXPECT_THAT(messagesIn(pushed.at(1).first.text), ElementsAre("Changed 2=true", "Changed 3=true", "Changed 4=true"));
    EXPECT_THAT(log.back(), HasSubstr("lost its 2 oldest messages"));
}

TEST_F(EventServiceTest, consumerThatIsUnsubscribedOrEndsGetsNothingMore)
{
    const std::string path = subscribed("http://10.0.0.5/", in("wsnt:InitialTerminationTime", "PT10S"));
    service().tell(state("A", "true"));
    call("wsnt:Unsubscribe", "", path);
    pushed.at(0).second(std::nullopt);
    service().tell(state("A", "false"));
    EXPECT_EQ(1U, pushed.size());
    subscribed("http://10.0.0.5/", in("wsnt:InitialTerminationTime", "PT10S"));
    pass(10s);
    service().tell(state("A", "true"));
    EXPECT_EQ(1U, pushed.size());
}

TEST_F(EventServiceTest, consumerCountsUntilTheMessageThatIsUnderWayHasEnded)
{
    make({1000, 250, 1, 1});
    live = {state("A", "true", PropertyOperation::initialized)};
    const char* const address = "http://10.0.0.5/";
    const std::string again = in("wsnt:ConsumerReference", in("wsa:Address", address));
    call("wsnt:Unsubscribe", "", subscribed(address));
    EXPECT_THAT(subscribed(address), StartsWith("Sender wsnt:SubscribeCreationFailedFault"));
    EXPECT_THAT(created(), StartsWith("/onvif/"));
    pushed.at(0).second(std::nullopt);
    subscribed(address, in("wsnt:InitialTerminationTime", "PT10S"));
    pass(10s);
    EXPECT_THAT(subscribed(address), StartsWith("Sender wsnt:SubscribeCreationFailedFault"));
    EXPECT_THAT(call("wsnt:Subscribe", again, "", "another"), HasSubstr("SubscribeResponse"));
    EXPECT_THAT(call("wsnt:Subscribe", again, "", "a third one"), HasSubstr("SubscribeCreationFailedFault"));
    pushed.at(1).second(Fault::receiver({"ter:Action"}, "gone"));
    EXPECT_THAT(subscribed(address), StartsWith("/onvif/"));
}

TEST_F(EventServiceTest, consumerIsAtTheAddressOfItsClient)
{
    for (const char* const address : {"http://10.0.0.6/", "http://[::1]/", "https://10.0.0.5/", "ftp://10.0.0.5/",
                                      "10.0.0.5", "http://", "http:///a", "http://10.0.0.5@10.0.0.6/",
                                      "http://10.0.0.5/a b", "http://10.0.0.5/a\r\nX: y", "http://[::1/"}) {
        EXPECT_THAT(subscribed(address), StartsWith("Sender wsnt:SubscribeCreationFailedFault")) << address;
    }
    EXPECT_THAT(subscribed("http://[::ffff:10.0.0.5]:80/a"), StartsWith("/onvif/"));
    const auto onLink = [this](const std::string& address) {
        const std::string reference = in("wsnt:ConsumerReference", in("wsa:Address", address));
        const std::string path = "/onvif/event_service";
        return outcomeText(
            *begun(operations(), "wsnt:Subscribe", reference, {path, "root", UserLevel::user, "fe80::9%eth0"}));
    };
    EXPECT_THAT(onLink("http://[fe80::9]:5000/"), StartsWith("<wsnt:SubscribeResponse>"));
    EXPECT_THAT(onLink("http://[fe80::a]:5000/"), StartsWith("Sender wsnt:SubscribeCreationFailedFault"));
    for (const char* const name : {"http://a-name/", "http://cafe/"}) { // the sender looks where it is
        EXPECT_THAT(subscribed(name), StartsWith("/onvif/"));
    }
    EXPECT_THAT(call("wsnt:Subscribe", ""), StartsWith("Sender ter:InvalidArgs"));
    consumersAnywhere = true;
    make({});
    subscribed("http://10.0.0.6/");
    service().tell(state("A", "true"));
    EXPECT_EQ("", pushed.at(0).first.onlyHost);
}

TEST_F(EventServiceTest, nobodyPullsWhatIsPushed)
{
    EXPECT_THAT(pulledText(subscribed("http://10.0.0.5/")), StartsWith("Sender wsnt:UnableToGetMessagesFault"));
}

TEST_F(EventServiceTest, faultsAreThoseOfTheSchemas)
{
    const kit::OnvifSchemas schemas(CAMERA_ONVIF_SCHEMAS);
    if (schemas.missing()) {
        GTEST_SKIP() << *schemas.missing();
    }
    view = _view;
    std::vector<std::string> documents;
    const auto add = [&documents](const AskedOutcome& outcome) {
        documents.push_back(faultText(std::get<Fault>(outcome->value()), "urn:id"));
    };
    const auto refused = [&](const std::string& content) { add(begin("tev:CreatePullPointSubscription", content)); };
    refused(topicFilter("tns1:Device"));
    refused(topicFilter("Device"));
    refused(itemFilter("true()"));
    refused(in("tev:Filter", "<wsnt:ProducerProperties Dialect='urn:x'/>"));
    refused(in("tev:InitialTerminationTime", "P2D"));
    add(begin("wsnt:Renew", in("wsnt:TerminationTime", "PT1M"), "/"));
    add(begin("wsnt:Renew", in("wsnt:TerminationTime", "P2D"), created()));
    add(beginPull(created(), "P1D"));
    live = {state("A", "true", PropertyOperation::initialized)};
    subscribed("http://10.0.0.5/");
    documents.push_back(pushed.at(0).first.text);
    EXPECT_EQ("", schemas.faultsOf("soap-all.xsd", documents));
}

TEST_F(EventServiceTest, keepsNothingOfSubscriptionsThatAreAbandonedRenewedOrEnded)
{
    for (int i = 0; i < 2000; ++i) {
        const std::string path = created(in("tev:InitialTerminationTime", "PT1M"));
        ASSERT_THAT(path, StartsWith("/onvif/")) << i;
        service().tell(state("A", "true"));
        if (i % 3 == 0) {
            call("wsnt:Renew", in("wsnt:TerminationTime", "PT2S"), path);
        } else if (i % 3 == 1) {
            call("wsnt:Unsubscribe", "", path);
        } else {
            beginPull(path, "PT10S"); // its client never comes back
        }
        pass(3s);
        ASSERT_LE(service().subscriptions(), 21U);
    }
    pass(70s);
    pass(70s);
    EXPECT_EQ(0U, service().subscriptions());
    service().tell(state("A", "true"));
}

/// What a subscriber must get, by the rules in their simplest form.
class ModelSubscriber {
public:
    ModelSubscriber(std::string path, std::string rule) : path(std::move(path)), _rule(std::move(rule)) {}

    void tell(const Notification& notification)
    {
        if (!_rule.empty() && notification.source[0].value != _rule) {
            return;
        }
        const char* const names[] = {"", "Initialized", "Changed", "Deleted"};
        waiting.push_back(std::string(names[static_cast<int>(notification.operation)]) + " " +
                          notification.source[0].value + "=" + notification.data[0].value);
        if (waiting.size() > kQueue) {
            waiting.pop_front();
            ++lost;
        }
    }

    std::vector<std::string> take(std::size_t most)
    {
        std::vector<std::string> taken;
        while (!waiting.empty() && taken.size() < most) {
            taken.push_back(waiting.front());
            waiting.pop_front();
        }
        return taken;
    }

    static constexpr std::size_t kQueue = 20;
    std::string path;
    std::deque<std::string> waiting;
    std::size_t lost = 0;

private:
    std::string _rule;
};

TEST_F(EventServiceTest, orderAndCountAreThoseOfTheModelOrTheCounterTellsTheGap)
{
    EventLimits limits;
    limits.queue = ModelSubscriber::kQueue;
    make(limits);
    std::mt19937 random(20261123);
    const auto below = [&random](unsigned int end) { return static_cast<unsigned int>(random() % end); };
    std::vector<ModelSubscriber> subscribers;
    std::map<std::string, std::string> states;
    std::size_t lost = 0;
    int number = 0;
    const auto initialized = [&] {
        live.clear();
        for (const auto& [rule, value] : states) {
            live.push_back(state(rule, value, PropertyOperation::initialized));
        }
    };
    for (int step = 0; step < 20000; ++step) {
        const unsigned int what = below(20);
        const std::size_t which = subscribers.empty() ? 0 : below(static_cast<unsigned int>(subscribers.size()));
        if (what == 0 && subscribers.size() < 20) {
            initialized();
            const std::string rule = below(2) == 0 ? "" : std::to_string(below(5));
            subscribers.emplace_back(
                created(rule.empty() ? ""
                                     : itemFilter("boolean(//tt:SimpleItem[@Name='Rule' and @Value='" + rule + "'])")),
                rule);
            for (const Notification& each : live) {
                subscribers.back().tell(each);
            }
        } else if (what == 1 && !subscribers.empty()) {
            EXPECT_EQ("<wsnt:UnsubscribeResponse/>", call("wsnt:Unsubscribe", "", subscribers[which].path));
            lost += subscribers[which].lost;
            subscribers.erase(subscribers.begin() + static_cast<std::ptrdiff_t>(which));
        } else if (what == 2 && !subscribers.empty()) {
            initialized();
            call("tev:SetSynchronizationPoint", "", subscribers[which].path);
            for (const Notification& each : live) {
                subscribers[which].tell(each);
            }
        } else if (what < 12) {
            const std::string rule = std::to_string(below(5));
            const bool gone = below(10) == 0;
            const Notification told =
                state(rule, std::to_string(++number), gone ? PropertyOperation::deleted : PropertyOperation::changed);
            gone ? states.erase(rule) : states.insert_or_assign(rule, std::to_string(number)).second;
            service().tell(told);
            for (ModelSubscriber& each : subscribers) {
                each.tell(told);
            }
        } else if (!subscribers.empty()) {
            const int most = static_cast<int>(1 + below(8));
            ASSERT_EQ(subscribers[which].take(static_cast<std::size_t>(most)), pulled(subscribers[which].path, most))
                << "step " << step;
        }
        pass(10ms);
        ASSERT_EQ(subscribers.size(), service().subscriptions()) << "step " << step;
        if (step % 1000 == 0) { // none ends by itself here
            for (ModelSubscriber& each : subscribers) {
                call("wsnt:Renew", in("wsnt:TerminationTime", "PT1H"), each.path);
            }
        }
    }
    for (const ModelSubscriber& each : subscribers) {
        call("wsnt:Unsubscribe", "", each.path);
        lost += each.lost;
    }
    std::size_t logged = 0;
    for (const std::string& line : log) {
        logged += std::stoul(textBetween(line, "lost its ", " "));
    }
    EXPECT_GT(lost, 0U);
    EXPECT_EQ(lost, logged);
}

} // namespace
} // namespace camera::onvif
