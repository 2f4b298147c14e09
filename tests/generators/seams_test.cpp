// SPDX-License-Identifier: Apache-2.0
#include "generators/seams.h"

#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel.h"
#include "zel/tessel2d/disks.h"
#include "zel/tessel2d/spheres.h"

#include <cmath>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;
using zel::vector_fixed;
using zel::tessel::copy_mesh;

constexpr double quarter_turn = 1.5707963267948966;
constexpr double half_turn = 3.141592653589793;

/// A mesh and the edge lists that come with it.
struct assembly {
    dense2D<double> pos;
    dense2D<unsigned> connect, first, second;

    void expect_equal(const assembly& other) const {
        EXPECT_EQ(zel_test::columns(other.pos), zel_test::columns(pos));
        EXPECT_EQ(zel_test::columns(other.connect), zel_test::columns(connect));
        EXPECT_EQ(zel_test::columns(other.first), zel_test::columns(first));
        EXPECT_EQ(zel_test::columns(other.second), zel_test::columns(second));
    }
};

/// The disk, by copies of the quarter and a merge of all nodes. `given` holds what is there before.
assembly disk_by_services(vector_fixed<double, 2> center, double radius, unsigned n, int pattern,
                          assembly given = {}) {
    dense2D<unsigned> quarter, edges;
    const auto c = static_cast<unsigned>(given.pos.cols);
    EXPECT_EQ(0, pattern < 0
                     ? mesh_disk_UR_Q4(given.pos, center, radius, n, quarter, edges)
                     : mesh_disk_UR_T3(given.pos, center, radius, n, pattern, quarter, edges));
    append_columns(quarter, given.connect);
    copy_mesh(given.pos, given.connect, {0, 0}, center, quarter_turn, 3, quarter);
    edges.resize(2, 2 * std::size_t{n});
    append_columns(edges, given.first);
    copy_mesh(given.pos, given.first, {0, 0}, center, quarter_turn, 3, edges);
    zel::tessel::merge(given.pos, given.connect, given.first, radius * 1e-12, 0);
    zel::tessel::simplify(given.pos, given.connect, given.first, c);
    return given;
}

assembly sphere_by_services(vector_fixed<double, 3> center, double radius, unsigned n, int pattern,
                            bool circles) {
    assembly s;
    dense2D<unsigned> octant, hemisphere, edges;
    EXPECT_EQ(0, pattern < 0 ? mesh_sphere_UR_Q4(s.pos, center, radius, n, octant, edges)
                             : mesh_sphere_UR_T3(s.pos, center, radius, n, pattern, octant, edges));
    append_columns(octant, hemisphere);
    copy_mesh(s.pos, hemisphere, {0, 0, 0}, center, {0, 0, quarter_turn}, 3, octant);
    append_columns(hemisphere, s.connect);
    copy_mesh(s.pos, s.connect, {0, 0, 0}, center, {half_turn, 0, 0}, 1, hemisphere);
    if (circles) {
        const auto around_z = edges.sub_matrix(0, 0, 2, 2 * std::size_t{n});
        const auto around_y = edges.sub_matrix(0, 4 * std::size_t{n}, 2, 2 * std::size_t{n});
        append_columns(around_z, s.first);
        copy_mesh(s.pos, s.first, {0, 0, 0}, center, {0, 0, quarter_turn}, 3, around_z);
        append_columns(around_y, s.second);
        copy_mesh(s.pos, s.second, {0, 0, 0}, center, {0, quarter_turn, 0}, 3, around_y);
    }
    dense2D<unsigned> all[3] = {s.connect, s.first, s.second};
    zel::tessel::merge(s.pos, all, all + 3, radius * 1e-12, 0);
    zel::tessel::simplify(s.pos, all, all + 3, 0);
    return s;
}

struct round_shape {
    unsigned n;
    double radius, at;
};
/// Some of them too far from the origin, too small or too odd for the seams alone.
std::vector<round_shape> round_shapes() {
    std::vector<round_shape> shapes;
    for (const unsigned n : {1U, 2U, 3U, 4U, 7U, 16U})
        for (const double radius : {1.0, 3.7, 1e-9, 1e9, 1e-200, -1.0, 0.0})
            for (const double at : {0.0, 0.3, 1e3, 1e6, 1e9, 1e12, 1e16})
                shapes.push_back({n, radius, at});
    return shapes;
}

TEST(Seams, DisksEqualAMergeOfAllNodes) {
    for (const auto& [n, radius, at] : round_shapes()) {
        SCOPED_TRACE(testing::Message() << n << " cells, radius " << radius << ", at " << at);
        const vector_fixed<double, 2> center{at, -0.7 * at};
        assembly quads, triangles;
        ASSERT_EQ(0, mesh_disk_Q4(quads.pos, center, radius, n, quads.connect, quads.first));
        quads.expect_equal(disk_by_services(center, radius, n, -1));
        ASSERT_EQ(0, mesh_disk_T3(triangles.pos, center, radius, n, 2, triangles.connect,
                                  triangles.first));
        triangles.expect_equal(disk_by_services(center, radius, n, 2));
    }
}

TEST(Seams, SpheresEqualAMergeOfAllNodes) {
    for (const auto& [n, radius, at] : round_shapes()) {
        SCOPED_TRACE(testing::Message() << n << " cells, radius " << radius << ", at " << at);
        const vector_fixed<double, 3> center{at, -0.7 * at, 0.1 * at};
        assembly plain, quads, triangles;
        ASSERT_EQ(0, mesh_sphere_Q4(plain.pos, center, radius, n, plain.connect));
        plain.expect_equal(sphere_by_services(center, radius, n, -1, false));
        ASSERT_EQ(0, mesh_sphere_Q4(quads.pos, center, radius, n, quads.connect, quads.first,
                                    quads.second));
        quads.expect_equal(sphere_by_services(center, radius, n, -1, true));
        ASSERT_EQ(0, mesh_sphere_T3(triangles.pos, center, radius, n, 1, triangles.connect,
                                    triangles.first, triangles.second));
        triangles.expect_equal(sphere_by_services(center, radius, n, 1, true));
    }
}

TEST(Seams, ElementsAndEdgesThatWereThereAreRenumberedAsAMergeOfAllNodesDoes) {
    for (unsigned n = 1; n <= 6; ++n) {
        assembly present;
        const unsigned nodes = 4 * (3 * n * (n + 1) + 1);
        present.connect = dense2D<unsigned>(4, 3);
        present.first = dense2D<unsigned>(2, 4);
        random_numbers random(n);
        for (unsigned& id : present.connect) id = random.below(nodes + 9 * n);
        for (unsigned& id : present.first) id = random.below(nodes + 9 * n);
        present.connect(3, 1) = no_node;
        present.first(1, 2) = 4000000000U;
        assembly d = present;
        d.connect = dense2D<unsigned>();
        d.connect.copy(present.connect);
        d.first = dense2D<unsigned>();
        d.first.copy(present.first);
        ASSERT_EQ(0, mesh_disk_Q4(d.pos, {2, 1}, 3, n, d.connect, d.first));
        d.expect_equal(disk_by_services({2, 1}, 3, n, -1, present));
    }
}

TEST(Seams, OnlyRoundRadiiNearEnoughGoTheShortWay) {
    EXPECT_TRUE(nodes_stay_apart(0, 1, 1));
    EXPECT_TRUE(nodes_stay_apart(1e3, 1, 65536));
    EXPECT_TRUE(nodes_stay_apart(1e-30, 1e-30, 100));
    EXPECT_FALSE(nodes_stay_apart(1e12, 1, 1));
    EXPECT_FALSE(nodes_stay_apart(1e7, 1, 65536));
    EXPECT_FALSE(nodes_stay_apart(0, 0, 1));
    EXPECT_FALSE(nodes_stay_apart(0, -1, 1));
    EXPECT_FALSE(nodes_stay_apart(0, 1e-300, 1));
    EXPECT_FALSE(nodes_stay_apart(0, 1e300, 1));
    EXPECT_FALSE(nodes_stay_apart(zel_test::nan, 1, 1));
    EXPECT_FALSE(nodes_stay_apart(0, zel_test::nan, 1));
    EXPECT_FALSE(nodes_stay_apart(infinity, 1, 1));
    EXPECT_FALSE(nodes_stay_apart(0, infinity, 1));
}

/// The least distance between two nodes, and from a node inside to a side, in units of radius/n.
template <int Dim>
double least_distance(const dense2D<double>& pos) {
    double least = infinity;
    for (std::size_t a = 0; a < pos.cols; ++a)
        for (std::size_t b = 0; b < a; ++b) {
            double sum = 0;
            for (std::size_t i = 0; i < Dim; ++i) sum += std::pow(pos(i, a) - pos(i, b), 2);
            least = std::min(least, std::sqrt(sum));
        }
    return least;
}

TEST(Seams, NodesOfQuartersAndOctantsStayApart) {
    for (const unsigned n : {1U, 2U, 3U, 5U, 9U, 17U, 30U}) {
        assembly disk, sphere;
        ASSERT_EQ(0, mesh_disk_UR_Q4(disk.pos, {0, 0}, 1, n, disk.connect, disk.first));
        ASSERT_EQ(0, mesh_sphere_UR_Q4(sphere.pos, {0, 0, 0}, 1, n, sphere.connect, sphere.first));
        EXPECT_GT(least_distance<2>(disk.pos) * n, 0.41);
        EXPECT_GT(least_distance<3>(sphere.pos) * n, 0.41);
        std::vector<bool> on_disk(disk.pos.cols), on_sphere(sphere.pos.cols);
        for (const unsigned id : disk.first) on_disk[id] = true;
        for (const unsigned id : sphere.first) on_sphere[id] = true;
        for (std::size_t k = 0; k < disk.pos.cols; ++k) {
            const double x = disk.pos(0, k);
            const double y = disk.pos(1, k);
            if (!on_disk[k]) {
                EXPECT_GT(std::min({x, y, 1 - std::hypot(x, y)}) * n, 0.41) << k;
            }
        }
        for (std::size_t k = 0; k < sphere.pos.cols; ++k) {
            const double* const p = sphere.pos[k];
            if (!on_sphere[k]) {
                EXPECT_GT(std::min({p[0], p[1], p[2]}) * n, 0.41) << k;
            }
        }
    }
}

} // namespace
