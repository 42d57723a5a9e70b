"""Compares the instructions of the driver's calls with those that were recorded. Takes the program `call-bench`, the
file of records, and --record to write it anew."""

import platform
import subprocess
import sys

sys.dont_write_bytecode = True

from callgrind import instructions

TOLERANCE = 0.10  # libraries differ a little from machine to machine
PROCESSOR = "x86_64"  # for which the numbers are

HEADER = """\
# Instructions of an operation, of a service or of the server's, as `bench/instructions --record` counts them on x86-64
# with the libraries of Debian 12: operation, number.
"""


def read(path):
    with open(path, encoding="ascii") as file:
        rows = [line.split() for line in file if not line.startswith("#")]
    return {name: int(number) for name, number in rows}


def operations(program):
    return subprocess.run([program, "--operations"], stdout=subprocess.PIPE, text=True, check=True).stdout.split()


def record(program, path):
    lines = [f"{name} {instructions(program, name)}\n" for name in operations(program)]
    with open(path, "w", encoding="ascii") as file:
        file.write(HEADER + "".join(lines))


def compare(program, recorded):
    if set(recorded) != set(operations(program)):
        print("the operations that are recorded are not those that are measured: bench/instructions --record",
              file=sys.stderr)
        return 1
    slower = 0
    print(f"{'operation':<40} {'recorded':>10} {'now':>10} {'ratio':>7}")
    for name, before in recorded.items():
        now = instructions(program, name)
        verdict = ""
        if now > before * (1 + TOLERANCE):
            verdict = "  SLOWER"
            slower += 1
        elif now < before * (1 - TOLERANCE):
            verdict = "  faster: record it"
        print(f"{name:<40} {before:>10} {now:>10} {now / before:>7.3f}{verdict}")
    if slower:
        print(f"{slower} operations take over {TOLERANCE:.0%} more instructions than recorded. Where that is meant: "
              "bench/instructions --record", file=sys.stderr)
    return 1 if slower else 0


def main():
    program, path = sys.argv[1:3]
    if platform.machine() != PROCESSOR:
        print(f"not compared: the numbers are for {PROCESSOR}, and this is {platform.machine()}")
        return 0
    if sys.argv[3:] == ["--record"]:
        return record(program, path)
    return compare(program, read(path))


if __name__ == "__main__":
    sys.exit(main())
