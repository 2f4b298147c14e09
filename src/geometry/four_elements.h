// zel tessel2d: planar and surface mesh tools.
#pragma once

// The normals of elements in space, four at a time where the processor has the registers for it.
//
// Each of the four lanes goes through the very operations of `triangle_normal`, or of the product of the
// diagonals, and of `make_unit`, in their order, so that the bits are the same with and without.
#include "geometry/four_triangles.h"

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

/// The corners of a triangle, which has no gap. They are looked up when they are asked for: twelve
/// addresses at a time would not fit into registers.
struct triangle_corners {
    const unsigned* nodes;
    const points_view<3>& points;

    const double* operator()(std::size_t k) const noexcept {
        return points.first + nodes[k] * points.ld;
    }
};

/// What the normal of an element of any kind is made of: a x b or a x c with a = p0 - p1, b = p2 - p3 and
/// c = p2 - p4. Of a quadrilateral b and c are the same.
struct any_corners {
    const double* p[5];

    const double* operator()(std::size_t k) const noexcept { return p[k]; }
};

/// Columns of three, one right behind the other.
struct packed_columns {
    double* first;

    double* operator[](std::size_t j) const noexcept { return first + 3 * j; }
};

/// The sums at the nodes of the elements from `cells` on, to which each element adds its unit normal,
/// or, if `BySize`, this times its size.
template <class Shape, bool BySize>
struct node_sums {
    columns<const unsigned> cells;
    packed_columns sums;
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
    return four_nodes(c[0](k), c[1](k), c[2](k), c[3](k));
}

[[gnu::target("avx2"), gnu::always_inline]] inline four_vectors<3>
differences(const four_vectors<3>& a, const four_vectors<3>& b) noexcept {
    return {{_mm256_sub_pd(a.x[0], b.x[0]), _mm256_sub_pd(a.x[1], b.x[1]),
             _mm256_sub_pd(a.x[2], b.x[2])}};
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256d
lengths(const four_vectors<3>& v) noexcept {
    return _mm256_sqrt_pd(squared_lengths<3>(v));
}

/// Makes vectors of these lengths unit vectors. The factor of a vector of length zero is 1; that of one
/// of length 1 is so by itself.
[[gnu::target("avx2"), gnu::always_inline]] inline void make_units(four_vectors<3>& v,
                                                                   __m256d length) noexcept {
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d is_zero = _mm256_cmp_pd(length, _mm256_setzero_pd(), _CMP_EQ_OQ);
    const __m256d factor = _mm256_div_pd(one, _mm256_or_pd(length, _mm256_and_pd(is_zero, one)));
    for (auto& x : v.x) x = _mm256_mul_pd(x, factor);
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
    const __m256d longer = squared_lengths<3>(s.c);
    four_vectors<3> d;
    for (std::size_t i = 0; i < 3; ++i) d.x[i] = longer > shorter ? s.b.x[i] : s.c.x[i];
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
                                                              packed_columns out) noexcept {
    const __m256d xy = _mm256_unpacklo_pd(v.x[0], v.x[1]);
    const __m256d yz = _mm256_unpackhi_pd(v.x[1], v.x[2]);
    const __m256d zx = _mm256_shuffle_pd(v.x[2], v.x[0], 0b1010);
    _mm256_storeu_pd(out.first, _mm256_permute2f128_pd(xy, zx, 0x20));
    _mm256_storeu_pd(out.first + 4, _mm256_blend_pd(yz, xy, 0b1100));
    _mm256_storeu_pd(out.first + 8, _mm256_permute2f128_pd(zx, yz, 0x31));
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
inline packed_columns shifted(packed_columns out, std::size_t i) noexcept {
    return {out[i]};
}

/// Vectors on their way to unit vectors: `at_root` were found last, `at_division` the time before.
struct units_in_work {
    four_vectors<3> at_root;
    four_vectors<3> at_division;
    __m256d length;
};

/// Everything moves on; `next` come in, and those at the division are done.
[[gnu::target("avx2"), gnu::always_inline]] inline void
move_on(units_in_work& work, const four_vectors<3>& next) noexcept {
    work.length = lengths(work.at_root);
    work.at_division = work.at_root;
    work.at_root = next;
}

/// The normals of `count` elements from `first` on, four by four; `corners_of(e)` tells what element e is
/// made of. `out` is where they go: `sized_normal*`, columns or `node_sums`, of element `first` and those
/// behind it. Returns how many were found; the rest is left over.
///
/// While the corners of four elements are fetched, the roots of the four before them and the divisions of
/// the four before those are taken. All in one go would be waited for: a division that follows its root
/// stops the multiplications as well.
template <bool Unit, class CornersOf, class Out>
[[gnu::target("avx2")]] inline std::size_t
find_normals_by_four(const CornersOf corners_of, std::size_t first, std::size_t count,
                     const Out out) noexcept {
    using corners = decltype(corners_of(first));
    constexpr std::size_t behind = Unit ? 8 : 0;
    const std::size_t done = count / 4 * 4;
    const four_vectors<3> none{{_mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd()}};
    units_in_work work{none, none, _mm256_setzero_pd()};
    for (std::size_t i = 0; i < done; i += 4) {
        const corners c[4] = {corners_of(first + i), corners_of(first + i + 1),
                              corners_of(first + i + 2), corners_of(first + i + 3)};
        const four_vectors<3> n = four_normals(sides_of(c));
        if constexpr (Unit) {
            make_units(work.at_division, work.length);
            if (i >= behind) store(work.at_division, work.length, shifted(out, i - behind));
            move_on(work, n);
        } else {
            store(n, _mm256_setzero_pd(), shifted(out, i));
        }
    }
    for (std::size_t i = done; i < done + behind; i += 4) {
        make_units(work.at_division, work.length);
        if (i >= behind) store(work.at_division, work.length, shifted(out, i - behind));
        move_on(work, none);
    }
    return done;
}

/// Makes `count` vectors unit vectors, four by four. Returns how many were done; the rest is left over.
[[gnu::target("avx2")]] inline std::size_t make_units_by_four(packed_columns vectors,
                                                              std::size_t count) noexcept {
    std::size_t j = 0;
    for (; count - j >= 4; j += 4) {
        four_vectors<3> v = four_nodes(vectors[j], vectors[j + 1], vectors[j + 2], vectors[j + 3]);
        const __m256d length = lengths(v);
        make_units(v, length);
        store(v, length, shifted(vectors, j));
    }
    return j;
}

#else

template <bool Unit, class CornersOf, class Out>
inline std::size_t find_normals_by_four(const CornersOf&, std::size_t, std::size_t,
                                        const Out) noexcept {
    return 0;
}

inline std::size_t make_units_by_four(packed_columns, std::size_t) noexcept {
    return 0;
}

#endif

} // namespace zel::tessel2d
