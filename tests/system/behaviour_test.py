"""docs/behaviour.md and docs/reliability.md: every row of their tables names tests that hold it, and those tests exist."""

import os
import re
import unittest

import programs

TEST = re.compile(r"^\s*TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.MULTILINE)
NAME = re.compile(r"`(\w+)\.(\w*)`")
DOCUMENTS = {"behaviour.md": (60, 4), "reliability.md": (25, 3)}  # least rows, and cells of each


def rows(document):
    """The cells of each row of the tables whose last column is "held by", without heading and rule."""
    found = []
    for table in re.findall(r"(?:^\|.*\n)+", document, re.MULTILINE):
        lines = [[cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip("|"))] for line in table.splitlines()]
        if lines[0][-1] == "held by":
            found += lines[2:]
    return found


def tests_of_the_tree():
    names = {("system", name[:-len("_test.py")]) for name in os.listdir(os.path.join(programs.SOURCE_DIR, "tests", "system"))
             if name.endswith("_test.py")}
    for place, _, files in os.walk(os.path.join(programs.SOURCE_DIR, "tests")):
        for name in files:
            if name.endswith(".cpp"):
                with open(os.path.join(place, name), encoding="utf-8") as file:
                    names.update(TEST.findall(file.read()))
    return names


class Behaviour(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.rows = {}
        for name in DOCUMENTS:
            with open(os.path.join(programs.SOURCE_DIR, "docs", name), encoding="utf-8") as file:
                cls.rows[name] = rows(file.read())

    def test_rows_are_whole(self):
        for name, (least, count) in DOCUMENTS.items():
            self.assertGreaterEqual(len(self.rows[name]), least)
            for cells in self.rows[name]:
                self.assertEqual(len(cells), count, cells)
                self.assertTrue(all(cells), cells)

    def test_every_row_names_tests_that_exist(self):
        existing = tests_of_the_tree()
        self.assertGreater(len(existing), 100, "is CAMAPI_SOURCE_DIR right?")
        for name, found in self.rows.items():
            for cells in found:
                with self.subTest(document=name, row=cells[0]):
                    named = NAME.findall(cells[-1])
                    self.assertTrue(named, "the row names no test")
                    self.assertEqual([test for test in named if test not in existing], [])

    def test_nothing_is_left_to_be_filled_in(self):
        for name in DOCUMENTS:
            with open(os.path.join(programs.SOURCE_DIR, "docs", name), encoding="utf-8") as file:
                self.assertNotRegex(file.read(), "@[A-Z]+@|TODO")

    def test_rules_would_notice(self):
        self.assertEqual(rows("| what | held by |\n|---|---|\n| a \\| b | `X.Y` |\ntext\n"), [["a \\| b", "`X.Y`"]])
        self.assertEqual(TEST.findall("TEST(A, B) {\nTEST_F(C, D) {\n  TEST_P(E,\n  F) {"),
                         [("A", "B"), ("C", "D"), ("E", "F")])
        self.assertEqual(NAME.findall("`A.B` and `C.`"), [("A", "B"), ("C", "")])


if __name__ == "__main__":
    programs.main()
