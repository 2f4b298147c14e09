// SPDX-License-Identifier: Apache-2.0
// Calls on several threads at once, on inputs that all of them share. The program has the allocator of
// the library and no counters of its own that threads could meet at, so that the thread sanitizer sees
// them as they are.
#include "every_function/calls.h"
#include "every_function/inputs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zel_test::every_function;

constexpr std::size_t thread_count = 8;
constexpr std::size_t rounds = 3;

/// Runs a task on all threads at once; they wait for one another before they begin.
void on_all_threads(const std::function<void(std::size_t)>& task) {
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < thread_count; ++t) {
        threads.emplace_back([started, &task, t] {
            started.wait();
            task(t);
        });
    }
    start.set_value();
    for (std::thread& thread : threads) thread.join();
}

TEST(ParallelCalls, OnTheSameInputsGiveTheSameAsOneByOne) {
    const std::vector<call>& calls = all_calls();
    std::vector<std::uint64_t> alone;
    for (const call& c : calls) alone.push_back(digest_of(c.run({})));

    std::mutex findings;
    std::vector<std::string> different;
    on_all_threads([&](std::size_t t) {
        for (std::size_t round = 0; round < rounds; ++round) {
            // All threads at one call, spread over the catalogue, and half of them backwards.
            const std::size_t first = round == 0 ? 0 : t * calls.size() / thread_count;
            const bool backwards = round == 2 && t % 2 == 1;
            for (std::size_t k = 0; k < calls.size(); ++k) {
                const std::size_t step = backwards ? calls.size() - k : k;
                const std::size_t i = (first + step) % calls.size();
                if (digest_of(calls[i].run({})) == alone[i]) continue;
                const std::lock_guard<std::mutex> lock(findings);
                different.push_back(calls[i].name());
            }
        }
    });
    EXPECT_TRUE(different.empty())
        << different.size() << " results differ, the first of " << different.front();
}

TEST(ParallelCalls, ViewsOfOneBlockAreCopiedReadAndDroppedOnAllThreads) {
    const coordinates& given = inputs().outline_plane;
    double sum = 0;
    for (const double x : given) sum += x;
    // Each thread has a view of its own; whichever drops the last one frees the block.
    std::vector<coordinates> views(thread_count);
    {
        const coordinates block = zel_test::fresh_copy(given);
        for (coordinates& view : views) view = block;
    }
    std::vector<double> sums(thread_count);
    on_all_threads([&](std::size_t t) {
        for (unsigned k = 0; k < 2000; ++k) {
            coordinates copy = views[t];
            coordinates part = copy.sub_matrix(1, 2, 1, 5);
            const auto list = copy.as_vector();
            part.clear();
            copy.shallow_copy(part);
            part = views[t];
            if (k == 1999) sums[t] = std::accumulate(list.begin(), list.end(), 0.0);
        }
        views[t].clear();
    });
    for (const double s : sums) EXPECT_EQ(sum, s);
}

TEST(ParallelCalls, AnOutputThatLeavesASharedBlockDisturbsNoOther) {
    // Results replace views of one block: each thread lets go of it and takes a block of its own.
    const shared_mesh& m = inputs().surface[0];
    coordinates block = zel_test::fresh_copy(m.pos);
    std::vector<coordinates> results(thread_count, block);
    on_all_threads([&](std::size_t t) {
        results[t].clear();
        results[t].resize(3, 10 + t, static_cast<double>(t));
    });
    EXPECT_EQ(part_of(m.pos), part_of(block));
    for (std::size_t t = 0; t < thread_count; ++t) {
        EXPECT_EQ(10 + t, results[t].cols);
        EXPECT_EQ(static_cast<double>(t), results[t](2, 9 + t));
    }
}

} // namespace
