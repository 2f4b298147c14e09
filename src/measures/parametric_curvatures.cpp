// SPDX-License-Identifier: Apache-2.0
// The second fundamental form of a surface at the nodes of a mesh of its parameters.
//
// From first derivatives: the derivatives of Su . n and Sv . n, where n is held fast at the node, are
// averaged over the triangles around it by the divergence theorem.
//
// 1. Each node gets its normal n = Su x Sv of length 1.
// 2. Each triangle adds, at each of its corners, an integral over the opposite edge.
// 3. The sums are divided by the areas.
//
// The sums run in the order of the triangles, four of which are computed at a time where the processor has
// lanes.
#include "geometry/lanes.h"
#include "geometry/point.h"
#include "zel/tessel.h"
#include "zel/tessel2d/curvatures.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

/// What the triangles around a node add up to.
struct alignas(32) star_sums {
    double area; // doubled, in the parameter plane
    double uu, uv, vv;
};

// ---------------------------------------------------------------------------------------- formulas

/// The derivatives of the surface at a node.
template <class Number>
struct derivatives_of {
    vector_of<Number, 3> u;
    vector_of<Number, 3> v;
};

/// A triangle in the parameter plane, seen from its corner c, opposite the edge from a to b.
template <class Number>
struct angle_of {
    Number dv, du;
    Number m; // the doubled area
    Number s; // the orientation, up to rounding
    Number determinant;
};
template <class Number>
[[gnu::always_inline]] inline angle_of<Number> angle_at(const vector_of<Number, 2>& a,
                                                        const vector_of<Number, 2>& b,
                                                        const vector_of<Number, 2>& c) noexcept {
    const vector_of<Number, 2> w1 = difference<2>(a, c);
    const vector_of<Number, 2> w2 = difference<2>(b, c);
    const Number dv = w1[1] - w2[1];
    const Number du = w2[0] - w1[0];
    const Number determinant = dv * w1[0] + du * w1[1];
    const Number m = absolute(w1[0] * w2[1] - w2[0] * w1[1]);
    return {dv, du, m, m / determinant, determinant};
}

/// What a triangle takes from the sums of its corner c, as `star_sums`; n is the normal there.
template <class Number>
[[gnu::always_inline]] inline vector_of<Number, 4>
taken_from_corner(const derivatives_of<Number>& at_a, const derivatives_of<Number>& at_b,
                  const vector_of<Number, 3>& n, const angle_of<Number>& c) noexcept {
    const Number f = dot<3>(sum<3>(at_a.u, at_b.u), n) * c.s;
    const Number g = dot<3>(sum<3>(at_a.v, at_b.v), n) * c.s;
    const auto nothing = c.determinant == Number(0.0);
    return {zero_where(nothing, -c.m), zero_where(nothing, f * c.dv),
            zero_where(nothing, (g * c.dv + f * c.du) * Number(0.5)),
            zero_where(nothing, g * c.du)};
}

// ------------------------------------------------------------------------------- nodes and triangles

/// The triangles with what is known at their nodes.
struct chart {
    points_view<2> points;
    columns<const double> slopes;
    columns<const unsigned> cells;
    columns<double> normals; // of the surface, of length 1; one behind the other
    star_sums* sums;

    derivatives_of<double> derivatives(std::size_t i) const noexcept {
        const double* const d = slopes[i];
        return {{d[0], d[1], d[2]}, {d[3], d[4], d[5]}};
    }
    point<3> normal(std::size_t i) const noexcept {
        const double* const n = normals[i];
        return {n[0], n[1], n[2]};
    }

    void start_node(std::size_t i) const noexcept {
        const derivatives_of<double> s = derivatives(i);
        point<3> n = cross(s.u, s.v);
        make_unit<3>(n);
        std::copy(n.begin(), n.end(), normals[i]);
        sums[i] = {0, 0, 0, 0};
    }
    void add_triangle(std::size_t e) const noexcept {
        const unsigned* const n = cells[e];
        const point<2> p[3] = {points[n[0]], points[n[1]], points[n[2]]};
        const derivatives_of<double> s[3] = {derivatives(n[0]), derivatives(n[1]),
                                             derivatives(n[2])};
        for (const std::size_t c : {2U, 0U, 1U}) {
            const std::size_t a = (c + 1) % 3;
            const std::size_t b = (c + 2) % 3;
            const auto taken =
                taken_from_corner(s[a], s[b], normal(n[c]), angle_at(p[a], p[b], p[c]));
            star_sums& to = sums[n[c]];
            to.area -= taken[0];
            to.uu -= taken[1];
            to.uv -= taken[2];
            to.vv -= taken[3];
        }
    }
};

// ------------------------------------------------------------------------------------ four at a time

/// The derivatives in four columns.
ZEL_FOUR_LANES_INLINED derivatives_of<lanes>
load_derivatives(const lane_columns<const double>& p) noexcept {
    const auto a = load_columns<2>({p[0], p[1], p[2], p[3]});
    const auto b = load_columns<2>({p[0] + 2, p[1] + 2, p[2] + 2, p[3] + 2});
    const auto c = load_columns<2>({p[0] + 4, p[1] + 4, p[2] + 4, p[3] + 4});
    return {{a[0], a[1], b[0]}, {b[1], c[0], c[1]}};
}

/// The derivatives at four nodes. `Leading` is the leading dimension where it is known at compile time; 0
/// stands for `ld`.
template <std::size_t Leading>
ZEL_FOUR_LANES_INLINED derivatives_of<lanes>
load_derivatives(const columns<const double>& slopes, const unsigned (&n)[lane_count]) noexcept {
    const std::size_t ld = Leading == 0 ? slopes.ld : Leading;
    return load_derivatives({slopes.first + n[0] * ld, slopes.first + n[1] * ld,
                             slopes.first + n[2] * ld, slopes.first + n[3] * ld});
}

/// Starts the nodes from 0 on, four by four; returns the first one that is left over.
ZEL_FOUR_LANES std::size_t start_nodes_by_four(const chart& c, std::size_t count) noexcept {
    std::size_t i = 0;
    for (; count - i >= lane_count; i += lane_count) {
        const derivatives_of<lanes> s =
            load_derivatives({c.slopes[i], c.slopes[i + 1], c.slopes[i + 2], c.slopes[i + 3]});
        vector_of<lanes, 3> n = cross(s.u, s.v);
        make_unit<3>(n);
        store_packed(n, c.normals[i]);
        for (std::size_t lane = 0; lane < lane_count; ++lane)
            store_lanes(lanes(0.0), &c.sums[i + lane].area);
    }
    return i;
}

/// Adds triangles four by four; returns the first one that is left over. `Tight`: the columns of all
/// inputs lie one behind the other.
template <bool Tight>
ZEL_FOUR_LANES std::size_t add_triangles_by_four(const chart& c, std::size_t e,
                                                 std::size_t last) noexcept {
    const points_view<3> normals(c.normals);
    for (; last - e >= lane_count; e += lane_count) {
        unsigned n[3][lane_count];
        for (std::size_t lane = 0; lane < lane_count; ++lane)
            for (std::size_t k = 0; k < 3; ++k)
                n[k][lane] = c.cells.first[(e + lane) * (Tight ? 3 : c.cells.ld) + k];
        const vector_of<lanes, 2> p[3] = {load_nodes < 2, Tight ? 2 : 0 > (c.points, n[0]),
                                          load_nodes < 2, Tight ? 2 : 0 > (c.points, n[1]),
                                          load_nodes < 2, Tight ? 2 : 0 > (c.points, n[2])};
        // The divisions first: there is much to do until their results are waited for.
        const angle_of<lanes> angles[3] = {angle_at(p[1], p[2], p[0]), angle_at(p[2], p[0], p[1]),
                                           angle_at(p[0], p[1], p[2])};
        const derivatives_of<lanes> s[3] = {load_derivatives < Tight ? 6 : 0 > (c.slopes, n[0]),
                                            load_derivatives < Tight ? 6 : 0 > (c.slopes, n[1]),
                                            load_derivatives < Tight ? 6 : 0 > (c.slopes, n[2])};
        const vector_of<lanes, 3> normal[3] = {load_nodes<3, 3>(normals, n[0]),
                                               load_nodes<3, 3>(normals, n[1]),
                                               load_nodes<3, 3>(normals, n[2])};
        // In the order of the corners 2, 0, 1; row `lane` is what triangle `lane` takes.
        const vector_of<lanes, 4> taken[3] = {
            transposed(taken_from_corner(s[0], s[1], normal[2], angles[2])),
            transposed(taken_from_corner(s[1], s[2], normal[0], angles[0])),
            transposed(taken_from_corner(s[2], s[0], normal[1], angles[1]))};
        for (std::size_t lane = 0; lane < lane_count; ++lane) {
            for (std::size_t t = 0; t < 3; ++t) {
                double* const sums = &c.sums[n[(t + 2) % 3][lane]].area;
                store_lanes(load_lanes(sums) - taken[t][lane], sums);
            }
        }
    }
    return e;
}

void start_nodes(const chart& c, std::size_t count) noexcept {
    std::size_t i = 0;
    if (has_four_lanes()) i = start_nodes_by_four(c, count);
    for (; i < count; ++i) c.start_node(i);
}

void add_triangles(const chart& c, std::size_t count) noexcept {
    std::size_t e = 0;
    if (has_four_lanes()) {
        // mutation (6 -> 5): the way for any layout gives the same bits, more slowly
        const bool tight = c.points.ld == 2 && c.slopes.ld == 6 && c.cells.ld == 3;
        e = tight ? add_triangles_by_four<true>(c, e, count)
                  : add_triangles_by_four<false>(c, e, count);
    }
    for (; e < count; ++e) c.add_triangle(e);
}

void write_means(const star_sums* sums, dense2D<double>& H) noexcept {
    const auto out = columns_of(H);
    for (std::size_t i = 0; i < H.cols; ++i) {
        const star_sums& node = sums[i];
        const double factor = node.area > 0 ? 1 / node.area : node.area;
        out[i][0] = node.uu * factor;
        out[i][1] = node.uv * factor;
        out[i][2] = node.vv * factor;
    }
}

} // namespace

int parametric_curvatures(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                          const dense2D<double>& D, dense2D<double>& H) {
    // Views of their own keep the inputs when `H` shares their block or is one of them.
    const dense2D<double> parameters = pos;
    const dense2D<double> slopes = D;
    H.clear();
    if (connect.empty()) return status_ok;
    if (parameters.rows != 2) return -1;
    if (!tessel::check_IDs(connect, ELEMENT_T3, node_bound(parameters))) return -2;
    if (slopes.rows != 6 || slopes.cols != parameters.cols) return -3;
    dense1D<star_sums, 8> sums;
    if (!sums.resize(parameters.cols) || !H.resize(3, parameters.cols)) return status_memory;
    // Until the means are known their places hold the normals.
    const chart c{points_view<2>(parameters), columns_of(slopes), columns_of(connect),
                  columns_of(H), sums.data()};
    start_nodes(c, parameters.cols);
    add_triangles(c, connect.cols);
    write_means(c.sums, H);
    return status_ok;
}

} // namespace zel::tessel2d
