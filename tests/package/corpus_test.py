#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tests of scripts/lib/corpus.py, and that the corpora in the tree are as it packs them."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

root = Path(__file__).resolve().parents[2]


def corpus(*words):
    script = root / "scripts/lib/corpus.py"
    return subprocess.run([sys.executable, script, *words], check=True, stdout=subprocess.PIPE, text=True).stdout


class packing(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = Path(folder.name)

    def test_names_and_doubles_make_no_difference(self):
        inputs = [b"\x00\xff\n", b"a", b"ab", b"aa"]
        for name, order in {"one": inputs, "two": inputs[::-1] + [b"a", b""]}.items():
            (self.work / name).mkdir()
            for number, data in enumerate(order):
                (self.work / name / f"{name}{number}").write_bytes(data)
            corpus("pack", self.work / name, self.work / f"{name}.txt")
        self.assertEqual((self.work / "one.txt").read_bytes(), (self.work / "two.txt").read_bytes())
        self.assertEqual("4\n", corpus("count", self.work / "one.txt"))

    def test_each_corpus_survives_a_round(self):
        files = sorted((root / "fuzz/corpus").glob("*.txt"))
        self.assertTrue(files)
        for file in files:
            corpus("unpack", file, self.work / file.stem)
            corpus("pack", self.work / file.stem, self.work / file.name)
            self.assertEqual(file.read_bytes(), (self.work / file.name).read_bytes(), file.name)


if __name__ == "__main__":
    unittest.main()
