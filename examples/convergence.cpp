// SPDX-License-Identifier: Apache-2.0
//
// How fast estimated curvatures approach those of the surface: a sphere, a cylinder, a torus and a
// saddle, each on four meshes. Prints the tables of docs/curvatures.md.
// Ends with status 1 if a finer mesh does not give smaller errors, or a case fails.
#include "zel/tessel2d.h"

#include "zel/host/adjacency.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

using vec = std::array<double, 3>;

vec cross(const vec& a, const vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double dot(const vec& a, const vec& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// A point of a surface with all derivatives up to the second order.
struct jet {
    vec s, su, sv, suu, suv, svv;
};

jet sphere(double u, double v) {
    const double a = std::sin(u), b = std::cos(u), c = std::sin(v), d = std::cos(v);
    return {{d * a, c, d * b},   {d * b, 0, -d * a}, {-c * a, d, -c * b},
            {-d * a, 0, -d * b}, {-c * b, 0, c * a}, {-d * a, -c, -d * b}};
}
jet cylinder(double u, double v) {
    const double a = std::sin(u), b = std::cos(u);
    return {{a, v, b}, {b, 0, -a}, {0, 1, 0}, {-a, 0, -b}, {0, 0, 0}, {0, 0, 0}};
}
jet torus(double u, double v) {
    const double a = std::sin(u), b = std::cos(u), c = std::sin(v), d = std::cos(v), r = 2 + d;
    return {{r * a, c, r * b},   {r * b, 0, -r * a}, {-c * a, d, -c * b},
            {-r * a, 0, -r * b}, {-c * b, 0, c * a}, {-d * a, -c, -d * b}};
}
jet saddle(double u, double v) {
    return {{u, v, (u * u - v * v) / 2}, {1, 0, u}, {0, 1, -v}, {0, 0, 1}, {0, 0, 0}, {0, 0, -1}};
}

/// L, M, N of the second fundamental form and the principal curvatures in ascending order.
struct exact_curvatures {
    vec form;
    double low, high;
};

exact_curvatures curvatures_at(const jet& j) {
    vec n = cross(j.su, j.sv);
    const double length = std::sqrt(dot(n, n));
    for (double& x : n) x /= length;
    const double E = dot(j.su, j.su), F = dot(j.su, j.sv), G = dot(j.sv, j.sv);
    const double L = dot(j.suu, n), M = dot(j.suv, n), N = dot(j.svv, n);
    const double area = E * G - F * F;
    const double mean = (E * N - 2 * F * M + G * L) / (2 * area);
    const double spread = std::sqrt(std::max(0.0, mean * mean - (L * N - M * M) / area));
    return {{L, M, N}, mean - spread, mean + spread};
}

struct surface {
    const char* name;
    jet (*at)(double u, double v);
};
constexpr surface surfaces[] = {
    {"sphere", sphere}, {"cylinder", cylinder}, {"torus", torus}, {"saddle", saddle}};

/// A mesh of n x n cells over [-1, 1] x [-1, 1] whose nodes are moved by up to a fifth of a cell.
struct sample {
    zel::dense2D<double> parameters, points, slopes;
    zel::dense2D<unsigned> connect;
    std::vector<std::size_t> inner; // nodes that are far from the border
};

sample mesh_of(const surface& s, unsigned n) {
    const std::size_t nodes = std::size_t{n + 1} * (n + 1);
    sample m{zel::dense2D<double>(2, nodes),
             zel::dense2D<double>(3, nodes),
             zel::dense2D<double>(6, nodes),
             zel::dense2D<unsigned>(3, std::size_t{2} * n * n),
             {}};
    std::uint32_t state = 1;
    const auto random = [&state] { // from -1 to 1
        state = state * 1664525U + 1013904223U;
        return static_cast<double>(state >> 8) / (1 << 23) - 1;
    };
    for (std::size_t i = 0; i < nodes; ++i) {
        const double u = -1 + 2.0 / n * (static_cast<double>(i % (n + 1)) + 0.2 * random());
        const double v = -1 + 2.0 / n * (static_cast<double>(i / (n + 1)) + 0.2 * random());
        const jet j = s.at(u, v);
        m.parameters(0, i) = u;
        m.parameters(1, i) = v;
        std::copy(j.s.begin(), j.s.end(), m.points[i]);
        std::copy(j.su.begin(), j.su.end(), m.slopes[i]);
        std::copy(j.sv.begin(), j.sv.end(), m.slopes[i] + 3);
        if (std::abs(u) < 0.4 && std::abs(v) < 0.4) m.inner.push_back(i);
    }
    for (unsigned c = 0; c < n * n; ++c) {
        const unsigned a = c / n * (n + 1) + c % n;
        const unsigned cut[2][6] = {{a, a + 1, a + n + 2, a, a + n + 2, a + n + 1},
                                    {a, a + 1, a + n + 1, a + 1, a + n + 2, a + n + 1}};
        std::copy_n(cut[random() < 0 ? 0 : 1], 6, m.connect[std::size_t{2} * c]);
    }
    return m;
}

/// Means over the inner nodes.
struct errors {
    double principal = 0; // |k - exact|, over the larger exact |k|
    double share = 0;     // sum of estimates over sum of exact values, in magnitude
    double form = 0;      // largest of the three coefficients
    bool good = true;
};

errors principal_errors(const surface& s, const sample& m, double radius, unsigned most) {
    zel::dense2D<double> k;
    errors result;
    zel::host::adjacency beside;
    result.good = zel::host::build_adjacency(m.connect, m.points.cols, beside) == 0;
    if (!result.good) return result;
    result.good = zel::tessel2d::principal_curvatures(m.points, m.connect, beside.neighbors, radius,
                                                      3.2, most, {}, k) == 0;
    if (!result.good) return result;
    double found = 0, expected = 0;
    for (const std::size_t i : m.inner) {
        const auto exact = curvatures_at(s.at(m.parameters(0, i), m.parameters(1, i)));
        const auto estimate = std::minmax(k(6, i), k(7, i));
        const double size = std::max(std::abs(exact.low), std::abs(exact.high));
        result.principal +=
            (std::abs(estimate.first - exact.low) + std::abs(estimate.second - exact.high)) /
            (2 * size);
        found += std::abs(estimate.first) + std::abs(estimate.second);
        expected += std::abs(exact.low) + std::abs(exact.high);
    }
    result.principal /= static_cast<double>(m.inner.size());
    result.share = found / expected;
    return result;
}

errors form_errors(const surface& s, const sample& m) {
    zel::dense2D<double> H;
    errors result;
    result.good = zel::tessel2d::parametric_curvatures(m.parameters, m.connect, m.slopes, H) == 0;
    if (!result.good) return result;
    for (const std::size_t i : m.inner) {
        const auto exact = curvatures_at(s.at(m.parameters(0, i), m.parameters(1, i)));
        double worst = 0;
        for (std::size_t k = 0; k < 3; ++k)
            worst = std::max(worst, std::abs(H(k, i) + exact.form[k])); // signs are opposite
        result.form += worst;
    }
    result.form /= static_cast<double>(m.inner.size());
    return result;
}

bool print_tables() {
    bool good = true;
    std::puts(
        "| surface | cells | error, growing patches | share | error, 30 triangles | share | error, "
        "second form |\n|---|---|---|---|---|---|---|");
    for (const surface& s : surfaces) {
        double before = 1, form_before = 1;
        for (const unsigned n : {20U, 40U, 80U, 160U}) {
            const sample m = mesh_of(s, n);
            const double h = 2.0 / n;
            const auto growing = principal_errors(s, m, 0.9 * std::sqrt(h), 1U << 30);
            const auto fixed = principal_errors(s, m, 100, 30);
            const auto form = form_errors(s, m);
            std::printf("| %s | %u x %u | %.4f | %.3f | %.4f | %.3f | %.6f |\n", s.name, n, n,
                        growing.principal, growing.share, fixed.principal, fixed.share, form.form);
            good = good && growing.good && fixed.good && form.good && growing.principal < before &&
                   form.form <= form_before + 1e-12;
            before = growing.principal;
            form_before = form.form;
        }
    }
    return good;
}

} // namespace

int main() {
    if (!print_tables()) {
        std::puts("a finer mesh does not give smaller errors");
        return 1;
    }
    return 0;
}
