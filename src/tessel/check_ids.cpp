// SPDX-License-Identifier: Apache-2.0
// Tests whether all node numbers of a connectivity or a list exist.
//
// Where the processor has AVX2, eight numbers are tested at a time, with AVX-512 sixteen.
#include "foundation/cell_shapes.h"
#include "geometry/four_lanes.h"
#include "zel/tessel.h"

#include <cstdint>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace zel::tessel {

namespace {

// An entry x passes a row when x + offset does not exceed limit, in 32-bit wrap-around: offset 0
// and limit bound - 1 test x < bound; offset 1 and limit bound let 0xFFFFFFFF pass too, since it
// wraps to 0. Both tests are one addition and one comparison, so that rows with different rules
// make one vector loop. The top bit is flipped on both sides (adding it flips it), which turns the
// comparison into the signed one that every vector unit has.
constexpr unsigned top_bit = 0x80000000U;

struct rule {
    unsigned offset;
    int limit;

    // All bits set when x breaks the rule, else none.
    unsigned broken_by(unsigned x) const noexcept {
        return static_cast<int>(x + offset) > limit ? ~0U : 0U;
    }
};

constexpr rule below(unsigned bound) {
    return {top_bit, static_cast<int>((bound - 1) ^ top_bit)};
}
constexpr rule below_or_no_node(unsigned bound) {
    return {top_bit + 1, static_cast<int>(bound ^ top_bit)};
}

// The loops collect broken rules instead of leaving at the first one, and test the collection once
// per run: long enough for vectors, short enough to leave a bad matrix early.
constexpr std::size_t run = 4096;

#if defined(__x86_64__) && defined(__GNUC__)

// Eight or sixteen numbers. Generic code over them is inlined by force into functions for the processor at hand:
// functions for different processors pass registers of this width in different ways.
struct eight {
    static constexpr std::size_t count = 8;
    __m256i x;

    [[gnu::target("avx2")]] static eight zero() noexcept { return {_mm256_setzero_si256()}; }
    [[gnu::target("avx2")]] static eight load(const unsigned* first) noexcept {
        return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(first))};
    }
    // The same four, one behind the other.
    [[gnu::target("avx2")]] static eight repeat(__m128i four) noexcept {
        return {_mm256_broadcastsi128_si256(four)};
    }
    [[gnu::target("avx2")]] friend eight operator+(const eight& a, const eight& b) noexcept {
        return {_mm256_add_epi32(a.x, b.x)};
    }
    [[gnu::target("avx2")]] friend eight larger(const eight& a, const eight& b) noexcept {
        return {_mm256_max_epu32(a.x, b.x)};
    }
    [[gnu::target("avx2")]] friend bool none_exceeds(const eight& a, const eight& b) noexcept {
        return _mm256_movemask_epi8(_mm256_cmpeq_epi32(_mm256_max_epu32(a.x, b.x), b.x)) == -1;
    }
};

struct sixteen {
    static constexpr std::size_t count = 16;
    static constexpr __mmask16 all = 0xFFFF; // without a mask gcc 12 warns of its own header
    __m512i x;

    [[gnu::target("avx512f")]] static sixteen zero() noexcept { return {_mm512_setzero_si512()}; }
    [[gnu::target("avx512f")]] static sixteen load(const unsigned* first) noexcept {
        return {_mm512_loadu_si512(first)};
    }
    [[gnu::target("avx512f")]] static sixteen repeat(__m128i four) noexcept {
        return {_mm512_maskz_broadcast_i32x4(all, four)};
    }
    [[gnu::target("avx512f")]] friend sixteen operator+(const sixteen& a,
                                                        const sixteen& b) noexcept {
        return {_mm512_add_epi32(a.x, b.x)};
    }
    [[gnu::target("avx512f")]] friend sixteen larger(const sixteen& a, const sixteen& b) noexcept {
        return {_mm512_maskz_max_epu32(all, a.x, b.x)};
    }
    [[gnu::target("avx512f")]] friend bool none_exceeds(const sixteen& a,
                                                        const sixteen& b) noexcept {
        return _mm512_cmpgt_epu32_mask(a.x, b.x) == 0;
    }
};

// The larger of what was the largest so far and the next entries, which are shifted by their offsets if there
// are any.
template <bool Shifted, class Numbers>
[[gnu::always_inline]] inline Numbers larger(const Numbers& most, const unsigned* x,
                                             const Numbers& offsets) noexcept {
    if constexpr (Shifted) {
        return larger(most, Numbers::load(x) + offsets);
    } else {
        return larger(most, Numbers::load(x));
    }
}

// The largest of many entries, four times as many at a time: in the first cache the steps of the loop cost more
// than its loads. These begin where no cache line ends within one; the first entries are looked at twice for
// that. `done` becomes the number of entries looked at.
template <bool Shifted, class Numbers>
[[gnu::always_inline]] inline Numbers largest_of_many(const unsigned* x, std::size_t n,
                                                      const Numbers& offsets,
                                                      std::size_t& done) noexcept {
    constexpr std::size_t count = Numbers::count;
    Numbers most[4];
    for (Numbers& m : most) m = larger<Shifted>(Numbers::zero(), x, offsets);
    // mutation (/ -> *, 4 -> 5, 4 -> 3): noticed where blocks begin at multiples of 16 alone
    const std::size_t place = reinterpret_cast<std::uintptr_t>(x) / 4 % count;
    // mutation: speed only
    done = reinterpret_cast<std::uintptr_t>(x) % 16 == 0 ? (count - place) % count : 0;
    // mutation (>= -> <, >= -> >, 4 -> 5 #1, 4 -> 3 #2): speed only
    for (; n - done >= 4 * count; done += 4 * count)
        for (std::size_t i = 0; i < 4; ++i)
            most[i] = larger<Shifted>(most[i], x + done + count * i, offsets);
    return larger(larger(most[0], most[1]), larger(most[2], most[3]));
}

// All entries of a run that is not shorter than `Numbers`; every fourth one is under the rule `fourth`, and if
// that is another one they come in fours. A rule holds for all if it holds for the largest, and unlike the
// comparison the maximum is one instruction. There is one for numbers without a sign, so that the top bit stays
// as it is.
template <bool Shifted, class Numbers>
[[gnu::always_inline]] inline bool all_numbers_pass(const unsigned* x, std::size_t n, rule r,
                                                    rule fourth) noexcept {
    constexpr std::size_t many = 8 * Numbers::count; // mutation: speed only
    const auto four = [](unsigned a, unsigned b) {
        const int first = static_cast<int>(a ^ top_bit);
        return _mm_setr_epi32(first, first, first, static_cast<int>(b ^ top_bit));
    };
    const Numbers offsets = Numbers::repeat(four(r.offset, fourth.offset));
    const Numbers limits =
        Numbers::repeat(four(static_cast<unsigned>(r.limit), static_cast<unsigned>(fourth.limit)));
    Numbers most = Numbers::zero();
    std::size_t done = 0;
    // mutation (>= -> >, >= -> <): speed only
    if (n >= many) most = largest_of_many<Shifted>(x, n, offsets, done);
    // mutation (>= -> >): the last ones are looked at below
    for (; n - done >= Numbers::count; done += Numbers::count)
        most = larger<Shifted>(most, x + done, offsets);
    // What is left, with some of those before it.
    if (done != n) most = larger<Shifted>(most, x + n - Numbers::count, offsets);
    return none_exceeds(most, limits);
}

template <bool Shifted>
[[gnu::target("avx2")]] bool eights_pass(const unsigned* x, std::size_t n, rule r,
                                         rule fourth) noexcept {
    return all_numbers_pass<Shifted, eight>(x, n, r, fourth);
}
template <bool Shifted>
[[gnu::target("avx512f")]] bool sixteens_pass(const unsigned* x, std::size_t n, rule r,
                                              rule fourth) noexcept {
    return all_numbers_pass<Shifted, sixteen>(x, n, r, fourth);
}

template <bool Shifted>
bool numbers_pass(const unsigned* x, std::size_t n, rule r, rule fourth) noexcept {
    // mutation: speed only
    const bool wide = n >= 8 * sixteen::count && tessel2d::has_sixteen_numbers();
    return wide ? sixteens_pass<Shifted>(x, n, r, fourth) : eights_pass<Shifted>(x, n, r, fourth);
}

bool has_numbers(std::size_t n) noexcept {
    return n >= eight::count && tessel2d::has_four_lanes(); // mutation (>= -> >): speed only
}
bool numbers_pass(const unsigned* x, std::size_t n, rule r, rule fourth) noexcept {
    // mutation (== -> != #1): speed only, since offsets of 0 may be added
    const bool plain = r.offset == top_bit && fourth.offset == top_bit;
    // mutation (false -> true): the same
    return plain ? numbers_pass<false>(x, n, r, fourth) : numbers_pass<true>(x, n, r, fourth);
}

#else

constexpr bool has_numbers(std::size_t) noexcept {
    return false;
}
constexpr bool numbers_pass(const unsigned*, std::size_t, rule, rule) noexcept {
    return true;
}

#endif

bool run_passes(const unsigned* x, std::size_t n, rule r) {
    if (has_numbers(n)) return numbers_pass(x, n, r, r);
    unsigned bad = 0;
    for (std::size_t i = 0; i < n; ++i) bad |= r.broken_by(x[i]);
    return bad == 0;
}

bool all_pass(const unsigned* x, std::size_t n, rule r) {
    for (std::size_t i = 0; i < n; i += run)
        if (!run_passes(x + i, std::min(run, n - i), r)) return false;
    return true;
}

// Columns of two to four entries, the last one under a rule of its own. A leading dimension that is
// known at compile time lets the rows of several columns share a vector; `Leading` 0 stands for `ld`.
template <std::size_t Rows, std::size_t Leading>
bool run_of_columns_passes(const unsigned* first, std::size_t ld, std::size_t n, rule r,
                           rule last) {
    if constexpr (Leading == 4) {
        if (has_numbers(4 * n)) return numbers_pass(first, 4 * n, r, last);
    }
    unsigned bad0 = 0, bad1 = 0, bad2 = 0, bad_last = 0;
    for (std::size_t j = 0; j < n; ++j) {
        const unsigned* const column = first + j * (Leading == 0 ? ld : Leading);
        bad0 |= r.broken_by(column[0]);
        if constexpr (Rows > 2) bad1 |= r.broken_by(column[1]);
        // mutation (3 -> 2): of three rows the third is the last one, under the same rule
        if constexpr (Rows > 3) bad2 |= r.broken_by(column[2]);
        bad_last |= last.broken_by(column[Rows - 1]);
    }
    return (bad0 | bad1 | bad2 | bad_last) == 0;
}

template <std::size_t Rows, std::size_t Leading = 0>
bool columns_pass(const dense2D<unsigned>& m, rule r, rule last) {
    constexpr std::size_t columns = run / Rows;
    for (std::size_t j = 0; j < m.cols; j += columns) {
        const std::size_t n = std::min(columns, m.cols - j);
        if (!run_of_columns_passes<Rows, Leading>(m[j], m.ld, n, r, last)) return false;
    }
    return true;
}

bool mixed_passes(const dense2D<unsigned>& m, unsigned bound) {
    const rule corner = below(bound);
    const rule filler = below_or_no_node(bound);
    return m.contiguous() ? columns_pass<4, 4>(m, corner, filler)
                          : columns_pass<4>(m, corner, filler);
}

bool matrix_passes(const dense2D<unsigned>& m, rule r) {
    if (m.contiguous()) return all_pass(m.data(), m.rows * m.cols, r);
    switch (m.rows) {
    case 2:
        return columns_pass<2>(m, r, r);
    case 3:
        return columns_pass<3>(m, r, r);
    case 4:
        return columns_pass<4>(m, r, r);
    default:
        break;
    }
    for (std::size_t j = 0; j < m.cols; ++j)
        if (!run_passes(m[j], m.rows, r)) return false;
    return true;
}

bool rows_suit(std::size_t rows, element_type kind) {
    if (kind == ELEMENT_FACE) return rows == 3 || rows == 4;
    return tessel2d::has_rows_of(rows, kind);
}

} // namespace

bool check_IDs(const dense2D<unsigned>& connect, element_type kind, unsigned bound) noexcept {
    if (connect.empty()) return true;
    if (!rows_suit(connect.rows, kind)) return false;
    if (bound == 0) return false;
    if (kind == ELEMENT_FACE && connect.rows == 4) return mixed_passes(connect, bound);
    return matrix_passes(connect, below(bound));
}

bool check_IDs(const dense2D<unsigned>& ids, unsigned bound) noexcept {
    return ids.empty() || bound == no_node || matrix_passes(ids, below_or_no_node(bound));
}

bool check_IDs(const dense1D<unsigned, 8>& ids, unsigned bound) noexcept {
    if (ids.empty()) return true;
    return bound != 0 && all_pass(ids.data(), ids.size, below(bound));
}

} // namespace zel::tessel
