# SPDX-License-Identifier: Apache-2.0
"""The programs of the documents run as they stand there, and print what stands below them."""

import contextlib
import io
import re
from pathlib import Path

import pytest

root = Path(__file__).resolve().parents[2]
documents = ["README.md", "python/README.md", "manual/guides/02-first-steps-python.md"]
block = re.compile(r"^```python\n(.*?)^```\n(?:\n```none\n(.*?)^```\n)?", re.M | re.S)


@pytest.mark.parametrize("name", documents)
def test_programs(name):
    programs = block.findall((root / name).read_text())
    assert programs
    names = {}
    for program, expected in programs:
        said = io.StringIO()
        with contextlib.redirect_stdout(said):
            exec(compile(program, name, "exec"), names)
        assert said.getvalue()
        if expected:
            assert said.getvalue() == expected


def test_the_guide_tells_what_its_programs_print():
    guide = block.findall((root / documents[-1]).read_text())
    assert len(guide) == 3 and all(expected for _, expected in guide)


def test_the_program_of_the_readme_has_ten_lines():
    (program, _), = block.findall((root / "README.md").read_text())
    assert len(program.splitlines()) <= 10
