"""Subscriptions are created, renewed, ended, left to expire and abandoned. event_storm.py runs this.

Afterwards the camera has no more memory and descriptors than after the first quarter of them.
"""
import collections
import os
import pathlib
import random
import re
import socket
import threading
import urllib.parse

import follower
import kit
import soap
from soap import Refused

PULL_POINTS = 32  # of one user
SCENE = "scene:size=64x64,fps=5,frames=0,objects=1"
ITEM_FILTER = "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter"


class Consumer:
    """Takes connections and answers nothing; the oldest one ends when there are too many."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=256)
        self.address = "http://127.0.0.1:%d/" % self.listener.getsockname()[1]
        self.taken = collections.deque(maxlen=8)  # half of what a user may have
        threading.Thread(target=self.take, daemon=True).start()

    def take(self):
        while True:
            try:
                self.taken.append(self.listener.accept()[0])
            except OSError:
                return


class Lives:
    WORKERS = 4
    LOGINS = 17000  # more than the camera remembers of a user
    SHORT = "PT0.05S"
    GROWTH = 1024  # KiB: what an allocator moves between its pools
    CONNECTIONS = 16 + 16 + 8  # of one address, to the consumers of one user, and what is just being opened or closed

    def __init__(self, number, dice):
        self.number, self.dice = number, dice
        self.counts = collections.Counter()
        self.lock = threading.Lock()
        self.consumer = Consumer()
        self.failure = None
        self.gateway = None
        self.most = 0  # descriptors of the gateway
        self.camera = kit.VirtualCamera("--no-factory", *kit.PLACES, scene=SCENE)

    def run(self):
        try:
            self.gateway = self.camera.processes()["camera-gateway"]
            self.remember_logins()
            self.live(self.number // 4)
            before = self.settled()
            self.live(self.number - self.number // 4)
            after = self.settled(before)
            result = {"lives": self.number, **self.counts}
            for name, (kib, descriptors) in before.items():
                short = name.replace("camera-", "")
                result[f"{short}_kib"] = f"{kib}..{after[name][0]}"
                result[f"{short}_descriptors"] = f"{descriptors}..{after[name][1]}"
            result["gateway_most_descriptors"] = self.most
            if self.most > before["camera-gateway"][1] + self.CONNECTIONS:
                raise AssertionError(f"the gateway had {self.most} descriptors: {result}")
            grown = [name for name in before if after[name][0] > before[name][0] + self.GROWTH]
            if grown:
                raise AssertionError(f"{grown} grew: {result}")
            return result
        finally:
            self.camera.remove()

    def remember_logins(self):
        """The camera keeps so many logins of a user, that none comes twice: that memory is full before it is looked at."""
        client = soap.Client(self.camera)
        for _ in range(self.LOGINS):
            client.ask("device_service", "<tds:GetDiscoveryMode/>")
        client.close()

    def live(self, number):
        seeds = [self.dice.randrange(1 << 31) for _ in range(self.WORKERS)]
        workers = [threading.Thread(target=self.work, args=(random.Random(seed), number // self.WORKERS)) for seed in seeds]
        for each in workers:
            each.start()
        for each in workers:
            each.join()
        if self.failure:
            raise AssertionError(f"a client: {self.failure!r}; the camera said {self.camera.said()[-2000:]}")

    def work(self, dice, number):
        client = soap.Client(self.camera)
        kinds = {self.unsubscribed: 40, self.expired: 20, self.abandoned: 20, self.filtered: 10, self.refused: 5, self.pushed: 5}
        try:
            for done in range(number):
                if done % 20 == 0:
                    self.most = max(self.most, descriptors_of(self.gateway))
                kind = dice.choices(list(kinds), list(kinds.values()))[0]
                kind(client, dice)
                with self.lock:
                    self.counts[kind.__name__] += 1
                if self.failure:
                    return
        except Exception as error:  # the others end too
            self.failure = error
        client.close()

    def created(self, make):
        """A user has so many subscriptions at most: another one is there when one of those has ended."""

        def made():
            try:
                return make()
            except Refused as refusal:
                if "too many subscriptions" not in str(refusal):
                    raise
                return None

        return kit.eventually(made, "a place for a subscription")

    def use(self, client, address, dice):
        for _ in range(dice.randint(0, 3)):
            what = dice.randint(0, 2)
            if what == 0:
                follower.pull(client, address, 0)
            elif what == 1:
                client.ask(address, "<wsnt:Renew><wsnt:TerminationTime>PT60S</wsnt:TerminationTime></wsnt:Renew>")
            else:
                client.ask(address, "<tev:SetSynchronizationPoint/>")

    def unsubscribed(self, client, dice, filters=""):
        address = self.created(lambda: follower.create(client, filters, "PT60S"))
        self.use(client, address, dice)
        client.ask(address, "<wsnt:Unsubscribe/>")
        try:
            follower.pull(client, address, 0)
        except Refused:
            return
        raise AssertionError("a subscription was there after its end")

    def filtered(self, client, dice):
        item = f'<wsnt:MessageContent Dialect="{ITEM_FILTER}">boolean(//tt:SimpleItem[@Name="State"])</wsnt:MessageContent>'
        self.unsubscribed(client, dice, follower.OF_CELLS.replace("</tev:Filter>", item + "</tev:Filter>"))

    def expired(self, client, dice):
        address = self.created(lambda: follower.create(client, "", self.SHORT))
        if dice.random() < 0.5:
            try:
                client.ask(address, f"<wsnt:Renew><wsnt:TerminationTime>{self.SHORT}</wsnt:TerminationTime></wsnt:Renew>")
            except Refused:
                pass  # the client was slow

    def abandoned(self, client, dice):
        """The connection ends while a pull waits."""
        address = self.created(lambda: follower.create(client, follower.OF_CELLS, self.SHORT))
        client.send(urllib.parse.urlparse(address), soap.ENVELOPE.format(follower.PULL.format(60)).encode())
        client.close()

    def refused(self, client, dice):
        wrong = dice.choice([("<tev:Filter><wsnt:TopicExpression>tns1:Nothing</wsnt:TopicExpression></tev:Filter>", "PT60S"),
                             ("<tev:Filter><wsnt:Other/></tev:Filter>", "PT60S"), ("", "PT0S"), ("", "P2D")])  # fmt: skip
        try:
            follower.create(client, *wrong)
        except Refused:
            return
        raise AssertionError(f"{wrong} was taken")

    def pushed(self, client, dice):
        consumer = f"<wsnt:ConsumerReference><wsa:Address>{self.consumer.address}</wsa:Address></wsnt:ConsumerReference>"
        lasts = f"<wsnt:InitialTerminationTime>{self.SHORT}</wsnt:InitialTerminationTime>"
        subscribe = f"<wsnt:Subscribe>{consumer}{lasts}</wsnt:Subscribe>"
        self.created(lambda: client.ask("event_service", subscribe))

    def settled(self, before=None):
        """KiB and descriptors of the processes once all subscriptions have ended, and no message is under way."""
        client = soap.Client(self.camera)
        addresses = [self.created(lambda: follower.create(client)) for _ in range(PULL_POINTS)]
        for address in addresses:
            client.ask(address, "<wsnt:Unsubscribe/>")
        client.close()
        processes = {name: pid for name, pid in self.camera.processes().items() if name in ("camera-gateway", "camera-pipeline")}
        last = None

        def quiet():
            nonlocal last
            now = {name: descriptors_of(pid) for name, pid in processes.items()}
            same, last = now == last if before is None else all(now[name] <= before[name][1] for name in now), now
            return same and not self.consumer_is_busy()

        kit.eventually(quiet, f"as many descriptors as before, {before}")
        return {name: (memory_of(pid), descriptors_of(pid)) for name, pid in processes.items()}

    def consumer_is_busy(self):
        """Whether the camera still waits for its answer: it ends a connection on which nobody speaks."""
        for each in list(self.consumer.taken):
            each.setblocking(False)
            try:
                while each.recv(65536):
                    pass
            except BlockingIOError:
                return True
            except OSError:
                pass
        return False


def memory_of(pid):
    """KiB that the process has for itself."""
    return int(re.search(r"RssAnon:\s+(\d+)", pathlib.Path(f"/proc/{pid}/status").read_text(encoding="utf-8")).group(1))


def descriptors_of(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))
