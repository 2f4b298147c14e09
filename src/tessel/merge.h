// SPDX-License-Identifier: Apache-2.0
// Finds the nodes that coincide and rewrites the entries of matrices with the numbers of those that
// are kept.
#pragma once

#include "zel/dense.h"

namespace zel::tessel {

/// Writes for each node of `pos` (2 or 3 rows) the number of the node that `merge` puts in its
/// place, its own if it is kept, and counts in `fused` those that are not. `stands_for` has the
/// size of `pos`. Returns false if memory is exhausted.
bool find_coincident(const dense2D<double>& pos, double tolerance, dense1D<unsigned, 8>& stands_for,
                     std::size_t& fused) noexcept;

/// Replaces each entry i by stands_for[i]; entries that are not below its size stay.
void replace_entries(dense2D<unsigned>& connect, const dense1D<unsigned, 8>& stands_for) noexcept;

} // namespace zel::tessel
