"""Who may include whom: the folders of the tree know each other in one direction only."""

import os
import re
import unittest

import programs

# What each folder may include besides itself: folders, or single headers.
ALLOWED = {
    "camctl": ["onvif/", "platform/", "simcam/"],
    "onvif": ["platform/", "dupfromhx/"],
    "dupfromhx": ["platform/vexlib.h"],
    "platform": [],
    "simcam": [],
    "manual": ["camctl/", "simcam/"],
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def included(text):
    return INCLUDE.findall(text)


def forbidden(folder, headers):
    """Those of the headers that a file of the folder may not include."""
    allowed = [folder + "/", *ALLOWED[folder]]
    return [header for header in headers if not any(header.startswith(prefix) for prefix in allowed)]


def sources(folder):
    for place, _, names in os.walk(os.path.join(programs.SOURCE_DIR, folder)):
        for name in names:
            if name.endswith((".h", ".cpp")):
                yield os.path.join(place, name)


class Includes(unittest.TestCase):
    def test_folders_keep_to_their_neighbours(self):
        for folder in ALLOWED:
            found = 0
            for path in sources(folder):
                with open(path, encoding="utf-8") as file:
                    headers = included(file.read())
                found += len(headers)
                self.assertEqual(forbidden(folder, headers), [], path)
            self.assertGreater(found, 0, f"no include found in {folder}: is CAMAPI_SOURCE_DIR right?")

    def test_every_include_is_rooted_at_the_project(self):
        for folder in ALLOWED:
            for path in sources(folder):
                with open(path, encoding="utf-8") as file:
                    for header in included(file.read()):
                        self.assertIn("/", header, path)

    def test_rules_would_notice(self):
        self.assertEqual(included('#include <map>\n  # include "a/b.h"\n// #include "c/d.h"\n'), ["a/b.h"])
        self.assertEqual(forbidden("simcam", ["simcam/model.h", "onvif/onvifmedia.h"]), ["onvif/onvifmedia.h"])
        self.assertEqual(forbidden("dupfromhx", ["platform/vexlib.h", "platform/cameraapi.h"]),
                         ["platform/cameraapi.h"])
        self.assertEqual(forbidden("onvif", ["simcamera.h"]), ["simcamera.h"])


if __name__ == "__main__":
    programs.main()
