// zel tessel2d: planar and surface mesh tools.
#include "foundation/cell_shapes.h"
#include "foundation/tessel.h"
#include "measures/kernels.h"
#include "zel/tessel2d/measures.h"

namespace zel::tessel2d {

namespace {

template <class Shape, int Dim>
double double_area(const columns<const unsigned>& cells, std::size_t first, std::size_t last,
                   const points_view<Dim>& pos, double sum) noexcept {
    for (std::size_t e = first; e < last; ++e) {
        const unsigned* const n = cells[e];
        sum += Shape::corners(n) == 3 ? triangle_double_area(pos, n[0], n[1], n[2])
                                      : quad_double_area(pos, n[0], n[1], n[2], n[3]);
    }
    return sum;
}

template <int Dim>
double double_area(const dense2D<double>& pos, const dense2D<unsigned>& connect) noexcept {
    const points_view<Dim> points(pos);
    const auto cells = columns_of(connect);
    return connect.rows == 3 ? double_area<triangle_cells>(cells, 0, connect.cols, points, 0.0)
                             : double_area<mixed_cells>(cells, 0, connect.cols, points, 0.0);
}

} // namespace

int area(const dense2D<double>& pos, const dense2D<unsigned>& connect, double& result) {
    result = 0;
    if (connect.empty()) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (!tessel::check_IDs(connect, ELEMENT_FACE, node_bound(pos))) return -2;
    result = 0.5 * (pos.rows == 2 ? double_area<2>(pos, connect) : double_area<3>(pos, connect));
    return status_ok;
}

} // namespace zel::tessel2d
