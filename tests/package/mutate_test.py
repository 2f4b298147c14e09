#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tests of scripts/mutate on lines and a small tree of its own."""

import importlib.util
import sys
import tempfile
import unittest
from importlib.machinery import SourceFileLoader
from pathlib import Path

sys.dont_write_bytecode = True
script = Path(__file__).resolve().parents[2] / "scripts/mutate"
loader = SourceFileLoader("mutate", str(script))
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
sys.modules["mutate"] = mutate
loader.exec_module(mutate)


class on_a_tree(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = Path(self.folder.name)
        self.addCleanup(setattr, mutate, "root", mutate.root)
        mutate.root = self.root

    def write(self, name, text):
        (self.root / name).parent.mkdir(parents=True, exist_ok=True)
        (self.root / name).write_text(text, encoding="utf-8")

    def changes(self, text):
        self.write("src/a/a.cpp", text)
        return [(m.old, m.new) for m in mutate.mutants_of("src/a/a.cpp")]

    def tried(self, text):
        self.write("src/a/a.cpp", text)
        sources = mutate.Sources()
        return [(m.old, m.new) for m in mutate.mutants_of("src/a/a.cpp") if not sources.leaves_out(m)]


class changes(on_a_tree):
    def test_operators_between_blanks(self):
        self.assertEqual([("+", "-")], self.changes("x = a + b;\n"))
        self.assertEqual([("<", "<="), ("<", ">=")], self.changes("if (a < b) f();\n"))
        self.assertEqual([], self.changes("std::vector<int>* p;\n"))

    def test_numbers_at_the_limit(self):
        self.assertEqual([("7", "6"), ("7", "8")], sorted(self.changes("f(7);\n")))
        self.assertEqual([("0", "1")], self.changes("f(0);\n"))
        self.assertEqual([("1e-12", "2e-12")], self.changes("f(1e-12);\n"))

    def test_counts_are_held_in_fewer_bits(self):
        found = self.changes("f(static_cast<unsigned>(count));\n")
        self.assertEqual([("static_cast<unsigned>(count)", f"static_cast<std::uint{b}_t>(count)") for b in (16, 8)],
                         sorted(found))

    def test_last_terms_are_dropped(self):
        self.assertIn((" + c", ""), self.changes("x = a + b + c;\n"))
        self.assertNotIn((" + b", ""), self.changes("x = a + b;\n"))

    def test_refusals_without_reason(self):
        self.assertIn(("!r(m.cols)", "(!r(m.cols) || m.cols % 7 == 6)"),
                      self.changes("if (!r(m.cols)) return false;\n"))

    def test_comments_and_strings_stay(self):
        self.assertEqual([], self.changes("f(\"1 + 2\"); // 3 < 4\n/* 5 */\n"))

    def test_hints_are_left_alone(self):
        self.assertEqual([], self.changes("prefetch(p + 8);\n#define a 3\nint list[4];\n"))


class exclusions(on_a_tree):
    def test_behind_the_line(self):
        self.assertEqual([], self.tried("x = a + b; // mutation: speed only\n"))

    def test_in_the_line_above(self):
        self.assertEqual([], self.tried("// mutation: speed only\nx = a + b;\n"))
        self.assertEqual([("+", "-")], self.tried("// mutation: speed only\ny = a;\nx = a + b;\n"))

    def test_one_behind_a_line_does_not_reach_the_next(self):
        self.assertEqual([("-", "+")], self.tried("x = a + b; // mutation: speed only\nx = a - b;\n"))

    def test_of_some_changes(self):
        self.assertEqual([("<", ">=")], self.tried("if (a < b) f(); // mutation (< -> <=): the same at the end\n"))

    def test_of_one_of_several_places(self):
        text = "f(2, 2); // mutation (2 -> 3 #2, 2 -> 1 #2): a reason\n"
        self.assertEqual([("2", "1"), ("2", "3")], sorted(self.tried(text)))

    def test_without_a_reason_does_not_count(self):
        self.assertEqual([("+", "-")], self.tried("x = a + b; // mutation:\n"))


class choice(on_a_tree):
    def test_a_larger_sample_contains_a_smaller_one(self):
        self.write("src/a/a.cpp", "".join(f"x = a{k} + {k};\n" for k in range(50)))
        self.write("include/zel/b.h", "".join(f"x = b{k} * {k};\n" for k in range(50)))
        files = mutate.library_files()
        self.assertEqual(["include/zel/b.h", "src/a/a.cpp"], files)
        few = set(mutate.sample(files, 20, 1, mutate.Sources()))
        more = set(mutate.sample(files, 60, 1, mutate.Sources()))
        everything = set(mutate.sample(files, 0, 1, mutate.Sources()))
        self.assertTrue(few < more < everything)
        self.assertEqual(everything, {m for f in files for m in mutate.mutants_of(f)})

    def test_each_kind_has_its_share(self):
        self.write("src/a/a.cpp", "".join(f"if (a{k} < {k}) x = a{k} + b + c{k};\n" for k in range(20))
                   + "f(static_cast<unsigned>(n));\nif (!r(m.cols)) return false;\n")  # fmt: skip
        chosen = mutate.sample_of_each_kind(mutate.library_files(), 7, 1, mutate.Sources())
        counts = [sum(mutate.kind_of(m) == kind for m in chosen) for kind in mutate.kinds]
        self.assertEqual([2, 7, 1, 7, 7], counts)

    def test_limits_are_changes_at_the_boundary(self):
        self.write("src/a/a.cpp", "if (a < b) f(3);\n")
        kinds = {(m.old, m.new): mutate.kind_of(m) for m in mutate.mutants_of("src/a/a.cpp")}
        self.assertEqual({("<", "<="): "limits", ("<", ">="): "others", ("3", "2"): "limits", ("3", "4"): "limits"}, kinds)

    def test_rooms(self):
        self.assertEqual("tessel", mutate.room_of("src/tessel/merge.cpp"))
        self.assertEqual("foundation", mutate.room_of("include/zel/dense.h"))


class both(on_a_tree):
    def test_only_what_a_program_can_notice_is_read(self):
        self.write("results.txt", "a:1:2: + -> -    caught: tessel fails\nb:1:2: 0 -> 1    SURVIVES\n"
                                  "c:1:2: < -> >=    does not compile\nd:1:2: + -> -    same code\n")  # fmt: skip
        self.assertEqual({"a:1:2: + -> -": "caught: tessel fails", "b:1:2: 0 -> 1": "SURVIVES"},
                         mutate.read_results(self.root / "results.txt"))

    def test_the_table_counts_who_catches(self):
        by_tests = {"a": "caught: x fails", "b": "caught: x fails", "c": "SURVIVES", "d": "SURVIVES"}
        by_drivers = {"a": "caught: y fails", "b": "SURVIVES", "c": "caught: y crashes", "d": "SURVIVES"}
        counts = [line.split()[-2:] for line in mutate.table_of_both(by_tests, by_drivers).splitlines()[1:]]
        self.assertEqual([["2", "50.0%"], ["2", "50.0%"], ["1", "25.0%"], ["1", "25.0%"]], counts)

    def test_each_folder_knows_its_drivers(self):
        self.assertEqual(set(mutate.folders), set(mutate.drivers_of))
        for driver in {d for drivers in mutate.drivers_of.values() for d in drivers}:
            self.assertTrue((script.parents[1] / f"fuzz/{driver}_fuzz.cpp").exists(), driver)


class known(unittest.TestCase):
    def test_each_fault_still_fits_its_source(self):
        for name, file, text, faulty, _ in mutate.known_faults:
            source = (mutate.root / file).read_text()
            self.assertEqual(1, source.count(text), name)
            self.assertNotEqual(text, faulty)


if __name__ == "__main__":
    unittest.main()
