#!/usr/bin/env python3
"""Changes the seam in a copy and expects the checks of the interface to fail.

usage: checks_notice.py CHECK --source DIR --work DIR --compiler CXX --objects FILE --fakes FILE
                        [--emulator COMMAND] [--nm NM] [--readelf READELF]
  CHECK          slots, records, symbols or start
  --objects      file with the plug-in's objects, one per line
  --fakes        file with the fakes' objects

Only the file that a check reads is compiled against the changed copy, everything else is what the build made:
the situation of a plug-in whose header moved on while the framework's binary did not.
"""
import argparse
import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
ENGINE = "src/plugin/analytics"
LIBRARIES = ["-lpugixml", "-ljsoncpp", "-lxml2", "-lgmock", "-lgtest", "-lgtest_main"]

SWAPPED = [
    (f"{ENGINE}/IRuleSet.h", r"(    virtual bool detach\(\) = 0;)(.*?)(    virtual bool deleteBehavior\([^;]*;)"),
    ("platform/ravel/RavelApiAnalyticsTargetImplBase.h",
     r"(    virtual int getCurrentRules\([^;]*;)(\n)(    virtual int createRules\([^;]*;)"),
]
SLOT_TESTS = {"SlotOrder.ofTheRuleSetInterface", "SlotOrder.ofTheServiceTargetBase", "SlotOrder.ofTheServiceTarget"}

REORDERED = [
    (f"{ENGINE}/YuvFrame.h", r"(    std::uint32_t pan = 0;)(\n)(    std::int32_t tilt = 0;)"),
    (f"{ENGINE}/MetadataBuffers.h", r"(    std::uint32_t drawingBufferSize = 0;[^\n]*)(\n)"
                                    r"(    std::uint32_t drawingBufferUsed = 0;[^\n]*)"),
    (f"{ENGINE}/ColorYuv.h", r"(    std::uint8_t u = 0;)(\n)(    std::uint8_t v = 0;)"),
]
GROWN = [
    (f"{ENGINE}/YuvFrame.h", r"(verticalAngleOfView = 0;)", r"\1 std::uint64_t added = 0;"),
    (f"{ENGINE}/MetadataBuffers.h", r"(std::string metadataXml;)", r"\1 std::uint64_t added = 0;"),
    (f"{ENGINE}/ColorYuv.h", r"(std::uint8_t v = 0;)", r"\1 std::uint8_t added = 0;"),
]
LAYOUT_ASSERTIONS = {
    "offsetof(YuvFrame, pan) == 36", "offsetof(YuvFrame, tilt) == 40", "sizeof(YuvFrame) == 56",
    "offsetof(MetadataBuffers, drawingBufferSize) == 8", "offsetof(MetadataBuffers, drawingBufferUsed) == 12",
    "sizeof(MetadataBuffers) == 32 + sizeof(std::string)",
    "offsetof(ColorYuv, y) == 0 && offsetof(ColorYuv, u) == 1 && offsetof(ColorYuv, v) == 2",
    "sizeof(ColorYuv) == 3",
}
RETYPED = [("platform/korva/meridan/PositioningManager.h", r"setZoomPosition\(unsigned int zoom\)",
            "setZoomPosition(unsigned long zoom)")]


class Failure(Exception):
    pass


class Bench:
    """The copy, and the tools that look at it."""

    def __init__(self, options):
        self.options = options
        self.source = pathlib.Path(options.source)
        self.work = pathlib.Path(options.work) / options.check
        self.copy = self.work / "copy"

    def fresh_copy(self, changes):
        shutil.rmtree(self.work, ignore_errors=True)
        for folder in ("platform", "src"):
            shutil.copytree(self.source / folder, self.copy / folder)
        for file, pattern, replacement in changes:
            path = self.copy / file
            text, count = re.subn(pattern, replacement, path.read_text(encoding="utf-8"), flags=re.DOTALL)
            if count != 1:
                raise Failure(f"{file} has {count} places to change instead of 1")
            path.write_text(text, encoding="utf-8")

    def compile(self, source, *arguments):
        """Compiles against the copy; returns whether it went well, and what was said."""
        command = [self.options.compiler, "-std=c++17", "-fPIC", "-fvisibility=hidden", f"-I{self.copy}/platform",
                   f"-I{self.copy}/src", f"-I{self.source}/tests", *arguments, str(source)]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done.returncode == 0, done.stdout

    def compiled(self, source, name):
        path = self.work / name
        well, said = self.compile(source, "-O1", "-c", "-o", str(path))
        if not well:
            raise Failure(f"{source} does not compile:\n{said}")
        return str(path)

    @staticmethod
    def lines(path):
        return pathlib.Path(path).read_text(encoding="utf-8").split()

    def link(self, target, *inputs):
        command = [self.options.compiler, "-o", str(target), *inputs, *LIBRARIES, "-pthread"]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            raise Failure(f"{target} does not link:\n{done.stdout}")

    def link_module(self, replaced, *added):
        """The module, with the objects whose source is named in replaced left out."""
        module = self.work / "libdetection.so"
        kept = [path for path in self.lines(self.options.objects) if pathlib.Path(path).stem not in replaced]
        registration = self.compiled(self.copy / "src/plugin/Registration.cpp", "Registration.o")
        self.link(module, "-shared", registration, *kept, *added)
        return str(module)

    def run(self, *command):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done.returncode, done.stdout


def expect(condition, text):
    if not condition:
        raise Failure(text)


def swapped(changes):
    return [(file, pattern, r"\3\2\1") for file, pattern in changes]


def check_slots(bench):
    bench.fresh_copy(swapped(SWAPPED))
    program = bench.work / "slots"
    test = bench.compiled(bench.source / "tests/unit/seam/SlotOrderTest.cpp", "SlotOrderTest.o")
    bench.link(program, test, *bench.lines(bench.options.objects), *bench.lines(bench.options.fakes))
    code, output = bench.run(*bench.options.emulator.split(), str(program), "--gtest_filter=SlotOrder.*")
    failed = set(re.findall(r"\[  FAILED  \] (SlotOrder\.\w+)", output))
    expect(code != 0 and failed == SLOT_TESTS, f"swapped operations were noticed by {sorted(failed)}:\n{output}")


def check_records(bench):
    bench.fresh_copy(swapped(REORDERED) + GROWN)
    well, said = bench.compile(bench.source / "tests/unit/seam/RecordLayoutTest.cpp", "-fsyntax-only")
    refused = set(re.findall(r"static_assert\((.*)\);", said))
    expect(not well and refused == LAYOUT_ASSERTIONS, f"moved members were refused by {sorted(refused)}:\n{said}")


def check_symbols(bench):
    bench.fresh_copy(RETYPED)
    shim = bench.compiled(bench.copy / "src/ptz/PtzShim.cpp", "PtzShim.o")
    options = bench.options
    compare = [str(HERE / "platform_symbols.py"), "--nm", options.nm, "--readelf", options.readelf, "--compiler",
               options.compiler]
    code, output = bench.run(sys.executable, *compare, bench.link_module({"PtzShim.cpp"}, shim),
                             str(HERE / "platform-symbols.txt"))
    changed = set(re.findall(r"^[+-](_Z\w+)", output, re.MULTILINE))
    name = "_ZN5korva7meridan18PositioningManager15setZoomPositionE"
    expect(code != 0 and changed == {name + "j", name + "m"}, f"a changed parameter shows as {changed}:\n{output}")


def check_start(bench):
    bench.fresh_copy([])
    planted = bench.work / "Planted.cpp"
    planted.write_text('#include <string>\nextern const std::string planted[];\nconst std::string planted[] = '
                       '{std::string(40, 42), "two"};\n', encoding="utf-8")
    module = bench.link_module(set(), bench.compiled(planted, "Planted.o"))
    code, output = bench.run(sys.executable, str(bench.source / "scripts/module-size"), "--check", module)
    expect(code != 0 and "static construction in Planted.cpp" in output, f"static strings went unnoticed:\n{output}")


def main():
    checks = {"slots": check_slots, "records": check_records, "symbols": check_symbols, "start": check_start}
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("check", choices=sorted(checks))
    for name in ("--source", "--work", "--compiler", "--objects", "--fakes"):
        parser.add_argument(name, required=True)
    parser.add_argument("--emulator", default="")
    parser.add_argument("--nm", default="nm")
    parser.add_argument("--readelf", default="readelf")
    options = parser.parse_args()
    try:
        checks[options.check](Bench(options))
    except Failure as failure:
        sys.exit(f"{options.check}: {failure}")


if __name__ == "__main__":
    main()
