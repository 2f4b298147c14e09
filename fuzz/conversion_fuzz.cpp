// SPDX-License-Identifier: Apache-2.0
// Conversion: order of elements, splitting, orientation and collapsed quadrilaterals.
#include "fuzz/adjacency.h"
#include "fuzz/by_hand.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/meshes.h"

#include "support/reorientation_walk.h"
#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/orientation.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

/// Linear elements with their nodes: loose cells or a grid.
mesh linear_mesh(input& in) {
    if (in.one_in(4)) return grid(in, in.one_of({2u, 3u}), in.one_of({4u, 3u}));
    mesh m;
    m.pos = positions(in);
    m.connect = cells(in, {4, 3}, m.pos.cols);
    return m;
}

/// A second connectivity: of its own, or in the block of the first.
dense2D<unsigned> other_cells(input& in, const dense2D<unsigned>& first,
                              std::initializer_list<unsigned> wanted, std::size_t nodes) {
    if (in.one_in(8)) return sharing_matrix(in, first, rows(in, wanted));
    return in.flag() ? cells(in, wanted, nodes) : dense2D<unsigned>();
}

/// Edges with their nodes: `height` rows, taken from the elements where that is possible.
dense2D<unsigned> given_edges(input& in, const mesh& m, unsigned height) {
    if (!in.flag()) return dense2D<unsigned>();
    dense2D<unsigned> edges = other_cells(in, m.connect, {height}, m.pos.cols);
    for (std::size_t j = 0; j < edges.cols && edges.rows >= 2 && m.connect.rows >= 3; ++j) {
        if (m.connect.cols == 0 || !in.flag()) continue;
        const std::size_t e = in.byte() % m.connect.cols;
        const unsigned k = in.below(3);
        edges(k % 2, j) = m.connect(k, e);
        edges(1 - k % 2, j) = m.connect((k + 1) % 3, e);
    }
    return edges;
}

// ------------------------------------------------------------------------------------------ order

bool is_empty(const by_hand::columns& all) {
    return all.empty() || all[0].empty();
}

/// Three rows or four, with all corners below `nodes` but for the mark of a triangle.
bool is_linear(const dense2D<unsigned>& connect, std::size_t nodes) {
    return is_surface(connect, nodes);
}

void into_linear(input& in) {
    dense2D<unsigned> connect = cells(in, {6, 8, 9}, 20);
    const auto before = by_hand::columns_of(connect);
    const std::size_t rows = connect.rows;
    const int status = call(
        in, "convert_into_linear", {-1}, [](auto& c) { return t2::convert_into_linear(c); },
        turns(connect));
    const bool quadratic = rows == 6 || rows == 8 || rows == 9;
    require_status(status, is_empty(before) || quadratic ? 0 : -1);
    if (status != 0 || is_empty(before)) return;
    by_hand::columns expected;
    for (const auto& e : before) {
        expected.emplace_back(e.begin(), e.begin() + (rows == 6 ? 3 : 4));
        if (rows > 6 && e[6] == no_node) expected.back()[3] = no_node;
    }
    require(connect.rows == expected[0].size(), "rows are cut");
    by_hand::require_columns(connect, 0, expected, "corners stay");
}

/// What goes into a conversion, as it was before the call.
struct conversion {
    dense2D<double> pos;
    dense2D<unsigned> linear;
    dense2D<unsigned> edges;
    by_hand::order o;

    conversion(const mesh& m, const dense2D<unsigned>& given, by_hand::order order)
        : pos(plain_copy(m.pos)),
          linear(plain_copy(m.connect)),
          edges(plain_copy(given)),
          o(order) {}

    /// The status if there is memory.
    int status() const {
        const std::uint64_t m = static_cast<std::uint64_t>(std::sqrt(double{1} * o.b));
        if (linear.empty() || std::uint64_t{o.a} + o.b + o.c == 0) return 0;
        if (pos.rows != 2 && pos.rows != 3) return -1;
        if (!is_linear(linear, pos.cols)) return -2;
        if (m * m != o.b) return -4;
        if (o.c == 2 || o.c > 3) return -5;
        if (!edges.empty() && (edges.rows != std::uint64_t{o.a} + 2 || !edges_exist())) return -6;
        return 0;
    }
    bool edges_exist() const {
        for (const unsigned id : elements(edges))
            if (id >= pos.cols && id != no_node) return false;
        return true;
    }
    /// Numbers of given edges are nodes, not merely absent ones.
    bool known_edges() const {
        const auto all = elements(edges);
        return edges.empty() || std::count(all.begin(), all.end(), no_node) == 0;
    }
    bool nothing() const { return linear.empty() || std::uint64_t{o.a} + o.b + o.c == 0; }
    by_hand::raising by_hand() const {
        const auto given = edges.empty() ? by_hand::columns() : by_hand::columns_of(edges);
        return by_hand::raising(pos, by_hand::columns_of(linear), o, given);
    }

    /// Compares with the slow way what a call has made; short of memory some edges have no nodes.
    void check(int status, const dense2D<double>& raised_pos,
               const dense2D<unsigned>& raised) const {
        require_status(status, this->status());
        if (status != 0 || nothing()) {
            require(raised.empty(), "no elements are left without a result");
            return;
        }
        if (now.failed || !known_edges()) return;
        const auto slow = by_hand();
        std::size_t rows = 0;
        for (const auto& e : by_hand::columns_of(linear))
            rows = std::max<std::size_t>(rows, by_hand::is_triangle(e) ? 3 + 3 * o.a + o.c
                                                                       : 4 + 4 * o.a + o.b);
        require(raised.rows == rows, "columns have the rows of the elements that there are");
        by_hand::require_columns(raised, 0, slow.result().connect, "elements have their nodes");
        by_hand::require_places(slow.result(), raised_pos);
    }
};

void into_quadratic(input& in) {
    mesh m = linear_mesh(in);
    const conversion given(m, {}, {1, 1, 0});
    const int status = call(
        in, "convert_into_quadratic", {-1, -2, -6},
        [](auto& p, auto& c) { return t2::convert_into_quadratic(p, c); }, grows(m.pos),
        makes(m.connect));
    given.check(status, m.pos, m.connect);
}

void into_quadratic_with_edges(input& in) {
    mesh m = linear_mesh(in);
    const dense2D<unsigned> edges = given_edges(in, m, 3);
    const conversion given(m, edges, {1, 1, 0});
    const int status = call(
        in, "convert_into_quadratic with edges", {-1, -2, -6},
        [](auto& p, auto& c, auto& g) { return t2::convert_into_quadratic(p, c, g); }, grows(m.pos),
        makes(m.connect), reads(edges));
    given.check(status, m.pos, m.connect);
}

/// Mostly counts that fit together.
by_hand::order any_order(input& in) {
    const unsigned m = in.below(4);
    if (in.one_in(4)) return {in.count(), in.count(), in.count()};
    return {in.below(5), m * m, in.one_of({1u, 0u, 3u, 2u})};
}

/// So many nodes that numbers run out before memory is asked for.
bool is_huge(const by_hand::order& o) {
    return o.a > 1000 || o.b > 100000;
}

void into_high_order_in_place(input& in) {
    mesh m = linear_mesh(in);
    const by_hand::order o = any_order(in);
    const dense2D<unsigned> edges = given_edges(in, m, o.a < 20 ? o.a + 2 : 3);
    const conversion given(m, edges, o);
    in.outgrows = is_huge(o);
    const int status = call(
        in, "convert_into_high_order in place", {-1, -2, -4, -5, -6},
        [=](auto& p, auto& c, auto& g) {
            return t2::convert_into_high_order(p, c, o.a, o.b, o.c, g);
        },
        grows(m.pos), makes(m.connect), reads(edges));
    if (status == -199 && is_huge(o)) return;
    given.check(status, m.pos, m.connect);
}

void into_high_order(input& in) {
    mesh m = linear_mesh(in);
    const by_hand::order o = any_order(in);
    dense2D<unsigned> edges = given_edges(in, m, o.a < 20 ? o.a + 2 : 3);
    dense2D<unsigned> other = other_cells(in, m.connect, {4, 9, 3}, m.pos.cols);
    // The output may be the matrix of elements or that of edges itself.
    dense2D<unsigned>& out = in.one_in(16) ? m.connect : in.one_in(16) ? edges : other;
    const conversion given(m, edges, o);
    in.outgrows = is_huge(o);
    const int status = call(
        in, "convert_into_high_order", {-1, -2, -4, -5, -6},
        [=](auto& p, auto& c, auto& to, auto& g) {
            return t2::convert_into_high_order(p, c, o.a, o.b, o.c, to, g);
        },
        grows(m.pos), reads(m.connect), makes(out), reads(edges));
    if (status == -199 && is_huge(o)) return;
    given.check(status, m.pos, out);
}

// ------------------------------------------------------------------------------------------ pieces

void into_four(input& in) {
    const dense2D<unsigned> from = cells(in, {9, 6}, 30);
    dense2D<unsigned> to = other_cells(in, from, {4, 3}, 30);
    const std::size_t first = to.cols;
    const std::size_t before = to.rows;
    const auto given = by_hand::columns_of(from);
    const std::size_t rows = from.rows;
    const auto f = [](auto& c, auto& d) { return t2::split_into_linear(c, d); };
    // Row 3 of old columns may be written, so that they are not looked at here.
    const int status = call(in, "split_into_linear", {-1, -2}, f, reads(from), turns(to));
    require_status(status, is_empty(given)                             ? 0
                           : rows != 6 && rows != 9                    ? -1
                           : before != 0 && before != 3 && before != 4 ? -2
                                                                       : 0);
    if (status != 0 || is_empty(given)) return;
    require(to.rows == (rows == 9 || before == 4 ? 4 : 3), "rows suit the elements");
    by_hand::require_columns(to, first, by_hand::linear_pieces(given), "elements are cut in four");
}

void into_quads(input& in) {
    mesh m = linear_mesh(in);
    const dense2D<unsigned> edges = given_edges(in, m, 3);
    dense2D<unsigned> other = other_cells(in, m.connect, {4}, m.pos.cols);
    dense2D<unsigned>& to = in.one_in(16) ? m.connect : other;
    const std::size_t first = to.cols;
    const conversion given(m, edges, {1, 1, 1});
    const bool fits = to.empty() || to.rows == 4;
    const bool no_columns = m.connect.cols == 0;
    const int status = call(
        in, "split_into_Q4", {-1, -2, -3, -4},
        [](auto& p, auto& c, auto& d, auto& g) { return t2::split_into_Q4(p, c, d, g); },
        grows(m.pos), reads(m.connect), grows(to), reads(edges));
    if (given.linear.empty()) {
        require(!no_columns || status == 0, "there is nothing to do");
        return;
    }
    const int of_conversion = given.status();
    if (of_conversion == -1 || of_conversion == -2) return require_status(status, of_conversion);
    if (!fits) return require_status(status, -3);
    require_status(status, of_conversion == -6 || !given.known_edges() ? -4 : 0);
    if (status != 0 || now.failed) return;
    const auto slow = given.by_hand();
    require(to.rows == 4, "all elements are quadrilaterals");
    by_hand::require_columns(to, first,
                             by_hand::quad_pieces(by_hand::columns_of(given.linear), slow.result()),
                             "elements are cut at their centre and mid-side nodes");
    by_hand::require_places(slow.result(), m.pos);
}

/// How many quadrilaterals there are.
int quads_in(const by_hand::columns& linear) {
    return static_cast<int>(std::count_if(linear.begin(), linear.end(),
                                          [](const auto& e) { return !by_hand::is_triangle(e); }));
}

void cut_blindly(input& in) {
    dense2D<unsigned> from = cells(in, {4, 3}, 30);
    dense2D<unsigned> other = other_cells(in, from, {3}, 30);
    dense2D<unsigned>& to = in.one_in(16) ? from : other;
    const std::size_t first = to.cols;
    const bool fits = to.empty() || to.rows == 3;
    const auto given = by_hand::columns_of(from);
    const std::size_t rows = from.rows;
    const int status = call(
        in, "split_Q4_into_T3 blindly", {any_count, -1, -2},
        [](auto& c, auto& d) { return t2::split_Q4_into_T3(c, d); }, reads(from), grows(to));
    if (given.empty()) {
        require(status == 0, "there is nothing to do");
    } else if (rows != 3 && rows != 4) {
        require_status(status, -1);
    } else if (!fits) {
        require_status(status, -2);
    } else if (status != -199) {
        require(status == quads_in(given), "quadrilaterals are counted");
        require(to.rows == 3, "all elements are triangles");
        by_hand::require_columns(to, first, by_hand::cut_from_first(given),
                                 "quadrilaterals are cut from their first node");
    }
}

/// The smaller shape quality of the two triangles of a quadrilateral that is cut from corner `from`.
long double score(const dense2D<double>& pos, const by_hand::column& quad, unsigned from) {
    const auto quality = [&](const by_hand::column& t) {
        long double p[3][3] = {};
        for (unsigned k = 0; k < 3; ++k)
            for (std::size_t i = 0; i < pos.rows; ++i) p[k][i] = pos(i, t[k]);
        long double length[3], perimeter = 0, longest = 0;
        for (unsigned k = 0; k < 3; ++k) {
            const long double* const q = p[(k + 1) % 3];
            length[k] = std::hypot(p[k][0] - q[0], p[k][1] - q[1], p[k][2] - q[2]);
            perimeter += length[k];
            longest = std::max(longest, length[k]);
        }
        long double a[3], b[3];
        for (unsigned i = 0; i < 3; ++i) a[i] = p[0][i] - p[2][i], b[i] = p[1][i] - p[2][i];
        const long double x = a[1] * b[2] - a[2] * b[1];
        const long double y = a[2] * b[0] - a[0] * b[2];
        const long double z = a[0] * b[1] - a[1] * b[0];
        const long double area = pos.rows == 2 ? z : std::hypot(x, y, z);
        if (!(perimeter * longest > 0)) return 0.0L;
        return std::clamp(std::sqrt(12.0L) * area / (perimeter * longest), -1.0L, 1.0L);
    };
    const auto two = by_hand::halves(quad, from);
    return std::min(quality(two[0]), quality(two[1]));
}

/// The two triangles stand in columns `first` and `first + 1`, cut by the better diagonal where the
/// difference is more than rounding and coordinates are exact.
void require_cut(const dense2D<double>& pos, const by_hand::column& quad, bool by_shape,
                 const dense2D<unsigned>& to, std::size_t first) {
    const auto turned = by_hand::turned_to_smallest(quad);
    const auto holds = [&](const by_hand::columns& two) {
        for (std::size_t j = 0; j < 2; ++j)
            for (std::size_t i = 0; i < 3; ++i)
                if (to(i, first + j) != two[j][i]) return false;
        return true;
    };
    const bool from_first = holds(by_hand::halves(turned, 0));
    const bool from_second = holds(by_hand::halves(turned, 1));
    require(from_first || from_second, "a quadrilateral is cut along a diagonal");
    if (!by_shape || !all_exact(pos)) return;
    const long double gain = score(pos, turned, 1) - score(pos, turned, 0);
    if (gain > 1e-9L) require(from_second, "the better diagonal is taken");
    if (gain < 1e-13L) require(from_first, "of equal diagonals the first is taken");
}

void cut_well(input& in) {
    mesh m = linear_mesh(in);
    dense2D<unsigned> other = other_cells(in, m.connect, {3}, m.pos.cols);
    dense2D<unsigned>& to = in.one_in(16) ? m.connect : other;
    const std::size_t first = to.cols;
    const bool fits = to.empty() || to.rows == 3;
    const dense2D<unsigned> linear = plain_copy(m.connect);
    const auto given = by_hand::columns_of(linear);
    const bool no_columns = m.connect.cols == 0;
    const int status = call(
        in, "split_Q4_into_T3", {any_count, -1, -2, -3},
        [](auto& p, auto& c, auto& d) { return t2::split_Q4_into_T3(p, c, d); }, reads(m.pos),
        reads(m.connect), grows(to));
    if (no_columns || linear.empty()) {
        require(!no_columns || status == 0, "there is nothing to do");
        return;
    }
    if (m.pos.rows != 2 && m.pos.rows != 3) return require_status(status, -1);
    if (!is_linear(linear, m.pos.cols)) return require_status(status, -2);
    if (!fits) return require_status(status, -3);
    if (status == -199) return;
    const int quads = quads_in(given);
    require(status == quads, "quadrilaterals are counted");
    require(to.rows == 3 && to.cols == first + given.size() + static_cast<unsigned>(quads),
            "each quadrilateral gives two triangles");
    std::size_t at = first;
    for (const auto& e : given) {
        if (by_hand::is_triangle(e)) {
            by_hand::require_columns(to.sub_matrix(0, at, 3, 1), 0, {{e[0], e[1], e[2]}},
                                     "triangles stay");
            at += 1;
        } else {
            require_cut(m.pos, e, true, to, at);
            at += 2;
        }
    }
}

/// `quad_shape_quality` of a quadrilateral in the plane.
long double quad_shape(const dense2D<double>& pos, const by_hand::column& quad) {
    long double e[4][2], smallest = 0, longest = 0, perimeter = 0;
    const auto between = [&](unsigned i, unsigned k, unsigned row) {
        return static_cast<long double>(pos(row, quad[k])) - pos(row, quad[i]);
    };
    for (unsigned i = 0; i < 4; ++i) {
        for (unsigned row = 0; row < 2; ++row) e[i][row] = between(i, (i + 1) % 4, row);
        perimeter += std::hypot(e[i][0], e[i][1]);
        longest = std::max(longest, std::hypot(e[i][0], e[i][1]));
        longest =
            std::max(longest, std::hypot(between(i, (i + 2) % 4, 0), between(i, (i + 2) % 4, 1)));
    }
    for (unsigned i = 0; i < 4; ++i) {
        const long double* const before = e[(i + 3) % 4];
        const long double corner = before[0] * e[i][1] - before[1] * e[i][0];
        smallest = i == 0 ? corner : std::min(smallest, corner);
    }
    if (!(longest * perimeter > 0)) return 0;
    return std::clamp(smallest / (longest * perimeter) * std::sqrt(32.0L), -1.0L, 1.0L);
}

void cut_the_bad(input& in) {
    mesh m = linear_mesh(in);
    const double shape = in.number() / 8;
    const double angle = in.one_in(4) ? -2 : in.number() / 8;
    const double warp = in.number() / 8;
    const int criterion = in.option();
    dense2D<unsigned> other = other_cells(in, m.connect, {4}, m.pos.cols);
    dense2D<unsigned>& to = in.one_in(16) ? m.connect : other;
    const std::size_t first = to.cols;
    dense1D<unsigned, 8> kept = node_list(in, in.below(4), 8);
    dense1D<unsigned, 8> split = node_list(in, in.below(4), 8);
    if (in.one_in(8)) kept = sharing_list(in, m.connect);
    const dense2D<unsigned> linear = plain_copy(m.connect);
    const auto given = by_hand::columns_of(linear);
    const bool fits = to.empty() || to.rows == 4;
    const bool no_columns = m.connect.cols == 0;
    const int status = call(
        in, "split_Q4_into_T3 of the bad", {any_count, -1, -2, -8},
        [=](auto& p, auto& c, auto& k, auto& s, auto& d) {
            return t2::split_Q4_into_T3(p, c, shape, angle, warp, criterion, k, s, d);
        },
        reads(m.pos), reads(m.connect), makes(kept), makes(split), grows(to));
    if (status < 0) require(kept.empty() && split.empty(), "lists are empty after a failure");
    if (no_columns || linear.empty()) {
        require(!no_columns || status == 0, "there is nothing to do");
        return;
    }
    if (m.pos.rows != 2 && m.pos.rows != 3) return require_status(status, -1);
    if (linear.rows != 4 || !is_linear(linear, m.pos.cols)) return require_status(status, -2);
    if (!fits) return require_status(status, -8);
    if (status == -199 || kept.storage.get() == split.storage.get()) return;
    if (to.storage.get() == kept.storage.get()) return;
    require(split.size == static_cast<unsigned>(status), "what is cut is listed");
    require(to.rows == 4 && to.cols == first + kept.size + 2 * split.size,
            "elements are kept or cut");
    require(kept.size + split.size == given.size(), "each element is in one of the lists");
    std::size_t in_kept = 0, in_split = 0;
    for (unsigned e = 0; e < given.size(); ++e) {
        const bool stays = in_kept < kept.size && kept[in_kept] == e;
        require(stays || (in_split < split.size && split[in_split] == e), "both lists ascend");
        const std::size_t at = stays ? first + in_kept : first + kept.size + 2 * in_split;
        (stays ? in_kept : in_split) += 1;
        if (stays) {
            by_hand::require_columns(to.sub_matrix(0, at, 4, 1), 0, {given[e]},
                                     "what is kept stays");
        } else {
            require(!by_hand::is_triangle(given[e]), "triangles are kept");
            require(to(3, at) == no_node && to(3, at + 1) == no_node, "halves are triangles");
            require_cut(m.pos, given[e], criterion == 1, to, at);
        }
        // In the plane an angle of any quality passes -2, and nothing is warped.
        if (m.pos.rows != 2 || !(angle <= -1) || !(warp <= 1) || by_hand::is_triangle(given[e]))
            continue;
        if (!all_exact(m.pos)) continue;
        const long double quality = quad_shape(m.pos, given[e]);
        if (quality > shape + 1e-12L) require(stays, "a good quadrilateral is kept");
        if (quality < shape - 1e-12L) require(!stays, "a bad quadrilateral is cut");
    }
}

// ------------------------------------------------------------------------------------- orientation

zel::element_type surface_kind(input& in) {
    using namespace zel;
    return in.one_of({ELEMENT_FACE, ELEMENT_T3, ELEMENT_Q4, ELEMENT_T6, ELEMENT_Q8, ELEMENT_Q9,
                      ELEMENT_FACE_HO, ELEMENT_E2, ELEMENT_NONE, ELEMENT_H27});
}

void turn(input& in) {
    dense2D<unsigned> connect = cells(in, {4, 3, 6, 8, 9}, 30);
    auto expected = by_hand::columns_of(connect);
    const std::size_t rows = connect.rows;
    const int status = call(
        in, "flip", {-1}, [](auto& c) { return t2::flip(c); }, turns(connect));
    require_status(status, expected.empty() || rows >= 3 ? 0 : -1);
    if (status != 0 || is_empty(expected)) return;
    for (auto& e : expected) by_hand::turn_over(e, false, false);
    by_hand::require_columns(connect, 0, expected, "nodes 0 and 2 change places");
}

/// The rows that a kind asks for, 0 if it is none that is turned.
std::size_t rows_of(zel::element_type kind) {
    switch (kind) {
    case zel::ELEMENT_T3:
        return 3;
    case zel::ELEMENT_Q4:
        return 4;
    case zel::ELEMENT_T6:
        return 6;
    case zel::ELEMENT_Q8:
        return 8;
    case zel::ELEMENT_Q9:
        return 9;
    default:
        return 0;
    }
}

bool is_face_rows(std::size_t rows) {
    return rows == 3 || rows == 4 || rows == 6 || rows == 8 || rows == 9;
}

/// Turns elements of a kind that suits their rows.
void turn_by_hand(by_hand::columns& all, zel::element_type kind) {
    const bool face = kind == zel::ELEMENT_FACE;
    for (auto& e : all) {
        const bool t6 = e.size() == 6 || (face && e.size() > 6 && e[6] == no_node);
        by_hand::turn_over(e, t6, e.size() > 6 && !t6);
    }
}

void turn_kind(input& in) {
    const zel::element_type kind = surface_kind(in);
    dense2D<unsigned> connect = cells(in, {4, 3, 6, 8, 9}, 30);
    auto expected = by_hand::columns_of(connect);
    const std::size_t rows = connect.rows;
    const int status = call(
        in, "flip of a kind", {-2}, [=](auto& c) { return t2::flip(c, kind); }, turns(connect));
    if (is_empty(expected)) return;
    const bool face = kind == zel::ELEMENT_FACE;
    const bool turned = face || rows_of(kind) != 0;
    const bool suits = face ? is_face_rows(rows) : rows == zel::element_node_count(kind);
    require_status(status, suits ? 0 : -2);
    if (status == 0 && turned) turn_by_hand(expected, kind);
    by_hand::require_columns(connect, 0, expected, "the rows of the kind change places");
}

void turn_with_neighbors(input& in) {
    const zel::element_type kind = surface_kind(in);
    dense2D<unsigned> connect = cells(in, {4, 3, 6, 8, 9}, 30);
    dense2D<unsigned> neighbors = other_cells(in, connect, {4, 3}, 30);
    if (!in.one_in(8)) neighbors = cells(in, rows(in, {4, 3}), connect.cols, 30);
    auto expected = by_hand::columns_of(connect);
    auto beside = by_hand::columns_of(neighbors);
    const bool apart = connect.storage.get() != neighbors.storage.get();
    const int status = call(
        in, "flip with neighbors", {-2, -3}, [=](auto& c, auto& n) { return t2::flip(c, n, kind); },
        turns(connect), turns(neighbors));
    if (is_empty(expected) || is_empty(beside) || status != 0 || !apart) return;
    const bool face = kind == zel::ELEMENT_FACE;
    if (!face && rows_of(kind) == 0) return;
    turn_by_hand(expected, kind);
    by_hand::require_columns(connect, 0, expected, "the rows of the kind change places");
    const bool follow = kind != zel::ELEMENT_Q8 && kind != zel::ELEMENT_Q9;
    for (std::size_t e = 0; e < beside.size() && follow; ++e) {
        const auto& turned = expected[e];
        const bool triangle = turned.size() == 3 || turned.size() == 6 ||
                              (turned.size() == 4 && turned[3] == no_node) ||
                              (face && turned.size() > 6 && turned[6] == no_node);
        std::swap(beside[e][0], beside[e][triangle ? 2 : 1]);
        if (!triangle) std::swap(beside[e][2], beside[e][3]);
    }
    by_hand::require_columns(neighbors, 0, beside, "neighbours follow their edges");
}

/// The neighbours along common edges, as far as the elements are good for that; a few are overwritten.
dense2D<unsigned> neighbors_of(input& in, const dense2D<unsigned>& connect) {
    dense2D<unsigned> n = blank_matrix<unsigned>(in, connect.rows, connect.cols);
    if (n.empty()) return n;
    std::map<std::pair<unsigned, unsigned>, std::pair<unsigned, std::size_t>> open;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned corners = connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
        for (unsigned k = 0; k < n.rows; ++k) {
            n(k, e) = no_node;
            if (k >= corners) continue;
            const unsigned from = corners == 3 ? (k + 1) % 3 : k;
            const auto edge = std::minmax(connect(from, e), connect((from + 1) % corners, e));
            const auto place = open.insert({edge, {k, e}});
            if (place.second) continue;
            const auto [other_k, other] = place.first->second;
            n(k, e) = static_cast<unsigned>(other);
            n(other_k, other) = static_cast<unsigned>(e);
        }
    }
    for (unsigned changes = in.below(4); changes > 0; --changes) {
        const std::size_t j = in.byte() % n.cols;
        n(in.below(static_cast<unsigned>(n.rows)), j) = in.node(n.cols, true);
    }
    return n;
}

void reorient(input& in) {
    mesh m = linear_mesh(in);
    dense2D<unsigned>& connect = m.connect;
    // Turn some over, so that there is something to do.
    for (std::size_t e = 0; e < connect.cols && connect.rows >= 3; ++e)
        if (in.one_in(4)) std::swap(connect(0, e), connect(2, e));
    const bool loose = connect.rows < 3 || connect.rows > 4 || in.one_in(4);
    dense2D<unsigned> neighbors =
        loose ? other_cells(in, connect, {4, 3}, connect.cols) : neighbors_of(in, connect);
    const unsigned seed = in.flag() ? in.count() : in.below(4);
    const int all = in.flag() ? 1 : in.option();
    auto expected = by_hand::columns_of(connect);
    auto beside = by_hand::columns_of(neighbors);
    const bool apart = connect.storage.get() != neighbors.storage.get();
    // A conflict leaves a negative count, and what has been turned stays turned.
    const int status = call(
        in, "mesh_reorient", {any_count, -1, -2, -3},
        [=](auto& c, auto& n) { return t2::mesh_reorient(c, n, seed, all); }, makes(connect),
        makes(neighbors));
    if (is_empty(expected) || !apart || status == -199) return;
    bool whole = expected[0].size() == 3 || expected[0].size() == 4;
    for (const auto& e : expected)
        for (std::size_t i = 0; whole && i < 3; ++i) whole = e[i] != no_node;
    if (!whole) return require_status(status, -1);
    if (beside.size() != expected.size() || beside[0].size() != expected[0].size())
        return require_status(status, -2);
    if (seed >= expected.size()) return require_status(status, -3);
    const int count = zel_test::reorientation_walk(expected, beside, seed, all != 0);
    require(status == count, "turned elements are counted");
    by_hand::require_columns(connect, 0, expected, "elements agree with their neighbours");
    by_hand::require_columns(neighbors, 0, beside, "neighbours follow their edges");
}

void degenerated_Q4(input& in) {
    dense2D<unsigned> connect = cells(in, {4}, 5);
    auto expected = by_hand::columns_of(connect);
    const int status = call(
        in, "convert_degenerated_Q4", {any_count, -1},
        [](auto& c) { return t2::convert_degenerated_Q4(c); }, turns(connect));
    if (is_empty(expected)) return;
    if (expected[0].size() != 4) return require_status(status, -1);
    int count = 0;
    for (auto& e : expected) count += by_hand::mend(e);
    require(status == count, "changed columns are counted");
    by_hand::require_columns(connect, 0, expected, "a collapsed edge leaves a triangle");
}

void degenerated_Q(input& in) {
    dense2D<unsigned> connect = cells(in, {4, 8, 9}, 5);
    dense1D<unsigned, 8> changed =
        in.one_in(8) ? sharing_list(in, connect) : node_list(in, in.below(4), 8);
    auto expected = by_hand::columns_of(connect);
    const bool apart = connect.storage.get() != changed.storage.get();
    const int status = call(
        in, "convert_degenerated_Q", {any_count, -1},
        [](auto& c, auto& l) { return t2::convert_degenerated_Q(c, l); }, turns(connect),
        makes(changed));
    if (is_empty(expected) || !apart) return;
    const std::size_t rows = expected[0].size();
    if (rows != 4 && rows != 8 && rows != 9) return require_status(status, -1);
    std::vector<unsigned> list;
    for (unsigned e = 0; e < expected.size(); ++e)
        if (by_hand::mend(expected[e])) list.push_back(e);
    by_hand::require_columns(connect, 0, expected, "a collapsed edge leaves a triangle");
    if (now.failed) return;
    require(status == static_cast<int>(list.size()), "changed columns are counted");
    require(elements(changed) == list, "changed columns are listed");
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {into_linear,
                                           into_quadratic,
                                           into_quadratic_with_edges,
                                           into_high_order_in_place,
                                           into_high_order,
                                           into_four,
                                           into_quads,
                                           cut_blindly,
                                           cut_well,
                                           cut_the_bad,
                                           turn,
                                           turn_kind,
                                           turn_with_neighbors,
                                           reorient,
                                           degenerated_Q4,
                                           degenerated_Q};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
