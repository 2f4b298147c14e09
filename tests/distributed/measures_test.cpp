// SPDX-License-Identifier: Apache-2.0
#include "zel/distributed/measures.h"

#include "distributed/support.h"

#include "zel/host/volume.h"
#include "zel/tessel2d.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;
constexpr double infinity = std::numeric_limits<double>::infinity();

bool same_bits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

double magnitude(const whole_mesh& mesh, std::size_t e) {
    double result = 0;
    tessel2d::area(mesh.pos, mesh.connect.sub_matrix(0, e, mesh.connect.rows, 1), result);
    return std::abs(result);
}

whole_mesh sphere(unsigned n) {
    whole_mesh mesh;
    mesh.name = "sphere";
    mesh.pos = dense2D<double>(3, 0);
    EXPECT_EQ(0, tessel2d::mesh_sphere_Q4(mesh.pos, {0.1, -0.2, 0.3}, 1.7, n, mesh.connect));
    return mesh;
}

} // namespace

TEST(DistributedArea, HasTheSameBitsHoweverTheMeshIsSharedOut) {
    for (const whole_mesh& whole : meshes()) {
        double on_one_rank = 0, bound = 0, first = 0;
        EXPECT_EQ(0, tessel2d::area(whole.pos, whole.connect, on_one_rank));
        const auto n = static_cast<double>(whole.connect.cols);
        for (std::size_t e = 0; e < whole.connect.cols; ++e) bound += magnitude(whole, e);
        bound *= n * 0x1p-53 * 1.0001;
        for (const sharing& by : sharings()) {
            SCOPED_TRACE(whole.name + ", " + by.name);
            partitioned_mesh mesh = parts_of(whole, by);
            double got = -1;
            EXPECT_EQ(0, area(mesh, got));
            EXPECT_LE(std::abs(got - on_one_rank), bound);
            if (&by == &sharings()[0]) first = got;
            EXPECT_TRUE(same_bits(got, first));
        }
    }
}

TEST(DistributedArea, LeavesCopiesOut) {
    partitioned_mesh mesh = parts_of(meshes()[3], sharings()[2]);
    double without = 0, with = -1;
    EXPECT_EQ(0, area(mesh, without));
    EXPECT_EQ(0, grow_halo(mesh, 1));
    EXPECT_EQ(0, area(mesh, with));
    EXPECT_TRUE(same_bits(without, with));
}

// The exact sum of squares of whole sizes whose floating-point sum depends on the order.
TEST(DistributedArea, RoundsTheExactSumOnce) {
    whole_mesh whole;
    const double sizes[6] = {0x1p53, 1, 0x1p53,
                             1,      1, -0x1p54}; // areas; the last one turns clockwise
    whole.pos = dense2D<double>(2, 24);
    whole.connect = dense2D<unsigned>(4, 6);
    for (unsigned e = 0; e < 6; ++e) {
        const double w = std::abs(sizes[e]);
        const double corners[4][2] = {{0, 0}, {w, 0}, {w, 1}, {0, 1}};
        for (unsigned i = 0; i < 4; ++i) {
            std::copy_n(corners[i], 2, whole.pos[4 * e + i]);
            whole.connect(i, e) = 4 * e + (sizes[e] < 0 ? 3 - i : i);
        }
    }
    double on_one_rank = 0;
    EXPECT_EQ(0, tessel2d::area(whole.pos, whole.connect, on_one_rank));
    EXPECT_NE(3, on_one_rank);
    for (const sharing& by : sharings()) {
        double got = 0;
        EXPECT_EQ(0, area(parts_of(whole, by), got));
        EXPECT_EQ(3, got);
    }
}

TEST(DistributedArea, IsNotFiniteWhereACoordinateIsNot) {
    whole_mesh whole = meshes()[0];
    dense2D<double> pos(2, whole.pos.cols);
    std::copy(whole.pos.begin(), whole.pos.end(), pos.begin());
    pos(0, 5) = std::numeric_limits<double>::quiet_NaN();
    whole.pos = pos;
    double got = 0;
    EXPECT_EQ(0, area(parts_of(whole, sharings()[1]), got));
    EXPECT_TRUE(std::isnan(got));
}

TEST(DistributedVolume, IsThatOfOneRankToTheBit) {
    const whole_mesh whole = sphere(4);
    double want = 0;
    ASSERT_EQ(0, host::volume(whole.pos, whole.connect, want));
    for (const sharing& by : sharings()) {
        SCOPED_TRACE(by.name);
        partitioned_mesh mesh = parts_of(whole, by);
        double got = 0;
        EXPECT_EQ(0, volume(mesh, got));
        EXPECT_TRUE(same_bits(want, got));
    }
}

TEST(DistributedVolume, CountsTheEdgesOfASurfaceThatIsNotClosed) {
    for (const whole_mesh& whole : meshes()) {
        if (whole.name != "Moebius band" && whole.name != "book") continue;
        double untouched = 5;
        const int want = host::volume(whole.pos, whole.connect, untouched);
        EXPECT_LT(0, want);
        for (const sharing& by : sharings()) {
            SCOPED_TRACE(whole.name + ", " + by.name);
            partitioned_mesh mesh = parts_of(whole, by);
            EXPECT_EQ(want, volume(mesh, untouched));
            EXPECT_EQ(5, untouched);
        }
    }
}

TEST(DistributedVolume, IsNotANumberWhereACoordinateIsNot) {
    whole_mesh whole = sphere(2);
    whole.pos(1, 3) = infinity;
    double got = 0;
    EXPECT_EQ(0, volume(parts_of(whole, sharings()[2]), got));
    EXPECT_TRUE(std::isnan(got));
}

TEST(DistributedVolume, NoElementsEncloseNothingWhateverTheNodes) {
    for (const std::size_t dimension : {2U, 3U})
        for (const sharing& by : sharings()) {
            SCOPED_TRACE(by.name);
            const whole_mesh none{"no elements", dense2D<double>(dimension, 5, 1.0),
                                  dense2D<unsigned>(3, 0)};
            double got = 5;
            EXPECT_EQ(0, volume(parts_of(none, by), got));
            EXPECT_EQ(0, got);
        }
}

TEST(DistributedSums, CountEachNodeAndElementOnce) {
    const whole_mesh& whole = meshes()[4];
    for (const sharing& by : sharings()) {
        partitioned_mesh mesh = parts_of(whole, by);
        EXPECT_EQ(0, grow_halo(mesh, 1));
        dense1D<double, 8> at_nodes(mesh.pos.cols), at_elements(mesh.connect.cols);
        for (std::size_t k = 0; k < at_nodes.size; ++k)
            at_nodes[k] = 0x1p60 + static_cast<double>(mesh.node_numbers[k] % 2 ? 0x1p8 : -0x1p9);
        for (std::size_t e = 0; e < at_elements.size; ++e)
            at_elements[e] = static_cast<double>(mesh.element_numbers[e]) + 0.5;
        double nodes = 0, elements = 0;
        EXPECT_EQ(0, sum_over_nodes(mesh, at_nodes, nodes));
        EXPECT_EQ(0, sum_over_elements(mesh, at_elements, elements));
        const auto n = static_cast<std::int64_t>(whole.pos.cols);
        const auto e = static_cast<double>(whole.connect.cols);
        // In units of 2^8: as whole numbers, and rounded once by the conversion.
        const std::int64_t units = n * (std::int64_t{1} << 52) + n / 2 - 2 * (n - n / 2);
        EXPECT_EQ(0x1p8 * static_cast<double>(units), nodes);
        EXPECT_EQ(e * e / 2, elements);
    }
}

TEST(DistributedSums, KeepInfinities) {
    partitioned_mesh mesh = parts_of(meshes()[0], sharings()[1]);
    dense1D<double, 8> values(mesh.connect.cols, 1.0);
    double sum = 0;
    if (rank() == ranks() - 1) values[0] = -infinity;
    EXPECT_EQ(0, sum_over_elements(mesh, values, sum));
    EXPECT_EQ(-infinity, sum);
    if (rank() == 0) values[1] = infinity;
    EXPECT_EQ(0, sum_over_elements(mesh, values, sum));
    EXPECT_TRUE(std::isnan(sum));
    std::fill(values.begin(), values.end(), 1e308);
    EXPECT_EQ(0, sum_over_elements(mesh, values, sum));
    EXPECT_EQ(infinity, sum);
}

TEST(DistributedMeasures, RefuseWhatTheyCannotMeasure) {
    partitioned_mesh none;
    double result = 5;
    const dense1D<double, 8> values;
    EXPECT_EQ(-1, area(none, result));
    EXPECT_EQ(-1, volume(none, result));
    EXPECT_EQ(-1, sum_over_elements(none, values, result));
    EXPECT_EQ(-1, sum_over_nodes(none, values, result));

    partitioned_mesh mesh = parts_of(meshes()[0], sharings()[1]);
    EXPECT_EQ(-1, volume(mesh, result)); // in the plane
    dense1D<double, 8> at_nodes(mesh.pos.cols, 1.0), at_elements(mesh.connect.cols, 1.0);
    if (rank() == ranks() - 1) at_nodes.push_back(1.0), at_elements.push_back(1.0);
    EXPECT_EQ(-2, sum_over_nodes(mesh, at_nodes, result));
    EXPECT_EQ(-2, sum_over_elements(mesh, at_elements, result));

    whole_mesh holed = sphere(2);
    holed.connect(1, holed.connect.cols - 1) = no_node;
    mesh = parts_of(holed, sharings()[1]);
    EXPECT_EQ(-1, area(mesh, result));
    EXPECT_EQ(-1, volume(mesh, result));
    EXPECT_EQ(5, result);
}

TEST(DistributedVolume, MemoryThatFailsOnOneRankIsToldToAll) {
    const whole_mesh whole = sphere(3);
    double want = 0;
    ASSERT_EQ(0, host::volume(whole.pos, whole.connect, want));
    const partitioned_mesh mesh = parts_of(whole, sharings()[2]);
    double got = 0;
    fail_each_allocation_on_one_rank([&] { got = 5; }, [&] { return volume(mesh, got); },
                                     [&] { EXPECT_EQ(5, got); }, [&] { EXPECT_EQ(want, got); });
}
