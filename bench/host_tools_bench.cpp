// SPDX-License-Identifier: Apache-2.0
// The smaller host tools beside a plain pass over the same memory: outlines, meshes behind one another, volumes,
// orders of nodes, numbers of 64 bits.
#include "fixtures.h"
#include "meshes.h"

#include "zel/host/node_orders.h"
#include "zel/host/outlines.h"
#include "zel/host/views.h"
#include "zel/host/volume.h"
#include "zel/tessel2d/spheres.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace {

using namespace zel_bench;
namespace host = zel::host;

void require(bool condition) {
    if (!condition) std::abort();
}

void on_counts(benchmark::internal::Benchmark* b) {
    for (const std::int64_t n : {1000, 1000000}) b->Arg(n);
    b->UseManualTime()->Unit(benchmark::kMicrosecond);
}

// ------------------------------------------------------------------------------------------- outlines

void arc(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    dense2D<double> ends(2, 2, 0.0);
    ends(0, 0) = ends(1, 1) = 1;
    measure(state, n, {fresh_write(std::size_t{n} * (2 * sizeof(double) + sizeof(unsigned)))},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(ends);
                dense1D<unsigned, 8> line;
                watch.start();
                require(host::arc(pos, 0, 1, {0, 0}, n, line) == 0);
                watch.stop();
            });
}

void patch_loop(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    dense1D<unsigned, 8> sides[4];
    for (unsigned k = 0; k < 4; ++k) {
        sides[k].resize(std::size_t{n} + 1);
        for (unsigned i = 0; i <= n; ++i) sides[k][i] = (k * n + i) % (4 * n);
    }
    std::reverse(sides[2].begin(), sides[2].end());
    measure(state, 4.0 * n, {fresh_write(std::size_t{n} * 4 * sizeof(unsigned))},
            [&](stopwatch& watch) {
                dense1D<unsigned, 8> loop;
                watch.start();
                require(host::patch_loop(sides[0], sides[1], sides[2], sides[3], loop) == 0);
                watch.stop();
            });
}

void curved_edges(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    dense1D<unsigned, 8> line(2 * std::size_t{n} + 1);
    for (unsigned k = 0; k < line.size; ++k) line[k] = k;
    measure(state, n, {fresh_write(std::size_t{n} * 4 * sizeof(unsigned))}, [&](stopwatch& watch) {
        dense1D<unsigned, 8> corners;
        dense2D<unsigned> edges;
        watch.start();
        require(host::curved_edges(line, 1, corners, edges) == 0);
        watch.stop();
    });
}

void append(benchmark::State& state) {
    const mesh m = make_mesh(3, 3, state.range(0), generated);
    const std::size_t bytes =
        2 * (m.pos.cols * 3 * sizeof(double) + m.connect.cols * 3 * sizeof(unsigned));
    measure(state, static_cast<double>(m.connect.cols), {fresh_write(bytes)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(m.pos);
                auto connect = fresh_copy(m.connect);
                watch.start();
                require(host::append(pos, connect, m.pos, m.connect) == 0);
                watch.stop();
            });
}

// -------------------------------------------------------------------------------------------- volumes

/// The sum of the products in doubles, which rounds in every step.
reference rounded_sum(const mesh& m) {
    return {"sum", [&m](stopwatch& watch) {
                watch.start();
                double six = 0;
                for (std::size_t e = 0; e < m.connect.cols; ++e) {
                    const double* const a = m.pos[m.connect(0, e)];
                    const double* const b = m.pos[m.connect(1, e)];
                    const double* const c = m.pos[m.connect(2, e)];
                    six += a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
                           a[2] * (b[0] * c[1] - b[1] * c[0]);
                }
                benchmark::DoNotOptimize(six);
                watch.stop();
            }};
}

void volume(benchmark::State& state) {
    mesh m;
    const auto n = static_cast<unsigned>(std::sqrt(static_cast<double>(state.range(0)) / 48));
    require(zel::tessel2d::mesh_sphere_T3(m.pos, {1, 2, 3}, 1, n, 0, m.connect) == 0);
    if (state.range(1) == shuffled) {
        renumber_nodes(m, 2);
        shuffle_columns(m.connect, 3);
    }
    measure(state, static_cast<double>(m.connect.cols),
            {rounded_sum(m), read_pass(m.connect.data(), m.connect.cols * 3 * sizeof(unsigned))},
            [&](stopwatch& watch) {
                double result = 0;
                watch.start();
                require(host::volume(m.pos, m.connect, result) == 0);
                benchmark::DoNotOptimize(result);
                watch.stop();
            });
}

// ------------------------------------------------------------------------------------ numbers of nodes

/// A connectivity of cubic quadrilaterals, whose nodes VTK and gmsh order in other ways.
dense2D<unsigned> cubic(std::size_t elements) {
    dense2D<unsigned> connect(16, elements);
    std::iota(connect.begin(), connect.end(), 0U);
    return connect;
}

void reorder(benchmark::State& state) {
    auto connect = cubic(static_cast<std::size_t>(state.range(0)));
    measure(state, static_cast<double>(connect.cols),
            {read_pass(connect.data(), connect.cols * 16 * sizeof(unsigned))},
            [&](stopwatch& watch) {
                watch.start();
                require(host::reorder_to(host::node_format::vtk, 2, connect) == 0);
                require(host::reorder_from(host::node_format::vtk, 2, connect) == 0);
                watch.stop();
            });
}

void widen(benchmark::State& state) {
    const auto connect = cubic(static_cast<std::size_t>(state.range(0)));
    std::vector<std::int64_t> wide(connect.cols * 16);
    measure(state, static_cast<double>(connect.cols),
            {read_pass(connect.data(), connect.cols * 16 * sizeof(unsigned))},
            [&](stopwatch& watch) {
                watch.start();
                host::widen(connect, wide.data());
                benchmark::ClobberMemory();
                watch.stop();
            });
}

void narrow(benchmark::State& state) {
    const auto connect = cubic(static_cast<std::size_t>(state.range(0)));
    std::vector<std::int64_t> wide(connect.cols * 16);
    host::widen(connect, wide.data());
    measure(state, static_cast<double>(connect.cols),
            {fresh_write(connect.cols * 16 * sizeof(unsigned)),
             read_pass(wide.data(), wide.size() * sizeof wide[0])},
            [&](stopwatch& watch) {
                dense2D<unsigned> result;
                watch.start();
                require(host::narrow(wide.data(), 16, connect.cols, 16, wide.size(), result) == 0);
                watch.stop();
            });
}

} // namespace

BENCHMARK(arc)->Apply(on_counts);
BENCHMARK(patch_loop)->Apply(on_counts);
BENCHMARK(curved_edges)->Apply(on_counts);
BENCHMARK(append)->Apply(on_counts);
BENCHMARK(volume)
    ->ArgsProduct({{1000, 1000000}, {generated, shuffled}})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(reorder)->Apply(on_counts);
BENCHMARK(widen)->Apply(on_counts);
BENCHMARK(narrow)->Apply(on_counts);
