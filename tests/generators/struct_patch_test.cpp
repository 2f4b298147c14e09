// SPDX-License-Identifier: Apache-2.0
#include "generators/struct_patch.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/tessel2d/generators.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <set>

namespace {

using namespace zel_test;
using testing::ElementsAre;
using zel::tessel2d::mesh_struct_Q4;
using zel::tessel2d::mesh_struct_T3;

// ----------------------------------------------------------------- an independent picture of the grid

/// The grid drawn by walking around the loop and numbering the inside, without any formula of the
/// library: node_at[i][j].
std::vector<std::vector<unsigned>> draw_grid(const std::vector<unsigned>& loop, std::size_t m,
                                             std::size_t n, unsigned first_new) {
    std::vector<std::vector<unsigned>> node_at(m + 1, std::vector<unsigned>(n + 1, no_node));
    std::size_t i = 0, j = 0, k = 0;
    for (; i < m; ++i) node_at[i][j] = loop[k++];
    for (; j < n; ++j) node_at[i][j] = loop[k++];
    for (; i > 0; --i) node_at[i][j] = loop[k++];
    for (; j > 0; --j) node_at[i][j] = loop[k++];
    for (auto& line : node_at)
        for (unsigned& node : line)
            if (node == no_node) node = first_new++;
    return node_at;
}

using cell_list = std::vector<std::vector<unsigned>>;

cell_list expected_quads(const std::vector<std::vector<unsigned>>& g) {
    cell_list all;
    for (std::size_t i = 0; i + 1 < g.size(); ++i)
        for (std::size_t j = 0; j + 1 < g[i].size(); ++j)
            all.push_back({g[i][j], g[i + 1][j], g[i + 1][j + 1], g[i][j + 1]});
    return all;
}

cell_list expected_triangles(const std::vector<std::vector<unsigned>>& g, int pattern) {
    cell_list all;
    for (std::size_t i = 0; i + 1 < g.size(); ++i)
        for (std::size_t j = 0; j + 1 < g[i].size(); ++j) {
            const unsigned a = g[i][j], b = g[i + 1][j], c = g[i + 1][j + 1], d = g[i][j + 1];
            if (pattern == 1 || (pattern == 2 && (i + j) % 2 == 0)) {
                all.push_back({a, b, c});
                all.push_back({a, c, d});
            } else {
                all.push_back({a, b, d});
                all.push_back({b, c, d});
            }
        }
    return all;
}

/// The interpolant in long double, terms summed as they come.
std::vector<long double> coons(const dense2D<double>& pos,
                               const std::vector<std::vector<unsigned>>& g, std::size_t i,
                               std::size_t j) {
    const std::size_t m = g.size() - 1, n = g[0].size() - 1;
    const long double u = static_cast<long double>(i) / m, v = static_cast<long double>(j) / n;
    std::vector<long double> p(pos.rows);
    for (std::size_t k = 0; k < pos.rows; ++k) {
        const auto at = [&](std::size_t a, std::size_t b) {
            return static_cast<long double>(pos(k, g[a][b]));
        };
        p[k] = (1 - v) * at(i, 0) + u * at(m, j) + v * at(i, n) + (1 - u) * at(0, j) -
               ((1 - v) * (1 - u) * at(0, 0) + (1 - v) * u * at(m, 0) + v * u * at(m, n) +
                v * (1 - u) * at(0, n));
    }
    return p;
}

/// The same loop with its nodes scattered over a larger `pos`, so that numbers and places have nothing
/// to do with one another, on a bumpy outline in space or in the plane.
patch_outline scattered_loop(unsigned m, unsigned n, unsigned rows, std::uint64_t seed) {
    random_numbers random(seed);
    const auto plain = square_loop(m, n, rows);
    const auto count = static_cast<unsigned>(plain.pos.cols);
    std::vector<unsigned> place(count);
    for (unsigned k = 0; k < count; ++k) place[k] = 3 + 2 * k;
    for (unsigned k = count; k > 1; --k) std::swap(place[k - 1], place[random.below(k)]);
    patch_outline outline;
    outline.pos.resize(rows, 3 + 2 * std::size_t{count}, -1.0);
    for (unsigned k = 0; k < count; ++k)
        for (unsigned i = 0; i < rows; ++i)
            outline.pos(i, place[k]) = plain.pos(i, k) * (i + 1) + random.between(-0.05, 0.05);
    outline.boundary = plain.boundary;
    outline.boundary = fresh_copy(plain.boundary);
    for (unsigned& id : outline.boundary) id = place[id];
    return outline;
}

// --------------------------------------------------------------------------------------- normal use

TEST(MeshStructQ4, TwoByTwoPatchGetsOneInteriorNodeAndFourCells) {
    auto patch = square_loop(2, 2); // nodes 0..7 around the unit square
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 2, quads));
    EXPECT_THAT(columns(quads), ElementsAre(cell(0, 1, 8, 7), cell(7, 8, 5, 6), cell(1, 2, 3, 8),
                                            cell(8, 3, 4, 5)));
    EXPECT_EQ(9U, patch.pos.cols);
    EXPECT_EQ(point(0.5, 0.5), column(patch.pos, 8));
}

TEST(MeshStructQ4, SingleCellNeedsNoNewNode) {
    auto patch = square_loop(1, 1);
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 1, quads));
    EXPECT_EQ(4U, patch.pos.cols);
    EXPECT_THAT(columns(quads), ElementsAre(cell(0, 1, 2, 3)));
}

TEST(MeshStructQ4, OneRowOfCellsAddsNoNode) {
    for (const auto& [m, n] : {std::pair{5U, 1U}, {1U, 5U}}) {
        auto patch = square_loop(m, n);
        dense2D<unsigned> quads;
        ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, n, quads));
        EXPECT_EQ(12U, patch.pos.cols);
        EXPECT_EQ(5U, quads.cols);
        expect_valid_mesh(patch.pos, quads);
    }
}

TEST(MeshStructQ4, EveryShapeHasTheNumberingOfTheGrid) {
    for (unsigned m = 1; m <= 9; ++m)
        for (unsigned n = 1; n <= 9; ++n)
            for (const unsigned rows : {2U, 3U}) {
                auto patch = scattered_loop(m, n, rows, m * 100 + n);
                const auto old_pos = fresh_copy(patch.pos);
                const auto first_new = static_cast<unsigned>(old_pos.cols);
                const auto grid = draw_grid(values(patch.boundary), m, n, first_new);
                dense2D<unsigned> quads;
                ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, n, quads));
                ASSERT_EQ(std::size_t{first_new} + (m - 1) * (n - 1), patch.pos.cols);
                EXPECT_EQ(expected_quads(grid), columns(quads)) << m << " x " << n;
                EXPECT_EQ(snapshot(old_pos),
                          snapshot(patch.pos.sub_matrix(0, 0, rows, old_pos.cols)));
                for (unsigned i = 1; i < m; ++i)
                    for (unsigned j = 1; j < n; ++j) {
                        const auto exact = coons(patch.pos, grid, i, j);
                        for (unsigned k = 0; k < rows; ++k)
                            EXPECT_NEAR(static_cast<double>(exact[k]), patch.pos(k, grid[i][j]),
                                        2e-15);
                    }
            }
}

TEST(MeshStructQ4, LongLinesCrossTheStrips) { // more nodes on a line than are computed at a time
    for (const unsigned n : {63U, 64U, 65U, 66U, 130U, 200U}) {
        auto patch = scattered_loop(4, n, 3, n);
        const auto grid =
            draw_grid(values(patch.boundary), 4, n, static_cast<unsigned>(patch.pos.cols));
        dense2D<unsigned> quads;
        ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, n, quads));
        EXPECT_EQ(expected_quads(grid), columns(quads)) << n;
        for (unsigned i = 1; i < 4; ++i)
            for (unsigned j = 1; j < n; ++j) {
                const auto exact = coons(patch.pos, grid, i, j);
                for (unsigned k = 0; k < 3; ++k)
                    ASSERT_NEAR(static_cast<double>(exact[k]), patch.pos(k, grid[i][j]), 4e-15);
            }
    }
}

/// The sum is evaluated from left to right; with numbers this far apart any other order shows.
TEST(MeshStructQ4, TermsAreAddedInTheOrderOfTheFormula) {
    auto patch = square_loop(2, 2);
    const double x[8] = {1e16, 3.0, -1e16, 1.0, 7e15, -5.0, 1e-3, 2e15};
    for (unsigned k = 0; k < 8; ++k) patch.pos(0, k) = x[k];
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 2, quads));
    volatile double sum = 0.5 * x[1]; // each step rounded to double
    sum = sum + 0.5 * x[3];
    sum = sum + 0.5 * x[5];
    sum = sum + 0.5 * x[7];
    sum = sum + (-0.25) * x[0];
    sum = sum + (-0.25) * x[2];
    sum = sum - 0.25 * x[4];
    sum = sum + (-0.25) * x[6];
    EXPECT_EQ(sum, patch.pos(0, 8));
}

TEST(MeshStructQ4, StraightSidesGiveABilinearGrid) {
    auto patch = square_loop(8, 4);
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 4, quads));
    std::size_t node = 24;
    for (unsigned i = 1; i < 8; ++i)
        for (unsigned j = 1; j < 4; ++j, ++node)
            EXPECT_EQ(point(i / 8.0, j / 4.0), column(patch.pos, node)); // binary fractions: exact
    expect_valid_mesh(patch.pos, quads);
}

TEST(MeshStructQ4, CurvedSurfaceInSpaceNeedsOnlyItsBoundary) {
    auto patch = square_loop(6, 6, 3);
    for (std::size_t k = 0; k < patch.pos.cols; ++k)
        patch.pos(2, k) = patch.pos(0, k) + 2 * patch.pos(1, k); // a plane: the interior lies in it
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 6, quads));
    for (std::size_t k = 0; k < patch.pos.cols; ++k)
        EXPECT_NEAR(patch.pos(0, k) + 2 * patch.pos(1, k), patch.pos(2, k), 4e-16 * 3);
    expect_valid_mesh(patch.pos, quads);
}

TEST(MeshStructT3, EveryShapeAndPatternHasTheNumberingOfTheGrid) {
    for (unsigned m = 1; m <= 8; ++m)
        for (unsigned n = 1; n <= 8; ++n)
            for (const int pattern : {0, 1, 2})
                for (const std::size_t rows : {0U, 3U, 4U}) {
                    auto patch = scattered_loop(m, n, 2, m * 10 + n);
                    const auto grid = draw_grid(values(patch.boundary), m, n,
                                                static_cast<unsigned>(patch.pos.cols));
                    dense2D<unsigned> connect(rows, 0);
                    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, n, pattern, connect));
                    auto expected = expected_triangles(grid, pattern);
                    if (rows == 4)
                        for (auto& t : expected) t.push_back(no_node);
                    EXPECT_EQ(expected, columns(connect)) << m << ' ' << n << ' ' << pattern;
                }
}

TEST(MeshStructT3, SingleCellGivesTwoTriangles) {
    auto patch = square_loop(1, 1);
    dense2D<unsigned> connect;
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 0, connect));
    EXPECT_THAT(columns(connect), ElementsAre(cell(0, 1, 3), cell(1, 2, 3)));
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 1, connect));
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 2, connect));
    EXPECT_THAT(columns(connect.sub_matrix(0, 2, 3, 4)),
                ElementsAre(cell(0, 1, 2), cell(0, 2, 3), cell(0, 1, 2), cell(0, 2, 3)));
    EXPECT_EQ(4U, patch.pos.cols);
}

TEST(MeshStructT3, NodesAreThoseOfTheQuadrilaterals) {
    auto a = scattered_loop(5, 7, 3, 1);
    auto b = scattered_loop(5, 7, 3, 1);
    dense2D<unsigned> quads, triangles;
    ASSERT_EQ(0, mesh_struct_Q4(a.pos, a.boundary, 7, quads));
    ASSERT_EQ(0, mesh_struct_T3(b.pos, b.boundary, 7, 2, triangles));
    EXPECT_EQ(snapshot(a.pos), snapshot(b.pos));
    EXPECT_EQ(2 * quads.cols, triangles.cols);
    expect_valid_mesh(b.pos, triangles);
}

// ------------------------------------------------------------------------------ shapes and appending

TEST(MeshStructQ4, AppendsBehindWhatIsThere) {
    auto patch = square_loop(2, 2);
    auto quads = cells({{7, 6, 5, 4}, {1, 2, 3, no_node}});
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 2, quads));
    EXPECT_EQ(6U, quads.cols);
    EXPECT_EQ(cell(7, 6, 5, 4), column(quads, 0));
    EXPECT_EQ(cell(1, 2, 3, no_node), column(quads, 1));
    EXPECT_EQ(cell(0, 1, 8, 7), column(quads, 2));
}

TEST(MeshStructT3, InAFourRowMatrixRowThreeMarksTriangles) {
    auto patch = square_loop(1, 1);
    auto connect = cells({{0, 1, 2, 3}});
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 0, connect));
    EXPECT_THAT(columns(connect),
                ElementsAre(cell(0, 1, 2, 3), cell(0, 1, 3, no_node), cell(1, 2, 3, no_node)));
}

TEST(MeshStructT3, IntoAnEmptyMatrixThreeRowsOrTheRowsItHad) {
    auto patch = square_loop(1, 1);
    dense2D<unsigned> connect;
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 0, connect));
    EXPECT_EQ(3U, connect.rows);
    dense2D<unsigned> wide(6, 0);
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 0, wide));
    EXPECT_THAT(columns(wide), ElementsAre(cell(0, 1, 3, no_node, no_node, no_node),
                                           cell(1, 2, 3, no_node, no_node, no_node)));
    dense2D<unsigned> flat(2, 0);
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 0, flat));
    EXPECT_EQ(3U, flat.rows);
}

TEST(MeshStruct, ColumnsWithoutRowsBecomeColumnsWithoutNodes) {
    auto patch = square_loop(1, 1);
    dense2D<unsigned> quads(0, 2), triangles(0, 1);
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 1, quads));
    EXPECT_THAT(columns(quads),
                ElementsAre(cell(no_node, no_node, no_node, no_node),
                            cell(no_node, no_node, no_node, no_node), cell(0, 1, 2, 3)));
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, patch.boundary, 1, 1, triangles));
    EXPECT_THAT(columns(triangles),
                ElementsAre(cell(no_node, no_node, no_node), cell(0, 1, 2), cell(0, 2, 3)));
}

TEST(MeshStruct, ViewsWithALargerLeadingDimension) {
    for (const unsigned rows : {2U, 3U}) {
        const auto patch = scattered_loop(5, 6, rows, 3);
        const auto run = [&](dense2D<double> pos, const dense1D<unsigned, 8>& loop,
                             dense2D<unsigned> quads, dense2D<unsigned> triangles) {
            EXPECT_EQ(0, mesh_struct_Q4(pos, loop, 6, quads));
            EXPECT_EQ(0, mesh_struct_T3(pos, loop, 6, 2, triangles));
            return snapshot(pos, quads, triangles);
        };
        const auto first = cells({{0, 1, 2, 3}});
        const auto plain =
            run(fresh_copy(patch.pos), patch.boundary, fresh_copy(first), fresh_copy(first));
        auto pos = framed(patch.pos);
        auto quads = framed(first);
        auto triangles = framed(first);
        EXPECT_EQ(plain, run(pos.view, framed(patch.boundary).view, quads.view, triangles.view));
        EXPECT_TRUE(pos.surroundings_untouched(patch.pos.cols));
        EXPECT_TRUE(quads.surroundings_untouched(1));
        EXPECT_TRUE(triangles.surroundings_untouched(1));
    }
}

TEST(MeshStruct, TheLoopMayShareItsStorageWithTheElements) {
    for (const bool room : {false, true}) {
        auto patch = square_loop(3, 2);
        dense2D<unsigned> connect(4, 10, no_node);
        std::copy(patch.boundary.begin(), patch.boundary.end(), connect.begin());
        auto loop = connect.as_vector();
        loop.size = patch.boundary.size;
        connect =
            connect.sub_matrix(0, 0, 4, room ? 0 : 10); // with room the loop itself is overwritten
        const auto triangles_before = connect.cols;
        ASSERT_EQ(0, mesh_struct_T3(patch.pos, loop, 2, 1, connect));
        auto again = square_loop(3, 2);
        dense2D<unsigned> expected(4, 0);
        ASSERT_EQ(0, mesh_struct_T3(again.pos, again.boundary, 2, 1, expected));
        EXPECT_EQ(snapshot(expected),
                  snapshot(connect.sub_matrix(0, triangles_before, 4, expected.cols)));
    }
}

// ------------------------------------------------------------------------------------------ statuses

/// Arguments of one call, good unless a test spoils them.
struct arguments {
    dense2D<double> pos = square_loop(2, 2).pos;
    dense1D<unsigned, 8> boundary = square_loop(2, 2).boundary;
    unsigned n = 2;
    int pattern = 0;
    dense2D<unsigned> connect;

    int quads() { return mesh_struct_Q4(pos, boundary, n, connect); }
    int triangles() { return mesh_struct_T3(pos, boundary, n, pattern, connect); }
    contents values() const { return snapshot(pos, boundary, connect); }
};

struct fault {
    int argument; // the one that is spoilt
    const char* what;
    std::function<void(arguments&)> spoil;
    int quads;     // expected status
    int triangles; // expected status
};

const std::vector<fault>& faults() { // in the order in which they are found
    static const std::vector<fault> all = {
        {1, "pos of four rows", [](arguments& a) { a.pos = dense2D<double>(4, 8, 0.0); }, -1, -1},
        {2, "open loop", [](arguments& a) { a.boundary[0] = 3; }, -2, -2},
        {2, "unknown node", [](arguments& a) { a.boundary[3] = 8; }, -2, -2},
        {2, "no node", [](arguments& a) { a.boundary[3] = no_node; }, -2, -2},
        {3, "n beyond the loop", [](arguments& a) { a.n = 5; }, -3, -3},
        {3, "n beyond all", [](arguments& a) { a.n = 0xFFFFFFFF; }, -3, -3},
        {4, "pattern", [](arguments& a) { a.pattern = 3; }, 0, -4},
        {4, "pattern beyond eight bits", [](arguments& a) { a.pattern = 258; }, 0, -4},
        {4, "pattern beyond sixteen bits", [](arguments& a) { a.pattern = 0x10001; }, 0, -4},
        {4, "negative pattern", [](arguments& a) { a.pattern = -1; }, 0, -4},
        {5, "triangles in connect",
         [](arguments& a) {
             a.connect = cells({{0, 1, 2}});
         },
         -4, 0},
        {5, "edges in connect",
         [](arguments& a) {
             a.connect = cells({{0, 1}});
         },
         -4, -5},
        {5, "five rows in connect",
         [](arguments& a) {
             a.connect = cells({{0, 1, 2, 3, 4}});
         },
         -4, -5},
    };
    return all;
}

TEST(MeshStruct, EveryFaultHasItsStatusAndChangesNothing) {
    for (const fault& f : faults()) {
        SCOPED_TRACE(f.what);
        for (const bool quads : {true, false}) {
            arguments a;
            f.spoil(a);
            const contents before = a.values();
            const int expected = quads ? f.quads : f.triangles;
            EXPECT_EQ(expected, quads ? a.quads() : a.triangles());
            if (expected != 0) {
                EXPECT_EQ(before, a.values());
            }
        }
    }
}

TEST(MeshStruct, OfTwoFaultsTheFirstIsReturned) {
    for (std::size_t p = 0; p < faults().size(); ++p)
        for (std::size_t q = p + 1; q < faults().size(); ++q) {
            const fault& first = faults()[p];
            const fault& second = faults()[q];
            if (first.argument == second.argument) continue; // the second would undo the first
            SCOPED_TRACE(std::string(first.what) + " and " + second.what);
            for (const bool quads : {true, false}) {
                arguments a;
                second.spoil(a);
                first.spoil(a);
                const int one = quads ? first.quads : first.triangles;
                const int two = quads ? second.quads : second.triangles;
                const contents before = a.values();
                const int status = quads ? a.quads() : a.triangles();
                EXPECT_EQ(one != 0 ? one : two, status);
                if (status != 0) {
                    EXPECT_EQ(before, a.values());
                }
            }
        }
}

TEST(MeshStruct, NothingToDoIsSuccessBeforeEveryTest) {
    auto bad_pos = dense2D<double>(5, 3, 1.0);
    auto bad_connect = cells({{0, 1}});
    const auto loop = square_loop(2, 2).boundary;
    const auto before = snapshot(bad_pos, bad_connect);
    EXPECT_EQ(0, mesh_struct_Q4(bad_pos, loop, 0, bad_connect));
    EXPECT_EQ(0, mesh_struct_T3(bad_pos, loop, 0, 77, bad_connect));
    EXPECT_EQ(0, mesh_struct_Q4(bad_pos, ids({}), 2, bad_connect));
    EXPECT_EQ(0, mesh_struct_T3(bad_pos, ids({}), 2, 77, bad_connect));
    EXPECT_EQ(0, mesh_struct_Q4(bad_pos, ids({1, 2, 3, 4, 5}), 2,
                                bad_connect)); // no cell along the bottom
    EXPECT_EQ(before, snapshot(bad_pos, bad_connect));
}

TEST(MeshStruct, EmptyCoordinatesAreRefused) {
    dense2D<double> empty;
    dense2D<unsigned> connect;
    const auto loop = square_loop(2, 2).boundary;
    EXPECT_EQ(-1, mesh_struct_Q4(empty, loop, 2, connect));
    EXPECT_EQ(-1, mesh_struct_T3(empty, loop, 2, 0, connect));
    dense2D<double> two_rows(2, 0); // has the rows, but none of the nodes
    EXPECT_EQ(-2, mesh_struct_Q4(two_rows, loop, 2, connect));
}

TEST(MeshStruct, LoopOfFourEntriesIsSuccessForQuadsAndAnErrorForTriangles) {
    auto pos = square_loop(2, 2).pos;
    dense2D<unsigned> connect;
    EXPECT_EQ(0, mesh_struct_Q4(pos, ids({0, 1, 2, 0}), 1, connect));
    EXPECT_EQ(-2, mesh_struct_T3(pos, ids({0, 1, 2, 0}), 1, 0, connect));
}

TEST(MeshStruct, EvenLoopsAndOpenLoopsAreRefused) {
    auto pos = square_loop(3, 2).pos;
    dense2D<unsigned> connect;
    const auto even = ids({0, 1, 2, 3, 4, 5, 6, 7, 8, 0});
    ASSERT_EQ(10U, even.size);
    EXPECT_EQ(-3, mesh_struct_Q4(pos, even, 2, connect));
    EXPECT_EQ(-3, mesh_struct_T3(pos, even, 2, 0, connect));
    const auto open = ids({0, 1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(-2, mesh_struct_Q4(pos, open, 2, connect));
    EXPECT_EQ(-2, mesh_struct_T3(pos, open, 2, 0, connect));
}

TEST(MeshStruct, CountAlongTheBottomWrapsAroundAndIsRefused) {
    auto pos = square_loop(2, 2).pos;
    const auto loop = square_loop(2, 2).boundary; // 9 entries
    dense2D<unsigned> connect;
    for (const unsigned n : {5U, 6U, 100U, 0x80000000U, 0xFFFFFFFFU}) { // 2n > 9
        EXPECT_EQ(-3, mesh_struct_Q4(pos, loop, n, connect)) << n;
        EXPECT_EQ(-3, mesh_struct_T3(pos, loop, n, 0, connect)) << n;
    }
    const auto even = ids({0, 1, 2, 3, 4, 5, 6, 0}); // 8 entries, 2n = 8: wraps by one
    EXPECT_EQ(-3, mesh_struct_Q4(pos, even, 4, connect));
    EXPECT_EQ(-3, mesh_struct_T3(pos, even, 4, 0, connect));
}

TEST(MeshStructT3, NoCellAlongTheBottomDropsTheLastNodes) {
    auto patch = square_loop(2, 2);
    dense2D<unsigned> connect;
    const auto before = fresh_copy(patch.pos);
    const auto loop = ids({0, 1, 2, 3, 4, 5, 0}); // 2*3 + 1 entries
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, loop, 3, 0, connect));
    EXPECT_EQ(6U, patch.pos.cols); // lost n - 1
    EXPECT_EQ(snapshot(before.sub_matrix(0, 0, 2, 6)), snapshot(patch.pos));
    EXPECT_EQ(3U, connect.rows);
    EXPECT_EQ(0U, connect.cols);
    auto kept = cells({{0, 1, 2, 3}});
    ASSERT_EQ(0, mesh_struct_T3(patch.pos, ids({0, 1, 2, 1, 0}), 2, 2, kept));
    EXPECT_EQ(5U, patch.pos.cols);
    EXPECT_THAT(columns(kept), ElementsAre(cell(0, 1, 2, 3)));
}

TEST(MeshStructT3, NoCellAlongTheBottomAndTooFewNodesToDrop) {
    dense2D<double> pos = points({{0, 0}, {1, 0}});
    dense2D<unsigned> connect;
    EXPECT_EQ(-199, mesh_struct_T3(pos, ids({0, 1, 0, 1, 0, 1, 0, 1, 0}), 4, 0, connect));
    EXPECT_EQ(2U, pos.cols);
    EXPECT_TRUE(connect.empty());
}

TEST(MeshStruct, NodesBeyond32BitNumbersAreRefused) {
    const unsigned n = 70000; // (n - 1)^2 is beyond 2^32
    auto patch = square_loop(n, n);
    dense2D<unsigned> connect;
    const auto columns_before = patch.pos.cols;
    EXPECT_EQ(-199, mesh_struct_Q4(patch.pos, patch.boundary, n, connect));
    EXPECT_EQ(-199, mesh_struct_T3(patch.pos, patch.boundary, n, 1, connect));
    EXPECT_EQ(columns_before, patch.pos.cols);
    EXPECT_TRUE(connect.empty());
}

// --------------------------------------------------------------------------------- degenerate input

TEST(MeshStruct, CoincidentNodesGiveCoincidentNodes) {
    auto patch = square_loop(3, 3);
    for (double& x : patch.pos) x = 0.25;
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 3, quads));
    for (std::size_t k = 12; k < 16; ++k) {
        EXPECT_NEAR(0.25, patch.pos(0, k), 1e-16);
        EXPECT_NEAR(0.25, patch.pos(1, k), 1e-16);
    }
}

TEST(MeshStruct, NaNAndInfinityPassThroughTheFormula) {
    auto patch = square_loop(3, 3);
    patch.pos(0, 0) = zel_test::nan; // a corner: every interior node has it
    patch.pos(1, 1) = infinity;      // on the bottom at i = 1: only that line
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 3, quads));
    for (std::size_t k = 12; k < 16; ++k) EXPECT_TRUE(std::isnan(patch.pos(0, k)));
    EXPECT_EQ(infinity, patch.pos(1, 12));
    EXPECT_EQ(infinity, patch.pos(1, 13));
    EXPECT_NEAR(1.0 / 3, patch.pos(1, 14), 1e-15);
}

TEST(MeshStruct, OneNodeAllAroundTheLoop) {
    auto pos = points({{2, 3}});
    dense2D<unsigned> quads;
    ASSERT_EQ(0, mesh_struct_Q4(pos, ids({0, 0, 0, 0, 0, 0, 0, 0, 0}), 2, quads));
    EXPECT_EQ(2U, pos.cols);
    EXPECT_EQ(4U, quads.cols);
}

// So near the centre that squares underflow, the patch faces along each axis in turn.
TEST(MeshStructQ4, OntoASphereFromNearItsCentreAlongAnyAxis) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (const double sign : {-1.0, 1.0}) {
            auto patch = square_loop(2, 2, 3);
            for (std::size_t k = 0; k < patch.pos.cols; ++k) {
                const double x = 1e-200 * (2 * patch.pos(0, k) - 1);
                const double y = 1e-200 * (2 * patch.pos(1, k) - 1);
                patch.pos(axis, k) = sign * 1e-200;
                patch.pos((axis + 1) % 3, k) = x;
                patch.pos((axis + 2) % 3, k) = y;
            }
            dense2D<unsigned> quads;
            const zel::tessel2d::ball onto{{0, 0, 0}, 5};
            ASSERT_EQ(0, mesh_struct_Q4(patch.pos, patch.boundary, 2, quads, &onto));
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_EQ(i == axis ? sign * 5 : 0.0, patch.pos(i, 8)) << axis << ' ' << i;
        }
}

// ---------------------------------------------------------------------------------- exhausted memory

TEST(MeshStructQ4, ExhaustedMemoryIsReportedAndNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        auto patch = square_loop(4, 3);
        auto quads = cells({{0, 1, 2, 3}});
        const auto before = snapshot(patch.pos, quads);
        arm_allocator(k);
        const int status = mesh_struct_Q4(patch.pos, patch.boundary, 3, quads);
        if (allocation_failed()) {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(patch.pos, quads));
        } else {
            EXPECT_EQ(0, status);
        }
    });
}

TEST(MeshStructT3, ExhaustedMemoryIsReportedAndNothingChanges) {
    fail_each_allocation([](std::size_t k) {
        auto patch = square_loop(4, 3, 3);
        dense2D<unsigned> connect;
        const auto before = snapshot(patch.pos, connect);
        arm_allocator(k);
        const int status = mesh_struct_T3(patch.pos, patch.boundary, 3, 2, connect);
        if (allocation_failed()) {
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot(patch.pos, connect));
        } else {
            EXPECT_EQ(0, status);
        }
    });
}

TEST(MeshStruct, MemoryIsTheOutputAndNothingElse) {
    const auto patch = square_loop(100, 100);
    auto pos = fresh_copy(patch.pos);
    dense2D<unsigned> quads;
    const std::size_t base = live_bytes() - 400 * 16;
    const std::size_t count = allocation_count();
    reset_peak();
    ASSERT_EQ(0, mesh_struct_Q4(pos, patch.boundary, 100, quads));
    const std::size_t output = 101 * 101 * 16 + 10000 * 16;
    EXPECT_EQ(2U, allocation_count() - count);
    // While `pos` moves, its old columns live beside the new ones; `quads` comes later.
    EXPECT_LE(peak_bytes() - base, output + 64);
}

// -------------------------------------------------------------------------- what cannot be counted

TEST(MeshStruct, ColumnsWithoutRowsThatCannotBeCountedFurtherAreAMemoryStatus) {
    auto patch = square_loop(2, 2);
    dense2D<unsigned> connect;
    for (const std::size_t cols : {SIZE_MAX, SIZE_MAX - 3}) {
        ASSERT_TRUE(connect.resize(0, cols));
        const auto before = snapshot(patch.pos);
        EXPECT_EQ(-199, mesh_struct_Q4(patch.pos, patch.boundary, 2, connect));
        EXPECT_EQ(-199, mesh_struct_T3(patch.pos, patch.boundary, 2, 0, connect));
        EXPECT_EQ(before, snapshot(patch.pos));
        EXPECT_EQ(cols, connect.cols);
        EXPECT_EQ(0U, connect.rows);
    }
}

// The loop lies in the block of the elements, behind the first one.
TEST(MeshStruct, WithoutMemoryForACopyOfASharedLoopNothingChanges) {
    for (const unsigned rows : {3U, 4U}) {
        fail_each_allocation([&](std::size_t k) {
            auto patch = square_loop(2, 2);
            dense2D<unsigned> connect(rows, 5, 0U);
            dense1D<unsigned, 8> loop;
            loop.storage = connect.storage;
            loop.start = rows;
            loop.size = 9;
            std::copy_n(patch.boundary.begin(), 9, loop.begin());
            connect.cols = 1;
            const auto before = snapshot(patch.pos, connect, loop);
            arm_allocator(k);
            const int status = rows == 4 ? mesh_struct_Q4(patch.pos, loop, 2, connect)
                                         : mesh_struct_T3(patch.pos, loop, 2, 0, connect);
            if (status < 0) {
                EXPECT_TRUE(allocation_failed());
                EXPECT_EQ(-199, status);
                EXPECT_EQ(before, snapshot(patch.pos, connect, loop));
            } else {
                EXPECT_EQ(0, status);
                EXPECT_EQ(rows == 4 ? 5U : 9U, connect.cols);
            }
        });
    }
}

} // namespace
