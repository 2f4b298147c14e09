// SPDX-License-Identifier: Apache-2.0
// Cuts quadrilaterals into two triangles each.
//
// A quadrilateral is cut along one of its diagonals: always from its first corner, or along the diagonal
// whose triangles score higher. In the selective form only those of low quality are cut.
//
// The choice starts from the corner with the smallest number, so that it does not depend on the
// corner with which the column starts: the diagonal from that corner is taken unless the other one
// is better by more than rounding. The choice by shape costs most, so four quadrilaterals are
// judged at a time.
#include "conversion/quad_quality.h"
#include "foundation/cell_shapes.h"
#include "geometry/lanes.h"
#include "zel/tessel.h"
#include "zel/tessel2d/conversion.h"

namespace zel::tessel2d {

namespace {

// ----------------------------------------------------------------------------------------- writing

/// Writes triangles into columns of 3 rows, or of 4 rows with the mark of a triangle.
template <std::size_t Rows>
struct triangle_writer {
    unsigned* first;
    std::size_t ld;
    std::size_t behind = 0; ///< from the first column to the one that is written next

    unsigned* next() noexcept {
        unsigned* const column = first + behind;
        behind += ld;
        return column;
    }
    void put(unsigned a, unsigned b, unsigned c) noexcept {
        unsigned* const column = next();
        column[0] = a;
        column[1] = b;
        column[2] = c;
        if constexpr (Rows == 4) column[3] = no_node;
    }
    std::size_t columns_written() const noexcept { return behind / ld; }
    /// The two triangles of a quadrilateral that is cut from the corner `start` on.
    void put_both(const unsigned* q, unsigned start) noexcept {
        const unsigned a = q[start];
        const unsigned c = q[(start + 2) & 3];
        put(a, q[(start + 1) & 3], c);
        put(c, q[(start + 3) & 3], a);
    }
};

/// Adds `more` columns behind the present ones of `connect`, which the caller writes. Returns false
/// if memory is exhausted.
bool extend(dense2D<unsigned>& connect, std::size_t rows, std::size_t more) noexcept {
    std::size_t total;
    return checked_add(connect.cols, more, total) && grow_columns(connect, rows, total, no_node);
}

/// Appends triangles as they are.
int append_triangles(const dense2D<unsigned>& triangles, dense2D<unsigned>& connect_out) noexcept {
    const std::size_t without_rows = connect_out.empty() ? connect_out.cols : 0;
    if (!append_columns(triangles, connect_out)) return status_memory;
    for (std::size_t j = 0; j < without_rows; ++j) std::fill_n(connect_out[j], 3, no_node);
    return status_ok;
}

/// Writes a triangle, or the two triangles of a quadrilateral that is cut from the corner `start` on.
/// Returns the number of quadrilaterals, 0 or 1.
std::size_t cut(const unsigned* cell, unsigned start, triangle_writer<3>& out) noexcept {
    if (mixed_cells::corners(cell) == 3) {
        out.put(cell[0], cell[1], cell[2]);
        return 0;
    }
    out.put_both(cell, start);
    return 1;
}

/// Cuts each quadrilateral into two columns of 3 rows behind the present ones; `write(cells, writer)`
/// writes them and returns the number of quadrilaterals, which is the result, or the status for exhausted
/// memory.
template <class Write>
int split_all(const dense2D<unsigned>& elements, dense2D<unsigned>& connect_out,
              Write write) noexcept {
    const std::size_t present = connect_out.cols;
    std::size_t most;
    if (!checked_multiply(elements.cols, 2, most) || !extend(connect_out, 3, most))
        return status_memory;
    triangle_writer<3> out{connect_out[present], connect_out.ld};
    const std::size_t count = write(columns_of(elements), out);
    connect_out.resize(3, present + elements.cols + count);
    return as_count(count);
}

// ----------------------------------------------------------------------------- choosing a diagonal

/// The position of the smallest of four numbers, the first one among equals.
unsigned smallest_position(const unsigned* n) noexcept {
    const unsigned i = n[1] < n[0] ? 1 : 0;
    const unsigned j = n[3] < n[2] ? 3 : 2;
    return n[j] < n[i] ? j : i;
}

enum criterion { by_shape = 1, by_angle, by_largest_area, by_total_area, by_flatness, by_bend };

/// One way to cut a quadrilateral: triangles (a, b, c) and (c, d, a), diagonal a-c.
template <int Dim>
struct candidate {
    const point<Dim>& a;
    const point<Dim>& b;
    const point<Dim>& c;
    const point<Dim>& d;

    double shape() const noexcept { return shape_quality_of_cut<Dim>(a, b, c, d); }
    double angle() const noexcept {
        return std::min(triangle_angle_quality<Dim>(a, b, c), triangle_angle_quality<Dim>(c, d, a));
    }
    double largest_area() const noexcept {
        return -std::max(triangle_double_area<Dim>(a, b, c), triangle_double_area<Dim>(c, d, a));
    }
    double total_area() const noexcept {
        return -(triangle_double_area<Dim>(a, b, c) + triangle_double_area<Dim>(c, d, a));
    }
};

/// Two triangles whose score for flatness is above this are coplanar, and their shape decides.
constexpr double coplanar = -1e-6;

/// Minus the angle between the normals of the two triangles.
double flatness(const candidate<3>& c) noexcept {
    const point<3> n1 = triangle_normal(c.a, c.b, c.c);
    const point<3> n2 = triangle_normal(c.c, c.d, c.a);
    return -std::atan2(length<3>(cross(n1, n2)), dot<3>(n1, n2));
}

/// Minus the dihedral angle at the diagonal times its length.
double flatness_by_length(const candidate<3>& c) noexcept {
    const point<3> n1 = triangle_normal(c.a, c.b, c.c);
    const point<3> n2 = triangle_normal(c.c, c.d, c.a);
    point<3> e = difference<3>(c.a, c.c);
    const double squared = squared_length<3>(e);
    double diagonal = squared;
    if (squared != 0 && squared != 1) {
        diagonal = std::sqrt(squared);
        e = {e[0] / diagonal, e[1] / diagonal, e[2] / diagonal};
    }
    const double angle = std::atan2(dot<3>(e, cross(n1, n2)), dot<3>(n1, n2));
    return -std::abs(angle * diagonal);
}

template <int Dim>
double score(const candidate<Dim>& c, int by) noexcept {
    if constexpr (Dim == 3) {
        if (by == by_flatness || by == by_bend) {
            const double s = by == by_flatness ? flatness(c) : flatness_by_length(c);
            return s > coplanar ? c.shape() : s;
        }
    }
    switch (by) {
    case by_shape:
        return c.shape();
    case by_angle:
        return c.angle();
    case by_largest_area:
        return c.largest_area();
    case by_total_area:
        return c.total_area();
    default:
        return 0; // no criterion: the scores are equal and the first diagonal is taken
    }
}

/// True if the diagonal from the first corner is the better one, or as good as the other.
template <int Dim>
bool first_diagonal_wins(const corners_of_quad<Dim>& p, int by) noexcept {
    const double first = score<Dim>({p[0], p[1], p[2], p[3]}, by);
    const double second = score<Dim>({p[1], p[2], p[3], p[0]}, by);
    return first > second - relative_slack;
}

/// The corner from which a quadrilateral is cut.
template <int Dim>
unsigned cut_start(const points_view<Dim>& pos, const unsigned* cell, int by) noexcept {
    const unsigned first = smallest_position(cell);
    corners_of_quad<Dim> p;
    for (unsigned k = 0; k < 4; ++k) p[k] = pos[cell[(first + k) & 3]];
    return first_diagonal_wins<Dim>(p, by) ? first : (first + 1) & 3;
}

/// The corners from which `count` quadrilaterals are cut by shape, four by four; `cell_of(i)` is the column
/// of the i-th one. A triangle among them gets a number without meaning. Returns how many were judged; the
/// rest is left over.
template <int Dim, class CellOf>
ZEL_FOUR_LANES std::size_t find_starts_by_four(const points_view<Dim>& pos, const CellOf cell_of,
                                               std::size_t count, unsigned* starts) noexcept {
    std::size_t i = 0;
    for (; count - i >= lane_count; i += lane_count) {
        unsigned first[lane_count];
        unsigned n[4][lane_count];
        for (std::size_t lane = 0; lane < lane_count; ++lane) {
            const unsigned* const cell = cell_of(i + lane);
            first[lane] = smallest_position(cell);
            for (unsigned k = 0; k < 4; ++k) {
                const unsigned node = cell[(first[lane] + k) & 3];
                n[k][lane] = node == no_node ? cell[0] : node;
            }
        }
        const vector_of<lanes, Dim> p0 = load_nodes(pos, n[0]);
        const vector_of<lanes, Dim> p1 = load_nodes(pos, n[1]);
        const vector_of<lanes, Dim> p2 = load_nodes(pos, n[2]);
        const vector_of<lanes, Dim> p3 = load_nodes(pos, n[3]);
        const unsigned wins =
            bits_of(shape_quality_of_cut<Dim>(p0, p1, p2, p3) >
                    shape_quality_of_cut<Dim>(p1, p2, p3, p0) - lanes(relative_slack));
        for (unsigned lane = 0; lane < lane_count; ++lane)
            starts[i + lane] = (first[lane] + ((~wins >> lane) & 1)) & 3;
    }
    return i;
}

/// Elements that are judged before any of them is cut.
// mutation: speed only
constexpr std::size_t cut_run = 64;

/// Calls `use(cell, start)` for each of `count` columns, where `start` is the corner from which it is cut.
template <int Dim, class CellOf, class Use>
void for_each_start(const points_view<Dim>& pos, const CellOf& cell_of, std::size_t count, int by,
                    const Use& use) noexcept {
    const bool by_four = by == by_shape && has_four_lanes();
    unsigned starts[cut_run];
    for (std::size_t first = 0; first < count; first += cut_run) {
        const std::size_t n = std::min(cut_run, count - first);
        const auto cell = [&](std::size_t i) { return cell_of(first + i); };
        std::size_t i = by_four ? find_starts_by_four<Dim>(pos, cell, n, starts) : 0;
        for (; i < n; ++i)
            if (mixed_cells::corners(cell(i)) == 4) starts[i] = cut_start<Dim>(pos, cell(i), by);
        for (i = 0; i < n; ++i) use(cell(i), starts[i]);
    }
}

template <int Dim>
int split_best(const dense2D<double>& pos, const dense2D<unsigned>& elements,
               dense2D<unsigned>& connect_out) noexcept {
    const auto write = [&](const columns<const unsigned>& cells, triangle_writer<3>& out) {
        std::size_t quads = 0;
        for_each_start<Dim>(
            points_view<Dim>(pos), [&](std::size_t e) { return cells[e]; }, elements.cols, by_shape,
            [&](const unsigned* cell, unsigned start) { quads += cut(cell, start, out); });
        return quads;
    };
    return split_all(elements, connect_out, write);
}

// ------------------------------------------------------------------------------- selecting the bad

struct thresholds {
    double shape;
    double angle;
    double warp;
};

/// A quadrilateral that is good enough to stay. A quality that is NaN never is.
template <int Dim>
bool is_good(const points_view<Dim>& pos, const unsigned* q, const thresholds& least) noexcept {
    const corners_of_quad<Dim> p = {pos[q[0]], pos[q[1]], pos[q[2]], pos[q[3]]};
    const quad_quality quality = quality_of_quad(p);
    return quality.shape >= least.shape && quality.warp >= least.warp &&
           quad_angle_quality<Dim>(p) * quality.warp >= least.angle;
}

template <int Dim>
void select(const dense2D<double>& pos, const dense2D<unsigned>& elements, const thresholds& least,
            dense1D<unsigned, 8>& kept, dense1D<unsigned, 8>& split) noexcept {
    const points_view<Dim> points(pos);
    const auto cells = columns_of(elements);
    for (std::size_t e = 0; e < elements.cols; ++e) {
        const bool stays =
            mixed_cells::corners(cells[e]) == 3 || is_good<Dim>(points, cells[e], least);
        (stays ? kept : split).push_back(static_cast<unsigned>(e));
    }
}

/// The result is the number of columns written: one for an element kept, two for one cut. A triangle is
/// never cut, although it stands in the list if both lists are one and the same.
template <int Dim>
std::size_t write_selected(const dense2D<double>& pos, const dense2D<unsigned>& elements,
                           const dense1D<unsigned, 8>& kept, const dense1D<unsigned, 8>& split,
                           int by, triangle_writer<4> out) noexcept {
    const auto cells = columns_of(elements);
    for (const unsigned e : kept) std::copy_n(cells[e], 4, out.next());
    for_each_start<Dim>(
        points_view<Dim>(pos), [&](std::size_t i) { return cells[split[i]]; }, split.size, by,
        [&](const unsigned* cell, unsigned start) {
            if (mixed_cells::corners(cell) == 4) out.put_both(cell, start);
        });
    return out.columns_written();
}

} // namespace

int split_Q4_into_T3(const dense2D<unsigned>& connect_in, dense2D<unsigned>& connect_out) {
    if (connect_in.cols == 0) return status_ok;
    if (connect_in.rows != 3 && connect_in.rows != 4) return -1;
    if (!takes_rows(connect_out, 3)) return -2;
    dense2D<unsigned> elements(connect_in);
    if (!separate(elements, connect_out)) return status_memory;
    if (elements.rows == 3) return append_triangles(elements, connect_out);
    return split_all(elements, connect_out,
                     [&](const columns<const unsigned>& cells, triangle_writer<3>& out) {
                         std::size_t quads = 0;
                         for (std::size_t e = 0; e < elements.cols; ++e)
                             quads += cut(cells[e], 0, out);
                         return quads;
                     });
}

int split_Q4_into_T3(const dense2D<double>& pos, const dense2D<unsigned>& connect_in,
                     dense2D<unsigned>& connect_out) {
    if (connect_in.cols == 0) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (!tessel::check_IDs(connect_in, ELEMENT_FACE, node_bound(pos))) return -2;
    if (!takes_rows(connect_out, 3)) return -3;
    if (connect_in.empty()) return status_ok;
    dense2D<unsigned> elements(connect_in);
    if (!separate(elements, connect_out)) return status_memory;
    if (elements.rows == 3) return append_triangles(elements, connect_out);
    return pos.rows == 2 ? split_best<2>(pos, elements, connect_out)
                         : split_best<3>(pos, elements, connect_out);
}

int split_Q4_into_T3(const dense2D<double>& pos, const dense2D<unsigned>& connect_in,
                     double min_quality, double min_angle_quality, double min_warp_quality,
                     int criterion, dense1D<unsigned, 8>& kept, dense1D<unsigned, 8>& split,
                     dense2D<unsigned>& connect_out) {
    dense2D<unsigned> elements(connect_in); // keeps the input alive when a list shares its block
    kept.clear();
    split.clear();
    if (elements.cols == 0) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (elements.rows != 4) return -2;
    if (!tessel::check_IDs(elements, ELEMENT_FACE, node_bound(pos))) return -2;
    if (!takes_rows(connect_out, 4)) return -8;
    if (elements.cols > most_nodes || !kept.reserve(elements.cols, 1) ||
        !split.reserve(elements.cols, 1) || !separate(elements, connect_out)) {
        return status_memory;
    }

    const thresholds least{min_quality, min_angle_quality, min_warp_quality};
    const bool plane = pos.rows == 2;
    plane ? select<2>(pos, elements, least, kept, split)
          : select<3>(pos, elements, least, kept, split);
    const std::size_t present = connect_out.cols;
    if (!extend(connect_out, 4, kept.size + 2 * split.size)) {
        kept.clear();
        split.clear();
        return status_memory;
    }
    const triangle_writer<4> out{connect_out[present], connect_out.ld};
    const std::size_t written = plane
                                    ? write_selected<2>(pos, elements, kept, split, criterion, out)
                                    : write_selected<3>(pos, elements, kept, split, criterion, out);
    connect_out.resize(4, present + written);
    return as_count(split.size);
}

} // namespace zel::tessel2d
