// SPDX-License-Identifier: Apache-2.0
// Counts and spaces the layers of a sweep, and writes the elements along the edges of its profile.
#include "extrusion/sweep.h"

#include "foundation/cell_cut.h"
#include "foundation/node_set.h"

#include <algorithm>

namespace zel::tessel2d {

// ----------------------------------------------------------------------------------------- layers

namespace {

// Relative differences of size from which on the closed forms are accurate, and up to which sizes count
// as equal; both are compared with (small - big)/big.
constexpr double closed_form = -0.01;
constexpr double equal_sizes = -1e-12;

} // namespace

double metric_length_factor(double h0, double h1) noexcept {
    const double big = h1 > h0 ? h1 : h0;
    const double small = h1 > h0 ? h0 : h1;
    const double r = 1.0 / big;
    const double x = (small - big) * r;
    double g = 1.0;
    if (x < closed_form) {
        g = std::log1p(x) / x;
    } else if (x < equal_sizes) { // the series of log1p(x)/x
        const double x2 = x * x;
        g = ((0.2 - x / 6) * x2 + (1.0 / 3 - x / 4)) * x2 + (1 - x / 2);
    }
    return r * g;
}

std::uint64_t round_geometric(double x, std::uint64_t m) noexcept {
    const std::uint64_t low = static_cast<std::uint64_t>(x / static_cast<double>(m)) * m;
    const std::uint64_t high = low + m;
    return x * x >= static_cast<double>(low * high) ? high : low;
}

double size_progression(double t, double h0, double h1) noexcept {
    if (h0 == h1 || t == 0 || t == 1) return t;
    const bool rising = h1 > h0;
    const double big = rising ? h1 : h0;
    const double small = rising ? h0 : h1;
    const double u = rising ? 1 - t : t;
    const double x = (small - big) / big;
    double g = u;
    if (x < closed_form) {
        g = std::expm1(std::log1p(x) * u) / x;
    } else if (x < equal_sizes) { // the series of ((1 + x)^u - 1)/x
        const double x2 = x * x;
        const double x3 = x2 * x;
        g = u * (1 + x * (u - 1) / 2 + x2 * (u - 1) * (u - 2) / 6 +
                 x3 * (u - 1) * (u - 2) * (u - 3) / 24);
    }
    if (rising) g = 1 - g;
    return g >= 0 ? std::min(g, 1.0) : 0.0;
}

bool layer_count(double length, double h0, double h1, bool force_even,
                 std::uint64_t& layers) noexcept {
    constexpr double most = 4294967296.0;
    const double x = length * metric_length_factor(h0, h1);
    if (!(x >= 0 && x < most)) return false;
    layers = round_geometric(x, force_even ? 2 : 1);
    return true;
}

// ------------------------------------------------------------------------------------------ sides

namespace {

/// Writes the cells of one edge from the profile outward. A cell lies over the edge (a, b) of its layer; c is
/// the copy of b in the next layer, d that of a. From the second layer on node numbers grow by `n` from layer
/// to layer.
template <class Cut>
void write_layers_of_edge(std::uint64_t layers, unsigned n, bool even, unsigned a, unsigned b,
                          unsigned c, unsigned d, columns<unsigned> out,
                          std::size_t next) noexcept {
    const auto write_cell = [&] {
        Cut::write(out[next], out.ld, even, a, b, c, d);
        even = !even;
        a = d;
        b = c;
        c += n;
        d += n;
        next += Cut::columns;
    };
    std::uint64_t k = 1;
    write_cell();
    if (out.ld == Cut::rows && layers > 4) {
        const std::uint64_t pairs = (layers - 1) / 2;
        write_cell_pairs<Cut>(out[next], pairs, even, a, b, n);
        const unsigned grown = static_cast<unsigned>(2 * pairs) * n;
        k += 2 * pairs;
        next += 2 * pairs * Cut::columns;
        a += grown;
        b += grown;
        c += grown;
        d += grown;
    }
    for (; k < layers; ++k) write_cell();
}

template <class Cut>
void write_sides(const swept_profile& profile, columns<unsigned> out, std::size_t next) noexcept {
    const auto edges = columns_of(profile.edges);
    const auto places = columns_of(profile.places);
    const auto n = static_cast<unsigned>(profile.nodes.size);
    const auto first = static_cast<unsigned>(profile.first_new);
    const std::size_t columns_of_edge = Cut::columns * profile.layers;
    for (std::size_t e = 0; e < profile.edges.cols; ++e) {
        write_layers_of_edge<Cut>(profile.layers, n, e % 2 == 0, edges[e][0], edges[e][1],
                                  first + places[e][1], first + places[e][0], out, next);
        next += columns_of_edge;
    }
}

} // namespace

void quad_sides::write(const swept_profile& profile, columns<unsigned> out,
                       std::size_t next) const noexcept {
    write_sides<whole_cell>(profile, out, next);
}

void triangle_sides::write(const swept_profile& profile, columns<unsigned> out,
                           std::size_t next) const noexcept {
    with_halves<3>(pattern, [&](auto cut) { write_sides<decltype(cut)>(profile, out, next); });
}

// ------------------------------------------------------------------------------------------ steps

namespace {

/// Counts the columns of both outputs after the sweep. Returns false if a count overflows.
bool outgrown(const sweep_frame& frame, std::size_t present_nodes, std::size_t present_elements,
              const swept_profile& swept, std::size_t& nodes, std::size_t& elements) noexcept {
    std::size_t cells;
    return !checked_multiply(swept.nodes.size, swept.layers, nodes) ||
           !node_total(present_nodes, nodes, nodes) ||
           !checked_multiply(swept.edges.cols, swept.layers, cells) ||
           !checked_multiply(cells, frame.per_cell, elements) ||
           !checked_add(elements, present_elements, elements);
}

} // namespace

int failed_sweep(dense2D<double>& pos, std::size_t rows) noexcept {
    pos.resize(rows, pos.cols, 0.0);
    return status_memory;
}

int prepare_sweep(const sweep_frame& frame, dense2D<double>& pos, const dense2D<unsigned>& profile,
                  dense2D<unsigned>& connect, swept_profile& swept) noexcept {
    if (swept.layers == 0)
        return connect.resize(frame.side_rows, connect.cols, no_node) ? status_ok : status_memory;
    std::size_t nodes = 0;
    std::size_t elements = 0;
    swept.edges = profile;
    swept.first_new = pos.cols;
    if (!separate(swept.edges, connect) ||
        !number_nodes<edge_cells>(swept.edges, pos.cols, swept.nodes, swept.places) ||
        outgrown(frame, pos.cols, connect.cols, swept, nodes, elements) ||
        !pos.reserve(frame.dimension, nodes, 1) || !connect.reserve(frame.side_rows, elements, 1))
        return failed_sweep(pos, frame.rows_after_failure);
    // Present columns first: rows that they gain are filled. New columns are all written later.
    pos.resize(frame.dimension, pos.cols, 0.0);
    pos.resize(frame.dimension, nodes);
    connect.resize(frame.side_rows, connect.cols, no_node);
    connect.resize(frame.side_rows, elements);
    return status_ok;
}

} // namespace zel::tessel2d
