"""docs/behaviour.md: every row of its tables names tests that hold it, and those tests exist."""

import os
import re
import unittest

import programs

TEST = re.compile(r"^\s*TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.MULTILINE)
NAME = re.compile(r"`(\w+)\.(\w*)`")


def rows(document):
    """The cells of each table row, without heading and rule."""
    found = []
    for line in document.splitlines():
        if not line.startswith("|"):
            continue
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip("|"))]
        if cells[-1] != "held by" and set(cells[-1]) != {"-"}:
            found.append(cells)
    return found


def tests_of_the_tree():
    names = set()
    for place, _, files in os.walk(os.path.join(programs.SOURCE_DIR, "tests")):
        for name in files:
            if name.endswith(".cpp"):
                with open(os.path.join(place, name), encoding="utf-8") as file:
                    names.update(TEST.findall(file.read()))
    return names


class Behaviour(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(os.path.join(programs.SOURCE_DIR, "docs", "behaviour.md"), encoding="utf-8") as file:
            cls.rows = rows(file.read())

    def test_there_are_rows_of_four_cells(self):
        self.assertGreater(len(self.rows), 60)
        for cells in self.rows:
            self.assertEqual(len(cells), 4, cells)
            self.assertTrue(all(cells), cells)

    def test_every_row_names_tests_that_exist(self):
        existing = tests_of_the_tree()
        self.assertGreater(len(existing), 100, "is CAMAPI_SOURCE_DIR right?")
        for cells in self.rows:
            with self.subTest(row=cells[0]):
                named = NAME.findall(cells[3])
                self.assertTrue(named, "the row names no test")
                self.assertEqual([name for name in named if name not in existing], [])

    def test_rules_would_notice(self):
        self.assertEqual(rows("| what | held by |\n|---|---|\n| a \\| b | `X.Y` |\ntext\n"), [["a \\| b", "`X.Y`"]])
        self.assertEqual(TEST.findall("TEST(A, B) {\nTEST_F(C, D) {\n  TEST_P(E,\n  F) {"),
                         [("A", "B"), ("C", "D"), ("E", "F")])
        self.assertEqual(NAME.findall("`A.B` and `C.`"), [("A", "B"), ("C", "")])


if __name__ == "__main__":
    programs.main()
