# SPDX-License-Identifier: Apache-2.0
"""What pictures hold, and meshes handed to VTK without copying."""

import gc

import numpy as np
import pytest
from matplotlib import pyplot
from matplotlib.collections import LineCollection, PolyCollection
from mpl_toolkits.mplot3d.art3d import Poly3DCollection

import tessel2d as t
from tessel2d import plot

disk = t.mesh_disk_Q4(n=2)
sphere = t.mesh_sphere_T3(n=2)
mixed = np.array([[0, 1, 2, 3], [1, 4, 2, -1]])
corners = np.array([[0.0, 0], [1, 0], [1, 1], [0, 1], [2, 0]])


@pytest.fixture(autouse=True)
def close_pictures():
    yield
    pyplot.close("all")


def drawn(ax, kind):
    ax.figure.canvas.draw()
    return [c for c in ax.collections if isinstance(c, kind)]


def test_planar_mesh():
    ax = plot.mesh(disk.pos, disk.connect, node_numbers=True, element_numbers=True)
    (faces,) = drawn(ax, PolyCollection)
    assert len(faces.get_paths()) == len(disk.connect)
    texts = [x.get_text() for x in ax.texts]
    assert len(texts) == len(disk.pos) + len(disk.connect) and texts[:2] == ["0", "1"]


def test_each_face_has_its_corners():
    (faces,) = drawn(plot.mesh(corners, mixed), PolyCollection)
    assert [len(p.vertices) - 1 for p in faces.get_paths()] == [4, 3]
    quadratic = t.convert_into_quadratic(corners, mixed)
    (faces,) = drawn(plot.mesh(*quadratic), PolyCollection)
    assert [len(p.vertices) - 1 for p in faces.get_paths()] == [8, 6]


def test_surface_is_drawn_from_back_to_front():
    ax = plot.mesh(sphere.pos, sphere.connect, color=np.linspace([0, 0, 0], [1, 1, 1], len(sphere.connect)))
    ax.view_init(90, 0)  # from above
    (faces,) = drawn(ax, Poly3DCollection)
    heights = sphere.pos[sphere.connect].mean(axis=1)[:, 2]
    order = [int(round(c[0] * (len(heights) - 1))) for c in faces.get_facecolor()]
    assert sorted(order) == list(range(len(heights)))
    assert (np.diff(heights[order]) > -0.2).all() and heights[order[-1]] > 0.6


def test_fields():
    ax = plot.field(disk.pos, disk.connect, disk.pos[:, 0], label="x")
    assert len(ax.figure.axes) == 2
    ax = plot.field(disk.pos, disk.connect, np.arange(len(disk.connect)), colorbar=False, edges=True)
    (faces,) = drawn(ax, PolyCollection)
    assert len(np.unique(faces.get_facecolor(), axis=0)) == len(disk.connect)
    drawn(plot.field(sphere.pos, sphere.connect, sphere.pos[:, 2]), Poly3DCollection)
    with pytest.raises(ValueError, match="values"):
        plot.field(disk.pos, disk.connect, [1.0])


def test_boundary_and_normals():
    ax = plot.boundary(disk.pos, disk.boundary, ax=plot.mesh(disk.pos, disk.connect))
    (lines,) = drawn(ax, LineCollection)
    assert len(lines.get_segments()) == 16
    ax = plot.normals(sphere.pos, sphere.connect, length=0.5)
    tips = [s[:2] for s in ax.collections[0]._segments3d]
    assert np.allclose([np.linalg.norm(b - a) for a, b in tips[:5]], 0.5)


def test_what_cannot_be_drawn():
    with pytest.raises(ValueError, match="connect"):
        plot.mesh(corners, [[0, 1, 9]])
    with pytest.raises(ValueError, match="connect"):
        plot.mesh(corners, np.zeros((1, 7), int))


def test_vtk_reads_the_arrays_where_they_are():
    pytest.importorskip("vtkmodules")
    from vtkmodules.util.numpy_support import vtk_to_numpy

    data = plot.to_vtk(*sphere, point_data={"z": sphere.pos[:, 2].copy()})
    points = vtk_to_numpy(data.GetPoints().GetData())
    cells = vtk_to_numpy(data.GetPolys().GetConnectivityArray())
    assert np.shares_memory(points, sphere.pos) and np.shares_memory(cells, sphere.connect)
    assert data.GetNumberOfPolys() == len(sphere.connect)
    assert data.GetPointData().GetArray("z").GetNumberOfTuples() == len(sphere.pos)
    both = plot.to_vtk(corners, mixed)
    assert [both.GetCell(i).GetNumberOfPoints() for i in (0, 1)] == [4, 3]


def test_vtk_keeps_the_arrays_alive():
    pytest.importorskip("vtkmodules")
    data = plot.to_vtk(*t.mesh_sphere_T3(n=30))
    gc.collect()
    junk = [np.full(10000, 7.0) for _ in range(50)]
    assert data.GetPoints().GetPoint(0) == pytest.approx((1, 0, 0)) and junk
    assert data.GetCell(0).GetNumberOfPoints() == 3
