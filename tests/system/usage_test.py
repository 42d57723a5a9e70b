"""Wrong usage of both programs: one clear line, exit status 2, nothing on standard output."""

import unittest

import programs


class Usage(unittest.TestCase):
    def assert_refused(self, program, arguments, *words):
        done = programs.run(program, *arguments)
        said = f"{arguments}: status {done.returncode}, {done.stdout!r}, {done.stderr!r}"
        self.assertEqual(done.returncode, 2, said)
        self.assertEqual(done.stdout, "", said)
        self.assertEqual(done.stderr.count("\n"), 1, said)
        self.assertTrue(done.stderr.endswith("\n"), said)
        for word in words:
            self.assertIn(word, done.stderr, said)

    def test_camctl(self):
        account = ["--host", "127.0.0.1", "--user", "u"]
        rows = [
            ([], "no command given", "tour"),
            (["tuor"], "unknown command 'tuor'", "'tour'"),
            (["tour"], "no camera given", "--host"),
            (["tour", "info", "--sim"], "one command"),
            (["caps", "--sim", "--force"], "--save FILE"),
            (["stream", "--sim"], "needs the word set"),
            (["stream", "set", "--sim"], "something to set"),
            (["stream", "set", "--fps", "0", "--sim"], "'0' is no frame rate"),
            (["stream", "set", "--quality", "6", "--sim"], "from 1 to 5"),
            (["stream", "set", "--live-resolution", "640", "--sim"], "WIDTHxHEIGHT"),
            (["stream", "set", "--codec", "h265", "--sim"], "mjpeg, mpeg4 or h264"),
            (["audio", "set", "mp3", "--sim"], "AAC, G711, G726"),
            (["audio", "--sim"], "set and a codec"),
            (["ptz", "--sim"], "move DIRECTION"),
            (["ptz", "jump", "left", "--sim"], "move DIRECTION"),
            (["ptz", "move", "sideways", "--sim"], "is no direction", "left"),
            (["ptz", "move", "left", "--speed", "3", "--sim"], "ptz start alone"),
            (["ptz", "start", "left", "--speed", "11", "--sim"], "from 1 to 10"),
            (["ptz", "start", "left", "--for", "0", "--sim"], "is no time"),
            (["ptz", "start", "home", "--sim"], "use ptz home"),
            (["preset", "--sim"], "list, set NUMBER"),
            (["preset", "list", "--sim"], "--yes"),
            (["preset", "set", "x", "--sim"], "'x' is no number"),
            (["preset", "goto", "1", "2", "--sim"], "goto NUMBER"),
            (["preset", "set", "1", "--yes", "--sim"], "preset list alone"),
            (["play", "--stream", "sub", "--sim"], "'sub' is no stream", "main or live"),
            (["play", "--seconds", "0", "--sim"], "--seconds '0' is no time"),
            (["play", "main", "--sim"], "'main' is one word too many"),
            (["snapshot", "--sim"], "name of a FILE"),
            (["snapshot", "a", "b", "--sim"], "name of a FILE"),
            (["tour", "--no-play", "--seconds", "2", "--sim"], "leave out --no-play"),
            (["tour", "--snapshot", "", "--sim"], "--snapshot needs"),
            (["test", "--quirk", "nosuch", "--sim"], "--quirk:", "nosuch"),
            (["test", "--quirk", "nosuch", *account], "add --sim"),
            (["tour", "--sim", "nosuch"], "nosuch", "ptz-dome", "fixed-box"),
            (["tour", "--sim", "/"], "/"),
            (["tour", "--sim", "--host", "h"], "leave out --host"),
            (["tour", "--sim", "a", "b"], "'b'"),
            (["tour", "--prot", "80"], "unknown option --prot", "--port"),
            (["tour", "--port"], "--port"),
            (["tour", "--port", "0", *account], "--port '0'", "65535"),
            (["tour", "--port", "65536", *account], "--port '65536'"),
            (["tour", "--port", "http", *account], "--port 'http'"),
            (["tour", "--timeout", "-1", *account], "--timeout"),
            (["tour", "--profiles", ",", *account], "--profiles"),
            (["tour", *account], "no password for 'u'", "CAMCTL_PASSWORD"),
            (["tour", "--password-file", "/nonexistent/pw", *account], "/nonexistent/pw", "No such file"),
            (["tour", "--password-file", "/", *account], "Is a directory"),
            (["tour", "--password-file", "/dev/null", *account], "first line is empty"),
            (["tour", "--password-file", "/dev/zero", *account], "too long"),
            (["tour", "--camera", "/nonexistent/cam.json"], "/nonexistent/cam.json", "No such file"),
            (["tour", "--camera", "/"], "Is a directory"),
            (["tour", "--camera", "/dev/null"], "is no JSON"),
            (["tour", "--password", "x"], "not taken from the command line"),
            (["tour", "--host", "x\nsecond line", "--user", "u"], "no password"),
            (["two\nlines"], "unknown command 'two lines'"),
        ]
        for arguments, *words in rows:
            with self.subTest(arguments=arguments):
                self.assert_refused(programs.CAMCTL, arguments, *words)

    def test_simcam(self):
        rows = [
            (["--model", "nosuch"], "nosuch", "ptz-dome", "fixed-box"),
            (["--model", "/dev/null"], "/dev/null"),
            (["--port", "65536"], "65536"),
            (["--port", "x"], "x"),
            (["--port", "-1"], "-1"),
            (["--clock-window", "x"], "x"),
            (["--password-file", "/nonexistent/pw"], "/nonexistent/pw"),
            (["--password-file", ""], 'cannot read the password file ""'),
            (["--password", "x"], "--password"),
            (["--nosuch"], "--nosuch"),
        ]
        for arguments, *words in rows:
            with self.subTest(arguments=arguments):
                self.assert_refused(programs.SIMCAM, arguments, *words)

    def test_json_makes_no_difference(self):
        self.assert_refused(programs.CAMCTL, ["tour", "--json"], "no camera given")


if __name__ == "__main__":
    programs.main()
