# SPDX-License-Identifier: Apache-2.0
"""Types, stubs, and the package as users install it."""

import ast
import importlib
import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import tessel2d
from tessel2d import _native

root = Path(__file__).resolve().parents[2]
package = root / "python" / "tessel2d"


def run(*command, **keywords):
    done = subprocess.run(
        [str(c) for c in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **keywords
    )
    assert done.returncode == 0, done.stdout
    return done.stdout


def test_types_are_strict(tmp_path):
    user = tmp_path / "user.py"
    user.write_text(
        "import numpy as np\n"
        "import tessel2d as t\n"
        "disk: t.Disk = t.mesh_disk_T3(n=2)\n"
        "size: float = t.area(disk.pos, disk.connect)\n"
        "reveal_type(t.angles(disk.pos, disk.connect).max)\n"
        "values = t.interpolate(disk.pos, disk.connect, disk.pos, [[0.0, 0.0]]).values\n"
    )
    options = ["--strict", "--ignore-missing-imports", f"--cache-dir={tmp_path / 'cache'}"]
    programs = [*(root / "examples" / "python").glob("*.py"), *(root / "python" / "bench").glob("*.py")]
    told = run(
        sys.executable, "-m", "mypy", *options, package, *programs, user, cwd=tmp_path,
        env={**os.environ, "MYPYPATH": str(root / "python")},
    )
    assert "numpy.ndarray[Any, numpy.dtype[numpy.floating" in told


def test_stubs_name_what_is_there():
    stub = ast.parse((package / "_native.pyi").read_text())
    named = {n.name for n in stub.body if isinstance(n, (ast.FunctionDef, ast.ClassDef))}
    there = {n for n in dir(_native) if not n.startswith("_")}
    assert named == there


def test_each_public_name_is_there_once():
    assert len(set(tessel2d.__all__)) == len(tessel2d.__all__)
    for name in tessel2d.__all__:
        assert hasattr(tessel2d, name)
    for module in ("host", "io", "plot"):
        loaded = importlib.import_module(f"tessel2d.{module}")
        assert all(hasattr(loaded, name) for name in loaded.__all__)


def test_version():
    cmake = (root / "CMakeLists.txt").read_text()
    assert f"VERSION {tessel2d.__version__}\n" in cmake


def test_wheel_in_an_empty_environment(tmp_path):
    """Built by pip from the build tree that there is; without a network, numpy comes from outside."""
    pytest.importorskip("ensurepip")
    source = tmp_path / "source"
    source.mkdir()
    for name in ("pyproject.toml", "setup.py", "CMakeLists.txt"):
        shutil.copy(root / name, source)
    shutil.copytree(package, source / "python" / "tessel2d")
    python_path = {k: v for k, v in os.environ.items() if k != "PYTHONPATH"}
    offline = ["--no-index", "--no-deps", "-q", "--disable-pip-version-check"]
    run(
        sys.executable, "-m", "pip", "wheel", *offline, "--no-build-isolation", "-w", tmp_path, source,
        env={**python_path, "PATH": f"/usr/bin:{os.environ['PATH']}"},
    )
    (wheel,) = tmp_path.glob("*.whl")
    run(sys.executable, "-m", "venv", tmp_path / "venv")
    python = tmp_path / "venv" / "bin" / "python"
    run(python, "-m", "pip", "install", *offline, wheel, env=python_path)
    import numpy

    told = run(
        python,
        "-c",
        "import tessel2d, sys; print(tessel2d.__file__); print(tessel2d.area(*tessel2d.mesh_disk_T3()[:2]))",
        env={**python_path, "PYTHONPATH": str(Path(numpy.__file__).parents[1])},
        cwd=tmp_path,
    )
    assert str(tmp_path / "venv") in told and "3.1" in told


def test_allocator_with_checks():
    """The calls of the catalogue under Python's debug allocator, which finds writes beyond its blocks."""
    test = Path(__file__).with_name("test_catalogue.py")
    run(
        sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", test,
        env={**os.environ, "PYTHONMALLOC": "debug"},
    )
