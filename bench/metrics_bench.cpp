// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"
#include "meshes.h"

#include "foundation/call_frame.h"
#include "metrics/blend.h"
#include "support/adjacency.h"
#include "zel/lapack.h"
#include "zel/tessel.h"
#include "zel/tessel2d/generators.h"
#include "zel/tessel2d/location.h"
#include "zel/tessel2d/metrics.h"

#include <cmath>

namespace {

using namespace zel_bench;
using namespace zel::tessel2d;

// ------------------------------------------------------------------------------------------ fixtures

/// Positive definite tensors of order 2 or 3 with random axes and sizes.
template <std::size_t Order>
dense2D<double> random_tensors(std::size_t n) {
    random_numbers random{5};
    dense2D<double> tensors(tensor_entries<Order>, n);
    for (std::size_t t = 0; t < n; ++t) {
        double rows[Order][Order];
        for (auto& row : rows)
            for (double& x : row) x = random.unit() - 0.5;
        for (std::size_t j = 0, at = 0; j < Order; ++j)
            for (std::size_t i = 0; i <= j; ++i, ++at) {
                tensors(at, t) = i == j ? 0.1 : 0.0;
                for (std::size_t k = 0; k < Order; ++k) tensors(at, t) += rows[k][i] * rows[k][j];
            }
    }
    return tensors;
}

/// What eigenvalues and vectors of every tensor of order 3 cost, `times` times over.
reference eigenproblems(const char* name, const dense2D<double>& tensors, int times) {
    return {name, [&tensors, times](stopwatch& watch) {
                double sum = 0;
                watch.start();
                for (std::size_t t = 0; t < tensors.cols; ++t)
                    for (int repeat = 0; repeat < times; ++repeat) {
                        double ap[6], w[3], z[9], work[9];
                        long info = 0;
                        std::copy_n(tensors[t], 6, ap);
                        zel::lapack::dspev('V', 'U', 3, ap, w, z, 3, work, info);
                        sum += w[0] + z[0];
                    }
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

// -------------------------------------------------------------------------------------------- blends

template <std::size_t Order>
void blend_all(const dense2D<double>& tensors, stopwatch& watch) {
    double sum = 0;
    watch.start();
    for (std::size_t t = 0; t + 1 < tensors.cols; ++t) {
        tensor<Order> m;
        blend<Order>(tensor_at<Order>(tensors[t]), tensor_at<Order>(tensors[t + 1]), 0.375, m);
        sum += m[0];
    }
    benchmark::DoNotOptimize(sum);
    watch.stop();
}

void blend_order_2(benchmark::State& state) {
    const auto tensors = random_tensors<2>(10001);
    measure(state, 10000, {}, [&](stopwatch& watch) { blend_all<2>(tensors, watch); });
}
BENCHMARK(blend_order_2)->UseManualTime();

void blend_order_3(benchmark::State& state) {
    const auto tensors = random_tensors<3>(10001);
    measure(state, 10000, {eigenproblems("two dspev", tensors, 2)},
            [&](stopwatch& watch) { blend_all<3>(tensors, watch); });
}
BENCHMARK(blend_order_3)->UseManualTime();

// ---------------------------------------------------------------------------------- sizes in a patch

dense1D<unsigned, 8> square_loop(unsigned n) {
    dense1D<unsigned, 8> boundary(std::size_t{4} * n + 1);
    for (unsigned k = 0; k <= 4 * n; ++k) boundary[k] = k % (4 * n);
    return boundary;
}

void metrics_struct_sizes(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    const auto boundary = square_loop(n);
    const std::size_t inside = std::size_t{n - 1} * (n - 1);
    measure(state, static_cast<double>(inside), {fresh_write(inside * sizeof(double))},
            [&](stopwatch& watch) {
                dense1D<double, 8> sizes(std::size_t{4} * n, 1.5);
                watch.start();
                const int status = metrics_struct(boundary, n, sizes);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(metrics_struct_sizes)->ArgName("n")->Arg(32)->Arg(256)->Arg(1024)->UseManualTime();

/// One blend per node, each with a reduction of its own.
template <std::size_t Order>
reference one_blend_each(const dense2D<double>& tensors, std::size_t nodes) {
    return {"blend", [&tensors, nodes](stopwatch& watch) {
                double sum = 0;
                watch.start();
                for (std::size_t i = 0; i < nodes; ++i) {
                    const std::size_t t = i % (tensors.cols - 1);
                    tensor<Order> m;
                    blend<Order>(tensor_at<Order>(tensors[t]), tensor_at<Order>(tensors[t + 1]),
                                 0.5, m);
                    sum += m[0];
                }
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

template <std::size_t Order>
void metrics_struct_tensors(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    const auto boundary = square_loop(n);
    const auto tensors = random_tensors<Order>(std::size_t{4} * n);
    const std::size_t inside = std::size_t{n - 1} * (n - 1);
    measure(state, static_cast<double>(inside), {one_blend_each<Order>(tensors, inside)},
            [&](stopwatch& watch) {
                auto metrics = fresh_copy(tensors);
                watch.start();
                const int status = metrics_struct(boundary, n, metrics);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(metrics_struct_tensors<2>)->ArgName("n")->Arg(32)->Arg(256)->UseManualTime();
BENCHMARK(metrics_struct_tensors<3>)->ArgName("n")->Arg(32)->Arg(256)->UseManualTime();

// ------------------------------------------------------------------------------ sizes of a surface

/// Merging three tensors per triangle into the columns of its nodes, and nothing else. The tensors
/// are at hand.
reference merging_alone(const zel_bench::mesh& m, const dense2D<double>& asked) {
    return {"merge", [&m, &asked](stopwatch& watch) {
                dense2D<double> metrics(6, m.pos.cols, 0.0);
                watch.start();
                for (std::size_t e = 0; e < m.connect.cols; ++e)
                    for (std::size_t k = 0; k < 3; ++k) {
                        double* const column = metrics[m.connect(k, e)];
                        tensor3 result{};
                        zel::tessel::minimum_metric(tensor_at<3>(asked[3 * e + k]),
                                                    tensor_at<3>(column), result);
                        std::copy(result.begin(), result.end(), column);
                    }
                benchmark::DoNotOptimize(metrics.data());
                watch.stop();
            }};
}

/// A wavy surface over the unit square.
zel_bench::mesh wavy_surface(std::int64_t triangles) {
    auto m = make_mesh(3, 3, triangles, jittered);
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        m.pos(2, j) = 0.1 * std::sin(7 * m.pos(0, j)) * std::cos(5 * m.pos(1, j));
    return m;
}

/// What each triangle asks for at each of its nodes: the tensors that a mesh of it alone has.
dense2D<double> asked_by_triangles(const zel_bench::mesh& m, double normal_size) {
    dense2D<double> asked(6, 3 * m.connect.cols);
    dense2D<double> corners(3, 3);
    dense2D<unsigned> triangle(3, 1);
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        for (unsigned k = 0; k < 3; ++k) {
            std::copy_n(m.pos[m.connect(k, e)], 3, corners[k]);
            triangle(k, 0) = k;
        }
        dense2D<double> own;
        if (zel::tessel2d::metrics_gen_aniso3d(corners, triangle, normal_size, own) != 0)
            std::abort();
        for (std::size_t k = 0; k < 3; ++k) std::copy_n(own[k], 6, asked[3 * e + k]);
    }
    return asked;
}

void metrics_gen_aniso3d(benchmark::State& state) {
    const auto m = wavy_surface(state.range(0));
    const auto asked = asked_by_triangles(m, -0.1);
    measure(state, static_cast<double>(m.connect.cols), {merging_alone(m, asked)},
            [&](stopwatch& watch) {
                dense2D<double> metrics;
                watch.start();
                const int status =
                    zel::tessel2d::metrics_gen_aniso3d(m.pos, m.connect, -0.1, metrics);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(metrics_gen_aniso3d)
    ->ArgName("triangles")
    ->Arg(1000)
    ->Arg(30000)
    ->Arg(1000000)
    ->UseManualTime();

// ------------------------------------------------------------------------------- carrying onto nodes

/// A planar mesh of triangles and 10^5 nodes of no element inside it.
struct with_orphans {
    zel_bench::mesh m;
    zel_test::adjacency beside;
    dense1D<unsigned, 8> nodes{100000};

    explicit with_orphans(std::int64_t triangles) : m(make_mesh(2, 3, triangles, jittered)) {
        beside = zel_test::adjacency_of(m.connect, m.pos.cols);
        const std::size_t first = m.pos.cols;
        m.pos.resize(2, first + nodes.size);
        beside.ancestors.resize(first + nodes.size, 0xFFFFFFFFU);
        random_numbers random{7};
        for (std::size_t k = 0; k < nodes.size; ++k) {
            for (std::size_t i = 0; i < 2; ++i) m.pos(i, first + k) = random.unit();
            nodes[k] = static_cast<unsigned>(first + k);
        }
    }
};

/// `interpolate` of the same matrix, and two blends per node.
template <std::size_t Order>
reference interpolate_and_blend(const with_orphans& w, const dense2D<double>& tensors) {
    return {"interpolate", [&w, &tensors](stopwatch& watch) {
                auto field = fresh_copy(tensors);
                double sum = 0;
                watch.start();
                zel::tessel2d::interpolate(w.m.pos, w.m.connect, w.beside.neighbors,
                                           w.beside.ancestors, field, w.nodes, zel::ELEMENT_T3);
                for (std::size_t k = 0; k < w.nodes.size; ++k)
                    for (std::size_t i = 0; i < 2; ++i) {
                        tensor<Order> m;
                        blend<Order>(tensor_at<Order>(tensors[k + i]),
                                     tensor_at<Order>(tensors[k + 1 + i]), 0.375, m);
                        sum += m[0];
                    }
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

template <std::size_t Order>
void interpolate_metrics_tensors(benchmark::State& state) {
    const with_orphans w(state.range(0));
    const auto tensors = random_tensors<Order>(w.m.pos.cols);
    measure(state, static_cast<double>(w.nodes.size), {interpolate_and_blend<Order>(w, tensors)},
            [&](stopwatch& watch) {
                auto metrics = fresh_copy(tensors);
                watch.start();
                const int status = interpolate_metrics(w.m.pos, w.m.connect, w.beside.neighbors,
                                                       w.beside.ancestors, metrics, w.nodes, false,
                                                       zel::ELEMENT_T3);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(interpolate_metrics_tensors<2>)->Arg(10000)->Arg(1000000)->UseManualTime();
BENCHMARK(interpolate_metrics_tensors<3>)->Arg(10000)->Arg(1000000)->UseManualTime();

void interpolate_metrics_sizes(benchmark::State& state) {
    const with_orphans w(state.range(0));
    dense1D<double, 8> sizes(w.m.pos.cols, 1.5);
    const reference plain{"interpolate", [&](stopwatch& watch) {
                              watch.start();
                              zel::tessel2d::interpolate(w.m.pos, w.m.connect, w.beside.neighbors,
                                                         w.beside.ancestors, sizes, w.nodes,
                                                         zel::ELEMENT_T3);
                              watch.stop();
                          }};
    measure(state, static_cast<double>(w.nodes.size), {plain}, [&](stopwatch& watch) {
        watch.start();
        const int status =
            interpolate_metrics(w.m.pos, w.m.connect, w.beside.neighbors, w.beside.ancestors, sizes,
                                w.nodes, false, zel::ELEMENT_T3);
        watch.stop();
        if (status != 0) state.SkipWithError("failed");
    });
}
BENCHMARK(interpolate_metrics_sizes)->Arg(10000)->Arg(1000000)->UseManualTime();

} // namespace
