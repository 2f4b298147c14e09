// SPDX-License-Identifier: Apache-2.0
#pragma once

// Principal curvatures the long way: everything is computed anew for every patch. The operations are
// those of the library in their order, so that results are the same to the bit.
#include "zel/dense.h"
#include "zel/lapack.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

namespace zel_test {

class long_way {
public:
    using vec = std::array<double, 3>;

    const zel::dense2D<double>& pos;
    const zel::dense2D<unsigned>& connect;
    const zel::dense2D<unsigned>& neighbors;
    double radius;
    double max_angle;
    unsigned max_elements;
    std::set<std::pair<unsigned, unsigned>> hard{};

    static vec cross(const vec& a, const vec& b) {
        return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    }
    static double dot(const vec& a, const vec& b) {
        return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    }
    static vec minus(const vec& a, const vec& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
    static double unit(vec& v) {
        const double q = dot(v, v);
        if (q == 0 || q == 1) return q;
        const double factor = 1 / std::sqrt(q);
        for (double& x : v) x *= factor;
        return std::sqrt(q);
    }

    vec node(unsigned n) const { return {pos(0, n), pos(1, n), pos(2, n)}; }
    vec corner(unsigned e, unsigned k) const { return node(connect(k % 3, e)); }
    vec normal(unsigned e) const {
        const vec a = minus(corner(e, 0), corner(e, 2)), b = minus(corner(e, 1), corner(e, 2)),
                  c = minus(corner(e, 1), corner(e, 0));
        return dot(c, c) > std::min(dot(a, a), dot(b, b)) ? cross(a, b) : cross(a, c);
    }

    std::vector<unsigned> gather(const vec& center, unsigned seed) const {
        std::vector<unsigned> patch{seed};
        std::set<unsigned> seen{seed};
        const double r2 = radius * radius, c = std::cos(max_angle);
        for (std::size_t i = 0; i < patch.size() && patch.size() < max_elements && r2 > 0; ++i) {
            const unsigned cur = patch[i];
            std::vector<unsigned> batch;
            for (unsigned j = 0; j < 3; ++j) {
                const unsigned nb = neighbors(j, cur);
                if (nb >= connect.cols || !seen.insert(nb).second) continue;
                vec g;
                for (unsigned k = 0; k < 3; ++k)
                    g[k] = (corner(nb, 0)[k] + corner(nb, 1)[k] + corner(nb, 2)[k]) * (1.0 / 3);
                const vec d = minus(g, center);
                if (dot(d, d) > r2) continue;
                const auto ends = std::minmax(connect((j + 1) % 3, cur), connect((j + 2) % 3, cur));
                if (hard.count({ends.first, ends.second}) != 0) continue;
                if (c > -1) {
                    const vec m = normal(cur), m2 = normal(nb);
                    const double s = dot(m, m2) * std::abs(dot(m, m2));
                    if (!(s > c * std::abs(c) * dot(m, m) * dot(m2, m2))) continue;
                }
                batch.push_back(nb);
            }
            std::sort(batch.begin(), batch.end());
            patch.insert(patch.end(), batch.begin(), batch.end());
        }
        return patch;
    }

    std::array<double, 8> measure(unsigned n, unsigned seed) const {
        const auto patch = gather(node(n), seed);
        const std::set<unsigned> inside(patch.begin(), patch.end());
        double area = 0, T[3][3] = {};
        for (const unsigned e : patch) {
            const vec n1 = normal(e);
            area += std::sqrt(dot(n1, n1));
            for (unsigned j = 0; j < 3; ++j) {
                const unsigned nb = neighbors(j, e);
                if (nb > e || inside.count(nb) == 0) continue;
                vec E = minus(corner(e, j + 2), corner(e, j + 1));
                const double length = unit(E);
                vec side = cross(E, n1);
                for (double& x : side) x = -x;
                const vec n2 = normal(nb);
                const double t = std::atan2(dot(side, n2), dot(n1, n2)) * length;
                if (t == 0) continue;
                for (unsigned i = 0; i < 3; ++i)
                    for (unsigned k = 0; k <= i; ++k) T[i][k] += t * E[i] * E[k];
            }
        }
        if (area == 0) return {};
        double packed[6] = {T[0][0], T[1][0], T[1][1], T[2][0], T[2][1], T[2][2]};
        double w[3], z[9], work[9];
        long info = 0;
        zel::lapack::dspev('V', 'U', 3, packed, w, z, 3, work, info);
        if (info != 0) return {};
        std::array<vec, 3> Z{vec{z[0], z[1], z[2]}, vec{z[3], z[4], z[5]}, {}};
        Z[2] = cross(Z[0], Z[1]);
        if (2 / area != 1)
            for (double& x : w) x *= 2 / area;
        std::array<unsigned, 3> by_size{0, 1,
                                        2}; // of equal ones the first is the largest and the least
        unsigned largest = 0, least = 0;
        for (unsigned i = 1; i < 3; ++i) {
            if (std::abs(w[i]) > std::abs(w[largest])) largest = i;
            if (std::abs(w[i]) < std::abs(w[least])) least = i;
        }
        unsigned middle = (largest + 1) % 3;
        for (const unsigned i : by_size)
            if (largest != least && i != largest && i != least) middle = i;
        vec u1 = Z[largest], u2 = Z[middle];
        if (!(std::abs(w[middle]) > std::abs(w[largest]) * 0.001)) {
            vec nrm = normal(seed);
            const double a = std::sqrt(dot(nrm, nrm));
            for (double& x : nrm) x = a != 0 ? a * x : 0;
            u2 = across(u1, nrm);
        }
        return {u1[0], u1[1], u1[2], u2[0], u2[1], u2[2], w[largest], w[middle]};
    }

    /// Makes u a unit vector, and returns one at right angles to u and, if they are not parallel, to n.
    static vec across(vec& u, const vec& n) {
        const double q = dot(u, u);
        if (q == 0) u[0] = 1;
        if (q != 0 && q != 1)
            for (double& x : u) x /= std::sqrt(q);
        vec w = cross(u, n);
        if (w[0] == 0 && w[1] == 0 && w[2] == 0) {
            vec axis{};
            const auto smaller = [](double a, double b) { return std::abs(a) < std::abs(b); };
            axis[static_cast<std::size_t>(std::min_element(u.begin(), u.end(), smaller) -
                                          u.begin())] = 1;
            w = cross(u, axis);
        }
        unit(w);
        return w;
    }

    zel::dense2D<double> all() const {
        zel::dense2D<double> result(8, pos.cols, 0.0);
        std::vector<bool> done(pos.cols);
        for (unsigned e = 0; e < connect.cols; ++e)
            for (unsigned i = 0; i < 3; ++i) {
                const unsigned n = connect(i, e);
                if (done[n]) continue;
                done[n] = true;
                const auto column = measure(n, e);
                std::copy(column.begin(), column.end(), result[n]);
            }
        return result;
    }
};

} // namespace zel_test
