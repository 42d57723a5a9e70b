"""Starts the built programs for the tests, and ends them by their process id."""

import contextlib
import os
import pty
import re
import select
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

CAMCTL = os.environ.get("CAMAPI_CAMCTL", "")
SIMCAM = os.environ.get("CAMAPI_SIMCAM", "")
NOSLEEP = os.environ.get("CAMAPI_NOSLEEP", "")
SOURCE_DIR = os.environ.get("CAMAPI_SOURCE_DIR", "")
SCHEMA_DIR = os.environ.get("CAMAPI_SCHEMA_DIR", "")

USER = "admin"
with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "passwords"), encoding="utf-8") as _file:
    PASSWORDS = _file.read().splitlines()
PASSWORD, WRONG = PASSWORDS[2:4]  # those of the programs; PASSWORDS are all that the tests use
SKIPPED = 77

FOLDER = tempfile.TemporaryDirectory(prefix="camapi-")  # the programs run in it, and leave their files there

READY_S = 30  # longest wait for a program to be ready, generous for instrumented builds
RUN_S = 60


def environment(**changes):
    """The environment of a program: ours without passwords, with a `sleep` that takes no time, with `changes`; None
    removes a variable."""
    variables = {name: value for name, value in os.environ.items()
                 if name not in ("CAMCTL_PASSWORD", "SIMCAM_PASSWORD", "NO_COLOR")}
    if NOSLEEP:
        variables["LD_PRELOAD"] = NOSLEEP
        # AddressSanitizer wants to be the first library; replacing one function does not harm it.
        variables["ASAN_OPTIONS"] = "verify_asan_link_order=0:" + variables.get("ASAN_OPTIONS", "")
    for name, value in changes.items():
        if value is None:
            variables.pop(name, None)
        else:
            variables[name] = value
    return variables


# What nobody may read in anything that a program prints, writes into a file or into the log.
SECRET = re.compile("|".join([*map(re.escape, PASSWORDS), "PasswordDigest", "wsse:Nonce", "Authorization:", "cnonce=",
                              "username=", r"://[^/ \n\"'?]*:[^/ \n\"'?]*@"]))


def require_no_secret(*texts):
    """Fails when a secret stands in one of the texts."""
    for text in texts:
        found = SECRET.search(text)
        if found:
            raise AssertionError(f"a secret is shown near {text[max(0, found.start() - 80):found.start()]!r}")


def run(program, *arguments, **variables):
    """Runs a program without terminal to its end; returns its status and what it printed, which holds no secret."""
    done = subprocess.run([program, *arguments], env=environment(**variables), stdin=subprocess.DEVNULL,
                          cwd=FOLDER.name, start_new_session=True, capture_output=True, text=True, timeout=RUN_S, check=False)
    require_no_secret(done.stdout, done.stderr)
    return done


def camctl(*arguments, **variables):
    return run(CAMCTL, *arguments, **variables)


def simcam(*arguments, **variables):
    return run(SIMCAM, *arguments, **variables)


def read_line(stream, seconds=READY_S):
    """The next line of a program's output, or what came of it until `seconds` were over."""
    line = b""
    deadline = time.monotonic() + seconds
    while not line.endswith(b"\n"):
        readable, _, _ = select.select([stream], [], [], max(0.0, deadline - time.monotonic()))
        byte = os.read(stream.fileno(), 1) if readable else b""
        if not byte:
            break
        line += byte
    return line.decode()


def on_terminal(arguments, prompt=None, typed=b"", **variables):
    """Runs camctl on a terminal of its own and types when it shows the prompt; returns its wait status and what the
    terminal showed."""
    pid, terminal = pty.fork()
    if pid == 0:
        os.chdir(FOLDER.name)
        os.execve(CAMCTL, [CAMCTL, *arguments], environment(**variables))
    shown = b""
    while select.select([terminal], [], [], RUN_S)[0]:
        try:
            piece = os.read(terminal, 4096)
        except OSError:  # the other end is closed
            break
        shown += piece
        if prompt is not None and prompt in shown:
            os.write(terminal, typed)
            prompt = None
    os.close(terminal)
    _, status = os.waitpid(pid, 0)
    require_no_secret(shown.decode())
    return status, shown.decode()


def wait_for(condition, seconds=READY_S):
    """Asks until the condition holds; returns whether it did in time."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.002)
    return True


class Camera:
    """The program simcam on a port of its own, for the length of a `with` block."""

    READY = re.compile(r"^simcam: (\S+) listening on http://127\.0\.0\.1:(\d+)(/\S+) \(user (\S+)\)\n$")

    def __init__(self, model="ptz-dome", *arguments):
        port = () if "--port" in arguments else ("--port", "0")
        self.process = subprocess.Popen([SIMCAM, "--model", model, *port, *arguments],
                                        env=environment(SIMCAM_PASSWORD=PASSWORD), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.ready_line = read_line(self.process.stdout)
        self.streams_line = read_line(self.process.stdout) if self.ready_line else ""
        match = self.READY.match(self.ready_line)
        if not match:
            self.kill()
            raise AssertionError(f"simcam's ready line is {self.ready_line!r}")
        self.port = int(match.group(2))
        self.device_path = match.group(3)

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.kill()

    def control_address(self):
        """Reads the line that tells where the camera is controlled; to be called once."""
        line = read_line(self.process.stdout)
        match = re.match(r"^simcam: control on (http://127\.0\.0\.1:\d+/)\n$", line)
        if not match:
            raise AssertionError(f"simcam's control line is {line!r}")
        return match.group(1)

    def further_ports(self, count):
        """The ports of the other cameras of the program; to be called once."""
        lines = [read_line(self.process.stdout) for _ in range(2 * count)]
        return [int(self.READY.match(line).group(2)) for line in lines[::2]]

    def end(self, number=signal.SIGTERM):
        """Asks it to end; returns its status and what it printed after its two first lines."""
        self.process.send_signal(number)
        output, errors = self.process.communicate(timeout=READY_S)
        require_no_secret(self.ready_line, self.streams_line, output.decode(), errors.decode())
        return self.process.returncode, output.decode(), errors.decode()

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.process.stderr.close()


def models():
    """Names of the built-in models, as the program lists them."""
    listed = simcam("--list")
    if listed.returncode != 0:
        raise AssertionError(f"simcam --list: status {listed.returncode}: {listed.stderr}")
    return [line.split()[0] for line in listed.stdout.splitlines()]


def free_ports(count):
    """The first of some TCP ports in a row that nobody uses at the moment."""
    for base in range(21000, 32000, count):
        with contextlib.ExitStack() as stack:
            try:
                for port in range(base, base + count):
                    stack.enter_context(socket.socket()).bind(("127.0.0.1", port))
            except OSError:
                continue
            return base
    raise AssertionError("no free ports")


def temporary_file(test, text):
    """Path of a file with a text, which lives as long as the test."""
    with tempfile.NamedTemporaryFile("w", suffix=".txt", delete=False) as file:
        file.write(text)
    test.addCleanup(os.unlink, file.name)
    return file.name


def skip_all(reason):
    """Ends the script; the run reports it as skipped."""
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def skip_all_without_streams():
    """Ends the script where the programs serve and play no streams."""
    with Camera() as camera:
        reason = camera.streams_line.partition("no streams: ")[2].strip()
    if reason:
        skip_all(f"no RTSP streams: {reason}")


def main():
    for name, program in (("CAMAPI_CAMCTL", CAMCTL), ("CAMAPI_SIMCAM", SIMCAM)):
        if not os.access(program, os.X_OK):
            sys.exit(f"{name} must name the built program; it is {program!r}")
    result = unittest.main(verbosity=2, exit=False).result
    if result.skipped:
        print("CTEST_FULL_OUTPUT")  # CTest then cuts nothing off
    for test, reason in result.skipped:
        print(f"skipped inside: {test.id().partition('.')[2]}: {reason}")  # tests/tally.py looks for it
    require_no_secret_in_log()
    sys.exit(0 if result.wasSuccessful() else 1)


def require_no_secret_in_log():
    """The diagnostic log of the programs, where the run has one of its own, and the files that they have left."""
    for folder in ("/var/log", FOLDER.name):
        for name in os.listdir(folder):
            path = os.path.join(folder, name)
            if os.path.isfile(path) and (folder != "/var/log" or name.startswith("hexwatch")):
                with open(path, encoding="latin-1") as file:
                    require_no_secret(file.read())
