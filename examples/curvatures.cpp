// SPDX-License-Identifier: Apache-2.0
//
// The elements around a node, and curvatures of surfaces.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include "zel/host/adjacency.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

bool lists_stars() {
    //! [stars]
    // A square of four triangles around node 4. Edge k of a triangle lies opposite its node k.
    unsigned nodes[] = {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4};
    unsigned across[] = {1, 3, 0xFFFFFFFF, 2, 0, 0xFFFFFFFF, 3, 1, 0xFFFFFFFF, 0, 2, 0xFFFFFFFF};
    unsigned holders[] = {0, 0, 1, 2, 2}; // an element for each node
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 3, 4);
    const auto neighbors = zel::dense2D<unsigned>::wrap(across, 3, 4);
    const auto ancestors = zel::dense1D<unsigned, 8>::wrap(holders, 5);

    zel::dense1D<unsigned, 8> starts;
    zel::dense1D<unsigned, 8> elements;
    const int status =
        zel::tessel2d::get_connected_elements(connect, neighbors, ancestors, starts, elements);
    // status is 0. From starts[4] to starts[5] stand the elements around node 4: 2, 3, 0, 1.
    //! [stars]
    const unsigned expected[] = {2, 3, 0, 1};
    return status == 0 && starts.size == 6 && starts[4] == 8 && starts[5] == 12 &&
           std::equal(expected, expected + 4, elements.begin() + 8);
}

bool bends_an_edge() {
    //! [principal]
    // Two unit squares at a right angle, cut into triangles; nodes 0 and 1 are on the common edge.
    double corners[] = {0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0, 0, 0, 1, 0, 1, 1};
    unsigned nodes[] = {0, 2, 1, 1, 2, 3, 0, 1, 4, 1, 5, 4};
    const auto pos = zel::dense2D<double>::wrap(corners, 3, 6);
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 3, 4);
    zel::host::adjacency beside;
    if (zel::host::build_adjacency(connect, 6, beside) != 0) return false;
    const zel::dense2D<unsigned> no_hard_edges;

    zel::dense2D<double> curvatures;
    const double radius = 2;
    const double any_angle = 3.2;
    const int status = zel::tessel2d::principal_curvatures(
        pos, connect, beside.neighbors, radius, any_angle, 30, no_hard_edges, curvatures);
    // One edge of length 1 bends by pi/2 in a patch of area 2, toward the normals: at node 0, k1 is
    // pi/4 and k2 is 0. u1, in rows 0 to 2, runs along the edge: it is (0, 1, 0) or (0, -1, 0).
    //! [principal]
    return status == 0 && curvatures.rows == 8 && curvatures.cols == 6 &&
           std::abs(curvatures(6, 0) - std::acos(-1.0) / 4) < 1e-12 &&
           std::abs(curvatures(7, 0)) < 1e-12 && std::abs(std::abs(curvatures(1, 0)) - 1) < 1e-12;
}

bool finds_a_second_form() {
    //! [parametric]
    // The bowl S(u, v) = (u, v, (u^2 + v^2)/2): four triangles around the origin, and at each node the
    // derivatives Su = (1, 0, u) and Sv = (0, 1, v).
    double parameters[] = {0, 0, 1, 0, 0, 1, -1, 0, 0, -1};
    unsigned nodes[] = {0, 1, 2, 0, 2, 3, 0, 3, 4, 0, 4, 1};
    double slopes[] = {1, 0, 0, 0, 1, 0,  1, 0, 1, 0, 1, 0, 1, 0, 0,
                       0, 1, 1, 1, 0, -1, 0, 1, 0, 1, 0, 0, 0, 1, -1};
    const auto pos = zel::dense2D<double>::wrap(parameters, 2, 5);
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 3, 4);
    const auto D = zel::dense2D<double>::wrap(slopes, 6, 5);

    zel::dense2D<double> H;
    const int status = zel::tessel2d::parametric_curvatures(pos, connect, D, H);
    // Column 0 of H is (-1, 0, -1): the bowl bends toward its normal.
    //! [parametric]
    return status == 0 && H.rows == 3 && H.cols == 5 && std::abs(H(0, 0) + 1) < 1e-12 &&
           std::abs(H(1, 0)) < 1e-12 && std::abs(H(2, 0) + 1) < 1e-12;
}

} // namespace

int main() {
    if (!lists_stars()) {
        std::puts("the elements around a node are not as expected");
        return 1;
    }
    if (!bends_an_edge() || !finds_a_second_form()) {
        std::puts("a curvature is not as expected");
        return 1;
    }
    std::puts("stars and curvatures are as expected");
    return 0;
}
