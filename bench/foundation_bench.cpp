// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"

#include "zel/tessel.h"

namespace {

using namespace zel_bench;

dense2D<unsigned> random_ids(std::size_t rows, std::size_t cols, unsigned bound) {
    random_numbers random{1};
    dense2D<unsigned> m(rows, cols);
    for (unsigned& id : m) id = random.below(bound);
    return m;
}

void check_IDs_matrix(benchmark::State& state, zel::element_type kind) {
    const auto rows = static_cast<std::size_t>(state.range(0));
    const auto cols = static_cast<std::size_t>(state.range(1));
    const unsigned bound = 1000000;
    const auto m = random_ids(rows, cols, bound);
    measure(state, static_cast<double>(rows * cols), {read_pass(m.data(), rows * cols * 4)},
            [&](stopwatch& watch) {
                watch.start();
                benchmark::DoNotOptimize(zel::tessel::check_IDs(m, kind, bound));
                watch.stop();
            });
}
void check_IDs_Q4(benchmark::State& state) {
    check_IDs_matrix(state, zel::ELEMENT_Q4);
}
void check_IDs_FACE(benchmark::State& state) {
    check_IDs_matrix(state, zel::ELEMENT_FACE);
}
void check_IDs_T3(benchmark::State& state) {
    check_IDs_matrix(state, zel::ELEMENT_T3);
}
BENCHMARK(check_IDs_Q4)
    ->ArgNames({"rows", "cols"})
    ->ArgsProduct({{4}, {1000, 100000, 1000000, 4000000}})
    ->UseManualTime();
BENCHMARK(check_IDs_FACE)
    ->ArgNames({"rows", "cols"})
    ->ArgsProduct({{4}, {1000, 100000, 1000000, 4000000}})
    ->UseManualTime();
BENCHMARK(check_IDs_T3)
    ->ArgNames({"rows", "cols"})
    ->ArgsProduct({{3}, {1000, 100000, 1000000, 4000000}})
    ->UseManualTime();

void check_IDs_strided(benchmark::State& state) {
    const auto rows = static_cast<std::size_t>(state.range(0));
    const auto cols = static_cast<std::size_t>(state.range(1));
    const unsigned bound = 1000000;
    const auto parent = random_ids(rows + 1, cols, bound);
    const auto m = parent.sub_matrix(0, 0, rows, cols);
    measure(state, static_cast<double>(rows * cols),
            {read_pass(parent.data(), (rows + 1) * cols * 4)}, [&](stopwatch& watch) {
                watch.start();
                benchmark::DoNotOptimize(zel::tessel::check_IDs(m, bound));
                watch.stop();
            });
}
BENCHMARK(check_IDs_strided)
    ->ArgNames({"rows", "cols"})
    ->ArgsProduct({{2, 3, 4}, {1000, 1000000}})
    ->UseManualTime();

/// What fresh memory costs: the library's way of obtaining it beside plain malloc.
void fresh_memory(benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const reference write = fresh_write(bytes);
    measure(state, static_cast<double>(bytes) / 8, {malloc_write(bytes)}, write.run);
}
BENCHMARK(fresh_memory)->RangeMultiplier(4)->Range(1 << 18, 1 << 28)->UseManualTime();

} // namespace
