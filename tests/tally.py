#!/usr/bin/env python3
"""Counts the tests of one run of CTest.

usage: tally.py REPORT FOLDER

REPORT is what CTest wrote (--output-junit), in the build tree. A test of CTest may be a whole test program; FOLDER then has
the program's own report, named after it, and its tests are counted in place of the one. A program that ended without a
whole report, or badly after one without failures, is one failed test.

Prints four numbers, how many tests ran, failed, were skipped, and were skipped for want of what a system or a checkout need
not have (EXCUSES, EXCUSES_WITHOUT). Then lines: "failed: NAME" for each test that failed, "skipped inside NAME: TEST: REASON"
for each that was left out inside a test of CTest that ran, and, if the tests of RTSP streams were left out,
"unstreamed: REASON".
"""
import os
import pathlib
import re
import sys
import xml.etree.ElementTree as xml

# What stands in the reason of such a skip.
EXCUSES = ["no private /var/log"]
# The same for what lies in a folder that the build tree was told: where it is there, no test does without.
EXCUSES_WITHOUT = {
    "CAMAPI_SCHEMA_DIR": ["no ONVIF schemas here", "no schemas at"],
    "CAMAPI_REPLIES_DIR": ["no recordings in"],
}
# What XML does not allow.
NO_TEXT = re.compile("[^\t\n\r\x20-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]")
BEGUN = re.compile(r"\[ RUN      \] (\S+)")
UNSTREAMED = re.compile(r"skipped: (no RTSP streams: .*)")
SKIPPED_INSIDE = re.compile(r"^skipped inside: (.*)$", re.MULTILINE)  # as tests/system/programs.py prints it


def cases(report):
    """The tests of a report. Parameters of tests stand in it as they are, also what is no text."""
    with open(report, encoding="utf-8", errors="replace") as file:
        return list(xml.fromstring(NO_TEXT.sub("?", file.read())).iter("testcase"))


def has_failed(case):
    return case.find("failure") is not None or case.find("error") is not None


def of_program(case, folder):
    """What a test of CTest stands for: the tests of a program's own report, or the test itself."""
    try:
        inside = cases(folder / (case.get("name") + ".xml"))
    except (FileNotFoundError, xml.ParseError):
        return [case]
    return inside + [case] if has_failed(case) and not any(map(has_failed, inside)) else inside


def name_of(case):
    """In a program's report the name of the suite stands apart. Of a program that broke off, also where it did."""
    suite, name = case.get("classname", ""), case.get("name")
    begun = BEGUN.findall(text_of(case))
    if len(begun) > 1:
        name += f", in {begun[-1]}"
    return name if suite in ("", case.get("name")) else f"{suite}.{name}"


def text_of(case):
    return " ".join([*case.itertext(), *(element.get("message", "") for element in case.iter())])


def excuses(tree):
    """What excuses a skip in this build tree."""
    cache = (tree / "CMakeCache.txt").read_text(encoding="utf-8")
    folders = dict(re.findall(r"^(CAMAPI_\w+):\w+=(.+)$", cache, re.MULTILINE))
    return EXCUSES + [excuse for name, texts in EXCUSES_WITHOUT.items() if not os.path.isdir(folders.get(name, ""))
                      for excuse in texts]


def main():
    report, folder = map(pathlib.Path, sys.argv[1:3])
    excused = excuses(report.parent)
    entries = cases(report)
    tests = [test for case in entries for test in of_program(case, folder)]
    skipped = [text_of(test) for test in tests if test.find("skipped") is not None]
    print(len(tests) - len(skipped), sum(map(has_failed, tests)), len(skipped),
          sum(any(excuse in text for excuse in excused) for text in skipped))
    for test in filter(has_failed, tests):
        print("failed:", name_of(test))
    for case in entries:
        for left_out in SKIPPED_INSIDE.findall(text_of(case)):
            print(f"skipped inside {case.get('name')}: {left_out}")
    unstreamed = next(filter(None, map(UNSTREAMED.search, skipped)), None)
    if unstreamed:
        print("unstreamed:", unstreamed.group(1))


if __name__ == "__main__":
    main()
