"""The tour, as a newcomer sees it, with every model of the simulated camera."""

import concurrent.futures
import json
import os
import re
import signal
import subprocess
import threading
import unittest

import pictures
import programs
import relay

# Step, operation; the tour of a camera that can do everything and holds no presets of others.
WHOLE = [("services", "GetCapabilities"), ("test", "TestConn"), ("identity", "GetDeviceInfo"),
         ("report", "GetCapability"), ("profiles", "GetProfiles"), ("state", "GetProfile"),
         ("streams equal", "SetStmProfile"), ("read back", "GetProfile"),
         ("streams different", "SetStmProfile"), ("read back", "GetProfile"), ("audio", "SetAudio"),
         ("recording stream", "GetPathPort"), ("live stream", "GetLivePathPort"), ("snapshot", "GetShotPathPort"),
         ("play recording", "RTSP"), ("play live", "RTSP"), ("snapshot file", "HTTP"),
         ("preset look", "GetPresets"), ("preset set", "SetPreset"), ("ptz move", "LensPTZ"),
         ("ptz start", "LensPTZStart"), ("ptz stop", "LensPTZStop"), ("ptz home", "LensPTZ"),
         ("preset goto", "LensPreset"), ("preset list", "GetPresets"), ("preset delete", "DelPreset"),
         ("restore", "SetVideoEncoderConfiguration"), ("report again", "GetCapability")]
LENS = ["ptz move", "ptz start", "ptz stop", "ptz home"]
PLAYS = ("play recording", "play live")
PRESETS = ["preset set", "preset goto", "preset list", "preset delete"]
# What a model lets the driver answer in place of 0, and which steps have nothing to do there.
RESULTS = {
    "axis-dome": {},
    "canon-box": {},
    "fisheye": {step: 7 for step in LENS + PRESETS},
    "fixed-box": {step: 7 for step in ["audio"] + LENS + PRESETS},
    "legacy-1-0": {"ptz home": 7},
    "old-style": {step: 7 for step in LENS + PRESETS},
    "plural-ptz": {},
    "ptz-dome": {},
    "single-profile": {step: 7 for step in LENS + PRESETS},
    "step-dome": {"ptz start": 1, "ptz stop": 1},
    "zoom-box": {step: 7 for step in ["ptz home"] + PRESETS},
}
FOREIGN_PRESETS = ("axis-dome", "ptz-dome")  # the tour would delete them if it listed
# Mark, time, name of the step, what was found.
STEP_LINE = re.compile(r"^  (ok|--) +[0-9.]+ m?s  ([a-z]+(?: [a-z]+)?)  +\S.*$", re.MULTILINE)


def expected_steps(model):
    """(step, operation, result) of a tour on the model, with --no-play."""
    results = RESULTS[model]
    rows = [(step, operation, results.get(step, 0)) for step, operation in WHOLE if step not in PLAYS]
    if model in FOREIGN_PRESETS:
        rows = [row for row in rows if row[0] != "preset list"]
    if results.get("preset set") == 7:
        rows = [row for row in rows if row[0] != "preset look"]
    return rows


def tour_of(model):
    return programs.camctl("tour", "--sim", model, "--json", "--no-play", "--snapshot", model + ".jpg")


class Tour(unittest.TestCase):
    def test_every_model_passes_with_the_results_that_it_implies(self):
        names = programs.models()
        self.assertEqual(names, sorted(RESULTS))
        # The driver sleeps after each update of an encoder: side by side that is bearable.
        with concurrent.futures.ThreadPoolExecutor(max_workers=6) as pool:
            tours = dict(zip(names, pool.map(tour_of, names)))
        for name, done in tours.items():
            with self.subTest(model=name):
                self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
                found = [(step["step"], step["operation"], step["result"])
                         for step in json.loads(done.stdout)["steps"]]
                self.assertEqual(found, expected_steps(name))
                self.assertEqual(json.loads(done.stdout)["steps"][-1]["detail"], "as before")

    def test_table_for_people(self):
        done = programs.camctl("tour", "--sim", "fixed-box", "--no-play")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        rows = expected_steps("fixed-box")
        self.assertEqual(STEP_LINE.findall(done.stdout),
                         [("--" if result else "ok", step) for step, _, result in rows], done.stdout)
        passed = sum(result == 0 for _, _, result in rows)
        self.assertIn(f"{passed} steps passed, {len(rows) - passed} not supported by this camera", done.stdout)
        self.assertIn("simulated fixed-box", done.stdout)

    def test_presets_of_others_are_not_listed_away(self):
        with programs.Camera("ptz-dome") as camera:
            arguments = ["--host", "127.0.0.1", "--port", str(camera.port), "--user", programs.USER]
            for _ in range(2):
                done = programs.camctl(*arguments, "tour", "--no-play", CAMCTL_PASSWORD=programs.PASSWORD)
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                self.assertIn("preset list is left out: it would delete 1 presets", done.stdout)
                self.assertIn("1 on the camera, 1 of them not the server's", done.stdout)

    def test_camera_of_another_process_passes_as_well(self):
        with programs.Camera("fixed-box") as camera:
            done = programs.camctl("--host", "127.0.0.1", "--port", str(camera.port), "--user", programs.USER, "tour",
                                   "--no-play", CAMCTL_PASSWORD=programs.PASSWORD)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_sim_stands_before_or_behind_the_command(self):
        for arguments in (["test", "--sim"], ["--sim", "test"], ["--sim", "ptz-dome", "test"]):
            with self.subTest(arguments=arguments):
                done = programs.camctl(*arguments)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertIn("camera answers", done.stdout)

    def test_no_escape_sequences_in_a_pipe(self):
        done = programs.camctl("test", "--sim")
        self.assertNotIn("\033", done.stdout + done.stderr)


class Interrupted(unittest.TestCase):
    def state(self, address):
        """What the tour may change of the camera whose control address it is, when its lens stands still."""
        states = []

        def is_still():
            states.append(json.loads(pictures.fetch(address + "camera")))
            return not any(lens["moving"] for lens in states[-1]["lenses"])

        self.assertTrue(programs.wait_for(is_still), "the lens moves on")
        for profile in states[-1]["profiles"]:
            profile["videoEncoder"].pop("govLength", None)  # which the driver cannot read
        return {key: states[-1][key] for key in ("profiles", "lenses")}

    def interrupted(self, camera, *marks):
        """A tour that gets SIGINT at the first request that holds the first mark, and at the first one behind that which
        holds the second; its status and what it printed."""
        left = list(marks)
        begun = threading.Event()

        def before(unused, body):
            begun.wait(programs.READY_S)
            if left and left[0] in body:
                left.pop(0)
                process.send_signal(signal.SIGINT)
                return len(marks) == 1 or bool(left)  # nobody waits for the answer behind the second one
            return True

        with relay.Relay(camera.port, before) as between:
            arguments = ["--host", "127.0.0.1", "--port", str(between.port), "--user", programs.USER, "--json"]
            with subprocess.Popen([programs.CAMCTL, *arguments, "tour", "--no-play"], cwd=programs.FOLDER.name, text=True,
                                  env=programs.environment(CAMCTL_PASSWORD=programs.PASSWORD), stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                begun.set()
                output, errors = process.communicate(timeout=programs.RUN_S)
        programs.require_no_secret(output, errors)
        self.assertEqual((left, errors), ([], ""), output)
        return process.returncode, output

    def test_first_signal_ends_it_with_the_camera_put_back(self):
        back = ["preset goto", "preset delete", "restore"]
        rows = [(b"SetVideoEncoderConfiguration>", "streams equal", "read back", ["restore"]),
                (b"SetPreset>", "preset set", "ptz move", back),
                (b"ContinuousMove>", "ptz start", "ptz stop", ["ptz stop", *back])]
        with programs.Camera("ptz-dome", "--control-port", "0") as camera:
            address = camera.control_address()
            before = self.state(address)
            for mark, last, unrun, ends in rows:
                with self.subTest(mark=mark):
                    status, output = self.interrupted(camera, mark)
                    self.assertEqual(status, 1, output)
                    steps = json.loads(output)["steps"]
                    names = [step["step"] for step in steps]
                    at = len(names) - len(ends) - 1
                    self.assertEqual(names[at - 1:], [last, unrun, *ends], output)
                    self.assertEqual(steps[at]["detail"], "not run: interrupted")
                    self.assertEqual([step["result"] for step in steps[at - 1:]], [0, 1, *[0 for _ in ends]])
                    self.assertEqual(self.state(address), before)

    def test_second_signal_ends_the_program(self):
        with programs.Camera("ptz-dome") as camera:
            status, output = self.interrupted(camera, b"SetPreset>", b"RemovePreset>")
        self.assertEqual((status, output), (-signal.SIGINT, ""))


class Json(unittest.TestCase):
    def test_tour_is_one_document_of_the_promised_shape(self):
        done = programs.camctl("--sim", "fixed-box", "--json", "tour", "--no-play")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        document = json.loads(done.stdout)
        self.assertEqual(list(document), ["camera", "steps", "result"])
        self.assertEqual(document["result"], 0)
        self.assertEqual(document["camera"]["host"], "127.0.0.1")
        self.assertIsInstance(document["camera"]["port"], int)
        self.assertEqual(document["camera"]["vendor"], "Kestrel Optics")
        for step in document["steps"]:
            self.assertEqual(list(step), ["step", "operation", "result", "ms", "detail"])
            self.assertIsInstance(step["result"], int)
            self.assertIsInstance(step["ms"], float)
            self.assertGreaterEqual(step["ms"], 0)
            self.assertNotEqual(step["detail"], "")

    def test_every_command_prints_one_document(self):
        for command in ("test", "info", "caps", "paths"):
            with self.subTest(command=command):
                done = programs.camctl(command, "--sim", "--json")
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual(json.loads(done.stdout)["result"], 0)

    def test_failure_is_a_document_too(self):
        done = programs.camctl("tour", "--sim", "--json", CAMCTL_PASSWORD=programs.WRONG)
        self.assertEqual(done.returncode, 5)
        document = json.loads(done.stdout)
        self.assertEqual(document["result"], 5)
        self.assertEqual(document["steps"][-1]["result"], 5)
        self.assertIn("refused the account", document["steps"][-1]["detail"])


class OtherCommands(unittest.TestCase):
    def test_info_is_a_table(self):
        done = programs.camctl("info", "--sim", "ptz-dome")
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = dict((line[:19].strip(), line[19:]) for line in done.stdout.splitlines())
        self.assertEqual(rows["Vendor"], "Nordlicht", done.stdout)
        self.assertEqual(rows["MAC address"], "02:5e:10:42:30:01", done.stdout)

    def test_paths_have_port_path_and_url(self):
        done = programs.camctl("paths", "--sim", "ptz-dome")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"recording +554  /media/profile_1\n")
        self.assertIn("rtsp://127.0.0.1:554/media/profile_2\n", done.stdout)
        self.assertRegex(done.stdout, r"snapshot +http://127\.0\.0\.1:\d+/snapshot/profile_2\.jpg\n")

    def test_profiles_are_chosen_by_option(self):
        done = programs.camctl("paths", "--sim", "ptz-dome", "--profiles", "profile_3,profile_1")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"recording +554  /media/profile_3\n")
        self.assertRegex(done.stdout, r"live +554  /media/profile_1\n")

    def test_profile_that_the_camera_lacks(self):
        done = programs.camctl("tour", "--sim", "--profiles", "nosuch")
        self.assertEqual(done.returncode, 6, done.stdout)
        self.assertIn("cause:  the camera has no profile 'nosuch'\n", done.stdout)

    def test_stored_record_spares_the_discovery(self):
        with programs.Camera("fixed-box") as camera:
            stored = {"host": "127.0.0.1", "port": camera.port, "user": "admin", "profiles": "Profile0,Profile1",
                      "capabilities": {"media_entry": "/onvif/media", "version_major": "2", "version_minor": "40"}}
            path = programs.temporary_file(self, json.dumps(stored))
            done = programs.camctl("--camera", path, "--json", "paths", CAMCTL_PASSWORD=programs.PASSWORD)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            self.assertEqual([step["step"] for step in json.loads(done.stdout)["steps"]],
                             ["recording stream", "live stream", "snapshot"])

    def test_version(self):
        done = programs.camctl("--version")
        self.assertEqual(done.returncode, 0)
        self.assertRegex(done.stdout, r"^camctl \d+\.\d+\.\d+\n$")


class Terminal(unittest.TestCase):
    def test_terminal_shows_colours_and_progress(self):
        status, shown = programs.on_terminal(["tour", "--sim", "--no-play"])
        self.assertEqual(os.waitstatus_to_exitcode(status), 0, shown)
        self.assertIn("\r\033[K  identity ...", shown)
        self.assertIn("\033[32m  ok  \033[0m", shown)

    def test_no_color_is_honoured(self):
        status, shown = programs.on_terminal(["tour", "--sim", "--no-play"], NO_COLOR="1")
        self.assertEqual(os.waitstatus_to_exitcode(status), 0, shown)
        self.assertNotRegex(shown, "\033\\[[0-9]+m")


class Output(unittest.TestCase):
    def test_reader_that_leaves_early_is_no_failure(self):
        with subprocess.Popen([programs.CAMCTL, "info", "--sim"], env=programs.environment(),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            process.stdout.close()
            errors = process.stderr.read().decode()
            self.assertEqual((process.wait(programs.RUN_S), errors), (0, ""))

    @unittest.skipUnless(os.path.exists("/dev/full"), "needs /dev/full")
    def test_full_disk_is_told(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            done = subprocess.run([programs.CAMCTL, "info", "--sim", "--json"], env=programs.environment(),
                                  stdin=subprocess.DEVNULL, stdout=full, stderr=subprocess.PIPE, text=True,
                                  timeout=programs.RUN_S, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn("No space left on device", done.stderr)


if __name__ == "__main__":
    programs.main()
