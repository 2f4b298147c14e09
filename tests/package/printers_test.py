#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks what gdb prints for the containers: a program with the installed library, stopped in batch mode.

    printers_test.py <stage> <libdir> <compiler> <gdb> <directory to build in>

gdb is given the installed tree as a place it trusts, as it trusts /usr, and must find the printers there
by itself.
"""

import os
import re
import subprocess
import sys
from pathlib import Path

stage, libdir, compiler, gdb, work = sys.argv[1:]
here = Path(__file__).resolve().parent
lib = os.path.join(os.path.realpath(stage), libdir)

# expression -> what must appear behind "$n = "
expected = {
    "pos": "dense2D<double> 2 x 4 (ld 2) = {{0, 0}, {1, 0}, {1, 1}, {0, 1}}",
    "part": "dense2D<double> 1 x 2 (ld 2) = {{0}, {1}}",
    "mixed": "dense2D<unsigned int> 4 x 1 (ld 4) = {{7, 7, 7, 4294967295}}",
    "graded": "dense1D<double> 3 = {0.25, 0.5, 1}",
    "none": "dense1D<unsigned int> 0",
    "centre": "vector_fixed<double, 2> = {1, 2}",
    "size": "symmetric_fixed<double, 2> = {1, 0, 4}",
    "moved": "dense2D<double> 0 x 0 (ld 0)",
    "*early": "dense2D<double> 0 x 0 (ld 0)",
    "*graded.storage.__object": "3 double in the caller's memory at 0x",
    "*pos.storage.__object": "8 double in memory of the block's own at 0x",
}


def gdb_output(program, commands):
    """The lines that gdb prints when it stops in `look` and does these commands."""
    arguments = [gdb, "-nx", "-nh", "-batch",
                 "-iex", "set debuginfod enabled off",
                 "-iex", "add-auto-load-safe-path " + os.path.realpath(stage),
                 "-iex", "add-auto-load-scripts-directory %s/share/gdb/auto-load"
                         % os.path.realpath(stage),
                 "-ex", "break look", "-ex", "run", "-ex", "up"]
    for command in commands:
        arguments += ["-ex", command]
    run = subprocess.run(arguments + [program], capture_output=True, text=True, timeout=120)
    return run.stdout.splitlines() + run.stderr.splitlines()


def main():
    os.makedirs(work, exist_ok=True)
    program = os.path.join(work, "printed")
    subprocess.run([compiler, "-std=c++17", "-g", "-O0", "-o", program,
                    str(here / "printers" / "main.cpp"),
                    "-I", os.path.join(stage, "include", "zel-tessel2d"),
                    "-L", lib, "-lzel_tessel2d", "-Wl,-rpath," + lib], check=True)
    extra = ["many", "*wild"]
    lines = gdb_output(program, ["print " + name for name in [*expected, *extra]])
    values = [line.split(" = ", 1)[1] for line in lines if re.match(r"\$\d+ = ", line)]
    wrong = 0
    if len(values) < len(expected) + len(extra):
        print("\n".join(lines))
        return 1
    for (name, words), value in zip(expected.items(), values):
        good = value.startswith(words) and (words.endswith("0x") or value == words)
        if not good:
            print("print %s\n  gives    %s\n  expected %s" % (name, value, words))
            wrong += 1
    many, wild = values[len(expected):]
    if not many.startswith("dense2D<double> 3 x 5000000 (ld 3) = {{0.5, 0.5, 0.5}") or len(many) > 20000:
        print("a large matrix is not cut short:", many[:200])
        wrong += 1
    if not wild.startswith("dense2D<double> ") or "Traceback" in "\n".join(lines):
        print("an object that is not constructed:", wild[:200])
        wrong += 1
    print("%d expressions, %d wrong" % (len(values), wrong))
    return wrong != 0


sys.exit(main())
