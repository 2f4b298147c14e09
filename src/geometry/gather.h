// SPDX-License-Identifier: Apache-2.0
// A loop over elements that fetches the corners of many before it computes with them.
#pragma once

// Where the nodes of a mesh are in no order, each corner is a miss of the cache. The processor waits
// for many of them at a time as long as nothing long stands between one and the next; an atan2 or a
// chain of divisions does.
#include "geometry/point.h"

#include <algorithm>

namespace zel::tessel2d {

/// Elements that are fetched in one go; their corners fit into the first cache.
constexpr std::size_t gather_run = 64; // mutation: speed only

/// The corners of an element in a connectivity of so many rows; a triangle among quadrilaterals has its
/// first once more as the fourth.
template <int Dim, std::size_t Rows>
struct element_corners {
    point<Dim> p[Rows];
};

/// Calls `work(e, nodes, corners)` for every column e of the connectivity, in their order.
template <int Dim, std::size_t Rows, class Work>
void for_each_element(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                      Work&& work) noexcept {
    const points_view<Dim> points(pos);
    const auto cells = columns_of(connect);
    element_corners<Dim, Rows> fetched[gather_run];
    for (std::size_t first = 0; first < connect.cols; first += gather_run) {
        const std::size_t count = std::min(gather_run, connect.cols - first);
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned* const n = cells[first + i];
            for (std::size_t k = 0; k < 3; ++k) fetched[i].p[k] = points[n[k]];
            if constexpr (Rows == 4) fetched[i].p[3] = points[n[3] == no_node ? n[0] : n[3]];
        }
        for (std::size_t i = 0; i < count; ++i) work(first + i, cells[first + i], fetched[i]);
    }
}

} // namespace zel::tessel2d
