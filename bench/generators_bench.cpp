// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"

#include "zel/tessel2d.h"

#include <cmath>

namespace {

using namespace zel_bench;

/// A closed loop of n x n cells around the unit square.
struct square_loop {
    dense2D<double> pos;
    dense1D<unsigned, 8> boundary;

    square_loop(unsigned n, unsigned rows)
        : pos(rows, std::size_t{4} * n, 0.0), boundary(std::size_t{4} * n + 1) {
        for (unsigned k = 0; k <= 4 * n; ++k) boundary[k] = k % (4 * n);
        for (unsigned k = 0; k < n; ++k) {
            const double t = static_cast<double>(k) / n;
            pos(0, k) = t;
            pos(0, n + k) = 1;
            pos(1, n + k) = t;
            pos(0, 2 * n + k) = 1 - t;
            pos(1, 2 * n + k) = 1;
            pos(1, 3 * n + k) = 1 - t;
        }
    }
};

void mesh_struct_Q4(benchmark::State& state) {
    const auto rows = static_cast<unsigned>(state.range(0));
    const auto n = static_cast<unsigned>(state.range(1));
    const square_loop loop(n, rows);
    const std::size_t cells = std::size_t{n} * n;
    const std::size_t nodes = std::size_t{n + 1} * (n + 1);
    const std::size_t bytes = cells * 16 + nodes * rows * 8;
    measure(state, static_cast<double>(cells), {fresh_write(bytes), malloc_write(bytes)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(loop.pos);
                dense2D<unsigned> quads;
                watch.start();
                const int status = zel::tessel2d::mesh_struct_Q4(pos, loop.boundary, n, quads);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(mesh_struct_Q4)
    ->ArgNames({"rows", "n"})
    ->ArgsProduct({{2, 3}, {16, 100, 316, 1000, 2000}})
    ->UseManualTime();

void mesh_struct_T3(benchmark::State& state) {
    const auto rows = static_cast<unsigned>(state.range(0));
    const auto pattern = static_cast<int>(state.range(1));
    const auto n = static_cast<unsigned>(state.range(2));
    const square_loop loop(n, rows);
    const std::size_t triangles = std::size_t{2} * n * n;
    const std::size_t nodes = std::size_t{n + 1} * (n + 1);
    const std::size_t bytes = triangles * 12 + nodes * rows * 8;
    measure(state, static_cast<double>(triangles), {fresh_write(bytes), malloc_write(bytes)},
            [&](stopwatch& watch) {
                auto pos = fresh_copy(loop.pos);
                dense2D<unsigned> connect;
                watch.start();
                const int status =
                    zel::tessel2d::mesh_struct_T3(pos, loop.boundary, n, pattern, connect);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(mesh_struct_T3)
    ->ArgNames({"rows", "pattern", "n"})
    ->ArgsProduct({{2, 3}, {0, 1, 2}, {16, 100, 316, 1000}})
    ->UseManualTime();

// --------------------------------------------------------------------------------- disks and spheres

constexpr zel::vector_fixed<double, 2> disk_center{0, 0};
constexpr zel::vector_fixed<double, 3> sphere_center{0, 0, 0};

/// Cells per patch side that give about so many elements in `patches` patches with `per_cell` each.
unsigned divisions(std::size_t elements, unsigned patches, unsigned per_cell) {
    const double cells = static_cast<double>(elements) / (patches * per_cell);
    return std::max(1U, static_cast<unsigned>(std::sqrt(cells) + 0.5));
}

/// Runs mesh(pos, connect, boundary) on empty matrices, against writing what comes out.
template <class Mesh>
void measure_mesh(benchmark::State& state, Mesh mesh) {
    dense2D<double> pos;
    dense2D<unsigned> connect, boundary;
    mesh(pos, connect, boundary);
    const std::size_t bytes =
        pos.rows * pos.cols * 8 + connect.rows * connect.cols * 4 + boundary.cols * 8;
    measure(state, static_cast<double>(connect.cols), {fresh_write(bytes), malloc_write(bytes)},
            [&](stopwatch& watch) {
                dense2D<double> p;
                dense2D<unsigned> c, b;
                watch.start();
                const int status = mesh(p, c, b);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}

void mesh_disk_UR_Q4(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 3, 1);
    measure_mesh(state, [n](auto& pos, auto& connect, auto& boundary) {
        return zel::tessel2d::mesh_disk_UR_Q4(pos, disk_center, 1, n, connect, boundary);
    });
}
void mesh_disk_UR_T3(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 3, 2);
    measure_mesh(state, [n](auto& pos, auto& connect, auto& boundary) {
        return zel::tessel2d::mesh_disk_UR_T3(pos, disk_center, 1, n, 2, connect, boundary);
    });
}
void mesh_disk_Q4(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 12, 1);
    measure_mesh(state, [n](auto& pos, auto& connect, auto& boundary) {
        return zel::tessel2d::mesh_disk_Q4(pos, disk_center, 1, n, connect, boundary);
    });
}
void mesh_disk_T3(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 12, 2);
    measure_mesh(state, [n](auto& pos, auto& connect, auto& boundary) {
        return zel::tessel2d::mesh_disk_T3(pos, disk_center, 1, n, 2, connect, boundary);
    });
}
void mesh_sphere_UR_Q4(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 3, 1);
    measure_mesh(state, [n](auto& pos, auto& connect, auto& boundary) {
        return zel::tessel2d::mesh_sphere_UR_Q4(pos, sphere_center, 1, n, connect, boundary);
    });
}
void mesh_sphere_UR_T3(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 3, 2);
    measure_mesh(state, [n](auto& pos, auto& connect, auto& boundary) {
        return zel::tessel2d::mesh_sphere_UR_T3(pos, sphere_center, 1, n, 2, connect, boundary);
    });
}
void mesh_sphere_Q4(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 24, 1);
    measure_mesh(state, [n](auto& pos, auto& connect, auto&) {
        return zel::tessel2d::mesh_sphere_Q4(pos, sphere_center, 1, n, connect);
    });
}
void mesh_sphere_T3(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 24, 2);
    measure_mesh(state, [n](auto& pos, auto& connect, auto&) {
        return zel::tessel2d::mesh_sphere_T3(pos, sphere_center, 1, n, 2, connect);
    });
}
void mesh_sphere_T3_circles(benchmark::State& state) {
    const unsigned n = divisions(static_cast<std::size_t>(state.range(0)), 24, 2);
    measure_mesh(state, [n](auto& pos, auto& connect, auto& circle) {
        dense2D<unsigned> other;
        return zel::tessel2d::mesh_sphere_T3(pos, sphere_center, 1, n, 2, connect, circle, other);
    });
}

void round_sizes(benchmark::internal::Benchmark* b) {
    b->ArgName("elements")->Arg(1000)->Arg(30000)->Arg(1000000)->Arg(4000000)->UseManualTime();
}
BENCHMARK(mesh_disk_UR_Q4)->Apply(round_sizes);
BENCHMARK(mesh_disk_UR_T3)->Apply(round_sizes);
BENCHMARK(mesh_disk_Q4)->Apply(round_sizes);
BENCHMARK(mesh_disk_T3)->Apply(round_sizes);
BENCHMARK(mesh_sphere_UR_Q4)->Apply(round_sizes);
BENCHMARK(mesh_sphere_UR_T3)->Apply(round_sizes);
BENCHMARK(mesh_sphere_Q4)->Apply(round_sizes);
BENCHMARK(mesh_sphere_T3)->Apply(round_sizes);
BENCHMARK(mesh_sphere_T3_circles)->Apply(round_sizes);

} // namespace
