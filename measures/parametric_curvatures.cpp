// zel tessel2d: planar and surface mesh tools.
//
// The second fundamental form from first derivatives: the derivatives of Su . n and Sv . n, where n is
// held fast at the node, are averaged over the triangles around it by the divergence theorem.
#include "foundation/node_normals.h"
#include "foundation/tessel.h"
#include "measures/four_triangles.h"
#include "measures/kernels.h"
#include "zel/tessel2d/curvatures.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

/// A node while the triangles around it are summed: one line of the cache.
struct alignas(64) node_sums {
    point<3> normal; // of the surface, of length 1
    double unused;
    double area; // doubled, in the parameter plane
    double uu, uv, vv;
};

struct derivatives {
    point<3> u;
    point<3> v;
};

derivatives derivatives_at(const double* column) noexcept {
    return {{column[0], column[1], column[2]}, {column[3], column[4], column[5]}};
}

void start_sums(const dense2D<double>& D, dense1D<node_sums, 8>& nodes) noexcept {
    const auto columns = columns_of(D);
    for (std::size_t i = 0; i < nodes.size; ++i) {
        const derivatives s = derivatives_at(columns[i]);
        nodes[i] = {cross(s.u, s.v), 0, 0, 0, 0, 0};
        make_unit<3>(nodes[i].normal);
    }
}

point<3> sum(const point<3>& a, const point<3>& b) noexcept {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

/// Adds a triangle to the sums of its corner c, opposite the edge from a to b.
void add_corner(const point<2>& a, const point<2>& b, const point<2>& c, const derivatives& at_a,
                const derivatives& at_b, node_sums& to) noexcept {
    const point<2> w1 = difference<2>(a, c);
    const point<2> w2 = difference<2>(b, c);
    const double dv = w1[1] - w2[1];
    const double du = w2[0] - w1[0];
    const double determinant = dv * w1[0] + du * w1[1];
    if (determinant == 0) return;
    const double m = std::abs(w1[0] * w2[1] - w2[0] * w1[1]);
    const double s = m / determinant; // the orientation, up to rounding
    const double f = dot<3>(sum(at_a.u, at_b.u), to.normal) * s;
    const double g = dot<3>(sum(at_a.v, at_b.v), to.normal) * s;
    to.area += m;
    to.uu -= f * dv;
    to.vv -= g * du;
    to.uv -= (g * dv + f * du) * 0.5;
}

/// The triangles with what is known at their nodes.
struct chart {
    points_view<2> points;
    columns<const double> slopes;
    columns<const unsigned> cells;
    node_sums* nodes;

    void add_triangle(std::size_t e) const noexcept {
        const unsigned* const n = cells[e];
        const point<2> p[3] = {points[n[0]], points[n[1]], points[n[2]]};
        const derivatives s[3] = {derivatives_at(slopes[n[0]]), derivatives_at(slopes[n[1]]),
                                  derivatives_at(slopes[n[2]])};
        add_corner(p[0], p[1], p[2], s[0], s[1], nodes[n[2]]);
        add_corner(p[1], p[2], p[0], s[1], s[2], nodes[n[0]]);
        add_corner(p[2], p[0], p[1], s[2], s[0], nodes[n[1]]);
    }
};

// Four triangles at a time where the processor has the registers for it. Each lane goes through the
// operations of `add_corner` in their order, and the sums are added triangle by triangle, so that the
// bits are the same with and without.
#if defined(__x86_64__) && defined(__GNUC__)

/// Rows become columns.
[[gnu::target("avx2"), gnu::always_inline]] inline void transpose(__m256d (&r)[4]) noexcept {
    const __m256d even01 = _mm256_unpacklo_pd(r[0], r[1]);
    const __m256d odd01 = _mm256_unpackhi_pd(r[0], r[1]);
    const __m256d even23 = _mm256_unpacklo_pd(r[2], r[3]);
    const __m256d odd23 = _mm256_unpackhi_pd(r[2], r[3]);
    r[0] = _mm256_permute2f128_pd(even01, even23, 0x20);
    r[1] = _mm256_permute2f128_pd(odd01, odd23, 0x20);
    r[2] = _mm256_permute2f128_pd(even01, even23, 0x31);
    r[3] = _mm256_permute2f128_pd(odd01, odd23, 0x31);
}

/// One corner of four triangles, component by component.
struct four_corners {
    __m256d x, y;
    __m256d su_and_sv0[4]; // Su and the first component of Sv
    __m256d sv1, sv2;
};

[[gnu::target("avx2"), gnu::always_inline]] inline void
load_pairs(const double* const (&p)[4], __m256d& first, __m256d& second) noexcept {
    const __m256d even = two_nodes(p[0], p[2]);
    const __m256d odd = two_nodes(p[1], p[3]);
    first = _mm256_unpacklo_pd(even, odd);
    second = _mm256_unpackhi_pd(even, odd);
}

[[gnu::target("avx2"), gnu::always_inline]] inline void
load_corners(const chart& c, const unsigned (&n)[4], four_corners& out) noexcept {
    const double* p[4];
    const double* rest[4];
    for (std::size_t lane = 0; lane < 4; ++lane) {
        const double* const column = c.slopes[n[lane]];
        p[lane] = c.points.first + n[lane] * c.points.ld;
        rest[lane] = column + 4;
        out.su_and_sv0[lane] = _mm256_loadu_pd(column);
    }
    transpose(out.su_and_sv0);
    load_pairs(rest, out.sv1, out.sv2);
    load_pairs(p, out.x, out.y);
}

/// What four triangles take from the sums of their corners c, opposite the edges from a to b.
[[gnu::target("avx2"), gnu::always_inline]] inline void
four_differences(const four_corners& a, const four_corners& b, const four_corners& c,
                 const node_sums* nodes, const unsigned (&n)[4], __m256d (&take)[4]) noexcept {
    __m256d normal[4];
    for (std::size_t lane = 0; lane < 4; ++lane)
        normal[lane] = _mm256_loadu_pd(nodes[n[lane]].normal.elements);
    transpose(normal);
    const __m256d w1x = a.x - c.x;
    const __m256d w1y = a.y - c.y;
    const __m256d w2x = b.x - c.x;
    const __m256d w2y = b.y - c.y;
    const __m256d dv = w1y - w2y;
    const __m256d du = w2x - w1x;
    const __m256d determinant = dv * w1x + du * w1y;
    const __m256d keep = _mm256_cmp_pd(determinant, _mm256_setzero_pd(), _CMP_NEQ_UQ);
    const __m256d sign = _mm256_set1_pd(-0.0);
    const __m256d minus_m = _mm256_or_pd(w1x * w2y - w2x * w1y, sign);
    const __m256d s = _mm256_xor_pd(minus_m, sign) / determinant;
    const __m256d* const ua = a.su_and_sv0;
    const __m256d* const ub = b.su_and_sv0;
    const __m256d f =
        ((ua[0] + ub[0]) * normal[0] + (ua[1] + ub[1]) * normal[1] + (ua[2] + ub[2]) * normal[2]) *
        s;
    const __m256d g =
        ((ua[3] + ub[3]) * normal[0] + (a.sv1 + b.sv1) * normal[1] + (a.sv2 + b.sv2) * normal[2]) *
        s;
    take[0] = _mm256_and_pd(minus_m, keep);
    take[1] = _mm256_and_pd(f * dv, keep);
    take[2] = _mm256_and_pd((g * dv + f * du) * _mm256_set1_pd(0.5), keep);
    take[3] = _mm256_and_pd(g * du, keep);
    transpose(take);
}

/// Adds the triangles from 0 on, four by four; returns the first one that is left over.
[[gnu::target("avx2")]] std::size_t add_triangles_by_four(const chart& c,
                                                          std::size_t count) noexcept {
    std::size_t e = 0;
    for (; count - e >= 4; e += 4) {
        unsigned n[3][4];
        for (std::size_t lane = 0; lane < 4; ++lane)
            for (std::size_t k = 0; k < 3; ++k) n[k][lane] = c.cells[e + lane][k];
        four_corners at[3];
        for (std::size_t k = 0; k < 3; ++k) load_corners(c, n[k], at[k]);
        __m256d take[3][4]; // in the order of the corners 2, 0, 1
        four_differences(at[0], at[1], at[2], c.nodes, n[2], take[0]);
        four_differences(at[1], at[2], at[0], c.nodes, n[0], take[1]);
        four_differences(at[2], at[0], at[1], c.nodes, n[1], take[2]);
        for (std::size_t lane = 0; lane < 4; ++lane) {
            for (std::size_t t = 0; t < 3; ++t) {
                double* const sums = &c.nodes[n[(t + 2) % 3][lane]].area;
                _mm256_storeu_pd(sums, _mm256_loadu_pd(sums) - take[t][lane]);
            }
        }
    }
    return e;
}

#else

std::size_t add_triangles_by_four(const chart&, std::size_t) noexcept {
    return 0;
}

#endif

void add_triangles(const chart& c, std::size_t count) noexcept {
    std::size_t e = has_four_lanes() ? add_triangles_by_four(c, count) : 0;
    for (; e < count; ++e) c.add_triangle(e);
}

void write_means(const dense1D<node_sums, 8>& nodes, dense2D<double>& H) noexcept {
    const auto out = columns_of(H);
    for (std::size_t i = 0; i < nodes.size; ++i) {
        const node_sums& node = nodes[i];
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
    dense1D<node_sums, 8> nodes;
    if (!nodes.resize(parameters.cols) || !H.resize(3, parameters.cols)) return status_memory;
    start_sums(slopes, nodes);
    add_triangles(
        {points_view<2>(parameters), columns_of(slopes), columns_of(connect), nodes.data()},
        connect.cols);
    write_means(nodes, H);
    return status_ok;
}

} // namespace zel::tessel2d
