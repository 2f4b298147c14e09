// zel tessel2d: planar and surface mesh tools.
//
// The second fundamental form from first derivatives: the derivatives of Su . n and Sv . n, where n is
// held fast at the node, are averaged over the triangles around it by the divergence theorem.
#include "geometry/four_elements.h"
#include "geometry/four_triangles.h"
#include "geometry/kernels.h"
#include "geometry/node_normals.h"
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

struct derivatives {
    point<3> u;
    point<3> v;
};

derivatives derivatives_at(const double* column) noexcept {
    return {{column[0], column[1], column[2]}, {column[3], column[4], column[5]}};
}

point<3> sum(const point<3>& a, const point<3>& b) noexcept {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

/// Adds a triangle to the sums of its corner c, opposite the edge from a to b.
void add_corner(const point<2>& a, const point<2>& b, const point<2>& c, const derivatives& at_a,
                const derivatives& at_b, const point<3>& normal, star_sums& to) noexcept {
    const point<2> w1 = difference<2>(a, c);
    const point<2> w2 = difference<2>(b, c);
    const double dv = w1[1] - w2[1];
    const double du = w2[0] - w1[0];
    const double determinant = dv * w1[0] + du * w1[1];
    if (determinant == 0) return;
    const double m = std::abs(w1[0] * w2[1] - w2[0] * w1[1]);
    const double s = m / determinant; // the orientation, up to rounding
    const double f = dot<3>(sum(at_a.u, at_b.u), normal) * s;
    const double g = dot<3>(sum(at_a.v, at_b.v), normal) * s;
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
    columns<double> normals; // of the surface, of length 1; one behind the other
    star_sums* sums;

    void start_node(std::size_t i) const noexcept {
        const derivatives s = derivatives_at(slopes[i]);
        point<3> n = cross(s.u, s.v);
        make_unit<3>(n);
        std::copy(n.begin(), n.end(), normals[i]);
        sums[i] = {0, 0, 0, 0};
    }
    void add_triangle(std::size_t e) const noexcept {
        const unsigned* const n = cells[e];
        const point<2> p[3] = {points[n[0]], points[n[1]], points[n[2]]};
        const derivatives s[3] = {derivatives_at(slopes[n[0]]), derivatives_at(slopes[n[1]]),
                                  derivatives_at(slopes[n[2]])};
        add_corner(p[0], p[1], p[2], s[0], s[1], normal(n[2]), sums[n[2]]);
        add_corner(p[1], p[2], p[0], s[1], s[2], normal(n[0]), sums[n[0]]);
        add_corner(p[2], p[0], p[1], s[2], s[0], normal(n[1]), sums[n[1]]);
    }
    point<3> normal(std::size_t i) const noexcept {
        const double* const n = normals[i];
        return {n[0], n[1], n[2]};
    }
};

// Four triangles or nodes at a time where the processor has the registers for it. Each lane goes through
// the operations of `add_corner` and `start_node` in their order, and the sums are added triangle by
// triangle, so that the bits are the same with and without.
#if defined(__x86_64__) && defined(__GNUC__)

/// Two components of four nodes, from p[lane] on.
struct four_pairs {
    __m256d x, y;
};
[[gnu::target("avx2"), gnu::always_inline]] inline four_pairs
load_pairs(const double* const (&p)[4], std::size_t row) noexcept {
    const __m256d even = two_nodes(p[0] + row, p[2] + row);
    const __m256d odd = two_nodes(p[1] + row, p[3] + row);
    return {_mm256_unpacklo_pd(even, odd), _mm256_unpackhi_pd(even, odd)};
}

/// Four columns of derivatives, component by component.
struct four_derivatives {
    four_vectors<3> u, v;
};
[[gnu::target("avx2"), gnu::always_inline]] inline four_derivatives
load_derivatives(const double* const (&p)[4]) noexcept {
    const four_pairs a = load_pairs(p, 0);
    const four_pairs b = load_pairs(p, 2);
    const four_pairs c = load_pairs(p, 4);
    return {{{a.x, a.y, b.x}}, {{b.y, c.x, c.y}}};
}

/// (a + b) . n
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d
dot_of_sums(const four_vectors<3>& a, const four_vectors<3>& b, const four_vectors<3>& n) noexcept {
    return (a.x[0] + b.x[0]) * n.x[0] + (a.x[1] + b.x[1]) * n.x[1] + (a.x[2] + b.x[2]) * n.x[2];
}

/// Four triangles in the parameter plane, seen from their corners c, opposite the edges from a to b.
struct four_angles {
    __m256d dv, du;
    __m256d minus_m;
    __m256d s;
    __m256d keep; // all bits set, or none where a triangle adds nothing
};
[[gnu::target("avx2"), gnu::always_inline]] inline four_angles
angles_at(const four_pairs& a, const four_pairs& b, const four_pairs& c) noexcept {
    const __m256d w1x = a.x - c.x;
    const __m256d w1y = a.y - c.y;
    const __m256d w2x = b.x - c.x;
    const __m256d w2y = b.y - c.y;
    const __m256d dv = w1y - w2y;
    const __m256d du = w2x - w1x;
    const __m256d determinant = dv * w1x + du * w1y;
    const __m256d sign = _mm256_set1_pd(-0.0);
    const __m256d minus_m = _mm256_or_pd(w1x * w2y - w2x * w1y, sign);
    return {dv, du, minus_m, _mm256_xor_pd(minus_m, sign) / determinant,
            _mm256_cmp_pd(determinant, _mm256_setzero_pd(), _CMP_NEQ_UQ)};
}

/// What four triangles take from the sums of their corners c; n are the normals there.
struct four_differences {
    __m256d area, uu, uv, vv;
};
[[gnu::target("avx2"), gnu::always_inline]] inline four_differences
take_from_corners(const four_derivatives& a, const four_derivatives& b, const four_vectors<3>& n,
                  const four_angles& c) noexcept {
    const __m256d f = dot_of_sums(a.u, b.u, n) * c.s;
    const __m256d g = dot_of_sums(a.v, b.v, n) * c.s;
    return {_mm256_and_pd(c.minus_m, c.keep), _mm256_and_pd(f * c.dv, c.keep),
            _mm256_and_pd((g * c.dv + f * c.du) * _mm256_set1_pd(0.5), c.keep),
            _mm256_and_pd(g * c.du, c.keep)};
}

/// The same triangle by triangle: row `lane` is what triangle `lane` takes.
[[gnu::target("avx2"), gnu::always_inline]] inline void by_triangle(const four_differences& take,
                                                                    __m256d (&row)[4]) noexcept {
    const __m256d even = _mm256_unpacklo_pd(take.area, take.uu);
    const __m256d odd = _mm256_unpackhi_pd(take.area, take.uu);
    const __m256d even_rest = _mm256_unpacklo_pd(take.uv, take.vv);
    const __m256d odd_rest = _mm256_unpackhi_pd(take.uv, take.vv);
    const __m256d even_middle = _mm256_permute2f128_pd(even, even_rest, 0x21);
    const __m256d odd_middle = _mm256_permute2f128_pd(odd, odd_rest, 0x21);
    row[0] = _mm256_blend_pd(even, even_middle, 0xC);
    row[1] = _mm256_blend_pd(odd, odd_middle, 0xC);
    row[2] = _mm256_blend_pd(even_middle, even_rest, 0xC);
    row[3] = _mm256_blend_pd(odd_middle, odd_rest, 0xC);
}

/// The addresses of four columns. `Leading` is known at compile time where the columns lie one behind
/// the other; 0 stands for `ld`.
template <std::size_t Leading, class T>
void find_columns(const columns<T>& m, const unsigned (&n)[4], T* (&p)[4]) noexcept {
    for (std::size_t lane = 0; lane < 4; ++lane)
        p[lane] = m.first + n[lane] * (Leading == 0 ? m.ld : Leading);
}

/// Starts the nodes from 0 on, four by four; returns the first one that is left over.
[[gnu::target("avx2")]] std::size_t start_nodes_by_four(const chart& c,
                                                        std::size_t count) noexcept {
    std::size_t i = 0;
    for (; count - i >= 4; i += 4) {
        const double* const p[4] = {c.slopes[i], c.slopes[i + 1], c.slopes[i + 2], c.slopes[i + 3]};
        const four_derivatives s = load_derivatives(p);
        four_vectors<3> n{
            {minors<3>(s.u, s.v, 1, 2), minors<3>(s.u, s.v, 2, 0), minors<3>(s.u, s.v, 0, 1)}};
        const __m256d length = lengths(n);
        make_units(n, length);
        store(n, length, packed_columns{c.normals[i]});
        for (std::size_t lane = 0; lane < 4; ++lane)
            _mm256_store_pd(&c.sums[i + lane].area, _mm256_setzero_pd());
    }
    return i;
}

/// Adds triangles four by four; returns the first one that is left over. `Tight`: the columns of all
/// inputs lie one behind the other.
template <bool Tight>
[[gnu::target("avx2")]] std::size_t add_triangles_by_four(const chart& c, std::size_t e,
                                                          std::size_t last) noexcept {
    for (; last - e >= 4; e += 4) {
        unsigned n[3][4];
        for (std::size_t lane = 0; lane < 4; ++lane)
            for (std::size_t k = 0; k < 3; ++k)
                n[k][lane] = c.cells.first[(e + lane) * (Tight ? 3 : c.cells.ld) + k];
        four_pairs p[3];
        for (std::size_t k = 0; k < 3; ++k) {
            const double* at[4];
            find_columns<Tight ? 2 : 0>({c.points.first, c.points.ld}, n[k], at);
            p[k] = load_pairs(at, 0);
        }
        // The divisions first: there is much to do until their results are waited for.
        const four_angles angles[3] = {angles_at(p[1], p[2], p[0]), angles_at(p[2], p[0], p[1]),
                                       angles_at(p[0], p[1], p[2])};
        four_derivatives s[3];
        four_vectors<3> normal[3];
        for (std::size_t k = 0; k < 3; ++k) {
            const double* at[4];
            find_columns<Tight ? 6 : 0>(c.slopes, n[k], at);
            s[k] = load_derivatives(at);
            find_columns<3>({c.normals.first, c.normals.ld}, n[k], at);
            normal[k] = four_nodes(at[0], at[1], at[2], at[3]);
        }
        __m256d take[3][4]; // in the order of the corners 2, 0, 1
        by_triangle(take_from_corners(s[0], s[1], normal[2], angles[2]), take[0]);
        by_triangle(take_from_corners(s[1], s[2], normal[0], angles[0]), take[1]);
        by_triangle(take_from_corners(s[2], s[0], normal[1], angles[1]), take[2]);
        for (std::size_t lane = 0; lane < 4; ++lane) {
            for (std::size_t t = 0; t < 3; ++t) {
                double* const sums = &c.sums[n[(t + 2) % 3][lane]].area;
                _mm256_store_pd(sums, _mm256_load_pd(sums) - take[t][lane]);
            }
        }
    }
    return e;
}

#else

std::size_t start_nodes_by_four(const chart&, std::size_t) noexcept {
    return 0;
}
template <bool>
std::size_t add_triangles_by_four(const chart&, std::size_t e, std::size_t) noexcept {
    return e;
}

#endif

void start_nodes(const chart& c, std::size_t count) noexcept {
    std::size_t i = 0;
    if (has_four_lanes()) i = start_nodes_by_four(c, count);
    for (; i < count; ++i) c.start_node(i);
}

/// Adds some triangles.
void add_run(const chart& c, std::size_t e, std::size_t last) noexcept {
    if (has_four_lanes()) {
        const bool tight = c.points.ld == 2 && c.slopes.ld == 6 && c.cells.ld == 3;
        e = tight ? add_triangles_by_four<true>(c, e, last)
                  : add_triangles_by_four<false>(c, e, last);
    }
    for (; e < last; ++e) c.add_triangle(e);
}

/// Do most of some triangles have their first node far from that of the one before?
bool are_scattered(const columns<const unsigned>& cells, std::size_t e, std::size_t last) noexcept {
    constexpr std::size_t far = 1 << 14;
    std::size_t jumps = 0;
    for (std::size_t i = e + 1; i < last; ++i) {
        const std::size_t a = cells[i - 1][0];
        const std::size_t b = cells[i][0];
        jumps += (a < b ? b - a : a - b) > far;
    }
    return jumps > (last - e) / 2;
}

/// Brings what some triangles will ask for.
[[gnu::always_inline]] inline void prefetch_run(const chart& c, std::size_t e,
                                                std::size_t last) noexcept {
    for (; e < last; ++e) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t n = c.cells[e][k];
            prefetch(c.points.first + n * c.points.ld);
            prefetch(c.slopes[n]);
            prefetch(c.slopes[n] + 5);
            prefetch(c.normals[n]);
            prefetch(c.normals[n] + 2);
            prefetch(c.sums + n);
        }
    }
}

void add_triangles(const chart& c, std::size_t count) noexcept {
    constexpr std::size_t run = 512;
    constexpr std::size_t step = 8; // triangles whose numbers are on their way at a time
    for (std::size_t e = 0; e < count; e += run) {
        const std::size_t last = std::min(e + run, count);
        if (!are_scattered(c.cells, e, last)) {
            add_run(c, e, last);
            continue;
        }
        for (std::size_t i = e; i < last; i += step) {
            const std::size_t next = std::min(i + step, last);
            prefetch_run(c, next, std::min(next + step, last));
            add_run(c, i, next);
        }
    }
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
