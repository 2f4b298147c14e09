// SPDX-License-Identifier: Apache-2.0

// Calls of the host tools that the tests repeat from Python. A locator is built for each of its calls, by
// functions that take mesh and question together.
#include "host_calls.h"

#include "zel/host/adjacency.h"
#include "zel/host/locator.h"
#include "zel/host/outlines.h"
#include "zel/host/volume.h"
#include "zel/tessel2d.h"

#include <cstdlib>
#include <random>

namespace tessel2d_python {

namespace {

using namespace zel;
using zel_test::every_function::call;
using zel_test::every_function::calls_of;

using points_matrix = dense2D<double>;
using elements_matrix = dense2D<unsigned>;
using number_list = dense1D<unsigned, 8>;

struct mesh {
    points_matrix pos;
    elements_matrix connect;
};

void require(bool condition) {
    if (!condition) std::abort();
}

/// A disk of triangles and one of quadrilaterals, of which every third is cut to a triangle that leaves a
/// gap.
mesh disk_T3() {
    mesh m;
    elements_matrix circle;
    require(tessel2d::mesh_disk_T3(m.pos, {0.5, -1}, 2, 7, 1, m.connect, circle) == 0);
    return m;
}
mesh mixed_disk() {
    mesh m;
    elements_matrix circle;
    require(tessel2d::mesh_disk_Q4(m.pos, {0, 0}, 1.5, 5, m.connect, circle) == 0);
    for (std::size_t e = 0; e < m.connect.cols; e += 3) m.connect(3, e) = 0xFFFFFFFF;
    return m;
}
mesh sphere(bool triangles) {
    mesh m;
    require(triangles ? tessel2d::mesh_sphere_T3(m.pos, {1, 2, 3}, 1.25, 4, 0, m.connect) == 0
                      : tessel2d::mesh_sphere_Q4(m.pos, {1, 2, 3}, 1.25, 4, m.connect) == 0);
    return m;
}
mesh without_first_element(mesh m) {
    mesh open{m.pos, elements_matrix(m.connect.rows, m.connect.cols - 1)};
    for (std::size_t e = 1; e < m.connect.cols; ++e)
        for (std::size_t k = 0; k < m.connect.rows; ++k) open.connect(k, e - 1) = m.connect(k, e);
    return open;
}

/// Points in and around the box of a mesh; the last ones are its first nodes.
points_matrix points_around(const mesh& m, std::size_t n) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-3.2, 3.2);
    points_matrix points(2, n);
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t i = 0; i < 2; ++i)
            points(i, j) = j + 20 < n ? coordinate(random) : m.pos(i, n - 1 - j);
    return points;
}

// ------------------------------------------------------------------------- a locator in one call

int locate(const points_matrix& pos, const elements_matrix& connect, const points_matrix& points,
           number_list& elements, points_matrix& weights, number_list& places, double tolerance,
           unsigned threads) {
    host::locator l;
    if (const int status = l.build(pos, connect)) return status;
    return l.locate(points, elements, weights, places, tolerance, threads);
}

int transfer(const points_matrix& pos, const elements_matrix& connect, const points_matrix& points,
             const points_matrix& field, number_list& states, number_list& elements,
             points_matrix& local, points_matrix& values) {
    host::locator l;
    if (const int status = l.build(pos, connect)) return status;
    host::transfer_table table;
    if (const int status = l.transfer(points, table)) return status;
    states = table.states;
    elements = table.elements;
    local = table.local;
    return l.carry(table, field, values);
}

int is_orientable(const elements_matrix& connect, const elements_matrix& neighbors,
                  number_list& found) {
    host::orientation o;
    const int status = host::is_orientable(connect, neighbors, o);
    require(found.resize(5));
    found[0] = static_cast<unsigned>(o.what);
    found[1] = o.element;
    found[2] = o.edge;
    found[3] = o.neighbor;
    found[4] = static_cast<unsigned>(o.against);
    return status;
}

// ------------------------------------------------------------------------------------------ calls

void add_located(std::vector<call>& calls, const char* name, const mesh& m) {
    const auto points = points_around(m, 600);
    points_matrix field(3, m.pos.cols);
    for (std::size_t j = 0; j < field.cols; ++j)
        for (std::size_t i = 0; i < 3; ++i)
            field(i, j) = m.pos(0, j) * (double(i) + 0.3) - m.pos(1, j);
    calls_of(calls, "locate", &locate)
        .with(
            name,
            [=](const auto& f, number_list& elements, points_matrix& weights, number_list& places) {
                return f(m.pos, m.connect, points, elements, weights, places, 1e-6, 2);
            },
            number_list(), points_matrix(), number_list());
    calls_of(calls, "transfer", &transfer)
        .with(
            name,
            [=](const auto& f, number_list& states, number_list& elements, points_matrix& local,
                points_matrix& values) {
                return f(m.pos, m.connect, points, field, states, elements, local, values);
            },
            number_list(), number_list(), points_matrix(), points_matrix());
}

void add_surface(std::vector<call>& calls, const char* name, const mesh& m) {
    calls_of(calls, "volume", &host::volume)
        .with(
            name, [=](const auto& f, double& result) { return f(m.pos, m.connect, result); }, -7.0);
    host::adjacency beside;
    require(host::build_adjacency(m.connect, m.pos.cols, beside) == 0);
    const auto neighbors = beside.neighbors;
    calls_of(calls, "is_orientable", &is_orientable)
        .with(
            name, [=](const auto& f, number_list& found) { return f(m.connect, neighbors, found); },
            number_list());
    calls_of(calls, "unique_edges", &host::unique_edges)
        .with(
            name,
            [=](const auto& f, elements_matrix& edges, elements_matrix& elements) {
                return f(m.connect, m.pos.cols, edges, elements);
            },
            elements_matrix(), elements_matrix());
    calls_of(calls, "boundary_edges", &host::boundary_edges)
        .with(
            name,
            [=](const auto& f, elements_matrix& edges) { return f(m.connect, m.pos.cols, edges); },
            elements_matrix());
    calls_of(calls, "boundary_loops", &host::boundary_loops)
        .with(
            name,
            [=](const auto& f, number_list& starts, number_list& loops) {
                return f(m.connect, m.pos.cols, starts, loops);
            },
            number_list(), number_list());
    calls_of(calls, "components", &host::components)
        .with(
            name, [=](const auto& f, number_list& component) { return f(neighbors, component); },
            number_list());
}

void add_outlines(std::vector<call>& calls) {
    points_matrix corners(2, 4, 0.0);
    corners(0, 0) = corners(1, 3) = 1;
    corners(0, 1) = corners(1, 2) = 2.5;
    for (const unsigned n : {1u, 2u, 16u, 301u})
        calls_of(calls, "arc", &host::arc)
            .with(
                "cells " + std::to_string(n),
                [=](const auto& f, points_matrix& pos, number_list& line) {
                    return f(pos, 1, 3, {0.1, -0.2}, n, line);
                },
                corners, number_list());
    points_matrix pos = corners;
    number_list line;
    require(host::arc(pos, 1, 2, {0, 0}, 16, line) == 0);
    for (const unsigned a : {1u, 3u})
        calls_of(calls, "curved_edges", &host::curved_edges)
            .with(
                "nodes between " + std::to_string(a),
                [=](const auto& f, number_list& ends, elements_matrix& edges) {
                    return f(line, a, ends, edges);
                },
                number_list(), elements_matrix());
    const auto list = [](std::initializer_list<unsigned> given) {
        number_list l;
        require(l.resize(given.size()));
        std::copy(given.begin(), given.end(), l.begin());
        return l;
    };
    calls_of(calls, "patch_loop", &host::patch_loop)
        .with(
            "two sides backwards",
            [=](const auto& f, number_list& loop) {
                return f(list({0, 1, 2}), list({2, 3}), list({5, 4, 3}), list({0, 5}), loop);
            },
            number_list());
    calls_of(calls, "patch_loop", &host::patch_loop)
        .with(
            "a side that does not meet the next",
            [=](const auto& f, number_list& loop) {
                return f(list({0, 1}), list({1, 2}), list({7, 3}), list({3, 0}), loop);
            },
            number_list());
    const mesh m = mixed_disk();
    calls_of(calls, "append", &host::append)
        .with(
            "a mixed mesh to itself",
            [=](const auto& f, points_matrix& nodes, elements_matrix& connect) {
                return f(nodes, connect, m.pos, m.connect);
            },
            m.pos, m.connect);
}

} // namespace

std::vector<call> host_calls() {
    std::vector<call> calls;
    add_located(calls, "triangles", disk_T3());
    add_located(calls, "mixed", mixed_disk());
    add_surface(calls, "sphere of triangles", sphere(true));
    add_surface(calls, "sphere of quadrilaterals", sphere(false));
    add_surface(calls, "open sphere", without_first_element(sphere(true)));
    add_outlines(calls);
    return calls;
}

} // namespace tessel2d_python
