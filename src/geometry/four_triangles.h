// zel tessel2d: planar and surface mesh tools.
#pragma once

// The doubled areas of triangles, four at a time where the processor has the registers for it.
//
// Each of the four lanes goes through the very operations of `triangle_double_area`, in their order,
// so that the bits are the same with and without. What is won: the four choices of the sides become
// masks, where one triangle at a time means a jump that real meshes make unpredictable, and the
// arithmetic no longer costs more than fetching the corners.
#include "geometry/four_lanes.h"
#include "geometry/kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace zel::tessel2d {

#if defined(__x86_64__) && defined(__GNUC__)

/// A vector for each of four triangles, component by component.
template <int Dim>
struct four_vectors {
    __m256d x[static_cast<std::size_t>(Dim)];
};

/// The first two coordinates of two nodes.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d two_nodes(const double* p,
                                                                     const double* q) noexcept {
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p)), _mm_loadu_pd(q), 1);
}

/// The sides from four nodes to four others.
template <int Dim>
[[gnu::target("avx2"), gnu::always_inline]] inline four_vectors<Dim>
four_sides(const double* const (&to)[4], const double* const (&from)[4]) noexcept {
    const __m256d even = _mm256_sub_pd(two_nodes(to[0], to[2]), two_nodes(from[0], from[2]));
    const __m256d odd = _mm256_sub_pd(two_nodes(to[1], to[3]), two_nodes(from[1], from[3]));
    four_vectors<Dim> side;
    side.x[0] = _mm256_unpacklo_pd(even, odd);
    side.x[1] = _mm256_unpackhi_pd(even, odd);
    if constexpr (Dim == 3) {
        side.x[2] = _mm256_sub_pd(_mm256_setr_pd(to[0][2], to[1][2], to[2][2], to[3][2]),
                                  _mm256_setr_pd(from[0][2], from[1][2], from[2][2], from[3][2]));
    }
    return side;
}

template <int Dim>
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d
squared_lengths(const four_vectors<Dim>& a) noexcept {
    __m256d sum = _mm256_mul_pd(a.x[0], a.x[0]);
    for (std::size_t i = 1; i < Dim; ++i) sum = _mm256_add_pd(sum, _mm256_mul_pd(a.x[i], a.x[i]));
    return sum;
}

/// a[i] b[j] - a[j] b[i]
template <int Dim>
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d
minors(const four_vectors<Dim>& a, const four_vectors<Dim>& b, std::size_t i,
       std::size_t j) noexcept {
    return _mm256_sub_pd(_mm256_mul_pd(a.x[i], b.x[j]), _mm256_mul_pd(a.x[j], b.x[i]));
}

template <int Dim>
[[gnu::target("avx2"), gnu::always_inline]] inline __m256d
cross_sizes(const four_vectors<Dim>& a, const four_vectors<Dim>& b) noexcept {
    if constexpr (Dim == 2) {
        return minors<2>(a, b, 0, 1);
    } else {
        const four_vectors<3> n{
            {minors<3>(a, b, 1, 2), minors<3>(a, b, 2, 0), minors<3>(a, b, 0, 1)}};
        return _mm256_sqrt_pd(squared_lengths<3>(n));
    }
}

/// Adds the doubled areas of the columns from `first` on, four by four, to `sum`, one after the other.
/// Returns the first column that is left over.
template <int Dim>
[[gnu::target("avx2")]] inline std::size_t
add_triangles_by_four(const columns<const unsigned>& cells, std::size_t first, std::size_t last,
                      const points_view<Dim>& pos, double& sum) noexcept {
    double total = sum;
    for (; last - first >= 4; first += 4) {
        const double* p[3][4];
        for (std::size_t lane = 0; lane < 4; ++lane) {
            const unsigned* const n = cells[first + lane];
            for (std::size_t k = 0; k < 3; ++k) p[k][lane] = pos.first + n[k] * pos.ld;
        }
        const four_vectors<Dim> a = four_sides<Dim>(p[0], p[2]);
        const four_vectors<Dim> b = four_sides<Dim>(p[1], p[2]);
        four_vectors<Dim> c;
        for (std::size_t i = 0; i < Dim; ++i) c.x[i] = _mm256_sub_pd(b.x[i], a.x[i]);
        const __m256d shorter = _mm256_min_pd(squared_lengths<Dim>(b), squared_lengths<Dim>(a));
        const __m256d from_c = _mm256_cmp_pd(squared_lengths<Dim>(c), shorter, _CMP_LT_OQ);
        // The second factor is b - a where the mask is set, and b - 0 elsewhere.
        for (std::size_t i = 0; i < Dim; ++i)
            c.x[i] = _mm256_sub_pd(b.x[i], _mm256_and_pd(from_c, a.x[i]));
        double sizes[4];
        _mm256_storeu_pd(sizes, cross_sizes<Dim>(a, c));
        for (const double size : sizes) total += size;
    }
    sum = total;
    return first;
}

#else

template <int Dim>
inline std::size_t add_triangles_by_four(const columns<const unsigned>&, std::size_t first,
                                         std::size_t, const points_view<Dim>&, double&) noexcept {
    return first;
}

#endif

} // namespace zel::tessel2d
