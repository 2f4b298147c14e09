# SPDX-License-Identifier: Apache-2.0
"""The host tools: the bytes of the C++ functions, and what Python adds to them."""

import collections
import json
import os
import threading
from pathlib import Path

import numpy as np
import pytest

import tessel2d as t
from tessel2d import host

recorded = Path(os.environ["TESSEL2D_RECORDED_CALLS"])
data = (recorded / "host_calls.bin").read_bytes()
calls = json.loads((recorded / "host_calls.json").read_text())
square = np.array([[0.0, 0.0], [1.0, 0.0], [1.0, 1.0], [0.0, 1.0]])
cells = np.array([[0, 1, 3], [1, 2, 3]], np.uint32)
disk = t.mesh_disk_T3(n=6)


# ------------------------------------------------------------------------------- as the C++ functions


def value(item):
    """An argument as Python has it, read-only."""
    if not isinstance(item, dict):
        return item
    kind = np.float64 if item["type"] == "number" else np.dtype(item["type"])
    shape = item["shape"]
    a = np.frombuffer(data, kind, int(np.prod(shape)), item["at"]).reshape(shape)
    return float(a[0]) if item["type"] == "number" else a


def located(pos, connect, points, elements, weights, places, tolerance, threads):
    return host.Locator(pos, connect).locate(points, tolerance=tolerance, threads=threads)


def transferred(pos, connect, points, field, *_):
    mesh = host.Locator(pos, connect)
    table = mesh.transfer(points)
    return (*table, mesh.carry(table, field))


def orientation(connect, neighbors, _):
    found = host.is_orientable(connect, neighbors)
    assert found.orientable == (found.fault is None)
    where = [t.NONE if x is None else x for x in found[2:5]]
    fault = [None, "one-sided", "mismatch"].index(found.fault)
    return (np.array([fault, *where, found.against], np.uint32),)


def loops_and_starts(connect, nodes, *_):
    loops = host.boundary_loops(connect, nodes)
    starts = np.cumsum([0, *map(len, loops)]).astype(np.uint32)
    return starts, np.concatenate([np.zeros(0, np.uint32), *loops])


again = {
    "append": lambda pos, connect, *second: host.append(pos, connect, *second),
    "arc": lambda pos, a, b, center, n, _: host.arc(pos, a, b, center, n),
    "boundary_edges": lambda connect, nodes, _: (host.boundary_edges(connect, nodes),),
    "boundary_loops": loops_and_starts,
    "components": lambda neighbors, _: host.components(neighbors)[1:],
    "curved_edges": lambda line, a, *_: host.curved_edges(line, a),
    "is_orientable": orientation,
    "locate": located,
    "patch_loop": lambda *sides: (host.patch_loop(*sides[:4]),),
    "transfer": transferred,
    "unique_edges": lambda connect, nodes, *_: host.unique_edges(connect, nodes)[:2],
    "volume": lambda pos, connect, _: host.volume(pos, connect)[:1],
}


def test_all_calls_are_there():
    counts = collections.Counter(c["function"].split("(")[0] for c in calls)
    assert set(counts) == set(again) and counts["locate"] == 2 and counts["arc"] == 4


@pytest.mark.parametrize("call", calls, ids=lambda c: c["function"].split("(")[0] + ", " + c["options"])
def test_same_bytes(call):
    name = call["function"].split("(")[0]
    args = [value(item) for item in call["entry"]]
    if call["status"] < 0:
        with pytest.raises(t.Error) as raised:
            again[name](*args)
        assert raised.value.status == call["status"] and raised.value.function == name
        return
    if name == "volume" and call["status"] > 0:
        found = host.volume(*args[:2])
        assert np.isnan(found.value) and found.open_edges == call["status"]
        return
    results = again[name](*args)
    outputs = [value(item) for item in call["return"]]
    assert len(results) == len(outputs)
    for result, expected in zip(results, outputs):
        assert np.shape(result) == np.shape(expected) or np.size(result) == np.size(expected) == 0
        assert np.asarray(result).tobytes() == np.asarray(expected).tobytes()


# ------------------------------------------------------------------------------------ located points


def test_values_are_those_of_interpolate_to_the_last_bit():
    points = np.random.default_rng(3).uniform(-1.2, 1.2, (2000, 2))
    field = np.sin(disk.pos @ [[3.0, 1], [2, 5]])
    mesh = host.Locator(disk.pos, disk.connect)
    table = mesh.transfer(points)
    carried = t.interpolate(disk.pos, disk.connect, field, points)
    assert mesh.carry(table, field).tobytes() == carried.values.tobytes()
    assert (table.states == carried.state).all() and set(table.states) == {0, 1, 2}
    flat = mesh.carry(table, field[:, 0].copy(), unserved=-5)
    assert flat.shape == (2000,) and (flat[table.states == host.UNSERVED] == -5).all()


def test_points_one_by_one():
    points = np.random.default_rng(4).uniform(-1.1, 1.1, (50, 2))
    mesh = host.Locator(disk.pos, disk.connect)
    found = mesh.locate(points)
    for p, element, weights, place in zip(points, *found):
        single = mesh.find(p)
        assert single == t.get_element_containing_point(disk.pos, disk.connect, p)
        assert (element, place) == ((t.NONE, host.OUTSIDE) if single is None else (single, host.INSIDE))
        if single is not None:
            assert np.allclose(weights @ disk.pos[disk.connect[single]], p)


def test_adjacency_that_is_there_is_used():
    beside = host.adjacency(disk.connect)
    given = host.Locator(disk.pos, disk.connect, neighbors=beside.neighbors, ancestors=beside.ancestors)
    half = host.Locator(disk.pos, disk.connect, ancestors=beside.ancestors)
    points = disk.pos * 0.99
    expected = host.Locator(disk.pos, disk.connect).locate(points).elements.tolist()
    assert given.locate(points).elements.tolist() == half.locate(points).elements.tolist() == expected
    with pytest.raises(t.Error) as raised:
        host.Locator(disk.pos, disk.connect, neighbors=cells, ancestors=beside.ancestors)
    assert (raised.value.function, raised.value.argument) == ("Locator.build", "neighbors")


def test_a_locator_keeps_what_it_needs():
    pos, connect = square.copy(), cells.copy()
    mesh = host.Locator(pos, connect)
    pos[:] = np.nan
    connect[:] = 99
    assert mesh.find((0.9, 0.8)) == 1


def test_a_degenerate_element_ends_the_search():
    mesh = host.Locator([[0, 0], [1, 0], [1, 1]], [[0, 2, 1]] * 2)  # clockwise
    assert mesh.locate([[0.5, 0.5]]).places.tolist() == [host.DEGENERATE]
    with pytest.raises(t.Error, match="^Locator.locate, p: .*area") as raised:
        mesh.find((0.6, 0.3))
    assert raised.value.status == -1


def test_parts_and_threads_change_nothing(monkeypatch):
    points = np.random.default_rng(5).uniform(-1.1, 1.1, (1000, 2))
    mesh = host.Locator(disk.pos, disk.connect)
    whole = [a.tobytes() for a in (*mesh.locate(points), *mesh.transfer(points))]
    monkeypatch.setattr(host, "part_size", 300)
    done = []
    parts = (
        *mesh.locate(points, threads=3, progress=done.append),
        *mesh.transfer(points, threads=0, progress=done.append),
    )
    assert [a.tobytes() for a in parts] == whole
    assert done == [300, 300, 300, 100] * 2


def test_work_is_interrupted_between_parts(monkeypatch):
    monkeypatch.setattr(host, "part_size", 10)
    done = []

    def progress(count):
        done.append(count)
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        host.Locator(*disk[:2]).transfer(disk.pos, progress=progress)
    assert done == [10]


def test_threads_share_a_locator():
    mesh = host.Locator(disk.pos, disk.connect)
    points = np.random.default_rng(6).uniform(-1, 1, (5000, 2))
    expected = mesh.locate(points).elements.tobytes()
    results = []
    threads = [
        threading.Thread(target=lambda: results.append(mesh.locate(points, threads=2).elements.tobytes()))
        for _ in range(8)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [expected] * 8


def test_no_points_and_no_mesh():
    mesh = host.Locator(square, cells)
    for nothing in ([], np.zeros((0, 2)), np.zeros((0, 2))[::2]):
        assert mesh.locate(nothing).weights.shape == (0, 3)
        table = mesh.transfer(nothing)
        assert mesh.carry(table, np.zeros((4, 5))).shape == (0, 5)
        assert mesh.carry(table, np.zeros(4)).shape == (0,)
    empty = host.Locator(np.zeros((0, 2)), np.zeros((0, 3), int))
    assert empty.find((0, 0)) is None
    assert empty.locate([[0, 0]]).places.tolist() == [host.OUTSIDE]
    assert empty.locate([[0, 0]]).weights.tolist() == [[0, 0, 0]]
    assert empty.transfer([[0, 0]]).states.tolist() == [host.UNSERVED]
    for connect in ([], np.zeros((0, 3), int), np.zeros((0, 4), int)):
        assert t.get_element_containing_point(square, connect, (0, 0)) is None


@pytest.mark.parametrize(
    "states, elements, local",
    [
        ([0], [99], [[0, 0]]),
        ([0], [0], np.zeros((0, 2))),
        ([7], [0], [[0, 0]]),
        ([0, 0], [0], [[0, 0]]),
        ([1], [4], [[0, 0]]),
        ([0], [0], [[0, 0, 0]]),
    ],
)
def test_tables_that_no_transfer_made_are_refused(states, elements, local):
    mesh = host.Locator(square, cells)
    with pytest.raises(t.Error) as raised:
        mesh.carry(host.Transfer(np.array(states), np.array(elements), np.array(local, float)), np.zeros(4))
    assert (raised.value.status, raised.value.argument) == (-1, "table")


def test_wrong_types_name_the_argument():
    mesh = host.Locator(square, cells)
    for call, name in (
        (lambda: mesh.find("ab"), "p"),
        (lambda: mesh.find((0, 0, 0)), "p"),
        (lambda: mesh.locate([1, 2]), "points"),
        (lambda: mesh.locate(square, tolerance="x"), "tolerance"),
        (lambda: mesh.locate(square, threads=1.5), "threads"),
        (lambda: mesh.transfer(None), "points"),
        (lambda: mesh.carry(mesh.transfer(square), None), "field"),
        (lambda: host.Locator(None, cells), "pos"),
        (lambda: host.arc(square, 0, 1, (0,), 2), "center"),
        (lambda: host.patch_loop([0, 1], [1, 2], [2, 3], 0), "left"),
        (lambda: host.curved_edges([[0, 1]], 1), "line"),
        (lambda: host.append(square, cells, square, 1.5), "connect2"),
    ):
        with pytest.raises(TypeError, match=f"^{name}: "):
            call()


# ----------------------------------------------------------------------- outlines, volume, orientation


def test_a_ring_out_of_arcs_and_lines():
    """A quarter of a ring, quadratic along its curved sides, twice."""
    pos = np.array([[1.0, 0], [2, 0], [0, 2], [0, 1]])
    kept = pos.copy()
    pos, outer = host.arc(pos, 1, 2, (0, 0), 16)
    pos, inner = host.arc(pos, 0, 3, (0, 0), 16)
    assert np.allclose(np.hypot(*pos[outer].T), 2) and (pos[:4] == kept).all()
    outer, outer_edges = host.curved_edges(outer, 1)
    inner, inner_edges = host.curved_edges(inner, 1)
    loop = host.patch_loop([0, 1], outer, [2, 3], inner)
    ring = t.mesh_struct_Q4(pos, loop, 8)
    fine = t.convert_into_quadratic(*ring, np.concatenate([outer_edges, inner_edges]))
    assert fine.connect.shape == (8, 9)
    both = host.append(*fine, *fine)
    assert both.connect.shape == (16, 9) and len(both.pos) == 2 * len(fine.pos)
    assert (both.connect[8:] == fine.connect + len(fine.pos)).all()


def test_inputs_of_outlines_stay_as_they_are():
    pos, connect = square.copy(), cells.copy()
    grown = host.append(pos, connect, pos, connect)
    host.arc(pos, 0, 1, (0.5, 0), 9)
    assert (pos == square).all() and (connect == cells).all()
    assert not np.shares_memory(grown.pos, pos) and grown.connect.shape == (4, 3)
    same = host.arc(pos, 0, 1, (0.5, 0), 1)
    assert (same.pos == square).all() and not np.shares_memory(same.pos, pos)


def test_volume_has_the_sign_of_the_orientation():
    sphere = t.mesh_sphere_T3(radius=2.0, n=20)
    out = host.volume(*sphere)
    inwards = host.volume(sphere.pos, t.flip(sphere.connect))
    assert out.open_edges == 0 and abs(out.value - 32 / 3 * np.pi) < 0.1
    assert inwards.value == -out.value
    opened = host.volume(sphere.pos, sphere.connect[1:])
    assert np.isnan(opened.value) and opened.open_edges == 3


def test_a_strip_with_one_side():
    strip = np.array([[0, 1, 2], [1, 3, 2], [2, 3, 4], [3, 5, 4], [4, 5, 1], [5, 0, 1]])
    found = host.is_orientable(strip)
    assert not found.orientable and found.fault == "one-sided"
    assert {found.element, found.neighbor} <= set(range(6)) and 0 <= found.edge < 3
    torn = np.full_like(cells, t.NONE)
    torn[0, 0] = 1
    assert host.is_orientable(cells, torn).fault in (None, "mismatch")
    assert host.is_orientable(cells).against == 0
