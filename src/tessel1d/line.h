// SPDX-License-Identifier: Apache-2.0
// Places nodes at equal distances on the straight line between two nodes.
#pragma once

#include "foundation/call_frame.h"

namespace zel::tessel1d {

/// Writes the n - 1 inner nodes of the line from node a to node b to the columns from `first_new` on.
/// All columns must lie in the storage.
inline void place_line(tessel2d::columns<double> pos, std::size_t rows, std::size_t a,
                       std::size_t b, std::size_t n, std::size_t first_new) noexcept {
    const double cells = static_cast<double>(n);
    for (std::size_t i = 0; i < rows; ++i) {
        const double begin = pos[a][i];
        const double extent = pos[b][i] - begin;
        for (std::size_t k = 1; k < n; ++k)
            pos[first_new + k - 1][i] = begin + (static_cast<double>(k) / cells) * extent;
    }
}

} // namespace zel::tessel1d
