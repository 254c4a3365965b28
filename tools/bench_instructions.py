#!/usr/bin/env python3
"""How many instructions the measured work of a benchmark takes, which no other load can change.

  bench_instructions.py <bench program> <file of kept counts> [--keep]

Each comparison of the file is run under callgrind with one life of ours. A count more than a tenth
above the kept one is an error; --keep writes the counts into the file instead. They are those of the
release preset with Debian 12's compiler and C library.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

MOST_RISE = 1.10

ENVIRONMENT = {
    "BENCH_ONE_LIFE": "1",
    "LD_BIND_NOW": "1",  # the first call of a function is none of its work
    # The same copying of memory whatever the processor offers.
    "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-AVX512VL,-ERMS,-FSRM",
}


def instructions(program, title):
    """Of the measured work of the comparison of that title; an Exception if it did not come to any."""
    with tempfile.TemporaryDirectory() as scratch:
        ran = subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no",
             "--toggle-collect=*Bench::Life::measured<*",
             f"--callgrind-out-file={scratch}/out", program,
             f"--benchmark_filter=^{title}/"],
            env={**os.environ, **ENVIRONMENT}, capture_output=True, text=True, check=False)
    found = re.search(r"Collected : (\d+)", ran.stderr)
    if ran.returncode != 0 or not found or int(found[1]) == 0:
        raise RuntimeError(f"{title}: nothing was counted\n{ran.stdout}{ran.stderr}")
    return int(found[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("kept", type=pathlib.Path)
    parser.add_argument("--keep", action="store_true")
    arguments = parser.parse_args()
    kept = json.loads(arguments.kept.read_text(encoding="utf-8"))

    counted, risen = {}, []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        counts = workers.map(lambda title: instructions(arguments.program, title), kept)
        try:
            for (title, before), count in zip(kept.items(), counts):
                counted[title] = count
                change = f"{count / before - 1:+.1%}" if before else "new"
                print(f"{title:45} {count:15,} {change}", flush=True)
                if before and count > before * MOST_RISE:
                    risen.append(title)
        except RuntimeError as error:
            sys.exit(str(error))
    if arguments.keep:
        arguments.kept.write_text(json.dumps(counted, indent=2) + "\n", encoding="utf-8")
    elif risen:
        sys.exit("more than a tenth above the kept count: " + "; ".join(risen))


if __name__ == "__main__":
    main()
