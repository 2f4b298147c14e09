# SPDX-License-Identifier: Apache-2.0
"""Every function has a docstring with an example, and every example gives what it says."""

import doctest
import importlib
import inspect
import pkgutil

import pytest

import tessel2d

modules = [m.name for m in pkgutil.iter_modules(tessel2d.__path__) if m.name != "_native"]


@pytest.mark.parametrize("name", modules)
def test_examples(name):
    module = importlib.import_module(f"tessel2d.{name}")
    public = {n: getattr(tessel2d, n) for n in tessel2d.__all__ if not hasattr(module, n)}
    result = doctest.testmod(module, extraglobs=public)
    assert result.failed == 0


functions = [n for n in tessel2d.__all__ if inspect.isroutine(getattr(tessel2d, n))]


def test_there_are_all_functions():
    assert len(functions) == 43


@pytest.mark.parametrize("name", [n for n in functions if n != "version"])
def test_each_function_tells_its_arguments_and_has_an_example(name):
    function = getattr(tessel2d, name)
    assert ">>>" in function.__doc__
    parameters = inspect.signature(function).parameters
    assert parameters and "args" not in parameters
    assert set(function.__annotations__) == {*parameters, "return"}
