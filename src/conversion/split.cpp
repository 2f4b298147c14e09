// SPDX-License-Identifier: Apache-2.0
// Splits quadratic elements into linear ones: triangles into four, quadrilaterals into four, or
// mixed meshes into quadrilaterals alone.
#include "foundation/cell_shapes.h"
#include "zel/tessel.h"
#include "zel/tessel2d/conversion.h"

namespace zel::tessel2d {

namespace {

/// How an element is cut: the rows of its column that each piece takes. A piece starts at the corner
/// of its parent and runs as its parent does.
template <std::size_t Pieces, std::size_t Nodes>
struct cut {
    unsigned char rows[Pieces][Nodes];
};

constexpr cut<4, 3> T6_into_T3{{{0, 5, 4}, {1, 3, 5}, {2, 4, 3}, {3, 4, 5}}};
constexpr cut<4, 4> Q9_into_Q4{{{0, 4, 8, 7}, {1, 5, 8, 4}, {2, 6, 8, 5}, {3, 7, 8, 6}}};
constexpr cut<3, 4> T7_into_Q4{{{0, 5, 6, 4}, {1, 3, 6, 5}, {2, 4, 6, 3}}};

/// Writes the pieces of one element into the columns from `next` on, and `no_node` into rows below
/// them.
template <std::size_t Pieces, std::size_t Nodes>
void put_pieces(const cut<Pieces, Nodes>& c, const unsigned* cell, std::size_t rows,
                const columns<unsigned>& out, std::size_t& next) noexcept {
    for (const auto& piece : c.rows) {
        unsigned* const column = out[next++];
        for (std::size_t i = 0; i < Nodes; ++i) column[i] = cell[piece[i]];
        for (std::size_t i = Nodes; i < rows; ++i) column[i] = no_node;
    }
}

/// Makes `connect` `rows` high and `more` columns longer; the new rows of present columns hold no
/// node, and the caller writes the new columns. Returns false, with nothing changed, if memory is
/// exhausted.
bool extend(dense2D<unsigned>& connect, std::size_t rows, std::size_t more) noexcept {
    const std::size_t present = connect.cols;
    std::size_t total;
    if (!checked_add(present, more, total) || !connect.reserve(rows, total, 1)) return false;
    connect.resize(rows, present, no_node);
    return connect.resize(rows, total);
}

/// T6 alone, or T6 and Q9 side by side, into four pieces each.
template <class Shape>
void split_quadratic(const dense2D<unsigned>& connect_in, std::size_t first,
                     dense2D<unsigned>& connect_out) noexcept {
    const auto cells = columns_of(connect_in);
    const auto out = columns_of(connect_out);
    const std::size_t rows = connect_out.rows;
    std::size_t next = first;
    for (std::size_t e = 0; e < connect_in.cols; ++e) {
        if (Shape::corners(cells[e]) == 3) {
            put_pieces(T6_into_T3, cells[e], rows, out, next);
        } else {
            put_pieces(Q9_into_Q4, cells[e], rows, out, next);
        }
    }
}

/// T7 and Q9 side by side into quadrilaterals. A triangle has no row 7, or holds no node in it; nor
/// does a Q9 for whose edge there was no memory. Returns the column behind the last one.
std::size_t split_centred(const dense2D<unsigned>& centred, const columns<unsigned>& out,
                          std::size_t next) noexcept {
    const auto cells = columns_of(centred);
    for (std::size_t e = 0; e < centred.cols; ++e) {
        if (centred.rows > 8 && cells[e][7] != no_node) {
            put_pieces(Q9_into_Q4, cells[e], 4, out, next);
        } else {
            put_pieces(T7_into_Q4, cells[e], 4, out, next);
        }
    }
    return next;
}

/// Counts the elements marked as triangles; a matrix of 3 rows has none.
std::size_t count_marked_triangles(const dense2D<unsigned>& connect) noexcept {
    if (connect.rows != 4) return 0;
    const auto cells = columns_of(connect);
    std::size_t count = 0;
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (cells[e][3] == no_node) ++count;
    return count;
}

} // namespace

int split_into_linear(const dense2D<unsigned>& connect_in, dense2D<unsigned>& connect_out) {
    if (connect_in.empty()) return status_ok;
    if (connect_in.rows != 6 && connect_in.rows != 9) return -1;
    const std::size_t height = connect_out.rows;
    if (height != 0 && height != 3 && height != 4) return -2;
    dense2D<unsigned> elements(connect_in);
    std::size_t pieces;
    if (!separate(elements, connect_out) || !checked_multiply(elements.cols, 4, pieces))
        return status_memory;
    const std::size_t first = connect_out.cols;
    const std::size_t rows = elements.rows == 9 || height == 4 ? 4 : 3;
    if (!extend(connect_out, rows, pieces)) return status_memory;
    if (elements.rows == 6) {
        split_quadratic<triangle_cells>(elements, first, connect_out);
    } else {
        split_quadratic<quadratic_cells>(elements, first, connect_out);
    }
    return status_ok;
}

int split_into_Q4(dense2D<double>& pos, const dense2D<unsigned>& connect_in,
                  dense2D<unsigned>& connect_out, const dense2D<unsigned>& edges) {
    if (connect_in.cols == 0) return status_ok;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (!tessel::check_IDs(connect_in, ELEMENT_FACE, node_bound(pos))) return -2;
    if (!takes_rows(connect_out, 4)) return -3;
    if (!tessel::check_IDs(edges, ELEMENT_E3, node_bound(pos))) return -4;
    if (connect_in.empty()) return status_ok;

    dense2D<unsigned> elements(connect_in);
    dense2D<unsigned> given(edges);
    std::size_t quads, total;
    const std::size_t first = connect_out.cols;
    const bool ready = separate(elements, connect_out) && separate(given, connect_out) &&
                       checked_multiply(elements.cols, 4, quads) &&
                       checked_add(first, quads, total);
    if (!ready) return status_memory;
    // All memory first: a mesh that cannot be finished leaves `pos` alone.
    const std::size_t most = total - count_marked_triangles(elements);
    if (!connect_out.reserve(4, most, 1)) return status_memory;
    dense2D<unsigned> centred;
    if (convert_into_high_order(pos, elements, 1, 1, 1, centred, given) < 0) return status_memory;
    const std::size_t triangles =
        elements.rows == 3 ? elements.cols : count_marked_triangles(elements);
    connect_out.resize(4, first, no_node);
    connect_out.resize(4, total - triangles);
    connect_out.resize(4, split_centred(centred, columns_of(connect_out), first));
    return status_ok;
}

} // namespace zel::tessel2d
