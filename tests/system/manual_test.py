"""The manual pages and the completions for bash say what --help says: every option, command and text, and no other."""

import os
import re
import subprocess
import unittest

import programs

FOLDER = os.environ.get("CAMAPI_MANUAL_DIR", "")
OPTION = re.compile(r"^ {2,6}(?:(-\w),)?(--[\w-]+)\b.*?(?: {2,}(\S.*))?$")
COMMAND = re.compile(r"^ {2}([a-z]+) +(\S.*)$")
FORM = re.compile(r"^ {4}(([a-z]+) \S.*)$")


class Help:
    """What a program's --help says."""

    def __init__(self, program):
        said = programs.run(program, "--help").stdout
        lines = said.splitlines()
        self.title = lines[0]
        self.options, self.texts, self.commands, self.forms = set(), set(), set(), set()
        for line, following in zip(lines, lines[1:] + [""]):
            option, command, form = OPTION.match(line), COMMAND.match(line), FORM.match(line)
            if option:
                self.options.update(filter(None, option.groups()[:2]))
                self.texts.add(option[3] or following.strip())
            elif command:
                self.commands.add(command[1])
                self.texts.add(command[2])
            elif form:
                self.forms.add(form[1])
        self.footer = said.rstrip("\n").rpartition("\n\n")[2]  # password and exit status
        self.texts.update(self.footer.splitlines())


def file_of(name):
    with open(os.path.join(FOLDER, name), encoding="utf-8") as file:
        return file.read()


def page_of(program):
    """The manual page without what its language adds."""
    page = re.sub(r"\\f[BRI]|\\&", "", file_of(f"{program}.1"))
    return page.replace("\\-", "-").replace("\\e", "\\")


def completed(program, *words):
    """What bash offers for the last of the words behind the program's name."""
    script = (f"source '{FOLDER}/{program}.bash'; COMP_WORDS=({program} " + " ".join(f"'{word}'" for word in words) +
              f"); COMP_CWORD={len(words)}; _{program}; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
    done = subprocess.run(["bash", "--norc", "-c", script], cwd=programs.FOLDER.name, capture_output=True, text=True,
                          timeout=programs.RUN_S, check=False)
    if done.returncode != 0 or done.stderr:
        raise AssertionError(f"{words}: {done.stderr}")
    return done.stdout.split()


class Manual(unittest.TestCase):
    def compare(self, program, path):
        said, page = Help(path), page_of(program)
        self.assertGreater(len(said.options), 10, "the help is not understood")
        self.assertIn("Exit status: 0 ", said.footer)
        self.assertIn(f"{program} - {said.title}\n", page)
        for text in said.texts:
            self.assertIn(text, page)
        entries = re.findall(r"^\.TP\n(-.*)$", page, re.MULTILINE)
        names = {word for entry in entries for word in re.findall(r"(?<!\S)--?[\w-]+", entry)}
        self.assertEqual(names, said.options)
        self.assertEqual(set(re.findall(r"^\.SS (.*)$", page, re.MULTILINE)), said.commands)
        self.assertEqual({form for form in re.findall(r"^\.br\n(.*)$", page, re.MULTILINE)}, said.forms)

    def test_page_of_camctl(self):
        self.compare("camctl", programs.CAMCTL)

    def test_page_of_simcam(self):
        self.compare("simcam", programs.SIMCAM)

    def test_page_of_simcam_has_all_models_and_quirks(self):
        page = page_of("simcam")
        for model in programs.models():
            self.assertIn(f"\n{model}\n", page)
        for line in programs.simcam("--list-quirks").stdout.splitlines():
            self.assertIn(line + "\n", page)


class Completion(unittest.TestCase):
    def test_offers_all_options_and_commands(self):
        said = Help(programs.CAMCTL)
        offered = set(completed("camctl", ""))
        own = {word for command in said.commands for word in completed("camctl", command, "--")}
        self.assertEqual({word for word in offered if not word.startswith("-")}, said.commands)
        self.assertEqual(own | {"-h"}, said.options)
        self.assertEqual(set(completed("simcam", "")), Help(programs.SIMCAM).options)

    def test_offers_what_a_command_takes(self):
        self.assertEqual(completed("camctl", "preset", "g"), ["goto"])
        self.assertEqual(completed("camctl", "--json", "caps", "--s"), ["--sim", "--save"])
        self.assertEqual(completed("camctl", "test", "t"), [], "there is one command only")

    def test_offers_values(self):
        self.assertEqual(completed("simcam", "--model", ""), programs.models())
        self.assertEqual(completed("simcam", "--quirk", "clock-re"), ["clock-reset"])
        self.assertEqual(completed("camctl", "--host", ""), [])

    def test_offers_values_behind_an_equals_sign(self):  # which bash takes for a word
        self.assertEqual(completed("simcam", "--model", "="), programs.models())
        self.assertEqual(completed("simcam", "--quirk", "=", "clock-re"), ["clock-reset"])

    def test_value_of_an_option_is_no_command(self):
        self.assertEqual(completed("camctl", "--user", "preset", "ca"), ["caps"])
        self.assertEqual(completed("camctl", "--user", "=", "preset", "ca"), ["caps"])
        self.assertEqual(completed("camctl", "--user", "test", "preset", "g"), ["goto"])

    def test_offers_a_command_where_a_model_may_be_left_out(self):
        self.assertEqual(completed("camctl", "--sim", "ptz-"), ["ptz-dome"])
        self.assertEqual(completed("camctl", "--sim", "tou"), ["tour"])

    def test_offers_files(self):
        name = "a file.json"
        with open(os.path.join(programs.FOLDER.name, name), "w", encoding="utf-8"):
            self.assertEqual(completed("camctl", "--camera", "a"), name.split())


if __name__ == "__main__":
    programs.main()
