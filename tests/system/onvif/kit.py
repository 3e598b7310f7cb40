"""What the tests with other people's ONVIF programs share: a virtual camera, what is said to it, and the schemas.

The environment names the program (CAMERA_PROGRAM), the folder of the official schemas (ONVIF_SCHEMAS) and, where the
programs of npm are used, the folder in which they are installed (NODE_FOLDER).
"""
import base64
import datetime
import hashlib
import http.client
import http.server
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse
import xml.etree.ElementTree as ElementTree

HERE = pathlib.Path(__file__).resolve().parent
SKIPPED = 77  # the exit code of a test program that cannot run here
PATIENCE = 120  # seconds: far more than anything takes; it ends what hangs, it measures nothing

TT = "http://www.onvif.org/ver10/schema"
AXT = "http://www.onvif.org/ver20/analytics"
TAN = "http://www.onvif.org/ver20/analytics/wsdl"
TEV = "http://www.onvif.org/ver10/events/wsdl"
WSA = "http://www.w3.org/2005/08/addressing"
WSNT = "http://docs.oasis-open.org/wsn/b-2"
SOAP = "http://www.w3.org/2003/05/soap-envelope"
VCA = "urn:x-virtual-camera:analytics"
TOKEN = "AnalyticsConfiguration_1"

SECURITY = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-"

ADMINISTRATOR = ("root", "tools-9-river")
OPERATOR = ("operator", "tools-8-river")
USER = ("viewer", "tools-7-river")
USERS = "root:Administrator:tools-9-river\noperator:Operator:tools-8-river\nviewer:User:tools-7-river\n"

SCENE = "scene:size=320x180,fps=30,objects=2,enter=15,frames=0,noise=1"
AWAY_FROM_PRESETS = "ZintuInternalSimpleAnalyticsPreset"  # how the command line names the place of a camera at no preset
PLACES = ["--place", "Gate=-10,5,1.5", "--place", "Door=20,0,2"]


def skip(reason):
    print(reason)
    sys.exit(SKIPPED)


def token(who, ahead=0, with_nonce=True):
    """A UsernameToken whose time is so many seconds ahead of the clock."""
    created = (datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(seconds=ahead)).strftime("%Y-%m-%dT%H:%M:%SZ")
    nonce = os.urandom(16) if with_nonce else b""
    digest = base64.b64encode(hashlib.sha1(nonce + created.encode() + who[1].encode()).digest()).decode()
    nonce_element = f"<Nonce>{base64.b64encode(nonce).decode()}</Nonce>" if with_nonce else ""
    return (
        f'<Security xmlns="{SECURITY}wssecurity-secext-1.0.xsd" xmlns:u="{SECURITY}wssecurity-utility-1.0.xsd"><UsernameToken>'
        f'<Username>{who[0]}</Username><Password Type="{SECURITY}username-token-profile-1.0#PasswordDigest">{digest}'
        f"</Password>{nonce_element}<u:Created>{created}</u:Created></UsernameToken></Security>"
    )


def eventually(condition, what):
    """What the condition gives when it is true at last."""
    end = time.monotonic() + PATIENCE
    while True:
        found = condition()
        if found:
            return found
        if time.monotonic() > end:
            raise AssertionError(f"{what} did not come")
        time.sleep(0.02)  # between two looks


class VirtualCamera:
    """`camera run` with its own folders. After a restart its address is another one."""

    def __init__(self, *arguments, scene=SCENE):
        # In memory where that can be: a call that waits for a busy disk for more than two seconds has a fault.
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="onvif-", dir=memory))
        (self.folder / "rt").mkdir()
        self.users = self.folder / "users"
        self.users.write_text(USERS, encoding="utf-8")
        self.users.chmod(0o600)
        self.arguments = list(arguments)
        self.scene = scene
        self.process = None
        self.address = None
        self.start()

    def start(self):
        command = [*self.prefix(), os.environ["CAMERA_PROGRAM"], "run", self.scene, "--state", str(self.folder / "state"), "--http", "0",
                   "--users", str(self.users), *self.arguments]  # fmt: skip
        with open(self.folder / "out", "w", encoding="utf-8") as out, open(self.folder / "err", "w", encoding="utf-8") as err:
            self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=err, env=self.environment())
        self.address = eventually(self.told, "the address of the camera")

    def prefix(self):
        """The words before those of the camera."""
        return []

    def told(self):
        """The address that the start line tells, without the path of a service."""
        if self.process.poll() is not None:
            raise AssertionError(f"the camera ended with {self.process.returncode}: {self.said()}")
        found = re.search(r"(http://\S+?)/onvif/device_service", (self.folder / "out").read_text(encoding="utf-8"))
        return found and found.group(1)

    def environment(self):
        return dict(os.environ, XDG_RUNTIME_DIR=str(self.folder / "rt"))

    def said(self):
        return (self.folder / "out").read_text(encoding="utf-8") + (self.folder / "err").read_text(encoding="utf-8")

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
            if self.process.wait(PATIENCE) != 0:
                raise AssertionError(f"the camera ended with {self.process.returncode}: {self.said()}")

    def restart(self):
        self.stop()
        self.start()

    def remove(self):
        try:
            self.stop()
        finally:
            if self.process and self.process.poll() is None:
                self.process.kill()
                self.process.wait()
            shutil.rmtree(self.folder, ignore_errors=True)

    def command(self, *words):
        """`camera WORDS` for this camera: what it prints."""
        done = subprocess.run([os.environ["CAMERA_PROGRAM"], *words, "--camera", str(self.folder / "state")], env=self.environment(),
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE, check=False)  # fmt: skip
        if done.returncode != 0:
            raise AssertionError(f"camera {' '.join(words)}: {done.stderr}")
        return done.stdout

    def components(self, kind):
        """What the camera evaluates, as its own command line lists it: (preset, name), sorted."""
        lines = [json.loads(line) for line in self.command(kind, "list", "--json").splitlines()]
        presets = {AWAY_FROM_PRESETS: ""}
        return sorted((presets.get(each["preset"], each["preset"]), each["rule" if kind == "rules" else "module"]) for each in lines)

    def processes(self):
        """Names and numbers of the camera's processes; empty while it does not answer."""
        done = subprocess.run([os.environ["CAMERA_PROGRAM"], "status", "--json", "--camera", str(self.folder / "state")],
                              env=self.environment(), stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE,
                              check=False)  # fmt: skip
        lines = [json.loads(line) for line in done.stdout.splitlines()]
        return {line["process"]: line["pid"] for line in lines if line.get("part") == "process" and "pid" in line}


# One request and its answer; the name is that of the client.
class Exchange:
    def __init__(self, client, request, status, answer):
        self.client, self.request, self.status, self.answer = client, request, status, answer

    def operation(self):
        found = re.search(rb"Body[^>]*>\s*<(?:\w+:)?(\w+)", self.request)
        return found.group(1).decode() if found else "?"


class Recorder:
    """Stands between clients and a camera and keeps what both say, as it went over the wire."""

    def __init__(self, camera):
        self.camera = camera
        self.client = "?"
        self.exchanges = []
        recorder = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                recorder.pass_on(self)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.address = f"http://127.0.0.1:{self.server.server_port}"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def pass_on(self, handler):
        body = handler.rfile.read(int(handler.headers.get("Content-Length", 0)))
        there = http.client.HTTPConnection(urllib.parse.urlparse(self.camera.address).netloc, timeout=PATIENCE)
        # The Host stays the client's, so that the addresses in the answer are those of this place.
        there.request("POST", handler.path, body, dict(handler.headers.items()))
        answer = there.getresponse()
        content = answer.read()
        self.exchanges.append(Exchange(self.client, body, answer.status, content))
        handler.send_response_only(answer.status)
        for name, value in answer.getheaders():
            if name.lower() in ("content-type", "www-authenticate"):
                handler.send_header(name, value)
        handler.send_header("Content-Length", str(len(content)))
        if handler.close_connection:
            handler.send_header("Connection", "close")
        handler.end_headers()
        handler.wfile.write(content)
        there.close()

    def faults(self, schemas, client):
        """What is wrong with the answers that the client got. Requests that no schema allows are printed: they are served."""
        mine = [each for each in self.exchanges if each.client == client]
        requests = {}
        for each, fault in zip(mine, schemas.faults([each.request for each in mine])):
            if fault:
                requests[f"{each.operation()}: {fault.splitlines()[0].split('error :')[-1].strip()}"] = each.status
        for text, status in requests.items():
            print(f"{client} sends what no schema allows, answered with {status}: {text}")
        answers = zip(mine, schemas.faults([each.answer for each in mine]))
        return [f"{each.operation()}: {fault}" for each, fault in answers if fault] if mine else ["nothing was asked"]

    def close(self):
        self.server.shutdown()
        self.server.server_close()


class Schemas:
    """The official schemas as libxml2 takes them, made from a copy."""

    def __init__(self):
        originals = pathlib.Path(os.environ["ONVIF_SCHEMAS"])
        if not (originals / "make_libxml2_overlay.py").exists():
            skip(f"no ONVIF schemas in {originals}")
        self.folder = tempfile.TemporaryDirectory(prefix="onvif-schemas-")
        self.path = pathlib.Path(self.folder.name) / "onvif"
        shutil.copytree(originals, self.path, copy_function=shutil.copyfile)
        for folder in [self.path, *[each for each in self.path.rglob("*") if each.is_dir()]]:
            folder.chmod(0o700)
        made = subprocess.run(["/usr/bin/python3", "make_libxml2_overlay.py"], cwd=self.path, stdout=subprocess.PIPE, text=True,
                              check=True)  # fmt: skip
        self.namespaces = {line.split()[0] for line in made.stdout.splitlines()} | {WSNT}  # which those of ONVIF import
        if not self.faults([b"<nothing/>"])[0]:
            raise AssertionError("the schemas take everything")

    def faults(self, documents):
        """What is wrong with each document; empty for one that is valid."""
        names = []
        for number, document in enumerate(documents):
            names.append(f"{number}.xml")
            (self.path / names[-1]).write_bytes(document)
        done = subprocess.run(["xmllint", "--nonet", "--noout", "--schema", "xsd-libxml2/soap-all.xsd", *names], cwd=self.path,
                              env=dict(os.environ, XML_CATALOG_FILES=str(self.path / "wsdl/catalog.xml")), capture_output=True,
                              text=True, check=False)  # fmt: skip
        faults = []
        for name in names:
            lines = [line for line in done.stderr.splitlines() if line.startswith(name + ":") and "error" in line]
            if f"{name} validates" in done.stderr.splitlines():
                lines = self.strangers((self.path / name).read_bytes())
            elif not lines:
                lines = ["cannot be read"]
            faults.append("\n".join(lines))
        return faults

    def strangers(self, document):
        """What stands in the body and belongs to no schema, so that every content of it is valid."""
        body = ElementTree.fromstring(document).find("{http://www.w3.org/2003/05/soap-envelope}Body")
        tags = [each.tag for each in body or [] if not each.tag.endswith("}Fault")]
        return [f"error : no schema has {tag}" for tag in tags if tag[1:].split("}")[0] not in self.namespaces]


class CameraTest(unittest.TestCase):
    """Cases that share a camera, to which they speak through a recorder. Every answer is valid by the official schemas."""

    ARGUMENTS = ()
    CLIENTS = ("zeep",)

    @classmethod
    def setUpClass(cls):
        cls.schemas = Schemas()
        cls.camera = VirtualCamera(*cls.ARGUMENTS)
        cls.recorder = Recorder(cls.camera)
        cls.recorder.client = cls.CLIENTS[0]
        cls.address = cls.recorder.address

    @classmethod
    def tearDownClass(cls):
        cls.recorder.close()
        cls.camera.remove()
        for client in cls.CLIENTS:
            faults = cls.recorder.faults(cls.schemas, client)
            if faults:
                raise AssertionError(f"answers to {client} are not valid: {faults}")
