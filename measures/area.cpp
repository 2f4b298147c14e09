// zel tessel2d: planar and surface mesh tools.
#include "foundation/cell_shapes.h"
#include "foundation/tessel.h"
#include "measures/four_triangles.h"
#include "measures/kernels.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>
#include <type_traits>

namespace zel::tessel2d {

namespace {

/// Adds the doubled areas of the columns to `sum`, one after the other.
template <class Shape, int Dim>
void add_double_areas(const columns<const unsigned>& cells, std::size_t first, std::size_t last,
                      const points_view<Dim>& pos, double& sum) noexcept {
    if constexpr (std::is_same_v<Shape, triangle_cells>) {
        if (has_four_lanes()) first = add_triangles_by_four<Dim>(cells, first, last, pos, sum);
    }
    for (; first < last; ++first) {
        const unsigned* const n = cells[first];
        sum += Shape::corners(n) == 3 ? triangle_double_area(pos, n[0], n[1], n[2])
                                      : quad_double_area(pos, n[0], n[1], n[2], n[3]);
    }
}

// Columns that are tested and measured in one go: the node numbers are still in the first cache
// when they are read again.
constexpr std::size_t run = 512;

/// The doubled area of the whole mesh. False: a node does not exist.
template <class Shape, int Dim>
bool measure(const dense2D<double>& pos, const dense2D<unsigned>& connect, double& sum) noexcept {
    const points_view<Dim> points(pos);
    const auto cells = columns_of(connect);
    const unsigned bound = node_bound(pos);
    sum = 0;
    for (std::size_t first = 0; first < connect.cols; first += run) {
        const std::size_t last = first + std::min(run, connect.cols - first);
        const auto part = connect.sub_matrix(0, first, connect.rows, last - first);
        if (!tessel::check_IDs(part, ELEMENT_FACE, bound)) return false;
        add_double_areas<Shape, Dim>(cells, first, last, points, sum);
    }
    return true;
}

} // namespace

int area(const dense2D<double>& pos, const dense2D<unsigned>& connect, double& result) {
    result = 0;
    if (connect.empty()) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (connect.rows != 3 && connect.rows != 4) return -2;
    const auto measure_mesh =
        pos.rows == 2 ? (connect.rows == 3 ? measure<triangle_cells, 2> : measure<mixed_cells, 2>)
                      : (connect.rows == 3 ? measure<triangle_cells, 3> : measure<mixed_cells, 3>);
    double doubled;
    if (!measure_mesh(pos, connect, doubled)) return -2;
    result = 0.5 * doubled;
    return status_ok;
}

} // namespace zel::tessel2d
