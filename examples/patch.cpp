// SPDX-License-Identifier: Apache-2.0
//
// Structured patches: the unit square in quadrilaterals and in the three patterns of triangles.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>

namespace {

/// A column of a connectivity against the expected numbers.
bool is_cell(const zel::dense2D<unsigned>& connect, std::size_t e,
             std::initializer_list<unsigned> nodes) {
    return connect.rows == nodes.size() && std::equal(nodes.begin(), nodes.end(), connect[e]);
}

bool fills_the_unit_square_with_quads() {
    //! [unit_square]
    // Eight nodes around the unit square, two cells along each side, and the closed loop of them.
    double around[] = {0, 0, 0.5, 0, 1, 0, 1, 0.5, 1, 1, 0.5, 1, 0, 1, 0, 0.5};
    unsigned loop[] = {0, 1, 2, 3, 4, 5, 6, 7, 0};
    auto pos = zel::dense2D<double>::wrap(around, 2, 8);
    const auto boundary = zel::dense1D<unsigned, 8>::wrap(loop, 9);

    zel::dense2D<unsigned> quads;
    const int status = zel::tessel2d::mesh_struct_Q4(pos, boundary, 2, quads);
    // status is 0, node 8 has come in at (0.5, 0.5), and quads holds four columns:
    // (0, 1, 8, 7), (7, 8, 5, 6), (1, 2, 3, 8) and (8, 3, 4, 5).
    //! [unit_square]
    return status == 0 && pos.cols == 9 && pos(0, 8) == 0.5 && pos(1, 8) == 0.5 &&
           quads.cols == 4 && is_cell(quads, 0, {0, 1, 8, 7}) && is_cell(quads, 1, {7, 8, 5, 6}) &&
           is_cell(quads, 2, {1, 2, 3, 8}) && is_cell(quads, 3, {8, 3, 4, 5});
}

bool cuts_the_unit_square_in_three_patterns() {
    //! [triangle_patterns]
    // One cell, its corners counterclockwise: no interior node comes in, so all patterns share `pos`.
    double corners[] = {0, 0, 1, 0, 1, 1, 0, 1};
    unsigned loop[] = {0, 1, 2, 3, 0};
    auto pos = zel::dense2D<double>::wrap(corners, 2, 4);
    const auto boundary = zel::dense1D<unsigned, 8>::wrap(loop, 5);

    zel::dense2D<unsigned> falling;
    zel::dense2D<unsigned> rising;
    zel::dense2D<unsigned> alternating;
    const bool done = zel::tessel2d::mesh_struct_T3(pos, boundary, 1, 0, falling) == 0 &&
                      zel::tessel2d::mesh_struct_T3(pos, boundary, 1, 1, rising) == 0 &&
                      zel::tessel2d::mesh_struct_T3(pos, boundary, 1, 2, alternating) == 0;
    // falling holds (0, 1, 3) and (1, 2, 3); rising holds (0, 1, 2) and (0, 2, 3), and so does
    // alternating, whose first cell is cut like those of pattern 1.
    //! [triangle_patterns]
    return done && pos.cols == 4 && falling.cols == 2 && is_cell(falling, 0, {0, 1, 3}) &&
           is_cell(falling, 1, {1, 2, 3}) && rising.cols == 2 && is_cell(rising, 0, {0, 1, 2}) &&
           is_cell(rising, 1, {0, 2, 3}) && alternating.cols == 2 &&
           is_cell(alternating, 0, {0, 1, 2}) && is_cell(alternating, 1, {0, 2, 3});
}

} // namespace

int main() {
    if (!fills_the_unit_square_with_quads()) {
        std::puts("the unit square in quadrilaterals is not as expected");
        return 1;
    }
    if (!cuts_the_unit_square_in_three_patterns()) {
        std::puts("the unit square in triangles is not as expected");
        return 1;
    }
    std::puts("the unit square: 4 quadrilaterals, and 2 triangles in each of three patterns");
    return 0;
}
