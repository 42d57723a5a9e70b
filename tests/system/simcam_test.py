"""The program simcam: its list, its ready line, its end."""

import json
import re
import signal
import socket
import subprocess
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

    def test_list_that_cannot_be_written_is_a_failure(self):
        for argument in ("--list", "--list-quirks", "--help"):
            with self.subTest(argument=argument), open("/dev/full", "wb") as full:
                done = subprocess.run([programs.SIMCAM, argument], env=programs.environment(), stdout=full,
                                      stderr=subprocess.PIPE, text=True, timeout=programs.RUN_S, check=False)
                self.assertEqual((done.returncode, done.stderr),
                                 (1, "simcam: the output cannot be written: No space left on device\n"))

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

    def test_list_of_quirks_is_grouped_and_aligned(self):
        listed = programs.simcam("--list-quirks")
        self.assertEqual((listed.returncode, listed.stderr), (0, ""))
        groups = [block.splitlines() for block in listed.stdout.split("\n\n")]
        for group in groups:
            self.assertRegex(group[0], r"^[a-z]+(-[a-z]+)*$")
            for line in group[1:]:
                self.assertRegex(line, r"^  (\S.*  +\S.{5}|  +(value|only): \S)")
        self.assertEqual([group[0] for group in groups][:2], ["clock", "authentication"])
        columns = {line.index(re.split(" {2,}", line.strip(), maxsplit=1)[1]) for group in groups for line in group[1:]
                   if not line.startswith("   ")}
        self.assertEqual(len(columns), 1, columns)
        self.assertIn("value: the language: zh, de, ja\n", listed.stdout)

    def test_quirk_of_the_command_line_is_on(self):
        with programs.Camera("fixed-box", "--quirk", "auth-token-refused") as camera:
            self.assertEqual(self.connection_test(camera), 5)
        with programs.Camera("fixed-box") as camera:
            self.assertEqual(self.connection_test(camera), 0)

    def test_wrong_quirk_is_wrong_usage(self):
        refused = programs.simcam("--quirk", "auth-token-refuse")
        self.assertEqual((refused.returncode, refused.stdout), (2, ""))
        self.assertEqual(refused.stderr,
                         'simcam: no quirk is called "auth-token-refuse"; did you mean auth-token-refused?\n')

    def test_control_address_switches_quirks_of_a_running_camera(self):
        with programs.Camera("fixed-box", "--control-port", "0") as camera:
            address = camera.control_address()
            self.assertEqual(self.connection_test(camera), 0)
            answer = self.curl(address + "quirks", "--data-binary", "auth-token-refused")
            self.assertEqual(json.loads(answer), {"on": ["auth-token-refused"]})
            self.assertEqual(self.connection_test(camera), 5)
            state = json.loads(self.curl(address + "camera"))
            self.assertEqual((state["model"], state["port"]), ("fixed-box", camera.port))
            self.assertGreater(state["wrongTries"], 0)
            self.assertEqual(json.loads(self.curl(address + "quirks", "-X", "DELETE")), {"on": []})
            self.assertEqual(self.connection_test(camera), 0)
            self.assertIn("error", json.loads(self.curl(address + "nothing")))

    def test_count_starts_cameras_with_a_ready_line_each(self):
        with programs.Camera("fixed-box", "--count", "5") as camera:
            ports = set(camera.further_ports(4))
            self.assertEqual(len(ports | {camera.port}), 5)
            for port in ports:
                with socket.create_connection(("127.0.0.1", port)):
                    pass

    def test_ports_of_many_cameras_follow_each_other(self):
        base = programs.free_ports(3)
        with programs.Camera("fixed-box", "--port", str(base), "--count", "3") as camera:
            self.assertEqual([camera.port, *camera.further_ports(2)], [base, base + 1, base + 2])

    def test_wrong_counts_and_ports_are_wrong_usage(self):
        for arguments in (["--count", "0"], ["--count", "201"], ["--port", "65535", "--count", "2"],
                          ["--control-port", "65500", "--count", "100"], ["--control-port", "65536"]):
            with self.subTest(arguments=arguments):
                refused = programs.simcam(*arguments)
                self.assertEqual((refused.returncode, refused.stdout), (2, ""))
                self.assertEqual(refused.stderr.count("\n"), 1, refused.stderr)
                self.assertIn(arguments[0], refused.stderr)

    def connection_test(self, camera):
        return programs.camctl("test", "--host", "127.0.0.1", "--port", str(camera.port), "--user", "admin",
                               CAMCTL_PASSWORD=programs.PASSWORD).returncode

    def curl(self, *arguments):
        return programs.run("curl", "--silent", "--show-error", "--noproxy", "*", "--max-time", "30", *arguments).stdout

    def test_second_line_tells_where_the_streams_are_or_why_there_are_none(self):
        with programs.Camera() as camera:
            self.assertRegex(camera.streams_line,
                             r"^simcam: (streams on rtsp://127\.0\.0\.1:[1-9]\d*|no streams: \S.*)\n$")
        with programs.Camera("ptz-dome", "--no-rtsp") as camera:
            self.assertEqual(camera.streams_line, "simcam: no streams: switched off by --no-rtsp\n")

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
