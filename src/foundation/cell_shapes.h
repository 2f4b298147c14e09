// SPDX-License-Identifier: Apache-2.0
// Makes the number of corners of a column a type, so that triangles, quadrilaterals and mixed
// meshes share one template.
#pragma once

#include "foundation/call_frame.h"
#include "zel/element_type.h"

namespace zel::tessel2d {

/// Returns true if a connectivity of this height suits a concrete kind, and false for a value that
/// is no kind at all.
inline bool has_rows_of(std::size_t rows, element_type kind) noexcept {
    // mutation: no kind has more bits
    const bool known = static_cast<unsigned>(kind) <= static_cast<unsigned>(ELEMENT_H27);
    return known && rows == element_node_count(kind);
}

/// 2 rows.
struct edge_cells {
    static constexpr unsigned corners(const unsigned*) noexcept { return 2; }
};

/// 3 rows.
struct triangle_cells {
    static constexpr unsigned rows = 3;
    static constexpr unsigned corners(const unsigned*) noexcept { return 3; }
};

/// 4 rows, quadrilaterals only.
struct quad_cells {
    static constexpr unsigned rows = 4;
    static constexpr unsigned corners(const unsigned*) noexcept { return 4; }
};

/// 4 rows, triangles with 0xFFFFFFFF in row 3.
struct mixed_cells {
    static constexpr unsigned rows = 4;
    static constexpr unsigned corners(const unsigned* cell) noexcept {
        return cell[3] == no_node ? 3 : 4;
    }
};

/// 8 or 9 rows, Q8 or Q9 and T6 with 0xFFFFFFFF in row 6.
struct quadratic_cells {
    static constexpr unsigned corners(const unsigned* cell) noexcept {
        return cell[6] == no_node ? 3 : 4;
    }
};

} // namespace zel::tessel2d
