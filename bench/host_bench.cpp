// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"
#include "meshes.h"

#include "zel/host/adjacency.h"
#include "zel/host/locator.h"
#include "zel/tessel2d/location.h"

#include <algorithm>
#include <cmath>

namespace {

using namespace zel_bench;

// ------------------------------------------------------------------------------------------ references

/// What a program does that has nothing: a hash table, open addressing, from pairs of nodes to the side
/// that came first.
reference hash_loop(const mesh& m) {
    return {"hash", [&m](stopwatch& watch) {
                watch.start();
                std::size_t mask = 1;
                while (mask < m.connect.cols * 3) mask *= 2;
                struct entry {
                    std::uint64_t key = ~std::uint64_t{0};
                    std::uint64_t side = 0;
                };
                std::vector<entry> seen(mask--);
                dense2D<unsigned> neighbors(3, m.connect.cols, 0xFFFFFFFFU);
                dense1D<unsigned, 8> ancestors(m.pos.cols, 0xFFFFFFFFU);
                for (std::size_t e = 0; e < m.connect.cols; ++e) {
                    for (unsigned k = 0; k < 3; ++k) {
                        const unsigned a = m.connect((k + 1) % 3, e);
                        const unsigned b = m.connect((k + 2) % 3, e);
                        ancestors[a] = static_cast<unsigned>(e);
                        const std::uint64_t key =
                            std::uint64_t{std::min(a, b)} << 32 | std::max(a, b);
                        std::size_t at = (key ^ key >> 31) * 0x9E3779B97F4A7C15U >> 20 & mask;
                        while (seen[at].key != key && seen[at].key != ~std::uint64_t{0})
                            at = (at + 1) & mask;
                        if (seen[at].key != key) {
                            seen[at] = {key, e * 4 + k};
                            continue;
                        }
                        const std::uint64_t other = seen[at].side;
                        neighbors(k, e) = static_cast<unsigned>(other / 4);
                        neighbors(other % 4, other / 4) = static_cast<unsigned>(e);
                    }
                }
                benchmark::DoNotOptimize(neighbors.data());
                benchmark::DoNotOptimize(ancestors.data());
                watch.stop();
            }};
}

/// Sorting all sides by their nodes and joining those that come to lie side by side.
reference sort_loop(const mesh& m) {
    return {"sort", [&m](stopwatch& watch) {
                watch.start();
                std::vector<std::pair<std::uint64_t, std::uint64_t>> sides;
                sides.reserve(m.connect.cols * 3);
                dense2D<unsigned> neighbors(3, m.connect.cols, 0xFFFFFFFFU);
                dense1D<unsigned, 8> ancestors(m.pos.cols, 0xFFFFFFFFU);
                for (std::size_t e = 0; e < m.connect.cols; ++e) {
                    for (unsigned k = 0; k < 3; ++k) {
                        const unsigned a = m.connect((k + 1) % 3, e);
                        const unsigned b = m.connect((k + 2) % 3, e);
                        ancestors[a] = static_cast<unsigned>(e);
                        sides.emplace_back(std::uint64_t{std::min(a, b)} << 32 | std::max(a, b),
                                           e * 4 + k);
                    }
                }
                std::sort(sides.begin(), sides.end());
                for (std::size_t i = 1; i < sides.size(); ++i) {
                    if (sides[i].first != sides[i - 1].first) continue;
                    const std::uint64_t s = sides[i - 1].second;
                    const std::uint64_t t = sides[i].second;
                    neighbors(s % 4, s / 4) = static_cast<unsigned>(t / 4);
                    neighbors(t % 4, t / 4) = static_cast<unsigned>(s / 4);
                }
                benchmark::DoNotOptimize(neighbors.data());
                benchmark::DoNotOptimize(ancestors.data());
                watch.stop();
            }};
}

// ------------------------------------------------------------------------------------------- adjacency

void build_adjacency(benchmark::State& state) {
    const mesh m = make_mesh(2, 3, state.range(0), state.range(1));
    measure(state, static_cast<double>(m.connect.cols), {hash_loop(m), sort_loop(m)},
            [&](stopwatch& watch) {
                zel::host::adjacency beside;
                watch.start();
                const int status = zel::host::build_adjacency(m.connect, m.pos.cols, beside);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(build_adjacency)
    ->ArgNames({"triangles", "order"})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {generated, shuffled}})
    ->UseManualTime();

// --------------------------------------------------------------------------- edges, boundary, walks

/// Neighbours and ancestors, from which the rest could be made.
reference adjacency_of(const mesh& m) {
    return {"adjacency", [&m](stopwatch& watch) {
                zel::host::adjacency beside;
                watch.start();
                if (zel::host::build_adjacency(m.connect, m.pos.cols, beside) != 0) std::abort();
                watch.stop();
            }};
}

/// Runs a call that returns a status, beside the adjacency.
template <class Call>
void measure_call(benchmark::State& state, const Call& call) {
    const mesh m = make_mesh(2, 3, state.range(0), state.range(1));
    zel::host::adjacency beside;
    if (zel::host::build_adjacency(m.connect, m.pos.cols, beside) != 0) std::abort();
    measure(state, static_cast<double>(m.connect.cols), {adjacency_of(m)}, [&](stopwatch& watch) {
        watch.start();
        const int status = call(m, beside);
        watch.stop();
        if (status < 0) state.SkipWithError("failed");
    });
}

void unique_edges(benchmark::State& state) {
    measure_call(state, [](const mesh& m, const zel::host::adjacency&) {
        dense2D<unsigned> edges;
        dense2D<unsigned> elements;
        return zel::host::unique_edges(m.connect, m.pos.cols, edges, elements);
    });
}
void boundary_edges(benchmark::State& state) {
    measure_call(state, [](const mesh& m, const zel::host::adjacency&) {
        dense2D<unsigned> edges;
        return zel::host::boundary_edges(m.connect, m.pos.cols, edges);
    });
}
void boundary_loops(benchmark::State& state) {
    measure_call(state, [](const mesh& m, const zel::host::adjacency&) {
        dense1D<unsigned, 8> starts;
        dense1D<unsigned, 8> loops;
        return zel::host::boundary_loops(m.connect, m.pos.cols, starts, loops);
    });
}
void components(benchmark::State& state) {
    measure_call(state, [](const mesh&, const zel::host::adjacency& beside) {
        dense1D<unsigned, 8> component;
        return zel::host::components(beside.neighbors, component);
    });
}
void is_orientable(benchmark::State& state) {
    measure_call(state, [](const mesh& m, const zel::host::adjacency& beside) {
        zel::host::orientation found;
        return zel::host::is_orientable(m.connect, beside.neighbors, found);
    });
}
void on_meshes(benchmark::internal::Benchmark* b) {
    b->ArgNames({"triangles", "order"})
        ->ArgsProduct({{10000, 1000000}, {generated, shuffled}})
        ->UseManualTime();
}
BENCHMARK(unique_edges)->Apply(on_meshes);
BENCHMARK(boundary_edges)->Apply(on_meshes);
BENCHMARK(boundary_loops)->Apply(on_meshes);
BENCHMARK(components)->Apply(on_meshes);
BENCHMARK(is_orientable)->Apply(on_meshes);

// --------------------------------------------------------------------------------------------- points

/// A mesh of triangles with its locator, and 10^5 points at random or along a curve.
struct asked_mesh {
    mesh m;
    zel::host::adjacency beside;
    zel::host::locator at;
    dense2D<double> points;

    asked_mesh(std::int64_t triangles, bool sorted, std::int64_t how = jittered)
        : m(make_mesh(2, 3, triangles, how)), points(2, 100000) {
        if (zel::host::build_adjacency(m.connect, m.pos.cols, beside) != 0) std::abort();
        if (at.build(m.pos, m.connect) != 0) std::abort();
        random_numbers random{7};
        for (std::size_t j = 0; j < points.cols; ++j) {
            const double row = std::floor(static_cast<double>(j) / 300);
            points(0, j) =
                sorted ? (static_cast<double>(j % 300) + random.unit()) / 300 : random.unit();
            points(1, j) = sorted ? (row + random.unit()) / 334 : random.unit();
        }
    }
};

/// `interpolate` of one component onto the same points, made nodes.
reference interpolating(const asked_mesh& a) {
    const std::size_t nodes = a.m.pos.cols;
    const std::size_t all = nodes + a.points.cols;
    auto pos = fresh_copy(a.m.pos);
    auto ancestors = a.beside.ancestors;
    dense1D<unsigned, 8> orphans(a.points.cols);
    if (!pos.resize(2, all) || !ancestors.resize(all, 0xFFFFFFFFU)) std::abort();
    for (std::size_t j = 0; j < a.points.cols; ++j) {
        std::copy_n(a.points[j], 2, pos[nodes + j]);
        orphans[j] = static_cast<unsigned>(nodes + j);
    }
    return {"interpolate", [=, &a](stopwatch& watch) {
                dense1D<double, 8> field(all, 1.0);
                watch.start();
                if (zel::tessel2d::interpolate(pos, a.m.connect, a.beside.neighbors, ancestors,
                                               field, orphans, zel::ELEMENT_T3) != 0) {
                    std::abort();
                }
                watch.stop();
            }};
}

void locate_points(benchmark::State& state) {
    const asked_mesh a(state.range(0), state.range(1) != 0);
    measure(state, static_cast<double>(a.points.cols), {interpolating(a)}, [&](stopwatch& watch) {
        dense1D<unsigned, 8> elements;
        dense1D<unsigned, 8> places;
        dense2D<double> weights;
        watch.start();
        const int status = a.at.locate(a.points, elements, weights, places);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    });
}
void locate_one(benchmark::State& state) {
    const asked_mesh a(state.range(0), state.range(1) != 0);
    measure(state, static_cast<double>(a.points.cols), {interpolating(a)}, [&](stopwatch& watch) {
        unsigned sum = 0;
        watch.start();
        for (std::size_t j = 0; j < a.points.cols; ++j) {
            unsigned element;
            a.at.locate({a.points(0, j), a.points(1, j)}, element);
            sum += element;
        }
        benchmark::DoNotOptimize(sum);
        watch.stop();
    });
}
void transfer(benchmark::State& state) {
    const asked_mesh a(state.range(0), state.range(1) != 0);
    measure(state, static_cast<double>(a.points.cols), {interpolating(a)}, [&](stopwatch& watch) {
        zel::host::transfer_table table;
        watch.start();
        const int status = a.at.transfer(a.points, table);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    });
}
/// Points around the unit square, clear of it.
dense2D<double> points_outside(std::size_t n) {
    random_numbers random{8};
    dense2D<double> points(2, n);
    for (std::size_t j = 0; j < n; ++j) {
        points(j % 2, j) = 3 * random.unit() - 1;
        points(1 - j % 2, j) = j % 4 < 2 ? -0.1 - random.unit() : 1.1 + random.unit();
    }
    return points;
}
void locate_points_outside(benchmark::State& state) {
    // Of a million jittered triangles some are turned over.
    const asked_mesh a(state.range(0), false, generated);
    const auto points = points_outside(a.points.cols);
    const auto locate = [&a](const dense2D<double>& asked, stopwatch& watch) {
        dense1D<unsigned, 8> elements;
        dense1D<unsigned, 8> places;
        dense2D<double> weights;
        watch.start();
        if (a.at.locate(asked, elements, weights, places) != 0) std::abort();
        watch.stop();
    };
    const reference inside{"points inside", [&](stopwatch& watch) { locate(a.points, watch); }};
    measure(state, static_cast<double>(points.cols), {inside},
            [&](stopwatch& watch) { locate(points, watch); });
}
void carry(benchmark::State& state) {
    const asked_mesh a(state.range(0), state.range(1) != 0);
    zel::host::transfer_table table;
    if (a.at.transfer(a.points, table) != 0) std::abort();
    const dense1D<double, 8> field(a.m.pos.cols, 1.0);
    measure(state, static_cast<double>(a.points.cols), {interpolating(a)}, [&](stopwatch& watch) {
        dense1D<double, 8> values;
        watch.start();
        const int status = a.at.carry(table, field, values);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    });
}
void locator_build(benchmark::State& state) {
    const mesh m = make_mesh(2, 3, state.range(0), state.range(1));
    measure(state, static_cast<double>(m.connect.cols), {adjacency_of(m)}, [&](stopwatch& watch) {
        zel::host::locator at;
        watch.start();
        const int status = at.build(m.pos, m.connect);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    });
}
void on_points(benchmark::internal::Benchmark* b) {
    b->ArgNames({"triangles", "sorted"})->ArgsProduct({{10000, 1000000}, {0, 1}})->UseManualTime();
}
BENCHMARK(locate_points)->Apply(on_points);
BENCHMARK(locate_one)->Apply(on_points);
BENCHMARK(locate_points_outside)->ArgName("triangles")->Arg(10000)->Arg(1000000)->UseManualTime();
BENCHMARK(transfer)->Apply(on_points);
BENCHMARK(carry)->Apply(on_points);
BENCHMARK(locator_build)->Apply(on_meshes);

} // namespace
