"""Clients that reach the camera by IPv6: addresses in answers, subscriptions, consumers, and the limits of connections."""
import contextlib
import datetime
import re
import shutil
import socket
import subprocess
import unittest
import urllib.parse

import kit
from event_cases import Consumer, topics_of
from zeep_client import subcodes, with_digest, with_token, zeep

FROM_ONE_ADDRESS = 16  # connections
QUESTION = (
    f'<s:Envelope xmlns:s="{kit.SOAP}"><s:Body><GetServices xmlns="http://www.onvif.org/ver10/device/wsdl">'
    "<IncludeCapability>false</IncludeCapability></GetServices></s:Body></s:Envelope>"
)


def port_of(camera):
    return urllib.parse.urlparse(camera.address).port


class OneCamera(unittest.TestCase):
    BIND = "::1"

    @classmethod
    def setUpClass(cls):
        try:
            with socket.socket(socket.AF_INET6) as tried:
                tried.bind(("::1", 0))
        except OSError as error:
            kit.skip(f"this computer has no IPv6: {error}")
        cls.camera = kit.VirtualCamera("--bind", cls.BIND, *cls.more())
        cls.addClassCleanup(cls.camera.remove)

    @classmethod
    def more(cls):
        return ("--no-discovery",)

    def addresses(self, client):
        services = client.device.GetServices(IncludeCapability=False)
        self.assertGreater(len(services), 5)
        return {re.match("(.*)/onvif/", each.XAddr).group(1) for each in services}

    def subscription(self, client):
        """The address of a pull point that works."""
        made = client.events.CreatePullPointSubscription()
        address = made.SubscriptionReference.Address._value_1
        answer = client.at("pullpoint", address).PullMessages(Timeout=datetime.timedelta(minutes=1), MessageLimit=10)
        self.assertTrue(answer.NotificationMessage)
        client.at("manager", address).Unsubscribe()
        return address


class ByIpv6(OneCamera):
    def test_the_start_tells_an_address_with_brackets(self):
        self.assertRegex(self.camera.address, r"^http://\[::1\]:\d+$")

    def test_zeep_gets_addresses_by_which_it_came(self):
        for login in (with_digest, with_token):
            client = login(self.camera.address, kit.OPERATOR)
            self.assertEqual(self.addresses(client), {self.camera.address})
            self.assertTrue(self.subscription(client).startswith(f"{self.camera.address}/onvif/"))

    def test_curl_gets_addresses_by_which_it_came(self):
        if not shutil.which("curl"):
            self.skipTest("curl is not installed")
        done = subprocess.run(["curl", "-sSg", "--max-time", str(kit.PATIENCE), "-d", QUESTION, f"{self.camera.address}/onvif/device_service"],
                              capture_output=True, text=True, timeout=kit.PATIENCE, check=False)  # fmt: skip
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(f"<tds:XAddr>{self.camera.address}/onvif/device_service</tds:XAddr>", done.stdout)

    def test_messages_are_pushed_to_a_consumer_at_the_address_of_its_client(self):
        producer = with_digest(self.camera.address, kit.OPERATOR).producer
        consumer = Consumer("::1")
        self.addCleanup(consumer.close)
        producer.Subscribe(ConsumerReference={"Address": consumer.address})
        self.assertTrue(topics_of([consumer.next()])[0].startswith("tns1:"))
        with self.assertRaises(zeep.exceptions.Fault) as raised:
            producer.Subscribe(ConsumerReference={"Address": f"http://127.0.0.1:{port_of(self.camera)}/"})
        self.assertEqual(subcodes(raised.exception), ["SubscribeCreationFailedFault"])


class ByBoth(OneCamera):
    BIND = "::"

    def at(self, host):
        return f"http://{host}:{port_of(self.camera)}"

    def test_each_client_gets_addresses_by_which_it_came(self):
        for host in ("[::1]", "127.0.0.1", "localhost"):
            client = with_digest(self.at(host), kit.OPERATOR)
            self.assertEqual(self.addresses(client), {self.at(host)})
            self.subscription(client)

    def test_who_does_not_say_where_gets_the_address_of_its_connection(self):
        for family, host in ((socket.AF_INET6, "::1"), (socket.AF_INET, "127.0.0.1")):
            with socket.socket(family) as client:
                client.settimeout(kit.PATIENCE)
                client.connect((host, port_of(self.camera)))
                client.sendall(f"POST /onvif/device_service HTTP/1.0\r\nContent-Length: {len(QUESTION)}\r\n\r\n{QUESTION}".encode())
                answer = b""
                while more := client.recv(65536):
                    answer += more
            named = f"[{host}]" if ":" in host else host
            self.assertIn(f"<tds:XAddr>{self.at(named)}/onvif/device_service<", answer.decode())

    def test_a_consumer_of_ipv4_is_at_the_address_of_its_client(self):
        consumer = Consumer()
        self.addCleanup(consumer.close)
        with_digest(self.at("127.0.0.1"), kit.OPERATOR).producer.Subscribe(ConsumerReference={"Address": consumer.address})
        self.assertTrue(consumer.next())

    def test_an_address_has_so_many_connections_whatever_its_family(self):
        with contextlib.ExitStack() as kept:
            for family, host, other in ((socket.AF_INET6, "::1", "127.0.0.1"), (socket.AF_INET, "127.0.0.1", None)):
                for _ in range(FROM_ONE_ADDRESS):
                    client = kept.enter_context(socket.socket(family))
                    client.settimeout(kit.PATIENCE)
                    client.connect((host, port_of(self.camera)))
                    client.sendall(b"GET / HTTP/1.1\r\nHost: camera\r\n\r\n")
                    self.assertTrue(client.recv(65536).startswith(b"HTTP/1.1 404"))
                with socket.socket(family) as late:
                    late.settimeout(kit.PATIENCE)
                    late.connect((host, port_of(self.camera)))
                    self.assertEqual(late.recv(1), b"", "it is closed")
                if other:
                    self.assertEqual(self.addresses(with_digest(self.at(other), kit.OPERATOR)), {self.at(other)})


if __name__ == "__main__":
    unittest.main(verbosity=2)
