// SPDX-License-Identifier: Apache-2.0
#include "zel/host/volume.h"

#include "support/checks.h"
#include "support/failing_alloc.h"

#include <cmath>
#include <limits>

namespace {

using zel::dense2D;
using zel::host::volume;

constexpr unsigned none = 0xFFFFFFFFu;

/// A box with a corner at (x, x, x), in quadrilaterals; node 4*k + 2*j + i lies at (i, j, k).
struct box {
    dense2D<double> pos{3, 8};
    dense2D<unsigned> connect;

    explicit box(double x, double width = 1, double depth = 1, double height = 1) {
        for (unsigned n = 0; n < 8; ++n) {
            pos(0, n) = x + (n & 1 ? width : 0);
            pos(1, n) = x + (n & 2 ? depth : 0);
            pos(2, n) = x + (n & 4 ? height : 0);
        }
        const unsigned sides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                      {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        for (const auto& side : sides) push_back_column4(side, connect);
    }
};

dense2D<unsigned> tetrahedron() {
    dense2D<unsigned> connect;
    const unsigned sides[4][3] = {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}};
    for (const auto& side : sides) push_back_column3(side, connect);
    return connect;
}

/// (0, 0, 0) and the three axes.
dense2D<double> axes(double x, double y, double z) {
    dense2D<double> pos(3, 4, 0.0);
    pos(0, 1) = x;
    pos(1, 2) = y;
    pos(2, 3) = z;
    return pos;
}

double measured(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    double v = -7;
    EXPECT_EQ(0, volume(pos, connect, v));
    return v;
}

TEST(Volume, OfABoxWhereverItLies) {
    EXPECT_EQ(1, measured(box(0).pos, box(0).connect));
    EXPECT_EQ(1, measured(box(-1e15).pos, box(0).connect));
    EXPECT_EQ(24, measured(box(3, 2, 3, 4).pos, box(0).connect));
}

TEST(Volume, IsNegativeInsideOut) {
    box b(5);
    for (std::size_t e = 0; e < b.connect.cols; ++e) std::swap(b.connect(0, e), b.connect(2, e));
    EXPECT_EQ(-1, measured(b.pos, b.connect));
}

TEST(Volume, IsTheNearestDouble) {
    EXPECT_EQ(1.0 / 6, measured(axes(1, 1, 1), tetrahedron()));
    EXPECT_EQ(5.0 / 6, measured(axes(5, 1, 1), tetrahedron()));
    EXPECT_EQ(0x1.fffffffffffffp+1023 / 6,
              measured(axes(0x1.fffffffffffffp+1023, 1, 1), tetrahedron()));
    EXPECT_EQ(std::ldexp(1.0, -1073), measured(axes(0x1p-1000, 0x1.8p-73, 4), tetrahedron()));
    EXPECT_EQ(0, measured(axes(0x1p-1000, 0x1p-100, 1), tetrahedron()));
    EXPECT_EQ(std::numeric_limits<double>::infinity(),
              measured(axes(1e300, 1e300, 1), tetrahedron()));
    // The body is thinner than the last bit of its coordinates' products.
    const box thin(0x1p30, 1, 1, 0x1p-22);
    EXPECT_EQ(0x1p-22, measured(thin.pos, thin.connect));
}

TEST(Volume, AQuadrilateralCountsAsItsBilinearSurface) {
    box b(0);
    b.pos(2, 7) = 2; // lifts the top by i*j, whose mean is 1/4
    EXPECT_EQ(1.25, measured(b.pos, b.connect));
}

TEST(Volume, MixedElementsAndNoElements) {
    box b(2);
    dense2D<unsigned> connect(4, 5);
    for (std::size_t e = 0; e < 5; ++e) std::copy_n(b.connect[e], 4, connect[e]);
    const unsigned halves[2][4] = {{1, 3, 7, none}, {1, 7, 5, none}};
    for (const auto& half : halves) push_back_column4(half, connect);
    EXPECT_EQ(1, measured(b.pos, connect));
    EXPECT_EQ(0, measured(b.pos, dense2D<unsigned>()));
}

TEST(Volume, OpenSurfacesAreReported) {
    box b(0);
    double v = -7;
    dense2D<unsigned> open(4, 5);
    for (std::size_t e = 0; e < 5; ++e) std::copy_n(b.connect[e], 4, open[e]);
    EXPECT_EQ(4, volume(b.pos, open, v));
    std::swap(b.connect(0, 0), b.connect(2, 0)); // one side turned over
    EXPECT_EQ(4, volume(b.pos, b.connect, v));
    dense2D<unsigned> twice = tetrahedron();
    for (std::size_t e = 0; e < 4; ++e) push_back_column3(tetrahedron()[e], twice);
    EXPECT_EQ(6, volume(axes(1, 1, 1), twice, v));
    EXPECT_EQ(-7, v);
}

TEST(Volume, NonFiniteInputGivesNaN) {
    for (const double x :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_TRUE(std::isnan(measured(axes(x, 1, 1), tetrahedron())));
}

TEST(Volume, UnusableArgumentsAndExhaustedMemoryChangeNothing) {
    double v = -7;
    EXPECT_EQ(-1, volume(dense2D<double>(2, 4, 0.0), tetrahedron(), v));
    EXPECT_EQ(-2, volume(dense2D<double>(3, 3, 0.0), tetrahedron(), v));
    EXPECT_EQ(-2, volume(axes(1, 1, 1), dense2D<unsigned>(2, 1, 0u), v));
    EXPECT_EQ(-7, v);
    const box b(0);
    zel_test::fail_each_allocation([&](std::size_t k) {
        double w = -7;
        zel_test::arm_allocator(k);
        const int status = volume(b.pos, b.connect, w);
        zel_test::disarm_allocator();
        EXPECT_EQ(status == -199 ? -7 : 1, w);
    });
}

TEST(Volume, NoElementsEncloseNothingWhateverTheNodes) {
    for (const dense2D<unsigned>& nothing : {dense2D<unsigned>(), dense2D<unsigned>(3, 0)})
        for (const dense2D<double>& pos :
             {dense2D<double>(), dense2D<double>(2, 4, 0.0), axes(1, 1, 1)}) {
            double v = -7;
            EXPECT_EQ(0, volume(pos, nothing, v));
            EXPECT_EQ(0, v);
        }
}

TEST(Volume, ViewsWithALargerLeadingDimension) {
    const box b(1);
    dense2D<double> wide(5, 10, 9.0);
    dense2D<double> pos = wide.sub_matrix(1, 1, 3, 8);
    for (std::size_t j = 0; j < 8; ++j) std::copy_n(b.pos[j], 3, pos[j]);
    dense2D<unsigned> tall(6, 8, 9u);
    dense2D<unsigned> connect = tall.sub_matrix(1, 1, 4, 6);
    for (std::size_t j = 0; j < 6; ++j) std::copy_n(b.connect[j], 4, connect[j]);
    EXPECT_EQ(1, measured(pos, connect));
}

} // namespace
