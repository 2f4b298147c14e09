// zel tessel2d: planar and surface mesh tools.
// Conversion: order of elements, splitting, orientation and collapsed quadrilaterals.
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/orientation.h"

#include <algorithm>
#include <map>
#include <utility>

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

/// Linear elements with their nodes: loose cells or a grid.
mesh linear_mesh(input& in) {
    if (in.one_in(4)) return grid(in, in.one_of({2u, 3u}), in.one_of({4u, 3u}));
    mesh m;
    m.pos = positions(in);
    m.connect = cells(in, {4, 3}, m.pos.cols);
    return m;
}

/// A second connectivity: of its own, or in the block of the first.
dense2D<unsigned> other_cells(input& in, const dense2D<unsigned>& first,
                              std::initializer_list<unsigned> wanted, std::size_t nodes) {
    if (in.one_in(8)) return sharing_matrix(in, first, rows(in, wanted));
    return in.flag() ? cells(in, wanted, nodes) : dense2D<unsigned>();
}

/// Edges with their nodes: `height` rows, taken from the elements where that is possible.
dense2D<unsigned> given_edges(input& in, const mesh& m, unsigned height) {
    if (!in.flag()) return dense2D<unsigned>();
    dense2D<unsigned> edges = other_cells(in, m.connect, {height}, m.pos.cols);
    for (std::size_t j = 0; j < edges.cols && edges.rows >= 2 && m.connect.rows >= 3; ++j) {
        if (m.connect.cols == 0 || !in.flag()) continue;
        const std::size_t e = in.byte() % m.connect.cols;
        const unsigned k = in.below(3);
        edges(k % 2, j) = m.connect(k, e);
        edges(1 - k % 2, j) = m.connect((k + 1) % 3, e);
    }
    return edges;
}

// ------------------------------------------------------------------------------------------ order

void into_linear(input& in) {
    dense2D<unsigned> connect = cells(in, {6, 8, 9}, 20);
    const dense2D<unsigned> before = plain_copy(connect);
    const int status = call(
        in, "convert_into_linear", {-1}, [](auto& c) { return t2::convert_into_linear(c); },
        turns(connect));
    if (status != 0 || before.empty()) return;
    require(connect.cols == before.cols && connect.rows == (before.rows == 6 ? 3u : 4u),
            "columns stay and rows are cut");
}

/// After success, elements name nodes.
void require_raised(int status, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                    const std::vector<unsigned>& odd) {
    if (status != 0) {
        require(connect.empty(), "no elements are left after a failure");
        return;
    }
    require_nodes(connect, 0, pos.cols, odd);
}

void into_quadratic(input& in) {
    mesh m = linear_mesh(in);
    const std::vector<unsigned> odd = odd_numbers(m.pos.cols, m.connect);
    const int status = call(
        in, "convert_into_quadratic", {-1, -2, -6},
        [](auto& p, auto& c) { return t2::convert_into_quadratic(p, c); }, grows(m.pos),
        makes(m.connect));
    require_raised(status, m.pos, m.connect, odd);
}

void into_quadratic_with_edges(input& in) {
    mesh m = linear_mesh(in);
    const dense2D<unsigned> edges = given_edges(in, m, 3);
    const std::vector<unsigned> odd = odd_numbers(m.pos.cols, m.connect, edges);
    const int status = call(
        in, "convert_into_quadratic with edges", {-1, -2, -6},
        [](auto& p, auto& c, auto& g) { return t2::convert_into_quadratic(p, c, g); }, grows(m.pos),
        makes(m.connect), reads(edges));
    require_raised(status, m.pos, m.connect, odd);
}

/// Numbers of nodes on edges and inside: mostly some that fit together.
struct order {
    unsigned a, b, c;
};
order any_order(input& in) {
    const unsigned m = in.below(4);
    if (in.one_in(4)) return {in.count(), in.count(), in.count()};
    return {in.below(5), m * m, in.one_of({1u, 0u, 3u, 2u})};
}

void into_high_order_in_place(input& in) {
    mesh m = linear_mesh(in);
    const order o = any_order(in);
    const dense2D<unsigned> edges = given_edges(in, m, o.a < 20 ? o.a + 2 : 3);
    const int status = call(
        in, "convert_into_high_order in place", {-1, -2, -4, -5, -6},
        [=](auto& p, auto& c, auto& g) {
            return t2::convert_into_high_order(p, c, o.a, o.b, o.c, g);
        },
        grows(m.pos), makes(m.connect), reads(edges));
    if (status != 0) require(m.connect.empty(), "no elements are left after a failure");
}

void into_high_order(input& in) {
    mesh m = linear_mesh(in);
    const order o = any_order(in);
    dense2D<unsigned> edges = given_edges(in, m, o.a < 20 ? o.a + 2 : 3);
    dense2D<unsigned> other = other_cells(in, m.connect, {4, 9, 3}, m.pos.cols);
    // The output may be the matrix of elements or that of edges itself.
    dense2D<unsigned>& out = in.one_in(16) ? m.connect : in.one_in(16) ? edges : other;
    const std::size_t columns = m.connect.cols;
    const int status = call(
        in, "convert_into_high_order", {-1, -2, -4, -5, -6},
        [=](auto& p, auto& c, auto& to, auto& g) {
            return t2::convert_into_high_order(p, c, o.a, o.b, o.c, to, g);
        },
        grows(m.pos), reads(m.connect), makes(out), reads(edges));
    if (status != 0) require(out.empty(), "no elements are left after a failure");
    if (status == 0 && !out.empty()) require(out.cols == columns, "one column per element");
}

// ------------------------------------------------------------------------------------------ pieces

void into_four(input& in) {
    const dense2D<unsigned> from = cells(in, {9, 6}, 30);
    dense2D<unsigned> to = other_cells(in, from, {4, 3}, 30);
    const std::size_t first = to.cols;
    const std::vector<unsigned> odd = odd_numbers(0, from);
    const auto f = [](auto& c, auto& d) { return t2::split_into_linear(c, d); };
    // Row 3 of old columns may be written, so that they are not looked at here.
    const int status = call(in, "split_into_linear", {-1, -2}, f, reads(from), turns(to));
    if (status == 0 && !from.empty()) require_nodes(to, first, 0, odd);
}

void into_quads(input& in) {
    mesh m = linear_mesh(in);
    const dense2D<unsigned> edges = given_edges(in, m, 3);
    dense2D<unsigned> other = other_cells(in, m.connect, {4}, m.pos.cols);
    dense2D<unsigned>& to = in.one_in(16) ? m.connect : other;
    const std::size_t first = to.cols;
    const std::vector<unsigned> odd = odd_numbers(m.pos.cols, m.connect, edges);
    const int status = call(
        in, "split_into_Q4", {-1, -2, -3, -4},
        [](auto& p, auto& c, auto& d, auto& g) { return t2::split_into_Q4(p, c, d, g); },
        grows(m.pos), reads(m.connect), grows(to), reads(edges));
    if (status == 0) require_nodes(to, first, m.pos.cols, odd);
}

void cut_blindly(input& in) {
    dense2D<unsigned> from = cells(in, {4, 3}, 30);
    dense2D<unsigned> other = other_cells(in, from, {3}, 30);
    dense2D<unsigned>& to = in.one_in(16) ? from : other;
    const std::size_t first = to.cols;
    const std::vector<unsigned> odd = odd_numbers(0, from);
    const int status = call(
        in, "split_Q4_into_T3 blindly", {any_count, -1, -2},
        [](auto& c, auto& d) { return t2::split_Q4_into_T3(c, d); }, reads(from), grows(to));
    if (status > 0) require_nodes(to, first, 0, odd);
}

void cut_well(input& in) {
    mesh m = linear_mesh(in);
    dense2D<unsigned> other = other_cells(in, m.connect, {3}, m.pos.cols);
    dense2D<unsigned>& to = in.one_in(16) ? m.connect : other;
    const std::size_t first = to.cols;
    const std::size_t columns = m.connect.cols;
    const int status = call(
        in, "split_Q4_into_T3", {any_count, -1, -2, -3},
        [](auto& p, auto& c, auto& d) { return t2::split_Q4_into_T3(p, c, d); }, reads(m.pos),
        reads(m.connect), grows(to));
    if (status < 0 || m.connect.empty()) return;
    require(to.cols == first + columns + static_cast<unsigned>(status),
            "each quadrilateral gives two triangles");
    require_nodes(to, first, m.pos.cols, {});
}

void cut_the_bad(input& in) {
    mesh m = linear_mesh(in);
    const double shape = in.number() / 8;
    const double angle = in.number() / 8;
    const double warp = in.number() / 8;
    const int criterion = in.option();
    dense2D<unsigned> other = other_cells(in, m.connect, {4}, m.pos.cols);
    dense2D<unsigned>& to = in.one_in(16) ? m.connect : other;
    const std::size_t first = to.cols;
    dense1D<unsigned, 8> kept = node_list(in, in.below(4), 8);
    dense1D<unsigned, 8> split = node_list(in, in.below(4), 8);
    if (in.one_in(8)) kept = sharing_list(in, m.connect);
    const int status = call(
        in, "split_Q4_into_T3 of the bad", {any_count, -1, -2, -8},
        [=](auto& p, auto& c, auto& k, auto& s, auto& d) {
            return t2::split_Q4_into_T3(p, c, shape, angle, warp, criterion, k, s, d);
        },
        reads(m.pos), reads(m.connect), makes(kept), makes(split), grows(to));
    if (status < 0) require(kept.empty() && split.empty(), "lists are empty after a failure");
    if (status <= 0 || kept.storage.get() == split.storage.get()) return;
    if (to.storage.get() == kept.storage.get()) return;
    require(split.size == static_cast<unsigned>(status), "what is cut is listed");
    require(to.cols == first + kept.size + 2 * split.size, "elements are kept or cut");
    require_nodes(to, first, m.pos.cols, {no_node});
}

// ------------------------------------------------------------------------------------- orientation

zel::element_type surface_kind(input& in) {
    using namespace zel;
    return in.one_of({ELEMENT_FACE, ELEMENT_T3, ELEMENT_Q4, ELEMENT_T6, ELEMENT_Q8, ELEMENT_Q9,
                      ELEMENT_FACE_HO, ELEMENT_E2, ELEMENT_NONE, ELEMENT_H27});
}

void turn(input& in) {
    dense2D<unsigned> connect = cells(in, {4, 3, 6, 8, 9}, 30);
    call(
        in, "flip", {-1}, [](auto& c) { return t2::flip(c); }, turns(connect));
}

void turn_kind(input& in) {
    const zel::element_type kind = surface_kind(in);
    dense2D<unsigned> connect = cells(in, {4, 3, 6, 8, 9}, 30);
    call(
        in, "flip of a kind", {-2}, [=](auto& c) { return t2::flip(c, kind); }, turns(connect));
}

void turn_with_neighbors(input& in) {
    const zel::element_type kind = surface_kind(in);
    dense2D<unsigned> connect = cells(in, {4, 3, 6, 8, 9}, 30);
    dense2D<unsigned> neighbors = other_cells(in, connect, {4, 3}, 30);
    if (!in.one_in(8)) neighbors = cells(in, rows(in, {4, 3}), connect.cols, 30);
    call(
        in, "flip with neighbors", {-2, -3}, [=](auto& c, auto& n) { return t2::flip(c, n, kind); },
        turns(connect), turns(neighbors));
}

/// The neighbours along common edges, as far as the elements are good for that; a few are overwritten.
dense2D<unsigned> neighbors_of(input& in, const dense2D<unsigned>& connect) {
    dense2D<unsigned> n = blank_matrix<unsigned>(in, connect.rows, connect.cols);
    if (n.empty()) return n;
    std::map<std::pair<unsigned, unsigned>, std::pair<unsigned, std::size_t>> open;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned corners = connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
        for (unsigned k = 0; k < n.rows; ++k) {
            n(k, e) = no_node;
            if (k >= corners) continue;
            const unsigned from = corners == 3 ? (k + 1) % 3 : k;
            const auto edge = std::minmax(connect(from, e), connect((from + 1) % corners, e));
            const auto place = open.insert({edge, {k, e}});
            if (place.second) continue;
            const auto [other_k, other] = place.first->second;
            n(k, e) = static_cast<unsigned>(other);
            n(other_k, other) = static_cast<unsigned>(e);
        }
    }
    for (unsigned changes = in.below(4); changes > 0; --changes) {
        const std::size_t j = in.byte() % n.cols;
        n(in.below(static_cast<unsigned>(n.rows)), j) = in.node(n.cols, true);
    }
    return n;
}

void reorient(input& in) {
    mesh m = linear_mesh(in);
    dense2D<unsigned>& connect = m.connect;
    // Turn some over, so that there is something to do.
    for (std::size_t e = 0; e < connect.cols && connect.rows >= 3; ++e)
        if (in.one_in(4)) std::swap(connect(0, e), connect(2, e));
    const bool loose = connect.rows < 3 || connect.rows > 4 || in.one_in(4);
    dense2D<unsigned> neighbors =
        loose ? other_cells(in, connect, {4, 3}, connect.cols) : neighbors_of(in, connect);
    const unsigned seed = in.flag() ? in.count() : in.below(4);
    const int all = in.flag() ? 1 : in.option();
    // A conflict leaves a negative count, and what has been turned stays turned.
    const int status = call(
        in, "mesh_reorient", {any_count, -1, -2, -3},
        [=](auto& c, auto& n) { return t2::mesh_reorient(c, n, seed, all); }, makes(connect),
        makes(neighbors));
    require(status <= static_cast<int>(4 * connect.cols),
            "an element is turned a few times at most");
}

void degenerated_Q4(input& in) {
    dense2D<unsigned> connect = cells(in, {4}, 5);
    const int status = call(
        in, "convert_degenerated_Q4", {any_count, -1},
        [](auto& c) { return t2::convert_degenerated_Q4(c); }, turns(connect));
    require(status <= static_cast<int>(connect.cols), "no more are changed than there are");
}

void degenerated_Q(input& in) {
    dense2D<unsigned> connect = cells(in, {4, 8, 9}, 5);
    dense1D<unsigned, 8> changed =
        in.one_in(8) ? sharing_list(in, connect) : node_list(in, in.below(4), 8);
    const int status = call(
        in, "convert_degenerated_Q", {any_count, -1},
        [](auto& c, auto& l) { return t2::convert_degenerated_Q(c, l); }, turns(connect),
        makes(changed));
    if (status > 0 && connect.storage.get() != changed.storage.get())
        require(changed.size == static_cast<unsigned>(status), "what is changed is listed");
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {into_linear,
                                           into_quadratic,
                                           into_quadratic_with_edges,
                                           into_high_order_in_place,
                                           into_high_order,
                                           into_four,
                                           into_quads,
                                           cut_blindly,
                                           cut_well,
                                           cut_the_bad,
                                           turn,
                                           turn_kind,
                                           turn_with_neighbors,
                                           reorient,
                                           degenerated_Q4,
                                           degenerated_Q};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
