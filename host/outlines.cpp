// SPDX-License-Identifier: Apache-2.0
//
// Outlines: arcs, loops of four sides, edges of curved lines, and meshes put together.
#include "zel/host/outlines.h"

#include "foundation/call_frame.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cmath>

namespace zel::host {

using namespace tessel2d;

namespace {

constexpr double full_turn = 6.283185307179586476925;

/// An arc around a centre, by distance and angle.
struct polar_arc {
    double radius, radius_step;
    double angle, angle_step;

    polar_arc(const double* a, const double* b, const vector_fixed<double, 2>& centre) noexcept
        : radius(std::hypot(a[0] - centre[0], a[1] - centre[1])),
          radius_step(std::hypot(b[0] - centre[0], b[1] - centre[1]) - radius),
          angle(std::atan2(a[1] - centre[1], a[0] - centre[0])),
          angle_step(std::atan2(b[1] - centre[1], b[0] - centre[0]) - angle) {
        if (!(angle_step > 0)) angle_step += full_turn;
    }
    bool usable() const noexcept {
        return radius > 0 && radius + radius_step > 0 && std::isfinite(radius) &&
               std::isfinite(radius_step) && std::isfinite(angle_step);
    }
    void place(const vector_fixed<double, 2>& centre, double share, double* to) const noexcept {
        const double r = radius + share * radius_step;
        const double t = angle + share * angle_step;
        to[0] = centre[0] + r * std::cos(t);
        to[1] = centre[1] + r * std::sin(t);
    }
};

/// One side of a loop, forwards or backwards.
struct directed_side {
    const dense1D<unsigned, 8>* nodes;
    bool backwards;

    unsigned operator[](std::size_t i) const noexcept {
        return (*nodes)[backwards ? nodes->size - 1 - i : i];
    }
    unsigned first() const noexcept { return (*this)[0]; }
    unsigned last() const noexcept { return (*this)[nodes->size - 1]; }
};

/// Turns sides 1 to 3 so that each begins where the one before it ends. Returns how many sides meet the
/// next one, 4 when the loop is closed.
unsigned turn_sides(directed_side (&sides)[4]) noexcept {
    for (unsigned k = 1; k < 4; ++k) {
        sides[k].backwards = false;
        if (sides[k].first() == sides[k - 1].last()) continue;
        sides[k].backwards = true;
        if (sides[k].first() != sides[k - 1].last()) return k - 1;
    }
    return sides[3].last() == sides[0].first() ? 4 : 3;
}

/// Returns 1 or -1 for the direction in which the nodes between two corners are numbered, 0 if they are not.
int numbering(const unsigned* between, unsigned a) noexcept {
    bool up = true;
    bool down = true;
    for (unsigned i = 1; i < a; ++i) {
        up = up && between[i] == between[i - 1] + 1 && between[i] != 0;
        down = down && between[i] + 1 == between[i - 1] && between[i - 1] != 0;
    }
    return up ? 1 : down ? -1 : 0;
}

/// Writes one column of given edges from the a + 2 nodes of an edge on the line.
void write_edge(const unsigned* nodes, unsigned a, unsigned* column) noexcept {
    const bool up = numbering(nodes + 1, a) > 0;
    column[0] = up ? nodes[0] : nodes[a + 1];
    column[1] = up ? nodes[a + 1] : nodes[0];
    for (unsigned i = 0; i < a; ++i) column[2 + i] = up ? nodes[1 + i] : nodes[a - i];
}

} // namespace

int arc(dense2D<double>& pos, unsigned a, unsigned b, const vector_fixed<double, 2>& centre,
        unsigned n, dense1D<unsigned, 8>& line) {
    if (pos.rows != 2) return -1;
    if (a >= pos.cols) return -2;
    if (b >= pos.cols) return -3;
    const polar_arc curve(pos[a], pos[b], centre);
    if (!curve.usable()) return -4;
    if (n == 0) return status_ok;
    const std::size_t present = pos.cols;
    std::size_t total;
    std::size_t length;
    if (!node_total(present, n - 1, total) || !checked_add(line.size, std::size_t{n} + 1, length) ||
        !line.reserve(length, 1) || !grow_columns(pos, 2, total, 0.0)) {
        return status_memory;
    }
    line.push_back(a);
    for (unsigned k = 1; k < n; ++k) {
        const std::size_t node = present + k - 1;
        curve.place(centre, static_cast<double>(k) / n, pos[node]);
        line.push_back(static_cast<unsigned>(node));
    }
    line.push_back(b);
    return status_ok;
}

int patch_loop(const dense1D<unsigned, 8>& bottom, const dense1D<unsigned, 8>& right,
               const dense1D<unsigned, 8>& top, const dense1D<unsigned, 8>& left,
               dense1D<unsigned, 8>& loop) {
    directed_side sides[4] = {{&bottom, false}, {&right, false}, {&top, false}, {&left, false}};
    std::size_t length = 1;
    for (int k = 0; k < 4; ++k) {
        if (sides[k].nodes->size < 2) return -1 - k;
        length += sides[k].nodes->size - 1;
    }
    const unsigned forwards = turn_sides(sides);
    if (forwards < 4) {
        sides[0].backwards = true;
        const unsigned backwards = turn_sides(sides);
        if (backwards < 4) return -1 - static_cast<int>(std::max(forwards, backwards));
    }
    if (top.size != bottom.size) return -3;
    if (left.size != right.size) return -4;
    dense1D<unsigned, 8> fresh;
    if (!fresh.resize(length)) return status_memory;
    std::size_t i = 0;
    for (const directed_side& side : sides)
        for (std::size_t k = 0; k + 1 < side.nodes->size; ++k) fresh[i++] = side[k];
    fresh[i] = fresh[0];
    loop.swap(fresh);
    return status_ok;
}

int curved_edges(const dense1D<unsigned, 8>& line, unsigned a, dense1D<unsigned, 8>& corners,
                 dense2D<unsigned>& edges) {
    const std::size_t step = std::size_t{a} + 1;
    const std::size_t height = std::size_t{a} + 2;
    if (line.size < height || (line.size - 1) % step != 0) return -1;
    if (a == 0) return -2;
    const std::size_t count = (line.size - 1) / step;
    for (std::size_t j = 0; j < count; ++j)
        if (numbering(line.data() + j * step + 1, a) == 0) return -1;
    if (!takes_rows(edges, height)) return -4;
    dense1D<unsigned, 8> nodes = line;
    dense1D<unsigned, 8> fresh;
    const std::size_t present = edges.empty() ? 0 : edges.cols;
    if (!separate(nodes, edges) || !fresh.resize(count + 1) ||
        !edges.resize(height, present + count)) {
        return status_memory;
    }
    for (std::size_t j = 0; j <= count; ++j) fresh[j] = nodes[j * step];
    for (std::size_t j = 0; j < count; ++j)
        write_edge(nodes.data() + j * step, a, edges[present + j]);
    corners.swap(fresh);
    return status_ok;
}

int append(dense2D<double>& pos, dense2D<unsigned>& connect, const dense2D<double>& pos2,
           const dense2D<unsigned>& connect2) {
    if (!pos.empty() && pos.rows != 2 && pos.rows != 3) return -1;
    if (!pos2.empty() && pos2.rows != 2 && pos2.rows != 3) return -3;
    if (!pos2.empty() && !pos.empty() && pos2.rows != pos.rows) return -3;
    if (!connect2.empty() && !takes_rows(connect, connect2.rows)) return -4;
    const std::size_t added = pos2.empty() ? 0 : pos2.cols;
    if (!tessel::check_IDs(connect2, static_cast<unsigned>(std::min<std::size_t>(added, no_node))))
        return -4;
    dense2D<double> from = pos2;
    dense2D<unsigned> cells = connect2;
    const std::size_t nodes = pos.empty() ? 0 : pos.cols;
    const std::size_t elements = connect.empty() ? 0 : connect.cols;
    std::size_t node_count;
    std::size_t element_count;
    if (!separate(from, pos) || !separate(cells, connect) ||
        !node_total(nodes, added, node_count) ||
        !checked_add(elements, cells.empty() ? 0 : cells.cols, element_count)) {
        return status_memory;
    }
    if ((added != 0 && !pos.reserve(from.rows, node_count, 1)) ||
        (!cells.empty() && !connect.reserve(cells.rows, element_count, 1))) {
        return status_memory;
    }
    if (added != 0) pos.resize(from.rows, node_count);
    if (!cells.empty()) connect.resize(cells.rows, element_count);
    for (std::size_t j = 0; j < added; ++j) std::copy_n(from[j], from.rows, pos[nodes + j]);
    for (std::size_t j = 0; elements + j < element_count; ++j) {
        unsigned* const to = connect[elements + j];
        for (std::size_t i = 0; i < cells.rows; ++i) {
            const unsigned node = cells(i, j);
            to[i] = node == no_node ? no_node : static_cast<unsigned>(nodes + node);
        }
    }
    return status_ok;
}

} // namespace zel::host
