// SPDX-License-Identifier: Apache-2.0
//
// Conversions of a scanned surface: closed but for its base, 1839 nodes and 3674 triangles.
#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/orientation.h"

#include "foundation/topology.h"
#include "support/adjacency.h"
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel2d/measures.h"

#include <fstream>
#include <string>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;
using zel_test::adjacency_of;

mesh scanned_surface() {
    std::ifstream in(ZEL_TEST_DATA "/../examples/data/bunny.off");
    std::string word;
    std::size_t nodes = 0, triangles = 0, unused = 0;
    in >> word >> nodes >> triangles >> unused;
    EXPECT_EQ("OFF", word);
    mesh m{dense2D<double>(3, nodes), dense2D<unsigned>(3, triangles)};
    for (std::size_t j = 0; j < nodes; ++j)
        for (std::size_t i = 0; i < 3; ++i) in >> m.pos(i, j);
    for (std::size_t e = 0; e < triangles; ++e) {
        unsigned corners = 0;
        in >> corners;
        EXPECT_EQ(3U, corners);
        for (std::size_t i = 0; i < 3; ++i) in >> m.connect(i, e);
    }
    EXPECT_TRUE(in.good());
    return m;
}

double area_of(const mesh& m) {
    double result = 0;
    EXPECT_EQ(0, area(m.pos, m.connect, result));
    return result;
}

TEST(ScannedSurface, QuadraticAndBack) {
    const mesh surface = scanned_surface();
    mesh six{fresh_copy(surface.pos), fresh_copy(surface.connect)};
    ASSERT_EQ(0, convert_into_quadratic(six.pos, six.connect));
    EXPECT_EQ(6U, six.connect.rows);
    EXPECT_EQ(surface.pos.cols + edge_uses(surface.connect).size(), six.pos.cols);
    mesh pieces{six.pos, {}};
    ASSERT_EQ(0, split_into_linear(six.connect, pieces.connect));
    expect_valid_mesh(pieces.pos, pieces.connect);
    EXPECT_NEAR(area_of(surface), area_of(pieces), 1e-12 * area_of(surface));
    ASSERT_EQ(0, convert_into_linear(six.connect));
    EXPECT_EQ(snapshot(surface.connect), snapshot(six.connect));
}

TEST(ScannedSurface, AllQuadrilateralsAndTrianglesAgain) {
    const mesh surface = scanned_surface();
    mesh quads{fresh_copy(surface.pos), {}};
    ASSERT_EQ(0, split_into_Q4(quads.pos, surface.connect, quads.connect, dense2D<unsigned>()));
    EXPECT_EQ(3 * surface.connect.cols, quads.connect.cols);
    expect_valid_mesh(quads.pos, quads.connect);
    EXPECT_NEAR(area_of(surface), area_of(quads), 1e-12 * area_of(surface));
    mesh triangles{quads.pos, {}};
    ASSERT_EQ(static_cast<int>(quads.connect.cols),
              split_Q4_into_T3(quads.pos, quads.connect, triangles.connect));
    expect_valid_mesh(triangles.pos, triangles.connect);
    EXPECT_NEAR(area_of(surface), area_of(triangles), 1e-12 * area_of(surface));
}

TEST(ScannedSurface, HalfOfItsTrianglesTurnedOverAtRandom) {
    const mesh surface = scanned_surface();
    for (unsigned seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE(seed);
        random_numbers random(seed);
        auto connect = fresh_copy(surface.connect);
        auto neighbors = adjacency_of(connect, surface.pos.cols).neighbors;
        const auto before = snapshot(connect, neighbors);
        int turned = 0;
        for (std::size_t e = 1; e < connect.cols; ++e) {
            if (random.below(2) == 0) continue;
            turn_over(connect[e]);
            turn_over_neighbors(neighbors[e], 3);
            ++turned;
        }
        ASSERT_EQ(turned, mesh_reorient(connect, neighbors, 0, 0)); // one component
        EXPECT_EQ(before, snapshot(connect, neighbors));
        EXPECT_EQ(0, mesh_reorient(connect, neighbors, 0, 1));
        expect_valid_mesh(surface.pos, connect);
    }
}

TEST(ScannedSurface, AllQuadrilateralsWithHalfOfThemTurnedOver) {
    const mesh surface = scanned_surface();
    auto pos = fresh_copy(surface.pos);
    dense2D<unsigned> quads;
    ASSERT_EQ(0, split_into_Q4(pos, surface.connect, quads, dense2D<unsigned>()));
    auto neighbors = adjacency_of(quads, pos.cols).neighbors;
    const auto before = snapshot(quads, neighbors);
    random_numbers random(9);
    int turned = 0;
    for (std::size_t e = 1; e < quads.cols; ++e) {
        if (random.below(2) == 0) continue;
        turn_over(quads[e]);
        turn_over_neighbors(neighbors[e], 4);
        ++turned;
    }
    ASSERT_EQ(turned, mesh_reorient(quads, neighbors, 0, 1));
    // Turned twice, a quadrilateral starts where it started: node 1 and 3 never move.
    EXPECT_EQ(before, snapshot(quads, neighbors));
}

} // namespace
