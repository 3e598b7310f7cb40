"""examples/onvif/rule.py as README.md shows it: the call and what it prints."""
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


def shown():
    """The words of the call and the lines after it, from the block of README that has the call."""
    text = pathlib.Path(os.environ["README"]).read_text(encoding="utf-8")
    block = next(each for each in re.findall(r"```\n(.*?)```", text, re.DOTALL) if "$ examples/onvif/rule.py" in each)
    call, output = re.search(r"\$ (examples/onvif/rule\.py [^\n]*)\n(.*)", block, re.DOTALL).groups()
    return shlex.split(call), output.replace("^C", "")


class Example(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.camera = kit.VirtualCamera("--no-factory", *kit.PLACES)

    @classmethod
    def tearDownClass(cls):
        cls.camera.remove()

    def start(self, address, preset, user, password):
        process = subprocess.Popen([os.environ["EXAMPLE"], address, preset, user], text=True, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)  # fmt: skip
        process.stdin.write(password + "\n")
        process.stdin.close()
        return process

    def test_it_prints_what_the_readme_says_and_removes_its_rule(self):
        words, output = shown()
        self.assertEqual(words[:2], ["examples/onvif/rule.py", "http://127.0.0.1:8080"])
        process = self.start(self.camera.address, words[2], *kit.OPERATOR)
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
        process = self.start(self.camera.address, "Gate", *kit.USER)
        said = process.stderr.read()
        self.assertEqual(process.wait(kit.PATIENCE), 1)
        self.assertEqual(said, "'viewer' is User; this operation is for Operator\n")
        process.stdout.close()
        process.stderr.close()

    def test_it_has_at_most_sixty_lines(self):
        self.assertLessEqual(len(pathlib.Path(os.environ["EXAMPLE"]).read_text(encoding="utf-8").splitlines()), 60)


if __name__ == "__main__":
    unittest.main(verbosity=2)
