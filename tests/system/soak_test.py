"""A short soak of the drivers of simulated cameras: nothing grows, nothing answers wrongly; and it notices when it does."""

import os
import re
import signal
import subprocess
import sys
import unittest

import programs

SOAK = os.environ.get("CAMAPI_SOAK", "")
LIMIT_S = 110


def soak(*arguments, seconds=15):
    """Runs it with 8 cameras; returns its status and what it printed."""
    done = subprocess.run([SOAK, "--cameras", "8", "--minutes", f"{seconds / 60:.3f}", *arguments],
                          env=programs.environment(LD_PRELOAD=None), stdin=subprocess.DEVNULL, capture_output=True,
                          text=True, timeout=LIMIT_S, check=False)
    programs.require_no_secret(done.stdout, done.stderr)
    return done.returncode, done.stdout, done.stderr


def children_of(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
        return [int(child) for child in file.read().split()]


def is_alive(pid):
    return os.path.exists(f"/proc/{pid}")


class Soak(unittest.TestCase):
    def test_cameras_with_troubles_leave_nothing_behind(self):
        status, output, errors = soak()
        self.assertEqual((status, errors), (0, ""), output)
        tenths = re.findall(r"^ +(\d+) +[\d.]+ +(\d+) +0 +(\d+) ", output, re.MULTILINE)
        self.assertEqual([int(tenth) for tenth, _, _ in tenths], list(range(1, 11)), output)
        self.assertGreater(int(tenths[-1][1]), 500, "calls")
        self.assertGreater(int(tenths[-1][2]), 20, "troubles")
        self.assertEqual(len(re.findall(r"^ok ", output, re.MULTILINE)), 4, output)
        for code in ("0", "1", "4", "5", "7"):
            self.assertRegex(output, rf"(?m)^results: (.*, )?{code}: \d", "no trouble led to this result")

    def check_caught(self, what, line):
        status, output, errors = soak("--self-check", what, seconds=4)
        self.assertEqual(status, 1, output)
        self.assertRegex(output + errors, re.compile(line, re.MULTILINE))

    def test_lost_memory_is_caught(self):
        self.check_caught("leak", "^GROWTH memory in use")

    def test_lost_descriptors_are_caught(self):
        self.check_caught("descriptors", "^GROWTH descriptors")

    def test_lost_threads_are_caught(self):
        self.check_caught("threads", "^GROWTH threads")

    def test_wrong_code_is_told_with_camera_and_seed(self):
        self.check_caught("code", r"^WRONG: camera \d+ \(fixed-box, port \d+\), seed 1, round \d+: TestConn answered 0; .*now: ")

    def test_signal_ends_it_and_its_cameras(self):
        process = subprocess.Popen([SOAK, "--cameras", "4", "--minutes", "5"],
                                   env=programs.environment(LD_PRELOAD=None), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.assertIn("tenth", process.stdout.readline())
        cameras = children_of(process.pid)
        self.assertEqual(len(cameras), 4, "one program for each model")
        process.send_signal(signal.SIGINT)
        output, errors = process.communicate(timeout=programs.RUN_S)
        self.assertEqual((process.returncode, errors), (1, ""))
        self.assertIn("ended early", output)
        self.assertEqual([pid for pid in cameras if is_alive(pid)], [])

    def test_cameras_end_when_it_is_killed(self):
        process = subprocess.Popen([SOAK, "--cameras", "4", "--minutes", "5"],
                                   env=programs.environment(LD_PRELOAD=None), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, text=True)
        self.assertIn("tenth", process.stdout.readline())
        cameras = children_of(process.pid)
        process.kill()
        process.communicate(timeout=programs.RUN_S)
        self.assertTrue(programs.wait_for(lambda: not any(is_alive(pid) for pid in cameras)))

    def test_wrong_use_is_told(self):
        self.assertEqual(soak("--cameras", "0")[0], 2)
        status, _, errors = soak("--simcam", "/bin/true", seconds=4)
        self.assertEqual(status, 1)
        self.assertIn("is it the program simcam?", errors)


def check_for_private_log():
    """The drivers log their failures at a fixed path."""
    with open("/proc/self/mountinfo", encoding="ascii") as file:
        if not re.search(r" /var/log [^\n]* - tmpfs ", file.read()):
            programs.skip_all("no private /var/log can be had here")


if __name__ == "__main__":
    if not os.access(SOAK, os.X_OK):
        sys.exit(f"CAMAPI_SOAK must name the built program; it is {SOAK!r}")
    check_for_private_log()
    programs.main()
