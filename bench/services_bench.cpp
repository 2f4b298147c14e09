// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"

#include "zel/lapack.h"
#include "zel/tessel.h"

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

// ------------------------------------------------------------------------------- copies and removal

/// A grid of n x n quadrilaterals.
struct square_mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;

    square_mesh(std::size_t rows, std::size_t n)
        : pos(rows, (n + 1) * (n + 1), 0.0), connect(4, n * n) {
        for (std::size_t j = 0; j <= n; ++j)
            for (std::size_t i = 0; i <= n; ++i) {
                pos(0, j * (n + 1) + i) = static_cast<double>(i);
                pos(1, j * (n + 1) + i) = static_cast<double>(j);
            }
        for (std::size_t j = 0; j < n; ++j)
            for (std::size_t i = 0; i < n; ++i) {
                const auto a = static_cast<unsigned>(j * (n + 1) + i);
                const auto up = static_cast<unsigned>(n + 1);
                const unsigned ids[4] = {a, a + 1, a + up + 1, a + up};
                std::copy_n(ids, 4, connect[j * n + i]);
            }
    }
};

template <std::size_t Dim>
void copy_three(benchmark::State& state) {
    const square_mesh mesh(Dim, static_cast<std::size_t>(state.range(0)));
    const std::size_t bytes = 3 * (mesh.pos.cols * Dim * 8 + mesh.connect.cols * 16);
    const zel::vector_fixed<double, Dim> none{};
    measure(state, static_cast<double>(3 * mesh.connect.cols),
            {fresh_write(bytes), malloc_write(bytes)}, [&](stopwatch& watch) {
                auto pos = fresh_copy(mesh.pos);
                dense2D<unsigned> connect;
                watch.start();
                int status;
                if constexpr (Dim == 2) {
                    status = zel::tessel::copy_mesh(pos, connect, none, none, 0.3, 3, mesh.connect);
                } else {
                    status = zel::tessel::copy_mesh(pos, connect, none, none, {0, 0, 0.3}, 3,
                                                    mesh.connect);
                }
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
void copy_mesh_in_plane(benchmark::State& state) {
    copy_three<2>(state);
}
void copy_mesh_in_space(benchmark::State& state) {
    copy_three<3>(state);
}
void side_lengths(benchmark::internal::Benchmark* b) {
    b->ArgName("n")->Arg(30)->Arg(300)->Arg(1000)->UseManualTime();
}
BENCHMARK(copy_mesh_in_plane)->Apply(side_lengths);
BENCHMARK(copy_mesh_in_space)->Apply(side_lengths);

/// As many nodes without an element as with one, in front of them or every other one. The reference copies
/// nodes and elements.
void simplify_mesh(benchmark::State& state) {
    square_mesh mesh(2, static_cast<std::size_t>(state.range(0)));
    const bool scattered = state.range(1) != 0;
    dense2D<double> pos(2, 2 * mesh.pos.cols, 0.0);
    if (scattered) {
        for (unsigned& id : mesh.connect) id *= 2;
    } else {
        for (unsigned& id : mesh.connect) id += static_cast<unsigned>(mesh.pos.cols);
    }
    const std::size_t position_bytes = pos.cols * 16;
    const std::size_t element_bytes = mesh.connect.cols * 16;
    const reference copied{"copy", [&](stopwatch& watch) {
                               auto to = fresh_copy(pos);
                               auto elements = fresh_copy(mesh.connect);
                               watch.start();
                               std::memcpy(to.data(), pos.data(), position_bytes);
                               std::memcpy(elements.data(), mesh.connect.data(), element_bytes);
                               benchmark::DoNotOptimize(to.data());
                               benchmark::DoNotOptimize(elements.data());
                               benchmark::ClobberMemory();
                               watch.stop();
                           }};
    measure(state, static_cast<double>(pos.cols), {copied}, [&](stopwatch& watch) {
        auto own = fresh_copy(pos);
        auto elements = fresh_copy(mesh.connect);
        watch.start();
        const int status = zel::tessel::simplify(own, elements, 0);
        watch.stop();
        if (status != 0 || own.cols != mesh.pos.cols) state.SkipWithError("failed");
    });
}
BENCHMARK(simplify_mesh)
    ->ArgNames({"n", "scattered"})
    ->ArgsProduct({{30, 300, 1000}, {0, 1}})
    ->UseManualTime();

// ------------------------------------------------------------------------------------- size tensors

using tensor = zel::symmetric_fixed<double, 3>;

std::vector<tensor> random_tensors(std::size_t n, std::uint64_t seed) {
    random_numbers random{seed};
    std::vector<tensor> tensors(n);
    for (tensor& m : tensors) { // G'G + 1 for a random G
        double g[3][3];
        for (auto& row : g)
            for (double& x : row) x = 10 * random.unit() - 5;
        std::size_t at = 0;
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t i = 0; i <= j; ++i, ++at)
                m[at] = g[0][i] * g[0][j] + g[1][i] * g[1][j] + g[2][i] * g[2][j] + (i == j);
    }
    return tensors;
}

/// Two eigenproblems are what a simultaneous reduction consists of.
void minimum_of_metrics(benchmark::State& state) {
    const std::size_t n = 10000;
    const auto a = random_tensors(n, 1);
    const auto b = random_tensors(n, 2);
    const reference eigenproblems{"two dspev", [&](stopwatch& watch) {
                                      watch.start();
                                      for (const auto* list : {&a, &b})
                                          for (tensor m : *list) {
                                              double w[3], z[9], work[9];
                                              long info = 0;
                                              zel::lapack::dspev('V', 'U', 3, m.begin(), w, z, 3,
                                                                 work, info);
                                              benchmark::DoNotOptimize(w[0]);
                                          }
                                      watch.stop();
                                  }};
    measure(state, static_cast<double>(n), {eigenproblems}, [&](stopwatch& watch) {
        watch.start();
        bool all = true;
        for (std::size_t k = 0; k < n; ++k) {
            tensor result;
            all &= zel::tessel::minimum_metric(a[k], b[k], result);
            benchmark::DoNotOptimize(result);
        }
        watch.stop();
        if (!all) state.SkipWithError("no result");
    });
}
BENCHMARK(minimum_of_metrics)->UseManualTime();

} // namespace
