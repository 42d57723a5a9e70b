"""Snapshots of the simulated camera, fetched by a foreign HTTP client."""

import shutil
import subprocess
import tempfile
import unittest

import programs

# Addresses as GetSnapshotUri of the two models tells them.
AXIS_TARGET = "/onvif-cgi/jpg/image.cgi?profile=profile_1_h264"
AXIS_SIZE = (1920, 1080)
FISHEYE_TARGET = "/PictureCatch.cgi?channel=CH001"


def curl(camera, target, *options, password=None):
    """Fetches a target; returns curl's exit status, the HTTP status and the body. The password goes by standard input."""
    with tempfile.NamedTemporaryFile() as body:
        account = f'user = "{programs.USER}:{password}"\n' if password is not None else ""
        done = subprocess.run(["curl", "--silent", "--noproxy", "*", "--max-time", str(programs.RUN_S), "--config", "-",
                               "--output", body.name, "--write-out", "%{http_code} %{content_type}", *options,
                               f"http://127.0.0.1:{camera.port}{target}"],
                              input=account, capture_output=True, text=True, timeout=2 * programs.RUN_S, check=False)
        return done.returncode, done.stdout, body.read()


def jpeg_size(data):
    """Width and height in the first frame header of a JPEG file."""
    place = 2
    while data[place] == 0xFF and data[place + 1] not in (0xC0, 0xC1, 0xC2):
        place += 2 + int.from_bytes(data[place + 2:place + 4], "big")
    return int.from_bytes(data[place + 7:place + 9], "big"), int.from_bytes(data[place + 5:place + 7], "big")


class Snapshots(unittest.TestCase):
    def fetch(self, model, target, *options, **account):
        with programs.Camera(model) as camera:
            status, answer, body = curl(camera, target, *options, **account)
            self.assertEqual(status, 0)
            self.assertEqual(camera.end(), (0, "", ""))
        return answer, body

    def test_digest_client_gets_the_picture(self):
        answer, body = self.fetch("axis-dome", AXIS_TARGET, "--digest", password=programs.PASSWORD)
        self.assertEqual(answer, "200 image/jpeg")
        self.assertEqual((body[:2], body[-2:]), (b"\xff\xd8", b"\xff\xd9"))
        self.assertEqual(jpeg_size(body), AXIS_SIZE)

    def test_digest_client_chooses_among_two_challenges(self):
        answer, _ = self.fetch("fisheye", FISHEYE_TARGET, "--digest", password=programs.PASSWORD)
        self.assertEqual(answer, "200 image/jpeg")

    def test_wrong_password_is_refused(self):
        answer, _ = self.fetch("axis-dome", AXIS_TARGET, "--digest", password=programs.WRONG)
        self.assertEqual(answer, "401 text/plain; charset=utf-8")

    def test_password_in_clear_is_refused(self):
        answer, _ = self.fetch("axis-dome", AXIS_TARGET, "--basic", password=programs.PASSWORD)
        self.assertEqual(answer, "401 text/plain; charset=utf-8")

    def test_camera_without_authentication_serves_everybody(self):
        answer, _ = self.fetch("ptz-dome", "/snapshot/profile_1.jpg")
        self.assertEqual(answer, "200 image/jpeg")

    def test_head_has_no_body(self):
        answer, body = self.fetch("ptz-dome", "/snapshot/profile_1.jpg", "--head")
        self.assertEqual(answer, "200 image/jpeg")
        self.assertIn(b"Content-Length: ", body)


if __name__ == "__main__":
    if not shutil.which("curl"):
        programs.skip_all("curl is not installed")
    programs.main()
