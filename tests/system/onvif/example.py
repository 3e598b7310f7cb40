"""The examples as README.md shows them: their calls and what they print."""
import os
import pathlib
import re
import shlex
import signal
import subprocess
import unittest

import kit

try:
    import requests  # the example needs it
except ImportError as missing:
    kit.skip(f"python3-requests is not installed: {missing}")


EXAMPLES = pathlib.Path(os.environ["EXAMPLE"]).parent


def shown(name):
    """The words of the call and the lines after it, from the block of README that has the call."""
    text = pathlib.Path(os.environ["README"]).read_text(encoding="utf-8")
    block = next(each for each in re.findall(r"```\n(.*?)```", text, re.DOTALL) if f"$ examples/onvif/{name}" in each)
    call, output = re.search(rf"\$ (examples/onvif/{re.escape(name)} [^\n]*)\n(.*)", block, re.DOTALL).groups()
    return shlex.split(call), output.replace("^C", "")


class Example(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.camera = kit.VirtualCamera("--no-factory", *kit.PLACES)

    @classmethod
    def tearDownClass(cls):
        cls.camera.remove()

    def start(self, name, words, user, password):
        process = subprocess.Popen([EXAMPLES / name, self.camera.address, *words, user], text=True, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)  # fmt: skip
        process.stdin.write(password + "\n")
        process.stdin.close()
        return process

    def test_it_prints_what_the_readme_says_and_removes_its_rule(self):
        words, output = shown("rule.py")
        self.assertEqual(words[:2], ["examples/onvif/rule.py", "http://127.0.0.1:8080"])
        process = self.start("rule.py", words[2:], *kit.OPERATOR)
        lines = process.stdout.readline()
        self.assertEqual(self.camera.components("rules"), [(words[2], "Example")])
        process.send_signal(signal.SIGINT)
        lines += process.stdout.read()
        errors = process.stderr.read()
        self.assertEqual(process.wait(kit.PATIENCE), 0, errors)
        self.assertEqual("Password:\n" + lines, output)
        self.assertEqual(self.camera.components("rules"), [])
        process.stdout.close()
        process.stderr.close()

    def test_a_refusal_is_the_cameras_sentence(self):
        process = self.start("rule.py", ["Gate"], *kit.USER)
        said = process.stderr.read()
        self.assertEqual(process.wait(kit.PATIENCE), 1)
        self.assertEqual(said, "'viewer' is User; this operation is for Operator\n")
        process.stdout.close()
        process.stderr.close()

    def test_events_are_printed_as_the_readme_says(self):
        words, output = shown("events.py")
        self.assertEqual(words, ["examples/onvif/events.py", "http://127.0.0.1:8080"])
        wanted = self.without_times(output).splitlines()
        self.assertEqual(wanted.pop(0), "Password:")
        process = self.start("events.py", [], *kit.USER)
        lines = [process.stdout.readline() for _ in range(2)]  # it listens now
        self.camera.command("preset", "go", "Gate")
        while "/Reached" not in lines[-1]:
            lines.append(process.stdout.readline())
            self.assertNotEqual(lines[-1], "")
        self.assertEqual([self.without_times(line.rstrip("\n")) for line in lines], wanted)
        process.send_signal(signal.SIGINT)
        errors = process.stderr.read()
        self.assertEqual(process.wait(kit.PATIENCE), 0, errors)
        process.stdout.close()
        process.stderr.close()

    @staticmethod
    def without_times(text):
        return re.sub(r"\d{4}-\d\d-\d\dT[\d:.]+Z", "TIME", text)

    def test_each_has_at_most_sixty_lines(self):
        for example in EXAMPLES.glob("*.py"):
            self.assertLessEqual(len(example.read_text(encoding="utf-8").splitlines()), 60, example)


if __name__ == "__main__":
    unittest.main(verbosity=2)
