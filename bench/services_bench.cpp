// zel tessel2d: planar and surface mesh tools.
#include "fixtures.h"

#include "foundation/tessel.h"

#include <cmath>

namespace {

using namespace zel_bench;

// -------------------------------------------------------------------------------------------- merge

/// Sorting as many 64-bit numbers as there are nodes: what the obvious way to find duplicates begins
/// with.
reference sort_keys(std::size_t n) {
    random_numbers random{7};
    std::vector<std::uint64_t> keys(n);
    for (auto& key : keys) key = random.next();
    return {"sort", [keys](stopwatch& watch) {
                auto own = keys;
                watch.start();
                std::sort(own.begin(), own.end());
                benchmark::DoNotOptimize(own.data());
                watch.stop();
            }};
}

/// Points of the unit cube; every fourth, on average, has the coordinates of one before it.
dense2D<double> quarter_duplicates(std::size_t rows, std::size_t n) {
    random_numbers random{3};
    dense2D<double> pos(rows, n);
    for (std::size_t i = 0; i < n; ++i) {
        if (i > 0 && random.below(4) == 0) {
            std::copy_n(pos[random.below(i)], rows, pos[i]);
        } else {
            for (std::size_t r = 0; r < rows; ++r) pos(r, i) = random.unit();
        }
    }
    return pos;
}

dense2D<unsigned> first_nodes(std::size_t n) {
    dense2D<unsigned> connect(1, std::min<std::size_t>(n, 1000));
    for (std::size_t k = 0; k < connect.cols; ++k) connect(0, k) = static_cast<unsigned>(k);
    return connect;
}

void measure_merge(benchmark::State& state, const dense2D<double>& pos, double tolerance) {
    const auto connect = first_nodes(pos.cols);
    measure(state, static_cast<double>(pos.cols), {sort_keys(pos.cols)}, [&](stopwatch& watch) {
        auto own = fresh_copy(connect);
        watch.start();
        const int status = zel::tessel::merge(pos, own, tolerance, 0);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    });
}

void merge_duplicates(benchmark::State& state) {
    const auto pos = quarter_duplicates(static_cast<std::size_t>(state.range(0)),
                                        static_cast<std::size_t>(state.range(1)));
    measure_merge(state, pos, 1e-12);
}
BENCHMARK(merge_duplicates)
    ->ArgNames({"rows", "nodes"})
    ->ArgsProduct({{2, 3}, {10000, 100000, 1000000, 4000000, 10000000}})
    ->UseManualTime();

/// A grid without duplicates, as a mesh has it.
void merge_grid(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(std::sqrt(static_cast<double>(state.range(0))));
    dense2D<double> pos(2, n * n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            pos(0, i * n + j) = static_cast<double>(i) / 1024;
            pos(1, i * n + j) = static_cast<double>(j) / 1024;
        }
    measure_merge(state, pos, 1e-12);
}
BENCHMARK(merge_grid)
    ->ArgName("nodes")
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Arg(10000000)
    ->UseManualTime();

// What makes simpler ways quadratic: all in a few cells, on a line, on a lattice, below resolution.
enum spread_kind { clusters, line, lattice, below_resolution, all_equal, dense_cloud, geometric };

dense2D<double> spread_points(spread_kind kind, std::size_t rows, std::size_t n) {
    random_numbers random{11};
    dense2D<double> pos(rows, n);
    const auto side = static_cast<std::size_t>(std::cbrt(static_cast<double>(n))) + 1;
    for (std::size_t i = 0; i < n; ++i) {
        const double at = random.unit();
        for (std::size_t r = 0; r < rows; ++r) {
            double x = random.unit();
            if (kind == clusters) x = std::floor(at * 10) + 1e-9 * x;
            if (kind == line) x = at;
            if (kind == lattice) x = static_cast<double>(random.next() % (2 * side));
            if (kind == below_resolution) x += 1e6;
            if (kind == all_equal) x = 0.5;
            if (kind == geometric) x = std::ldexp(1 + x, -static_cast<int>(at * 1000));
            pos(r, i) = x;
        }
    }
    return pos;
}

void merge_spread(benchmark::State& state, spread_kind kind, double tolerance) {
    measure_merge(state,
                  spread_points(kind, static_cast<std::size_t>(state.range(0)),
                                static_cast<std::size_t>(state.range(1))),
                  tolerance);
}
void merge_spreads(benchmark::internal::Benchmark* b) {
    b->ArgNames({"rows", "nodes"})->ArgsProduct({{2, 3}, {100000, 1000000}})->UseManualTime();
}
BENCHMARK_CAPTURE(merge_spread, clusters, clusters, 1e-12)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, clusters_wide, clusters, 1e-6)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, line, line, 1e-12)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, lattice, lattice, 1e-12)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, lattice_exact, lattice, 0)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, lattice_of_tolerances, lattice, 1.0)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, below_resolution, below_resolution, 1e-300)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, all_equal, all_equal, 1e-12)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, one_cell, dense_cloud, 1e3)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, dense_cloud, dense_cloud, 0.005)->Apply(merge_spreads);
BENCHMARK_CAPTURE(merge_spread, geometric, geometric, 1e-12)->Apply(merge_spreads);

} // namespace
