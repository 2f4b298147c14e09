// SPDX-License-Identifier: Apache-2.0
#include "zel/host/eigen.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include "zel/tessel2d/measures.h"

namespace {

using namespace zel_test;
using zel::host::map_of;
using zel::host::view_of;

TEST(Eigen, MapsSeeAndWriteTheSameElements) {
    //! [map_of]
    dense2D<double> pos(2, 4, 1.0);
    zel::host::map_of(pos).row(0) *= 3.0; // x of all nodes, in place
    const Eigen::Vector2d centre = zel::host::map_of(pos).rowwise().mean();
    //! [map_of]
    EXPECT_EQ(3.0, pos(0, 3));
    EXPECT_EQ(3.0, centre[0]);
    EXPECT_EQ(1.0, centre[1]);
    EXPECT_EQ(pos.data(), map_of(pos).data());
}

TEST(Eigen, MapsOfViewsKeepTheirColumnsApart) {
    dense2D<double> parent(5, 4, 0.0);
    dense2D<double> view = parent.sub_matrix(1, 1, 2, 3);
    map_of(view).setConstant(7.0);
    const dense2D<double>& read = view;
    EXPECT_EQ(42.0, map_of(read).sum());
    EXPECT_EQ(42.0, map_of(parent).sum());
    EXPECT_EQ(0.0, parent(3, 2));
}

TEST(Eigen, ViewsOfMatricesBlocksAndRefsCopyNothing) {
    //! [view_of]
    Eigen::MatrixXd xyz = Eigen::MatrixXd::Zero(3, 4);
    xyz.row(0) << 0, 1, 1, 0;
    xyz.row(1) << 0, 0, 1, 1;
    Eigen::Matrix<unsigned, 3, 2> triangles;
    triangles << 0, 0, 1, 2, 2, 3;

    double total = 0;
    const Eigen::Ref<const Eigen::MatrixXd> all = xyz;
    int status = zel::tessel2d::area(zel::host::view_of(all), zel::host::view_of(triangles), total);
    auto plane = xyz.topRows(2); // columns 3 elements apart
    double in_plane = 0;
    zel::tessel2d::area(zel::host::view_of(plane), zel::host::view_of(triangles), in_plane);
    //! [view_of]
    EXPECT_EQ(0, status);
    EXPECT_EQ(1.0, total);
    EXPECT_EQ(1.0, in_plane);
    EXPECT_EQ(xyz.data(), view_of(all).data());
    EXPECT_EQ(3U, view_of(plane).ld);
    EXPECT_EQ(2U, view_of(plane).rows);
}

TEST(Eigen, WrappedElementsAreWrittenAndLeftBehindByGrowth) {
    //! [wrap]
    Eigen::MatrixXd xy = Eigen::MatrixXd::Zero(2, 3);
    auto pos = zel::host::wrap(xy);
    pos(1, 2) = 4.0;       // xy(1, 2) is 4 as well
    pos.resize(2, 4, 9.0); // pos moves to memory of its own
    pos(0, 0) = 5.0;       // xy stays
    //! [wrap]
    EXPECT_EQ(4.0, xy(1, 2));
    EXPECT_EQ(0.0, xy(0, 0));
}

TEST(Eigen, NothingAtAllIsFine) {
    Eigen::MatrixXd none;
    EXPECT_TRUE(view_of(none).empty());
    dense2D<double> empty;
    EXPECT_EQ(0, map_of(empty).size());
}

TEST(Eigen, WithoutMemoryForABlockTheViewIsEmpty) {
    Eigen::MatrixXd xy = Eigen::MatrixXd::Zero(2, 3);
    arm_allocator(1, 9);
    const auto view = view_of(xy);
    disarm_allocator();
    EXPECT_TRUE(view.empty());
}

} // namespace
