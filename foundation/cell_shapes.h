// zel tessel2d: planar and surface mesh tools.
#pragma once

// How many corners a column of a connectivity has, as a type, so that triangles, quadrilaterals and
// mixed meshes are one template.
#include "foundation/call_frame.h"

namespace zel::tessel2d {

/// 2 rows.
struct edge_cells {
    static constexpr unsigned corners(const unsigned*) noexcept { return 2; }
};

/// 3 rows.
struct triangle_cells {
    static constexpr unsigned corners(const unsigned*) noexcept { return 3; }
};

/// 4 rows, quadrilaterals only.
struct quad_cells {
    static constexpr unsigned corners(const unsigned*) noexcept { return 4; }
};

/// 4 rows, triangles with 0xFFFFFFFF in row 3.
struct mixed_cells {
    static constexpr unsigned corners(const unsigned* cell) noexcept {
        return cell[3] == no_node ? 3 : 4;
    }
};

} // namespace zel::tessel2d
