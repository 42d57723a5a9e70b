"""Runs the measurements and puts their figures into a document. Takes the folder of the programs, the document, and
--check to leave it as it is."""

import datetime
import json
import os
import platform
import re
import statistics
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True

from callgrind import instructions

BEGIN = "<!-- written by bench/run -->\n"
END = "<!-- end of what bench/run writes -->\n"

# case, what it does
STREAM_URI = {
    "envelope": "a signed envelope alone",
    "exchange": "libcurl with its connection kept, nothing parsed",
    "floor": "**the floor**: the same, xmlReadMemory and one XPath",
    "new-connection": "the floor with a new TCP connection for each call",
    "new-handle": "the floor with a new easy handle for each call",
    "service": "the service client (signs, checks, parses, reads)",
    "driver": "the driver's operation (and makes path and port of the address)",
}
# Those that make one connection for each call; all others make none.
CONNECTING = {"new-connection", "new-handle"}
PROFILES = (2, 16, 64)
FEW = PROFILES[0]

# case, base, profiles, limit of the ratio of times, limit of the ratio of instructions
LIMITS = [("service", "floor", FEW, 0.95, 0.95), ("driver", "floor", FEW, 1.0, None)] + [
    ("services", "parse-only", profiles, 1.10, None) for profiles in PROFILES]
MAX_IDLE_BYTES = 1024  # beyond the base; what an object's own strings hold is in it
MAX_CONNECTED_BYTES = 24000
FAMILIES = {
    "ReportByProfiles": "profiles",
    "ReportByEncoderConfigurations": "encoder configurations",
    "ReportByResolutions": "sizes of each of three codecs, each twice",
    "OptionsBySizes": "encoder options alone: sizes of one codec",
}


def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, text=True, check=True).stdout


class Page:
    """The lines of the document, and whether every limit was kept."""

    def __init__(self):
        self.text = ""
        self.kept = True

    def add(self, text=""):
        self.text += text + "\n"

    def table(self, heads, rows):
        self.add("| " + " | ".join(heads) + " |")
        self.add("|" + "---|" * len(heads))
        for row in rows:
            self.add("| " + " | ".join(row) + " |")
        self.add()

    def verdict(self, value, limit):
        if limit is None:
            return f"{value:.3f}"
        return self.judged(f"{value:.3f}", value <= limit, f"at most {limit:.2f}")

    def judged(self, text, is_kept, limit):
        self.kept = self.kept and is_kept
        return f"{text}, {limit}" if is_kept else f"**{text}, not {limit}**"


def machine():
    with open("/proc/cpuinfo", encoding="utf-8", errors="replace") as file:
        name = re.search(r"^model name\s*: (.*)$", file.read(), re.MULTILINE)
    return ", ".join(([name.group(1)] if name else []) + [f"{os.cpu_count()} processors", platform.machine()])


def calls(page, programs):
    cases = {(case["case"], case["profiles"]): case for case in json.loads(run(f"{programs}/call-bench"))}
    times = {key: case["us"] for key, case in cases.items()}
    counts = {key: instructions(f"{programs}/call-bench", *key) for key in times}

    def ratio(case, base):
        return statistics.median(one / other for one, other in zip(times[case], times[base]))

    def row(name, case):
        connections = cases[case]["connections"]
        wanted = int(case[0] in CONNECTING)
        if wanted:
            connections = round(connections, 1)  # the first call of a turn may find one kept
        return [name, f"{statistics.median(times[case]):.1f}", f"{counts[case]:,}",
                f"{connections:g}" if connections == wanted else page.judged(f"{connections:g}", False, str(wanted))]

    answer = cases[("floor", FEW)]["answer_bytes"]
    page.add(f"One GetStreamUri, whose answer is {answer:,} bytes with the head of HTTP:\n")
    heads = ["", "µs", "instructions", "TCP connections made"]
    page.table(heads, [row(text, (name, FEW)) for name, text in STREAM_URI.items()])
    page.add("Each operation alone, at 2 profiles; those of the services through their clients, those of the server with "
             "their class before them:\n")
    page.table(heads, [row(f"`{name}`", (name, FEW)) for name, profiles in cases
                       if profiles == FEW and name not in STREAM_URI and name not in ("parse-only", "services")])
    page.add("The ten calls by which a server comes to know a camera, and the same ten answers only fetched and parsed:\n")
    rows = []
    for profiles in PROFILES:
        rows.append(row(f"{profiles} profiles, parsed only", ("parse-only", profiles)))
        rows.append(row(f"{profiles} profiles, service clients", ("services", profiles)))
    page.table(heads, rows)
    rows = []
    for name, base, profiles, limit, count_limit in LIMITS:
        case, floor = (name, profiles), (base, profiles)
        rows.append([f"{name} to {base}" + ("" if name != "services" else f", {profiles} profiles"),
                     page.verdict(ratio(case, floor), limit),
                     page.verdict(counts[case] / counts[floor], count_limit)])
    page.table(["ratio", "time", "instructions"], rows)


def objects(page, programs):
    rows = []
    for found in json.loads(run(f"{programs}/object-bench")):
        idle = found["idle"] - found["base"]
        connected, connections = found["connected"], found["connections"]
        rows.append([f"{found['objects']:,}", f"{found['base']:,}",
                     page.judged(f"{idle:,}", idle <= MAX_IDLE_BYTES, f"at most {MAX_IDLE_BYTES:,}"),
                     page.judged(f"{connected:,}", connected <= MAX_CONNECTED_BYTES, f"at most {MAX_CONNECTED_BYTES:,}"),
                     page.judged(f"{connections:,}", connections == found["objects"], "one each")])
    page.add("Driver objects: bytes of the heap for each, before the first call and after a tour of its operations, and "
             "the TCP connections of all their tours:\n")
    page.table(["objects", "their base class", "what the driver adds", "connected", "connections"], rows)


def growth(page, programs):
    with tempfile.NamedTemporaryFile(suffix=".json") as file:
        done = subprocess.run([f"{programs}/report-bench", f"--benchmark_out={file.name}"], stdout=subprocess.PIPE,
                              text=True, check=False)
        if done.returncode not in (0, 1):
            raise SystemExit(f"report-bench: status {done.returncode}\n{done.stdout}")
        found = json.load(file)
    page.kept = page.kept and done.returncode == 0
    page.add("A capability report, by what the camera has (the least of some runs); " +
             ("nothing grows faster than linearly:\n" if done.returncode == 0 else "**something grows too fast**:\n"))
    least = {}
    for entry in found["benchmarks"]:
        if entry["run_type"] == "iteration":
            family, count = entry["run_name"].split("/")[:2]
            key = (family, int(count))
            least[key] = min(least.get(key, entry["cpu_time"]), entry["cpu_time"])
    page.table(["", "number", "ms"],
               [[FAMILIES[family], f"{count:,}", f"{time:.2f}"] for (family, count), time in least.items()])


def write(path, text):
    with open(path, encoding="utf-8") as file:
        document = file.read()
    before, rest = document.split(BEGIN)
    after = rest.split(END)[1]
    with open(path + ".new", "w", encoding="utf-8") as file:
        file.write(before + BEGIN + text + END + after)
    os.replace(path + ".new", path)


def main():
    programs, path = sys.argv[1:3]
    page = Page()
    page.add(f"\nMeasured on {datetime.date.today()}: {machine()}.\n")
    for part in (calls, objects, growth):
        part(page, programs)
    print(page.text)
    if sys.argv[3:] != ["--check"]:
        write(path, page.text)
    if not page.kept:
        print("a limit is not kept", file=sys.stderr)
    return 0 if page.kept else 1


if __name__ == "__main__":
    sys.exit(main())
