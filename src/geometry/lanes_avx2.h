// SPDX-License-Identifier: Apache-2.0
// The four doubles of lanes.h for processors with AVX2.
#pragma once

// Included by lanes.h alone.
#include <cstdint>
#include <immintrin.h>

/// Compiles a function for the processors that have four lanes.
#define ZEL_FOUR_LANES [[gnu::target("avx2")]]
/// The same for one that only such functions call.
#define ZEL_FOUR_LANES_INLINED [[gnu::target("avx2"), gnu::always_inline]] inline

namespace zel::tessel2d {

// gcc chooses how it copies a record where the record is defined: under this target in one register.
#if !defined(__clang__)
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

/// True or false for each lane.
struct lane_mask {
    __m256i bits; // all set or none

    ZEL_FOUR_LANES friend lane_mask operator!(const lane_mask& a) noexcept { return {~a.bits}; }
};

struct lanes {
    __m256d x;

    lanes() = default;
    ZEL_FOUR_LANES explicit lanes(__m256d numbers) noexcept : x(numbers) {}
    /// The same number in all lanes.
    ZEL_FOUR_LANES lanes(double number) noexcept : x(_mm256_set1_pd(number)) {}

    ZEL_FOUR_LANES friend lanes operator-(const lanes& a) noexcept {
        return lanes(_mm256_xor_pd(a.x, _mm256_set1_pd(-0.0)));
    }
    ZEL_FOUR_LANES friend lanes operator+(const lanes& a, const lanes& b) noexcept {
        return lanes(_mm256_add_pd(a.x, b.x));
    }
    ZEL_FOUR_LANES friend lanes operator-(const lanes& a, const lanes& b) noexcept {
        return lanes(_mm256_sub_pd(a.x, b.x));
    }
    ZEL_FOUR_LANES friend lanes operator*(const lanes& a, const lanes& b) noexcept {
        return lanes(_mm256_mul_pd(a.x, b.x));
    }
    ZEL_FOUR_LANES friend lanes operator/(const lanes& a, const lanes& b) noexcept {
        return lanes(_mm256_div_pd(a.x, b.x));
    }
    ZEL_FOUR_LANES friend lane_mask operator<(const lanes& a, const lanes& b) noexcept {
        return {a.x < b.x};
    }
    ZEL_FOUR_LANES friend lane_mask operator>(const lanes& a, const lanes& b) noexcept {
        return {a.x > b.x};
    }
    ZEL_FOUR_LANES friend lane_mask operator>=(const lanes& a, const lanes& b) noexcept {
        return {a.x >= b.x};
    }
    ZEL_FOUR_LANES friend lane_mask operator==(const lanes& a, const lanes& b) noexcept {
        return {a.x == b.x};
    }
};

#if !defined(__clang__)
#pragma GCC pop_options
#endif

ZEL_FOUR_LANES inline lane_mask nowhere(const lanes&) noexcept {
    return {_mm256_setzero_si256()};
}
ZEL_FOUR_LANES inline lane_mask both(const lane_mask& a, const lane_mask& b) noexcept {
    return {a.bits & b.bits};
}
ZEL_FOUR_LANES inline lane_mask either(const lane_mask& a, const lane_mask& b) noexcept {
    return {a.bits | b.bits};
}
/// Bit k is set if lane k is true.
ZEL_FOUR_LANES inline unsigned bits_of(const lane_mask& a) noexcept {
    return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(a.bits)));
}
ZEL_FOUR_LANES inline bool none(const lane_mask& a) noexcept {
    return bits_of(a) == 0;
}
/// a where the mask is set, b elsewhere.
ZEL_FOUR_LANES inline lanes choose(const lane_mask& mask, const lanes& a, const lanes& b) noexcept {
    return lanes(mask.bits ? a.x : b.x);
}
/// a where the mask is set, 0 elsewhere.
ZEL_FOUR_LANES inline lanes kept_where(const lane_mask& mask, const lanes& a) noexcept {
    return lanes(_mm256_and_pd(_mm256_castsi256_pd(mask.bits), a.x));
}
/// 0 where the mask is set, a elsewhere.
ZEL_FOUR_LANES inline lanes zero_where(const lane_mask& mask, const lanes& a) noexcept {
    return lanes(_mm256_andnot_pd(_mm256_castsi256_pd(mask.bits), a.x));
}
// The instructions return their second operand unless the first one is strictly beyond it.
ZEL_FOUR_LANES inline lanes smaller(const lanes& a, const lanes& b) noexcept {
    return lanes(_mm256_min_pd(b.x, a.x));
}
ZEL_FOUR_LANES inline lanes larger(const lanes& a, const lanes& b) noexcept {
    return lanes(_mm256_max_pd(b.x, a.x));
}
ZEL_FOUR_LANES inline lanes square_root(const lanes& a) noexcept {
    return lanes(_mm256_sqrt_pd(a.x));
}
ZEL_FOUR_LANES inline lanes absolute(const lanes& a) noexcept {
    return lanes(_mm256_andnot_pd(_mm256_set1_pd(-0.0), a.x));
}

/// Lanes A, B, C and D, in that order.
template <int A, int B, int C, int D>
ZEL_FOUR_LANES_INLINED lanes rearranged(const lanes& a) noexcept {
    return lanes(_mm256_permute4x64_pd(a.x, A | B << 2 | C << 4 | D << 6));
}

/// Four numbers that lie one behind the other.
ZEL_FOUR_LANES_INLINED lanes load_lanes(const double* first) noexcept {
    return lanes(_mm256_loadu_pd(first));
}
ZEL_FOUR_LANES_INLINED void store_lanes(const lanes& a, double* first) noexcept {
    _mm256_storeu_pd(first, a.x);
}

/// Two numbers from a on and two from b on.
ZEL_FOUR_LANES_INLINED __m256d load_pairs(const double* a, const double* b) noexcept {
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(a)), _mm_loadu_pd(b), 1);
}

/// The points in the plane of four lanes as they stand in memory.
struct lane_pairs {
    __m256d even; ///< of lanes 0 and 2
    __m256d odd;  ///< of lanes 1 and 3

    ZEL_FOUR_LANES_INLINED explicit lane_pairs(const lane_columns<const double>& p) noexcept
        : even(load_pairs(p[0], p[2])), odd(load_pairs(p[1], p[3])) {}

    ZEL_FOUR_LANES_INLINED vector_of<lanes, 2> components() const noexcept {
        return {lanes(_mm256_unpacklo_pd(even, odd)), lanes(_mm256_unpackhi_pd(even, odd))};
    }
    /// Writes the points of lanes 0 and 2 to the one place, those of lanes 1 and 3 to the other.
    ZEL_FOUR_LANES_INLINED void store(double* evens, double* odds) const noexcept {
        _mm256_storeu_pd(evens, even);
        _mm256_storeu_pd(odds, odd);
    }
};

/// Component k of lane i is `p[i][k]`.
template <int Dim>
ZEL_FOUR_LANES_INLINED vector_of<lanes, Dim>
load_columns(const lane_columns<const double>& p) noexcept {
    const vector_of<lanes, 2> xy = lane_pairs(p).components();
    if constexpr (Dim == 2) {
        return xy;
    } else {
        const __m128d low = _mm_loadh_pd(_mm_load_sd(p[0] + 2), p[1] + 2);
        const __m128d high = _mm_loadh_pd(_mm_load_sd(p[2] + 2), p[3] + 2);
        return {xy[0], xy[1], lanes(_mm256_insertf128_pd(_mm256_castpd128_pd256(low), high, 1))};
    }
}

/// Writes 2 * unit for each lane where `two` is set, else unit where `one` is set, else 0.
ZEL_FOUR_LANES_INLINED void store_choices(const lane_mask& one, const lane_mask& two, int unit,
                                          std::int64_t (&to)[lane_count]) noexcept {
    const __m256i first = _mm256_and_si256(one.bits, _mm256_set1_epi64x(unit));
    const __m256i second = _mm256_and_si256(two.bits, _mm256_set1_epi64x(2 * std::int64_t{unit}));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_max_epi32(first, second));
}

/// Lane i of component k becomes lane k of component i.
ZEL_FOUR_LANES_INLINED vector_of<lanes, 4> transposed(const vector_of<lanes, 4>& v) noexcept {
    const __m256d low_even = _mm256_unpacklo_pd(v[0].x, v[1].x);
    const __m256d low_odd = _mm256_unpackhi_pd(v[0].x, v[1].x);
    const __m256d high_even = _mm256_unpacklo_pd(v[2].x, v[3].x);
    const __m256d high_odd = _mm256_unpackhi_pd(v[2].x, v[3].x);
    const __m256d even = _mm256_permute2f128_pd(low_even, high_even, 0x21);
    const __m256d odd = _mm256_permute2f128_pd(low_odd, high_odd, 0x21);
    return {lanes(_mm256_blend_pd(low_even, even, 0xC)), lanes(_mm256_blend_pd(low_odd, odd, 0xC)),
            lanes(_mm256_blend_pd(even, high_even, 0xC)),
            lanes(_mm256_blend_pd(odd, high_odd, 0xC))};
}

/// The vectors of four lanes, one by one.
template <int Dim>
struct lane_vectors {
    __m128d xy[lane_count];
    __m128d z[lane_count];

    ZEL_FOUR_LANES_INLINED explicit lane_vectors(const vector_of<lanes, Dim>& v) noexcept {
        const __m256d even = _mm256_unpacklo_pd(v[0].x, v[1].x);
        const __m256d odd = _mm256_unpackhi_pd(v[0].x, v[1].x);
        xy[0] = _mm256_castpd256_pd128(even);
        xy[1] = _mm256_castpd256_pd128(odd);
        xy[2] = _mm256_extractf128_pd(even, 1);
        xy[3] = _mm256_extractf128_pd(odd, 1);
        if constexpr (Dim == 3) {
            z[0] = _mm256_castpd256_pd128(v[2].x);
            z[1] = _mm_unpackhi_pd(z[0], z[0]);
            z[2] = _mm256_extractf128_pd(v[2].x, 1);
            z[3] = _mm_unpackhi_pd(z[2], z[2]);
        }
    }
    ZEL_FOUR_LANES_INLINED void store(std::size_t lane, double* to) const noexcept {
        _mm_storeu_pd(to, xy[lane]);
        if constexpr (Dim == 3) _mm_store_sd(to + 2, z[lane]);
    }
    ZEL_FOUR_LANES_INLINED void add(std::size_t lane, double* to) const noexcept {
        _mm_storeu_pd(to, _mm_add_pd(_mm_loadu_pd(to), xy[lane]));
        if constexpr (Dim == 3) _mm_store_sd(to + 2, _mm_add_sd(_mm_load_sd(to + 2), z[lane]));
    }
};

/// Writes the vectors of four lanes one right behind the other.
ZEL_FOUR_LANES_INLINED void store_packed(const vector_of<lanes, 3>& v, double* to) noexcept {
    const __m256d xy = _mm256_unpacklo_pd(v[0].x, v[1].x);
    const __m256d yz = _mm256_unpackhi_pd(v[1].x, v[2].x);
    const __m256d zx = _mm256_shuffle_pd(v[2].x, v[0].x, 0b1010);
    _mm256_storeu_pd(to, _mm256_permute2f128_pd(xy, zx, 0x20));
    _mm256_storeu_pd(to + 4, _mm256_blend_pd(yz, xy, 0b1100));
    _mm256_storeu_pd(to + 8, _mm256_permute2f128_pd(zx, yz, 0x31));
}

} // namespace zel::tessel2d
