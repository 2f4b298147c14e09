// SPDX-License-Identifier: Apache-2.0
#pragma once

// Neighbours and ancestors of a mesh: those that were given, or else built by the host tools.
#include "arrays.h"

namespace tessel2d_python {

struct adjacent {
    connectivity neighbors;
    number_list ancestors;
    py::object keep_neighbors{}; ///< the arrays in whose memory they lie, if they were given
    py::object keep_ancestors{};
};

/// `ancestors` may be null for functions that need none. Errors of the host tool name `function`, which
/// calls `connect` by the status -`position`.
adjacent adjacency_of(const char* function, const connectivity& connect, std::size_t nodes,
                      py::handle neighbors, py::handle ancestors, int position);

/// One more than the largest node number.
std::size_t nodes_named(const connectivity& connect);

/// Neighbours alone. The nodes are as many as `connect` names.
adjacent neighbors_of(const char* function, const connectivity& connect, py::handle neighbors);

} // namespace tessel2d_python
