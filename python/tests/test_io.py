# SPDX-License-Identifier: Apache-2.0
"""Meshes written to files of every format and read back."""

import numpy as np
import pytest

import tessel2d as t
from tessel2d import _native, io

triangles = t.mesh_sphere_T3(n=3)
quads = t.mesh_sphere_Q4(n=3)
plane = t.mesh_disk_Q4(n=2)


def mixed():
    """Quadrilaterals, of which every other one is cut into triangles."""
    cut = np.arange(len(quads.connect)) % 2 == 0
    pairs = t.split_Q4_into_T3(quads.connect[cut])
    filled = np.column_stack([pairs, np.full(len(pairs), t.NONE, np.uint32)])
    return t.Mesh(quads.pos, np.concatenate([filled, quads.connect[~cut]]))


def there_and_back(folder, ending, mesh, **data):
    path = folder / f"mesh.{ending}"
    io.write(path, mesh, **data)
    return io.read(path)


with_data = ["vtu", "msh", "xdmf", "med", "vtk"]
without_data = ["ply", "obj"]


@pytest.mark.parametrize("ending", [*with_data, *without_data, "off"])
def test_triangles(tmp_path, ending):
    back = there_and_back(tmp_path, ending, triangles)
    assert np.allclose(back.pos, triangles.pos, atol=0 if ending in with_data else 1e-6, rtol=0)
    assert back.connect.tolist() == triangles.connect.tolist()
    assert back.connect.dtype == np.uint32 and back.fused == 0


@pytest.mark.parametrize("ending", [*with_data, *without_data])
@pytest.mark.parametrize("mesh", [quads, mixed()], ids=["quads", "mixed"])
def test_quadrilaterals_and_both(tmp_path, ending, mesh):
    back = there_and_back(tmp_path, ending, mesh)
    assert back.connect.tolist() == mesh.connect.tolist()
    assert np.allclose(back.pos, mesh.pos, atol=1e-6, rtol=0)


def test_quadrilaterals_as_triangles(tmp_path):
    back = there_and_back(tmp_path, "off", quads)
    assert back.connect.shape == (2 * len(quads.connect), 3)


@pytest.mark.parametrize("ending", with_data)
def test_quadratic_elements(tmp_path, ending):
    """T6 and Q8, alone and together."""
    both = t.convert_into_high_order(*mixed(), 1, 0, 0)
    for mesh in (
        t.convert_into_quadratic(*triangles),
        t.convert_into_high_order(*quads, 1, 0, 0),
        both,
    ):
        if mesh is both and ending == "xdmf":
            with pytest.raises(ValueError, match="not both"):
                io.write(tmp_path / "both.xdmf", mesh)
            continue
        back = there_and_back(tmp_path, ending, mesh)
        assert back.connect.tolist() == mesh.connect.tolist()


@pytest.mark.parametrize("ending", ["vtu", "msh", "vtk"])
def test_quadratic_elements_with_a_centre(tmp_path, ending):
    for mesh in (t.convert_into_quadratic(*quads), t.convert_into_quadratic(*mixed())):
        back = there_and_back(tmp_path, ending, mesh)
        assert back.connect.tolist() == mesh.connect.tolist()


@pytest.mark.parametrize("ending", ["xdmf", "med"])
def test_formats_without_centres_say_so(tmp_path, ending):
    with pytest.raises(ValueError, match=f"connect: {ending}"):
        io.write(tmp_path / f"mesh.{ending}", t.convert_into_quadratic(*quads))


@pytest.mark.parametrize("ending", ["msh", "vtu"])
@pytest.mark.parametrize("orders", [(2, 4, 1), (3, 9, 0)])
def test_higher_orders(tmp_path, ending, orders):
    for mesh in (triangles, quads):
        if mesh is triangles and orders[0] == 3:
            continue
        high = t.convert_into_high_order(*mesh, *orders)
        back = there_and_back(tmp_path, ending, high)
        assert back.connect.tolist() == high.connect.tolist()


def test_order_of_nodes_is_that_of_the_format():
    """Each node of the reference element stands where the format says."""
    corners = np.array([[0.0, 0], [3, 0], [3, 3], [0, 3]])
    pos, connect = t.convert_into_high_order(corners, [[0, 1, 2, 3]], 2, 4, 0)
    gmsh = pos[connect[0, io.node_order(4, 2, 4, "gmsh")]].round(9)
    ring = [[1, 0], [2, 0], [3, 1], [3, 2], [2, 3], [1, 3], [0, 2], [0, 1]]
    assert gmsh[4:12].tolist() == ring
    assert gmsh[12:].tolist() == [[1, 1], [2, 1], [2, 2], [1, 2]]
    vtk = pos[connect[0, io.node_order(4, 2, 4, "vtk")]].round(9)
    assert vtk[8:12].tolist() == [[1, 3], [2, 3], [0, 1], [0, 2]]
    assert vtk[12:].tolist() == [[1, 1], [2, 1], [1, 2], [2, 2]]
    pos, connect = t.convert_into_high_order(corners[[0, 1, 3]], [[0, 1, 2]], 2, 4, 1)
    for order in ("vtk", "gmsh"):
        triangle = pos[connect[0, io.node_order(3, 2, 1, order)]].round(9)
        assert triangle[3:].tolist() == [[1, 0], [2, 0], [2, 1], [1, 2], [0, 2], [0, 1], [1, 1]]


# Corners, nodes on an edge and nodes inside of each element whose order the C++ host tools know.
known = {
    "T3": (3, 0, 0),
    "T6": (3, 1, 0),
    "T7": (3, 1, 1),
    "T10": (3, 2, 1),
    "Q4": (4, 0, 0),
    "Q8": (4, 1, 0),
    "Q9": (4, 1, 1),
    "Q12": (4, 2, 0),
    "Q16": (4, 2, 4),
    "Q25": (4, 3, 9),
}


@pytest.mark.parametrize("order", ["vtk", "gmsh"])
def test_orders_of_nodes_are_those_of_the_host_tools(order):
    without = {"vtk": {"Q12", "T15"}, "gmsh": {"T7", "T15"}}[order]
    for element in [*known, "T15"]:
        theirs = _native.node_order(order, element)
        if element in without:
            assert theirs is None
        else:
            assert io.node_order(*known[element], order) == theirs
    assert _native.node_order(order, "T4") is None


@pytest.mark.parametrize("ending", with_data)
def test_data(tmp_path, ending):
    mesh = mixed()
    height, number = mesh.pos[:, 2].copy(), np.arange(len(mesh.connect), dtype=float)
    back = there_and_back(
        tmp_path, ending, mesh, point_data={"height": height}, cell_data={"number": number}
    )
    assert back.point_data["height"].ravel().tolist() == height.tolist()
    assert back.cell_data["number"].ravel().tolist() == number.tolist()


@pytest.mark.parametrize("ending", ["vtu", "msh", "xdmf"])
def test_edges(tmp_path, ending):
    path = tmp_path / f"mesh.{ending}"
    io.write(path, plane, edges=plane.boundary)
    back = io.read(path, planar=True)
    assert back.edges.tolist() == plane.boundary.tolist()
    assert back.pos.tolist() == plane.pos.tolist()


def test_soup_is_merged(tmp_path):
    back = there_and_back(tmp_path, "stl", triangles)
    assert back.fused == 3 * len(triangles.connect) - len(triangles.pos)
    assert len(back.pos) == len(triangles.pos)
    assert abs(t.area(*back[:2]) - t.area(*triangles)) < 1e-5
    assert t.host.adjacency(back.connect).shared_by_more == 0


def test_near_nodes_are_fused_and_data_follow(tmp_path):
    split = triangles.pos[triangles.connect].reshape(-1, 3)
    soup = t.Mesh(split + 1e-9 * np.sin(np.arange(len(split)))[:, None], np.arange(len(split)).reshape(-1, 3))
    path = tmp_path / "soup.vtu"
    io.write(path, soup, point_data={"x": soup.pos[:, 0].copy()}, edges=[[0, 4]])
    back = io.read(path, tolerance=1e-6)
    assert len(back.pos) == len(triangles.pos) and back.fused == len(split) - len(triangles.pos)
    assert back.point_data["x"].tolist() == back.pos[:, 0].tolist()
    assert np.allclose(back.pos[back.edges[0]], split[[0, 4]], atol=1e-6)


def test_what_cannot_be_read_or_written(tmp_path):
    import meshio

    meshio.write(tmp_path / "points.vtu", meshio.Mesh(np.zeros((1, 3)), [("vertex", [[0]])]))
    with pytest.raises(ValueError, match="no triangles"):
        io.read(tmp_path / "points.vtu")
    both = [("triangle", [[0, 1, 2]]), ("triangle6", [[0, 1, 2, 3, 4, 5]])]
    meshio.write(tmp_path / "orders.vtu", meshio.Mesh(np.zeros((6, 3)), both))
    with pytest.raises(ValueError, match="several orders"):
        io.read(tmp_path / "orders.vtu")
    with pytest.raises(ValueError, match="connect"):
        io.write(tmp_path / "no.vtu", (np.zeros((9, 3)), np.zeros((1, 7), int)))
