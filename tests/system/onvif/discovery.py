"""Clients find the camera on a real multicast link: a pair of interfaces between two network namespaces."""
import ctypes
import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import threading
import unittest
import urllib.parse
import uuid

import kit
import npm_clients

GROUP = "239.255.255.250"
PORT = 3702
CAMERA = "10.77.0.1"
CLIENT = "10.77.0.2"
STRANGER = "192.0.2.5"  # reaches the camera's link and gets its answers, but has no address of its network
LONG_GROUP = "ff02::c"
LONG_CAMERA = "fd77::1"
LONG_CLIENT = "fd77::2"
LONG_STRANGER = "2001:db8::5"
WSD = "http://schemas.xmlsoap.org/ws/2005/04/discovery"
WSA = "http://schemas.xmlsoap.org/ws/2004/08/addressing"
CLONE_NEWNET = 0x40000000


def ip(*words, check=True):
    done = subprocess.run(["ip", *words], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=kit.PATIENCE, check=False)
    if check and done.returncode != 0:
        raise AssertionError(f"ip {' '.join(words)}: {done.stderr}")
    return done


class Network:
    """A camera's place and a client's, each with one end of a link."""

    def __init__(self):
        if not shutil.which("ip"):
            kit.skip("ip, of the package iproute2, is not installed")
        self.names = {"camera": f"camera-{os.getpid()}", "client": f"client-{os.getpid()}"}
        made = ip("netns", "add", self.names["camera"], check=False)
        if made.returncode != 0:
            kit.skip(f"there is no right to make a network namespace: {made.stderr.strip()}")
        ip("netns", "add", self.names["client"])
        self.connect()

    def connect(self):
        camera, client = self.names["camera"], self.names["client"]
        made = ip("link", "add", "link0", "netns", camera, "type", "veth", "peer", "name", "link0", "netns", client, check=False)
        if made.returncode != 0:
            self.remove()
            kit.skip(f"there is no right to make a network link: {made.stderr.strip()}")
        ip("-n", camera, "addr", "add", f"{CAMERA}/24", "dev", "link0")
        ip("-n", client, "addr", "add", f"{CLIENT}/24", "dev", "link0")
        ip("-n", client, "addr", "add", f"{STRANGER}/32", "dev", "link0")
        self.has_ipv6 = pathlib.Path("/proc/sys/net/ipv6").exists()
        if self.has_ipv6:
            # Without the second in which an address is tried and cannot send.
            ip("-n", camera, "addr", "add", f"{LONG_CAMERA}/64", "dev", "link0", "nodad")
            ip("-n", client, "addr", "add", f"{LONG_CLIENT}/64", "dev", "link0", "nodad")
            ip("-n", client, "addr", "add", f"{LONG_STRANGER}/128", "dev", "link0", "nodad")
        for name in (camera, client):
            ip("-n", name, "link", "set", "lo", "up")
            ip("-n", name, "link", "set", "link0", "up")
        ip("-n", camera, "route", "add", "192.0.2.0/24", "dev", "link0")
        if self.has_ipv6:
            ip("-n", camera, "route", "add", "2001:db8::/32", "dev", "link0")
        ip("-n", client, "route", "add", "default", "via", CAMERA, "src", CLIENT)

    def disconnect(self):
        ip("-n", self.names["camera"], "link", "del", "link0")

    def remove(self):
        for name in self.names.values():
            ip("netns", "del", name, check=False)

    def index(self, place):
        """The number of the link there."""
        return json.loads(ip("-n", self.names[place], "-json", "link", "show", "link0").stdout)[0]["ifindex"]

    def socket(self, place, kind, family=socket.AF_INET):
        """One that is there, whatever the network of this process is."""
        made = []

        def make():
            with open(f"/run/netns/{self.names[place]}", "rb") as namespace:
                if ctypes.CDLL(None, use_errno=True).setns(namespace.fileno(), CLONE_NEWNET) == 0:
                    made.append(socket.socket(family, kind))

        thread = threading.Thread(target=make)  # only this thread goes there
        thread.start()
        thread.join()
        if not made:
            raise AssertionError("a thread cannot enter the network namespace")
        made[0].settimeout(kit.PATIENCE)
        return made[0]


class Asking:
    """Sends probes, and gets what is answered to them."""

    group = (GROUP, PORT)

    def __init__(self, network, address=CLIENT):
        self.socket = network.socket("client", socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(CLIENT))
        self.socket.bind((address, 0))

    def send(self, types="dn:NetworkVideoTransmitter"):
        return self.ask(f"<d:Probe><d:Types>{types}</d:Types></d:Probe>")

    def resolve(self, urn):
        return self.ask(f"<d:Resolve><a:EndpointReference><a:Address>{urn}</a:Address></a:EndpointReference></d:Resolve>")

    def ask(self, content):
        """Sends a question, and gives its number."""
        number = f"urn:uuid:{uuid.uuid4()}"
        text = (
            f'<s:Envelope xmlns:s="{kit.SOAP}" xmlns:a="{WSA}" xmlns:d="{WSD}" '
            f'xmlns:dn="http://www.onvif.org/ver10/network/wsdl"><s:Header><a:MessageID>{number}</a:MessageID></s:Header>'
            f"<s:Body>{content}</s:Body></s:Envelope>"
        )
        self.socket.sendto(text.encode(), self.group)
        return number

    def answer(self):
        return self.socket.recv(65536).decode()

    def close(self):
        self.socket.close()


class LongAsking(Asking):
    """The same by IPv6."""

    def __init__(self, network, address=LONG_CLIENT):
        link = network.index("client")
        self.group = (LONG_GROUP, PORT, 0, link)
        self.socket = network.socket("client", socket.SOCK_DGRAM, socket.AF_INET6)
        self.socket.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, link)
        self.socket.bind(socket.getaddrinfo(address, 0, socket.AF_INET6, socket.SOCK_DGRAM, flags=socket.AI_NUMERICHOST)[0][4])


class Hearing:
    """Hears what is sent to all."""

    def __init__(self, network):
        self.open(network)
        self.heard = []
        self.ids = set()

    def open(self, network):
        self.socket = network.socket("client", socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.bind((GROUP, PORT))
        self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, struct.pack("=4s4s", socket.inet_aton(GROUP),
                                                                                      socket.inet_aton(CLIENT)))  # fmt: skip

    def next(self, action):
        """The next message that is one. What is sent again is heard once."""
        while True:
            text = self.socket.recv(65536).decode()
            number = re.search("MessageID>([^<]*)<", text).group(1)
            if number in self.ids:
                continue
            self.ids.add(number)
            self.heard.append(text)
            if f"{WSD}/{action}<" in text:
                return text

    def close(self):
        self.socket.close()


class LongHearing(Hearing):
    """The same by IPv6."""

    def open(self, network):
        link = network.index("client")
        self.socket = network.socket("client", socket.SOCK_DGRAM, socket.AF_INET6)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.bind((LONG_GROUP, PORT, 0, link))
        self.socket.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_JOIN_GROUP,
                               socket.inet_pton(socket.AF_INET6, LONG_GROUP) + struct.pack("@I", link))  # fmt: skip


class PlacedCamera(kit.VirtualCamera):
    def __init__(self, network, *arguments):
        self.network = network
        super().__init__(*arguments)

    def prefix(self):
        return ["ip", "netns", "exec", self.network.names["camera"]]

    def ask(self, operation):
        """The answer to an administrator, over the network."""
        body = (
            f'<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope"><s:Header>{kit.token(kit.ADMINISTRATOR)}</s:Header>'
            f"<s:Body>{operation}</s:Body></s:Envelope>"
        )
        there = urllib.parse.urlparse(self.address)
        connection = http.client.HTTPConnection(there.netloc)
        family = socket.AF_INET6 if ":" in there.hostname else socket.AF_INET
        connection.sock = self.network.socket("client", socket.SOCK_STREAM, family)
        connection.sock.connect((there.hostname, there.port))
        connection.request("POST", "/onvif/device_service", body)
        answer = connection.getresponse()
        text = answer.read().decode()
        connection.close()
        if answer.status != 200:
            raise AssertionError(text)
        return text


class Discovery(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.network = Network()
        cls.addClassCleanup(cls.network.remove)

    def camera(self, *arguments, bind="0.0.0.0"):
        camera = PlacedCamera(self.network, "--bind", bind, *arguments)
        self.addCleanup(camera.remove)
        return camera

    def hearing(self, kind=Hearing):
        hearing = kind(self.network)
        self.addCleanup(hearing.close)
        return hearing

    def asking(self, *address, kind=Asking):
        asking = kind(self.network, *address)
        self.addCleanup(asking.close)
        return asking

    def test_clients_of_npm_find_the_camera(self):
        folder = npm_clients.installed()
        hearing = self.hearing()
        camera = self.camera()
        urn = re.search(r"urn:uuid:[-0-9a-f]+(?=</wsa:Address>)", hearing.next("Hello")).group(0)
        for client in npm_clients.NpmClients.CLIENTS:
            done = subprocess.run(["ip", "netns", "exec", self.network.names["client"], "node", str(kit.HERE / "discover.js"), client],
                                  cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=kit.PATIENCE,
                                  check=False)  # fmt: skip
            self.assertEqual(done.returncode, 0, done.stderr)
            found = json.loads(done.stdout)
            self.assertEqual([each["urn"] for each in found], [urn], client)
            self.assertEqual(found[0]["addresses"], [camera.address + "/onvif/device_service"])
            self.assertIn("onvif://www.onvif.org/type/Network_Video_Transmitter", found[0]["scopes"])
        self.assertTrue(camera.address.startswith(f"http://{CAMERA}:"))

    def test_it_comes_changes_hides_and_goes(self):
        hearing = self.hearing()
        camera = self.camera()
        self.assertIn(camera.address + "/onvif/device_service</wsd:XAddrs>", hearing.next("Hello"))
        camera.ask("<tds:SetScopes><tds:Scopes>onvif://www.onvif.org/name/Door</tds:Scopes></tds:SetScopes>")
        self.assertIn("onvif://www.onvif.org/name/Door</wsd:Scopes>", hearing.next("Hello"))
        camera.ask("<tds:AddScopes><tds:ScopeItem>onvif://www.onvif.org/location/yard</tds:ScopeItem></tds:AddScopes>")
        self.assertIn("onvif://www.onvif.org/location/yard</wsd:Scopes>", hearing.next("Hello"))
        camera.ask("<tds:SetHostname><tds:Name>other</tds:Name></tds:SetHostname>")  # is not told
        camera.ask("<tds:SetDiscoveryMode><tds:DiscoveryMode>NonDiscoverable</tds:DiscoveryMode></tds:SetDiscoveryMode>")
        hearing.heard.clear()
        hearing.next("Bye")
        self.assertEqual(len(hearing.heard), 1, hearing.heard)
        asking = self.asking()
        asking.send()
        self.assertIn("NonDiscoverable", camera.ask("<tds:GetDiscoveryMode/>"))
        camera.ask("<tds:SetDiscoveryMode><tds:DiscoveryMode>Discoverable</tds:DiscoveryMode></tds:SetDiscoveryMode>")
        hearing.next("Hello")
        number = asking.send()
        self.assertIn(f"RelatesTo>{number}<", asking.answer())
        camera.stop()
        hearing.next("Bye")

    def test_only_those_of_its_network_are_answered(self):
        hearing = self.hearing()
        self.camera()
        urn = re.search(r"urn:uuid:[-0-9a-f]+(?=</wsa:Address>)", hearing.next("Hello")).group(0)
        stranger = self.asking(STRANGER)
        asking = self.asking()
        stranger.resolve(urn)
        asking.resolve(urn[:-1])
        number = asking.resolve(urn)  # answered at once, and after those before it
        self.assertIn(f"RelatesTo>{number}<", asking.answer())
        stranger.socket.setblocking(False)
        self.assertRaises(BlockingIOError, stranger.answer)

    def need_ipv6(self):
        if not self.network.has_ipv6:
            self.skipTest("this computer has no IPv6")

    def test_clients_of_both_families_find_the_camera(self):
        self.need_ipv6()
        short, long = self.hearing(), self.hearing(LongHearing)
        camera = self.camera(bind="::")
        service = f"http://[{LONG_CAMERA}]:{urllib.parse.urlparse(camera.address).port}/onvif/device_service"
        hello = long.next("Hello")
        urn = re.search(r"urn:uuid:[-0-9a-f]+(?=</wsa:Address>)", hello).group(0)
        self.assertIn(service, hello)
        self.assertIn(f"http://{CAMERA}:", short.next("Hello"))
        asking, stranger = self.asking(kind=LongAsking), self.asking(LONG_STRANGER, kind=LongAsking)
        stranger.resolve(urn)
        number = asking.resolve(urn)
        answer = asking.answer()
        self.assertIn(f"RelatesTo>{number}<", answer)
        self.assertIn(f">{service}<", answer)
        number = asking.send()
        self.assertIn(f"RelatesTo>{number}<", asking.answer())
        stranger.socket.setblocking(False)
        self.assertRaises(BlockingIOError, stranger.answer)
        camera.address = service.rsplit("/onvif", 1)[0]
        camera.ask("<tds:SetScopes><tds:Scopes>onvif://www.onvif.org/name/Door</tds:Scopes></tds:SetScopes>")
        self.assertIn("onvif://www.onvif.org/name/Door</wsd:Scopes>", long.next("Hello"))
        camera.stop()
        long.next("Bye")
        short.next("Bye")

    def test_an_address_of_ipv6_is_told_by_ipv6_only(self):
        self.need_ipv6()
        short, long = self.hearing(), self.hearing(LongHearing)
        camera = self.camera(bind=LONG_CAMERA)
        self.assertTrue(camera.address.startswith(f"http://[{LONG_CAMERA}]:"), camera.address)
        self.assertIn(f">{camera.address}/onvif/device_service<", long.next("Hello"))
        # Of a client that has an address of the link only, which reaches no other network.
        asking = self.asking(self.address_of_the_link("client"), kind=LongAsking)
        number = asking.send()
        answer = asking.answer()
        self.assertIn(f"RelatesTo>{number}<", answer)
        self.assertIn(f">{camera.address}/onvif/device_service<", answer)
        camera.stop()
        other = self.camera()
        self.assertIn(other.address, short.next("Hello"))
        self.assertEqual(len([each for each in short.heard if "Hello" in each]), 1)

    def address_of_the_link(self, place):
        def found():
            link = json.loads(ip("-n", self.network.names[place], "-6", "-json", "addr", "show", "link0").stdout)[0]
            return next((each["local"] for each in link["addr_info"] if each["scope"] == "link" and not each.get("tentative")), None)

        return f"{kit.eventually(found, 'an address of the link')}%{self.network.index(place)}"

    def test_a_link_that_goes_and_comes_hurts_nobody(self):
        hearing = self.hearing()
        camera = self.camera("--advertise-host", "camera.example")
        self.assertIn(">http://camera.example:", hearing.next("Hello"))
        self.network.disconnect()
        self.network.connect()
        hearing = self.hearing()
        self.assertIn(">http://camera.example:", hearing.next("Hello"))
        asking = self.asking()
        number = asking.send()
        self.assertIn(f"RelatesTo>{number}<", asking.answer())
        self.assertIn("NetworkVideoTransmitter", hearing.heard[0])
        self.assertIn("camera", camera.ask("<tds:GetHostname/>"))

    def test_a_gateway_that_dies_says_hello_again(self):
        hearing = self.hearing()
        camera = self.camera()
        hearing.next("Hello")
        os.kill(camera.processes()["camera-gateway"], signal.SIGKILL)
        hearing.next("Hello")

    def test_a_port_that_another_program_has_is_told_once(self):
        other = self.network.socket("camera", socket.SOCK_DGRAM)
        self.addCleanup(other.close)
        other.bind(("0.0.0.0", PORT))
        camera = self.camera()
        kit.eventually(lambda: "discovery cannot use the UDP port 3702" in camera.said(), "the line about the port")
        self.assertIn("camera", camera.ask("<tds:GetHostname/>"))
        hearing = self.hearing()
        other.close()
        hearing.next("Hello")
        self.assertEqual(camera.said().count("discovery cannot use"), 1)

    def test_without_it_nobody_finds_the_camera(self):
        hearing = self.hearing()
        hidden = self.camera("--no-discovery")
        asking = self.asking()
        asking.send()
        self.assertIn("camera", hidden.ask("<tds:GetHostname/>"))
        alone = PlacedCamera(self.network)
        self.addCleanup(alone.remove)
        self.assertIn("not found by discovery", alone.said())
        hidden.stop()
        alone.stop()
        found = self.camera()
        self.assertIn(found.address, hearing.next("Hello"))
        self.assertEqual([each for each in hearing.heard if "Probe" not in each], hearing.heard[-1:])
        number = asking.send()
        self.assertIn(f"RelatesTo>{number}<", asking.answer())


if __name__ == "__main__":
    unittest.main(verbosity=2)
