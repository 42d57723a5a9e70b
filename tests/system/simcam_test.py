"""The program simcam: its list, its ready line, its end."""

import signal
import socket
import unittest

import programs


class Simcam(unittest.TestCase):
    def test_list_names_every_model_with_a_title(self):
        listed = programs.simcam("--list")
        self.assertEqual((listed.returncode, listed.stderr), (0, ""))
        rows = [line.split(maxsplit=1) for line in listed.stdout.splitlines()]
        names = [row[0] for row in rows]
        for name in ("ptz-dome", "fixed-box", "legacy-1-0", "fisheye", "axis-dome", "canon-box"):
            self.assertIn(name, names)
        self.assertEqual(names, sorted(names))
        for row in rows:
            self.assertEqual(len(row), 2, row)

    def test_signal_ends_it_cleanly(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=number), programs.Camera() as camera:
                self.assertEqual(camera.end(number), (0, "", ""))

    def test_signal_ends_it_cleanly_with_a_connection_open(self):
        with programs.Camera() as camera, socket.create_connection(("127.0.0.1", camera.port)):
            self.assertEqual(camera.end(), (0, "", ""))

    def test_ready_line_names_model_address_and_user(self):
        with programs.Camera("fisheye", "--user", "operator") as camera:
            self.assertEqual(camera.ready_line,
                             f"simcam: fisheye listening on http://127.0.0.1:{camera.port}/onvif/device_service"
                             " (user operator)\n")

    def test_port_in_use_is_told(self):
        with programs.Camera() as camera:
            second = programs.simcam("--port", str(camera.port))
            self.assertEqual(second.returncode, 1, second.stderr)
            self.assertEqual(second.stderr.count("\n"), 1, second.stderr)
            self.assertIn(str(camera.port), second.stderr)

    def test_password_of_a_file_is_the_one_that_counts(self):
        path = programs.temporary_file(self, "other-password\n")
        with programs.Camera("fixed-box", "--password-file", path) as camera:
            arguments = ["test", "--host", "127.0.0.1", "--port", str(camera.port), "--user", "admin"]
            self.assertEqual(programs.camctl(*arguments, CAMCTL_PASSWORD="other-password").returncode, 0)
            self.assertEqual(programs.camctl(*arguments, CAMCTL_PASSWORD=programs.PASSWORD).returncode, 5)


if __name__ == "__main__":
    programs.main()
