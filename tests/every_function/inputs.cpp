// SPDX-License-Identifier: Apache-2.0
#include "every_function/inputs.h"

#include "support/adjacency.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace zel_test::every_function {

namespace {

constexpr unsigned cells_x = 14;
constexpr unsigned cells_y = 11;

// ------------------------------------------------------------------------------------------ meshes

shared_mesh with_adjacency(std::string name, zel::element_type type, mesh m) {
    auto beside = zel_test::adjacency_of(m.connect, m.pos.cols);
    return {std::move(name), type, m.pos, m.connect, beside.neighbors, beside.ancestors};
}

template <class Move>
std::array<shared_mesh, 3> three_meshes(const std::string& name, unsigned rows, Move move) {
    const std::array<mesh, 3> grids = {grid_T3(cells_x, cells_y, rows),
                                       grid_Q4(cells_x, cells_y, rows),
                                       grid_mixed(cells_x, cells_y, rows)};
    std::array<shared_mesh, 3> all;
    const std::array<const char*, 3> kinds = {"triangles", "quadrilaterals", "mixed"};
    const std::array<zel::element_type, 3> types = {zel::ELEMENT_T3, zel::ELEMENT_Q4,
                                                    zel::ELEMENT_FACE};
    for (unsigned k = 0; k < 3; ++k) {
        mesh m{fresh_copy(grids[k].pos), grids[k].connect};
        random_numbers random(100 * rows + k);
        for (std::size_t j = 0; j < m.pos.cols; ++j) move(m.pos[j], random);
        all[k] = with_adjacency(name + " " + kinds[k], types[k], m);
    }
    return all;
}

/// Off the lattice, but not so far that an element turns over.
void shake(double* p, random_numbers& random) {
    const bool on_border = p[0] <= 0 || p[0] >= 1 || p[1] <= 0 || p[1] >= 1;
    if (on_border) return;
    p[0] += random.between(-0.2, 0.2) / cells_x;
    p[1] += random.between(-0.2, 0.2) / cells_y;
}
void shake_and_lift(double* p, random_numbers& random) {
    shake(p, random);
    p[2] = 0.2 * std::sin(5 * p[0]) * std::cos(4 * p[1]) + random.between(-0.01, 0.01);
}
/// A coarse lattice on which many nodes coincide, and a few nodes that are hardly numbers.
template <unsigned Rows>
void ruin(double* p, random_numbers& random) {
    constexpr double hard[] = {nan, infinity, -infinity, 1.7e308, -1e200, 1e-310, 1e-170, -0.0};
    for (unsigned i = 0; i < Rows; ++i) p[i] = std::floor(4 * p[i]) + random.below(2);
    if (random.below(12) == 0) p[random.below(Rows)] = hard[random.below(8)];
}

std::array<shared_mesh, 3> as_views(const std::array<shared_mesh, 3>& meshes) {
    std::array<shared_mesh, 3> views;
    for (unsigned k = 0; k < 3; ++k) {
        const shared_mesh& m = meshes[k];
        views[k] = {m.name + ", views",       m.type,
                    framed(m.pos).view,       framed(m.connect).view,
                    framed(m.neighbors).view, framed(m.ancestors).view};
    }
    return views;
}

// ------------------------------------------------------------------------------------------ fields

coordinates random_matrix(std::size_t rows, std::size_t cols, std::uint64_t seed) {
    random_numbers random(seed);
    coordinates m(rows, cols);
    for (double& x : m) x = random.between(-1, 1);
    return m;
}
value_list random_sizes(std::size_t n, std::uint64_t seed) {
    random_numbers random(seed);
    value_list sizes(n);
    for (std::size_t i = 0; i < n; ++i)
        sizes[i] = i % 17 == 5 ? 0.0 : std::exp(random.between(-3, 1));
    return sizes;
}

/// Tensors A A' + 0.1, and here and there one that is none.
coordinates random_tensors(std::size_t order, std::size_t n, std::uint64_t seed) {
    random_numbers random(seed);
    coordinates m(order * (order + 1) / 2, n, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
        double a[3][3];
        for (auto& row : a)
            for (double& x : row) x = random.between(-2, 2);
        std::size_t at = 0;
        for (std::size_t c = 0; c < order; ++c)
            for (std::size_t r = 0; r <= c; ++r, ++at) {
                for (std::size_t k = 0; k < order; ++k) m(at, j) += a[r][k] * a[c][k];
                if (r == c) m(at, j) += 0.1;
            }
        if (j % 23 == 7) m(0, j) = j % 2 == 0 ? -1.0 : nan;
    }
    return m;
}

located_mesh located(const shared_mesh& m, std::uint64_t seed) {
    random_numbers random(seed);
    const unsigned n = static_cast<unsigned>(m.pos.cols);
    const unsigned count = 120;
    coordinates pos = fresh_copy(m.pos);
    number_list ancestors = fresh_copy(m.ancestors);
    pos.resize(2, n + count);
    ancestors.resize(n + count, no_node);
    number_list orphans(count);
    for (unsigned i = 0; i < count; ++i) {
        orphans[i] = n + i;
        double* const p = pos[n + i];
        p[0] = random.between(-0.1, 1.1);
        p[1] = random.between(-0.1, 1.1);
        if (i % 5 == 0) { // on a node, or half way between two nodes of an element
            const unsigned e = random.below(static_cast<unsigned>(m.connect.cols));
            const double* const a = m.pos[m.connect(0, e)];
            const double* const b = m.pos[m.connect(i % 2, e)];
            p[0] = (a[0] + b[0]) / 2;
            p[1] = (a[1] + b[1]) / 2;
        }
        if (i % 40 == 13) p[0] = nan;
    }
    const std::size_t all = pos.cols;
    return {{m.name, m.type, pos, m.connect, m.neighbors, ancestors},
            orphans,
            random_matrix(3, all, seed + 1),
            random_tensors(2, all, seed + 2),
            random_tensors(3, all, seed + 3),
            random_sizes(all, seed + 4),
            zel::tessel::node_detector(m.pos)};
}

// ---------------------------------------------------------------------------------------- profiles

shared_profile profile_of(std::string name, unsigned nodes, connectivity edges) {
    shared_profile p{std::move(name), coordinates(2, nodes), coordinates(3, nodes), edges};
    random_numbers random(nodes);
    for (unsigned j = 0; j < nodes; ++j) {
        const double turn = 0.07 * j;
        p.plane(0, j) = p.space(0, j) = 2 + (1 + 0.02 * j) * std::cos(turn);
        p.plane(1, j) = p.space(1, j) = (1 + 0.01 * j) * std::sin(turn);
        p.space(2, j) = random.between(-0.5, 0.5);
    }
    return p;
}
std::array<shared_profile, 3> three_profiles() {
    constexpr unsigned n = 60;
    connectivity chain(2, n - 1), closed(2, n), tangle(2, n);
    random_numbers random(7);
    for (unsigned e = 0; e < n; ++e) {
        if (e < n - 1) chain(0, e) = e, chain(1, e) = e + 1;
        closed(0, e) = (n - e) % n, closed(1, e) = n - e - 1;
        tangle(0, e) = random.below(n), tangle(1, e) = random.below(n);
    }
    return {profile_of("chain", n, chain), profile_of("loop", n, closed),
            profile_of("tangle", n, framed(tangle).view)};
}

// ------------------------------------------------------------------------------ quadratic elements

/// Quadratic elements over a grid of (2m+1) x (2n+1) numbers.
connectivity quadratic(unsigned rows, bool with_triangles) {
    constexpr unsigned m = 12, n = 9;
    const auto at = [](unsigned i, unsigned j) { return j * (2 * m + 1) + i; };
    std::vector<std::vector<unsigned>> columns;
    for (unsigned j = 0; j < 2 * n; j += 2)
        for (unsigned i = 0; i < 2 * m; i += 2) {
            const unsigned q[9] = {at(i, j),         at(i + 2, j), at(i + 2, j + 2),
                                   at(i, j + 2),     at(i + 1, j), at(i + 2, j + 1),
                                   at(i + 1, j + 2), at(i, j + 1), at(i + 1, j + 1)};
            if (with_triangles && (rows == 6 || (i / 2 + j) % 3 == 0)) {
                columns.push_back({q[0], q[1], q[2], q[5], q[8], q[4]});
                columns.push_back({q[0], q[2], q[3], q[6], q[7], q[8]});
            } else {
                columns.push_back({q, q + std::min(rows, 9u)});
            }
        }
    connectivity connect(rows, columns.size(), no_node);
    for (std::size_t e = 0; e < columns.size(); ++e)
        std::copy(columns[e].begin(), columns[e].end(), connect[e]);
    return connect;
}

/// Half of the columns get a collapsed edge, a few hold a triangle.
connectivity collapsed(connectivity connect) {
    connectivity c = fresh_copy(connect);
    random_numbers random(c.rows);
    for (std::size_t e = 0; e < c.cols; ++e) {
        const unsigned k = random.below(4);
        if (random.below(2) == 0) c((k + 1) % 4, e) = c(k, e);
        if (random.below(20) == 0) c(3, e) = no_node;
    }
    return c;
}

/// Every fifth edge of a mesh, with numbers of nodes between its ends.
connectivity edges_with_nodes(const shared_mesh& m, unsigned rows) {
    connectivity edges;
    unsigned inside[4] = {0, 0, 0, 0};
    std::vector<std::vector<unsigned>> columns;
    for (std::size_t e = 0; e < m.connect.cols; e += 5) {
        inside[0] = m.connect(1, e);
        inside[1] = m.connect(e % 2 == 0 ? 2 : 0, e);
        inside[2] = static_cast<unsigned>((7 * e) % (m.pos.cols - 1));
        inside[3] = inside[2] + 1;
        columns.push_back({inside, inside + rows});
    }
    edges.resize(rows, columns.size());
    for (std::size_t e = 0; e < columns.size(); ++e)
        std::copy(columns[e].begin(), columns[e].end(), edges[e]);
    return edges;
}

void make_quadratic(shared_inputs& in) {
    in.T6 = quadratic(6, true);
    in.Q8 = quadratic(8, false);
    in.Q9 = quadratic(9, false);
    in.mixed8 = quadratic(8, true);
    in.mixed9 = quadratic(9, true);
    in.collapsed_Q4 = collapsed(grid_Q4(12, 9).connect);
    in.collapsed_Q8 = collapsed(in.Q8);
    in.collapsed_Q9 = framed(collapsed(in.Q9)).view;
    in.given_edges = edges_with_nodes(in.surface[2], 3);
    in.given_edges_cubic = edges_with_nodes(in.surface[2], 4);
    in.hard_edges = edges_with_nodes(in.surface[0], 2);
}

/// Every third element turned over, with its neighbours.
void make_disorder(shared_inputs& in) {
    in.disordered = fresh_copy(in.surface[2].connect);
    in.disordered_neighbors = fresh_copy(in.surface[2].neighbors);
    for (std::size_t e = 0; e < in.disordered.cols; e += 3) {
        std::swap(in.disordered(0, e), in.disordered(2, e));
        if (in.disordered(3, e) == no_node) {
            std::swap(in.disordered_neighbors(0, e), in.disordered_neighbors(2, e));
        } else {
            std::swap(in.disordered_neighbors(0, e), in.disordered_neighbors(1, e));
            std::swap(in.disordered_neighbors(2, e), in.disordered_neighbors(3, e));
        }
    }
}

// ----------------------------------------------------------------------------------------- patches

void make_patches(shared_inputs& in) {
    const patch_outline outline = square_loop(12, 9);
    in.loop = outline.boundary;
    in.view_of_loop = framed(outline.boundary).view;
    in.outline_plane = fresh_copy(outline.pos);
    in.outline_space = coordinates(3, outline.pos.cols);
    for (std::size_t j = 0; j < outline.pos.cols; ++j) {
        const double x = outline.pos(0, j), y = outline.pos(1, j);
        in.outline_plane(0, j) = in.outline_space(0, j) = x + 0.1 * std::sin(3 * y);
        in.outline_plane(1, j) = in.outline_space(1, j) = y + 0.1 * std::sin(4 * x);
        in.outline_space(2, j) = x * y - 0.3 * x * x;
    }
    in.outline_sizes = random_sizes(outline.pos.cols, 31);
    in.outline_tensors3 = random_tensors(2, outline.pos.cols, 32);
    in.outline_tensors6 = random_tensors(3, outline.pos.cols, 33);
}

/// Nodes near the places of a lattice, some with a NaN, some far away.
coordinates crowd_of(unsigned rows) {
    random_numbers random(rows);
    coordinates pos(rows, 400);
    for (std::size_t j = 0; j < pos.cols; ++j) {
        for (unsigned i = 0; i < rows; ++i)
            pos(i, j) = random.below(6) + 1e-9 * random.between(-1, 1);
        if (j % 50 == 21) pos(j % rows, j) = nan;
        if (j % 50 == 33) pos(j % rows, j) = 1e300;
    }
    return pos;
}

void make_outputs(shared_inputs& in) {
    in.edges_there = cells({{0, 1}, {1, 2}, {2, 0}});
    in.triangles_there = cells({{0, 1, 2}, {2, 1, 3}});
    in.quads_there = cells({{0, 1, 2, 3}, {2, 1, 3, no_node}});
    in.triangles_view = framed(in.triangles_there).view;
    in.quads_view = framed(in.quads_there).view;
}

shared_inputs* make_inputs() {
    const auto plane = three_meshes("plane", 2, shake);
    const auto surface = three_meshes("surface", 3, shake_and_lift);
    auto* const made =
        new shared_inputs{plane,
                          as_views(plane),
                          surface,
                          as_views(surface),
                          three_meshes("rough plane", 2, ruin<2>),
                          three_meshes("rough surface", 3, ruin<3>),
                          {located(plane[0], 41), located(plane[1], 51), located(plane[2], 61)},
                          three_profiles()};
    shared_inputs& in = *made;
    in.vectors = random_matrix(3, surface[0].pos.cols, 71);
    in.derivatives = random_matrix(6, plane[0].pos.cols, 72);
    make_quadratic(in);
    make_disorder(in);
    make_patches(in);
    in.crowd_plane = crowd_of(2);
    in.crowd_space = crowd_of(3);
    in.crowd = connectivity(3, 300);
    random_numbers random(81);
    for (unsigned& node : in.crowd) node = random.below(420);
    make_outputs(in);
    return made;
}

} // namespace

const shared_inputs& inputs() {
    static const shared_inputs* const made = make_inputs();
    return *made;
}

} // namespace zel_test::every_function
