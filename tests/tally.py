#!/usr/bin/env python3
"""Counts the tests of one run of CTest.

usage: tally.py REPORT FOLDER

REPORT is what CTest wrote (--output-junit). A test of CTest may be a whole test program; FOLDER then has the program's own
report, named after it, and its tests are counted in place of the one. A program that ended without a whole report, or
badly after one without failures, is one failed test.

Prints four numbers, how many tests ran, failed, were skipped, and were skipped for want of what a system or a checkout need
not have (EXCUSES). Then a line for each test that failed, "failed: NAME", and, if the tests of RTSP streams were left out,
"unstreamed: REASON".
"""
import pathlib
import re
import sys
import xml.etree.ElementTree as xml

# What stands in the reason of such a skip. Schemas and recordings lie beside the tree; where they do, no test does without.
EXCUSES = ["no private /var/log"]
if not (pathlib.Path(__file__).resolve().parents[2] / "shared").is_dir():
    EXCUSES += ["no ONVIF schemas here", "no schemas at", "no recordings in"]
# What XML does not allow.
NO_TEXT = re.compile("[^\t\n\r\x20-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]")
BEGUN = re.compile(r"\[ RUN      \] (\S+)")
UNSTREAMED = re.compile(r"skipped: (no RTSP streams: .*)")


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


def main():
    folder = pathlib.Path(sys.argv[2])
    tests = [test for case in cases(sys.argv[1]) for test in of_program(case, folder)]
    skipped = [text_of(test) for test in tests if test.find("skipped") is not None]
    print(len(tests) - len(skipped), sum(map(has_failed, tests)), len(skipped),
          sum(any(excuse in text for excuse in EXCUSES) for text in skipped))
    for test in filter(has_failed, tests):
        print("failed:", name_of(test))
    unstreamed = next(filter(None, map(UNSTREAMED.search, skipped)), None)
    if unstreamed:
        print("unstreamed:", unstreamed.group(1))


if __name__ == "__main__":
    main()
