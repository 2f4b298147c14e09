// SPDX-License-Identifier: Apache-2.0
// Meshes a quarter of a disk or an octant of a sphere, and the whole from turned copies of it.
#pragma once

// `Quarter` says which of the two:
//
//     dimension     2 or 3, the rows of `pos`
//     plan          which lines bound the patches and the whole
//     place_lines   places skeleton and lines where memory has been reserved, and says where they are
//
// Its patches in space are moved onto the sphere.
#include "generators/quarter.h"
#include "generators/seams.h"
#include "geometry/point.h"
#include "tessel/copy_mesh.h"

#include <cmath>

namespace zel::tessel2d {

constexpr double eighth_turn = 0.7853981633974483;  // pi/4
constexpr double quarter_turn = 1.5707963267948966; // pi/2
constexpr double diagonal = 0.7071067811865476;     // 1/sqrt(2)

/// A disk or a sphere, and the cells along the side of a patch.
template <std::size_t Dim>
struct round_shape {
    point<Dim> center;
    double radius;
    unsigned n;

    /// The sum of the magnitudes of the centre's coordinates.
    double from_origin() const noexcept {
        double sum = 0;
        for (const double x : center) sum += std::fabs(x);
        return sum;
    }
};

// --------------------------------------------------------------------------------- skeleton and arcs

/// Writes the seven nodes of a skeleton to the columns from `first` on.
template <std::size_t Dim>
void place_skeleton(columns<double> points, std::size_t first,
                    const point<Dim> (&skeleton)[7]) noexcept {
    for (std::size_t k = 0; k < 7; ++k)
        for (std::size_t i = 0; i < Dim; ++i) points[first + k][i] = skeleton[k][i];
}

/// A line whose node at angle t has the coordinates factor*cos t or radius*sin t.
template <std::size_t Dim>
struct arc {
    unsigned line;
    unsigned from;
    unsigned to;
    double first; ///< the angle begins at first*extent and grows by extent
    double extent;
    bool meets_middle; ///< the two coordinates with the cosine have the smaller radius
    int rising[Dim];   ///< 1: sine, 0: cosine, -1: stays at the centre
};

/// Places the inner nodes of an arc.
template <std::size_t Dim>
void place_arc(columns<double> points, const arc<Dim>& a, const round_shape<Dim>& shape,
               std::size_t first_new) noexcept {
    const double step = 1.0 / static_cast<double>(shape.n);
    const double flat = a.meets_middle ? shape.radius * diagonal : shape.radius;
    for (std::size_t k = 1; k < shape.n; ++k) {
        const double t = (static_cast<double>(k) * step + a.first) * a.extent;
        const double along = flat * std::cos(t);
        const double up = shape.radius * std::sin(t);
        double* const p = points[first_new + k - 1];
        for (std::size_t i = 0; i < Dim; ++i) {
            const double center = shape.center[i];
            p[i] = a.rising[i] < 0 ? center : center + (a.rising[i] == 1 ? up : along);
        }
    }
}

/// Places arcs one behind the other, behind the seven nodes of a skeleton that begins at column c.
template <std::size_t Dim, std::size_t Arcs>
void place_arcs(columns<double> points, std::size_t c, const arc<Dim> (&arcs)[Arcs],
                const round_shape<Dim>& shape, node_line (&lines)[9]) noexcept {
    std::size_t first_new = c + 7;
    for (const arc<Dim>& a : arcs) {
        lines[a.line] = {c + a.from, c + a.to, first_new};
        place_arc(points, a, shape, first_new);
        first_new += shape.n - 1;
    }
}

// ---------------------------------------------------------------------------------------- one quarter

/// Meshes the quarter within reserved memory; `loop` has room for 4n + 1 entries.
template <class Quarter, class Patches>
void make_quarter(dense2D<double>& pos, const round_shape<Quarter::dimension>& shape,
                  Patches patches, dense1D<unsigned, 8>& loop, node_line (&lines)[9],
                  dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    Quarter::place_lines(pos, shape, lines);
    append_outline(Quarter::plan, lines, shape.n, boundary);
    [[maybe_unused]] ball sphere;
    if constexpr (Quarter::dimension == 3) {
        sphere = {shape.center, shape.radius};
        patches.onto = &sphere;
    }
    mesh_patches(Quarter::plan, lines, shape.n, patches, loop, pos, connect);
}

/// Appends a quarter; `last` is the position of `boundary` among the arguments.
template <class Quarter, class Patches>
int mesh_quarter(dense2D<double>& pos, const round_shape<Quarter::dimension>& shape,
                 const Patches& patches, dense2D<unsigned>& connect, dense2D<unsigned>& boundary,
                 int last) {
    constexpr std::size_t rows = Quarter::dimension;
    if (shape.n == 0) return status_ok;
    if (const int status = check_quarter<rows, Patches>(pos, connect, boundary, last))
        return status;
    const quarter_counts counts(shape.n);
    dense1D<unsigned, 8> loop;
    if (shape.n > most_divisions || !loop.reserve(counts.loop, 1) ||
        !reserve_nodes(pos, rows, counts.nodes) ||
        !reserve_more(connect, Patches::rows(connect), counts.cells * Patches::elements_per_cell) ||
        !reserve_more(boundary, 2, counts.edges)) {
        return status_memory;
    }
    node_line lines[9];
    make_quarter<Quarter>(pos, shape, patches, loop, lines, connect, boundary);
    return status_ok;
}

// ---------------------------------------------------------------------------- the whole, from copies

/// A quarter whose copies form the whole, and the memory for making and copying it.
template <class Quarter, class Patches>
struct copied_quarter {
    static constexpr std::size_t dimension = Quarter::dimension;

    const round_shape<dimension>& shape;
    quarter_counts counts;
    std::size_t elements; ///< of one quarter
    dense2D<unsigned> connect{};
    dense2D<unsigned> boundary{};
    node_line lines[9]{};
    dense1D<unsigned, 8> loop{};
    tessel::copy_scratch scratch{};

    explicit copied_quarter(const round_shape<dimension>& given) noexcept
        : shape(given), counts(given.n), elements(counts.cells * Patches::elements_per_cell) {}

    /// Reserves memory; up to `quarters` of them are copied at a time. Returns false if it is
    /// exhausted.
    bool reserve(std::size_t quarters) noexcept {
        // mutation (1 -> 2): twice nothing is nothing: the list is empty
        return loop.reserve(counts.loop, 1) && scratch.reserve(quarters * counts.nodes) &&
               // mutation (1 -> 2, 1 -> 0): twice nothing is nothing: the matrix is empty
               connect.reserve(Patches::least_rows, elements, 1) &&
               // mutation (2 -> 3): how much is reserved
               boundary.reserve(2, counts.edges, 1);
    }

    void make(dense2D<double>& pos, const Patches& patches) {
        make_quarter<Quarter>(pos, shape, patches, loop, lines, connect, boundary);
    }

    /// Appends elements of the quarter and `copies` copies of them, each turned by `rotation` more
    /// about the centre.
    template <class Rotation>
    void append_copies(const dense2D<unsigned>& source, const Rotation& rotation, unsigned copies,
                       dense2D<double>& pos, dense2D<unsigned>& output) {
        append_elements(source, output);
        tessel::copy_mesh(pos, output, point<dimension>{}, shape.center, rotation, copies, source,
                          scratch);
    }

    /// Fuses the nodes in which `copies` quarters from `first_node` on meet, `behind` nodes of copied edges
    /// behind them included. The matrices of `outputs` share storage with those of the caller.
    template <std::size_t Outputs>
    void join(std::size_t copies, std::size_t behind, std::size_t first_node, dense2D<double>& pos,
              dense2D<unsigned> (&outputs)[Outputs]) const noexcept {
        join_copies(
            {Quarter::plan, lines, shape.n, copies, behind, static_cast<unsigned>(first_node)},
            shape.from_origin(), shape.radius, pos, outputs, outputs + Outputs);
    }
};

} // namespace zel::tessel2d
