// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"
#include "support/adjacency.h"
#include "zel/lapack.h"
#include "zel/tessel2d.h"

#include <cmath>
#include <numeric>

namespace {

using namespace zel_bench;

// ------------------------------------------------------------------------------------------ meshes

// Numbering of nodes and elements: row by row, or in random order. Corners always begin anywhere.
enum order : std::int64_t { by_rows, shuffled };

struct mesh {
    dense2D<double> pos; // 2 rows: the unit square; 3 rows: waves over it
    dense2D<unsigned> connect;
    zel_test::adjacency beside;
    unsigned cells; // along a side
};

/// About `elements` triangles; each cell is cut along one of its diagonals at random, so that nodes have
/// from 4 to 8 elements, and the nodes are moved a little.
mesh make_mesh(std::size_t dim, std::int64_t elements, std::int64_t how) {
    const auto n = static_cast<unsigned>(std::sqrt(static_cast<double>(elements) / 2));
    random_numbers random{5};
    const std::size_t nodes = std::size_t{n + 1} * (n + 1);
    std::vector<unsigned> place(nodes);
    std::iota(place.begin(), place.end(), 0U);
    if (how == shuffled)
        for (std::size_t j = nodes; j > 1; --j) std::swap(place[j - 1], place[random.below(j)]);
    mesh m{dense2D<double>(dim, nodes), dense2D<unsigned>(3, std::size_t{2} * n * n), {}, n};
    for (unsigned j = 0; j <= n; ++j) {
        for (unsigned i = 0; i <= n; ++i) {
            double* const p = m.pos[place[std::size_t{j} * (n + 1) + i]];
            p[0] = (i + 0.5 * (random.unit() - 0.5)) / n;
            p[1] = (j + 0.5 * (random.unit() - 0.5)) / n;
            if (dim == 3) p[2] = 0.2 * std::sin(7 * p[0]) * std::cos(5 * p[1]);
        }
    }
    unsigned* t = m.connect.data();
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned i = 0; i < n; ++i) {
            const unsigned a = j * (n + 1) + i;
            const unsigned q[4] = {place[a], place[a + 1], place[a + n + 2], place[a + n + 1]};
            const unsigned cut = random.below(2);
            for (unsigned half = 0; half < 2; ++half, t += 3) {
                const unsigned from = cut + 2 * half;
                for (unsigned k = 0; k < 3; ++k) t[k] = q[(from + k) % 4];
                std::rotate(t, t + random.below(3), t + 3);
            }
        }
    }
    if (how == shuffled) shuffle_columns(m.connect, 3);
    m.beside = zel_test::adjacency_of(m.connect, nodes);
    return m;
}

// ------------------------------------------------------------------------------------ stars of nodes

/// Reading both matrices and writing the result, each once and in order.
reference pass_over_stars(const mesh& m) {
    const std::size_t words = m.connect.size;
    return {"pass", [&m, words](stopwatch& watch) {
                watch.start();
                unsigned sum = 0;
                for (const unsigned x : m.connect) sum += x;
                for (const unsigned x : m.beside.neighbors) sum += x;
                benchmark::DoNotOptimize(sum);
                const std::size_t bytes = (words + m.pos.cols + 1) * sizeof(unsigned);
                void* const memory = zel::__vector_num_alloc(bytes);
                std::memset(memory, 1, bytes);
                benchmark::DoNotOptimize(memory);
                benchmark::ClobberMemory();
                watch.stop();
                zel::__vector_num_free(memory);
            }};
}

/// The elements of each node in the order of their numbers, by counting, from the connectivity alone.
reference plain_inversion(const mesh& m) {
    return {"inversion", [&m](stopwatch& watch) {
                watch.start();
                dense1D<unsigned, 8> starts(m.pos.cols + 2, 0U), elements(m.connect.size);
                unsigned* const behind = starts.data() + 2;
                for (const unsigned node : m.connect) ++behind[node];
                for (std::size_t i = 2; i < starts.size; ++i) starts[i] += starts[i - 1];
                unsigned* const next = starts.data() + 1;
                for (std::size_t e = 0; e < m.connect.cols; ++e)
                    for (std::size_t k = 0; k < m.connect.rows; ++k)
                        elements[next[m.connect(k, e)]++] = static_cast<unsigned>(e);
                benchmark::DoNotOptimize(elements.data());
                benchmark::ClobberMemory();
                watch.stop();
            }};
}

void get_connected_elements(benchmark::State& state) {
    const mesh m = make_mesh(2, state.range(0), state.range(1));
    measure(state, static_cast<double>(m.connect.cols), {pass_over_stars(m), plain_inversion(m)},
            [&](stopwatch& watch) {
                dense1D<unsigned, 8> starts, elements;
                watch.start();
                const int status = zel::tessel2d::get_connected_elements(
                    m.connect, m.beside.neighbors, m.beside.ancestors, starts, elements);
                watch.stop();
                if (status != 0 || elements.size != m.connect.size) state.SkipWithError("failed");
            });
}
BENCHMARK(get_connected_elements)
    ->ArgNames({"elements", "order"})
    ->ArgsProduct({{1000, 30000, 1000000, 4000000}, {by_rows, shuffled}})
    ->UseManualTime();

// ---------------------------------------------------------------------------------- curvatures

/// As many eigenvalue problems of order 3 as there are nodes, on tensors like those of a surface.
reference eigenvalues_alone(std::size_t count) {
    return {"dspev", [count](stopwatch& watch) {
                random_numbers random{7};
                std::vector<double> tensors(6 * count);
                for (double& x : tensors) x = random.unit() - 0.5;
                watch.start();
                double total = 0;
                for (std::size_t i = 0; i < count; ++i) {
                    double value[3], vectors[9], work[9];
                    long info;
                    zel::lapack::dspev('V', 'U', 3, tensors.data() + 6 * i, value, vectors, 3, work,
                                       info);
                    total += value[0];
                }
                benchmark::DoNotOptimize(total);
                watch.stop();
            }};
}

void principal_curvatures(benchmark::State& state) {
    const mesh m = make_mesh(3, state.range(0), state.range(2));
    const double cell = 1.0 / m.cells;
    const double radius =
        std::sqrt(static_cast<double>(state.range(1)) / 2 / 3.14159265) * cell * 1.1;
    const dense2D<unsigned> no_edges;
    measure(state, static_cast<double>(m.pos.cols), {eigenvalues_alone(m.pos.cols)},
            [&](stopwatch& watch) {
                dense2D<double> curvatures;
                watch.start();
                const int status = zel::tessel2d::principal_curvatures(
                    m.pos, m.connect, m.beside.neighbors, radius, 1.5, 1000, no_edges, curvatures);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(principal_curvatures)
    ->ArgNames({"elements", "patch", "order"})
    ->ArgsProduct({{2000, 200000}, {0, 12, 30, 100}, {by_rows, shuffled}})
    ->UseManualTime();

/// Fetching parameters and derivatives of all corners: every number is added up.
reference gather_corners(const mesh& m, const dense2D<double>& slopes) {
    return {"gather", [&m, &slopes](stopwatch& watch) {
                watch.start();
                const double* const pos = m.pos.data();
                const double* const D = slopes.data();
                const unsigned* const nodes = m.connect.data();
                double sums[8] = {};
                for (std::size_t i = 0; i < m.connect.size; ++i) {
                    const double* const p = pos + std::size_t{nodes[i]} * 2;
                    const double* const d = D + std::size_t{nodes[i]} * 6;
                    for (std::size_t k = 0; k < 2; ++k) sums[k] += p[k];
                    for (std::size_t k = 0; k < 6; ++k) sums[2 + k] += d[k];
                }
                benchmark::DoNotOptimize(sums);
                watch.stop();
            }};
}

void parametric_curvatures(benchmark::State& state) {
    const mesh m = make_mesh(2, state.range(0), state.range(1));
    dense2D<double> slopes(6, m.pos.cols, 0.0);
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        slopes(0, j) = slopes(4, j) = 1;
        slopes(2, j) = 1.4 * std::cos(7 * m.pos(0, j)) * std::cos(5 * m.pos(1, j));
        slopes(5, j) = -std::sin(7 * m.pos(0, j)) * std::sin(5 * m.pos(1, j));
    }
    measure(state, static_cast<double>(m.connect.cols), {gather_corners(m, slopes)},
            [&](stopwatch& watch) {
                dense2D<double> H;
                watch.start();
                const int status =
                    zel::tessel2d::parametric_curvatures(m.pos, m.connect, slopes, H);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(parametric_curvatures)
    ->ArgNames({"elements", "order"})
    ->ArgsProduct({{1000, 30000, 1000000}, {by_rows, shuffled}})
    ->UseManualTime();

} // namespace
