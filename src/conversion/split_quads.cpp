// zel tessel2d: planar and surface mesh tools.
#include "conversion/quad_quality.h"
#include "foundation/cell_shapes.h"
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
    /// The two triangles of a quadrilateral that is cut along its first diagonal.
    void put_both(const unsigned* q) noexcept {
        put(q[0], q[1], q[2]);
        put(q[2], q[3], q[0]);
    }
};

/// Makes `connect` hold `more` columns behind the present ones, to be written. False: memory is
/// exhausted.
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

/// Cuts each quadrilateral into two columns of 3 rows behind the present ones; `cut(writer, cell)`
/// writes them. The result is the number of quadrilaterals, or the status for exhausted memory.
template <class Cut>
int split_all(const dense2D<unsigned>& elements, dense2D<unsigned>& connect_out, Cut cut) noexcept {
    const std::size_t present = connect_out.cols;
    std::size_t most;
    if (!checked_multiply(elements.cols, 2, most) || !extend(connect_out, 3, most))
        return status_memory;
    const auto cells = columns_of(elements);
    triangle_writer<3> out{connect_out[present], connect_out.ld};
    std::size_t count = 0;
    for (std::size_t e = 0; e < elements.cols; ++e) {
        const unsigned* const cell = cells[e];
        if (mixed_cells::corners(cell) == 3) {
            out.put(cell[0], cell[1], cell[2]);
        } else {
            cut(out, cell);
            ++count;
        }
    }
    connect_out.resize(3, present + elements.cols + count);
    return as_count(count);
}

// ----------------------------------------------------------------------------- choosing a diagonal

/// A quadrilateral whose node list starts at its smallest number, so that the choice of the diagonal
/// does not depend on where the list happens to start.
template <int Dim>
struct rotated_quad {
    unsigned node[4];
    corners_of_quad<Dim> at;

    rotated_quad(const points_view<Dim>& pos, const unsigned* cell) noexcept {
        const auto first = static_cast<std::size_t>(std::min_element(cell, cell + 4) - cell);
        for (std::size_t i = 0; i < 4; ++i) {
            node[i] = cell[(first + i) % 4];
            at[i] = pos[node[i]];
        }
    }
};

enum criterion { by_shape = 1, by_angle, by_largest_area, by_total_area, by_flatness, by_bend };

/// One way to cut a quadrilateral: triangles (a, b, c) and (c, d, a), diagonal a-c.
template <int Dim>
struct candidate {
    const point<Dim>& a;
    const point<Dim>& b;
    const point<Dim>& c;
    const point<Dim>& d;

    double shape() const noexcept {
        return std::min(triangle_shape_quality<Dim>(a, b, c), triangle_shape_quality<Dim>(c, d, a));
    }
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

template <int Dim, std::size_t Rows>
void cut_best(const points_view<Dim>& pos, const unsigned* cell, int by,
              triangle_writer<Rows>& out) noexcept {
    const rotated_quad<Dim> q(pos, cell);
    if (first_diagonal_wins<Dim>(q.at, by)) {
        out.put(q.node[0], q.node[1], q.node[2]);
        out.put(q.node[2], q.node[3], q.node[0]);
    } else {
        out.put(q.node[1], q.node[2], q.node[3]);
        out.put(q.node[3], q.node[0], q.node[1]);
    }
}

template <int Dim>
int split_best(const dense2D<double>& pos, const dense2D<unsigned>& elements,
               dense2D<unsigned>& connect_out) noexcept {
    const points_view<Dim> points(pos);
    return split_all(elements, connect_out, [&](triangle_writer<3>& out, const unsigned* cell) {
        cut_best<Dim>(points, cell, by_shape, out);
    });
}

// ------------------------------------------------------------------------------- selecting the bad

struct thresholds {
    double shape;
    double angle;
    double warp;
};

/// A quadrilateral that is good enough to stay. A quality that is not a number never is.
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
    const points_view<Dim> points(pos);
    const auto cells = columns_of(elements);
    for (const unsigned e : kept) std::copy_n(cells[e], 4, out.next());
    for (const unsigned e : split)
        if (mixed_cells::corners(cells[e]) == 4) cut_best<Dim>(points, cells[e], by, out);
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
                     [](triangle_writer<3>& out, const unsigned* cell) { out.put_both(cell); });
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
