// SPDX-License-Identifier: Apache-2.0
//
// Normals at nodes and elements of a small surface, and offsets along them.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>

namespace {

bool close_to(double expected, double x) {
    return std::abs(x - expected) < 1e-12;
}

/// A floor and a wall twice as high that meet in the edge between nodes 1 and 2.
struct corner {
    double coordinates[18] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 0, 2, 1, 1, 2};
    unsigned nodes[8] = {0, 1, 2, 3, 1, 4, 5, 2};
    zel::dense2D<double> pos = zel::dense2D<double>::wrap(coordinates, 3, 6);
    zel::dense2D<unsigned> connect = zel::dense2D<unsigned>::wrap(nodes, 4, 2);
};

bool finds_node_normals() {
    const corner c;
    const auto& pos = c.pos;
    const auto& connect = c.connect;
    //! [node_normals]
    // A floor and a wall of twice its area share an edge, nodes 1 and 2. Power 1 weights by area.
    zel::dense2D<double> N;
    const int status = zel::tessel2d::normals(pos, connect, 1.0, true, N);
    // The floor looks up, (0, 0, 1), the wall back over it, (-1, 0, 0): on their edge the normal is
    // (-2, 0, 1)/sqrt(5).
    //! [node_normals]
    return status == 0 && N.cols == 6 && N(2, 0) == 1 && N(0, 4) == -1 &&
           close_to(-2 / std::sqrt(5.0), N(0, 1)) && close_to(1 / std::sqrt(5.0), N(2, 1));
}

bool finds_element_normals() {
    const corner c;
    const auto& pos = c.pos;
    const auto& connect = c.connect;
    //! [element_normals]
    zel::dense2D<double> N;
    const int status = zel::tessel2d::normals(pos, connect, false, N);
    // Twice the area in length: (0, 0, 2) for the floor and (-4, 0, 0) for the wall.
    //! [element_normals]
    return status == 0 && N.cols == 2 && N(2, 0) == 2 && N(0, 1) == -4;
}

bool moves_along_vectors() {
    corner c;
    auto& pos = c.pos;
    const auto& connect = c.connect;
    //! [offset_along]
    // Both surfaces move by half a unit along (-1, 0, 1), each node once.
    zel::dense2D<double> N(3, pos.cols, 0.0);
    for (std::size_t j = 0; j < N.cols; ++j) {
        N(0, j) = -1;
        N(2, j) = 1;
    }
    const int status = zel::tessel2d::offset(pos, connect, N, 0.5);
    //! [offset_along]
    return status == 0 && pos(0, 1) == 0.5 && pos(2, 1) == 0.5 && pos(2, 5) == 2.5;
}

bool moves_by_a_tensor() {
    corner c;
    auto& pos = c.pos;
    const auto& connect = c.connect;
    //! [offset_by_tensor]
    // Twice as far upwards as to the sides.
    const zel::dense2D<double> N(3, pos.cols, 1.0);
    const zel::symmetric_fixed<double, 3> M{{1, 0, 1, 0, 0, 2}}; // a00, a01, a11, a02, a12, a22
    const int status = zel::tessel2d::offset(pos, connect, N, M);
    //! [offset_by_tensor]
    return status == 0 && pos(0, 0) == 1 && pos(1, 0) == 1 && pos(2, 0) == 2;
}

bool moves_along_normals() {
    corner c;
    auto& pos = c.pos;
    const auto& connect = c.connect;
    //! [offset]
    // Into the room between floor and wall; a negative distance leads out of it.
    const int status = zel::tessel2d::offset(pos, connect, 0.25);
    //! [offset]
    return status == 0 && pos(2, 0) == 0.25 && pos(0, 4) == 0.75;
}

bool copies_along_vectors() {
    corner c;
    auto& pos = c.pos;
    //! [copy_with_offset_along]
    // The wall alone, copied one unit to the right: its nodes 1, 4, 5, 2 become 6, 7, 8, 9.
    const zel::dense2D<unsigned> wall = c.connect.sub_matrix(0, 1, 4, 1);
    zel::dense2D<double> N(3, pos.cols, 0.0);
    for (std::size_t j = 0; j < N.cols; ++j) N(0, j) = 1;
    zel::dense2D<unsigned> copied;
    const int status = zel::tessel2d::copy_with_offset(pos, wall, N, 1.0, copied);
    //! [copy_with_offset_along]
    return status == 0 && pos.cols == 10 && copied.cols == 1 && copied(0, 0) == 6 &&
           copied(3, 0) == 9 && pos(0, 8) == 2 && pos(1, 8) == 1 && pos(2, 8) == 2;
}

bool copies_by_a_tensor() {
    corner c;
    auto& pos = c.pos;
    const auto& connect = c.connect;
    //! [copy_with_offset_by_tensor]
    // A copy whose floor rises by 0.1 and whose wall moves by 0.3, with mixtures on their edge.
    zel::dense2D<double> N;
    int status = zel::tessel2d::normals(pos, connect, 1.0, true, N);
    const zel::symmetric_fixed<double, 3> M{{0.3, 0, 0.3, 0, 0, 0.1}};
    zel::dense2D<unsigned> copied;
    if (status == 0) status = zel::tessel2d::copy_with_offset(pos, connect, N, M, copied);
    //! [copy_with_offset_by_tensor]
    return status == 0 && pos.cols == 12 && close_to(0.1, pos(2, copied(0, 0))) &&
           close_to(0.7, pos(0, copied(1, 1)));
}

bool copies_along_normals() {
    corner c;
    auto& pos = c.pos;
    const auto& connect = c.connect;
    //! [copy_with_offset]
    // The parallel surface at a distance of 0.25, numbered behind the surface itself.
    zel::dense2D<unsigned> copied;
    const int status = zel::tessel2d::copy_with_offset(pos, connect, 0.25, copied);
    //! [copy_with_offset]
    return status == 0 && pos.cols == 12 && copied.cols == 2 && copied(0, 0) == 6 &&
           pos(2, 0) == 0 && pos(2, 6) == 0.25;
}

} // namespace

int main() {
    const bool good = finds_node_normals() && finds_element_normals() && moves_along_vectors() &&
                      moves_by_a_tensor() && moves_along_normals() && copies_along_vectors() &&
                      copies_by_a_tensor() && copies_along_normals();
    std::puts(good ? "normals and offsets are as expected"
                   : "a normal or an offset is not as expected");
    return good ? 0 : 1;
}
