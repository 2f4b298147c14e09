// SPDX-License-Identifier: Apache-2.0
// The hash tables alone, beside the standard library's.
#include "fixtures.h"

#include "zel/hbuckets.h"

#include <unordered_map>

namespace {

using namespace zel_bench;
using zel::hbuckets;
using zel::elfes::edge2;
using node_map = hbuckets<std::pair<unsigned, unsigned long long>>;
using edge_map = hbuckets<std::pair<edge2, unsigned>>;

/// n distinct numbers, ascending or shuffled.
std::vector<unsigned> numbers(std::size_t n, bool shuffled) {
    std::vector<unsigned> all(n);
    for (std::size_t i = 0; i < n; ++i) all[i] = static_cast<unsigned>(i);
    random_numbers random{7};
    for (std::size_t i = n; shuffled && i > 1; --i) std::swap(all[i - 1], all[random.below(i)]);
    return all;
}

// Both tables are told the number of keys beforehand.
void fill(node_map& table, const std::vector<unsigned>& keys) {
    table.rehash(keys.size());
    for (const unsigned k : keys) table.insert({k, k});
}
void fill(std::unordered_map<unsigned, unsigned long long>& table,
          const std::vector<unsigned>& keys) {
    table.reserve(keys.size());
    for (const unsigned k : keys) table.emplace(k, k);
}

void numbers_insert(benchmark::State& state) {
    const auto keys = numbers(static_cast<std::size_t>(state.range(0)), state.range(1) != 0);
    const reference standard{"unordered_map", [&](stopwatch& watch) {
                                 std::unordered_map<unsigned, unsigned long long> table;
                                 watch.start();
                                 fill(table, keys);
                                 watch.stop();
                                 benchmark::DoNotOptimize(table.size());
                             }};
    measure(state, static_cast<double>(keys.size()), {standard}, [&](stopwatch& watch) {
        watch.start();
        node_map table;
        fill(table, keys);
        watch.stop();
        if (table.item_count != keys.size()) state.SkipWithError("failed");
    });
}
BENCHMARK(numbers_insert)
    ->ArgNames({"keys", "shuffled"})
    ->ArgsProduct({{1000, 100000, 10000000}, {0, 1}})
    ->UseManualTime();

void numbers_find(benchmark::State& state) {
    const auto keys = numbers(static_cast<std::size_t>(state.range(0)), state.range(1) != 0);
    node_map table;
    std::unordered_map<unsigned, unsigned long long> other;
    fill(table, keys);
    fill(other, keys);
    const reference standard{"unordered_map", [&](stopwatch& watch) {
                                 unsigned long long sum = 0;
                                 watch.start();
                                 for (const unsigned k : keys) sum += other.at(k);
                                 benchmark::DoNotOptimize(sum);
                                 watch.stop();
                             }};
    measure(state, static_cast<double>(keys.size()), {standard}, [&](stopwatch& watch) {
        unsigned long long sum = 0;
        watch.start();
        for (const unsigned k : keys) sum += table.find(k)->value.second;
        benchmark::DoNotOptimize(sum);
        watch.stop();
    });
}
BENCHMARK(numbers_find)
    ->ArgNames({"keys", "shuffled"})
    ->ArgsProduct({{1000, 100000, 10000000}, {0, 1}})
    ->UseManualTime();

/// The edges of a square grid of triangles, n of them: both ends close to one another.
std::vector<edge2> grid_edges(std::size_t n) {
    unsigned width = 1;
    while (std::size_t{3} * width * width < n) ++width;
    std::vector<edge2> all;
    all.reserve(n);
    for (unsigned node = 0; all.size() < n; ++node) {
        all.push_back({node, node + 1});
        all.push_back({node, node + width});
        all.push_back({node, node + width + 1});
    }
    all.resize(n);
    return all;
}
struct edge_hash {
    std::size_t operator()(const edge2& e) const { return zel::hash_edge2(e.a, e.b); }
};

void edges_insert(benchmark::State& state) {
    const auto keys = grid_edges(static_cast<std::size_t>(state.range(0)));
    const reference standard{"unordered_map", [&](stopwatch& watch) {
                                 std::unordered_map<edge2, unsigned, edge_hash> table;
                                 watch.start();
                                 table.reserve(keys.size());
                                 for (const edge2& e : keys) table.emplace(e, e.a);
                                 watch.stop();
                                 benchmark::DoNotOptimize(table.size());
                             }};
    measure(state, static_cast<double>(keys.size()), {standard}, [&](stopwatch& watch) {
        watch.start();
        edge_map table;
        table.rehash(keys.size());
        for (const edge2& e : keys) table.insert({e, e.a});
        watch.stop();
        if (table.item_count != keys.size()) state.SkipWithError("failed");
    });
}
BENCHMARK(edges_insert)->ArgName("keys")->Arg(1000)->Arg(100000)->Arg(10000000)->UseManualTime();

void edges_find(benchmark::State& state) {
    const auto keys = grid_edges(static_cast<std::size_t>(state.range(0)));
    edge_map table;
    table.rehash(keys.size());
    std::unordered_map<edge2, unsigned, edge_hash> other;
    other.reserve(keys.size());
    for (const edge2& e : keys) {
        table.insert({e, e.a});
        other.emplace(e, e.a);
    }
    const reference standard{"unordered_map", [&](stopwatch& watch) {
                                 unsigned sum = 0;
                                 watch.start();
                                 for (const edge2& e : keys) sum += other.at(e);
                                 benchmark::DoNotOptimize(sum);
                                 watch.stop();
                             }};
    measure(state, static_cast<double>(keys.size()), {standard}, [&](stopwatch& watch) {
        unsigned sum = 0;
        watch.start();
        for (const edge2& e : keys) sum += table.find(e)->value.second;
        benchmark::DoNotOptimize(sum);
        watch.stop();
    });
}
BENCHMARK(edges_find)->ArgName("keys")->Arg(1000)->Arg(100000)->Arg(10000000)->UseManualTime();

} // namespace
