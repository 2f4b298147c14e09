# SPDX-License-Identifier: Apache-2.0
"""Properties on arrays that hypothesis makes up: layout and type never change a result, and nothing that
comes in can do harm."""

import os
import signal

import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import tessel2d as t
from tessel2d import _native, host

quick = settings(max_examples=150, deadline=None, suppress_health_check=list(HealthCheck), derandomize=True)

coordinate = st.one_of(
    st.integers(-3, 3).map(float), st.floats(allow_nan=True, allow_infinity=True, width=64)
)
lengths = st.integers(0, 8)


def layouts(a):
    """The same numbers in other layouts."""
    wide = np.zeros((len(a), a.shape[1] + 2), a.dtype)
    wide[:, : a.shape[1]] = a
    return [
        a,
        wide[:, : a.shape[1]],
        np.repeat(a, 2, axis=0)[::2],
        np.asfortranarray(a),
        np.flip(np.flip(a, 0).copy(), 0),
        a.astype(a.dtype.newbyteorder()),
        a[:, ::-1].copy()[:, ::-1],
    ]


def outcome(call):
    """What a call gives, as bytes, or how it fails."""
    try:
        made = call()
    except t.Error as error:
        return error.status
    parts = made if isinstance(made, tuple) else (made,)
    return [np.asarray(p).tobytes() for p in parts]


@st.composite
def meshes(draw, dims=(2, 3), corners=(3, 4)):
    """Any nodes, and elements that may name nodes that do not exist."""
    nodes = draw(lengths)
    pos = draw(hnp.arrays(np.float64, (nodes, draw(st.sampled_from(dims))), elements=coordinate))
    shape = (draw(lengths), draw(st.sampled_from(corners)))
    connect = draw(hnp.arrays(np.int64, shape, elements=st.integers(-1, max(nodes, 1))))
    return pos, connect


@quick
@given(meshes())
def test_layout_and_type_do_not_change_results(mesh):
    pos, connect = mesh
    for function in (t.area, t.angles, t.circumcenters, t.convert_into_quadratic, t.split_into_Q4, t.normals):
        expected = outcome(lambda: function(pos, connect.astype(np.int32)))
        for p in layouts(pos):
            assert outcome(lambda: function(p, connect)) == expected
        for kind in (np.int16, np.int64, np.uint32):
            for c in layouts(connect.astype(kind)):
                assert outcome(lambda: function(pos, c)) == expected


@quick
@given(meshes())
def test_inputs_stay_as_they_are(mesh):
    pos, connect = mesh[0], mesh[1].astype(np.int32)
    before = pos.tobytes(), connect.tobytes()
    edges = connect[:, :2]
    for call in (
        lambda: t.area(pos, connect),
        lambda: t.flip(connect),
        lambda: t.mesh_reorient(connect),
        lambda: t.convert_degenerated_Q4(connect),
        lambda: t.convert_into_high_order(pos, connect, 2, 4, 1),
        lambda: t.split_Q4_into_T3(connect, pos, min_quality=0.5),
        lambda: t.offset(pos, connect, 0.5),
        lambda: t.copy_with_offset(pos, connect, 0.5),
        lambda: t.extrude_rotate_Q4(pos, edges, (0, 0), 1.0, layers=2),
        lambda: t.extrude_rotate_T3(pos, edges, (0, 0, 0), (0, 0, 1), layers=2),
        lambda: t.interpolate(pos, connect, np.zeros(len(pos)), pos[:, :2]),
        lambda: t.interpolate_metrics(pos, connect, np.ones(len(pos))),
        lambda: t.metrics_gen_aniso3d(pos, connect, 1.0),
        lambda: t.principal_curvatures(pos, connect, 1.0),
        lambda: t.get_connected_elements(connect),
        lambda: t.host.merge(pos, connect, 0.5),
    ):
        try:
            call()
        except ValueError:
            pass
        assert (pos.tobytes(), connect.tobytes()) == before


@quick
@given(
    hnp.arrays(
        hnp.scalar_dtypes(),
        hnp.array_shapes(min_dims=0, max_dims=3, min_side=0, max_side=4),
    )
)
def test_any_array_is_taken_or_refused(given_array):
    for call in (
        lambda: t.area(given_array, [[0, 1, 2]]),
        lambda: t.area([[0, 0], [1, 0], [0, 1]], given_array),
        lambda: t.mesh_struct_Q4([[0, 0]], given_array, 1),
        lambda: t.mesh_disk_T3(given_array, n=1),
        lambda: t.metrics_struct([0, 0], 1, given_array),
        lambda: t.flip(given_array, inplace=True),
    ):
        try:
            call()
        except (TypeError, ValueError):
            pass


@quick
@given(hnp.arrays(np.float64, (6, 2), elements=st.floats(-0.2, 1.2)))
def test_linear_fields_are_carried_exactly(points):
    disk = t.mesh_disk_T3(center=(0.5, 0.5), n=3)
    carried = t.interpolate(disk.pos, disk.connect, disk.pos @ [2.0, -3.0] + 1, points)
    radius = np.hypot(*(points - 0.5).T)
    inside = carried.state == t.INSIDE
    assert inside[radius < 0.95].all() and not inside[radius > 1.0 + 1e-5].any()
    assert np.allclose(carried.values[inside], (points @ [2.0, -3.0] + 1)[inside], atol=1e-9)
    assert (np.isnan(carried.values) == (carried.state == t.UNSERVED)).all()


@quick
@given(meshes(dims=(2,)), hnp.arrays(np.float64, (5, 2), elements=coordinate))
def test_points_of_any_mesh_are_served_as_nodes_are(mesh, points):
    pos, connect = mesh
    nodes, elements = len(pos), connect[(connect[:, :3].min(axis=1, initial=0) >= 0)]
    elements = elements[(elements < nodes).all(axis=1)]
    field = np.arange(2.0 * nodes).reshape(nodes, 2)
    beside = t.host.adjacency(elements, nodes)
    carried = t.interpolate(pos, elements, field, points)
    listed = t.interpolate(
        np.concatenate([pos, points]),
        elements,
        np.concatenate([field, np.full((5, 2), np.nan)]),
        nodes=np.arange(nodes, nodes + 5),
        neighbors=beside.neighbors,
        ancestors=np.concatenate([beside.ancestors, np.full(5, t.NONE, np.uint32)]),
    )
    assert carried.values.tobytes() == listed[nodes:].tobytes()
    served = carried.state != t.UNSERVED
    assert np.isnan(carried.values[~served]).all()
    if nodes and len(elements):
        transfer = host.Locator(pos, elements).transfer(points)
        assert carried.state.tolist() == transfer.states.tolist()


def test_points_are_served_as_nodes_are():
    disk = t.mesh_disk_Q4(n=3)
    points = np.random.default_rng(1).uniform(-1.3, 1.3, (200, 2))
    fields = np.c_[disk.pos, disk.pos[:, 0] * disk.pos[:, 1]]
    carried = t.interpolate(disk.pos, disk.connect, fields, points)
    beside = t.host.adjacency(disk.connect)
    ancestors = np.concatenate([beside.ancestors, np.full(200, t.NONE, np.uint32)])
    listed = t.interpolate(
        np.concatenate([disk.pos, points]),
        disk.connect,
        np.concatenate([fields, np.full((200, 3), np.nan)]),
        nodes=np.arange(len(disk.pos), len(disk.pos) + 200),
        neighbors=beside.neighbors,
        ancestors=ancestors,
    )
    assert carried.values.tobytes() == listed[len(disk.pos) :].tobytes()
    assert set(carried.state) == {t.INSIDE, t.NEAREST, t.UNSERVED}
    sizes = t.interpolate_metrics(disk.pos, disk.connect, np.full(len(disk.pos), 0.5), points)
    assert sizes.state.tolist() == carried.state.tolist()
    assert (sizes.values[carried.state != t.UNSERVED] == 0.5).all()


def test_progress_and_parts(monkeypatch):
    disk = t.mesh_disk_T3(n=2)
    points = np.random.default_rng(1).uniform(-1, 1, (1000, 2))
    whole = t.interpolate(disk.pos, disk.connect, disk.pos, points)
    monkeypatch.setattr(host, "part_size", 100)
    done = []
    parts = t.interpolate(disk.pos, disk.connect, disk.pos, points, progress=done.append)
    assert done == [100] * 10
    assert parts.values.tobytes() == whole.values.tobytes()
    assert parts.state.tobytes() == whole.state.tobytes()
    sizes = np.hypot(*disk.pos.T) + 1
    done.clear()
    parts = t.interpolate_metrics(disk.pos, disk.connect, sizes, points, progress=done.append)
    assert done == [100] * 10
    monkeypatch.undo()
    whole = t.interpolate_metrics(disk.pos, disk.connect, sizes, points)
    assert [a.tobytes() for a in parts] == [a.tobytes() for a in whole]


def test_a_batch_can_be_interrupted_between_parts(monkeypatch):
    disk = t.mesh_disk_T3(n=2)
    monkeypatch.setattr(host, "part_size", 100)
    done = []

    def interrupt(count):
        done.append(count)
        os.kill(os.getpid(), signal.SIGINT)

    # What runs in the background of a shell has been told to ignore it.
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    try:
        with pytest.raises(KeyboardInterrupt):
            t.interpolate(disk.pos, disk.connect, disk.pos, np.zeros((1000, 2)), progress=interrupt)
    finally:
        signal.signal(signal.SIGINT, before)
    assert len(done) == 1


def test_every_native_function_that_takes_arrays_refuses_nonsense():
    nonsense = [None, object(), "x", float("nan"), [[[]]], np.zeros((2, 2), complex), {}, -1, 1 << 70]
    for name in dir(_native):
        function = getattr(_native, name)
        if name.startswith("_") or name in ("version", "NodeDetector"):
            continue
        for count in range(9):
            for value in nonsense:
                try:
                    function(*[value] * count)
                except (TypeError, ValueError, MemoryError):
                    pass
