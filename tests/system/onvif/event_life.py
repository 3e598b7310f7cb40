"""The whole life of events: subscribed, a rule at a preset, the camera goes there, true, changed, left, false, deleted.

Over it all, each `true` has its `false`, whoever ends it: the scene, the camera, a client, or a process that dies.
"""
import os
import signal
import threading
import unittest
import xml.etree.ElementTree as ElementTree

import kit
import soap

try:
    import requests
except ImportError as missing:
    kit.skip(f"python3-requests is not installed: {missing}")

PULL = "<tev:PullMessages><tev:Timeout>PT{}S</tev:Timeout><tev:MessageLimit>100</tev:MessageLimit></tev:PullMessages>"
MODULE = (
    '<tan:AnalyticsModule Name="Objects" Type="vca:MotionRegionEngine"><tt:Parameters>'
    '<tt:SimpleItem Name="PresetToken" Value="{0}"/></tt:Parameters></tan:AnalyticsModule>'
)
RULE = (
    '<tan:Rule Name="Watch" Type="tt:MotionRegionDetector"><tt:Parameters><tt:SimpleItem Name="PresetToken" Value="{0}"/>'
    '<tt:ElementItem Name="MotionRegion"><axt:MotionRegionConfig Armed="true" Sensitivity="{1}"><tt:Polygon>'
    '<tt:Point x="-1" y="1"/><tt:Point x="-1" y="-1"/><tt:Point x="1" y="-1"/><tt:Point x="1" y="1"/></tt:Polygon>'
    "</axt:MotionRegionConfig></tt:ElementItem></tt:Parameters></tan:Rule>"
)
MOTION = "tns1:RuleEngine/MotionRegionDetector/Motion"
ALARM = "tns1:VideoSource/MotionAlarm"
REBOOT = "tns1:Monitoring/OperatingTime/LastReboot"
CONFIGURATION = ("tns1:Media/ConfigurationChanged", "", "Analytics")


def preset(what, name):
    data = {"PresetToken": name, "PresetName": name}
    return (f"tns1:PTZController/PTZPresets/{what}", "", "PTZ_1", data)


class PullPoint:
    """Collects the messages of a pull point: (topic, operation, last value of the source, data)."""

    def __init__(self, test):
        self.test = test
        created = test.ask("event_service", "<tev:CreatePullPointSubscription/>")
        self.address = created.findtext(f".//{{{kit.WSA}}}Address")
        self.messages = []
        self.ended = threading.Event()
        self.changed = threading.Condition()
        self.thread = threading.Thread(target=self.pull)
        self.thread.start()

    def pull(self):
        while not self.ended.is_set():
            answer = self.test.post(self.address, PULL.format(1))
            for each in soap.events_in(answer):
                with self.changed:
                    self.messages.append((each.topic, each.operation, each.source[-1][1] if each.source else "", dict(each.data)))
                    self.changed.notify_all()

    def wait(self, *wanted):
        """Waits until the message has come, forgets it and those before it, and gives these."""

        def found():
            return next((number for number, each in enumerate(self.messages) if each[: len(wanted)] == wanted), None)

        with self.changed:
            if not self.changed.wait_for(lambda: found() is not None, kit.PATIENCE):
                raise AssertionError(f"{wanted} did not come: {self.messages}")
            number = found()
            before, self.messages = self.messages[:number], self.messages[number + 1 :]
        return before

    def end(self):
        self.ended.set()
        self.thread.join()
        self.test.post(self.address, "<wsnt:Unsubscribe/>")


class EventLife(kit.CameraTest):
    ARGUMENTS = ("--no-factory", *kit.PLACES)
    CLIENTS = ("requests",)

    def post(self, address, content):
        answer = requests.post(address, soap.ENVELOPE.format(content).encode(), timeout=kit.PATIENCE,
                               auth=requests.auth.HTTPDigestAuth(*kit.OPERATOR))  # fmt: skip
        self.assertEqual(answer.status_code, 200, answer.text)
        return ElementTree.fromstring(answer.content)

    def ask(self, service, content):
        return self.post(f"{self.address}/onvif/{service}", content)

    def analytics(self, operation, content):
        token = f"<tan:ConfigurationToken>{kit.TOKEN}</tan:ConfigurationToken>"
        self.ask("analytics_service", f"<tan:{operation}>{token}{content}</tan:{operation}>")

    def setUp(self):
        self.camera.command("preset", "go", "Door")
        kit.eventually(self.stands_at_door, "the camera at Door")
        self.events = PullPoint(self)
        self.addCleanup(self.events.end)

    def stands_at_door(self):
        return '"preset":"Door"' in self.camera.command("status", "--json").replace(" ", "")

    def watch(self, place="Gate"):
        self.analytics("CreateAnalyticsModules", MODULE.format(place))
        self.analytics("CreateRules", RULE.format(place, "0.9"))

    def clear(self):
        self.analytics("DeleteRules", "<tan:RuleName>Watch</tan:RuleName>")
        self.analytics("DeleteAnalyticsModules", "<tan:AnalyticsModuleName>Objects</tan:AnalyticsModuleName>")

    def test_a_subscriber_is_told_the_whole_life_of_a_rule(self):
        events = self.events
        events.wait(ALARM, "Initialized", "VideoSource_1", {"State": "false"})
        self.watch()
        events.wait(*CONFIGURATION)
        self.camera.command("preset", "go", "Gate")
        events.wait(*preset("Left", "Door"))
        events.wait(*preset("Invoked", "Gate"))
        events.wait(*preset("Reached", "Gate"))
        events.wait(MOTION, "Changed", "Watch", {"State": "true"})
        events.wait(ALARM, "Changed", "VideoSource_1", {"State": "true"})
        late = PullPoint(self)
        self.assertIn(REBOOT, {each[0] for each in late.wait(MOTION, "Initialized", "Watch")})
        late.end()
        self.analytics("ModifyRules", RULE.format("Gate", "0.8"))
        events.wait(*CONFIGURATION)
        self.camera.command("preset", "go", "Door")
        told = events.wait(*preset("Reached", "Door"))
        states = [each[3]["State"] for each in told if each[0] == MOTION]
        self.clear()
        told = events.wait(MOTION, "Deleted", "Watch", {"State": "false"})
        states += [each[3]["State"] for each in told if each[0] == MOTION]
        self.assertEqual((states or ["false"])[-1], "false")
        events.wait(*CONFIGURATION)

    def test_a_property_goes_with_the_preset_of_its_rule(self):
        events = self.events
        self.camera.command("preset", "go", "Gate")
        events.wait(*preset("Reached", "Gate"))
        self.camera.command("preset", "save", "Yard")
        self.watch("Yard")
        self.camera.command("preset", "go", "Yard")
        events.wait(MOTION, "Changed", "Watch", {"State": "true"})
        self.camera.command("preset", "remove", "Yard")
        events.wait(MOTION, "Deleted", "Watch", {"State": "false"})

    def test_nothing_stays_true_when_the_pipeline_dies(self):
        events = self.events
        self.watch()
        self.addCleanup(self.clear)
        self.camera.command("preset", "go", "Gate")
        events.wait(MOTION, "Changed", "Watch", {"State": "true"})
        os.kill(self.camera.processes()["camera-pipeline"], signal.SIGKILL)
        events.wait(MOTION, "Deleted", "Watch", {"State": "false"})
        events.wait(REBOOT, "Changed")


if __name__ == "__main__":
    unittest.main(verbosity=2)
