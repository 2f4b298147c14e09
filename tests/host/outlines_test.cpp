// SPDX-License-Identifier: Apache-2.0
#include "zel/host/outlines.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "zel/tessel2d.h"

#include <gmock/gmock.h>

#include <cmath>
#include <initializer_list>
#include <limits>

namespace {

using testing::ElementsAre;
using zel::dense1D;
using zel::dense2D;
using namespace zel::host;
using zel_test::cell;
using zel_test::columns;
using zel_test::snapshot;
using zel_test::values;

constexpr unsigned none = 0xFFFFFFFFu;

dense1D<unsigned, 8> list(std::initializer_list<unsigned> nodes) {
    dense1D<unsigned, 8> v;
    for (const unsigned node : nodes) v.push_back(node);
    return v;
}

dense2D<double> two_nodes(double ax, double ay, double bx, double by) {
    dense2D<double> pos(2, 2);
    pos(0, 0) = ax;
    pos(1, 0) = ay;
    pos(0, 1) = bx;
    pos(1, 1) = by;
    return pos;
}

TEST(Arc, RunsCounterclockwiseInEqualAngles) {
    dense2D<double> pos = two_nodes(3, 1, 1, 3);
    dense1D<unsigned, 8> line = list({9});
    ASSERT_EQ(0, arc(pos, 0, 1, {1, 1}, 3, line));
    EXPECT_THAT(values(line), ElementsAre(9, 0, 2, 3, 1));
    EXPECT_NEAR(1 + 2 * std::cos(M_PI / 6), pos(0, 2), 1e-15);
    EXPECT_NEAR(1 + 2 * std::sin(M_PI / 6), pos(1, 2), 1e-15);
    EXPECT_NEAR(1 + 2 * std::cos(M_PI / 3), pos(0, 3), 1e-15);
}

TEST(Arc, TheOtherWayRoundIsTheRestOfTheTurn) {
    dense2D<double> pos = two_nodes(2, 0, 0, 2);
    dense1D<unsigned, 8> line;
    ASSERT_EQ(0, arc(pos, 1, 0, {0, 0}, 3, line));
    EXPECT_NEAR(-2, pos(0, 2), 1e-15);
    EXPECT_NEAR(-2, pos(1, 3), 1e-15);
}

TEST(Arc, OneNodeGivesAFullTurnAndDistancesChangeEvenly) {
    dense2D<double> pos = two_nodes(1, 0, 3, 0);
    dense1D<unsigned, 8> line;
    ASSERT_EQ(0, arc(pos, 0, 0, {0, 0}, 4, line));
    EXPECT_NEAR(-1, pos(0, 3), 1e-15);
    line.clear();
    ASSERT_EQ(0, arc(pos, 0, 1, {0, 0}, 2, line));
    EXPECT_NEAR(-2, pos(0, line[1]), 1e-15);
}

TEST(Arc, ZeroCellsDoNothingAndOneAddsNoNode) {
    dense2D<double> pos = two_nodes(2, 0, 0, 2);
    dense1D<unsigned, 8> line;
    EXPECT_EQ(0, arc(pos, 0, 1, {0, 0}, 0, line));
    EXPECT_TRUE(line.empty());
    EXPECT_EQ(0, arc(pos, 0, 1, {0, 0}, 1, line));
    EXPECT_THAT(values(line), ElementsAre(0, 1));
    EXPECT_EQ(2u, pos.cols);
}

TEST(Arc, UnusableArgumentsChangeNothing) {
    dense2D<double> pos = two_nodes(2, 0, 0, 2);
    dense2D<double> space(3, 2, 1.0);
    dense1D<unsigned, 8> line = list({7});
    const auto before = snapshot(pos, line);
    EXPECT_EQ(-1, arc(space, 0, 1, {0, 0}, 3, line));
    EXPECT_EQ(-2, arc(pos, 2, 1, {0, 0}, 3, line));
    EXPECT_EQ(-3, arc(pos, 0, 2, {0, 0}, 3, line));
    EXPECT_EQ(-4, arc(pos, 0, 1, {2, 0}, 3, line));
    EXPECT_EQ(-4, arc(pos, 0, 1, {0, 2}, 3, line));
    EXPECT_EQ(-4, arc(pos, 0, 1, {std::numeric_limits<double>::quiet_NaN(), 0}, 3, line));
    EXPECT_EQ(-4, arc(pos, 0, 1, {0, std::numeric_limits<double>::infinity()}, 3, line));
    dense2D<double> far = two_nodes(2, 0, std::numeric_limits<double>::infinity(), 0);
    EXPECT_EQ(-4, arc(far, 0, 1, {0, 0}, 3, line));
    EXPECT_EQ(-4, arc(far, 1, 0, {0, 0}, 3, line));
    EXPECT_EQ(-199, arc(pos, 0, 1, {0, 0}, none, line)); // more than 32-bit numbers can count
    EXPECT_EQ(before, snapshot(pos, line));
}

TEST(PatchLoop, SidesThatRunBackwardsAreTurned) {
    const auto bottom = list({0, 1, 2});
    const auto right = list({2, 3});
    const auto top = list({4, 9, 3});
    const auto left = list({0, 4});
    for (unsigned turned = 0; turned < 16; ++turned) {
        const auto side = [&](const dense1D<unsigned, 8>& nodes, unsigned k) {
            dense1D<unsigned, 8> v;
            for (std::size_t i = 0; i < nodes.size; ++i)
                v.push_back(nodes[turned >> k & 1 ? nodes.size - 1 - i : i]);
            return v;
        };
        dense1D<unsigned, 8> loop;
        ASSERT_EQ(0,
                  patch_loop(side(bottom, 0), side(right, 1), side(top, 2), side(left, 3), loop));
        EXPECT_THAT(values(loop), ElementsAre(0, 1, 2, 3, 9, 4, 0));
    }
}

TEST(PatchLoop, StatusesSayWhichSideIsWrong) {
    dense1D<unsigned, 8> loop = list({5});
    const auto b = list({0, 1});
    const auto r = list({1, 2});
    const auto t = list({2, 3});
    const auto l = list({3, 0});
    const auto far = list({8, 9});
    const auto one = list({1});
    EXPECT_EQ(-1, patch_loop(far, r, t, l, loop));
    EXPECT_EQ(-1, patch_loop(b, far, t, l, loop));
    EXPECT_EQ(-2, patch_loop(b, r, far, l, loop));
    EXPECT_EQ(-3, patch_loop(b, r, t, far, loop));
    EXPECT_EQ(-4, patch_loop(b, r, t, list({3, 7}), loop));
    EXPECT_EQ(-1, patch_loop(one, r, t, l, loop));
    EXPECT_EQ(-2, patch_loop(b, one, t, l, loop));
    EXPECT_EQ(-3, patch_loop(b, r, one, l, loop));
    EXPECT_EQ(-4, patch_loop(b, r, t, dense1D<unsigned, 8>(), loop));
    EXPECT_EQ(-3, patch_loop(b, r, list({2, 6, 3}), l, loop));
    EXPECT_EQ(-4, patch_loop(b, r, t, list({3, 6, 0}), loop));
    EXPECT_THAT(values(loop), ElementsAre(5));
}

TEST(CurvedEdges, EveryEdgeNamesItsNodesUpwards) {
    dense1D<unsigned, 8> corners;
    dense2D<unsigned> edges(4, 1, 77u);
    ASSERT_EQ(0, curved_edges(list({3, 10, 11, 5, 21, 20, 8}), 2, corners, edges));
    EXPECT_THAT(values(corners), ElementsAre(3, 5, 8));
    EXPECT_THAT(columns(edges),
                ElementsAre(cell(77, 77, 77, 77), cell(3, 5, 10, 11), cell(8, 5, 20, 21)));
}

TEST(CurvedEdges, UnusableArgumentsChangeNothing) {
    dense1D<unsigned, 8> corners = list({1});
    dense2D<unsigned> edges(3, 1, 7u);
    const auto before = snapshot(corners, edges);
    EXPECT_EQ(-1, curved_edges(list({0, 1, 2, 3}), 1, corners, edges));
    EXPECT_EQ(-1, curved_edges(list({0}), 1, corners, edges));
    EXPECT_EQ(-1, curved_edges(list({0, 4, 6, 1}), 2, corners, edges));
    EXPECT_EQ(-2, curved_edges(list({0, 1}), 0, corners, edges));
    EXPECT_EQ(-4, curved_edges(list({0, 4, 5, 1}), 2, corners, edges));
    EXPECT_EQ(-1, curved_edges(list({0, none, 0, 1}), 2, corners, edges));
    EXPECT_EQ(before, snapshot(corners, edges));
}

TEST(CurvedEdges, SuitOrderConversion) {
    dense2D<double> pos = two_nodes(1, 0, 0, 1);
    dense1D<unsigned, 8> line;
    ASSERT_EQ(0, arc(pos, 0, 1, {0, 0}, 2, line));
    ASSERT_TRUE(pos.resize(2, 4, 0.0));
    dense2D<unsigned> connect;
    const unsigned triangle[3] = {3, 0, 1};
    ASSERT_TRUE(push_back_column3(triangle, connect));
    dense1D<unsigned, 8> corners;
    dense2D<unsigned> edges;
    ASSERT_EQ(0, curved_edges(line, 1, corners, edges));
    ASSERT_EQ(0, zel::tessel2d::convert_into_quadratic(pos, connect, edges));
    EXPECT_EQ(2u, connect(3, 0)); // the middle of the arc lies opposite to corner 0
}

TEST(Append, ShiftsNumbersAndKeepsFillers) {
    dense2D<double> pos = two_nodes(0, 0, 1, 0);
    dense2D<unsigned> connect(4, 1, 1u);
    dense2D<unsigned> more(4, 1, 0u);
    more(1, 0) = 1;
    more(3, 0) = none;
    ASSERT_EQ(0, append(pos, connect, two_nodes(5, 6, 7, 8), more));
    EXPECT_EQ(4u, pos.cols);
    EXPECT_EQ(8, pos(1, 3));
    EXPECT_THAT(columns(connect), ElementsAre(cell(1, 1, 1, 1), cell(2, 3, 2, none)));
}

TEST(Append, AMeshMayBeAppendedToItselfOrToNothing) {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    const dense2D<double> nodes = two_nodes(5, 6, 7, 8);
    const dense2D<unsigned> edge(2, 1, 1u);
    ASSERT_EQ(0, append(pos, connect, nodes, edge));
    ASSERT_EQ(0, append(pos, connect, pos, connect));
    EXPECT_EQ(4u, pos.cols);
    EXPECT_EQ(5, pos(0, 2));
    EXPECT_THAT(columns(connect), ElementsAre(cell(1, 1), cell(3, 3)));
    ASSERT_EQ(0, append(pos, connect, dense2D<double>(), dense2D<unsigned>()));
    EXPECT_EQ(4u, pos.cols);
}

TEST(Append, ViewsKeepWhatIsAroundThem) {
    dense2D<double> block(4, 6, -1.0);
    dense2D<double> pos = block.sub_matrix(1, 1, 2, 2);
    dense2D<unsigned> cells(3, 5, 9u);
    dense2D<unsigned> connect = cells.sub_matrix(1, 2, 2, 1);
    dense2D<double> wide(4, 4, 3.0);
    ASSERT_EQ(0, append(pos, connect, wide.sub_matrix(1, 1, 2, 2), dense2D<unsigned>(2, 1, 1u)));
    EXPECT_EQ(3, pos(1, 3));
    EXPECT_EQ(-1, pos.storage->data[pos.start - 1]);
    EXPECT_THAT(columns(connect), ElementsAre(cell(9, 9), cell(3, 3)));
}

TEST(Append, UnusableArgumentsChangeNothing) {
    dense2D<double> pos = two_nodes(0, 0, 1, 0);
    dense2D<unsigned> connect(3, 1, 1u);
    const auto before = snapshot(pos, connect);
    dense2D<double> tall(5, 1, 0.0);
    EXPECT_EQ(-1, append(tall, connect, pos, connect));
    EXPECT_EQ(-3, append(pos, connect, dense2D<double>(3, 2, 0.0), connect));
    EXPECT_EQ(-3, append(pos, connect, tall, connect));
    EXPECT_EQ(-4, append(pos, connect, pos, dense2D<unsigned>(4, 1, 0u)));
    EXPECT_EQ(-4, append(pos, connect, pos, dense2D<unsigned>(3, 1, 2u)));
    EXPECT_EQ(-4, append(pos, connect, dense2D<double>(), connect));
    EXPECT_EQ(before, snapshot(pos, connect));
}

TEST(Outlines, ExhaustedMemoryChangesNothing) {
    zel_test::fail_each_allocation([&](std::size_t k) {
        dense2D<double> pos = two_nodes(2, 0, 0, 2);
        dense1D<unsigned, 8> line = list({7});
        const auto before = snapshot(pos, line);
        zel_test::arm_allocator(k);
        const int status = arc(pos, 0, 1, {0, 0}, 30, line);
        zel_test::disarm_allocator();
        if (status == -199) {
            EXPECT_EQ(before, snapshot(pos, line));
        } else {
            EXPECT_EQ(32u, line.size);
        }
    });
    const auto b = list({0, 1}), r = list({1, 2}), t = list({2, 3}), l = list({3, 0});
    zel_test::fail_each_allocation([&](std::size_t k) {
        dense1D<unsigned, 8> loop = list({7});
        zel_test::arm_allocator(k);
        const int status = patch_loop(b, r, t, l, loop);
        zel_test::disarm_allocator();
        EXPECT_EQ(status == -199 ? 1u : 5u, loop.size);
    });
    const auto curve = list({3, 10, 5, 11, 8});
    zel_test::fail_each_allocation([&](std::size_t k) {
        dense1D<unsigned, 8> corners = list({7});
        dense2D<unsigned> edges(3, 1, 7u);
        const auto before = snapshot(corners, edges);
        zel_test::arm_allocator(k);
        const int status = curved_edges(curve, 1, corners, edges);
        zel_test::disarm_allocator();
        if (status == -199) {
            EXPECT_EQ(before, snapshot(corners, edges));
        } else {
            EXPECT_EQ(3u, edges.cols);
        }
    });
    zel_test::fail_each_allocation([&](std::size_t k) {
        dense2D<double> pos = two_nodes(2, 0, 0, 2);
        dense2D<unsigned> connect(3, 1, 1u);
        const auto before = snapshot(pos, connect);
        zel_test::arm_allocator(k);
        const int status = append(pos, connect, pos, connect);
        zel_test::disarm_allocator();
        if (status == -199) {
            EXPECT_EQ(before, snapshot(pos, connect));
        } else {
            EXPECT_EQ(4u, pos.cols);
        }
    });
}

} // namespace
