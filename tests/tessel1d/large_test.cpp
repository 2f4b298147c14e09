// SPDX-License-Identifier: Apache-2.0
// Lines of more than 2^16 edges, checked by formula: a number that is held in too few bits on the way shows
// here.
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/tessel1d.h"

#include <cmath>

namespace {

using namespace zel_test;
using namespace zel::tessel1d;

constexpr unsigned many = 65600; // beyond 2^16

TEST(LargeLine, EveryNodeOfAStraightLineAndEveryEdgeIsByFormula) {
    auto pos = points({{0, 5}, {2.0 * many, 5.0 + many}});
    dense1D<unsigned, 8> indices;
    ASSERT_EQ(0, mesh_straight(pos, 0, 1, many, indices));
    ASSERT_EQ(many + 1, pos.cols);
    ASSERT_EQ(many + 1, indices.size);
    const auto node = [](unsigned k) { return k == 0 ? 0 : k == many ? 1 : k + 1; };
    std::size_t wrong = 0;
    for (unsigned k = 0; k <= many; ++k)
        wrong += indices[k] != node(k) || !(std::abs(pos(0, node(k)) - 2.0 * k) < 1e-10) ||
                 !(std::abs(pos(1, node(k)) - 5.0 - k) < 1e-10);
    EXPECT_EQ(0U, wrong);
    dense2D<unsigned> edges;
    ASSERT_EQ(0, indices_to_connectE2(indices, edges));
    ASSERT_EQ(many, edges.cols);
    for (unsigned k = 0; k < many; ++k)
        wrong += edges(0, k) != node(k) || edges(1, k) != node(k + 1);
    EXPECT_EQ(0U, wrong);
}

TEST(LargeLine, EveryNodeHasTheMeanNormalOfItsTwoEdges) {
    // Edge e runs by 4 along x and by 0, 3 or -3 along y; the period of three does not divide 2^16.
    dense2D<double> pos(2, many + 1);
    dense2D<unsigned> edges(2, many);
    for (unsigned i = 0; i <= many; ++i) {
        pos(0, i) = 4.0 * i;
        pos(1, i) = i % 3 == 2 ? 3 : 0;
        if (i < many) edges(0, i) = i, edges(1, i) = i + 1;
    }
    const auto normal_of = [](unsigned e) {
        return e % 3 == 0   ? zel::vector_fixed<double, 2>{0, 1}
               : e % 3 == 1 ? zel::vector_fixed<double, 2>{-0.6, 0.8}
                            : zel::vector_fixed<double, 2>{0.6, 0.8};
    };
    dense2D<double> n;
    ASSERT_EQ(0, normals(pos, edges, 0, false, n));
    ASSERT_EQ(many + 1, n.cols);
    std::size_t wrong = 0;
    for (unsigned i = 0; i <= many; ++i) {
        const auto a = normal_of(i == 0 ? 0 : i - 1), b = normal_of(i == many ? many - 1 : i);
        for (unsigned k = 0; k < 2; ++k) wrong += !(std::abs(n(k, i) - (a[k] + b[k]) / 2) < 1e-15);
    }
    EXPECT_EQ(0U, wrong);
}

} // namespace
