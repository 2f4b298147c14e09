#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Installs the components one by one: each holds what it should, together they are the whole, and what has been
installed can be removed again.

    components_test.py <cmake> <build folder> <folder to work in> <interpreter of the Python package, or nothing>
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

root = Path(__file__).resolve().parents[2]

# What each component holds: paths that must be there, and a pattern that all of its paths match.
expected = {
    "runtime": (["libzel_tessel2d.so.5"], r"lib.*/libzel_tessel2d\.so\.[\d.]+$"),
    "host": (["libzel_tessel2d_host.so.5"], r"lib.*/libzel_tessel2d_host\.so\.[\d.]+$"),
    "development": (
        ["include/zel-tessel2d/zel/tessel2d.h", "libzel_tessel2d.a", "libzel_tessel2d.so", "zel-tessel2d.pc",
         "tessel2d-config.cmake", "-gdb.py"],
        r"include/zel-tessel2d/|lib.*\.(a|so|pc|cmake)$|share/gdb/",
    ),
    "python": (["tessel2d/__init__.py", "tessel2d/py.typed", "/METADATA"], r"lib.*/tessel2d(-[\d.]+dist-info)?/"),
    "manual": (["README.md", "docs/functions.md", "examples/host.cpp", "LICENSE"], r"share/doc/tessel2d/"),
}

# Extra components of what is not there everywhere.
optional = {
    "distributed": (["libzel_tessel2d_distributed.so.5", "bin/tessel2d-distributed"],
                    r"lib.*/libzel_tessel2d_distributed\.so\.[\d.]+$|bin/tessel2d-distributed$"),
}


def run(*command, **keywords):
    done = subprocess.run([str(c) for c in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          **keywords)
    return done.returncode, done.stdout


def install(cmake, build, work, component=None):
    """The paths that an installation puts in place, relative to its prefix."""
    stage = work / (component or "whole")
    manifest = work / "manifests" / f"install_manifest_{component or 'whole'}.txt"
    options = [f"-DBUILD={build}", f"-DSTAGE={stage}", f"-DMANIFEST={manifest}"]
    if component:
        options.append(f"-DCOMPONENT={component}")
    status, told = run(cmake, *options, "-P", root / "tests" / "package" / "install_stage.cmake")
    assert status == 0, told
    listed = manifest.read_text().splitlines() if manifest.exists() else []
    paths = {str(Path(p).relative_to(stage)) for p in listed}
    there = {str(p.relative_to(stage)) for p in stage.rglob("*") if not p.is_dir() or p.is_symlink()}
    assert paths == there, f"{component}: written down and there differ in {sorted(paths ^ there)[:5]}"
    # The printers lie below the path of the library that they belong to, which has the prefix in it.
    return {p.replace(str(stage), "") for p in paths}


def test_components(cmake, build, work, interpreter):
    whole = install(cmake, build, work)
    parts = {}
    for name, (wanted, pattern) in {**expected, **optional}.items():
        parts[name] = install(cmake, build, work, name)
        if name == "python" and not interpreter or name in optional and not parts[name]:
            continue
        for path in wanted:
            assert any(path in p for p in parts[name]), f"{name}: {path} is missing"
        strangers = [p for p in parts[name] if not re.match(pattern, p)]
        assert not strangers, f"{name}: {strangers[:3]} belong elsewhere"
    together = [p for paths in parts.values() for p in paths]
    assert len(together) == len(set(together)), "something is in two components"
    assert set(together) == whole, f"in no component: {sorted(whole - set(together))[:5]}"
    return whole


def test_links(work):
    """What the pages link to has been installed, too: headers and programs, but for companions that are not built."""
    (docs,) = (work / "whole").rglob("docs")
    links = {(page, link) for page in docs.glob("*.md") for link in re.findall(r"\]\(([^):#]+)", page.read_text())}
    lost = [f"{page.name}: {link}" for page, link in sorted(links)
            if not (page.parent / link).exists() and not re.search(r"distributed|vtk", link)]  # fmt: skip
    assert len(links) > 50 and not lost, f"links to nothing: {lost[:5]}"


def test_python_package(work, interpreter):
    (init,) = (work / "python").rglob("tessel2d/__init__.py")
    program = "import tessel2d as t; d = t.mesh_disk_T3(n=8); print(round(t.area(d.pos, d.connect), 1))"
    status, told = run(interpreter, "-c", program, cwd=work, env={**os.environ, "PYTHONPATH": str(init.parents[1])})
    assert (status, told) == (0, "3.1\n"), told
    metadata = "import importlib.metadata as m; print(m.version('tessel2d'))"
    _, version = run(interpreter, "-c", metadata, cwd=work, env={**os.environ, "PYTHONPATH": str(init.parents[1])})
    assert f"VERSION {version.strip()}\n" in (root / "CMakeLists.txt").read_text()


def test_uninstall(cmake, work):
    """Removes all that was installed, what Python has compiled besides, and nothing else."""
    whole = work / "whole"
    strangers = [whole / "lib" / "stranger.txt", whole / "share" / "doc" / "tessel2d" / "notes.txt"]
    for path in strangers:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("mine")
    for init in whole.rglob("tessel2d/__init__.py"):
        cache = init.parent / "__pycache__"
        cache.mkdir(exist_ok=True)
        (cache / "__init__.cpython-311.pyc").touch()
    build = work / "as_if_built"
    build.mkdir()
    shutil.copy(work / "manifests" / "install_manifest_whole.txt", build / "install_manifest.txt")
    uninstall = [cmake, f"-DZEL_BUILD_DIR={build}", "-P", root / "cmake" / "uninstall.cmake"]
    status, told = run(*uninstall)
    assert status == 0, told
    left = [p for p in whole.rglob("*") if not p.is_dir() or p.is_symlink()]
    assert sorted(left) == sorted(strangers), left
    folders = [p for p in whole.rglob("*tessel2d*") if p.is_dir() and not any(p in s.parents for s in strangers)]
    assert not folders, folders
    status, told = run(*uninstall)
    assert status != 0 and "Nothing has been installed" in told, told


def main():
    cmake, build, work, *interpreter = sys.argv[1:]
    interpreter = interpreter[0] if interpreter else ""
    work = Path(work)
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    whole = test_components(cmake, build, work, interpreter)
    test_links(work)
    if interpreter:
        test_python_package(work, interpreter)
    test_uninstall(cmake, work)
    print(f"{len(whole)} files in components, and removed again")


main()
