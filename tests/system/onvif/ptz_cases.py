"""What the public test cases for PTZ devices ask of a camera, one test each, over zeep and the official descriptions.

The camera moves as a real one does, so a test waits until it stands before it looks where it is.
"""
import json
import unittest

import kit
from zeep_client import subcodes, with_digest, zeep

TPTZ = "http://www.onvif.org/ver20/ptz/wsdl"
PAN_TILT = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/"
NEAR = 0.002  # the camera has thousandths of a degree and hundredths of magnification


def vector(x=None, y=None, zoom=None, space=None):
    """A position, translation, velocity or speed; what is not given is not sent."""
    made = {}
    if x is not None:
        made["PanTilt"] = {"x": x, "y": y, **({"space": space} if space else {})}
    if zoom is not None:
        made["Zoom"] = {"x": zoom}
    return made


class PtzCamera(kit.CameraTest):
    """A profile with PTZ, and the answers of the service by short names."""

    def setUp(self):
        self.client = with_digest(self.address, kit.OPERATOR)
        self.ptz = self.client.ptz
        profiles = self.client.media.GetProfiles()
        self.profile = next(each.token for each in profiles if each.PTZConfiguration)
        self.addCleanup(self.leave_as_it_was)

    def leave_as_it_was(self):
        self.ptz.Stop(ProfileToken=self.profile)
        self.stands()
        for tour in self.tours():
            self.ptz.RemovePresetTour(ProfileToken=self.profile, PresetTourToken=tour.token)
        for preset in self.presets():
            if preset.token not in ("Gate", "Door"):
                self.ptz.RemovePreset(ProfileToken=self.profile, PresetToken=preset.token)

    def status(self):
        return self.ptz.GetStatus(ProfileToken=self.profile)

    def stands(self):
        """The status once pan, tilt and zoom stand."""

        def standing():
            status = self.status()
            return status.MoveStatus.PanTilt == "IDLE" and status.MoveStatus.Zoom == "IDLE" and status

        return kit.eventually(standing, "a camera that stands")

    def is_at(self, x, y, zoom):
        position = self.stands().Position
        for expected, found in ((x, position.PanTilt.x), (y, position.PanTilt.y), (zoom, position.Zoom.x)):
            self.assertAlmostEqual(expected, found, delta=NEAR)

    def moves_to(self, **where):
        self.ptz.AbsoluteMove(ProfileToken=self.profile, Position=vector(**where))

    def presets(self):
        return self.ptz.GetPresets(ProfileToken=self.profile)

    def tours(self):
        return self.ptz.GetPresetTours(ProfileToken=self.profile)

    def refused(self, codes, operation, **arguments):
        with self.assertRaises(zeep.exceptions.Fault) as raised:
            getattr(self.ptz, operation)(**arguments)
        self.assertEqual(subcodes(raised.exception), codes)


class Movement(PtzCamera):
    ARGUMENTS = ("--no-factory", *kit.PLACES)

    # -- what there is

    def test_the_service_is_told_with_its_capabilities(self):
        services = self.client.device.GetServices(IncludeCapability=True)
        told = next(each for each in services if each.Namespace == TPTZ).Capabilities._value_1
        own = self.ptz.GetServiceCapabilities()
        for name in ("EFlip", "Reverse", "GetCompatibleConfigurations", "MoveStatus", "StatusPosition"):
            self.assertEqual(told.get(name) == "true", bool(getattr(own, name)), name)
        self.assertTrue(own.MoveStatus and own.StatusPosition)
        self.assertIn("/onvif/ptz_service", self.client.device.GetCapabilities(Category="PTZ").PTZ.XAddr)

    def test_a_node_is_the_same_in_the_list_and_alone(self):
        nodes = self.ptz.GetNodes()
        self.assertTrue(nodes)
        for node in nodes:
            alone = self.ptz.GetNode(NodeToken=node.token)
            spaces = node.SupportedPTZSpaces
            self.assertEqual(str(spaces), str(alone.SupportedPTZSpaces))
            self.assertEqual((node.token, node.Name, node.MaximumNumberOfPresets, node.HomeSupported),
                             (alone.token, alone.Name, alone.MaximumNumberOfPresets, alone.HomeSupported))  # fmt: skip
            generic = {"AbsolutePanTiltPositionSpace": "PositionGenericSpace",
                       "RelativePanTiltTranslationSpace": "TranslationGenericSpace",
                       "ContinuousPanTiltVelocitySpace": "VelocityGenericSpace"}  # fmt: skip
            for kind, uri in generic.items():
                self.assertIn(PAN_TILT + uri, [each.URI for each in getattr(spaces, kind)])
                for space in getattr(spaces, kind):
                    self.assertLess(space.XRange.Min, space.XRange.Max)
                    self.assertLess(space.YRange.Min, space.YRange.Max)
            self.assertGreaterEqual(node.MaximumNumberOfPresets, 1)
        self.refused(["InvalidArgVal", "NoEntity"], "GetNode", NodeToken="xyz")

    def test_a_configuration_is_the_same_everywhere_and_names_what_there_is(self):
        configurations = self.ptz.GetConfigurations()
        nodes = {each.token: each for each in self.ptz.GetNodes()}
        for one in configurations:
            self.assertEqual(str(one), str(self.ptz.GetConfiguration(PTZConfigurationToken=one.token)))
            spaces = nodes[one.NodeToken].SupportedPTZSpaces
            self.assertIn(one.DefaultAbsolutePantTiltPositionSpace, [each.URI for each in spaces.AbsolutePanTiltPositionSpace])
            self.assertIn(one.DefaultRelativePanTiltTranslationSpace, [each.URI for each in spaces.RelativePanTiltTranslationSpace])
            options = self.ptz.GetConfigurationOptions(ConfigurationToken=one.token)
            self.assertEqual(str(options.Spaces), str(spaces))
            self.assertLessEqual(options.PTZTimeout.Min, one.DefaultPTZTimeout)
            self.assertLessEqual(one.DefaultPTZTimeout, options.PTZTimeout.Max)
        own = next(each for each in self.client.media.GetProfiles() if each.token == self.profile).PTZConfiguration
        self.assertIn(str(own), [str(each) for each in configurations])
        self.refused(["InvalidArgVal", "NoConfig"], "GetConfiguration", PTZConfigurationToken="xyz")

    def test_every_compatible_configuration_can_be_added_to_a_profile(self):
        media = self.client.media
        made = media.CreateProfile(Name="compatible").token
        self.addCleanup(media.DeleteProfile, ProfileToken=made)
        for each in self.ptz.GetCompatibleConfigurations(ProfileToken=made):
            media.AddPTZConfiguration(ProfileToken=made, ConfigurationToken=each.token)
            self.assertEqual(media.GetProfile(ProfileToken=made).PTZConfiguration.token, each.token)
            media.RemovePTZConfiguration(ProfileToken=made)
        self.refused(["InvalidArgVal", "NoPTZProfile"], "GetStatus", ProfileToken=made)

    def test_a_configuration_that_is_set_is_got_and_one_that_cannot_be_is_refused(self):
        one = self.ptz.GetConfigurations()[0]
        old = one.DefaultPTZTimeout
        one.DefaultPTZTimeout = self.ptz.GetConfigurationOptions(ConfigurationToken=one.token).PTZTimeout.Min
        self.ptz.SetConfiguration(PTZConfiguration=one, ForcePersistence=True)
        self.assertEqual(str(one), str(self.ptz.GetConfigurations()[0]))
        wrong = self.ptz.GetConfigurations()[0]
        wrong.DefaultAbsolutePantTiltPositionSpace = PAN_TILT + "Nowhere"
        self.refused(["InvalidArgVal", "ConfigModify"], "SetConfiguration", PTZConfiguration=wrong, ForcePersistence=True)
        one.DefaultPTZTimeout = old
        self.ptz.SetConfiguration(PTZConfiguration=one, ForcePersistence=True)
        self.assertEqual(str(one), str(self.ptz.GetConfigurations()[0]))

    # -- moves

    def test_an_absolute_move_ends_where_it_was_sent(self):
        for x, y, zoom in ((-0.1, 0.1, 0.2), (0.15, -0.05, 0.0), (0, 0, 0.1)):
            self.moves_to(x=x, y=y, zoom=zoom)
            self.is_at(x, y, zoom)
        self.moves_to(zoom=0.3)
        self.is_at(0, 0, 0.3)
        self.moves_to(x=36, y=-9, space=PAN_TILT + "SphericalPositionSpaceDegrees")
        self.is_at(0.2, -0.1, 0.3)
        at = self.position_of_the_command_line()
        self.assertAlmostEqual(at["pan"], 36, delta=NEAR)
        self.assertAlmostEqual(at["tilt"], -9, delta=NEAR)
        self.assertAlmostEqual(at["zoom"], 1 + 0.3 * 29, delta=0.01)

    def position_of_the_command_line(self):
        lines = [json.loads(line) for line in self.camera.command("status", "--json").splitlines()]
        return next(line for line in lines if line.get("part") == "position")

    def test_a_camera_tells_that_it_moves_until_it_stands(self):
        self.moves_to(x=0.5, y=0, zoom=0)
        self.assertEqual(self.status().MoveStatus.PanTilt, "MOVING")
        self.is_at(0.5, 0, 0)
        first, second = self.status().UtcTime, self.status().UtcTime
        self.assertLessEqual(first, second)

    def test_a_relative_move_goes_so_far_and_ends_at_the_end_of_an_axis(self):
        self.moves_to(x=0, y=0, zoom=0.5)
        self.is_at(0, 0, 0.5)
        generic = PAN_TILT + "TranslationGenericSpace"
        self.ptz.RelativeMove(ProfileToken=self.profile, Translation=vector(0.1, 0.1, -0.25, space=generic))
        self.is_at(0.1, 0.1, 0.25)
        self.ptz.RelativeMove(ProfileToken=self.profile, Translation=vector(0, 1, -1, space=generic))
        self.is_at(0.1, 1, 0)

    def test_a_relative_move_brings_a_point_of_the_picture_into_the_middle(self):
        self.moves_to(x=0, y=0, zoom=0.1)
        self.is_at(0, 0, 0.1)
        wide = self.position_of_the_command_line()["angleOfView"]
        self.ptz.RelativeMove(ProfileToken=self.profile, Translation=vector(1, 0, space=PAN_TILT + "TranslationSpaceFov"))
        self.is_at(wide / 2 / 180, 0, 0.1)

    def test_a_continuous_move_goes_on_until_its_timeout_or_a_stop(self):
        self.moves_to(x=0, y=0, zoom=0)
        self.is_at(0, 0, 0)
        self.ptz.ContinuousMove(ProfileToken=self.profile, Velocity=vector(0.1, 0.1, 0.1), Timeout="PT0.5S")
        position = self.stands().Position
        self.assertGreater(position.PanTilt.x, 0)
        self.assertGreater(position.PanTilt.y, 0)
        self.assertGreater(position.Zoom.x, 0)
        self.ptz.ContinuousMove(ProfileToken=self.profile, Velocity=vector(-0.1, 0))
        kit.eventually(lambda: self.status().Position.PanTilt.x < position.PanTilt.x - 0.001, "a move to the left")
        self.ptz.Stop(ProfileToken=self.profile)
        stopped = self.stands().Position
        self.assertEqual(str(stopped), str(self.status().Position))

    def test_a_stop_of_some_axes_leaves_the_others(self):
        self.moves_to(x=0, y=0, zoom=0)
        self.is_at(0, 0, 0)
        self.ptz.ContinuousMove(ProfileToken=self.profile, Velocity=vector(0.1, 0, 0.2))
        self.ptz.Stop(ProfileToken=self.profile, PanTilt=True, Zoom=False)
        # The zoom goes on until it has come as far as it can.
        position = self.stands().Position
        self.assertAlmostEqual(position.Zoom.x, 1, delta=NEAR)
        self.assertLess(position.PanTilt.x, 0.9)

    def test_moves_that_cannot_be_are_refused(self):
        at = str(self.stands().Position)
        here = {"ProfileToken": self.profile}
        invalid = "InvalidArgVal"
        self.refused([invalid, "InvalidPosition"], "AbsoluteMove", **here, Position=vector(2, 0))
        self.refused([invalid, "SpaceNotSupported"], "AbsoluteMove", **here, Position=vector(0, 0, space=PAN_TILT + "x"))
        self.refused([invalid, "InvalidTranslation"], "RelativeMove", **here, Translation=vector(zoom=-2))
        self.refused([invalid, "InvalidVelocity"], "ContinuousMove", **here, Velocity=vector(zoom=2))
        self.refused([invalid, "TimeoutNotSupported"], "ContinuousMove", **here, Velocity=vector(zoom=1), Timeout="PT2H")
        self.refused([invalid, "InvalidSpeed"], "AbsoluteMove", **here, Position=vector(0, 0), Speed=vector(5, 5))
        for operation in ("AbsoluteMove", "RelativeMove", "ContinuousMove"):
            part = {"AbsoluteMove": "Position", "RelativeMove": "Translation", "ContinuousMove": "Velocity"}[operation]
            self.refused([invalid, "NoProfile"], operation, ProfileToken="xyz", **{part: vector(0, 0)})
        for operation in ("Stop", "GetStatus"):
            self.refused([invalid, "NoProfile"], operation, ProfileToken="xyz")
        self.assertEqual(at, str(self.stands().Position))

    def test_the_home_position_is_the_one_that_was_set(self):
        self.refused(["Action", "NoHomePosition"], "GotoHomePosition", ProfileToken=self.profile)
        self.moves_to(x=0.05, y=0.1, zoom=0.1)
        self.is_at(0.05, 0.1, 0.1)
        self.ptz.SetHomePosition(ProfileToken=self.profile)
        self.moves_to(x=0, y=0, zoom=0)
        self.is_at(0, 0, 0)
        self.ptz.GotoHomePosition(ProfileToken=self.profile)
        self.is_at(0.05, 0.1, 0.1)


class Presets(PtzCamera):
    ARGUMENTS = ("--no-factory", *kit.PLACES)

    def set(self, name=None, token=None):
        return self.ptz.SetPreset(ProfileToken=self.profile, PresetName=name, PresetToken=token)

    def named(self, token):
        return next(each for each in self.presets() if each.token == token)

    def test_a_preset_that_was_set_is_listed_and_can_be_gone_to(self):
        self.moves_to(x=0.1, y=0.05, zoom=0.1)
        self.is_at(0.1, 0.05, 0.1)
        token = self.set("Here")
        found = self.named(token)
        self.assertEqual(found.Name, "Here")
        self.assertAlmostEqual(found.PTZPosition.PanTilt.x, 0.1, delta=NEAR)
        self.moves_to(x=0, y=0, zoom=0)
        self.is_at(0, 0, 0)
        self.ptz.GotoPreset(ProfileToken=self.profile, PresetToken=token, Speed=vector(0.5, 0.5, 0.5))
        self.is_at(0.1, 0.05, 0.1)
        self.ptz.RemovePreset(ProfileToken=self.profile, PresetToken=token)
        self.assertNotIn(token, [each.token for each in self.presets()])
        self.refused(["InvalidArgVal", "NoToken"], "GotoPreset", ProfileToken=self.profile, PresetToken=token)

    def test_a_preset_is_moved_and_renamed_by_its_token(self):
        token = self.set("Old name")
        self.moves_to(x=-0.1, y=0, zoom=0)
        self.is_at(-0.1, 0, 0)
        self.assertEqual(self.set("New name", token), token)
        found = self.named(token)
        self.assertEqual(found.Name, "New name")
        self.assertAlmostEqual(found.PTZPosition.PanTilt.x, -0.1, delta=NEAR)
        self.assertEqual(self.set(None, token), token)
        self.assertEqual(self.named(token).Name, "New name")

    def test_a_preset_without_a_name_gets_a_token_that_is_no_number(self):
        tokens = [self.set(), self.set(), self.set("12")]
        self.assertEqual(len(set(tokens)), 3)
        for token in tokens:
            self.assertFalse(token.isdigit())
        self.assertEqual(self.named(tokens[2]).Name, "12")

    def test_presets_that_cannot_be_are_refused(self):
        invalid = "InvalidArgVal"
        self.refused([invalid, "PresetExist"], "SetPreset", ProfileToken=self.profile, PresetName="Gate")
        self.refused([invalid, "InvalidPresetName"], "SetPreset", ProfileToken=self.profile, PresetName="x" * 65)
        for operation in ("SetPreset", "RemovePreset", "GotoPreset"):
            self.refused([invalid, "NoToken"], operation, ProfileToken=self.profile, PresetToken="xyz")
            self.refused([invalid, "NoProfile"], operation, ProfileToken="xyz", PresetToken="Gate")
        self.ptz.ContinuousMove(ProfileToken=self.profile, Velocity=vector(0.1, 0))
        self.refused(["Action", "MovingPTZ"], "SetPreset", ProfileToken=self.profile, PresetName="On the way")

    def test_rules_stay_with_a_preset_that_is_renamed_and_go_with_one_that_is_removed(self):
        token = self.set("Yard")
        module = {"Name": "Eye", "Type": "vca:MotionRegionEngine", "Parameters": {"SimpleItem": [{"Name": "PresetToken", "Value": token}]}}
        self.client.modules.CreateAnalyticsModules(ConfigurationToken=kit.TOKEN, AnalyticsModule=[module])
        self.assertEqual(self.camera.components("modules"), [(token, "Eye")])
        self.set("Court", token)
        self.assertEqual(self.camera.components("modules"), [(token, "Eye")])
        self.ptz.GotoPreset(ProfileToken=self.profile, PresetToken=token)
        self.stands()
        kit.eventually(lambda: "module 'Eye'" in self.camera.command("status"), "the module of the renamed preset")
        self.ptz.RemovePreset(ProfileToken=self.profile, PresetToken=token)
        kit.eventually(lambda: self.camera.components("modules") == [], "an end of the module of the removed preset")

    def test_names_and_presets_outlive_a_restart(self):
        token = self.set("Yard")
        self.set("Court", token)
        self.camera.restart()
        self.setUp()
        self.assertEqual(self.named(token).Name, "Court")


class Tours(PtzCamera):
    ARGUMENTS = ("--no-factory", *kit.PLACES)

    def create(self):
        return self.ptz.CreatePresetTour(ProfileToken=self.profile)

    def tour(self, token):
        return self.ptz.GetPresetTour(ProfileToken=self.profile, PresetTourToken=token)

    def fill(self, token, *spots, name=None):
        self.ptz.ModifyPresetTour(ProfileToken=self.profile, PresetTour={
            "token": token, "Name": name, "Status": {"State": "Idle"}, "AutoStart": False, "StartingCondition": {},
            "TourSpot": [{"PresetDetail": {"PresetToken": preset}, "StayTime": stay} for preset, stay in spots]})  # fmt: skip

    def operate(self, token, operation):
        self.ptz.OperatePresetTour(ProfileToken=self.profile, PresetTourToken=token, Operation=operation)

    def state(self, token):
        return self.tour(token).Status.State

    def test_a_tour_is_made_filled_and_removed(self):
        options = self.ptz.GetPresetTourOptions(ProfileToken=self.profile)
        self.assertEqual(sorted(options.TourSpot.PresetDetail.PresetToken), ["Door", "Gate"])
        token = self.create()
        self.assertEqual(self.tour(token).TourSpot, [])
        self.assertIn(token, [each.token for each in self.tours()])
        self.fill(token, ("Gate", "PT2S"), ("Door", "PT1S"), name="Round")
        found = self.tour(token)
        self.assertEqual(str(found), str(next(each for each in self.tours() if each.token == token)))
        self.assertEqual(found.Name, "Round")
        self.assertEqual([each.PresetDetail.PresetToken for each in found.TourSpot], ["Gate", "Door"])
        self.assertEqual([each.StayTime.total_seconds() for each in found.TourSpot], [2, 1])
        self.fill(token, ("Door", "PT3S"))
        self.assertEqual([each.PresetDetail.PresetToken for each in self.tour(token).TourSpot], ["Door"])
        self.ptz.RemovePresetTour(ProfileToken=self.profile, PresetTourToken=token)
        self.assertNotIn(token, [each.token for each in self.tours()])
        self.refused(["InvalidArgVal", "NoToken"], "GetPresetTour", ProfileToken=self.profile, PresetTourToken=token)

    def test_a_tour_runs_pauses_goes_on_and_stops(self):
        token = self.create()
        self.fill(token, ("Gate", "PT0.1S"), ("Door", "PT0.1S"))
        self.operate(token, "Start")
        self.assertEqual(self.state(token), "Touring")
        places = {-10: "Gate", 20: "Door"}
        for degrees, preset in places.items():
            kit.eventually(lambda at=degrees: abs(self.status().Position.PanTilt.x * 180 - at) < 0.1, f"a stop at {preset}")
        self.operate(token, "Pause")
        self.assertEqual(self.state(token), "Paused")
        self.stands()
        paused = str(self.tour(token).Status.CurrentTourSpot)
        self.assertEqual(paused, str(self.tour(token).Status.CurrentTourSpot))
        self.operate(token, "Start")
        self.assertEqual(self.state(token), "Touring")
        kit.eventually(lambda: str(self.tour(token).Status.CurrentTourSpot) != paused, "the next stop")
        self.operate(token, "Stop")
        kit.eventually(lambda: self.state(token) == "Idle", "the end of the tour")

    def test_a_move_of_a_client_ends_a_tour(self):
        token = self.create()
        self.fill(token, ("Gate", "PT60S"))
        self.operate(token, "Start")
        self.moves_to(x=0.1, y=0, zoom=0)
        self.is_at(0.1, 0, 0)
        self.assertEqual(self.state(token), "Idle")

    def test_tours_that_cannot_be_are_refused(self):
        token = self.create()
        self.refused(["Action", "ActivationFailed"], "OperatePresetTour", ProfileToken=self.profile, PresetTourToken=token,
                     Operation="Start")  # fmt: skip
        with self.assertRaises(zeep.exceptions.Fault) as raised:
            self.fill(token, ("xyz", "PT2S"))
        self.assertEqual(subcodes(raised.exception), ["InvalidArgVal", "InvalidPresetTour"])
        for operation in ("GetPresetTour", "RemovePresetTour"):
            self.refused(["InvalidArgVal", "NoToken"], operation, ProfileToken=self.profile, PresetTourToken="xyz")
            self.refused(["InvalidArgVal", "NoProfile"], operation, ProfileToken="xyz", PresetTourToken=token)

    def test_drafts_and_tours_outlive_a_restart(self):
        draft, full = self.create(), self.create()
        self.fill(full, ("Gate", "PT2S"), name="Round")
        self.camera.restart()
        self.setUp()
        self.assertEqual(sorted(each.token for each in self.tours()), sorted([draft, full]))
        self.assertEqual(self.tour(full).Name, "Round")


class FixedCamera(kit.CameraTest):
    """A camera that does not move has nothing of it."""

    ARGUMENTS = ("--no-factory",)

    def test_there_is_no_service_and_no_configuration(self):
        client = with_digest(self.address, kit.OPERATOR)
        self.assertNotIn(TPTZ, [each.Namespace for each in client.device.GetServices(IncludeCapability=False)])
        self.assertIsNone(client.device.GetCapabilities(Category="All").PTZ)
        for call in (client.ptz.GetNodes, client.ptz.GetConfigurations, client.ptz.GetServiceCapabilities):
            with self.assertRaises(zeep.exceptions.Fault) as raised:
                call()
            self.assertEqual(subcodes(raised.exception)[0], "ActionNotSupported")


if __name__ == "__main__":
    unittest.main(verbosity=2)
