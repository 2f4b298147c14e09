// SPDX-License-Identifier: Apache-2.0
// The circumcentres of triangles.
#include "geometry/lanes.h"
#include "geometry/triangles.h"
#include "zel/tessel.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>
#include <cstdint>

namespace zel::tessel2d {

namespace {

/// Four triangles whose corners have been fetched.
template <int Dim>
struct fetched_triangles;

/// In space as they are.
template <>
struct fetched_triangles<3> {
    vector_of<lanes, 3> p[3];

    template <std::size_t Leading>
    ZEL_FOUR_LANES_INLINED void fetch(const points_view<3>& points,
                                      const unsigned (&n)[3][lane_count]) noexcept {
        for (std::size_t k = 0; k < 3; ++k) p[k] = load_nodes<3, Leading>(points, n[k]);
    }
    ZEL_FOUR_LANES_INLINED vector_of<lanes, 3> centers() const noexcept {
        return triangle_circumcircle(p[0], p[1], p[2]).center;
    }
};

/// In the plane in memory, where they are turned until the longest side comes last by reading them from another
/// corner on. To choose among the corners in registers takes more time than all else.
template <>
struct fetched_triangles<2> {
    static constexpr int step = 4;    // mutation (4 -> 5): room to spare
    static constexpr int length = 20; // mutation (20 -> 21): room to spare

    double even[length];            ///< corners 0, 1, 2, 0, 1 of lanes 0 and 2, step by step
    double odd[length];             ///< of lanes 1 and 3
    std::int64_t first[lane_count]; ///< where the corner opposite to the longest side stands

    template <std::size_t Leading>
    ZEL_FOUR_LANES_INLINED void fetch(const points_view<2>& points,
                                      const unsigned (&n)[3][lane_count]) noexcept {
        const lane_pairs corner[3] = {lane_pairs(node_columns<Leading, 2>(points, n[0]).p),
                                      lane_pairs(node_columns<Leading, 2>(points, n[1]).p),
                                      lane_pairs(node_columns<Leading, 2>(points, n[2]).p)};
        for (std::size_t k = 0; k < 5; ++k) corner[k % 3].store(even + k * step, odd + k * step);
        const auto longest =
            longest_side_of(corner[0].components(), corner[1].components(), corner[2].components());
        store_choices(longest.second, longest.third, step, first);
    }
    ZEL_FOUR_LANES_INLINED vector_of<lanes, 2> centers() const noexcept {
        return circumcircle_of_longest_side(turned(0), turned(1), turned(2)).center;
    }

private:
    ZEL_FOUR_LANES_INLINED vector_of<lanes, 2> turned(std::size_t k) const noexcept {
        const double* const evens = even + k * step;
        const double* const odds = odd + k * step;
        const lane_columns<const double> corner = {evens + first[0], odds + first[1],
                                                   evens + 2 + first[2], odds + 2 + first[3]};
        return load_columns<2>(corner);
    }
};

/// Triangles whose corners are fetched before anything is computed with them, in groups of four: where the
/// nodes are in no order, the processor waits for many of them at a time. They fit into the first cache.
// mutation: speed only
constexpr std::size_t fetched_groups = 16;

/// What is read and written in order is prefetched so many rounds before.
// mutation: speed only
constexpr std::size_t rounds_ahead = 2;

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
    fetched_triangles<Dim> fetched[fetched_groups];
    for (std::size_t first = 0; first < groups; first += fetched_groups) {
        const std::size_t count = std::min(fetched_groups, groups - first);
        // mutation: speed only
        const std::size_t later = first + rounds_ahead * fetched_groups;
        // mutation: speed only
        for (std::size_t g = later; g < std::min(later + fetched_groups, groups); ++g) {
            prefetch(cells[g * lane_count]);
            prefetch(out[g * lane_count]);
        }
        for (std::size_t g = 0; g < count; ++g) {
            unsigned n[3][lane_count];
            read_triangles(cells, (first + g) * lane_count, n);
            fetched[g].template fetch<Leading>(points, n);
        }
        double* to = out[first * lane_count];
        for (std::size_t g = 0; g < count; ++g) {
            const lane_vectors<Dim> centers(fetched[g].centers());
            for (std::size_t lane = 0; lane < lane_count; ++lane, to += ld) centers.store(lane, to);
        }
    }
    return groups * lane_count; // mutation (* -> /): what is done is done again
}

template <int Dim>
void place_centers(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   dense2D<double>& centers) noexcept {
    const auto out = columns_of(centers);
    const points_view<Dim> points(pos);
    const auto cells = columns_of(connect);
    std::size_t e = 0;
    if (has_four_lanes()) {
        const bool packed = pos.ld == Dim && out.ld == Dim; // mutation (== -> != #2): it always is
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
