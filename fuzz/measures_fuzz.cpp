// SPDX-License-Identifier: Apache-2.0
// Measures: areas, angles, circumcentres, the elements around a node and curvatures, beside plain
// calculations in extended precision and searches by comparison.
#include "fuzz/adjacency.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/meshes.h"

#include "support/curvature_reference.h"
#include "zel/tessel2d/curvatures.h"
#include "zel/tessel2d/measures.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>
#include <vector>

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

using vector3 = zel::vector_fixed<long double, 3>;
constexpr long double pi = 3.141592653589793238462643383279502884L;

// ------------------------------------------------------------------------------------- what is known

/// A node of two rows lies at z = 0.
vector3 place(const dense2D<double>& pos, unsigned node) {
    return {pos(0, node), pos(1, node), pos.rows > 2 ? pos(2, node) : 0};
}
vector3 minus(const vector3& a, const vector3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
long double dot(const vector3& a, const vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
vector3 cross(const vector3& a, const vector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
long double length(const vector3& a) {
    return std::sqrt(dot(a, a));
}

/// Elements with their nodes: loose, or a grid.
mesh draw_mesh(input& in, std::initializer_list<unsigned> dimensions,
               std::initializer_list<unsigned> heights) {
    mesh m;
    if (in.flag()) {
        m = grid(in, in.one_of(dimensions), in.one_of(heights));
        for (std::size_t j = 0; j < m.pos.cols && m.pos.rows > 2; ++j)
            if (in.one_in(4)) m.pos(2, j) = in.small();
        return m;
    }
    m.pos = positions(in, dimensions);
    m.connect = cells(in, heights, m.pos.cols);
    return m;
}

// -------------------------------------------------------------------------------------------- area

/// The doubled area of an element, with its sign in the plane, and a bound for the terms in it.
long double double_area(const mesh& m, std::size_t e, long double& terms) {
    vector3 p[4];
    const unsigned n = corners(m.connect, e);
    for (unsigned i = 0; i < n; ++i) p[i] = place(m.pos, m.connect(i, e));
    if (n == 3) p[3] = p[0];
    const vector3 a = minus(p[2], p[0]);
    const vector3 b = n == 3 ? minus(p[0], p[1]) : minus(p[3], p[1]);
    for (unsigned i = 0; i < n; ++i)
        for (unsigned k = 0; k < n; ++k) terms += dot(minus(p[i], p[k]), minus(p[i], p[k]));
    if (m.pos.rows == 2) return cross(a, b)[2];
    if (n == 3) return length(cross(a, b));
    const auto cut = [&](unsigned i, unsigned k, unsigned across, unsigned beyond) {
        const vector3 d = minus(p[across], p[i]);
        return length(cross(minus(p[k], p[i]), d)) + length(cross(minus(p[beyond], p[i]), d));
    };
    return std::max(cut(1, 0, 3, 2), cut(0, 1, 2, 3));
}

void measure_area(input& in) {
    const mesh m = draw_mesh(in, {2, 3}, {3, 4});
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    std::vector<double> results;
    const int status = call(
        in, "area", {-1, -2},
        [&](auto& p, auto& c) {
            double result = 7;
            const int s = t2::area(p, c, result);
            results.push_back(result);
            return s;
        },
        reads(m.pos), reads(m.connect));
    const double area = results[0];
    require(same(area, results.back()), "layout does not change an area");
    require(!now.failed, "an area needs no memory");
    const bool rows = given.pos.rows == 2 || given.pos.rows == 3;
    const int expected = given.connect.empty()                       ? 0
                         : !rows                                     ? -1
                         : is_surface(given.connect, given.pos.cols) ? 0
                                                                     : -2;
    require_status(status, expected);
    if (status != 0 || given.connect.empty()) {
        require(area == 0, "there is no area");
        return;
    }
    long double sum = 0;
    long double terms = 0;
    bool finite = true;
    for (std::size_t e = 0; e < given.connect.cols; ++e) {
        for (unsigned i = 0; i < corners(given.connect, e); ++i)
            for (std::size_t r = 0; r < given.pos.rows; ++r)
                finite = finite && std::isfinite(given.pos(r, given.connect(i, e)));
        sum += double_area(given, e, terms) / 2;
    }
    if (!finite) {
        require(!std::isfinite(area), "coordinates that are not finite give no finite area");
    } else if (terms < 1e300L) {
        const long double slack =
            1e-15L * static_cast<long double>(given.connect.cols + 8) * terms + 1e-300L;
        require(std::fabs(area - sum) <= slack, "an area is the sum of those of the elements");
    }
}

// ------------------------------------------------------------------------------------------ angles

/// The smallest and the largest angle of an element; false where a half turn has no certain sign.
bool extreme_angles(const mesh& m, std::size_t e, bool normalise, long double (&extremes)[2]) {
    const unsigned n = corners(m.connect, e);
    for (unsigned k = 0; k < n; ++k) {
        const vector3 at = place(m.pos, m.connect(k, e));
        const vector3 u = minus(place(m.pos, m.connect((k + 1) % n, e)), at);
        const vector3 w = minus(place(m.pos, m.connect((k + n - 1) % n, e)), at);
        const vector3 x = cross(u, w);
        const long double sine = m.pos.rows == 2 ? x[2] : length(x);
        const long double cosine = dot(u, w);
        if (m.pos.rows == 2 && sine == 0 && cosine < 0) return false;
        const bool no_side = sine == 0 && cosine == 0;
        const long double radians = no_side ? 0 : std::atan2(sine, cosine);
        const long double angle = normalise ? radians * (n == 3 ? 3 : 2) / pi : radians;
        extremes[0] = k == 0 ? angle : std::min(extremes[0], angle);
        extremes[1] = k == 0 ? angle : std::max(extremes[1], angle);
    }
    return true;
}

dense1D<double, 8> output_list(input& in, const dense2D<double>& pos) {
    return in.one_in(8) ? sharing_list(in, pos) : double_list(in, in.below(8));
}

void measure_angles(input& in) {
    const mesh m = draw_mesh(in, {2, 3}, {3, 4});
    const bool normalise = in.flag();
    dense1D<double, 8> least = output_list(in, m.pos);
    dense1D<double, 8> most = in.one_in(8) ? sharing_list(in, least) : output_list(in, m.pos);
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const int status = call(
        in, "angles", {-1, -2},
        [=](auto& p, auto& c, auto& low, auto& high) {
            return t2::angles(p, c, normalise, low, high);
        },
        reads(m.pos), reads(m.connect), makes(least), makes(most));
    const dense2D<unsigned>& connect = given.connect;
    const bool heights = connect.rows == 3 || connect.rows == 4;
    int expected = 0;
    if (!connect.empty()) {
        if (given.pos.rows != 2 && given.pos.rows != 3) {
            expected = -1;
        } else if (!is_surface(connect, given.pos.cols)) {
            expected = -2;
        }
    }
    // Lists are made before the numbers in the elements are looked at.
    if (!(status == -199 && now.failed && expected == -2 && heights))
        require_status(status, expected);
    const bool zeros = status == -2 && heights;
    const std::size_t size = zeros || (status == 0 && !connect.empty()) ? connect.cols : 0;
    require(least.size == size && most.size == size, "there are two angles per element, or none");
    if (zeros) {
        for (std::size_t e = 0; e < size; ++e)
            require(least[e] == 0 && most[e] == 0, "angles are 0");
    }
    if (zeros || size == 0) return;
    const double factor = normalise ? 1 : 0;
    for (std::size_t e = 0; e < size; ++e) {
        const double low = least[e];
        const double high = most[e];
        const double turn = factor == 0 ? 3.2 : corners(connect, e) == 3 ? 3.01 : 2.01;
        require(!(low > high), "the smallest angle is not the larger one");
        require(!(high > turn) && !(low < (given.pos.rows == 2 ? -turn : 0)),
                "angles are in their range");
    }
    if (!all_exact(given.pos)) return;
    for (std::size_t e = 0; e < size; ++e) {
        long double extremes[2];
        if (!extreme_angles(given, e, normalise, extremes)) continue;
        require(std::fabs(least[e] - extremes[0]) <= 1e-14L, "the smallest angle");
        require(std::fabs(most[e] - extremes[1]) <= 1e-14L, "the largest angle");
    }
}

// ---------------------------------------------------------------------------------- circumcentres

/// `c` is the midpoint of a side that is as long as any.
bool middles_longest_side(const vector3 (&p)[3], const vector3& c) {
    long double longest = 0;
    for (unsigned k = 0; k < 3; ++k)
        longest = std::max(longest, length(minus(p[k], p[(k + 1) % 3])));
    for (unsigned k = 0; k < 3; ++k) {
        const vector3& q = p[(k + 1) % 3];
        const bool middle = c[0] == (p[k][0] + q[0]) / 2 && c[1] == (p[k][1] + q[1]) / 2;
        if (middle && length(minus(p[k], q)) == longest) return true;
    }
    return false;
}

void check_center(const vector3 (&p)[3], const vector3& c, bool plane) {
    const vector3 a = minus(p[0], p[2]);
    const vector3 b = minus(p[1], p[2]);
    const vector3 d = minus(p[1], p[0]);
    const long double area = length(cross(a, b));
    if (plane && area == 0) {
        require(middles_longest_side(p, c), "a flat triangle has the middle of its longest side");
        return;
    }
    long double sides[3] = {length(a), length(b), length(d)};
    std::sort(sides, sides + 3);
    const long double sine = sides[0] == 0 ? 0 : area / (sides[0] * sides[1]);
    if (!plane && sine < 1.01e-6L) {
        const bool third = c[0] == p[2][0] && c[1] == p[2][1] && c[2] == p[2][2];
        require(third || sine > 0.99e-6L, "a flat triangle in space has its third node");
        return;
    }
    const long double radius = length(minus(c, p[0]));
    const long double slack =
        plane ? 1e-12L * (radius + 1000) : 1e-13L / (sine * sine) * (radius + 1000);
    for (unsigned k = 1; k < 3; ++k)
        require(std::fabs(length(minus(c, p[k])) - radius) <= slack, "corners are at one distance");
}

void measure_circumcenters(input& in) {
    const mesh m = draw_mesh(in, {2, 3}, {3});
    dense2D<double> centers = in.one_in(8)   ? m.pos
                              : in.one_in(8) ? sharing_matrix(in, m.pos, 3)
                                             : doubles(in, in.below(4), in.below(6));
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const int status = call(
        in, "circumcenters", {-1, -2},
        [](auto& p, auto& c, auto& to) { return t2::circumcenters(p, c, to); }, reads(m.pos),
        reads(m.connect), makes(centers));
    const dense2D<unsigned>& connect = given.connect;
    const bool rows = given.pos.rows == 2 || given.pos.rows == 3;
    const bool triangles =
        connect.rows == 3 && (connect.empty() || all_below(connect, given.pos.cols));
    require_status(status, !rows ? -1 : !triangles ? -2 : 0);
    if (status != 0) {
        require(centers.empty(), "there are no centres");
        return;
    }
    require(centers.rows == given.pos.rows && centers.cols == connect.cols,
            "one centre per triangle");
    if (!all_exact(given.pos)) return;
    for (std::size_t e = 0; e < centers.cols; ++e) {
        const vector3 p[3] = {place(given.pos, connect(0, e)), place(given.pos, connect(1, e)),
                              place(given.pos, connect(2, e))};
        check_center(p, place(centers, static_cast<unsigned>(e)), given.pos.rows == 2);
    }
}

// ------------------------------------------------------------------------------- elements around nodes

/// The arguments. `in_order`: every edge has one or two elements, which run along it in opposite
/// directions, and no element has a node twice.
struct adjacent_mesh {
    dense2D<unsigned> connect;
    dense2D<unsigned> neighbors;
    dense1D<unsigned, 8> ancestors;
    bool in_order;
};

/// The elements that hang together around the node, from one of them on.
std::set<unsigned> star_of(const adjacent_mesh& a, unsigned node, unsigned first) {
    std::set<unsigned> star{first};
    std::vector<unsigned> waiting{first};
    while (!waiting.empty()) {
        const unsigned e = waiting.back();
        waiting.pop_back();
        const unsigned n = corners(a.connect, e);
        for (unsigned k = 0; k < n; ++k) {
            const unsigned from = n == 3 ? (k + 1) % 3 : k;
            const bool at_node = a.connect(from, e) == node || a.connect((from + 1) % n, e) == node;
            const unsigned f = a.neighbors(k, e);
            if (at_node && f != no_node && star.insert(f).second) waiting.push_back(f);
        }
    }
    return star;
}

bool holds(const dense2D<unsigned>& connect, unsigned e, unsigned node) {
    const unsigned n = corners(connect, e);
    return std::count(connect[e], connect[e] + n, node) != 0;
}

/// Turning around the node, counterclockwise in counterclockwise elements, leads from e to f: over the edge of e
/// that ends at the node.
bool leads_to(const adjacent_mesh& a, unsigned e, unsigned f, unsigned node) {
    const unsigned n = corners(a.connect, e);
    for (unsigned k = 0; k < n; ++k) {
        const unsigned from = n == 3 ? (k + 1) % 3 : k;
        if (a.connect((from + 1) % n, e) == node) return a.neighbors(k, e) == f;
    }
    return false;
}

/// The list of a node in a mesh that is in order: all that hang together, in turn.
void check_star(const adjacent_mesh& a, unsigned node, const std::vector<unsigned>& list) {
    const unsigned ancestor = a.ancestors[node];
    if (ancestor == no_node) {
        require(list.empty(), "a node without elements has an empty list");
        return;
    }
    const std::set<unsigned> star(list.begin(), list.end());
    require(star.size() == list.size(), "no element is listed twice");
    require(star == star_of(a, node, ancestor), "the elements that hang together are listed");
    for (std::size_t i = 0; i + 1 < list.size(); ++i)
        require(leads_to(a, list[i], list[i + 1], node), "elements are listed in turn");
    if (list.size() > 2 && leads_to(a, list.back(), list[0], node))
        require(list[0] == ancestor, "a closed star begins with the ancestor");
}

void connected_elements(input& in) {
    const mesh m = draw_mesh(in, {2}, {3, 4});
    const adjacency a = beside(in, m.connect, m.pos.cols);
    const auto list = [&] {
        return in.one_in(8)   ? sharing_list(in, m.connect)
               : in.one_in(8) ? sharing_list(in, a.ancestors)
                              : node_list(in, in.below(8), 8);
    };
    dense1D<unsigned, 8> starts = list();
    dense1D<unsigned, 8> elements_around = list();
    if (in.one_in(16)) starts = a.ancestors;
    const adjacent_mesh given{plain_copy(m.connect), plain_copy(a.neighbors),
                              plain_copy(a.ancestors), a.in_order};
    const int status = call(
        in, "get_connected_elements", {-1, -2, -3},
        [](auto& c, auto& n, auto& f, auto& s, auto& e) {
            return t2::get_connected_elements(c, n, f, s, e);
        },
        reads(m.connect), reads(a.neighbors), reads(a.ancestors), makes(starts),
        makes(elements_around));
    const dense2D<unsigned>& connect = given.connect;
    const auto is_element = [&](unsigned e) { return e < connect.cols || e == no_node; };
    int expected = 0;
    if (connect.rows != 3 && connect.rows != 4) {
        expected = -1;
    } else if (given.neighbors.rows != connect.rows || given.neighbors.cols != connect.cols) {
        expected = -2;
    } else if (!std::all_of(given.ancestors.begin(), given.ancestors.end(), is_element)) {
        expected = -3;
    }
    require_status(status, expected);
    if (status != 0) {
        require(starts.empty() && elements_around.empty(), "both lists are empty");
        return;
    }
    const std::size_t nodes = given.ancestors.size;
    require(starts.size >= 1 && starts.size <= nodes + 1, "there is a start per node and one more");
    const bool early = starts.size < nodes + 1;
    require(!early || now.failed || !given.in_order, "adjacency in order gives all lists");
    require(starts[0] == 0 && starts[starts.size - 1] == elements_around.size,
            "lists fill the table");
    for (std::size_t n = 0; n + 1 < starts.size; ++n) {
        require(starts[n] <= starts[n + 1], "lists stand one behind the other");
        std::vector<unsigned> star(elements_around.begin() + starts[n],
                                   elements_around.begin() + starts[n + 1]);
        const bool last = n + 2 == starts.size;
        for (const unsigned e : star) {
            require(e < connect.cols, "what is listed is an element");
            require(last || holds(connect, e, static_cast<unsigned>(n)),
                    "an element holds its node");
        }
        if (given.in_order && !(early && last)) check_star(given, static_cast<unsigned>(n), star);
    }
}

// --------------------------------------------------------------------------------------- curvatures

bool is_unit(const double* v) {
    return std::fabs(length({v[0], v[1], v[2]}) - 1) < 1e-12L;
}

std::vector<bool> named_nodes(const dense2D<unsigned>& connect, std::size_t nodes) {
    std::vector<bool> named(nodes);
    for (const unsigned node : connect)
        if (node < nodes) named[node] = true;
    return named;
}

void check_principal(const mesh& given, bool one_triangle, const dense2D<double>& found) {
    require(found.rows == 8 && found.cols == given.pos.cols, "8 numbers per node");
    const std::vector<bool> named = named_nodes(given.connect, given.pos.cols);
    const bool exact = all_exact(given.pos);
    for (std::size_t j = 0; j < found.cols; ++j) {
        const double* const c = found[j];
        const bool zero = std::all_of(c, c + 8, [](double x) { return x == 0; });
        require(named[j] || zero, "a node without elements has none");
        require(!(std::fabs(c[6]) < std::fabs(c[7])), "k1 is the larger curvature");
        if (!exact || zero) continue;
        require(is_unit(c) && is_unit(c + 3), "directions are unit vectors");
        require(std::fabs(dot({c[0], c[1], c[2]}, {c[3], c[4], c[5]})) < 1e-9L, "at right angles");
        require(std::isfinite(c[6]) && std::isfinite(c[7]), "curvatures are finite");
        if (one_triangle) require(c[6] == 0 && c[7] == 0, "one triangle has no curvature");
    }
}

void principal(input& in) {
    const mesh m = draw_mesh(in, {3}, {3});
    const adjacency a = beside(in, m.connect, m.pos.cols);
    const double radius = in.number();
    const double max_angle = in.flag() ? in.angle() : in.number();
    const unsigned most = in.flag() ? 30 : in.count();
    const dense2D<unsigned> hard = in.flag()      ? dense2D<unsigned>()
                                   : in.one_in(4) ? sharing_matrix(in, m.connect, 2)
                                                  : cells(in, {2}, m.pos.cols);
    dense2D<double> found = in.one_in(8)   ? m.pos
                            : in.one_in(8) ? sharing_matrix(in, m.pos, 8)
                                           : doubles(in, in.one_of({0u, 8u, 3u}), in.below(6));
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const dense2D<unsigned> neighbors = plain_copy(a.neighbors);
    const dense2D<unsigned> edges = plain_copy(hard);
    const dense2D<double> before = plain_copy(found);
    const int status = call(
        in, "principal_curvatures", {-1, -2, -3, -7},
        [=](auto& p, auto& c, auto& n, auto& h, auto& to) {
            return t2::principal_curvatures(p, c, n, radius, max_angle, most, h, to);
        },
        reads(m.pos), reads(m.connect), reads(a.neighbors), reads(hard), makes(found));
    const bool kept = snapshot(before).unchanged(found);
    const std::size_t nodes = given.pos.cols;
    int expected = 0;
    if (given.connect.empty()) {
        require(status == 0 && kept, "there is nothing to do");
        return;
    }
    if (given.pos.rows != 3) {
        expected = -1;
    } else if (given.connect.rows != 3 || !all_below(given.connect, nodes)) {
        expected = -2;
    } else if (neighbors.cols != given.connect.cols || neighbors.rows < 3) {
        expected = -3;
    } else if (!edges.empty() && (edges.rows != 2 || !all_below(edges, nodes))) {
        expected = -7;
    }
    require_status(status, expected);
    if (status == -199) {
        require(kept || found.empty(), "without memory there is no result");
    } else if (status < 0) {
        require(kept, "a refused call leaves the result");
    } else {
        // An element may be its own neighbour where adjacency is none.
        check_principal(given, a.in_order && !(radius * radius > 0), found);
        if (all_exact(given.pos)) {
            zel_test::long_way slow{given.pos, given.connect, neighbors, radius, max_angle, most};
            for (std::size_t j = 0; j < edges.cols; ++j)
                if (!edges.empty()) slow.hard.insert(std::minmax(edges(0, j), edges(1, j)));
            require(same(elements(slow.all()), elements(found)),
                    "curvatures are those of the patch around each node");
        }
    }
}

struct form {
    long double area = 0;
    long double uu = 0, uv = 0, vv = 0;
    long double terms = 0;
};

/// The mean over the star of the derivatives of Su . n and Sv . n, by the divergence theorem.
void add_corner(const mesh& m, const dense2D<double>& D, unsigned a, unsigned b, unsigned c,
                form& f) {
    const vector3 along = minus(place(m.pos, b), place(m.pos, a));
    const vector3 w = minus(place(m.pos, a), place(m.pos, c));
    const long double area = cross(along, w)[2];
    if (area == 0) return;
    const long double turn = area > 0 ? 1 : -1;
    const auto slope = [&](unsigned node, std::size_t row) -> vector3 {
        return {D(row, node), D(row + 1, node), D(row + 2, node)};
    };
    vector3 n = cross(slope(c, 0), slope(c, 3));
    const long double size = length(n);
    if (size != 0)
        for (long double& x : n) x /= size;
    const vector3 u = slope(a, 0), u2 = slope(b, 0), v = slope(a, 3), v2 = slope(b, 3);
    const long double F = (dot(u, n) + dot(u2, n)) * turn;
    const long double G = (dot(v, n) + dot(v2, n)) * turn;
    const long double dv = -along[1];
    const long double du = along[0];
    f.area += std::fabs(area);
    f.uu -= F * dv;
    f.vv -= G * du;
    f.uv -= (G * dv + F * du) / 2;
    f.terms += (length(u) + length(u2) + length(v) + length(v2)) * length(along);
}

void check_parametric(const mesh& given, const dense2D<double>& D, const dense2D<double>& H) {
    require(H.rows == 3 && H.cols == given.pos.cols, "3 numbers per node");
    const std::vector<bool> named = named_nodes(given.connect, given.pos.cols);
    std::vector<form> forms(H.cols);
    const bool exact = all_exact(given.pos) && all_exact(D);
    for (std::size_t e = 0; e < given.connect.cols && exact; ++e) {
        const unsigned* const n = given.connect[e];
        for (unsigned k = 0; k < 3; ++k)
            add_corner(given, D, n[(k + 1) % 3], n[(k + 2) % 3], n[k], forms[n[k]]);
    }
    for (std::size_t j = 0; j < H.cols; ++j) {
        const bool zero = H(0, j) == 0 && H(1, j) == 0 && H(2, j) == 0;
        require(named[j] || zero, "a node without elements has none");
        if (!exact) continue;
        const form& f = forms[j];
        require(f.area != 0 || zero, "triangles without area add nothing");
        if (f.area == 0) continue;
        const long double slack = 1e-13L * (f.terms + 1) / f.area;
        require(std::fabs(H(0, j) - f.uu / f.area) <= slack &&
                    std::fabs(H(1, j) - f.uv / f.area) <= slack &&
                    std::fabs(H(2, j) - f.vv / f.area) <= slack,
                "the form is the mean over the triangles");
    }
}

void parametric(input& in) {
    const mesh m = draw_mesh(in, {2}, {3});
    const dense2D<double> D = in.one_in(16) ? doubles(in, rows(in, {6}), in.below(16))
                                            : doubles(in, rows(in, {6}), m.pos.cols);
    dense2D<double> H = in.one_in(8)   ? m.pos
                        : in.one_in(8) ? D
                        : in.one_in(8) ? sharing_matrix(in, D, 3)
                                       : doubles(in, in.one_of({0u, 3u, 2u}), in.below(6));
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const dense2D<double> slopes = plain_copy(D);
    const int status = call(
        in, "parametric_curvatures", {-1, -2, -3},
        [](auto& p, auto& c, auto& d, auto& to) { return t2::parametric_curvatures(p, c, d, to); },
        reads(m.pos), reads(m.connect), reads(D), makes(H));
    const std::size_t nodes = given.pos.cols;
    int expected = 0;
    if (!given.connect.empty()) {
        if (given.pos.rows != 2) {
            expected = -1;
        } else if (given.connect.rows != 3 || !all_below(given.connect, nodes)) {
            expected = -2;
        } else if (slopes.rows != 6 || slopes.cols != nodes) {
            expected = -3;
        }
    }
    require_status(status, expected);
    if (status != 0 || given.connect.empty()) {
        require(H.empty(), "without a result the output is empty");
    } else {
        check_parametric(given, slopes, H);
    }
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {
        measure_area,       measure_angles, measure_circumcenters,
        connected_elements, principal,      parametric};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
