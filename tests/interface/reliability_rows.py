#!/usr/bin/env python3
"""The page of figures and what a run of .ci/run left: which rows there are, and who notices when they differ.

usage: reliability_rows.py SCRIPT [unittest arguments]
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest
from xml.sax.saxutils import escape

SCRIPT = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else None
PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "reliability.md"

NATIVE = {
    "Interface.theModuleStartsWithItsRegistrationAndConstantsOnly": "  stripped bytes      159184   (at most 400000)",
    "BombTest.survives": "bomb: text-10mb seconds=0.5 peak_mib=120.0 input_mib=10.0 allocations=253 writes=1",
    "CameraListTest.takes": "bomb: camera-items-1000-start-own-presets seconds=0.1 peak_mib=25.7",
    "NoMemoryTest.ends": "no-memory: start fails=one points=102",
    "PowerCutTest.keeps": "power-cuts: cuts=500 calls=10348 documents=155",
    "PowerCutTest.repairs": "power-cuts: repair_cuts=315 repair_calls=104\npower-cuts: repair_cuts=5",
    "DamageTest.finds": "power-cuts: flips=1885 flips_found=140 bytes=28672",
    "AngleDigest.same": "",
}
ARM = {"AngleDigest.same": "", "NoMemoryTest.ends": "no-memory: start fails=one points=101"}


def report(cases, failing=()):
    lines = [f'<testsuite time="12"><!-- {len(cases)} -->']
    for name, output in cases.items():
        status = "fail" if name in failing else "run"
        lines.append(f'<testcase name="{name}" time="1.5" status="{status}"><system-out>{escape(output)}</system-out>'
                     "</testcase>")
    return "".join(lines) + "</testsuite>"


class Tree:
    """A checkout after a run of .ci/run."""

    def __init__(self, folder):
        self.root = pathlib.Path(folder)
        self.started = int(time.time()) - 100
        now = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())
        self.write("build/ci-times.tsv", f"# started\t{self.started}\n# commit\tabc\n# cache_hits\t3\n"
                                         "# cache_misses\t1\nbootstrap\t2\tok\ntest\t60\tok\n")
        self.write("build/gcc/tests.xml", report(NATIVE))
        self.write("build/arm64/tests.xml", report(ARM))
        self.write("build/packages-tests.xml", report({"Package.installs": ""}))
        self.write("build/packages/detection-plugin_0.1.0_amd64.deb", "x" * 1234)
        self.write("build/fuzz-out/results.tsv", f"{now}\tabc\trotation\t20.0\t10.0\t1000\t50\t86\t9\t0\n")
        self.page = self.root / "page.md"
        self.page.write_text("<!-- figures: written by scripts/reliability -->\n<!-- end of the figures -->\n",
                             encoding="utf-8")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return path

    def run(self, *arguments):
        return run("--from", self.root, "--page", self.page, "--kept", self.root / "kept", *arguments)


def run(*arguments):
    command = [sys.executable, str(SCRIPT), *map(str, arguments)]
    return subprocess.run(command, capture_output=True, text=True, check=False)


class Reliability(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Tree(folder.name)
        self.folder = self.tree.root

    def changed_page(self, change):
        lines = PAGE.read_text(encoding="utf-8").splitlines()
        rows = [number for number, line in enumerate(lines) if line.startswith("| ") and not line.startswith("| |")]
        self.assertGreater(len(rows), 20, "the page has figures")
        row = rows[len(rows) // 2]
        name = lines[row].split("|")[1].strip()
        change(lines, row)
        path = self.folder / "changed.md"
        path.write_text("\n".join(lines) + "\n", encoding="utf-8")
        return path, name

    def assert_fails(self, done, *sentences):
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        for sentence in sentences:
            self.assertIn(sentence, done.stderr)

    def test_a_page_has_the_rows_of_itself(self):
        done = run("--compare", PAGE, PAGE)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_figures_may_differ(self):
        def other_figures(lines, _):
            lines[:] = [re.sub(r"(?<=\| )[\d,.]+(?= \|)", "77", line) for line in lines]
        page, _ = self.changed_page(other_figures)
        self.assertNotEqual(page.read_text(encoding="utf-8"), PAGE.read_text(encoding="utf-8"))
        self.assertEqual(run("--compare", PAGE, page).returncode, 0)

    def test_a_removed_row_is_named(self):
        page, name = self.changed_page(lambda lines, row: lines.pop(row))
        done = run("--compare", page, PAGE)
        self.assert_fails(done, f'lacks the row "{name}"')
        self.assertEqual(len(done.stderr.splitlines()), 1)

    def test_an_added_row_is_named(self):
        page, _ = self.changed_page(lambda lines, row: lines.insert(row, "| a figure of last year | 1 | 2 |"))
        done = run("--compare", page, PAGE)
        self.assert_fails(done, 'has the row "a figure of last year"')
        self.assertEqual(len(done.stderr.splitlines()), 1)

    def test_a_page_without_its_marks_is_refused(self):
        self.tree.page.write_text("# Reliability\n", encoding="utf-8")
        self.assert_fails(self.tree.run("--write"), "does not have both marks")

    def test_the_short_form_has_the_rows_of_the_page_of_the_same_outputs(self):
        times = self.tree.root / "build/ci-times.tsv"
        written = self.tree.run("--write", "--fuzz", self.tree.root / "build/fuzz-out", "--times-cold", times)
        self.assertEqual(written.returncode, 0, written.stderr)
        done = self.tree.run("--short")
        self.assertEqual(done.returncode, 0, done.stderr)
        page = self.tree.page.read_text(encoding="utf-8")
        for row in ("| x86-64 | 8 | 8 | 0 | 0 | 12 |", "| stripped bytes | 159,184 | 400,000 |",
                    "| detection-plugin, amd64 | 1,234 |", "| text-10mb | 0.5 | 120.0 | 644 | 10.0 | 253 | 1 |",
                    "| start, one allocation | 102 | 101 |", "| cut points while a damaged file is repaired | 320 |",
                    "| rotation | 1 | 0.01 | 0.00 | 1,000 | 100 | 86 | 0 |", "| total | 62 (1 min) |",
                    "| compilations answered by the cache | 3 of 4 |"):
            self.assertIn(row, page)

    def test_a_figure_that_a_test_no_longer_prints_fails_the_run(self):
        self.tree.run("--write", "--fuzz", self.tree.root / "build/fuzz-out",
                      "--times-cold", self.tree.root / "build/ci-times.tsv")
        self.tree.write("build/arm64/tests.xml", report({"NoMemoryTest.ends": ARM["NoMemoryTest.ends"],
                                                         "SlotOrder.new": ""}))
        self.assert_fails(self.tree.run("--short"), 'lacks the row "SlotOrder.new" of "Same on both architectures"')

    def test_the_short_form_says_which_step_left_nothing(self):
        (self.tree.root / "build/arm64/tests.xml").unlink()
        self.assert_fails(self.tree.run("--short"), "there is no build/arm64/tests.xml")

    def test_the_short_form_takes_nothing_of_an_earlier_run(self):
        os.utime(self.tree.root / "build/gcc/tests.xml", (self.tree.started - 5, self.tree.started - 5))
        self.assert_fails(self.tree.run("--short"), "build/gcc/tests.xml is older than this run")

    def test_the_report_of_some_tests_is_refused(self):
        self.tree.write("build/gcc/tests.xml", report({"AngleDigest.same": ""}))
        self.assert_fails(self.tree.run("--write", "--only", "tests"), "the report of a part of the tests")

    def test_a_failed_test_stands_in_the_figures(self):
        self.tree.write("build/gcc/tests.xml", report(NATIVE, ["PowerCutTest.keeps"]))
        text = self.tree.run("--only", "tests").stdout
        self.assertIn("| x86-64 | 8 | 7 | 0 | 1 | 12 |", text)
        self.assertIn("| tests that failed | 1 | 0 |", text)

    def test_other_sources_stay_when_one_is_read_again(self):
        self.tree.run("--only", "arm64")
        (self.tree.root / "build/arm64/tests.xml").unlink()
        text = self.tree.run("--only", "packages").stdout
        self.assertIn("| aarch64 | 2 | 2 | 0 | 0 | 12 |", text)
        self.assertIn("detection-plugin, amd64", text)

    def test_a_run_in_two_folders_counts_once(self):
        line = (self.tree.root / "build/fuzz-out/results.tsv").read_text(encoding="utf-8")
        self.tree.write("second/results.tsv", line + line.replace("rotation", "rule_lists"))
        text = self.tree.run("--only", "fuzz", "--fuzz", self.tree.root / "build/fuzz-out", "--fuzz",
                             self.tree.root / "second").stdout
        self.assertIn("| all targets | 2 | 0.01 | 0.01 | 2,000 |", text)
        self.assertIn("| all targets, hours in which at least one ran |  | 0.01 |", text)


if __name__ == "__main__":
    unittest.main()
