// SPDX-License-Identifier: Apache-2.0
#include "location/interpolate_metrics.h"

#include "located_meshes.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "support/tensors.h"
#include "zel/tessel2d/metrics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using namespace zel_test;
using zel::element_type;
using zel::tessel2d::carry_tensors;
using zel::tessel2d::interpolate_metrics;
using zel::tessel2d::size_on_quad;
using zel::tessel2d::size_on_triangle;
using place = zel::vector_fixed<double, 2>;
constexpr double nan = zel_test::nan; // of two by that name
constexpr double most = std::numeric_limits<double>::max();

/// A mesh with orphans and the list of them.
struct carried {
    adjacent_mesh m;
    dense1D<unsigned, 8> nodes;
    dense1D<double, 8> sizes;

    carried(const adjacent_mesh& base, const std::vector<place>& at)
        : m(base), nodes(list(append_orphans(m, at))), sizes(m.pos.cols, -99.0) {}
    int run(bool keep_valid = false) {
        return interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors, sizes, nodes,
                                   keep_valid, m.type);
    }
    int run(dense2D<double>& tensors, bool keep_valid = false) {
        return interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors, tensors, nodes,
                                   keep_valid, m.type);
    }
};
adjacent_mesh triangle() {
    return {"triangle", zel::ELEMENT_T3, {points({{0, 0}, {4, 0}, {0, 4}}), cells({{0, 1, 2}})}};
}
adjacent_mesh square() {
    return {"square", zel::ELEMENT_Q4, unit_square()};
}
/// Sizes along both axes of the plane, turned by an angle, and 2 along z in 6 rows.
void put_tensor(dense2D<double>& m, std::size_t j, long double hx, long double hy,
                long double angle = 0.3L) {
    square_matrix<3> axes = upright<3>();
    turn_rows<3>(axes, 0, 1, angle);
    const auto t = exact_size_tensor<3>(axes, {hx, hy, 2});
    for (std::size_t i = 0; i < m.rows; ++i) m(i, j) = static_cast<double>(t[i]);
}
void expect_column(const dense2D<double>& m, std::size_t j, long double hx, long double hy) {
    dense2D<double> expected(m.rows, 1);
    put_tensor(expected, 0, hx, hy);
    for (std::size_t i = 0; i < m.rows; ++i) EXPECT_NEAR(expected(i, 0), m(i, j), 1e-12);
}

// --------------------------------------------------------------------------------------------- sizes

TEST(InterpolateMetrics, SizesAreLinearInATriangle) {
    carried c(triangle(), {{1, 1}, {2, 0}, {0, 1}, {1, 3}});
    c.sizes[0] = 1, c.sizes[1] = 2, c.sizes[2] = 4;
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(2, c.sizes[3]);
    EXPECT_EQ(1.5, c.sizes[4]);
    EXPECT_EQ(1.75, c.sizes[5]);
    EXPECT_EQ(3.5, c.sizes[6]);
    EXPECT_EQ(1, c.sizes[0]) << "nodes of the mesh keep their sizes";
}

TEST(InterpolateMetrics, SizesOnASideOrAtACornerNeedOnlyItsNodes) {
    double h = 0;
    for (const double none : {0.0, -1.0, nan}) {
        EXPECT_TRUE(size_on_triangle(none, none, 4, 0, 0, h) && h == 4);
        EXPECT_TRUE(size_on_triangle(none, 3, none, 0, 1, h) && h == 3);
        EXPECT_TRUE(size_on_triangle(5, none, none, 1, 0, h) && h == 5);
        EXPECT_TRUE(size_on_triangle(none, 3, 4, 1e-13, 0.5, h) && h == 3.5);
        EXPECT_TRUE(size_on_triangle(5, none, 4, 0.5, -1e-13, h) && h == 4.5);
        EXPECT_TRUE(size_on_triangle(5, 3, none, 0.5, 0.5, h) && h == 4);
        EXPECT_TRUE(size_on_triangle(none, 3, none, 1.2e-12, 1 - 0.9e-12, h) && h == 3);
        EXPECT_FALSE(size_on_triangle(5, 3, none, 0.5, 0.5 - 2e-12, h));
        EXPECT_FALSE(size_on_triangle(none, 3, 4, 1.1e-12, 0.5, h));
        EXPECT_FALSE(size_on_triangle(none, 3, 4, 0.5, 0.5, h));
        EXPECT_FALSE(size_on_triangle(5, 3, none, 0.25, 0.25, h));
    }
    EXPECT_TRUE(size_on_triangle(1, 2, 3, nan, 0.5, h) && h == 2.5) << "NaN counts as 0";
}

TEST(InterpolateMetrics, SizesMustEndUpPositiveAndFinite) {
    double h = 0;
    for (const double bad : {0.0, -1.0, nan, infinity, most}) {
        EXPECT_FALSE(size_on_triangle(1, 2, bad, 0, 0, h)) << bad;
        EXPECT_FALSE(size_on_quad(bad, 1, 1, 1, 0, 0, h)) << bad;
    }
    EXPECT_FALSE(size_on_triangle(1, 2, infinity, 0.25, 0.25, h));
    EXPECT_FALSE(size_on_triangle(1, 1, 1000, 0.6, 0.5, h)) << "beyond the far side";
}

TEST(InterpolateMetrics, TheCentreOfASquareLeansTowardsNodeTwo) {
    carried c(square(), {{0.5, 0.5}});
    for (std::size_t k = 0; k < 4; ++k) c.sizes[k] = std::vector<double>{1, 3, 11, 5}[k];
    ASSERT_EQ(0, c.run());
    // (0.75, 0.75) in the bilinear formula, not the mean, which is 5
    EXPECT_EQ(1 * 0.0625 + 3 * 0.1875 + 11 * 0.5625 + 5 * 0.1875, c.sizes[4]);
}

TEST(InterpolateMetrics, SizesOnThreeSidesOfAQuadrilateralAreLinear) {
    double h = 0;
    const double x = nan; // counts for nothing
    EXPECT_TRUE(size_on_quad(1, 3, x, x, 0.25, 0, h) && h == 1.5);
    EXPECT_TRUE(size_on_quad(1, x, x, 5, 0, 0.25, h) && h == 2);
    EXPECT_TRUE(size_on_quad(x, x, 11, 5, 0.5, 1, h) && h == 8);
    EXPECT_TRUE(size_on_quad(1, x, x, x, 1e-13, -1e-13, h) && h == 1);
    EXPECT_TRUE(size_on_quad(x, 3, x, x, 1, 0, h) && h == 3);
    EXPECT_TRUE(size_on_quad(x, x, 11, x, 1, 1, h) && h == 11);
    EXPECT_TRUE(size_on_quad(x, x, x, 5, 0, 1, h) && h == 5);
    EXPECT_FALSE(size_on_quad(x, 3, 11, x, 1, 0.5, h)) << "the side 1-2 counts as inside";
    EXPECT_TRUE(size_on_quad(1, 3, 11, 5, 1, 0.5, h) && h == 9);
}

TEST(InterpolateMetrics, InAMixedMeshEachElementHasItsOwnRule) {
    carried c({"mixed",
               zel::ELEMENT_FACE,
               {points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}}),
                cells({{0, 1, 2, 3}, {1, 4, 2, no_node}})}},
              {{0.5, 0.5}, {1.25, 0.25}});
    for (std::size_t k = 0; k < 5; ++k) c.sizes[k] = std::vector<double>{1, 3, 11, 5, 7}[k];
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(7.75, c.sizes[5]);
    EXPECT_EQ(0.5 * 3 + 0.25 * 7 + 0.25 * 11, c.sizes[6]);
}

// ------------------------------------------------------------------------------------------- tensors

TEST(InterpolateMetrics, TensorsWithCommonAxesHaveSizesLinearInATriangle) {
    for (const std::size_t rows : {3U, 6U}) {
        carried c(triangle(), {{1, 1}, {2, 0}, {0, 1}, {1, 3}, {0.5, 2.5}});
        dense2D<double> tensors(rows, c.m.pos.cols, -9.0);
        put_tensor(tensors, 0, 1, 3);
        put_tensor(tensors, 1, 2, 1);
        put_tensor(tensors, 2, 4, 2);
        ASSERT_EQ(0, c.run(tensors));
        expect_column(tensors, 3, 2, 2.25L);
        expect_column(tensors, 4, 1.5L, 2);
        expect_column(tensors, 5, 1.75L, 2.75L);
        expect_column(tensors, 6, 3.5L, 1.75L);
        expect_column(tensors, 7, 0.25L + 0.25L + 2.5L, 0.75L + 0.125L + 1.25L);
    }
}

TEST(InterpolateMetrics, ACornerGivesItsTensorBitForBitEvenAnInvalidOne) {
    for (const std::size_t rows : {3U, 6U}) {
        carried c(triangle(), {{0, 0}, {4, 0}, {0, 4}});
        dense2D<double> tensors(rows, c.m.pos.cols, 0.0);
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t i = 0; i < rows; ++i)
                tensors(i, j) = i == j ? nan : -0.1 * (j == 0 ? 1.0 : 2.0);
        ASSERT_EQ(0, c.run(tensors));
        for (std::size_t j = 0; j < 3; ++j)
            EXPECT_EQ(snapshot(tensors.sub_matrix(0, j, rows, 1)),
                      snapshot(tensors.sub_matrix(0, j + 3, rows, 1)));
    }
}

TEST(InterpolateMetrics, AnInvalidTensorLeavesTheNodeUnchanged) {
    for (const std::size_t rows : {3U, 6U}) {
        carried c(triangle(), {{1, 1}, {2, 0}, {2, 2}});
        dense2D<double> tensors(rows, c.m.pos.cols, -9.0);
        put_tensor(tensors, 0, 1, 3);
        put_tensor(tensors, 1, 2, 1);
        std::fill_n(tensors[2], rows, 0.0);
        ASSERT_EQ(0, c.run(tensors));
        EXPECT_EQ(std::vector<double>(rows, -9.0), column(tensors, 3));
        expect_column(tensors, 4, 1.5L, 2);
        EXPECT_EQ(std::vector<double>(rows, -9.0), column(tensors, 5)) << "not the closest node's";
    }
}

TEST(InterpolateMetrics, BelowTheTestsTensorsAreCarriedOnQuadrilateralsAndMixedMeshes) {
    for (const std::size_t rows : {3U, 6U})
        for (const element_type type : {zel::ELEMENT_Q4, zel::ELEMENT_FACE}) {
            carried c(square(), {{0.5, 0.25}, {0.25, 0}, {0, 0.5}, {0.5, 1}, {1, 0.75}, {1, 1}});
            dense2D<double> tensors(rows, c.m.pos.cols, -9.0);
            const long double hx[] = {1, 2, 4, 3}, hy[] = {3, 1, 2, 5};
            for (std::size_t k = 0; k < 4; ++k) put_tensor(tensors, k, hx[k], hy[k]);
            carry_tensors(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, tensors, c.nodes,
                          false, type);
            for (std::size_t k = 0; k < c.nodes.size; ++k) { // bilinear, with no lean
                const long double s = c.m.pos(0, 4 + k), t = c.m.pos(1, 4 + k);
                const auto at = [&](const long double* h) {
                    return (1 - t) * ((1 - s) * h[0] + s * h[1]) + t * ((1 - s) * h[3] + s * h[2]);
                };
                expect_column(tensors, 4 + k, at(hx), at(hy));
            }
            std::fill_n(tensors[2], rows, 0.0);
            std::fill_n(tensors[4], rows, -9.0);
            carry_tensors(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, tensors, c.nodes,
                          false, type);
            EXPECT_EQ(std::vector<double>(rows, -9.0), column(tensors, 4));
            expect_column(tensors, 5, 1.25L, 2.5L); // the side 0-1 does not see node 2
        }
    carried c({"mixed",
               zel::ELEMENT_FACE,
               {points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}}),
                cells({{0, 1, 2, 3}, {1, 4, 2, no_node}})}},
              {{1.25, 0.25}});
    dense2D<double> tensors(6, c.m.pos.cols, 0.0);
    for (std::size_t k = 0; k < 5; ++k) put_tensor(tensors, k, 1.0L + k, 2);
    carry_tensors(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, tensors, c.nodes, false,
                  zel::ELEMENT_FACE);
    expect_column(tensors, 5, 0.5L * 2 + 0.25L * 5 + 0.25L * 3, 2);
}

// ------------------------------------------------------------------------------------- which nodes

TEST(InterpolateMetrics, ValidMetricsAreKeptOnDemand) {
    carried c(triangle(), {{1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}});
    c.sizes = list<double>({1, 2, 4, 7, 0, infinity, -1, nan, most});
    ASSERT_EQ(0, c.run(true));
    EXPECT_EQ((std::vector<double>{1, 2, 4, 7, 2, 2, 2, 2, 2}), values(c.sizes));
    ASSERT_EQ(0, c.run(true));
    EXPECT_EQ((std::vector<double>{1, 2, 4, 7, 2, 2, 2, 2, 2}), values(c.sizes)) << "all valid";
    ASSERT_EQ(0, c.run(false));
    EXPECT_EQ(2, c.sizes[3]);
    for (const std::size_t rows : {3U, 6U}) {
        dense2D<double> tensors(rows, c.m.pos.cols, 0.0);
        for (std::size_t j = 0; j < 4; ++j) put_tensor(tensors, j, 3, 3);
        put_tensor(tensors, 3, 7, 8);
        const double bad[] = {0, -1, nan, infinity, 0};
        for (std::size_t k = 0; k < 5; ++k) {
            put_tensor(tensors, 4 + k, 1, 1);
            tensors(2, 4 + k) = bad[k];
        }
        ASSERT_EQ(0, c.run(tensors, true));
        expect_column(tensors, 3, 7, 8);
        for (std::size_t j = 4; j < 9; ++j) expect_column(tensors, j, 3, 3);
        ASSERT_EQ(0, c.run(tensors, false));
        expect_column(tensors, 3, 3, 3);
    }
}

TEST(InterpolateMetrics, OutsideTheMeshTheClosestNodeIsCopiedUntested) {
    carried c(triangle(), {{3, 3.5}, {9, 9}});
    c.sizes = list<double>({1, 2, -4, 7, 8});
    ASSERT_EQ(0, c.run());
    EXPECT_EQ((std::vector<double>{1, 2, -4, -4, 8}), values(c.sizes));
    for (const std::size_t rows : {3U, 6U}) {
        dense2D<double> tensors(rows, 5, 1.0);
        std::fill_n(tensors[2], rows, -5.0);
        ASSERT_EQ(0, c.run(tensors));
        EXPECT_EQ(std::vector<double>(rows, -5.0), column(tensors, 3));
        EXPECT_EQ(std::vector<double>(rows, 1.0), column(tensors, 4)) << "outside the box";
    }
}

TEST(InterpolateMetrics, ALocatedNodeWithACornerOfNoSizeKeepsItsOwn) {
    carried c(triangle(), {{1, 1}});
    c.sizes = list<double>({1, 0, 4, 7});
    ASSERT_EQ(0, c.run());
    EXPECT_EQ(7, c.sizes[3]);
}

TEST(InterpolateMetrics, WithoutAListAnyNumberOfNodesIsServed) {
    const adjacent_mesh base = assorted_meshes().front();
    for (std::size_t n = 0; n < 14; ++n) {
        carried c(base, std::vector<place>(n, place{0.3, 0.4}));
        std::fill_n(c.sizes.begin(), base.pos.cols, 1.5);
        EXPECT_EQ(0, interpolate_metrics(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors,
                                         c.sizes, false, c.m.type));
        for (const double h : c.sizes) EXPECT_NEAR(1.5, h, 1e-15) << c.m.pos.cols;
    }
}

TEST(InterpolateMetrics, WithoutAListAllNodesAreServed) {
    for (const adjacent_mesh& base : assorted_meshes()) {
        random_numbers random(4);
        std::vector<place> at;
        for (int i = 0; i < 100; ++i) at.push_back({random.between(0, 1.2), random.between(0, 2)});
        carried c(base, at);
        for (double& h : c.sizes) h = random.between(1, 2);
        auto all = fresh_copy(c.sizes);
        ASSERT_EQ(0, c.run());
        ASSERT_EQ(0, interpolate_metrics(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors, all,
                                         false, c.m.type));
        EXPECT_EQ(snapshot(c.sizes), snapshot(all)) << base.name;
        if (base.type != zel::ELEMENT_T3) continue;
        dense2D<double> tensors(3, c.m.pos.cols);
        for (std::size_t j = 0; j < tensors.cols; ++j)
            put_tensor(tensors, j, random.between(1, 2), random.between(1, 2), random.unit());
        auto everywhere = fresh_copy(tensors);
        ASSERT_EQ(0, c.run(tensors));
        ASSERT_EQ(0, interpolate_metrics(c.m.pos, c.m.connect, c.m.neighbors, c.m.ancestors,
                                         everywhere, false, c.m.type));
        EXPECT_EQ(snapshot(tensors), snapshot(everywhere)) << base.name;
    }
}

TEST(InterpolateMetrics, ViewsWithALargerLeadingDimension) {
    random_numbers random(5);
    std::vector<place> at;
    for (int i = 0; i < 50; ++i) at.push_back({random.unit(), random.unit()});
    carried c({"triangles", zel::ELEMENT_T3, grid_T3(5, 4)}, at);
    dense2D<double> tensors(6, c.m.pos.cols);
    for (std::size_t j = 0; j < tensors.cols; ++j)
        put_tensor(tensors, j, random.between(1, 2), random.between(1, 2), random.unit());
    auto pos = framed(c.m.pos);
    auto connect = framed(c.m.connect);
    auto neighbors = framed(c.m.neighbors);
    auto ancestors = framed(c.m.ancestors);
    auto nodes = framed(c.nodes);
    auto odd = framed(tensors);
    ASSERT_EQ(0, c.run(tensors));
    ASSERT_EQ(0, interpolate_metrics(pos.view, connect.view, neighbors.view, ancestors.view,
                                     odd.view, nodes.view, false, zel::ELEMENT_T3));
    EXPECT_EQ(columns(tensors), columns(odd.view));
    EXPECT_TRUE(odd.surroundings_untouched(tensors.cols));
}

// ------------------------------------------------------------------------------------------ statuses

/// Calls all four and expects a status for tensors and one for sizes, with nothing changed.
void expect_refused(int for_tensors, int for_sizes, const carried& c, dense2D<double> tensors,
                    bool listed_only = false) {
    auto sizes = fresh_copy(c.sizes);
    const auto before = snapshot(tensors, sizes);
    const auto& m = c.m;
    EXPECT_EQ(for_tensors, interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors, tensors,
                                               c.nodes, false, m.type));
    EXPECT_EQ(for_sizes, interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors, sizes,
                                             c.nodes, false, m.type));
    if (!listed_only) {
        EXPECT_EQ(for_tensors, interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors,
                                                   tensors, false, m.type));
        EXPECT_EQ(for_sizes, interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors, sizes,
                                                 false, m.type));
    }
    EXPECT_EQ(before, snapshot(tensors, sizes));
}
TEST(InterpolateMetrics, StatusesComeInTheOrderOfTheArguments) {
    const dense2D<double> four(3, 4, 1.0);
    carried c(triangle(), {{1, 1}});
    c.nodes = ids({9}); // and from here on one more fault in front at each step
    expect_refused(-6, -6, c, four, true);
    expect_refused(-5, -6, c, dense2D<double>(4, 4, 1.0), true);
    c.sizes.resize(3);
    expect_refused(-5, -5, c, dense2D<double>(3, 5, 1.0));
    c.m.ancestors.resize(3);
    expect_refused(-4, -4, c, dense2D<double>(3, 5, 1.0));
    c.m.neighbors = cells({{0, 0, 7}});
    expect_refused(-3, -3, c, dense2D<double>(3, 5, 1.0));
    c.m.neighbors = cells({{0, 0, 0, 0}});
    expect_refused(-3, -3, c, dense2D<double>(3, 5, 1.0));
    c.m.connect = cells({{0, 1, 4}});
    expect_refused(-2, -2, c, dense2D<double>(3, 5, 1.0));
    c.m.pos.resize(3, 4, 0.0);
    expect_refused(-1, -1, c, dense2D<double>(3, 5, 1.0));
    c.nodes = {};
    expect_refused(0, 0, c, dense2D<double>(3, 5, 1.0), true);
}
TEST(InterpolateMetrics, TensorsAreRefusedOnQuadrilateralsThatSizesAreServedOn) {
    carried c(square(), {{0.5, 0.5}});
    c.sizes = list<double>({1, 1, 1, 1, 0});
    dense2D<double> tensors(3, 5, 1.0);
    EXPECT_EQ(-2, c.run(tensors));
    EXPECT_EQ(0, c.run());
    EXPECT_EQ(1, c.sizes[4]);
}
TEST(InterpolateMetrics, OtherCombinationsOfRowsAndTypeDoNothing) {
    carried c(triangle(), {{1, 1}});
    c.sizes = list<double>({1, 1, 1, 7});
    c.m.type = zel::ELEMENT_FACE;
    expect_refused(0, 0, c, dense2D<double>(6, 4, 1.0));
    c.m.type = zel::ELEMENT_Q4;
    expect_refused(0, -2, c, dense2D<double>(6, 4, 1.0));
}

TEST(InterpolateMetrics, CoordinatesInTheSameStorageCountAsOnEntry) {
    carried c(triangle(), {{1, 1}, {2, 0}});
    dense2D<double> shared(5, 5, 0.0), apart(3, 5, 0.0);
    for (std::size_t j = 0; j < 5; ++j) {
        put_tensor(apart, j, 2, 3);
        std::copy_n(c.m.pos[j], 2, shared[j]);
    }
    // Row 1 of the coordinates is row 0 of the tensors.
    auto tensors = shared.sub_matrix(1, 0, 3, 5);
    for (std::size_t j = 0; j < 5; ++j) tensors(2, j) = 1 + tensors(0, j) * tensors(0, j);
    auto expected = fresh_copy(tensors);
    ASSERT_EQ(0, c.run(expected));
    ASSERT_EQ(0, interpolate_metrics(shared.sub_matrix(0, 0, 2, 5), c.m.connect, c.m.neighbors,
                                     c.m.ancestors, tensors, c.nodes, false, zel::ELEMENT_T3));
    EXPECT_EQ(columns(expected), columns(tensors));
}

// ---------------------------------------------------------------------------------- exhausted memory

TEST(InterpolateMetrics, ExhaustedMemoryLeavesNodesAsTheyWereOrServesThem) {
    carried c(triangle(), {{1, 1}, {3, 3.5}});
    dense2D<double> good(6, 5, -9.0);
    for (std::size_t j = 0; j < 3; ++j) put_tensor(good, j, 1.0L + j, 2);
    for (const bool listed : {true, false})
        fail_each_allocation([&](std::size_t k) {
            auto tensors = fresh_copy(good);
            auto sizes = list<double>({1, 2, 4, -9, -9});
            const auto& m = c.m;
            arm_allocator(k);
            const int first = listed
                                  ? interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors,
                                                        tensors, c.nodes, false, zel::ELEMENT_T3)
                                  : interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors,
                                                        tensors, false, zel::ELEMENT_T3);
            const int second = listed
                                   ? interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors,
                                                         sizes, c.nodes, false, zel::ELEMENT_T3)
                                   : interpolate_metrics(m.pos, m.connect, m.neighbors, m.ancestors,
                                                         sizes, false, zel::ELEMENT_T3);
            disarm_allocator();
            EXPECT_EQ(0, first);
            EXPECT_EQ(0, second);
            EXPECT_TRUE(sizes[3] == -9 || sizes[3] == 2) << sizes[3];
            if (tensors(0, 3) != -9) expect_column(tensors, 3, 1.75L, 2);
            for (std::size_t j = 0; j < 3; ++j) EXPECT_EQ(column(good, j), column(tensors, j));
        });
}

// ------------------------------------------------------------------ what a place needs, node by node

TEST(InterpolateMetrics, TensorsOnASideOfAQuadrilateralNeedOnlyItsNodes) {
    using zel::tessel2d::tensor_on_quad;
    using tensor2 = zel::tessel2d::tensor<2>;
    const tensor2 none{{0, 0, 0}};
    const tensor2 one{{1, 0, 1}};             // size 1
    const tensor2 three{{1. / 9, 0, 1. / 9}}; // size 3
    const auto expect_two = [](bool found, const tensor2& m) {
        EXPECT_TRUE(found);
        EXPECT_NEAR(0.25, m[0], 1e-15);
        EXPECT_EQ(0, m[1]);
        EXPECT_NEAR(0.25, m[2], 1e-15);
    };
    tensor2 m;
    for (const double at_end : {0.0, 1e-13}) {
        expect_two(tensor_on_quad<2>(one, three, none, none, 0.5, at_end, m), m);
        expect_two(tensor_on_quad<2>(one, none, none, three, at_end, 0.5, m), m);
        expect_two(tensor_on_quad<2>(none, none, three, one, 0.5, 1 - at_end, m), m);
        expect_two(tensor_on_quad<2>(none, one, three, none, 1 - at_end, 0.5, m), m);
    }
    EXPECT_FALSE(tensor_on_quad<2>(none, one, one, one, 0.5, 0.5, m));
    EXPECT_FALSE(tensor_on_quad<2>(one, one, none, one, 0.5, 0.5, m));
    expect_two(tensor_on_quad<2>(one, three, three, one, 0.5, 0.25, m), m);
}

// Both sides have tensors in between, but a product underflows on the way from one side to the other.
TEST(InterpolateMetrics, InsideAQuadrilateralThereIsNoTensorIfTheWayBetweenTwoSidesHasNone) {
    using zel::tessel2d::tensor_on_quad;
    using tensor2 = zel::tessel2d::tensor<2>;
    const tensor2 wide{{1e-150, 0, 1}};
    const tensor2 high{{1, 0, 1e-30}};
    tensor2 m;
    EXPECT_TRUE(tensor_on_quad<2>(wide, wide, wide, wide, 0.5, 0.5, m));
    EXPECT_TRUE(tensor_on_quad<2>(high, high, high, high, 0.5, 0.5, m));
    EXPECT_FALSE(tensor_on_quad<2>(wide, wide, high, high, 0.5, 0.5, m));
}

TEST(InterpolateMetrics, SizesInsideAQuadrilateralNeedAllItsNodes) {
    for (std::size_t k = 0; k < 4; ++k) {
        for (const double none : {0.0, -1.0, nan}) {
            double h[4] = {1, 1, 1, 1};
            double found = 0;
            EXPECT_TRUE(size_on_quad(h[0], h[1], h[2], h[3], 0.5, 0.5, found));
            EXPECT_EQ(1, found);
            h[k] = none;
            EXPECT_FALSE(size_on_quad(h[0], h[1], h[2], h[3], 0.5, 0.5, found)) << k;
        }
    }
    for (const double none : {0.0, -1.0, nan}) {
        double found = 0;
        EXPECT_FALSE(size_on_quad(1, none, 1, 1, 0.5, 0, found));
        EXPECT_FALSE(size_on_quad(none, 1, 1, 1, 0.5, 0, found));
    }
}

TEST(InterpolateMetrics, WithoutMemoryForACopyOfSharedCoordinatesNothingChanges) {
    for (const bool tensors : {false, true}) {
        carried c(triangle(), {{1, 1}});
        dense2D<double> block(5, 4, 0.0);
        for (std::size_t j = 0; j < 4; ++j) std::copy_n(c.m.pos[j], 2, block[j]);
        for (std::size_t j = 0; j < 4; ++j) put_tensor(block, j, 2, 3);
        const auto pos = block.sub_matrix(3, 0, 2, 4);
        auto pos_view = pos;
        for (std::size_t j = 0; j < 4; ++j) std::copy_n(c.m.pos[j], 2, pos_view[j]);
        auto field = block.sub_matrix(0, 0, 3, 4);
        dense1D<double, 8> sizes;
        sizes.storage = block.storage;
        sizes.size = 4;
        const auto before = snapshot(block);
        fail_for_good(true);
        arm_allocator(1);
        const int status = tensors
                               ? interpolate_metrics(pos, c.m.connect, c.m.neighbors, c.m.ancestors,
                                                     field, c.nodes, false, c.m.type)
                               : interpolate_metrics(pos, c.m.connect, c.m.neighbors, c.m.ancestors,
                                                     sizes, c.nodes, false, c.m.type);
        EXPECT_TRUE(disarm_allocator());
        fail_for_good(false);
        EXPECT_EQ(0, status);
        EXPECT_EQ(before, snapshot(block));
    }
}

TEST(InterpolateMetrics, AMetricOfThePlaneHasBothEigenvaluesAboveZero) {
    using zel::tessel2d::is_metric;
    using tensor2 = zel::tessel2d::tensor<2>;
    EXPECT_TRUE(is_metric(tensor2{{4, -1, 1}}));
    EXPECT_TRUE(is_metric(tensor2{{1, 1, 4}}));
    EXPECT_FALSE(is_metric(tensor2{{4, 3, 1}}));
    EXPECT_FALSE(is_metric(tensor2{{1, -3, 4}}));
    EXPECT_FALSE(is_metric(tensor2{{4, 2, 1}})) << "one is zero";
    EXPECT_FALSE(is_metric(tensor2{{-4, 0, 1}}));
    EXPECT_FALSE(is_metric(tensor2{{4, 0, -1}}));
    EXPECT_FALSE(is_metric(tensor2{{infinity, 0, 1}}));
}

} // namespace
