// SPDX-License-Identifier: Apache-2.0
//
// Builds the search structure of a node detector; node_index.h describes it.
#include "tessel/node_index.h"

#include <cmath>
#include <limits>
#include <utility>

namespace zel::tessel {

using namespace tessel2d;

namespace {

// mutation: speed only
constexpr double nodes_per_cell = 2.5; // of a grid over even nodes
constexpr std::size_t few_cells = 16;  // a grid has as many at least, even if they are mostly empty

/// Adds elements to a list whose memory at least doubles. Returns false if memory is exhausted.
template <class T>
bool add_to(dense1D<T, 8>& list, std::size_t more) noexcept {
    const std::size_t size = list.size + more;
    if (!list.reserve(size, 2)) return false;
    list.resize(size);
    return true;
}

void include(branch& box, const double* p) noexcept {
    for (std::size_t i = 0; i < 2; ++i) {
        box.low[i] = std::min(box.low[i], p[i]);
        box.high[i] = std::max(box.high[i], p[i]);
    }
}

constexpr branch empty_box() noexcept {
    constexpr double most = std::numeric_limits<double>::max();
    return {{most, most}, {-most, -most}, {0, 0}, {0, 0}, 0, 0, 0, 0};
}

/// Lays a grid of cells over the box that are as square as may be, one for every two nodes. Returns
/// false if the sizes are out of the range of numbers.
bool lay_grid(branch& b, std::size_t count) noexcept {
    const double wanted = std::max(static_cast<double>(count) / nodes_per_cell, 1.0);
    const double width = b.high[0] - b.low[0];
    const double height = b.high[1] - b.low[1];
    const double across = std::floor(std::clamp(std::sqrt(wanted * (width / height)), 1.0, wanted));
    const double cells[2] = {across, std::floor(wanted / across)};
    for (std::size_t i = 0; i < 2; ++i) {
        const double extent = b.high[i] - b.low[i];
        b.per_length[i] = extent > 0 ? cells[i] / extent : 1;
        // mutation (< -> >=): without grids the nodes are cut into halves
        if (!(b.per_length[i] > 1e-290 && b.per_length[i] < 1e290)) return false;
    }
    b.cells[0] = static_cast<unsigned>(cells[0]);
    b.cells[1] = static_cast<unsigned>(cells[1]);
    return true;
}

/// Joins cells, two by two in each direction, while most are empty. The node counts follow.
void make_coarser(branch& b, unsigned* counts) noexcept {
    for (;;) {
        const std::size_t across = b.across();
        const std::size_t up = b.up();
        const std::size_t cells = across * up;
        const auto empty = static_cast<std::size_t>(std::count(counts, counts + cells, 0U));
        if (cells <= few_cells || 8 * (cells - empty) >= cells) return;
        const std::size_t half_across = (across + 1) / 2;
        const std::size_t half_up = (up + 1) / 2;
        // A sum is written where all counts have been taken from.
        for (std::size_t j = 0; j < half_up; ++j)
            for (std::size_t i = 0; i < half_across; ++i) {
                unsigned sum = 0;
                for (std::size_t y = 2 * j; y < std::min(2 * j + 2, up); ++y)
                    for (std::size_t x = 2 * i; x < std::min(2 * i + 2, across); ++x)
                        sum += counts[y * across + x];
                counts[j * half_across + i] = sum;
            }
        b.cells[0] = static_cast<unsigned>(half_across);
        b.cells[1] = static_cast<unsigned>(half_up);
        for (double& scale : b.per_length) scale /= 2;
    }
}

bool before(const held_node& a, const held_node& b, std::size_t direction) noexcept {
    return a.x[direction] != b.x[direction] ? a.x[direction] < b.x[direction] : a.number < b.number;
}

struct index_maker {
    dense1D<held_node, 8>& nodes;
    dense1D<unsigned, 8>& numbers;
    dense1D<branch, 8>& branches;
    dense1D<held_node, 8> given; // the nodes of the run that is being sorted, in their former order
    dense1D<unsigned, 8> cell_of;

    // All of these return false when memory is exhausted.

    bool make(const dense2D<double>& pos) noexcept {
        if (!given.resize(pos.cols)) return false;
        branch box = empty_box();
        std::size_t count = 0;
        const columns<const double> points = columns_of(pos);
        for (std::size_t i = 0; i < pos.cols; ++i) {
            const double* const p = points[i];
            if (!std::isfinite(p[0]) || !std::isfinite(p[1])) continue;
            given[count++] = {{p[0], p[1]}, static_cast<unsigned>(i)};
            include(box, p);
        }
        if (!nodes.resize(count)) return false;
        const node_run all{0, count};
        if (all.crowded())
            return cell_of.resize(count) && add_to(branches, 1) && divide(all, box, 0, true);
        std::copy_n(given.begin(), count, nodes.begin());
        return true;
    }

    /// Divides a crowded run, which stands in `given`.
    bool divide(const node_run& run, branch& b, std::size_t index, bool by_grid) noexcept {
        if (!b.is_point() && by_grid && lay_grid(b, run.count()))
            return divide_by_grid(run, b, index);
        std::copy_n(given.begin(), run.count(), &nodes[run.first]);
        if (!b.is_point()) return cut(run, b, index);
        branches[index] = b; // the nodes are in ascending order
        return true;
    }

    /// Divides the runs that stand at `run`, in order of their numbers, again.
    bool divide_again(const node_run& run, std::size_t index, bool by_grid) noexcept {
        branch box = empty_box();
        for (std::size_t k = run.first; k < run.last; ++k) include(box, nodes[k].x);
        std::copy_n(&nodes[run.first], run.count(), given.begin());
        return divide(run, box, index, by_grid);
    }

    bool divide_by_grid(const node_run& run, branch& b, std::size_t index) noexcept {
        const std::size_t begins = numbers.size;
        const std::size_t most_cells = b.across() * b.up();
        if (!add_to(numbers, most_cells + 1)) return false;
        unsigned* const counts = &numbers[begins];
        std::fill_n(counts, most_cells, 0U);
        for (std::size_t k = 0; k < run.count(); ++k) {
            cell_of[k] = static_cast<unsigned>(b.cell_at(given[k].x));
            ++counts[cell_of[k]];
        }
        make_coarser(b, counts);
        const std::size_t cells = b.across() * b.up();
        if (cells != most_cells) {
            numbers.resize(begins + cells + 1);
            for (std::size_t k = 0; k < run.count(); ++k)
                cell_of[k] = static_cast<unsigned>(b.cell_at(given[k].x));
        }
        std::size_t begin = run.first;
        for (std::size_t c = 0; c < cells; ++c)
            begin += std::exchange(counts[c], static_cast<unsigned>(begin));
        for (std::size_t k = 0; k < run.count(); ++k) nodes[counts[cell_of[k]]++] = given[k];
        std::copy_backward(counts, counts + cells, counts + cells + 1);
        counts[0] = static_cast<unsigned>(run.first);
        b.first_begin = begins;
        return divide_cells(run.count(), b, cells, index);
    }

    node_run cell(std::size_t begins, std::size_t c) const noexcept {
        return {numbers[begins + c], numbers[begins + c + 1]};
    }

    bool divide_cells(std::size_t count, branch& b, std::size_t cells, std::size_t index) noexcept {
        const std::size_t begins = b.first_begin;
        std::size_t crowded = 0;
        for (std::size_t c = 0; c < cells; ++c) crowded += cell(begins, c).crowded();
        if (crowded > 0) b.first_child = numbers.size;
        branches[index] = b;
        if (crowded == 0) return true;
        std::size_t child = branches.size;
        if (!add_to(numbers, cells) || !add_to(branches, crowded)) return false;
        for (std::size_t c = 0; c < cells; ++c) {
            const node_run run = cell(begins, c);
            if (!run.crowded()) continue;
            numbers[b.first_child + c] = static_cast<unsigned>(child);
            if (!divide_again(run, child++, run.count() <= count / 4 * 3)) return false;
        }
        return true;
    }

    /// Halves a run across the longer side of its box. To the left are coordinates not above the cut, to
    /// the right none below it.
    bool cut(const node_run& run, branch& b, std::size_t index) noexcept {
        const double width = b.high[0] / 2 - b.low[0] / 2; // halved: the difference may overflow
        const double height = b.high[1] / 2 - b.low[1] / 2;
        const std::size_t direction = height > width || b.low[0] == b.high[0] ? 1 : 0;
        const std::size_t middle = run.first + run.count() / 2;
        held_node* const all = nodes.begin();
        std::nth_element(all + run.first, all + middle, all + run.last,
                         [direction](const held_node& x, const held_node& y) {
                             return before(x, y, direction);
                         });
        b.cut_place = nodes[middle].x[direction];
        b.cut_axis = direction;
        b.first_begin = middle;
        b.first_child = branches.size;
        b.cells[0] = 0;
        branches[index] = b;
        const std::size_t child = branches.size;
        if (!add_to(branches, 2)) return false;
        const held_node pivot = nodes[middle];
        std::size_t next[2] = {run.first, middle};
        for (std::size_t k = 0; k < run.count(); ++k) // in order of their numbers again
            nodes[next[before(given[k], pivot, direction) ? 0 : 1]++] = given[k];
        const node_run halves[2] = {{run.first, middle}, {middle, run.last}};
        for (std::size_t h = 0; h < 2; ++h)
            if (halves[h].crowded() && !divide_again(halves[h], child + h, true)) return false;
        return true;
    }
};

} // namespace

bool node_index::build(const dense2D<double>& pos) noexcept {
    return index_maker{nodes, numbers, branches, {}, {}}.make(pos);
}

} // namespace zel::tessel
