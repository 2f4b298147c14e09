// zel tessel2d: planar and surface mesh tools.
#pragma once

// The normals of elements in space, four at a time where the processor has the registers for it.
//
// Each of the four lanes goes through the very operations of `triangle_normal`, or of the product of the
// diagonals, and of `make_unit`, in their order, so that the bits are the same with and without.
#include "measures/four_triangles.h"

namespace zel::tessel2d {

/// What an element's normal is made of: a x b or a x c with a = p0 - p1, b = p2 - p3 and c = p2 - p4, for
/// a triangle by the rule of `triangle_normal`; for a quadrilateral b and c are the same.
struct normal_corners {
    const double* p[5];
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
[[gnu::target("avx2"), gnu::always_inline]] inline four_vectors<3>
four_nodes(const normal_corners (&c)[4], std::size_t k) noexcept {
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

/// The normals of four elements, as unit vectors if `Unit`, and then their sizes; the components are
/// `stride` apart.
template <bool Unit>
[[gnu::target("avx2"), gnu::always_inline]] inline void
find_four_normals(const normal_corners (&c)[4], double* v, std::size_t stride,
                  double* size) noexcept {
    const four_vectors<3> p2 = four_nodes(c, 2);
    const four_vectors<3> a = differences(four_nodes(c, 0), four_nodes(c, 1));
    const four_vectors<3> from_3 = differences(p2, four_nodes(c, 3));
    const four_vectors<3> from_4 = differences(p2, four_nodes(c, 4));
    const __m256d shorter = _mm256_min_pd(squared_lengths<3>(from_3), squared_lengths<3>(a));
    const __m256d mask = _mm256_cmp_pd(squared_lengths<3>(from_4), shorter, _CMP_GT_OQ);
    four_vectors<3> b;
    for (std::size_t i = 0; i < 3; ++i) b.x[i] = _mm256_blendv_pd(from_4.x[i], from_3.x[i], mask);
    four_vectors<3> n{{minors<3>(a, b, 1, 2), minors<3>(a, b, 2, 0), minors<3>(a, b, 0, 1)}};
    if constexpr (Unit) _mm256_storeu_pd(size, make_units(n));
    for (std::size_t i = 0; i < 3; ++i) _mm256_storeu_pd(v + i * stride, n.x[i]);
}

/// The normals of the elements first ... first + count - 1, four by four; `corners_of(e)` tells what
/// element e is made of. Returns how many were found; the rest is left over.
template <bool Unit, class CornersOf>
[[gnu::target("avx2")]] inline std::size_t
find_normals_by_four(const CornersOf& corners_of, std::size_t first, std::size_t count, double* v,
                     std::size_t stride, double* size) noexcept {
    std::size_t i = 0;
    for (; count - i >= 4; i += 4) {
        const normal_corners c[4] = {corners_of(first + i), corners_of(first + i + 1),
                                     corners_of(first + i + 2), corners_of(first + i + 3)};
        find_four_normals<Unit>(c, v + i, stride, size + i);
    }
    return i;
}

/// Makes `count` vectors unit vectors, four by four. Returns how many were done; the rest is left over.
[[gnu::target("avx2")]] inline std::size_t make_units_by_four(columns<double> vectors,
                                                              std::size_t count) noexcept {
    std::size_t j = 0;
    for (; count - j >= 4; j += 4) {
        double* const p[4] = {vectors[j], vectors[j + 1], vectors[j + 2], vectors[j + 3]};
        four_vectors<3> v = four_nodes(p[0], p[1], p[2], p[3]);
        make_units(v);
        const __m256d even = _mm256_unpacklo_pd(v.x[0], v.x[1]);
        const __m256d odd = _mm256_unpackhi_pd(v.x[0], v.x[1]);
        const __m128d low = _mm256_castpd256_pd128(v.x[2]);
        const __m128d high = _mm256_extractf128_pd(v.x[2], 1);
        _mm_storeu_pd(p[0], _mm256_castpd256_pd128(even));
        _mm_storeu_pd(p[1], _mm256_castpd256_pd128(odd));
        _mm_storeu_pd(p[2], _mm256_extractf128_pd(even, 1));
        _mm_storeu_pd(p[3], _mm256_extractf128_pd(odd, 1));
        _mm_storel_pd(p[0] + 2, low);
        _mm_storeh_pd(p[1] + 2, low);
        _mm_storel_pd(p[2] + 2, high);
        _mm_storeh_pd(p[3] + 2, high);
    }
    return j;
}

#else

template <bool Unit, class CornersOf>
inline std::size_t find_normals_by_four(const CornersOf&, std::size_t, std::size_t, double*,
                                        std::size_t, double*) noexcept {
    return 0;
}

inline std::size_t make_units_by_four(columns<double>, std::size_t) noexcept {
    return 0;
}

#endif

} // namespace zel::tessel2d
