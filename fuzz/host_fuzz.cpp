// SPDX-License-Identifier: Apache-2.0
//
// Fuzz driver of the host tools.
#include "fuzz/adjacency.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/located_mesh.h"
#include "fuzz/meshes.h"
#include "fuzz/messages_by_hand.h"
#include "fuzz/volume_by_hand.h"

#include "zel/host.h"
#include "zel/tessel2d/location.h"

namespace {

using namespace zel_fuzz;
using point = zel::vector_fixed<double, 2>;

/// Triangles, quadrilaterals or both, and now and then a number or a height that cannot be.
dense2D<unsigned> elements(input& in, std::size_t nodes) {
    return cells(in, in.one_in(8) ? in.below(7) : 3 + in.below(2), in.below(16), nodes);
}

/// The elements, or those of a shape with its number of nodes.
dense2D<unsigned> surface(input& in, std::size_t& nodes) {
    const dense2D<unsigned> connect = elements(in, nodes);
    if (!in.one_in(8)) return connect;
    const mesh m = shaped(in, 3, in.one_of({3u, 4u}));
    nodes = m.pos.cols;
    return m.connect;
}

/// A mesh so many times over, its elements and nodes in other places, that it is taken as one in random order.
dense2D<unsigned> scattered(const dense2D<unsigned>& connect, std::size_t& nodes) {
    constexpr std::size_t copies = 101;
    dense2D<unsigned> result(connect.rows, connect.cols * copies);
    // A prime that divides none of the counts: each element and node gets a place of its own.
    const auto place = [](std::size_t i, std::size_t n) { return i * 1000003 % n; };
    for (std::size_t j = 0; j < result.cols; ++j) {
        for (std::size_t i = 0; i < result.rows; ++i) {
            const unsigned node = connect(i, j % connect.cols);
            result(i, place(j, result.cols)) =
                node == no_node
                    ? no_node
                    : static_cast<unsigned>(place(node + j / connect.cols * nodes, nodes * copies));
        }
    }
    nodes *= copies;
    return result;
}

void build(input& in) {
    std::size_t nodes = in.below(12);
    dense2D<unsigned> connect = surface(in, nodes);
    if (in.one_in(16) && !connect.empty() && is_surface(connect, nodes))
        connect = scattered(connect, nodes);
    zel::host::adjacency a;
    a.neighbors = elements(in, nodes);
    a.ancestors = node_list(in, in.below(6), 9);
    const int status = call(
        in, "build_adjacency", {-1},
        [&](const auto& cells, auto& neighbors, auto& ancestors) {
            zel::host::adjacency result;
            result.neighbors.shallow_copy(neighbors);
            result.ancestors = ancestors;
            const int outcome = zel::host::build_adjacency(cells, nodes, result);
            if (outcome == 0) {
                neighbors.shallow_copy(result.neighbors);
                ancestors = result.ancestors;
            }
            return outcome;
        },
        reads(connect), makes(a.neighbors), makes(a.ancestors));
    const bool good = connect.empty() || is_surface(connect, nodes);
    require_status(status, good ? 0 : -1);
    if (status != 0 || connect.empty()) return;
    const auto expected = zel_test::adjacency_of(plain_copy(connect), nodes);
    require(same(zel_fuzz::elements(expected.neighbors), zel_fuzz::elements(a.neighbors)),
            "neighbours are those of a plain search");
    require(same(zel_fuzz::elements(expected.ancestors), zel_fuzz::elements(a.ancestors)),
            "ancestors are the first elements");
}

bool is_mesh(const dense2D<unsigned>& connect, std::size_t nodes) {
    return connect.empty() || is_surface(connect, nodes);
}

void edges(input& in) {
    std::size_t nodes = in.below(12);
    const dense2D<unsigned> connect = surface(in, nodes);
    dense2D<unsigned> ends = elements(in, nodes);
    dense2D<unsigned> beside = elements(in, nodes);
    const int status = call(
        in, "unique_edges", {-1, any_count},
        [&](const auto& c, auto& e, auto& b) { return zel::host::unique_edges(c, nodes, e, b); },
        reads(connect), makes(ends), makes(beside));
    if (!is_mesh(connect, nodes)) require(status == -1, "the elements are refused");
    if (status < 0) return;
    std::set<std::pair<unsigned, unsigned>> distinct;
    std::size_t sides = 0;
    for (std::size_t e = 0; !connect.empty() && e < connect.cols; ++e) {
        const unsigned n = corners(connect, e);
        for (unsigned k = 0; k < n; ++k) {
            const unsigned a = connect(k, e);
            const unsigned b = connect((k + 1) % n, e);
            if (a == b) continue;
            distinct.insert(std::minmax({a, b}));
            ++sides;
        }
    }
    require(ends.cols == distinct.size() && beside.cols == ends.cols, "each edge stands once");
    for (std::size_t j = 0; j < ends.cols; ++j)
        require(distinct.erase(std::minmax({ends(0, j), ends(1, j)})) == 1, "it is an edge");
    require(sides >= ends.cols, "no edge is made up");
}

void boundary(input& in) {
    std::size_t nodes = in.below(12);
    const dense2D<unsigned> connect = surface(in, nodes);
    dense2D<unsigned> ends = elements(in, nodes);
    const int status = call(
        in, "boundary_edges", {-1},
        [&](const auto& c, auto& e) { return zel::host::boundary_edges(c, nodes, e); },
        reads(connect), makes(ends));
    dense1D<unsigned, 8> starts = node_list(in, in.below(6), 9);
    dense1D<unsigned, 8> loops = node_list(in, in.below(6), 9);
    const int walked = call(
        in, "boundary_loops", {-1},
        [&](const auto& c, auto& s, auto& l) { return zel::host::boundary_loops(c, nodes, s, l); },
        reads(connect), makes(starts), makes(loops));
    if (is_mesh(connect, nodes) && is_oriented(connect)) require_status(walked, 0);
    if (status != 0 || walked != 0) return;
    require(loops.size == ends.cols + starts.size - 1, "the loops hold every edge");
    for (std::size_t i = 0; i + 1 < starts.size; ++i)
        require(loops[starts[i]] == loops[starts[i + 1] - 1], "each loop is closed");
}

void parts(input& in) {
    std::size_t nodes = in.below(12);
    const dense2D<unsigned> connect = surface(in, nodes);
    const adjacency a = beside(in, connect, nodes);
    dense1D<unsigned, 8> component = node_list(in, in.below(6), 9);
    const int count = call(
        in, "components", {-1, any_count},
        [](const auto& n, auto& c) { return zel::host::components(n, c); }, reads(a.neighbors),
        makes(component));
    if (count >= 0) {
        for (const unsigned c : component)
            require(c < static_cast<unsigned>(count), "it is a component");
        for (std::size_t e = 0; e < component.size; ++e)
            for (std::size_t k = 0; k < a.neighbors.rows; ++k)
                if (a.neighbors(k, e) != no_node)
                    require(component[a.neighbors(k, e)] == component[e],
                            "neighbours are together");
    }
    zel::host::orientation found;
    const int outcome = call(
        in, "is_orientable", {-1, -2, any_count},
        [&](const auto& c, const auto& n) {
            found = {};
            return zel::host::is_orientable(c, n, found);
        },
        reads(connect), reads(a.neighbors));
    if (a.in_order && !now.failed) require(outcome == 1 && found.against == 0, "it runs alike");
    if (outcome == 0) require(found.element < connect.cols, "the fault is somewhere");
}

/// Columns of any length in any matrix: what is brought into the order of a format comes back.
void node_orders(input& in) {
    const unsigned rows = in.below(28);
    dense2D<unsigned> connect(rows, in.below(4));
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned used = in.below(rows + 1);
        for (std::size_t k = 0; k < rows; ++k) connect(k, e) = k < used ? in.below(9) : no_node;
    }
    dense2D<unsigned> before;
    if (!before.copy(connect)) return;
    const auto format = static_cast<zel::host::node_format>(in.below(3));
    const unsigned edge_nodes = in.below(6);
    const int status = zel::host::reorder_to(format, edge_nodes, connect);
    if (status == 0)
        require(zel::host::reorder_from(format, edge_nodes, connect) == 0, "there is a way back");
    for (std::size_t e = 0; e < connect.cols; ++e)
        for (std::size_t k = 0; k < rows; ++k)
            require(connect(k, e) == before(k, e), "it is as it was");
}

/// Points, mostly a 2 x n matrix.
dense2D<double> some_points(input& in) {
    dense2D<double> points = blank_matrix<double>(in, in.one_in(8) ? in.below(4) : 2, in.below(8));
    for (std::size_t j = 0; !points.empty() && j < points.cols; ++j)
        for (std::size_t i = 0; i < points.rows; ++i) points(i, j) = in.number();
    return points;
}

// ------------------------------------------------------------------------------------------ location

/// The status of `locator::build`, with adjacency or without.
int build_status(const located_mesh& l, bool with_adjacency) {
    if (l.pos.rows != 2) return -1;
    if (!is_mesh(l.connect, l.pos.cols)) return -2;
    return with_adjacency ? located_status(l, zel::ELEMENT_FACE) : 0;
}

/// Gives a locator, which holds a triangle, a mesh. Returns true if it has been taken.
bool take(input& in, zel::host::locator& at, const located_mesh& l, bool with_adjacency) {
    dense2D<double> corner(2, 3, 0.0);
    corner(0, 1) = corner(1, 2) = 1;
    dense2D<unsigned> triangle(3, 1);
    for (unsigned k = 0; k < 3; ++k) triangle(k, 0) = k;
    require(at.build(corner, triangle) == 0, "a triangle is taken");
    const auto build = [&](const auto& p, const auto& c, const auto& n, const auto& a) {
        return with_adjacency ? at.build(p, c, n, a) : at.build(p, c);
    };
    const int status = call(in, "locator::build", {-1, -2, -3, -4}, build, reads(l.pos),
                            reads(l.connect), reads(l.neighbors), reads(l.ancestors));
    require_status(status, build_status(l, with_adjacency));
    unsigned element = 5;
    if (status < 0 && status != -199)
        require(at.locate({0.25, 0.25}, element) == 1 && element == 0, "the former mesh stays");
    // Where memory has run out nodes may be missing from which searches start.
    if (now.failed) return build(l.pos, l.connect, l.neighbors, l.ancestors) == 0;
    return status == 0;
}

/// Points in and around a mesh, now and then so many that they are taken in an order of their own.
dense2D<double> points_around(input& in, const dense2D<double>& pos) {
    const std::size_t some = in.below(8);
    const bool many = in.one_in(64) && some != 0;
    dense2D<double> points =
        blank_matrix<double>(in, in.one_in(16) ? in.below(4) : 2, many ? 4100 : some);
    if (many) in.room = std::size_t{1} << 20;
    for (std::size_t j = 0; !points.empty() && j < points.cols; ++j) {
        auto p = draw_point(in, pos, true);
        if (in.one_in(4)) { // just beside a side
            const double little = in.one_of({1e-7, 1e-5, 1e-3, 1e-9});
            for (double& x : p) x += little * (in.small() - 4);
        }
        for (std::size_t i = 0; i < points.rows; ++i)
            points(i, j) = j < some ? (i < 2 ? p[i] : 0) : points(i, j % some);
    }
    return points;
}

bool are_points(const dense2D<double>& points) {
    return points.rows == 2 || (points.rows == 0 && points.cols == 0);
}

/// What is inside has shares that add up to 1, and what is not has none.
void require_weights(const dense2D<double>& weights, std::size_t j, unsigned used) {
    double sum = 0;
    double size = 1;
    for (unsigned i = 0; i < weights.rows; ++i) {
        if (i >= used) require(same(weights(i, j), 0.0), "shares of no node are 0");
        sum += weights(i, j);
        size += std::fabs(weights(i, j));
    }
    if (used != 0)
        require(!(std::fabs(sum - 1) > 1e-14 * size), "the shares of the nodes add up to 1");
}

void locate(input& in) {
    const located_mesh l = draw_located(in);
    const bool with_adjacency = in.flag();
    zel::host::locator at;
    const bool taken = take(in, at, l, with_adjacency);
    if (!taken) return;
    const dense2D<double> points = points_around(in, l.pos);
    const double tolerance = in.one_in(4) ? in.number() : 1e-6;
    const unsigned threads = points.cols < 256 ? in.below(4) : 1;
    dense1D<unsigned, 8> holders = node_list(in, in.below(4), 9);
    dense1D<unsigned, 8> places = node_list(in, in.below(4), 9);
    dense2D<double> weights = doubles(in, in.below(5), in.below(4));
    const int status = call(
        in, "locator::locate", {-1},
        [&](const auto& p, auto& e, auto& w, auto& s) {
            return at.locate(p, e, w, s, tolerance, threads);
        },
        reads(points), makes(holders), makes(weights), makes(places));
    in.room = 0;
    require_status(status, are_points(points) ? 0 : -1);
    // Short of memory a search around a node leaves elements out.
    if (status != 0 || now.failed) return;
    require(holders.size == points.cols && places.size == points.cols &&
                weights.cols == points.cols && weights.rows == l.connect.rows,
            "there is one result for each point");
    zel::host::adjacency around;
    around.neighbors = l.neighbors;
    around.ancestors = l.ancestors;
    if (!with_adjacency && !l.connect.empty())
        require(zel::host::build_adjacency(l.connect, l.pos.cols, around) == 0, "it is a mesh");
    const zel::tessel::node_detector detector(l.pos);
    const auto type = l.connect.rows == 3 ? zel::ELEMENT_T3 : zel::ELEMENT_FACE;
    for (std::size_t j = 0; j < holders.size; ++j) {
        const point p{points(0, j), points(1, j)};
        unsigned one;
        const int found = at.locate(p, one, tolerance);
        require(one == holders[j] && places[j] == (found == 1   ? 0u
                                                   : found == 0 ? 1u
                                                                : 2u),
                "a point by itself is found where it is found among others");
        const bool inside = found == 1;
        require_weights(weights, j, inside ? corners(l.connect, one) : 0);
        if (l.connect.empty() || j >= 8) continue;
        unsigned expected;
        const int searched = zel::tessel2d::get_element_containing_point(
            l.pos, l.connect, around.neighbors, around.ancestors, detector, type, p, expected,
            tolerance);
        require(expected == one && searched == found, "it is what the public search finds");
    }
}

/// A table that was good, with something in it that cannot be.
void spoil(input& in, zel::host::transfer_table& table, const located_mesh& l) {
    const std::size_t j = in.byte() % table.states.size;
    switch (in.below(4)) {
    case 0:
        table.states[j] = 3 + in.below(4);
        break;
    case 1: {
        const std::size_t bound[3] = {l.connect.cols, l.pos.cols, std::size_t{no_node} + 1};
        if (table.states[j] == 2) table.states[j] = in.below(2);
        table.elements[j] =
            static_cast<unsigned>(bound[table.states[j]]) + in.below(2) * in.below(9);
        break;
    }
    case 2:
        table.elements.resize(table.elements.size + 1, 0u);
        break;
    default:
        table.local = dense2D<double>(in.one_of({0u, 1u, 3u}), table.states.size, 0.0);
    }
}

/// The nodes of a mesh, and the points behind them.
template <class T>
dense2D<T> joined(const dense2D<T>& a, const dense2D<T>& b, std::size_t height) {
    dense2D<T> all(height, a.cols + b.cols);
    for (std::size_t j = 0; j < all.cols; ++j)
        for (std::size_t i = 0; i < height; ++i)
            all(i, j) = j < a.cols ? a(i, j) : b(i, j - a.cols);
    return all;
}

/// What `interpolate` carries onto the points when they stand behind the nodes of the mesh.
void require_interpolated(const located_mesh& l, const dense2D<double>& points,
                          const dense2D<double>& field, const dense2D<double>& carried,
                          double unserved) {
    const std::size_t n = l.pos.cols;
    const dense2D<double> pos = joined(l.pos, points, 2);
    dense2D<double> values =
        joined(field, dense2D<double>(field.rows, points.cols, unserved), field.rows);
    dense1D<unsigned, 8> ancestors(pos.cols, no_node);
    std::copy(l.ancestors.begin(), l.ancestors.end(), ancestors.begin());
    dense1D<unsigned, 8> nodes(points.cols);
    for (std::size_t j = 0; j < points.cols; ++j) nodes[j] = static_cast<unsigned>(n + j);
    const auto type = l.connect.rows == 3 ? zel::ELEMENT_T3 : zel::ELEMENT_FACE;
    const int status =
        zel::tessel2d::interpolate(pos, l.connect, l.neighbors, ancestors, values, nodes, type);
    require(status == 0, "the points can be nodes");
    for (std::size_t j = 0; j < points.cols; ++j)
        for (std::size_t i = 0; i < field.rows; ++i)
            require(same(values(i, n + j), carried(i, j)), "the values are those of interpolate");
}

/// As many values as the locator and the points ask for; the result of the call with one row is the same.
void carry(input& in, const zel::host::locator& at, const located_mesh& l,
           const dense2D<double>& points, const zel::host::transfer_table& table) {
    const double unserved = in.number();
    const dense2D<double> field =
        doubles(in, in.below(4), in.one_in(16) ? in.below(16) : l.pos.cols);
    dense2D<double> carried = doubles(in, in.below(4), in.below(4));
    const int status = call(
        in, "locator::carry", {-1, -2},
        [&](const auto& f, auto& v) { return at.carry(table, f, v, unserved); }, reads(field),
        makes(carried));
    require_status(status, field.cols == l.pos.cols ? 0 : -2);
    if (status != 0) return;
    require(carried.rows == field.rows && carried.cols == points.cols,
            "there is a column for each point");
    require_interpolated(l, points, field, carried, unserved);
    if (field.empty()) return;
    dense1D<double, 8> first(field.cols);
    for (std::size_t j = 0; j < field.cols; ++j) first[j] = field(0, j);
    dense1D<double, 8> numbers = double_list(in, in.below(4));
    const int outcome = call(
        in, "locator::carry of a scalar", {-1, -2},
        [&](const auto& f, auto& v) { return at.carry(table, f, v, unserved); }, reads(first),
        makes(numbers));
    require_status(outcome, 0);
    for (std::size_t j = 0; outcome == 0 && j < points.cols; ++j)
        require(same(numbers[j], carried(0, j)), "a row by itself is carried as among others");
}

void transfer(input& in) {
    const located_mesh l = draw_located(in);
    zel::host::locator at;
    if (!take(in, at, l, true)) return;
    const dense2D<double> points = points_around(in, l.pos);
    const unsigned threads = points.cols < 256 ? in.below(4) : 1;
    dense1D<unsigned, 8> states = node_list(in, in.below(4), 9);
    dense1D<unsigned, 8> elements = node_list(in, in.below(4), 9);
    dense2D<double> local = doubles(in, in.below(4), in.below(4));
    zel::host::transfer_table table;
    const int status = call(
        in, "locator::transfer", {-1},
        [&](const auto& p, auto& s, auto& e, auto& c) {
            table.states = s;
            table.elements = e;
            table.local.shallow_copy(c);
            const int outcome = at.transfer(p, table, threads);
            s = table.states;
            e = table.elements;
            c.shallow_copy(table.local);
            return outcome;
        },
        reads(points), makes(states), makes(elements), makes(local));
    in.room = 0;
    require_status(status, are_points(points) ? 0 : -1);
    // Short of memory a search around a node leaves elements out.
    if (status != 0 || now.failed) return;
    for (std::size_t j = 0; j < points.cols; ++j) {
        require(table.states[j] != 2 || table.elements[j] == no_node, "nothing serves the point");
        if (table.states[j] != 0)
            require(same(local(0, j), 0.0) && same(local(1, j), 0.0), "it has no place within");
    }
    carry(in, at, l, points, table);
    if (points.cols == 0 || !in.one_in(4)) return;
    spoil(in, table, l);
    dense1D<double, 8> field(l.pos.cols, 3.0);
    dense1D<double, 8> carried = double_list(in, in.below(4));
    const std::size_t before = carried.size;
    now = {"locator::carry", at.carry(table, field, carried), false};
    require(now.status == -1 && carried.size == before, "a table that cannot be is refused");
}

/// Numbers of any size: what is taken comes back.
void wide_numbers(input& in) {
    constexpr std::int64_t odd[] = {-1,        -2, INT64_MAX, INT64_MIN, std::int64_t{1} << 32,
                                    0xFFFFFFFF};
    std::int64_t numbers[64];
    for (std::int64_t& number : numbers) number = in.one_in(16) ? odd[in.below(6)] : in.below(7);
    const unsigned rows = in.below(5), cols = in.below(8), leading = in.below(9);
    const std::size_t nodes = in.one_in(16) ? ~std::size_t{0} : in.below(9);
    dense2D<unsigned> connect;
    if (zel::host::narrow(numbers, rows, cols, leading, nodes, connect) != 0) return;
    std::int64_t back[64];
    zel::host::widen(connect, back);
    for (std::size_t j = 0; j < connect.cols; ++j)
        for (std::size_t i = 0; i < rows; ++i)
            require(back[j * rows + i] == numbers[j * (leading == 0 ? rows : leading) + i],
                    "numbers come back");
}

void outlines(input& in) {
    dense2D<double> pos = some_points(in);
    dense1D<unsigned, 8> line = node_list(in, in.below(6), 9);
    const unsigned a = in.node(pos.cols, true);
    const unsigned b = in.node(pos.cols, true);
    const zel::vector_fixed<double, 2> centre{in.number(), in.number()};
    const unsigned n = in.count();
    in.outgrows = n > 0x10000;
    call(
        in, "arc", {-1, -2, -3, -4},
        [&](auto& p, auto& l) { return zel::host::arc(p, a, b, centre, n, l); }, grows(pos),
        grows(line));
    in.outgrows = false;
    const dense1D<unsigned, 8> sides[3] = {node_list(in, in.below(6), 9),
                                           node_list(in, in.below(6), 9),
                                           node_list(in, in.below(6), 9)};
    dense1D<unsigned, 8> loop = node_list(in, in.below(6), 9);
    const int closed = call(
        in, "patch_loop", {-1, -2, -3, -4},
        [](const auto& s, const auto& t, const auto& u, const auto& v, auto& l) {
            return zel::host::patch_loop(s, t, u, v, l);
        },
        reads(line), reads(sides[0]), reads(sides[1]), reads(sides[2]), makes(loop));
    if (closed == 0) require(loop[0] == loop[loop.size - 1], "the loop is closed");
    dense1D<unsigned, 8> corners = node_list(in, in.below(6), 9);
    dense2D<unsigned> given = elements(in, 9);
    const unsigned between = in.below(4);
    call(
        in, "curved_edges", {-1, -2, -4},
        [&](const auto& l, auto& c, auto& e) { return zel::host::curved_edges(l, between, c, e); },
        reads(line), makes(corners), grows(given));
}

void appending(input& in) {
    dense2D<double> pos = some_points(in);
    dense2D<unsigned> connect = elements(in, pos.cols);
    const dense2D<double> pos2 = in.one_in(4) ? pos : some_points(in);
    const dense2D<unsigned> connect2 = in.one_in(4) ? connect : elements(in, pos2.cols);
    const std::size_t present = pos.empty() ? 0 : pos.cols;
    const int status = call(
        in, "append", {-1, -3, -4},
        [](auto& p, auto& c, const auto& q, const auto& d) {
            return zel::host::append(p, c, q, d);
        },
        grows(pos), grows(connect), reads(pos2), reads(connect2));
    if (status == 0 && !pos2.empty()) require(pos.cols >= present, "nodes have been added");
}

// ------------------------------------------------------------------------------ volume and messages

/// A surface that is closed, mostly, with nodes anywhere, far away, or far apart.
void volume(input& in) {
    std::size_t nodes = in.below(12);
    dense2D<unsigned> connect =
        in.one_in(4) ? surface(in, nodes) : closed_surface(in, in.one_of({3u, 4u}), nodes);
    if (in.one_in(8) && !connect.empty())
        connect(in.byte() % connect.rows, in.byte() % connect.cols) = in.node(nodes, true);
    dense2D<double> pos = doubles(in, rows(in, {3}), nodes);
    const double shift = in.one_in(4) ? in.number() : 0;
    // By these factors volumes come to lie in the middle between two doubles.
    const double factor = in.one_of({1.0, 0x1p50 + 1, 0x1p51 + 1, 0x1p52 + 1});
    for (std::size_t j = 0; j < pos.cols && pos.rows == 3 && !pos.empty(); ++j)
        pos(0, j) = pos(0, j) * factor + shift;
    const double before = in.number();
    std::vector<double> results;
    const int status = call(
        in, "volume", {-1, -2, any_count},
        [&](const auto& p, const auto& c) {
            results.push_back(before);
            return zel::host::volume(p, c, results.back());
        },
        reads(pos), reads(connect));
    const int refused = connect.empty()               ? 0
                        : pos.rows != 3               ? -1
                        : !is_mesh(connect, pos.cols) ? -2
                                                      : 0;
    if (refused != 0) {
        require_status(status, refused);
    } else if (status != -199) {
        require(status == static_cast<int>(open_edges(connect)), "open edges are counted");
    }
    const double result = results[0];
    require(now.failed || same(results.back(), result), "layout does not change the volume");
    if (status != 0) {
        require(same(result, before), "without success the result is as it was");
        return;
    }
    bool finite = true;
    for (std::size_t e = 0; e < element_count(connect); ++e)
        for (unsigned k = 0; k < corners(connect, e); ++k)
            for (std::size_t i = 0; i < 3; ++i)
                finite = finite && std::isfinite(pos(i, connect(k, e)));
    require(finite != std::isnan(result), "the volume is NaN if a coordinate is not finite");
    if (finite)
        require(is_nearest_twelfth(twelve_volumes(pos, connect), result),
                "the volume is the nearest double");
}

/// Any text and any status: the sentence of the table, or that there is none.
void explain(input& in) {
    const bool null = in.one_in(32);
    const std::string name = null ? std::string() : function_name(in);
    const int status = in.flag()      ? in.option()
                       : in.one_in(4) ? -199
                       : in.one_in(4) ? zel_fuzz_table::any_count
                                      : -static_cast<int>(in.below(12));
    now = {"explain", status, false};
    start_of_call(in.memory());
    const char* const text = zel::host::explain(null ? nullptr : name.c_str(), status);
    require(!end_of_call(), "no memory is needed");
    require(text != nullptr && *text != '\0', "there is a text");
    require(text == explained(name, status), "it is what the table holds");
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {build,       edges,     boundary, parts,
                                           node_orders, locate,    transfer, wide_numbers,
                                           outlines,    appending, volume,   explain};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
