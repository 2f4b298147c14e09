// SPDX-License-Identifier: Apache-2.0
// Turns quadrilaterals with a collapsed edge into triangles.
#include "foundation/call_frame.h"
#include "zel/tessel2d/orientation.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

/// The rows of a quadrilateral that become the triangle when one edge has collapsed: three corners,
/// and for a quadratic element the mid-side nodes opposite them.
struct remaining_rows {
    unsigned char rows[6];
};

constexpr remaining_rows without_edge_01{{0, 2, 3, 6, 7, 5}};
constexpr remaining_rows without_edge_12{{0, 1, 3, 6, 7, 4}};
constexpr remaining_rows without_edge_23{{0, 1, 2, 5, 7, 4}};
constexpr remaining_rows without_edge_30{{0, 1, 2, 5, 6, 4}};

/// What remains of a quadrilateral whose neighbouring corners coincide, or null if none do.
const remaining_rows* find_collapsed_edge(const unsigned* cell) noexcept {
    if (cell[0] == cell[1]) return &without_edge_01;
    if (cell[1] == cell[2]) return &without_edge_12;
    if (cell[2] == cell[3]) return &without_edge_23;
    if (cell[0] == cell[3]) return &without_edge_30;
    return nullptr;
}

/// Makes a triangle of a column of 4, 8 or 9 rows if an edge of it has collapsed. A column with an
/// entry 0xFFFFFFFF is left alone.
bool convert_column(unsigned* cell, std::size_t rows) noexcept {
    const remaining_rows* const remaining = find_collapsed_edge(cell);
    if (!remaining || std::find(cell, cell + rows, no_node) != cell + rows) return false;
    unsigned old[9];
    std::copy_n(cell, rows, old);
    std::fill_n(cell, rows, no_node);
    const std::size_t nodes = rows == 4 ? 3 : 6;
    for (std::size_t i = 0; i < nodes; ++i) cell[i] = old[remaining->rows[i]];
    return true;
}

} // namespace

int convert_degenerated_Q4(dense2D<unsigned>& connect) {
    if (connect.empty()) return status_ok;
    if (connect.rows != 4) return -1;
    std::size_t count = 0;
    const auto cells = columns_of(connect);
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (convert_column(cells[e], 4)) ++count;
    return as_count(count);
}

int convert_degenerated_Q(dense2D<unsigned>& connect, dense1D<unsigned, 8>& changed) {
    changed.clear();
    if (connect.empty()) return status_ok;
    const std::size_t rows = connect.rows;
    if (rows != 4 && rows != 8 && rows != 9) return -1;
    const auto cells = columns_of(connect);
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (convert_column(cells[e], rows)) changed.push_back(static_cast<unsigned>(e));
    return as_count(changed.size);
}

} // namespace zel::tessel2d
