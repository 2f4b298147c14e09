#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads the include lines of the library and proves that its arrows go one way.

A public header includes public headers only. A source or private header of a room includes public headers,
its own room, and the rooms that stand before its own in `rooms`; no family includes another family. Companions
stand outside: they include public headers, private ones of any room, and their own as "companion/file.h".
Nothing of the library includes a companion. A companion includes public headers of those in front of it in
`companions` and nothing else of another one.
"""

import re
import sys
import unittest
from pathlib import Path

root = Path(__file__).resolve().parents[2]

rooms = ["foundation", "geometry", "metrics", "tessel", "tessel1d"]
families = ["generators", "extrusion", "normals", "conversion", "measures", "location"]
companions = ["host", "distributed"]

include = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)


def included(text):
    return include.findall(text)


def allowed(room):
    """The rooms from which `room` may include."""
    if room in families:
        return [*rooms, room]
    return rooms[: rooms.index(room) + 1]


def companion_of(path):
    """The companion that a file belongs to, or None: host/a.cpp, include/zel/host/a.h, include/zel/host.h."""
    parts = Path(path).parts
    name = parts[2].removesuffix(".h") if parts[0] == "include" and len(parts) > 2 else parts[0]
    return name if name in companions else None


def problem_of(path, name):
    """What is wrong with a file that includes `name`, or None. The file is told by its path below the root."""
    room, target = Path(path).parts[:2], name.split("/")[0]
    own = companion_of(path)
    if target == "zel":
        other = companion_of(f"include/{name}")
        if not (root / "include" / name).is_file():
            return f"{path}: {name} does not exist"
        if other and (not own or companions.index(other) > companions.index(own)):
            return f"{path}: only {other} and companions behind it include {name}"
    elif room[0] == "include":
        return f"{path}: a public header includes the private {name}"
    elif target == own:
        return None if (root / name).is_file() else f"{path}: {name} does not exist"
    elif target not in (rooms + families if own else allowed(room[1])):
        return f"{path}: {own or room[1]} must not include {name}"
    elif not (root / "src" / name).is_file():
        return f"{path}: {name} does not exist"
    return None


def problems_of(path, text):
    return [problem for problem in (problem_of(path, name) for name in included(text)) if problem]


class IncludeOrder(unittest.TestCase):
    def test_every_room_is_known(self):
        folders = {p.name for p in (root / "src").iterdir() if p.is_dir()}
        self.assertEqual(folders, {*rooms, *families})

    def test_arrows_go_one_way(self):
        files = [p for folder in ("include", "src", *companions) for suffix in ("*.h", "*.cpp")
                 for p in (root / folder).rglob(suffix)]
        self.assertGreater(len(files), 80)
        problems = [problem for p in sorted(files)
                    for problem in problems_of(p.relative_to(root), p.read_text())]
        self.assertEqual(problems, [])

    def test_wrong_arrows_are_noticed(self):
        wrong = [
            ("src/foundation/a.cpp", '#include "geometry/point.h"'),
            ("src/geometry/a.h", '#include "measures/stamp_marks.h"'),
            ("src/tessel/a.h", '#  include "tessel1d/line.h"'),
            ("src/normals/a.cpp", '#include "measures/stamp_marks.h"'),
            ("src/location/a.cpp", '#include "location/no_such_file.h"'),
            ("include/zel/a.h", '#include "foundation/call_frame.h"'),
            ("include/zel/a.h", '#include "zel/no_such_file.h"'),
            ("include/zel/a.h", '#include "zel/host/export.h"'),
            ("include/zel/tessel2d/a.h", '#include "zel/host.h"'),
            ("include/zel/host/a.h", '#include "foundation/call_frame.h"'),
            ("include/zel/host/a.h", '#include "host/sides.h"'),
            ("src/location/a.cpp", '#include "host/sides.h"'),
            ("src/location/a.cpp", '#include "zel/host/adjacency.h"'),
            ("host/a.cpp", '#include "host/no_such_file.h"'),
            ("host/a.cpp", '#include "tests/support/checks.h"'),
            ("host/a.cpp", '#include "zel/distributed/mesh.h"'),
            ("distributed/a.cpp", '#include "host/sides.h"'),
        ]
        for path, text in wrong:
            self.assertEqual(len(problems_of(path, text)), 1, (path, text))

    def test_right_arrows_pass(self):
        right = [
            ("src/foundation/a.cpp", '#include "zel/dense.h"'),
            ("src/geometry/a.h", '#include "foundation/call_frame.h"\n#include <cmath>'),
            ("src/location/a.cpp", '#include "location/locate.h"\n#include "metrics/blend.h"'),
            ("include/zel/a.h", '#include "zel/dense.h"'),
            ("include/zel/host.h", '#include "zel/host/adjacency.h"'),
            ("include/zel/host/a.h", '#include "zel/dense.h"\n#include "zel/host/export.h"'),
            ("host/a.cpp", '#include "host/sides.h"\n#include "location/locate.h"'),
            ("distributed/a.cpp", '#include "zel/host/adjacency.h"\n#include "tessel/exact_sum.h"'),
        ]
        for path, text in right:
            self.assertEqual(problems_of(path, text), [], (path, text))


if __name__ == "__main__":
    sys.exit(unittest.main())
