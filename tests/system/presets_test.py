"""camctl preset: the server's presets, and the warning before others are deleted."""

import json
import os
import unittest

import programs


class Presets(unittest.TestCase):
    def setUp(self):
        self.camera = programs.Camera("ptz-dome")  # is delivered with a preset "Entrance"
        self.addCleanup(self.camera.kill)
        self.arguments = ["--host", "127.0.0.1", "--port", str(self.camera.port), "--user", programs.USER]

    def camctl(self, *arguments):
        return programs.camctl(*self.arguments, *arguments, CAMCTL_PASSWORD=programs.PASSWORD)

    def listed(self):
        done = self.camctl("preset", "list", "--yes", "--json")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return json.loads(done.stdout)["camera"]["presets"]

    def on_terminal(self, typed, *arguments):
        return programs.on_terminal([*self.arguments, "preset", "list", *arguments], b"[y/N] ", typed,
                                    CAMCTL_PASSWORD=programs.PASSWORD)

    def test_without_terminal_listing_needs_yes(self):
        done = self.camctl("preset", "list")
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("deletes the presets that are not the server's", done.stderr)
        self.assertIn("--yes", done.stderr)
        self.assertEqual(self.camctl("preset", "delete", "Entrance").returncode, 0)  # it was still there

    def test_terminal_is_asked_before_anything_is_deleted(self):
        status, shown = self.on_terminal(b"n\r")
        self.assertEqual(os.waitstatus_to_exitcode(status), 1, shown)
        self.assertIn("It will delete 'Entrance'.", shown)
        self.assertIn("nothing deleted", shown)
        status, shown = self.on_terminal(b"y\r")
        self.assertEqual(os.waitstatus_to_exitcode(status), 0, shown)
        self.assertIn("It will delete 'Entrance'.", shown)
        status, shown = self.on_terminal(b"y\r")
        self.assertEqual(os.waitstatus_to_exitcode(status), 0, shown)
        self.assertIn("There are no such presets now.", shown)

    def test_question_names_the_presets_also_where_nothing_else_is_shown(self):
        status, shown = self.on_terminal(b"n\r", "--json")
        self.assertEqual(os.waitstatus_to_exitcode(status), 1, shown)
        self.assertIn("It will delete 'Entrance'.\r\nList, and delete them? [y/N] ", shown)

    def test_warning_stays_where_nobody_is_asked(self):
        self.assertIn("It will delete 'Entrance'.\n", self.camctl("preset", "list", "--yes").stdout)

    def test_life_of_a_preset(self):
        self.assertEqual(self.camctl("preset", "set", "7").returncode, 0)
        self.assertEqual(self.camctl("preset", "goto", "7").returncode, 0)
        self.assertEqual(self.listed(), {"7": "qarn7"})
        self.assertEqual(self.camctl("preset", "delete", "7").returncode, 0)
        self.assertEqual(self.listed(), {})
        self.assertEqual(self.camctl("preset", "goto", "7").returncode, 1)

    def test_results_of_the_server(self):
        self.assertEqual(self.camctl("preset", "set", "64").returncode, 3)
        self.assertEqual(programs.camctl("preset", "set", "0", "--sim", "fixed-box").returncode, 7)
        self.assertEqual(programs.camctl("preset", "list", "--yes", "--sim", "fixed-box").returncode, 7)


if __name__ == "__main__":
    programs.main()
