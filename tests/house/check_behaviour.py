#!/usr/bin/env python3
"""Each line of docs/behaviour.md is the comment above a test of tests/behaviour/, and the reverse.

A line may begin with an anchor, <a id="name"></a>, by which others find it; it is no part of the text.

  check_behaviour.py [--root <top of the tree>]
"""

import argparse
import pathlib
import re
import sys

COMMENT_AND_TEST = re.compile(r"((?:^//[^\n]*\n)+)TEST(?:_F)?\(", re.MULTILINE)
ANCHOR = re.compile(r'^<a id="[^"]*"></a>')
TEST = re.compile(r"^TEST(?:_F)?\((\w+), (\w+)\)", re.MULTILINE)


def words(text):
    return " ".join(text.split())


def lines_of(document):
    return [words(ANCHOR.sub("", line[2:])) for line in document.splitlines() if line.startswith("- ")]


def comments_of(source):
    """The comments that stand directly above a test."""
    return [words(match.group(1).replace("//", " ")) for match in COMMENT_AND_TEST.finditer(source)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", type=pathlib.Path,
                        default=pathlib.Path(__file__).resolve().parent.parent.parent)
    root = parser.parse_args().root

    lines = lines_of((root / "docs/behaviour.md").read_text(encoding="utf-8"))
    faults = [] if lines else ["docs/behaviour.md: no lines"]
    pinned = []
    for path in sorted((root / "tests/behaviour").glob("*.cpp")):
        source = path.read_text(encoding="utf-8")
        comments = comments_of(source)
        if len(comments) != len(TEST.findall(source)):
            faults.append(f"{path.name}: a test without a comment above it")
        for comment in comments:
            if comment not in lines:
                faults.append(f"{path.name}: not a line of docs/behaviour.md: {comment}")
        pinned += comments
    faults += [f"docs/behaviour.md: no test has this above it: {line}"
               for line in lines if line not in pinned]
    if faults:
        sys.exit("\n".join(faults))
    print(f"{len(lines)} lines, each with its test")


if __name__ == "__main__":
    main()
