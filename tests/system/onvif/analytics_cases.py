"""What the public test cases for analytics devices ask of a camera, one test each, over zeep and the official descriptions.

Of what a camera may leave out (faces, plates, counters ...) a test says that it is right where it is offered.
"""
import re
import unittest

import kit
from zeep_client import config, etree, items_of, stored, with_digest, with_token

ALL = {"ConfigurationToken": kit.TOKEN}
CAPABILITIES = ("RuleSupport", "AnalyticsModuleSupport", "RuleOptionsSupported", "AnalyticsModuleOptionsSupported",
                "SupportedMetadata")  # fmt: skip
NAME = r"[A-Za-z_][\w.-]*"
TOPIC = re.compile(f"^{NAME}:{NAME}(/({NAME}:)?{NAME})*$")
# Values of parameters for which there are no options.
ANY_VALUE = {"boolean": "true", "string": "test value", "integer": "1", "int": "1", "float": "5.4", "duration": "PT60S",
             "base64Binary": "/v/+8A=="}  # fmt: skip


def tag(name):
    prefix, last = name.split(":")
    namespace = {"tt": kit.TT, "axt": kit.AXT, "tan": kit.TAN}[prefix]
    return f"{{{namespace}}}{last}"


def local(qname):
    return str(qname).split(":")[-1].split("}")[-1]


def names(descriptions):
    return [str(each.Name) for each in descriptions]


def parameter_names(description):
    return [item.Name for item in description.Parameters.SimpleItemDescription + description.Parameters.ElementItemDescription]


def item_names(component):
    return [name for name, _ in items_of(component)]


def number(value):
    return str(int(value)) if float(value).is_integer() else str(value)


class Kind:
    """Rules, or modules: the operations on them under the same names."""

    def __init__(self, client, rules):
        self.rules = rules
        service = client.rules if rules else client.modules
        self.media2 = client.media2
        list_name = "Rule" if rules else "AnalyticsModule"
        self.names_key = list_name + "Name"
        self.list_key = list_name
        self.supported = (lambda: service.GetSupportedRules(**ALL).RuleDescription) if rules else (
            lambda: service.GetSupportedAnalyticsModules(**ALL).AnalyticsModuleDescription)  # fmt: skip
        self.get = lambda: (service.GetRules if rules else service.GetAnalyticsModules)(**ALL)
        self.create_all = service.CreateRules if rules else service.CreateAnalyticsModules
        self.modify_all = service.ModifyRules if rules else service.ModifyAnalyticsModules
        self.delete_all = service.DeleteRules if rules else service.DeleteAnalyticsModules
        self.get_options = service.GetRuleOptions if rules else service.GetAnalyticsModuleOptions
        self.option_type = "RuleType" if rules else "AnalyticsModule"
        self.type_argument = "RuleType" if rules else "Type"

    def options(self, kind=None):
        return self.get_options(**ALL, **({self.type_argument: kind} if kind else {}))

    def create(self, component):
        self.create_all(**ALL, **{self.list_key: [component]})

    def modify(self, component):
        self.modify_all(**ALL, **{self.list_key: [component]})

    def delete(self, name):
        self.delete_all(**ALL, **{self.names_key: [name]})

    def stored(self):
        return stored(self.media2.GetAnalyticsConfigurations(**ALL)[0])["rules" if self.rules else "modules"]


class Cases:
    """All of them; for a camera of each kind below."""

    def setUp(self):
        self.client = with_digest(self.address, kit.OPERATOR)
        self.rules, self.modules = Kind(self.client, True), Kind(self.client, False)

    # -- the service

    def test_the_service_is_told_with_its_capabilities_only_when_they_are_asked_for(self):
        def analytics(with_capabilities):
            services = self.client.device.GetServices(IncludeCapability=with_capabilities)
            return next(each for each in services if each.Namespace == kit.TAN)

        self.assertIsNone(analytics(False).Capabilities)
        told = analytics(True).Capabilities._value_1
        own = self.client.modules.GetServiceCapabilities()
        for name in CAPABILITIES:
            self.assertEqual(told.get(name) == "true", bool(getattr(own, name)), name)

    def test_a_camera_with_supported_metadata_supports_modules(self):
        own = self.client.modules.GetServiceCapabilities()
        self.assertTrue(own.SupportedMetadata)
        self.assertTrue(own.AnalyticsModuleSupport)

    # -- what there can be

    def check_descriptions(self, kind):
        descriptions = kind.supported()
        self.assertTrue(descriptions)
        self.assertEqual(len(set(names(descriptions))), len(descriptions))
        have = [str(each.Type) for each in kind.get()]
        for each in descriptions:
            self.assertGreaterEqual(each.maxInstances, 1)
            self.assertEqual(len(set(parameter_names(each))), len(parameter_names(each)))
            self.assertEqual("PresetToken" in parameter_names(each), self.MOVES)
            self.assertNotIn("PtzPreset", parameter_names(each))
            for message in each.Messages:
                self.assertRegex(message.ParentTopic._value_1 if hasattr(message.ParentTopic, "_value_1") else message.ParentTopic, TOPIC)
                for part in (message.Source, message.Key, message.Data):
                    items = [item.Name for item in part.SimpleItemDescription + part.ElementItemDescription] if part else []
                    self.assertEqual(len(set(items)), len(items))
            if each.fixed:
                self.assertIn(str(each.Name), have)

    def test_module_descriptions_are_complete_and_unambiguous(self):
        self.check_descriptions(self.modules)

    def test_rule_descriptions_are_complete_and_unambiguous(self):
        self.check_descriptions(self.rules)
        for each in self.rules.supported():
            for message in each.Messages:
                source = {item.Name: local(item.Type) for item in message.Source.SimpleItemDescription}
                self.assertIn("ReferenceToken", (source.get("VideoSource"), source.get("VideoSourceConfigurationToken")))
                self.assertEqual("string", source.get("Rule", source.get("RuleName")))

    def check_options(self, kind, other):
        every = kind.options()
        key = lambda option: (str(getattr(option, kind.option_type)), option.Name)
        self.assertTrue(every)
        self.assertFalse([each.Name for each in every if getattr(each, other)])
        for description in kind.supported():
            own = kind.options(description.Name)
            self.assertLessEqual({key(each) for each in own}, {key(each) for each in every})
            for each in own:
                self.assertEqual(getattr(each, kind.option_type) or description.Name, description.Name)
                self.assertIn(each.Name, parameter_names(description))

    def test_module_options_of_a_type_are_a_part_of_all_options(self):
        self.check_options(self.modules, "RuleType")

    def test_rule_options_of_a_type_are_a_part_of_all_options(self):
        self.check_options(self.rules, "AnalyticsModule")

    def check_components(self, kind):
        described = {str(each.Name): each for each in kind.supported()}
        have = kind.get()
        for each in have:
            self.assertIn(str(each.Type), described)
            self.assertLessEqual(set(item_names(each)), set(parameter_names(described[str(each.Type)])))
        for name, description in described.items():
            if description.fixed:
                self.assertIn(name, [str(each.Type) for each in have])

    def test_modules_are_of_supported_types_and_have_described_parameters(self):
        self.assertEqual(not self.modules.get(), self.MOVES)
        self.check_components(self.modules)

    def test_rules_are_of_supported_types_and_have_described_parameters(self):
        self.rules.create(config("a rule", self.rules.supported()[0].Name))
        self.check_components(self.rules)
        self.rules.delete("a rule")

    # -- the life of one

    def room_for(self, kind, description):
        """Deletes one of a type that is full; puts it back at the end of the test."""
        mine = [each for each in kind.get() if str(each.Type) == str(description.Name)]
        if len(mine) < description.maxInstances:
            return
        taken = mine[0]
        kind.delete(taken.Name)
        self.addCleanup(lambda: kind.create(taken))

    def both_views(self, kind, name):
        """A component as the two lists show it, which must be the same; nothing when it is in neither."""
        found = [[each for each in view if each.Name == name] for view in (kind.get(), kind.stored())]
        self.assertEqual(len(found[0]), len(found[1]))
        if not found[0]:
            return None
        self.assertEqual(items_of(found[0][0]), items_of(found[1][0]))
        self.assertEqual(str(found[0][0].Type), str(found[1][0].Type))
        return found[0][0]

    def created(self, kind, description):
        self.room_for(kind, description)
        kind.create(config("TestComponent", description.Name))
        self.addCleanup(lambda: self.both_views(kind, "TestComponent") and kind.delete("TestComponent"))
        return self.both_views(kind, "TestComponent")

    def each_type(self, kind):
        for description in kind.supported():
            yield description
            self.doCleanups()

    def check_create(self, kind):
        for description in self.each_type(kind):
            component = self.created(kind, description)
            self.assertIsNotNone(component)
            self.assertLessEqual(set(item_names(component)), set(parameter_names(description)))

    def test_a_module_is_created_without_parameters_and_seen_in_both_lists(self):
        self.check_create(self.modules)

    def test_a_rule_is_created_without_parameters_and_seen_in_both_lists(self):
        self.check_create(self.rules)

    def check_delete(self, kind):
        for description in self.each_type(kind):
            self.created(kind, description)
            kind.delete("TestComponent")
            self.assertIsNone(self.both_views(kind, "TestComponent"))

    def test_a_deleted_module_is_gone_from_both_lists(self):
        self.check_delete(self.modules)

    def test_a_deleted_rule_is_gone_from_both_lists(self):
        self.check_delete(self.rules)

    def value_of(self, option, old):
        """Another value that the option allows; nothing for an option of an element."""
        allowed = option._value_1
        kind = type(allowed).__name__
        if kind in ("IntRange", "FloatRange"):
            return number(allowed.Min if old is None or float(old) != allowed.Min else allowed.Max)
        if kind in ("StringItems", "StringList"):
            return next(each for each in allowed.Item if each != old)
        self.assertEqual(kind, "_Element", "an option of a kind that no engine here has")
        return None

    def check_modify(self, kind, with_options):
        tried = 0
        for description in self.each_type(kind):
            options = {each.Name: each for each in kind.options(description.Name)}
            for item in description.Parameters.SimpleItemDescription:
                if (item.Name in options) != with_options or item.Name == "PresetToken":
                    continue
                before = dict(items_of(self.created(kind, description)))
                value = (self.value_of(options[item.Name], before.get(item.Name)) if with_options
                         else ANY_VALUE[local(item.Type)])  # fmt: skip
                if value is not None:
                    kind.modify(config("TestComponent", description.Name, [(item.Name, value)]))
                    after = dict(items_of(self.both_views(kind, "TestComponent")))
                    self.assertEqual(after.pop(item.Name), value)
                    before.pop(item.Name, None)
                    self.assertEqual(after, before)
                    tried += 1
                self.doCleanups()
        self.assertGreater(tried, 0)

    def test_a_modules_parameter_with_options_takes_a_value_of_them(self):
        self.check_modify(self.modules, True)

    def test_a_modules_parameter_without_options_takes_a_value_of_its_type(self):
        self.check_modify(self.modules, False)

    def test_a_rules_parameter_with_options_takes_a_value_of_them(self):
        self.check_modify(self.rules, True)

    def test_a_rules_parameter_without_options_takes_a_value_of_its_type(self):
        self.check_modify(self.rules, False)

    # -- metadata

    def metadata(self, kind=None):
        return self.client.modules.GetSupportedMetadata(**({"Type": kind} if kind else {}))

    def sample(self, each):
        """What is told of one module type, as XML."""
        parent = etree.Element("sample")
        element = self.client.modules._client.get_element(f"{{{kit.TAN}}}GetSupportedMetadataResponse")
        element.render(parent, {"AnalyticsModule": [each]})
        return parent

    def frames(self):
        found = [frame for each in self.metadata() for frame in self.sample(each).iter(f"{{{kit.TAN}}}SampleFrame")]
        self.assertTrue(found)
        return found

    def each_sample(self, name):
        for frame in self.frames():
            yield from frame.iter(tag("tt:" + name))

    def test_supported_metadata_is_told_once_for_each_module_type_and_alone_when_asked(self):
        every = self.metadata()
        self.assertTrue(every)
        types = [str(each.Type) for each in every]
        self.assertEqual(len(set(types)), len(types))
        self.assertLessEqual(set(types), set(names(self.modules.supported())))
        for each in every:
            alone = self.metadata(each.Type)
            self.assertEqual([str(one.Type) for one in alone], [str(each.Type)])
            self.assertEqual(etree.tostring(self.sample(alone[0])), etree.tostring(self.sample(each)))

    def test_sample_shapes_lie_in_the_upper_left_quarter(self):
        for frame in self.frames():
            self.assertIsNone(frame.find(tag("tt:Transformation")), "not tried here")
            for box in frame.iter(tag("tt:BoundingBox")):
                left, right, bottom, top = (float(box.get(name)) for name in ("left", "right", "bottom", "top"))
                self.assertTrue(-1 <= left <= right <= 0 and 0 <= bottom <= top <= 1, etree.tostring(box))
                center = box.getparent().find(tag("tt:CenterOfGravity"))
                self.assertTrue(left <= float(center.get("x")) <= right and bottom <= float(center.get("y")) <= top)

    def test_sample_classes_have_a_likelihood_of_at_most_one(self):
        for kind in self.each_sample("Type"):
            self.assertLessEqual(float(kind.get("Likelihood", "1")), 1)

    def test_a_sample_vehicle_says_what_it_is(self):
        for vehicle in self.each_sample("VehicleInfo"):
            self.assertIsNotNone(vehicle.find(tag("tt:Type")))

    def test_a_sample_place_on_earth_is_one(self):
        for place in self.each_sample("GeoLocation"):
            self.assertLessEqual(abs(float(place.get("lat"))), 90)
            self.assertLessEqual(abs(float(place.get("lon"))), 180)

    def test_a_sample_plate_has_its_text(self):
        for plate in self.each_sample("LicensePlateInfo"):
            self.assertTrue(plate.findtext(tag("tt:PlateNumber")))

    def test_a_sample_face_and_a_sample_body_say_something(self):
        for name in ("HumanFace", "HumanBody"):
            for found in self.each_sample(name):
                self.assertTrue(len(found))

    def test_a_sample_picture_is_an_address_or_base64(self):
        for name in ("ImageRef", "Image", "SceneImageRef", "SceneImage"):
            for picture in self.each_sample(name):
                self.assertRegex(picture.text, r"^https?://" if name.endswith("Ref") else r"^[A-Za-z0-9+/\s]+=*$")

    # -- regions with motion

    def description(self, name):
        return next((each for each in self.rules.supported() if local(each.Name) == name), None)

    def test_the_region_rule_is_described_with_its_element_and_its_message(self):
        rule = self.description("MotionRegionDetector")
        self.assertEqual([(item.Name, local(item.Type)) for item in rule.Parameters.ElementItemDescription],
                         [("MotionRegion", "MotionRegionConfig")])  # fmt: skip
        message = rule.Messages[0]
        self.assertTrue(message.IsProperty)
        self.assertEqual({item.Name for item in message.Source.SimpleItemDescription}, {"VideoSource", "RuleName"})
        self.assertEqual([(item.Name, local(item.Type)) for item in message.Data.SimpleItemDescription], [("State", "boolean")])

    def region_options(self):
        return next(each for each in self.rules.options("tt:MotionRegionDetector") if each.Name == "MotionRegion")._value_1

    def test_the_region_rule_tells_the_limits_of_its_polygon(self):
        options = self.region_options()
        self.assertEqual(options.tag, tag("axt:MotionRegionConfigOptions"))
        limits = options.find(tag("axt:PolygonLimits"))
        self.assertLessEqual(3, int(limits.findtext(tag("tt:Min"))))
        self.assertLessEqual(int(limits.findtext(tag("tt:Min"))), int(limits.findtext(tag("tt:Max"))))

    def region(self, points, armed, sensitivity):
        node = etree.Element(tag("axt:MotionRegionConfig"), nsmap={"axt": kit.AXT, "tt": kit.TT})
        node.set("Armed", armed)
        node.set("Sensitivity", sensitivity)
        polygon = etree.SubElement(node, tag("tt:Polygon"))
        for x, y in points:
            etree.SubElement(polygon, tag("tt:Point"), x=x, y=y)
        return config("TestMotionRegion", "tt:MotionRegionDetector", elements=[("MotionRegion", etree.tostring(node))])

    def read_region(self):
        node = etree.fromstring(dict(items_of(self.both_views(self.rules, "TestMotionRegion")))["MotionRegion"])
        points = [(float(each.get("x")), float(each.get("y"))) for each in node.iter(tag("tt:Point"))]
        return points, node.get("Armed"), float(node.get("Sensitivity"))

    def test_a_region_is_created_as_it_was_sent(self):
        self.addCleanup(lambda: self.rules.delete("TestMotionRegion"))
        self.rules.create(self.region([("-0.5", "-0.5"), ("-0.5", "0.5"), ("0.5", "0.5")], "true", "0.5"))
        self.assertEqual(self.read_region(), ([(-0.5, -0.5), (-0.5, 0.5), (0.5, 0.5)], "true", 0.5))

    def test_a_region_is_changed_as_it_was_sent(self):
        self.addCleanup(lambda: self.rules.delete("TestMotionRegion"))
        self.rules.create(self.region([("-0.5", "-0.5"), ("-0.5", "0.5"), ("0.5", "0.5")], "true", "0.5"))
        self.rules.modify(self.region([("0", "0"), ("1", "0"), ("1", "1"), ("0", "1")], "false", "0.25"))
        self.assertEqual(self.read_region(), ([(0, 0), (1, 0), (1, 1), (0, 1)], "false", 0.25))

    # -- lines that are counted

    def test_a_counting_rule_is_described_with_its_counter(self):
        rule = self.description("LineCounting")
        if rule:
            self.assertIn(("Segments", "Polyline"), [(each.Name, local(each.Type)) for each in rule.Parameters.ElementItemDescription])
            self.assertTrue(rule.Messages[0].IsProperty)
            self.assertIn(("Count", "int"), [(each.Name, local(each.Type)) for each in rule.Messages[0].Data.SimpleItemDescription])

    def test_a_counting_rule_tells_ranges_of_time_and_points(self):
        if self.description("LineCounting"):
            allowed = {"ReportTimeInterval": "DurationRange", "Segments": "IntRange"}
            for option in self.rules.options("tt:LineCounting"):
                self.assertEqual(local(option._value_1.tag), allowed.get(option.Name, local(option._value_1.tag)))

    # -- before all of them

    def test_a_list_of_configurations_is_there_for_every_user(self):
        found = with_token(self.address, kit.USER).media2.GetAnalyticsConfigurations()
        self.assertEqual([each.token for each in found], [kit.TOKEN])


class AFixedCameraWithTheModulesOfItsFactory(Cases, kit.CameraTest):
    ARGUMENTS = ()
    MOVES = False


class APtzCameraThatBeginsEmpty(Cases, kit.CameraTest):
    ARGUMENTS = ("--no-factory", *kit.PLACES)
    MOVES = True


if __name__ == "__main__":
    unittest.main(verbosity=2)
