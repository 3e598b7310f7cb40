#!/usr/bin/env python3
"""Writes servers whose every method and property fails, and the questions that reach them: failing_objects.py HEADER FILE.xml..."""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "cmake"))
sys.dont_write_bytecode = True
import bus_interface  # noqa: E402 (found through the path above)

HEAD = """#pragma once

{includes}
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace failing {{

using Fail = std::function<void()>; ///< throws
using Questions = std::vector<std::pair<std::string, std::function<void()>>>;
{classes}
inline std::vector<std::shared_ptr<void>> serveAll(sdbus::IConnection& connection, const Fail& fail)
{{
    return {{{servers}}};
}}

/// Everything that there is to ask; the clients live as long as the questions.
inline Questions allQuestions(sdbus::IConnection& connection, std::chrono::milliseconds patience)
{{
    Questions all;
{asks}    return all;
}}

}} // namespace failing
"""
CLASS = """
class {name} final : public camera::bus::{name}Server {{
public:
    {name}(sdbus::IConnection& connection, Fail fail) : {name}Server(connection), _fail(std::move(fail)) {{ takeName(); }}

private:
{methods}
    const Fail _fail;
}};

inline void ask{name}(sdbus::IConnection& connection, std::chrono::milliseconds patience, Questions& all)
{{
    const auto client = std::make_shared<camera::bus::{name}Client>(connection, patience);
{questions}}}
"""


def arguments(member):
    """Any values; a message takes no descriptor that is not open."""
    if "sdbus::UnixFd" in member["types"]:
        return ", ".join("sdbus::UnixFd(0)" if "UnixFd" in each else "{}" for each in member["types"].split(", "))
    return ", ".join("{}" for _ in filter(None, member["names"].split(", ")))


def text_of(path):
    interface, methods, _, properties = bus_interface.read(path)
    members = "".join(
        f"    {each['result']} {each['function']}({each['types']}) override {{ _fail(); return {each['result']}(); }}\n"
        for each in methods + properties)
    questions = "".join(
        f"    all.emplace_back(\"{interface['name']}.{each['name']}\", [client] {{ client->{each['name']}"
        f"({arguments(each)}); }});\n" for each in methods + properties)
    return interface, CLASS.format(**interface, methods=members, questions=questions)


def main():
    texts = [text_of(path) for path in sys.argv[2:]]
    names = [interface["name"] for interface, _ in texts]
    pathlib.Path(sys.argv[1]).write_text(HEAD.format(
        includes="".join(f'#include "camera/bus/{interface["service"]}_{kind}.h"\n' for interface, _ in texts
                         for kind in ("client", "server")),
        classes="".join(text for _, text in texts),
        servers=", ".join(f"std::make_shared<{name}>(connection, fail)" for name in names),
        asks="".join(f"    ask{name}(connection, patience, all);\n" for name in names)))


if __name__ == "__main__":
    main()
