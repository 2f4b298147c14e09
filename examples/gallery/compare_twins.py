#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs each program of the gallery and its twin in Python: both must print the same checksum.

    compare_twins.py <folder of the programs> <folder of the Python package>
"""

import contextlib
import io
import runpy
import subprocess
import sys
import tempfile
from pathlib import Path

programs, package = Path(sys.argv[1]), sys.argv[2]
here = Path(__file__).resolve().parent
sys.path[:0] = [package, str(here)]
twins = sorted(path for path in here.glob("*.py") if path.stem not in ("shapes", Path(__file__).stem))
sources = {path.stem for path in here.glob("*.cpp")} - {"figure"}

problems = [f"{name}: no twin" for name in sorted(sources - {twin.stem for twin in twins})]
problems += [f"{twin.stem}: no program" for twin in twins if twin.stem not in sources]
for twin in twins:
    if twin.stem not in sources:
        continue
    with tempfile.TemporaryDirectory() as where:
        printed = subprocess.run([programs.resolve() / twin.stem], cwd=where, capture_output=True, text=True,
                                 check=True).stdout
    out = io.StringIO()
    with contextlib.redirect_stdout(out):
        runpy.run_path(str(twin), run_name="__main__")
    if out.getvalue() != printed:
        problems.append(f"{twin.stem}: {printed.strip()} in C++, {out.getvalue().strip()} in Python")
print("\n".join(problems) or f"{len(twins)} twins agree")
sys.exit(1 if problems or not twins else 0)
