// zel tessel2d: planar and surface mesh tools.
#include "foundation/cell_shapes.h"
#include "foundation/element_type.h"
#include "foundation/topology.h"
#include "zel/tessel2d/orientation.h"

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
        return for_each_column(connect, [](unsigned* cell) { turn_over(cell); });
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
        return flip_neighbors<triangle_cells>(connect, neighbors);
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
