"""Plays streams and decodes pictures with foreign tools: ffprobe, ffmpeg and curl."""

import dataclasses
import json
import os
import statistics
import subprocess
import tempfile

import programs

PLAY_S = 3            # length of stream that is measured
DEADLINE_S = 40       # for one tool, generous for a busy machine
MAX_SHIFT = 0.25      # of the picture's width, the furthest that is looked for
BAND = (0.35, 0.6)    # rows, as parts of the height, that show scene alone: no text stands there


@dataclasses.dataclass
class Seen:
    codec: str
    size: str
    rate: float


@dataclasses.dataclass
class Frame:
    width: int
    height: int
    grey: bytes


def run(*command):
    """Runs a tool to its end and returns what it wrote to its standard output."""
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=DEADLINE_S, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command[0]} ended with {done.returncode}: {done.stderr.decode(errors='replace')[-500:]}")
    return done.stdout


def with_account(url):
    """The address as players take it, with the account of the simulated camera."""
    return url.replace("rtsp://", f"rtsp://{programs.USER}:{programs.PASSWORD}@", 1)


def fetch(url):
    return run("curl", "-sS", "--fail", "--max-time", str(DEADLINE_S), url)


def probe(url, *what):
    return json.loads(run("ffprobe", "-v", "error", "-rtsp_transport", "tcp", "-analyzeduration", "1500000", *what, "-of",
                          "json", url))


def play(url):
    """Watches a stream over TCP. The rate is that of its frames' own times; a frame that a busy machine left out does not
    change it."""
    seen = probe(url, "-read_intervals", f"%+{PLAY_S}", "-select_streams", "v:0", "-show_frames", "-show_entries",
                 "stream=codec_name,width,height:frame=pts_time")
    stream = seen["streams"][0]
    times = [float(frame["pts_time"]) for frame in seen["frames"] if "pts_time" in frame]
    steps = [later - earlier for earlier, later in zip(times, times[1:])]
    step = statistics.median(steps) if steps else 0.0
    return Seen(stream["codec_name"], f"{stream['width']}x{stream['height']}", 1 / step if step > 0 else 0.0)


def audio_codecs(url):
    seen = probe(url, "-select_streams", "a", "-show_entries", "stream=codec_name")
    return [stream["codec_name"] for stream in seen["streams"]]


def snapshot_size(url):
    """Fetches a snapshot and decodes it whole; returns its size."""
    with tempfile.NamedTemporaryFile(suffix=".jpg") as file:
        run("curl", "-sS", "--fail", "--max-time", str(DEADLINE_S), "--digest", "--user",
            f"{programs.USER}:{programs.PASSWORD}", "--output", file.name, url)
        run("ffmpeg", "-v", "error", "-xerror", "-i", file.name, "-f", "null", "-")
        seen = json.loads(run("ffprobe", "-v", "error", "-show_entries", "stream=codec_name,width,height", "-of", "json",
                              file.name))["streams"][0]
    if seen["codec_name"] != "mjpeg":
        raise AssertionError(f"the snapshot is {seen['codec_name']}")
    return f"{seen['width']}x{seen['height']}"


def frame(url):
    """One decoded frame of a stream, in grey."""
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "frame.pgm")
        run("ffmpeg", "-v", "error", "-rtsp_transport", "tcp", "-i", url, "-frames:v", "1", "-pix_fmt", "gray", path)
        with open(path, "rb") as file:
            header, size, depth, grey = file.read().split(b"\n", 3)
    if (header, depth) != (b"P5", b"255"):
        raise AssertionError(f"ffmpeg wrote no grey picture but {header!r}")
    width, height = map(int, size.split())
    return Frame(width, height, grey)


def columns(picture):
    """The mean grey of each column of the band."""
    rows = range(int(BAND[0] * picture.height), int(BAND[1] * picture.height))
    sums = [0] * picture.width
    for row in rows:
        line = picture.grey[row * picture.width:(row + 1) * picture.width]
        sums = [total + value for total, value in zip(sums, line)]
    return [total / len(rows) for total in sums]


def shift(before, after):
    """By how many pixels the scene went to the right from one picture to the other."""
    old, new = columns(before), columns(after)
    furthest = int(MAX_SHIFT * before.width)

    def difference(distance):
        start, end = max(0, distance), min(len(old), len(old) + distance)
        return sum(abs(new[x] - old[x - distance]) for x in range(start, end)) / (end - start)

    return min(range(-furthest, furthest + 1), key=difference)
