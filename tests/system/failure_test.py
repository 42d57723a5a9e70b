"""What the tour says when the camera, the network or the account fails it."""

import contextlib
import json
import os
import socket
import subprocess
import unittest

import programs
import relay


def tour(port, *arguments, password=programs.PASSWORD, command="tour"):
    return programs.camctl("--host", "127.0.0.1", "--port", str(port), "--user", programs.USER, command, *arguments,
                           CAMCTL_PASSWORD=password)


class Failure(unittest.TestCase):
    def assert_ends_with(self, done, result, cause):
        self.assertEqual(done.returncode, result, done.stdout + done.stderr)
        self.assertEqual(done.stderr, "")
        lines = done.stdout.splitlines()
        causes = [line for line in lines if line.startswith("cause:")]
        remedies = [line for line in lines if line.startswith("remedy:")]
        self.assertEqual((len(causes), len(remedies)), (1, 1), done.stdout)
        self.assertRegex(causes[0], cause)
        self.assertTrue(lines[-1].startswith(f"result: {result},"), done.stdout)


class CameraThatDies(Failure):
    def killed_before(self, doomed, *arguments, command="tour"):
        """A command whose camera is killed before request `doomed` is forwarded; the relay stays."""
        with programs.Camera() as camera:

            def before(number, unused):
                if number == doomed:
                    camera.kill()
                return True

            with relay.Relay(camera.port, before) as between:
                return tour(between.port, *arguments, command=command)

    def test_killed_before_the_identity(self):
        # Requests: capabilities, then three of the connection test, then the identity.
        self.assert_ends_with(self.killed_before(5), 4, "the connection to 127.0.0.1:[0-9]+ broke")

    def test_killed_before_the_stream_path_is_diagnosed(self):
        # Requests: capabilities, profiles, the recording stream.
        done = self.killed_before(3, command="paths")
        self.assert_ends_with(done, 4, "the connection to 127.0.0.1:[0-9]+ broke")
        self.assertIn("recording stream   GetPathPort answered 1", done.stdout)
        self.assertIn("diagnosis          TestConn answered 4", done.stdout)

    def test_killed_before_the_snapshot_is_diagnosed_in_json(self):
        done = self.killed_before(5, "--json", command="paths")
        self.assertEqual(done.returncode, 4, done.stdout)
        document = json.loads(done.stdout)
        self.assertEqual(document["result"], 4)
        self.assertEqual([(step["step"], step["result"]) for step in document["steps"][-2:]],
                         [("snapshot", 1), ("diagnosis", 4)])

    def test_killed_while_the_stream_path_is_retried(self):
        # Nothing between the two programs. The unknown profile makes the driver pause and ask again.
        gate = programs.temporary_file(self, "")
        for end in ("asleep", "wake"):
            os.mkfifo(f"{gate}.{end}")
            self.addCleanup(os.unlink, f"{gate}.{end}")
        with programs.Camera("fixed-box") as camera:
            stored = {"host": "127.0.0.1", "port": camera.port, "user": "admin", "profiles": "nosuch",
                      "capabilities": {"media_entry": "/onvif/media"}}
            path = programs.temporary_file(self, json.dumps(stored))
            variables = programs.environment(CAMCTL_PASSWORD=programs.PASSWORD, CAMAPI_SLEEP_GATE=gate)
            with subprocess.Popen([programs.CAMCTL, "--camera", path, "paths"], text=True, stdin=subprocess.DEVNULL,
                                  env=variables, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                with open(f"{gate}.asleep", encoding="utf-8"):
                    camera.kill()
                with open(f"{gate}.wake", "w", encoding="utf-8"):
                    pass
                output, errors = process.communicate(timeout=programs.RUN_S)
        done = subprocess.CompletedProcess(process.args, process.returncode, output, errors)
        self.assert_ends_with(done, 4, r"nothing (listens|answers) at 127\.0\.0\.1:\d+: ")

    def test_port_that_nothing_listens_at(self):
        with socket.socket() as bound:  # bound, but not listening: nobody else gets the port meanwhile
            bound.bind(("127.0.0.1", 0))
            done = tour(bound.getsockname()[1])
        self.assert_ends_with(done, 4, r"nothing (listens|answers) at 127\.0\.0\.1:\d+: ")

    def test_camera_that_never_answers(self):
        with socket.socket() as listening:
            listening.bind(("127.0.0.1", 0))
            listening.listen()
            done = tour(listening.getsockname()[1], "--timeout", "1")
        self.assert_ends_with(done, 4, "no complete answer from 127.0.0.1:[0-9]+ in time")
        self.assertIn("needs a longer --timeout\n", done.stdout)

    def test_camera_that_takes_no_connection(self):
        with contextlib.ExitStack() as stack:
            listening = stack.enter_context(socket.socket())
            listening.bind(("127.0.0.1", 0))
            listening.listen(0)
            for _ in range(4):  # whoever comes behind them waits
                waiting = stack.enter_context(socket.socket())
                waiting.setblocking(False)
                waiting.connect_ex(listening.getsockname())
            done = tour(listening.getsockname()[1], "--timeout", "1")
        self.assert_ends_with(done, 4, "nothing answers at 127.0.0.1:[0-9]+ in time: Connection time")
        self.assertIn("remedy: check address, port and power; a slow camera needs a longer --timeout\n", done.stdout)

    def test_unknown_host(self):
        done = programs.camctl("--host", "camera.invalid", "--user", "u", "test", CAMCTL_PASSWORD="x")
        self.assert_ends_with(done, 4, "unknown host 'camera.invalid'")

    def test_host_that_is_no_address(self):
        done = programs.camctl("--host", "http://cam/", "--user", "u", "test", CAMCTL_PASSWORD="x")
        self.assert_ends_with(done, 4, "'http://cam/' cannot be an address")


class RefusedAccount(Failure):
    def test_wrong_password(self):
        with programs.Camera() as camera:
            for command in ("test", "info", "caps", "paths", "tour"):
                with self.subTest(command=command):
                    self.assert_ends_with(tour(camera.port, password=programs.WRONG, command=command), 5,
                                          r"refused the account 'admin' \(ter:NotAuthorized")

    def test_wrong_password_for_the_simulated_camera(self):
        self.assert_ends_with(programs.camctl("tour", "--sim", CAMCTL_PASSWORD=programs.WRONG), 5, "refused the account")

    def test_password_that_changes_under_way(self):
        with programs.Camera() as right, programs.Camera("ptz-dome", "--user", "other") as other:

            def before(number, unused):
                if number == 3:
                    between.camera_port = other.port
                return True

            with relay.Relay(right.port, before) as between:
                done = tour(between.port, command="paths")
        self.assert_ends_with(done, 5, "refused the account")
        self.assertIn("diagnosis          TestConn answered 5", done.stdout)


class OddAnswers(Failure):
    def answered(self, answer):
        with relay.Relay(1, lambda number, body: answer) as between:
            return tour(between.port)

    def test_web_page(self):
        self.assert_ends_with(self.answered(b"<html><body><br>Welcome</body></html>"), 4,
                              "is no XML; is this the camera")

    def test_nothing(self):
        self.assert_ends_with(self.answered(b""), 4, "is no XML")

    def test_document_type(self):
        self.assert_ends_with(self.answered(b"<!DOCTYPE a><a/>"), 4, "what no camera should send")

    def test_envelope_without_services(self):
        self.assert_ends_with(self.answered(b"<Envelope><Body/></Envelope>"), 7, "names no media service")

    def test_path_that_is_none(self):
        with programs.Camera("fixed-box") as camera:
            stored = {"host": "127.0.0.1", "port": camera.port, "user": "admin", "profiles": "Profile0",
                      "capabilities": {"media_entry": "/nosuch"}}
            path = programs.temporary_file(self, json.dumps(stored))
            done = programs.camctl("--camera", path, "test", CAMCTL_PASSWORD=programs.PASSWORD)
        self.assert_ends_with(done, 4, r"there is no service at 127\.0\.0\.1:\d+/nosuch \(HTTP 404\)")


if __name__ == "__main__":
    programs.main()
