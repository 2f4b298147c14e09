// SPDX-License-Identifier: Apache-2.0
//
// Conversion: raising and lowering the order of elements, cutting elements into linear ones.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr unsigned none = 0xFFFFFFFF;

/// A unit square with a triangle on its right side.
struct square_and_triangle {
    zel::dense2D<double> pos{2, 5};
    zel::dense2D<unsigned> connect{4, 2};

    square_and_triangle() {
        const double corners[5][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0.5}};
        const unsigned nodes[2][4] = {{0, 1, 2, 3}, {1, 4, 2, none}};
        for (unsigned j = 0; j < 5; ++j) std::copy_n(corners[j], 2, pos[j]);
        for (unsigned e = 0; e < 2; ++e) std::copy_n(nodes[e], 4, connect[e]);
    }
};

bool raises_to_quadratic() {
    square_and_triangle mesh;
    zel::dense2D<double>& pos = mesh.pos;
    zel::dense2D<unsigned>& connect = mesh.connect;
    //! [quadratic]
    // A unit square (0, 1, 2, 3) with a triangle (1, 4, 2) on its right side.
    const int status = zel::tessel2d::convert_into_quadratic(pos, connect);
    // connect has nine rows: a Q9 (0, 1, 2, 3, 5, 6, 7, 8, 11) and a T6 (1, 4, 2, 9, 6, 10). Both have
    // node 6, at (1, 0.5), on their common edge.
    //! [quadratic]
    const bool shared = connect.rows == 9 && connect(5, 0) == 6 && connect(4, 1) == 6;
    if (status != 0 || !shared || pos(0, 6) != 1 || pos(1, 6) != 0.5) return false;
    //! [lower]
    const int lowered = zel::tessel2d::convert_into_linear(connect);
    // connect has four rows again: (0, 1, 2, 3) and (1, 4, 2, 0xFFFFFFFF).
    //! [lower]
    return lowered == 0 && connect.rows == 4 && connect(3, 0) == 3 && connect(3, 1) == none;
}

bool follows_curved_edges() {
    //! [curved]
    // The lower side of a square is bent: node 4 lies between its ends 0 and 1.
    double corners[] = {0, 0, 1, 0, 1, 1, 0, 1, 0.5, -0.25};
    unsigned nodes[] = {0, 1, 2, 3};
    unsigned bent[] = {0, 1, 4};
    auto pos = zel::dense2D<double>::wrap(corners, 2, 5);
    auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 1);
    const auto edges = zel::dense2D<unsigned>::wrap(bent, 3, 1);

    const int status = zel::tessel2d::convert_into_quadratic(pos, connect, edges);
    // Node 4 is the mid-side node of its edge, and the centre follows the bend: (0.5, 0.375).
    //! [curved]
    const unsigned centre = connect(8, 0);
    return status == 0 && connect(4, 0) == 4 && pos(0, centre) == 0.5 && pos(1, centre) == 0.375;
}

bool raises_to_cubic() {
    square_and_triangle mesh;
    zel::dense2D<double>& pos = mesh.pos;
    zel::dense2D<unsigned>& connect = mesh.connect;
    //! [high_order]
    // Two nodes on each edge, four in the square, one in the triangle.
    zel::dense2D<unsigned> cubic;
    const zel::dense2D<unsigned> no_edges;
    const int status =
        zel::tessel2d::convert_into_high_order(pos, connect, 2, 4, 1, cubic, no_edges);
    // cubic has 4 + 4*2 + 4 rows. The common edge has nodes 7, 8 in the square and 8, 7 in the triangle.
    //! [high_order]
    bool good = status == 0 && cubic.rows == 16 && cubic(6, 0) == 7 && cubic(7, 0) == 8 &&
                cubic(5, 1) == 8 && cubic(6, 1) == 7;
    square_and_triangle again;
    //! [cubic]
    const int in_place =
        zel::tessel2d::convert_into_high_order(again.pos, again.connect, 2, 4, 1, no_edges);
    //! [cubic]
    return good && in_place == 0 && again.connect.rows == 16 && again.pos.cols == pos.cols;
}

bool cuts_quadratic_elements() {
    //! [split_quadratic]
    unsigned nodes[] = {0, 1, 2, 3, 4, 5};
    const auto six_nodes = zel::dense2D<unsigned>::wrap(nodes, 6, 1);
    zel::dense2D<unsigned> triangles;
    const int status = zel::tessel2d::split_into_linear(six_nodes, triangles);
    // Four triangles: (0, 5, 4), (1, 3, 5), (2, 4, 3) and (3, 4, 5).
    //! [split_quadratic]
    return status == 0 && triangles.cols == 4 && triangles(1, 0) == 5 && triangles(2, 3) == 5;
}

bool makes_quadrilaterals() {
    square_and_triangle mesh;
    zel::dense2D<double>& pos = mesh.pos;
    zel::dense2D<unsigned>& connect = mesh.connect;
    //! [all_quads]
    zel::dense2D<unsigned> quads;
    const int status = zel::tessel2d::split_into_Q4(pos, connect, quads, zel::dense2D<unsigned>());
    // Four quadrilaterals of the square, three of the triangle, on five old and eight new nodes.
    //! [all_quads]
    return status == 0 && quads.cols == 7 && pos.cols == 13;
}

bool cuts_quadrilaterals() {
    //! [cut_blindly]
    // A rhombus, wider than high.
    double corners[] = {0, 0, 1, -0.4, 2, 0, 1, 0.4};
    unsigned nodes[] = {0, 1, 2, 3};
    const auto pos = zel::dense2D<double>::wrap(corners, 2, 4);
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 1);

    zel::dense2D<unsigned> blind;
    const int cut = zel::tessel2d::split_Q4_into_T3(connect, blind);
    // cut is 1; the triangles are (0, 1, 2) and (2, 3, 0), whatever their shape.
    //! [cut_blindly]
    //! [cut_well]
    zel::dense2D<unsigned> better;
    const int cut_well = zel::tessel2d::split_Q4_into_T3(pos, connect, better);
    // The short diagonal: (1, 2, 3) and (3, 0, 1).
    //! [cut_well]
    return cut == 1 && blind(0, 0) == 0 && cut_well == 1 && better(0, 0) == 1 && better(2, 0) == 3;
}

bool cuts_bad_quadrilaterals() {
    //! [cut_the_bad]
    // A unit square and a long thin quadrilateral beside it.
    double corners[] = {0, 0, 1, 0, 1, 1, 0, 1, 9, 0, 9, 0.1};
    unsigned nodes[] = {1, 4, 5, 2, 0, 1, 2, 3};
    const auto pos = zel::dense2D<double>::wrap(corners, 2, 6);
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 2);

    zel::dense1D<unsigned, 8> kept, split;
    zel::dense2D<unsigned> mixed;
    const int by_shape = 1;
    const int cut =
        zel::tessel2d::split_Q4_into_T3(pos, connect, 0.5, 0.3, 0.9, by_shape, kept, split, mixed);
    // cut is 1: element 1 is kept, element 0 is not. mixed holds the square, then two triangles.
    //! [cut_the_bad]
    return cut == 1 && kept.size == 1 && kept[0] == 1 && split.size == 1 && split[0] == 0 &&
           mixed.cols == 3 && mixed(3, 0) == 3 && mixed(3, 1) == none && mixed(3, 2) == none;
}

} // namespace

int main() {
    const bool good = raises_to_quadratic() && follows_curved_edges() && raises_to_cubic() &&
                      cuts_quadratic_elements() && makes_quadrilaterals() &&
                      cuts_quadrilaterals() && cuts_bad_quadrilaterals();
    if (!good) std::puts("a result is not the expected one");
    return good ? 0 : 1;
}
