#!/usr/bin/env python3
"""What includes what: holds the arrows between folders, and draws them into ARCHITECTURE.md.

  tools/include_graph.py           draws the picture again
  tools/include_graph.py --check   changes nothing; fails if the picture is stale

Both fail, with one line for each fault, when
  - a folder includes one of a floor above its own, or one that it must not know,
  - files or folders include each other in a circle,
  - an include in quotes does not name a file from the top of the tree,
  - an include in angle brackets is not a header of the C++ standard library or of the compiler; a
    source, but no header, may include the operating system's.

The picture has a node for each folder. An arrow that follows from others is left out.
"""

import argparse
import pathlib
import re
import sys

# Lowest floor first. A folder may include its own floor and those below.
FLOORS = ["framework", "model", "AppRecognition", "Firewall"]

# Within a floor: who must not know whom.
STRANGERS = {
    "framework/Pith": ["framework/Kiv", "framework/Lanx", "framework/Twinlog"],
    "framework/Lanx": ["framework/Kiv", "framework/Twinlog"],
}

# The standard library's headers, and the compiler's: vector instructions, sanitizers.
STANDARD = re.compile(r"[a-z_]+|[a-z]*mmintrin\.h|arm_neon\.h|sanitizer/[a-z_]+\.h")
SYSTEM = re.compile(r"unistd\.h|fcntl\.h|sys/[a-z]+\.h")

PICTURE = "ARCHITECTURE.md"
PICTURE_BEGIN = "<!-- include picture: drawn by tools/include_graph.py -->\n"
PICTURE_END = "<!-- end of include picture -->\n"

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)


def folder_of(path):
    """The node of a file: "framework/Pith", "model/Acl", "Firewall"."""
    parts = pathlib.PurePosixPath(path).parent.parts
    return "/".join(parts[:2] if parts[0] in ("framework", "model") else parts[:1])


def read_includes(root):
    """Maps each file to (the files, the standard headers) that it includes, in their order."""
    includes = {}
    for floor in FLOORS:
        for path in sorted(root.glob(f"{floor}/**/*")):
            if path.suffix in (".h", ".cpp"):
                found = INCLUDE.findall(path.read_text(encoding="utf-8"))
                name = path.relative_to(root).as_posix()
                includes[name] = ([own for own, _ in found if own], [std for _, std in found if std])
    return includes


def folder_edges(includes):
    """Maps each folder to the set of other folders that it includes."""
    edges = {folder_of(name): set() for name in includes}
    for name, (own, _) in includes.items():
        for target in own:
            if target in includes and folder_of(target) != folder_of(name):
                edges[folder_of(name)].add(folder_of(target))
    return edges


def find_circle(edges):
    """A list of nodes that lead back to the first, or None. `edges` maps a node to its targets."""
    done = set()

    def visit(node, path):
        if node in path:
            return path[path.index(node):] + [node]
        if node in done:
            return None
        for target in sorted(edges.get(node, ())):
            circle = visit(target, path + [node])
            if circle:
                return circle
        done.add(node)
        return None

    for start in sorted(edges):
        circle = visit(start, [])
        if circle:
            return circle
    return None


def find_faults(includes):
    faults = []
    for name, (own, standard) in includes.items():
        folder = folder_of(name)
        floor = FLOORS.index(folder.split("/")[0])
        for target in own:
            if target not in includes:
                faults.append(f'{name}: "{target}" is no file from the top of the tree')
                continue
            if FLOORS.index(target.split("/")[0]) > floor:
                faults.append(f"{name}: includes {target}, which is on a floor above")
            if folder_of(target) in STRANGERS.get(folder, ()):
                faults.append(f"{name}: includes {target}, which {folder} must not know")
        for header in standard:
            allowed = STANDARD.fullmatch(header) or (
                name.endswith(".cpp") and SYSTEM.fullmatch(header))
            if not allowed:
                faults.append(f"{name}: <{header}> is not of the C++ standard library")
    circle = find_circle({name: own for name, (own, _) in includes.items()})
    if not circle:
        circle = find_circle(folder_edges(includes))
    if circle:
        faults.append("a circle: " + " -> ".join(circle))
    return faults


def without_implied(edges):
    """The edges that are on no longer way; `edges` has no circle."""

    def reaches(start, goal):
        return start == goal or any(reaches(target, goal) for target in edges[start])

    return {
        node: [
            target
            for target in sorted(targets)
            if not any(reaches(other, target) for other in targets if other != target)
        ]
        for node, targets in edges.items()
    }


def draw(edges):
    """The picture, as Markdown with a Mermaid flow chart."""
    lines = ["```mermaid", "flowchart TD"]
    for floor in reversed(FLOORS):
        rooms = sorted(node for node in edges if node.startswith(floor + "/"))
        if rooms:
            lines.append(f"  subgraph {floor}")
            lines += [f'    {room.replace("/", "_")}["{room.split("/")[1]}"]' for room in rooms]
            lines.append("  end")
        if floor in edges:
            lines.append(f'  {floor}_["{floor}"]' if rooms else f"  {floor}")
    for node, targets in sorted(without_implied(edges).items()):
        lines += [f'  {node.replace("/", "_")} --> {target.replace("/", "_")}' for target in targets]
    return "\n".join(lines + ["```"]) + "\n"


def redraw(document, picture):
    """`document` with the text between its markers replaced by `picture`."""
    before, begin, rest = document.partition(PICTURE_BEGIN)
    _, end, after = rest.partition(PICTURE_END)
    if not begin or not end:
        sys.exit(f"{PICTURE}: the markers of the include picture are gone")
    return before + begin + picture + end + after


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true", help="change nothing")
    parser.add_argument("--root", type=pathlib.Path, help="the top of the tree",
                        default=pathlib.Path(__file__).resolve().parent.parent)
    arguments = parser.parse_args()

    includes = read_includes(arguments.root)
    faults = find_faults(includes)
    if faults:
        sys.exit("\n".join(faults))
    path = arguments.root / PICTURE
    document = path.read_text(encoding="utf-8")
    wanted = redraw(document, draw(folder_edges(includes)))
    if wanted == document:
        return
    if arguments.check:
        sys.exit(f"{PICTURE}: the include picture is stale; draw it again with: make picture")
    path.write_text(wanted, encoding="utf-8")


if __name__ == "__main__":
    main()
