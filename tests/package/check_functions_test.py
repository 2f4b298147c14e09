#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
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
    "include/m.h": "namespace zel::tessel2d {\n/// Measures. And more.\n/// @snippet examples/e.cpp first\n"
                   "ZEL_TESSEL2D_API int area(int);\n/// Like area().\nint angle(int);\n}\n",
    "tests/a/CMakeLists.txt": "zel_add_tests(a area_test.cpp) # other_test.cpp\n",
    "tests/a/area_test.cpp": "TEST(Area, OfASquare) { area(); }\nTEST_F(Area, ExhaustedMemory) {}\n",
    "tests/a/other_test.cpp": "TEST(Angle, OfASquare) { angle(); }\n",
    "fuzz/CMakeLists.txt": "zel_add_fuzzer(a)\n",
    "fuzz/a_fuzz.cpp": "area();\n",
    "bench/CMakeLists.txt": "zel_add_benchmark(a)\n",
    "bench/a_bench.cpp": "void area_flat() { area(); }\nBENCHMARK(area_flat)->Range(8, 64);\n",
    "examples/CMakeLists.txt": "zel_add_example(e)\n",
    "examples/e.cpp": "//! [zeroth]\narea();\n//! [zeroth]\n//! [first]\narea();\n//! [first]\n"
                      "//! [second]\nlength(); // area\n//! [second]\n//! [third]\narea();\n",
}


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
                         "guard variable for zel::tessel2d::f()::cache", "zel::tessel2d::limit",
                         "zel::block<zel::list<double> >::value")


class functions(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = Path(self.folder.name)
        for name, text in project.items():
            self.write(name, text)

    def write(self, name, text):
        (self.root / name).parent.mkdir(parents=True, exist_ok=True)
        (self.root / name).write_text(text, encoding="utf-8")

    def problems(self, symbols=(area,), listed=None, by_hand="", page=None):
        files = checker.sources(self.root)
        rows = checker.all_rows(files, symbols)
        if page is None:
            page = f"{checker.begin_mark}\n{checker.index(files, rows)}{checker.end_mark}\n{by_hand}"
        return checker.check(files, rows, [area_row] if listed is None else listed, page)

    def expect_problem(self, words, **options):
        found = self.problems(**options)
        self.assertEqual(1, len(found), found)
        self.assertIn(words, found[0])

    def test_good_project_passes(self):
        self.assertEqual([], self.problems())

    def test_the_list_holds_what_is_exported_and_nothing_else(self):
        self.expect_problem("not in functions.txt: area(", listed=[])
        self.expect_problem("no such function is exported: angles()", listed=[area_row, "angles()"])

    def test_declaration(self):
        self.write("include/m.h", "namespace zel::tessel2d {\n// ZEL_TESSEL2D_API int area(int);\n"
                                  "ZEL_TESSEL2D_API int angle(int area);\n}\n")
        self.expect_problem("no header")

    def test_declaration_in_another_namespace(self):
        self.write("include/m.h", "namespace zel::tessel {\nZEL_TESSEL2D_API int area(int);\n}\n")
        self.expect_problem("no header")

    def test_test(self):
        self.write("tests/a/area_test.cpp", "TEST(Area, ExhaustedMemory) {} // area()\n")
        self.assertEqual(["test", "memory-failure test"], [p.split(": no ")[1] for p in self.problems()])

    def test_test_that_is_not_built(self):
        self.write("tests/a/CMakeLists.txt", "zel_add_tests(a other_test.cpp) # area_test.cpp\n")
        self.assertEqual(2, len(self.problems()))

    def test_memory_test(self):
        self.write("tests/a/area_test.cpp", "TEST(Area, OfASquare) { area(); }\n")
        self.expect_problem("no memory-failure test")

    def test_fuzz_driver(self):
        self.write("fuzz/a_fuzz.cpp", "areas(); // area\n")
        self.expect_problem("no fuzz driver")

    def test_benchmark(self):
        self.write("bench/a_bench.cpp", "void areas() { area(); }\nBENCHMARK(areas);\n")
        self.expect_problem("no benchmark")

    def test_example(self):
        self.write("examples/e.cpp", "//! [second]\nlength(); // area\n//! [second]\n//! [third]\narea();\n")
        found = self.problems()
        self.assertIn(f"{area_row}: no example", found)

    def test_own_function_and_service_may_go_without_different_things(self):
        for name in ["tests/a/area_test.cpp", "fuzz/a_fuzz.cpp", "bench/a_bench.cpp"]:
            self.write(name, "")
        self.write("include/m.h", "namespace zel::tessel2d {\nZEL_TESSEL2D_API int area(int);\n}\n"
                                  "namespace zel::tessel {\nZEL_TESSEL2D_API int area(int);\n}\n")
        self.assertEqual(4, len(self.problems()))
        self.expect_problem("no test", symbols=["zel::tessel::area(int)"], listed=["tessel::area(int)"])

    def test_index_has_first_sentence_header_and_the_example_of_the_comment(self):
        files = checker.sources(self.root)
        self.assertIn("| `area` | Measures | [m.h](../include/m.h) | [e.cpp](../examples/e.cpp) `first` |",
                      checker.index(files, checker.all_rows(files, [area])).replace("include/m.h](", "m.h]("))

    def test_index_that_is_not_up_to_date(self):
        self.expect_problem("not up to date", page=f"{checker.begin_mark}\n{checker.end_mark}\n")

    def test_companions(self):
        row = "| `host::area` | measures | [m.h](../include/m.h) | [e.cpp](../examples/e.cpp) `first` |\n"
        self.assertEqual([], self.problems(by_hand=row))
        self.assertEqual([], self.problems(by_hand=row.replace("[e.cpp](../examples/e.cpp) `first`", "-")))
        self.expect_problem("file that exists", by_hand=row.replace("include/m.h", "include/n.h"))
        self.expect_problem("no snippet third", by_hand=row.replace("first", "third"))
        self.expect_problem("does not mention areas",
                            by_hand=row.replace("area`", "areas`").replace("[e.cpp](../examples/e.cpp) `first`", "-"))
        self.expect_problem("3 cells", by_hand=row.replace(" measures |", ""))

    def test_snippets_that_headers_refer_to(self):
        self.write("include/k.h", "/// @snippet examples/e.cpp first\n/// @snippet examples/e.cpp fifth\n")
        self.expect_problem("include/k.h: no snippet fifth in examples/e.cpp")


if __name__ == "__main__":
    unittest.main()
