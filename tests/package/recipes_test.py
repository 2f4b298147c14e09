#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The recipes in packaging/ and the Debian files agree with the project: version, options, licence."""
import ast
import json
import re
import unittest
from pathlib import Path

root = Path(__file__).resolve().parents[2]
project = (root / "CMakeLists.txt").read_text(encoding="utf-8")
version = re.search(r"^ +VERSION ([0-9.]+)", project, re.M).group(1)
lists = ["CMakeLists.txt", "python/CMakeLists.txt", "tests/CMakeLists.txt"]
options = {option for name in lists
           for option in re.findall(r"(?:option|set)\((\w+)", (root / name).read_text(encoding="utf-8"))}


def text(name):
    return (root / name).read_text(encoding="utf-8")


class recipes(unittest.TestCase):
    def test_all_have_the_version_of_the_project(self):
        self.assertEqual(version, json.loads(text("packaging/vcpkg/vcpkg.json"))["version"])
        self.assertIn(f'version = "{version}"', text("packaging/conan/conanfile.py"))
        self.assertTrue(text("debian/changelog").startswith(f"tessel2d ({version}) "))

    def test_all_name_options_that_exist(self):
        for name in ("packaging/vcpkg/portfile.cmake", "packaging/conan/conanfile.py", "debian/rules"):
            named = set(re.findall(r"(?:-D|\b)(ZEL_[A-Z_]+)", text(name)))
            self.assertTrue(named, name)
            self.assertEqual(set(), named - options, name)

    def test_the_recipe_for_conan_is_python(self):
        ast.parse(text("packaging/conan/conanfile.py"))

    def test_the_recipe_for_conan_takes_what_exists(self):
        listed = text("packaging/conan/conanfile.py").split("for part in (")[1].split("):")[0]
        for part in re.findall(r'"([^"]+)"', listed):
            self.assertTrue(any(root.glob(part)), part)

    def test_licence(self):
        self.assertEqual("Apache-2.0", json.loads(text("packaging/vcpkg/vcpkg.json"))["license"])
        self.assertIn("Version 2.0, January 2004", text("LICENSE"))


if __name__ == "__main__":
    unittest.main()
