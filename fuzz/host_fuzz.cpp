// SPDX-License-Identifier: Apache-2.0
//
// Fuzz driver of the host tools.
#include "fuzz/adjacency.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/meshes.h"

#include "zel/host.h"
#include "zel/tessel2d/location.h"

namespace {

using namespace zel_fuzz;

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

void locate(input& in) {
    const dense2D<double> pos = some_points(in);
    const dense2D<unsigned> connect = elements(in, pos.cols);
    const dense2D<double> points = some_points(in);
    const double tolerance = in.one_in(4) ? in.number() : 1e-6;
    const unsigned threads = in.below(4);
    dense1D<unsigned, 8> holders = node_list(in, in.below(4), 9);
    dense1D<unsigned, 8> places = node_list(in, in.below(4), 9);
    zel::host::locator at;
    const int built = call(
        in, "locator::build", {-1, -2},
        [&](const auto& p, const auto& c) { return at.build(p, c); }, reads(pos), reads(connect));
    const bool whole = !now.failed;
    const int status = call(
        in, "locator::locate", {-1},
        [&](const auto& p, auto& e, auto& s) {
            dense2D<double> weights;
            return at.locate(p, e, weights, s, tolerance, threads);
        },
        reads(points), makes(holders), makes(places));
    if (built != 0 || status != 0 || connect.empty()) return;
    // Short of memory a search around a node leaves elements out.
    if (!whole || now.failed) return;
    zel::host::adjacency beside;
    if (zel::host::build_adjacency(connect, pos.cols, beside) != 0) return;
    const zel::tessel::node_detector detector(pos);
    for (std::size_t j = 0; j < holders.size; ++j) {
        unsigned expected;
        zel::tessel2d::get_element_containing_point(
            pos, connect, beside.neighbors, beside.ancestors, detector, zel::ELEMENT_FACE,
            {points(0, j), points(1, j)}, expected, tolerance);
        if (connect.rows == 4)
            require(expected == holders[j], "it is what the public search finds");
        require((holders[j] != no_node) == (places[j] == 0),
                "the place tells whether it is inside");
    }
}

void transfer(input& in) {
    const dense2D<double> pos = some_points(in);
    const dense2D<unsigned> connect = elements(in, pos.cols);
    const dense2D<double> points = some_points(in);
    zel::host::locator at;
    if (at.build(pos, connect) != 0) return;
    zel::host::transfer_table table;
    const int status = call(
        in, "locator::transfer", {-1}, [&](const auto& p) { return at.transfer(p, table, 1); },
        reads(points));
    if (status != 0) return;
    dense1D<double, 8> field(pos.cols, 3.0);
    dense1D<double, 8> carried = dense1D<double, 8>(in.below(4), 1.0);
    const int outcome = call(
        in, "locator::carry", {-1, -2},
        [&](const auto& f, auto& v) { return at.carry(table, f, v, 5.0); }, reads(field),
        makes(carried));
    require_status(outcome, 0);
    if (outcome != 0) return;
    for (std::size_t j = 0; j < carried.size; ++j)
        if (table.states[j] != 0)
            require(carried[j] == (table.states[j] == 1 ? 3.0 : 5.0), "the state tells the value");
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

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {build,  edges,    boundary,     parts,    node_orders,
                                           locate, transfer, wide_numbers, outlines, appending};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
