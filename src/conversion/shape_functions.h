// SPDX-License-Identifier: Apache-2.0
// Computes points inside elements from the positions of their nodes.
#pragma once

// A sum starts at zero and takes the nodes in the order of their rows. A node whose weight is
// exactly zero is skipped, so that one at infinity has no effect there; so is a number that names
// no node.
#include "geometry/point.h"

namespace zel::tessel2d {

/// The nodes of a mesh, for reading by numbers that may name no node.
template <int Dim>
struct guarded_points {
    points_view<Dim> points;
    std::size_t count;

    explicit guarded_points(const dense2D<double>& pos) noexcept : points(pos), count(pos.cols) {}

    void add(double weight, unsigned node, point<Dim>& sum) const noexcept {
        if (weight == 0 || node >= count) return;
        const point<Dim> p = points[node];
        for (std::size_t k = 0; k < Dim; ++k) sum[k] += weight * p[k];
    }
    template <std::size_t Nodes>
    point<Dim> sum(const double (&weights)[Nodes], const unsigned* nodes) const noexcept {
        point<Dim> p{};
        for (std::size_t i = 0; i < Nodes; ++i) add(weights[i], nodes[i], p);
        return p;
    }
};

/// On an edge from k0 to k1, where t runs from -1 to 1.
template <int Dim>
point<Dim> on_edge(const guarded_points<Dim>& pos, unsigned k0, unsigned k1, double t) noexcept {
    const unsigned ends[2] = {k0, k1};
    return pos.sum({(1 - t) / 2, (1 + t) / 2}, ends);
}

/// In a triangle with straight sides, where u, v and 1 - u - v are the weights of its corners.
template <int Dim>
point<Dim> in_T3(const guarded_points<Dim>& pos, const unsigned* nodes, double u,
                 double v) noexcept {
    return pos.sum({u, v, 1 - u - v}, nodes);
}

/// In a triangle with curved sides.
template <int Dim>
point<Dim> in_T6(const guarded_points<Dim>& pos, const unsigned* nodes, double u,
                 double v) noexcept {
    const double w = 1 - u - v;
    return pos.sum({(2 * u - 1) * u, (2 * v - 1) * v, (1 - 2 * u - 2 * v) * w, 4 * w * v, 4 * w * u,
                    4 * u * v},
                   nodes);
}

/// In a quadrilateral with straight sides; x and y run from -1 to 1, corner 0 is (-1, -1), corner 1
/// (1, -1).
template <int Dim>
point<Dim> in_Q4(const guarded_points<Dim>& pos, const unsigned* nodes, double x,
                 double y) noexcept {
    return pos.sum({(1 - x) * (1 - y) / 4, (1 + x) * (1 - y) / 4, (1 + x) * (1 + y) / 4,
                    (1 - x) * (1 + y) / 4},
                   nodes);
}

/// In a quadrilateral with curved sides: the eight serendipity functions.
template <int Dim>
point<Dim> in_Q8(const guarded_points<Dim>& pos, const unsigned* nodes, double x,
                 double y) noexcept {
    const double xx = (1 - x) * (1 + x);
    const double yy = (1 - y) * (1 + y);
    return pos.sum({(1 - x) * (1 - y) * (-x - y - 1) / 4, (1 + x) * (1 - y) * (x - y - 1) / 4,
                    (1 + x) * (1 + y) * (x + y - 1) / 4, (1 - x) * (1 + y) * (-x + y - 1) / 4,
                    xx * (1 - y) / 2, (1 + x) * yy / 2, xx * (1 + y) / 2, (1 - x) * yy / 2},
                   nodes);
}

} // namespace zel::tessel2d
