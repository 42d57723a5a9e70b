"""camctl ptz: a lens that was started stops again, whatever ends the command."""

import json
import re
import signal
import subprocess
import unittest

import programs
import relay


def is_move(body):
    return b"<ContinuousMove" in body or b":ContinuousMove" in body


def velocities(requests):
    """The x attributes of the PanTilt velocities that were sent."""
    return [float(re.search(rb'PanTilt[^>]* x="([^"]*)"', body).group(1)) for body in requests if is_move(body)]


class Lens(unittest.TestCase):
    def setUp(self):
        self.camera = programs.Camera("ptz-dome")
        self.addCleanup(self.camera.kill)
        self.between = relay.Relay(self.camera.port)
        self.between.__enter__()
        self.addCleanup(self.between.__exit__)

    def command(self, *arguments):
        return ["--host", "127.0.0.1", "--port", str(self.between.port), "--user", programs.USER, *arguments]

    def camctl(self, *arguments):
        return programs.camctl(*self.command(*arguments), CAMCTL_PASSWORD=programs.PASSWORD)

    def sent(self):
        return [request for request, _ in self.between.answers]

    def test_start_stops_after_its_time(self):
        done = self.camctl("ptz", "start", "left", "--speed", "2", "--for", "0.05")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertEqual(velocities(self.sent()), [-0.4, 0.0])

    def test_start_stops_at_the_first_signal(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=number):
                del self.between.answers[:]
                with subprocess.Popen([programs.CAMCTL, *self.command("ptz", "start", "right", "--json")], text=True,
                                      env=programs.environment(CAMCTL_PASSWORD=programs.PASSWORD),
                                      stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=subprocess.PIPE) as process:
                    self.assertTrue(programs.wait_for(lambda: any(map(is_move, self.sent()))))
                    process.send_signal(number)
                    output, errors = process.communicate(timeout=programs.RUN_S)
                self.assertEqual((process.returncode, errors), (0, ""), output)
                self.assertEqual([step["operation"] for step in json.loads(output)["steps"]][-2:],
                                 ["LensPTZStart", "LensPTZStop"])
                self.assertEqual(velocities(self.sent()), [1.0, 0.0])

    def test_start_whose_answer_is_lost_is_stopped(self):
        asked = []

        def lose_first(unused, body):
            if is_move(body):
                asked.append(body)
            return b"" if len(asked) == 1 and is_move(body) else True

        self.between.before = lose_first
        done = self.camctl("ptz", "start", "left", "--for", "0.05", "--json")
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertEqual(velocities(asked), [-1.0, 0.0])
        self.assertEqual([(step["step"], step["result"]) for step in json.loads(done.stdout)["steps"]][-3:],
                         [("ptz start", 1), ("diagnosis", 0), ("ptz stop", 0)])

    def test_start_that_asks_the_camera_for_nothing_needs_no_stop(self):
        for arguments, result in ((["5"], 1), (["40"], 7)):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.camctl("ptz", "start", *arguments).returncode, result)
        self.assertFalse(any(map(is_move, self.sent())))

    def test_moves_by_name_and_by_code(self):
        for arguments in (["move", "in"], ["move", "35"], ["home"], ["stop"], ["stop", "up"]):
            with self.subTest(arguments=arguments):
                done = self.camctl("ptz", *arguments)
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_code_that_the_driver_does_not_serve(self):
        # 5 is a point of the circle, for which the driver has no vector; 40 is none at all.
        self.assertEqual(self.camctl("ptz", "move", "5").returncode, 1)
        self.assertEqual(self.camctl("ptz", "move", "40").returncode, 7)

    def test_camera_without_lens(self):
        done = programs.camctl("ptz", "move", "left", "--sim", "fixed-box")
        self.assertEqual(done.returncode, 7, done.stdout + done.stderr)

    def test_audio_codec_is_set(self):
        self.assertEqual(self.camctl("audio", "set", "aac").returncode, 0)
        self.assertEqual(programs.camctl("audio", "set", "aac", "--sim", "fixed-box").returncode, 1)


if __name__ == "__main__":
    programs.main()
