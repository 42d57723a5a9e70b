"""What the driver sets is what a foreign player gets: codec, size and frame rate of both streams, their audio, the snapshot
and the picture's movement, in every model that offers it."""

import concurrent.futures
import json
import re
import shutil

import pictures
import programs

CODECS = {"h264": ("H264", "h264"), "mpeg4": ("MPEG4", "mpeg4"), "mjpeg": ("JPEG", "mjpeg")}  # ONVIF's name, ffprobe's
AUDIO = {"G711": {"pcm_mulaw", "pcm_alaw"}, "G726": {"adpcm_g726", "adpcm_g726le"}, "AAC": {"aac"}}
# Settings that these models refuse: the first has no list of encoders through which a client could change the codec, the
# second has one encoder that does not know JPEG.
REFUSED = {("old-style", "mpeg4"), ("old-style", "mjpeg"), ("zoom-box", "mjpeg")}
MAIN_RATE, LIVE_RATE = 10, 5  # frames per second
RATE_TOLERANCE = 0.1          # of the rate that was set
AT_ONCE = 2                   # cameras that are watched at the same time

READ_BACK = re.compile(r"(recording|live) (\S+) \((\w+) (\d+)x(\d+), (\d+)/s")


class StreamingCamera(programs.Camera):
    """A camera that tells about itself at its control address."""

    def __init__(self, model):
        super().__init__(model, "--control-port", "0")
        self.control = self.control_address()

    def camctl(self, *arguments):
        done = programs.camctl("--host", "127.0.0.1", "--port", str(self.port), "--user", programs.USER, "--json",
                               *arguments, CAMCTL_PASSWORD=programs.PASSWORD)
        return json.loads(done.stdout)

    def is_lens_still(self):
        camera = json.loads(pictures.fetch(self.control + "camera"))
        return all(not node["moving"] for node in camera["lenses"])


def detail_of(document, step):
    """What the last step of that name said."""
    return [entry for entry in document["steps"] if entry["step"] == step][-1]["detail"]


def set_streams(camera, codec, sizes):
    """Sets both streams differently; returns what the camera holds afterwards, by stream."""
    done = camera.camctl("stream", "set", "--codec", codec, "--resolution", sizes[1], "--fps", str(MAIN_RATE),
                         "--live-resolution", sizes[0], "--live-fps", str(LIVE_RATE))
    held = {match[0]: match[1:] for match in READ_BACK.findall(detail_of(done, "read back"))}
    return done["result"], held


def watch(camera, held):
    """Plays both streams at the same time and fetches the snapshot; returns what was seen."""
    paths = camera.camctl("paths", "--profiles", held["recording"][0] + "," + held["live"][0])["camera"]["paths"]
    urls = [pictures.with_account(paths[stream]["url"]) for stream in ("recording", "live")]
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        recording, live = pool.map(pictures.play, urls)
    return recording, live, pictures.snapshot_size(paths["snapshot"]["url"])


def problems_of_stream(name, seen, codec, size, rate):
    """What differs between the stream that was asked for and the one that was seen."""
    found = []
    if (seen.codec, seen.size) != (CODECS[codec][1], size):
        found.append(f"{name}: {seen.codec} {seen.size} instead of {codec} {size}")
    if abs(seen.rate - rate) > rate * RATE_TOLERANCE:
        found.append(f"{name}: {seen.rate:.2f} frames/s instead of {rate}")
    return found


def problems_of_codec(camera, model, codec, sizes):
    result, held = set_streams(camera, codec, sizes)
    if (model, codec) in REFUSED:
        return [] if result != 0 else ["the setting is taken, though this camera cannot have it"]
    if result != 0:
        return [f"stream set answers {result}"]
    recording, live, snapshot = watch(camera, held)
    found = problems_of_stream("recording", recording, codec, sizes[1], MAIN_RATE)
    found += problems_of_stream("live", live, codec, sizes[0], LIVE_RATE)
    if snapshot != sizes[0]:
        found.append(f"snapshot: {snapshot} instead of {sizes[0]}")
    return found


def problems_of_audio(camera, codec):
    result = camera.camctl("audio", "set", codec)["result"]
    if result != 0:
        return [f"audio set answers {result}"]
    paths = camera.camctl("paths")["camera"]["paths"]
    tracks = pictures.audio_codecs(pictures.with_account(paths["recording"]["url"]))
    return [] if len(tracks) == 1 and set(tracks) <= AUDIO[codec] else [f"audio tracks {tracks} instead of {codec}"]


def problems_of_model(model):
    """Everything that the model offers, one after the other."""
    found = []
    with StreamingCamera(model) as camera:
        capabilities = camera.camctl("caps")["camera"]["capabilities"]
        for codec in CODECS:
            sizes = capabilities.get("resolutions_" + codec)
            if sizes:
                problems = problems_of_codec(camera, model, codec, sizes.split(","))
                found += [f"{model}, {codec}: {problem}" for problem in problems]
        for codec in filter(None, capabilities.get("audio_format", "").split(",")):
            found += [f"{model}, {codec}: {problem}" for problem in problems_of_audio(camera, codec)]
    return found


class Streams(programs.unittest.TestCase):
    def test_every_model_streams_what_the_driver_set(self):
        with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
            found = [problem for problems in pool.map(problems_of_model, programs.models()) for problem in problems]
        self.assertEqual(found, [])

    def test_a_pan_shifts_the_picture_and_a_preset_brings_it_back(self):
        for model in ("ptz-dome", "step-dome", "canon-box"):
            with self.subTest(model=model), StreamingCamera(model) as camera:
                url = pictures.with_account(camera.camctl("paths")["camera"]["paths"]["live"]["url"])
                self.assertEqual(camera.camctl("preset", "set", "3")["result"], 0)
                before = pictures.frame(url)
                self.assertEqual(camera.camctl("ptz", "move", "right")["result"], 0)
                self.assertTrue(programs.wait_for(camera.is_lens_still))
                panned = pictures.frame(url)
                self.assertLess(pictures.shift(before, panned), 0, "to the right: the scene goes to the left")
                self.assertEqual(camera.camctl("preset", "goto", "3")["result"], 0)
                self.assertTrue(programs.wait_for(camera.is_lens_still))
                self.assertEqual(pictures.shift(before, pictures.frame(url)), 0)


if __name__ == "__main__":
    for tool in ("ffmpeg", "ffprobe"):
        if shutil.which(tool) is None:
            programs.skip_all(f"no RTSP streams: {tool} is not installed")
    programs.skip_all_without_streams()
    programs.main()
