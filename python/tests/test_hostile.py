# SPDX-License-Identifier: Apache-2.0
"""Every function with one argument after the other replaced by what does not belong there: it works or raises
an exception that names the argument, and never changes another one. In other layouts results are the same."""

import inspect

import numpy as np
import pytest

import tessel2d as t

plane = t.mesh_disk_T3(n=2)
square = np.array([[0.0, 0], [1, 0], [1, 1], [0, 1]])
loop = np.array([0, 1, 2, 3, 0])
sphere = t.mesh_sphere_T3(n=2)
quads = t.mesh_disk_Q4(n=2)
edge = {"pos": np.array([[1.0, 0, 0], [2, 0, 0]]), "edges": np.array([[0, 1]]), "layers": 2}
screw = {"center": np.zeros(3), "angle": np.array([0.0, 0, 1])}
beside = t.host.adjacency(plane.connect)
across = {"neighbors": beside.neighbors, "ancestors": beside.ancestors}
flat = {"pos": plane.pos, "connect": plane.connect}
round_ = {"pos": sphere.pos, "connect": sphere.connect}
linear = {"pos": quads.pos, "connect": quads.connect}
located = t.host.Locator(*flat.values())
table = located.transfer(plane.pos[:5])

#: Arguments with which each function works.
calls = {
    t.angles: {**flat, "normalise": True},
    t.area: flat,
    t.circumcenters: flat,
    t.convert_degenerated_Q: {"connect": quads.connect},
    t.convert_degenerated_Q4: {"connect": quads.connect},
    t.convert_into_high_order: {**linear, "a": 2, "b": 4, "c": 0, "edges": np.array([[0, 1, 2, 3]])},
    t.convert_into_linear: {"connect": t.convert_into_quadratic(*linear.values()).connect},
    t.convert_into_quadratic: {**flat, "edges": np.array([[0, 1, 2]])},
    t.copy_with_offset: {**round_, "by": 0.5, "vectors": sphere.pos},
    t.extrude_normal_Q4: {**edge, "pos": square, "by": np.ones((4, 2))},
    t.extrude_normal_T3: {**edge, "pos": square, "by": np.ones((4, 2)), "pattern": 1},
    t.extrude_rotate_Q4: {**edge, **screw},
    t.extrude_rotate_T3: {**edge, **screw, "pattern": 1},
    t.extrude_spiral_Q4: {**edge, **screw, "T": np.ones(3)},
    t.extrude_spiral_T3: {**edge, **screw, "T": np.ones(3), "pattern": 1},
    t.extrude_translate_Q4: {"pos": edge["pos"], "edges": edge["edges"], "T": np.ones(3), "h0": 0.5, "h1": 1.0, "even": True},
    t.extrude_translate_T3: {**edge, "T": np.ones(3), "pattern": 1},
    t.flip: {"connect": plane.connect, "kind": "T3", "neighbors": beside.neighbors},
    t.get_connected_elements: {"connect": plane.connect, **across},
    t.get_element_containing_point: {**flat, "p": np.array([0.1, 0.2]), "tolerance": 1e-6, **across},
    t.interpolate: {**flat, "field": plane.pos[:, 0].copy(), "points": plane.pos[:5], **across},
    t.interpolate_metrics: {**flat, "metrics": np.ones((len(plane.pos), 3)), "points": plane.pos[:5], **across},
    t.mesh_disk_Q4: {"center": np.zeros(2), "radius": 1.0, "n": 2},
    t.mesh_disk_T3: {"center": np.zeros(2), "radius": 1.0, "n": 2, "pattern": 1},
    t.mesh_disk_UR_Q4: {"center": np.zeros(2), "radius": 1.0, "n": 2},
    t.mesh_disk_UR_T3: {"center": np.zeros(2), "radius": 1.0, "n": 2, "pattern": 1},
    t.mesh_reorient: {"connect": plane.connect, "neighbors": beside.neighbors, "seed": 1, "all_components": True},
    t.mesh_sphere_Q4: {"center": np.zeros(3), "radius": 1.0, "n": 2, "circles": True},
    t.mesh_sphere_T3: {"center": np.zeros(3), "radius": 1.0, "n": 2, "pattern": 1},
    t.mesh_sphere_UR_Q4: {"center": np.zeros(3), "radius": 1.0, "n": 2},
    t.mesh_sphere_UR_T3: {"center": np.zeros(3), "radius": 1.0, "n": 2, "pattern": 1},
    t.mesh_struct_Q4: {"pos": square, "boundary": loop, "n": 1},
    t.mesh_struct_T3: {"pos": square, "boundary": loop, "n": 1, "pattern": 1},
    t.metrics_gen_aniso3d: {**round_, "normal_size": 1.0, "metrics": np.ones((2, 6))},
    t.metrics_struct: {"boundary": loop, "n": 1, "metrics": np.ones(4)},
    t.normals: {**round_, "at": "nodes", "power": 1.0, "unit": True},
    t.offset: {**round_, "by": 0.5, "vectors": sphere.pos},
    t.parametric_curvatures: {**flat, "D": np.ones((len(plane.pos), 6))},
    t.principal_curvatures: {
        **round_,
        "radius": 1.0,
        "max_angle": 1.0,
        "max_elements": 9,
        "hard_edges": np.array([[0, 1]]),
        "neighbors": t.host.adjacency(sphere.connect).neighbors,
    },
    t.split_Q4_into_T3: {**linear, "min_quality": 0.5},
    t.split_into_Q4: {**linear, "edges": np.array([[0, 1, 2]])},
    t.split_into_linear: {"connect": t.convert_into_quadratic(*linear.values()).connect},
    t.host.Locator: {**flat, **across},
    t.host.adjacency: {"connect": plane.connect, "nodes": len(plane.pos)},
    t.host.append: {**flat, "pos2": plane.pos, "connect2": plane.connect},
    t.host.arc: {"pos": square, "a": 0, "b": 1, "center": np.array([0.5, 0.5]), "n": 2},
    t.host.boundary_edges: {"connect": plane.connect, "nodes": len(plane.pos)},
    t.host.boundary_loops: {"connect": plane.connect, "nodes": len(plane.pos)},
    t.host.components: {"neighbors": beside.neighbors},
    t.host.curved_edges: {"line": np.array([0, 5, 1, 6, 2]), "a": 1},
    t.host.is_orientable: {"connect": plane.connect, "neighbors": beside.neighbors},
    t.host.merge: {**flat, "tolerance": 0.01},
    t.host.patch_loop: {k: np.array(v) for k, v in zip(("bottom", "right", "top", "left"), ([0, 1], [1, 2], [2, 3], [3, 0]))},
    t.host.unique_edges: {"connect": plane.connect, "nodes": len(plane.pos)},
    t.host.volume: round_,
    located.carry: {"table": table, "field": plane.pos[:, 0].copy(), "unserved": 7.0},
    located.find: {"p": np.array([0.1, 0.2]), "tolerance": 1e-6},
    located.locate: {"points": plane.pos[:5], "tolerance": 1e-6, "threads": 2},
    located.transfer: {"points": plane.pos[:5], "threads": 2},
    t.host.NodeDetector: {"pos": plane.pos},
}

each_call = pytest.mark.parametrize("function", calls, ids=lambda f: f.__qualname__)


def made(function, arguments):
    """Calls by name, but for the classes and methods of the native module, which know positions alone."""
    return function(*arguments.values()) if function is t.host.NodeDetector else function(**arguments)


def flattened(result):
    """All arrays and scalars of a result as bytes."""
    if isinstance(result, (tuple, list)):
        return [piece for part in result for piece in flattened(part)]
    if isinstance(result, (t.host.Locator, t.host.NodeDetector)):
        return []
    return [np.asarray(result).tobytes()]


def in_other_layouts(a):
    """The same numbers as they may lie in memory, and of other types where these can hold them."""
    twice = np.repeat(a, 2, axis=0)
    yield twice[::2]
    yield np.flip(np.flip(a).copy())  # negative strides
    yield np.asfortranarray(a)
    yield a.astype(a.dtype.newbyteorder())
    raw = np.frombuffer(b"\0" + np.ascontiguousarray(a).tobytes(), np.uint8)[1:]
    yield raw.view(a.dtype).reshape(a.shape)  # read-only and not aligned
    wide = np.full((*a.shape[:-1], a.shape[-1] + 3), -5).astype(a.dtype)
    wide[..., : a.shape[-1]] = a
    yield wide[..., : a.shape[-1]]
    yield a.tolist()
    yield np.ma.masked_array(a)
    if a.dtype.kind in "iu":
        yield a.astype(np.int64)
        yield a.astype(np.uint64)
        yield a.astype(np.int32)
    else:
        yield a.astype(np.longdouble)


@each_call
def test_layout_and_type_do_not_matter(function):
    arguments = calls[function]
    expected = flattened(made(function, arguments))
    for name, given in arguments.items():
        if not isinstance(given, np.ndarray):
            continue
        for other in in_other_layouts(given):
            assert flattened(made(function, {**arguments, name: other})) == expected, (name, other)


class Unwilling:
    """Says that it is an array and fails when it is read."""

    def __array__(self, *_):
        raise RuntimeError("no")


class Endless:
    """A sequence that does not end."""

    def __len__(self):
        return 1 << 62

    def __getitem__(self, k):
        raise MemoryError


def nonsense():
    yield from (None, object(), "text", b"bytes", {}, {1}, [[1, 2], [3]], [["a"]], Unwilling(), Endless())
    yield from (float("nan"), float("inf"), -1, -1.5, 1 << 32, 1 << 64, 10**400, True, 1j)
    for kind in ("f8", "f4", "u4", "i4", "i8", "u8", "i1", "O", "c16", "M8[s]", "V8", "S3", "?"):
        for shape in ((), (0,), (3,), (0, 0), (0, 3), (3, 0), (1, 2), (2, 3), (2, 4), (5, 6), (1, 1, 1), (1 << 50, 0)):
            yield np.zeros(shape, kind)
    for value in (np.nan, np.inf, -np.inf, 1e308, -1e308, 5e-324):
        for shape in ((2,), (3,), (7, 2), (7, 3)):
            yield np.full(shape, value)
    for number in (-1, -2, 6, 1 << 31, (1 << 32) - 1, 1 << 32, -(1 << 63)):
        for shape in ((5,), (3, 2), (3, 3), (3, 4)):
            yield np.full(shape, number)
    yield np.broadcast_to(np.uint32(0), (1 << 44, 3))  # no memory behind most of it
    yield np.broadcast_to(np.float64(0), (1 << 44, 3))
    yield np.zeros(3, "f8,i4")


def snapshot(arguments):
    return {n: flattened(a) for n, a in arguments.items() if isinstance(a, (np.ndarray, tuple))}


#: A centre in the plane goes with a single angle, and without h0 there have to be layers.
goes_with = {"center": "angle", "h0": "layers"}


@each_call
def test_nonsense_is_taken_or_refused_by_name(function):
    arguments = calls[function]
    before = snapshot(arguments)
    for name in arguments:
        for given in nonsense():
            try:
                made(function, {**arguments, name: given})
            except (t.Error, MemoryError):
                pass
            except (TypeError, ValueError) as error:
                told = str(error).split(":")[0]
                assert told in (name, goes_with.get(name)), (name, given, error)
    assert snapshot(arguments) == before


@pytest.mark.parametrize("inplace", [None, "yes", 1.0, np.ones(2), [True]])
def test_flags_are_true_or_false(inplace):
    with pytest.raises(TypeError, match="^inplace: True or False is expected"):
        t.flip(plane.connect, inplace=inplace)
    assert t.flip(plane.connect, inplace=np.bool_(False)) is not plane.connect


def test_an_interruption_while_an_array_is_read_goes_on():
    class Interrupted:
        def __array__(self, *_):
            raise KeyboardInterrupt

        __float__ = __len__ = __array__

    with pytest.raises(KeyboardInterrupt):
        t.area(Interrupted(), plane.connect)
    with pytest.raises(KeyboardInterrupt):
        t.mesh_disk_T3(radius=Interrupted())
    with pytest.raises(KeyboardInterrupt):
        t.extrude_translate_Q4(edge["pos"], edge["edges"], Interrupted(), layers=1)


def test_every_function_has_a_call():
    functions = {getattr(t, name) for name in t.__all__ if inspect.isroutine(getattr(t, name))}
    tools = {getattr(t.host, name) for name in t.host.__all__ if inspect.isroutine(getattr(t.host, name))}
    assert functions | tools <= {*calls, t.version}


def test_a_detector_of_other_nodes_does_no_harm():
    many = t.host.NodeDetector(np.random.default_rng(1).uniform(-1, 1, (5000, 2)))
    none = t.host.NodeDetector(np.zeros((0, 2)))
    for detector in (many, none):
        for p in np.linspace(-1, 1, 40).reshape(20, 2):
            t.get_element_containing_point(*flat.values(), p, detector=detector)


def test_a_table_of_another_mesh_does_no_harm():
    large = t.mesh_disk_T3(n=20)
    foreign = t.host.Locator(*large[:2]).transfer(np.random.default_rng(1).uniform(-1, 1, (500, 2)))
    with pytest.raises(t.Error) as raised:
        located.carry(foreign, plane.pos[:, 0])
    assert raised.value.argument == "table"


def test_subclasses_of_arrays():
    assert t.area(np.rec.array(plane.pos), plane.connect) == t.area(*flat.values())
