#include "camera/onvif/EventService.h"

#include "camera/onvif/Digests.h"
#include "camera/onvif/EventTopics.h"
#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/Requests.h"
#include "camera/onvif/Times.h"
#include "camera/onvif/XmlText.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <string_view>
#include <utility>

namespace camera::onvif {

namespace {

using std::chrono::milliseconds;

constexpr const char* kServicePath = "/onvif/event_service";
constexpr const char* kConcreteDialect = "http://docs.oasis-open.org/wsn/t-1/TopicExpression/Concrete";
constexpr const char* kConcreteSetDialect = "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet";
constexpr const char* kItemFilterDialect = "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter";
constexpr const char* kNotifyAction = "http://docs.oasis-open.org/wsn/bw-2/NotificationConsumer/Notify";
constexpr milliseconds kUsualLifetime = std::chrono::minutes(1);
constexpr std::size_t kMostFilters = 16;
constexpr std::size_t kLongestAddress = 1024;
constexpr std::size_t kMostReferenceParameters = 2048; // bytes, marked

/// A fault of WS-BaseNotification, whose detail needs the time.
struct EventRefusal {
    const char* name;
    std::string reason;
    std::string more = {}; ///< elements of the detail behind the common ones
};

/// An element with a text.
std::string textElement(const std::string& name, const std::string& text)
{
    pugi::xml_document document;
    document.append_child(name.c_str()).text().set(text.c_str());
    return printed(document.document_element());
}

void addTopicFilter(WantedEvents& wanted, const pugi::xml_node& filter)
{
    const std::string dialect = filter.attribute("Dialect").value();
    // Common clients leave it away, and then write what the larger dialect has.
    const bool isSet = dialect == kConcreteSetDialect || dialect.empty();
    if (!isSet && dialect != kConcreteDialect) {
        throw EventRefusal{"wsnt:TopicExpressionDialectUnknownFault",
                           "the dialect of topics '" + dialect + "' is not known; " + kConcreteSetDialect + " is"};
    }
    try {
        wanted.topics.emplace_back(filter.text().get(), isSet ? TopicDialect::concreteSet : TopicDialect::concrete);
    } catch (const ExpressionRefusal& refusal) {
        throw EventRefusal{"wsnt:InvalidTopicExpressionFault", refusal.what()};
    }
}

void addItemFilter(WantedEvents& wanted, const pugi::xml_node& filter)
{
    const std::string dialect = filter.attribute("Dialect").value();
    if (dialect != kItemFilterDialect) {
        throw EventRefusal{"wsnt:InvalidFilterFault",
                           "the dialect of message content '" + dialect + "' is not known; " + kItemFilterDialect +
                               " is",
                           textElement("wsnt:UnknownFilter", filter.name())};
    }
    try {
        wanted.items.emplace_back(filter.text().get());
    } catch (const ExpressionRefusal& refusal) {
        throw EventRefusal{"wsnt:InvalidMessageContentExpressionFault", refusal.what()};
    }
}

WantedEvents wantedEvents(const pugi::xml_node& filters, const pugi::xml_node& policy)
{
    WantedEvents wanted;
    for (const pugi::xml_node& filter : filters.children()) {
        if (filter.type() != pugi::node_element) {
            continue;
        }
        if (filter.name() == std::string_view("wsnt:TopicExpression")) {
            addTopicFilter(wanted, filter);
        } else if (filter.name() == std::string_view("wsnt:MessageContent")) {
            addItemFilter(wanted, filter);
        } else {
            throw EventRefusal{"wsnt:InvalidFilterFault",
                               "there is no filter '" + std::string(filter.name()) +
                                   "'; wsnt:TopicExpression and wsnt:MessageContent are known",
                               textElement("wsnt:UnknownFilter", filter.name())};
        }
        if (wanted.topics.size() + wanted.items.size() > kMostFilters) {
            throw EventRefusal{"wsnt:SubscribeCreationFailedFault",
                               "a subscription has at most " + std::to_string(kMostFilters) + " filters"};
        }
    }
    wanted.changedOnly = static_cast<bool>(policy.child("tev:ChangedOnly"));
    return wanted;
}

/// The host of an http address; empty: it is none.
std::string consumerHost(const std::string& address)
{
    constexpr std::string_view kScheme = "http://";
    const bool printable = std::all_of(address.begin(), address.end(),
                                       [](unsigned char character) { return character > ' ' && character < 0x7F; });
    if (!printable || address.size() > kLongestAddress || address.compare(0, kScheme.size(), kScheme) != 0) {
        return "";
    }
    const std::size_t end = std::min(address.find_first_of("/?#", kScheme.size()), address.size());
    std::string host = address.substr(kScheme.size(), end - kScheme.size());
    if (host.find('@') != std::string::npos) {
        return "";
    }
    if (!host.empty() && host[0] == '[') {
        const std::size_t bracket = host.find(']');
        return bracket == std::string::npos ? "" : host.substr(1, bracket - 1);
    }
    return host.substr(0, host.find(':'));
}

/// Sixteen bytes that are the same for all spellings of a numeric address; nothing for a name.
/// @param text  may have a zone, as the address of a client on a link has.
std::optional<std::array<unsigned char, 16>> numericAddress(const std::string& text)
{
    const std::string host = text.substr(0, text.find('%'));
    std::array<unsigned char, 16> bytes{};
    const bool isLong = host.find(':') != std::string::npos;
    if (!isLong) {
        bytes[10] = bytes[11] = 0xFF; // as a long address the short ones look like this
    }
    if (::inet_pton(isLong ? AF_INET6 : AF_INET, host.c_str(), bytes.data() + (isLong ? 0 : 12)) != 1) {
        return std::nullopt;
    }
    return bytes;
}

/// What each message to a consumer has in its header, because its reference says so (WS-Addressing 1.0, SOAP binding,
/// 3.4): by it the consumer knows its own subscriptions.
std::string referenceParameters(const pugi::xml_node& reference)
{
    constexpr const char* kMark = "wsa:IsReferenceParameter";
    std::string headers;
    for (const pugi::xml_node& each : reference.child("wsa:ReferenceParameters").children()) {
        if (each.type() != pugi::node_element) {
            continue;
        }
        pugi::xml_document copy;
        pugi::xml_node header = copy.append_copy(each);
        header.remove_attribute(kMark);
        header.append_attribute(kMark).set_value("true");
        print(header, headers);
        if (headers.size() > kMostReferenceParameters) {
            throw EventRefusal{"wsnt:SubscribeCreationFailedFault",
                               "the wsa:ReferenceParameters of the consumer have more than " +
                                   std::to_string(kMostReferenceParameters) + " bytes"};
        }
    }
    return headers;
}

PushConsumer consumerOf(const Call& call, bool anywhere)
{
    const pugi::xml_node reference = call.request().child("wsnt:ConsumerReference");
    PushConsumer consumer{requiredText(reference, "wsa:Address"), referenceParameters(reference)};
    const std::string host = consumerHost(consumer.address);
    if (host.empty()) {
        throw EventRefusal{"wsnt:SubscribeCreationFailedFault",
                           "the address of the consumer is no http:// address without a user and blanks"};
    }
    if (!anywhere) {
        const auto numeric = numericAddress(host);
        if (numeric && numeric != numericAddress(call.peer)) {
            throw EventRefusal{"wsnt:SubscribeCreationFailedFault",
                               "a consumer must be at the address of the client that subscribes it, " + call.peer};
        }
        consumer.onlyHost = call.peer;
    }
    return consumer;
}

void putNotification(pugi::xml_node parent, const Notification& notification, const std::string& reference)
{
    pugi::xml_node node = parent.append_child("wsnt:NotificationMessage");
    if (!reference.empty()) {
        put(node.append_child("wsnt:SubscriptionReference"), "wsa:Address", reference);
    }
    putAttribute(put(node, "wsnt:Topic", notification.topic), "Dialect", kConcreteDialect);
    putMessage(node.append_child("wsnt:Message"), notification);
}

std::string pathWithoutQuery(const std::string& target)
{
    return target.substr(0, target.find('?'));
}

} // namespace

EventService::EventService(EventActions actions, Clocks clocks, EventLimits limits)
    : _actions(std::move(actions)), _clocks(std::move(clocks)), _limits(limits)
{
}

void EventService::addTo(Operations& operations, ServiceDirectory& directory)
{
    const auto capabilities = [limits = _limits](pugi::xml_node node) {
        putAttribute(node, "WSSubscriptionPolicySupport", false);
        putAttribute(node, "WSPausableSubscriptionManagerInterfaceSupport", false);
        putAttribute(node, "MaxNotificationProducers", std::to_string(limits.consumers));
        putAttribute(node, "MaxPullPoints", std::to_string(limits.pullPoints));
        putAttribute(node, "PersistentNotificationStorage", false);
        putAttribute(node, "MaxEventBrokers", "0");
        putAttribute(node, "MetadataOverMQTT", false);
    };
    const auto old = [](pugi::xml_node node) {
        put(node, "tt:WSSubscriptionPolicySupport", false);
        put(node, "tt:WSPullPointSupport", true);
        put(node, "tt:WSPausableSubscriptionManagerInterfaceSupport", false);
    };
    directory.add({"tev", kServicePath, 24, 12, capabilities, "Events", old}, operations);
    const auto later = [&](const char* name, void (EventService::*perform)(const Shared&, const Reply&)) {
        operations.addLater(name, AccessClass::readMedia, [this, perform](const Shared& call, const Reply& reply) {
            try {
                (this->*perform)(call, reply);
            } catch (const EventRefusal& refusal) {
                throw fault(refusal.name, refusal.reason, refusal.more);
            }
        });
    };
    later("tev:GetEventProperties", &EventService::describe);
    later("tev:CreatePullPointSubscription", &EventService::subscribe);
    later("wsnt:Subscribe", &EventService::subscribe);
    later("tev:PullMessages", &EventService::pull);
    later("tev:SetSynchronizationPoint", &EventService::synchronize);
    operations.add("wsnt:Renew", AccessClass::readMedia, [this](const Call& call) { return renew(call); });
    operations.add("wsnt:Unsubscribe", AccessClass::readMedia, [this](const Call& call) { return unsubscribe(call); });
    operations.add("tev:Seek", AccessClass::readMedia, [](const Call& /*call*/) -> Answer {
        throw Fault::receiver({"ter:ActionNotSupported"}, "this camera does not store events");
    });
}

void EventService::describe(const Shared& call, const Reply& reply)
{
    askAndAnswer(_actions.view, reply, [call](const AnalyticsView& view) {
        Answer answer = call->answer();
        pugi::xml_node body = answer.body();
        put(body, "tev:TopicNamespaceLocation", "http://www.onvif.org/onvif/ver10/topics/topicns.xml");
        put(body, "wsnt:FixedTopicSet", true);
        EventTopics(view).fill(body.append_child("wstop:TopicSet"));
        put(body, "wsnt:TopicExpressionDialect", kConcreteDialect);
        put(body, "wsnt:TopicExpressionDialect", kConcreteSetDialect);
        put(body, "tev:MessageContentFilterDialect", kItemFilterDialect);
        put(body, "tev:MessageContentSchemaLocation", "http://www.onvif.org/ver10/schema/onvif.xsd");
        return answer;
    });
}

/// Both ways to subscribe: with an address to push messages to, and without.
void EventService::subscribe(const Shared& call, const Reply& reply)
{
    removeEnded();
    const EventSubscription wanted = wantedSubscription(*call);
    checkRoom(call->user, wanted.consumer.has_value());
    if (wanted.wanted.topics.empty()) {
        create(call, reply, wanted);
        return;
    }
    _actions.view([this, call, reply, wanted](const Outcome<AnalyticsView>& outcome) {
        if (const auto* const failure = std::get_if<Fault>(&outcome)) {
            reply(*failure);
            return;
        }
        const EventTopics topics(std::get<AnalyticsView>(outcome));
        const auto& expressions = wanted.wanted.topics;
        const bool known = std::all_of(expressions.begin(), expressions.end(),
                                       [&topics](const auto& each) { return topics.mayMatch(each); });
        if (known) {
            create(call, reply, wanted);
        } else {
            reply(fault("wsnt:TopicNotSupportedFault",
                        "this camera has none of these topics; GetEventProperties names those that it has"));
        }
    });
}

EventSubscription EventService::wantedSubscription(const Call& call) const
{
    const pugi::xml_node request = call.request();
    const bool pushes = request.name() == std::string_view("wsnt:Subscribe");
    const std::string prefix = pushes ? "wsnt:" : "tev:";
    const auto part = [&](const char* name) { return request.child((prefix + name).c_str()); };
    EventSubscription wanted{call.user, "", wantedEvents(part("Filter"), part("SubscriptionPolicy")),
                             NotificationQueue(_limits.queue)};
    wanted.lifetime = lifetimeIn(request, (prefix + "InitialTerminationTime").c_str(),
                                 "wsnt:UnacceptableInitialTerminationTimeFault");
    if (pushes) {
        wanted.consumer = consumerOf(call, _actions.consumersAnywhere);
    }
    return wanted;
}

void EventService::checkRoom(const std::string& user, bool pushes) const
{
    const std::size_t most = pushes ? _limits.consumers : _limits.pullPoints;
    std::size_t all = 0;
    std::size_t ofUser = 0;
    for (const auto& [id, each] : _subscriptions) {
        const bool same = each.consumer.has_value() == pushes;
        all += same ? 1 : 0;
        ofUser += same && each.user == user ? 1 : 0;
    }
    for (const auto& [owner, messages] : _lastMessages) {
        all += pushes ? messages : 0;
        ofUser += pushes && owner == user ? messages : 0;
    }
    if (ofUser >= most || all >= 2 * most) {
        throw fault("wsnt:SubscribeCreationFailedFault", "there are too many subscriptions; a user may have " +
                                                             std::to_string(most) +
                                                             ", and each ends by itself when it is not renewed");
    }
}

/// The subscription begins with the answer to the question for the live properties: what is told before is in it.
void EventService::create(const Shared& call, const Reply& reply, EventSubscription wanted)
{
    _actions.live([this, call, reply, wanted = std::move(wanted)](const auto& outcome) {
        if (const auto* const failure = std::get_if<Fault>(&outcome)) {
            reply(*failure);
            return;
        }
        std::string id;
        replyWith(reply, [&] {
            removeEnded();
            checkRoom(call->user, wanted.consumer.has_value()); // others may have subscribed meanwhile
            id = hexText(randomBytes(16));
            return created(*call, id, wanted, std::get<std::vector<Notification>>(outcome));
        });
        if (const auto made = _subscriptions.find(id); made != _subscriptions.end()) {
            push(id, made->second);
        }
    });
}

Answer EventService::created(const Call& call, const std::string& id, const EventSubscription& wanted,
                             const std::vector<Notification>& live)
{
    EventSubscription& made = _subscriptions.emplace(id, wanted).first->second;
    made.reference = call.base + kServicePath + "/" + id;
    for (const Notification& notification : live) {
        if (made.wanted.have(notification)) {
            made.queue.add(std::make_shared<const Notification>(notification));
        }
    }
    made.ends = _clocks.steady() + made.lifetime;
    planWake();
    const Times times = timesOf(made);
    Answer answer = call.answer();
    const std::string prefix = made.consumer ? "wsnt:" : "tev:";
    put(answer.body().append_child((prefix + "SubscriptionReference").c_str()), "wsa:Address", made.reference);
    put(answer.body(), "wsnt:CurrentTime", times.now);
    put(answer.body(), "wsnt:TerminationTime", times.end);
    return answer;
}

/// The subscription that the address of a request names. @throws Fault when there is none for its user.
EventSubscription& EventService::subscriptionOf(const Call& call)
{
    removeEnded();
    const std::string path = pathWithoutQuery(call.target);
    const auto found = _subscriptions.find(path.substr(path.rfind('/') + 1));
    const bool allowed =
        found != _subscriptions.end() && (found->second.user == call.user || call.level == UserLevel::administrator);
    if (!allowed) {
        throw fault("wsrf-r:ResourceUnknownFault",
                    "there is no such subscription at this address, or it has ended; create another one");
    }
    return found->second;
}

void EventService::pull(const Shared& call, const Reply& reply)
{
    EventSubscription& subscription = subscriptionOf(*call);
    const auto timeout = parseDuration(requiredText(call->request(), "tev:Timeout"));
    const int most = wholeNumberIn("tev:MessageLimit", requiredText(call->request(), "tev:MessageLimit"));
    if (!timeout || *timeout < milliseconds(0) || most <= 0) {
        throw Fault::sender({"ter:InvalidArgVal"}, "a pull has a Timeout like PT60S and a MessageLimit above 0");
    }
    if (*timeout > _limits.timeout) {
        Fault refusal = Fault::sender({"ter:InvalidArgVal"}, "tev:Timeout is at most " + durationText(_limits.timeout));
        refusal.detail = "<tev:PullMessagesFaultResponse>" +
                         textElement("tev:MaxTimeout", durationText(_limits.timeout)) +
                         textElement("tev:MaxMessageLimit", std::to_string(_limits.inOneAnswer)) +
                         "</tev:PullMessagesFaultResponse>";
        throw refusal;
    }
    if (subscription.consumer) {
        throw fault("wsnt:UnableToGetMessagesFault", "the messages of this subscription are pushed to its consumer");
    }
    endPull(subscription);
    const Time now = _clocks.steady();
    const WaitingPull made{call, reply, std::min(static_cast<std::size_t>(most), _limits.inOneAnswer), now + *timeout,
                           ++_pulls};
    if (!subscription.queue.empty() || *timeout == milliseconds(0)) {
        answer(subscription, made);
        planWake();
        return;
    }
    subscription.pull = made;
    planWake();
    if (call->whenGone) {
        const std::string path = pathWithoutQuery(call->target);
        call->whenGone(
            [this, id = path.substr(path.rfind('/') + 1), number = made.number] { clientIsGone(id, number); });
    }
}

void EventService::answer(EventSubscription& subscription, const WaitingPull& pull)
{
    reportDropped(subscription);
    subscription.ends = std::max(subscription.ends, _clocks.steady() + subscription.lifetime);
    const Times times = timesOf(subscription);
    Answer answer = pull.call->answer();
    put(answer.body(), "tev:CurrentTime", times.now);
    put(answer.body(), "tev:TerminationTime", times.end);
    for (const SharedNotification& each : subscription.queue.take(pull.most)) {
        putNotification(answer.body(), *each, "");
    }
    pull.reply(std::move(answer));
}

/// A pull that waits ends without messages before its time, so with a fault.
void EventService::endPull(EventSubscription& subscription)
{
    if (const auto pull = std::exchange(subscription.pull, std::nullopt)) {
        subscription.ends = std::max(subscription.ends, _clocks.steady() + subscription.lifetime);
        pull->reply(fault(
            "wsnt:UnableToGetMessagesFault",
            "something else has ended this request: another one, or the end of the subscription or of the camera"));
    }
}

void EventService::clientIsGone(const std::string& id, std::uint64_t pull)
{
    const auto found = _subscriptions.find(id);
    if (found != _subscriptions.end() && found->second.pull && found->second.pull->number == pull) {
        endPull(found->second);
        planWake();
    }
}

void EventService::synchronize(const Shared& call, const Reply& reply)
{
    subscriptionOf(*call);
    _actions.live([this, call, reply](const auto& outcome) {
        if (const auto* const failure = std::get_if<Fault>(&outcome)) {
            reply(*failure);
            return;
        }
        replyWith(reply, [&] {
            EventSubscription& subscription = subscriptionOf(*call); // it may have ended meanwhile
            const std::string id = subscription.reference.substr(subscription.reference.rfind('/') + 1);
            for (const Notification& notification : std::get<std::vector<Notification>>(outcome)) {
                give(id, subscription, std::make_shared<const Notification>(notification));
            }
            return call->answer();
        });
    });
}

Answer EventService::renew(const Call& call)
{
    EventSubscription& subscription = subscriptionOf(call);
    subscription.lifetime = lifetimeIn(call.request(), "wsnt:TerminationTime", "wsnt:UnacceptableTerminationTimeFault");
    subscription.ends = _clocks.steady() + subscription.lifetime;
    planWake();
    const Times times = timesOf(subscription);
    Answer answer = call.answer();
    put(answer.body(), "wsnt:TerminationTime", times.end);
    put(answer.body(), "wsnt:CurrentTime", times.now);
    return answer;
}

Answer EventService::unsubscribe(const Call& call)
{
    const EventSubscription& subscription = subscriptionOf(call);
    remove(_subscriptions.find(subscription.reference.substr(subscription.reference.rfind('/') + 1)));
    planWake();
    return call.answer();
}

void EventService::tell(const Notification& notification)
{
    removeEnded();
    const auto shared = std::make_shared<const Notification>(notification);
    for (auto& [id, subscription] : _subscriptions) {
        give(id, subscription, shared);
    }
}

void EventService::give(const std::string& id, EventSubscription& subscription, const SharedNotification& notification)
{
    if (!subscription.wanted.have(*notification)) {
        return;
    }
    subscription.queue.add(notification);
    if (const auto pull = std::exchange(subscription.pull, std::nullopt)) {
        answer(subscription, *pull);
        planWake();
    }
    push(id, subscription);
}

/// Sends what waits for a consumer, unless a message is under way.
void EventService::push(const std::string& id, EventSubscription& subscription)
{
    if (!subscription.consumer || subscription.consumer->busy || subscription.queue.empty()) {
        return;
    }
    reportDropped(subscription);
    PushConsumer& consumer = *subscription.consumer;
    consumer.busy = true;
    consumer.sent = subscription.queue.take(_limits.inOneAnswer);
    Answer message("wsnt:Notify");
    for (const SharedNotification& each : consumer.sent) {
        putNotification(message.body(), *each, subscription.reference);
    }
    _actions.push(
        {consumer.address, consumer.onlyHost, kNotifyAction,
         message.messageText(consumer.address, kNotifyAction, consumer.headers)},
        [this, id, user = subscription.user](const std::optional<Fault>& failure) { pushed(id, user, failure); });
}

/// What a consumer did not take is sent again together with the next message, so that one that is gone for good costs
/// one attempt for each event.
void EventService::pushed(const std::string& id, const std::string& user, const std::optional<Fault>& failure)
{
    const auto found = _subscriptions.find(id);
    if (found == _subscriptions.end()) {
        if (--_lastMessages[user] == 0) {
            _lastMessages.erase(user);
        }
        return;
    }
    EventSubscription& subscription = found->second;
    PushConsumer& consumer = *subscription.consumer;
    consumer.busy = false;
    const SharedNotifications sent = std::exchange(consumer.sent, {});
    if (std::exchange(consumer.failing, failure.has_value()) != failure.has_value()) {
        _actions.log("the consumer " + consumer.address +
                     (failure ? " takes no messages: " + std::string(failure->what()) : " takes messages again"));
    }
    if (failure) {
        subscription.queue.putBack(sent);
    } else {
        push(id, subscription);
    }
}

void EventService::wake()
{
    _wakeAt.reset();
    const Time now = _clocks.steady();
    for (auto& [id, subscription] : _subscriptions) {
        if (subscription.pull && subscription.pull->due <= now) {
            answer(subscription, *std::exchange(subscription.pull, std::nullopt));
        }
    }
    removeEnded();
    planWake();
}

void EventService::end()
{
    for (auto& [id, subscription] : _subscriptions) {
        endPull(subscription);
    }
}

/// A subscription lasts as long as a client waits for its messages.
void EventService::removeEnded()
{
    const Time now = _clocks.steady();
    for (auto each = _subscriptions.begin(); each != _subscriptions.end();) {
        if (!each->second.pull && each->second.ends <= now) {
            each = remove(each);
        } else {
            ++each;
        }
    }
}

/// A message that is under way to its consumer keeps a connection for up to five seconds. Until then it counts as a
/// consumer of its user, or one who subscribes and ends again and again would take all connections there are.
EventService::Subscriptions::iterator EventService::remove(Subscriptions::iterator ended)
{
    EventSubscription& subscription = ended->second;
    reportDropped(subscription);
    endPull(subscription);
    if (subscription.consumer && subscription.consumer->busy) {
        ++_lastMessages[subscription.user];
    }
    return _subscriptions.erase(ended);
}

void EventService::planWake()
{
    std::optional<Time> earliest;
    for (const auto& [id, subscription] : _subscriptions) {
        const Time due = subscription.pull ? subscription.pull->due : subscription.ends;
        earliest = earliest ? std::min(*earliest, due) : due;
    }
    if (earliest && earliest != _wakeAt) {
        _actions.wakeAt(*earliest);
    }
    _wakeAt = earliest;
}

void EventService::reportDropped(EventSubscription& subscription)
{
    if (const std::size_t dropped = subscription.queue.takeDropped(); dropped > 0) {
        _actions.log("a subscription of '" + subscription.user + "' lost its " + std::to_string(dropped) +
                     " oldest messages; a client that takes them in time loses none");
    }
}

Fault EventService::fault(const char* name, const std::string& reason, const std::string& more) const
{
    Fault fault = Fault::sender({name}, reason);
    fault.detail = std::string("<") + name + ">" + textElement("wsrf-bf:Timestamp", dateTimeText(_clocks.wall())) +
                   textElement("wsrf-bf:Description", reason) + more + "</" + name + ">";
    return fault;
}

/// Each clock is looked at once, and the end is not told earlier than it is: what a client asked for is what it reads.
EventService::Times EventService::timesOf(const EventSubscription& subscription) const
{
    const auto left = std::chrono::ceil<milliseconds>(subscription.ends - _clocks.steady());
    const auto now = std::chrono::floor<milliseconds>(_clocks.wall());
    return {dateTimeText(now), dateTimeText(now + left)};
}

/// How long a subscription shall last, said as a duration or as a time.
/// @param name  of the element. @param fault  for what cannot be.
milliseconds EventService::lifetimeIn(const pugi::xml_node& parent, const char* name, const char* refusal) const
{
    const std::string text = optionalText(parent, name).value_or("");
    if (text.empty()) {
        return kUsualLifetime;
    }
    std::optional<milliseconds> lifetime = parseDuration(text);
    if (const auto time = lifetime ? std::nullopt : parseDateTime(text)) {
        lifetime = std::chrono::ceil<milliseconds>(*time - _clocks.wall());
    }
    if (!lifetime || *lifetime <= milliseconds(0) || *lifetime > _limits.lifetime) {
        const auto inTime = [this](milliseconds ahead) {
            return dateTimeText(std::chrono::floor<milliseconds>(_clocks.wall() + ahead));
        };
        throw fault(refusal, std::string(name) + " is a duration like PT60S or a time to come, at most a day from now",
                    textElement("wsnt:MinimumTime", inTime(std::chrono::seconds(1))) +
                        textElement("wsnt:MaximumTime", inTime(_limits.lifetime)));
    }
    return *lifetime;
}

} // namespace camera::onvif
