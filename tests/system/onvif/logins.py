"""Clients log in with each kind of credentials, and read what they need to connect."""
import datetime
import unittest

import kit
from zeep_client import Zeep, requests, subcodes, with_digest, with_token, zeep

# Messages written by hand, for credentials that no client makes.
ENVELOPE = (
    '<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope"><s:Header>{}</s:Header>'
    '<s:Body><GetScopes xmlns="http://www.onvif.org/ver10/device/wsdl"/></s:Body></s:Envelope>'
)


class Logins(kit.CameraTest):
    def post(self, header="", auth=None):
        return requests.post(self.address + "/onvif/device_service", ENVELOPE.format(header).encode(), auth=auth,
                             timeout=kit.PATIENCE)  # fmt: skip

    def refused(self, client):
        with self.assertRaises(zeep.exceptions.Fault) as caught:
            client.device.GetScopes()
        return subcodes(caught.exception)

    def test_everybody_reads_the_clock_the_services_and_the_capabilities(self):
        device = Zeep(self.address).device
        clock = device.GetSystemDateAndTime().UTCDateTime
        told = datetime.datetime(clock.Date.Year, clock.Date.Month, clock.Date.Day, clock.Time.Hour, clock.Time.Minute,
                                 clock.Time.Second, tzinfo=datetime.timezone.utc)  # fmt: skip
        self.assertLess(abs(told - datetime.datetime.now(datetime.timezone.utc)), datetime.timedelta(minutes=5))
        self.assertGreaterEqual(len(device.GetServices(IncludeCapability=False)), 2)
        self.assertTrue(device.GetServiceCapabilities().Security.UsernameToken)
        self.assertTrue(device.GetCapabilities().Device.XAddr.startswith(self.address))

    def test_nobody_reads_more_without_logging_in(self):
        answer = self.post()
        self.assertEqual(answer.status_code, 401)
        self.assertIn('algorithm=MD5', answer.headers["WWW-Authenticate"])
        self.assertIn('algorithm=SHA-256', answer.headers["WWW-Authenticate"])
        self.assertEqual(self.refused(Zeep(self.address)), ["NotAuthorized"])

    def test_each_user_logs_in_with_a_token_and_with_a_digest(self):
        for who in (kit.ADMINISTRATOR, kit.OPERATOR, kit.USER):
            for client in (with_token(self.address, who), with_digest(self.address, who)):
                self.assertTrue(client.device.GetScopes())
                self.assertTrue(client.device.GetScopes(), "a digest is used again with another count")

    def test_a_wrong_password_and_an_unknown_user_are_refused(self):
        for who in ((kit.USER[0], "guess"), ("nobody", kit.USER[1])):
            self.assertEqual(self.refused(with_token(self.address, who)), ["NotAuthorized"])
            self.assertEqual(self.post(auth=requests.auth.HTTPDigestAuth(*who)).status_code, 401)
            self.assertEqual(self.post(kit.token(who)).status_code, 400)

    def test_a_token_is_taken_once(self):
        header = kit.token(kit.USER)
        self.assertEqual(self.post(header).status_code, 200)
        again = self.post(header)
        self.assertEqual(again.status_code, 400)
        self.assertIn("NotAuthorized", again.text)

    def test_a_digest_is_taken_once_and_its_challenge_says_so(self):
        first = self.post(auth=requests.auth.HTTPDigestAuth(*kit.USER))
        self.assertEqual(first.status_code, 200)
        again = requests.Session().send(first.request, timeout=kit.PATIENCE)
        self.assertEqual(again.status_code, 401)
        self.assertIn("stale=true", again.headers["WWW-Authenticate"])

    def test_a_token_of_the_past_or_the_future_or_without_nonce_is_refused(self):
        for ahead in (-400, 400, 36000):
            self.assertEqual(self.post(kit.token(kit.USER, ahead)).status_code, 400)
        self.assertEqual(self.post(kit.token(kit.USER, with_nonce=False)).status_code, 400)
        for ahead in (-4, 4, -200, 200):
            self.assertEqual(self.post(kit.token(kit.USER, ahead)).status_code, 200)

    def test_a_user_changes_nothing_and_an_operator_no_users(self):
        viewer = with_token(self.address, kit.USER)
        self.assertTrue(viewer.media2.GetProfiles())
        with self.assertRaisesRegex(zeep.exceptions.Fault, "Operator"):
            viewer.media2.DeleteProfile(Token="Profile_1")
        with self.assertRaisesRegex(zeep.exceptions.Fault, "Administrator"):
            with_digest(self.address, kit.OPERATOR).device.GetUsers()

    def test_users_are_created_changed_and_deleted(self):
        device = with_digest(self.address, kit.ADMINISTRATOR).device
        device.CreateUsers(User=[{"Username": "new", "Password": "first-word", "UserLevel": "User"}])
        self.assertIn(("new", "User"), [(each.Username, each.UserLevel) for each in device.GetUsers()])
        device.SetUser(User=[{"Username": "new", "Password": "second-word", "UserLevel": "Operator"}])
        self.assertEqual(self.post(kit.token(("new", "first-word"))).status_code, 400)
        self.assertEqual(self.post(kit.token(("new", "second-word"))).status_code, 200)
        device.DeleteUsers(Username=["new"])
        self.assertEqual(self.post(kit.token(("new", "second-word"))).status_code, 400)
        with self.assertRaises(zeep.exceptions.Fault) as caught:
            device.DeleteUsers(Username=[kit.ADMINISTRATOR[0]])
        self.assertEqual(subcodes(caught.exception), ["InvalidArgVal", "FixedUser"])

    def test_profiles_have_a_source_and_an_encoder_that_belong_together(self):
        client = with_token(self.address, kit.USER)
        source = client.media.GetVideoSources()[0].token
        for profile in client.media.GetProfiles():
            self.assertEqual(profile.VideoSourceConfiguration.SourceToken, source)
            self.assertTrue(profile.VideoEncoderConfiguration.Resolution.Width)
        for profile in client.media2.GetProfiles(Type=["All"]):
            self.assertEqual(profile.Configurations.VideoSource.SourceToken, source)
            self.assertTrue(profile.Configurations.VideoEncoder.Resolution.Width)
            self.assertEqual(profile.Configurations.Analytics.token, kit.TOKEN)

    def test_a_client_makes_and_removes_a_profile_of_its_own(self):
        media = with_digest(self.address, kit.OPERATOR).media2
        made = media.CreateProfile(Name="mine", Configuration=[{"Type": "VideoSource", "Token": "VideoSource_1"}])
        media.AddConfiguration(ProfileToken=made, Configuration=[{"Type": "Analytics", "Token": kit.TOKEN}])
        found = media.GetProfiles(Token=made, Type=["All"])
        self.assertEqual(found[0].Configurations.Analytics.token, kit.TOKEN)
        media.DeleteProfile(Token=made)
        self.assertNotIn(made, [each.token for each in media.GetProfiles()])

    def test_without_a_streamer_there_are_no_stream_addresses(self):
        client = with_token(self.address, kit.USER)
        profile = client.media.GetProfiles()[0].token
        setup = {"Stream": "RTP-Unicast", "Transport": {"Protocol": "UDP"}}
        for ask in (lambda: client.media.GetStreamUri(StreamSetup=setup, ProfileToken=profile),
                    lambda: client.media.GetSnapshotUri(ProfileToken=profile),
                    lambda: client.media2.GetStreamUri(Protocol="RTSP", ProfileToken=profile)):  # fmt: skip
            with self.assertRaises(zeep.exceptions.Fault) as caught:
                ask()
            self.assertEqual(subcodes(caught.exception)[:1], ["ActionNotSupported"])
        self.assertFalse([each.ScopeItem for each in client.device.GetScopes() if "Profile/Streaming" in each.ScopeItem])

    def test_the_camera_sees_by_night_when_a_client_says_so(self):
        imaging = with_digest(self.address, kit.OPERATOR).imaging
        self.assertIn("AUTO", imaging.GetOptions(VideoSourceToken="VideoSource_1").IrCutFilterModes)
        for mode in ("OFF", "ON", "AUTO"):
            imaging.SetImagingSettings(VideoSourceToken="VideoSource_1", ImagingSettings={"IrCutFilter": mode})
            self.assertEqual(imaging.GetImagingSettings(VideoSourceToken="VideoSource_1").IrCutFilter, mode)


if __name__ == "__main__":
    unittest.main(verbosity=2)
