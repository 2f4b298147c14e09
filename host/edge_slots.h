// SPDX-License-Identifier: Apache-2.0
#pragma once

// Brings together the sides of elements that lie on one edge, where elements and nodes are in random order.
//
// Each node has a record of eight slots, 64 bytes in all, for edges whose lower end node it is: the higher end
// node and the side that came last. One pass over the elements:
//
// 1. Prefetch the records of the lower end nodes of an element that has its turn some elements later.
// 2. Find in each record the slot of the edge, or the first empty one: eight comparisons without a branch,
//    for whether a side is the first or the second of its edge cannot be predicted.
// 3. Hand the side, with the one before it, to the visitor, and leave it in the slot.
//
// A triangle has three sides but only two lower end nodes, so it touches two records; sorting the sides by
// their nodes would touch memory at random six times. Slots fill from the front and are never cleared, so an
// edge that finds its record full finds it full each time: the sides of such edges are put aside and sorted in
// the end. If they are many, the mesh has nodes with very many edges, and the pass gives up; `filed_sides`
// does not depend on how many they are.
#include "host/sides.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zel::host {

/// A side of an element by its number.
struct numbered_side {
    unsigned number;

    unsigned element() const noexcept { return number / 4; }
    unsigned edge() const noexcept { return number % 4; }
    /// rows*e + k for side k of element e in a table of 3 or 4 rows.
    template <unsigned Rows>
    unsigned place_in_table() const noexcept {
        return Rows == 3 ? number - element() : number;
    }
};

template <class Shape>
class edge_slots {
public:
    /// Goes through the sides of each edge from the last to the first in number, and calls
    ///
    ///     visit.element(e, cell)      for each element, before its sides
    ///     visit.collapsed(s)          for each side between a node and itself
    ///     visit.two(s, t, joined)     for each first side s = t that comes up of an edge, with `joined` false;
    ///                                 and when a second side t joins the side s, with `joined` true
    ///     visit.more(s, t, third)     when side t joins more than one, of which s was the last
    ///
    /// False, with some of the calls made: the mesh is in order or small, or has nodes with very many edges, or
    /// memory is exhausted. Node numbers are below `nodes`. To be called once.
    template <class Visit>
    bool visit(const dense2D<unsigned>& connect, std::size_t nodes, Visit& use) noexcept {
        const auto cells = columns_of(connect);
        const std::size_t n = connect.cols;
        const std::size_t spare = n / 64;
        if (n >= most_elements || nodes / 2 > n || !are_scattered(cells, n, 256)) return false;
        if (!memory_.resize(nodes, record{}) || !aside_.reserve(spare + Shape::rows, 1))
            return false;
        records_ = memory_.data();
        for (std::size_t e = n; e-- > 0;) {
            if (e >= far) {
                const unsigned* const later = cells[e - far];
                const unsigned corners = Shape::corners(later);
                for (unsigned k = 0; k < corners; ++k)
                    tessel2d::prefetch(&records_[ends_of(later, corners, k).low]);
            }
            const auto number = static_cast<unsigned>(e);
            use.element(number, cells[e]);
            if (Shape::corners(cells[e]) == 3) {
                visit_triangle(number, cells[e], use);
            } else {
                visit_quad(number, cells[e], use);
            }
            if (aside_.size > spare) return false;
        }
        visit_aside(use);
        return true;
    }

private:
    static constexpr std::size_t far = 16;                 // elements between prefetch and use
    static constexpr std::size_t most_elements = 1u << 27; // numbers of sides leave two bits
    static constexpr unsigned is_second = 1u << 30;
    static constexpr unsigned is_later = 1u << 31;

    /// `high` is 0 in an empty slot: a higher end node is at least 1.
    struct record {
        unsigned high[8];
        unsigned last[8]; // number of a side; marked if it was not the first
    };
    struct side_aside {
        unsigned low;
        unsigned high;
        unsigned number;
    };
    struct ordered_ends {
        unsigned low;
        unsigned high;
    };

    static ordered_ends ends_of(const unsigned* cell, unsigned corners, unsigned k) noexcept {
        const auto ends = tessel2d::edge_nodes(cell, corners, k);
        ordered_ends result = {ends.a, ends.b};
        tessel2d::swap_if(ends.b < ends.a, result.low, result.high);
        return result;
    }
    /// Bit i is set where slot i holds `value`.
    static unsigned slots_with(const record& r, unsigned value) noexcept {
#if defined(__SSE2__)
        const __m128i all = _mm_set1_epi32(static_cast<int>(value));
        const auto* const parts = reinterpret_cast<const __m128i*>(r.high);
        const __m128i low = _mm_cmpeq_epi32(_mm_loadu_si128(parts), all);
        const __m128i high = _mm_cmpeq_epi32(_mm_loadu_si128(parts + 1), all);
        const __m128i both = _mm_packs_epi32(low, high);
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(both, _mm_setzero_si128())));
#else
        unsigned bits = 0;
        for (unsigned i = 0; i < 8; ++i) bits |= static_cast<unsigned>(r.high[i] == value) << i;
        return bits;
#endif
    }
    static unsigned lowest(unsigned bits) noexcept {
        return bits & (0 - bits);
    }
    static unsigned place_of(unsigned bit) noexcept {
#if defined(__GNUC__)
        return static_cast<unsigned>(__builtin_ctz(bit));
#else
        unsigned i = 0;
        while (bit >> i != 1) ++i;
        return i;
#endif
    }

    // In both functions all sides are looked up before one is written: what has just been written in parts
    // cannot be read as a whole without a delay. Sides that enter the same record take different empty slots.

    /// A triangle, by its nodes in ascending order.
    template <class Visit>
    [[gnu::always_inline]] void visit_triangle(unsigned e, const unsigned* cell,
                                               Visit& visit) noexcept {
        unsigned a = cell[0], b = cell[1], c = cell[2];
        unsigned i = 0, j = 1, k = 2; // the corners, and thereby the edges opposite them
        sort_two(a, b, i, j);
        sort_two(b, c, j, k);
        sort_two(a, b, i, j);
        if (a == b || b == c) return visit_repeated(e, cell, 3, visit);
        record& low = records_[a];
        record& middle = records_[b];
        const unsigned empty = slots_with(low, 0);
        const unsigned ab = lowest(slots_with(low, b) | empty);
        const unsigned ac = lowest(slots_with(low, c) | (empty & ~ab));
        const unsigned bc = lowest(slots_with(middle, c) | slots_with(middle, 0));
        visit_side(e * 4 + k, {a, b}, ab, visit);
        visit_side(e * 4 + j, {a, c}, ac, visit);
        visit_side(e * 4 + i, {b, c}, bc, visit);
    }
    static void sort_two(unsigned& a, unsigned& b, unsigned& i, unsigned& j) noexcept {
        const unsigned wrong = b < a;
        tessel2d::swap_if(wrong, a, b);
        tessel2d::swap_if(wrong, i, j);
    }
    template <class Visit>
    [[gnu::always_inline]] void visit_quad(unsigned e, const unsigned* cell,
                                           Visit& visit) noexcept {
        ordered_ends ends[4];
        for (unsigned k = 0; k < 4; ++k) ends[k] = ends_of(cell, 4, k);
        bool repeated = cell[0] == cell[2] || cell[1] == cell[3];
        for (const ordered_ends& end : ends) repeated |= end.low == end.high;
        if (repeated) return visit_repeated(e, cell, 4, visit);
        unsigned slot[4];
        for (unsigned k = 0; k < 4; ++k) {
            const record& r = records_[ends[k].low];
            unsigned taken = 0;
            for (unsigned i = 0; i < k; ++i)
                taken |= slot[i] & (0 - static_cast<unsigned>(ends[i].low == ends[k].low));
            slot[k] = lowest(slots_with(r, ends[k].high) | (slots_with(r, 0) & ~taken));
        }
        for (unsigned k = 0; k < 4; ++k) visit_side(e * 4 + k, ends[k], slot[k], visit);
    }
    /// The sides of an element that has a node twice, one by one: two of them may lie on one edge.
    template <class Visit>
    [[gnu::noinline]] void visit_repeated(unsigned e, const unsigned* cell, unsigned corners,
                                          Visit& visit) noexcept {
        for (unsigned k = corners; k-- > 0;) {
            const ordered_ends ends = ends_of(cell, corners, k);
            const record& r = records_[ends.low];
            if (ends.low == ends.high) {
                visit.collapsed(numbered_side{e * 4 + k});
            } else {
                visit_side(e * 4 + k, ends, lowest(slots_with(r, ends.high) | slots_with(r, 0)),
                           visit);
            }
        }
    }
    template <class Visit>
    [[gnu::always_inline]] void visit_side(unsigned number, const ordered_ends& ends, unsigned slot,
                                           Visit& visit) noexcept {
        if (slot == 0) return put_aside(number, ends);
        record& r = records_[ends.low];
        const unsigned i = place_of(slot);
        const unsigned known = r.high[i] != 0; // 1 or 0
        r.high[i] = ends.high;
        hand_over(number, known, r.last[i], visit);
    }
    [[gnu::noinline]] void put_aside(unsigned number, const ordered_ends& ends) noexcept {
        aside_.push_back({ends.low, ends.high, number});
    }
    /// Hands a side to the visitor; `last` is the one before it if there is one.
    template <class Visit>
    [[gnu::always_inline]] static void hand_over(unsigned number, unsigned known, unsigned& last,
                                                 Visit& visit) noexcept {
        const unsigned before = last;
        if (before >= is_second) return hand_over_more(number, last, visit);
        const unsigned other = number ^ ((number ^ before) & (0 - known));
        last = number | (is_second & (0 - known));
        visit.two(numbered_side{other}, numbered_side{number}, known != 0);
    }
    template <class Visit>
    [[gnu::noinline]] static void hand_over_more(unsigned number, unsigned& last,
                                                 Visit& visit) noexcept {
        visit.more(numbered_side{last & ~(is_second | is_later)}, numbered_side{number},
                   last < is_later);
        last = number | is_later;
    }
    template <class Visit>
    void visit_aside(Visit& visit) noexcept {
        std::sort(aside_.begin(), aside_.end(), [](const side_aside& s, const side_aside& t) {
            if (s.low != t.low) return s.low < t.low;
            return s.high != t.high ? s.high < t.high : s.number > t.number;
        });
        unsigned last = 0;
        for (std::size_t i = 0; i < aside_.size; ++i) {
            const bool known = i != 0 && aside_[i].low == aside_[i - 1].low &&
                               aside_[i].high == aside_[i - 1].high;
            if (!known) last = 0;
            hand_over(aside_[i].number, known, last, visit);
        }
    }

    dense1D<record, 8> memory_;
    record* records_ = nullptr;
    dense1D<side_aside, 8> aside_;
};

} // namespace zel::host
