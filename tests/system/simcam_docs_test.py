"""The page about the simulated camera holds what the program says of its quirks, options and models.

    CAMAPI_SIMCAM=... simcam_docs_test.py --write    puts the tables of quirks anew into the page
"""

import os
import re
import sys
import unittest

import programs

SOURCE_DIR = programs.SOURCE_DIR or os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PAGE = os.path.join(SOURCE_DIR, "docs", "simcam.md")
BEGIN = "<!-- quirks: begin -->\n"
END = "<!-- quirks: end -->\n"


def read_page():
    with open(PAGE, encoding="utf-8") as file:
        return file.read()


def groups():
    """What --list-quirks says: [group, [[usage, trouble, value, operations], ...]], ..."""
    listed = []
    for line in programs.simcam("--list-quirks").stdout.splitlines():
        words = line.strip()
        if words and not line.startswith(" "):
            listed.append([words, []])
        elif words.startswith("value: "):
            listed[-1][1][-1][2] = words[len("value: "):]
        elif words.startswith("only: "):
            listed[-1][1][-1][3] = words[len("only: "):]
        elif words:
            usage, trouble = re.split(r" {2,}", words, maxsplit=1)
            listed[-1][1].append([usage, trouble, "", "all"])
    return listed


def tables():
    """The part of the page that lists the quirks."""
    text = ""
    for name, quirks in groups():
        heading = name[0].upper() + name[1:].replace("-", " ")
        text += f"\n### {heading}\n\n| quirk | what the camera does | value | operations |\n|---|---|---|---|\n"
        for quirk, trouble, value, operations in quirks:
            text += f"| `{quirk}` | {trouble} | {value} | {operations} |\n"
    return text + "\n"


def write():
    page = read_page()
    begin = page.index(BEGIN) + len(BEGIN)
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(page[:begin] + tables() + page[page.index(END):])


class Page(unittest.TestCase):
    maxDiff = None

    def test_tables_of_quirks_are_those_of_the_program(self):
        page = read_page()
        self.assertEqual(page[page.index(BEGIN) + len(BEGIN):page.index(END)], tables(),
                         "write them anew: tests/system/simcam_docs_test.py --write")

    def test_every_option_has_a_row(self):
        options = set(re.findall(r"--[a-z-]+", programs.simcam("--help").stdout))
        self.assertIn("--quirk", options)
        self.assertEqual(options - set(re.findall(r"^\| `(--[a-z-]+)", read_page(), re.M)), {"--help", "--version"})

    def test_every_model_has_a_row(self):
        self.assertEqual(set(programs.models()) - set(re.findall(r"^\| `([a-z0-9-]+)` \|", read_page(), re.M)), set())


if __name__ == "__main__":
    if sys.argv[1:] == ["--write"]:
        write()
    else:
        programs.main()
