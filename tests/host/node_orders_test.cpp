// SPDX-License-Identifier: Apache-2.0
#include "zel/host/node_orders.h"

#include "support/checks.h"
#include "support/meshes.h"

#include <cstddef>
#include <numeric>
#include <vector>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::host::nodal_element;
using zel::host::node_count;
using zel::host::node_format;
using zel::host::order_from;
using zel::host::order_to;
using zel::host::reorder_from;
using zel::host::reorder_to;

constexpr unsigned filler = 0xFFFFFFFF;
constexpr nodal_element every_element[] = {
    nodal_element::T3,  nodal_element::T6,  nodal_element::T7, nodal_element::T10,
    nodal_element::T15, nodal_element::Q4,  nodal_element::Q8, nodal_element::Q9,
    nodal_element::Q12, nodal_element::Q16, nodal_element::Q25};
constexpr node_format both[] = {node_format::vtk, node_format::gmsh};

/// Columns that count up from 0, `used` rows of each, fillers behind them.
dense2D<unsigned> counted(std::size_t rows, std::vector<unsigned> used) {
    dense2D<unsigned> connect(rows, used.size(), filler);
    unsigned next = 0;
    for (std::size_t e = 0; e < used.size(); ++e)
        for (unsigned k = 0; k < used[e]; ++k) connect(k, e) = next++;
    return connect;
}

std::vector<unsigned> listed(const dense2D<unsigned>& connect, std::size_t e) {
    return {connect[e], connect[e] + connect.rows};
}

TEST(NodeOrders, CountsAreThoseInTheNames) {
    std::vector<unsigned> counts;
    for (const nodal_element element : every_element) counts.push_back(node_count(element));
    EXPECT_THAT(counts, ElementsAre(3, 6, 7, 10, 15, 4, 8, 9, 12, 16, 25));
}

TEST(NodeOrders, EachIsAPermutationAndItsReturnUndoesIt) {
    for (const node_format format : both) {
        for (const nodal_element element : every_element) {
            const unsigned* const to = order_to(format, element);
            const unsigned* const from = order_from(format, element);
            ASSERT_EQ(to == nullptr, from == nullptr);
            for (unsigned k = 0; to && k < node_count(element); ++k) {
                ASSERT_LT(to[k], node_count(element));
                EXPECT_EQ(k, from[to[k]]);
            }
        }
    }
}

TEST(NodeOrders, ElementsThatAFormatDoesNotHaveHaveNone) {
    for (const node_format format : both) EXPECT_EQ(nullptr, order_to(format, nodal_element::T15));
    EXPECT_EQ(nullptr, order_to(node_format::gmsh, nodal_element::T7));
    EXPECT_EQ(nullptr, order_from(node_format::gmsh, nodal_element::T7));
    EXPECT_EQ(nullptr, order_to(node_format::vtk, nodal_element::Q12));
    EXPECT_NE(nullptr, order_to(node_format::gmsh, nodal_element::Q12));
}

TEST(NodeOrders, ValuesThatAreNoEnumeratorsHaveNone) {
    EXPECT_EQ(nullptr, order_to(static_cast<node_format>(2), nodal_element::T3));
    EXPECT_EQ(nullptr, order_to(static_cast<node_format>(-1), nodal_element::T3));
    EXPECT_EQ(nullptr, order_from(node_format::vtk, static_cast<nodal_element>(11)));
    EXPECT_EQ(nullptr, order_from(node_format::vtk, static_cast<nodal_element>(-1)));
    EXPECT_EQ(0U, node_count(static_cast<nodal_element>(11)));
}

TEST(ReorderTo, QuadraticTrianglesAndQuadrilateralsSideBySide) {
    auto connect = counted(9, {9, 6, 8});
    ASSERT_EQ(0, reorder_to(node_format::vtk, 1, connect));
    EXPECT_THAT(listed(connect, 0), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(listed(connect, 1), ElementsAre(9, 10, 11, 14, 12, 13, filler, filler, filler));
    EXPECT_THAT(listed(connect, 2), ElementsAre(15, 16, 17, 18, 19, 20, 21, 22, filler));
}

TEST(ReorderTo, CubicMeshesOfBothKinds) {
    auto connect = counted(16, {16, 10});
    ASSERT_EQ(0, reorder_to(node_format::gmsh, 2, connect));
    EXPECT_THAT(listed(connect, 0),
                ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 15, 14));
    EXPECT_THAT(listed(connect, 1), ElementsAre(16, 17, 18, 23, 24, 19, 20, 21, 22, 25, filler,
                                                filler, filler, filler, filler, filler));
}

TEST(ReorderFrom, UndoesReorderToForEveryElementOfAFormat) {
    for (const node_format format : both) {
        for (const nodal_element element : every_element) {
            if (!order_to(format, element)) continue;
            const unsigned nodes = node_count(element);
            const unsigned edge_nodes = nodes >= 25 ? 3 : nodes >= 10 ? 2 : nodes >= 6 ? 1 : 0;
            auto connect = counted(nodes + 2, {nodes, nodes});
            const auto before = snapshot(connect);
            ASSERT_EQ(0, reorder_to(format, edge_nodes, connect)) << nodes;
            for (unsigned k = 0; k < nodes; ++k)
                EXPECT_EQ(nodes + order_to(format, element)[k], connect(k, 1));
            ASSERT_EQ(0, reorder_from(format, edge_nodes, connect));
            EXPECT_EQ(before, snapshot(connect));
        }
    }
}

TEST(ReorderTo, LeavesRowsAroundAViewAlone) {
    dense2D<unsigned> parent(9, 3, 99U);
    auto view = parent.sub_matrix(2, 1, 6, 2);
    for (unsigned k = 0; k < 6; ++k) view(k, 0) = view(k, 1) = k;
    ASSERT_EQ(0, reorder_to(node_format::gmsh, 1, view));
    for (std::size_t e = 1; e < 3; ++e)
        EXPECT_THAT(listed(parent, e), ElementsAre(99, 99, 0, 1, 2, 5, 3, 4, 99));
    EXPECT_THAT(listed(parent, 0), testing::Each(99U));
}

TEST(ReorderTo, AnEmptyConnectivityIsDone) {
    dense2D<unsigned> none;
    EXPECT_EQ(0, reorder_to(node_format::vtk, 3, none));
    EXPECT_EQ(0, reorder_from(node_format::gmsh, 0, none));
}

TEST(ReorderTo, StatusesComeInTheOrderOfTheArguments) {
    auto connect = counted(6, {6, 5});
    const auto before = snapshot(connect);
    EXPECT_EQ(-1, reorder_to(static_cast<node_format>(2), 4, connect));
    EXPECT_EQ(-2, reorder_to(node_format::vtk, 4, connect));
    EXPECT_EQ(-2, reorder_from(node_format::vtk, filler, connect));
    EXPECT_EQ(-3, reorder_to(node_format::vtk, 1, connect)); // the second column has 5 nodes
    EXPECT_EQ(-3, reorder_from(node_format::vtk, 1, connect));
    EXPECT_EQ(before, snapshot(connect));
}

TEST(ReorderTo, NodesOnEdgesDistinguishTrianglesFromQuadrilaterals) {
    auto nine = counted(9, {9});
    EXPECT_EQ(0, reorder_to(node_format::vtk, 1, nine));  // a Q9
    EXPECT_EQ(-3, reorder_to(node_format::vtk, 2, nine)); // a triangle without its centre
    auto twelve = counted(12, {12});
    EXPECT_EQ(0, reorder_to(node_format::gmsh, 2, twelve)); // a Q12
    EXPECT_EQ(-3, reorder_to(node_format::gmsh, 3, twelve));
    EXPECT_EQ(-3, reorder_to(node_format::vtk, 2, twelve));
    auto fifteen = counted(15, {14}); // a T15 as it is made
    EXPECT_EQ(-3, reorder_to(node_format::vtk, 3, fifteen));
    auto full = counted(15, {15});
    EXPECT_EQ(-3, reorder_to(node_format::gmsh, 3, full));
}

TEST(ReorderTo, ElementsWithAnotherNumberOfNodesOnAnEdgeAreRefused) {
    dense2D<unsigned> sixteen(16, 1, 7U); // three nodes on each edge and none inside
    EXPECT_EQ(-3, reorder_to(node_format::vtk, 3, sixteen));
    EXPECT_EQ(0, reorder_to(node_format::vtk, 2, sixteen));
    dense2D<unsigned> six(6, 1, 7U);
    EXPECT_EQ(-3, reorder_to(node_format::gmsh, 0, six));
    EXPECT_EQ(0, reorder_to(node_format::gmsh, 1, six));
}

TEST(ReorderTo, ColumnsOfFillersAndHugeNumbersAreSafe) {
    auto connect = counted(9, {0});
    EXPECT_EQ(-3, reorder_to(node_format::vtk, 0, connect));
    dense2D<unsigned> huge(6, 1, 0xFFFFFFFEU);
    EXPECT_EQ(0, reorder_to(node_format::vtk, 1, huge)); // numbers are not looked at
    dense2D<unsigned> tall(100, 1, 7U);
    EXPECT_EQ(-3, reorder_to(node_format::vtk, 3, tall));
}

} // namespace
