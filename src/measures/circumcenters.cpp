// zel tessel2d: planar and surface mesh tools.
#include "geometry/gather.h"
#include "geometry/kernels.h"
#include "zel/tessel.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

template <int Dim>
void place_centers(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   dense2D<double>& centers) noexcept {
    const auto out = columns_of(centers);
    for_each_element<Dim, 3>(
        pos, connect, [out](std::size_t e, const unsigned*, const auto& corners) {
            const auto& p = corners.p;
            const point<Dim> center = triangle_circumcircle(p[0], p[1], p[2]).center;
            std::copy_n(center.begin(), Dim, out[e]);
        });
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
