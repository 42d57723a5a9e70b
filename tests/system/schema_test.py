"""Every answer that a tour draws from the simulated camera is valid by the published schemas."""

import concurrent.futures
import os
import re
import subprocess
import tempfile
import unittest

import programs
import relay

# Answers that differ from the schemas on purpose, as cameras of that kind do.
MEANT = {
    "legacy-1-0": {"GetPresetsResponse"},  # the first generation calls the items PTZPreset
    "plural-ptz": {"GetConfigurationsResponse"},  # calls the items PTZConfigurations
}
# One line of the checker for each file.
VERDICT = re.compile(r"^(valid|INVALID) +\S+ (\S+)", re.MULTILINE)
CHECKER = os.path.join(programs.SCHEMA_DIR, "check-envelope")


def check(*arguments):
    return subprocess.run([CHECKER, *arguments], capture_output=True, text=True, timeout=programs.RUN_S, check=False)


class Schema(unittest.TestCase):
    def answers_of_a_tour(self, model):
        with programs.Camera(model) as camera, relay.Relay(camera.port) as between:
            done = programs.camctl("tour", "--no-play", "--host", "127.0.0.1", "--port", str(between.port), "--user", "admin",
                                   CAMCTL_PASSWORD=programs.PASSWORD)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            return [answer for _, answer in between.answers]

    def test_answers_are_valid(self):
        models = programs.models()
        # The driver sleeps after each update of an encoder: side by side that is bearable.
        with concurrent.futures.ThreadPoolExecutor(max_workers=4) as pool:
            tours = dict(zip(models, pool.map(self.answers_of_a_tour, models)))
        for model, answers in tours.items():
            with self.subTest(model=model), tempfile.TemporaryDirectory() as folder:
                self.assertGreaterEqual(len(answers), 9)
                paths = []
                for number, answer in enumerate(answers):
                    paths.append(os.path.join(folder, f"{number:03}.xml"))
                    with open(paths[-1], "wb") as file:
                        file.write(answer)
                checked = check(*paths)
                said = checked.stdout + checked.stderr
                self.assertEqual(len(VERDICT.findall(said)), len(paths), said)
                invalid = {name for verdict, name in VERDICT.findall(said) if verdict == "INVALID"}
                self.assertEqual(invalid, MEANT.get(model, set()), said)


if __name__ == "__main__":
    if not os.path.isfile(CHECKER):
        programs.skip_all(f"no schemas at {programs.SCHEMA_DIR!r}; CAMAPI_SCHEMA_DIR names their folder")
    trial = check("--list", "media")
    if trial.returncode != 0:
        programs.skip_all(f"the schema checker does not run (it needs python3-lxml): {trial.stderr.strip()[-200:]}")
    programs.main()
