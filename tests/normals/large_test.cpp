// SPDX-License-Identifier: Apache-2.0
// Normals and offsets of a folded strip of more than 2^16 cells, checked by formula: a number that is held in
// too few bits on the way shows here.
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel2d/normals.h"

#include <cmath>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;

constexpr unsigned cells_of_strip = 65600;

struct direction {
    double x, z;
};
/// Cell e is 4 long along x and rises by 0, 3 or -3; the period of three does not divide 2^16.
double rise(unsigned e) {
    return e % 3 == 0 ? 0 : e % 3 == 1 ? 3 : -3;
}
direction cell_normal(unsigned e) {
    return e % 3 == 0 ? direction{0, 1} : direction{-rise(e) / 5, 0.8};
}
/// The unit normal of the nodes between cells i - 1 and i, which count alike.
direction node_normal(unsigned i) {
    if (i == 0) return cell_normal(0);
    if (i == cells_of_strip) return cell_normal(i - 1);
    const direction a = cell_normal(i - 1), b = cell_normal(i);
    const double length = std::hypot(a.x + b.x, a.z + b.z);
    return {(a.x + b.x) / length, (a.z + b.z) / length};
}

class LargeFold : public testing::Test {
protected:
    const unsigned m = cells_of_strip;
    mesh strip = grid_Q4(m, 1, 3);

    LargeFold() {
        for (unsigned i = 0; i <= m; ++i)
            for (unsigned node : {i, m + 1 + i}) {
                strip.pos(0, node) = 4.0 * i;
                strip.pos(2, node) = i % 3 == 2 ? 3 : 0; // the sum of the rises
            }
    }
    /// How many nodes or cells have not the vector `expected(i)` plus `base`, to rounding.
    template <class Expected>
    static std::size_t wrong(const dense2D<double>& vectors, unsigned first, unsigned count,
                             Expected&& expected) {
        std::size_t sum = 0;
        for (unsigned i = 0; i < count; ++i) {
            const direction n = expected(i);
            const double* const v = vectors[first + i];
            sum += !(std::abs(v[0] - n.x) < 1e-10) || !(std::abs(v[2] - n.z) < 1e-10);
        }
        return sum;
    }
    static direction moved(unsigned i, double d) {
        const direction n = node_normal(i);
        return {4.0 * i + d * n.x, (i % 3 == 2 ? 3 : 0) + d * n.z};
    }
};

TEST_F(LargeFold, EveryCellHasItsNormal) {
    dense2D<double> n;
    ASSERT_EQ(0, normals(strip.pos, strip.connect, true, n));
    ASSERT_EQ(m, n.cols);
    EXPECT_EQ(0U, wrong(n, 0, m, cell_normal));
}

TEST_F(LargeFold, EveryNodeHasTheMeanOfItsTwoCells) {
    dense2D<double> n;
    ASSERT_EQ(0, normals(strip.pos, strip.connect, 0, true, n));
    ASSERT_EQ(strip.pos.cols, n.cols);
    EXPECT_EQ(0U, wrong(n, 0, m + 1, node_normal));
    EXPECT_EQ(0U, wrong(n, m + 1, m + 1, node_normal));
}

TEST_F(LargeFold, EveryNodeMovesAlongItsVector) {
    dense2D<double> n;
    ASSERT_EQ(0, normals(strip.pos, strip.connect, 0, true, n));
    ASSERT_EQ(0, offset(strip.pos, strip.connect, n, 0.5));
    EXPECT_EQ(0U, wrong(strip.pos, 0, m + 1, [](unsigned i) { return moved(i, 0.5); }));
    EXPECT_EQ(0U, wrong(strip.pos, m + 1, m + 1, [](unsigned i) { return moved(i, 0.5); }));
}

/// The place of a node among those of the copy, which has them in the order in which cells name them.
unsigned copied(unsigned m, unsigned node) {
    const unsigned i = node <= m ? node : node - m - 1;
    const bool top = node > m;
    if (i < 2) return top ? 3 - i : i;
    return 2 * i + (top ? 1 : 0);
}

TEST_F(LargeFold, ACopyHasTheNumbersAndPlacesOfEveryNode) {
    dense2D<double> n;
    dense2D<unsigned> copy;
    const auto known = static_cast<unsigned>(strip.pos.cols);
    ASSERT_EQ(0, normals(strip.pos, strip.connect, 0, true, n));
    ASSERT_EQ(0, copy_with_offset(strip.pos, strip.connect, n, 2.0, copy));
    ASSERT_EQ(2 * known, strip.pos.cols);
    ASSERT_EQ(m, copy.cols);
    std::size_t count = 0;
    for (unsigned e = 0; e < m; ++e)
        for (unsigned k = 0; k < 4; ++k)
            count += copy(k, e) != known + copied(m, strip.connect(k, e));
    EXPECT_EQ(0U, count);
    for (unsigned node = 0; node < known; ++node) {
        const direction p = moved(node <= m ? node : node - m - 1, 2.0);
        const double* const v = strip.pos[known + copied(m, node)];
        count += !(std::abs(v[0] - p.x) < 1e-10) || !(std::abs(v[2] - p.z) < 1e-10) ||
                 v[1] != (node <= m ? 0.0 : 1.0);
    }
    EXPECT_EQ(0U, count);
}

} // namespace
