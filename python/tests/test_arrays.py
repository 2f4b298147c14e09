# SPDX-License-Identifier: Apache-2.0
"""Which arrays come in, without a copy where that is possible, and what comes of those that do not fit."""

import gc
import pickle
import sys
import threading
import time
import warnings
import weakref

import numpy as np
import pytest

import tessel2d as t
from tessel2d import _native

square = np.array([[0.0, 0.0], [1.0, 0.0], [1.0, 1.0], [0.0, 1.0]])
cells = np.array([[0, 1, 3], [1, 2, 3]], np.uint32)


@pytest.fixture
def copies():
    """Copies that happen while a test runs."""
    t.warn_copies = True
    try:
        with warnings.catch_warnings(record=True) as list_:
            warnings.simplefilter("always")
            yield list_
    finally:
        t.warn_copies = False


# ------------------------------------------------------------------------------------ without a copy


@pytest.mark.parametrize(
    "pos",
    [
        square,
        np.column_stack([square, [5, 6, 7, 8]])[:, :2],
        np.repeat(square, 3, axis=0)[::3],
        np.frombuffer(square.tobytes()).reshape(4, 2),  # read-only
        square.view(np.ndarray)[:, :],
    ],
)
def test_coordinates_are_read_where_they_are(pos, copies):
    assert t.area(pos, cells) == 1.0
    assert _native.as_reals(pos, "pos") is pos
    assert not copies


@pytest.mark.parametrize(
    "connect",
    [cells, cells.astype(np.int32), np.column_stack([cells, cells])[:, :3], np.repeat(cells, 2, 0)[::2]],
)
def test_numbers_of_32_bits_are_read_where_they_are(connect, copies):
    assert t.area(square, connect) == 1.0
    assert not copies


def test_results_hand_over_the_memory_of_the_library():
    mesh = t.mesh_sphere_T3(n=20)
    for a in mesh:
        assert a.flags.c_contiguous and a.flags.writeable and not a.flags.owndata
        assert type(a.base).__name__ == "PyCapsule"
    assert t.normals(*mesh).flags.aligned


def test_five_passes_over_a_large_mesh_take_no_memory():
    n = 1000
    loop = np.arange(4 * n + 1, dtype=np.uint32) % (4 * n)
    s = np.linspace(0, 1, n + 1)[:-1]
    o = np.zeros(n)
    pos = np.concatenate(
        [np.c_[s, o], np.c_[o + 1, s], np.c_[1 - s, o + 1], np.c_[o, 1 - s]]
    )
    mesh = t.mesh_struct_T3(pos, loop, n)
    assert len(mesh.connect) == 2_000_000
    before = resident()
    for _ in range(5):
        assert abs(t.area(*mesh) - 1) < 1e-9
    assert resident() - before < 1 << 20


def test_small_slices_of_a_result_keep_all_of_it():
    first = t.mesh_disk_T3(n=4).pos[:1]
    gc.collect()
    junk = [np.full(1000, 7.0) for _ in range(100)]
    assert first.tolist() == [[0.0, 0.0]] and junk


# ------------------------------------------------------------------------------------------- copies


@pytest.mark.parametrize(
    "pos",
    [
        square.astype(np.float32),
        square.astype(int),
        square.astype(">f8"),
        square.astype(np.longdouble),
        np.asfortranarray(square),
        square[::-1][::-1].copy()[::-1][::-1][:, ::-1].copy()[:, ::-1],
        np.flip(np.flip(square, 0).copy(), 0),
        np.ndarray((4, 2), np.float64, b"x" + square.tobytes(), 1),  # not aligned
    ],
)
def test_other_coordinates_are_copied(pos, copies):
    assert t.area(pos, cells) == 1.0
    assert [w.category for w in copies] == [t.CopyWarning]
    assert "pos" in str(copies[0].message) and copies[0].filename == __file__


@pytest.mark.parametrize(
    "kind", ["i1", "u1", "i2", "u2", "i8", "u8", ">u4", ">i8", ">i4"]
)
def test_integers_of_any_type_are_taken(kind, copies):
    assert t.area(square, cells.astype(kind)) == 1.0
    assert len(copies) == 1 and "connect" in str(copies[0].message)


@pytest.mark.parametrize("kind", ["i1", "i2", "i4", "i8", ">i8"])
def test_minus_one_is_no_node(kind):
    mixed = np.array([[0, 1, 3, -1], [1, 2, 3, -1]], kind)
    assert t.area(square, mixed) == 1.0
    assert t.convert_degenerated_Q4(mixed).connect[0, 3] == t.NONE


@pytest.mark.parametrize("number", [-2, 1 << 32, 1 << 40, -(1 << 31), -(1 << 63), (1 << 63) - 1])
def test_numbers_beyond_32_bits_are_refused(number):
    kind = np.int32 if -(1 << 31) <= number < 0 else np.int64
    for connect in (np.array([[0, 1, number]], kind), np.array([[0, 1, number]] * 3, np.int64)[::2]):
        with pytest.raises(ValueError, match="connect"):
            t.area(square, connect)
    assert t.area(square, np.zeros((0, 3), kind)) == 0


def test_unsigned_numbers_beyond_32_bits_are_refused():
    with pytest.raises(ValueError, match="connect: 18446744073709551615"):
        t.flip(np.array([[0, 1, (1 << 64) - 1]], np.uint64))
    assert t.flip(np.array([[0, 1, t.NONE]], np.uint64))[0, 0] == t.NONE


def test_lists_and_tuples_are_taken_silently(copies):
    assert t.area([(0, 0), (1, 0), (0, 1)], [[0, 1, 2]]) == 0.5
    assert not copies


# ------------------------------------------------------------------------------------ what is refused


@pytest.mark.parametrize(
    "pos",
    [
        None,
        "text",
        b"bytes",
        object(),
        7,
        1.5,
        [[1, 2], [3]],
        [["a", "b"]],
        np.array([[None, 1]]),
        np.array([[1, 2]], object),
        np.array([[1j, 2]]),
        np.array([[True, False]]),
        np.array(["2020-01-01"], "M8[D]"),
        np.zeros(3),
        np.zeros((2, 2, 2)),
        np.array(1.0),
        np.zeros((2, 2), "f8,i4"),
        {1: 2},
        np.ma,
    ],
)
def test_wrong_types_are_type_errors_that_name_the_argument(pos):
    with pytest.raises(TypeError, match="^pos: "):
        t.area(pos, cells)


@pytest.mark.parametrize("connect", [None, "no", np.zeros((2, 3)), [[0.0, 1.0, 2.0]], np.zeros(3, int)])
def test_wrong_connectivities_are_type_errors(connect):
    with pytest.raises(TypeError, match="^connect: "):
        t.area(square, connect)


def test_scalars_are_tested():
    for radius in ("1", None, [1.0], 1j):
        with pytest.raises(TypeError, match="^radius: "):
            t.mesh_disk_T3(radius=radius)
    for n in (1.0, "1", None):
        with pytest.raises(TypeError, match="^n: "):
            t.mesh_disk_T3(n=n)
    for n in (-1, 1 << 32, 1 << 99):
        with pytest.raises(ValueError, match="^n: "):
            t.mesh_disk_T3(n=n)
    for center in ((0,), (0, 0, 0), "ab", None, ("a", "b"), 5):
        with pytest.raises(TypeError, match="^center: "):
            t.mesh_disk_T3(center)
    assert len(t.mesh_disk_T3(np.array([0, 0]), np.float32(1), np.int8(1)).connect) == 24


def test_layers_are_asked_for_in_one_way():
    edge = ([[0, 0], [1, 0]], [[0, 1]])
    for keywords in ({}, {"layers": 1, "h0": 1.0}, {"layers": 1, "h1": 1.0}, {"layers": 1, "even": True}):
        with pytest.raises(TypeError):
            t.extrude_translate_Q4(*edge, (0, 1), **keywords)


def test_empty_arrays():
    nothing = np.zeros((0, 2))
    assert t.area(nothing, np.zeros((0, 3), np.uint32)) == 0
    assert t.area([], []) == 0
    assert t.mesh_struct_Q4([], [], 0).connect.shape == (0, 4)
    assert t.mesh_disk_Q4(n=0).pos.shape == (0, 2)
    assert t.normals(np.zeros((0, 3)), np.zeros((0, 3), int)).shape == (0, 3)
    with pytest.raises(t.Error):
        t.circumcenters(np.zeros((4, 0)), np.zeros((4, 0), np.uint32))
    for shape in ((4,), (4, 3), (4, 0)):
        carried = t.interpolate(square, cells, np.zeros(shape), np.zeros((0, 2)))
        assert (carried.values.shape, carried.state.shape) == ((0, *shape[1:]), (0,))
        carried = t.interpolate(square, cells, np.zeros(shape), square)
        assert carried.values.shape == shape and (carried.state == t.INSIDE).all()
    carried = t.interpolate(nothing, [], [], square)
    assert np.isnan(carried.values).all() and (carried.state == t.UNSERVED).all()


def test_huge_shapes():
    for shape in ((1 << 57, 0), (0, 1 << 57)):
        with pytest.raises(t.Error):
            t.area(np.zeros(shape), cells)
        try:
            t.area(square, np.zeros(shape, np.uint32))
        except t.Error:
            pass
    endless = np.broadcast_to(np.zeros(3), (1 << 44, 3))
    with pytest.raises(MemoryError):
        t.area(endless, cells)
    with pytest.raises(MemoryError):
        t.area(square, np.broadcast_to(np.uint32(0), (1 << 44, 3)))
    with pytest.raises(MemoryError):
        t.mesh_disk_T3(n=(1 << 32) - 1)


def test_errors_say_what_is_wrong():
    with pytest.raises(t.Error) as raised:
        t.area(square, [[0, 1, 9]])
    error = raised.value
    assert isinstance(error, ValueError)
    assert (error.function, error.status, error.argument) == ("area", -2, "connect")
    assert "names a node that does not exist" in error.sentence
    assert str(error).startswith("area, connect: ") and str(error).endswith("exist (status -2)")
    again = pickle.loads(pickle.dumps(error))
    assert str(again) == str(error) and again.status == -2


@pytest.mark.parametrize(
    "call, status, argument",
    [
        (lambda: t.mesh_struct_Q4(np.zeros((4, 4)), [0], 1), -1, "pos"),
        (lambda: t.mesh_struct_Q4(square, [0, 1, 2, 3, 9], 1), -2, "boundary"),
        (lambda: t.mesh_struct_Q4(square, [0, 1, 2, 3, 0], 9), -3, "n"),
        (lambda: t.mesh_struct_T3(square, [0, 1, 2, 3, 0], 1, 3), -4, "pattern"),
        (lambda: t.metrics_struct([0, 1, 2, 3, 0], 1, np.zeros((4, 5))), -3, "metrics"),
        (lambda: t.extrude_translate_Q4(square, [[0, 1]], (0, 1), h0=-1.0), -4, "h0"),
        (lambda: t.extrude_translate_Q4(square, [[0, 1]], (0, 1), h0=1.0, h1=0.0), -5, "h1"),
        (lambda: t.extrude_translate_Q4(square, [[0, 9]], (0, 1), layers=1), -2, "edges"),
        (lambda: t.extrude_translate_T3(square, [[0, 1]], (0, 1), layers=1, pattern=5), -6, "pattern"),
        (lambda: t.extrude_rotate_Q4(square, [[0, 1]], (0, 0), 1.0, h0=0.0), -5, "h0"),
        (lambda: t.extrude_normal_Q4(square, [[0, 1]], -1.0, h0=1.0), -3, "by"),
        (lambda: t.extrude_spiral_T3(np.zeros((2, 3)), [[0, 1]], [0] * 3, [0] * 3, [1] * 3, h0=0.0), -6, "h0"),
        (
            lambda: t.extrude_spiral_T3(np.zeros((2, 3)), [[0, 1]], [0] * 3, [0] * 3, [1] * 3, h0=1.0, h1=0.0),
            -4,
            "h1",
        ),
        (lambda: t.normals(square, cells), -1, "pos"),
        (lambda: t.offset(np.zeros((4, 3)), [[0, 1, 9]], 1.0), -3, "connect"),
        (lambda: t.offset(np.zeros((4, 3)), cells, 1.0, vectors=square), -3, "vectors"),
        (lambda: t.convert_into_linear(cells), -1, "connect"),
        (lambda: t.convert_into_quadratic(square, cells, [[0, 1]]), -6, "edges"),
        (lambda: t.convert_into_high_order(square, cells, 1, 2, 0), -4, "b"),
        (lambda: t.split_into_Q4(square, cells, [[0, 1]]), -4, "edges"),
        (lambda: t.flip(cells, kind="Q4"), -2, "connect"),
        (lambda: t.flip(cells, neighbors=cells[:1]), -2, "neighbors"),
        (lambda: t.mesh_reorient(cells, seed=5), -3, "seed"),
        (lambda: t.mesh_reorient(cells, cells[:1]), -2, "neighbors"),
        (lambda: t.mesh_reorient(np.zeros((2, 5), int)), -1, "connect"),
        (lambda: t.get_connected_elements(cells, cells, [7]), -3, "ancestors"),
        (lambda: t.principal_curvatures(np.zeros((4, 3)), cells, 1.0, hard_edges=[[0, 9]]), -7, "hard_edges"),
        (lambda: t.parametric_curvatures(square, cells, square), -3, "D"),
        (lambda: t.get_element_containing_point(square, cells, (0, 0), ancestors=[0]), -4, "ancestors"),
        (lambda: t.get_element_containing_point(square, [[0, 1, 9]], (0, 0)), -2, "connect"),
        (lambda: t.interpolate(square, cells, [1.0], nodes=[0]), -5, "field"),
        (lambda: t.interpolate(square, cells, [1.0], [[0, 0]]), -5, "field"),
        (lambda: t.interpolate(np.zeros((4, 3)), cells, [1.0], [[0, 0]]), -1, "pos"),
        (lambda: t.interpolate(square, cells, np.zeros(4), nodes=[9]), -6, "nodes"),
        (lambda: t.interpolate_metrics(square, cells, [1.0]), -5, "metrics"),
        (lambda: t.metrics_gen_aniso3d(np.zeros((4, 3)), cells, 1.0, np.zeros((1, 5))), -4, "metrics"),
    ],
)
def test_each_error_names_its_argument(call, status, argument):
    with pytest.raises(t.Error) as raised:
        call()
    assert (raised.value.status, raised.value.argument) == (status, argument)


# ------------------------------------------------------------------------------------------- in place


def test_in_place():
    pos = np.array([[0.0, 0, 0], [2, 0, 0], [0, 2, 0]])
    assert t.offset(pos, [[0, 1, 2]], 0.5, inplace=True) is pos
    assert pos[:, 2].tolist() == [0.5] * 3
    wide = np.column_stack([pos, [7, 8, 9]])
    t.offset(wide[:, :3], [[0, 1, 2]], 0.5, inplace=True)
    assert wide[:, 2:].tolist() == [[1, 7], [1, 8], [1, 9]]
    connect = cells.copy()
    assert t.flip(connect, inplace=True) is connect and connect.tolist() == cells[:, ::-1].tolist()
    field = np.zeros(4)
    assert t.interpolate(square, cells, field, nodes=[0], inplace=True) is field


def test_what_cannot_be_changed_in_place_is_refused():
    locked = cells.copy()
    locked.setflags(write=False)
    for connect in (locked, cells.astype(np.int64), cells.tolist(), cells[:, ::-1], np.asfortranarray(cells)):
        with pytest.raises(TypeError, match="^connect: inplace"):
            t.flip(connect, inplace=True)


def test_inputs_stay_as_they_are_when_they_shrink():
    # The library cuts the third row of these nodes in the memory where they are.
    pos = np.arange(12.0).reshape(4, 3)
    kept = pos.copy()
    ring = t.extrude_rotate_Q4(pos, [[0, 1]], (0, 0), 1.0, layers=2)
    assert ring.pos.shape == (8, 2) and (pos == kept).all()
    quadratic = np.arange(18, dtype=np.uint32).reshape(2, 9)
    t.convert_into_linear(quadratic)
    assert (quadratic == np.arange(18).reshape(2, 9)).all()
    patch = t.mesh_struct_T3(square, [0, 1, 2, 3, 0], 2)
    assert patch.pos.shape == (3, 2) and not np.shares_memory(patch.pos, square)


def test_what_grows_by_nothing_is_new_all_the_same():
    mesh = t.mesh_struct_Q4(square, [0, 1, 2, 3, 0], 1)
    assert (mesh.pos == square).all() and not np.shares_memory(mesh.pos, square)
    wide = np.zeros((4, 5))
    wide[:, :2] = square
    grown = t.mesh_struct_Q4(wide[:, :2], [0, 1, 2, 3, 0], 1).pos
    assert grown.flags.c_contiguous and (grown == square).all()


# ------------------------------------------------------------------------------ lifetimes and threads


def test_arguments_are_released():
    pos, connect = square.copy(), cells.astype(np.int64)
    counts = sys.getrefcount(pos), sys.getrefcount(connect)
    for _ in range(100):
        t.area(pos, connect)
        t.convert_into_quadratic(pos, connect)
        with pytest.raises(t.Error):
            t.area(pos, [[0, 1, 9]])
        with pytest.raises(TypeError):
            t.area(pos, object())
    assert (sys.getrefcount(pos), sys.getrefcount(connect)) == counts
    alive = weakref.ref(pos)
    del pos
    assert alive() is None


def test_results_outlive_their_inputs():
    pos = square.copy()
    mesh = t.convert_into_quadratic(pos, cells)
    expected = mesh.pos.tolist()
    pos[:] = 99
    del pos
    gc.collect()
    assert mesh.pos.tolist() == expected


def resident():
    with open("/proc/self/statm") as f:
        return int(f.read().split()[1]) * 4096


def test_memory_does_not_grow_over_a_thousand_calls():
    disk = t.mesh_disk_T3(n=10)
    space = np.column_stack([disk.pos, np.zeros(len(disk.pos))])

    def pass_over_everything():
        t.mesh_disk_Q4(n=10)
        t.normals(space, disk.connect)
        t.convert_into_quadratic(disk.pos, disk.connect.astype(np.int64))
        t.split_into_Q4(disk.pos[:, :2], disk.connect)
        t.get_connected_elements(disk.connect)
        t.interpolate(disk.pos, disk.connect, disk.pos, disk.pos[:5])
        try:
            t.area(disk.pos, disk.connect + 1)
        except t.Error:
            pass

    for _ in range(50):
        pass_over_everything()
    gc.collect()
    before = resident()
    for _ in range(1000):
        pass_over_everything()
    gc.collect()
    assert resident() - before < 2 << 20


def test_other_threads_run_during_a_call():
    sphere = t.mesh_sphere_T3(n=60)
    ticks, done = [], threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(time.perf_counter())

    thread = threading.Thread(target=tick)
    thread.start()
    start = time.perf_counter()
    t.principal_curvatures(*sphere, 0.05)
    end = time.perf_counter()
    done.set()
    thread.join()
    # With the lock held there would be no tick between the two ends but in the first and last moments.
    middle = [x for x in ticks if start + (end - start) / 4 < x < end - (end - start) / 4]
    assert len(middle) > 10


def test_threads_give_equal_results():
    sphere = t.mesh_sphere_T3(n=20)
    expected = t.normals(*sphere).tobytes()
    results = []
    threads = [
        threading.Thread(target=lambda: results.append(t.normals(*sphere).tobytes())) for _ in range(8)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [expected] * 8
