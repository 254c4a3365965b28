#!/usr/bin/env python3
"""The table of docs/performance.md and its picture, from what the benchmarks measured.

  bench_report.py [--measured <folder>]   prints the table, and draws it and the picture into docs/
  bench_report.py --check                 fails if docs/ has other ones than the kept figures give

With --measured, the JSON that the benchmark programs wrote into that folder is condensed into
bench/results/ first: a figure that is not there stays as it is kept.
"""

import argparse
import json
import pathlib
import re
import sys

from bench_plot import draw

DOCUMENT = "docs/performance.md"
PICTURE = "docs/performance.svg"
RESULTS = "bench/results/figures.json"
BEGIN = "<!-- table: written by tools/bench_report.py -->\n"
END = "<!-- end of table -->\n"

# "2a One rule changed, 1000 rules": the comparison of "2a One rule changed, # rules" at 1000.
TITLE = re.compile(r"(?P<title>F?\d[a-z]? [^/]*)(/.*)?")
SIZE = re.compile(r"(.* )(\d+)(\D*)")


def condensed(folder):
    """{series: {size: {figure: value}}} of the programs' JSON; a figure of ours stands under its name,
    the best of the others under that and ":best"."""
    series = {}
    for path in sorted(folder.glob("*.json")):
        for run in json.loads(path.read_text(encoding="utf-8"))["benchmarks"]:
            title = TITLE.fullmatch(run["name"])
            if not title or run.get("error_occurred"):
                continue
            name, size = title["title"], "0"
            if found := SIZE.fullmatch(name):
                name, size = f"{found[1]}#{found[3]}", found[2]
            known = {"name", "family_index", "per_family_instance_index", "run_name", "run_type",
                     "repetitions", "repetition_index", "threads", "iterations", "real_time",
                     "cpu_time", "time_unit"}
            series.setdefault(name, {})[size] = {
                figure: float(f"{value:.4g}")
                for figure, value in sorted(run.items()) if figure not in known}
    return series


class Series:
    """The figures of one comparison over its sizes."""

    def __init__(self, results, name, smallest=0):
        if name not in results:
            sys.exit(f"{RESULTS} has no {name!r}")
        by_size = results[name]
        self.sizes = [size for size in sorted(by_size, key=int) if int(size) >= smallest]
        self.by_size = [by_size[size] for size in self.sizes]

    def ours(self, figure):
        return [figures[figure] for figures in self.by_size]

    def others(self, figure):
        return [figures[f"{figure}:best"] for figures in self.by_size]

    def ratios(self, figure, to="best"):
        return [figures[figure] / figures[f"{figure}:{to}"] for figures in self.by_size]


def shown(value):
    """Two or three digits."""
    return f"{value:,.0f}" if value >= 100 else f"{value:.2g}" if value < 10 else f"{value:.0f}"


def grown(values):
    return f"{max(values) / min(values):.1f} ×"


def span(values, unit):
    low, high = shown(min(values)), shown(max(values))
    return f"{low} {unit}" if low == high else f"{low} to {high} {unit}"


def times(values):
    """Nanoseconds as they are best read."""
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if min(values) >= factor:
            return span([value / factor for value in values], unit)
    return span(values, "ns")


# What a line of the table asks of a comparison: it gives what was wanted, got, and whether that is
# reached (None where nothing was wanted).

HOLDS = "limit holds"

def ratio(figure, most, other):
    def judged(series):
        ratios = series.ratios(figure)
        return f"at most {most:g} × {other}", span(ratios, "×"), max(ratios) <= most
    return judged


def restated(goal, limit):
    """A goal that was found to be out of reach, for the reason that the page gives, and the limit in its place."""
    def judged(series):
        wanted, got, is_reached = goal(series)
        lowered, _, holds = limit(series)
        return f"{lowered}; the goal was {wanted}", got, is_reached or (HOLDS if holds else False)
    return judged


def ahead(*figures, most=1):
    """Of the contender beside ours, in each figure; the numbers that order a table's lines go."""
    def judged(series):
        ratios = {figure.lstrip("123456789 "): series.ratios(figure, "beside") for figure in figures}
        got = "; ".join(f"{figure} {span(values, '×')}" for figure, values in ratios.items())
        return f"below {most:g} ×", got, all(max(values) <= most for values in ratios.values())
    return judged


def within(most, *figures):
    """Of the best of all others."""
    def judged(series):
        ratios = {figure.lstrip("123456789 "): series.ratios(figure) for figure in figures}
        got = "; ".join(f"{figure} {span(values, '×')}" for figure, values in ratios.items())
        return f"within {most:g} × of the best", got, all(max(values) <= most for values in ratios.values())
    return judged


def at_most(figure, most, beyond_beside=False):
    """Nanoseconds; beyond what stands beside it, where that is the loop with nothing in it."""
    def judged(series):
        values = series.ours(figure)
        if beyond_beside:
            values = [max(0, a - b["%s:beside" % figure]) for a, b in zip(values, series.by_size)]
        return f"{figure}: at most {most:g} ns", span(values, "ns"), max(values) <= most
    return judged


def flat(figure, most=2, show=times):
    def judged(series):
        ours = series.ours(figure)
        got = f"{show(ours)}: {grown(ours)}"
        if all(f"{figure}:best" in figures for figures in series.by_size):
            others = series.others(figure)
            got += f" (beside it {show(others)}, {grown(others)})"
        return f"flat within {most:g} ×", got, max(ours) / min(ours) <= most
    return judged


def seen(*figures):
    def judged(series):
        return "", "; ".join(f"{figure} {times(series.ours(figure))}" for figure in figures), None
    return judged


def whole(figures, entries):
    """Of the largest size, not for an entry but in all."""
    def judged(series):
        largest = int(series.sizes[-1])
        got = [f"{figure} {times([series.ours(figure)[-1] * entries(largest)])}, "
               f"{shown(series.ratios(figure)[-1])} × the writes alone" for figure in figures]
        got.append(f"{series.ours('bytes')[-1] * entries(largest) / 2**20:,.0f} MiB, "
                   f"{shown(series.ratios('bytes')[-1])} ×")
        return "", "; ".join(got), None
    return judged


def count(values):
    return span(values, "bytes")


def prefixes(vrfs):
    return vrfs * 50 * 156


def beside(*figures):
    def judged(series):
        got = "; ".join(f"{figure.lstrip('123456789 ')} {span(series.ratios(figure, 'beside'), '×')}"
                        for figure in figures)
        return "", got, None
    return judged


def find(most):
    return within(most, "2 find", "2 find, one by one")


def ordered_map(find_limit=None):
    found = within(1.2, "7 find", "7 find, one by one")
    if find_limit:
        found = restated(found, within(find_limit, "7 find", "7 find, one by one"))
    return [ahead("1 insert in order"), ahead("3 walk, in order", "8 walk"), ahead("2 bytes, in order", "6 bytes"),
            found, within(1.2, "4 erase in order", "9 erase")]


HASH_MAP_OF_4 = [ahead("1 insert"), restated(ahead("6 erase"), ahead("6 erase", most=2.2)),
                 restated(ahead("4 walk"), ahead("4 walk", most=1.1)), ahead("7 bytes"),
                 restated(find(1.3), find(1.8))]
HASH_MAP_OF_20 = [ahead("1 insert"), restated(ahead("6 erase"), ahead("6 erase", most=1.3)),
                  ahead("4 walk"), ahead("7 bytes"), restated(find(1.3), find(1.6))]
RECORDED = [restated(ratio("enable", 1.15, "without, enabling"), ratio("enable", 1.5, "without, enabling")),
            restated(ratio("disable", 1.15, "without, disabling"), ratio("disable", 1.4, "without, disabling"))]
HOARD = [beside("1 alloc", "2 free and alloc", "3 free half, alloc", "4 free", "5 bytes")]

TABLE = [
    ("1 Expansion, # rules", "one rule expands to {} hardware rules",
     [ratio("expand", 2, "a btree with end hint"), flat("expand"), ratio("bytes", 1.3, "the record")]),
    ("2a One rule changed, # rules", "one rule changed in a policy of {}, for each hardware rule",
     [flat("change")]),
    ("2b A service's version raised, # services", "the version of one of {} services raised, for each hardware rule",
     [restated(flat("raise"), flat("raise", 3.5))]),
    ("3a A match list, # prefixes", "a list of {} applied, for each prefix",
     [ratio("apply", 3, "two insertions into flat_hash_map"), seen("switch", "withdraw")]),
    ("3b One prefix changed, list of #", "one prefix of a list of {} changed",
     [flat("one added"), flat("one withdrawn")]),
    ("3c One prefix changed, # other segments", "one prefix changed among {} other segments",
     [flat("one added"), flat("one withdrawn")]),
    ("4a Start-up, # segments", "start-up of {} segments, for each link", [flat("start")]),
    ("4b One segment or policy, among #", "one segment or policy among {}, for each of ten links",
     [seen("segment added", "segment removed", "policy added", "policy removed")]),
    ("4c Forwarding-segments, # segments", "forwarding-segments on, {} segments, for each link",
     [seen("on")]),
    ("5a An interface, # segments", "an interface bound among {} segments", [seen("bind", "unbind")]),
    ("5b A VLAN range, # segments", "a VLAN range changed among {}", [seen("range added", "range removed")]),
    ("6a A full source, # VRFs", "a full source of 64 VRFs", [whole(["enable", "disable"], prefixes)]),
    ("6b A full source recorded, # VRFs", "the flight recorder on, {} VRFs",
     RECORDED),
    ("6c A full source recorded and watched, # VRFs", "the same with one subscriber",
     RECORDED),
    ("7 A list for each segment, # segments", "{} segments with a list each, for each",
     [flat("start"), flat("bytes", show=count)]),
    ("8 The agent, synthetic", "the agent, 10,000 rules",
     [seen("parse and validate", "publish", "react", "print")]),
    ("8 The agent, real data", "the agent, real data",
     [seen("parse and validate", "publish", "react", "print")]),
    ("8 The agent, a full routing table", "the agent, a full routing table",
     [seen("parse and validate", "publish", "react", "print")]),
    ("F1 Hash map, 4-byte key, #", "a hash map of {}, 4-byte key, beside absl::flat_hash_map", HASH_MAP_OF_4, 1000),
    ("F1 Hash map, 20-byte key, #", "the same, 20-byte key", HASH_MAP_OF_20, 1000),
    ("F2 Ordered map, 4-byte key, #", "the rule table of {}, beside absl::btree_map", ordered_map(find_limit=1.5), 1000),
    ("F2 Ordered map, 20-byte key, #", "the same, 20-byte key", ordered_map(), 1000),
    ("F3 Publish", "a change published, beside boost::signals2 without its lock",
     [ratio("to 1", 0.2, "signals2"), ratio("to 10", 0.2, "signals2"), at_most("to 0", 5)]),
    ("F4 Trace", "two integers and a text of 16 bytes recorded, beside a memcpy of the bytes",
     [at_most("record", 15), restated(ratio("record", 3, "the memcpy"), ratio("record", 4, "the memcpy")),
      at_most("disabled site", 1, beyond_beside=True)]),
    ("F5 Reference", "a reference, beside boost::intrusive_ptr with a plain count",
     [beside("copy and drop", "make and drop a node", "move there and back")]),
    ("F6 Name", "a name, beside std::string", [beside("copy and drop", "compare with a copy")]),
    ("F7 Come and go, # subscribers", "{} subscribers come and go, beside signals2 without its lock",
     [beside("subscribe", "unsubscribe")]),
    ("F8 Hoard, objects of 136 bytes, #", "{} objects of one size, beside malloc", HOARD),
    ("F8 Hoard, objects of 40 to 712 bytes, #", "the same, of many sizes", HOARD),
]

PANELS = [
    ("1 Expansion, # rules", "expand", "rules"),
    ("2a One rule changed, # rules", "change", "rules of the policy"),
    ("2b A service's version raised, # services", "raise", "services"),
    ("3a A match list, # prefixes", "apply", "prefixes"),
    ("3b One prefix changed, list of #", "one added", "prefixes of the list"),
    ("3c One prefix changed, # other segments", "one added", "other segments"),
    ("4a Start-up, # segments", "start", "segments"),
    ("4b One segment or policy, among #", "segment added", "segments"),
    ("4c Forwarding-segments, # segments", "on", "segments"),
    ("5a An interface, # segments", "bind", "segments"),
    ("5b A VLAN range, # segments", "range added", "segments"),
    ("6a A full source, # VRFs", "enable", "VRFs"),
    ("6b A full source recorded, # VRFs", "enable", "VRFs"),
    ("7 A list for each segment, # segments", "start", "segments"),
    ("7 A list for each segment, # segments", "bytes", "segments"),
]


def table_of(results):
    lines = ["| row | wanted | got | |", "|---|---|---|---|"]
    for name, what, wishes, *smallest in TABLE:
        series = Series(results, name, *smallest) if name in results else None
        row = name.split()[0]
        if series is None:
            lines.append(f"| {row} {what} | | not measured: no data here | |")
            continue
        what = what.format(f"{int(series.sizes[0]):,} to {int(series.sizes[-1]):,}")
        for wish in wishes:
            wanted, got, is_reached = wish(series)
            verdict = {True: "reached", HOLDS: HOLDS, False: "**missed**", None: ""}[is_reached]
            lines.append(f"| {row} {what} | {wanted} | {got} | {verdict} |")
    return "\n".join(lines) + "\n"


def picture_of(results):
    panels = []
    for name, figure, across in PANELS:
        series = Series(results, name)
        has_others = all(f"{figure}:best" in figures for figures in series.by_size)
        panels.append({
            "title": f"{name.split(',')[0]}: {figure}" + ("" if figure == "bytes" else ", ns"),
            "across": across,
            "sizes": [int(size) for size in series.sizes],
            "ours": series.ours(figure),
            "others": series.others(figure) if has_others else []})
    return draw(panels)


def with_table(document, table):
    before, begin, rest = document.partition(BEGIN)
    _, end, after = rest.partition(END)
    if not begin or not end:
        sys.exit(f"{DOCUMENT}: the markers of the table are gone")
    return before + begin + table + end + after


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--measured", type=pathlib.Path, metavar="FOLDER")
    parser.add_argument("--check", action="store_true", help="change nothing")
    parser.add_argument("--root", type=pathlib.Path, help="the top of the tree",
                        default=pathlib.Path(__file__).resolve().parent.parent)
    arguments = parser.parse_args()

    kept = arguments.root / RESULTS
    results = json.loads(kept.read_text(encoding="utf-8")) if kept.exists() else {}
    if arguments.measured:
        for name, sizes in condensed(arguments.measured).items():
            results.setdefault(name, {}).update(sizes)
        kept.write_text(json.dumps(results, indent=1, sort_keys=True) + "\n", encoding="utf-8")

    document = arguments.root / DOCUMENT
    picture = arguments.root / PICTURE
    table = table_of(results)
    wanted = {document: with_table(document.read_text(encoding="utf-8"), table),
              picture: picture_of(results)}
    stale = [path for path, text in wanted.items()
             if not path.exists() or path.read_text(encoding="utf-8") != text]
    if arguments.check:
        if stale:
            names = ", ".join(str(path.relative_to(arguments.root)) for path in stale)
            sys.exit(f"{names}: stale; write it again with: make bench-plots")
        return
    for path in stale:
        path.write_text(wanted[path], encoding="utf-8")
    print(table, end="")


if __name__ == "__main__":
    main()
