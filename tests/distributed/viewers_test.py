# SPDX-License-Identifier: Apache-2.0
"""Reads the XDMF files that the tests have written with meshio, and compares them with the HDF5 files. Of meshes
with quadratic elements of two kinds, which meshio does not read, the list of kinds and nodes is compared."""
import os
import sys

try:
    import h5py
    import meshio
    import numpy
except ImportError as missing:
    print(f"skipped: {missing}")
    sys.exit(77)

folder = sys.argv[1]
kinds = {3: ("triangle", [0, 1, 2]), 4: ("quad", [0, 1, 2, 3]), 6: ("triangle6", [0, 1, 2, 5, 3, 4]),
         8: ("quad8", list(range(8))), 9: ("quad9", list(range(9)))}


def expected(elements):
    """Kind and nodes of each element, as meshio has them."""
    for column in elements:
        nodes = [n for n in column if n >= 0] if (column < 0).any() else list(column)
        name, order = kinds[len(nodes)]
        yield name, [nodes[k] for k in order]


kind_numbers = {"triangle6": 36, "quad8": 37, "quad9": 35}
for name in ("t6_and_q8", "t6_and_q9"):
    with h5py.File(os.path.join(folder, name + ".h5"), "r") as file:
        want = [n for kind, nodes in expected(file["elements"][()]) for n in [kind_numbers[kind], *nodes]]
        assert list(file["topology"][()]) == want, name
    with open(os.path.join(folder, name + ".xdmf")) as text:
        assert f'Dimensions="{len(want)}"' in text.read(), name

count = 0
for name in ("triangles", "quadrilaterals", "mixed", "t6", "q8", "q9"):
    mesh = meshio.read(os.path.join(folder, name + ".xdmf"))
    with h5py.File(os.path.join(folder, name + ".h5"), "r") as file:
        assert numpy.array_equal(mesh.points, file["nodes"][()]), name
        read = [(block.type, list(cell)) for block in mesh.cells for cell in block.data]
        assert read == list(expected(file["elements"][()])), name
        assert len({kind for kind, _ in read}) == (1 if name != "mixed" else 2), name
        for field in ("warm & <wet>", "away"):
            assert numpy.array_equal(mesh.point_data[field], file["node_fields"][field][()]), name
        values = numpy.concatenate(mesh.cell_data["stress"])
        assert numpy.array_equal(values, file["element_fields"]["stress"][()]), name
    count += 1
print(f"{count} meshes read back")
