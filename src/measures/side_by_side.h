// SPDX-License-Identifier: Apache-2.0
#pragma once

// Turns around several nodes at a time. Each step of a walk waits for the one before it; the steps of
// several walks overlap.
#include "foundation/call_frame.h"
#include "foundation/cell_shapes.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zel::tessel2d {

/// The walks that are made at a time: what they met, and which of them came round.
struct star_lists {
    static constexpr std::size_t walks = 16;
    static constexpr std::size_t longest = 16; // what is longer is left to a walk of its own

    unsigned list[walks][longest];
    unsigned size[walks];
    unsigned closed[walks]; // all bits set or none
};

// ---------------------------------------------------------------------------------- four by four

#if defined(__SSE2__)

inline __m128i load_four(const unsigned* x) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
}
inline void store_four(unsigned* x, __m128i v) noexcept {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(x), v);
}
/// Makes of the comparison of signed numbers one of unsigned ones.
inline __m128i biased(__m128i x) noexcept {
    return _mm_xor_si128(x, _mm_set1_epi32(static_cast<int>(0x80000000U)));
}
inline __m128i pick(__m128i mask, __m128i yes, __m128i no) noexcept {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

struct four_rows {
    __m128i row[4];
};

/// Four times four numbers, each four from a place of their own, as columns of four rows.
inline four_rows transposed(const unsigned* a, const unsigned* b, const unsigned* c,
                            const unsigned* d) noexcept {
    const __m128i ab = _mm_unpacklo_epi32(load_four(a), load_four(b));
    const __m128i cd = _mm_unpacklo_epi32(load_four(c), load_four(d));
    const __m128i ab_high = _mm_unpackhi_epi32(load_four(a), load_four(b));
    const __m128i cd_high = _mm_unpackhi_epi32(load_four(c), load_four(d));
    return {{_mm_unpacklo_epi64(ab, cd), _mm_unpackhi_epi64(ab, cd),
             _mm_unpacklo_epi64(ab_high, cd_high), _mm_unpackhi_epi64(ab_high, cd_high)}};
}

/// Columns e[0] to e[3] of a matrix whose columns lie one behind the other.
template <std::size_t Rows>
four_rows four_columns(const unsigned* m, const unsigned* e) noexcept {
    return transposed(m + Rows * e[0], m + Rows * e[1], m + Rows * e[2], m + Rows * e[3]);
}

/// A column is read as four entries. The last one of three rows would reach beyond the storage, so that
/// a walk which meets this element is not brought to its end.
template <class Shape>
constexpr std::size_t readable_columns(std::size_t elements) noexcept {
    return Shape::rows == 3 ? elements - 1 : elements;
}

/// The elements beyond the edges that end at the nodes of four walks, as `local_node_index` and `turn_edge`
/// find them; 0xFFFFFFFF if there is none or the element does not hold the node.
template <class Shape>
__m128i next_around(__m128i node, const four_rows& cell, const four_rows& beside) noexcept {
    const __m128i none = _mm_set1_epi32(-1);
    const __m128i at0 = _mm_cmpeq_epi32(cell.row[0], node);
    const __m128i at1 = _mm_cmpeq_epi32(cell.row[1], node);
    const __m128i at2 = _mm_cmpeq_epi32(cell.row[2], node);
    const auto& b = beside.row;
    if constexpr (Shape::rows == 3) {
        return pick(at0, b[1], pick(at1, b[2], pick(at2, b[0], none)));
    } else {
        const __m128i triangle = _mm_cmpeq_epi32(cell.row[3], none);
        const __m128i at3 = _mm_andnot_si128(triangle, _mm_cmpeq_epi32(cell.row[3], node));
        const __m128i before = pick(at2, pick(triangle, b[0], b[1]), pick(at3, b[2], none));
        return pick(at0, pick(triangle, b[1], b[3]), pick(at1, pick(triangle, b[2], b[0]), before));
    }
}

/// Turns around the nodes `node`, `node` + 1, ... with four walks a vector, on columns that lie one behind the
/// other and of which at least one is readable.
template <class Shape>
void turn_by_four(const unsigned* cells, const unsigned* across, std::size_t elements,
                  unsigned node, const unsigned (&first)[star_lists::walks],
                  star_lists& out) noexcept {
    constexpr std::size_t walks = star_lists::walks;
    const auto bound = static_cast<int>(readable_columns<Shape>(elements));
    const __m128i limit = biased(_mm_set1_epi32(bound));
    alignas(16) unsigned met[star_lists::longest][walks]; // step by step
    __m128i nodes[walks / 4], start[walks / 4], usable[walks / 4], closed[walks / 4],
        size[walks / 4];
    for (std::size_t g = 0; g < walks / 4; ++g) {
        const auto base = static_cast<int>(node + 4 * static_cast<unsigned>(g));
        nodes[g] = _mm_add_epi32(_mm_set1_epi32(base), _mm_setr_epi32(0, 1, 2, 3));
        start[g] = load_four(first + 4 * g);
        usable[g] = _mm_cmplt_epi32(biased(start[g]), limit);
        closed[g] = _mm_setzero_si128();
        size[g] = _mm_set1_epi32(1);
        store_four(met[0] + 4 * g, _mm_and_si128(start[g], usable[g]));
    }
    // A walk that has ended makes the same last step again and again.
    std::size_t steps = 1;
    for (bool going = true; going && steps < star_lists::longest; ++steps) {
        __m128i any = _mm_setzero_si128();
        for (std::size_t g = 0; g < walks / 4; ++g) {
            const unsigned* const at = met[steps - 1] + 4 * g;
            const __m128i next = next_around<Shape>(nodes[g], four_columns<Shape::rows>(cells, at),
                                                    four_columns<Shape::rows>(across, at));
            const __m128i round = _mm_cmpeq_epi32(next, start[g]);
            const __m128i on = _mm_andnot_si128(round, _mm_cmplt_epi32(biased(next), limit));
            closed[g] = _mm_and_si128(round, usable[g]);
            size[g] = _mm_sub_epi32(size[g], on);
            any = _mm_or_si128(any, on);
            store_four(met[steps] + 4 * g, pick(on, next, load_four(at)));
        }
        going = _mm_movemask_epi8(any) != 0;
    }
    for (; steps % 4 != 0; ++steps) std::copy_n(met[steps - 1], walks, met[steps]);
    for (std::size_t k = 0; k < walks; k += 4) {
        store_four(out.size + k, size[k / 4]);
        store_four(out.closed + k, closed[k / 4]);
        for (std::size_t s = 0; s < steps; s += 4) {
            const four_rows block =
                transposed(met[s] + k, met[s + 1] + k, met[s + 2] + k, met[s + 3] + k);
            for (std::size_t i = 0; i < 4; ++i) store_four(out.list[k + i] + s, block.row[i]);
        }
    }
}

#endif

/// Turns around the nodes `node`, `node` + 1, ... from the elements `first` on, which exist. Afterwards
/// `closed` says which of the walks came round, and `list` and `size` what those met. Where the processor or
/// the layout does not suit, none has come round, and each node is left to a walk of its own.
template <class Shape>
void turn_around_nodes([[maybe_unused]] const columns<const unsigned>& cells,
                       [[maybe_unused]] const columns<const unsigned>& across,
                       [[maybe_unused]] std::size_t elements, [[maybe_unused]] unsigned node,
                       [[maybe_unused]] const unsigned (&first)[star_lists::walks],
                       star_lists& out) noexcept {
#if defined(__SSE2__)
    if (cells.ld == Shape::rows && across.ld == Shape::rows &&
        readable_columns<Shape>(elements) > 0) {
        turn_by_four<Shape>(cells.first, across.first, elements, node, first, out);
        return;
    }
#endif
    std::fill_n(out.closed, star_lists::walks, 0U);
}

} // namespace zel::tessel2d
