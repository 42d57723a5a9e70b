"""What ./test counts: the tests of CTest, and those inside the programs that it ran as one test each."""

import os
import subprocess
import sys
import unittest
import xml.sax.saxutils as xml

import programs

TALLY = os.path.join(programs.SOURCE_DIR, "tests", "tally.py")
MISSING = os.path.join(programs.FOLDER.name, "missing")
# A script of tests/system that passes, and leaves tests out.
LEAVES_OUT = """
import unittest
import programs

class Things(unittest.TestCase):
    @unittest.skip("too hot")
    def test_cold(self):
        pass

    def test_warm(self):
        with self.subTest(degrees=20):
            self.skipTest("no thermometer")

programs.main()
"""


def passed(name):
    return f'<testcase name="{name}"/>'


def failed(name):
    return f'<testcase name="{name}"><failure message="no"/></testcase>'


def skipped(name, reason):
    return f'<testcase name="{name}"><skipped message="SKIP"/><system-out>{reason}</system-out></testcase>'


class Tally(unittest.TestCase):
    def write(self, name, *cases):
        path = os.path.join(programs.FOLDER.name, name)
        with open(path, "wb") as file:
            file.write(b'<?xml version="1.0" encoding="UTF-8"?><testsuite>')
            file.writelines(case.encode("latin-1") for case in cases)
            file.write(b"</testsuite>")
        return path

    def tally(self, *cases, schemas=MISSING, recordings=MISSING):
        with open(os.path.join(programs.FOLDER.name, "CMakeCache.txt"), "w", encoding="utf-8") as file:
            file.write(f"// A folder\nCAMAPI_SCHEMA_DIR:PATH={schemas}\n\nCAMAPI_REPLIES_DIR:PATH={recordings}\n")
        done = subprocess.run([sys.executable, "-B", TALLY, self.write("ctest.xml", *cases), programs.FOLDER.name],
                              capture_output=True, text=True, timeout=programs.RUN_S, check=True)
        return done.stdout.splitlines()

    def test_counts_what_ctest_ran(self):
        self.assertEqual(self.tally(passed("a"), failed("b"), skipped("c", "skipped: too hot"), passed("d")), ["3 1 1 0", "failed: b"])

    def test_counts_what_a_program_ran(self):
        self.write("all-well.xml", passed("a"), passed("b"), skipped("c", "too hot"))
        self.assertEqual(self.tally(passed("all-well"), passed("d")), ["3 0 1 0"])
        self.write("one-failed.xml", passed("a"), failed("b"))
        self.assertEqual(self.tally(failed("one-failed")), ["2 1 0 0", "failed: b"])

    def test_names_failures_as_their_program_does(self):
        self.write("one-failed.xml", '<testcase classname="All/Suite" name="Test/1"><failure/></testcase>')
        self.assertEqual(self.tally(failed("one-failed")), ["1 1 0 0", "failed: All/Suite.Test/1"])

    def test_program_that_ends_badly_is_a_failure(self):
        self.write("leaks.xml", passed("a"), passed("b"))
        self.assertEqual(self.tally(failed("leaks")), ["3 1 0 0", "failed: leaks"])
        self.assertEqual(self.tally(failed("crashed-without-report")), ["1 1 0 0", "failed: crashed-without-report"])
        with open(self.write("cut-off.xml", passed("a")), "r+b") as file:
            file.truncate(60)
        said = "[ RUN      ] A.B\n[       OK ] A.B\n[ RUN      ] C.D\n"
        crash = f'<testcase name="cut-off"><failure/><system-out>{said}</system-out></testcase>'
        self.assertEqual(self.tally(crash), ["1 1 0 0", "failed: cut-off, in C.D"])

    def test_knows_what_a_system_need_not_have(self):
        reasons = ("no private /var/log and /dev/log here: no", "no recordings in \"/x\"", "no ONVIF schemas here (...)",
                   "skipped: no schemas at '/x'; ...", "skipped: the player is not installed")
        cases = [skipped(f"t{i}", reason) for i, reason in enumerate(reasons)]
        here = programs.FOLDER.name
        for folders, excused in (({}, 4), ({"schemas": here}, 2), ({"recordings": here}, 3),
                                 ({"schemas": here, "recordings": here}, 1)):
            with self.subTest(folders=folders):
                self.assertEqual(self.tally(*cases, **folders), [f"0 0 5 {excused}"])

    def test_says_why_streams_were_left_out(self):
        lines = self.tally(passed("a"), skipped("b", "skipped: no RTSP streams: built without GStreamer\nmore"))
        self.assertEqual(lines, ["1 0 1 0", "unstreamed: no RTSP streams: built without GStreamer"])

    def test_tells_what_is_left_out_inside_a_test_that_passes(self):
        with open(os.path.join(programs.FOLDER.name, "leaves_out.py"), "w", encoding="utf-8") as file:
            file.write(LEAVES_OUT)
        done = subprocess.run([sys.executable, "-B", file.name], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              env={**os.environ, "PYTHONPATH": os.path.dirname(programs.__file__)}, timeout=programs.RUN_S,
                              check=False)
        self.assertEqual(done.returncode, 0, done.stdout)
        entry = f'<testcase name="system.x"><system-out>{xml.escape(done.stdout)}</system-out></testcase>'
        self.assertEqual(self.tally(passed("a"), entry),
                         ["2 0 0 0", "skipped inside system.x: Things.test_cold: too hot",
                          "skipped inside system.x: Things.test_warm (degrees=20): no thermometer"])

    def test_reads_parameters_that_are_no_text(self):
        self.assertEqual(self.tally(passed("\xff"), passed("\x01")), ["2 0 0 0"])


if __name__ == "__main__":
    programs.main()
