// zel tessel2d: planar and surface mesh tools.
#include "fixtures.h"

#include "zel/tessel2d.h"

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

} // namespace
