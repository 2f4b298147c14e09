// SPDX-License-Identifier: Apache-2.0
// Turns elements over.
//
// Rows 0 and 2 of a column change places, and with them the nodes on the edges and the neighbours across
// them. The second and, in quadrilaterals, the fourth corner stay.
#include "foundation/cell_shapes.h"
#include "foundation/topology.h"
#include "geometry/four_lanes.h"
#include "zel/element_type.h"
#include "zel/tessel2d/orientation.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace zel::tessel2d {

namespace {

void turn_over_T6(unsigned* cell) noexcept {
    turn_over(cell);
    std::swap(cell[3], cell[5]);
}

void turn_over_Q8(unsigned* cell) noexcept {
    turn_over(cell);
    std::swap(cell[4], cell[5]);
    std::swap(cell[6], cell[7]);
}

/// A column of 8 or 9 rows.
void turn_over_quadratic(unsigned* cell) noexcept {
    if (quadratic_cells::corners(cell) == 3) {
        turn_over_T6(cell);
    } else {
        turn_over_Q8(cell);
    }
}

/// A leading dimension that is known at compile time lets the columns of linear elements share vectors.
template <std::size_t Leading, class TurnOver>
void for_each_packed_column(unsigned* first, std::size_t count, TurnOver turn) noexcept {
    for (std::size_t e = 0; e < count; ++e) turn(first + e * Leading);
}

template <class TurnOver>
void for_each_column(dense2D<unsigned>& connect, TurnOver turn) noexcept {
    if (connect.ld == 3) return for_each_packed_column<3>(connect.data(), connect.cols, turn);
    if (connect.ld == 4) return for_each_packed_column<4>(connect.data(), connect.cols, turn);
    const auto cells = columns_of(connect);
    for (std::size_t e = 0; e < connect.cols; ++e) turn(cells[e]);
}

#if defined(__x86_64__) && defined(__GNUC__)

/// Exchanges rows 0 and 2 of triangles that lie one right behind the other, eight at a time; returns how
/// many were done. Each of the three registers gets the entries of one, and up to two from its neighbours.
/// In the cache this takes half the time of the loop that compilers make, which exchanges one by one.
[[gnu::target("avx2")]] std::size_t turn_over_packed_triangles(unsigned* cell,
                                                               std::size_t count) noexcept {
    const __m256i order0 = _mm256_setr_epi32(2, 1, 0, 5, 4, 3, 6, 7);
    const __m256i order1 = _mm256_setr_epi32(0, 3, 2, 1, 6, 5, 4, 7);
    const __m256i order2 = _mm256_setr_epi32(0, 1, 4, 3, 2, 7, 6, 5);
    const std::size_t done = count / 8 * 8;
    for (unsigned* const end = cell + 3 * done; cell != end; cell += 24) {
        __m256i* const out = reinterpret_cast<__m256i*>(cell);
        const __m256i a2 = _mm256_set1_epi32(static_cast<int>(cell[6]));
        const __m256i c2 = _mm256_set1_epi32(static_cast<int>(cell[8]));
        const __m256i a5 = _mm256_set1_epi32(static_cast<int>(cell[15]));
        const __m256i c5 = _mm256_set1_epi32(static_cast<int>(cell[17]));
        __m256i x = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(out), order0);
        __m256i y = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(out + 1), order1);
        __m256i z = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(out + 2), order2);
        x = _mm256_blend_epi32(x, c2, 0b01000000);
        y = _mm256_blend_epi32(_mm256_blend_epi32(y, a2, 0b00000001), c5, 0b10000000);
        z = _mm256_blend_epi32(z, a5, 0b00000010);
        _mm256_storeu_si256(out, x);
        _mm256_storeu_si256(out + 1, y);
        _mm256_storeu_si256(out + 2, z);
    }
    return done;
}

/// The same for columns of four, two at a time.
[[gnu::target("avx2")]] std::size_t turn_over_packed_quads(unsigned* cell,
                                                           std::size_t count) noexcept {
    const std::size_t done = count / 2 * 2;
    for (unsigned* const end = cell + 4 * done; cell != end; cell += 8) {
        __m256i* const out = reinterpret_cast<__m256i*>(cell);
        _mm256_storeu_si256(out, _mm256_shuffle_epi32(_mm256_loadu_si256(out), 0b11000110));
    }
    return done;
}

#else

std::size_t turn_over_packed_triangles(unsigned*, std::size_t) noexcept {
    return 0;
}
std::size_t turn_over_packed_quads(unsigned*, std::size_t) noexcept {
    return 0;
}

#endif

/// Exchanges rows 0 and 2 of all columns.
void turn_over_columns(dense2D<unsigned>& m) noexcept {
    std::size_t done = 0;
    if (has_four_lanes()) {
        if (m.ld == 3) done = turn_over_packed_triangles(m.data(), m.cols);
        if (m.ld == 4 && m.rows == 4) done = turn_over_packed_quads(m.data(), m.cols);
    }
    auto rest = m.sub_matrix(0, done, m.rows, m.cols - done);
    for_each_column(rest, [](unsigned* cell) { turn_over(cell); });
}

template <class Shape>
void flip_neighbors(const dense2D<unsigned>& connect, dense2D<unsigned>& neighbors) noexcept {
    const auto cells = columns_of(connect);
    const auto across = columns_of(neighbors);
    for (std::size_t e = 0; e < connect.cols; ++e)
        turn_over_neighbors(across[e], Shape::corners(cells[e]));
}

/// The concrete kind that a height stands for; ELEMENT_FACE for 8 and 9 rows, where each column has
/// its own, and ELEMENT_NONE for a height that no surface element has.
element_type kind_of_rows(std::size_t rows) noexcept {
    switch (rows) {
    case 3:
        return ELEMENT_T3;
    case 4:
        return ELEMENT_Q4;
    case 6:
        return ELEMENT_T6;
    case 8:
    case 9:
        return ELEMENT_FACE;
    default:
        return ELEMENT_NONE;
    }
}

void flip_kind(dense2D<unsigned>& connect, element_type kind) noexcept {
    switch (kind) {
    case ELEMENT_T3:
    case ELEMENT_Q4:
        return turn_over_columns(connect);
    case ELEMENT_T6:
        return for_each_column(connect, turn_over_T6);
    case ELEMENT_Q8:
    case ELEMENT_Q9:
        return for_each_column(connect, turn_over_Q8);
    case ELEMENT_FACE:
        return for_each_column(connect, turn_over_quadratic);
    default:
        return;
    }
}

void flip_neighbors_of_kind(const dense2D<unsigned>& connect, dense2D<unsigned>& neighbors,
                            element_type kind) noexcept {
    switch (kind) {
    case ELEMENT_T3:
    case ELEMENT_T6:
        return turn_over_columns(neighbors);
    case ELEMENT_Q4:
        return flip_neighbors<mixed_cells>(connect, neighbors);
    case ELEMENT_FACE:
        return flip_neighbors<quadratic_cells>(connect, neighbors);
    default:
        return;
    }
}

/// The height that the matrix of neighbours must have, or 0 if it is not looked at.
std::size_t neighbor_rows(element_type kind) noexcept {
    switch (kind) {
    case ELEMENT_T3:
    case ELEMENT_T6:
        return 3;
    case ELEMENT_Q4:
    case ELEMENT_FACE:
        return 4;
    default:
        return 0;
    }
}

} // namespace

int flip(dense2D<unsigned>& connect) {
    if (connect.cols == 0) return status_ok;
    if (connect.rows < 3) return -1;
    flip_kind(connect, ELEMENT_T3);
    return status_ok;
}

int flip(dense2D<unsigned>& connect, element_type type) {
    if (connect.cols == 0) return status_ok;
    if (type == ELEMENT_FACE) {
        type = kind_of_rows(connect.rows);
        if (type == ELEMENT_NONE) return -2;
    } else if (!has_rows_of(connect.rows, type)) {
        return -2;
    }
    flip_kind(connect, type);
    return status_ok;
}

int flip(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, element_type type) {
    if (connect.cols == 0) return status_ok;
    if (neighbors.cols != connect.cols) return -2;
    if (type == ELEMENT_FACE) {
        type = kind_of_rows(connect.rows);
        if (type == ELEMENT_NONE) return -2;
    } else if (!has_rows_of(connect.rows, type)) {
        return -3;
    }
    const std::size_t wanted = neighbor_rows(type);
    if (wanted != 0 && neighbors.rows != wanted) return -2;
    flip_kind(connect, type);
    flip_neighbors_of_kind(connect, neighbors, type);
    return status_ok;
}

} // namespace zel::tessel2d
