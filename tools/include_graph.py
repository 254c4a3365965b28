#!/usr/bin/env python3
"""What includes what: holds the arrows between folders, and draws them into ARCHITECTURE.md.

  tools/include_graph.py           draws the picture again
  tools/include_graph.py --check   changes nothing; fails if the picture is stale

Both fail, with one line for each fault, when
  - a folder includes one of a floor above its own, or one that it must not know,
  - a room of a layered folder includes one that comes after it, or has no place in the order,
  - files or folders include each other in a circle,
  - an include in quotes does not name a file from the top of the tree,
  - an include in angle brackets is not a header of the C++ standard library or of the compiler; a
    source, but no header, may include the operating system's. (A program may include any.)

The picture has a node for each folder. An arrow that follows from others is left out.
"""

import argparse
import pathlib
import re
import sys

# Lowest floor first. A folder may include its own floor and those below.
FLOORS = ["framework", "model", "AppRecognition", "Firewall", "agent"]

# The floors whose folders are rooms of their own, in any order.
ROOMS = ["framework", "model"]

# The floors whose folders are layers, lowest first: a room may include itself and those before it. "."
# are the files that are in no folder of the floor.
LAYERS = {
    "Firewall": [".", "Prefixes", "Segments", "Rules", "Sources"],
    "agent": ["Document", "Schema", "Store", "View", "Process", "Server", "Command", "."],
}

# The floors that may stand on more than the standard library.
PROGRAMS = ["agent"]

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
    """The node of a file: "framework/Pith", "agent/View", "Firewall"."""
    parts = pathlib.PurePosixPath(path).parent.parts
    return "/".join(parts[:2] if parts[0] in ROOMS or parts[0] in LAYERS else parts[:1])


def floor_of(path):
    return path.split("/")[0]


def layer_of(folder):
    """The place of a folder in the order of its floor; None where the floor has no order."""
    order = LAYERS.get(floor_of(folder))
    room = folder.partition("/")[2] or "."
    return None if order is None else order.index(room) if room in order else -1


def read_includes(root):
    """Maps each file to (the files, the standard headers) that it includes, in their order."""
    includes = {}
    for floor in FLOORS:
        for path in sorted(root.glob(f"{floor}/**/*")):
            if path.name.endswith((".h", ".cpp", ".h.in")):
                found = INCLUDE.findall(path.read_text(encoding="utf-8"))
                name = path.relative_to(root).as_posix().removesuffix(".in")
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


def find_layer_faults(includes):
    faults = [f"{folder}: has no place in the order of {floor_of(folder)} (LAYERS)"
              for folder in sorted({folder_of(name) for name in includes}) if layer_of(folder) == -1]
    for name, (own, _) in includes.items():
        floor = floor_of(name)
        for target in own:
            if target not in includes or floor_of(target) != floor or floor not in LAYERS:
                continue
            if layer_of(folder_of(target)) > layer_of(folder_of(name)) >= 0:
                faults.append(f"{name}: includes {target}, which comes after it in the order of {floor}")
    return faults


def find_faults(includes):
    faults = find_layer_faults(includes)
    for name, (own, standard) in includes.items():
        folder = folder_of(name)
        floor = FLOORS.index(floor_of(name))
        for target in own:
            if target not in includes:
                faults.append(f'{name}: "{target}" is no file from the top of the tree')
                continue
            if FLOORS.index(floor_of(target)) > floor:
                faults.append(f"{name}: includes {target}, which is on a floor above")
            if folder_of(target) in STRANGERS.get(folder, ()):
                faults.append(f"{name}: includes {target}, which {folder} must not know")
        for header in standard:
            allowed = floor_of(name) in PROGRAMS or STANDARD.fullmatch(header) or (
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


def node_id(node, edges):
    """What a node is called in the picture, where a floor with rooms has its own name already."""
    has_rooms = any(other.startswith(node + "/") for other in edges)
    return node.replace("/", "_") + ("_" if has_rooms else "")


def draw(edges):
    """The picture, as Markdown with a Mermaid flow chart."""
    lines = ["```mermaid", "flowchart TD"]
    for floor in reversed(FLOORS):
        rooms = sorted(node for node in edges if node.startswith(floor + "/"))
        if rooms:
            lines.append(f"  subgraph {floor}")
            lines += [f'    {node_id(room, edges)}["{room.split("/")[1]}"]' for room in rooms]
            lines.append("  end")
        if floor in edges:
            name = node_id(floor, edges)
            lines.append(f"  {floor}" if name == floor else f'  {name}["{floor}"]')
    for node, targets in sorted(without_implied(edges).items()):
        lines += [f"  {node_id(node, edges)} --> {node_id(target, edges)}" for target in targets]
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
