#!/usr/bin/env python3
"""Tests of scripts/check-functions on a small project of its own."""

import importlib.util
import sys
import tempfile
import unittest
from importlib.machinery import SourceFileLoader
from pathlib import Path

sys.dont_write_bytecode = True
script = Path(__file__).resolve().parents[2] / "scripts/check-functions"
loader = SourceFileLoader("check_functions", str(script))
checker = importlib.util.module_from_spec(importlib.util.spec_from_loader("check_functions", loader))
loader.exec_module(checker)

area = "zel::tessel2d::area(zel::dense2D<unsigned int> const&, zel::dense2D<double> const&, double&)"
area_row = "area(const dense2D<unsigned>&, const dense2D<double>&, double&)"

project = {
    "include/m.h": "/// Like perimeter().\nint area(int);\n",
    "tests/a/CMakeLists.txt": "zel_add_tests(a area_test.cpp) # other_test.cpp\n",
    "tests/a/area_test.cpp": "TEST(Area, OfASquare) { area(); }\nTEST_F(Area, ExhaustedMemory) {}\n",
    "tests/a/other_test.cpp": "TEST(Area, OfASquare) { area(); }\n",
    "fuzz/CMakeLists.txt": "zel_add_fuzzer(a)\n",
    "fuzz/a_fuzz.cpp": "area();\n",
    "bench/CMakeLists.txt": "zel_add_benchmark(a)\n",
    "bench/a_bench.cpp": "void area_flat() { area(); }\nBENCHMARK(area_flat)->Range(8, 64);\n",
    "examples/CMakeLists.txt": "zel_add_example(e)\n",
    "examples/e.cpp": "//! [first]\narea();\n//! [first]\n//! [second]\nlength();\n//! [second]\n"
                      "//! [third]\narea();\n",
}

good = {
    "function": f"`{area_row}`",
    "header": "`include/m.h`",
    "test": "`tests/a/area_test.cpp: Area`",
    "memory-failure test": "`tests/a/area_test.cpp: Area.ExhaustedMemory`",
    "fuzz driver": "`fuzz/a_fuzz.cpp`",
    "benchmark": "`bench/a_bench.cpp: area`",
    "example": "`examples/e.cpp: first`",
}


def page(*rows, section="Measures"):
    lines = [f"## {section}", "", "| " + " | ".join(checker.columns) + " |", "|---" * 7 + "|"]
    return "\n".join(lines + ["| " + " | ".join(row.values()) + " |" for row in rows]) + "\n"


class names(unittest.TestCase):
    def expect_rows(self, rows, *symbols):
        self.assertEqual(rows, sorted(checker.wanted_rows(symbols)))

    def test_types_are_written_as_people_write_them(self):
        self.expect_rows([area_row], area)
        self.expect_rows(["f(const dense1D<unsigned, 8>&, const double*, size_t)"],
                         "zel::tessel2d::f(zel::dense1D<unsigned int, 8> const&, double const*, "
                         "unsigned long)")

    def test_overloads_have_rows_of_their_own(self):
        self.expect_rows(["f(double)", "f(int)"], "zel::tessel2d::f(int)", "zel::tessel2d::f(double)")

    def test_no_parameters(self):
        self.expect_rows(["version()"], "zel::tessel2d::version()")

    def test_other_namespaces_stay_in_the_name(self):
        self.expect_rows(["lapack::solve(int)"], "zel::lapack::solve(int)")

    def test_members_of_a_class_share_a_row(self):
        self.expect_rows(["tessel::finder"], "zel::tessel::finder::finder(int)",
                         "zel::tessel::finder::add(int)", "zel::tessel::finder::find() const")
        self.expect_rows(["finder"], "zel::tessel2d::finder::find(int) const")

    def test_members_of_a_class_template_share_a_row(self):
        self.expect_rows(["dense1D"], "zel::dense1D<double, 8>::data()",
                         "zel::dense1D<unsigned int, 8>::operator()(unsigned long) const",
                         "zel::dense1D<double, 8>::none()::kept")

    def test_descriptions_of_types_and_statics_need_no_row(self):
        self.expect_rows([], "vtable for zel::vector_num<double, 8>", "zel::tessel2d::f()::cache",
                         "guard variable for zel::tessel2d::f()::cache", "zel::tessel2d::limit")


class pages(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = Path(self.folder.name)
        for name, text in project.items():
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            (self.root / name).write_text(text, encoding="utf-8")

    def problems(self, text, symbols=(area,)):
        return checker.check_page(text, list(symbols), checker.sources(self.root))

    def expect_problem(self, words, **cells):
        found = self.problems(page({**good, **{k.replace("_", " "): v for k, v in cells.items()}}))
        self.assertEqual(1, len(found), found)
        self.assertIn(words, found[0])

    def test_good_page_passes(self):
        self.assertEqual([], self.problems(page(good)))

    def test_several_places_in_a_cell(self):
        cell = "`tests/a/area_test.cpp: Area.OfASquare`<br>`tests/a/area_test.cpp: Area`"
        self.assertEqual([], self.problems(page({**good, "test": cell})))
        self.expect_problem("no test Volume", test=cell + "<br>`tests/a/area_test.cpp: Volume`")

    def test_function_without_row(self):
        found = self.problems(page(good), [area, "zel::tessel2d::angles(double)"])
        self.assertEqual(["no row for angles(double)"], found)

    def test_row_without_function(self):
        found = self.problems(page(good), ["zel::tessel2d::area(double)"])
        self.assertEqual(2, len(found))
        self.assertIn("no exported function", found[0])

    def test_two_rows_for_one_function(self):
        found = self.problems(page(good, good))
        self.assertEqual(1, len(found))
        self.assertIn("already", found[0])

    def test_missing_cell(self):
        found = self.problems(page({k: v for k, v in good.items() if k != "header"}))
        self.assertIn("6 cells", found[0])

    def test_dash_only_where_allowed(self):
        for column in checker.columns[1:]:
            found = self.problems(page({**good, column: "-"}))
            self.assertEqual(1, len(found), column)
            self.assertIn("not allowed", found[0])

    def test_own_function_among_the_services(self):
        found = self.problems(page(good, section=checker.services))
        self.assertIn("does not belong", found[0])

    def test_empty_cell(self):
        self.expect_problem("not of the form", test="")

    def test_header_without_the_declaration(self):
        self.expect_problem("does not exist", header="`include/n.h`")
        (self.root / "include/m.h").write_text("// area\n", encoding="utf-8")
        self.expect_problem("does not declare")

    def test_test_that_does_not_exist(self):
        self.expect_problem("no test Areas", test="`tests/a/area_test.cpp: Areas`")
        self.expect_problem("no test Area.OfACircle", test="`tests/a/area_test.cpp: Area.OfACircle`")
        self.expect_problem("does not exist", test="`tests/a/no_test.cpp: Area`")

    def test_test_that_is_not_built(self):
        self.expect_problem("is not built", test="`tests/a/other_test.cpp: Area`")

    def test_memory_test_must_be_one(self):
        self.expect_problem("named for memory",
                            **{"memory-failure test": "`tests/a/area_test.cpp: Area.OfASquare`"})

    def test_benchmark_that_does_not_exist(self):
        self.expect_problem("no benchmark are", benchmark="`bench/a_bench.cpp: are`")

    def test_snippet(self):
        self.expect_problem("no snippet", example="`examples/e.cpp: fourth`")
        self.expect_problem("no snippet", example="`examples/e.cpp: third`")
        self.expect_problem("does not call", example="`examples/e.cpp: second`")

    def test_snippets_that_headers_refer_to(self):
        files = checker.sources(self.root)
        self.assertEqual([], checker.check_header_snippets(files, ["include/m.h"]))
        (self.root / "include/k.h").write_text("/// @snippet examples/e.cpp first\n"
                                               "/// @snippet examples/e.cpp fifth\n")
        self.assertEqual(["include/k.h: no snippet fifth in examples/e.cpp"],
                         checker.check_header_snippets(files, ["include/k.h"]))


if __name__ == "__main__":
    unittest.main()
