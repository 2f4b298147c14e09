#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Keeps the inputs of a fuzz driver in one file: a line per input, in base64, short ones first.

    scripts/lib/corpus.py pack <folder> <file>      the files of the folder into one; the same inputs give
                                                    the same bytes whatever the files are called
    scripts/lib/corpus.py unpack <file> <folder>    a file for each input, named for its line, into a new folder
    scripts/lib/corpus.py count <file>              how many inputs there are
"""

import base64
import shutil
import sys
from pathlib import Path


def pack(folder, file):
    inputs = {path.read_bytes() for path in Path(folder).iterdir()} - {b""}
    lines = [base64.b64encode(data).decode() + "\n" for data in sorted(inputs, key=lambda data: (len(data), data))]
    Path(file).write_text("".join(lines), encoding="ascii")


def inputs_of(file):
    if not Path(file).exists():
        return []
    return [base64.b64decode(line, validate=True) for line in Path(file).read_text(encoding="ascii").splitlines()]


def unpack(file, folder):
    shutil.rmtree(folder, ignore_errors=True)
    Path(folder).mkdir(parents=True)
    for number, data in enumerate(inputs_of(file), 1):
        (Path(folder) / f"{number:05}").write_bytes(data)


def main(words):
    if len(words) == 3 and words[0] in ("pack", "unpack"):
        {"pack": pack, "unpack": unpack}[words[0]](*words[1:])
    elif len(words) == 2 and words[0] == "count":
        print(len(inputs_of(words[1])))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv[1:])
