#!/usr/bin/python3
"""Plants small faults in Firewall/, one at a time, and sees whether the unit tests notice.

    tools/mutate.py --count 400     # a sample of 400 faults; without it, all
    tools/mutate.py --file VrfSm.cpp
    tools/mutate.py --kind "trace moved"
    tools/mutate.py --survivors     # those that nobody noticed once more, after the tests got better
    tools/mutate.py --report        # what was found so far
    tools/mutate.py --list          # what can be planted

A fault turns a condition, drops a statement or a jump, swaps two statements, changes a constant or moves a trace
to the other side of a write beside it. Otherwise traces and assertions are left alone: they do not change the
tables. All faults are compiled at once into a copy of the
tree in build/mutation, each behind a test of its number, which FIREWALL_MUTANT chooses when a program starts:
so a fault costs one run of the tests, and none a compilation. What cannot be compiled that way is left out.

A fault that no test of test_Firewall notices is tried on the other programs that run the reactors, the plain
model's last, and survives if none of them notices it. tools/equivalent_faults.txt names those that change nothing
that can be seen. Results are kept in build/mutation/results.jsonl, so that a run that was cut goes on where it
stopped; they hold until a source of Firewall/ changes.

Source: the technique is the "mutant schemata" of Untch, Offutt and Harrold (1993).
"""
import argparse
import bisect
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import subprocess
import sys
import time

import clang.cindex
from clang.cindex import CursorKind as Kind

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutation"
TREE = WORK / "tree"
BUILD = WORK / "build"
RESULTS = WORK / "results.jsonl"
TESTS = ("test_Firewall", "test_Firewall_AppRecogStub", "test_behaviour", "test_faults", "test_plain")
MEMORY = 8 << 30
LIVES = "20"
LIBCLANG = "libclang-14.so.1"
EQUIVALENT = ROOT / "tools" / "equivalent_faults.txt"

Fault = collections.namedtuple("Fault", "file line kind before after")

HEADER = """#pragma once
#include <cstdlib>
#include <type_traits>
namespace Mutation {
inline const int chosen = std::getenv("FIREWALL_MUTANT") ? std::atoi(std::getenv("FIREWALL_MUTANT")) : 0;
constexpr bool is(int number) { return std::is_constant_evaluated() ? false : chosen == number; }
}  // namespace Mutation
"""

TURNED = {"&&": "||", "||": "&&", "==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
IGNORED = re.compile(r"TWINLOG|PITH_ASSERT|fmtrace|static_assert|KIV_|FIREWALL_(LIST|ENTRY|ONLY_WHILE)")
TRACE = re.compile(r"TWINLOG|Pith::fmtrace")
GUARD = re.compile(rb"(?m)^  FIREWALL_ONLY_WHILE\([^;]*\);")
WRITE = re.compile(r"(Is|Del|DelAll|Inc)\(")
# Does nothing but take memory in advance.
HARMLESS = re.compile(r"\breserve\(|^\(?void\)|^static_cast<void>")
JUMPS = {Kind.RETURN_STMT, Kind.CONTINUE_STMT, Kind.BREAK_STMT}
CONSTANT_CONTEXT = {Kind.CASE_STMT, Kind.ENUM_CONSTANT_DECL, Kind.STATIC_ASSERT, Kind.TEMPLATE_NON_TYPE_PARAMETER,
                    Kind.FIELD_DECL, Kind.ALIGNED_ATTR}


class Site:
    """A place of a file, [start, end), that becomes make(number of the fault, text of the place)."""

    def __init__(self, start, end, make):
        self.start, self.end, self.make = start, end, make


class Source:
    """One file of Firewall/, in bytes, as libclang counts."""

    def __init__(self, path):
        self.path = path
        self.bytes = path.read_bytes()
        self.lines = [0] + [match.end() for match in re.finditer(b"\n", self.bytes)]
        self.faults = {}  # to the sites that have to be planted for it

    def text(self, start, end):
        return self.bytes[start:end].decode()

    def line(self, offset):
        return bisect.bisect_right(self.lines, offset)

    def add(self, start, end, kind, after, *sites):
        """A fault that changes the text from start to end; sites are (start, end, make)."""
        text = self.text(start, end)
        if start < end and (kind == "trace moved" or not IGNORED.match(text)):
            fault = Fault(self.path.name, self.line(start), kind, " ".join(text.split()), " ".join(after.split()))
            self.faults.setdefault(fault, [Site(*site) for site in sites])


def extent(cursor):
    return cursor.extent.start.offset, cursor.extent.end.offset


def instead_of(statement):
    return lambda n, inner: f"(::Mutation::is({n}) ? static_cast<void>({statement}) : static_cast<void>({inner}))"


def add_moved_trace(source, first, second, is_statement):
    """A trace beside what writes, moved to its other side."""
    (a, b), (c, d) = extent(first), extent(second)
    texts = source.text(a, b), source.text(c, d)
    is_trace = [bool(TRACE.match(text)) for text in texts]
    if is_trace[0] == is_trace[1]:
        return
    trace, other = texts if is_trace[0] else reversed(texts)
    beside = second if is_trace[0] else first
    calls = is_statement(beside) and other.endswith(")") and "rethrow" not in other
    if not calls and not WRITE.search(other):
        return
    if beside.kind == Kind.DECL_STMT:
        if is_trace[0]:
            source.add(a, d, "trace moved", f"{other} {trace};",
                       (a, b, lambda n, inner: f"if (!::Mutation::is({n})) {inner}"),
                       (d, d, lambda n, inner: f" if (::Mutation::is({n})) {trace};"))
        return
    def instead(replaced, other_text):
        # Faults of other kinds plant expressions in one another.
        if replaced.kind.is_expression():
            return instead_of(f"({{ {other_text}; }})")
        return lambda n, inner: f"if (::Mutation::is({n})) {{ {other_text}; }} else {inner}"

    source.add(a, d, "trace moved", f"{texts[1]}; {texts[0]};",
               (a, b, instead(first, texts[1])), (c, d, instead(second, texts[0])))


def visit(cursor, parents, source):
    start, end = extent(cursor)

    def replace(first, last, kind, after, make):
        source.add(first, last, kind, after, (first, last, make))

    children = list(cursor.get_children())
    kind = cursor.kind
    parent = parents[-1].kind if parents else None
    inside = {p.kind for p in parents}
    text = source.text(start, end)

    if kind == Kind.IF_STMT and children and "constexpr" not in source.text(start, start + 16):
        for condition in children[:-1]:
            if condition.kind.is_expression():
                c = condition.extent
                original = source.text(c.start.offset, c.end.offset)
                replace(c.start.offset, c.end.offset, "condition turned", f"!({original})",
                        lambda n, inner, o=original: f"(::Mutation::is({n}) ? !({o}) : bool({inner}))")
                break
            declared = [condition] if condition.kind == Kind.VAR_DECL else list(condition.get_children())
            if declared and source.bytes[condition.extent.end.offset:condition.extent.end.offset + 1] == b")":
                c, name = condition.extent, declared[-1].spelling
                replace(c.start.offset, c.end.offset, "condition turned", f"!{name}",
                        lambda n, inner, v=name: f"{inner}; ::Mutation::is({n}) ? !{v} : !!{v}")
                break
    if len(children) >= 2 and (kind == Kind.BINARY_OPERATOR or kind == Kind.CALL_EXPR):
        left, right = children[0].extent, children[-1].extent
        between = source.text(left.end.offset, max(left.end.offset, right.start.offset)).strip()
        if between in TURNED and left.start.offset == start and right.end.offset == end:
            turned = (f"{source.text(start, left.end.offset)} {TURNED[between]} "
                      f"{source.text(right.start.offset, end)}")
            replace(start, end, "condition turned", turned,
                    lambda n, inner, t=turned: f"(::Mutation::is({n}) ? bool({t}) : bool({inner}))")
    if kind == Kind.UNARY_OPERATOR and text.startswith("!") and parent != Kind.IF_STMT:
        replace(start, end, "condition turned", text[1:],
                lambda n, inner, t=text[1:]: f"(::Mutation::is({n}) ? bool({t}) : bool({inner}))")
    if not inside & CONSTANT_CONTEXT and Kind.COMPOUND_STMT in inside:
        if kind == Kind.CXX_BOOL_LITERAL_EXPR and text in ("true", "false"):
            other = "false" if text == "true" else "true"
            replace(start, end, "constant changed", other,
                    lambda n, inner, o=other: f"(::Mutation::is({n}) ? {o} : {inner})")
        number = re.fullmatch(r"(\d+)([uUlL]*)", text) if kind == Kind.INTEGER_LITERAL else None
        if number:
            other = f"{int(number.group(1)) + 1}{number.group(2)}"
            replace(start, end, "constant changed", other,
                    lambda n, inner, o=other: f"(::Mutation::is({n}) ? {o} : {inner})")
    body_of = {Kind.COMPOUND_STMT, Kind.IF_STMT, Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT, Kind.WHILE_STMT,
               Kind.CASE_STMT, Kind.DEFAULT_STMT}

    def is_statement(at):
        first, last = extent(at)
        return (at.kind.is_expression() and source.bytes[last:last + 1] == b";"
                and not HARMLESS.search(source.text(first, last)) and not IGNORED.match(source.text(first, last)))

    if parent in body_of and is_statement(cursor):
        replace(start, end, "statement dropped", "nothing", instead_of("0"))
    if kind == Kind.COMPOUND_STMT:
        for first, second in zip(children, children[1:]):
            add_moved_trace(source, first, second, is_statement)
            if is_statement(first) and is_statement(second):
                (a, b), (c, d) = extent(first), extent(second)
                source.add(a, d, "order swapped", f"{source.text(c, d)}; {source.text(a, b)};",
                           (a, b, instead_of(source.text(c, d))), (c, d, instead_of(source.text(a, b))))
    drops = kind in JUMPS and not children and source.bytes[end:end + 1] == b";"
    if drops and parent not in (Kind.CASE_STMT, Kind.DEFAULT_STMT, Kind.SWITCH_STMT):
        has_else = parent == Kind.IF_STMT and len(list(parents[-1].get_children())) > 2
        in_switch = kind == Kind.BREAK_STMT and Kind.SWITCH_STMT in inside
        if not has_else and not in_switch:
            replace(start, end, "jump dropped", "nothing",
                    lambda n, inner: f"if (!::Mutation::is({n})) {inner}")
    for child in children:
        descend(child, parents + [cursor])


SOURCES = {}


def add_dropped_guards(source):
    """The way out of a handler that has nothing to do, which a macro makes."""
    for guard in GUARD.finditer(source.bytes):
        text = source.text(*guard.span())
        fault = Fault(source.path.name, source.line(guard.start()), "guard dropped", text.strip(), "nothing")
        source.faults[fault] = [Site(guard.start(), guard.end(),
                                     lambda n, inner: f"  if (!::Mutation::is({n})) {inner.lstrip()}")]


def descend(cursor, parents):
    location = cursor.location.file
    if location is None:
        return
    source = SOURCES.get(os.path.realpath(location.name))
    if source is None:
        return
    # What a macro makes has no text of its own.
    if cursor.extent.start.file and cursor.extent.start.file.name == location.name:
        visit(cursor, parents, source)


def find_sites():
    """Every place of every file, from the compiler's view of each source."""
    clang.cindex.Config.set_library_file(LIBCLANG)
    index = clang.cindex.Index.create()
    for path in sorted((ROOT / "Firewall").rglob("*")):
        if path.suffix in (".h", ".cpp"):
            SOURCES[os.path.realpath(path)] = Source(path)
    for source in SOURCES.values():
        add_dropped_guards(source)
    for name in sorted(SOURCES):
        if not name.endswith(".cpp"):
            continue
        unit = index.parse(name, args=["-std=c++20", f"-I{ROOT}", "-w", "-DMUTATION_SITES"])
        for cursor in unit.cursor.get_children():
            descend(cursor, [])
    return {fault: (source, sites) for source in SOURCES.values() for fault, sites in source.faults.items()}


def planted_text(source, sites):
    """The file with the sites, each (site, number), planted; they lie side by side or in one another."""
    def render(start, end, within):
        out, at = [], start
        while within:
            (site, number), *others = within
            inside = [other for other in others if other[0].start < site.end]
            out += [source.text(at, site.start), site.make(number, render(site.start, site.end, inside))]
            at, within = site.end, others[len(inside):]
        return "".join(out) + source.text(at, end)
    return render(0, len(source.bytes), sorted(sites, key=lambda s: (s[0].start, -s[0].end, s[1])))


def limited():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def failure(test, number, timeout):
    """How the test fails with the fault; empty when it passes."""
    environment = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_BRIEF="1", FIREWALL_LIVES=LIVES,
                       FIREWALL_LIVES_SEED="1", FIREWALL_MUTANT=str(number))
    process = subprocess.Popen([str(BUILD / "tests" / test)], cwd=TREE, env=environment,
                               stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=limited)
    try:
        return "" if process.wait(timeout) == 0 else f"killed by {test}"
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, 9)
        process.wait()
        return f"killed, for {test} hangs"


def copy_tree():
    files = subprocess.run(["git", "-C", str(ROOT), "ls-files", "-z"], check=True, capture_output=True,
                           text=True).stdout.split("\0")
    for name in filter(None, files):
        source, target = ROOT / name, TREE / name
        if source.is_file() and not name.startswith("Firewall/"):
            write_if_changed(target, source.read_bytes())
    write_if_changed(TREE / "Firewall" / "Mutation.h", HEADER.encode())


def write_if_changed(path, content):
    if not path.is_file() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def plant(faults, numbers, left_out):
    by_source = collections.defaultdict(list)
    for fault, (source, sites) in faults.items():
        if fault not in left_out:
            by_source[source] += [(site, numbers[fault]) for site in sites]
    for source in SOURCES.values():
        text = planted_text(source, by_source[source])
        include = '#include "Firewall/Mutation.h"\n'
        if source.path.suffix == ".h":
            text = text.replace("#pragma once\n", "#pragma once\n" + include, 1)
        else:
            text = include + text
        write_if_changed(TREE / source.path.relative_to(ROOT), text.encode())


def build_planted(faults, numbers):
    """Builds all that compiles; returns the faults that do not."""
    copy_tree()
    left_out = set()
    plant(faults, numbers, left_out)
    subprocess.run(["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                    "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -w", "-DFIREWALL_AGENT=OFF"],
                   check=True, stdout=subprocess.DEVNULL)
    while True:
        plant(faults, numbers, left_out)
        done = subprocess.run(["cmake", "--build", str(BUILD), "--target", "FirewallConfigSm", "--", "-k", "0"],
                              capture_output=True, text=True)
        if done.returncode == 0:
            break
        # Whatever stands on a line of which the compiler complains is left out.
        bad = set()
        for name, line in re.findall(r"(Firewall/[\w./]+):(\d+):\d+: error", done.stdout + done.stderr):
            text = (TREE / name).read_text().splitlines()[int(line) - 1]
            bad |= {int(number) for number in re.findall(r"Mutation::is\((\d+)\)", text)}
        by_number = {numbers[fault]: fault for fault in faults}
        fresh = {by_number[number] for number in bad} - left_out
        if not fresh:
            sys.exit(done.stdout + done.stderr)
        left_out |= fresh
        print(f"{len(left_out)} faults do not compile", flush=True)
    done = subprocess.run(["cmake", "--build", str(BUILD), "--target", *TESTS], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(done.stdout + done.stderr)
    return left_out


def timeouts():
    """After how many seconds each test counts as hanging, from a run without any fault."""
    seconds = {}
    for test in TESTS:
        began = time.monotonic()
        if failure(test, 0, 3600):
            sys.exit(f"{test} fails without any fault")
        seconds[test] = 20 + 6 * (time.monotonic() - began)
    return seconds


def judge(number, seconds):
    for test in TESTS:
        if killed := failure(test, number, seconds[test]):
            return killed
    return "survived"


def fingerprint():
    digest = hashlib.sha256()
    for source in SOURCES.values():
        digest.update(source.bytes)
    return digest.hexdigest()[:16]


def known():
    if not RESULTS.exists():
        return {}
    results = {}
    for line in RESULTS.read_text().splitlines():
        entry = json.loads(line)
        if entry["sources"] == fingerprint():
            results[Fault(**entry["fault"])] = entry["result"]
    return results


def equivalent():
    """Those that are named: (file, kind of fault, line of the source, what is changed in it)."""
    named = set()
    for line in EQUIVALENT.read_text().splitlines():
        if line and not line.startswith("#"):
            name, kind, text, before, _ = line.split(" ;; ")
            named.add((name, kind, text, before))
    return named


def description(fault):
    path = next(source.path for source in SOURCES.values() if source.path.name == fault.file)
    lines = path.read_text().splitlines()
    return fault.file, fault.kind, lines[fault.line - 1].strip(), fault.before


def report(results):
    named = equivalent()
    counted = collections.Counter()
    for fault, result in sorted(results.items()):
        outcome = re.match(r"\w+", result).group()
        if outcome == "survived" and description(fault) in named:
            outcome = "equivalent"
        counted[fault.kind, outcome] += 1
        if outcome == "survived":
            print(f"Firewall/{fault.file}:{fault.line}: {fault.kind}: {fault.before} -> {fault.after}")
            print("    " + " ;; ".join(description(fault)))
    print()
    outcomes = ("killed", "survived", "equivalent")
    for kind in sorted({kind for kind, _ in counted}):
        print(f"{kind:18}" + ",".join(f" {counted[kind, outcome]:4} {outcome}" for outcome in outcomes))
    hanging = sum(result.endswith("hangs") for result in results.values())
    killed, survived, same = (sum(counted[key] for key in counted if key[1] == outcome) for outcome in outcomes)
    if killed + survived:
        print(f"{killed} of {killed + survived} killed: {100 * killed / (killed + survived):.1f} %, {hanging} of "
              f"them by a test that hangs; {same} change nothing that can be seen")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, help="faults in the sample")
    parser.add_argument("--seed", type=int, default=1, help="of the sample")
    parser.add_argument("--jobs", type=int, default=1, help="tests that run at a time")
    parser.add_argument("--file", help="only faults in this file of Firewall/")
    parser.add_argument("--kind", help="only faults of this kind, 'trace moved' say")
    parser.add_argument("--survivors", action="store_true", help="try the survivors again")
    parser.add_argument("--list", action="store_true", help="show what can be planted")
    parser.add_argument("--report", action="store_true", help="show what was found so far")
    arguments = parser.parse_args()

    faults = find_sites()
    numbers = {fault: number for number, fault in enumerate(sorted(faults), 1)}
    wanted = [fault for fault in sorted(faults)
              if arguments.file in (None, fault.file) and arguments.kind in (None, fault.kind)]
    if arguments.list:
        for fault in wanted:
            print(numbers[fault], *fault, sep=" | ")
        return
    results = known()
    if arguments.report:
        report(results)
        return
    left_out = build_planted({fault: faults[fault] for fault in wanted}, numbers)
    wanted = [fault for fault in wanted if fault not in left_out]
    if arguments.survivors:
        wanted = [fault for fault in wanted if results.get(fault) == "survived"]
    else:
        random.Random(arguments.seed).shuffle(wanted)
        wanted = [fault for fault in wanted[:arguments.count] if fault not in results]
    seconds = timeouts()
    with RESULTS.open("a") as kept, concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        judged = pool.map(lambda fault: (fault, judge(numbers[fault], seconds)), wanted)
        for count, (fault, result) in enumerate(judged, 1):
            kept.write(json.dumps({"sources": fingerprint(), "fault": fault._asdict(), "result": result}) + "\n")
            kept.flush()
            print(f"{count}/{len(wanted)} {fault.file}:{fault.line} {fault.kind}: {result}", flush=True)
    report(known())


if __name__ == "__main__":
    main()
