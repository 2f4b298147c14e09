// SPDX-License-Identifier: Apache-2.0
// Location: the element that holds a point, the node nearest to one, and fields that are carried onto nodes
// without element.
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/located_mesh.h"

#include "location/node_search.h"
#include "zel/tessel2d/location.h"

#include <algorithm>
#include <cmath>
#include <vector>

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

using point = zel::vector_fixed<double, 2>;

/// The squared distance, exact where coordinates are.
long double squared_distance(const dense2D<double>& pos, std::size_t node, const point& p) {
    const long double dx = static_cast<long double>(pos(0, node)) - p[0];
    const long double dy = static_cast<long double>(pos(1, node)) - p[1];
    return dx * dx + dy * dy;
}

bool is_exact(const point& p) {
    dense2D<double> m(2, 1);
    m(0, 0) = p[0];
    m(1, 0) = p[1];
    return all_exact(m);
}

// ------------------------------------------------------------------------------------- nearest node

void detect_nodes(input& in) {
    const dense2D<double> pos = positions(in, {2});
    now = {"node_detector", 0, false};
    start_of_call(in.memory());
    const zel::tessel::node_detector detector(pos);
    now.failed = end_of_call();
    std::vector<unsigned> finite;
    for (unsigned j = 0; j < pos.cols && pos.rows == 2; ++j)
        if (std::isfinite(pos(0, j)) && std::isfinite(pos(1, j))) finite.push_back(j);
    require(detector.size() == finite.size() || (now.failed && detector.size() == 0),
            "a detector holds all finite nodes, or without memory none");
    const bool exact = all_exact(pos);
    for (unsigned queries = 1 + in.below(8); queries > 0; --queries) {
        const point p = draw_point(in, pos, true);
        const unsigned close = detector.find_close(p);
        const unsigned closest = detector.find_closest(p);
        const bool none = detector.size() == 0 || !std::isfinite(p[0]) || !std::isfinite(p[1]);
        require((close == no_node) == none && (closest == no_node) == none,
                "a node is found if there is one");
        if (none) continue;
        require(std::count(finite.begin(), finite.end(), close) == 1,
                "a close node is one that is held");
        require(std::count(finite.begin(), finite.end(), closest) == 1, "the closest node is held");
        if (!exact || !is_exact(p)) continue;
        const unsigned best =
            *std::min_element(finite.begin(), finite.end(), [&](unsigned a, unsigned b) {
                return squared_distance(pos, a, p) < squared_distance(pos, b, p);
            });
        require(closest == best, "the closest node is found, of several the lowest");
    }
}

template <class Shape>
std::size_t fill_tree(t2::node_tree& tree, const dense2D<unsigned>& connect) {
    return tree.fill<Shape>(connect);
}

void search_tree(input& in) {
    const located_mesh l = draw_located(in);
    if (l.pos.rows != 2 || !suits(l.connect, l.type, l.pos.cols) || !is_searched(l.connect, l.type))
        return;
    now = {"node_tree", 0, false};
    start_of_call(in.memory());
    t2::node_tree tree(l.pos);
    const std::size_t taken =
        l.type == zel::ELEMENT_T3   ? fill_tree<t2::triangle_cells>(tree, l.connect)
        : l.type == zel::ELEMENT_Q4 ? fill_tree<t2::quad_cells>(tree, l.connect)
                                    : fill_tree<t2::mixed_cells>(tree, l.connect);
    now.failed = end_of_call();
    std::set<unsigned> nodes;
    for (std::size_t e = 0; e < l.connect.cols; ++e)
        for (unsigned k = 0; k < corners(l.connect, e); ++k) nodes.insert(l.connect(k, e));
    require(taken <= nodes.size() && taken == tree.node_count, "nodes of the mesh are taken");
    if (l.connect.empty()) require(taken == 0, "without elements there is no node");
    std::vector<std::pair<double, double>> places;
    for (const unsigned node : nodes) places.push_back({l.pos(0, node), l.pos(1, node)});
    const bool crowded = std::any_of(places.begin(), places.end(), [&](const auto& at) {
        return std::count(places.begin(), places.end(), at) > 3;
    });
    const bool whole = all_exact(l.pos) && !crowded && !now.failed;
    if (whole) require(taken == nodes.size(), "all nodes are taken");
    const bounds box(l);
    const t2::node_filter filter{l.ancestors.data(), l.ancestors.size, l.connect.cols};
    for (unsigned queries = 1 + in.below(8); queries > 0; --queries) {
        const point p = draw_point(in, l.pos, true);
        double near = t2::no_distance;
        double nearest = t2::no_distance;
        const unsigned close = tree.find_close(p, near, filter);
        const unsigned closest = tree.find_closest(p, nearest, filter);
        for (const unsigned node : {close, closest})
            require(node == no_node || (nodes.count(node) == 1 && filter.usable(node)),
                    "a node is usable");
        require((close == no_node) == (closest == no_node), "both find a node or none");
        if (close != no_node)
            require(nearest <= near, "the closest node is not farther than a close one");
        if (box.finite && !box.holds(p.begin()))
            require(close == no_node, "outside the box is nothing");
        if (!whole || !is_exact(p) || !box.holds(p.begin())) continue;
        long double best = std::numeric_limits<long double>::infinity();
        for (const unsigned node : nodes)
            if (filter.usable(node)) best = std::min(best, squared_distance(l.pos, node, p));
        require(closest != no_node || std::isinf(best), "a node is found if one is usable");
        if (closest != no_node)
            require(squared_distance(l.pos, closest, p) == best && nearest == best,
                    "the closest is found");
    }
}

// ---------------------------------------------------------------------------- the element of a point

/// p is on the inner side of all sides, to the tolerance.
void require_inside(const located_mesh& l, unsigned e, const point& p, double tolerance) {
    const long double size = double_area(l, e);
    require(size > 0, "the element has an area");
    const unsigned n = corners(l.connect, e);
    for (unsigned k = 0; k < n; ++k) {
        const double* const a = l.pos[l.connect(k, e)];
        const double* const b = l.pos[l.connect((k + 1) % n, e)];
        const long double side =
            (static_cast<long double>(a[0]) - p[0]) * (static_cast<long double>(b[1]) - p[1]) -
            (static_cast<long double>(b[0]) - p[0]) * (static_cast<long double>(a[1]) - p[1]);
        require(side >= -size * tolerance - 1e-9L, "the point is in the element");
    }
}

void containing_element(input& in) {
    const located_mesh l = draw_located(in);
    const bool strange = in.one_in(8);
    const std::size_t some =
        in.flag() ? l.pos.cols : std::min<std::size_t>(l.mesh_nodes, l.pos.cols);
    const dense2D<double> searched =
        strange ? positions(in, {2}) : l.pos.sub_matrix(0, 0, l.pos.rows, some);
    const zel::tessel::node_detector detector(searched);
    const point p = draw_point(in, l.pos, in.one_in(4));
    const double tolerance = in.one_in(4) ? in.number() : 1e-6;
    const located_mesh given = plain_copy(l);
    std::vector<unsigned> found;
    const int status = call(
        in, "get_element_containing_point", {any_count, -1, -2, -3, -4},
        [&](auto& pos, auto& c, auto& n, auto& a) {
            unsigned element = 5;
            const int s = t2::get_element_containing_point(pos, c, n, a, detector, l.type, p,
                                                           element, tolerance);
            found.push_back(element);
            return s;
        },
        reads(l.pos), reads(l.connect), reads(l.neighbors), reads(l.ancestors));
    const unsigned element = found[0];
    require(found.back() == element || now.failed, "layout does not change the element");
    require(status <= 1, "1 is the only count");
    require((element != no_node) == (status == 1), "there is an element if it was found");
    const int expected = located_status(given, l.type);
    if (expected != 0) {
        // A collapsed element on the way has the status of bad positions.
        require(status == expected, "the status is that of the first unusable argument");
        return;
    }
    require(status >= -1 && (status == 0 || is_searched(given.connect, l.type)),
            "only three kinds are searched");
    const bool exact = all_exact(given.pos);
    if (status == 1) {
        require(element < given.connect.cols, "what is found is an element");
        require(!std::isnan(p[0]) && !std::isnan(p[1]), "a point that is none is not found");
        if (exact && is_exact(p) && std::fabs(tolerance) < 1e6)
            require_inside(given, element, p, tolerance);
    }
    if (status == -1 && exact) {
        bool degenerate = false;
        for (std::size_t e = 0; e < given.connect.cols; ++e)
            degenerate = degenerate || double_area(given, e) <= 0;
        require(degenerate, "an element is collapsed or clockwise");
    }
    if (strange || !(tolerance >= 0) || !is_lattice(given)) return;
    for (unsigned j = 0; j < searched.cols; ++j)
        if (is_orphan(given, j)) return; // the search may start from a node without element
    if (bounds(given).holds(p.begin()))
        require(status == 1 || now.failed, "a point inside is found");
}

// ------------------------------------------------------------------------------------------- fields

/// A field that is linear in the coordinates of the nodes.
struct linear_field {
    double at0, along_x, along_y;

    long double operator()(const double* p) const {
        return at0 + static_cast<long double>(along_x) * p[0] +
               static_cast<long double>(along_y) * p[1];
    }
};

/// What becomes of component i of the field at node j.
struct carried {
    const located_mesh& l;
    std::vector<bool> served;
    bounds box;
    bool lattice;

    carried(const located_mesh& given, const dense1D<unsigned, 8>& nodes)
        : l(given), served(given.pos.cols), box(given), lattice(is_lattice(given)) {
        for (const unsigned node : nodes) served[node] = is_orphan(given, node);
    }
    void check(unsigned j, double before, double after, bool linear, const linear_field& f) const {
        if (!served[j] || !is_searched(l.connect, l.type)) {
            require(same(before, after), "a node that is not served keeps its value");
            return;
        }
        if (box.finite && !box.holds(l.pos[j]))
            require(same(before, after), "a node outside the box keeps its value");
        if (!lattice || !linear || !box.holds(l.pos[j])) return;
        require(std::fabs(after - f(l.pos[j])) < 1e-9L || now.failed,
                "a linear field is carried as such");
    }
};

int field_status(const located_mesh& l, std::size_t columns, const dense1D<unsigned, 8>& nodes) {
    if (nodes.empty()) return 0;
    if (const int status = located_status(l, l.type)) return status;
    if (columns != l.pos.cols) return -5;
    const auto is_node = [&](unsigned node) { return node < l.pos.cols; };
    return std::all_of(nodes.begin(), nodes.end(), is_node) ? 0 : -6;
}

void carry_field(input& in) {
    const located_mesh l = draw_located(in);
    const dense1D<unsigned, 8> nodes = listed_nodes(in, l.pos.cols);
    const linear_field f{in.small(), in.small(), in.small()};
    const bool linear = in.flag() && l.pos.rows == 2;
    dense2D<double> field =
        in.one_in(8)   ? l.pos
        : in.one_in(8) ? sharing_matrix(in, l.pos, in.below(4))
                       : doubles(in, in.below(5), in.one_in(16) ? in.below(16) : l.pos.cols);
    const bool apart = field.storage.get() != l.pos.storage.get();
    for (std::size_t j = 0; j < field.cols && linear && apart && field.cols == l.pos.cols; ++j)
        for (std::size_t i = 0; i < field.rows; ++i) field(i, j) = static_cast<double>(f(l.pos[j]));
    const located_mesh given = plain_copy(l);
    const dense2D<double> before = plain_copy(field);
    const dense1D<unsigned, 8> list = plain_copy(nodes);
    const int status = call(
        in, "interpolate", {-1, -2, -3, -4, -5, -6},
        [&](auto& pos, auto& c, auto& n, auto& a, auto& v, auto& of) {
            return t2::interpolate(pos, c, n, a, v, of, l.type);
        },
        reads(l.pos), reads(l.connect), reads(l.neighbors), reads(l.ancestors), turns(field),
        reads(nodes));
    require(status == field_status(given, before.cols, list),
            "the status is that of the first unusable argument");
    require(field.rows == before.rows && field.cols == before.cols, "a field keeps its shape");
    if (status != 0 || list.empty()) {
        require(snapshot(before).unchanged(field), "there is nothing to do");
        return;
    }
    const carried check(given, list);
    for (unsigned j = 0; j < field.cols; ++j)
        for (std::size_t i = 0; i < field.rows; ++i)
            check.check(j, before(i, j), field(i, j), linear && apart, f);
}

void carry_scalar(input& in) {
    const located_mesh l = draw_located(in);
    const dense1D<unsigned, 8> nodes = listed_nodes(in, l.pos.cols);
    const linear_field f{in.small(), in.small(), in.small()};
    const bool linear = in.flag() && l.pos.rows == 2;
    dense1D<double, 8> field = in.one_in(8)
                                   ? sharing_list(in, l.pos)
                                   : double_list(in, in.one_in(16) ? in.below(16) : l.pos.cols);
    const bool apart = field.storage.get() != l.pos.storage.get();
    for (std::size_t j = 0; j < field.size && linear && apart && field.size == l.pos.cols; ++j)
        field[j] = static_cast<double>(f(l.pos[j]));
    const located_mesh given = plain_copy(l);
    const dense1D<double, 8> before = plain_copy(field);
    const dense1D<unsigned, 8> list = plain_copy(nodes);
    const int status = call(
        in, "interpolate of a scalar", {-1, -2, -3, -4, -5, -6},
        [&](auto& pos, auto& c, auto& n, auto& a, auto& v, auto& of) {
            return t2::interpolate(pos, c, n, a, v, of, l.type);
        },
        reads(l.pos), reads(l.connect), reads(l.neighbors), reads(l.ancestors), turns(field),
        reads(nodes));
    require(status == field_status(given, before.size, list),
            "the status is that of the first unusable argument");
    require(field.size == before.size, "a field keeps its shape");
    if (status != 0 || list.empty()) {
        require(snapshot(before).unchanged(field), "there is nothing to do");
        return;
    }
    const carried check(given, list);
    for (unsigned j = 0; j < field.size; ++j)
        check.check(j, before[j], field[j], linear && apart, f);
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {detect_nodes, search_tree, containing_element,
                                           carry_field, carry_scalar};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
