// SPDX-License-Identifier: Apache-2.0
#include "conversion/edge_table.h"
#include "support/failing_alloc.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

using namespace zel::tessel2d;
using zel::no_node;
using zel::elfes::edge2;
using namespace zel_test;

namespace {

/// What a table ought to hold: from the nodes in ascending order to direction and number.
class expected_edges {
public:
    void put(edge_table& table, const edge2& edge, unsigned number) {
        const auto key = std::minmax(edge.a, edge.b);
        const bool fresh = held.count(key) == 0;
        if (fresh) held[key] = {edge, number};
        const edge_entry entry = table.insert(edge, number);
        check(entry, edge);
        EXPECT_EQ(fresh, entry.fresh);
    }
    void check(const edge_entry& entry, const edge2& edge) const {
        const auto at = held.find(std::minmax(edge.a, edge.b));
        if (at == held.end()) {
            EXPECT_EQ(nullptr, entry.first);
            return;
        }
        ASSERT_NE(nullptr, entry.first) << edge.a << ' ' << edge.b;
        EXPECT_EQ(at->second.second, *entry.first);
        EXPECT_EQ(at->second.first.a != edge.a, entry.against);
    }
    void check_all(edge_table& table) const {
        for (const auto& [key, value] : held) {
            check(table.find({key.first, key.second}), {key.first, key.second});
            check(table.find({key.second, key.first}), {key.second, key.first});
        }
    }

private:
    std::map<std::pair<unsigned, unsigned>, std::pair<edge2, unsigned>> held;
};

/// The inverse of the hash that the table uses for edges without place in a bucket.
edge2 edge_with_hash(std::uint64_t h) {
    h ^= h >> 33;
    h *= 0x9CB4B2F8129337DBU; // inverse of the second factor modulo 2^64
    h ^= h >> 33;
    h *= 0x4F74430C22A54005U; // inverse of the first factor
    h ^= h >> 33;
    return {static_cast<unsigned>(h >> 32), static_cast<unsigned>(h)};
}

TEST(EdgeTable, AnEdgeIsTheSameInBothDirectionsAndKeepsTheFirst) {
    edge_table table(10, 10);
    const edge_entry put = table.insert({7, 9}, 42);
    EXPECT_TRUE(put.fresh);
    EXPECT_FALSE(put.against);
    const edge_entry again = table.insert({9, 7}, 50);
    EXPECT_FALSE(again.fresh);
    EXPECT_TRUE(again.against);
    EXPECT_EQ(42U, *again.first);
    EXPECT_FALSE(table.insert({7, 9}, 51).against);
    EXPECT_TRUE(table.find({9, 7}).against);
    EXPECT_EQ(nullptr, table.find({7, 8}).first);
}

TEST(EdgeTable, AnEdgeFromANodeToItselfHasOneDirection) {
    edge_table table(3, 3);
    EXPECT_TRUE(table.insert({0, 0}, 1).fresh);
    EXPECT_FALSE(table.insert({0, 0}, 2).fresh);
    EXPECT_FALSE(table.insert({0, 0}, 2).against);
    EXPECT_FALSE(table.find({0, 0}).against);
}

TEST(EdgeTable, TheNumberOfAnEntryCanBeReplaced) {
    edge_table table(3, 3);
    *table.insert({1, 2}, 7).first = 9;
    EXPECT_EQ(9U, *table.insert({2, 1}, 8).first);
}

TEST(EdgeTable, AllEdgesOfANodeOfHighDegreeAreHeld) {
    edge_table table(1001, 1000);
    expected_edges expected;
    for (unsigned i = 1; i <= 1000; ++i) expected.put(table, i % 2 ? edge2{0, i} : edge2{i, 0}, i);
    for (unsigned i = 1; i <= 1000; ++i) expected.put(table, {i, 0}, 5000);
    expected.check_all(table);
}

// More edges than the buckets hold: most stand in the trie.
TEST(EdgeTable, ACompleteGraphIsHeld) {
    // Nodes from 60 on have no edge.
    edge_table table(120, 1770);
    expected_edges expected;
    unsigned number = 60;
    for (unsigned i = 0; i < 60; ++i)
        for (unsigned j = 0; j < i; ++j)
            expected.put(table, (i ^ j) % 3 ? edge2{i, j} : edge2{j, i}, number++);
    expected.check_all(table);
    for (unsigned i = 0; i < 60; ++i) expected.check(table.find({i, i + 60}), {i, i + 60});
}

TEST(EdgeTable, RandomEdgesInTablesOfAllSizes) {
    std::mt19937 engine(20);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(engine() % n); };
    for (unsigned round = 0; round < 300; ++round) {
        const unsigned nodes = 1 + below(40);
        const bool far = round % 3 == 0;
        const unsigned first = far ? no_node - nodes : 0;
        const unsigned stride = far ? 1 : 1 + below(5000);
        edge_table table(far ? no_node : std::size_t{nodes} * stride, below(100));
        expected_edges expected;
        for (unsigned i = 0; i < 150; ++i)
            expected.put(table, {first + below(nodes) * stride, first + below(nodes) * stride}, i);
        expected.check_all(table);
    }
}

// Hashes that agree in all bits but the last few: the path is as long as it gets.
TEST(EdgeTable, EdgesMadeToCollideAreHeld) {
    expected_edges expected;
    fail_for_good(true);
    arm_allocator(1);
    edge_table table(100, 100); // without buckets
    disarm_allocator();
    fail_for_good(false);
    unsigned held = 0;
    for (std::uint64_t h = 0; h < 4000; ++h) {
        const edge2 edge = edge_with_hash(0x1234567890ABC000U + h);
        if (edge.a > edge.b || edge.b == no_node) continue; // no edge has this hash
        expected.put(table, edge, held++);
    }
    EXPECT_GT(held, 1000U);
    expected.check_all(table);
}

TEST(EdgeTable, WithoutAnyMemoryNoEdgeIsThere) {
    fail_for_good(true);
    arm_allocator(1);
    edge_table table(100, 100);
    EXPECT_EQ(nullptr, table.find({1, 2}).first);
    EXPECT_EQ(nullptr, table.insert({1, 2}, 3).first);
    EXPECT_EQ(nullptr, table.find({1, 2}).first);
    disarm_allocator();
    fail_for_good(false);
    EXPECT_TRUE(table.insert({1, 2}, 3).fresh);
    EXPECT_EQ(3U, *table.find({1, 2}).first);
}

TEST(EdgeTable, AnEdgeThatFindsNoMemoryLeavesTheOthers) {
    fail_each_allocation([](std::size_t k) {
        arm_allocator(k);
        edge_table table(20, 190);
        std::map<std::pair<unsigned, unsigned>, unsigned> held;
        for (unsigned i = 0; i < 20; ++i)
            for (unsigned j = 0; j < i; ++j)
                if (table.insert({i, j}, i * j).first) held[{i, j}] = i * j;
        for (unsigned i = 0; i < 20; ++i) {
            for (unsigned j = 0; j < i; ++j) {
                const edge_entry entry = table.find({i, j});
                ASSERT_EQ(held.count({i, j}) == 1, entry.first != nullptr);
                if (entry.first) {
                    EXPECT_EQ(i * j, *entry.first);
                }
            }
        }
        disarm_allocator();
    });
}

} // namespace
