#!/usr/bin/env python3
"""Compares what a module expects of the process that loads it with the stored list.

usage: platform_symbols.py [--nm NM] [--readelf READELF] [--compiler COMPILER] [--update] MODULE LIST

Expected is every undefined symbol that no library named in the module's own dynamic section defines: mangled
names carry parameter types, so a changed declaration changes the list. Libraries are looked up by the
compiler, which knows where those of its architecture lie. Weak references that may stay unresolved do not count.
Exits 1 and shows the difference when the module and the list disagree.
"""
import argparse
import difflib
import pathlib
import re
import subprocess
import sys

HEAD = "# What libdetection.so takes from the process that loads it, as mangled names.\n"


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def symbols(nm, library, *options):
    """Pairs of type letter and name, without versions."""
    for line in output_of(nm, "-D", "--format=posix", *options, library).splitlines():
        name, kind = line.split()[:2]
        yield kind, name.partition("@")[0]


def needed_libraries(options):
    dynamic = output_of(options.readelf, "-d", "--wide", options.module)
    for name in re.findall(r"\(NEEDED\).*\[(.+)\]", dynamic):
        path = output_of(options.compiler, f"-print-file-name={name}").strip()
        if "/" not in path:
            sys.exit(f"{options.compiler} does not know where {name} lies")
        yield path


def expected_of_the_host(options):
    supplied = set()
    for library in needed_libraries(options):
        supplied.update(name for _, name in symbols(options.nm, library, "--defined-only"))
    wanted = {name for kind, name in symbols(options.nm, options.module, "--undefined-only") if kind == "U"}
    return sorted(wanted - supplied)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--nm", default="nm")
    parser.add_argument("--readelf", default="readelf")
    parser.add_argument("--compiler", default="c++")
    parser.add_argument("--update", action="store_true", help="write the list instead of comparing")
    parser.add_argument("module")
    parser.add_argument("list", type=pathlib.Path)
    options = parser.parse_args()

    found = expected_of_the_host(options)
    if not found:
        sys.exit(f"{options.module} expects nothing of its host, so it is no plug-in")
    if options.update:
        options.list.write_text(HEAD + "".join(f"{name}\n" for name in found), encoding="utf-8")
        return
    lines = options.list.read_text(encoding="utf-8").splitlines()
    stored = [line for line in lines if line and not line.startswith("#")]
    if found != stored:
        difference = difflib.unified_diff(stored, found, str(options.list), options.module, lineterm="", n=0)
        sys.exit("\n".join(difference))
    print(f"{len(found)} symbols, as listed")


if __name__ == "__main__":
    main()
