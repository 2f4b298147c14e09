# SPDX-License-Identifier: Apache-2.0
"""Every call of the C++ catalogue, repeated from Python on arrays, gives the same bytes.

`record_calls` writes down what goes into each call and what comes out. Inputs come as read-only arrays with
the leading dimensions that they had, so that a function which writes to an input fails.
"""

import collections
import json
import os
from pathlib import Path

import numpy as np
import pytest

import tessel2d as t

recorded = Path(os.environ["TESSEL2D_RECORDED_CALLS"])
data = (recorded / "calls.bin").read_bytes()
FILLER = 0xFFFFFFFF


def frame(a, ld):
    """A read-only array with the same numbers and `ld` numbers from one row to the next."""
    if a.ndim == 2 and ld > a.shape[1] and len(a):
        block = np.full((len(a), ld), 77, a.dtype)
        block[:, : a.shape[1]] = a
        block.setflags(write=False)
        return block[:, : a.shape[1]]
    a = a.copy()
    a.setflags(write=False)
    return a


def value(item):
    """An argument as Python has it."""
    if not isinstance(item, dict):
        return item
    kind = np.float64 if item["type"] == "number" else np.dtype(item["type"])
    shape = item["shape"]
    a = np.frombuffer(data, kind, int(np.prod(shape)), item["at"]).reshape(shape)
    return float(a[0]) if item["type"] == "number" else frame(a, item["ld"])


def parameters(function):
    """The parameter types of "name(type, type, ...)"."""
    inside = function[function.index("(") + 1 : -1]
    types, depth, start = [], 0, 0
    for i, c in enumerate(inside + ","):
        depth += (c == "<") - (c == ">")
        if c == "," and depth == 0:
            types.append(inside[start:i].strip())
            start = i + 1
    return types


def sweep(name, args, vectors):
    """A sweep: nodes, edges, what moves them, layers by number or size, then flags by their types."""
    pos, edges, *rest = args[:-1]
    move, how = rest[:vectors], rest[vectors:]
    triangles = name.endswith("T3")
    if isinstance(how[0], int):
        keywords = {"layers": how[0]}
        flags = how[1:]
    else:
        keywords = {"h0": how[0], "h1": how[1]}
        flags = how[2:]
        last = "normal" in name and triangles  # pattern behind force_even
        keywords["even"] = bool(flags.pop(0) if last or not triangles else flags.pop(1))
    if triangles:
        keywords["pattern"] = flags[0]
    return getattr(t, name)(pos, edges, *move, **keywords)


def kind(number):
    names = {5: "FACE", 7: "T3", 8: "T6", 9: "Q4", 10: "Q8", 11: "Q9"}
    return names[number]


detectors = {}


def search(call, args):
    """The search tree is that of one of the three meshes to which nodes have been appended."""
    pos, connect, neighbors, ancestors, _, _, p, _, tolerance = args
    options = call["options"]
    own = not options.startswith(("torn mesh", "rough mesh"))
    if own:
        detectors[connect.shape[1], bool((connect == FILLER).any())] = t.host.NodeDetector(
            pos[ancestors != FILLER]
        )
    key = (3, False) if options.startswith("torn") else (4, True)
    detector = None if own else detectors[key]
    found = t.get_element_containing_point(
        pos, connect, p, tolerance=tolerance, neighbors=neighbors, ancestors=ancestors, detector=detector
    )
    return (np.array([FILLER if found is None else found], np.int64),)


def again(call, name, args):
    """Repeats a call; returns what stands for each output of the C++ function."""
    if name in ("mesh_struct_Q4", "mesh_struct_T3"):
        return getattr(t, name)(*args[:-1])
    if name == "metrics_struct":
        return (t.metrics_struct(*args),)
    if "disk" in name or "_UR_" in name:
        return getattr(t, name)(*args[1:-2])
    if name.startswith("mesh_sphere"):
        circles = len(args) - name.endswith("T3") == 7
        plain = args[1:-3] if circles else args[1:-1]
        return getattr(t, name)(*plain, circles=circles)
    if name.startswith("extrude"):
        vectors = {"translate": 1, "rotate": 2, "spiral": 3, "normal": 1}[name.split("_")[1]]
        return sweep(name, args, vectors)
    if name == "normals":
        at = "nodes" if len(args) == 5 else "elements"
        power = {"power": args[2]} if at == "nodes" else {}
        return (t.normals(args[0], args[1], at=at, unit=bool(args[-2]), **power),)
    if name in ("offset", "copy_with_offset"):
        if name == "copy_with_offset":
            args = args[:-1]
        vectors = args[2] if len(args) == 4 else None
        moved = getattr(t, name)(args[0], args[1], args[-1], vectors=vectors)
        return moved if name == "copy_with_offset" else (moved,)
    if name == "convert_into_linear":
        return (t.convert_into_linear(*args),)
    if name == "convert_into_quadratic":
        return t.convert_into_quadratic(*args)
    if name == "convert_into_high_order":
        return t.convert_into_high_order(*args[:5], args[-1])
    if name == "split_into_linear":
        return (t.split_into_linear(args[0]),)
    if name == "split_into_Q4":
        return t.split_into_Q4(args[0], args[1], args[3])
    if name == "split_Q4_into_T3":
        if len(args) == 2:
            return (t.split_Q4_into_T3(args[0]),)
        if len(args) == 3:
            return (t.split_Q4_into_T3(args[1], args[0]),)
        least = dict(zip(("min_quality", "min_angle", "min_warp", "criterion"), args[2:6]))
        cut = t.split_Q4_into_T3(args[1], args[0], **least)
        return cut.kept, cut.split, cut.connect
    if name == "flip":
        if len(args) == 1:
            return (t.flip(args[0]),)
        if len(args) == 2:
            return (t.flip(args[0], kind=kind(args[1])),)
        return t.flip(args[0], neighbors=args[1], kind=kind(args[2]))
    if name == "mesh_reorient":
        turned = t.mesh_reorient(args[0], args[1], args[2], bool(args[3]))
        assert turned.conflict or turned.turned == call["status"]
        return turned[:2]
    if name == "convert_degenerated_Q4":
        converted = t.convert_degenerated_Q4(args[0])
        assert converted.changes == call["status"]
        return converted[:1]
    if name == "convert_degenerated_Q":
        return t.convert_degenerated_Q(args[0])
    if name == "area":
        return (t.area(*args[:2]),)
    if name == "angles":
        return t.angles(args[0], args[1], bool(args[2]))
    if name == "circumcenters":
        return (t.circumcenters(*args[:2]),)
    if name == "get_connected_elements":
        return t.get_connected_elements(*args[:3])
    if name == "principal_curvatures":
        names = ("max_angle", "max_elements", "hard_edges")
        c = t.principal_curvatures(
            *args[:2], args[3], neighbors=args[2], **dict(zip(names, args[4:7]))
        )
        assert c.u1.base is c.k2.base  # four views of one table
        return (np.column_stack(c),)
    if name == "parametric_curvatures":
        return (t.parametric_curvatures(*args[:3]),)
    if name == "get_element_containing_point":
        return search(call, args)
    if name == "interpolate":
        pos, connect, neighbors, ancestors, field, nodes, _ = args
        return (
            t.interpolate(pos, connect, field, nodes=nodes, neighbors=neighbors, ancestors=ancestors),
        )
    if name == "interpolate_metrics":
        pos, connect, neighbors, ancestors, metrics, *nodes = args[:-2]
        return (
            t.interpolate_metrics(
                pos,
                connect,
                metrics,
                nodes=nodes[0] if nodes else None,
                keep_valid=bool(args[-2]),
                neighbors=neighbors,
                ancestors=ancestors,
            ),
        )
    assert name == "metrics_gen_aniso3d"
    merged = args[3] if args[3].size else None
    return (t.metrics_gen_aniso3d(*args[:3], merged),)


def same(result, expected, on_entry, shift):
    """Equal bytes. Where C++ appended to what was there, the end is what Python gave; numbers of new nodes
    begin at `shift` there."""
    if np.isscalar(expected):
        return np.float64(result).tobytes() == np.float64(expected).tobytes()
    result = np.ascontiguousarray(result)
    if result.ndim == 2 and len(result) and result.shape[1] < expected.shape[1]:
        if not (expected[-len(result) :, result.shape[1] :] == FILLER).all():
            return False
        expected = expected[:, : result.shape[1]]
    if len(result) < len(expected) and len(result) + len(on_entry) == len(expected):
        expected = expected[len(expected) - len(result) :]
    if shift and expected.dtype == np.uint32:
        expected = np.where(expected == FILLER, expected, expected - np.uint32(shift))
    return len(result) == len(expected) and result.tobytes() == np.ascontiguousarray(expected).tobytes()


with open(recorded / "calls.json") as index:
    calls = [
        c
        for c in json.load(index)
        if hasattr(t, c["function"].split("(")[0]) and "tessel" not in c["function"].split("(")[0]
    ]
by_function = collections.defaultdict(list)
for c in calls:
    if c["function"] != "version()":
        by_function[c["function"]].append(c)


def cannot_be_said(name, types, call, args):
    """Calls that Python has no words for: nodes in front of a disk, outputs that are refused."""
    mutable = [i for i, p in enumerate(types) if p.endswith("&") and not p.startswith("const")]
    if name.startswith("mesh_disk") and args[0].size:
        return True
    # A status that complains of an output beyond the inputs.
    return call["status"] < 0 and -call["status"] - 1 in mutable and -call["status"] == len(types)


def test_every_overload_is_there():
    assert len(by_function) == 80  # and version


served = collections.Counter()


@pytest.mark.parametrize("function", list(by_function))
def test_same_bytes(function):
    name, types = function.split("(")[0], parameters(function)
    repeated = 0
    for call in by_function[function]:
        args = [value(item) for item in call["entry"]]
        assert len(args) == len(types)
        if cannot_be_said(name, types, call, args):
            continue
        where = f"{function}: {call['options']}"
        status = call["status"]
        if status < 0 and name != "mesh_reorient":
            with pytest.raises(MemoryError if status == -199 else t.Error) as raised:
                again(call, name, args)
            assert status == -199 or raised.value.status == status, where
            repeated += 1
            continue
        mutable = [i for i, p in enumerate(types) if p.endswith("&") and not p.startswith("const")]
        results = again(call, name, args)
        outputs = [value(item) for item in call["return"]]
        assert len(results) == len(outputs) == len(mutable), where
        for i, result, expected in zip(mutable, results, outputs):
            shift = len(args[0]) if name.startswith("mesh_sphere") else 0
            assert same(result, expected, args[i], shift), where
        repeated += 1
    assert repeated > 0
    served["calls"] += repeated
    served["left out"] += len(by_function[function]) - repeated


def test_nearly_all_calls_have_been_repeated(record_property):
    print(dict(served))
    assert served["calls"] > 15 * served["left out"]
