# SPDX-License-Identifier: Apache-2.0
"""tessel2d.distributed against tessel2d on one rank: mpirun -n <ranks> python3 distributed_on_ranks.py

Every rank runs every test; a failure on any rank ends the run with a status that is not 0.
"""

import ast
import sys
import tempfile
import traceback
import warnings
from pathlib import Path

import numpy as np
from mpi4py import MPI

import tessel2d
from tessel2d import _distributed
from tessel2d import distributed as d

comm = MPI.COMM_WORLD
rank, ranks = comm.Get_rank(), comm.Get_size()


def grid(n, dimension, triangles):
    """A bumpy square of n x n cells, in an order that looks at random."""
    i, j = np.meshgrid(np.arange(n + 1), np.arange(n + 1))
    pos = np.column_stack([i.ravel() / n, j.ravel() / n, 0.2 * np.sin(3.0 * i.ravel() / n)])[:, :dimension].copy()
    a = (j[:-1, :-1] * (n + 1) + i[:-1, :-1]).ravel()
    quads = np.column_stack([a, a + 1, a + n + 2, a + n + 1]).astype(np.uint32)
    quads = quads[np.random.default_rng(5).permutation(len(quads))]
    return pos, np.vstack([quads[:, :3], quads[:, [2, 3, 0]]]) if triangles else quads


def parts(pos, connect, by="ptscotch"):
    """Every rank brings a run; then the elements are shared out."""
    def run(table):
        return table[len(table) * rank // ranks : len(table) * (rank + 1) // ranks]

    return d.partition(d.from_blocks(run(pos), run(connect)), by)


def same(mesh, pos, connect):
    whole = d.gather(mesh)
    assert (whole is None) == (rank != 0)
    if whole is not None:
        assert whole[0].tobytes() == np.ascontiguousarray(pos).tobytes()
        assert whole[1].tobytes() == np.ascontiguousarray(connect).tobytes()


def test_parts_are_the_whole():
    pos, connect = grid(9, 3, True)
    mesh = parts(pos, connect)
    assert (mesh.nodes, mesh.elements, mesh.halo) == (len(pos), len(connect), 0)
    assert mesh.comm.Get_size() == ranks
    assert np.all(np.diff(mesh.node_numbers.astype(np.int64)) > 0)
    assert np.array_equal(mesh.pos, pos[mesh.node_numbers])
    assert np.array_equal(mesh.node_numbers[mesh.connect], connect[mesh.element_numbers])
    assert np.all(mesh.element_owners == rank)
    same(mesh, pos, connect)
    wide = d.grow_halo(mesh)
    assert (wide.halo, mesh.halo) == (1, 0)
    assert ranks == 1 or len(wide.connect) > len(mesh.connect)
    same(d.drop_halo(wide), pos, connect)
    same(d.redistribute(mesh, np.full(len(mesh.connect), ranks - 1)), pos, connect)


def test_arrays_outlive_the_mesh_and_are_read_only():
    pos, connect = grid(4, 2, False)
    mesh = parts(pos, connect)
    kept, numbers = mesh.pos, mesh.node_numbers
    del mesh
    assert np.array_equal(kept, pos[numbers])
    try:
        kept[...] = 0
    except ValueError:
        return
    raise AssertionError("a shared array could be written to")


def test_conversions_are_those_of_one_rank():
    pos, connect = grid(8, 2, False)
    mesh = parts(pos, connect)
    one = tessel2d.convert_into_quadratic(pos, connect)
    raised = d.convert_into_quadratic(mesh)
    same(raised, one.pos, one.connect)
    same(d.split_into_linear(raised), one.pos, tessel2d.split_into_linear(one.connect))
    same(d.convert_into_linear(raised), one.pos, tessel2d.convert_into_linear(one.connect))
    one = tessel2d.convert_into_high_order(pos, connect, 2, 4, 1)
    same(d.convert_into_high_order(mesh, 2, 4, 1), one.pos, one.connect)
    one = tessel2d.split_into_Q4(pos, connect)
    same(d.split_into_Q4(mesh), one.pos, one.connect)
    cut = d.split_Q4_into_T3(mesh)
    assert cut.cut == len(connect)
    same(cut.mesh, pos, tessel2d.split_Q4_into_T3(connect, pos))
    same(d.flip(mesh), pos, tessel2d.flip(connect))
    same(mesh, pos, connect)


def test_given_edges_keep_their_nodes():
    pos, connect = grid(3, 2, True)
    pos = np.vstack([pos, [[0.5, -0.1]]])
    edge = np.array([[0, 1, len(pos) - 1]])
    one = tessel2d.convert_into_quadratic(pos, connect, edge)
    raised = d.convert_into_quadratic(parts(pos, connect), edge if rank == ranks - 1 else ())
    same(raised, one.pos, one.connect)


def test_measures_are_those_of_one_rank():
    pos, connect = grid(8, 3, True)
    mesh = parts(pos, connect)
    assert np.array_equal(d.normals(mesh), tessel2d.normals(pos, connect)[mesh.node_numbers])
    assert np.array_equal(d.normals(mesh, at="elements"),
                          tessel2d.normals(pos, connect, at="elements")[mesh.element_numbers])
    assert np.array_equal(d.angles(mesh).max, tessel2d.angles(pos, connect).max[mesh.element_numbers])
    assert np.array_equal(d.circumcenters(mesh), tessel2d.circumcenters(pos, connect)[mesh.element_numbers])
    assert abs(d.area(mesh) - tessel2d.area(pos, connect)) < 1e-14
    assert not d.volume(mesh).closed
    one = tessel2d.principal_curvatures(pos, connect, 0.3)
    assert np.array_equal(d.principal_curvatures(mesh, 0.3)[:, 6], one.k1[mesh.node_numbers])
    moved = d.offset(mesh, 0.5)
    same(moved, tessel2d.offset(pos, connect, 0.5), connect)
    copied = tessel2d.copy_with_offset(pos, connect, 0.5)
    same(d.copy_with_offset(mesh, 0.5), copied.pos, copied.connect)
    found = d.adjacency(mesh)
    one = tessel2d.host.adjacency(connect, len(pos))
    expected = one.neighbors.astype(np.uint64)[mesh.element_numbers]
    expected[expected == 0xFFFFFFFF] = d.NO_NUMBER
    assert np.array_equal(found.neighbors, expected)
    stars = d.get_connected_elements(mesh)
    assert len(stars.starts) == np.count_nonzero(mesh.node_owners == rank) + 1


def test_orientation_merging_and_tidying():
    pos, connect = grid(6, 3, True)
    turned = connect.copy()
    turned[::3] = turned[::3, [2, 1, 0]]
    one = tessel2d.mesh_reorient(turned, seed=1)
    result = d.mesh_reorient(parts(pos, turned), seed=1)
    assert result.turned == one.turned
    same(result.mesh, pos, one.connect)
    doubled = np.vstack([pos, pos])
    twice = np.vstack([connect, connect + len(pos)])
    merged = d.merge(parts(doubled, twice), 1e-9)
    assert d.simplify(merged).nodes == len(pos)


def test_fields_are_carried():
    pos, connect = grid(7, 2, True)
    mesh = parts(pos, connect)
    points = np.random.default_rng(rank).random((20, 2)) * 0.9 + 0.05
    carried = d.interpolate(mesh, mesh.pos[:, 0] + 2 * mesh.pos[:, 1], points)
    assert np.allclose(carried.values, points[:, 0] + 2 * points[:, 1], atol=1e-12)
    assert np.all(carried.state == tessel2d.INSIDE)


def test_generators_are_those_of_one_rank():
    one = tessel2d.mesh_disk_T3((1, 2), 3, 5, 1)
    disk = d.mesh_disk_T3((1, 2), 3, 5, 1)
    same(disk.mesh, one.pos, one.connect)
    assert np.array_equal(disk.boundary, one.boundary)
    same(d.mesh_disk_Q4(n=4).mesh, *tessel2d.mesh_disk_Q4(n=4)[:2])
    one = tessel2d.mesh_sphere_Q4((0, 0, 1), 2, 3, circles=True)
    sphere = d.mesh_sphere_Q4((0, 0, 1), 2, 3)
    same(sphere.mesh, one.pos, one.connect)
    assert np.array_equal(sphere.circle_y, one.circle_y)
    assert d.volume(d.mesh_sphere_T3(n=3).mesh).closed
    loop = np.array([[0, 0], [1, 0], [2, 0], [2, 1], [2, 2], [1, 2], [0, 2], [0, 1.0]])
    numbers = [0, 1, 2, 3, 4, 5, 6, 7, 0]
    same(d.mesh_struct_T3(loop, numbers, 2), *tessel2d.mesh_struct_T3(loop, numbers, 2))
    same(d.mesh_struct_Q4(loop, numbers, 2), *tessel2d.mesh_struct_Q4(loop, numbers, 2))

    def sweep(pos, edges):
        return tessel2d.extrude_translate_Q4(pos, edges, (0.0, 0.0, 2.0), layers=4)

    edges = np.column_stack([numbers[:-1], numbers[1:]])
    profile = np.column_stack([loop, np.zeros(len(loop))])
    same(d.extrude(profile, edges, sweep), *sweep(profile, edges))
    try:
        d.extrude(profile, edges, lambda pos, edges: 1 // 0)
    except (RuntimeError, tessel2d.Error):
        return
    raise AssertionError("the error of a sweep was lost")


def test_files():
    pos, connect = grid(5, 3, False)
    mesh = parts(pos, connect)
    folder = comm.bcast(tempfile.mkdtemp() if rank == 0 else None)
    path = str(Path(folder) / "mesh.h5")
    d.write(mesh, path, node_fields={"x": mesh.pos[:, 0]}, element_fields={"v": np.ones((len(mesh.connect), 2))})
    back = d.read(path)
    same(back.mesh, pos, connect)
    assert np.array_equal(back.node_fields["x"].reshape(-1), back.mesh.pos[:, 0])
    assert back.element_fields["v"].shape == (len(back.mesh.connect), 2)


def test_stub_names_what_is_there():
    stub = ast.parse((Path(__file__).resolve().parents[1] / "tessel2d" / "_distributed.pyi").read_text())
    named = {n.name for n in stub.body if isinstance(n, (ast.FunctionDef, ast.ClassDef))}
    assert named == {n for n in dir(_distributed) if not n.startswith("_")}
    for name in d.__all__:
        assert hasattr(d, name)


def test_errors_are_raised_on_all_ranks():
    pos, connect = grid(3, 2, True)
    mesh = parts(pos, connect)
    for call, argument in [
        (lambda: d.normals(mesh), "mesh"),
        (lambda: d.from_blocks(pos, connect + (1000 if rank == ranks - 1 else 0)), "connect"),
        (lambda: d.read("/nowhere/mesh.h5"), "path"),
    ]:
        try:
            call()
        except tessel2d.Error as error:
            assert error.argument == argument, error
            assert "no such" not in str(error), error
        else:
            raise AssertionError("no error")
    for wrong in ([[0.5, 1, 2]], [1, 2, 3], [[-2, 0, 1]]):
        try:
            d.from_blocks(pos, wrong)
        except (TypeError, ValueError):
            continue
        raise AssertionError(f"{wrong} was taken")


def main():
    warnings.simplefilter("error")
    failed = 0
    for name, test in sorted(globals().items()):
        if not name.startswith("test_"):
            continue
        try:
            test()
        except Exception:  # noqa: B902  all that goes wrong is told
            failed = 1
            sys.stderr.write(f"rank {rank}: {name}\n{traceback.format_exc()}")
            sys.stderr.flush()
            comm.Abort(1)
        if rank == 0:
            print("passed:", name)
    return failed


if __name__ == "__main__":
    sys.exit(main())
