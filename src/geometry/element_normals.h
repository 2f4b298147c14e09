// SPDX-License-Identifier: Apache-2.0
// The normals of surface elements in space, four at a time where the processor has lanes.
#pragma once

// A pipeline over groups of four elements: while the corners of one group are loaded, the roots of the group
// before it and the divisions of the group before that are in work. A division right behind its root would
// stop the multiplications as well.
#include "geometry/lanes.h"
#include "geometry/triangles.h"

namespace zel::tessel2d {

/// Elements whose normals are found before any is used, so that the processor can fetch the corners of
/// many at a time.
constexpr std::size_t normal_run = 64; // mutation: speed only

/// A unit normal and the size of its element, or a normal as long as the size and 0.
struct sized_normal {
    double n[4];

    point<3> vector() const noexcept { return {n[0], n[1], n[2]}; }
    double size() const noexcept { return n[3]; }
};

/// The corners of a triangle. Their addresses are computed on demand: twelve at a time would not
/// fit into registers.
struct triangle_corners {
    const unsigned* nodes;
    const points_view<3>& points;

    const double* operator()(std::size_t k) const noexcept {
        return points.first + nodes[k] * points.ld;
    }
};

/// What the normal of an element of any kind is made of: a x b or a x c with a = p0 - p1, b = p2 - p3 and
/// c = p2 - p4. Of a quadrilateral b and c are the same.
struct any_corners {
    const double* p[5];

    const double* operator()(std::size_t k) const noexcept { return p[k]; }
};

/// Columns of three, one right behind the other.
struct packed_columns {
    double* first;

    double* operator[](std::size_t j) const noexcept { return first + 3 * j; }
};

/// The sums at the nodes of the elements from `cells` on, to which each element adds its unit normal,
/// or, if `BySize`, this times its size.
template <class Shape, bool BySize>
struct node_sums {
    columns<const unsigned> cells;
    packed_columns sums;
};

using lane_normals = vector_of<lanes, 3>;

/// Corner k of four elements.
template <class Corners>
ZEL_FOUR_LANES_INLINED lane_normals load_corners(const Corners (&c)[lane_count],
                                                 std::size_t k) noexcept {
    return load_columns<3>({c[0](k), c[1](k), c[2](k), c[3](k)});
}

ZEL_FOUR_LANES_INLINED lane_normals
normals_of(const triangle_corners (&corners)[lane_count]) noexcept {
    const lane_normals p0 = load_corners(corners, 0);
    const lane_normals p1 = load_corners(corners, 1);
    return triangle_normal(p0, p1, load_corners(corners, 2));
}
ZEL_FOUR_LANES_INLINED lane_normals normals_of(const any_corners (&corners)[lane_count]) noexcept {
    const lane_normals a = difference<3>(load_corners(corners, 0), load_corners(corners, 1));
    const lane_normals p2 = load_corners(corners, 2);
    return normal_of_sides(a, difference<3>(p2, load_corners(corners, 3)),
                           difference<3>(p2, load_corners(corners, 4)));
}

/// Writes four vectors with their sizes, one behind the other.
ZEL_FOUR_LANES_INLINED void store(const lane_normals& v, const lanes& size,
                                  sized_normal* out) noexcept {
    const vector_of<lanes, 4> normals = transposed({v[0], v[1], v[2], size});
    for (std::size_t lane = 0; lane < lane_count; ++lane) store_lanes(normals[lane], out[lane].n);
}

/// Writes four vectors into columns; their sizes are dropped.
ZEL_FOUR_LANES_INLINED void store(const lane_normals& v, const lanes&,
                                  packed_columns out) noexcept {
    store_packed(v, out.first);
}

/// Adds four vectors to the sums at the nodes of their elements.
template <class Shape, bool BySize>
ZEL_FOUR_LANES_INLINED void store(lane_normals v, const lanes& size,
                                  const node_sums<Shape, BySize>& out) noexcept {
    if constexpr (BySize) v = {v[0] * size, v[1] * size, v[2] * size};
    const lane_vectors<3> normals(v);
    for (std::size_t lane = 0; lane < lane_count; ++lane) {
        const unsigned* const nodes = out.cells[lane];
        const unsigned corners = Shape::corners(nodes);
        for (unsigned k = 0; k < corners; ++k) normals.add(lane, out.sums[nodes[k]]);
    }
}

inline sized_normal* shifted(sized_normal* out, std::size_t i) noexcept {
    return out + i;
}
template <class Shape, bool BySize>
inline node_sums<Shape, BySize> shifted(const node_sums<Shape, BySize>& out,
                                        std::size_t i) noexcept {
    return {{out.cells[i], out.cells.ld}, out.sums};
}
inline packed_columns shifted(packed_columns out, std::size_t i) noexcept {
    return {out[i]};
}

/// Vectors on their way to unit vectors: `at_root` were found last, `at_division` the time before.
struct units_in_work {
    lane_normals at_root;
    lane_normals at_division;
    lanes length;
};

/// Everything moves on; `next` come in, and those at the division are done.
ZEL_FOUR_LANES_INLINED void move_on(units_in_work& work, const lane_normals& next) noexcept {
    work.length = length<3>(work.at_root);
    work.at_division = work.at_root;
    work.at_root = next;
}

/// The normals of `count` elements from `first` on, four by four; `corners_of(e)` returns what the normal
/// of element e is made of. `out` is where they go: `sized_normal*`, columns or `node_sums`, of element
/// `first` and those behind it. Returns how many were found; the rest is left over.
template <bool Unit, class CornersOf, class Out>
ZEL_FOUR_LANES std::size_t find_normals_by_four(const CornersOf corners_of, std::size_t first,
                                                std::size_t count, const Out out) noexcept {
    using corners = decltype(corners_of(first));
    constexpr std::size_t behind = Unit ? 8 : 0;
    const std::size_t done = count / lane_count * lane_count;
    const lanes zero(0.0);
    const lane_normals none{zero, zero, zero};
    units_in_work work{none, none, zero};
    for (std::size_t i = 0; i < done; i += lane_count) {
        const corners c[lane_count] = {corners_of(first + i), corners_of(first + i + 1),
                                       corners_of(first + i + 2), corners_of(first + i + 3)};
        const lane_normals n = normals_of(c);
        if constexpr (Unit) {
            make_unit_of_length<3>(work.length, work.at_division);
            if (i >= behind) store(work.at_division, work.length, shifted(out, i - behind));
            move_on(work, n);
        } else {
            store(n, zero, shifted(out, i));
        }
    }
    for (std::size_t i = done; i < done + behind; i += lane_count) {
        make_unit_of_length<3>(work.length, work.at_division);
        if (i >= behind) store(work.at_division, work.length, shifted(out, i - behind));
        move_on(work, none);
    }
    return done;
}

/// Makes `count` vectors unit vectors, four by four. Returns how many were done; the rest is left over.
ZEL_FOUR_LANES inline std::size_t make_units_by_four(packed_columns vectors,
                                                     std::size_t count) noexcept {
    std::size_t j = 0;
    for (; count - j >= lane_count; j += lane_count) {
        lane_normals v =
            load_columns<3>({vectors[j], vectors[j + 1], vectors[j + 2], vectors[j + 3]});
        make_unit<3>(v);
        store_packed(v, vectors[j]);
    }
    return j;
}

} // namespace zel::tessel2d
