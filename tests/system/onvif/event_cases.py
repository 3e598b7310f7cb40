"""What the public test cases for events ask of a camera, one test each, over zeep and the official descriptions.

Messages of which the namespaces matter are written by hand. What a test waits for it causes itself: a profile is made.
"""
import datetime
import http.server
import queue
import socket
import threading
import time
import unittest
import xml.etree.ElementTree as ElementTree

import kit
from zeep_client import etree, requests, subcodes, with_digest, zeep

TOPICS = "http://www.onvif.org/ver10/topics"
WSTOP = "http://docs.oasis-open.org/wsn/t-1"
CONCRETE = "http://docs.oasis-open.org/wsn/t-1/TopicExpression/Concrete"
CONCRETE_SET = "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet"
ITEM_FILTER = "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter"
PROFILES = "tns1:Media/ProfileChanged"
ALARM = "tns1:VideoSource/MotionAlarm"
REBOOT = "tns1:Monitoring/OperatingTime/LastReboot"
SOON = 1  # second, the timeout of a pull that shall end without messages


def tag(namespace, name):
    return f"{{{namespace}}}{name}"


def expression(text, dialect=CONCRETE_SET, prefix="tns1", uri=TOPICS):
    made = etree.Element(tag(kit.WSNT, "TopicExpression"), Dialect=dialect, nsmap={prefix: uri, "wsnt": kit.WSNT})
    made.text = text
    return made


def content(text, dialect=ITEM_FILTER):
    made = etree.Element(tag(kit.WSNT, "MessageContent"), Dialect=dialect, nsmap={"tt": kit.TT, "wsnt": kit.WSNT})
    made.text = text
    return made


def filters(*those):
    return {"Filter": {"_value_1": list(those)}}


def notifications(text):
    """The messages of an answer or a Notify, with the prefixes that it declares: (topic, operation, source, data)."""
    root = etree.fromstring(text)
    found = []
    for each in root.iter(tag(kit.WSNT, "NotificationMessage")):
        topic = each.find(tag(kit.WSNT, "Topic"))
        prefix, path = topic.text.strip().split(":", 1)
        name = {TOPICS: "tns1"}.get(topic.nsmap[prefix], topic.nsmap[prefix])
        message = each.find(f".//{tag(kit.TT, 'Message')}")
        items = [{item.get("Name"): item.get("Value") for item in message.iterfind(f"{tag(kit.TT, part)}/{tag(kit.TT, 'SimpleItem')}")}
                 for part in ("Source", "Data")]  # fmt: skip
        found.append((f"{name}:{path}", message.get("PropertyOperation"), *items))
    return found


def topics_of(messages):
    return [each[0] for each in messages]


class EventCamera(kit.CameraTest):
    """The services for events by short names, and what is wanted of them again and again."""

    ARGUMENTS = ("--no-factory", *kit.PLACES)

    def setUp(self):
        self.client = with_digest(self.address, kit.OPERATOR)
        self.events = self.client.events

    def last_answer(self):
        return self.recorder.exchanges[-1].answer

    def create(self, **arguments):
        """A new pull point: its operations, and its answer."""
        answer = self.events.CreatePullPointSubscription(**arguments)
        return self.subscription_of(answer), answer

    def subscription_of(self, answer):
        subscription = self.operations_at(answer.SubscriptionReference.Address._value_1)
        self.addCleanup(self.drop, subscription)
        return subscription

    def operations_at(self, address):
        class Subscription:
            pullpoint = self.client.at("pullpoint", address)
            manager = self.client.at("manager", address)

        Subscription.address = address
        return Subscription

    @staticmethod
    def drop(subscription):
        """Ends it, if it has not ended."""
        try:
            subscription.manager.Unsubscribe()
        except zeep.exceptions.Fault:
            pass

    def pull(self, subscription, seconds=60, limit=100):
        """The messages of one answer."""
        subscription.pullpoint.PullMessages(Timeout=datetime.timedelta(seconds=seconds), MessageLimit=limit)
        return notifications(self.last_answer())

    def drained(self, subscription):
        """All messages that wait already."""
        found = []
        while True:
            more = self.pull(subscription, 0)
            if not more:
                return found
            found += more

    def happen(self):
        """Lets one event come, and gives the token that it has."""
        token = self.client.media.CreateProfile(Name="event").token
        self.client.media.DeleteProfile(ProfileToken=token)
        return token

    def refused(self, codes, operation, **arguments):
        with self.assertRaises(zeep.exceptions.Fault) as raised:
            operation(**arguments)
        self.assertEqual(subcodes(raised.exception), codes)
        return raised.exception

    def post(self, address, text, status=200):
        """A message that was written by hand."""
        answer = requests.post(address, text.encode(), auth=requests.auth.HTTPDigestAuth(*kit.OPERATOR), timeout=kit.PATIENCE,
                               headers={"Content-Type": "application/soap+xml", "Connection": "close"})  # fmt: skip
        self.assertEqual(answer.status_code, status, answer.text)
        return ElementTree.fromstring(answer.content)


class Properties(EventCamera):
    def test_the_service_is_told_with_its_capabilities(self):
        services = self.client.device.GetServices(IncludeCapability=True)
        told = next(each for each in services if each.Namespace == kit.TEV).Capabilities._value_1
        own = self.events.GetServiceCapabilities()
        for name in ("WSSubscriptionPolicySupport", "WSPausableSubscriptionManagerInterfaceSupport", "PersistentNotificationStorage"):
            self.assertEqual(told.get(name) == "true", bool(getattr(own, name)), name)
        for name in ("MaxNotificationProducers", "MaxPullPoints"):
            self.assertEqual(int(told.get(name)), getattr(own, name), name)
        self.assertGreaterEqual(own.MaxPullPoints, 16)
        old = self.client.device.GetCapabilities(Category="Events").Events
        self.assertIn("/onvif/event_service", old.XAddr)
        self.assertTrue(old.WSPullPointSupport)

    def test_the_properties_name_topics_and_dialects(self):
        self.events.GetEventProperties()
        answer = etree.fromstring(self.last_answer())
        texts = [each.text for each in answer.iter(tag(kit.WSNT, "TopicExpressionDialect"))]
        self.assertIn(CONCRETE, texts)
        self.assertIn(CONCRETE_SET, texts)
        self.assertIn(ITEM_FILTER, [each.text for each in answer.iter(tag(kit.TEV, "MessageContentFilterDialect"))])
        self.assertEqual(answer.findtext(f".//{tag(kit.WSNT, 'FixedTopicSet')}"), "true")
        topics = {}
        for each in answer.find(f".//{tag(WSTOP, 'TopicSet')}").iter():
            if each.get(tag(WSTOP, "topic")) == "true":
                parents = [each, *each.iterancestors()]
                path = [etree.QName(one).localname for one in parents[: [one.tag for one in parents].index(tag(WSTOP, "TopicSet"))]]
                topics["/".join(reversed(path))] = each.find(tag(kit.TT, "MessageDescription"))
        self.assertEqual(topics["VideoSource/MotionAlarm"].get("IsProperty"), "true")
        self.assertEqual(topics["Media/ProfileChanged"].get("IsProperty"), "false")
        for name, description in topics.items():
            for item in description.iter(tag(kit.TT, "SimpleItemDescription"), tag(kit.TT, "ElementItemDescription")):
                prefix = item.get("Type").split(":")[0]
                self.assertIn(prefix, item.nsmap, f"{name}: {item.get('Type')}")

    def test_topics_of_the_properties_can_be_subscribed_one_by_one(self):
        self.events.GetEventProperties()
        answer = etree.fromstring(self.last_answer())
        for each in answer.find(f".//{tag(WSTOP, 'TopicSet')}").iter():
            if each.get(tag(WSTOP, "topic")) != "true":
                continue
            names = [each, *each.iterancestors()]
            names = names[: [one.tag for one in names].index(tag(WSTOP, "TopicSet"))]
            root = etree.QName(names[-1])
            path = "/".join(etree.QName(one).localname for one in reversed(names))
            subscription, _ = self.create(**filters(expression("p:" + path, CONCRETE, "p", root.namespace)))
            self.drop(subscription)


class PullPoints(EventCamera):
    def test_a_pull_point_is_created_with_times_in_utc(self):
        subscription, answer = self.create(InitialTerminationTime="PT60S")
        self.assertTrue(answer.SubscriptionReference.Address._value_1.startswith(self.address))
        self.assertLess(answer.CurrentTime, answer.TerminationTime)
        self.assertLessEqual(answer.TerminationTime - answer.CurrentTime, datetime.timedelta(seconds=60))
        for name in ("CurrentTime", "TerminationTime"):
            self.assertTrue(etree.fromstring(self.last_answer()).findtext(f".//{tag(kit.WSNT, name)}").endswith("Z"))

    def test_a_time_of_the_end_is_relative_or_absolute(self):
        now = self.create()[1].CurrentTime
        wanted = (now + datetime.timedelta(seconds=120)).strftime("%Y-%m-%dT%H:%M:%SZ")
        subscription, answer = self.create(InitialTerminationTime=wanted)
        self.assertEqual(answer.TerminationTime.strftime("%Y-%m-%dT%H:%M:%SZ"), wanted)

    def test_a_pull_point_begins_with_the_properties(self):
        subscription, _ = self.create()
        found = self.drained(subscription)
        self.assertEqual({each[1] for each in found}, {"Initialized"})
        self.assertLessEqual({ALARM, REBOOT}, set(topics_of(found)))

    def test_messages_come_at_once_and_at_most_so_many(self):
        subscription, _ = self.create()
        self.drained(subscription)
        tokens = {self.happen() for _ in range(2)}
        found = self.pull(subscription, limit=1)
        self.assertEqual(len(found), 1)
        while len(found) < 4:
            more = self.pull(subscription, limit=2)
            self.assertLessEqual(len(more), 2)
            found += more
        self.assertLessEqual(set(topics_of(found)), {PROFILES})
        self.assertLessEqual({each[2]["Token"] for each in found}, tokens)

    def test_a_limit_above_that_of_the_camera_is_no_fault(self):
        subscription, _ = self.create()
        self.assertTrue(self.pull(subscription, limit=100000))

    def test_an_empty_answer_comes_no_earlier_than_the_timeout(self):
        subscription, _ = self.create(**filters(expression(PROFILES)))
        begin = time.monotonic()
        self.assertEqual(self.pull(subscription, SOON), [])
        self.assertGreaterEqual(time.monotonic() - begin, SOON)

    def test_a_timeout_beyond_the_limit_is_refused_with_the_limits(self):
        subscription, _ = self.create()
        with self.assertRaises(zeep.exceptions.Fault) as raised:
            self.pull(subscription, 24 * 3600)
        limits = raised.exception.detail.find(tag(kit.TEV, "PullMessagesFaultResponse"))
        self.assertTrue(limits.findtext(tag(kit.TEV, "MaxTimeout")).startswith("PT"))
        self.assertGreater(int(limits.findtext(tag(kit.TEV, "MaxMessageLimit"))), 0)

    def test_a_pull_that_waits_has_the_message_when_it_comes(self):
        subscription, _ = self.create(**filters(expression(PROFILES)))
        found = queue.Queue()
        other = with_digest(self.address, kit.OPERATOR).at("pullpoint", subscription.address)
        waiting = threading.Thread(
            target=lambda: found.put(other.PullMessages(Timeout=datetime.timedelta(minutes=5), MessageLimit=5)))
        waiting.start()
        self.happen()
        self.assertTrue(found.get(timeout=kit.PATIENCE).NotificationMessage)
        waiting.join()

    def test_each_pull_keeps_the_subscription_alive(self):
        subscription, created = self.create(InitialTerminationTime="PT20S", **filters(expression(PROFILES)))
        answer = subscription.pullpoint.PullMessages(Timeout=datetime.timedelta(seconds=SOON), MessageLimit=1)
        self.assertGreater(answer.TerminationTime, created.TerminationTime)

    def test_a_renewal_moves_the_end(self):
        subscription, created = self.create(InitialTerminationTime="PT10S")
        answer = subscription.manager.Renew(TerminationTime="PT60S")
        self.assertGreater(answer.TerminationTime, created.TerminationTime)
        later = (answer.CurrentTime + datetime.timedelta(seconds=90)).strftime("%Y-%m-%dT%H:%M:%SZ")
        self.assertEqual(subscription.manager.Renew(TerminationTime=later).TerminationTime.strftime("%Y-%m-%dT%H:%M:%SZ"), later)
        self.refused(["UnacceptableTerminationTimeFault"], subscription.manager.Renew, TerminationTime="P2D")

    def test_what_was_unsubscribed_is_unknown(self):
        subscription, _ = self.create()
        self.drop(subscription)
        self.every_operation_is_refused(subscription)

    def test_what_has_expired_is_unknown(self):
        subscription, _ = self.create(InitialTerminationTime="PT1S")
        kit.eventually(lambda: self.is_gone(subscription), "the end of a subscription")
        self.every_operation_is_refused(subscription)

    def is_gone(self, subscription):
        # A renewal that cannot be shows whether it is there, and does not keep it.
        with self.assertRaises(zeep.exceptions.Fault) as raised:
            subscription.manager.Renew(TerminationTime="P2D")
        return subcodes(raised.exception) == ["ResourceUnknownFault"]

    def test_an_address_that_never_was_is_unknown(self):
        self.every_operation_is_refused(self.operations_at(f"{self.address}/onvif/event_service/none"))
        self.every_operation_is_refused(self.operations_at(f"{self.address}/onvif/event_service"))

    def every_operation_is_refused(self, subscription):
        for operation, arguments in ((subscription.pullpoint.PullMessages, {"Timeout": datetime.timedelta(0), "MessageLimit": 1}),
                                     (subscription.pullpoint.SetSynchronizationPoint, {}),
                                     (subscription.manager.Renew, {"TerminationTime": "PT60S"}),
                                     (subscription.manager.Unsubscribe, {})):  # fmt: skip
            self.refused(["ResourceUnknownFault"], operation, **arguments)

    def test_a_synchronization_point_gives_all_properties_anew(self):
        subscription, _ = self.create()
        first = self.drained(subscription)
        self.assertEqual(self.drained(subscription), [])
        subscription.pullpoint.SetSynchronizationPoint()
        again = self.drained(subscription)
        self.assertEqual({each[1] for each in again}, {"Initialized"})
        self.assertEqual(sorted(topics_of(first)), sorted(topics_of(again)))

    def test_a_synchronization_point_keeps_to_the_filter(self):
        subscription, _ = self.create(**filters(expression(REBOOT)))
        self.drained(subscription)
        subscription.pullpoint.SetSynchronizationPoint()
        self.assertEqual(topics_of(self.drained(subscription)), [REBOOT])

    def test_as_many_pull_points_as_are_told_live_side_by_side(self):
        most = self.events.GetServiceCapabilities().MaxPullPoints
        made = []
        try:
            while len(made) <= most:
                made.append(self.create(**filters(expression(PROFILES)))[0])
        except zeep.exceptions.Fault as fault:
            self.assertEqual(subcodes(fault), ["SubscribeCreationFailedFault"])
        self.assertEqual(len(made), most)
        token = self.happen()
        for each in made:
            self.assertEqual(self.pull(each)[0][:3], (PROFILES, None, {"Token": token}))
            self.drop(each)

    def test_changes_only_where_the_policy_says_so(self):
        policy = {"_value_1": [etree.Element(tag(kit.TEV, "ChangedOnly"))]}
        subscription, _ = self.create(SubscriptionPolicy=policy)
        self.assertEqual(self.drained(subscription), [])
        self.happen()
        self.assertEqual(set(topics_of(self.pull(subscription))), {PROFILES})

    def test_nothing_was_stored_that_could_be_sought(self):
        subscription, _ = self.create()
        self.assertFalse(self.events.GetServiceCapabilities().PersistentNotificationStorage)
        self.refused(["ActionNotSupported"], subscription.pullpoint.Seek, UtcTime=datetime.datetime.now(datetime.timezone.utc))
        self.assertTrue(self.drained(subscription))

    def test_an_answer_names_its_action(self):
        subscription, _ = self.create()
        for action in ("EventPortType/CreatePullPointSubscriptionResponse", "PullPointSubscription/PullMessagesResponse"):
            header = etree.fromstring(self.last_answer()).findtext(f".//{tag(kit.WSA, 'Action')}")
            self.assertEqual(header, f"{kit.TEV}/{action}")
            self.pull(subscription, 0)


class Filters(EventCamera):
    def only(self, *those):
        """The topics that come through, of the properties and of one event."""
        subscription, _ = self.create(**filters(*those))
        self.happen()
        found = self.drained(subscription)
        return set(topics_of(found))

    def test_one_topic(self):
        for dialect in (CONCRETE, CONCRETE_SET):
            self.assertEqual(self.only(expression(PROFILES, dialect)), {PROFILES})

    def test_one_topic_or_another(self):
        self.assertEqual(self.only(expression(f"{PROFILES}|{REBOOT}")), {PROFILES, REBOOT})

    def test_a_topic_with_all_below_it(self):
        self.assertEqual(self.only(expression("tns1:Media//.|tns1:VideoSource//.")), {PROFILES, ALARM})

    def test_two_filters_must_both_let_a_message_through(self):
        self.assertEqual(self.only(expression("tns1:Media//."), content('boolean(//tt:SimpleItem[@Name="Token"])')), {PROFILES})
        self.assertEqual(self.only(expression("tns1:Media//."), content('boolean(//tt:SimpleItem[@Name="State"])')), set())

    def test_the_items_of_a_message(self):
        state = content('boolean(//tt:SimpleItem[@Name="State"])')
        self.assertEqual(self.only(state), {ALARM})
        either = content('boolean(//tt:SimpleItem[@Name="State"]) or boolean(//tt:SimpleItem[@Name="Status"])')
        self.assertEqual(self.only(either), {ALARM, REBOOT})
        here = content('boolean(//tt:SimpleItem[@Name="Source" and @Value="VideoSource_1"])')
        self.assertEqual(self.only(here), {ALARM})

    def test_a_topic_expression_that_is_none_is_refused(self):
        for text in ("tns1:Media||", "Media", "tns1:Media/", "", "//.", "tns1:Media/*"):
            self.refused(["InvalidTopicExpressionFault"], self.create, **filters(expression(text)))

    def test_a_topic_that_the_camera_has_not_is_refused(self):
        for text in ("tns1:Nothing/Here", "tns1:Media", "tns1:ProfileChanged"):
            self.refused(["TopicNotSupportedFault"], self.create, **filters(expression(text)))
        self.refused(["TopicNotSupportedFault"], self.create, **filters(expression(PROFILES, uri="urn:other")))

    def test_a_dialect_that_nobody_knows_is_refused(self):
        self.refused(["TopicExpressionDialectUnknownFault"], self.create, **filters(expression(PROFILES, "urn:none")))
        self.refused(["InvalidFilterFault"], self.create, **filters(content("true()", "urn:none")))

    def test_a_message_content_that_is_none_is_refused(self):
        for text in ("", "true()", "boolean(//tt:SimpleItem[@Name=])", "boolean(//tt:Nothing[@Name=\"a\"])", "boolean(//tt:SimpleItem"):
            self.refused(["InvalidMessageContentExpressionFault"], self.create, **filters(content(text)))

    def test_a_fault_has_its_time_and_description(self):
        fault = self.refused(["InvalidTopicExpressionFault"], self.create, **filters(expression("Media")))
        detail = fault.detail.find(tag(kit.WSNT, "InvalidTopicExpressionFault"))
        base = "http://docs.oasis-open.org/wsrf/bf-2"
        self.assertTrue(detail.findtext(tag(base, "Timestamp")).endswith("Z"))
        self.assertTrue(detail.findtext(tag(base, "Description")))


# Where the namespaces of a request may be declared, and with which prefixes. {} is the dialect, then the path.
NAMESPACES = {
    "all on the outermost element": (
        f'<soap:Envelope xmlns:soap="{kit.SOAP}" xmlns:tev="{kit.TEV}" xmlns:wsnt="{kit.WSNT}" xmlns:tns1="{TOPICS}"><soap:Body>'
        "<tev:CreatePullPointSubscription><tev:Filter>"
        '<wsnt:TopicExpression Dialect="{dialect}">tns1:{path}</wsnt:TopicExpression>'
        "</tev:Filter></tev:CreatePullPointSubscription></soap:Body></soap:Envelope>"
    ),
    "each on the element that uses it first": (
        f'<soap:Envelope xmlns:soap="{kit.SOAP}"><soap:Body><tev:CreatePullPointSubscription xmlns:tev="{kit.TEV}"><tev:Filter>'
        f'<wsnt:TopicExpression xmlns:wsnt="{kit.WSNT}" xmlns:tns1="{TOPICS}" Dialect="{{dialect}}">tns1:{{path}}'
        "</wsnt:TopicExpression></tev:Filter></tev:CreatePullPointSubscription></soap:Body></soap:Envelope>"
    ),
    "a default of each element, and the topic's by a prefix": (
        f'<Envelope xmlns="{kit.SOAP}"><Body xmlns="{kit.SOAP}"><CreatePullPointSubscription xmlns="{kit.TEV}">'
        f'<Filter xmlns="{kit.TEV}"><TopicExpression xmlns="{kit.WSNT}" xmlns:t="{TOPICS}" Dialect="{{dialect}}">t:{{path}}'
        "</TopicExpression></Filter></CreatePullPointSubscription></Body></Envelope>"
    ),
    "defaults of parents": (
        f'<Envelope xmlns="{kit.SOAP}" xmlns:w="{kit.WSNT}" xmlns:t="{TOPICS}"><Body>'
        f'<CreatePullPointSubscription xmlns="{kit.TEV}"><Filter><w:TopicExpression Dialect="{{dialect}}">t:{{path}}'
        "</w:TopicExpression></Filter></CreatePullPointSubscription></Body></Envelope>"
    ),
    "prefixes that nobody else uses": (
        f'<q0:Envelope xmlns:q0="{kit.SOAP}" xmlns:q1="{kit.TEV}" xmlns:q2="{kit.WSNT}" xmlns:q3="{TOPICS}"><q0:Body>'
        '<q1:CreatePullPointSubscription><q1:Filter><q2:TopicExpression Dialect="{dialect}">q3:{path}</q2:TopicExpression>'
        "</q1:Filter></q1:CreatePullPointSubscription></q0:Body></q0:Envelope>"
    ),
    "usual prefixes for other namespaces": (
        f'<tns1:Envelope xmlns:tns1="{kit.SOAP}" xmlns:wsnt="{kit.TEV}" xmlns:tt="{kit.WSNT}" xmlns:tev="{TOPICS}"><tns1:Body>'
        '<wsnt:CreatePullPointSubscription><wsnt:Filter><tt:TopicExpression Dialect="{dialect}">tev:{path}</tt:TopicExpression>'
        "</wsnt:Filter></wsnt:CreatePullPointSubscription></tns1:Body></tns1:Envelope>"
    ),
    "one prefix for everything": (
        f'<p:Envelope xmlns:p="{kit.SOAP}"><p:Body><p:CreatePullPointSubscription xmlns:p="{kit.TEV}"><p:Filter>'
        f'<wsnt:TopicExpression xmlns:wsnt="{kit.WSNT}" xmlns:p="{TOPICS}" Dialect="{{dialect}}">p:{{path}}</wsnt:TopicExpression>'
        "</p:Filter></p:CreatePullPointSubscription></p:Body></p:Envelope>"
    ),
    "two prefixes for one namespace": (
        f'<s:Envelope xmlns:s="{kit.SOAP}" xmlns:s2="{kit.SOAP}"><s2:Body><a:CreatePullPointSubscription xmlns:a="{kit.TEV}"'
        f' xmlns:b="{kit.TEV}"><b:Filter><c:TopicExpression xmlns:c="{kit.WSNT}" xmlns:x="{TOPICS}" xmlns:y="{TOPICS}"'
        ' Dialect="{dialect}">y:{path}</c:TopicExpression></b:Filter></a:CreatePullPointSubscription></s2:Body></s:Envelope>'
    ),
    "the prefix is declared anew further in": (
        f'<s:Envelope xmlns:s="{kit.SOAP}" xmlns:tns1="urn:other" xmlns:wsnt="urn:other"><s:Body>'
        f'<tev:CreatePullPointSubscription xmlns:tev="{kit.TEV}"><tev:Filter><wsnt:TopicExpression xmlns:wsnt="{kit.WSNT}"'
        f' xmlns:tns1="{TOPICS}" Dialect="{{dialect}}">tns1:{{path}}</wsnt:TopicExpression></tev:Filter>'
        "</tev:CreatePullPointSubscription></s:Body></s:Envelope>"
    ),
}


class Namespaces(EventCamera):
    def test_a_filter_means_the_same_wherever_its_namespaces_are_declared(self):
        for name, text in NAMESPACES.items():
            with self.subTest(name):
                address = self.subscribed(text.format(dialect=CONCRETE_SET, path="Monitoring//."))
                self.assertEqual(topics_of(self.messages_at(address)), [REBOOT])
                self.post(address, f'<e:Envelope xmlns:e="{kit.SOAP}"><e:Body><Unsubscribe xmlns="{kit.WSNT}"/></e:Body></e:Envelope>')

    def subscribed(self, text):
        answer = self.post(f"{self.address}/onvif/event_service", text)
        return answer.findtext(f".//{tag(kit.TEV, 'SubscriptionReference')}/{tag(kit.WSA, 'Address')}")

    def messages_at(self, address):
        self.post(address, f'<Envelope xmlns="{kit.SOAP}"><Body><PullMessages xmlns="{kit.TEV}"><Timeout>PT1M</Timeout>'
                           "<MessageLimit>10</MessageLimit></PullMessages></Body></Envelope>")  # fmt: skip
        return notifications(self.last_answer())

    def test_a_prefix_that_stands_for_something_else_makes_another_topic(self):
        text = NAMESPACES["all on the outermost element"].replace(TOPICS, "urn:other").format(dialect=CONCRETE, path="Media/ProfileChanged")
        answer = self.post(f"{self.address}/onvif/event_service", text, 400)
        self.assertIn("TopicNotSupportedFault", ElementTree.tostring(answer, "unicode"))

    def test_a_filter_of_items_has_the_prefix_of_its_author(self):
        filtered = (
            f'<s:Envelope xmlns:s="{kit.SOAP}" xmlns:tt="urn:other" xmlns:o="{kit.TT}"><s:Body>'
            f'<CreatePullPointSubscription xmlns="{kit.TEV}"><Filter><n:MessageContent xmlns:n="{kit.WSNT}" Dialect="{ITEM_FILTER}">'
            'boolean(//o:SimpleItem[@Name="State"])</n:MessageContent></Filter></CreatePullPointSubscription></s:Body></s:Envelope>'
        )
        self.assertEqual(topics_of(self.messages_at(self.subscribed(filtered))), [ALARM])
        wrong = filtered.replace("o:SimpleItem", "tt:SimpleItem")
        answer = self.post(f"{self.address}/onvif/event_service", wrong, 400)
        self.assertIn("InvalidMessageContentExpressionFault", ElementTree.tostring(answer, "unicode"))


class Consumer:
    """Takes the messages that a camera pushes."""

    def __init__(self, host="127.0.0.1"):
        self.texts = queue.Queue()
        consumer = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                consumer.texts.put(self.rfile.read(int(self.headers["Content-Length"])))
                self.send_response(202)
                self.send_header("Content-Length", "0")
                self.end_headers()

            def log_message(self, *_):
                pass

        class Server(http.server.ThreadingHTTPServer):
            address_family = socket.AF_INET6 if ":" in host else socket.AF_INET
            daemon_threads = True

        self.server = Server((host, 0), Handler)
        self.address = f"http://{f'[{host}]' if ':' in host else host}:{self.server.server_port}/messages?of=camera"
        self.kept = []
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def next(self):
        """The next message, of those that came together."""
        while not self.kept:
            self.text = self.texts.get(timeout=kit.PATIENCE)
            self.kept = notifications(self.text)
        return self.kept.pop(0)

    def close(self):
        self.server.shutdown()
        self.server.server_close()


class Notifications(EventCamera):
    """The interface of Subscribe and Notify."""

    def setUp(self):
        super().setUp()
        self.consumer = Consumer()
        self.addCleanup(self.consumer.close)

    def subscribe(self, parameters=(), **arguments):
        reference = {"Address": self.consumer.address, "ReferenceParameters": {"_value_1": list(parameters)}}
        answer = self.client.producer.Subscribe(ConsumerReference=reference, **arguments)
        return self.subscription_of(answer), answer

    def test_a_consumer_is_told_the_properties_and_what_happens(self):
        subscription, answer = self.subscribe(InitialTerminationTime="PT60S")
        self.assertLess(answer.CurrentTime, answer.TerminationTime)
        begin = [self.consumer.next() for _ in range(2)]
        self.assertEqual({each[1] for each in begin}, {"Initialized"})
        notify = etree.fromstring(self.consumer.text)
        self.assertEqual(notify.findtext(f".//{tag(kit.WSA, 'To')}"), self.consumer.address)
        self.assertEqual(notify.findtext(f".//{tag(kit.WSA, 'Action')}"), "http://docs.oasis-open.org/wsn/bw-2/NotificationConsumer/Notify")
        self.assertEqual(self.schemas.faults([self.consumer.text]), [""])
        token = self.happen()
        found = self.consumer.next()
        while found[0] != PROFILES:
            found = self.consumer.next()
        self.assertEqual(found[2], {"Token": token})

    def test_a_consumer_is_told_what_its_filter_lets_through(self):
        subscription, _ = self.subscribe(**filters(expression("tns1:Media//.|tns1:Monitoring//.")))
        self.assertEqual(self.consumer.next()[0], REBOOT)
        self.happen()
        self.assertEqual(self.consumer.next()[0], PROFILES)

    def test_a_consumer_finds_its_own_parameters_in_the_header(self):
        mine = etree.Element(tag("urn:mine", "Subscription"), nsmap={"m": "urn:mine"})
        mine.text = "7"
        self.subscribe([mine])
        self.consumer.next()
        found = etree.fromstring(self.consumer.text).find(f"{tag(kit.SOAP, 'Header')}/{tag('urn:mine', 'Subscription')}")
        self.assertEqual((found.text, found.get(tag(kit.WSA, "IsReferenceParameter"))), ("7", "true"))
        self.assertEqual(self.schemas.faults([self.consumer.text]), [""])

    def test_a_filter_that_cannot_be_is_refused(self):
        self.refused(["InvalidTopicExpressionFault"], self.subscribe, **filters(expression("Media")))
        self.refused(["TopicNotSupportedFault"], self.subscribe, **filters(expression("tns1:Nothing")))
        self.refused(["InvalidMessageContentExpressionFault"], self.subscribe, **filters(content("true()")))
        self.refused(["UnacceptableInitialTerminationTimeFault"], self.subscribe, InitialTerminationTime="PT0S")

    def test_a_synchronization_point_is_pushed(self):
        subscription, _ = self.subscribe(**filters(expression(REBOOT)))
        self.assertEqual(self.consumer.next()[:2], (REBOOT, "Initialized"))
        subscription.pullpoint.SetSynchronizationPoint()
        self.assertEqual(self.consumer.next()[:2], (REBOOT, "Initialized"))

    def test_a_renewal_moves_the_end(self):
        subscription, made = self.subscribe(InitialTerminationTime="PT10S")
        self.assertGreater(subscription.manager.Renew(TerminationTime="PT60S").TerminationTime, made.TerminationTime)

    def test_nothing_comes_after_the_end(self):
        subscription, _ = self.subscribe(**filters(expression(PROFILES)))
        self.drop(subscription)
        self.refused(["ResourceUnknownFault"], subscription.manager.Unsubscribe)
        self.refused(["ResourceUnknownFault"], subscription.manager.Renew, TerminationTime="PT60S")
        self.happen()
        # What is subscribed afterwards comes first.
        other, _ = self.subscribe(**filters(expression(REBOOT)))
        self.assertEqual(self.consumer.next()[0], REBOOT)
        self.drop(other)

    def test_what_is_pushed_is_not_pulled(self):
        subscription, _ = self.subscribe()
        self.refused(["UnableToGetMessagesFault"], subscription.pullpoint.PullMessages, Timeout=datetime.timedelta(0), MessageLimit=1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
