// SPDX-License-Identifier: Apache-2.0
#pragma once

// Which nodes coincide, and the numbers that follow from it.
#include "zel/dense.h"

namespace zel::tessel {

/// Writes for each node of `pos` (2 or 3 rows) the number of the node that `merge` puts in its place, its
/// own if it is kept, and counts in `fused` those that are not. `stands_for` has the size of `pos`. False:
/// memory is exhausted.
bool find_coincident(const dense2D<double>& pos, double tolerance, dense1D<unsigned, 8>& stands_for,
                     std::size_t& fused) noexcept;

/// Puts in the place of each entry what `stands_for` has for it; entries beyond its size stay.
void replace_entries(dense2D<unsigned>& connect, const dense1D<unsigned, 8>& stands_for) noexcept;

} // namespace zel::tessel
