// SPDX-License-Identifier: Apache-2.0
//
// The volume within a closed surface, exactly rounded.
//
// Six times the volume is the sum of the determinants of the triangles' corners; the bilinear surface of a
// quadrilateral encloses the mean of what its two cuts into triangles enclose. So twelve times the volume is a
// sum of products of three coordinates with signs. Each product is an integer of 159 bits times a power of
// two; the sum is kept as one long integer, is divided by twelve in the end, and rounded once.
#include "zel/host/volume.h"

#include "geometry/volume_terms.h"
#include "host/sides.h"
#include "zel/host/adjacency.h"
#include "zel/tessel.h"

namespace zel::host {

namespace {

/// Counts the edges that are not shared by exactly two sides in opposite directions.
struct count_open_edges {
    columns<const unsigned> connect;
    std::size_t rows;
    std::size_t open = 0;

    template <class Side>
    bool upwards(const Side& s) const noexcept {
        const unsigned* const cell = connect[s.element()];
        const unsigned corners = rows == 3 ? 3 : mixed_cells::corners(cell);
        const auto ends = tessel2d::edge_nodes(cell, corners, s.edge());
        return ends.a < ends.b;
    }
    template <class Side>
    void ahead(const Side& s) const noexcept {
        tessel2d::prefetch(connect[s.element()]);
    }
    template <class Side>
    void two(const Side& s, const Side& t, bool joined) noexcept {
        if (!joined) {
            ++open;
        } else if (upwards(s) != upwards(t)) {
            --open;
        }
    }
    template <class Side>
    void three(const Side& s, const Side& t, const Side&) noexcept {
        if (upwards(s) != upwards(t)) ++open;
    }
    template <class Side>
    void more(const Side&) const noexcept {}
};

/// `Index` as in `filed_sides`. False: memory is exhausted.
template <class Shape, class Index>
bool find_open_edges(const dense2D<unsigned>& connect, std::size_t nodes,
                     std::size_t& open) noexcept {
    filed_sides<Shape, Index> sides;
    if (!sides.file(connect, nodes)) return false;
    count_open_edges count{columns_of(connect), connect.rows};
    sides.visit_edges(nodes, count);
    open = count.open;
    return true;
}
template <class Shape>
bool find_open_edges(const dense2D<unsigned>& connect, std::size_t nodes,
                     std::size_t& open) noexcept {
    constexpr std::size_t small = std::size_t{1} << 27;
    return connect.cols < small ? find_open_edges<Shape, std::uint32_t>(connect, nodes, open)
                                : find_open_edges<Shape, std::uint64_t>(connect, nodes, open);
}

} // namespace

int volume(const dense2D<double>& pos, const dense2D<unsigned>& connect, double& result) {
    if (connect.empty()) {
        result = 0;
        return status_ok;
    }
    if (pos.rows != 3) return -1;
    if (connect.cols >= 0xFFFFFFFEu || pos.cols > tessel2d::most_nodes) return -2;
    if (!tessel::check_IDs(connect, ELEMENT_FACE, static_cast<unsigned>(pos.cols))) return -2;
    std::size_t open = 0;
    if (!(connect.rows == 3 ? find_open_edges<triangle_cells>(connect, pos.cols, open)
                            : find_open_edges<mixed_cells>(connect, pos.cols, open))) {
        return status_memory;
    }
    if (open != 0) return tessel2d::as_count(open);
    tessel2d::long_sum sum;
    for (std::size_t e = 0; e < connect.cols; ++e)
        tessel2d::add_element(sum, pos, connect[e], connect.rows == 4 && connect(3, e) != no_node);
    result = sum.rounded(12);
    return status_ok;
}

} // namespace zel::host
