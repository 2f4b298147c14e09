// zel tessel2d: planar and surface mesh tools.
#include "foundation/tessel.h"
#include "measures/kernels.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

template <int Dim>
void place_centers(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   dense2D<double>& centers) noexcept {
    const points_view<Dim> points(pos);
    const auto cells = columns_of(connect);
    const auto out = columns_of(centers);
    const std::size_t triangles = connect.cols;
    for (std::size_t e = 0; e < triangles; ++e) {
        const unsigned* const n = cells[e];
        const point<Dim> center = triangle_circumcircle(points, n[0], n[1], n[2]).center;
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
