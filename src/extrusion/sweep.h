// SPDX-License-Identifier: Apache-2.0
// Sweeps a profile by any motion: number and spacing of the layers, nodes of the profile, elements
// along its edges, and the order of the steps. A motion only says where a node goes.
#pragma once

#include "foundation/call_frame.h"
#include "geometry/point.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace zel::tessel2d {

// ----------------------------------------------------------------------------------------- layers

/// Layers per unit of length when the element size runs linearly from h0 to h1: the integral of ds/h(s)
/// over a segment of length 1, ln(h1/h0)/(h1 - h0), and 1/h for equal sizes.
double metric_length_factor(double h0, double h1) noexcept;

/// Rounds x, 0 <= x < 2^32, to a multiple of m, up or down at the geometric mean of the two candidates;
/// at least m.
std::uint64_t round_geometric(double x, std::uint64_t m) noexcept;

/// The place, 0 to 1, that a geometric progression of sizes from h0 to h1 reaches after the fraction t
/// of its layers: (R^t - 1)/(R - 1) with R = h1/h0.
double size_progression(double t, double h0, double h1) noexcept;

/// The number of layers for a sweep of that length. Returns false if it is infinite, NaN, or not
/// below 2^32.
bool layer_count(double length, double h0, double h1, bool force_even,
                 std::uint64_t& layers) noexcept;

/// The layers of a sweep: their number, and the sizes at both ends; sizes of 0 make them uniform.
struct layer_plan {
    std::uint64_t layers;
    double h0;
    double h1;
};

/// The fraction of the sweep at which each layer ends.
struct layer_fractions {
    double step;
    double h0;
    double h1;

    explicit layer_fractions(const layer_plan& plan) noexcept
        : step(1.0 / static_cast<double>(plan.layers)), h0(plan.h0), h1(plan.h1) {}

    double operator()(std::uint64_t layer) const noexcept {
        const double t = static_cast<double>(layer) * step;
        return h0 > 0 && h1 > 0 ? size_progression(t, h0, h1) : t;
    }
};

// ------------------------------------------------------------------------------------------ sides

/// The profile of a sweep. Node i of the list gets in layer k = 1, 2, ... the number
/// first_new + (k - 1)*nodes.size + i.
struct swept_profile {
    dense2D<unsigned> edges;    ///< 2 x E node numbers
    dense2D<unsigned> places;   ///< where in `nodes` the ends of the edges stand
    dense1D<unsigned, 8> nodes; ///< each node once, in the order of the edges
    std::uint64_t layers = 0;
    std::size_t first_new = 0;
};

/// Each edge becomes a row of quadrilaterals.
struct quad_sides {
    static constexpr std::size_t rows = 4;
    static constexpr std::size_t per_cell = 1; ///< columns for an edge in a layer
    static constexpr int more_arguments = 0;   ///< of the function, compared with quadrilaterals

    bool valid() const noexcept { return true; }
    void write(const swept_profile& profile, columns<unsigned> out,
               std::size_t next) const noexcept;
};

/// Each edge becomes a row of quadrilaterals cut in two: by 0 from the far end of the edge back to its
/// near end, by 2 alternately, by any other pattern the other way.
struct triangle_sides {
    static constexpr std::size_t rows = 3;
    static constexpr std::size_t per_cell = 2;
    static constexpr int more_arguments = 1;

    int pattern;

    bool valid() const noexcept { return static_cast<unsigned>(pattern) < 3; }
    void write(const swept_profile& profile, columns<unsigned> out,
               std::size_t next) const noexcept;
};

// ------------------------------------------------------------------------------------------ steps

/// Sizes of the outputs and where they begin.
struct sweep_frame {
    std::size_t dimension;          ///< rows that `pos` gets
    std::size_t side_rows;          ///< rows that the connectivity gets
    std::size_t per_cell;           ///< columns for an edge in a layer
    std::size_t rows_after_failure; ///< that `pos` is left with when the sweep fails
};

/// Leaves `pos` with `rows` rows, new ones zero, and returns the status of exhausted memory. Every
/// sweep ends like this that has too many layers or nodes, or no memory for them.
int failed_sweep(dense2D<double>& pos, std::size_t rows) noexcept;

/// Numbers the profile, reserves what the sweep needs and resizes both outputs; the caller writes
/// the new columns. On failure the connectivity is as it was, and `pos` is left with
/// `rows_after_failure`.
int prepare_sweep(const sweep_frame& frame, dense2D<double>& pos, const dense2D<unsigned>& profile,
                  dense2D<unsigned>& connect, swept_profile& swept) noexcept;

/// Nodes of the profile that are gathered at a time, for all layers.
constexpr std::size_t strip_width = 512;

/// Writes one layer of a strip from `out` on, columns `ld` apart.
template <int Dim, class Step, std::size_t N>
void write_strip(const Step& moved, const double (&from)[N][strip_width], std::size_t width,
                 double* out, std::size_t ld) noexcept {
    for (std::size_t t = 0; t < width; ++t) {
        vector_fixed<double, N> origin;
        for (std::size_t c = 0; c < N; ++c) origin[c] = from[c][t];
        const point<Dim> p = moved(origin);
        for (std::size_t c = 0; c < Dim; ++c) out[t * ld + c] = p[c];
    }
}

/// Writes the nodes of all layers, each from the node of the profile. `motion.origin(p, node)`
/// returns the numbers that the motion needs of a node, and `motion.at(s)` the motion up to the
/// fraction s: applied to these numbers it returns the moved point.
template <int Dim, class Motion>
void write_layers(const swept_profile& swept, const layer_plan& plan, const Motion& motion,
                  dense2D<double>& pos) noexcept {
    const layer_fractions fraction(plan);
    const points_view<Dim> points(pos);
    const unsigned* const nodes = swept.nodes.data();
    const std::size_t n = swept.nodes.size;
    double from[Motion::numbers][strip_width];
    for (std::size_t first = 0; first < n; first += strip_width) {
        const std::size_t width = std::min(strip_width, n - first);
        for (std::size_t t = 0; t < width; ++t) {
            const unsigned node = nodes[first + t];
            const vector_fixed<double, Motion::numbers> origin = motion.origin(points[node], node);
            for (std::size_t c = 0; c < Motion::numbers; ++c) from[c][t] = origin[c];
        }
        for (std::uint64_t k = 1; k <= plan.layers; ++k) {
            const auto moved = motion.at(fraction(k));
            double* const out = pos[swept.first_new + (k - 1) * n + first];
            if (pos.ld == Dim) {
                write_strip<Dim>(moved, from, width, out, Dim);
            } else {
                write_strip<Dim>(moved, from, width, out, pos.ld);
            }
        }
    }
}

/// Sweeps the profile by the motion and appends nodes and elements. All arguments are tested.
template <int Dim, class Sides, class Motion>
int sweep(dense2D<double>& pos, const dense2D<unsigned>& profile, const Motion& motion,
          const layer_plan& plan, const Sides& sides, std::size_t rows_after_failure,
          dense2D<unsigned>& connect) noexcept {
    swept_profile swept;
    swept.layers = plan.layers;
    const std::size_t first_element = connect.cols;
    const sweep_frame frame{Dim, Sides::rows, Sides::per_cell, rows_after_failure};
    const int status = prepare_sweep(frame, pos, profile, connect, swept);
    if (status != status_ok || plan.layers == 0) return status;
    sides.write(swept, columns_of(connect), first_element);
    write_layers<Dim>(swept, plan, motion, pos);
    return status_ok;
}

/// Returns true if the profile is a matrix of edges between nodes of `pos`.
inline bool edges_fit(const dense2D<unsigned>& profile, const dense2D<double>& pos) noexcept {
    return tessel::check_IDs(profile, ELEMENT_E2, node_bound(pos));
}

} // namespace zel::tessel2d
