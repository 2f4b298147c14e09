// SPDX-License-Identifier: Apache-2.0
// The circumcentres of triangles.
#include "geometry/lanes.h"
#include "geometry/triangles.h"
#include "zel/tessel.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

/// The corners of four triangles.
template <int Dim>
struct lane_triangles {
    vector_of<lanes, Dim> p[3];
};

/// Triangles whose corners are fetched before anything is computed with them, in groups of four: where the
/// nodes are in no order, the processor waits for many of them at a time. They fit into the first cache.
// mutation: speed only
constexpr std::size_t fetched_groups = 16;

/// Writes the centres of the first triangles, four by four; returns the first one that is left over. `Leading` is
/// the leading dimension of nodes and centres where it is known at compile time, which spares a multiplication per
/// node; 0 stands for those of the views.
template <int Dim, std::size_t Leading>
ZEL_FOUR_LANES std::size_t place_centers_by_four(const dense2D<double>& pos,
                                                 const dense2D<unsigned>& connect,
                                                 const columns<double>& out) noexcept {
    const points_view<Dim> points(pos);
    const auto cells = columns_of(connect);
    const std::size_t groups = connect.cols / lane_count;
    const std::size_t ld = Leading == 0 ? out.ld : Leading;
    lane_triangles<Dim> fetched[fetched_groups];
    for (std::size_t first = 0; first < groups; first += fetched_groups) {
        const std::size_t count = std::min(fetched_groups, groups - first);
        for (std::size_t g = 0; g < count; ++g) {
            unsigned n[3][lane_count];
            read_triangles(cells, (first + g) * lane_count, n);
            fetched[g] = {{load_nodes<Dim, Leading>(points, n[0]),
                           load_nodes<Dim, Leading>(points, n[1]),
                           load_nodes<Dim, Leading>(points, n[2])}};
        }
        double* to = out[first * lane_count];
        for (std::size_t g = 0; g < count; ++g) {
            const auto& p = fetched[g].p;
            const lane_vectors<Dim> centers(triangle_circumcircle(p[0], p[1], p[2]).center);
            for (std::size_t lane = 0; lane < lane_count; ++lane, to += ld) centers.store(lane, to);
        }
    }
    return groups * lane_count;
}

template <int Dim>
void place_centers(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   dense2D<double>& centers) noexcept {
    const auto out = columns_of(centers);
    const points_view<Dim> points(pos);
    const auto cells = columns_of(connect);
    std::size_t e = 0;
    if (has_four_lanes()) {
        const bool packed = pos.ld == Dim && out.ld == Dim;
        const auto place_by_four =
            packed ? place_centers_by_four<Dim, Dim> : place_centers_by_four<Dim, 0>;
        e = place_by_four(pos, connect, out);
    }
    for (; e < connect.cols; ++e) {
        const unsigned* const n = cells[e];
        const point<Dim> center = triangle_circumcircle<Dim>(points, n[0], n[1], n[2]).center;
        std::copy_n(center.begin(), Dim, out[e]);
    }
}

} // namespace

int circumcenters(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                  dense2D<double>& centers) {
    // A view of its own keeps the coordinates when `centers` shares their block or is `pos` itself:
    // clearing takes a new block then.
    const dense2D<double> points = pos;
    centers.clear();
    if (points.rows != 2 && points.rows != 3) return -1;
    if (connect.rows != 3) return -2;
    if (!tessel::check_IDs(connect, ELEMENT_T3, node_bound(points))) return -2;
    if (!centers.resize(points.rows, connect.cols)) return status_memory; // every entry is written
    if (points.rows == 2) {
        place_centers<2>(points, connect, centers);
    } else {
        place_centers<3>(points, connect, centers);
    }
    return status_ok;
}

} // namespace zel::tessel2d
