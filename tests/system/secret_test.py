"""The password: where it comes from, and that it shows nowhere."""

import itertools
import os
import pty
import resource
import signal
import subprocess
import unittest

import programs
import relay

SECRET = programs.PASSWORDS[1]


def everything(done):
    return done.stdout + done.stderr


class Secret(unittest.TestCase):
    def setUp(self):
        self.file = programs.temporary_file(self, SECRET + "\nnot this line\n")
        self.camera = programs.Camera("fixed-box", "--password-file", self.file)
        self.addCleanup(self.camera.kill)
        self.arguments = ["--host", "127.0.0.1", "--port", str(self.camera.port), "--user", "admin"]

    def test_each_source_is_accepted_and_not_shown(self):
        rows = [(["--password-file", self.file], {}),
                ([], {"CAMCTL_PASSWORD": SECRET}),
                (["--password-file", self.file], {"CAMCTL_PASSWORD": "wrong"})]
        for arguments, variables in rows:
            with self.subTest(arguments=arguments, variables=list(variables)):
                done = programs.camctl(*self.arguments, *arguments, "tour", "--no-play", **variables)
                self.assertEqual(done.returncode, 0, everything(done))
                self.assertNotIn(SECRET, everything(done))

    def test_failures_do_not_show_it(self):
        wrong = SECRET + "-mistyped"
        for arguments in (["tour"], ["tour", "--json"], ["info", "--profiles", ","], ["tuor"]):
            with self.subTest(arguments=arguments):
                done = programs.camctl(*self.arguments, *arguments, CAMCTL_PASSWORD=wrong)
                self.assertNotEqual(done.returncode, 0)
                self.assertNotIn(SECRET, everything(done))
        done = programs.camctl(*self.arguments, "tour", "--password=" + SECRET)
        self.assertEqual(done.returncode, 2)
        self.assertNotIn(SECRET, everything(done))

    def test_address_of_a_camera_that_holds_it_is_made_unreadable(self):
        forms = [SECRET, SECRET.replace("-", "%2D"), SECRET.replace("-", "%2d", 1)]
        with relay.Relay(self.camera.port) as between:
            plain = between.forward

            def forward(handler, body):
                status, answer = plain(handler, body)
                return status, answer.replace(b"unicast", written.encode())

            between.forward = forward
            for written, arguments in itertools.product(forms, (["paths"], ["paths", "--json"])):
                done = programs.camctl("--host", "127.0.0.1", "--port", str(between.port), "--user", "admin",
                                       *arguments, CAMCTL_PASSWORD=SECRET)
                self.assertEqual(done.returncode, 0, everything(done))
                self.assertIn("********", done.stdout)
                self.assertNotIn(written, everything(done))

    @staticmethod
    def leaves_core(program, *arguments):
        """Whether a program that ends by an error of memory, as soon as it waits for input, leaves a core."""
        def allow_cores():
            most = resource.getrlimit(resource.RLIMIT_CORE)[1]
            resource.setrlimit(resource.RLIMIT_CORE, (most, most))

        pid, terminal = pty.fork()
        if pid == 0:
            allow_cores()
            os.chdir(programs.FOLDER.name)
            os.execve(program, [program, *arguments], programs.environment())
        os.read(terminal, 1)
        os.kill(pid, signal.SIGSEGV)
        _, status = os.waitpid(pid, 0)
        os.close(terminal)
        return os.WCOREDUMP(status)

    def test_core_does_not_hold_it(self):
        if not self.leaves_core("/bin/sh", "-c", "echo ready; read answer"):
            self.skipTest("no program leaves a core here")
        self.assertFalse(self.leaves_core(programs.CAMCTL, "test", "--host", "127.0.0.1", "--user", "admin"))

    def test_process_list_does_not_show_it(self):
        seen = []

        def before(unused_number, unused_body):
            with open(f"/proc/{process.pid}/cmdline", "rb") as file:
                seen.append(file.read())
            with open(f"/proc/{self.camera.process.pid}/cmdline", "rb") as file:
                seen.append(file.read())
            return True

        with relay.Relay(self.camera.port, before) as between:
            process = subprocess.Popen(
                [programs.CAMCTL, "test", "--host", "127.0.0.1", "--port", str(between.port), "--user", "admin"],
                env=programs.environment(CAMCTL_PASSWORD=SECRET), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.PIPE)
            output, errors = process.communicate(timeout=programs.RUN_S)
        self.assertEqual(process.returncode, 0, output + errors)
        self.assertGreaterEqual(len(seen), 4)
        for command_line in seen:
            self.assertNotEqual(command_line, b"")
            self.assertNotIn(SECRET.encode(), command_line)


class Prompt(unittest.TestCase):
    def answer_prompt(self, typed, arguments):
        return programs.on_terminal(arguments, prompt=b"Password of admin: ", typed=typed)

    def test_prompt_does_not_echo(self):
        path = programs.temporary_file(self, SECRET + "\n")
        with programs.Camera("fixed-box", "--password-file", path) as camera:
            arguments = ["test", "--host", "127.0.0.1", "--port", str(camera.port), "--user", "admin"]
            status, shown = self.answer_prompt(SECRET.encode() + b"\n", arguments)
        self.assertEqual(os.waitstatus_to_exitcode(status), 0, shown)
        self.assertIn("Password of admin: ", shown)
        self.assertIn("accepts the account", shown)
        self.assertNotIn(SECRET, shown)

    def test_interrupt_at_the_prompt_ends_the_program(self):
        status, shown = self.answer_prompt(b"\x03", ["test", "--host", "127.0.0.1", "--user", "admin"])
        self.assertTrue(os.WIFSIGNALED(status), (status, shown))

    def test_end_of_input_at_the_prompt_is_wrong_usage(self):
        status, shown = self.answer_prompt(b"\x04", ["test", "--host", "127.0.0.1", "--user", "admin"])
        self.assertEqual(os.waitstatus_to_exitcode(status), 2, shown)


if __name__ == "__main__":
    programs.main()
