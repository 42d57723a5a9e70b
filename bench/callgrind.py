"""Instructions of one call, counted by valgrind."""

import re
import subprocess

FEW, MANY = 50, 150  # calls of two runs: what the program does besides is the same in both


def collected(program, calls, *case):
    done = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, "--calls", str(calls), *map(str, case)],
        stderr=subprocess.PIPE, text=True, check=False)
    found = re.search(r"Collected : (\d+)", done.stderr)
    if done.returncode != 0 or found is None:
        raise SystemExit(f"callgrind and {program} {case}: status {done.returncode}\n{done.stderr}")
    return int(found.group(1))


def instructions(program, *case):
    """Of one call of the case, for `call-bench`: its name, and the number of profiles when it is not the usual one."""
    return round((collected(program, MANY, *case) - collected(program, FEW, *case)) / (MANY - FEW))
