"""Cameras that misbehave, met with the workbench: what it makes of them, and that it locks no account."""

import json
import socket
import time
import unittest

import programs

TOUR = ("tour", "--no-play", "--snapshot", "bad-camera.jpg")
HOURS_OFF = 3 * 3600


class BadCamera(unittest.TestCase):
    def simulated(self, *arguments, **variables):
        return programs.camctl("--sim", "ptz-dome", *arguments, **variables)

    def assert_tour_passes(self, *arguments):
        done = self.simulated(*arguments, *TOUR)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertRegex(done.stdout, r"\nAll \d+ steps passed")
        return done


class DigestOnly(BadCamera):
    def test_tour_passes_with_each_kind(self):
        for quirk in ("digest-wanted=sha-256", "digest-wanted=md5", "digest-wanted=both", "digest-and-token=sha-256",
                      "digest-or-token=sha-256", "digest-unknown-first", "digest-basic-beside", "digest-opaque",
                      "digest-realm"):
            with self.subTest(quirk=quirk):
                self.assert_tour_passes("--quirk", quirk)

    def test_wrong_password_is_tried_once(self):
        done = self.simulated("--quirk", "digest-wanted=sha-256", "test", CAMCTL_PASSWORD=programs.WRONG)
        self.assertEqual(done.returncode, 5, done.stdout)
        self.assertIn("tried once with a token and once with HTTP Digest", done.stdout)

    def test_nonces_that_are_always_stale_end(self):
        self.assertEqual(self.simulated("--quirk", "digest-stale-always", "test").returncode, 5)


class ClockOff(BadCamera):
    def test_camera_is_refused_and_the_cause_is_told(self):
        for offset, side in ((HOURS_OFF, "ahead of"), (-HOURS_OFF, "behind")):
            with self.subTest(offset=offset):
                done = self.simulated("--quirk", f"clock-offset={offset}", "test")
                self.assertEqual(done.returncode, 5, done.stdout)
                self.assertIn(f"its clock is 3 h 0 min {side} this machine's", done.stdout)
                self.assertRegex(done.stdout, "remedy: add --clock camera")

    def test_tour_passes_with_the_cameras_clock(self):
        for offset in (HOURS_OFF, -HOURS_OFF, 400 * 86400):
            with self.subTest(offset=offset):
                self.assert_tour_passes("--clock", "camera", "--quirk", f"clock-offset={offset}")

    def test_difference_is_in_the_document(self):
        done = self.simulated("--clock", "camera", "--json", "--quirk", f"clock-offset={HOURS_OFF}", "test")
        self.assertAlmostEqual(json.loads(done.stdout)["camera"]["clock_ahead_ms"], HOURS_OFF * 1000, delta=5000)

    def test_right_clock_is_not_blamed(self):
        done = self.simulated("test", CAMCTL_PASSWORD=programs.WRONG)
        self.assertIn("remedy: check user and password; the camera's clock is right\n", done.stdout)
        self.assert_tour_passes("--clock", "camera")

    def test_camera_that_does_not_tell_its_time(self):
        for quirk in ("clock-without-utc", "clock-zeros", "clock-needs-credentials", "clock-fault"):
            with self.subTest(quirk=quirk):
                done = self.simulated("--clock", "camera", "--quirk", quirk, "test")
                self.assertIn(done.returncode, (1, 5, 6), done.stdout)
                self.assertRegex(done.stdout, "cause:  the camera does not tell its time")

    def test_camera_that_is_not_there_is_not_blamed_for_its_clock(self):
        with socket.socket() as bound:  # bound, but not listening: nobody else gets the port meanwhile
            bound.bind(("127.0.0.1", 0))
            done = programs.camctl("--host", "127.0.0.1", "--port", str(bound.getsockname()[1]), "--user", programs.USER,
                                   "--clock", "camera", "test", CAMCTL_PASSWORD=programs.PASSWORD)
        self.assertEqual(done.returncode, 4, done.stdout)
        self.assertIn("nothing listens at", done.stdout)

    def test_word_that_is_no_clock(self):
        done = self.simulated("--clock", "mine", "test")
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("--clock 'mine' is no clock; give camera or here", done.stderr)


class OddHttp(BadCamera):
    def test_tour_passes(self):
        for quirk in ("http-silent-close", "http-close", "http-close-on-next", "http-idle-close=0", "http-gzip",
                      "http-chunked", "http-1-0", "http-no-length", "http-lower-case",
                      "http-bare-line-feeds", "http-continue-first"):
            with self.subTest(quirk=quirk):
                self.assert_tour_passes("--quirk", quirk)

    def test_small_body_that_inflates_to_gigabytes_is_refused(self):
        done = self.simulated("--quirk", "http-gzip-bomb=1000", "test")
        self.assertEqual(done.returncode, 4, done.stdout)
        self.assertIn("is too large to be one of a camera", done.stdout)


class SlowDrip(BadCamera):
    def test_answer_byte_by_byte_is_read(self):
        done = self.simulated("--quirk", "http-drip=1", "test")
        self.assertEqual(done.returncode, 0, done.stdout)

    def test_time_limit_is_for_the_whole_answer(self):
        begin = time.monotonic()
        done = self.simulated("--quirk", "http-drip=100", "--timeout", "1", "test")
        self.assertEqual(done.returncode, 4, done.stdout)
        self.assertIn("no complete answer", done.stdout)
        self.assertLess(time.monotonic() - begin, programs.READY_S)


class LockOut(BadCamera):
    def test_wrong_password_is_tried_once_by_every_command(self):
        commands = (["test"], ["info"], ["caps"], ["paths"], ["paths", "--profiles", "profile_1"], ["tour", "--no-play"],
                    ["audio", "set", "AAC"], ["ptz", "home"])
        with programs.Camera("ptz-dome", "--quirk", "auth-lockout=3") as camera:
            for command in commands:
                with self.subTest(command=command):
                    for _ in range(2):
                        done = self.ask(camera, programs.WRONG, *command)
                        self.assertEqual(done.returncode, 5, done.stdout)
                        self.assertIn(", tried once", done.stdout)
                    self.assertEqual(self.ask(camera, programs.PASSWORD, "test").returncode, 0, "the account is locked")

    def test_third_wrong_try_locks(self):
        with programs.Camera("ptz-dome", "--quirk", "auth-lockout=3") as camera:
            for _ in range(3):
                self.assertEqual(self.ask(camera, programs.WRONG, "test").returncode, 5)
            self.assertEqual(self.ask(camera, programs.PASSWORD, "test").returncode, 5)

    @staticmethod
    def ask(camera, password, *command):
        return programs.camctl("--host", "127.0.0.1", "--port", str(camera.port), "--user", programs.USER, *command,
                               CAMCTL_PASSWORD=password)


if __name__ == "__main__":
    programs.main()
