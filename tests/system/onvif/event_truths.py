"""Rules of two engines change at random presets while the camera moves, tours, loses presets, reboots and is killed.

Each subscriber is told every state in a legal order, and none stays true. One that subscribes at any moment is told what those
know who listen since long. event_storm.py runs this.
"""
import collections
import json
import os
import pathlib
import signal
import tempfile

import follower
import kit
import soap
import storm
from soap import Failed, NoAnswer, Refused

TR2, TPTZ = soap.NAMESPACES["tr2"], soap.NAMESPACES["tptz"]
RULES = "tns1:RuleEngine/"
PROFILE = "tns1:Media/ProfileChanged"  # a message that the test makes itself, as a mark
SCENE = "scene:size=320x180,fps=30,frames=0,objects=8,noise=1,speed=0.6"
# Arrives within a few frames, so that thousands of moves fit into a run.
QUICK = {
    "model": "quick", "scene_angle": 128.0, "lens": {"focal_length": 4.3, "sensor_width": 5.376, "sensor_height": 3.024},
    "pan": {"endless": True, "speed": 720.0, "acceleration": 7200.0, "tolerance": 0.05},
    "tilt": {"lowest": -90.0, "highest": 20.0, "speed": 720.0, "acceleration": 7200.0, "tolerance": 0.05},
    "zoom": {"largest": 30.0, "speed": 60.0, "acceleration": 600.0, "tolerance": 0.01},
    "timing": {"stable_ms": 20, "arrival_margin_ms": 3000, "hold_ms": 5000, "drive_ms": 60000},
}  # fmt: skip


class Subscriber(follower.Follower):
    """Knows the last state of each property. A subscription that dies is made anew, and begins with what is live."""

    def __init__(self, camera):
        self.live = {}
        self.at_mark = {}
        self.generation = 0
        self.counts = collections.Counter()
        super().__init__(camera)

    def round(self):
        try:
            super().round()
        except (Refused, Failed, NoAnswer):
            if not self.ended.is_set():
                self.begin_anew()

    def begin_anew(self):
        def made():
            try:
                return self.ended.is_set() or follower.create(self.client)
            except (Refused, Failed, NoAnswer):
                return None

        address = kit.eventually(made, "a new subscription")
        with self.changed:
            self.address = address
            self.counts["subscriptions"] += 1
            self.counts["true_at_a_death"] += sum(each.is_true() for each in self.live.values())
            self.live = {}
            self.generation += 1
            self.changed.notify_all()

    def take(self, event):
        self.counts["messages"] += 1
        if event.topic == PROFILE:
            self.counts["marks"] += 1
            self.at_mark = {name: each.data for name, each in self.live.items()}
        if not event.operation:
            return
        self.counts["of_rules"] += event.topic.startswith(RULES)
        known = self.live.get(event.property())
        was_true = known is not None and known.is_true()
        if event.operation == "Deleted":
            if known is None or was_true or event.is_true():
                raise AssertionError(f"'{event}' after '{known}'")
            del self.live[event.property()]
        else:
            if event.operation == "Initialized" and known is not None:
                raise AssertionError(f"'{event}' after '{known}'")
            self.live[event.property()] = event
        self.counts["trues"] += event.is_true() and not was_true
        self.counts["falses"] += was_true and not event.is_true()


class Truths:
    def __init__(self, actions, dice):
        self.actions, self.dice = actions, dice
        self.lists = storm.Storm(dice)
        self.counts = collections.Counter()
        self.folder = tempfile.TemporaryDirectory(prefix="onvif-model-")
        model = pathlib.Path(self.folder.name) / "quick.json"
        model.write_text(json.dumps(QUICK), encoding="utf-8")
        self.camera = kit.VirtualCamera("--no-factory", "--ptz", "--model", str(model), *storm.PLACED, scene=SCENE)
        self.client = storm.Client(self.camera)
        self.administrator = soap.Client(self.camera, kit.ADMINISTRATOR)
        self.subscribers = []

    def run(self):
        try:
            self.subscribers = [Subscriber(self.camera) for _ in range(3)]
            self.prepare()
            kinds = {self.change: 40, self.go: 22, self.drive: 8, self.tour: 10, self.remove_preset: 5, self.watch: 10,
                     self.compare: 2, self.leave: 2, self.kill: 1.5, self.reboot: 0.3, self.restart: 0.2}  # fmt: skip
            for number in range(self.actions):
                action = self.dice.choices(list(kinds), list(kinds.values()))[0]
                told = f"action {number}, {action.__name__}"
                try:
                    action()
                    self.look()
                except AssertionError as error:
                    raise AssertionError(f"{told}: {error}")
            self.end()
        except AssertionError as error:
            raise AssertionError(f"{error}; the camera said {self.camera.said()[-2000:]}")
        finally:
            for each in self.subscribers:
                each.ended.set()
            self.camera.remove()
            self.folder.cleanup()
        total = collections.Counter()
        for each in self.subscribers:
            total.update(each.counts)
        return {"actions": self.actions, **self.counts, **total}

    def prepare(self):
        profiles = self.at_last("media2_service", "<tr2:GetProfiles/>")
        self.profile = profiles.find(f".//{{{TR2}}}Profiles").get("token")
        for number, preset in enumerate(storm.PRESETS):
            for kind, of_type, item, values in storm.TYPES:
                name = f"{kind[0].lower()}{of_type[4:7]}{number}".lower()
                self.lists.model[name] = (kind, of_type, preset, {})
                made = self.lists.element(kind, name, of_type, {"PresetToken": preset} if preset else {})
                self.client.analytics(storm.OPERATIONS[kind][0], made)
        made = self.ptz("CreatePresetTour")
        self.touring = made.findtext(f".//{{{TPTZ}}}PresetTourToken")
        spots = "".join(f"<tt:TourSpot><tt:PresetDetail><tt:PresetToken>{preset}</tt:PresetToken></tt:PresetDetail>"
                        "<tt:StayTime>PT0.2S</tt:StayTime></tt:TourSpot>" for preset in storm.PRESETS[1:4])  # fmt: skip
        self.ptz("ModifyPresetTour", f'<tptz:PresetTour token="{self.touring}"><tt:Name>round</tt:Name><tt:Status><tt:State>Idle'
                 f"</tt:State></tt:Status><tt:AutoStart>false</tt:AutoStart><tt:StartingCondition/>{spots}</tptz:PresetTour>")  # fmt: skip

    # -- what is done to the camera

    def tried(self, ask):
        """What the camera answers, if it does: a part of it may be gone, or what is asked for may not be possible now."""
        try:
            return ask()
        except (Refused, Failed, NoAnswer):
            self.counts["not_done"] += 1
            return None

    def at_last(self, where, content):
        def asked():
            try:
                return (self.client.ask(where, content),)
            except (Failed, NoAnswer):
                return None

        return kit.eventually(asked, f"an answer to {content}")[0]

    def ptz(self, operation, content=""):
        profile = f"<tptz:ProfileToken>{self.profile}</tptz:ProfileToken>"
        return self.client.ask("ptz_service", f"<tptz:{operation}>{profile}{content}</tptz:{operation}>")

    def change(self):
        operation, content, wanted, _ = self.lists.next_list()
        try:
            self.client.analytics(operation, content)
            self.lists.model = wanted
        except Refused:
            self.counts["refused"] += 1
        except (Failed, NoAnswer):  # too many of a type, or nobody there who knows whether it is done
            self.lists.model = self.client.state_at_last()
            self.counts["not_done"] += 1

    def go(self):
        self.go_to(self.dice.choice(storm.PRESETS[1:]))

    def go_to(self, preset):
        return self.tried(lambda: self.ptz("GotoPreset", f"<tptz:PresetToken>{preset}</tptz:PresetToken>"))

    def drive(self):
        x, y = (round(self.dice.uniform(-1, 1), 2) for _ in range(2))
        move = f'<tptz:Velocity><tt:PanTilt x="{x}" y="{y}"/></tptz:Velocity><tptz:Timeout>PT0.3S</tptz:Timeout>'
        self.tried(lambda: self.ptz("ContinuousMove", move))

    def tour(self):
        operation = self.dice.choice(["Start", "Start", "Stop", "Pause"])
        self.tried(lambda: self.ptz("OperatePresetTour", f"<tptz:PresetTourToken>{self.touring}</tptz:PresetTourToken>"
                                    f"<tptz:Operation>{operation}</tptz:Operation>"))  # fmt: skip

    def remove_preset(self):
        """And makes it anew elsewhere, if the camera stands."""
        preset = self.dice.choice(storm.PRESETS[1:])
        self.tried(lambda: self.ptz("RemovePreset", f"<tptz:PresetToken>{preset}</tptz:PresetToken>"))
        if self.dice.random() < 0.5:
            self.tried(lambda: self.ptz("Stop"))
        for each in storm.PRESETS[1:]:
            if each not in self.presets():
                self.tried(lambda name=each: self.ptz("SetPreset", f"<tptz:PresetName>{name}</tptz:PresetName>"))
        self.lists.model = self.client.state_at_last()

    def presets(self):
        found = self.tried(lambda: self.ptz("GetPresets"))
        if found is None:
            return storm.PRESETS
        return [each.get("token") for each in found.iter(f"{{{TPTZ}}}Preset")]

    def watch(self):
        """Stays at a place with a rule until the engines, which learn the picture first, have told something; or for a moment."""
        watched = {entry[2] for entry in self.lists.model.values() if entry[0] == "Rule"} - {""}
        if watched and self.dice.random() < 0.8:
            self.go_to(self.dice.choice(sorted(watched)))
        one = self.dice.choice(self.subscribers)
        with one.changed:
            before = one.counts["of_rules"]
            one.changed.wait_for(lambda: one.counts["of_rules"] > before, 2)

    def kill(self):
        self.die(self.dice.choice(["camera-gateway", "camera-gateway", "camera-pipeline", "camera-pipeline", "camera-services"]))

    def die(self, name):
        def dead():
            try:
                pid = self.camera.processes().get(name)
                return pid and os.kill(pid, signal.SIGKILL) is None
            except ProcessLookupError:  # it is being started again
                return False

        kit.eventually(dead, name)
        self.counts["kills"] += 1

    def reboot(self):
        self.counts["reboots"] += self.tried(lambda: self.administrator.ask("device_service", "<tds:SystemReboot/>")) is not None

    def restart(self):
        self.camera.restart()
        self.counts["restarts"] += 1

    # -- what has to be true

    def look(self):
        for each in self.subscribers:
            if each.failure:
                raise AssertionError(f"a subscriber: {each.failure}")

    def states(self, subscribers):
        """What each of them knows at the same message; nothing when one of them began anew meanwhile."""
        before = [(each, each.generation, each.counts["marks"]) for each in subscribers]
        made = self.at_last("media2_service", "<tr2:CreateProfile><tr2:Name>mark</tr2:Name></tr2:CreateProfile>")
        token = made.findtext(f".//{{{TR2}}}Token")
        self.at_last("media2_service", f"<tr2:DeleteProfile><tr2:Token>{token}</tr2:Token></tr2:DeleteProfile>")
        for each, generation, marks in before:
            each.wait(lambda one=each, g=generation, m=marks: one.generation != g or one.counts["marks"] >= m + 2, "a mark")
        if any(each.generation != generation for each, generation, _ in before):
            return None
        return [each.at_mark for each in subscribers]

    def compare(self):
        """Who subscribes now is told what those know who listen since long."""

        def compared():
            fresh = self.tried(lambda: Subscriber(self.camera))
            try:
                return fresh and self.states([fresh, *self.subscribers])
            finally:
                if fresh:
                    fresh.end()

        states = kit.eventually(compared, "what all subscribers know")
        for each in states[1:]:
            if each != states[0]:
                raise AssertionError(f"a new subscriber is told {states[0]}, another one knows {each}")
        self.counts["compared"] += 1

    def leave(self):
        """Away from all presets only rules that belong there can be true. @return all rules and modules."""
        self.watch()
        kit.eventually(lambda: self.tried(lambda: self.ptz("Stop")) is not None, "a camera that stops")
        kit.eventually(lambda: self.tried(self.stand_away) is not None, "a camera away from its presets")
        kit.eventually(self.stands, "a camera that stands")
        self.compare()
        rules = self.client.state_at_last()
        for each in self.subscribers:
            with each.changed:
                true_ones = [event for event in each.live.values() if event.is_true() and event.topic.startswith(RULES)]
            for event in true_ones:
                name = event.source[-1][1]
                if name not in rules or rules[name][2]:
                    raise AssertionError(f"'{event}' is true, and its rule is {rules.get(name)}")
        self.counts["left"] += 1
        return rules

    def end(self):
        """Without rules and away from all presets nothing is left that is true."""
        rules = self.leave()
        for kind, operations in storm.OPERATIONS.items():
            names = "".join(f"<tan:{kind}Name>{name}</tan:{kind}Name>" for name, entry in rules.items() if entry[0] == kind)
            if names:
                self.client.analytics(operations[2], names)
        self.compare()
        for each in self.subscribers:
            left = [event for event in each.live.values() if event.is_true() or event.topic.startswith(RULES)]
            if left:
                raise AssertionError(f"without rules a subscriber still knows {left}")
            if each.counts["trues"] != each.counts["falses"] + each.counts["true_at_a_death"]:
                raise AssertionError(f"not each true has its false: {each.counts}")

    def stand_away(self):
        return self.ptz("AbsoluteMove", '<tptz:Position><tt:PanTilt x="0.9" y="0.5"/></tptz:Position>')

    def stands(self):
        status = self.tried(lambda: self.ptz("GetStatus"))
        return status is not None and status.findtext(f".//{{{kit.TT}}}MoveStatus/{{{kit.TT}}}PanTilt") == "IDLE"
