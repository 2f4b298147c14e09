#!/usr/bin/env python3
"""Reads the include lines of the library and proves that its arrows go one way.

A public header includes public headers only. A source or private header of a room includes public headers,
its own room, and the rooms that stand before its own in `rooms`; no family includes another family.
"""

import re
import sys
import unittest
from pathlib import Path

root = Path(__file__).resolve().parents[2]

rooms = ["foundation", "geometry", "metrics", "tessel", "tessel1d"]
families = ["generators", "extrusion", "normals", "conversion", "measures", "location"]

include = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)


def included(text):
    return include.findall(text)


def allowed(room):
    """The rooms from which `room` may include."""
    if room in families:
        return [*rooms, room]
    return rooms[: rooms.index(room) + 1]


def problems_of(path, text):
    """What is wrong with the include lines of a file, told by its path below the root."""
    parts = Path(path).parts
    found = []
    for name in included(text):
        target = name.split("/")[0]
        if target == "zel":
            if not (root / "include" / name).is_file():
                found.append(f"{path}: {name} does not exist")
        elif parts[0] == "include":
            found.append(f"{path}: a public header includes the private {name}")
        elif target not in allowed(parts[1]):
            found.append(f"{path}: {parts[1]} must not include {name}")
        elif not (root / "src" / name).is_file():
            found.append(f"{path}: {name} does not exist")
    return found


class IncludeOrder(unittest.TestCase):
    def test_every_room_is_known(self):
        folders = {p.name for p in (root / "src").iterdir() if p.is_dir()}
        self.assertEqual(folders, {*rooms, *families})

    def test_arrows_go_one_way(self):
        files = [p for folder in ("include", "src") for suffix in ("*.h", "*.cpp")
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
        ]
        for path, text in wrong:
            self.assertEqual(len(problems_of(path, text)), 1, (path, text))

    def test_right_arrows_pass(self):
        right = [
            ("src/foundation/a.cpp", '#include "zel/dense.h"'),
            ("src/geometry/a.h", '#include "foundation/call_frame.h"\n#include <cmath>'),
            ("src/location/a.cpp", '#include "location/locate.h"\n#include "metrics/blend.h"'),
            ("include/zel/a.h", '#include "zel/dense.h"'),
        ]
        for path, text in right:
            self.assertEqual(problems_of(path, text), [], (path, text))


if __name__ == "__main__":
    sys.exit(unittest.main())
