# SPDX-License-Identifier: Apache-2.0
"""Builds the native module of the Python package by CMake, which needs pybind11 and LAPACK.

TESSEL2D_BUILD may name a build directory that exists already; without it the module is built anew.
"""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

root = Path(__file__).resolve().parent


def version():
    found = re.search(r"^\s*VERSION ([\d.]+)", (root / "CMakeLists.txt").read_text(), re.M)
    return found.group(1)


class cmake_build(build_ext):
    """Runs CMake and puts the module where setuptools looks for it."""

    def build_extension(self, extension):
        target = Path(self.get_ext_fullpath(extension.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        given = os.environ.get("TESSEL2D_BUILD")
        directory = Path(given) if given else Path(self.build_temp).resolve() / "cmake"
        if not given:
            options = ["TESTS", "EXAMPLES", "BENCH", "FUZZERS", "VTK"]
            subprocess.run(
                [
                    "cmake",
                    f"-S{root}",
                    f"-B{directory}",
                    "-DCMAKE_BUILD_TYPE=Release",
                    "-DZEL_BUILD_PYTHON=ON",
                    "-DZEL_INSTALL=OFF",
                    f"-DPython_EXECUTABLE={sys.executable}",
                    *(f"-DZEL_BUILD_{option}=OFF" for option in options),
                ],
                check=True,
            )
        jobs = str(os.cpu_count() or 1)
        build = ["cmake", "--build", str(directory), "--target", "zel_python_native", "--parallel", jobs]
        subprocess.run(build, check=True)
        (built,) = (directory / "python" / "tessel2d").glob("_native*.so")
        self.copy_file(str(built), str(target))


setup(
    version=version(),
    ext_modules=[Extension("tessel2d._native", sources=[])],
    cmdclass={"build_ext": cmake_build},
)
