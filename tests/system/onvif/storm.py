"""Random lists of creates, modifies and deletes against a camera whose processes end at any moment; scripts/storm --onvif.

usage: storm.py LISTS KILLS RESTARTS [SEED]   the environment is that of the other files here

After each list the camera says what a model says: everything of a list that was accepted, nothing of one that was
refused. A list during which the gateway or the pipeline is killed is done wholly or not at all, and wholly when the
client was told so. The last line is the result; exit code 1: the camera said something else.
"""
import copy
import os
import random
import signal
import sys
import threading
import time

import kit
import soap
from soap import Failed, NoAnswer, Refused

PRESETS = ["", "One", "Two", "Three", "Four", "Five"]
PLACED = [word for number, name in enumerate(PRESETS[1:]) for word in ("--place", f"{name}={number * 12 - 24},2,1.{number + 1}")]
# Kind, type, a parameter and its values.
TYPES = [
    ("Rule", "tt:MotionRegionDetector", "Active", ["true", "false"]),
    ("Rule", "tt:CellMotionDetector", "MinCount", [str(number) for number in range(1, 40)]),
    ("AnalyticsModule", "vca:MotionRegionEngine", "Sensitivity", [str(number) for number in range(101)]),
    ("AnalyticsModule", "tt:CellMotionEngine", "Sensitivity", [str(number) for number in range(101)]),
]
OPERATIONS = {
    "Rule": ("CreateRules", "ModifyRules", "DeleteRules", "GetRules"),
    "AnalyticsModule": ("CreateAnalyticsModules", "ModifyAnalyticsModules", "DeleteAnalyticsModules", "GetAnalyticsModules"),
}
FULL = ("TooManyModules", "TooManyRules", "ConfigurationConflict")


class Client(soap.Client):
    """Asks the analytics service."""

    def analytics(self, operation, content=""):
        token = f"<tan:ConfigurationToken>{kit.TOKEN}</tan:ConfigurationToken>"
        return self.ask("analytics_service", f"<tan:{operation}>{token}{content}</tan:{operation}>")

    def state(self):
        """What the camera has: kind and name, with type, preset and parameters."""
        found = {}
        for kind, operations in OPERATIONS.items():
            for node in self.analytics(operations[3]).iter(f"{{{kit.TAN}}}{kind}"):
                items = {item.get("Name"): item.get("Value") for item in node.iter(f"{{{kit.TT}}}SimpleItem")}
                preset = items.pop("PresetToken", "")
                found[node.get("Name")] = (kind, node.get("Type"), preset, items)
        return found

    def state_at_last(self):
        def look():
            try:
                return (self.state(),)
            except (NoAnswer, Failed):
                return None

        return kit.eventually(look, "an answer after a death")[0]


def matches(state, model):
    """Whether the camera has what the model has; parameters that nobody set have values of the camera's."""
    if set(state) != set(model):
        return False
    for name, (kind, of_type, preset, items) in model.items():
        there = state[name]
        if there[:3] != (kind, of_type, preset) or any(there[3].get(item) != value for item, value in items.items()):
            return False
    return True


class Storm:
    def __init__(self, dice):
        self.dice = dice
        self.model = {}
        self.made = 0

    def element(self, kind, name, of_type, items):
        parameters = "".join(f'<tt:SimpleItem Name="{item}" Value="{value}"/>' for item, value in items.items())
        return f'<tan:{kind} Name="{name}" Type="{of_type}"><tt:Parameters>{parameters}</tt:Parameters></tan:{kind}>'

    def create(self, kind, wanted):
        self.made += 1
        name = f"{'r' if kind == 'Rule' else 'm'}{self.made}"
        _, of_type, item, values = self.dice.choice([each for each in TYPES if each[0] == kind])
        preset = self.dice.choice(PRESETS)
        items = {item: self.dice.choice(values)} if self.dice.random() < 0.7 else {}
        wanted[name] = (kind, of_type, preset, items)
        return self.element(kind, name, of_type, {**({"PresetToken": preset} if preset else {}), **items})

    def modify(self, name, wanted):
        kind, of_type, preset, items = wanted[name]
        _, _, item, values = next(each for each in TYPES if each[1] == of_type)
        changed = {}
        if self.dice.random() < 0.4:
            preset = changed["PresetToken"] = self.dice.choice(PRESETS)
        if self.dice.random() < 0.7:
            changed[item] = self.dice.choice(values)
            items = {**items, item: changed[item]}
        wanted[name] = (kind, of_type, preset, items)
        return self.element(kind, name, of_type, changed)

    def bad(self, action, kind):
        if action == 2:
            return f"<tan:{kind}Name>nothing</tan:{kind}Name>"
        if action == 1:
            return self.element(kind, "nothing", "tt:CellMotionDetector" if kind == "Rule" else "tt:CellMotionEngine", {})
        taken = self.dice.choice(sorted(self.model)) if self.model else "a@b"
        of_type = next(each[1] for each in TYPES if each[0] == kind)
        return self.dice.choice([self.element(kind, taken, of_type, {}), self.element(kind, "new", "tt:Nothing", {}),
                                 self.element(kind, "a@b", of_type, {})])  # fmt: skip

    def next_list(self):
        """Operation, content, the model after it, and whether it has to be refused."""
        kind = self.dice.choice(list(OPERATIONS))
        mine = sorted(name for name, entry in self.model.items() if entry[0] == kind)
        action = self.dice.choice([0, 0, 1, 2]) if len(mine) < 12 else self.dice.choice([0, 1, 2, 2])
        if not mine:
            action = 0
        wanted = copy.deepcopy(self.model)
        parts = []
        if action == 0:
            parts = [self.create(kind, wanted) for _ in range(self.dice.randint(1, 3))]
        else:
            for name in self.dice.sample(mine, min(len(mine), self.dice.randint(1, 4))):
                if action == 1:
                    parts.append(self.modify(name, wanted))
                else:
                    del wanted[name]
                    parts.append(f"<tan:{kind}Name>{name}</tan:{kind}Name>")
        refused = self.dice.random() < 0.25
        if refused:
            parts.insert(self.dice.randint(0, len(parts)), self.bad(action, kind))
        return OPERATIONS[kind][action], "".join(parts), wanted, refused


def fail(seed, text):
    print(f"seed {seed}: {text}", file=sys.stderr)
    sys.exit(1)


def main():
    lists, kills, restarts = (int(word) for word in sys.argv[1:4])
    seed = int(sys.argv[4]) if len(sys.argv) > 4 else random.SystemRandom().randrange(1 << 31)
    print(f"seed={seed}", flush=True)
    dice = random.Random(seed)
    storm = Storm(dice)
    counts = dict.fromkeys(("accepted", "refused", "full", "killed", "finished", "undone", "restarts"), 0)
    camera = kit.VirtualCamera("--no-factory", *PLACED)
    try:
        client = Client(camera)
        deadly = set(dice.sample(range(lists), kills))
        ending = set(dice.sample(range(lists), restarts))
        usual = 0.01  # seconds that a list takes, so that deaths fall into it
        for number in range(lists):
            operation, content, wanted, must_refuse = storm.next_list()
            told = f"list {number}, {operation} {content}"
            if dice.random() < 0.05:
                camera.command("preset", "go", dice.choice(PRESETS[1:]))
            killer = None
            if number in deadly:
                victim = dice.choice(["camera-gateway", "camera-pipeline"])
                process = kit.eventually(lambda name=victim: camera.processes().get(name), victim)
                killer = threading.Timer(dice.random() * 1.5 * usual, os.kill, [process, signal.SIGKILL])
                killer.start()
            begin = time.monotonic()
            outcome = attempt(client, operation, content)
            usual += (min(time.monotonic() - begin, 1) - usual) / 20
            if killer:
                killer.join()
                counts["killed"] += 1
            state = client.state_at_last()
            if killer and outcome == "none":
                after = matches(state, wanted) and not must_refuse
                if not after and not matches(state, storm.model):
                    fail(seed, f"{told}: neither done nor undone after a death: {state}, from {storm.model}")
                counts["finished" if after else "undone"] += 1
                storm.model = wanted if after else storm.model
                continue
            if outcome == "none" or must_refuse != (outcome != "accepted") and outcome != "full":
                fail(seed, f"{told}: {outcome}")
            counts[outcome] += 1
            storm.model = wanted if outcome == "accepted" else storm.model
            if not matches(state, storm.model):
                fail(seed, f"{told}: the camera has {state}, not {storm.model}")
            if number in ending:
                camera.restart()
                counts["restarts"] += 1
                if not matches(client.state_at_last(), storm.model):
                    fail(seed, f"{told}: after a restart the camera has {client.state()}, not {storm.model}")
            if number % 25 == 0:
                for word, kind in (("rules", "Rule"), ("modules", "AnalyticsModule")):
                    known = sorted((entry[2], name) for name, entry in storm.model.items() if entry[0] == kind)
                    if camera.components(word) != known:
                        fail(seed, f"{told}: the command line lists {camera.components(word)}, not {known}")
        camera.restart()
        if not matches(client.state_at_last(), storm.model):
            fail(seed, f"at the end, after a restart, the camera has {client.state()}, not {storm.model}")
    except AssertionError as error:
        fail(seed, f"{told}: {error}; the camera said {camera.said()[-4000:]}")
    finally:
        camera.remove()
    print(f"lists={lists} " + " ".join(f"{name}={count}" for name, count in counts.items()))


def attempt(client, operation, content):
    try:
        client.analytics(operation, content)
        return "accepted"
    except (Refused, Failed) as fault:
        if any(each in str(fault) for each in FULL):
            return "full"
        if isinstance(fault, Refused):
            return "refused"
        nothing = fault
    except NoAnswer as silence:
        nothing = silence
    print(f"{operation}: {nothing}", file=sys.stderr)
    return "none"


if __name__ == "__main__":
    main()
