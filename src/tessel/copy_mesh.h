// SPDX-License-Identifier: Apache-2.0
// Copies parts of a mesh within memory that was reserved before.
#pragma once

#include "zel/tessel.h"

namespace zel::tessel {

/// What `copy_mesh` needs besides its outputs: a number for each node in the range of the source.
struct copy_scratch {
    dense1D<unsigned, 8> ranks;

    bool reserve(std::size_t nodes) noexcept { return ranks.reserve(nodes, 1); }
};

/// As the public functions of this name, but they cannot fail if outputs and scratch have been
/// reserved.
int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
              const vector_fixed<double, 2>& translation, const vector_fixed<double, 2>& center,
              double angle, unsigned copies, const dense2D<unsigned>& source,
              copy_scratch& scratch) noexcept;
int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connect,
              const vector_fixed<double, 3>& translation, const vector_fixed<double, 3>& center,
              const vector_fixed<double, 3>& rotation, unsigned copies,
              const dense2D<unsigned>& source, copy_scratch& scratch) noexcept;

} // namespace zel::tessel
