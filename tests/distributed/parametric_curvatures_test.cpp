// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"

#include "zel/distributed/curvatures.h"
#include "zel/tessel2d.h"

#include <cmath>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

bool suits(const whole_mesh& mesh) {
    return mesh.pos.rows == 2 && mesh.connect.rows == 3 && mesh.connect.cols != 0;
}

// First derivatives of some surface at all nodes.
dense2D<double> derivatives(std::size_t nodes) {
    dense2D<double> D(6, nodes);
    for (std::size_t k = 0; k < 6 * nodes; ++k)
        D.data()[k] = std::sin(0.7 * static_cast<double>(k));
    return D;
}

// Those of a part; copies have NaN, which nobody looks at.
dense2D<double> derivatives_of(const partitioned_mesh& mesh, const dense2D<double>& whole) {
    dense2D<double> D(6, mesh.pos.cols, std::nan(""));
    for (std::size_t k = 0; k < mesh.pos.cols; ++k)
        if (mesh.node_homes[k].rank == rank()) std::copy_n(whole[mesh.node_numbers[k]], 6, D[k]);
    return D;
}

} // namespace

TEST(DistributedParametricCurvatures, AreThoseOfOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        if (!suits(whole)) return;
        const dense2D<double> D = derivatives(whole.pos.cols);
        dense2D<double> H, expected;
        EXPECT_EQ(0, tessel2d::parametric_curvatures(whole.pos, whole.connect, D, expected));
        for (const unsigned layers : {0U, 2U}) {
            EXPECT_EQ(0, grow_halo(mesh, layers));
            EXPECT_EQ(0, parametric_curvatures(mesh, derivatives_of(mesh, D), H));
            expect_columns(H, mesh.node_numbers, expected);
        }
    });
}

TEST(DistributedParametricCurvatures, RefusesOtherMeshesAndDerivativesOnAnyRank) {
    dense2D<double> H(1, 1, 7.0);
    partitioned_mesh none;
    EXPECT_EQ(-1, parametric_curvatures(none, dense2D<double>(), H));
    const partitioned_mesh in_space = parts_of(meshes()[1], sharings()[0]);
    EXPECT_EQ(-1, parametric_curvatures(in_space, dense2D<double>(6, in_space.pos.cols, 1.0), H));
    const partitioned_mesh mesh = parts_of(meshes()[0], sharings()[3]);
    const bool last = rank() == ranks() - 1;
    EXPECT_EQ(-2, parametric_curvatures(mesh, dense2D<double>(6, mesh.pos.cols + last, 1.0), H));
    EXPECT_EQ(-2,
              parametric_curvatures(mesh, dense2D<double>(last ? 5 : 6, mesh.pos.cols, 1.0), H));
    EXPECT_EQ(
        0, parametric_curvatures(parts_of(meshes().back(), sharings()[0]), dense2D<double>(), H));
    EXPECT_EQ(7.0, H(0, 0));
}

TEST(DistributedParametricCurvatures, MemoryThatFailsOnOneRankLeavesTheOutputOfAll) {
    const partitioned_mesh mesh = parts_of(meshes()[0], sharings()[3]);
    const dense2D<double> D = derivatives_of(mesh, derivatives(meshes()[0].pos.cols));
    dense2D<double> H;
    fail_each_allocation_on_one_rank([&] { H = dense2D<double>(1, 1, 7.0); },
                                     [&] { return parametric_curvatures(mesh, D, H); },
                                     [&] { EXPECT_EQ(7.0, H(0, 0)); });
}
