#!/usr/bin/env python3
"""What the tools of the benchmarks make of figures: whether a rise is found, and a table that is not
the figures'."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

TOP = pathlib.Path(__file__).resolve().parent.parent.parent

# Stands in for valgrind: "counts" what the file beside it says for a comparison.
FAKE_VALGRIND = """#!/usr/bin/env python3
import json, pathlib, sys
title = sys.argv[-1].removeprefix("--benchmark_filter=^").removesuffix("/")
counts = json.loads((pathlib.Path(__file__).parent / "counts.json").read_text())
print("Collected :", counts.get(title, 0), file=sys.stderr)
"""


class ToolTest(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, name, content):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content if isinstance(content, str) else json.dumps(content),
                        encoding="utf-8")
        return path

    def run_tool(self, name, *arguments):
        path = f"{self.root}{os.pathsep}{os.environ['PATH']}"
        done = subprocess.run([sys.executable, TOP / "tools" / name, *map(str, arguments)],
                              capture_output=True, text=True, env={**os.environ, "PATH": path},
                              check=False)
        return done.returncode, done.stdout + done.stderr


class InstructionsTest(ToolTest):

    def setUp(self):
        super().setUp()
        self.write("valgrind", FAKE_VALGRIND).chmod(0o755)
        self.kept = self.write("kept.json", {"1 One": 1000, "2 Two": 2000})

    def count(self, counts, *options):
        self.write("counts.json", counts)
        return self.run_tool("bench_instructions.py", "program", self.kept, *options)

    def test_a_tenth_more_or_any_fewer_is_no_fault(self):
        code, output = self.count({"1 One": 1100, "2 Two": 200})
        self.assertEqual(code, 0, output)
        self.assertIn("+10.0%", output)
        self.assertIn("-90.0%", output)

    def test_finds_what_rose_by_more_than_a_tenth(self):
        code, output = self.count({"1 One": 999, "2 Two": 2201})
        self.assertNotEqual(code, 0)
        self.assertIn("more than a tenth above the kept count: 2 Two\n", output)

    def test_a_comparison_that_does_not_run_is_a_fault(self):
        code, output = self.count({"1 One": 1000})
        self.assertNotEqual(code, 0)
        self.assertIn("2 Two: nothing was counted", output)

    def test_keeps_what_it_counts_when_told_to(self):
        code, output = self.count({"1 One": 5000, "2 Two": 1}, "--keep")
        self.assertEqual(code, 0, output)
        self.assertEqual(json.loads(self.kept.read_text()), {"1 One": 5000, "2 Two": 1})
        self.assertEqual(self.count({"1 One": 5000, "2 Two": 1})[0], 0)


def run_of(title, **figures):
    """As Google Benchmark writes it."""
    return {"name": f"{title}/iterations:1", "run_name": title, "run_type": "iteration",
            "iterations": 1, "real_time": 1.5, "cpu_time": 1.4, "time_unit": "s", **figures}


class ReportTest(ToolTest):
    """On the kept figures of the tree, of which single ones are measured anew."""

    def setUp(self):
        super().setUp()
        self.write("docs/performance.md",
                   "before\n<!-- table: written by tools/bench_report.py -->\n"
                   "<!-- end of table -->\nafter\n")
        self.write("bench/results/figures.json",
                   (TOP / "bench/results/figures.json").read_text(encoding="utf-8"))

    def report(self, *arguments):
        return self.run_tool("bench_report.py", "--root", self.root, *arguments)

    def measured(self, *runs):
        self.write("measured/Firewall.json", {"context": {}, "benchmarks": list(runs)})
        code, output = self.report("--measured", self.root / "measured")
        self.assertEqual(code, 0, output)
        return output

    def lines(self, table, row):
        return [line for line in table.splitlines() if line.startswith(f"| {row} ")]

    def change(self, *times):
        return [run_of(f"2a One rule changed, {size} rules", change=time, **{"change:best": 100.0})
                for size, time in zip((1000, 100000, 1000000), times)]

    def test_judges_growth_by_the_largest_and_the_smallest_figure(self):
        [line] = self.lines(self.measured(*self.change(200, 150, 299)), "2a")
        self.assertIn("150 to 299 ns: 2.0 ×", line)
        self.assertIn("| reached |", line)
        [line] = self.lines(self.measured(*self.change(200, 150, 301)), "2a")
        self.assertIn("| **missed** |", line)

    def test_judges_a_ratio_by_the_worst_size(self):
        def expansion(worst):
            return [run_of(f"1 Expansion, {size} rules", expand=time, bytes=79, **{
                "expand:best": 100.0, "bytes:best": 76})
                    for size, time in ((1000, 150), (100000, worst), (1000000, 150))]
        self.assertIn("| reached |", self.lines(self.measured(*expansion(200)), "1")[0])
        self.assertIn("| **missed** |", self.lines(self.measured(*expansion(201)), "1")[0])

    def test_a_goal_out_of_reach_has_a_limit_in_its_place(self):
        def raised(*times):
            return [run_of(f"2b A service's version raised, {size} services", **{"raise": time, "raise:best": 100.0})
                    for size, time in zip((10, 1000, 10000), times)]
        [line] = self.lines(self.measured(*raised(100, 150, 200)), "2b")
        self.assertIn("flat within 3.5 ×; the goal was flat within 2 ×", line)
        self.assertIn("| reached |", line)
        self.assertIn("| limit holds |", self.lines(self.measured(*raised(100, 150, 349)), "2b")[0])
        self.assertIn("| **missed** |", self.lines(self.measured(*raised(100, 150, 351)), "2b")[0])

    def test_what_was_not_measured_stays_as_it_is_kept(self):
        before = self.lines(self.report()[1], "5a")
        self.assertEqual(self.lines(self.measured(*self.change(1, 1, 1)), "5a"), before)

    def test_what_could_not_be_measured_stays_too(self):
        before = self.lines(self.report()[1], "2a")
        failed = run_of("2a One rule changed, 1000 rules", error_occurred=True)
        self.assertEqual(self.lines(self.measured(failed), "2a"), before)

    def test_writes_the_table_between_its_markers_and_the_picture(self):
        table = self.measured(*self.change(1, 1, 1))
        document = (self.root / "docs/performance.md").read_text(encoding="utf-8")
        self.assertEqual(document, "before\n<!-- table: written by tools/bench_report.py -->\n"
                         f"{table}<!-- end of table -->\nafter\n")
        self.assertIn("<svg ", (self.root / "docs/performance.svg").read_text(encoding="utf-8"))

    def test_finds_a_table_that_is_not_the_figures(self):
        code, output = self.report("--check")
        self.assertNotEqual(code, 0)
        self.assertIn("docs/performance.md, docs/performance.svg: stale", output)
        self.report()
        self.assertEqual(self.report("--check"), (0, ""))


if __name__ == "__main__":
    unittest.main()
