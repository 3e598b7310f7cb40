#!/usr/bin/python3
"""An independent client of a running camera: lists, configures, moves, and hears what the camera tells meanwhile.

usage: client.py BUS_ADDRESS CONFIGURATION.xml PRESET RULE

The configuration has that rule, for that preset, to which the camera is sent. Prints one line for each thing found;
exit code 0: everything was as it should be, 1: not, 77: the Python packages for it are missing.
"""
import sys

try:
    import dbus
    import dbus.mainloop.glib
    from gi.repository import GLib
except ImportError as missing:
    print(f"missing: {missing}")
    sys.exit(77)

DEADLINE_SECONDS = 60
ANALYTICS = "onvif_analytic_service"


class Client:
    def __init__(self, address):
        dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
        self.bus = dbus.bus.BusConnection(address)
        self.loop = GLib.MainLoop()
        self.signals = []
        self.events = []
        self.wanted = None

    def service(self, name):
        target = self.bus.get_object(f"ravel.{name}", f"/ravel/{name}/main")
        return dbus.Interface(target, f"ravel.{name}")

    def listen(self):
        for name in ("commandPriority", "motionState", "presetState", "tourState", "presetModified"):
            self.bus.add_signal_receiver(lambda *values, told=name: self.heard(told, values), name, "ravel.positioning")
        self.bus.add_signal_receiver(self.raised, "analyticsEvent", f"ravel.{ANALYTICS}")

    def heard(self, name, values):
        self.signals.append((name, *values))
        self.look()

    def raised(self, topic, source, data):
        self.events.append((str(topic), str(source), str(data)))
        self.look()

    def look(self):
        if self.wanted and self.wanted():
            self.loop.quit()

    def wait(self, what, condition):
        self.wanted = condition
        if not condition():
            expired = GLib.timeout_add_seconds(DEADLINE_SECONDS, self.give_up, what)
            self.loop.run()
            GLib.source_remove(expired)
        self.wanted = None

    def give_up(self, what):
        sys.exit(f"no {what}; heard {self.signals} and {self.events}")


def require(what, is_so, found):
    if not is_so:
        sys.exit(f"{what}: {found}")
    print(what)


def main():
    address, file, preset, rule = sys.argv[1:]
    client = Client(address)
    analytics = client.service(ANALYTICS)
    positioning = client.service("positioning")

    types = [str(each) for each in analytics.getSupportedRules()]
    require("lists the types of rules", "tt:MotionRegionDetector" in types, types)
    presets = [str(each[0]) for each in positioning.listPresets()]
    require("lists the presets", preset in presets, presets)
    with open(file, encoding="utf-8") as text:
        result, failed = analytics.setConfiguration(text.read())
    require("sets a configuration", (result, failed) == (0, 0), (result, failed))
    stored = str(analytics.getPtzPresetConfiguration(preset))
    require("reads it back", rule in stored, stored)
    used = [str(each) for each in analytics.getUsedPtzPresets()]
    require("sees its preset used", used == [preset], used)

    client.listen()
    positioning.goToPreset(preset, dbus.UInt32(100))
    client.wait("stop", lambda: any(each[0] == "motionState" and not each[1] for each in client.signals))
    # The priority of who moves, on its way, moving, there, standing.
    order = [(each[0], int(each[3] if each[0] == "commandPriority" else each[1])) for each in client.signals]
    expected = [("commandPriority", 100), ("presetState", 1), ("motionState", 1), ("presetState", 2), ("motionState", 0)]
    require("hears the movement in order", order == expected, client.signals)
    named = [str(each[2]) for each in client.signals if each[0] == "presetState"]
    require("hears the preset's name", named == [preset, preset], named)
    position = positioning.getPosition()
    require("stands at the preset", str(position[5]) == preset and not position[4], position)

    client.wait("event", lambda: any(each[1] == rule for each in client.events))
    topic, _, data = next(each for each in client.events if each[1] == rule)
    require("hears an event of the rule", topic.endswith("MotionRegionDetector/Motion") and "State" in data, data)

    try:
        positioning.goToPreset("Nowhere", dbus.UInt32(100))
        sys.exit("a preset that there is not was accepted")
    except dbus.DBusException as refused:
        require("is refused in a sentence", refused.get_dbus_name() == "ravel.Error.Refused", refused)
    print("done")


main()
