#!/usr/bin/env python3
"""Plants one small fault at a time in Firewall/ and sees whether the unit tests notice.

    tools/mutate.py --count 300 --seed 1      # a sample of 300 faults
    tools/mutate.py --list                    # what could be planted, one a line
    tools/mutate.py --report                  # what was found so far

A fault turns a condition, drops a call or a jump, swaps two statements or changes a constant. Traces and
assertions are left alone: they do not change the tables. The work is done on a copy of the tree in
build/mutation, and each result is kept there in results.jsonl, so that a run that was cut goes on where it
stopped. A fault that does not compile is not counted. One that no test of Firewall/ notices is tried on the
random lives beside the plain model too, and is a survivor if these do not notice it either.
"""
import argparse
import collections
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

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutation"
TREE = WORK / "tree"
BUILD = WORK / "build"
RESULTS = WORK / "results.jsonl"
TESTS = ("test_Firewall", "test_plain")
MEMORY = 8 << 30
LIVES = "40"

Mutant = collections.namedtuple("Mutant", "file line kind before after")


def blank(match):
    return re.sub(r"[^\n]", " ", match.group())


def code_only(text):
    """The text with comments, strings, preprocessor lines, traces and assertions blanked, same length."""
    text = re.sub(r"//[^\n]*", blank, text)
    text = re.sub(r'"(?:\\.|[^"\\\n])*"', lambda m: '"' + " " * (len(m.group()) - 2) + '"', text)
    text = re.sub(r"(?m)^#(?:.*\\\n)*.*$", blank, text)
    for ignored in (r"\b(?:TWINLOG\w*|Pith::fmtrace)\(", r"\bPITH_ASSERT\w*\(", r"static constexpr Twinlog::Function",
                    r"(?m)^(?:KIV|FIREWALL)_\w+\(", r"\bstatic_assert\("):
        text = re.sub(ignored + r"[^;]*?(?:;|(?<=\))$)", blank, text, flags=re.S | re.M)
    return text


def closing(text, start):
    depth = 0
    for i in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[i], 0)
        if depth == 0:
            return i
    return -1


STATEMENT = re.compile(r"(?m)^( +)((?:[\w:\->.*]|<[\w:, ]+>)+\((?:[^;{}]|\{[^{}]*\})*\));$")
JUMP = re.compile(r"\b(return|continue|break);")
TOKENS = (
    (re.compile(r" && "), " || "), (re.compile(r" \|\| "), " && "),
    (re.compile(r" == "), " != "), (re.compile(r" != "), " == "),
    (re.compile(r" < "), " <= "), (re.compile(r" > "), " >= "),
    (re.compile(r" <= "), " < "), (re.compile(r" >= "), " > "),
    (re.compile(r"(?<!operator)(?<=[ (])!(?=[\w(*])"), ""),
)
CONSTANTS = ((re.compile(r"\btrue\b"), "false"), (re.compile(r"\bfalse\b"), "true"))
NUMBER = re.compile(r"(?<![\w.'])(\d+)(?=U?\b)(?![\w']*')")
DECLARATION = re.compile(r"(?:const )?[\w:]+(?:<.*>)?[ *&]+(?:const )?(\w+) =")


def edits_of(text):
    """Each fault as (start, end, replacement, kind)."""
    code = code_only(text)
    turned = []  # conditions of one term: turning its operator would be the same fault again
    for match in re.finditer(r"\bif (?:constexpr )?\(", code):
        start, end = match.end(), closing(code, match.end() - 1)
        condition = text[start:end]
        if "constexpr" in match.group() or end < 0:
            continue
        if not re.search(r"&&|\|\|", condition):
            turned.append(range(start - 1, end))
        head, semicolon, tail = condition.rpartition(";")
        declared = DECLARATION.match(tail.strip())
        if declared and not semicolon:
            yield start, end, f"{condition}; !{declared.group(1)}", "condition turned"
        elif not declared:
            yield start, end, f"{head}{semicolon} !({tail.strip()})", "condition turned"
    for pattern, replacement in TOKENS:
        for match in re.finditer(pattern, code):
            if not any(match.start() in condition for condition in turned):
                yield match.start(), match.end(), replacement, "condition turned"
    statements = [m for m in STATEMENT.finditer(code) if not re.search(r"\breserve\(", m.group())]
    for match in statements:
        yield match.start(2), match.end(2), "static_cast<void>(0)", "call dropped"
    for first, second in zip(statements, statements[1:]):
        if first.end() + 1 == second.start() and first.group(1) == second.group(1):
            swapped = text[second.start():second.end()] + "\n" + text[first.start():first.end()]
            yield first.start(), second.end(), swapped, "order swapped"
    for match in JUMP.finditer(code):
        yield match.start(), match.end(), "static_cast<void>(0);", "jump dropped"
    for pattern, replacement in CONSTANTS:
        for match in pattern.finditer(code):
            yield match.start(), match.end(), replacement, "constant changed"
    for match in NUMBER.finditer(code):
        yield match.start(), match.end(1), str(int(match.group(1)) + 1), "constant changed"


def mutants():
    for path in sorted((ROOT / "Firewall").iterdir()):
        if path.suffix not in (".h", ".cpp"):
            continue
        text = path.read_text()
        for start, end, replacement, kind in sorted(edits_of(text)):
            line = text.count("\n", 0, start) + 1
            yield Mutant(path.name, line, kind, text[start:end], replacement), start


def limited():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def build(*targets):
    done = subprocess.run(["cmake", "--build", str(BUILD), "--target", *targets],
                          capture_output=True, text=True)
    return done.returncode == 0, done.stdout + done.stderr


def passes(test, timeout):
    environment = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_BRIEF="1", FIREWALL_LIVES=LIVES,
                       FIREWALL_LIVES_SEED="1")
    try:
        done = subprocess.run([str(BUILD / "tests" / test)], cwd=BUILD, env=environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              stdin=subprocess.DEVNULL, timeout=timeout, preexec_fn=limited)
    except subprocess.TimeoutExpired:
        return False
    return done.returncode == 0


def prepare():
    """Copies the tree, builds it and returns the seconds after which each test counts as hanging."""
    files = subprocess.run(["git", "-C", str(ROOT), "ls-files", "-z"], check=True,
                           capture_output=True, text=True).stdout.split("\0")
    for name in filter(None, files):
        source, target = ROOT / name, TREE / name
        if source.is_file() and not (target.is_file() and target.read_bytes() == source.read_bytes()):
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)
    subprocess.run(["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O0",
                    "-DFIREWALL_AGENT=OFF"], check=True, stdout=subprocess.DEVNULL)
    built, output = build("FirewallConfigSm", *TESTS)
    if not built:
        sys.exit(output)
    timeouts = {}
    for test in TESTS:
        began = time.monotonic()
        if not passes(test, 3600):
            sys.exit(f"{test} fails without any fault")
        timeouts[test] = 30 + 10 * (time.monotonic() - began)
    return timeouts


def judge(mutant, start, timeouts):
    path = TREE / "Firewall" / mutant.file
    original = path.read_text()
    path.write_text(original[:start] + mutant.after + original[start + len(mutant.before):])
    try:
        if not build("FirewallConfigSm")[0]:
            return "does not compile"
        for test in TESTS:
            if not passes(test, timeouts[test]):
                return f"killed by {test}"
        if path.suffix == ".h":  # what the tests themselves compiled of it
            if not build(*TESTS)[0]:
                return "does not compile"
            for test in TESTS:
                if not passes(test, timeouts[test]):
                    return f"killed by {test}"
        return "survived"
    finally:
        path.write_text(original)


def known():
    if not RESULTS.exists():
        return {}
    results = {}
    for line in RESULTS.read_text().splitlines():
        entry = json.loads(line)
        results[Mutant(**entry["mutant"])] = entry["result"]
    return results


def report(results):
    counted = collections.Counter()
    for mutant, result in results.items():
        counted[mutant.kind, result.split()[0]] += 1
        if result == "survived":
            print(f"Firewall/{mutant.file}:{mutant.line}: {mutant.kind}: "
                  f"{' '.join(mutant.before.split())} -> {' '.join(mutant.after.split())}")
    print()
    for kind in sorted({kind for kind, _ in counted}):
        killed, survived = counted[kind, "killed"], counted[kind, "survived"]
        print(f"{kind:18} {killed:4} killed, {survived:3} survived, "
              f"{counted[kind, 'does']:3} did not compile")
    killed = sum(n for (_, result), n in counted.items() if result == "killed")
    survived = sum(n for (_, result), n in counted.items() if result == "survived")
    if killed + survived:
        print(f"{killed} of {killed + survived} killed: {100 * killed / (killed + survived):.1f} %")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=300, help="faults in the sample")
    parser.add_argument("--seed", type=int, default=1, help="of the sample")
    parser.add_argument("--file", help="only faults in this file of Firewall/")
    parser.add_argument("--survivors", action="store_true", help="try the survivors again")
    parser.add_argument("--list", action="store_true", help="show what could be planted")
    parser.add_argument("--report", action="store_true", help="show what was found so far")
    arguments = parser.parse_args()

    planted = [m for m in mutants() if arguments.file in (None, m[0].file)]
    if arguments.list:
        for mutant, _ in planted:
            print(*mutant, sep=" | ")
        return
    results = known()
    if arguments.report:
        report(results)
        return
    if arguments.survivors:
        sample = [m for m in planted if results.get(m[0]) == "survived"]
    else:
        random.Random(arguments.seed).shuffle(planted)
        sample = [m for m in planted[:arguments.count] if m[0] not in results]
    timeouts = prepare()
    with RESULTS.open("a") as kept:
        for number, (mutant, start) in enumerate(sample, 1):
            result = judge(mutant, start, timeouts)
            kept.write(json.dumps({"mutant": mutant._asdict(), "result": result}) + "\n")
            kept.flush()
            print(f"{number}/{len(sample)} {mutant.file}:{mutant.line} {mutant.kind}: {result}",
                  flush=True)
    report(known())


if __name__ == "__main__":
    main()
