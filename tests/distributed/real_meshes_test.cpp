// SPDX-License-Identifier: Apache-2.0
// The scanned surface and the coast of the examples: one function after the other, as on one rank.
#include "distributed/support.h"

#include "zel/distributed/adjacency.h"
#include "zel/distributed/conversion.h"
#include "zel/distributed/curvatures.h"
#include "zel/distributed/measures.h"
#include "zel/distributed/normals.h"
#include "zel/distributed/orientation.h"
#include "zel/host/adjacency.h"
#include "zel/tessel2d.h"

#include <cmath>
#include <fstream>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

whole_mesh read_off(const char* name) {
    whole_mesh mesh;
    mesh.name = name;
    std::ifstream file(std::string(ZEL_TEST_DATA) + "/../examples/data/" + name + ".off");
    std::string word;
    std::size_t nodes = 0, elements = 0, corners = 0;
    file >> word >> nodes >> elements >> corners;
    EXPECT_EQ("OFF", word);
    mesh.pos = dense2D<double>(3, nodes);
    mesh.connect = dense2D<unsigned>(3, elements);
    for (std::size_t k = 0; k < 3 * nodes; ++k) file >> mesh.pos.data()[k];
    for (std::size_t e = 0; e < elements; ++e) {
        file >> corners;
        EXPECT_EQ(3U, corners);
        for (std::size_t i = 0; i < 3; ++i) file >> mesh.connect(i, e);
    }
    EXPECT_FALSE(file.fail());
    return mesh;
}

// PT-Scotch, at random, and as the blocks came.
const std::size_t tried[] = {2, 3, 0};

void for_real_parts(const std::function<void(const whole_mesh&, partitioned_mesh&)>& body) {
    const whole_mesh real[] = {read_off("bunny"), read_off("coast")};
    for (const whole_mesh& mesh : real)
        for (const std::size_t by : tried) {
            SCOPED_TRACE(mesh.name + ", " + sharings()[by].name);
            partitioned_mesh parts = parts_of(mesh, sharings()[by]);
            body(mesh, parts);
        }
}

} // namespace

TEST(DistributedRealMeshes, AreConvertedAsOnOneRank) {
    for_real_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        whole_mesh one;
        EXPECT_TRUE(one.pos.copy(whole.pos) && one.connect.copy(whole.connect));
        EXPECT_EQ(0, convert_into_quadratic(mesh));
        EXPECT_EQ(0, tessel2d::convert_into_quadratic(one.pos, one.connect));
        expect_whole(mesh, one.pos, one.connect);
        EXPECT_EQ(0, split_into_linear(mesh));
        dense2D<unsigned> pieces;
        EXPECT_EQ(0, tessel2d::split_into_linear(one.connect, pieces));
        expect_whole(mesh, one.pos, pieces);
    });
}

TEST(DistributedRealMeshes, AreMeasuredAsOnOneRank) {
    for_real_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        dense2D<double> N, expected;
        EXPECT_EQ(0, normals(mesh, 1, true, N));
        EXPECT_EQ(0, tessel2d::normals(whole.pos, whole.connect, 1, true, expected));
        expect_columns(N, mesh.node_numbers, expected);
        double in_parts = 0, on_one_rank = 0;
        EXPECT_EQ(0, area(mesh, in_parts));
        EXPECT_EQ(0, tessel2d::area(whole.pos, whole.connect, on_one_rank));
        EXPECT_NEAR(on_one_rank, in_parts, 1e-11 * on_one_rank);
    });
}

TEST(DistributedRealMeshes, HaveTheCurvaturesOfOneRank) {
    for_real_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        double size = 0;
        EXPECT_EQ(0, tessel2d::area(whole.pos, whole.connect, size));
        const double radius = 2 * std::sqrt(size / static_cast<double>(whole.connect.cols));
        host::adjacency beside;
        EXPECT_EQ(0, host::build_adjacency(whole.connect, whole.pos.cols, beside));
        dense2D<double> found, expected;
        EXPECT_EQ(0, principal_curvatures(mesh, radius, 3.0, 100, dense2D<unsigned>(), found));
        EXPECT_EQ(0,
                  tessel2d::principal_curvatures(whole.pos, whole.connect, beside.neighbors, radius,
                                                 3.0, 100, dense2D<unsigned>(), expected));
        expect_columns(found, mesh.node_numbers, expected);
    });
}

TEST(DistributedRealMeshes, AreBroughtToOneOrientationAsOnOneRank) {
    for_real_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        // Every third element turned over.
        whole_mesh one;
        EXPECT_TRUE(one.pos.copy(whole.pos) && one.connect.copy(whole.connect));
        dense2D<unsigned> turned;
        EXPECT_TRUE(turned.copy(mesh.connect));
        for (std::size_t e = 0; e < one.connect.cols; e += 3)
            std::swap(one.connect(0, e), one.connect(2, e));
        for (std::size_t e = 0; e < turned.cols; ++e)
            if (mesh.element_numbers[e] % 3 == 0) std::swap(turned(0, e), turned(2, e));
        mesh.connect.swap(turned);
        host::adjacency beside;
        EXPECT_EQ(0, host::build_adjacency(one.connect, one.pos.cols, beside));
        const int count = tessel2d::mesh_reorient(one.connect, beside.neighbors, 7, 1);
        reorientation result;
        EXPECT_EQ(0, mesh_reorient(mesh, 7, true, result));
        EXPECT_EQ(static_cast<number>(count), result.turned);
        expect_whole(mesh, one.pos, one.connect);
    });
}
