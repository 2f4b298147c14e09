// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"

#include "zel/tessel2d.h"

#include <cmath>
#include <unordered_map>

namespace {

using namespace zel_bench;
using point2 = zel::vector_fixed<double, 2>;
using point3 = zel::vector_fixed<double, 3>;

/// A chain of n edges along x; numbered along the chain or at random.
struct chain {
    dense2D<double> pos;
    dense2D<unsigned> edges;

    chain(std::size_t n, std::size_t rows, bool shuffled = false)
        : pos(rows, n + 1, 0.0), edges(2, n) {
        std::vector<unsigned> id(n + 1);
        for (std::size_t i = 0; i <= n; ++i) id[i] = static_cast<unsigned>(i);
        random_numbers random{5};
        for (std::size_t i = n + 1; shuffled && i > 1; --i)
            std::swap(id[i - 1], id[random.below(i)]);
        for (std::size_t i = 0; i <= n; ++i) pos(0, id[i]) = 1 + static_cast<double>(i) / 1000;
        for (std::size_t e = 0; e < n; ++e) {
            edges(0, e) = id[e];
            edges(1, e) = id[e + 1];
        }
    }
};

/// One insertion pass over the ends of all edges, each new node with its place.
reference insertion_pass(const chain& profile) {
    return {"unordered_map", [&profile](stopwatch& watch) {
                std::unordered_map<unsigned, unsigned long long> table;
                watch.start();
                table.reserve(profile.edges.cols);
                for (std::size_t e = 0; e < profile.edges.cols; ++e) {
                    table.emplace(profile.edges(0, e), table.size());
                    table.emplace(profile.edges(1, e), table.size());
                }
                watch.stop();
                benchmark::DoNotOptimize(table.size());
            }};
}

using sweep = std::function<int(dense2D<double>&, const dense2D<unsigned>&, dense2D<unsigned>&)>;

/// Sweeps a chain of `edges` edges in `layers` layers into columns of `side_rows` rows.
void run(benchmark::State& state, std::size_t edges, std::size_t layers, std::size_t rows,
         std::size_t side_rows, const sweep& work) {
    const chain profile(edges, rows);
    const std::size_t per_cell = side_rows == 4 ? 1 : 2;
    const std::size_t cells = edges * layers;
    const std::size_t bytes = cells * per_cell * side_rows * sizeof(unsigned) +
                              (edges + 1) * layers * rows * sizeof(double);
    measure(state, static_cast<double>(cells), {fresh_write(bytes), malloc_write(bytes)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(profile.pos);
                dense2D<unsigned> out;
                watch.start();
                const int status = work(pos, profile.edges, out);
                watch.stop();
                if (status != 0 || out.cols != cells * per_cell) state.SkipWithError("failed");
            });
}

constexpr double long_way = 10;

void extrude_translate_Q4_counted(benchmark::State& state) {
    const auto layers = static_cast<unsigned>(state.range(1));
    if (state.range(0) == 2) {
        run(state, layers, layers, 2, 4, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_translate_Q4(pos, edges, point2{0, long_way}, layers,
                                                       out);
        });
    } else {
        run(state, layers, layers, 3, 4, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_translate_Q4(pos, edges, point3{0, long_way, 1}, layers,
                                                       out);
        });
    }
}
BENCHMARK(extrude_translate_Q4_counted)
    ->ArgNames({"rows", "n"})
    ->ArgsProduct({{2, 3}, {10, 100, 1000, 3000}})
    ->UseManualTime();

// Sizes from 1 to 2 over a way that takes n layers.
void extrude_translate_Q4_graded(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(1));
    const double way = static_cast<double>(n) / std::log(2.0);
    if (state.range(0) == 2) {
        run(state, n, n, 2, 4, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_translate_Q4(pos, edges, point2{0, way}, 1, 2, false,
                                                       out);
        });
    } else {
        run(state, n, n, 3, 4, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_translate_Q4(pos, edges, point3{0, way, 0}, 1, 2, false,
                                                       out);
        });
    }
}
BENCHMARK(extrude_translate_Q4_graded)
    ->ArgNames({"rows", "n"})
    ->ArgsProduct({{2, 3}, {100, 1000}})
    ->UseManualTime();

void extrude_translate_T3(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(1));
    const auto pattern = static_cast<int>(state.range(2));
    if (state.range(0) == 2) {
        run(state, n, n, 2, 3, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_translate_T3(pos, edges, point2{0, long_way}, n, pattern,
                                                       out);
        });
    } else {
        run(state, n, n, 3, 3, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_translate_T3(pos, edges, point3{0, long_way, 1}, n,
                                                       pattern, out);
        });
    }
}
BENCHMARK(extrude_translate_T3)
    ->ArgNames({"rows", "n", "pattern"})
    ->ArgsProduct({{2, 3}, {100, 1000}, {0, 1, 2}})
    ->UseManualTime();

void extrude_rotate_Q4(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(1));
    if (state.range(0) == 2) {
        run(state, n, n, 2, 4, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_rotate_Q4(pos, edges, point2{0, 0}, 3.0, n, out);
        });
    } else {
        run(state, n, n, 3, 4, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_rotate_Q4(pos, edges, point3{0, 0, 1}, point3{0.5, 1, 2},
                                                    n, out);
        });
    }
}
BENCHMARK(extrude_rotate_Q4)
    ->ArgNames({"rows", "n"})
    ->ArgsProduct({{2, 3}, {100, 1000}})
    ->UseManualTime();

void extrude_rotate_T3(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(1));
    if (state.range(0) == 2) {
        run(state, n, n, 2, 3, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_rotate_T3(pos, edges, point2{0, 0}, 3.0, n, 2, out);
        });
    } else {
        run(state, n, n, 3, 3, [&](auto& pos, auto& edges, auto& out) {
            return zel::tessel2d::extrude_rotate_T3(pos, edges, point3{0, 0, 1}, point3{0.5, 1, 2},
                                                    n, 2, out);
        });
    }
}
BENCHMARK(extrude_rotate_T3)
    ->ArgNames({"rows", "n"})
    ->ArgsProduct({{2, 3}, {100, 1000}})
    ->UseManualTime();

void extrude_spiral_Q4(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    run(state, n, n, 3, 4, [&](auto& pos, auto& edges, auto& out) {
        return zel::tessel2d::extrude_spiral_Q4(pos, edges, point3{0, 0, 1}, point3{0.5, 1, 2},
                                                point3{1, 0, 3}, n, out);
    });
}
BENCHMARK(extrude_spiral_Q4)->ArgName("n")->Arg(100)->Arg(1000)->UseManualTime();

void extrude_spiral_T3(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    run(state, n, n, 3, 3, [&](auto& pos, auto& edges, auto& out) {
        return zel::tessel2d::extrude_spiral_T3(pos, edges, point3{0, 0, 1}, point3{0.5, 1, 2},
                                                point3{1, 0, 3}, n, 2, out);
    });
}
BENCHMARK(extrude_spiral_T3)->ArgName("n")->Arg(100)->Arg(1000)->UseManualTime();

void extrude_normal_Q4(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    run(state, n, n, 2, 4, [&](auto& pos, auto& edges, auto& out) {
        return zel::tessel2d::extrude_normal_Q4(pos, edges, long_way, n, out);
    });
}
BENCHMARK(extrude_normal_Q4)->ArgName("n")->Arg(100)->Arg(1000)->UseManualTime();

void extrude_normal_T3(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    const dense2D<double> V(2, n + 1, 0.5);
    run(state, n, n, 2, 3, [&](auto& pos, auto& edges, auto& out) {
        return zel::tessel2d::extrude_normal_T3(pos, edges, V, n, 2, out);
    });
}
BENCHMARK(extrude_normal_T3)->ArgName("n")->Arg(100)->Arg(1000)->UseManualTime();

// A long profile in one layer: numbering its nodes is most of the work.
void extrude_translate_long_profile(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const chain profile(n, 2, state.range(1) != 0);
    const std::size_t bytes = n * 16 + 2 * (n + 1) * 16;
    measure(state, static_cast<double>(n), {insertion_pass(profile), fresh_write(bytes)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(profile.pos);
                dense2D<unsigned> out;
                watch.start();
                const int status =
                    zel::tessel2d::extrude_translate_Q4(pos, profile.edges, point2{0, 1}, 1, out);
                watch.stop();
                if (status != 0 || out.cols != n) state.SkipWithError("failed");
            });
}
BENCHMARK(extrude_translate_long_profile)
    ->ArgNames({"edges", "shuffled"})
    ->ArgsProduct({{1000, 1000000}, {0, 1}})
    ->UseManualTime();

} // namespace
