// SPDX-License-Identifier: Apache-2.0
// Interpolates sizes and size tensors at points of an element, and says how orphans receive them.
#pragma once

#include "location/orphans.h"
#include "metrics/blend.h"
#include "zel/lapack.h"

namespace zel::tessel2d {

/// Slack for the sum of two coordinates.
constexpr double sum_slack = 1.4142135623730952e-12;

/// Returns true if a point lies on the edge between nodes 0 and 1 of a triangle.
inline bool on_far_side(double a, double b) noexcept {
    return !(std::abs(1 - (a + b)) >= sum_slack);
}

// ------------------------------------------------------------------------------------------- sizes

/// The size at t on the side from one node to another, both of which must have sizes.
inline bool size_on_side(double from, double to, double t, double& h) noexcept {
    if (!(from > 0 && to > 0)) return false;
    h = (to - from) * t + from;
    return is_size(h);
}
inline bool size_of_node(double at_node, double& h) noexcept {
    h = at_node;
    return is_size(h);
}

/// The size in a triangle at barycentric coordinates (a, b, 1 - a - b), linear. At a node that of
/// the node counts alone, and on a side those of its two ends. Returns false if one of those that
/// count is not positive, or if the result is not positive and finite.
inline bool size_on_triangle(double h0, double h1, double h2, double a, double b,
                             double& h) noexcept {
    const bool a_none = is_negligible(a);
    const bool b_none = is_negligible(b);
    if (a_none && b_none) return size_of_node(h2, h);
    if (a_none) return is_negligible(1 - b) ? size_of_node(h1, h) : size_on_side(h2, h1, b, h);
    if (b_none) return is_negligible(1 - a) ? size_of_node(h0, h) : size_on_side(h2, h0, a, h);
    if (on_far_side(a, b))
        return is_negligible(1 - b) ? size_of_node(h1, h) : size_on_side(h0, h1, b, h);
    if (!(h0 > 0 && h1 > 0 && h2 > 0)) return false;
    h = (h0 - h2) * a + (h1 - h2) * b + h2;
    return is_size(h);
}

/// The size in a quadrilateral at (s, t) from 0 to 1. At a node and on the sides t = 0, s = 0 and t = 1
/// as in a triangle.
///
/// Elsewhere the coordinates go through (x + 1)/2 once more before the bilinear formula is evaluated, so
/// that sizes lean towards node 2 and jump at the sides. Callers rely on these values.
inline bool size_on_quad(double h0, double h1, double h2, double h3, double s, double t,
                         double& h) noexcept {
    const bool left = is_negligible(s);
    const bool right = is_negligible(1 - s);
    if (is_negligible(t))
        return left    ? size_of_node(h0, h)
               : right ? size_of_node(h1, h)
                       : size_on_side(h0, h1, s, h);
    const bool at_top = is_negligible(1 - t);
    if (left) return at_top ? size_of_node(h3, h) : size_on_side(h0, h3, t, h);
    if (at_top) return right ? size_of_node(h2, h) : size_on_side(h3, h2, s, h);
    if (!(h0 > 0 && h1 > 0 && h2 > 0 && h3 > 0)) return false;
    const double s2 = (s + 1) * 0.5;
    const double t2 = (t + 1) * 0.5;
    const double a = (h1 - h0) * s2 + h0;
    const double b = (h2 - h3) * s2 + h3;
    h = (b - a) * t2 + a;
    return is_size(h);
}

/// Carries sizes: one number per node.
struct size_rule {
    double* sizes;
    bool keep_valid;

    bool wants(unsigned node) const noexcept { return !(keep_valid && is_size(sizes[node])); }
    void in_element(unsigned node, const unsigned* cell, unsigned corners,
                    const point<2>& at) const noexcept {
        const double h0 = sizes[cell[0]];
        const double h1 = sizes[cell[1]];
        const double h2 = sizes[cell[2]];
        double h = 0;
        const bool exists = corners == 3 ? size_on_triangle(h0, h1, h2, at[0], at[1], h)
                                         : size_on_quad(h0, h1, h2, sizes[cell[3]],
                                                        (at[0] + 1) * 0.5, (at[1] + 1) * 0.5, h);
        if (exists) sizes[node] = h;
    }
    void from_node(unsigned node, unsigned closest) const noexcept { sizes[node] = sizes[closest]; }
};

// ----------------------------------------------------------------------------------------- tensors

inline bool is_metric(const tensor2& m) noexcept {
    double lo, hi;
    return eigenvalues_2x2(m[0], m[1], m[2], lo, hi) && lo > 0;
}
/// Returns false also if LAPACK finds no eigenvalues.
inline bool is_metric(const tensor3& m) noexcept {
    tensor3 ap = m;
    double w[3] = {0, 0, 0};
    double work[9];
    long info = 0;
    lapack::dspev('N', 'U', 3, ap.begin(), w, nullptr, 1, work, info);
    return w[0] > 0;
}

/// The tensor in a triangle at barycentric coordinates (a, b, 1 - a - b): between nodes 0 and 1 first,
/// and then towards node 2, with one blend on a side and none at node 2.
template <std::size_t Order>
inline bool tensor_on_triangle(const tensor<Order>& m0, const tensor<Order>& m1,
                               const tensor<Order>& m2, double a, double b,
                               tensor<Order>& m) noexcept {
    if (is_negligible(a)) {
        if (!is_negligible(b)) return blend<Order>(m2, m1, b, m);
        m = m2;
        return true;
    }
    if (is_negligible(b)) return blend<Order>(m2, m0, a, m);
    if (on_far_side(a, b)) return blend<Order>(m0, m1, b, m);
    return blend<Order>(m0, m1, b / (a + b), m) && blend<Order>(m2, m, a + b, m);
}

/// The tensor in a quadrilateral at (s, t) from 0 to 1: on the sides 0-1 and 3-2 first, and then from one
/// to the other, with one blend on any side.
template <std::size_t Order>
inline bool tensor_on_quad(const tensor<Order>& m0, const tensor<Order>& m1,
                           const tensor<Order>& m2, const tensor<Order>& m3, double s, double t,
                           tensor<Order>& m) noexcept {
    if (is_negligible(t)) return blend<Order>(m0, m1, s, m);
    if (is_negligible(s)) return blend<Order>(m0, m3, t, m);
    if (is_negligible(1 - t)) return blend<Order>(m3, m2, s, m);
    if (is_negligible(1 - s)) return blend<Order>(m1, m2, t, m);
    tensor<Order> top;
    return blend<Order>(m0, m1, s, m) && blend<Order>(m3, m2, s, top) && blend<Order>(m, top, t, m);
}

/// Carries tensors: one column per node.
template <std::size_t Order>
struct tensor_rule {
    columns<double> tensors;
    bool keep_valid;

    tensor<Order> of(unsigned node) const noexcept { return tensor_at<Order>(tensors[node]); }
    bool wants(unsigned node) const noexcept { return !(keep_valid && is_metric(of(node))); }
    void in_element(unsigned node, const unsigned* cell, unsigned corners,
                    const point<2>& at) const noexcept {
        tensor<Order> m;
        const bool exists =
            corners == 3
                ? tensor_on_triangle<Order>(of(cell[0]), of(cell[1]), of(cell[2]), at[0], at[1], m)
                : tensor_on_quad<Order>(of(cell[0]), of(cell[1]), of(cell[2]), of(cell[3]),
                                        (at[0] + 1) * 0.5, (at[1] + 1) * 0.5, m);
        if (exists) std::copy(m.begin(), m.end(), tensors[node]);
    }
    void from_node(unsigned node, unsigned closest) const noexcept {
        std::copy_n(tensors[closest], tensor_entries<Order>, tensors[node]);
    }
};

/// Carries the columns of `metrics`, 3 or 6 rows, onto the orphans among `nodes`, on triangles,
/// quadrilaterals or both. Nothing is tested.
void carry_tensors(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                   dense2D<double>& metrics, const dense1D<unsigned, 8>& nodes, bool keep_valid,
                   element_type type) noexcept;

} // namespace zel::tessel2d
