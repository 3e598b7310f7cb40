"""Asks a camera the SOAP way with Python's own HTTP client: fast enough for a hundred thousand requests.

Requests are written by hand as real clients write them; answers are taken apart by their names.
"""
import hashlib
import http.client
import os
import re
import select
import urllib.parse
import xml.etree.ElementTree as ElementTree

import kit

NAMESPACES = {
    "s": kit.SOAP, "tt": kit.TT, "tan": kit.TAN, "axt": kit.AXT, "wsnt": kit.WSNT, "vca": kit.VCA, "tev": kit.TEV, "wsa": kit.WSA,
    "tds": "http://www.onvif.org/ver10/device/wsdl", "tr2": "http://www.onvif.org/ver20/media/wsdl",
    "tptz": "http://www.onvif.org/ver20/ptz/wsdl", "tns1": "http://www.onvif.org/ver10/topics",
}  # fmt: skip
ENVELOPE = (
    "<s:Envelope " + " ".join(f'xmlns:{prefix}="{uri}"' for prefix, uri in NAMESPACES.items()) + "><s:Body>{}</s:Body></s:Envelope>"
)


class Refused(Exception):
    """A fault that says that the request was wrong."""


class Failed(Exception):
    """A fault that says that the camera could not."""


class NoAnswer(Exception):
    """The connection ended instead."""


class Client:
    """One user with one connection, which stays open as long as both sides like. For one thread."""

    def __init__(self, camera, who=kit.OPERATOR, local="127.0.0.1"):
        """`local` is the address of the client: the camera takes so many connections from one."""
        self.camera = camera
        self.user, self.password = who
        self.local = local
        self.connection = self.place = self.challenge = None
        self.count = 0

    def ask(self, where, content):
        """What the camera answers; `where` is the name of a service, or the address of a subscription."""
        address = where if "://" in where else f"{self.camera.address}/onvif/{where}"
        status, text = self.exchange(urllib.parse.urlparse(address), ENVELOPE.format(content).encode())
        body = ElementTree.fromstring(text)
        if status == 200:
            return body
        fault = body.find(f".//{{{kit.SOAP}}}Fault")
        words = " ".join(each.text.strip() for each in fault.iter() if each.text and each.text.strip())
        raise (Refused if "Sender" in words.split()[0] else Failed)(words)

    def exchange(self, address, message):
        for _ in range(3):  # without a nonce, with one that is too old, with a good one
            self.send(address, message)
            answer, text = self.receive()
            if answer.status != 401:
                return answer.status, text
            self.challenge = dict(re.findall(r'(\w+)="?([^",]+)"?', answer.headers.get_all("WWW-Authenticate")[0]))
            self.count = 0
        raise Refused("the password was not taken")

    def send(self, address, message):
        """Sends a request whose answer receive() takes, or nobody."""
        if self.connection and (self.place != address.netloc or self.has_ended()):
            self.close()
        if not self.connection:
            self.place = address.netloc
            self.connection = http.client.HTTPConnection(address.netloc, timeout=kit.PATIENCE, source_address=(self.local, 0))
        headers = {"Content-Type": "application/soap+xml; charset=utf-8"}
        if self.challenge:
            headers["Authorization"] = self.authorization(address.path)
        try:
            self.connection.request("POST", address.path, message, headers)
        except OSError as error:
            self.close()
            raise NoAnswer(str(error)) from error

    def receive(self):
        try:
            answer = self.connection.getresponse()
            return answer, answer.read()
        except (OSError, http.client.HTTPException) as error:
            self.close()
            raise NoAnswer(str(error)) from error

    def has_ended(self):
        """Whether the other side has closed a connection on which it owes nothing."""
        socket = self.connection.sock
        return socket is None or bool(select.select([socket], [], [], 0)[0])

    def authorization(self, path):
        def digest(*parts):
            return hashlib.md5(":".join(parts).encode()).hexdigest()

        self.count += 1
        realm, nonce = self.challenge["realm"], self.challenge["nonce"]
        count, own = f"{self.count:08x}", os.urandom(8).hex()
        response = digest(digest(self.user, realm, self.password), nonce, count, own, "auth", digest("POST", path))
        return (
            f'Digest username="{self.user}", realm="{realm}", nonce="{nonce}", uri="{path}", response="{response}", qop=auth,'
            f' nc={count}, cnonce="{own}"'
        )

    def close(self):
        if self.connection:
            self.connection.close()
        self.connection = None


class Event:
    """A message of a subscription: what it is of, and what it says."""

    def __init__(self, notification):
        message = notification.find(f".//{{{kit.TT}}}Message")
        self.topic = notification.findtext(f"{{{kit.WSNT}}}Topic")
        self.operation = message.get("PropertyOperation", "")
        self.time = message.get("UtcTime")
        self.source, self.key, self.data = (
            tuple((item.get("Name"), item.get("Value")) for item in message.iterfind(f"{{{kit.TT}}}{part}/{{{kit.TT}}}SimpleItem"))
            for part in ("Source", "Key", "Data")
        )

    def property(self):
        return (self.topic, self.source, self.key)

    def is_true(self):
        return any(value == "true" for _, value in self.data)

    def __repr__(self):
        return f"{self.time} {self.operation} {self.topic} {dict(self.source + self.key)} {dict(self.data)}"


def events_in(answer):
    """The messages of an answer to a pull, or of what was pushed."""
    return [Event(each) for each in answer.iter(f"{{{kit.WSNT}}}NotificationMessage")]
