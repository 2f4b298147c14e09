// SPDX-License-Identifier: Apache-2.0
// Says how the cells of a grid become elements, and writes rows of cells quickly.
#pragma once

// A cell (a, b, c, d) stays a quadrilateral or is cut into two triangles:
//
//     d---c      d---c      pattern 0 cuts from b to d, 1 from a to c, and 2 as 1 in even cells and as 0 in
//     | \ |      | / |      the others, of which no two lie side by side
//     a---b      a---b
//
// `Cut` below is one of the two records: write(out, ld, even, a, b, c, d) writes the elements of a cell,
// `columns` of them with `rows` entries each, to columns `ld` apart.
#include "foundation/call_frame.h"

#include <cstddef>
#include <cstdint>

namespace zel::tessel2d {

/// The cell as a quadrilateral.
struct whole_cell {
    static constexpr std::size_t columns = 1;
    // mutation: says whether cells may be copied with the layout of their neighbours
    static constexpr std::size_t rows = 4;

    static void write(unsigned* out, std::size_t, bool, unsigned a, unsigned b, unsigned c,
                      unsigned d) noexcept {
        out[0] = a;
        out[1] = b;
        out[2] = c;
        out[3] = d;
    }
};

/// The cell as two triangles, in columns of 3 rows or in those of 4 whose last is marked.
template <std::size_t Rows, int Pattern>
struct halved_cell {
    static constexpr std::size_t columns = 2;
    static constexpr std::size_t rows = Rows;

    static void triangle(unsigned* out, unsigned a, unsigned b, unsigned c) noexcept {
        out[0] = a;
        out[1] = b;
        out[2] = c;
        if constexpr (Rows == 4) out[3] = no_node;
    }
    static void write(unsigned* out, std::size_t ld, bool even, unsigned a, unsigned b, unsigned c,
                      unsigned d) noexcept {
        const bool along_ac = Pattern == 1 || (Pattern == 2 && even);
        triangle(out, a, b, along_ac ? c : d);
        triangle(out + ld, along_ac ? a : b, c, d);
    }
};

/// Calls f with the cut of a pattern. What is neither 0 nor 2 counts as 1.
template <std::size_t Rows, class F>
void with_halves(int pattern, const F& f) {
    switch (pattern) {
    case 0:
        f(halved_cell<Rows, 0>{});
        break;
    case 2:
        f(halved_cell<Rows, 2>{});
        break;
    default:
        f(halved_cell<Rows, 1>{});
        break;
    }
}

/// Writes so many pairs of cells of a row into contiguous columns. The first is (a, b, b + step, a + step);
/// from cell to cell all numbers grow by `step`.
///
/// Every pattern repeats after two cells. So two cells make a stencil that is written again and again while
/// its numbers grow; a marked row stays.
template <class Cut>
void write_cell_pairs(unsigned* out, std::uint64_t pairs, bool even, unsigned a, unsigned b,
                      unsigned step) noexcept {
    constexpr std::size_t per_cell = Cut::columns * Cut::rows;
    constexpr std::size_t entries = 2 * per_cell;
    const unsigned d = a + step;
    const unsigned c = b + step;
    unsigned stencil[entries];
    unsigned grows[entries]; // all bits, or none for a row that is marked
    Cut::write(stencil, Cut::rows, even, a, b, c, d);
    Cut::write(stencil + per_cell, Cut::rows, !even, d, c, c + step, d + step);
    for (std::size_t k = 0; k < entries; ++k) grows[k] = stencil[k] == no_node ? 0 : ~0U;
    // The stencil itself is not changed: gcc 12 vectorises a stencil that is counted up in place
    // wrongly (the second cell repeats the first).
    unsigned grown = 0;
    for (std::uint64_t pair = 0; pair < pairs; ++pair, out += entries, grown += 2 * step)
        for (std::size_t k = 0; k < entries; ++k) out[k] = stencil[k] + (grown & grows[k]);
}

} // namespace zel::tessel2d
