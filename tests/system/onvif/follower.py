"""Follows the events of a camera: over pull points as any client does, and on its bus, which has them before the gateway.

    follower.py ADDRESS USER PASSWORD    pulls from the subscription at that address and prints each event as a line of JSON
"""
import json
import os
import signal
import subprocess
import sys
import threading

import kit
import soap

PULL = "<tev:PullMessages><tev:Timeout>PT{}S</tev:Timeout><tev:MessageLimit>250</tev:MessageLimit></tev:PullMessages>"
PULL_SECONDS = 10
CELLS = "tns1:RuleEngine/CellMotionDetector/Motion"
CONCRETE_SET = "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet"
OF_CELLS = f'<tev:Filter><wsnt:TopicExpression Dialect="{CONCRETE_SET}">{CELLS}</wsnt:TopicExpression></tev:Filter>'


def create(client, filters="", lasts="PT1H"):
    """The address of a new pull point."""
    made = client.ask("event_service", f"<tev:CreatePullPointSubscription>{filters}<tev:InitialTerminationTime>{lasts}"
                      "</tev:InitialTerminationTime></tev:CreatePullPointSubscription>")  # fmt: skip
    return made.findtext(f".//{{{kit.WSA}}}Address")


def pull(client, address, seconds=PULL_SECONDS):
    return soap.events_in(client.ask(address, PULL.format(seconds)))


class Follower:
    """Has a pull point and takes its messages on a thread of its own."""

    def __init__(self, camera, filters="", local="127.0.0.1"):
        self.filters = filters
        self.client = soap.Client(camera, local=local)
        self.events = []
        self.failure = None
        self.changed = threading.Condition()
        self.going = threading.Event()
        self.going.set()
        self.ended = threading.Event()
        self.address = create(self.client, filters)
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        try:
            while not self.ended.is_set():
                self.going.wait()
                self.round()
        except Exception as error:  # whatever it is, whoever waits is told
            with self.changed:
                self.failure = error
                self.changed.notify_all()

    def round(self):
        taken = pull(self.client, self.address)
        with self.changed:
            for event in taken:
                self.take(event)
            self.changed.notify_all()

    def take(self, event):
        self.events.append(event)

    def pause(self):
        """Takes nothing any more, apart from the messages of a pull that waits."""
        self.going.clear()

    def go_on(self):
        self.going.set()

    def wait(self, condition, what):
        """Waits until the condition holds, which may look at what was taken."""
        with self.changed:
            if not self.changed.wait_for(lambda: self.failure or condition(), kit.PATIENCE) or self.failure:
                raise AssertionError(f"a subscriber: {what} did not come: {self.failure}; the last is {self.events[-1:]}")

    def end(self):
        """Ends the subscription, which ends a pull that waits."""
        self.ended.set()
        self.going.set()
        other = soap.Client(self.client.camera)
        try:
            other.ask(self.address, "<wsnt:Unsubscribe/>")
        except (soap.Refused, soap.Failed, soap.NoAnswer):
            pass  # it has ended by itself
        other.close()
        self.thread.join(kit.PATIENCE)
        self.client.close()


class Lines:
    """A program that prints one event a line. An event is a tuple: time, operation, rule, and whether it is true."""

    def __init__(self, command, environment, take, named):
        """`named` is how the names of the rules begin that are kept."""
        self.events = []
        self.others = 0
        self.process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
        self.thread = threading.Thread(target=self.read, args=(take, named), daemon=True)
        self.thread.start()

    def read(self, take, named):
        for line in self.process.stdout:
            found = take(json.loads(line))
            if found and found[2].startswith(named):
                self.events.append(found)
            else:
                self.others += 1

    def end(self):
        self.process.send_signal(signal.SIGCONT)
        self.process.kill()
        self.process.wait()
        self.thread.join(kit.PATIENCE)
        self.process.stdout.close()


def on_the_bus(camera, topic, named):
    """What the pipeline tells on the bus of this topic."""

    def take(line):
        return (same_time(line["time"]), line["operation"], line["rule"], line["state"]) if line.get("topic") == topic else None

    command = [os.environ["CAMERA_PROGRAM"], "events", "--json", "--camera", str(camera.folder / "state")]
    return Lines(command, camera.environment(), take, named)


def in_a_process(camera, filters, named):
    """A subscriber with a process of its own."""
    client = soap.Client(camera)
    command = [sys.executable, "-B", __file__, create(client, filters), *kit.OPERATOR]
    client.close()
    return Lines(command, None, tuple, named)


def told(event):
    """As a tuple like those of Lines."""
    return (same_time(event.time), event.operation, event.source[-1][1], event.is_true())


def same_time(text):
    """Clients are told the beginning of a second without its fraction, programs on the bus with it."""
    return text.replace(".000Z", "Z")


def main():
    address, *who = sys.argv[1:]
    client = soap.Client(None, tuple(who))
    while True:
        for event in pull(client, address):
            print(json.dumps(told(event)), flush=True)


if __name__ == "__main__":
    main()
