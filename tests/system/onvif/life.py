"""The whole life of rules and modules at two presets: created, listed, changed, moved, deleted, over restarts."""
import unittest

import kit
from zeep_client import config, items_of, stored, subcodes, with_digest, with_token, zeep

REGION = (
    '<axt:MotionRegionConfig xmlns:axt="http://www.onvif.org/ver20/analytics" xmlns:tt="http://www.onvif.org/ver10/schema"'
    ' Sensitivity="{}" Armed="true"><tt:Polygon><tt:Point x="{}" y="0.5"/><tt:Point x="-0.5" y="-0.5"/><tt:Point x="0.5" y="0"/>'
    "</tt:Polygon></axt:MotionRegionConfig>"
)
MOTION_RULE, MOTION_MODULE = "tt:MotionRegionDetector", "vca:MotionRegionEngine"
CELL_RULE, CELL_MODULE = "tt:CellMotionDetector", "tt:CellMotionEngine"
ALL = {"ConfigurationToken": kit.TOKEN}


def preset_of(component):
    return next((value for name, value in items_of(component) if name == "PresetToken"), "")


def at(preset):
    return [("PresetToken", preset)] if preset else []


def region(sensitivity=0.5, left=-0.5):
    return [("MotionRegion", REGION.format(sensitivity, left))]


class Life(kit.CameraTest):
    ARGUMENTS = ("--no-factory", *kit.PLACES)

    def setUp(self):
        self.connect()
        self.clear()

    def connect(self):
        client = with_digest(self.address, kit.OPERATOR)
        self.rules, self.modules, self.media2 = client.rules, client.modules, client.media2

    def restart(self):
        self.camera.restart()
        self.connect()

    def clear(self):
        rules = [each.Name for each in self.rules.GetRules(**ALL)]
        modules = [each.Name for each in self.modules.GetAnalyticsModules(**ALL)]
        if rules:
            self.rules.DeleteRules(**ALL, RuleName=rules)
        if modules:
            self.modules.DeleteAnalyticsModules(**ALL, AnalyticsModuleName=modules)
        self.assertEqual(self.listed(), {"rules": [], "modules": []})

    def listed(self):
        """(preset, name, type, parameters) of all rules and modules; every place that lists them says the same."""
        lists = {"rules": self.rules.GetRules(**ALL), "modules": self.modules.GetAnalyticsModules(**ALL)}
        found = {kind: sorted((preset_of(each), each.Name, str(each.Type), items_of(each)) for each in those)
                 for kind, those in lists.items()}  # fmt: skip
        for kind, those in stored(self.media2.GetAnalyticsConfigurations(**ALL)[0]).items():
            self.assertEqual(found[kind], sorted((preset_of(each), each.Name, str(each.Type), items_of(each)) for each in those))
            self.assertEqual([entry[:2] for entry in found[kind]], self.camera.components(kind))
        return found

    def names(self):
        return {kind: [entry[:2] for entry in entries] for kind, entries in self.listed().items()}

    def create_rules(self, *those):
        self.rules.CreateRules(**ALL, Rule=list(those))

    def create_modules(self, *those):
        self.modules.CreateAnalyticsModules(**ALL, AnalyticsModule=list(those))

    def fill(self):
        """One rule and one module of each engine at each of two presets and away from presets."""
        for preset in ("", "Gate", "Door"):
            self.create_modules(config("Objects" + preset, MOTION_MODULE, at(preset) + [("Sensitivity", "60")]),
                                config("Cells" + preset, CELL_MODULE, at(preset) + [("Sensitivity", "40")]))  # fmt: skip
            self.create_rules(config("Region" + preset, MOTION_RULE, at(preset), region()),
                              config("Grid" + preset, CELL_RULE, at(preset) + [("MinCount", "3")]))  # fmt: skip

    def refused(self, call, *wanted):
        before = self.listed()
        with self.assertRaises(zeep.exceptions.Fault) as caught:
            call()
        self.assertEqual(subcodes(caught.exception), list(wanted), caught.exception)
        self.assertEqual(self.listed(), before, "a refusal changes nothing")

    def test_rules_and_modules_stay_at_their_presets_over_a_restart(self):
        self.fill()
        before = self.listed()
        self.assertEqual([entry[:2] for entry in before["rules"]],
                         [("", "Grid"), ("", "Region"), ("Door", "GridDoor"), ("Door", "RegionDoor"), ("Gate", "GridGate"),
                          ("Gate", "RegionGate")])  # fmt: skip
        self.assertEqual([entry[:2] for entry in before["modules"]],
                         [("", "Cells"), ("", "Objects"), ("Door", "CellsDoor"), ("Door", "ObjectsDoor"), ("Gate", "CellsGate"),
                          ("Gate", "ObjectsGate")])  # fmt: skip
        self.restart()
        self.assertEqual(self.listed(), before)

    def test_a_rule_is_active_where_the_camera_stands_at_its_preset(self):
        self.fill()
        for preset in ("Gate", "Door"):
            self.camera.command("preset", "go", preset)
            kit.eventually(lambda: self.active("Motion") == preset, f"rules of {preset}")

    def active(self, engine):
        import json

        lines = [json.loads(line) for line in self.camera.command("status", "--json").splitlines()]
        active = [line for line in lines if line.get("part") == "active" and line.get("engine") == engine]
        return active and next((line.get("preset") for line in lines if line.get("part") == "engine" and line["engine"] == engine), "")

    def test_a_change_of_one_parameter_leaves_the_others_and_all_other_rules(self):
        self.fill()
        before = self.listed()
        self.rules.ModifyRules(**ALL, Rule=[config("GridGate", CELL_RULE, [("AlarmOnDelay", "700")])])
        after = self.listed()
        changed = [(old, new) for old, new in zip(before["rules"], after["rules"]) if old != new]
        self.assertEqual(len(changed), 1)
        old, new = changed[0]
        self.assertEqual(new[:2], ("Gate", "GridGate"))
        self.assertIn(("AlarmOnDelay", "700"), new[3])
        self.assertEqual([item for item in new[3] if item[0] != "AlarmOnDelay"],
                         [item for item in old[3] if item[0] != "AlarmOnDelay"])  # fmt: skip
        self.assertEqual(after["modules"], before["modules"])
        self.restart()
        self.assertEqual(self.listed(), after)

    def test_a_rule_and_a_module_move_to_another_preset(self):
        self.fill()
        self.modules.DeleteAnalyticsModules(**ALL, AnalyticsModuleName=["CellsGate"])
        self.rules.ModifyRules(**ALL, Rule=[config("RegionGate", MOTION_RULE, at("Door"))])
        self.modules.ModifyAnalyticsModules(**ALL, AnalyticsModule=[config("CellsDoor", CELL_MODULE, [("PresetToken", "Gate")])])
        names = self.names()
        self.assertIn(("Door", "RegionGate"), names["rules"])
        self.assertNotIn(("Gate", "RegionGate"), names["rules"])
        self.assertIn(("Gate", "CellsDoor"), names["modules"])
        self.rules.ModifyRules(**ALL, Rule=[config("RegionGate", MOTION_RULE, [("PresetToken", "")])])
        self.assertIn(("", "RegionGate"), self.names()["rules"])
        before = self.listed()
        self.restart()
        self.assertEqual(self.listed(), before)

    def test_what_is_not_deleted_stays(self):
        self.fill()
        self.rules.DeleteRules(**ALL, RuleName=["RegionGate", "GridDoor"])
        self.restart()
        self.assertEqual(self.names()["rules"], [("", "Grid"), ("", "Region"), ("Door", "RegionDoor"), ("Gate", "GridGate")])
        self.modules.DeleteAnalyticsModules(**ALL, AnalyticsModuleName=["Objects", "CellsGate"])
        self.restart()
        self.assertEqual(self.names(), {
            "rules": [("", "Grid"), ("", "Region"), ("Door", "RegionDoor"), ("Gate", "GridGate")],
            "modules": [("", "Cells"), ("Door", "CellsDoor"), ("Door", "ObjectsDoor"), ("Gate", "ObjectsGate")]})  # fmt: skip

    def test_the_last_rule_and_the_last_module_go_in_either_order(self):
        for preset in ("", "Gate"):
            for rule_first in (True, False):
                self.create_modules(config("m", MOTION_MODULE, at(preset)))
                self.create_rules(config("r", MOTION_RULE, at(preset), region()))
                steps = [lambda: self.rules.DeleteRules(**ALL, RuleName=["r"]),
                         lambda: self.modules.DeleteAnalyticsModules(**ALL, AnalyticsModuleName=["m"])]  # fmt: skip
                first, second = steps if rule_first else reversed(steps)
                first()
                left = {"rules": [], "modules": [(preset, "m")]} if rule_first else {"rules": [(preset, "r")], "modules": []}
                self.assertEqual(self.names(), left)
                self.restart()
                self.assertEqual(self.names(), left)
                second()
                self.restart()
                self.assertEqual(self.names(), {"rules": [], "modules": []})

    def test_a_list_is_done_wholly_or_not_at_all(self):
        self.fill()
        good = config("Fine", MOTION_RULE, at("Gate"), region())
        create = lambda *those: lambda: self.create_rules(*those)
        self.refused(create(good, config("RegionDoor", MOTION_RULE)), "InvalidArgVal", "RuleAlreadyExistent")
        self.refused(create(good, config("ObjectsDoor", MOTION_RULE)), "InvalidArgVal", "RuleAlreadyExistent")
        self.refused(create(good, config("Fine", MOTION_RULE)), "InvalidArgVal", "RuleAlreadyExistent")
        self.refused(create(good, config("x", "tt:NoSuchDetector")), "InvalidArgVal", "InvalidRule")
        self.refused(create(good, config("a@b", MOTION_RULE)), "InvalidArgVal", "InvalidRule")
        self.refused(create(good, config("x", CELL_RULE, [("MinCount", "many")])), "InvalidArgVal", "InvalidRule")
        modify = lambda *those: lambda: self.rules.ModifyRules(**ALL, Rule=list(those))
        other = config("GridGate", CELL_RULE, [("MinCount", "7")])
        self.refused(modify(other, config("nothing", CELL_RULE)), "InvalidArgVal", "RuleNotExistent")
        self.refused(modify(other, config("GridDoor", MOTION_RULE)), "Action", "TypeChangeProhibited")
        self.refused(lambda: self.rules.DeleteRules(**ALL, RuleName=["GridGate", "nothing"]), "InvalidArgVal", "RuleNotExistent")
        self.refused(lambda: self.modules.DeleteAnalyticsModules(**ALL, AnalyticsModuleName=["Objects", "nothing"]),
                     "InvalidArgVal", "NameNotExistent")  # fmt: skip
        self.refused(lambda: self.create_modules(config("x", CELL_MODULE, at("Gate"))), "Action", "TooManyModules")
        for call in (self.rules.GetRules, self.modules.GetAnalyticsModules, self.rules.GetSupportedRules):
            self.refused(lambda call=call: call(ConfigurationToken="nothing"), "InvalidArgVal", "NoConfig")

    def test_two_clients_change_different_parameters_of_one_rule(self):
        self.create_rules(config("Grid", CELL_RULE, at("Gate") + [("MinCount", "3")]))
        other = with_token(self.address, kit.OPERATOR).rules
        self.rules.ModifyRules(**ALL, Rule=[config("Grid", CELL_RULE, [("MinCount", "9")])])
        other.ModifyRules(**ALL, Rule=[config("Grid", CELL_RULE, [("AlarmOffDelay", "250")])])
        items = self.listed()["rules"][0][3]
        self.assertIn(("MinCount", "9"), items)
        self.assertIn(("AlarmOffDelay", "250"), items)

    def test_the_command_line_and_clients_see_each_others_changes(self):
        self.fill()
        self.camera.command("rules", "delete", "RegionGate")
        self.assertNotIn(("Gate", "RegionGate"), self.names()["rules"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
