// SPDX-License-Identifier: Apache-2.0
// Searches and fields on more nodes and elements than 16 bits count, checked by formula: a number that is held
// in too few bits on the way shows here.
#include "support/adjacency.h"
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel.h"
#include "zel/tessel2d/location.h"
#include "zel/tessel2d/metrics.h"

#include <cmath>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;

constexpr unsigned side = 300; // cells along each side of a square
constexpr unsigned cells_in_all = side * side;

/// The grid over the square from 0 to `side`, with nodes behind it that belong to no element: one in each
/// cell, at (x, y) from its lower left corner.
mesh square_with_orphans(mesh g, double x, double y) {
    const std::size_t known = g.pos.cols;
    dense2D<double> pos(2, known + cells_in_all);
    for (std::size_t j = 0; j < known; ++j)
        for (unsigned i = 0; i < 2; ++i) pos(i, j) = std::round(g.pos(i, j) * side);
    for (unsigned c = 0; c < cells_in_all; ++c) {
        pos(0, known + c) = c % side + x;
        pos(1, known + c) = c / side + y;
    }
    g.pos = pos;
    return g;
}
dense1D<unsigned, 8> orphans_of(const mesh& g) {
    dense1D<unsigned, 8> all(cells_in_all);
    for (unsigned c = 0; c < cells_in_all; ++c)
        all[c] = static_cast<unsigned>(g.pos.cols - cells_in_all) + c;
    return all;
}

TEST(LargeLocation, CellsAllOverAGridAreFound) {
    const mesh g = square_with_orphans(grid_Q4(side, side), 0.25, 0.75);
    const adjacency a = adjacency_of(g.connect, g.pos.cols);
    dense2D<double> own(2, g.pos.cols - cells_in_all);
    for (std::size_t j = 0; j < own.cols; ++j)
        for (unsigned i = 0; i < 2; ++i) own(i, j) = g.pos(i, j);
    const zel::tessel::node_detector detector(own);
    std::size_t wrong = 0;
    for (unsigned c = 0; c < cells_in_all; c += 83) { // each call tests all numbers
        const double* const p = g.pos[own.cols + c];
        unsigned found = no_node;
        get_element_containing_point(g.pos, g.connect, a.neighbors, a.ancestors, detector,
                                     zel::ELEMENT_Q4, {p[0], p[1]}, found, 1e-9);
        wrong += found != c;
    }
    EXPECT_EQ(0U, wrong);
}

double linear(const double* p) {
    return 1 + 3 * p[0] + 2 * p[1];
}

TEST(LargeLocation, EveryNodeGetsTheValueOfALinearField) {
    const mesh g = square_with_orphans(grid_T3(side, side), 0.25, 0.625);
    const adjacency a = adjacency_of(g.connect, g.pos.cols);
    const auto nodes = orphans_of(g);
    dense1D<double, 8> field(g.pos.cols, -1.0);
    for (std::size_t j = 0; j + cells_in_all < g.pos.cols; ++j) field[j] = linear(g.pos[j]);
    ASSERT_EQ(
        0, interpolate(g.pos, g.connect, a.neighbors, a.ancestors, field, nodes, zel::ELEMENT_T3));
    std::size_t wrong = 0;
    for (const unsigned node : nodes)
        wrong += !(std::abs(field[node] - linear(g.pos[node])) < 1e-9);
    EXPECT_EQ(0U, wrong);
}

TEST(LargeLocation, EveryNodeGetsTheSizeOfALinearField) {
    const mesh g = square_with_orphans(grid_T3(side, side), 0.75, 0.375);
    const adjacency a = adjacency_of(g.connect, g.pos.cols);
    dense1D<double, 8> sizes(g.pos.cols, -1.0);
    for (std::size_t j = 0; j + cells_in_all < g.pos.cols; ++j) sizes[j] = linear(g.pos[j]);
    ASSERT_EQ(0, interpolate_metrics(g.pos, g.connect, a.neighbors, a.ancestors, sizes, true,
                                     zel::ELEMENT_T3));
    std::size_t wrong = 0;
    for (const unsigned node : orphans_of(g))
        wrong += !(std::abs(sizes[node] - linear(g.pos[node])) < 1e-9);
    EXPECT_EQ(0U, wrong);
}

/// The entries of the tensor of triangle e; their periods do not divide 2^16.
double entry(unsigned row, unsigned e) {
    return row == 0 ? 1.0 + e % 5 : row == 1 ? 0.5 : 1.0 + e % 7;
}

TEST(LargeLocation, EveryNodeGetsTheTensorOfItsTriangle) {
    // Triangles far from one another, and a node in each.
    constexpr unsigned triangles = 65600;
    constexpr unsigned known = 3 * triangles;
    dense2D<double> pos(2, known + triangles);
    dense2D<unsigned> connect(3, triangles);
    dense2D<double> tensors(3, known + triangles, 0.0);
    for (unsigned e = 0; e < triangles; ++e) {
        const unsigned row = e / 256;
        const double x = 20.0 * (e % 256), y = 20.0 * row;
        const double corners[4][2] = {{x, y}, {x + 4, y}, {x, y + 4}, {x + 1, y + 1}};
        for (unsigned k = 0; k < 4; ++k) {
            const unsigned node = k < 3 ? 3 * e + k : known + e;
            pos(0, node) = corners[k][0];
            pos(1, node) = corners[k][1];
            if (k == 3) continue;
            connect(k, e) = node;
            for (unsigned i = 0; i < 3; ++i) tensors(i, node) = entry(i, e);
        }
    }
    const adjacency a = adjacency_of(connect, pos.cols);
    ASSERT_EQ(0, interpolate_metrics(pos, connect, a.neighbors, a.ancestors, tensors, false,
                                     zel::ELEMENT_T3));
    std::size_t wrong = 0;
    for (unsigned e = 0; e < triangles; ++e)
        for (unsigned i = 0; i < 3; ++i)
            wrong += !(std::abs(tensors(i, known + e) - entry(i, e)) < 1e-12);
    EXPECT_EQ(0U, wrong);
}

} // namespace
