// SPDX-License-Identifier: Apache-2.0
// Sorts nodes along a Z curve: a counting sort by the cell of the curve.
#include "location/curve_order.h"

#include "location/lookahead.h"

#include <algorithm>
#include <utility>

namespace zel::tessel2d {

namespace {

constexpr unsigned most_levels = 12;

/// The most levels that leave one node a cell.
unsigned levels_for(std::size_t nodes) noexcept {
    unsigned levels = 0;
    while (levels < most_levels && (std::size_t{4} << (2 * levels)) <= nodes) ++levels;
    return levels;
}

} // namespace

bool curve_order::sort(const node_grid& grid, const points_view<2>& pos,
                       const dense1D<unsigned, 8>& list) noexcept {
    const std::size_t n = list.size;
    levels = levels_for(n);
    const std::size_t cells = std::size_t{1} << (2 * levels);
    dense1D<unsigned, 8> places;
    runs.clear();
    if (!places.resize(n) || !nodes.resize(n + readable_behind) || !runs.resize(cells + 1, 0))
        return false;
    std::fill_n(nodes.data() + n, readable_behind, 0u);
    nodes.resize(n);
    const unsigned* const ids = list.data();
    unsigned* const begin = runs.data();
    unsigned* const at = places.data();
    unsigned* const sorted = nodes.data();
    for_each_with_lookahead(
        n, [=](std::size_t i) { return pos.first + ids[i] * pos.ld; },
        [=](std::size_t i) { at[i] = place_on_curve(grid(pos[ids[i]]), levels); });
    for_each_with_lookahead(
        n, [=](std::size_t i) { return begin + at[i]; }, [=](std::size_t i) { ++begin[at[i]]; });
    unsigned sum = 0;
    // mutation (<= -> <): the last entry is written again below
    for (std::size_t c = 0; c <= cells; ++c) sum += std::exchange(begin[c], sum);
    for_each_with_lookahead(
        n, [=](std::size_t i) { return begin + at[i]; },
        [=](std::size_t i) { return sorted + begin[at[i]]; },
        [=](std::size_t i) { sorted[begin[at[i]]++] = ids[i]; });
    // Each begin has moved to the end of its run, which is where the next one begins.
    std::copy_backward(begin, begin + cells, begin + cells + 1);
    begin[0] = 0;
    return true;
}

} // namespace zel::tessel2d
