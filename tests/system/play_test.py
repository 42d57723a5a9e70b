"""`camctl play` and `camctl snapshot` against the streams and the pictures of the simulated camera."""

import json
import os
import shutil
import subprocess
import unittest

import programs

# Name for camctl, name on the wire, size, frames per second, of the camera model ptz-dome.
CODECS = [("h264", "H264", "640x360", 10), ("mpeg4", "MPEG4", "640x360", 10), ("mjpeg", "JPEG", "640x360", 10)]
# Parts of the rate that was set. The mean is that of the pictures' own times, which do not change when they come late; but
# an encoder that cannot keep up on a busy machine leaves some out.
LEAST_RATE, MOST_RATE = 0.5, 1.15
SECONDS = "1"
NO_FFMPEG = "ffmpeg is not installed"


def arguments_for(camera):
    return ["--host", "127.0.0.1", "--port", str(camera.port), "--user", programs.USER]


def ask(camera, *arguments, password=programs.PASSWORD):
    return programs.camctl(*arguments_for(camera), *arguments, CAMCTL_PASSWORD=password)


class Play(unittest.TestCase):
    def test_each_codec_is_measured_as_it_was_set(self):
        with programs.Camera("ptz-dome") as camera:
            for codec, wire, size, rate in CODECS:
                with self.subTest(codec=codec):
                    done = ask(camera, "stream", "set", "--json", "--codec", codec, "--resolution", size, "--fps",
                               str(rate))
                    self.assertEqual(done.returncode, 0, done.stdout)
                    profiles = json.loads(done.stdout)["camera"]["profiles"]
                    done = ask(camera, "play", "--seconds", SECONDS, "--json", "--profiles", profiles)
                    self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
                    played = json.loads(done.stdout)["camera"]["played"]["recording"]
                    self.assertEqual((played["codec"], f"{played['width']}x{played['height']}"), (wire, size))
                    self.assertGreater(played["frames_per_second"], rate * LEAST_RATE)
                    self.assertLess(played["frames_per_second"], rate * MOST_RATE)
                    self.assertGreater(played["frames"], rate * float(SECONDS) * LEAST_RATE)
                    self.assertGreater(played["first_picture_ms"], 0)

    def test_live_stream_is_another_one(self):
        done = programs.camctl("play", "--sim", "--stream", "live", "--seconds", SECONDS)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        rows = dict((line[:15].strip(), line[15:]) for line in done.stdout.splitlines())
        self.assertRegex(rows["Stream"], r"^rtsp://127\.0\.0\.1:\d+/media/profile_2$")
        self.assertEqual((rows["Codec"], rows["Size"]), ("H264", "640x360"))
        self.assertRegex(rows["Frame rate"], r"^\d+\.\d frames/s, \d+ pictures measured over \d+\.\d s$")
        self.assertRegex(rows["First picture"], r"^after ")

    def test_sound_is_told(self):
        with programs.Camera("ptz-dome") as camera:
            for codec in ("AAC", "G711", "G726"):
                with self.subTest(codec=codec):
                    self.assertEqual(ask(camera, "audio", "set", codec).returncode, 0)
                    done = ask(camera, "play", "--stream", "live", "--seconds", "0.5", "--json")
                    self.assertEqual(done.returncode, 0, done.stdout)
                    audio = json.loads(done.stdout)["camera"]["played"]["live"]["audio"]
                    self.assertEqual(audio["codec"], codec)
                    self.assertGreater(audio["packets"], 0)

    def test_wrong_password(self):
        with programs.Camera("ptz-dome") as camera:
            done = ask(camera, "play", password=programs.WRONG)
        self.assertEqual(done.returncode, 5, done.stdout)
        self.assertNotIn(programs.WRONG, done.stdout + done.stderr)

    def test_camera_without_streams(self):
        with programs.Camera("ptz-dome", "--no-rtsp") as camera:
            for command in ("play", "tour"):
                with self.subTest(command=command):
                    done = ask(camera, command)
                    self.assertEqual((done.returncode, done.stderr), (4, ""), done.stdout)
                    self.assertIn("cause:  nothing serves RTSP at 127.0.0.1:", done.stdout)
                    self.assertIn("play recording     failed with result 4", done.stdout)
        self.assertIn("  restore ", done.stdout, "the camera answers, so that it is put back")

    def test_interrupt_ends_it_in_good_order(self):
        status, shown = programs.on_terminal(["play", "--sim", "--stream", "live", "--seconds", "3600"], prompt=b"play live ...",
                                             typed=b"\x03")
        self.assertTrue(os.WIFEXITED(status), shown)
        self.assertIn(os.waitstatus_to_exitcode(status), (0, 1), shown)


class Tour(unittest.TestCase):
    def test_last_lines_tell_addresses_file_and_what_was_played(self):
        done = programs.camctl("tour", "--sim", "--seconds", SECONDS, "--snapshot", "tour.jpg")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        recording, live, snapshot, played = done.stdout.splitlines()[-4:]
        self.assertRegex(recording, r"^recording: rtsp://127\.0\.0\.1:\d+/media/\w+$")
        self.assertRegex(live, r"^live:      rtsp://127\.0\.0\.1:\d+/media/\w+$")
        self.assertRegex(snapshot, r"^snapshot:  tour\.jpg, \d+x\d+, \d+ bytes$")
        measured = r"H264 \d+x\d+, \d+\.\d frames/s measured over \d+\.\d s, AAC \d+ Hz"
        self.assertRegex(played, f"^played:    recording {measured}; live {measured}$")
        self.assertTrue(os.path.getsize(os.path.join(programs.FOLDER.name, "tour.jpg")) > 0)

    def test_no_play_leaves_playing_out(self):
        done = programs.camctl("tour", "--sim", "fixed-box", "--no-play")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        self.assertEqual(done.stdout.splitlines()[-1], "played:    nothing: --no-play")
        self.assertNotIn("play recording", done.stdout)
        self.assertTrue(os.path.exists(os.path.join(programs.FOLDER.name, "snapshot.jpg")))


class Snapshot(unittest.TestCase):
    @unittest.skipIf(shutil.which("ffmpeg") is None, NO_FFMPEG)
    def test_file_decodes_whole(self):
        for model in ("ptz-dome", "axis-dome"):  # without and with HTTP Digest
            with self.subTest(model=model):
                name = model + "-shot.jpg"
                done = programs.camctl("snapshot", name, "--sim", model, "--json")
                self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
                written = json.loads(done.stdout)["camera"]["snapshot"]
                path = os.path.join(programs.FOLDER.name, name)
                self.assertEqual(written["bytes"], os.path.getsize(path))
                decoding = ["ffmpeg", "-v", "error", "-xerror", "-i", path, "-f", "rawvideo", "-pix_fmt", "gray", "-"]
                shown = subprocess.run(decoding, stdin=subprocess.DEVNULL, capture_output=True, timeout=programs.RUN_S,
                                       check=False)
                self.assertEqual((shown.returncode, shown.stderr), (0, b""))
                self.assertEqual(len(shown.stdout), written["width"] * written["height"])

    def test_folder_that_is_missing(self):
        done = programs.camctl("snapshot", "nosuch/shot.jpg", "--sim")
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn("cause:  nosuch/shot.jpg cannot be written: No such file or directory", done.stdout)


if __name__ == "__main__":
    programs.skip_all_without_streams()
    programs.main()
