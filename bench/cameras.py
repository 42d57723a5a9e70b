"""What simulated cameras cost. Takes the folder of the built programs."""

import os
import re
import subprocess
import sys
import time

CAMERAS = 50         # in one process, without viewers
MAX_MEMORY_MB = 200  # of that process
RATE = 15            # frames per second of each of the two streams
SIZE = "640x360"
WATCH_S = 10         # that is measured, after the streams have begun
MAX_CORES = 1.0      # of the camera with two viewers
PASSWORD = "simcam"

BIN = sys.argv[1]
TICKS = os.sysconf("SC_CLK_TCK")


class Simcam:
    """The program, with the lines that it prints when it is ready."""

    def __init__(self, lines, *arguments):
        self.process = subprocess.Popen([f"{BIN}/simcam", *arguments], stdout=subprocess.PIPE, text=True)
        self.lines = [self.process.stdout.readline() for _ in range(lines)]
        self.port = re.search(r"127\.0\.0\.1:(\d+)/", self.lines[0]).group(1)

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()

    def memory_mb(self):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as file:
            return int(re.search(r"VmHWM:\s+(\d+) kB", file.read()).group(1)) / 1024

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def camctl(self, *arguments):
        return subprocess.Popen([f"{BIN}/camctl", "--host", "127.0.0.1", "--port", self.port, "--user", "admin", *arguments],
                                env={**os.environ, "CAMCTL_PASSWORD": PASSWORD}, stdout=subprocess.PIPE, text=True)


def finish(process):
    output, _ = process.communicate()
    if process.returncode != 0:
        sys.exit(f"{process.args}: status {process.returncode}\n{output}")
    return output


def report(what, value, unit, limit):
    is_good = value < limit
    print(f"{'ok  ' if is_good else 'OVER'}  {what:<60} {value:8.2f} {unit}  (limit {limit})")
    return is_good


def measure_memory():
    with Simcam(2 * CAMERAS, "--count", str(CAMERAS)) as cameras:
        streams = "with streams" if "streams on" in cameras.lines[1] else "without streams"
        return report(f"{CAMERAS} cameras without viewers, {streams}, most memory", cameras.memory_mb(), "MB", MAX_MEMORY_MB)


def measure_streams():
    with Simcam(2) as camera:
        if "streams on" not in camera.lines[1]:
            print(f"left out: {camera.lines[1].strip()}")
            return True
        finish(camera.camctl("stream", "set", "--codec", "h264", "--resolution", SIZE, "--fps", str(RATE),
                             "--live-resolution", SIZE, "--live-fps", str(RATE), "--live-quality", "4", "--quality", "5"))
        viewers = [camera.camctl("play", "--stream", stream, "--seconds", str(WATCH_S + 4)) for stream in ("main", "live")]
        time.sleep(2)  # until both play
        start, before = time.monotonic(), camera.processor_seconds()
        time.sleep(WATCH_S)
        cores = (camera.processor_seconds() - before) / (time.monotonic() - start)
        seen = [dict(re.findall(r"^(\S.*?)  +(.*)$", finish(viewer), re.M)) for viewer in viewers]
        for stream in seen:
            print("     ", stream["Stream"], stream["Size"], stream["Frame rate"])
        if len({stream["Stream"] for stream in seen}) != 2 or {stream["Size"] for stream in seen} != {SIZE}:
            sys.exit(f"these are not two streams of {SIZE}")
        return report(f"two streams {SIZE} at {RATE}/s with a viewer each, H.264", cores, "cores", MAX_CORES)


sys.exit(0 if all([measure_memory(), measure_streams()]) else 1)
