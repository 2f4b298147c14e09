// zel tessel2d: planar and surface mesh tools.
#include "fixtures.h"

#include "foundation/tessel.h"
#include "zel/tessel2d.h"

#include <cmath>
#include <numeric>

namespace {

using namespace zel_bench;

// ------------------------------------------------------------------------------------------ meshes

struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
};

// How a mesh comes to the library: as the generator makes it, with its nodes moved at random so that
// no two triangles are alike, and that with nodes and elements in random order besides.
enum order : std::int64_t { generated, jittered, shuffled };

void jitter_nodes(dense2D<double>& pos, double amount, std::uint64_t seed) {
    random_numbers random{seed};
    for (std::size_t j = 0; j < pos.cols; ++j)
        for (std::size_t i = 0; i < pos.rows; ++i) pos(i, j) += amount * (random.unit() - 0.5);
}

void renumber_nodes(mesh& m, std::uint64_t seed) {
    random_numbers random{seed};
    std::vector<unsigned> place(m.pos.cols);
    std::iota(place.begin(), place.end(), 0U);
    for (std::size_t j = place.size(); j > 1; --j) std::swap(place[j - 1], place[random.below(j)]);
    const auto old = fresh_copy(m.pos);
    for (std::size_t j = 0; j < old.cols; ++j) std::copy_n(old[j], old.rows, m.pos[place[j]]);
    for (unsigned& node : m.connect)
        if (node != 0xFFFFFFFFU) node = place[node];
}

/// About `elements` cells of the unit square; 3 rows are triangles, 4 rows quadrilaterals.
mesh make_mesh(std::size_t dim, std::size_t rows, std::int64_t elements, std::int64_t how) {
    const double cells = static_cast<double>(elements) / (rows == 3 ? 2 : 1);
    const auto n = static_cast<unsigned>(std::sqrt(cells));
    mesh m{dense2D<double>(dim, std::size_t{4} * n, 0.0), {}};
    dense1D<unsigned, 8> boundary(std::size_t{4} * n + 1);
    for (unsigned k = 0; k <= 4 * n; ++k) boundary[k] = k % (4 * n);
    for (unsigned k = 0; k < n; ++k) {
        const double t = static_cast<double>(k) / n;
        m.pos(0, k) = t;
        m.pos(0, n + k) = m.pos(1, 2 * n + k) = 1;
        m.pos(1, n + k) = t;
        m.pos(0, 2 * n + k) = m.pos(1, 3 * n + k) = 1 - t;
    }
    const int status = rows == 3 ? zel::tessel2d::mesh_struct_T3(m.pos, boundary, n, 2, m.connect)
                                 : zel::tessel2d::mesh_struct_Q4(m.pos, boundary, n, m.connect);
    if (status != 0) std::abort();
    if (how != generated) jitter_nodes(m.pos, 0.6 / n, 1);
    if (how == shuffled) {
        renumber_nodes(m, 2);
        shuffle_columns(m.connect, 3);
    }
    return m;
}

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
