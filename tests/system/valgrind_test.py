"""A whole tour under valgrind: no bad access, nothing lost."""

import os
import shutil
import subprocess
import unittest

import programs


class Valgrind(unittest.TestCase):
    def test_whole_tour_loses_nothing(self):
        variables = programs.environment()
        variables.pop("LD_PRELOAD", None)  # the tour of a healthy camera does not pause
        kept = os.path.join(programs.SOURCE_DIR, "tests", "system", "valgrind.supp")
        done = subprocess.run(
            ["valgrind", "--quiet", "--leak-check=full", "--show-leak-kinds=definite,indirect",
             "--errors-for-leak-kinds=definite,indirect", "--error-exitcode=99", "--suppressions=" + kept,
             programs.CAMCTL, "tour", "--sim", "--no-play"],
            env=variables, cwd=programs.FOLDER.name, stdin=subprocess.DEVNULL, capture_output=True, text=True,
            timeout=programs.RUN_S, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)


if __name__ == "__main__":
    if shutil.which("valgrind") is None:
        programs.skip_all("valgrind is not installed")
    programs.main()
