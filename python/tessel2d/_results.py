# SPDX-License-Identifier: Apache-2.0
"""What the functions return: named tuples of arrays, and the exception that they raise."""

from __future__ import annotations

from typing import Any, NamedTuple, Optional, Sequence, Union

import numpy as np
from numpy.typing import NDArray

Reals = NDArray[np.float64]
Numbers = NDArray[np.uint32]
#: Anything that numpy reads as an array of real numbers or of integers.
ArrayLike = Union[NDArray[Any], Sequence[Any]]


class Error(ValueError):
    """An argument that a function refuses.

    ``function`` is its name, ``status`` the negative number that the library returned, ``argument`` the
    name of the argument, or None where it is not a single one, and ``sentence`` what is wrong with it, as
    the header of the library says it. There nodes and elements are columns, so its rows are our columns.
    """

    def __init__(
        self, function: str, status: int, argument: Optional[str], sentence: str
    ) -> None:
        super().__init__(function, status, argument, sentence)
        self.function = function
        self.status = status
        self.argument = argument
        self.sentence = sentence

    def __str__(self) -> str:
        where = f"{self.function}, {self.argument}" if self.argument else self.function
        return f"{where}: {self.sentence.rstrip('.')} (status {self.status})"


class CopyWarning(UserWarning):
    """Issued when an array had to be copied and `tessel2d.warn_copies` is true."""


class Mesh(NamedTuple):
    """Nodes and elements."""

    pos: Reals
    connect: Numbers


class Disk(NamedTuple):
    """A mesh with the edges of its boundary."""

    pos: Reals
    connect: Numbers
    boundary: Numbers


class Sphere(NamedTuple):
    """A sphere with two great circles as edges, in the planes z and y of its centre."""

    pos: Reals
    connect: Numbers
    circle_z: Numbers
    circle_y: Numbers


class Angles(NamedTuple):
    """The smallest and the largest corner angle of each element."""

    min: Reals
    max: Reals


class Split(NamedTuple):
    """Elements, and which of those before were kept and which were split."""

    connect: Numbers
    kept: Numbers
    split: Numbers


class Flipped(NamedTuple):
    """Elements that have been turned over, and their neighbours."""

    connect: Numbers
    neighbors: Numbers


class Reoriented(NamedTuple):
    """Elements that agree with one another, their neighbours, and how many have been turned over.

    ``conflict`` is true where an element could not be made to agree with all its neighbours, as on a
    surface with one side only; ``turned`` is not the whole number then.
    """

    connect: Numbers
    neighbors: Numbers
    turned: int
    conflict: bool


class Counted(NamedTuple):
    """Elements, and how many of them have changed."""

    connect: Numbers
    changes: int


class Changed(NamedTuple):
    """Elements, and the numbers of those that have changed."""

    connect: Numbers
    changed: Numbers


class Stars(NamedTuple):
    """The elements around node n are ``elements[starts[n]:starts[n + 1]]``, in the order of a turn."""

    starts: Numbers
    elements: Numbers

    def of(self, node: int) -> Numbers:
        """The elements around a node."""
        return self.elements[self.starts[node] : self.starts[node + 1]]


class Curvatures(NamedTuple):
    """Principal directions (N, 3) and curvatures (N,); k1 is the one of larger magnitude."""

    u1: Reals
    u2: Reals
    k1: Reals
    k2: Reals


class Carried(NamedTuple):
    """Values at points, and for each how it came by its value: one of INSIDE, NEAREST and UNSERVED."""

    values: Reals
    state: NDArray[np.uint8]


#: States of `Carried`: in an element; outside of all, but in the box around the mesh: that of the closest
#: node; neither.
INSIDE, NEAREST, UNSERVED = 0, 1, 2

#: The number that names no node and no element.
NONE = 0xFFFFFFFF
