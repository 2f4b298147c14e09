// SPDX-License-Identifier: Apache-2.0
// Tests of the node tree: its cells, its queries beside a search through all nodes, and short memory.
#include "location/node_search.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

namespace {

using namespace zel_test;
using testing::AnyOf;
using testing::ElementsAre;
using zel::tessel2d::grid_point;
using zel::tessel2d::mixed_cells;
using zel::tessel2d::no_distance;
using zel::tessel2d::node_filter;
using zel::tessel2d::node_tree;
using zel::tessel2d::quad_cells;
using zel::tessel2d::triangle_cells;

using place = zel::vector_fixed<double, 2>;
constexpr double nan = zel_test::nan; // of two by that name

/// A connectivity of triangles that names the nodes 0 ... n-1 in this order.
dense2D<unsigned> naming_all(unsigned n) {
    dense2D<unsigned> connect(3, (n + 2) / 3);
    for (unsigned i = 0; i < 3 * connect.cols; ++i) connect(i % 3, i / 3) = std::min(i, n - 1);
    return connect;
}

/// A filled tree that owns what it stands on; every node is usable unless `exclude` says otherwise.
struct planted {
    dense2D<double> pos;
    dense1D<unsigned, 8> ancestors;
    node_tree tree;
    std::size_t taken;

    explicit planted(const dense2D<double>& positions)
        : pos(positions),
          ancestors(positions.cols, 0U),
          tree(pos),
          taken(tree.fill<triangle_cells>(naming_all(static_cast<unsigned>(positions.cols)))) {}

    void exclude(unsigned node) { ancestors[node] = no_node; }
    node_filter filter() const { return {ancestors.data(), ancestors.size, 1}; }
    unsigned close(double x, double y) const {
        double best = no_distance;
        return tree.find_close({x, y}, best, filter());
    }
    unsigned closest(double x, double y) const {
        double best = no_distance;
        return tree.find_closest({x, y}, best, filter());
    }
};

/// The leaves with their nodes, by path from the root: what a tree holds, wherever its cells stand.
void list_leaves(const node_tree& tree, std::size_t cell, const std::string& path,
                 std::map<std::string, std::vector<unsigned>>& leaves) {
    const unsigned* const words = tree.cells[cell];
    if (words[0] < 4) {
        leaves[path].assign(words + 1, words + 1 + words[0]);
        return;
    }
    for (unsigned q = 0; q < 4; ++q)
        list_leaves(tree, words[0] + q, path + static_cast<char>('0' + q), leaves);
}
std::map<std::string, std::vector<unsigned>> leaves_of(const node_tree& tree) {
    std::map<std::string, std::vector<unsigned>> leaves;
    list_leaves(tree, 0, "", leaves);
    return leaves;
}

double squared_distance(const dense2D<double>& pos, unsigned node, const place& p) {
    const double dx = p[0] - pos(0, node);
    const double dy = p[1] - pos(1, node);
    return dx * dx + dy * dy;
}

// ------------------------------------------------------------------------------------- construction

TEST(NodeTree, IsMadeEmptyOverTheUnitSquare) {
    const dense2D<double> pos = points({{0.5, 0.5}});
    const node_tree tree(pos);
    EXPECT_EQ(0U, tree.node_count);
    EXPECT_EQ(4U, tree.cell_count);
    EXPECT_EQ(0.0, tree.box_min[0]);
    EXPECT_EQ(0.0, tree.box_min[1]);
    EXPECT_EQ(1.0, tree.box_max[0]);
    EXPECT_EQ(1.0, tree.box_max[1]);
    for (std::size_t k = 0; k < 2; ++k) EXPECT_EQ(0.5 - 0.5000000000005, tree.grid.origin[k]);
    EXPECT_EQ(4294967295.0 / 1.000000000001, tree.grid.scale);
}

TEST(NodeTree, ReturnsNoNodeWhileEmpty) {
    const dense2D<double> pos = points({{0.5, 0.5}});
    const dense1D<unsigned, 8> ancestors(1, 0U);
    const node_tree tree(pos);
    double best = no_distance;
    EXPECT_EQ(no_node, tree.find_close({0.5, 0.5}, best, {ancestors.data(), 1, 1}));
    EXPECT_EQ(no_node, tree.find_closest({0.5, 0.5}, best, {ancestors.data(), 1, 1}));
    EXPECT_EQ(no_distance, best);
}

TEST(NodeTree, FilledWithAnEmptyMeshCoversTheUnitSquareAgain) {
    const dense2D<double> pos = points({{5, 5}, {6, 5}, {5, 7}});
    node_tree tree(pos);
    ASSERT_EQ(3U, tree.fill<triangle_cells>(cells({{0, 1, 2}})));
    EXPECT_EQ(0U, tree.fill<triangle_cells>(dense2D<unsigned>()));
    EXPECT_EQ(0U, tree.node_count);
    EXPECT_EQ(0.0, tree.box_min[0]);
    EXPECT_EQ(1.0, tree.box_max[1]);
}

TEST(NodeTree, FillingTwiceStartsAnew) {
    const dense2D<double> pos = points({{0, 0}, {1, 0}, {0, 1}, {9, 9}, {8, 9}, {9, 8}});
    node_tree tree(pos);
    ASSERT_EQ(3U, tree.fill<triangle_cells>(cells({{0, 1, 2}})));
    ASSERT_EQ(3U, tree.fill<triangle_cells>(cells({{3, 4, 5}})));
    EXPECT_EQ(3U, tree.node_count);
    EXPECT_EQ(8.0, tree.box_min[0]);
    EXPECT_THAT(leaves_of(tree)[""], ElementsAre(3, 4, 5));
}

// --------------------------------------------------------------------------------------------- cells

TEST(NodeTree, ThreeNodesStayInTheRoot) {
    const planted three(points({{0, 0}, {1, 0}, {0, 1}}));
    EXPECT_EQ(3U, three.taken);
    EXPECT_EQ(4U, three.tree.cell_count);
    EXPECT_THAT(column(three.tree.cells, 0), ElementsAre(3, 0, 1, 2));
}

TEST(NodeTree, AFourthNodeSplitsTheLeafByQuadrants) {
    const planted four(points({{1, 1}, {0, 1}, {1, 0}, {0, 0}}));
    EXPECT_EQ(4U, four.taken);
    EXPECT_EQ(8U, four.tree.cell_count);
    EXPECT_EQ(4U, four.tree.cells(0, 0));
    auto leaves = leaves_of(four.tree);
    EXPECT_THAT(leaves["0"], ElementsAre(3));
    EXPECT_THAT(leaves["1"], ElementsAre(2));
    EXPECT_THAT(leaves["2"], ElementsAre(1));
    EXPECT_THAT(leaves["3"], ElementsAre(0));
}

TEST(NodeTree, ALeafSplitsAsLongAsItsFourNodesStayTogether) {
    // Four of the five lie in one corner that is an eighth of the square wide: three splits of the cell
    // that holds them and then one that parts them.
    const planted five(points({{0, 0}, {0.1, 0}, {0, 0.1}, {0.1, 0.1}, {1, 1}}));
    EXPECT_EQ(5U, five.taken);
    EXPECT_EQ(4U + 4 * 4, five.tree.cell_count);
    EXPECT_THAT(leaves_of(five.tree)["0003"], ElementsAre(3));
}

TEST(NodeTree, LeavesHoldTheirNodesInAscendingOrder) {
    const dense2D<double> pos = points({{1, 1}, {0, 0.1}, {0.1, 0}, {0, 0}});
    node_tree tree(pos);
    ASSERT_EQ(4U, tree.fill<triangle_cells>(cells({{3, 0, 2}, {1, 1, 1}})));
    EXPECT_THAT(leaves_of(tree)["0"], ElementsAre(1, 2, 3));
}

TEST(NodeTree, OfFourNodesAtOnePlaceTheLastToComeIsDroppedAfter32Splits) {
    const dense2D<double> pos = points({{2, 3}, {2, 3}, {2, 3}, {2, 3}});
    node_tree tree(pos);
    EXPECT_EQ(3U, tree.fill<triangle_cells>(cells({{2, 0, 3}, {1, 1, 1}})));
    EXPECT_EQ(3U, tree.node_count);
    EXPECT_EQ(4U + 4 * 32, tree.cell_count);
    for (const auto& leaf : leaves_of(tree)) {
        if (!leaf.second.empty()) {
            EXPECT_THAT(leaf.second, ElementsAre(0, 2, 3));
        }
    }
}

TEST(NodeTree, OfManyNodesAtEachPlaceTheFirstThreeToComeAreKept) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        const unsigned n = 2 + 2 * static_cast<unsigned>(seed); // places along a side
        dense2D<double> pos(2, 400);
        for (std::size_t i = 0; i < pos.cols; ++i)
            for (std::size_t k = 0; k < 2; ++k) pos(k, i) = random.below(n) / (n - 1.0);
        pos(0, 0) = pos(1, 0) = 0;
        pos(0, 1) = pos(1, 1) = 1; // the box of a new tree
        dense2D<unsigned> connect(3, 300);
        for (unsigned& node : connect) node = random.below(400);
        connect(0, 0) = 0;
        connect(1, 0) = 1;

        node_tree at_once(pos);
        node_tree one_by_one(pos);
        const std::size_t taken = at_once.fill<triangle_cells>(connect);
        std::vector<bool> came(pos.cols, false);
        for (const unsigned node : connect) {
            if (!came[node]) one_by_one.insert(node);
            came[node] = true;
        }
        EXPECT_EQ(taken, one_by_one.node_count);
        EXPECT_EQ(at_once.node_count, one_by_one.node_count);
        EXPECT_EQ(leaves_of(at_once), leaves_of(one_by_one));
    }
}

TEST(NodeTree, DroppedNodesAreNeverReturned) {
    const planted same(points({{0, 0}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}}));
    EXPECT_EQ(4U, same.taken);
    planted only_dropped = same;
    for (unsigned node = 0; node < 4; ++node) only_dropped.exclude(node);
    EXPECT_EQ(no_node, only_dropped.closest(1, 1));
}

TEST(NodeTree, NodesOnOnePointHaveABoxWithoutSpan) {
    const planted one(points({{2, 3}, {2, 3}}));
    EXPECT_EQ(2U, one.taken);
    EXPECT_EQ(4294967295.0 / 1e-12, one.tree.grid.scale);
    EXPECT_EQ(2 - 0.5e-12, one.tree.grid.origin[0]);
    EXPECT_EQ(0U, one.closest(2, 3));
    EXPECT_EQ(no_node, one.closest(2, 3.5));
}

TEST(NodeTree, EachCornerOfAMixedMeshIsTakenOnce) {
    const dense2D<double> pos = points({{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}, {7, 7}});
    node_tree tree(pos);
    EXPECT_EQ(5U, tree.fill<mixed_cells>(cells({{0, 1, 2, 3}, {1, 4, 2, no_node}})));
    EXPECT_EQ(4U, tree.fill<quad_cells>(cells({{0, 1, 2, 3}})));
    EXPECT_EQ(2U, tree.fill<triangle_cells>(cells({{0, 1, 1}})));
}

TEST(NodeTree, ViewsWithALargerLeadingDimension) {
    const auto g = grid_T3(9, 7);
    const auto pos = framed(g.pos);
    const auto connect = framed(g.connect);
    node_tree plain(g.pos);
    node_tree view(pos.view);
    EXPECT_EQ(80U, plain.fill<triangle_cells>(g.connect));
    EXPECT_EQ(80U, view.fill<triangle_cells>(connect.view));
    EXPECT_EQ(leaves_of(plain), leaves_of(view));
}

TEST(NodeTree, InsertingOneByOneGivesTheSameCells) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        dense2D<double> pos(2, 300);
        for (std::size_t i = 0; i < pos.cols; ++i)
            for (std::size_t k = 0; k < 2; ++k)
                pos(k, i) = seed % 2 ? random.unit() : random.below(12) / 11.0;
        pos(0, 0) = pos(1, 0) = 0;
        pos(0, 1) = pos(1, 1) = 1; // the box of a new tree
        const planted at_once(pos);
        node_tree one_by_one(pos);
        std::size_t taken = 0;
        for (unsigned node = 0; node < pos.cols; ++node) taken += one_by_one.insert(node);
        EXPECT_EQ(at_once.taken, taken);
        EXPECT_EQ(at_once.tree.node_count, one_by_one.node_count);
        EXPECT_EQ(at_once.tree.cell_count, one_by_one.cell_count);
        EXPECT_EQ(leaves_of(at_once.tree), leaves_of(one_by_one));
    }
}

TEST(NodeTree, AFilledTreeTakesFurtherNodes) {
    dense2D<double> pos(2, 400);
    random_numbers random(5);
    for (std::size_t i = 0; i < 800; ++i) pos(i % 2, i / 2) = random.unit();
    pos(0, 0) = pos(1, 0) = 0;
    pos(0, 1) = pos(1, 1) = 1;
    const dense1D<unsigned, 8> ancestors(400, 0U);
    node_tree tree(pos);
    ASSERT_EQ(20U, tree.fill<triangle_cells>(naming_all(20)));
    for (unsigned node = 20; node < 400; ++node) ASSERT_TRUE(tree.insert(node));
    for (unsigned node = 0; node < 400; ++node) {
        double best = no_distance;
        EXPECT_EQ(node,
                  tree.find_close({pos(0, node), pos(1, node)}, best, {ancestors.data(), 400, 1}));
    }
}

TEST(NodeTree, ANodeOutsideTheBoxIsRefused) {
    const dense2D<double> pos = points({{1, 1}, {1.0000001, 1}, {0.5, -1e-300}, {nan, 0.5}});
    node_tree tree(pos);
    EXPECT_TRUE(tree.insert(0));
    for (const unsigned node : {1U, 2U, 3U}) EXPECT_FALSE(tree.insert(node));
    EXPECT_EQ(1U, tree.node_count);
}

// ------------------------------------------------------------------------------------------- queries

TEST(NodeTree, TheBoxBelongsToTheTreeAndNothingBeyond) {
    const planted four(points({{0, 0}, {2, 0}, {0, 1}, {2, 1}}));
    EXPECT_EQ(3U, four.close(2, 1));
    EXPECT_EQ(3U, four.closest(2, 1));
    EXPECT_EQ(0U, four.closest(0, 0));
    const double beyond = std::nextafter(2.0, 3.0);
    EXPECT_EQ(no_node, four.close(beyond, 1));
    EXPECT_EQ(no_node, four.closest(beyond, 1));
    EXPECT_EQ(no_node, four.closest(1, std::nextafter(1.0, 2.0)));
    EXPECT_EQ(no_node, four.closest(-1e-300, 0));
    EXPECT_EQ(no_node, four.closest(0, -1e-300));
}

TEST(NodeTree, APointWithNaNIsOutside) {
    const planted four(points({{0, 0}, {2, 0}, {0, 1}, {2, 1}}));
    EXPECT_EQ(no_node, four.close(nan, 0.5));
    EXPECT_EQ(no_node, four.closest(0.5, nan));
    EXPECT_EQ(no_node, four.closest(infinity, 0.5));
}

TEST(NodeTree, ANodeIsClosestToItself) {
    const auto g = grid_T3(40, 30);
    const dense1D<unsigned, 8> ancestors(g.pos.cols, 0U);
    node_tree tree(g.pos);
    ASSERT_EQ(g.pos.cols, tree.fill<triangle_cells>(g.connect));
    for (unsigned node = 0; node < g.pos.cols; ++node) {
        for (const bool closest : {false, true}) {
            double best = no_distance;
            const place p{g.pos(0, node), g.pos(1, node)};
            const node_filter all{ancestors.data(), ancestors.size, 1};
            EXPECT_EQ(node,
                      closest ? tree.find_closest(p, best, all) : tree.find_close(p, best, all));
            EXPECT_EQ(0.0, best);
        }
    }
}

TEST(NodeTree, OfTwoNodesAtOneDistanceInALeafTheLowerOneIsReturned) {
    const planted two(points({{1, 0}, {-1, 0}}));
    EXPECT_EQ(0U, two.close(0, 0));
    EXPECT_EQ(0U, two.closest(0, 0));
}

TEST(NodeTree, OfNodesAtOneDistanceInSeveralLeavesTheOneLookedAtFirstStays) {
    // The point lies in the lower left leaf, whose node is looked at first.
    const planted four(points({{0, 0}, {2, 0}, {0, 2}, {2, 2}}));
    EXPECT_EQ(0U, four.closest(1, 1));
}

TEST(NodeTree, ALeafReturnsItsNextUsableNode) {
    planted four(points({{0, 0}, {0.1, 0}, {0.2, 0}, {2, 2}}));
    EXPECT_EQ(0U, four.close(0, 0));
    four.exclude(0);
    EXPECT_EQ(1U, four.close(0, 0));
    four.exclude(1);
    EXPECT_EQ(2U, four.close(0, 0));
    EXPECT_EQ(2U, four.closest(0, 0));
}

TEST(NodeTree, ALeafWithoutAUsableNodeSendsTheSearchToItsSiblingsInTurn) {
    // One node in each quadrant; the point is in quadrant 0, and the turn is 1, 2, 3.
    planted four(points({{0, 0}, {2, 0.3}, {0, 2}, {2, 2}}));
    four.exclude(0);
    EXPECT_EQ(1U, four.close(0.5, 0.9));
    EXPECT_EQ(2U, four.closest(0.5, 0.9)) << "which is nearer";
    four.exclude(1);
    EXPECT_EQ(2U, four.close(0.5, 0.2));
    four.exclude(2);
    EXPECT_EQ(3U, four.close(0.5, 0.2));
    four.exclude(3);
    EXPECT_EQ(no_node, four.close(0.5, 0.2));
    EXPECT_EQ(no_node, four.closest(0.5, 0.2));
}

TEST(NodeTree, AnEmptyLeafSendsTheSearchToItsSiblings) {
    const planted four(points({{0, 0}, {2, 0}, {2, 2}, {1.9, 1.9}}));
    EXPECT_EQ(3U, four.close(0.1, 1.7)) << "quadrants 3, 0, 1 in turn, and 3 is first";
    EXPECT_EQ(0U, four.closest(0.1, 1.2)) << "the nearest one is in the quadrant below";
}

TEST(NodeTree, WithoutAUsableNodeNearbyTheWholeTreeIsSearched) {
    dense2D<double> pos(2, 1000);
    random_numbers random(3);
    for (std::size_t i = 0; i < 2000; ++i) pos(i % 2, i / 2) = random.unit();
    planted many(pos);
    for (unsigned node = 0; node < 1000; ++node) many.exclude(node);
    many.ancestors[617] = 0;
    for (unsigned i = 0; i < 200; ++i) {
        const double x =
            many.tree.box_min[0] + (many.tree.box_max[0] - many.tree.box_min[0]) * random.unit();
        const double y =
            many.tree.box_min[1] + (many.tree.box_max[1] - many.tree.box_min[1]) * random.unit();
        EXPECT_EQ(617U, many.close(x, y));
        EXPECT_EQ(617U, many.closest(x, y));
    }
}

TEST(NodeTree, ARootThatIsALeafHasNoSiblings) {
    planted three(points({{0, 0}, {1, 0}, {0, 1}}));
    for (const unsigned node : {0U, 1U, 2U}) three.exclude(node);
    EXPECT_EQ(no_node, three.close(0.5, 0.5));
    EXPECT_EQ(no_node, three.closest(0.5, 0.5));
}

TEST(NodeTree, AFilterCountsNodesBehindItsEndAndWrongElementsAsUnusable) {
    const planted three(points({{0, 0}, {1, 0}, {0, 1}}));
    const dense1D<unsigned, 8> ancestors = ids({7, 4, no_node});
    double best = no_distance;
    EXPECT_EQ(1U, three.tree.find_closest({0, 0}, best, {ancestors.data(), 3, 5}));
    best = no_distance;
    EXPECT_EQ(0U, three.tree.find_closest({1, 0}, best, {ancestors.data(), 1, 8}));
    best = no_distance;
    EXPECT_EQ(no_node, three.tree.find_closest({1, 0}, best, {ancestors.data(), 0, 8}));
    best = no_distance;
    EXPECT_EQ(no_node, three.tree.find_closest({1, 0}, best, {ancestors.data(), 3, 4}));
}

TEST(NodeTree, ADistanceToStartFromIsOnlyUndercut) {
    const planted three(points({{0, 0}, {1, 0}, {0, 1}}));
    double best = 0.04;
    EXPECT_EQ(no_node, three.tree.find_closest({0.2, 0}, best, three.filter()));
    EXPECT_EQ(0.04, best);
    best = 0.05;
    EXPECT_EQ(0U, three.tree.find_closest({0.2, 0}, best, three.filter()));
    EXPECT_EQ(0.2 * 0.2, best);
}

// ---------------------------------------------------------------------------------- degenerate input

TEST(NodeTree, NodesWithNaNAreRejected) {
    const planted five(points({{0, 0}, {nan, 0.5}, {0.5, nan}, {1, 1}, {nan, nan}}));
    EXPECT_EQ(2U, five.taken);
    EXPECT_EQ(0U, five.closest(0.2, 0.2));
    EXPECT_EQ(3U, five.closest(0.7, 0.7));
    EXPECT_EQ(1.0, five.tree.box_max[0]);
}

TEST(NodeTree, TheOtherCoordinateOfARefusedNodeStillWidensTheBox) {
    const planted three(points({{0, 0}, {1, 1}, {nan, 5}}));
    EXPECT_EQ(2U, three.taken);
    EXPECT_EQ(5.0, three.tree.box_max[1]);
    EXPECT_EQ(1U, three.closest(0.5, 4));
}

TEST(NodeTree, NodesWithNaNAloneGiveAnEmptyTree) {
    const planted none(points({{nan, nan}, {nan, 1}, {1, nan}}));
    EXPECT_EQ(0U, none.taken);
    EXPECT_EQ(no_node, none.close(1, 1));
}

TEST(NodeTree, InfiniteAndHugeCoordinatesDoNoHarm) {
    for (const double far : {infinity, -infinity, 1e308, -1e308, 5e-324}) {
        SCOPED_TRACE(far);
        const planted some(points({{0, 0}, {far, 0}, {0, far}, {far, far}, {1, 1}, {far, 1}}));
        EXPECT_LE(some.taken, 6U);
        for (const double x : {0.0, 1.0, far, far / 2})
            for (const double y : {0.0, 1.0, far, far / 2}) {
                const unsigned close = some.close(x, y);
                const unsigned closest = some.closest(x, y);
                EXPECT_TRUE(close < 6 || close == no_node);
                EXPECT_TRUE(closest < 6 || closest == no_node);
            }
    }
}

// ---------------------------------------------------------------------------------- exhausted memory

TEST(NodeTree, ExhaustedMemoryDropsNodesOrLeavesTheTreeAsItWas) {
    const auto g = grid_T3(20, 20);
    const dense1D<unsigned, 8> ancestors(g.pos.cols, 0U);
    fail_each_allocation([&](std::size_t k) {
        node_tree tree(g.pos);
        tree.insert(0);
        arm_allocator(k);
        const std::size_t taken = tree.fill<triangle_cells>(g.connect);
        disarm_allocator();
        if (tree.cells.empty()) {
            EXPECT_EQ(0U, taken);
            return;
        }
        std::size_t held = 0;
        for (const auto& leaf : leaves_of(tree)) held += leaf.second.size();
        EXPECT_EQ(tree.node_count, held);
        if (taken != 0) {
            EXPECT_EQ(taken, held);
        }
        double best = no_distance;
        const unsigned node =
            tree.find_closest({0.5, 0.5}, best, {ancestors.data(), ancestors.size, 1});
        EXPECT_TRUE(node < g.pos.cols || (node == no_node && held == 0));
    });
}

TEST(NodeTree, WhileMemoryIsShortForAMomentEveryNodeHeldIsStillFound) {
    const auto g = grid_T3(6, 6);
    const dense1D<unsigned, 8> ancestors(g.pos.cols, 0U);
    for (const std::size_t in_a_row : {1U, 2U, 3U, 4U}) {
        for (std::size_t k = 1; k < 40; ++k) {
            node_tree tree(g.pos);
            arm_allocator(k, in_a_row);
            tree.fill<triangle_cells>(g.connect);
            disarm_allocator();
            for (const auto& leaf : leaves_of(tree)) {
                for (const unsigned node : leaf.second) {
                    double best = no_distance;
                    const zel::vector_fixed<double, 2> p{g.pos(0, node), g.pos(1, node)};
                    EXPECT_EQ(node, tree.find_close(p, best, {ancestors.data(), ancestors.size, 1}))
                        << k << ' ' << in_a_row;
                    EXPECT_EQ(0.0, best);
                }
            }
        }
    }
}

TEST(NodeTree, WithoutMemoryForAListTheTreeIsAsItWas) {
    const dense2D<double> pos = points({{0, 0}, {1, 0}, {0, 1}, {9, 9}, {8, 9}, {9, 8}});
    node_tree tree(pos);
    ASSERT_EQ(3U, tree.fill<triangle_cells>(cells({{0, 1, 2}})));
    const auto others = cells({{3, 4, 5}});
    fail_for_good(true);
    arm_allocator(1);
    EXPECT_EQ(0U, tree.fill<triangle_cells>(others));
    disarm_allocator();
    fail_for_good(false);
    EXPECT_EQ(3U, tree.node_count);
    EXPECT_EQ(1.0, tree.box_max[0]);
    EXPECT_THAT(leaves_of(tree)[""], ElementsAre(0, 1, 2));
}

TEST(NodeTree, WithoutMemoryForItsRootItTakesNothing) {
    const dense2D<double> pos = points({{0, 0}, {0.5, 0}, {0, 0.5}});
    const auto connect = cells({{0, 1, 2}});
    bool only_root_missing = false;
    std::size_t taken = 0;
    fail_for_good(true);
    for (std::size_t k = 1; taken == 0 && k < 20; ++k) {
        arm_allocator(1);
        node_tree tree(pos);
        EXPECT_TRUE(tree.cells.empty());
        EXPECT_FALSE(tree.insert(0));
        arm_allocator(k);
        taken = tree.fill<triangle_cells>(connect);
        EXPECT_EQ(taken, tree.node_count);
        if (tree.cells.empty() && tree.box_max[0] == 0.5) only_root_missing = true;
        disarm_allocator();
    }
    fail_for_good(false);
    EXPECT_TRUE(only_root_missing);
    EXPECT_EQ(3U, taken);
}

TEST(NodeTree, WithoutMemoryForItsRootItTakesNothingEvenIfThereIsSomeLater) {
    const dense2D<double> pos = points({{0, 0}, {0.5, 0}, {0, 0.5}});
    const auto connect = cells({{0, 1, 2}});
    unsigned without_root = 0;
    for (const std::size_t in_a_row : {1U, 2U})
        for (std::size_t k = 1; k < 20; ++k) {
            arm_allocator(1, 8);
            node_tree tree(pos);
            arm_allocator(k, in_a_row);
            const std::size_t taken = tree.fill<triangle_cells>(connect);
            disarm_allocator();
            EXPECT_EQ(tree.cell_count == 0 ? 0U : 3U, taken) << k << ' ' << in_a_row;
            if (tree.cell_count == 0 && tree.box_max[0] == 0.5) ++without_root;
        }
    EXPECT_GT(without_root, 0U);
}

// ---------------------------------------------------------------------------------------- properties

/// Clouds of nodes in which trees go wrong.
dense2D<double> cloud(unsigned kind, random_numbers& random, std::size_t n) {
    dense2D<double> pos(2, n);
    for (std::size_t i = 0; i < n; ++i) {
        double x = random.unit();
        double y = random.unit();
        switch (kind) {
        case 0:
            break; // evenly spread
        case 1:
            y = 0.25;
            break; // on a line along x
        case 2:
            y = 0.5 * x + 1;
            break; // on an inclined line
        case 3:
            x = random.below(9), y = random.below(9);
            break; // many at one place, many ties
        case 4:    // clusters, and a few far away
            if (i % 50 != 0) {
                x = static_cast<double>(i % 3) + x * 1e-6;
                y = static_cast<double>(i % 2) + y * 1e-9;
            }
            break;
        default: // coincident but for the last bits
            x = 1 + random.below(3) * 0x1p-52;
            y = 1 + random.below(4) * 0x1p-30;
            break;
        }
        pos(0, i) = x;
        pos(1, i) = y;
    }
    return pos;
}

/// The nodes that are kept: of those in one grid cell the first three.
std::vector<unsigned> kept_nodes(const planted& p) {
    std::map<std::pair<unsigned, unsigned>, unsigned> held;
    std::vector<unsigned> kept;
    for (unsigned node = 0; node < p.pos.cols; ++node) {
        const grid_point g = p.tree.grid({p.pos(0, node), p.pos(1, node)});
        if (held[{g.x, g.y}]++ < 3) kept.push_back(node);
    }
    return kept;
}

/// The nodes in the leaf of a point: in the largest cell around it with no more than three nodes.
std::vector<unsigned> leaf_of(const planted& p, const place& at) {
    const grid_point to = p.tree.grid(at);
    for (unsigned depth = 32;; --depth) {
        std::vector<unsigned> in_cell;
        const auto same = [&](unsigned a, unsigned b) {
            return (std::uint64_t{a} >> depth) == (std::uint64_t{b} >> depth);
        };
        for (unsigned node = 0; node < p.pos.cols; ++node) {
            const grid_point g = p.tree.grid({p.pos(0, node), p.pos(1, node)});
            if (same(g.x, to.x) && same(g.y, to.y)) in_cell.push_back(node);
        }
        if (in_cell.size() <= 3) return in_cell;
        if (depth == 0) return {in_cell.begin(), in_cell.begin() + 3};
    }
}

TEST(NodeTree, AgreesWithASearchThroughAllNodes) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        const unsigned kind = static_cast<unsigned>(seed % 6);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", cloud " << kind);
        random_numbers random(seed);
        planted p(cloud(kind, random, 1 + random.below(seed % 5 == 0 ? 3000 : 60)));
        if (seed % 3 == 0) {
            for (unsigned node = 0; node < p.pos.cols; ++node)
                if (random.below(4) != 0) p.exclude(node);
        }
        const std::vector<unsigned> kept = kept_nodes(p);
        ASSERT_EQ(kept.size(), p.taken);
        for (unsigned query = 0; query < 40; ++query) {
            place at{random.between(p.tree.box_min[0], p.tree.box_max[0]),
                     random.between(p.tree.box_min[1], p.tree.box_max[1])};
            const unsigned some = random.below(static_cast<unsigned>(p.pos.cols));
            if (query % 4 == 0) at = {p.pos(0, some), p.pos(1, some)};

            double nearest = no_distance;
            for (const unsigned node : kept)
                if (p.filter().usable(node))
                    nearest = std::min(nearest, squared_distance(p.pos, node, at));
            double best = no_distance;
            const unsigned closest = p.tree.find_closest(at, best, p.filter());
            if (nearest == no_distance) {
                EXPECT_EQ(no_node, closest);
                EXPECT_EQ(no_node, p.close(at[0], at[1]));
                continue;
            }
            ASSERT_LT(closest, p.pos.cols);
            EXPECT_TRUE(p.filter().usable(closest));
            EXPECT_EQ(best, squared_distance(p.pos, closest, at));
            EXPECT_LE(ulps_apart(nearest, best), 1U) << "nearest " << nearest << ", found " << best;

            // In the leaf of the point: the nearest usable node, the lowest of several.
            unsigned expected = no_node;
            double in_leaf = no_distance;
            for (const unsigned node : leaf_of(p, at))
                if (p.filter().usable(node) && squared_distance(p.pos, node, at) < in_leaf) {
                    in_leaf = squared_distance(p.pos, node, at);
                    expected = node;
                }
            const unsigned close = p.close(at[0], at[1]);
            ASSERT_LT(close, p.pos.cols);
            EXPECT_TRUE(p.filter().usable(close));
            if (expected != no_node) {
                EXPECT_EQ(expected, close);
            }
        }
    }
}

TEST(NodeTree, TheOrderOfTheConnectivityDoesNotMatter) {
    random_numbers random(11);
    const dense2D<double> pos = cloud(0, random, 5000);
    dense2D<unsigned> connect = naming_all(5000);
    node_tree first(pos);
    ASSERT_EQ(5000U, first.fill<triangle_cells>(connect));
    for (std::size_t i = connect.cols; i > 1; --i)
        std::swap_ranges(connect[i - 1], connect[i - 1] + 3,
                         connect[random.below(static_cast<unsigned>(i))]);
    node_tree second(pos);
    ASSERT_EQ(5000U, second.fill<triangle_cells>(connect));
    EXPECT_EQ(leaves_of(first), leaves_of(second));
}

} // namespace
