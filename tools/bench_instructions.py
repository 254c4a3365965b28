#!/usr/bin/env python3
"""How many instructions the measured work of a benchmark takes, which no other load can change.

  bench_instructions.py <bench program> <file of kept counts> [--keep]

Each comparison of the file is run under callgrind with one life of ours. A count more than a tenth
above the kept one is an error; --keep writes the counts into the file instead.
"""

import argparse
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

MOST_RISE = 1.10


def instructions(program, title):
    """Of the measured work of the comparison of that title."""
    with tempfile.TemporaryDirectory() as scratch:
        ran = subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no",
             "--toggle-collect=*Bench::Life::measured<*",
             f"--callgrind-out-file={scratch}/out", program,
             f"--benchmark_filter=^{title}/"],
            env={**os.environ, "BENCH_ONE_LIFE": "1"}, capture_output=True, text=True)
    found = re.search(r"Collected : (\d+)", ran.stderr)
    if ran.returncode != 0 or not found or int(found[1]) == 0:
        sys.exit(f"{title}: nothing was counted\n{ran.stdout}{ran.stderr}")
    return int(found[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("kept", type=pathlib.Path)
    parser.add_argument("--keep", action="store_true")
    arguments = parser.parse_args()
    kept = json.loads(arguments.kept.read_text())
    counted, risen = {}, []
    for title, before in kept.items():
        counted[title] = count = instructions(arguments.program, title)
        change = f"{count / before - 1:+.1%}" if before else "new"
        print(f"{title:45} {count:15,} {change}", flush=True)
        if before and count > before * MOST_RISE:
            risen.append(title)
    if arguments.keep:
        arguments.kept.write_text(json.dumps(counted, indent=2) + "\n")
    elif risen:
        sys.exit("more than a tenth above the kept count: " + "; ".join(risen))


if __name__ == "__main__":
    main()
