# SPDX-License-Identifier: Apache-2.0
"""Runs the program tessel2d-distributed on several numbers of ranks: the same bytes on each, and on bad input a
message and an exit status instead of waiting.

    program_test.py <mpirun> <program> <folder>
"""
import os
import shutil
import subprocess
import sys

mpirun, program, folder = sys.argv[1:4]
shutil.rmtree(folder, ignore_errors=True)
os.makedirs(folder)
os.chdir(folder)


def run(ranks, *steps, others=()):
    """Exit status, what was printed and what was complained about."""
    command = [mpirun, "-n", str(ranks), program, *steps, *others]
    done = subprocess.run(command, capture_output=True, text=True, timeout=100)
    return done.returncode, done.stdout, done.stderr


def measured(text):
    return [line for line in text.splitlines() if line.startswith("  ")]


# The same file and the same measures on any number of ranks.
ways = {
    "patch.h5": ["patch", "23", "14", "partition", "ptscotch", "measure", "quadratic", "write", "patch.h5"],
    "tube.h5": ["tube", "20", "9", "partition", "ptscotch", "reorient", "triangles", "measure", "normals", "write",
                "tube.h5"],
    "again.h5": ["read", "tube.h5", "quadrilaterals", "partition", "blocks", "measure", "write", "again.h5"],
    "cubic.h5": ["patch-T3", "7", "6", "order", "2", "4", "1", "write", "cubic.h5"],
}
for name, steps in ways.items():
    seen = []
    for ranks in (1, 4):
        status, out, complaint = run(ranks, *steps)
        assert status == 0, (name, ranks, complaint)
        with open(name, "rb") as file:
            seen.append((file.read(), measured(out)))
    assert seen[0] == seen[1], name
    assert (name == "cubic.h5") != os.path.exists(name.replace(".h5", ".xdmf")), name
status, out, _ = run(2, "patch", "10", "10", "measure", "write-ranks", "ranks.h5")
assert status == 0 and "area   1\n" in out, out

# Whatever is wrong ends the run.
with open("patch.h5", "rb") as file:
    whole = file.read()
with open("short.h5", "wb") as file:
    file.write(whole[:len(whole) // 2])
bad = [
    ([], 2, "usage"),
    (["knead"], 2, 'no step "knead"'),
    (["patch", "3"], 2, "patch 3 needs M N"),
    (["patch", "3", "-1"], 2, '"-1" is no N'),
    (["patch", "0", "4"], 2, '"0" is no M'),
    (["patch", "99999999999999", "4"], 2, "is no M"),
    (["patch", "3", "3", "partition", "by hand"], 2, '"by hand" is no HOW'),
    (["measure"], 1, "no mesh yet"),
    (["read", "none.h5"], 1, "no such file"),
    (["read", "short.h5"], 1, "no such file, or it is not HDF5 or is damaged"),
    (["read", "patch.xdmf"], 1, "not HDF5"),
    (["patch", "3", "3", "quadratic", "quadratic"], 1, "3 or 4 nodes"),
    (["patch", "3", "3", "write", "no/such/folder.h5"], 1, "cannot be written"),
]
for steps, want, message in bad:
    status, out, complaint = run(3, *steps)
    assert status == want, (steps, status, complaint)
    assert complaint.count(message) == 1, (steps, complaint) # from one rank alone

status, _, complaint = run(1, "patch", "3", "3", others=[":", "-n", "1", program, "patch", "3", "4"])
assert status == 2 and "different arguments" in complaint, complaint

# A rank alone that is out of memory takes the others along. The address sanitizer wants more than any limit.
if "ASAN_OPTIONS" in os.environ:
    print("all as promised, memory aside")
    sys.exit()
narrow = ["sh", "-c", f"ulimit -v 900000; exec '{program}' patch 3000 3000"]
command = [mpirun, "-n", "1", program, "patch", "3000", "3000", ":", "-n", "1", *narrow]
done = subprocess.run(command, capture_output=True, text=True, timeout=100)
assert done.returncode != 0, done.stdout
assert "memory" in done.stderr, done.stderr
print("all as promised")
