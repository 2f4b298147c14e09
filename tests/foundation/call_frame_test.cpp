// SPDX-License-Identifier: Apache-2.0
// Tests of the version, the nodes of each kind, counts and bounds of nodes, and inputs that share storage with outputs.
#include "foundation/call_frame.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"
#include "zel/element_type.h"
#include "zel/tessel2d/version.h"

#include <cstring>

namespace {

using namespace zel_test;
using zel::element_type;
using zel::tessel2d::node_bound;
using zel::tessel2d::node_total;
using zel::tessel2d::separate;

TEST(Version, IsTheSameTextOnEveryCall) {
    EXPECT_STREQ("5.5.0.0", zel::tessel2d::version());
    EXPECT_EQ(zel::tessel2d::version(), zel::tessel2d::version());
}

TEST(ElementNodeCount, HasTheCountOfEveryKind) {
    const std::size_t nodes[] = {0,  1, 2,  3, 4,  4,  9, 3,  6,  4, 8,  9, 8,
                                 27, 4, 10, 5, 13, 14, 6, 15, 18, 8, 20, 27};
    ASSERT_EQ(25U, std::size(nodes));
    for (int kind = zel::ELEMENT_NONE; kind <= zel::ELEMENT_H27; ++kind)
        EXPECT_EQ(nodes[kind], zel::element_node_count(static_cast<element_type>(kind))) << kind;
    EXPECT_EQ(27U, zel::element_node_count(zel::ELEMENT_H27));
    EXPECT_EQ(24, zel::ELEMENT_H27);
}

// ------------------------------------------------------------------------------------------- counts

TEST(NodeTotal, HoldsUpToTheLastNumberButOne) {
    std::size_t total = 0;
    EXPECT_TRUE(node_total(0xFFFFFFF0U, 0xF, total));
    EXPECT_EQ(0xFFFFFFFFU, total);
    EXPECT_FALSE(node_total(0xFFFFFFF0U, 0x10, total));
    EXPECT_FALSE(node_total(1, ~std::size_t{0}, total));
    EXPECT_TRUE(node_total(std::size_t{1} << 33, 0, total)); // nothing new, nothing to refuse
}

TEST(NodeBound, IsTheNumberOfNodesAsFarAs32BitsGo) {
    dense2D<double> pos;
    EXPECT_EQ(0U, node_bound(pos));
    pos.cols = 17;
    EXPECT_EQ(17U, node_bound(pos));
    pos.cols = std::size_t{1} << 40;
    EXPECT_EQ(0xFFFFFFFFU, node_bound(pos));
    pos.cols = 0;
}

// ------------------------------------------------------------------------------------ shared storage

TEST(Separate, CopiesOnlyWhatSharesTheOutputsBlock) {
    const auto out = cells({{0, 1, 2}});
    auto other = cells({{3, 4, 5}});
    auto alone = other;
    ASSERT_TRUE(separate(alone, out));
    EXPECT_EQ(other.storage.get(), alone.storage.get());
    auto part = out.sub_matrix(1, 0, 2, 1);
    ASSERT_TRUE(separate(part, out));
    EXPECT_NE(out.storage.get(), part.storage.get());
    EXPECT_EQ(cell(1, 2), column(part, 0));
    auto run = out.as_vector();
    run.start = 1;
    run.size = 2;
    ASSERT_TRUE(separate(run, out));
    EXPECT_EQ((std::vector<unsigned>{1, 2}), values(run));
    auto again = out.sub_matrix(0, 0, 1, 1);
    fail_for_good(true);
    arm_allocator(1);
    EXPECT_FALSE(separate(again, out));
    fail_for_good(false);
    disarm_allocator();
    EXPECT_EQ(0U, again(0, 0));
}

} // namespace
