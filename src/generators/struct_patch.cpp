// SPDX-License-Identifier: Apache-2.0
// Fills a four-sided patch with a structured grid of quadrilaterals or triangles.
//
// Interior nodes are the bilinearly blended Coons interpolant of the four sides (S. A. Coons, 1967:
// Surfaces for computer-aided design of space forms). Elements are written cell by cell from the
// grid numbers of `struct_patch.h`.
//
// Invariant: each coordinate is one sum of eight terms in a fixed order, however many nodes are
// computed at a time, so that the bits do not depend on the processor.
#include "generators/struct_patch.h"

#include "foundation/call_frame.h"
#include "foundation/cell_cut.h"
#include "geometry/four_lanes.h"
#include "geometry/point.h"
#include "zel/tessel.h"
#include "zel/tessel2d/generators.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

// ------------------------------------------------------------------------------------------ nodes

// The interior is computed in strips of at most this many j. The nodes of a strip on the right and
// left side are gathered for many lines at a time, component by component, so that the formula is vectorised
// over points.
constexpr std::size_t strip_width = 64;

// The lines in which the next strip has its turn hold so many nodes: it goes on in pages that are still in the
// cache.
constexpr std::size_t nodes_in_turn = std::size_t{1} << 15; // mutation: speed only
constexpr std::size_t least_lines = 8;                      // mutation: speed only

template <int Dim>
struct strip {
    std::size_t width;
    double v[strip_width];
    double right[std::size_t{Dim}][strip_width];
    double left[std::size_t{Dim}][strip_width];

    strip(const struct_patch& patch, const points_view<Dim>& points, std::size_t first_j) noexcept
        : width(std::min(strip_width, patch.n - first_j)) {
        for (std::size_t t = 0; t < width; ++t) {
            const std::size_t j = first_j + t;
            const point<Dim> r = points[patch.right(j)];
            const point<Dim> l = points[patch.left(j)];
            v[t] = static_cast<double>(j) / static_cast<double>(patch.n);
            for (std::size_t k = 0; k < Dim; ++k) {
                right[k][t] = r[k];
                left[k][t] = l[k];
            }
        }
    }
};

// One line of nodes, i fixed, and the corners of the patch.
template <int Dim>
struct coons_line {
    double u;
    point<Dim> bottom, top, c0, c1, c2, c3;

    // The nodes of the line within a strip, component by component. The sum runs in the order in which
    // the interpolant is written; the two weights of a corner are multiplied first.
    void evaluate(const strip<Dim>& s,
                  double (&out)[std::size_t{Dim}][strip_width]) const noexcept {
        for (std::size_t t = 0; t < s.width; ++t) {
            const double v = s.v[t];
            const double w0 = (v - 1) * (1 - u);
            const double w1 = (v - 1) * u;
            const double w2 = v * u;
            const double w3 = (u - 1) * v;
            for (std::size_t k = 0; k < Dim; ++k) {
                out[k][t] = (1 - v) * bottom[k] + u * s.right[k][t] + v * top[k] +
                            (1 - u) * s.left[k][t] + w0 * c0[k] + w1 * c1[k] - w2 * c2[k] +
                            w3 * c3[k];
            }
        }
    }
};

/// The vector from the centre to the sphere in the direction of d. A vector d of length zero gives
/// zero, and the length is formed without overflow.
point<3> onto_sphere(point<3> d, double radius) noexcept {
    double q = squared_length<3>(d);
    if (!(q >= 0x1p-900 && q <= 0x1p900)) {
        const double largest = std::max({std::fabs(d[0]), std::fabs(d[1]), std::fabs(d[2])});
        if (largest == 0) return d;
        if (std::isfinite(largest)) {
            const int exponent = -std::ilogb(largest);
            for (double& component : d) component = std::ldexp(component, exponent);
            q = squared_length<3>(d);
        }
    }
    const double v = radius / std::sqrt(q);
    if (v == 0) return {0, 0, 0};
    return {v * d[0], v * d[1], v * d[2]};
}

/// Moves points onto the sphere. It is branch-free where all of them are of ordinary size.
void project(const ball& b, std::size_t width, double (&p)[3][strip_width]) noexcept {
    double d[3][strip_width];
    double v[strip_width];
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t t = 0; t < width; ++t) d[k][t] = p[k][t] - b.center[k];
    std::uint64_t ordinary = b.radius >= 0x1p-500;
    for (std::size_t t = 0; t < width; ++t)
        v[t] = d[0][t] * d[0][t] + d[1][t] * d[1][t] + d[2][t] * d[2][t];
    for (std::size_t t = 0; t < width; ++t)
        ordinary &= static_cast<std::uint64_t>(v[t] >= 0x1p-900) &
                    static_cast<std::uint64_t>(v[t] <= 0x1p900);
    if (ordinary == 0) {
        for (std::size_t t = 0; t < width; ++t) {
            const point<3> way = onto_sphere({d[0][t], d[1][t], d[2][t]}, b.radius);
            for (std::size_t k = 0; k < 3; ++k) p[k][t] = way[k] + b.center[k];
        }
        return;
    }
    for (std::size_t t = 0; t < width; ++t) v[t] = b.radius / std::sqrt(v[t]);
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t t = 0; t < width; ++t) p[k][t] = v[t] * d[k][t] + b.center[k];
}

/// Which lines of interior nodes are computed, and the column for the first of their nodes.
struct line_range {
    std::size_t first_i;
    std::size_t end_i;
    std::size_t to;
};

/// Stores interior nodes into columns of `out`.
template <int Dim>
void compute_interior_nodes(const struct_patch& patch, const ball* onto, const dense2D<double>& pos,
                            const line_range& lines, dense2D<double>& out_pos) noexcept {
    const points_view<Dim> points(pos);
    const columns<double> nodes = columns_of(out_pos);
    const point<Dim> c0 = points[patch.bottom(0)];
    const point<Dim> c1 = points[patch.right(0)];
    const point<Dim> c2 = points[patch.top(patch.n1)];
    const point<Dim> c3 = points[patch.top(0)];
    const auto compute = [&](const strip<Dim>& s, std::size_t j, std::size_t i) {
        const double u = static_cast<double>(i) / static_cast<double>(patch.n1);
        const coons_line<Dim> line{u, points[patch.bottom(i)], points[patch.top(i)], c0, c1, c2,
                                   c3};
        double placed[std::size_t{Dim}][strip_width];
        line.evaluate(s, placed);
        if constexpr (Dim == 3)
            if (onto != nullptr) project(*onto, s.width, placed);
        const std::size_t first = lines.to + (i - lines.first_i) * (patch.n - 1) + (j - 1);
        for (std::size_t t = 0; t < s.width; ++t) {
            double* const out = nodes[first + t];
            for (std::size_t k = 0; k < Dim; ++k) out[k] = placed[k][t];
        }
    };
    const std::size_t lines_in_turn = std::max(least_lines, nodes_in_turn / patch.n);
    for (std::size_t i = lines.first_i; i < lines.end_i; i += lines_in_turn) {
        const std::size_t end = std::min(lines.end_i, i + lines_in_turn);
        for (std::size_t j = 1; j < patch.n; j += strip_width) {
            const strip<Dim> s(patch, points, j);
            for (std::size_t line = i; line < end; ++line) compute(s, j, line);
        }
    }
}

#if defined(__x86_64__) && defined(__GNUC__)
/// The same, and what it calls, compiled for four doubles at a time: the bits do not change, since each
/// node has its own sums, in their order.
template <int Dim>
[[gnu::target("avx2"), gnu::flatten]] void
compute_interior_nodes_by_fours(const struct_patch& patch, const ball* onto,
                                const dense2D<double>& pos, const line_range& lines,
                                dense2D<double>& out) noexcept {
    compute_interior_nodes<Dim>(patch, onto, pos, lines, out);
}
#else
template <int Dim>
void compute_interior_nodes_by_fours(const struct_patch& patch, const ball* onto,
                                     const dense2D<double>& pos, const line_range& lines,
                                     dense2D<double>& out) noexcept {
    compute_interior_nodes<Dim>(patch, onto, pos, lines, out);
}
#endif

template <int Dim>
void place_interior_nodes(const struct_patch& patch, const ball* onto, const dense2D<double>& pos,
                          const line_range& lines, dense2D<double>& out) noexcept {
    if (has_four_lanes()) {
        compute_interior_nodes_by_fours<Dim>(patch, onto, pos, lines, out);
    } else {
        compute_interior_nodes<Dim>(patch, onto, pos, lines, out);
    }
}

// --------------------------------------------------------------------------------------- elements

/// Writes the elements of all cells into the columns from `next` on, i outer and j inner.
template <class Cut>
void write_cells(const struct_patch& patch, columns<unsigned> out, std::size_t next) noexcept {
    for (std::size_t i = 0; i < patch.n1; ++i) {
        unsigned a = struct_node_id(patch, i, 0);
        unsigned b = struct_node_id(patch, i + 1, 0);
        std::size_t j = 0;
        const auto write_up_to = [&](std::size_t end) {
            for (; j < end; ++j, next += Cut::columns) {
                const unsigned c = struct_node_id(patch, i + 1, j + 1);
                const unsigned d = struct_node_id(patch, i, j + 1);
                Cut::write(out[next], out.ld, (i + j) % 2 == 0, a, b, c, d);
                a = d;
                b = c;
            }
        };
        if (i > 0 && i + 1 < patch.n1 && patch.n > 3 && out.ld == Cut::rows) {
            write_up_to(1);
            const std::size_t pairs = (patch.n - 2) / 2;
            write_cell_pairs<Cut>(out[next], pairs, (i + j) % 2 == 0, a, b, 1);
            j += 2 * pairs;
            next += 2 * pairs * Cut::columns;
            a = static_cast<unsigned>(patch.interior(i, j));
            b = static_cast<unsigned>(patch.interior(i + 1, j));
        }
        write_up_to(patch.n);
    }
}

template <std::size_t Rows>
void write_triangles(const struct_patch& patch, int pattern, columns<unsigned> out,
                     std::size_t next) noexcept {
    with_halves<Rows>(pattern, [&](auto cut) { write_cells<decltype(cut)>(patch, out, next); });
}

// ------------------------------------------------------------------------------------ call frame

/// Tests that both functions share once there is something to do.
int check_patch(const dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, std::size_t n,
                std::size_t n1) noexcept {
    const std::size_t s = boundary.size;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (s < 5) return -2;
    if (boundary[0] != boundary[s - 1]) return -2;
    if (!tessel::check_IDs(boundary, node_bound(pos))) return -2;
    // mutation (> -> >=): the next line refuses it with the same status
    if (2 * n > s) return -3;
    if ((n + n1) * 2 != s - 1) return -3;
    return status_ok;
}

/// The count of cells along the bottom, with wrap-around when the loop is too short for n.
std::size_t cells_along_bottom(const dense1D<unsigned, 8>& boundary, std::size_t n) noexcept {
    return (boundary.size - 2 * n - 1) / 2;
}

/// Reserves and resizes `pos` and `connect` for the patch; on failure both are unchanged.
/// With n1 = 0 the count of interior nodes wraps around and `pos` loses n - 1 columns.
bool grow_outputs(dense2D<double>& pos, std::size_t n1, std::size_t n, std::size_t rows,
                  std::size_t per_cell, dense2D<unsigned>& connect) noexcept {
    std::size_t nodes, cells, elements;
    if (n1 == 0) {
        if (pos.cols < n - 1) return false;
        nodes = pos.cols - (n - 1);
    } else {
        std::size_t interior;
        if (!checked_multiply(n1 - 1, n - 1, interior)) return false;
        if (!node_total(pos.cols, interior, nodes)) return false;
    }
    if (!checked_multiply(n1, n, cells) || !checked_multiply(cells, per_cell, elements) ||
        !checked_add(elements, connect.cols, elements)) {
        return false;
    }
    if (!pos.reserve(pos.rows, nodes, 1) || !connect.reserve(rows, elements, 1)) return false;
    pos.resize(pos.rows, nodes);
    if (rows <= 4) {
        grow_columns(connect, rows, elements, no_node); // every new entry is written
    } else {
        connect.resize(rows, elements, no_node); // an empty matrix that came with so many rows
    }
    return true;
}

void place_nodes(const struct_patch& patch, const ball* onto, dense2D<double>& pos) noexcept {
    if (patch.n1 < 2 || patch.n < 2) return;
    place_lines(patch, onto, pos, 1, patch.n1, pos, patch.first_new);
}

} // namespace

void place_lines(const struct_patch& patch, const ball* onto, const dense2D<double>& pos,
                 std::size_t first_i, std::size_t end_i, dense2D<double>& out,
                 std::size_t to) noexcept {
    const line_range lines{first_i, end_i, to};
    if (pos.rows == 2) {
        place_interior_nodes<2>(patch, onto, pos, lines, out);
    } else {
        place_interior_nodes<3>(patch, onto, pos, lines, out);
    }
}

int mesh_struct_Q4(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   dense2D<unsigned>& connect, const ball* onto) {
    const std::size_t n1 = cells_along_bottom(boundary, n);
    if (n == 0 || boundary.empty() || n1 == 0) return status_ok;
    if (const int status = check_patch(pos, boundary, n, n1)) return status;
    if (!takes_rows(connect, 4)) return -4;
    dense1D<unsigned, 8> loop = boundary;
    if (!separate(loop, connect)) return status_memory;

    const std::size_t first_new = pos.cols;
    const std::size_t first_element = connect.cols;
    if (!grow_outputs(pos, n1, n, 4, 1, connect)) return status_memory;
    const struct_patch patch{loop.data(), n1, n, first_new};
    place_nodes(patch, onto, pos);
    write_cells<whole_cell>(patch, columns_of(connect), first_element);
    return status_ok;
}

int mesh_struct_T3(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   int pattern, dense2D<unsigned>& connect, const ball* onto) {
    const std::size_t n1 = cells_along_bottom(boundary, n);
    if (n == 0 || boundary.empty()) return status_ok;
    if (const int status = check_patch(pos, boundary, n, n1)) return status;
    if (static_cast<unsigned>(pattern) > 2) return -4;
    if (!takes_rows(connect, 3) && !takes_rows(connect, 4)) return -5;
    dense1D<unsigned, 8> loop = boundary;
    if (!separate(loop, connect)) return status_memory;

    const std::size_t first_new = pos.cols;
    const std::size_t first_element = connect.cols;
    const std::size_t rows = std::max<std::size_t>(3, connect.rows);
    if (!grow_outputs(pos, n1, n, rows, 2, connect)) return status_memory;
    const struct_patch patch{loop.data(), n1, n, first_new};
    place_nodes(patch, onto, pos);
    if (rows == 4) {
        write_triangles<4>(patch, pattern, columns_of(connect), first_element);
    } else {
        write_triangles<3>(patch, pattern, columns_of(connect), first_element);
    }
    return status_ok;
}

int mesh_struct_Q4(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   dense2D<unsigned>& connect) {
    return mesh_struct_Q4(pos, boundary, n, connect, nullptr);
}

int mesh_struct_T3(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   int pattern, dense2D<unsigned>& connect) {
    return mesh_struct_T3(pos, boundary, n, pattern, connect, nullptr);
}

} // namespace zel::tessel2d
