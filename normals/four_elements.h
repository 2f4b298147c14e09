// zel tessel2d: planar and surface mesh tools.
#pragma once

// The normals of elements in space, four at a time where the processor has the registers for it.
//
// Each of the four lanes goes through the very operations of `triangle_normal`, or of the product of the
// diagonals, and of `make_unit`, in their order, so that the bits are the same with and without.
#include "measures/four_triangles.h"

namespace zel::tessel2d {

/// Elements that are worked on in one go: their normals are found before any is used, so that the
/// processor can fetch the corners of many at a time.
constexpr std::size_t normal_run = 64;

/// A unit normal and the size of its element, or a normal as long as that and nothing.
struct sized_normal {
    double n[4];

    point<3> vector() const noexcept { return {n[0], n[1], n[2]}; }
    double size() const noexcept { return n[3]; }
};

/// The corners of a triangle.
struct triangle_corners {
    const double* p[3];
};

/// What the normal of an element of any kind is made of: a x b or a x c with a = p0 - p1, b = p2 - p3 and
/// c = p2 - p4. Of a quadrilateral b and c are the same.
struct any_corners {
    const double* p[5];
};

/// The sums at the nodes of the elements from `cells` on, to which each element adds its unit normal,
/// or, if `BySize`, this times its size.
template <class Shape, bool BySize>
struct node_sums {
    columns<const unsigned> cells;
    columns<double> sums;
};

#if defined(__x86_64__) && defined(__GNUC__)

/// Four nodes, component by component.
[[gnu::target("avx2"), gnu::always_inline]] inline four_vectors<3>
four_nodes(const double* p, const double* q, const double* r, const double* s) noexcept {
    const __m256d even = two_nodes(p, r);
    const __m256d odd = two_nodes(q, s);
    const __m128d low = _mm_loadh_pd(_mm_load_sd(p + 2), q + 2);
    const __m128d high = _mm_loadh_pd(_mm_load_sd(r + 2), s + 2);
    return {{_mm256_unpacklo_pd(even, odd), _mm256_unpackhi_pd(even, odd),
             _mm256_insertf128_pd(_mm256_castpd128_pd256(low), high, 1)}};
}
template <class Corners>
[[gnu::target("avx2"), gnu::always_inline]] inline four_vectors<3>
four_nodes(const Corners (&c)[4], std::size_t k) noexcept {
    return four_nodes(c[0].p[k], c[1].p[k], c[2].p[k], c[3].p[k]);
}

[[gnu::target("avx2"), gnu::always_inline]] inline four_vectors<3>
differences(const four_vectors<3>& a, const four_vectors<3>& b) noexcept {
    return {{_mm256_sub_pd(a.x[0], b.x[0]), _mm256_sub_pd(a.x[1], b.x[1]),
             _mm256_sub_pd(a.x[2], b.x[2])}};
}

/// Makes the vectors unit vectors and returns their lengths.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d make_units(four_vectors<3>& v) noexcept {
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d q = squared_lengths<3>(v);
    const __m256d length = _mm256_sqrt_pd(q);
    const __m256d factor = _mm256_div_pd(one, length);
    const __m256d stays = _mm256_or_pd(_mm256_cmp_pd(q, _mm256_setzero_pd(), _CMP_EQ_OQ),
                                       _mm256_cmp_pd(q, one, _CMP_EQ_OQ));
    for (auto& x : v.x) x = _mm256_blendv_pd(_mm256_mul_pd(x, factor), x, stays);
    return _mm256_blendv_pd(length, q, stays);
}

/// The sides a, b and c that normals are made of.
struct normal_sides {
    four_vectors<3> a, b, c;
};
[[gnu::target("avx2"), gnu::always_inline]] inline normal_sides
sides_of(const triangle_corners (&corners)[4]) noexcept {
    const four_vectors<3> p0 = four_nodes(corners, 0);
    const four_vectors<3> p1 = four_nodes(corners, 1);
    const four_vectors<3> p2 = four_nodes(corners, 2);
    return {differences(p0, p2), differences(p1, p2), differences(p1, p0)};
}
[[gnu::target("avx2"), gnu::always_inline]] inline normal_sides
sides_of(const any_corners (&corners)[4]) noexcept {
    const four_vectors<3> a = differences(four_nodes(corners, 0), four_nodes(corners, 1));
    const four_vectors<3> p2 = four_nodes(corners, 2);
    return {a, differences(p2, four_nodes(corners, 3)), differences(p2, four_nodes(corners, 4))};
}

[[gnu::target("avx2"), gnu::always_inline]] inline four_vectors<3>
four_normals(const normal_sides& s) noexcept {
    const __m256d shorter = _mm256_min_pd(squared_lengths<3>(s.b), squared_lengths<3>(s.a));
    const __m256d mask = _mm256_cmp_pd(squared_lengths<3>(s.c), shorter, _CMP_GT_OQ);
    four_vectors<3> d;
    for (std::size_t i = 0; i < 3; ++i) d.x[i] = _mm256_blendv_pd(s.c.x[i], s.b.x[i], mask);
    return {{minors<3>(s.a, d, 1, 2), minors<3>(s.a, d, 2, 0), minors<3>(s.a, d, 0, 1)}};
}

/// Writes four vectors with their sizes, one behind the other.
[[gnu::target("avx2"), gnu::always_inline]] inline void
store(const four_vectors<3>& v, __m256d size, sized_normal* out) noexcept {
    const __m256d xy_even = _mm256_unpacklo_pd(v.x[0], v.x[1]);
    const __m256d xy_odd = _mm256_unpackhi_pd(v.x[0], v.x[1]);
    const __m256d zs_even = _mm256_unpacklo_pd(v.x[2], size);
    const __m256d zs_odd = _mm256_unpackhi_pd(v.x[2], size);
    _mm256_storeu_pd(out[0].n, _mm256_permute2f128_pd(xy_even, zs_even, 0x20));
    _mm256_storeu_pd(out[1].n, _mm256_permute2f128_pd(xy_odd, zs_odd, 0x20));
    _mm256_storeu_pd(out[2].n, _mm256_permute2f128_pd(xy_even, zs_even, 0x31));
    _mm256_storeu_pd(out[3].n, _mm256_permute2f128_pd(xy_odd, zs_odd, 0x31));
}

/// Writes four vectors into columns; their sizes are dropped.
[[gnu::target("avx2"), gnu::always_inline]] inline void store(const four_vectors<3>& v, __m256d,
                                                              columns<double> out) noexcept {
    const __m256d even = _mm256_unpacklo_pd(v.x[0], v.x[1]);
    const __m256d odd = _mm256_unpackhi_pd(v.x[0], v.x[1]);
    const __m128d low = _mm256_castpd256_pd128(v.x[2]);
    const __m128d high = _mm256_extractf128_pd(v.x[2], 1);
    _mm_storeu_pd(out[0], _mm256_castpd256_pd128(even));
    _mm_storel_pd(out[0] + 2, low);
    _mm_storeu_pd(out[1], _mm256_castpd256_pd128(odd));
    _mm_storeh_pd(out[1] + 2, low);
    _mm_storeu_pd(out[2], _mm256_extractf128_pd(even, 1));
    _mm_storel_pd(out[2] + 2, high);
    _mm_storeu_pd(out[3], _mm256_extractf128_pd(odd, 1));
    _mm_storeh_pd(out[3] + 2, high);
}

/// Adds four vectors to the sums at the nodes of their elements.
template <class Shape, bool BySize>
[[gnu::target("avx2"), gnu::always_inline]] inline void
store(four_vectors<3> v, __m256d size, const node_sums<Shape, BySize>& out) noexcept {
    if constexpr (BySize)
        for (auto& x : v.x) x = _mm256_mul_pd(x, size);
    const __m256d even = _mm256_unpacklo_pd(v.x[0], v.x[1]);
    const __m256d odd = _mm256_unpackhi_pd(v.x[0], v.x[1]);
    const __m128d low = _mm256_castpd256_pd128(v.x[2]);
    const __m128d high = _mm256_extractf128_pd(v.x[2], 1);
    const __m128d xy[4] = {_mm256_castpd256_pd128(even), _mm256_castpd256_pd128(odd),
                           _mm256_extractf128_pd(even, 1), _mm256_extractf128_pd(odd, 1)};
    const __m128d z[4] = {low, _mm_unpackhi_pd(low, low), high, _mm_unpackhi_pd(high, high)};
    for (std::size_t lane = 0; lane < 4; ++lane) {
        const unsigned* const nodes = out.cells[lane];
        const unsigned corners = Shape::corners(nodes);
        for (unsigned k = 0; k < corners; ++k) {
            double* const sum = out.sums[nodes[k]];
            _mm_storeu_pd(sum, _mm_add_pd(_mm_loadu_pd(sum), xy[lane]));
            _mm_store_sd(sum + 2, _mm_add_sd(_mm_load_sd(sum + 2), z[lane]));
        }
    }
}

inline sized_normal* shifted(sized_normal* out, std::size_t i) noexcept {
    return out + i;
}
template <class Shape, bool BySize>
inline node_sums<Shape, BySize> shifted(const node_sums<Shape, BySize>& out,
                                        std::size_t i) noexcept {
    return {{out.cells[i], out.cells.ld}, out.sums};
}
inline columns<double> shifted(const columns<double>& out, std::size_t i) noexcept {
    return {out[i], out.ld};
}

/// The normals of `count` elements, at most `normal_run`, from `first` on, four by four; `corners_of(e)`
/// tells what element e is made of. `out` is where they go: `sized_normal*`, columns or `node_sums`, of
/// element `first` and those behind it. Returns how many were found; the rest is left over.
///
/// Roots and divisions come in a loop of their own: behind the fetching of corners they would be waited
/// for one after the other.
template <bool Unit, class CornersOf, class Out>
[[gnu::target("avx2")]] inline std::size_t
find_normals_by_four(const CornersOf corners_of, std::size_t first, std::size_t count,
                     const Out& out) noexcept {
    using corners = decltype(corners_of(first));
    const std::size_t done = count / 4 * 4;
    double v[3][normal_run];
    for (std::size_t i = 0; i < done; i += 4) {
        const corners c[4] = {corners_of(first + i), corners_of(first + i + 1),
                              corners_of(first + i + 2), corners_of(first + i + 3)};
        const four_vectors<3> n = four_normals(sides_of(c));
        for (std::size_t k = 0; k < 3; ++k) _mm256_storeu_pd(v[k] + i, n.x[k]);
    }
    for (std::size_t i = 0; i < done; i += 4) {
        four_vectors<3> n;
        for (std::size_t k = 0; k < 3; ++k) n.x[k] = _mm256_loadu_pd(v[k] + i);
        __m256d size = _mm256_setzero_pd();
        if constexpr (Unit) size = make_units(n);
        store(n, size, shifted(out, i));
    }
    return done;
}

/// Makes `count` vectors unit vectors, four by four. Returns how many were done; the rest is left over.
[[gnu::target("avx2")]] inline std::size_t make_units_by_four(columns<double> vectors,
                                                              std::size_t count) noexcept {
    std::size_t j = 0;
    for (; count - j >= 4; j += 4) {
        four_vectors<3> v = four_nodes(vectors[j], vectors[j + 1], vectors[j + 2], vectors[j + 3]);
        const __m256d size = make_units(v);
        store(v, size, shifted(vectors, j));
    }
    return j;
}

#else

template <bool Unit, class CornersOf, class Out>
inline std::size_t find_normals_by_four(const CornersOf&, std::size_t, std::size_t,
                                        const Out&) noexcept {
    return 0;
}

inline std::size_t make_units_by_four(columns<double>, std::size_t) noexcept {
    return 0;
}

#endif

} // namespace zel::tessel2d
