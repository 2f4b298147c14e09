// SPDX-License-Identifier: Apache-2.0
// Makes quadratic elements linear by cutting off the rows behind their corners.
#include "foundation/cell_shapes.h"
#include "zel/tessel2d/conversion.h"

namespace zel::tessel2d {

namespace {

/// Row 3 marks a triangle in a linear mesh, where a T6 among quadratic elements has a mid-side node.
void mark_triangles(dense2D<unsigned>& connect) noexcept {
    const auto cells = columns_of(connect);
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (quadratic_cells::corners(cells[e]) == 3) cells[e][3] = no_node;
}

} // namespace

// Cutting rows needs no memory, so that the resizes cannot fail.
int convert_into_linear(dense2D<unsigned>& connect) {
    if (connect.empty()) return status_ok;
    if (connect.rows == 6) {
        connect.resize(3, connect.cols);
        return status_ok;
    }
    if (connect.rows != 8 && connect.rows != 9) return -1;
    mark_triangles(connect);
    connect.resize(4, connect.cols);
    return status_ok;
}

} // namespace zel::tessel2d
