// SPDX-License-Identifier: Apache-2.0
// Reorientation of a surface as one would write it down: what tests and fuzz drivers compare
// `mesh_reorient` with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

namespace zel_test {

/// Elements, or their neighbours, as lists of numbers; triangles have 3, or 4 with 0xFFFFFFFF at the end.
using number_lists = std::vector<std::vector<unsigned>>;

inline unsigned corners_in(const std::vector<unsigned>& element) {
    return element.size() == 3 || element[3] == 0xFFFFFFFFU ? 3 : 4;
}
/// The place of a node in an element; one that is missing counts as 0xFFFFFFFF in wide sums.
inline std::uint64_t place_in(const std::vector<unsigned>& element, unsigned node) {
    for (unsigned i = 0; i < corners_in(element); ++i)
        if (element[i] == node) return i;
    return 0xFFFFFFFFU;
}
inline void turn_over(std::vector<unsigned>& element, std::vector<unsigned>& beside) {
    std::swap(element[0], element[2]);
    if (corners_in(element) == 3) {
        std::swap(beside[0], beside[2]);
    } else {
        std::swap(beside[0], beside[1]);
        std::swap(beside[2], beside[3]);
    }
}

/// The walk over neighbours, on lists that grow as they please, every meeting queued; returns what
/// `mesh_reorient` does.
inline int reorientation_walk(number_lists& connect, number_lists& neighbors, std::size_t seed,
                              bool all) {
    const std::size_t elements = connect.size();
    std::vector<bool> visited(elements, false);
    int count = 0;
    for (std::size_t start = seed; start < elements; ++start) {
        if (visited[start]) continue;
        std::deque<std::size_t> queue{start};
        while (!queue.empty()) {
            const std::size_t e = queue.front();
            queue.pop_front();
            if (visited[e]) continue;
            visited[e] = true;
            const unsigned n = corners_in(connect[e]);
            for (unsigned k = 0; k < n; ++k) {
                const std::size_t f = neighbors[e][k];
                if (f >= elements || visited[f]) continue;
                const unsigned from = n == 3 ? (k + 1) % 3 : k;
                const std::uint64_t i = place_in(connect[f], connect[e][from]);
                const std::uint64_t j = place_in(connect[f], connect[e][(from + 1) % n]);
                const unsigned c = corners_in(connect[f]);
                if (j == (i + 1) % c) {
                    turn_over(connect[f], neighbors[f]);
                    ++count;
                } else if (i != (j + 1) % c) {
                    count = -2;
                }
                queue.push_back(f);
                if (count < 0) break;
            }
        }
        if (!all) break;
    }
    return count;
}

} // namespace zel_test
