"""A client that shares nothing with the driver: an envelope made here, posted by curl."""

import base64
import datetime
import hashlib
import json
import os
import re
import shutil
import subprocess
import unittest

import programs

SOAP = "http://www.w3.org/2003/05/soap-envelope"
WSS = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-"
MEDIA_PATH = "/onvif/media_service"
FIXED_BOX_MEDIA_PATH = "/onvif/media"


def envelope(password, created=None, nonce=None, operation="GetProfiles", arguments=""):
    created = created or datetime.datetime.now(datetime.timezone.utc)
    created_text = created.strftime("%Y-%m-%dT%H:%M:%SZ")
    nonce = nonce or os.urandom(16)
    digest = hashlib.sha1(nonce + created_text.encode() + password.encode()).digest()
    return (f'<s:Envelope xmlns:s="{SOAP}"><s:Header>'
            f'<w:Security xmlns:w="{WSS}wssecurity-secext-1.0.xsd"><w:UsernameToken>'
            f'<w:Username>{programs.USER}</w:Username>'
            f'<w:Password Type="{WSS}username-token-profile-1.0#PasswordDigest">'
            f'{base64.b64encode(digest).decode()}</w:Password>'
            f'<w:Nonce>{base64.b64encode(nonce).decode()}</w:Nonce>'
            f'<u:Created xmlns:u="{WSS}wssecurity-utility-1.0.xsd">{created_text}</u:Created>'
            f'</w:UsernameToken></w:Security></s:Header>'
            f'<s:Body><{operation} xmlns="http://www.onvif.org/ver10/media/wsdl">{arguments}</{operation}></s:Body></s:Envelope>')


def post(port, text, path=MEDIA_PATH):
    """Status and body of what the camera answers to an envelope."""
    done = subprocess.run(["curl", "--silent", "--show-error", "--noproxy", "*", "--max-time", "20",
                           "--header", "Content-Type: application/soap+xml; charset=utf-8", "--data-binary", "@-",
                           "--write-out", "\n%{http_code}", f"http://127.0.0.1:{port}{path}"],
                          input=text, capture_output=True, text=True, timeout=programs.RUN_S, check=True)
    body, _, status = done.stdout.rpartition("\n")
    return int(status), body


def encoder_of(port, profile, path=MEDIA_PATH):
    """What GetProfile tells of the profile's video encoder."""
    status, body = post(port, envelope(programs.PASSWORD, operation="GetProfile",
                                       arguments=f"<ProfileToken>{profile}</ProfileToken>"), path)
    if status != 200:
        raise AssertionError(body)
    encoder = re.search(r"<\w+:VideoEncoderConfiguration .*?</\w+:VideoEncoderConfiguration>", body, re.DOTALL).group()
    names = ("Encoding", "Width", "Height", "FrameRateLimit", "Quality")
    return {name: re.search(rf"<\w+:{name}>([^<]*)</", encoder).group(1) for name in names}


class StreamsThatWereSet(unittest.TestCase):
    def stream_set(self, camera, *arguments):
        return programs.camctl("--host", "127.0.0.1", "--port", str(camera.port), "--user", programs.USER, "stream",
                               "set", *arguments, CAMCTL_PASSWORD=programs.PASSWORD)

    def test_codec_size_rate_and_quality_are_as_set(self):
        with programs.Camera("ptz-dome") as camera:
            done = self.stream_set(camera, "--json", "--codec", "mpeg4", "--resolution", "704x576", "--fps", "9",
                                   "--quality", "5", "--live-resolution", "352x288", "--live-fps", "6",
                                   "--live-quality", "1")
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            document = json.loads(done.stdout)["camera"]
            self.assertTrue(all(row["taken"] for row in document["streams"]), document["streams"])
            recording, live = document["profiles"].split(",")
            self.assertNotEqual(recording, live)
            # Quality level L of 1..5 is L * (10 - 1) / 5 + 1 on this camera's scale from 1 to 10.
            self.assertEqual(encoder_of(camera.port, recording), {
                "Encoding": "MPEG4", "Width": "704", "Height": "576", "FrameRateLimit": "9", "Quality": "10"})
            self.assertEqual(encoder_of(camera.port, live), {
                "Encoding": "MPEG4", "Width": "352", "Height": "288", "FrameRateLimit": "6", "Quality": "2"})

    def test_what_is_not_asked_for_stays(self):
        with programs.Camera("fixed-box") as camera:
            before = encoder_of(camera.port, "Profile0", FIXED_BOX_MEDIA_PATH)
            done = self.stream_set(camera, "--fps", "11", "--live-fps", "11")
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            self.assertRegex(done.stdout, r"recording fps +\d+ +11 +11\n")
            self.assertNotIn("not taken", done.stdout)
            self.assertEqual(encoder_of(camera.port, "Profile0", FIXED_BOX_MEDIA_PATH), {**before, "FrameRateLimit": "11"})

    def test_what_the_camera_does_not_take_is_marked(self):
        with programs.Camera("fixed-box") as camera:
            before = encoder_of(camera.port, "Profile0", FIXED_BOX_MEDIA_PATH)
            done = self.stream_set(camera, "--codec", "mpeg4", "--live-fps", "3")
            self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
            self.assertRegex(done.stdout, r"! recording codec +H264 +MPEG4 +H264   not taken\n")
            self.assertIn("cause:  no encoder of the camera offers MPEG4", done.stdout)
            self.assertEqual(encoder_of(camera.port, "Profile0", FIXED_BOX_MEDIA_PATH), before)


class ForeignClient(unittest.TestCase):
    def setUp(self):
        self.camera = programs.Camera("ptz-dome")
        self.addCleanup(self.camera.kill)

    def assert_refused(self, answer):
        status, body = answer
        self.assertEqual(status, 400, body)
        self.assertRegex(body, r"<\w+:Subcode>\s*<\w+:Value>ter:NotAuthorized</")
        self.assertNotIn("profile_1", body)

    def test_right_digest_lists_the_profiles(self):
        status, body = post(self.camera.port, envelope(programs.PASSWORD))
        self.assertEqual(status, 200, body)
        self.assertEqual(re.findall(r'<\w+:Profiles [^>]*token="(\w+)"', body),
                         ["profile_1", "profile_2", "profile_3", "profile_4"], body)

    def test_wrong_digest_is_refused(self):
        self.assert_refused(post(self.camera.port, envelope(programs.WRONG)))

    def test_stale_digest_is_refused(self):
        early = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(seconds=400)
        self.assert_refused(post(self.camera.port, envelope(programs.PASSWORD, created=early)))

    def test_digest_of_the_near_past_is_accepted(self):
        early = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(seconds=200)
        self.assertEqual(post(self.camera.port, envelope(programs.PASSWORD, created=early))[0], 200)

    def test_repeated_nonce_is_refused(self):
        nonce = os.urandom(16)
        self.assertEqual(post(self.camera.port, envelope(programs.PASSWORD, nonce=nonce))[0], 200)
        later = datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(seconds=1)
        self.assert_refused(post(self.camera.port, envelope(programs.PASSWORD, nonce=nonce, created=later)))

    def test_envelope_without_token_is_refused(self):
        text = re.sub(r"<s:Header>.*</s:Header>", "", envelope(programs.PASSWORD))
        self.assert_refused(post(self.camera.port, text))

    def test_unknown_operation_is_a_fault(self):
        status, body = post(self.camera.port, envelope(programs.PASSWORD, operation="MakeCoffee"))
        self.assertGreaterEqual(status, 400)
        self.assertIn("ter:ActionNotSupported", body)


if __name__ == "__main__":
    if shutil.which("curl") is None:
        programs.skip_all("curl is not installed")
    programs.main()
