// SPDX-License-Identifier: Apache-2.0
#include "zel/tessel2d/conversion.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <limits>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::convert_into_high_order;
using zel::tessel2d::convert_into_quadratic;

const unsigned none = no_node;
const dense2D<unsigned> no_edges;

/// The mesh as one would raise it by hand: edges in a std::map, nodes numbered at their first use.
struct plain_raise {
    std::size_t nodes;
    std::vector<std::vector<unsigned>> connect;

    plain_raise(const mesh& input, unsigned a, unsigned b, unsigned c,
                const dense2D<unsigned>& edges) {
        const auto first_new = static_cast<unsigned>(input.pos.cols);
        std::map<std::pair<unsigned, unsigned>, std::vector<unsigned>> runs; // from low to high
        const auto put = [&](unsigned p, unsigned q, unsigned first, bool overwrite) {
            std::vector<unsigned> run;
            for (unsigned i = 0; i < a; ++i) run.push_back(first + i);
            const auto key = std::minmax({p, q});
            const auto found = runs.find(key);
            if (found != runs.end() && !overwrite) return false;
            if (found != runs.end()) {
                const bool ascending = a < 2 || found->second[0] < found->second[1];
                if (!ascending) std::reverse(run.begin(), run.end());
                found->second = run;
                return false;
            }
            if (p > q) std::reverse(run.begin(), run.end());
            runs[key] = run;
            return true;
        };
        for (std::size_t j = 0; j < edges.cols && a > 0; ++j)
            put(edges(0, j), edges(1, j), edges(2, j), true);
        unsigned next = first_new;
        unsigned quads = 0;
        for (std::size_t e = 0; e < input.connect.cols; ++e) {
            const unsigned n = corner_count(input.connect, e);
            quads += n == 4;
            for (unsigned k = 0; k < n && a > 0; ++k) {
                const unsigned p = input.connect(n == 3 ? (k + 1) % 3 : k, e);
                const unsigned q = input.connect(n == 3 ? (k + 2) % 3 : (k + 1) % 4, e);
                if (put(p, q, next, false)) next += a;
            }
        }
        const auto triangles = static_cast<unsigned>(input.connect.cols) - quads;
        nodes = next + quads * b + triangles * c;
        const std::size_t rows = std::max(quads ? 4 + 4 * a + b : 0, triangles ? 3 + 3 * a + c : 0);
        for (std::size_t e = 0; e < input.connect.cols; ++e) {
            const unsigned n = corner_count(input.connect, e);
            std::vector<unsigned> cell;
            for (unsigned i = 0; i < n; ++i) cell.push_back(a > 0 ? input.connect(i, e) : none);
            for (unsigned k = 0; k < n && a > 0; ++k) {
                const unsigned p = input.connect(n == 3 ? (k + 1) % 3 : k, e);
                const unsigned q = input.connect(n == 3 ? (k + 2) % 3 : (k + 1) % 4, e);
                auto run = runs[std::minmax({p, q})];
                if (p > q) std::reverse(run.begin(), run.end());
                cell.insert(cell.end(), run.begin(), run.end());
            }
            const unsigned inside = n == 4 ? b : std::min(c, 2U);
            for (unsigned i = 0; i < inside; ++i) cell.push_back(next++);
            cell.resize(rows, none);
            connect.push_back(cell);
        }
    }
};

std::vector<double> on_line(const dense2D<double>& pos, unsigned p, unsigned q, double t) {
    std::vector<double> x;
    for (std::size_t i = 0; i < pos.rows; ++i) x.push_back((1 - t) * pos(i, p) + t * pos(i, q));
    return x;
}

void expect_near(const std::vector<double>& expected, const std::vector<double>& actual) {
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(expected[i], actual[i], 4e-16 * (1 + std::abs(expected[i])));
}

// -------------------------------------------------------------------------------------- quadratic

TEST(ConvertIntoQuadratic, ATriangleBecomesAT6) {
    auto m = equilateral_triangle();
    ASSERT_EQ(0, convert_into_quadratic(m.pos, m.connect));
    EXPECT_THAT(columns(m.connect), ElementsAre(cell(0, 1, 2, 3, 4, 5)));
    const double h = std::sqrt(3.0) / 2;
    EXPECT_EQ(point(0.75, h / 2), column(m.pos, 3));
    EXPECT_EQ(point(0.25, h / 2), column(m.pos, 4));
    EXPECT_EQ(point(0.5, 0.0), column(m.pos, 5));
}

TEST(ConvertIntoQuadratic, AQuadrilateralBecomesAQ9) {
    for (const unsigned rows : {2U, 3U}) {
        auto m = unit_square(rows);
        ASSERT_EQ(0, convert_into_quadratic(m.pos, m.connect));
        EXPECT_THAT(columns(m.connect), ElementsAre(cell(0, 1, 2, 3, 4, 5, 6, 7, 8)));
        const double expected[5][2] = {{0.5, 0}, {1, 0.5}, {0.5, 1}, {0, 0.5}, {0.5, 0.5}};
        for (unsigned i = 0; i < 5; ++i) {
            EXPECT_EQ(expected[i][0], m.pos(0, 4 + i));
            EXPECT_EQ(expected[i][1], m.pos(1, 4 + i));
            EXPECT_EQ(0, m.pos(rows - 1, 4 + i) * (rows - 2));
        }
    }
}

TEST(ConvertIntoQuadratic, AMixedMeshHasNineRows) {
    auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}});
    auto connect = cells({{0, 1, 2, 3}, {1, 4, 2, none}});
    ASSERT_EQ(0, convert_into_quadratic(pos, connect));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2, 3, 5, 6, 7, 8, 11),
                                              cell(1, 4, 2, 9, 6, 10, none, none, none)));
    EXPECT_EQ(12U, pos.cols);
}

TEST(ConvertIntoQuadratic, AGivenMidSideNodeBendsTheCentreOfAQuadrilateral) {
    auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0.5}, {0.5, -0.25}});
    auto connect = cells({{0, 1, 2, 3}, {1, 4, 2, none}});
    ASSERT_EQ(0, convert_into_quadratic(pos, connect, cells({{1, 0, 5}})));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2, 3, 5, 6, 7, 8, 11),
                                              cell(1, 4, 2, 9, 6, 10, none, none, none)));
    EXPECT_EQ(point(0.5, 0.375), column(pos, 11));
    EXPECT_EQ(point(0.5, -0.25), column(pos, 5));
}

TEST(ConvertIntoQuadratic, NodesBetweenTheSmallestNumbersAreWithinTheirRounding) {
    constexpr double least = std::numeric_limits<double>::denorm_min();
    auto pos = points({{0, 0}, {101 * least, 0}, {101 * least, 7 * least}, {0, 7 * least}});
    auto connect = cells({{0, 1, 2, 3}});
    ASSERT_EQ(0, convert_into_quadratic(pos, connect));
    ASSERT_EQ(9U, pos.cols);
    const double expected[5][2] = {{50.5, 0}, {101, 3.5}, {50.5, 7}, {0, 3.5}, {50.5, 3.5}};
    for (unsigned k = 0; k < 5; ++k)
        for (unsigned i = 0; i < 2; ++i)
            EXPECT_NEAR(expected[k][i], pos(i, connect(4 + k, 0)) / least, 2.0) << k << " " << i;
}

TEST(ConvertIntoQuadratic, StatusesAreThoseOfTheFullForm) {
    auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    const auto status = [&](dense2D<unsigned> connect, const dense2D<unsigned>& edges) {
        const int result = convert_into_quadratic(pos, connect, edges);
        EXPECT_TRUE(connect.empty());
        EXPECT_EQ(4U, pos.cols);
        return result;
    };
    EXPECT_EQ(0, status(dense2D<unsigned>(), cells({{9, 9}})));
    EXPECT_EQ(-2, status(cells({{0, 1, 4}}), no_edges));
    EXPECT_EQ(-2, status(cells({{0, 1}}), no_edges));
    EXPECT_EQ(-6, status(cells({{0, 1, 2}}), cells({{0, 1, 2, 3}})));
    EXPECT_EQ(-6, status(cells({{0, 1, 2}}), cells({{0, 1, 4}})));
    EXPECT_EQ(-6, status(cells({{0, 1, 2}}), cells({{0, 1}})));
    dense2D<double> bad(4, 4, 0.0);
    auto connect = cells({{0, 1, 9}});
    EXPECT_EQ(-1, convert_into_quadratic(bad, connect));
    EXPECT_TRUE(connect.empty());
}

TEST(ConvertIntoQuadratic, ExhaustedMemoryLeavesThePositionsAndNoElements) {
    const auto m = grid_mixed(5, 4);
    const auto edges = cells({{0, 1, 7}});
    for (const bool with_edges : {false, true}) {
        fail_each_allocation([&](std::size_t k) {
            auto pos = fresh_copy(m.pos);
            auto connect = fresh_copy(m.connect);
            const auto before = snapshot(pos);
            arm_allocator(k);
            const int status = with_edges ? convert_into_quadratic(pos, connect, edges)
                                          : convert_into_quadratic(pos, connect);
            const bool failed = disarm_allocator();
            if (status != 0) {
                EXPECT_TRUE(failed);
                EXPECT_EQ(-199, status);
                EXPECT_EQ(before, snapshot(pos));
                EXPECT_TRUE(connect.empty());
            } else {
                EXPECT_EQ(m.connect.cols, connect.cols);
            }
        });
    }
}

// -------------------------------------------------------------------------------------- any order

TEST(ConvertIntoHighOrder, NodesOfASharedEdgeRunBothWays) {
    auto pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    const auto connect = cells({{0, 1, 2}, {0, 2, 3}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(pos, connect, 3, 0, 0, out, no_edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12),
                                          cell(0, 2, 3, 13, 14, 15, 16, 17, 18, 9, 8, 7)));
    for (unsigned i = 0; i < 3; ++i) {
        expect_near(on_line(pos, 1, 2, (i + 1) / 4.0), column(pos, 4 + i));
        expect_near(on_line(pos, 2, 0, (i + 1) / 4.0), column(pos, 7 + i));
        expect_near(on_line(pos, 3, 0, (i + 1) / 4.0), column(pos, 16 + i));
    }
}

TEST(ConvertIntoHighOrder, Q8HasNoCentreAndT7HasOne) {
    auto square = unit_square();
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(square.pos, square.connect, 1, 0, 0, out, no_edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 3, 4, 5, 6, 7)));
    EXPECT_EQ(8U, square.pos.cols);
    auto triangle = equilateral_triangle();
    ASSERT_EQ(0, convert_into_high_order(triangle.pos, triangle.connect, 1, 0, 1, out, no_edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 3, 4, 5, 6)));
    expect_near(point(0.5, std::sqrt(3.0) / 6), column(triangle.pos, 6));
}

TEST(ConvertIntoHighOrder, InnerNodesOfAQuadrilateralRunAlongXFirst) {
    auto square = unit_square();
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(square.pos, square.connect, 2, 4, 0, out, no_edges));
    EXPECT_EQ(16U, out.rows);
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(12 + i, out(12 + i, 0));
        expect_near(point((1 + i % 2) / 3.0, (1 + i / 2) / 3.0), column(square.pos, 12 + i));
    }
}

TEST(ConvertIntoHighOrder, ThreeInnerNodesOfATriangleGiveTwoNumbersAndAnOverwrittenThird) {
    auto pos = points({{0, 0}, {4, 0}, {4, 4}, {0, 4}});
    const auto connect = cells({{0, 1, 2}, {0, 2, 3}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(pos, connect, 1, 0, 3, out, no_edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 4, 5, 6, 9, 10, none),
                                          cell(0, 2, 3, 7, 8, 5, 11, 12, none)));
    // Weights (0.25, 0.25, 0.5), then (0.5, 0.25, 0.25), then (0.25, 0.5, 0.25).
    EXPECT_EQ(15U, pos.cols);
    EXPECT_EQ(point(3, 2), column(pos, 9));
    EXPECT_EQ(point(2, 1), column(pos, 10));
    EXPECT_EQ(point(1, 3), column(pos, 11)); // not the third of the first triangle, (3, 1)
    EXPECT_EQ(point(1, 2), column(pos, 12));
    EXPECT_EQ(point(2, 3), column(pos, 13)); // the third of the last one; no element uses it
    EXPECT_EQ(point(0, 0), column(pos, 14));
}

TEST(ConvertIntoHighOrder, BesideQuadrilateralsTheNextNodeInsideTakesTheThirdPlaceOfATriangle) {
    const auto nodes = points({{0, 0}, {4, 0}, {4, 4}, {0, 4}, {8, 0}, {8, 4}});
    const auto connect = cells({{1, 4, 2, none}, {0, 1, 2, 3}, {4, 5, 2, none}});
    auto pos = fresh_copy(nodes);
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(pos, connect, 1, 1, 3, out, no_edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(1, 4, 2, 6, 7, 8, 14, 15, none),
                                          cell(0, 1, 2, 3, 9, 7, 10, 11, 16),
                                          cell(4, 5, 2, 12, 6, 13, 17, 18, none)));
    ASSERT_EQ(14U + 1 + 2 * 3, pos.cols);
    EXPECT_EQ(point(5, 2), column(pos, 14));
    EXPECT_EQ(point(5, 1), column(pos, 15));
    EXPECT_EQ(point(2, 2), column(pos, 16)); // the centre, not the third of the triangle, (6, 1)
    EXPECT_EQ(point(6, 3), column(pos, 17));
    EXPECT_EQ(point(7, 2), column(pos, 18));
    EXPECT_EQ(point(7, 3), column(pos, 19)); // the third of the last one; no element uses it
    EXPECT_EQ(point(0, 0), column(pos, 20));

    // Without nodes in quadrilaterals the next triangle takes the place.
    pos = fresh_copy(nodes);
    ASSERT_EQ(0, convert_into_high_order(pos, connect, 1, 0, 3, out, no_edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(1, 4, 2, 6, 7, 8, 14, 15, none),
                                          cell(0, 1, 2, 3, 9, 7, 10, 11, none),
                                          cell(4, 5, 2, 12, 6, 13, 16, 17, none)));
    ASSERT_EQ(14U + 2 * 3, pos.cols);
    EXPECT_EQ(point(6, 3), column(pos, 16));
    EXPECT_EQ(point(7, 2), column(pos, 17));
    EXPECT_EQ(point(7, 3), column(pos, 18));
    EXPECT_EQ(point(0, 0), column(pos, 19));
}

TEST(ConvertIntoHighOrder, ATriangleWithAGivenMidSideNodeIsCurved) {
    auto pos = points({{0, 0}, {3, 0}, {0, 3}, {1.5, -1}});
    dense2D<unsigned> out;
    ASSERT_EQ(0,
              convert_into_high_order(pos, cells({{0, 1, 2}}), 1, 0, 1, out, cells({{0, 1, 3}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 4, 5, 3, 6)));
    // Four ninths of the bend at the centre.
    expect_near(point(1, 1 - 4.0 / 9), column(pos, 6));
    // At (0.25, 0.25) the weight of node 3 is 1/4, at (0.5, 0.25) it is 1/2.
    pos.resize(2, 4);
    ASSERT_EQ(0,
              convert_into_high_order(pos, cells({{0, 1, 2}}), 1, 0, 3, out, cells({{0, 1, 3}})));
    expect_near(point(0.75, 1.5 - 0.25), column(pos, 6));
    expect_near(point(0.75, 0.75 - 0.5), column(pos, 7));
}

TEST(ConvertIntoHighOrder, BeyondOrderTwoInnerNodesFollowTheCornersAlone) {
    auto pos = points({{0, 0}, {3, 0}, {0, 3}, {1, -1}, {2, -1}});
    dense2D<unsigned> out;
    ASSERT_EQ(
        0, convert_into_high_order(pos, cells({{0, 1, 2}}), 2, 0, 1, out, cells({{0, 1, 3, 4}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 5, 6, 7, 8, 3, 4, 9)));
    expect_near(point(1, 1), column(pos, 9));
}

TEST(ConvertIntoHighOrder, GivenNodesRunInTheDirectionOfTheirEdge) {
    auto pos = dense2D<double>(2, 6, 0.0);
    const auto connect = cells({{0, 1, 2}});
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(pos, connect, 2, 0, 0, out, cells({{1, 0, 4, none}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 6, 7, 8, 9, 5, 4)));
}

TEST(ConvertIntoHighOrder, OfAnEdgeGivenTwiceTheLaterNodesAndTheFirstDirectionCount) {
    auto pos = dense2D<double>(2, 8, 0.0);
    const auto connect = cells({{0, 1, 2}});
    dense2D<unsigned> out;
    const auto edges = cells({{0, 1, 3, 4}, {1, 0, 5, 6}});
    ASSERT_EQ(0, convert_into_high_order(pos, connect, 2, 0, 0, out, edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 8, 9, 10, 11, 5, 6)));
}

TEST(ConvertIntoHighOrder, AGivenRunThatReachesBeyondTheNodesCountsAsGiven) {
    auto pos = points({{1, 1}, {1, 1}, {1, 1}, {7, 7}});
    dense2D<unsigned> out;
    ASSERT_EQ(
        0, convert_into_high_order(pos, cells({{0, 1, 2}}), 2, 0, 0, out, cells({{1, 0, 3, 0}})));
    // Run 3, 4 in the direction 1-0, so 4, 3 in the element's; node 4 is also the first new one.
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 4, 5, 6, 7, 4, 3)));
    EXPECT_EQ(8U, pos.cols);
    EXPECT_EQ(point(7, 7), column(pos, 3));
    for (unsigned j = 4; j < 8; ++j) expect_near(point(1, 1), column(pos, j));
    // The same met first: what looks like the next new number is none.
    pos = points({{1, 1}, {1, 1}, {1, 1}, {7, 7}});
    ASSERT_EQ(
        0, convert_into_high_order(pos, cells({{2, 0, 1}}), 2, 0, 0, out, cells({{1, 0, 3, 0}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(2, 0, 1, 4, 3, 4, 5, 6, 7)));
    for (unsigned j = 4; j < 8; ++j) expect_near(point(1, 1), column(pos, j));
}

TEST(ConvertIntoHighOrder, AGivenEdgeWithoutNodeLeavesItsRowsEmpty) {
    auto pos = equilateral_triangle().pos;
    dense2D<unsigned> out;
    ASSERT_EQ(
        0, convert_into_high_order(pos, cells({{0, 1, 2}}), 1, 0, 1, out, cells({{0, 1, none}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 3, 4, none, 5)));
    EXPECT_EQ(6U, pos.cols);
    ASSERT_EQ(0, convert_into_high_order(pos, cells({{0, 1, 2}}), 2, 0, 0, out,
                                         cells({{0, 1, none, none}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 6, 7, 8, 9, none, none)));
}

TEST(ConvertIntoHighOrder, AGivenEdgeWithAnEndThatIsNoNodeIsTheEdgeOfNoElement) {
    dense2D<unsigned> out;
    auto pos = equilateral_triangle().pos;
    ASSERT_EQ(0, convert_into_high_order(
                     pos, cells({{0, 1, 2}}), 1, 0, 0, out,
                     cells({{none, none, 2}, {0, none, 1}, {none, 1, 0}, {1, 2, 0}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 0, 3, 4)));
    // Also where the bucket of its other end is full.
    pos = points({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {0, 1}});
    const auto star =
        cells({{0, 1, 2}, {0, 2, 2}, {0, 3, 2}, {0, 4, 2}, {0, 5, 2}, {none, 0, 3}, {6, none, 3}});
    ASSERT_EQ(0, convert_into_high_order(pos, cells({{0, 1, 6}}), 1, 0, 0, out, star));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 6, 7, 8, 2)));
    pos = equilateral_triangle().pos;
    auto connect = cells({{0, 1, 2}});
    ASSERT_EQ(0, convert_into_quadratic(pos, connect, cells({{none, 1, 0}, {none, none, 0}})));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 2, 3, 4, 5)));
}

TEST(ConvertIntoHighOrder, EdgeMatrixWithoutRowsCountsAsEmpty) {
    const dense2D<unsigned> edges = cells({{0, 1, 2}, {1, 2, 0}}).sub_matrix(0, 0, 0, 2);
    ASSERT_EQ(2U, edges.cols);
    auto pos = equilateral_triangle().pos;
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(pos, cells({{0, 1, 2}}), 1, 0, 0, out, edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 3, 4, 5)));
    ASSERT_EQ(0, convert_into_high_order(pos, cells({{0, 1, 2}}), 1, 0, 0, out,
                                         dense2D<unsigned>(0, 1000000)));
    EXPECT_THAT(columns(out), ElementsAre(cell(0, 1, 2, 6, 7, 8)));
}

TEST(ConvertIntoHighOrder, ACollapsedEdgeIsNotReversed) {
    auto pos = points({{0, 0}, {1, 0}});
    dense2D<unsigned> out;
    ASSERT_EQ(0,
              convert_into_high_order(pos, cells({{0, 1, 1}, {1, 1, 0}}), 2, 0, 0, out, no_edges));
    EXPECT_THAT(columns(out),
                ElementsAre(cell(0, 1, 1, 2, 3, 4, 5, 5, 4), cell(1, 1, 0, 4, 5, 5, 4, 2, 3)));
}

TEST(ConvertIntoHighOrder, WithoutEdgeNodesCornersStayEmptyAndInnerNodesLieAtZero) {
    auto pos = points({{1, 1}, {2, 1}, {1, 2}, {2, 2}});
    dense2D<unsigned> out;
    ASSERT_EQ(0,
              convert_into_high_order(pos, cells({{0, 1, 2}, {1, 3, 2}}), 0, 0, 1, out, no_edges));
    EXPECT_THAT(columns(out), ElementsAre(cell(none, none, none, 4), cell(none, none, none, 5)));
    EXPECT_EQ(6U, pos.cols);
    EXPECT_EQ(point(0, 0), column(pos, 4));
    EXPECT_EQ(point(0, 0), column(pos, 5));
    pos.resize(2, 4);
    ASSERT_EQ(0,
              convert_into_high_order(pos, cells({{0, 1, 3, 2}}), 0, 1, 0, out, cells({{0, 1}})));
    EXPECT_THAT(columns(out), ElementsAre(cell(none, none, none, none, 4)));
    EXPECT_EQ(point(0, 0), column(pos, 4));
    EXPECT_EQ(
        -6, convert_into_high_order(pos, cells({{0, 1, 3, 2}}), 0, 1, 0, out, cells({{0, 1, 2}})));
}

TEST(ConvertIntoHighOrder, RowsFollowTheElementsThatThereAre) {
    const auto rows = [](const dense2D<unsigned>& connect, unsigned a, unsigned b, unsigned c) {
        auto pos = dense2D<double>(2, 5, 0.0);
        dense2D<unsigned> out;
        EXPECT_EQ(0, convert_into_high_order(pos, connect, a, b, c, out, no_edges));
        return out.rows;
    };
    const auto quad = cells({{0, 1, 2, 3}});
    const auto marked = cells({{0, 1, 2, none}});
    const auto both = cells({{0, 1, 2, 3}, {1, 4, 2, none}});
    EXPECT_EQ(4U + 8 + 9, rows(quad, 2, 9, 3));
    EXPECT_EQ(3U + 6 + 3, rows(marked, 2, 9, 3));
    EXPECT_EQ(4U + 8 + 9, rows(both, 2, 9, 3));
    EXPECT_EQ(6U, rows(both, 0, 0, 3));
}

// -------------------------------------------------------------------------------- views and blocks

TEST(ConvertIntoHighOrder, ViewsWithALargerLeadingDimension) {
    const auto m = grid_mixed(3, 2);
    auto plain_pos = fresh_copy(m.pos);
    dense2D<unsigned> plain;
    const auto edges = cells({{0, 1, 11}, {5, 4, 10}});
    ASSERT_EQ(0, convert_into_high_order(plain_pos, m.connect, 1, 1, 1, plain, edges));
    auto pos = framed(m.pos);
    const auto connect = framed(m.connect);
    const auto given = framed(edges);
    auto out = framed(cells({{5, 5, 5, 5}}));
    ASSERT_EQ(0, convert_into_high_order(pos.view, connect.view, 1, 1, 1, out.view, given.view));
    EXPECT_EQ(snapshot(plain_pos, plain), snapshot(pos.view, out.view));
    auto in_place = framed(m.connect);
    auto pos_again = fresh_copy(m.pos);
    ASSERT_EQ(0, convert_into_high_order(pos_again, in_place.view, 1, 1, 1, edges));
    EXPECT_EQ(snapshot(plain_pos, plain), snapshot(pos_again, in_place.view));
}

TEST(ConvertIntoHighOrder, OutputsMayBeTheInputsOrShareTheirBlock) {
    const auto m = grid_Q4(3, 2);
    auto plain_pos = fresh_copy(m.pos);
    dense2D<unsigned> plain;
    const auto edges = cells({{0, 1, 11}});
    ASSERT_EQ(0, convert_into_high_order(plain_pos, m.connect, 1, 1, 0, plain, edges));
    auto pos = fresh_copy(m.pos);
    auto connect = fresh_copy(m.connect);
    ASSERT_EQ(0, convert_into_high_order(pos, connect, 1, 1, 0, connect, edges));
    EXPECT_EQ(snapshot(plain_pos, plain), snapshot(pos, connect));
    pos = fresh_copy(m.pos);
    auto both = fresh_copy(edges); // the output is the list of edges
    ASSERT_EQ(0, convert_into_high_order(pos, m.connect, 1, 1, 0, both, both));
    EXPECT_EQ(snapshot(plain_pos, plain), snapshot(pos, both));
    pos = fresh_copy(m.pos);
    const auto block = fresh_copy(m.connect);
    dense2D<unsigned> shared(block);
    ASSERT_EQ(0, convert_into_high_order(pos, block, 1, 1, 0, shared, edges));
    EXPECT_EQ(snapshot(plain_pos, plain, m.connect), snapshot(pos, shared, block));
}

// ---------------------------------------------------------------------------------------- statuses

TEST(ConvertIntoHighOrder, StatusesInTheirOrderWithAnEmptyOutput) {
    const auto status = [](std::size_t pos_rows, const dense2D<unsigned>& connect, unsigned a,
                           unsigned b, unsigned c, const dense2D<unsigned>& edges) {
        dense2D<double> pos(pos_rows, 4, 1.0);
        const auto before = snapshot(pos);
        auto out = cells({{1, 2}});
        const int result = convert_into_high_order(pos, connect, a, b, c, out, edges);
        EXPECT_TRUE(out.empty());
        EXPECT_EQ(before, snapshot(pos));
        auto in_place = fresh_copy(connect);
        EXPECT_EQ(result, convert_into_high_order(pos, in_place, a, b, c, edges));
        EXPECT_TRUE(in_place.empty());
        return result;
    };
    const auto good = cells({{0, 1, 2}});
    const auto bad = cells({{0, 1, 4}});
    const auto bad_edges = cells({{0, 1, 4}});
    EXPECT_EQ(0, status(4, dense2D<unsigned>(), 1, 2, 2, bad_edges));
    EXPECT_EQ(0, status(4, dense2D<unsigned>(7, 0), 1, 2, 2, bad_edges));
    EXPECT_EQ(0, status(4, bad, 0, 0, 0, bad_edges));
    EXPECT_EQ(-1, status(4, bad, 1, 2, 2, bad_edges));
    EXPECT_EQ(-1, status(1, good, 1, 0, 0, no_edges));
    EXPECT_EQ(-2, status(2, bad, 1, 2, 2, bad_edges));
    EXPECT_EQ(-2, status(2, cells({{0, 1, none}}), 1, 0, 0, no_edges));
    EXPECT_EQ(-4, status(2, good, 1, 2, 2, bad_edges));
    EXPECT_EQ(-4, status(3, good, 1, 4294967295U, 0, bad_edges));
    EXPECT_EQ(-5, status(2, good, 1, 4, 2, bad_edges));
    EXPECT_EQ(-5, status(2, good, 1, 4, 4, bad_edges));
    EXPECT_EQ(-5, status(2, good, 0, 0, 0xFFFFFFFFU, no_edges));
    EXPECT_EQ(-6, status(2, good, 1, 4, 3, bad_edges));
    EXPECT_EQ(-6, status(2, good, 1, 4, 3, cells({{0, 1, 2, 3}})));
    EXPECT_EQ(-6, status(2, good, 0xFFFFFFFFU, 0, 0, cells({{0}}))); // a + 2 is not 1
}

TEST(ConvertIntoHighOrder, TheSumOfTheCountsIsTheTrueOne) {
    auto pos = equilateral_triangle().pos;
    auto connect = cells({{0, 1, 2}});
    // 0xFFFFFFFF + 1 + 0 is not nothing to do: too many nodes.
    EXPECT_EQ(-199, convert_into_high_order(pos, connect, 0xFFFFFFFFU, 1, 0, no_edges));
    EXPECT_TRUE(connect.empty());
    EXPECT_EQ(3U, pos.cols);
}

TEST(ConvertIntoHighOrder, CountsBeyondThirtyTwoBitsAreRefused) {
    const auto status = [](dense2D<unsigned> connect, unsigned a, unsigned b) {
        dense2D<double> pos(2, 8, 0.0);
        const int result = convert_into_high_order(pos, connect, a, b, 0, no_edges);
        EXPECT_TRUE(connect.empty());
        EXPECT_EQ(8U, pos.cols);
        return result;
    };
    EXPECT_EQ(-199, status(cells({{0, 1, 2}}), 0x80000000U, 0));
    EXPECT_EQ(-199, status(cells({{0, 1, 2, 3}, {4, 5, 6, 7}}), 0x40000000U, 0));
    EXPECT_EQ(-199, status(cells({{0, 1, 2, 3}, {4, 5, 6, 7}}), 1, 4294836225U)); // 65535 squared
}

TEST(ConvertIntoHighOrder, ManyNodesOnAnEdge) {
    auto pos = equilateral_triangle().pos;
    const unsigned a = 1U << 15;
    dense2D<unsigned> out;
    ASSERT_EQ(0, convert_into_high_order(pos, cells({{0, 1, 2}}), a, 0, 0, out, no_edges));
    EXPECT_EQ(3U + 3 * a, pos.cols);
    EXPECT_EQ(3U + 3 * a, out.rows);
    EXPECT_EQ(3U + a, out(3 + a, 0));
    for (const unsigned i : {0U, 1U, a / 2, a - 1})
        expect_near(on_line(pos, 0, 1, (i + 1.0) / (a + 1)), column(pos, 3 + 2 * a + i));
}

// ------------------------------------------------------------------------------------------ memory

TEST(ConvertIntoHighOrder, ExhaustedMemoryLeavesThePositionsAndAnEmptyOutput) {
    const auto m = grid_mixed(5, 4);
    fail_each_allocation([&](std::size_t k) {
        auto pos = fresh_copy(m.pos);
        auto connect = fresh_copy(m.connect);
        const auto before = snapshot(pos);
        const dense2D<unsigned> edges;
        arm_allocator(k);
        const int status = convert_into_high_order(pos, connect, 1, 1, 1, edges);
        const bool failed = disarm_allocator();
        if (status != 0) {
            EXPECT_TRUE(failed);
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(pos));
            EXPECT_TRUE(connect.empty());
        } else {
            EXPECT_EQ(m.connect.cols, connect.cols);
        }
    });
}

// So many nodes on each edge that the elements are made only when the numbers are known to suffice.
TEST(ConvertIntoHighOrder, ExhaustedMemoryForElementsBehindTheWalkIsReported) {
    dense2D<double> pos(2, 6, 0.0);
    auto connect = cells({{0, 1, 2, 3}, {1, 4, 5, 2}});
    fail_for_good(true);
    arm_allocator(1); // the walk finds no table either, so that no edge has nodes
    EXPECT_EQ(-199, convert_into_high_order(pos, connect, 0x30000000U, 0, 0, no_edges));
    fail_for_good(false);
    EXPECT_TRUE(disarm_allocator());
    EXPECT_EQ(6U, pos.cols);
    EXPECT_TRUE(connect.empty());
}

// A table that cannot grow leaves edges out, and the walk goes on: an edge that finds no place at any of
// its uses has no node, all others are as always.
TEST(ConvertIntoHighOrder, ExhaustedMemoryForTheTableOfEdgesLeavesThoseEdgesWithoutNodes) {
    const auto m = grid_T3(6, 5);
    std::size_t holes = 0;
    for (std::size_t k = 1; k < 200; ++k) {
        SCOPED_TRACE(k);
        auto pos = fresh_copy(m.pos);
        dense2D<unsigned> out;
        arm_allocator(k);
        const int status = convert_into_high_order(pos, m.connect, 3, 0, 0, out, no_edges);
        if (!disarm_allocator()) break;
        if (status != 0) continue;
        std::set<unsigned> used;
        for (std::size_t e = 0; e < out.cols; ++e) {
            for (unsigned r = 0; r < out.rows; ++r) {
                if (out(r, e) == none) {
                    ++holes;
                    continue;
                }
                ASSERT_LT(out(r, e), pos.cols);
                used.insert(out(r, e));
            }
            for (unsigned side = 0; side < 3; ++side) {
                if (out(3 + 3 * side, e) == none) continue;
                for (unsigned i = 0; i < 3; ++i) {
                    expect_near(on_line(pos, m.connect((side + 1) % 3, e),
                                        m.connect((side + 2) % 3, e), (i + 1) / 4.0),
                                column(pos, out(3 + 3 * side + i, e)));
                }
            }
        }
        EXPECT_EQ(pos.cols, used.size());
    }
    SUCCEED() << holes << " rows without node";
}

// -------------------------------------------------------------------------------------- properties

TEST(ConvertIntoHighOrderProperties, AnyOrderIsAsRaisedByHand) {
    for (unsigned seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        mesh m;
        if (random.below(2) == 0) { // a grid in random order, elements turned at random
            const unsigned nx = 1 + random.below(6);
            const unsigned ny = 1 + random.below(6);
            const unsigned rows = 2 + random.below(2);
            m = seed % 3 == 0   ? grid_T3(nx, ny, rows)
                : seed % 3 == 1 ? grid_Q4(nx, ny, rows)
                                : grid_mixed(nx, ny, rows);
        } else { // any elements: collapsed ones, edges of many elements
            m.pos = dense2D<double>(2 + random.below(2), 3 + random.below(10));
            for (std::size_t j = 0; j < m.pos.cols; ++j)
                for (std::size_t i = 0; i < m.pos.rows; ++i) m.pos(i, j) = random.between(-1, 1);
            m.connect = dense2D<unsigned>(3 + random.below(2), 1 + random.below(40));
            for (std::size_t e = 0; e < m.connect.cols; ++e) {
                for (std::size_t i = 0; i < m.connect.rows; ++i)
                    m.connect(i, e) = random.below(static_cast<unsigned>(m.pos.cols));
                if (m.connect.rows == 4 && random.below(3) == 0) m.connect(3, e) = none;
            }
        }
        bool collapsed = false;
        for (const auto& use : edge_uses(m.connect))
            collapsed = collapsed || use.first.first == use.first.second;
        const unsigned a = collapsed ? 1 : random.below(5);
        const unsigned side = random.below(4);
        const unsigned c = random.below(4) == 2 ? 3 : random.below(2);
        dense2D<unsigned> edges;
        if (a > 0 && random.below(2) == 0) {
            // Given edges lie on nodes of the present mesh, whatever they are.
            edges.resize(a + 2, 1 + random.below(6), none);
            for (std::size_t j = 0; j < edges.cols; ++j)
                for (std::size_t i = 0; i < 3; ++i)
                    edges(i, j) = random.below(static_cast<unsigned>(m.pos.cols));
        }
        if (a + side * side + c == 0) continue;
        bool given_collapsed = false;
        for (std::size_t j = 0; j < edges.cols; ++j)
            given_collapsed = given_collapsed || edges(0, j) == edges(1, j);
        if (given_collapsed && a > 1) continue;
        const plain_raise expected(m, a, side * side, c, edges);
        auto pos = fresh_copy(m.pos);
        dense2D<unsigned> out;
        ASSERT_EQ(0, convert_into_high_order(pos, m.connect, a, side * side, c, out, edges));
        EXPECT_EQ(expected.connect, columns(out));
        ASSERT_EQ(expected.nodes, pos.cols);
        for (std::size_t j = 0; j < m.pos.cols; ++j) EXPECT_EQ(column(m.pos, j), column(pos, j));
        if (a == 0) continue;
        // New nodes on edges divide them evenly.
        for (std::size_t e = 0; e < out.cols; ++e) {
            const unsigned n = corner_count(m.connect, e);
            for (unsigned k = 0; k < n; ++k) {
                const unsigned* const run = out[e] + n + k * a;
                if (std::min(run[0], run[a - 1]) < m.pos.cols) continue;
                const unsigned p = m.connect(n == 3 ? (k + 1) % 3 : k, e);
                const unsigned q = m.connect(n == 3 ? (k + 2) % 3 : (k + 1) % 4, e);
                for (unsigned i = 0; i < a; ++i)
                    expect_near(on_line(pos, p, q, (i + 1.0) / (a + 1)), column(pos, run[i]));
            }
        }
    }
}

TEST(ConvertIntoHighOrderProperties, AsManyEdgeNodesAsDistinctEdges) {
    for (const auto& m : {grid_T3(7, 5), grid_Q4(6, 6), grid_mixed(8, 3)}) {
        auto pos = fresh_copy(m.pos);
        auto connect = fresh_copy(m.connect);
        ASSERT_EQ(0, convert_into_high_order(pos, connect, 4, 0, 0, no_edges));
        EXPECT_EQ(m.pos.cols + 4 * edge_uses(m.connect).size(), pos.cols);
    }
}

// Shape functions through the nodes that they place: a quadratic map of the reference element is
// reproduced exactly by the curved shapes.
TEST(ConvertIntoHighOrderProperties, CurvedElementsReproduceQuadraticMaps) {
    const auto image = [](double x, double y) {
        return point(1 + 2 * x - y + 0.5 * x * x - 0.25 * x * y + 0.75 * y * y,
                     -1 + x + 3 * y - 0.5 * x * x + x * y + 0.125 * y * y);
    };
    dense2D<double> pos(2, 8);
    const double corners[8][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1},
                                  {0, -1},  {1, 0},  {0, 1}, {-1, 0}};
    for (unsigned j = 0; j < 8; ++j) {
        const auto p = image(corners[j][0], corners[j][1]);
        std::copy(p.begin(), p.end(), pos[j]);
    }
    dense2D<unsigned> out;
    const auto edges = cells({{0, 1, 4}, {1, 2, 5}, {2, 3, 6}, {3, 0, 7}});
    ASSERT_EQ(0, convert_into_high_order(pos, cells({{0, 1, 2, 3}}), 1, 9, 0, out, edges));
    ASSERT_EQ(17U, pos.cols);
    for (unsigned j = 0; j < 9; ++j) {
        const auto expected = image((j % 3) * 0.5 - 0.5, (j / 3) * 0.5 - 0.5);
        for (unsigned i = 0; i < 2; ++i) EXPECT_NEAR(expected[i], pos(i, 8 + j), 4e-15);
    }
    dense2D<double> triangle(2, 6);
    const double at[6][2] = {{1, 0}, {0, 1}, {0, 0}, {0, 0.5}, {0.5, 0}, {0.5, 0.5}};
    for (unsigned j = 0; j < 6; ++j) {
        const auto p = image(at[j][0], at[j][1]);
        std::copy(p.begin(), p.end(), triangle[j]);
    }
    const auto sides = cells({{1, 2, 3}, {2, 0, 4}, {0, 1, 5}});
    ASSERT_EQ(0, convert_into_high_order(triangle, cells({{0, 1, 2}}), 1, 0, 3, out, sides));
    const double inside[3][2] = {{0.25, 0.25}, {0.5, 0.25}, {0.25, 0.5}};
    for (unsigned j = 0; j < 3; ++j) {
        const auto expected = image(inside[j][0], inside[j][1]);
        for (unsigned i = 0; i < 2; ++i) EXPECT_NEAR(expected[i], triangle(i, 6 + j), 4e-15);
    }
}

TEST(ConvertIntoHighOrder, ANodeOfWeightZeroMayLieAtInfinity) {
    // At (0.5, 0.25) corner 0 of a curved triangle has weight zero.
    auto pos = points({{zel_test::infinity, 0}, {3, 0}, {0, 3}, {1, 1}, {1, 1}, {1, 1}});
    dense2D<unsigned> out;
    const auto sides = cells({{1, 2, 3}, {2, 0, 4}, {0, 1, 5}});
    ASSERT_EQ(0, convert_into_high_order(pos, cells({{0, 1, 2}}), 1, 0, 3, out, sides));
    EXPECT_FALSE(std::isfinite(pos(0, 6)));
    EXPECT_TRUE(std::isfinite(pos(0, 7)));
}

} // namespace
