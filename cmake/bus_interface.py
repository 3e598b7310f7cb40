#!/usr/bin/env python3
"""Writes the C++ of one bus interface from its description: cmake/bus_interface.py FILE.xml FOLDER
or a header with the names of the services of several: cmake/bus_interface.py --names FILE.h FILE.xml ...

sdbus-c++-xml2cpp writes an adaptor and a proxy. The adaptor calls virtual functions directly, and an exception other than
sdbus::Error that leaves one ends the process. So each stands inside a class of this script, in namespace camera::bus; for
ravel.day_night these are DayNightServer, where every exception becomes an error answer, and DayNightClient, whose
waits are bounded. Hand-written code implements a virtual function of the server for each method and property.
"""
import pathlib
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

BASIC = {"y": "std::uint8_t", "b": "bool", "n": "std::int16_t", "q": "std::uint16_t", "i": "std::int32_t",
         "u": "std::uint32_t", "x": "std::int64_t", "t": "std::uint64_t", "d": "double", "s": "std::string",
         "h": "sdbus::UnixFd"}
HEADER = """#pragma once

#include "camera/bus/{base}.h"
#include "camera/bus/{service}_{kind}.h"

namespace camera::bus {{

{text}
}} // namespace camera::bus
"""
SERVER = """class {name}Server : public Server {{
protected:
    explicit {name}Server(sdbus::IConnection& connection, Dispatch dispatch = atOnce)
        : Server(connection, "{service}", std::move(dispatch)), _adaptor(object(), *this)
    {{ object().finishRegistration(); }}
{emits}
private:
{virtuals}
    class Adaptor final : public {namespace}::{service}_adaptor {{
    public:
        Adaptor(sdbus::IObject& object, {name}Server& server) : {service}_adaptor(object), _server(server) {{}}

    private:
{handlers}
        {name}Server& _server;
    }};

    Adaptor _adaptor;
}};
"""
VIRTUAL = "    virtual {result} {function}({parameters}) = 0;\n"
EMIT = """    void emit{camel}({parameters}) noexcept
    {{ emitting("{name}", [&] {{ checkSize("the signal {name}"{sized}); _adaptor.emit{camel}({sendable}); }}); }}
"""
METHOD = """        void {name}(sdbus::Result<{out}>&& result{copies}) override
        {{
            const std::size_t bytes = bytesOf({names});
            _server.handle("{name}", std::move(result), bytes, [&server = _server{captures}]() mutable {{
                {checks}return server.{name}({names}); }});
        }}
"""
GETTER = """        {result} {name}() override {{ return guarded([this] {{ return _server.{function}(); }}); }}
"""
CLIENT = """/// Called on the bus thread; an empty one hears nothing.
struct {name}Signals {{
{hooks}}};

class {name}Client final : public Client, public {namespace}::{service}_proxy {{
public:
    {name}Client(sdbus::IConnection& connection, std::chrono::milliseconds patience, {name}Signals signals = {{}})
        : Client(connection, "{service}", patience), {service}_proxy(proxy()), _signals(std::move(signals))
    {{ proxy().finishRegistration(); }}

private:
{heard}
    {name}Signals _signals;
}};

{name}Client clientOf(const {namespace}::{service}_proxy&); ///< never defined: names the type
"""
HOOK = "    std::function<void({types})> {name};\n"
HEARD = """    void on{camel}({heard}) override
    {{ if (_signals.{name}) _signals.{name}({names}); }}
"""


def types(signature):
    """The C++ types of the complete types in a signature."""
    found = []
    while signature:
        end = 1
        while signature[end - 1] == "a" or any(signature[:end].count(a) != signature[:end].count(b) for a, b in ("()", "{}")):
            end += 1
        single, signature = signature[:end], signature[end:]
        if single.startswith("a{"):
            found.append(f"std::map<{', '.join(types(single[2:-1]))}>")
        elif single.startswith("a"):
            found.append(f"std::vector<{types(single[1:])[0]}>")
        elif single.startswith("("):
            found.append(f"sdbus::Struct<{', '.join(types(single[1:-1]))}>")
        else:
            found.append(BASIC[single])
    return found


def passed(kind):
    return f"const {kind}&" if kind.endswith((">", "string")) else kind  # numbers by value


def words(member):
    """What the templates above say of a method, signal or property."""
    name = member.get("name")
    arguments = [(types(each.get("type"))[0], each.get("name"), each.get("direction", "in")) for each in member.findall("arg")]
    ins = [(kind, argument) for kind, argument, direction in arguments if direction == "in"]
    outs = [kind for kind, _, direction in arguments if direction == "out"] + types(member.get("type", ""))
    return {"name": name, "camel": name[0].upper() + name[1:], "function": name[0].lower() + name[1:], "out": ", ".join(outs),
            "result": f"std::tuple<{', '.join(outs)}>" if len(outs) > 1 else (outs or ["void"])[0],
            "names": ", ".join(argument for _, argument in ins), "types": ", ".join(passed(kind) for kind, _ in ins),
            "parameters": ", ".join(f"{passed(kind)} {argument}" for kind, argument in ins),
            "heard": ", ".join(f"const {kind}& {argument}" for kind, argument in ins),
            "copies": "".join(f", {kind} {argument}" for kind, argument in ins),
            "captures": "".join(f", {argument} = std::move({argument})" for _, argument in ins),
            "checks": "".join(f'check({argument}, "{argument}"); ' for _, argument in ins),
            "sized": "".join(f", {argument}" for _, argument in ins),
            "sendable": ", ".join(f"sendable({argument})" for _, argument in ins)}


def read(path):
    """What they say of the interface, and the words of its methods, signals and properties."""
    interface = ElementTree.parse(path).getroot().find("interface")
    namespace, service = interface.get("name").rsplit(".", 1)
    name = "".join(word.capitalize() for word in service.split("_"))
    return ({"namespace": namespace, "service": service, "name": name},
            *([words(each) for each in interface.findall(kind)] for kind in ("method", "signal", "property")))


def main():
    if sys.argv[1] == "--names":
        names = "".join('constexpr const char* k{name} = "{service}";\n'.format(**read(path)[0]) for path in sys.argv[3:])
        return pathlib.Path(sys.argv[2]).write_text(f"#pragma once\n\nnamespace camera::bus::service {{\n{names}}}\n")
    source, folder = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    interface, methods, signals, properties = read(source)
    adaptor, proxy = (folder / f"{interface['service']}_{kind}.h" for kind in ("adaptor", "proxy"))
    subprocess.run(["sdbus-c++-xml2cpp", source, f"--adaptor={adaptor}", f"--proxy={proxy}"], check=True, capture_output=True)
    every = lambda template, members: "".join(template.format(**each) for each in members)
    write = lambda base, kind, text: (folder / f"{interface['service']}_{base.lower()}.h").write_text(
        HEADER.format(base=base, kind=kind, text=text, **interface))
    write("Server", "adaptor", SERVER.format(**interface, emits=every(EMIT, signals), virtuals=every(VIRTUAL, methods + properties),
                                             handlers=every(METHOD, methods) + every(GETTER, properties)))
    write("Client", "proxy", CLIENT.format(**interface, hooks=every(HOOK, signals), heard=every(HEARD, signals)))


if __name__ == "__main__":
    main()
