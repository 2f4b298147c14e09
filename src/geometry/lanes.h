// SPDX-License-Identifier: Apache-2.0
// A number type of four doubles, on which a processor with AVX2 works at a time.
#pragma once

// All instructions of vector units stand behind this header. A formula over `lanes` goes through the very
// operations that it goes through over `double`, in their order, so that each lane has the same bits.
// Choices become masks, where one element at a time means a jump that real meshes make unpredictable.
//
// Functions that work with `lanes` are marked ZEL_FOUR_LANES and run only where `has_four_lanes()`. The
// formulas that they call have no mark: they are inlined by force, and the operations follow into the
// marked function. So a formula over `lanes` is called from marked functions and formulas alone.
//
// Elsewhere than on x86-64 with gcc or clang the same names stand for loops over four doubles, so that what
// uses them compiles; `has_four_lanes()` is false there. A port to another vector unit is one more header.
#include "geometry/four_lanes.h"
#include "geometry/number.h"
#include "geometry/point.h"

namespace zel::tessel2d {

constexpr std::size_t lane_count = 4;

/// Addresses of four columns, one per lane.
template <class T>
using lane_columns = T* [lane_count];

} // namespace zel::tessel2d

#if defined(__x86_64__) && defined(__GNUC__) && !defined(ZEL_PORTABLE_LANES)
#include "geometry/lanes_avx2.h"
#else
#include "geometry/lanes_portable.h"
#endif

namespace zel::tessel2d {

/// The vectors of lanes A, B, C and D, in that order.
template <int A, int B, int C, int D>
ZEL_FOUR_LANES_INLINED vector_of<lanes, 2> rearranged(const vector_of<lanes, 2>& v) noexcept {
    return {rearranged<A, B, C, D>(v[0]), rearranged<A, B, C, D>(v[1])};
}

/// The corners of the four triangles from column `first` on: corner k of lane i is `n[k][i]`.
ZEL_FOUR_LANES_INLINED void read_triangles(const columns<const unsigned>& cells, std::size_t first,
                                           unsigned (&n)[3][lane_count]) noexcept {
    for (std::size_t lane = 0; lane < lane_count; ++lane)
        for (std::size_t k = 0; k < 3; ++k) n[k][lane] = cells[first + lane][k];
}

/// The columns of four nodes. `Leading` is the leading dimension where it is known at compile time; 0 stands for
/// that of the view.
template <std::size_t Leading, int Dim>
struct node_columns {
    lane_columns<const double> p;

    ZEL_FOUR_LANES_INLINED node_columns(const points_view<Dim>& points,
                                        const unsigned (&nodes)[lane_count]) noexcept {
        const std::size_t ld = Leading == 0 ? points.ld : Leading;
        for (std::size_t lane = 0; lane < lane_count; ++lane)
            p[lane] = points.first + nodes[lane] * ld;
    }
};

/// The nodes of four elements: component k of lane i is that of node `nodes[i]`. For `Leading` see above.
template <int Dim, std::size_t Leading = 0>
ZEL_FOUR_LANES_INLINED vector_of<lanes, Dim>
load_nodes(const points_view<Dim>& points, const unsigned (&nodes)[lane_count]) noexcept {
    return load_columns<Dim>(node_columns<Leading, Dim>(points, nodes).p);
}

} // namespace zel::tessel2d
