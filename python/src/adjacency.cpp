// SPDX-License-Identifier: Apache-2.0

// Neighbours and ancestors of a mesh: those that were given, or else built by the host tools.
#include "adjacency.h"

#include "call.h"
#include "zel/host/adjacency.h"

#include <array>
#include <utility>

namespace tessel2d_python {

std::size_t nodes_named(const connectivity& connect) {
    return connect.empty() ? 0 : std::size_t{zel::max_index(connect)} + 1;
}

adjacent adjacency_of(const char* function, const connectivity& connect, std::size_t nodes,
                      py::handle neighbors, py::handle ancestors, int position) {
    adjacent result{};
    const bool build_ancestors = ancestors && ancestors.is_none();
    if (neighbors.is_none() || build_ancestors) {
        zel::host::adjacency built;
        int status;
        {
            const py::gil_scoped_release unlocked;
            status = zel::host::build_adjacency(connect, nodes, built);
        }
        if (status == -199) throw std::bad_alloc();
        if (status < 0 && position == 1) raise(function, -1, {"connect"});
        if (status < 0) raise(function, -2, {"pos", "connect"});
        result.neighbors = std::move(built.neighbors);
        result.ancestors = std::move(built.ancestors);
        // Of the connectivity's shape also when it is empty.
        if (connect.empty() && !result.neighbors.resize(connect.rows, connect.cols))
            throw std::bad_alloc();
    }
    if (!neighbors.is_none()) {
        auto given = numbers(neighbors, "neighbors");
        result.neighbors = std::move(given.view);
        result.keep_neighbors = std::move(given.array);
    }
    if (ancestors && !build_ancestors) {
        auto given = numbers_list(ancestors, "ancestors");
        result.ancestors = std::move(given.view);
        result.keep_ancestors = std::move(given.array);
    }
    return result;
}

adjacent neighbors_of(const char* function, const connectivity& connect, py::handle neighbors) {
    return adjacency_of(function, connect, nodes_named(connect), neighbors, py::handle(), 1);
}

} // namespace tessel2d_python
