"""Twenty subscribers and more events than a slow one takes; and processes that stand still. event_storm.py runs this.

What subscribers are told is compared with what was on the camera's bus, event by event, and what they miss with the log.
"""
import collections
import os
import pathlib
import re
import signal
import threading

import follower
import kit
import soap
import storm
from soap import Failed

QUEUE = 1000  # messages that wait for one subscriber
COUNTS = range(1, 101)  # of moving cells, a rule for each
NAMED = "at"  # how the names of these rules begin
SCENE = "scene:size=320x180,fps=120,frames=0,objects=6,noise=2,speed=0.5"
CONFIGURATION = f"<tan:ConfigurationToken>{kit.TOKEN}</tan:ConfigurationToken>"


class Counting:
    """A camera whose rules count moving cells, so that some of them change with almost every frame."""

    def __init__(self, *arguments):
        self.camera = kit.VirtualCamera("--no-factory", "-v", *arguments, scene=SCENE)
        self.client = storm.Client(self.camera)
        self.bus = self.followers = self.process = None
        self.probed = False

    def begin(self, subscribers, process):
        self.bus = follower.on_the_bus(self.camera, follower.CELLS, NAMED)
        # The camera takes 16 connections from one address.
        places = [f"127.0.0.{number // 8 + 2}" for number in range(subscribers)]
        self.followers = [follower.Follower(self.camera, follower.OF_CELLS, place) for place in places]
        self.process = follower.in_a_process(self.camera, follower.OF_CELLS, NAMED) if process else None
        module = '<tan:AnalyticsModule Name="cells" Type="tt:CellMotionEngine"><tt:Parameters/></tan:AnalyticsModule>'
        self.client.analytics("CreateAnalyticsModules", module)
        kit.eventually(self.bus_is_heard, "an event on the bus")
        self.client.analytics("CreateRules", "".join(self.rule(f"{NAMED}{count}", count) for count in COUNTS))

    @staticmethod
    def rule(name, count):
        items = "".join(f'<tt:SimpleItem Name="{item}" Value="{value}"/>'
                        for item, value in (("MinCount", count), ("AlarmOnDelay", 0), ("AlarmOffDelay", 0)))  # fmt: skip
        return f'<tan:Rule Name="{name}" Type="tt:CellMotionDetector"><tt:Parameters>{items}</tt:Parameters></tan:Rule>'

    def bus_is_heard(self):
        """Whether the program on the bus, which takes a moment to begin, has heard of a rule that comes and goes."""
        if self.probed:
            self.client.analytics("DeleteRules", "<tan:RuleName>probe</tan:RuleName>")
        else:
            self.client.analytics("CreateRules", self.rule("probe", 1))
        self.probed = not self.probed
        return self.bus.others

    def wait_for_more(self, count):
        """Until so many more events were on the bus."""
        wanted = len(self.bus.events) + count
        kit.eventually(lambda: len(self.bus.events) >= wanted, f"{count} more events")

    def finish(self):
        """Deletes the rules, and waits until all have the last event. @return how many events there were, and all gaps."""
        names = [f"{NAMED}{count}" for count in COUNTS]
        self.client.analytics("DeleteRules", "".join(f"<tan:RuleName>{name}</tan:RuleName>" for name in names))
        kit.eventually(self.all_are_deleted, "the end of all properties")
        everything = list(self.bus.events)
        for each in self.followers:
            each.wait(lambda one=each: everything[-1] in map(follower.told, one.events[-10:]), "the last event")
        seen = [[event for event in map(follower.told, each.events) if event[2].startswith(NAMED)] for each in self.followers]
        if self.process:
            kit.eventually(lambda: self.process.events[-1:] == everything[-1:], "the last event of the process")
            seen.append(list(self.process.events))
        gaps = [gap for each in seen for gap in gaps_of(each, everything)]
        logged = [int(number) for number in re.findall(r"lost its (\d+) oldest messages", self.camera.said())]
        if sorted(gaps) != sorted(logged):
            raise AssertionError(f"subscribers miss {sorted(gaps)} events, the log tells {sorted(logged)}")
        return {"events": len(everything), "subscribers": len(seen), "taken": sum(map(len, seen)), "gaps": len(gaps),
                "dropped": sum(gaps)}  # fmt: skip

    def all_are_deleted(self):
        last = {rule: operation for _, operation, rule, _ in list(self.bus.events)}
        return last and all(operation == "Deleted" for operation in last.values())

    def end(self):
        for each in self.followers or []:
            each.ended.set()
        for each in (self.bus, self.process):
            if each:
                each.end()
        self.camera.remove()


def gaps_of(seen, everything):
    """How many events are missing at each place where some are. The others are there once and in order."""
    gaps = []
    place = 0
    for event in seen:
        try:
            found = everything.index(event, place)
        except ValueError:
            raise AssertionError(f"{event} was told twice, too late, or never on the bus")
        if found > place:
            gaps.append(found - place)
        place = found + 1
    return gaps


def stands(pid):
    """Whether each thread of the process is stopped: the signal takes a moment to reach them."""
    threads = [path.read_text(encoding="utf-8") for path in pathlib.Path(f"/proc/{pid}/task").glob("*/stat")]
    return all(text.rsplit(")", 1)[1].split()[0] == "T" for text in threads)


def order(messages, dice):
    counting = Counting()
    try:
        counting.begin(20, process=False)
        slow = dice.sample(counting.followers, 4)
        for each in slow:
            counting.wait_for_more(dice.randint(1, 100))
            each.pause()
        for each in dice.sample(slow, len(slow)):
            counting.wait_for_more(dice.randint(QUEUE // 4, QUEUE))
            each.go_on()
        kit.eventually(lambda: len(counting.bus.events) >= messages, f"{messages} events")
        return counting.finish()
    finally:
        counting.end()


class Stops:
    NEEDS = {
        "camera-pipeline": ("analytics_service", f"<tan:GetRules>{CONFIGURATION}</tan:GetRules>"),
        "camera-services": ("media2_service", "<tr2:GetMasks/>"),
    }

    def __init__(self, rounds, dice):
        self.rounds, self.dice = rounds, dice
        self.failure = self.counting = None
        self.counts = collections.Counter()

    def run(self):
        self.counting = Counting()
        try:
            self.counting.begin(4, process=True)
            for number in range(self.rounds):
                what = ["subscriber", "camera-pipeline", "camera-services"][number % 3]
                self.counting.wait_for_more(self.dice.randint(1, 100))
                self.stop(what)
                self.counts[what.replace("camera-", "")] += 1
            return {"rounds": self.rounds, **self.counts, **self.counting.finish()}
        finally:
            self.counting.end()

    def stop(self, what):
        pid = self.counting.process.process.pid if what == "subscriber" else self.counting.camera.processes()[what]
        os.kill(pid, signal.SIGSTOP)
        kit.eventually(lambda: stands(pid), f"{what} standing still")
        try:
            if what == "subscriber":
                self.counting.wait_for_more(self.dice.choice([10, 200, 2 * QUEUE]))
            else:
                self.neighbours_go_on(what)
        finally:
            os.kill(pid, signal.SIGCONT)
        if what != "subscriber":
            kit.eventually(lambda: self.answers(what), f"an answer of {what}, which goes on")

    def neighbours_go_on(self, what):
        """Who needs the process has a fault; everybody else is served while it stands."""
        asked = [threading.Thread(target=self.has_a_fault, args=(what,)) for _ in range(3)]
        for each in asked:
            each.start()
        client = soap.Client(self.counting.camera)
        for _ in range(20):
            address = follower.create(client)
            if not follower.pull(client, address):
                raise AssertionError("a pull point does not begin with what is live")
            client.ask("device_service", "<tds:GetDeviceInformation/>")
            client.ask(address, "<wsnt:Unsubscribe/>")
            self.counts["served"] += 4
        client.close()
        if what == "camera-services":
            for each in self.counting.followers:
                each.wait(lambda one=each, many=len(each.events): len(one.events) >= many + 20, "an event without services")
        for each in asked:
            each.join(kit.PATIENCE)
        if self.failure or any(each.is_alive() for each in asked):
            raise AssertionError(self.failure or f"a request that needs {what} has no answer while that is stopped")

    def has_a_fault(self, what):
        client = soap.Client(self.counting.camera)
        try:
            client.ask(*self.NEEDS[what])
            self.failure = f"a request that needs {what} has an answer while that is stopped"
        except Failed:
            self.counts["faults"] += 1
        client.close()

    def answers(self, what):
        try:
            return self.counting.client.ask(*self.NEEDS[what]) is not None
        except Failed:
            return False
