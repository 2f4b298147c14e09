// SPDX-License-Identifier: Apache-2.0
#include "zel/host/adjacency.h"

#include "support/checks.h"
#include "support/failing_alloc.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using zel::dense1D;
using zel::dense2D;
using zel::host::adjacency;
using zel::host::boundary_edges;
using zel::host::boundary_loops;
using zel::host::build_adjacency;
using zel::host::components;
using zel::host::is_orientable;
using zel::host::orientation;
using zel::host::unique_edges;
using zel_test::cell;
using zel_test::column;
using zel_test::columns;
using zel_test::snapshot;
using zel_test::values;

constexpr unsigned none = 0xFFFFFFFFu;

template <std::size_t Rows>
dense2D<unsigned> cells(const std::vector<std::array<unsigned, Rows>>& columns) {
    dense2D<unsigned> m(Rows, columns.size());
    for (std::size_t j = 0; j < columns.size(); ++j)
        for (std::size_t i = 0; i < Rows; ++i) m(i, j) = columns[j][i];
    return m;
}

adjacency built(const dense2D<unsigned>& connect, std::size_t nodes) {
    adjacency beside;
    EXPECT_EQ(0, build_adjacency(connect, nodes, beside));
    return beside;
}

/// The edge table of the two shapes, written out.
std::pair<unsigned, unsigned> edge(const dense2D<unsigned>& connect, std::size_t e, unsigned k) {
    static constexpr unsigned triangle[3][2] = {{1, 2}, {2, 0}, {0, 1}};
    static constexpr unsigned quad[4][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
    const bool three = connect.rows == 3 || connect(3, e) == none;
    const unsigned* const ends = three ? triangle[k] : quad[k];
    return std::minmax({connect(ends[0], e), connect(ends[1], e)});
}

/// A mesh many times over, with its elements and nodes in random order.
dense2D<unsigned> scattered_copies(std::mt19937& generator, const dense2D<unsigned>& connect,
                                   unsigned nodes, unsigned copies) {
    std::vector<unsigned> number(std::size_t{nodes} * copies);
    std::iota(number.begin(), number.end(), 0u);
    std::shuffle(number.begin(), number.end(), generator);
    std::vector<std::size_t> place(connect.cols * copies);
    std::iota(place.begin(), place.end(), std::size_t{0});
    std::shuffle(place.begin(), place.end(), generator);
    dense2D<unsigned> result(4, place.size());
    for (std::size_t j = 0; j < place.size(); ++j) {
        for (unsigned i = 0; i < 4; ++i) {
            const unsigned node = connect(i, j % connect.cols);
            const auto copy = static_cast<unsigned>(j / connect.cols);
            result(i, place[j]) = node == none ? none : number[node + std::size_t{copy} * nodes];
        }
    }
    return result;
}

TEST(BuildAdjacency, TrianglesNumberAnEdgeByTheOppositeNode) {
    const adjacency beside = built(cells<3>({{0, 1, 2}, {0, 2, 3}}), 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
    EXPECT_THAT(values(beside.ancestors), ElementsAre(0, 0, 0, 1));
    EXPECT_EQ(0u, beside.shared_by_more);
}

TEST(BuildAdjacency, QuadrilateralsNumberAnEdgeByTheNodeItStartsFrom) {
    const adjacency beside = built(cells<4>({{0, 1, 4, 3}, {1, 2, 5, 4}}), 6);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, none, 0));
}

TEST(BuildAdjacency, EachColumnOfAMixedMeshFollowsItsOwnShape) {
    const adjacency beside = built(cells<4>({{0, 1, 4, 3}, {1, 2, 4, none}}), 5);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, 0, none, none));
    EXPECT_THAT(values(beside.ancestors), ElementsAre(0, 0, 1, 0, 0));
}

TEST(BuildAdjacency, WhichWayElementsRunDoesNotMatter) {
    const adjacency beside = built(cells<3>({{0, 1, 2}, {1, 2, 3}}), 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(1, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
}

TEST(BuildAdjacency, UnusedNodesHaveNoAncestor) {
    const adjacency beside = built(cells<3>({{4, 1, 2}}), 6);
    EXPECT_THAT(values(beside.ancestors), ElementsAre(none, 0, 0, none, 0, none));
}

TEST(BuildAdjacency, AnEdgeOfThreeElementsHasNoNeighborsAndIsCounted) {
    const adjacency beside = built(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5);
    for (std::size_t e = 0; e < 3; ++e)
        EXPECT_THAT(column(beside.neighbors, e), ElementsAre(none, none, none));
    EXPECT_EQ(1u, beside.shared_by_more);
}

TEST(BuildAdjacency, AnEdgeOfManyElementsIsCountedOnce) {
    dense2D<unsigned> connect(3, 9);
    for (unsigned e = 0; e < 9; ++e) {
        connect(0, e) = 7;
        connect(1, e) = 3;
        connect(2, e) = 8 + e;
    }
    const adjacency beside = built(connect, 17);
    EXPECT_EQ(1u, beside.shared_by_more);
    for (unsigned e = 0; e < 9; ++e)
        EXPECT_THAT(column(beside.neighbors, e), ElementsAre(none, none, none));
}

TEST(BuildAdjacency, ACollapsedEdgeHasNoNeighborsAndIsNotCounted) {
    const adjacency beside = built(cells<4>({{0, 1, 2, 2}, {2, 3, 4, 2}, {2, 2, 2, 2}}), 5);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, none, none, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, none, none));
    EXPECT_EQ(0u, beside.shared_by_more);
}

TEST(BuildAdjacency, AnElementIsNotItsOwnNeighbor) {
    const adjacency beside = built(cells<3>({{0, 1, 0}}), 2);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, none, none));
    EXPECT_EQ(0u, beside.shared_by_more);
}

TEST(BuildAdjacency, ViewsWithALargerLeadingDimension) {
    const auto plain = cells<3>({{0, 1, 2}, {0, 2, 3}});
    dense2D<unsigned> all(7, 3, 99u);
    const dense2D<unsigned> view = all.sub_matrix(2, 1, 3, 2);
    for (std::size_t j = 0; j < 2; ++j)
        for (std::size_t i = 0; i < 3; ++i) all(2 + i, 1 + j) = plain(i, j);
    const adjacency beside = built(view, 4);
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
}

TEST(BuildAdjacency, ResultsThatAreViewsGetMemoryOfTheirOwn) {
    dense2D<unsigned> block(5, 9, 77u);
    adjacency beside;
    beside.neighbors = block.sub_matrix(1, 2, 3, 4);
    beside.ancestors = dense1D<unsigned, 8>(block.storage, 3, 6);
    ASSERT_EQ(0, build_adjacency(cells<3>({{0, 1, 2}, {0, 2, 3}}), 4, beside));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
    EXPECT_EQ(4u, beside.ancestors.size);
    for (const unsigned x : block) EXPECT_EQ(77u, x);
}

TEST(BuildAdjacency, TheConnectivityMayBeTheResult) {
    adjacency beside;
    beside.neighbors = cells<3>({{0, 1, 2}, {0, 2, 3}});
    ASSERT_EQ(0, build_adjacency(beside.neighbors, 4, beside));
    EXPECT_THAT(column(beside.neighbors, 0), ElementsAre(none, 1, none));
    EXPECT_THAT(column(beside.neighbors, 1), ElementsAre(none, none, 0));
}

TEST(BuildAdjacency, ColumnsWithoutRowsAreNoElements) {
    dense2D<unsigned> columns(0, 7);
    ASSERT_EQ(7U, columns.cols);
    adjacency found;
    EXPECT_EQ(0, build_adjacency(columns, 3, found));
    EXPECT_TRUE(found.neighbors.empty());
    ASSERT_EQ(3U, found.ancestors.size);
    for (const unsigned element : found.ancestors) EXPECT_EQ(none, element);
}

TEST(BuildAdjacency, EmptyMeshesGiveNodesWithoutAncestors) {
    for (const dense2D<unsigned>& connect :
         {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(4, 0)}) {
        adjacency beside = built(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5);
        ASSERT_EQ(0, build_adjacency(connect, 2, beside));
        EXPECT_TRUE(beside.neighbors.empty());
        EXPECT_THAT(values(beside.ancestors), ElementsAre(none, none));
        EXPECT_EQ(0u, beside.shared_by_more);
    }
    EXPECT_TRUE(built(dense2D<unsigned>(), 0).ancestors.empty());
}

TEST(BuildAdjacencyStatus, UnusableArgumentsLeaveTheResultAlone) {
    adjacency beside = built(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5);
    const auto before = snapshot(beside.neighbors, beside.ancestors);
    const auto expect_refused = [&](int status, const dense2D<unsigned>& connect,
                                    std::size_t nodes) {
        EXPECT_EQ(status, build_adjacency(connect, nodes, beside));
        EXPECT_EQ(before, snapshot(beside.neighbors, beside.ancestors));
        EXPECT_EQ(1u, beside.shared_by_more);
    };
    expect_refused(-1, dense2D<unsigned>(2, 1, 0u), 5);
    expect_refused(-1, dense2D<unsigned>(6, 1, 0u), 5);
    expect_refused(-1, cells<3>({{0, 1, 5}}), 5);
    expect_refused(-1, cells<3>({{0, 1, none}}), 5);
    expect_refused(-1, cells<4>({{0, none, 2, 3}}), 5);
    expect_refused(-1, cells<3>({{0, 1, 2}}), 0);
    expect_refused(-2, cells<3>({{0, 1, 2}}), std::size_t{1} << 32);
    expect_refused(-2, cells<3>({{0, 1, 2}}), static_cast<std::size_t>(-1));
}

TEST(BuildAdjacencyStatus, ExhaustedMemoryIsReportedAndNothingChanges) {
    const auto connect = cells<4>({{0, 1, 4, 3}, {1, 2, 4, none}});
    zel_test::fail_each_allocation([&](std::size_t k) {
        adjacency beside;
        beside.neighbors = dense2D<unsigned>(3, 1, 7u);
        beside.ancestors = dense1D<unsigned, 8>(2, 8u);
        beside.shared_by_more = 9;
        const auto before = snapshot(beside.neighbors, beside.ancestors);
        zel_test::arm_allocator(k);
        const int status = build_adjacency(connect, 5, beside);
        zel_test::disarm_allocator();
        if (status == 0) {
            EXPECT_EQ(2u, beside.neighbors.cols);
            return;
        }
        EXPECT_EQ(-199, status);
        EXPECT_EQ(before, snapshot(beside.neighbors, beside.ancestors));
        EXPECT_EQ(9u, beside.shared_by_more);
    });
}

// Memory for the records is one of several blocks; without it the work is done in another way.
TEST(BuildAdjacencyStatus, ExhaustedMemoryIsReportedForScatteredElements) {
    std::mt19937 generator(1);
    const auto connect =
        scattered_copies(generator, cells<4>({{0, 1, 4, 3}, {1, 2, 4, none}}), 5, 400);
    const auto expected = snapshot(built(connect, 2000).neighbors);
    zel_test::fail_each_allocation([&](std::size_t k) {
        adjacency beside;
        zel_test::arm_allocator(k);
        const int status = build_adjacency(connect, 2000, beside);
        zel_test::disarm_allocator();
        if (status == 0)
            EXPECT_EQ(expected, snapshot(beside.neighbors));
        else
            EXPECT_EQ(-199, status);
    });
}

// Large enough for elements and nodes in random order to be taken as such.
TEST(BuildAdjacency, OrderOfElementsAndNodesDoesNotMatter) {
    constexpr unsigned n = 200;
    const auto node = [](unsigned i, unsigned j) { return (i * (n + 1) + j) * 7919u % 40423u; };
    dense2D<unsigned> connect(4, n * n);
    const auto place = [](unsigned s) { return s * 7919u % (n * n); };
    for (unsigned s = 0; s < n * n; ++s) {
        unsigned* const c = connect[place(s)];
        const unsigned i = s / n;
        const unsigned j = s % n;
        c[0] = node(i, j);
        c[1] = node(i, j + 1);
        c[2] = node(i + 1, j + 1);
        c[3] = node(i + 1, j);
    }
    const adjacency beside = built(connect, 40423);
    EXPECT_EQ(0u, beside.shared_by_more);
    for (unsigned s = 0; s < n * n; ++s) {
        const unsigned i = s / n;
        const unsigned j = s % n;
        const unsigned* const across = beside.neighbors[place(s)];
        ASSERT_EQ(i > 0 ? place(s - n) : none, across[0]);
        ASSERT_EQ(j + 1 < n ? place(s + 1) : none, across[1]);
        ASSERT_EQ(i + 1 < n ? place(s + n) : none, across[2]);
        ASSERT_EQ(j > 0 ? place(s - 1) : none, across[3]);
    }
}

/// Compares the neighbours, ancestors and edges of a mesh of 4 rows with a search through all sides.
void expect_what_a_search_finds(const dense2D<unsigned>& connect, std::size_t nodes) {
    struct side {
        unsigned element;
        unsigned edge;
    };
    std::map<std::pair<unsigned, unsigned>, std::vector<side>> sides;
    std::vector<std::pair<unsigned, unsigned>> in_order;
    std::vector<unsigned> ancestors(nodes, none);
    for (unsigned e = static_cast<unsigned>(connect.cols); e-- > 0;)
        for (unsigned k = 0; k < (connect(3, e) == none ? 3u : 4u); ++k)
            ancestors[connect(k, e)] = e;
    for (unsigned e = 0; e < connect.cols; ++e) {
        for (unsigned k = 0; k < (connect(3, e) == none ? 3u : 4u); ++k) {
            const auto ends = edge(connect, e, k);
            if (ends.first == ends.second) continue;
            if (sides[ends].empty()) in_order.push_back(ends);
            sides[ends].push_back({e, k});
        }
    }
    dense2D<unsigned> neighbors(4, connect.cols, none);
    std::size_t more = 0;
    for (const auto& [ends, at] : sides) {
        more += at.size() > 2;
        if (at.size() != 2 || at[0].element == at[1].element) continue;
        neighbors(at[0].edge, at[0].element) = at[1].element;
        neighbors(at[1].edge, at[1].element) = at[0].element;
    }
    const adjacency beside = built(connect, nodes);
    EXPECT_EQ(more, beside.shared_by_more);
    EXPECT_EQ(ancestors, values(beside.ancestors));
    EXPECT_EQ(snapshot(neighbors), snapshot(beside.neighbors));

    dense2D<unsigned> edges;
    dense2D<unsigned> elements;
    EXPECT_EQ(static_cast<int>(more), unique_edges(connect, nodes, edges, elements));
    ASSERT_EQ(in_order.size(), edges.cols);
    for (std::size_t j = 0; j < edges.cols; ++j) {
        const std::vector<side>& at = sides[in_order[j]];
        ASSERT_EQ(in_order[j], std::minmax({edges(0, j), edges(1, j)}));
        ASSERT_EQ(at[0].element, elements(0, j));
        ASSERT_EQ(at.size() > 1 ? at[1].element : none, elements(1, j));
    }
}

/// Random cells over few nodes: edges of one, two and many elements, collapsed and repeated ones.
dense2D<unsigned> random_cells(std::mt19937& generator, unsigned nodes, std::size_t n) {
    dense2D<unsigned> connect(4, n);
    for (std::size_t e = 0; e < n; ++e) {
        for (unsigned i = 0; i < 4; ++i) connect(i, e) = static_cast<unsigned>(generator()) % nodes;
        if (generator() % 2) connect(3, e) = none;
    }
    return connect;
}

TEST(BuildAdjacency, AgreesWithASearchThroughAllSides) {
    for (unsigned seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 generator(seed);
        const unsigned nodes = 2 + static_cast<unsigned>(generator()) % 12;
        expect_what_a_search_finds(random_cells(generator, nodes, 1 + generator() % 12), nodes);
    }
}

TEST(BuildAdjacency, ElementsAndNodesInRandomOrderGiveTheSame) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 generator(seed);
        const unsigned nodes = 3 + static_cast<unsigned>(generator()) % 12;
        const auto some = random_cells(generator, nodes, nodes - generator() % 2);
        const unsigned copies = 1500 / nodes;
        expect_what_a_search_finds(scattered_copies(generator, some, nodes, copies),
                                   nodes * copies);
    }
}

TEST(BuildAdjacency, TrianglesOfThreeRowsInRandomOrderAreAsThoseOfFour) {
    for (unsigned seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 generator(seed);
        const auto some = random_cells(generator, 9, 10);
        const auto connect = scattered_copies(generator, some, 9, 200);
        dense2D<unsigned> three(3, connect.cols);
        dense2D<unsigned> four(4, connect.cols, none);
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (unsigned i = 0; i < 3; ++i) three(i, e) = four(i, e) = connect(i, e);
        expect_what_a_search_finds(four, 1800);
        const adjacency beside = built(three, 1800);
        const adjacency expected = built(four, 1800);
        EXPECT_EQ(expected.shared_by_more, beside.shared_by_more);
        EXPECT_EQ(values(expected.ancestors), values(beside.ancestors));
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (unsigned k = 0; k < 3; ++k)
                ASSERT_EQ(expected.neighbors(k, e), beside.neighbors(k, e));
    }
}

// Nodes with very many edges, which are a few of all in the first mesh and most in the second.
TEST(BuildAdjacency, NodesWithVeryManyEdgesInRandomOrderGiveTheSame) {
    std::mt19937 generator(1);
    for (const unsigned copies : {40u, 1u}) {
        SCOPED_TRACE(copies);
        const auto hubs = random_cells(generator, 30, 150);
        auto connect = scattered_copies(generator, hubs, 30, 40 / copies);
        const auto hub_nodes = static_cast<unsigned>(30 * 40 / copies);
        const auto rest =
            scattered_copies(generator, random_cells(generator, 4, 3), 4, copies * 400);
        const std::size_t first = connect.cols;
        ASSERT_TRUE(connect.resize(4, first + rest.cols));
        for (std::size_t j = 0; j < rest.cols; ++j)
            for (unsigned i = 0; i < 4; ++i)
                connect(i, first + j) = rest(i, j) == none ? none : rest(i, j) + hub_nodes;
        expect_what_a_search_finds(connect, hub_nodes + std::size_t{copies} * 1600);
    }
}

// --------------------------------------------------------------------------------------------- edges

struct edge_lists {
    dense2D<unsigned> edges;
    dense2D<unsigned> elements;
    int status = 0;
};

edge_lists edges_of(const dense2D<unsigned>& connect, std::size_t nodes) {
    edge_lists found;
    found.status = unique_edges(connect, nodes, found.edges, found.elements);
    return found;
}

TEST(UniqueEdges, EachEdgeStandsOnceInTheDirectionOfItsFirstElement) {
    const edge_lists found = edges_of(cells<3>({{0, 1, 2}, {0, 2, 3}}), 4);
    EXPECT_EQ(0, found.status);
    EXPECT_THAT(columns(found.edges),
                ElementsAre(cell(1, 2), cell(2, 0), cell(0, 1), cell(2, 3), cell(3, 0)));
    EXPECT_THAT(columns(found.elements), ElementsAre(cell(0, none), cell(0, 1), cell(0, none),
                                                     cell(1, none), cell(1, none)));
}

TEST(UniqueEdges, MixedElementsNumberTheirEdgesByTheirShape) {
    const edge_lists found = edges_of(cells<4>({{0, 1, 4, 3}, {1, 2, 4, none}}), 5);
    EXPECT_THAT(columns(found.edges), ElementsAre(cell(0, 1), cell(1, 4), cell(4, 3), cell(3, 0),
                                                  cell(2, 4), cell(1, 2)));
    EXPECT_THAT(column(found.elements, 1), ElementsAre(0, 1));
}

TEST(UniqueEdges, EdgesOfMoreThanTwoSidesStandOnceAndAreCounted) {
    const edge_lists found = edges_of(cells<3>({{2, 0, 1}, {3, 1, 0}, {4, 0, 1}, {5, 0, 1}}), 6);
    EXPECT_EQ(1, found.status);
    EXPECT_EQ(9u, found.edges.cols);
    EXPECT_THAT(column(found.edges, 0), ElementsAre(0, 1));
    EXPECT_THAT(column(found.elements, 0), ElementsAre(0, 1));
}

TEST(UniqueEdges, CollapsedEdgesAreLeftOut) {
    EXPECT_EQ(3u, edges_of(cells<4>({{0, 1, 2, 2}}), 3).edges.cols);
    EXPECT_EQ(0u, edges_of(cells<3>({{1, 1, 1}}), 3).edges.cols);
    EXPECT_EQ(0u, edges_of(dense2D<unsigned>(), 3).edges.cols);
}

TEST(UniqueEdges, AnElementThatHasAnEdgeTwiceStandsThereTwice) {
    const edge_lists found = edges_of(cells<3>({{0, 1, 0}}), 2);
    EXPECT_THAT(columns(found.edges), ElementsAre(cell(1, 0)));
    EXPECT_THAT(columns(found.elements), ElementsAre(cell(0, 0)));
}

TEST(BoundaryEdges, RunAlongTheirElement) {
    dense2D<unsigned> edges;
    ASSERT_EQ(0, boundary_edges(cells<3>({{0, 1, 2}, {0, 2, 3}}), 4, edges));
    EXPECT_THAT(columns(edges), ElementsAre(cell(1, 2), cell(0, 1), cell(2, 3), cell(3, 0)));
}

TEST(BoundaryEdges, ClosedSurfacesAndSharedEdgesHaveNone) {
    dense2D<unsigned> edges(2, 3, 9u);
    ASSERT_EQ(0, boundary_edges(cells<3>({{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}}), 4, edges));
    EXPECT_EQ(0u, edges.cols);
    ASSERT_EQ(0, boundary_edges(cells<3>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 5, edges));
    EXPECT_EQ(6u, edges.cols);
    for (std::size_t j = 0; j < edges.cols; ++j) EXPECT_GT(edges(0, j) + edges(1, j), 1u);
}

// --------------------------------------------------------------------------------------------- loops

struct loop_lists {
    dense1D<unsigned, 8> starts;
    dense1D<unsigned, 8> nodes;
    int status = 0;

    std::vector<unsigned> loop(std::size_t i) const {
        return {nodes.data() + starts[i], nodes.data() + starts[i + 1]};
    }
};

loop_lists loops_of(const dense2D<unsigned>& connect, std::size_t nodes) {
    loop_lists found;
    found.status = boundary_loops(connect, nodes, found.starts, found.nodes);
    return found;
}

/// 3 x 3 squares over nodes 0 to 15 without those listed; node 4*row + column.
dense2D<unsigned> board_without(const std::set<unsigned>& holes) {
    std::vector<std::array<unsigned, 4>> squares;
    for (unsigned s = 0; s < 9; ++s) {
        const unsigned a = s / 3 * 4 + s % 3;
        if (holes.count(s) == 0) squares.push_back({a, a + 1, a + 5, a + 4});
    }
    return cells<4>(squares);
}

TEST(BoundaryLoops, ASquareHasOneLoop) {
    const loop_lists found = loops_of(cells<4>({{0, 1, 2, 3}}), 4);
    ASSERT_EQ(0, found.status);
    EXPECT_THAT(values(found.starts), ElementsAre(0, 5));
    EXPECT_THAT(found.loop(0), ElementsAre(0, 1, 2, 3, 0));
}

TEST(BoundaryLoops, HolesRunTheOtherWay) {
    const loop_lists found = loops_of(board_without({4}), 16);
    ASSERT_EQ(3u, found.starts.size);
    EXPECT_THAT(found.loop(0), ElementsAre(0, 1, 2, 3, 7, 11, 15, 14, 13, 12, 8, 4, 0));
    EXPECT_THAT(found.loop(1), ElementsAre(6, 5, 9, 10, 6));
}

TEST(BoundaryLoops, PartsThatTouchInANodeAreTwoLoops) {
    const loop_lists found = loops_of(cells<4>({{0, 1, 2, 3}, {2, 4, 5, 6}}), 7);
    ASSERT_EQ(3u, found.starts.size);
    EXPECT_THAT(found.loop(0), ElementsAre(0, 1, 2, 3, 0));
    EXPECT_THAT(found.loop(1), ElementsAre(2, 4, 5, 6, 2));
}

TEST(BoundaryLoops, HolesThatTouchInANodeAreTwoLoops) {
    std::vector<std::array<unsigned, 4>> squares; // 4 x 4 with the holes (1, 1) and (2, 2)
    for (unsigned s = 0; s < 16; ++s) {
        const unsigned a = s / 4 * 5 + s % 4;
        if (s != 5 && s != 10) squares.push_back({a, a + 1, a + 6, a + 5});
    }
    const loop_lists found = loops_of(cells<4>(squares), 25);
    ASSERT_EQ(0, found.status);
    ASSERT_EQ(4u, found.starts.size);
    EXPECT_EQ(17u, found.loop(0).size());
    EXPECT_EQ(5u, found.loop(1).size());
    EXPECT_EQ(5u, found.loop(2).size());
}

TEST(BoundaryLoops, ClosedSurfacesHaveNone) {
    const loop_lists found = loops_of(cells<3>({{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}}), 4);
    EXPECT_EQ(0, found.status);
    EXPECT_THAT(values(found.starts), ElementsAre(0));
    EXPECT_TRUE(found.nodes.empty());
}

TEST(BoundaryLoops, ElementsThatDoNotRunAlikeAreRefused) {
    EXPECT_EQ(-1, loops_of(cells<3>({{0, 1, 2}, {0, 3, 2}}), 4).status);
}

// Squares of a board at random: loops hold every boundary edge once, are closed and pass no node twice.
TEST(BoundaryLoops, TakeEveryBoundaryEdgeOnce) {
    for (unsigned bits = 0; bits < 512; ++bits) {
        SCOPED_TRACE(bits);
        std::set<unsigned> holes;
        for (unsigned s = 0; s < 9; ++s)
            if (bits >> s & 1) holes.insert(s);
        const auto connect = board_without(holes);
        const loop_lists found = loops_of(connect, 16);
        ASSERT_EQ(0, found.status);
        dense2D<unsigned> edges;
        ASSERT_EQ(0, boundary_edges(connect, 16, edges));
        std::multiset<std::vector<unsigned>> left;
        for (std::size_t j = 0; j < edges.cols; ++j) left.insert(column(edges, j));
        for (std::size_t i = 0; i + 1 < found.starts.size; ++i) {
            const auto loop = found.loop(i);
            EXPECT_EQ(loop.front(), loop.back());
            EXPECT_EQ(loop.size() - 1, std::set<unsigned>(loop.begin(), loop.end()).size());
            for (std::size_t k = 0; k + 1 < loop.size(); ++k)
                EXPECT_EQ(1u, left.erase({loop[k], loop[k + 1]}));
        }
        EXPECT_TRUE(left.empty());
    }
}

// --------------------------------------------------------------------------- components, orientation

TEST(Components, AreNumberedByTheirFirstElements) {
    const auto connect = cells<3>({{0, 1, 2}, {3, 4, 5}, {2, 1, 6}, {7, 8, 9}, {4, 3, 7}});
    dense1D<unsigned, 8> component;
    EXPECT_EQ(3, components(built(connect, 10).neighbors, component));
    EXPECT_THAT(values(component), ElementsAre(0, 1, 0, 2, 1));
}

TEST(Components, LongChainsAndOneSidedNeighborsAreFollowed) {
    constexpr unsigned n = 100000;
    dense2D<unsigned> neighbors(3, n, none);
    for (unsigned e = 0; e + 1 < n; ++e) neighbors(e % 3, e) = e + 1;
    dense1D<unsigned, 8> component;
    EXPECT_EQ(1, components(neighbors, component));
    for (unsigned e = 0; e < n; ++e) ASSERT_EQ(0u, component[e]);
}

TEST(Components, NoElementsAreNoComponents) {
    dense1D<unsigned, 8> component(3, 1u);
    EXPECT_EQ(0, components(dense2D<unsigned>(), component));
    EXPECT_TRUE(component.empty());
}

/// A strip of n squares, closed to a ring, or to a Moebius strip.
dense2D<unsigned> ring(unsigned n, bool twisted) {
    dense2D<unsigned> connect(4, n);
    for (unsigned e = 0; e < n; ++e) {
        const bool turn = twisted && e + 1 == n;
        const unsigned next = (e + 1) % n;
        connect(0, e) = 2 * e;
        connect(1, e) = 2 * next + (turn ? 1 : 0);
        connect(2, e) = 2 * next + (turn ? 0 : 1);
        connect(3, e) = 2 * e + 1;
    }
    return connect;
}

int orientable(const dense2D<unsigned>& connect, std::size_t nodes, orientation& found) {
    return is_orientable(connect, built(connect, nodes).neighbors, found);
}

TEST(IsOrientable, ARingIsAndAMoebiusStripIsNot) {
    orientation found;
    EXPECT_EQ(1, orientable(ring(5, false), 10, found));
    EXPECT_EQ(orientation::fault::none, found.what);
    EXPECT_EQ(0u, found.against);
    EXPECT_EQ(none, found.element);
    const auto strip = ring(5, true);
    EXPECT_EQ(0, orientable(strip, 10, found));
    EXPECT_EQ(orientation::fault::one_sided, found.what);
    ASSERT_LT(found.element, 5u);
    EXPECT_EQ(found.neighbor, built(strip, 10).neighbors(found.edge, found.element));
}

TEST(IsOrientable, CountsEdgesThatAreRunAlongTheSameWay) {
    auto connect = ring(6, false);
    std::swap(connect(0, 2), connect(2, 2));
    std::swap(connect(0, 4), connect(2, 4));
    orientation found;
    EXPECT_EQ(1, orientable(connect, 12, found));
    EXPECT_EQ(4u, found.against);
}

TEST(IsOrientable, SaysWhereNeighborsAndElementsDisagree) {
    const auto connect = cells<3>({{0, 1, 2}, {1, 0, 3}, {4, 5, 6}});
    dense2D<unsigned> neighbors;
    neighbors.copy(built(connect, 7).neighbors);
    neighbors(0, 0) = 2;
    orientation found;
    EXPECT_EQ(0, is_orientable(connect, neighbors, found));
    EXPECT_EQ(orientation::fault::mismatch, found.what);
    EXPECT_EQ(0u, found.element);
    EXPECT_EQ(0u, found.edge);
    EXPECT_EQ(2u, found.neighbor);
    EXPECT_EQ(1, is_orientable(dense2D<unsigned>(), dense2D<unsigned>(), found));
    EXPECT_EQ(1, is_orientable(dense2D<unsigned>(7, 0), dense2D<unsigned>(), found));
}

// ------------------------------------------------------------------------------------------- statuses

TEST(EdgeStatus, UnusableArgumentsLeaveOutputsAlone) {
    dense2D<unsigned> edges(2, 2, 7u);
    dense2D<unsigned> elements(2, 2, 8u);
    dense1D<unsigned, 8> starts(3, 5u);
    dense1D<unsigned, 8> loops(3, 6u);
    const auto before = snapshot(edges, elements, starts, loops);
    const auto good = cells<3>({{0, 1, 2}});
    const std::pair<dense2D<unsigned>, std::size_t> bad[] = {{dense2D<unsigned>(2, 1, 0u), 5},
                                                             {dense2D<unsigned>(6, 1, 0u), 5},
                                                             {good, 2},
                                                             {good, 0},
                                                             {cells<4>({{0, 1, none, 2}}), 5}};
    for (const auto& [connect, nodes] : bad) {
        EXPECT_EQ(-1, unique_edges(connect, nodes, edges, elements));
        EXPECT_EQ(-1, boundary_edges(connect, nodes, edges));
        EXPECT_EQ(-1, boundary_loops(connect, nodes, starts, loops));
    }
    const std::size_t many = std::size_t{1} << 32;
    EXPECT_EQ(-2, unique_edges(good, many, edges, elements));
    EXPECT_EQ(-2, boundary_edges(good, many, edges));
    EXPECT_EQ(-2, boundary_loops(good, many, starts, loops));
    EXPECT_EQ(-1, boundary_loops(cells<3>({{0, 1, 2}, {0, 3, 2}}), 4, starts, loops));
    EXPECT_EQ(-1, components(dense2D<unsigned>(5, 1, none), starts));
    EXPECT_EQ(-1, components(dense2D<unsigned>(3, 1, 1u), starts));
    orientation found;
    found.edge = 9;
    EXPECT_EQ(-1, is_orientable(dense2D<unsigned>(2, 1, 0u), dense2D<unsigned>(2, 1, none), found));
    EXPECT_EQ(-2, is_orientable(good, dense2D<unsigned>(4, 1, none), found));
    EXPECT_EQ(-2, is_orientable(good, dense2D<unsigned>(3, 2, none), found));
    EXPECT_EQ(-2, is_orientable(good, dense2D<unsigned>(3, 1, 1u), found));
    EXPECT_EQ(9u, found.edge);
    EXPECT_EQ(before, snapshot(edges, elements, starts, loops));
}

TEST(EdgeStatus, ExhaustedMemoryIsReportedAndNothingChanges) {
    const auto connect = board_without({4});
    const auto neighbors = built(connect, 16).neighbors;
    const auto each = [&](const auto& run) {
        dense2D<unsigned> e, f;
        dense1D<unsigned, 8> g(3, 5u), h(3, 6u);
        ASSERT_GE(run(e, f, g, h), 0);
        zel_test::fail_each_allocation([&](std::size_t k) {
            dense2D<unsigned> a(2, 2, 7u), b(2, 2, 8u);
            dense1D<unsigned, 8> c(3, 5u), d(3, 6u);
            if (e.empty()) a.clear();
            if (f.empty()) b.clear();
            const auto before = snapshot(a, b, c, d);
            zel_test::arm_allocator(k);
            const int status = run(a, b, c, d);
            zel_test::disarm_allocator();
            EXPECT_EQ(status == -199 ? before : snapshot(e, f, g, h), snapshot(a, b, c, d));
        });
    };
    each([&](auto& a, auto& b, auto&, auto&) { return unique_edges(connect, 16, a, b); });
    each([&](auto& a, auto&, auto&, auto&) { return boundary_edges(connect, 16, a); });
    each([&](auto&, auto&, auto& c, auto& d) { return boundary_loops(connect, 16, c, d); });
    each([&](auto&, auto&, auto& c, auto&) { return components(neighbors, c); });
    orientation found;
    each([&](auto&, auto&, auto&, auto&) { return is_orientable(connect, neighbors, found); });
}

TEST(EdgeViews, InputsMayHaveRowsAroundThem) {
    const auto plain = board_without({4});
    dense2D<unsigned> all(9, plain.cols + 2, 77u);
    dense2D<unsigned> view = all.sub_matrix(3, 1, 4, plain.cols);
    for (std::size_t j = 0; j < plain.cols; ++j)
        for (std::size_t i = 0; i < 4; ++i) view(i, j) = plain(i, j);
    EXPECT_EQ(snapshot(edges_of(plain, 16).edges, edges_of(plain, 16).elements),
              snapshot(edges_of(view, 16).edges, edges_of(view, 16).elements));
    EXPECT_EQ(values(loops_of(plain, 16).nodes), values(loops_of(view, 16).nodes));
    const auto across = built(plain, 16).neighbors;
    dense2D<unsigned> around(7, plain.cols + 1, 77u);
    dense2D<unsigned> beside = around.sub_matrix(2, 1, 4, plain.cols);
    for (std::size_t j = 0; j < plain.cols; ++j)
        for (std::size_t i = 0; i < 4; ++i) beside(i, j) = across(i, j);
    dense1D<unsigned, 8> component;
    EXPECT_EQ(1, components(beside, component));
    orientation found;
    EXPECT_EQ(1, is_orientable(view, beside, found));
}

} // namespace
