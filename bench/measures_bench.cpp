// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"
#include "meshes.h"

#include "zel/tessel.h"
#include "zel/tessel2d.h"

#include <cmath>

namespace {

using namespace zel_bench;

// -------------------------------------------------------------------------------------- references

/// Fetching the corners: every coordinate of every corner of every element is added up.
template <std::size_t Dim, std::size_t Corners>
void gather(const mesh& m, stopwatch& watch) {
    watch.start();
    const double* const pos = m.pos.data();
    const unsigned* const connect = m.connect.data();
    double sums[Dim] = {};
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        double corner_sum[Dim] = {};
        for (std::size_t k = 0; k < Corners; ++k) {
            const double* const p = pos + connect[e * Corners + k] * Dim;
            for (std::size_t i = 0; i < Dim; ++i) corner_sum[i] += p[i];
        }
        for (std::size_t i = 0; i < Dim; ++i) sums[i] += corner_sum[i];
    }
    benchmark::DoNotOptimize(sums);
    watch.stop();
}

reference gather_corners(const mesh& m) {
    const auto run = m.pos.rows == 2 ? (m.connect.rows == 3 ? gather<2, 3> : gather<2, 4>)
                                     : (m.connect.rows == 3 ? gather<3, 3> : gather<3, 4>);
    return {"gather", [&m, run](stopwatch& watch) { run(m, watch); }};
}

/// The same behind a test of the node numbers, which no caller can do without.
reference check_and_gather(const mesh& m) {
    const auto fetch = gather_corners(m).run;
    return {"check+gather", [&m, fetch](stopwatch& watch) {
                watch.start();
                const bool good = zel::tessel::check_IDs(m.connect, zel::ELEMENT_FACE,
                                                         static_cast<unsigned>(m.pos.cols));
                benchmark::DoNotOptimize(good);
                watch.stop();
                fetch(watch);
            }};
}

// ------------------------------------------------------------------------------------------- cases

void area(benchmark::State& state) {
    const mesh m =
        make_mesh(static_cast<std::size_t>(state.range(0)),
                  static_cast<std::size_t>(state.range(1)), state.range(2), state.range(3));
    measure(state, static_cast<double>(m.connect.cols), {gather_corners(m), check_and_gather(m)},
            [&](stopwatch& watch) {
                double result = 0;
                watch.start();
                const int status = zel::tessel2d::area(m.pos, m.connect, result);
                watch.stop();
                benchmark::DoNotOptimize(result);
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(area)
    ->ArgNames({"dim", "rows", "elements", "order"})
    ->ArgsProduct({{2, 3}, {3, 4}, {1000, 30000, 1000000}, {generated, jittered, shuffled}})
    ->UseManualTime();

/// One atan2 for each corner, which the work cannot do without.
reference atan2_alone(std::size_t count) {
    return {"atan2", [count](stopwatch& watch) {
                watch.start();
                double sum = 0;
                double y = 0.3;
                for (std::size_t i = 0; i < count; ++i) {
                    y = y > 4 ? 0.3 : y + 0.37;
                    sum += std::atan2(y, 1.7 - 0.5 * y);
                }
                benchmark::DoNotOptimize(sum);
                watch.stop();
            }};
}

void angles(benchmark::State& state) {
    const mesh m =
        make_mesh(static_cast<std::size_t>(state.range(0)),
                  static_cast<std::size_t>(state.range(1)), state.range(2), state.range(3));
    measure(state, static_cast<double>(m.connect.cols),
            {gather_corners(m), atan2_alone(m.connect.cols * m.connect.rows)},
            [&](stopwatch& watch) {
                dense1D<double, 8> smallest, largest;
                watch.start();
                const int status = zel::tessel2d::angles(m.pos, m.connect, true, smallest, largest);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(angles)
    ->ArgNames({"dim", "rows", "elements", "order"})
    ->ArgsProduct({{2, 3}, {3, 4}, {1000, 1000000}, {generated, jittered, shuffled}})
    ->UseManualTime();

void circumcenters(benchmark::State& state) {
    const mesh m =
        make_mesh(static_cast<std::size_t>(state.range(0)), 3, state.range(1), state.range(2));
    const std::size_t bytes = m.connect.cols * m.pos.rows * sizeof(double);
    measure(state, static_cast<double>(m.connect.cols), {gather_corners(m), fresh_write(bytes)},
            [&](stopwatch& watch) {
                dense2D<double> centers;
                watch.start();
                const int status = zel::tessel2d::circumcenters(m.pos, m.connect, centers);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(circumcenters)
    ->ArgNames({"dim", "elements", "order"})
    ->ArgsProduct({{2, 3}, {1000, 30000, 1000000}, {generated, jittered, shuffled}})
    ->UseManualTime();

} // namespace
