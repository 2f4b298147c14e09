// SPDX-License-Identifier: Apache-2.0
// Generators: structured patches with their metrics, disks and spheres.
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/tensors_by_hand.h"

#include "zel/tessel2d/disks.h"
#include "zel/tessel2d/generators.h"
#include "zel/tessel2d/spheres.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>
#include <vector>

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

// ----------------------------------------------------------------------------------------- patches

/// A loop for n cells in the second direction; mostly one that fits.
struct outline {
    dense1D<unsigned, 8> loop;
    unsigned n;

    /// A loop that leaves no cell in the first direction; outputs then lose columns.
    bool flat() const { return loop.size == 2 * std::size_t{n} + 1; }
};
outline any_outline(input& in, std::size_t nodes) {
    outline o;
    o.n = in.count();
    const unsigned m = in.one_in(16) ? 0 : 1 + in.below(8);
    std::size_t size = 2 * (std::size_t{m} + (o.n < 300 ? o.n : 3)) + 1;
    if (in.one_in(16)) size = in.below(12);
    o.loop = node_list(in, size, nodes);
    if (in.flag()) { // around the grid of nodes in turn
        for (std::size_t k = 0; k < size; ++k)
            o.loop[k] = static_cast<unsigned>(nodes == 0 ? 0 : k % nodes);
    }
    if (size > 0 && !in.one_in(16)) o.loop[size - 1] = o.loop[0];
    return o;
}

/// An output connectivity: empty, its own columns, or in the block of a list.
dense2D<unsigned> output(input& in, std::initializer_list<unsigned> wanted, std::size_t nodes) {
    return in.flag() ? cells(in, wanted, nodes) : blank_matrix<unsigned>(in, in.below(5), 0);
}

template <class View>
argument<View> loses(bool columns, View& v) {
    return columns ? turns(v) : grows(v);
}

/// The node (i, j) of the grid, by its number: on the loop, or inside behind the `known` nodes.
unsigned grid_node(const std::vector<unsigned>& loop, std::size_t m, std::size_t n,
                   std::size_t known, std::size_t i, std::size_t j) {
    if (j == 0) return loop[i];
    if (i == m) return loop[m + j];
    if (j == n) return loop[2 * m + n - i];
    if (i == 0) return loop[2 * (m + n) - j];
    return static_cast<unsigned>(known + (i - 1) * (n - 1) + (j - 1));
}

/// The new nodes of a patch are the Coons interpolant of its sides.
void require_coons(const std::vector<unsigned>& loop, std::size_t m, std::size_t n,
                   std::size_t known, const dense2D<double>& pos) {
    require(pos.cols == known + (m - 1) * (n - 1), "nodes are added inside");
    long double size = 1;
    for (const double x : elements(pos)) {
        if (!(std::fabs(x) < 1e6)) return;
        size = std::max<long double>(size, std::fabs(x));
    }
    for (std::size_t i = 1; i < m; ++i) {
        for (std::size_t j = 1; j < n; ++j) {
            const long double u = static_cast<long double>(i) / m;
            const long double v = static_cast<long double>(j) / n;
            for (std::size_t k = 0; k < pos.rows; ++k) {
                const auto at = [&](std::size_t position) {
                    return static_cast<long double>(pos(k, loop[position]));
                };
                const long double sides = (1 - v) * at(i) + u * at(m + j) + v * at(2 * m + n - i) +
                                          (1 - u) * at(2 * (m + n) - j);
                const long double corners = (1 - u) * (1 - v) * at(0) + u * (1 - v) * at(m) +
                                            u * v * at(m + n) + (1 - u) * v * at(2 * m + n);
                const unsigned node = grid_node(loop, m, n, known, i, j);
                require(std::fabs(pos(k, node) - (sides - corners)) <= 1e-13L * size,
                        "a node inside blends the four sides");
            }
        }
    }
}

/// Each cell has its four nodes; the two triangles of a cell have them by one diagonal or the other.
void require_cells(const std::vector<unsigned>& loop, std::size_t m, std::size_t n,
                   std::size_t known, const dense2D<unsigned>& connect, std::size_t first,
                   bool triangles) {
    require(connect.cols == first + m * n * (triangles ? 2 : 1), "each cell has its elements");
    for (std::size_t i = 0; i < m; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            const unsigned cell[4] = {
                grid_node(loop, m, n, known, i, j), grid_node(loop, m, n, known, i + 1, j),
                grid_node(loop, m, n, known, i + 1, j + 1), grid_node(loop, m, n, known, i, j + 1)};
            const std::size_t at = first + (i * n + j) * (triangles ? 2 : 1);
            if (!triangles) {
                require(std::equal(cell, cell + 4, connect[at]), "a cell has its four nodes");
                continue;
            }
            bool fits = false;
            for (unsigned d = 0; d < 2; ++d) {
                const std::multiset<unsigned> halves[2] = {
                    {cell[d], cell[d + 1], cell[d + 2]}, {cell[d + 2], cell[(d + 3) % 4], cell[d]}};
                const std::multiset<unsigned> got[2] = {{connect[at], connect[at] + 3},
                                                        {connect[at + 1], connect[at + 1] + 3}};
                fits = fits || (got[0] == halves[0] && got[1] == halves[1]) ||
                       (got[0] == halves[1] && got[1] == halves[0]);
            }
            require(fits, "a cell is cut along a diagonal");
            require(connect.rows == 3 ||
                        (connect(3, at) == no_node && connect(3, at + 1) == no_node),
                    "triangles are marked");
        }
    }
}

/// Compares a patch with its formulas. The loop is as it was before the call.
void require_patch(int status, const outline& o, const std::vector<unsigned>& loop,
                   std::size_t known, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   std::size_t first, bool triangles) {
    if (status != 0 || o.n == 0 || loop.empty()) return;
    const std::size_t m = (loop.size() - 1) / 2 - o.n;
    if (m == 0) { // triangles lose columns
        require(triangles || (pos.cols == known && connect.cols == first),
                "without cells there is nothing to do, also where the loop has an even length");
        return;
    }
    require_coons(loop, m, o.n, known, pos);
    require_cells(loop, m, o.n, known, connect, first, triangles);
}

void patch_Q4(input& in) {
    dense2D<double> pos = positions(in);
    const outline o = any_outline(in, pos.cols);
    dense2D<unsigned> connect =
        in.one_in(8) ? sharing_matrix(in, o.loop, rows(in, {4})) : output(in, {4}, pos.cols);
    const std::size_t first = connect.cols;
    const std::size_t known = pos.cols;
    const std::vector<unsigned> loop = elements(o.loop);
    in.outgrows = o.flat(); // columns are lost; below none the count wraps
    const int status = call(
        in, "mesh_struct_Q4", {-1, -2, -3, -4},
        [&](auto& p, auto& b, auto& c) { return t2::mesh_struct_Q4(p, b, o.n, c); },
        loses(o.flat(), pos), reads(o.loop), grows(connect));
    if (status != 0 || o.n == 0 || connect.empty()) return;
    require_nodes(connect, first, pos.cols, {});
    require_patch(status, o, loop, known, pos, connect, first, false);
}

void patch_T3(input& in) {
    dense2D<double> pos = positions(in);
    const outline o = any_outline(in, pos.cols);
    const int pattern = in.option();
    dense2D<unsigned> connect =
        in.one_in(8) ? sharing_matrix(in, o.loop, rows(in, {4, 3})) : output(in, {4, 3}, pos.cols);
    const std::size_t first = connect.cols;
    const std::size_t known = pos.cols;
    const std::vector<unsigned> loop = elements(o.loop);
    in.outgrows = o.flat(); // columns are lost; below none the count wraps
    const int status = call(
        in, "mesh_struct_T3", {-1, -2, -3, -4, -5},
        [&](auto& p, auto& b, auto& c) { return t2::mesh_struct_T3(p, b, o.n, pattern, c); },
        loses(o.flat(), pos), reads(o.loop), grows(connect));
    if (status != 0 || o.n == 0 || connect.empty()) return;
    require_nodes(connect, first, pos.cols, {no_node});
    require_patch(status, o, loop, known, pos, connect, first, true);
}

/// A size inside is the mean of what both directions interpolate; a side without size leaves none.
void require_sizes(const std::vector<unsigned>& loop, std::size_t m, std::size_t n,
                   std::size_t known, const dense1D<double, 8>& sizes) {
    require(sizes.size == known + (m - 1) * (n - 1), "each node inside has a size");
    for (std::size_t i = 1; i < m; ++i) {
        for (std::size_t j = 1; j < n; ++j) {
            const long double left = sizes[loop[2 * (m + n) - j]], right = sizes[loop[m + j]];
            const long double bottom = sizes[loop[i]], top = sizes[loop[2 * m + n - i]];
            const auto is_ordinary = [](long double x) { return x > 1e-100L && x < 1e100L; };
            const bool absent = left <= 0 || right <= 0 || bottom <= 0 || top <= 0;
            const bool ordinary =
                is_ordinary(left) && is_ordinary(right) && is_ordinary(bottom) && is_ordinary(top);
            const double size = sizes[grid_node(loop, m, n, known, i, j)];
            if (absent) require(size == 0, "without a size at a side there is none inside");
            if (!ordinary) continue;
            const long double most = left + right + bottom + top;
            const long double u = static_cast<long double>(i) / m;
            const long double v = static_cast<long double>(j) / n;
            const long double mean = (left + (right - left) * u + bottom + (top - bottom) * v) / 2;
            require(std::fabs(size - mean) <= 1e-14L * most, "a size inside is the mean of two");
        }
    }
}

void patch_sizes(input& in) {
    dense1D<double, 8> metrics = double_list(in, in.below(16));
    const outline o = any_outline(in, metrics.size);
    const std::vector<unsigned> loop = elements(o.loop);
    const std::size_t known = metrics.size;
    in.outgrows = o.flat();
    const int status = call(
        in, "metrics_struct of sizes", {-1, -2},
        [&](auto& b, auto& m) { return t2::metrics_struct(b, o.n, m); }, reads(o.loop),
        loses(o.flat(), metrics));
    if (status == 0 && o.n != 0 && !loop.empty() && loop.size() != 2 * std::size_t{o.n} + 1)
        require_sizes(loop, (loop.size() - 1) / 2 - o.n, o.n, known, metrics);
}

/// A tensor inside is half way between those of the two lines; a line with an end that is none leaves none.
/// Ends that are close to singular are passed over: whether they count is up to rounding.
template <std::size_t N>
void require_tensors(const std::vector<unsigned>& loop, std::size_t m, std::size_t n,
                     std::size_t known, const dense2D<double>& metrics) {
    const auto tensor = [&](unsigned node) { return by_hand::unpacked<N>(metrics[node]); };
    for (const double x : elements(metrics)) // squares of sizes are ordinary numbers
        if (!(std::fabs(x) < 1e4) || (x != 0 && std::fabs(x) < 1e-100)) return;
    for (std::size_t i = 1; i < m; ++i) {
        for (std::size_t j = 1; j < n; ++j) {
            const double* const inside = metrics[grid_node(loop, m, n, known, i, j)];
            const auto left = tensor(loop[2 * (m + n) - j]), right = tensor(loop[m + j]);
            const auto bottom = tensor(loop[i]), top = tensor(loop[2 * m + n - i]);
            bool none = false;
            for (const auto* const end : {&left, &right, &bottom, &top})
                for (std::size_t k = 0; k < N; ++k) none = none || (*end)[k][k] <= -0.01L;
            if (none)
                require(std::all_of(inside, inside + metrics.rows, [](double x) { return x == 0; }),
                        "without a tensor at a side there is none inside");
            by_hand::square<N> up, across, mean;
            const long double u = static_cast<long double>(i) / m;
            const long double v = static_cast<long double>(j) / n;
            if (!by_hand::between<N>(bottom, top, v, up) ||
                !by_hand::between<N>(left, right, u, across) ||
                !by_hand::between<N>(up, across, 0.5L, mean))
                continue;
            require(by_hand::is_near<N>(inside, mean, 1e-7L),
                    "a tensor inside is half way between two lines");
        }
    }
}

void patch_tensors(input& in) {
    dense2D<double> metrics = positions(in, {3, 6});
    if (in.flag()) { // make them positive definite
        for (std::size_t j = 0; j < metrics.cols; ++j) {
            if (metrics.rows == 3) metrics(0, j) += 10, metrics(2, j) += 10;
            if (metrics.rows == 6) metrics(0, j) += 20, metrics(2, j) += 20, metrics(5, j) += 20;
        }
    }
    const outline o = any_outline(in, metrics.cols);
    const std::vector<unsigned> loop = elements(o.loop);
    const std::size_t known = metrics.cols;
    in.outgrows = o.flat();
    const int status = call(
        in, "metrics_struct of tensors", {-1, -2, -3},
        [&](auto& b, auto& m) { return t2::metrics_struct(b, o.n, m); }, reads(o.loop),
        loses(o.flat(), metrics));
    if (status != 0 || o.n == 0 || loop.empty() || loop.size() == 2 * std::size_t{o.n} + 1) return;
    const std::size_t m = (loop.size() - 1) / 2 - o.n;
    require(metrics.cols == known + (m - 1) * (o.n - 1), "each node inside has a tensor");
    if (metrics.rows == 3) require_tensors<2>(loop, m, o.n, known, metrics);
    if (metrics.rows == 6) require_tensors<3>(loop, m, o.n, known, metrics);
}

// ------------------------------------------------------------------------------- disks and spheres

/// What the disks and spheres are made from: an empty mesh mostly.
template <std::size_t Dim>
struct round_shape {
    dense2D<double> pos;
    zel::vector_fixed<double, Dim> center;
    double radius;
    unsigned n;
    int pattern;
    bool fresh;

    explicit round_shape(input& in)
        : pos(in.one_in(4) ? positions(in, {Dim}) : blank_matrix<double>(in, in.below(5), 0)),
          center(vector<Dim>(in)),
          radius(in.number()),
          n(in.count()),
          pattern(in.option()),
          fresh(pos.cols == 0) {}

    /// Ordinary numbers, for which the counts are known.
    bool ordinary() const {
        bool small = fresh && n != 0 && radius > 0.25 && radius < 100 && !now.failed;
        for (const double x : center) small = small && std::fabs(x) < 100;
        return small && pos.rows == Dim;
    }

    /// The nodes of an ordinary mesh of quadrilaterals.
    std::size_t quarter_nodes() const { return 3 * std::size_t{n} * (n + 1) + 1; }
    std::size_t disk_nodes() const { return 12 * std::size_t{n} * n + 4 * n + 1; }
    std::size_t sphere_nodes() const { return 24 * std::size_t{n} * n + 2; }
};

/// Nodes lie on the sphere or within the circle, elements turn one way, and an edge has two of them, or one
/// on the boundary of a part.
template <std::size_t Dim>
void require_round(const round_shape<Dim>& s, const dense2D<unsigned>& connect, std::size_t first,
                   bool on_sphere) {
    for (std::size_t j = 0; j < s.pos.cols; ++j) {
        long double sum = 0;
        for (std::size_t i = 0; i < Dim; ++i)
            sum += std::pow(static_cast<long double>(s.pos(i, j)) - s.center[i], 2);
        const long double distance = std::sqrt(sum) / s.radius;
        require(distance <= 1 + 1e-12L && (!on_sphere || distance >= 1 - 1e-12L),
                "nodes are where the shape is");
    }
    std::map<std::pair<unsigned, unsigned>, unsigned> used;
    for (std::size_t e = first; e < connect.cols; ++e) {
        const unsigned n = connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
        for (unsigned k = 0; k < n; ++k)
            require(++used[{connect(k, e), connect((k + 1) % n, e)}] == 1,
                    "no two elements run along an edge in one direction");
    }
    std::size_t open = 0;
    for (const auto& edge : used) open += !used.count({edge.first.second, edge.first.first});
    std::set<unsigned> named;
    for (const auto& edge : used) named.insert(edge.first.first);
    require(named.size() == s.pos.cols, "each node belongs to an element");
    // Vertices - edges + faces, with each edge once: 2 for a sphere, 1 for a disk or a part.
    const std::size_t edges = (used.size() + open) / 2;
    const std::size_t euler = s.pos.cols + (connect.cols - first) - edges;
    require(euler == (open == 0 ? 2U : 1U), "the mesh has neither holes nor seams");
}

/// A function that meshes a round shape, and the statuses that it may return.
template <class Function>
struct mesher {
    const char* name;
    std::initializer_list<int> statuses;
    Function mesh;
};
template <class Function>
mesher(const char*, std::initializer_list<int>, Function) -> mesher<Function>;

/// Meshes a shape with quadrilaterals or with triangles, whose functions differ in the pattern alone. The
/// outputs are given with their roles; `promised` nodes come of quadrilaterals.
template <std::size_t Dim, class Quads, class Triangles, class... Edges>
void mesh_round(input& in, const round_shape<Dim>& s, std::size_t promised,
                const mesher<Quads>& quads, const mesher<Triangles>& triangles,
                argument<dense2D<double>> pos, argument<dense2D<unsigned>> connect,
                Edges... edges) {
    const bool with_quads = in.flag();
    in.outgrows = s.n > 10000;
    const std::size_t first = connect.view->cols;
    const std::size_t rows = connect.view->rows;
    const int status =
        with_quads
            ? call(
                  in, quads.name, quads.statuses,
                  [&](auto& p, auto&... outputs) {
                      return quads.mesh(p, s.center, s.radius, s.n, outputs...);
                  },
                  pos, connect, edges...)
            : call(
                  in, triangles.name, triangles.statuses,
                  [&](auto& p, auto&... outputs) {
                      return triangles.mesh(p, s.center, s.radius, s.n, s.pattern, outputs...);
                  },
                  pos, connect, edges...);
    if (status != 0 || s.n == 0) return;
    require_nodes(*connect.view, first, s.pos.cols, {no_node});
    if (!s.ordinary()) return;
    if (with_quads) require(s.pos.cols == promised, "there are as many nodes as promised");
    // Other patterns make nodes alone, and an empty matrix of many rows takes one patch of triangles.
    if (with_quads || (s.pattern >= 0 && s.pattern <= 2 && rows <= 4))
        require_round(s, *connect.view, first, Dim == 3);
}

void quarter_disk(input& in) {
    round_shape<2> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> boundary = output(in, {2}, s.pos.cols);
    // On nodes that are there, columns are lost.
    mesh_round(
        in, s, s.quarter_nodes(),
        mesher{
            "mesh_disk_UR_Q4", {-1, -5, -6}, [](auto&... a) { return t2::mesh_disk_UR_Q4(a...); }},
        mesher{
            "mesh_disk_UR_T3", {-1, -6, -7}, [](auto&... a) { return t2::mesh_disk_UR_T3(a...); }},
        turns(s.pos), grows(connect), grows(boundary));
}

void whole_disk(input& in) {
    round_shape<2> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> boundary = output(in, {2}, s.pos.cols);
    // Numbers that were there are rewritten where nodes are joined.
    mesh_round(
        in, s, s.disk_nodes(),
        mesher{"mesh_disk_Q4", {-1, -5, -6}, [](auto&... a) { return t2::mesh_disk_Q4(a...); }},
        mesher{"mesh_disk_T3", {-1, -6, -7}, [](auto&... a) { return t2::mesh_disk_T3(a...); }},
        turns(s.pos), turns(connect), turns(boundary));
}

void octant(input& in) {
    round_shape<3> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> boundary = output(in, {2}, s.pos.cols);
    mesh_round(in, s, s.quarter_nodes(),
               mesher{"mesh_sphere_UR_Q4",
                      {-1, -5, -6},
                      [](auto&... a) { return t2::mesh_sphere_UR_Q4(a...); }},
               mesher{"mesh_sphere_UR_T3",
                      {-1, -6, -7},
                      [](auto&... a) { return t2::mesh_sphere_UR_T3(a...); }},
               grows(s.pos), grows(connect), grows(boundary));
}

constexpr auto sphere_Q4 = [](auto&... a) { return t2::mesh_sphere_Q4(a...); };
constexpr auto sphere_T3 = [](auto&... a) { return t2::mesh_sphere_T3(a...); };

void whole_sphere(input& in) {
    round_shape<3> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    mesh_round(in, s, s.sphere_nodes(), mesher{"mesh_sphere_Q4", {-1, -5}, sphere_Q4},
               mesher{"mesh_sphere_T3", {-1, -5}, sphere_T3}, grows(s.pos), turns(connect));
}

void sphere_with_circles(input& in) {
    round_shape<3> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> circle_z = output(in, {2}, s.pos.cols);
    dense2D<unsigned> circle_y = output(in, {2}, s.pos.cols);
    mesh_round(in, s, s.sphere_nodes(),
               mesher{"mesh_sphere_Q4 with circles", {-1, -5, -6, -7}, sphere_Q4},
               mesher{"mesh_sphere_T3 with circles", {-1, -5, -6, -7}, sphere_T3}, grows(s.pos),
               turns(connect), turns(circle_z), turns(circle_y));
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {patch_Q4,      patch_T3,     patch_sizes,
                                           patch_tensors, quarter_disk, whole_disk,
                                           octant,        whole_sphere, sphere_with_circles};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
