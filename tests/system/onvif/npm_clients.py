"""Three clients of npm connect, rules and modules live through them at two presets, over a restart, and they are told.

Every answer of the camera is valid by the official schemas. What clients send and is not is listed, and was served.
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import unittest

import event_life
import kit

PRESETS = "tns1:PTZController/PTZPresets/"
TOKEN = f"<tan:ConfigurationToken>{kit.TOKEN}</tan:ConfigurationToken>"


def installed():
    """The folder in which the clients are; they are installed as the lock file says when that has changed."""
    folder = pathlib.Path(os.environ["NODE_FOLDER"])
    if not shutil.which("node") or not shutil.which("npm"):
        kit.skip("node and npm are not installed")
    lock = (kit.HERE / "package-lock.json").read_bytes()
    done = folder / "installed-lock.json"
    if not done.exists() or done.read_bytes() != lock:
        folder.mkdir(parents=True, exist_ok=True)
        for name in ("package.json", "package-lock.json"):
            shutil.copyfile(kit.HERE / name, folder / name)
        result = subprocess.run(["npm", "ci", "--ignore-scripts", "--no-audit", "--no-fund"], cwd=folder, capture_output=True,
                                text=True, timeout=300, check=False)  # fmt: skip
        if result.returncode != 0:
            if re.search("EINTEGRITY|EUSAGE|ELOCKVERIFY", result.stderr):
                raise AssertionError(f"npm does not accept the lock file: {result.stderr}")
            kit.skip(f"the clients cannot be installed: {result.stderr[-1000:]}")
        done.write_bytes(lock)
    return folder


class Client:
    """One of them as a process."""

    def __init__(self, folder, name, address, who):
        host, port = address.rsplit("/", 1)[1].split(":")
        self.process = subprocess.Popen(["node", str(kit.HERE / "clients.js"), name, host, port, *who], cwd=folder, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)  # fmt: skip
        self.found = json.loads(self.process.stdout.readline())

    def call(self, operation, content=""):
        return self.ask({"operation": operation, "content": TOKEN + content})

    def ptz(self, function, options=None):
        return self.ask({"ptz": function, "options": options})

    def events(self, what):
        return self.ask({"events": what})

    def until(self, topic, operation, **data):
        """Waits for an event with such values, and gives those that came with it and before it."""
        told = []
        while True:
            event = self.events("next")
            told.append(event)
            if (event["topic"], event["operation"]) == (topic, operation) and data.items() <= event["data"].items():
                return told

    def ask(self, line):
        self.process.stdin.write(json.dumps(line) + "\n")
        self.process.stdin.flush()
        said = json.loads(self.process.stdout.readline())
        if "error" in said:
            raise AssertionError(f"{line}: {said['error']}")
        return said["answer"]

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait(kit.PATIENCE)


# The prefix stands on the component, as clients write it that know no other place for it.
def component(element, name, kind, items):
    parameters = "".join(f'<t:SimpleItem Name="{item}" Value="{value}"/>' for item, value in items)
    return (
        f'<tan:{element} xmlns:t="{kit.TT}" xmlns:v="{kit.VCA}" Name="{name}" Type="{kind}"><t:Parameters>{parameters}'
        f"</t:Parameters></tan:{element}>"
    )


def declared(text):
    """A component of which each prefix stands on itself."""
    prefixes = f'xmlns:tt="{kit.TT}" xmlns:vca="{kit.VCA}" xmlns:axt="{kit.AXT}"'
    return re.sub("^<tan:[A-Za-z]+", rf"\g<0> {prefixes}", text)


class NpmClients(kit.CameraTest):
    ARGUMENTS = ("--no-factory", *kit.PLACES)
    CLIENTS = ("onvif", "node-onvif", "onvif-nvt")

    @classmethod
    def setUpClass(cls):
        cls.folder = installed()
        super().setUpClass()

    def client(self, name, who=kit.OPERATOR):
        self.recorder.client = name
        client = Client(self.folder, name, self.address, who)
        self.addCleanup(client.end)
        return client

    def listed(self):
        return {kind: self.camera.components(kind) for kind in ("rules", "modules")}

    def connects(self, name):
        client = self.client(name)
        self.assertNotIn("error", client.found)
        self.assertTrue(client.found["model"])
        self.assertIn("Profile_1", client.found["profiles"])
        self.assertIn("VideoSource_1", client.found["sources"])
        self.assertIn("error", self.client(name, (kit.OPERATOR[0], "guess")).found)

    def lives(self, name):
        client = self.client(name)
        for preset in ("Gate", "Door"):
            client.call("CreateAnalyticsModules", component("AnalyticsModule", "m" + preset, "v:MotionRegionEngine",
                                                            [("PresetToken", preset), ("Sensitivity", "70")]))  # fmt: skip
            client.call("CreateRules", component("Rule", "r" + preset, "t:CellMotionDetector",
                                                 [("PresetToken", preset), ("MinCount", "4")]))  # fmt: skip
        both = {"rules": [("Door", "rDoor"), ("Gate", "rGate")], "modules": [("Door", "mDoor"), ("Gate", "mGate")]}
        self.assertEqual(self.listed(), both)
        self.camera.restart()
        client = self.client(name)
        self.assertEqual(self.listed(), both)
        client.call("ModifyRules", component("Rule", "rGate", "t:CellMotionDetector", [("MinCount", "9")]))
        answer = client.call("GetRules")
        self.assertIn('Name="MinCount" Value="9"', answer)
        self.assertIn('Name="MinCount" Value="4"', answer)
        client.call("ModifyAnalyticsModules", component("AnalyticsModule", "mDoor", "v:MotionRegionEngine", [("PresetToken", "")]))
        self.assertEqual(self.listed()["modules"], [("", "mDoor"), ("Gate", "mGate")])
        client.call("DeleteRules", "<tan:RuleName>rGate</tan:RuleName>")
        self.assertEqual(self.listed()["rules"], [("Door", "rDoor")])
        client.call("DeleteRules", "<tan:RuleName>rDoor</tan:RuleName>")
        client.call("DeleteAnalyticsModules",
                    "<tan:AnalyticsModuleName>mGate</tan:AnalyticsModuleName><tan:AnalyticsModuleName>mDoor</tan:AnalyticsModuleName>")
        self.assertEqual(self.listed(), {"rules": [], "modules": []})
        self.assertNotIn("<tan:Rule ", client.call("GetRules"))
        self.assertIn("CellMotionDetector", client.call("GetSupportedRules"))

    def follows(self, name):
        client = self.client(name)
        self.assertIn("<MotionRegionDetector", re.sub("<[a-z0-9]+:", "<", client.events("properties")))
        if name == "node-onvif":
            return  # it can do no more
        client.ptz("gotoPreset", "Door")
        self.place()
        client.events("begin")
        client.until(event_life.ALARM, "Initialized", State="false")
        client.call("CreateAnalyticsModules", declared(event_life.MODULE.format("Gate")))
        client.call("CreateRules", declared(event_life.RULE.format("Gate", "0.9")))
        client.ptz("gotoPreset", "Gate")
        client.until(PRESETS + "Left", "", PresetToken="Door")
        client.until(PRESETS + "Reached", "", PresetToken="Gate")
        client.until(event_life.MOTION, "Changed", State="true")
        client.call("ModifyRules", declared(event_life.RULE.format("Gate", "0.8")))
        client.until("tns1:Media/ConfigurationChanged", "")
        client.ptz("gotoPreset", "Door")
        told = client.until(PRESETS + "Reached", "", PresetToken="Door")
        client.call("DeleteRules", "<tan:RuleName>Watch</tan:RuleName>")
        told += client.until(event_life.MOTION, "Deleted", State="false")
        states = [each["data"]["State"] for each in told if each["topic"] == event_life.MOTION]
        self.assertEqual(states[-1], "false")
        client.call("DeleteAnalyticsModules", "<tan:AnalyticsModuleName>Objects</tan:AnalyticsModuleName>")
        client.events("end")

    def position(self):
        lines = [json.loads(line) for line in self.camera.command("status", "--json").splitlines()]
        return next(line for line in lines if line.get("part") == "position")

    def place(self):
        """Where the camera looks, in degrees and magnification, as its own command line tells it, once it stands."""

        def standing():
            found = self.position()
            return not found.get("moving") and found

        found = kit.eventually(standing, "a camera that stands")
        return [round(found[axis], 1) for axis in ("pan", "tilt", "zoom")]

    def drives(self, name):
        client = self.client(name)
        client.ptz("absoluteMove", {"x": 0.1, "y": 0.2, "zoom": 1})
        self.assertEqual(self.place(), [18, 18, 30])
        client.ptz("relativeMove", {"x": 0.0, "y": 0.0, "zoom": -1})
        self.assertEqual(self.place(), [18, 18, 1])
        client.ptz("continuousMove", {"x": 0.2, "y": 0.1, "zoom": 0.1, "timeout": 60})
        kit.eventually(lambda: self.position()["pan"] > 18.5, "a camera that moves")
        client.ptz("stop")
        self.assertLess(self.place()[0], 180)
        token = client.ptz("setPreset", "Corner of " + name)
        self.assertEqual(token, "Corner of " + name)
        self.assertIn({"token": token, "name": token}, client.ptz("presets"))
        there = self.place()
        client.ptz("gotoPreset", "Gate")
        self.assertEqual(self.place(), [350, 5, 1.5])
        client.ptz("gotoPreset", token)
        self.assertEqual(self.place(), there)
        client.ptz("removePreset", token)
        self.assertEqual(sorted(each["token"] for each in client.ptz("presets")), ["Door", "Gate"])


def make(name):
    def connects(self):
        self.connects(name)

    def lives(self):
        self.lives(name)

    def drives(self):
        self.drives(name)

    def follows(self):
        self.follows(name)

    word = name.replace("-", "_")
    setattr(NpmClients, f"test_{word}_moves_stops_and_keeps_presets", drives)
    setattr(NpmClients, f"test_{word}_connects", connects)
    setattr(NpmClients, f"test_{word}_follows_the_life_of_a_rule_as_far_as_it_can", follows)
    setattr(NpmClients, f"test_{word}_creates_changes_moves_and_deletes_at_two_presets", lives)


for each_client in NpmClients.CLIENTS:
    make(each_client)

if __name__ == "__main__":
    unittest.main(verbosity=2)
