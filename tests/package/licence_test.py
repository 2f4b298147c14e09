#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Every tracked source says its licence in its first line, or in the second behind a line for the shell.

    licence_test.py            fails and names what lacks the line
    licence_test.py --insert   writes it where it is missing, in place of a line that only names the project
"""
import subprocess
import sys
from pathlib import Path

root = Path(__file__).resolve().parents[2]
words = "SPDX-License-Identifier: Apache-2.0"
marks = {".h": "//", ".cpp": "//", ".js": "//", ".mjs": "//", ".py": "#", ".pyi": "#", ".cmake": "#", ".sh": "#"}


def sources():
    """Tracked sources, each with what begins a comment in it."""
    listed = subprocess.run(["git", "-C", str(root), "ls-files", "-z"], check=True,
                            stdout=subprocess.PIPE).stdout
    for name in sorted(filter(None, listed.decode().split("\0"))):
        path = root / name
        if path.is_symlink() or not path.is_file() or name.startswith("fuzz/corpus/"):
            continue
        if path.suffix in marks or path.name == "CMakeLists.txt":
            yield path, marks.get(path.suffix, "#")
        elif not path.suffix:
            with path.open("rb") as file:
                if file.read(2) == b"#!":
                    yield path, "#"


def main():
    insert = sys.argv[1:] == ["--insert"]
    lacking = found = 0
    for path, mark in sources():
        lines = path.read_text(encoding="utf-8").splitlines(keepends=True)
        at = 1 if lines and lines[0].startswith("#!") else 0
        line = f"{mark} {words}\n"
        if lines[at:at + 1] == [line]:
            found += 1
        elif insert:
            if lines[at:at + 1] == ["// zel tessel2d: planar and surface mesh tools.\n"]:
                del lines[at]
            path.write_text("".join(lines[:at] + [line] + lines[at:]), encoding="utf-8")
        else:
            lacking += 1
            print(f"{path.relative_to(root)} does not say its licence")
    print(f"{found} sources say their licence, {lacking} do not")
    return 1 if lacking or not (insert or found) else 0


if __name__ == "__main__":
    sys.exit(main())
