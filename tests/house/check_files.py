#!/usr/bin/env python3
"""What no file of the tree may be: too long to read, or tied to one machine.

  check_files.py [--root <top of the tree>]
"""

import argparse
import pathlib
import re
import subprocess
import sys

SOURCES = {".h", ".cpp", ".py", ".sh", ".cmake"}
LONG = 800      # lines; more is told
TOO_LONG = 900  # lines; more is an error

# Folders that exist on the machine of one person only.
MACHINE_PATHS = re.compile(r"/(work|root|farm)/")


def tree_files(root):
    """The files that are tracked, or would be."""
    listed = subprocess.run(
        ["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        check=True, capture_output=True, text=True).stdout
    paths = (root / name for name in listed.split("\0") if name)
    return [path for path in paths if path.is_file()]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", type=pathlib.Path,
                        default=pathlib.Path(__file__).resolve().parent.parent.parent)
    root = parser.parse_args().root

    files = tree_files(root)
    faults = [] if files else [f"{root}: no files"]
    for path in files:
        name = path.relative_to(root)
        lines = path.read_text(encoding="utf-8", errors="replace").splitlines()
        if path.suffix in SOURCES and len(lines) > TOO_LONG:
            faults.append(f"{name}: {len(lines)} lines, more than {TOO_LONG}")
        elif path.suffix in SOURCES and len(lines) > LONG:
            print(f"{name}: {len(lines)} lines, better fewer than {LONG}")
        for number, line in enumerate(lines, 1):
            if MACHINE_PATHS.search(line):
                faults.append(f"{name}:{number}: a path of one machine: {line.strip()}")
    if faults:
        sys.exit("\n".join(faults))
    print(f"{len(files)} files are in order")


if __name__ == "__main__":
    main()
