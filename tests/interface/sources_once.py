#!/usr/bin/env python3
"""Says which sources a build compiles twice and which it has forgotten.

usage: sources_once.py BUILD SOURCE FOLDER...     (the folders whose every .cpp file belongs to the build)
"""
import collections
import json
import pathlib
import sys


def main():
    build, source, folders = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).resolve(), sys.argv[3:]
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    compiled = collections.Counter(pathlib.Path(command["directory"], command["file"]).resolve() for command in commands)
    twice = sorted(path for path, times in compiled.items() if times > 1)
    present = {path.resolve() for folder in folders for path in (source / folder).rglob("*.cpp")}
    missing = sorted(present - compiled.keys())
    for title, paths in (("compiled twice", twice), ("in no CMakeLists.txt", missing)):
        for path in paths:
            print(f"{title}: {path.relative_to(source) if path.is_relative_to(source) else path}")
    print(f"{len(compiled)} sources")
    return 1 if twice or missing else 0


if __name__ == "__main__":
    sys.exit(main())
