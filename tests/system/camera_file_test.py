"""camctl caps: the table, and the camera file that a server would store."""

import json
import os
import tempfile
import unittest

import programs


class CameraFile(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.path = os.path.join(self.folder, "cam.json")
        self.camera = programs.Camera("ptz-dome")
        self.addCleanup(self.camera.kill)
        self.arguments = ["--host", "127.0.0.1", "--port", str(self.camera.port), "--user", programs.USER]

    def camctl(self, *arguments):
        return programs.camctl(*arguments, CAMCTL_PASSWORD=programs.PASSWORD)

    def saved(self):
        with open(self.path, encoding="utf-8") as file:
            return json.load(file)

    def test_table_is_grouped(self):
        done = self.camctl(*self.arguments, "caps")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        headings = [line for line in done.stdout.splitlines() if not line.startswith(" ")]
        self.assertEqual(headings, ["Services", "Video mjpeg", "Video mpeg4", "Video h264", "Video of all codecs",
                                    "Audio", "PTZ"])
        self.assertRegex(done.stdout, r"\n  640x360 +1 to 25 frames/s, default 10, default size\n")
        self.assertRegex(done.stdout, r"\n  Codecs +G711,G726,AAC\n")
        self.assertRegex(done.stdout, r"\n  Pan +continuous\n")

    def test_groups_that_a_camera_lacks_are_named(self):
        done = programs.camctl("caps", "--sim", "fixed-box")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("\nAudio: none\n", done.stdout)
        self.assertIn("\nPTZ: none\n", done.stdout)

    def test_saved_file_serves_later_commands(self):
        done = self.camctl(*self.arguments, "caps", "--save", self.path)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertEqual(os.listdir(self.folder), ["cam.json"])
        stored = self.saved()
        self.assertEqual(list(stored), ["host", "port", "user", "profiles", "capabilities"])
        self.assertEqual(stored["profiles"], "profile_1,profile_2")
        self.assertEqual(stored["capabilities"]["preset"], "64")
        self.assertNotIn(programs.PASSWORD, json.dumps(stored))
        moved = self.camctl("--camera", self.path, "--json", "ptz", "move", "left")
        self.assertEqual(moved.returncode, 0, moved.stdout + moved.stderr)
        self.assertEqual([step["operation"] for step in json.loads(moved.stdout)["steps"]], ["LensPTZ"])

    def test_file_holds_no_value_with_the_password_and_serves_later_commands(self):
        # Stands in the addresses of the camera's services, and in the tokens of its profiles.
        for word, kept, learned in (("onvif", "profile_1,profile_2", []), ("profile", None, ["GetProfiles"])):
            with self.subTest(word=word):
                self.save_and_use(word, kept, learned)

    def save_and_use(self, word, kept, learned):
        """Saves the file of a camera with that password; then the profiles `kept` are in it, and a later command needs the
        operations `learned` because of that."""
        account = programs.temporary_file(self, word + "\n")
        with programs.Camera("ptz-dome", "--password-file", account) as camera:
            done = programs.camctl("--host", "127.0.0.1", "--port", str(camera.port), "--user", programs.USER, "caps",
                                   "--save", self.path, "--force", CAMCTL_PASSWORD=word)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            self.assertIn("Saved without the capabilities, one of which holds the password", done.stdout)
            self.assertEqual((self.saved().get("profiles"), self.saved()["capabilities"]), (kept, {}))
            self.assertNotIn(word, json.dumps(list(self.saved().values())))
            moved = programs.camctl("--camera", self.path, "--json", "ptz", "move", "left", CAMCTL_PASSWORD=word)
        self.assertEqual(moved.returncode, 0, moved.stdout + moved.stderr)
        self.assertEqual([step["operation"] for step in json.loads(moved.stdout)["steps"]],
                         ["GetCapabilities", "GetCapability", *learned, "LensPTZ"])

    def test_without_a_record_the_report_comes_first(self):
        moved = self.camctl(*self.arguments, "--json", "ptz", "move", "left")
        self.assertEqual(moved.returncode, 0, moved.stdout + moved.stderr)
        self.assertEqual([step["operation"] for step in json.loads(moved.stdout)["steps"]],
                         ["GetCapabilities", "GetCapability", "GetProfiles", "LensPTZ"])

    def test_file_that_is_there_is_replaced_by_force_alone(self):
        with open(self.path, "w", encoding="ascii") as file:
            file.write("precious")
        done = self.camctl(*self.arguments, "caps", "--save", self.path)
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn("cannot be written: the file is there already", done.stdout)
        self.assertIn("--force", done.stdout)
        with open(self.path, encoding="ascii") as file:
            self.assertEqual(file.read(), "precious")
        done = self.camctl(*self.arguments, "caps", "--save", self.path, "--force")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertEqual(self.saved()["host"], "127.0.0.1")
        self.assertEqual(os.listdir(self.folder), ["cam.json"])

    def test_folder_that_is_missing_is_told(self):
        done = self.camctl(*self.arguments, "caps", "--save", os.path.join(self.folder, "nosuch", "cam.json"))
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn("No such file or directory", done.stdout)


if __name__ == "__main__":
    programs.main()
