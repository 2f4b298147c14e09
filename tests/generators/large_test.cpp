// SPDX-License-Identifier: Apache-2.0
// Meshes with more nodes in a row than 16 bits count, checked by formula: a number that is held in too few
// bits on the way shows here.
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel2d/disks.h"
#include "zel/tessel2d/generators.h"
#include "zel/tessel2d/spheres.h"

#include <cmath>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;

/// The node (i, j) of the grid in a patch of m x n cells whose loop is `square_loop(m, n)`.
unsigned grid_node(unsigned m, unsigned n, unsigned i, unsigned j) {
    if (j == 0) return i;
    if (i == m) return m + j;
    if (j == n) return 2 * m + n - i;
    if (i == 0) return 2 * (m + n) - j;
    return 2 * (m + n) + (i - 1) * (n - 1) + (j - 1);
}

/// How many cells of the patch are wrong.
std::size_t wrong_quads(unsigned m, unsigned n, const dense2D<unsigned>& connect) {
    std::size_t wrong = 0;
    for (unsigned i = 0; i < m; ++i)
        for (unsigned j = 0; j < n; ++j) {
            const unsigned* const cell = connect[std::size_t{i} * n + j];
            wrong += cell[0] != grid_node(m, n, i, j) || cell[1] != grid_node(m, n, i + 1, j) ||
                     cell[2] != grid_node(m, n, i + 1, j + 1) ||
                     cell[3] != grid_node(m, n, i, j + 1);
        }
    return wrong;
}
std::size_t wrong_triangles(unsigned m, unsigned n, int pattern, const dense2D<unsigned>& connect) {
    std::size_t wrong = 0;
    for (unsigned i = 0; i < m; ++i)
        for (unsigned j = 0; j < n; ++j) {
            const unsigned a = grid_node(m, n, i, j), b = grid_node(m, n, i + 1, j),
                           c = grid_node(m, n, i + 1, j + 1), d = grid_node(m, n, i, j + 1);
            const bool along_ac = pattern == 1 || (pattern == 2 && (i + j) % 2 == 0);
            const unsigned expected[6] = {a, b, along_ac ? c : d, along_ac ? a : b, c, d};
            for (unsigned k = 0; k < 6; ++k)
                wrong += connect(k % 3, 2 * (std::size_t{i} * n + j) + k / 3) != expected[k];
        }
    return wrong;
}
/// How many nodes inside are not where an even grid of the unit square has them.
std::size_t wrong_places(unsigned m, unsigned n, const dense2D<double>& pos) {
    std::size_t wrong = 0;
    for (unsigned i = 1; i < m; ++i)
        for (unsigned j = 1; j < n; ++j) {
            const double* const p = pos[grid_node(m, n, i, j)];
            wrong += !(std::abs(p[0] - static_cast<double>(i) / m) < 1e-14) ||
                     !(std::abs(p[1] - static_cast<double>(j) / n) < 1e-14);
        }
    return wrong;
}

constexpr unsigned many = 65600; // beyond 2^16

struct grid_shape {
    unsigned m, n;
};
class LargePatch : public testing::TestWithParam<grid_shape> {};

TEST_P(LargePatch, EveryCellAndNodeIsByFormula) {
    const auto [m, n] = GetParam();
    auto patch = square_loop(m, n);
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, n, quads));
    ASSERT_EQ(std::size_t{m} * n, quads.cols);
    ASSERT_EQ(std::size_t{m + 1} * (n + 1), patch.pos.cols);
    EXPECT_EQ(0U, wrong_quads(m, n, quads));
    EXPECT_EQ(0U, wrong_places(m, n, patch.pos));
}

TEST_P(LargePatch, EveryTriangleIsByFormula) {
    const auto [m, n] = GetParam();
    for (const int pattern : {0, 1, 2}) {
        auto patch = square_loop(m, n);
        dense2D<unsigned> triangles;
        ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, n, pattern, triangles));
        ASSERT_EQ(2 * std::size_t{m} * n, triangles.cols);
        EXPECT_EQ(0U, wrong_triangles(m, n, pattern, triangles)) << "pattern " << pattern;
    }
}

TEST_P(LargePatch, EverySizeIsByFormula) {
    const auto [m, n] = GetParam();
    const auto patch = square_loop(m, n);
    dense1D<double, 8> sizes(patch.pos.cols);
    for (std::size_t k = 0; k < sizes.size; ++k)
        sizes[k] = 1 + patch.pos(0, k) + 2 * patch.pos(1, k);
    ASSERT_EQ(0, metrics_struct(patch.boundary, n, sizes));
    ASSERT_EQ(std::size_t{m + 1} * (n + 1), sizes.size);
    std::size_t wrong = 0;
    for (unsigned i = 1; i < m; ++i)
        for (unsigned j = 1; j < n; ++j) {
            const double expected =
                1 + static_cast<double>(i) / m + 2 * (static_cast<double>(j) / n);
            wrong += !(std::abs(sizes[grid_node(m, n, i, j)] - expected) < 1e-13);
        }
    EXPECT_EQ(0U, wrong);
}

TEST_P(LargePatch, EveryTensorIsByFormula) {
    const auto [m, n] = GetParam();
    const auto patch = square_loop(m, n);
    dense2D<double> tensors(3, patch.pos.cols, 0.0);
    for (std::size_t k = 0; k < tensors.cols; ++k) tensors(0, k) = tensors(2, k) = 4;
    ASSERT_EQ(0, metrics_struct(patch.boundary, n, tensors));
    ASSERT_EQ(std::size_t{m + 1} * (n + 1), tensors.cols);
    std::size_t wrong = 0;
    for (std::size_t k = 0; k < tensors.cols; ++k)
        wrong += !(std::abs(tensors(0, k) - 4) < 1e-12) || !(std::abs(tensors(2, k) - 4) < 1e-12) ||
                 !(std::abs(tensors(1, k)) < 1e-12);
    EXPECT_EQ(0U, wrong);
}

INSTANTIATE_TEST_SUITE_P(BeyondSixteenBits, LargePatch,
                         testing::Values(grid_shape{3, many}, grid_shape{many, 3},
                                         grid_shape{260, 270}));

/// Ends of the directed edges of all elements, sorted: an edge that is there twice in one direction, or has
/// no counterpart, is easily found.
std::vector<std::uint64_t> directed_edges(const dense2D<unsigned>& connect) {
    std::vector<std::uint64_t> all;
    for (std::size_t e = 0; e < connect.cols; ++e)
        for (std::size_t k = 0; k < connect.rows; ++k)
            all.push_back(std::uint64_t{connect(k, e)} << 32 | connect((k + 1) % connect.rows, e));
    std::sort(all.begin(), all.end());
    return all;
}
std::size_t doubled(const std::vector<std::uint64_t>& edges) {
    std::size_t count = 0;
    for (std::size_t k = 1; k < edges.size(); ++k) count += edges[k] == edges[k - 1];
    return count;
}
std::size_t open(const std::vector<std::uint64_t>& edges) {
    std::size_t count = 0;
    for (const std::uint64_t edge : edges)
        count += !std::binary_search(edges.begin(), edges.end(), edge << 32 | edge >> 32);
    return count;
}
/// Twice the area of a planar mesh.
double double_area(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    double sum = 0;
    for (std::size_t e = 0; e < connect.cols; ++e)
        for (std::size_t k = 0; k < connect.rows; ++k) {
            const double* const p = pos[connect(k, e)];
            const double* const q = pos[connect((k + 1) % connect.rows, e)];
            sum += p[0] * q[1] - p[1] * q[0];
        }
    return sum;
}
/// A regular polygon of so many corners on the unit circle, twice its area.
double double_area_of_polygon(unsigned corners) {
    return corners * std::sin(2 * std::acos(-1.0) / corners);
}
std::size_t off_sphere(const dense2D<double>& pos) {
    std::size_t count = 0;
    for (std::size_t j = 0; j < pos.cols; ++j)
        count += !(std::abs(std::hypot(pos(0, j), pos(1, j), pos(2, j)) - 1) < 1e-12);
    return count;
}

constexpr unsigned n_disk = 152;   // a quarter has 3n(n + 1) + 1 = 69 769 nodes
constexpr unsigned n_sphere = 152; // and so has an octant

TEST(LargeDisk, AQuarterHasEachNodeAndElementOnce) {
    dense2D<double> pos;
    dense2D<unsigned> connect, boundary;
    ASSERT_EQ(0, mesh_disk_UR_Q4(pos, {0, 0}, 1.0, n_disk, connect, boundary));
    EXPECT_EQ(3 * std::size_t{n_disk} * (n_disk + 1) + 1, pos.cols);
    EXPECT_EQ(3 * std::size_t{n_disk} * n_disk, connect.cols);
    const auto edges = directed_edges(connect);
    EXPECT_EQ(0U, doubled(edges));
    EXPECT_EQ(6U * n_disk, open(edges));
    EXPECT_NEAR(double_area_of_polygon(8 * n_disk) / 4, double_area(pos, connect), 1e-9);
}

TEST(LargeDisk, AWholeOneHasEachNodeAndElementOnce) {
    dense2D<double> pos;
    dense2D<unsigned> connect, boundary;
    ASSERT_EQ(0, mesh_disk_T3(pos, {0, 0}, 1.0, 80, 2, connect, boundary));
    EXPECT_EQ(12U * 80 * 80 + 4 * 80 + 1, pos.cols);
    EXPECT_EQ(24U * 80 * 80, connect.cols);
    const auto edges = directed_edges(connect);
    EXPECT_EQ(0U, doubled(edges));
    EXPECT_EQ(8U * 80, open(edges));
    EXPECT_NEAR(double_area_of_polygon(8 * 80), double_area(pos, connect), 1e-9);
}

TEST(LargeSphere, AnOctantHasEachNodeAndElementOnce) {
    dense2D<double> pos;
    dense2D<unsigned> connect, boundary;
    ASSERT_EQ(0, mesh_sphere_UR_T3(pos, {0, 0, 0}, 1.0, n_sphere, 1, connect, boundary));
    EXPECT_EQ(3 * std::size_t{n_sphere} * (n_sphere + 1) + 1, pos.cols);
    EXPECT_EQ(6 * std::size_t{n_sphere} * n_sphere, connect.cols);
    const auto edges = directed_edges(connect);
    EXPECT_EQ(0U, doubled(edges));
    EXPECT_EQ(6U * n_sphere, open(edges));
    EXPECT_EQ(0U, off_sphere(pos));
}

TEST(LargeSphere, AWholeOneIsClosed) {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    ASSERT_EQ(0, mesh_sphere_Q4(pos, {0, 0, 0}, 1.0, 56, connect));
    EXPECT_EQ(24U * 56 * 56 + 2, pos.cols);
    EXPECT_EQ(24U * 56 * 56, connect.cols);
    const auto edges = directed_edges(connect);
    EXPECT_EQ(0U, doubled(edges));
    EXPECT_EQ(0U, open(edges));
    EXPECT_EQ(0U, off_sphere(pos));
}

} // namespace
