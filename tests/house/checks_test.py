#!/usr/bin/env python3
"""Sees that each check of the house finds the fault it is there for."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parent.parent
MARKERS = ("<!-- include picture: drawn by tools/include_graph.py -->\n"
           "<!-- end of include picture -->\n")


class CheckTest(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return path

    def run_check(self, script, *arguments):
        done = subprocess.run([sys.executable, script, *arguments], capture_output=True, text=True,
                              check=False)
        return done.returncode, done.stdout + done.stderr

    def assert_finds(self, result, fault):
        code, output = result
        self.assertIn(fault, output)
        self.assertNotEqual(code, 0)


class BehaviourTest(CheckTest):

    def setUp(self):
        super().setUp()
        self.write("docs/behaviour.md", "# Title\n\nText.\n\n- A rule drops.\n"
                   '- <a id="ports"></a>Ports count.\n')
        self.write("tests/behaviour/RulesTest.cpp",
                   "// A rule\n// drops.\nTEST_F(A, B) {}\n\n// Ports count.\nTEST(C, D) {}\n")

    def check(self):
        return self.run_check(HERE / "check_behaviour.py", "--root", self.root)

    def test_is_content_where_each_line_has_its_test(self):
        self.assertEqual(self.check(), (0, "2 lines, each with its test\n"))

    def test_finds_a_line_without_a_test(self):
        with (self.root / "docs/behaviour.md").open("a", encoding="utf-8") as document:
            document.write("- Names are reused.\n")
        self.assert_finds(self.check(), "no test has this above it: Names are reused.")

    def test_finds_a_test_whose_line_has_gone(self):
        self.write("docs/behaviour.md", "- A rule drops.\n")
        self.assert_finds(self.check(), "not a line of docs/behaviour.md: Ports count.")

    def test_finds_a_test_without_a_line(self):
        self.write("tests/behaviour/OtherTest.cpp", "TEST_F(E, F) {}\n")
        self.assert_finds(self.check(), "OtherTest.cpp: a test without a comment above it")


class BehaviourLinesTest(CheckTest):
    """The step of the build that makes a header of the named lines."""

    def header(self, page):
        done = subprocess.run(
            ["cmake", f"-Dbehaviour_page={self.write('behaviour.md', page)}",
             f"-Dbehaviour_template={TOP}/agent/Server/BehaviourLines.h.in",
             f"-Dbehaviour_header={self.root}/Lines.h", "-P", TOP / "agent/behaviour_lines.cmake"],
            capture_output=True, text=True, check=False)
        return done.returncode, " ".join(done.stderr.split())

    def quote(self, name):
        source = self.write("quote.cpp", '#include "Lines.h"\n'
                            f'constexpr std::string_view text = Agent::behaviourLine("{name}");\n'
                            'static_assert(text == R"x(A "rule"; [all] of `them` \\ @it@.)x");\n')
        done = subprocess.run([os.environ.get("CXX", "g++"), "-std=c++20", "-fsyntax-only", source],
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stderr

    PAGE = '# Title\n\n- Other.\n- <a id="a-rule"></a>A "rule"; [all] of `them` \\ @it@.\n'

    def test_takes_a_line_word_for_word(self):
        self.assertEqual(self.header(self.PAGE), (0, ""))
        self.assertEqual(self.quote("a-rule"), (0, ""))

    def test_finds_a_name_that_no_line_has(self):
        self.header(self.PAGE)
        result = self.quote("a-role")
        self.assert_finds(result, '"a-role"')
        self.assert_finds(result, "noLineOfDocsBehaviourIsNamedSo")

    def test_finds_a_name_that_two_lines_have(self):
        self.assert_finds(self.header(self.PAGE + '- <a id="a-rule"></a>Another.\n'),
                          'behaviour.md: two lines are named "a-rule"')

    def test_finds_a_name_in_another_form(self):
        for line in ('- Text. <a id="b"></a>\n', '- <a id="B c"></a>Text.\n', '- <a name="b"></a>Text.\n'):
            self.assert_finds(self.header(self.PAGE + line), "a line is named by")

    def test_finds_a_page_without_names(self):
        self.assert_finds(self.header("- Text.\n"), "no line is named")


class IncludeGraphTest(CheckTest):

    def setUp(self):
        super().setUp()
        self.write("ARCHITECTURE.md", "before\n" + MARKERS + "after\n")
        self.write("framework/Pith/Ptr.h", "#include <memory>\n")
        self.write("framework/Kiv/Dir.h", '#include "framework/Pith/Ptr.h"\n')
        self.write("model/Acl/List.h",
                   '#include "framework/Kiv/Dir.h"\n#include "framework/Pith/Ptr.h"\n')

    def graph(self, *arguments):
        return self.run_check(TOP / "tools/include_graph.py", "--root", self.root, *arguments)

    def test_draws_only_arrows_that_do_not_follow_from_others(self):
        self.assertEqual(self.graph(), (0, ""))
        document = (self.root / "ARCHITECTURE.md").read_text(encoding="utf-8")
        self.assertTrue(document.startswith("before\n<!-- include picture"))
        self.assertTrue(document.endswith("<!-- end of include picture -->\nafter\n"))
        arrows = [line.strip() for line in document.splitlines() if "-->" in line and "<!" not in line]
        self.assertEqual(arrows, ["framework_Kiv --> framework_Pith", "model_Acl --> framework_Kiv"])

    def test_finds_a_stale_picture(self):
        self.assert_finds(self.graph("--check"), "stale")
        self.graph()
        self.assertEqual(self.graph("--check"), (0, ""))
        self.write("model/Ip/Status.h", "#include <map>\n")
        self.assert_finds(self.graph("--check"), "stale")

    def test_finds_an_include_of_a_floor_above(self):
        self.write("framework/Kiv/Up.h", '#include "model/Acl/List.h"\n')
        self.assert_finds(self.graph(), "framework/Kiv/Up.h: includes model/Acl/List.h")

    def test_finds_an_include_of_a_stranger(self):
        self.write("framework/Lanx/IpAddr.h", '#include "framework/Kiv/Dir.h"\n')
        self.assert_finds(self.graph(), "framework/Lanx must not know")

    def test_finds_a_circle_of_files(self):
        self.write("model/Acl/Left.h", '#include "model/Acl/Right.h"\n')
        self.write("model/Acl/Right.h", '#include "model/Acl/Left.h"\n')
        self.assert_finds(self.graph(),
                          "a circle: model/Acl/Left.h -> model/Acl/Right.h -> model/Acl/Left.h")

    def test_finds_a_circle_of_folders(self):
        self.write("model/Ip/Entry.h", '#include "model/Acl/List.h"\n')
        self.write("model/Ip/Status.h", "")
        self.write("model/Acl/Rule.h", '#include "model/Ip/Status.h"\n')
        self.assert_finds(self.graph(), "a circle: model/Acl -> model/Ip -> model/Acl")

    def test_finds_an_include_that_is_not_from_the_top(self):
        self.write("framework/Kiv/Near.h", '#include "Dir.h"\n')
        self.assert_finds(self.graph(), '"Dir.h" is no file from the top of the tree')

    def test_finds_a_header_that_is_not_of_the_standard_library(self):
        self.write("framework/Kiv/Far.h", "#  include <boost/container/flat_map.hpp>\n")
        self.assert_finds(self.graph(), "<boost/container/flat_map.hpp> is not of the C++ standard library")

    def test_finds_an_include_that_runs_up_the_layers_of_a_folder(self):
        self.write("agent/Document/Node.h", "#include <yaml.h>\n")
        self.write("agent/Store/Plan.h", '#include "agent/Document/Node.h"\n')
        self.write("agent/main.cpp", '#include "agent/Store/Plan.h"\n')
        self.assertEqual(self.graph(), (0, ""))
        document = (self.root / "ARCHITECTURE.md").read_text(encoding="utf-8")
        self.assertIn("agent_ --> agent_Store\n  agent_Store --> agent_Document\n", document)
        self.write("agent/Document/Up.h", '#include "agent/Store/Plan.h"\n')
        self.assert_finds(self.graph(), "agent/Document/Up.h: includes agent/Store/Plan.h, which "
                                        "comes after it in the order of agent")

    def test_finds_a_folder_that_has_no_place_among_the_layers(self):
        self.write("agent/Attic/Box.h", "")
        self.assert_finds(self.graph(), "agent/Attic: has no place in the order of agent (LAYERS)")

    def test_takes_a_header_that_the_build_makes_from_one_in_the_tree(self):
        self.write("agent/Server/Made.h.in", "#include <map>\n@lines@\n")
        self.write("agent/Server/User.cpp", '#include "agent/Server/Made.h"\n')
        self.assertEqual(self.graph(), (0, ""))

    def test_finds_a_library_that_includes_the_program(self):
        self.write("agent/Document/Node.h", "")
        self.write("Firewall/Up.h", '#include "agent/Document/Node.h"\n')
        self.assert_finds(self.graph(), "Firewall/Up.h: includes agent/Document/Node.h, which is on "
                                        "a floor above")

    def test_lets_only_sources_include_the_operating_system(self):
        self.write("framework/Kiv/File.cpp", "#include <sys/mman.h>\n")
        self.assertEqual(self.graph(), (0, ""))
        self.write("framework/Kiv/File.h", "#include <sys/mman.h>\n")
        self.assert_finds(self.graph(), "framework/Kiv/File.h: <sys/mman.h> is not")


class FilesTest(CheckTest):

    def setUp(self):
        super().setUp()
        subprocess.run(["git", "init", "-q", self.root], check=True)
        self.write("README.md", "fine\n")

    def files(self):
        return self.run_check(HERE / "check_files.py", "--root", self.root)

    def test_finds_a_source_that_is_too_long(self):
        self.write("a.cpp", "\n" * 801)
        code, output = self.files()
        self.assertEqual(code, 0)
        self.assertIn("a.cpp: 801 lines, better fewer", output)
        self.write("a.cpp", "\n" * 901)
        self.assert_finds(self.files(), "a.cpp: 901 lines, more than 900")

    def test_finds_a_path_of_one_machine(self):
        self.write("docs/a.md", "first\ncd /" + "work/there\n")
        self.assert_finds(self.files(), "docs/a.md:2: a path of one machine")

    def test_ignores_what_git_ignores(self):
        self.write(".gitignore", "/build/\n")
        self.write("build/log", "/" + "root/x\n")
        self.assertEqual(self.files(), (0, "2 files are in order\n"))


class LibrariesTest(CheckTest):

    def build(self, name, source, *options):
        library = self.root / f"lib{name}.so"
        subprocess.run(
            [os.environ.get("CXX", "g++"), "-shared", "-fPIC", "-fvisibility=hidden",
             self.write(f"{name}.cpp", source), "-o", library, f"-Wl,-soname,lib{name}.so.1",
             "-Wl,--no-as-needed", *options], check=True)
        return library

    def libraries(self, *libraries):
        return self.run_check(HERE / "check_libraries.py", "--namespaces", "Pith", *libraries)

    GOOD = 'namespace Pith { [[gnu::visibility("default")]] int one() { return 1; } }\n'

    def test_accepts_what_uses_another_of_them(self):
        first = self.build("First", self.GOOD)
        second = self.build("Second", self.GOOD, first)
        self.assertEqual(self.libraries(first, second), (0, ""))

    def test_finds_a_library_that_must_not_be_needed(self):
        first = self.build("First", self.GOOD)
        second = self.build("Second", self.GOOD, first)
        self.assert_finds(self.libraries(second), "libSecond.so: needs libFirst.so.1")

    def test_finds_a_name_outside_the_namespaces(self):
        text = self.GOOD + '[[gnu::visibility("default")]] int two() { return 2; }\n'
        self.assert_finds(self.libraries(self.build("First", text)), "libFirst.so: exports two")

    def test_finds_an_instantiation_of_a_standard_template(self):
        text = ("#include <vector>\n" + self.GOOD +
                'namespace Pith { struct [[gnu::visibility("default")]] A {}; }\n'
                "template class std::vector<Pith::A>;\n")
        self.assert_finds(self.libraries(self.build("First", text)),
                          "libFirst.so: exports std::vector<Pith::A")

    def test_finds_a_library_that_exports_nothing(self):
        library = self.build("First", "int one() { return 1; }\n", "-nostdlib")
        self.assert_finds(self.libraries(library), "libFirst.so: exports nothing")

    def test_finds_a_second_copy_of_a_variable(self):
        text = self.GOOD + ("namespace Pith { inline int count = 1; inline int& next() {\n"
                            "static int calls = 2; ++calls; return calls; }\n"
                            '[[gnu::visibility("default")]] int two() { return ++count + next(); } }\n')
        result = self.libraries(self.build("First", text), self.build("Second", text))
        self.assert_finds(result, "Pith::count: a copy in each of libFirst.so, libSecond.so")
        self.assert_finds(result, "Pith::next()::calls: a copy")

    def test_lets_two_sources_have_a_variable_of_the_same_name(self):
        text = self.GOOD + ("namespace Pith { namespace { int count = 1; } static int calls = 2;\n"
                            "static int next() { static int step = 3; return ++step; }\n"
                            '[[gnu::visibility("default")]] int two() {\n'
                            "return ++count + ++calls + next(); } }\n")
        self.assertEqual(self.libraries(self.build("First", text), self.build("Second", text)), (0, ""))


if __name__ == "__main__":
    unittest.main()
