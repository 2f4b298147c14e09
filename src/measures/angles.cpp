// SPDX-License-Identifier: Apache-2.0
// The smallest and largest corner angles of elements.
#include "geometry/angles.h"
#include "geometry/gather.h"
#include "zel/tessel.h"
#include "zel/tessel2d/measures.h"

namespace zel::tessel2d {

namespace {

/// The smallest and the largest of the angles; comparisons with NaN fail.
template <std::size_t Corners>
void find_extremes(const vector_fixed<double, Corners>& angles, double& smallest,
                   double& largest) noexcept {
    smallest = largest = angles[0];
    for (std::size_t k = 1; k < Corners; ++k) {
        if (angles[k] < smallest) smallest = angles[k];
        if (angles[k] > largest) largest = angles[k];
    }
}

template <std::size_t Rows, int Dim>
void find_angles(const dense2D<double>& pos, const dense2D<unsigned>& connect, bool normalise,
                 double* smallest, double* largest) noexcept {
    const double triangle_factor = normalise ? triangle_angle_factor : 1.0;
    const double quad_factor = normalise ? quad_angle_factor : 1.0;
    for_each_element<Dim, Rows>(
        pos, connect, [=](std::size_t e, const unsigned* nodes, const auto& corners) {
            const auto& p = corners.p;
            if constexpr (Rows == 4) {
                if (nodes[3] != no_node) {
                    find_extremes(polygon_angles<Dim, 4>(p, quad_factor), smallest[e], largest[e]);
                    return;
                }
            }
            const point<Dim> triangle[3] = {p[0], p[1], p[2]};
            find_extremes(polygon_angles<Dim, 3>(triangle, triangle_factor), smallest[e],
                          largest[e]);
        });
}

} // namespace

int angles(const dense2D<double>& pos, const dense2D<unsigned>& connect, bool normalise,
           dense1D<double, 8>& min_angles, dense1D<double, 8>& max_angles) {
    min_angles.clear();
    max_angles.clear();
    if (connect.empty()) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (connect.rows != 3 && connect.rows != 4) return -2;
    const std::size_t elements = connect.cols;
    if (!min_angles.reserve(elements, 1) || !max_angles.reserve(elements, 1)) return status_memory;
    if (!tessel::check_IDs(connect, ELEMENT_FACE, node_bound(pos))) {
        min_angles.resize(elements, 0.0);
        max_angles.resize(elements, 0.0);
        return -2;
    }
    min_angles.resize(elements); // every entry is written
    max_angles.resize(elements);
    const auto find = pos.rows == 2 ? (connect.rows == 3 ? find_angles<3, 2> : find_angles<4, 2>)
                                    // mutation (3 -> 2 #2): undefined, found by the sanitizers
                                    : (connect.rows == 3 ? find_angles<3, 3> : find_angles<4, 3>);
    find(pos, connect, normalise, min_angles.data(), max_angles.data());
    return status_ok;
}

} // namespace zel::tessel2d
