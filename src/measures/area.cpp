// SPDX-License-Identifier: Apache-2.0
// The area of a mesh of triangles and quadrilaterals.
#include "geometry/gather.h"
#include "geometry/lanes.h"
#include "geometry/quadrilaterals.h"
#include "geometry/triangles.h"
#include "zel/tessel.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

/// Adds the doubled areas of the columns from `first` on, four by four, to `sum`, one after the other.
/// Returns the first column that is left over.
template <int Dim>
ZEL_FOUR_LANES std::size_t
add_triangles_by_four(const columns<const unsigned>& cells, std::size_t first, std::size_t last,
                      const points_view<Dim>& pos, double& sum) noexcept {
    double total = sum;
    for (; last - first >= lane_count; first += lane_count) {
        unsigned n[3][lane_count];
        read_triangles(cells, first, n);
        double sizes[lane_count];
        const vector_of<lanes, Dim> p0 = load_nodes(pos, n[0]);
        const vector_of<lanes, Dim> p1 = load_nodes(pos, n[1]);
        const vector_of<lanes, Dim> p2 = load_nodes(pos, n[2]);
        store_lanes(triangle_double_area<Dim>(p0, p1, p2), sizes);
        for (const double size : sizes) total += size;
    }
    sum = total;
    return first;
}

/// Adds the doubled areas of the elements to `sum`, one after the other.
template <std::size_t Rows, int Dim>
void add_double_areas(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                      double& sum) noexcept {
    if constexpr (Rows == 3) {
        const points_view<Dim> points(pos);
        const auto cells = columns_of(connect);
        std::size_t e = 0;
        if (has_four_lanes()) e = add_triangles_by_four<Dim>(cells, e, connect.cols, points, sum);
        for (; e < connect.cols; ++e) {
            const unsigned* const n = cells[e];
            sum += triangle_double_area(points, n[0], n[1], n[2]);
        }
    } else {
        for_each_element<Dim, 4>(
            pos, connect, [&sum](std::size_t, const unsigned* nodes, const auto& corners) {
                const auto& p = corners.p;
                sum += nodes[3] == no_node ? triangle_double_area<Dim>(p[0], p[1], p[2])
                                           : quad_double_area<Dim>(p[0], p[1], p[2], p[3]);
            });
    }
}

// Columns that are tested and measured in one go: the node numbers are still in the first cache
// when they are read again.
// mutation: speed only
constexpr std::size_t run = 512;

/// Tests the nodes of some elements and adds the doubled areas to `sum`. Returns false if a node does not
/// exist.
template <std::size_t Rows, int Dim>
bool test_and_add(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                  double& sum) noexcept {
    if (!tessel::check_IDs(connect, ELEMENT_FACE, node_bound(pos))) return false;
    add_double_areas<Rows, Dim>(pos, connect, sum);
    return true;
}

/// The doubled area of the whole mesh. Returns false if a node does not exist.
template <std::size_t Rows, int Dim>
bool measure(const dense2D<double>& pos, const dense2D<unsigned>& connect, double& sum) noexcept {
    sum = 0;
    // A view of a part counts as one more owner of the block, which a small mesh would notice.
    if (connect.cols <= run) return test_and_add<Rows, Dim>(pos, connect, sum);
    for (std::size_t first = 0; first < connect.cols; first += run) {
        const std::size_t count = std::min(run, connect.cols - first);
        const auto part = connect.sub_matrix(0, first, Rows, count);
        if (!test_and_add<Rows, Dim>(pos, part, sum)) return false;
    }
    return true;
}

} // namespace

int area(const dense2D<double>& pos, const dense2D<unsigned>& connect, double& result) {
    result = 0;
    if (connect.empty()) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (connect.rows != 3 && connect.rows != 4) return -2;
    const auto measure_mesh = pos.rows == 2 ? (connect.rows == 3 ? measure<3, 2> : measure<4, 2>)
                                            : (connect.rows == 3 ? measure<3, 3> : measure<4, 3>);
    double doubled;
    if (!measure_mesh(pos, connect, doubled)) return -2;
    result = 0.5 * doubled;
    return status_ok;
}

} // namespace zel::tessel2d
