// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"

#include "zel/distributed/adjacency.h"
#include "zel/host/adjacency.h"
#include "zel/tessel2d.h"

#include <algorithm>

using namespace zel;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;
using distributed::no_number;

// The stars that the library finds on one rank; false if it ends early.
bool stars_of(const whole_mesh& whole, dense1D<unsigned, 8>& starts,
              dense1D<unsigned, 8>& elements) {
    host::adjacency beside;
    EXPECT_EQ(0, host::build_adjacency(whole.connect, whole.pos.cols, beside));
    EXPECT_EQ(0, tessel2d::get_connected_elements(whole.connect, beside.neighbors, beside.ancestors,
                                                  starts, elements));
    return starts.size == whole.pos.cols + 1;
}

} // namespace

TEST(DistributedAdjacency, TablesAreThoseOfOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        host::adjacency one;
        EXPECT_EQ(0, host::build_adjacency(whole.connect, whole.pos.cols, one));
        for (const unsigned layers : {0U, 1U, 2U}) {
            EXPECT_EQ(0, grow_halo(mesh, layers == 0 ? 0 : 1));
            distributed::adjacency found;
            EXPECT_EQ(0, build_adjacency(mesh, found));
            EXPECT_EQ(one.shared_by_more, found.shared_by_more);
            expect_columns(found.neighbors, mesh.element_numbers, widened(one.neighbors));
            ASSERT_EQ(mesh.pos.cols, found.ancestors.size);
            for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
                const unsigned ancestor = one.ancestors[mesh.node_numbers[k]];
                EXPECT_EQ(ancestor == no_node ? no_number : ancestor, found.ancestors[k]);
            }
        }
    });
}

TEST(DistributedAdjacency, StarsAreThoseOfOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        if (whole.connect.cols == 0) return;
        dense1D<unsigned, 8> starts, elements;
        const bool all_end = stars_of(whole, starts, elements);
        dense1D<number, 8> own_starts, own_elements;
        EXPECT_EQ(all_end ? 0 : -1, get_connected_elements(mesh, own_starts, own_elements));
        if (!all_end) return;
        expect_stars(mesh, own_starts, own_elements, starts, elements);
    });
}

TEST(DistributedAdjacency, AnglesAndCentresAreThoseOfOneRank) {
    for_all_parts([](const whole_mesh& whole, partitioned_mesh& mesh) {
        EXPECT_EQ(0, grow_halo(mesh, 1));
        for (const bool normalise : {false, true}) {
            dense1D<double, 8> least, most, one_least, one_most;
            EXPECT_EQ(0, angles(mesh, normalise, least, most));
            EXPECT_EQ(0,
                      tessel2d::angles(whole.pos, whole.connect, normalise, one_least, one_most));
            ASSERT_EQ(mesh.connect.cols, least.size);
            ASSERT_EQ(mesh.connect.cols, most.size);
            for (std::size_t e = 0; e < least.size; ++e) {
                EXPECT_EQ(one_least[mesh.element_numbers[e]], least[e]);
                EXPECT_EQ(one_most[mesh.element_numbers[e]], most[e]);
            }
        }
        if (whole.connect.rows != 3) return;
        dense2D<double> centers, one;
        EXPECT_EQ(0, circumcenters(mesh, centers));
        EXPECT_EQ(0, tessel2d::circumcenters(whole.pos, whole.connect, one));
        expect_columns(centers, mesh.element_numbers, one);
    });
}

// On one rank the library has a list for the last node all the same.
TEST(DistributedAdjacency, ALastNodeThatOneCannotTurnAroundIsRefusedToo) {
    whole_mesh fan;
    fan.name = "fan with one triangle turned over";
    fan.pos = dense2D<double>(2, 4, 0.0);
    fan.connect = dense2D<unsigned>(3, 3);
    const unsigned cells[3][3] = {{3, 0, 1}, {3, 1, 2}, {3, 0, 2}};
    for (std::size_t e = 0; e < 3; ++e) std::copy_n(cells[e], 3, fan.connect[e]);
    dense1D<unsigned, 8> one_starts, one_elements;
    EXPECT_TRUE(stars_of(fan, one_starts, one_elements));
    for (const sharing& by : sharings()) {
        SCOPED_TRACE(by.name);
        const partitioned_mesh mesh = parts_of(fan, by);
        dense1D<number, 8> starts(1, 7), elements(1, 7);
        EXPECT_EQ(-1, get_connected_elements(mesh, starts, elements));
        EXPECT_EQ(1U, starts.size);
        EXPECT_EQ(1U, elements.size);
    }
}

TEST(DistributedAdjacency, RefusesMeshesThatAreNotLinear) {
    partitioned_mesh none;
    distributed::adjacency beside;
    dense1D<number, 8> starts, elements;
    dense1D<double, 8> least, most;
    dense2D<double> centers;
    EXPECT_EQ(-1, build_adjacency(none, beside));
    EXPECT_EQ(-1, get_connected_elements(none, starts, elements));
    EXPECT_EQ(-1, angles(none, false, least, most));
    EXPECT_EQ(-1, circumcenters(none, centers));
    const partitioned_mesh quads = parts_of(meshes()[2], sharings()[0]);
    EXPECT_EQ(-1, circumcenters(quads, centers));
}

TEST(DistributedAdjacency, ACornerThatIsMissingOnOneRankIsRefusedOnAll) {
    whole_mesh broken;
    ASSERT_TRUE(broken.pos.copy(meshes()[0].pos));
    ASSERT_TRUE(broken.connect.copy(meshes()[0].connect));
    broken.connect(0, broken.connect.cols - 1) = no_node;
    const partitioned_mesh mesh = parts_of(broken, sharings()[0]);
    distributed::adjacency beside;
    dense1D<number, 8> starts, elements;
    dense1D<double, 8> least, most;
    dense2D<double> centers;
    EXPECT_EQ(-1, build_adjacency(mesh, beside));
    EXPECT_EQ(-1, get_connected_elements(mesh, starts, elements));
    EXPECT_EQ(-1, angles(mesh, false, least, most));
    EXPECT_EQ(-1, circumcenters(mesh, centers));
}

TEST(DistributedAdjacency, MemoryThatFailsOnOneRankLeavesAllOutputs) {
    const partitioned_mesh mesh = parts_of(meshes()[1], sharings()[3]);
    distributed::adjacency beside;
    fail_each_allocation_on_one_rank([&] { beside.shared_by_more = 77; },
                                     [&] { return build_adjacency(mesh, beside); },
                                     [&] { EXPECT_EQ(77U, beside.shared_by_more); });
    dense1D<number, 8> starts, elements;
    fail_each_allocation_on_one_rank([&] { starts = elements = dense1D<number, 8>(1, 7); },
                                     [&] { return get_connected_elements(mesh, starts, elements); },
                                     [&] { EXPECT_EQ(7U, starts[0] & elements[0]); });
    dense1D<double, 8> least, most;
    fail_each_allocation_on_one_rank([&] { least = most = dense1D<double, 8>(1, 7.0); },
                                     [&] { return angles(mesh, true, least, most); },
                                     [&] { EXPECT_EQ(14.0, least[0] + most[0]); });
    dense2D<double> centers;
    fail_each_allocation_on_one_rank([&] { centers = dense2D<double>(1, 1, 7.0); },
                                     [&] { return circumcenters(mesh, centers); },
                                     [&] { EXPECT_EQ(7.0, centers(0, 0)); });
}
