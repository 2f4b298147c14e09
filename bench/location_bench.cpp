// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"
#include "meshes.h"

#include "location/locate.h"
#include "support/adjacency.h"
#include "zel/tessel.h"
#include "zel/tessel2d/location.h"

#include <memory>

namespace {

using namespace zel_bench;
using namespace zel::tessel2d;
using zel::no_node;

// ------------------------------------------------------------------------------------------ fixtures

constexpr double tolerance = 1e-6;

/// A planar mesh of triangles with its adjacency, and its search tree.
struct located {
    zel_bench::mesh m;
    zel_test::adjacency beside;
    std::unique_ptr<node_tree> tree;

    located(std::int64_t triangles, std::int64_t how) : located(make_mesh(2, 3, triangles, how)) {}
    explicit located(zel_bench::mesh triangles) : m(std::move(triangles)) {
        beside = zel_test::adjacency_of(m.connect, m.pos.cols);
        tree = std::make_unique<node_tree>(m.pos);
        tree->fill<triangle_cells>(m.connect);
    }
    located_mesh view() const { return {m.pos, m.connect, beside.neighbors, beside.ancestors}; }
    std::size_t bytes() const {
        return m.pos.cols * (2 * sizeof(double) + sizeof(unsigned)) +
               m.connect.cols * 6 * sizeof(unsigned);
    }
};

/// Random points in the unit square, 2 x n.
dense2D<double> random_points(std::size_t n) {
    dense2D<double> points(2, n);
    random_numbers random{7};
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t i = 0; i < 2; ++i) points(i, j) = random.unit();
    return points;
}

/// The same points in the order of a Z curve.
dense2D<double> along_curve(const dense2D<double>& points) {
    dense1D<unsigned, 8> all(points.cols);
    for (unsigned j = 0; j < points.cols; ++j) all[j] = j;
    curve_order order;
    if (!order.sort({{0, 0}, 4294967295.0}, points_view<2>(points), all)) std::abort();
    dense2D<double> sorted(2, points.cols);
    for (std::size_t j = 0; j < points.cols; ++j) std::copy_n(points[order.nodes[j]], 2, sorted[j]);
    return sorted;
}

/// Locating all points, one after the other.
void locate_all(const located& at, const dense2D<double>& points, stopwatch& watch) {
    const located_mesh mesh = at.view();
    const tree_searcher searcher(*at.tree, mesh);
    search_record record;
    std::size_t hits = 0;
    watch.start();
    for (std::size_t j = 0; j < points.cols; ++j) {
        unsigned element = no_node;
        hits += locate<triangle_cells>(mesh, searcher, {points(0, j), points(1, j)}, tolerance,
                                       element, true, record) == outcome::found;
    }
    watch.stop();
    benchmark::DoNotOptimize(hits);
}

reference locating(const char* name, const located& at, const dense2D<double>& points) {
    return {name, [&at, &points](stopwatch& watch) { locate_all(at, points, watch); }};
}

/// Following a random cycle through `bytes` of memory, one read per cache line.
class pointer_chase {
public:
    explicit pointer_chase(std::size_t bytes) : cells(line, std::max<std::size_t>(bytes / 64, 2)) {
        std::vector<unsigned> order(cells.cols);
        std::iota(order.begin(), order.end(), 0U);
        random_numbers random{9};
        for (std::size_t j = order.size(); j > 1; --j)
            std::swap(order[j - 1], order[random.below(j)]);
        for (std::size_t j = 0; j < order.size(); ++j)
            cells(0, order[j]) = order[(j + 1) % order.size()];
    }
    void run(std::size_t reads, stopwatch& watch) const {
        const unsigned* const first = cells.data();
        watch.start();
        unsigned at = 0;
        for (std::size_t i = 0; i < reads; ++i) at = first[std::size_t{at} * line];
        benchmark::DoNotOptimize(at);
        watch.stop();
    }

private:
    static constexpr std::size_t line = 64 / sizeof(unsigned);
    dense2D<unsigned> cells;
};

// ---------------------------------------------------------------------------------------------- tree

/// Sorting the nodes along a Z curve of full resolution.
reference sort_keys(const located& at) {
    return {"sort", [&at](stopwatch& watch) {
                std::vector<std::uint64_t> keys;
                const points_view<2> pos(at.m.pos);
                for (std::size_t node = 0; node < at.m.pos.cols; ++node) {
                    const grid_point g = at.tree->grid(pos[node]);
                    std::uint64_t key = 0;
                    for (unsigned b = 0; b < 32; ++b) {
                        key |= std::uint64_t{(g.x >> b) & 1} << (2 * b);
                        key |= std::uint64_t{(g.y >> b) & 1} << (2 * b + 1);
                    }
                    keys.push_back(key);
                }
                watch.start();
                std::sort(keys.begin(), keys.end());
                benchmark::DoNotOptimize(keys.data());
                watch.stop();
            }};
}

void node_tree_fill(benchmark::State& state) {
    const located at(state.range(0), state.range(1));
    measure(state, static_cast<double>(at.m.pos.cols), {sort_keys(at)}, [&](stopwatch& watch) {
        node_tree tree(at.m.pos);
        watch.start();
        const std::size_t taken = tree.fill<triangle_cells>(at.m.connect);
        watch.stop();
        if (taken != at.m.pos.cols) state.SkipWithError("failed");
    });
}
BENCHMARK(node_tree_fill)
    ->ArgNames({"triangles", "order"})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {generated, jittered, shuffled}})
    ->UseManualTime();

void node_tree_closest(benchmark::State& state) {
    const located at(state.range(0), jittered);
    const dense2D<double> points = random_points(100000);
    const pointer_chase chase(at.bytes());
    measure(state, static_cast<double>(points.cols),
            {{"chase", [&](stopwatch& watch) { chase.run(4 * points.cols, watch); }}},
            [&](stopwatch& watch) {
                unsigned sum = 0;
                watch.start();
                for (std::size_t j = 0; j < points.cols; ++j) {
                    double best = no_distance;
                    sum += at.tree->find_closest({points(0, j), points(1, j)}, best,
                                                 at.view().held_nodes());
                }
                watch.stop();
                benchmark::DoNotOptimize(sum);
            });
}
BENCHMARK(node_tree_closest)
    ->ArgNames({"triangles"})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}})
    ->UseManualTime();

// ---------------------------------------------------------------------------------------- location

void locate_random(benchmark::State& state) {
    const located at(state.range(0), state.range(1));
    const dense2D<double> points = random_points(1000000);
    const pointer_chase chase(at.bytes());
    measure(state, static_cast<double>(points.cols),
            {{"chase", [&](stopwatch& watch) { chase.run(4 * points.cols, watch); }}},
            [&](stopwatch& watch) { locate_all(at, points, watch); });
}
BENCHMARK(locate_random)
    ->ArgNames({"triangles", "order"})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {generated, jittered, shuffled}})
    ->UseManualTime();

void locate_sorted(benchmark::State& state) {
    const located at(state.range(0), state.range(1));
    const dense2D<double> points = random_points(1000000);
    const dense2D<double> sorted = along_curve(points);
    measure(state, static_cast<double>(points.cols), {locating("random", at, points)},
            [&](stopwatch& watch) { locate_all(at, sorted, watch); });
}
BENCHMARK(locate_sorted)
    ->ArgNames({"triangles", "order"})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {generated, jittered, shuffled}})
    ->UseManualTime();

/// The tests of the two matrices, which a single search cannot do without.
reference check_matrices(const located& at) {
    return {"check_IDs", [&at](stopwatch& watch) {
                watch.start();
                const bool good = zel::tessel::check_IDs(at.m.connect, zel::ELEMENT_T3,
                                                         static_cast<unsigned>(at.m.pos.cols)) &&
                                  zel::tessel::check_IDs(at.beside.neighbors,
                                                         static_cast<unsigned>(at.m.connect.cols));
                benchmark::DoNotOptimize(good);
                watch.stop();
            }};
}

void get_element_containing_point(benchmark::State& state) {
    const located at(state.range(0), jittered);
    const zel::tessel::node_detector detector(at.m.pos);
    const dense2D<double> points = random_points(1000);
    std::size_t next = 0;
    measure(state, 1, {check_matrices(at)}, [&](stopwatch& watch) {
        unsigned element = 0;
        const double* const p = points[next++ % points.cols];
        watch.start();
        const int status = zel::tessel2d::get_element_containing_point(
            at.m.pos, at.m.connect, at.beside.neighbors, at.beside.ancestors, detector,
            zel::ELEMENT_T3, {p[0], p[1]}, element, tolerance);
        watch.stop();
        if (status < 0) state.SkipWithError("failed");
    });
}
BENCHMARK(get_element_containing_point)
    ->ArgNames({"triangles"})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}})
    ->UseManualTime();

/// A ring of triangles around a hole of 0.4 times its radius, jittered.
zel_bench::mesh ring(std::int64_t nodes) {
    const auto across = static_cast<unsigned>(std::sqrt(static_cast<double>(nodes) / 4));
    const unsigned around = 4 * across;
    zel_bench::mesh m{dense2D<double>(2, std::size_t{across + 1} * around),
                      dense2D<unsigned>(3, std::size_t{2} * across * around)};
    for (unsigned i = 0; i <= across; ++i)
        for (unsigned j = 0; j < around; ++j) {
            const double radius = 0.4 + 0.6 * i / across;
            const double angle = 6.283185307179586 * j / around;
            m.pos(0, i * around + j) = radius * std::cos(angle);
            m.pos(1, i * around + j) = radius * std::sin(angle);
        }
    for (unsigned i = 0; i < across; ++i)
        for (unsigned j = 0; j < around; ++j) {
            const unsigned a = i * around + j;
            const unsigned b = i * around + (j + 1) % around;
            const unsigned upper[3] = {a, a + around, b + around};
            const unsigned lower[3] = {a, b + around, b};
            std::copy_n(upper, 3, m.connect[std::size_t{2} * (i * around + j)]);
            std::copy_n(lower, 3, m.connect[std::size_t{2} * (i * around + j) + 1]);
        }
    jitter_nodes(m.pos, 0.2 / across, 1);
    return m;
}

/// Random points at distances from the centre between two radii.
dense2D<double> points_between(double inner, double outer, std::size_t n) {
    dense2D<double> points(2, n);
    random_numbers random{8};
    for (std::size_t j = 0; j < n; ++j) {
        const double radius = inner + (outer - inner) * random.unit();
        const double angle = 6.283185307179586 * random.unit();
        points(0, j) = radius * std::cos(angle);
        points(1, j) = radius * std::sin(angle);
    }
    return points;
}

/// Points in the hole of a ring, which are in no element: a search for the element and one for the closest
/// node.
void locate_in_a_hole(benchmark::State& state) {
    const located at(ring(state.range(0)));
    const dense2D<double> within = points_between(0.45, 0.95, 4000);
    const dense2D<double> hole = points_between(0, 0.38, 4000);
    measure(state, static_cast<double>(hole.cols), {locating("within", at, within)},
            [&](stopwatch& watch) { locate_all(at, hole, watch); });
}
BENCHMARK(locate_in_a_hole)
    ->ArgNames({"nodes"})
    ->ArgsProduct({{10000, 100000, 1000000}})
    ->UseManualTime();

/// `interpolate` onto a thousand points in the hole of a ring, beside a thousand within.
void interpolate_in_a_hole(benchmark::State& state) {
    const located at(ring(state.range(0)));
    const auto onto = [&at](double inner, double outer) {
        const dense2D<double> points = points_between(inner, outer, 1000);
        const std::size_t nodes = at.m.pos.cols;
        const std::size_t all = nodes + points.cols;
        auto pos = fresh_copy(at.m.pos);
        auto ancestors = at.beside.ancestors;
        dense1D<unsigned, 8> orphans(points.cols);
        if (!pos.resize(2, all) || !ancestors.resize(all, no_node)) std::abort();
        for (std::size_t j = 0; j < points.cols; ++j) {
            std::copy_n(points[j], 2, pos[nodes + j]);
            orphans[j] = static_cast<unsigned>(nodes + j);
        }
        return [=, &at, field = dense1D<double, 8>(all, 1.0)](stopwatch& watch) mutable {
            watch.start();
            const int status = zel::tessel2d::interpolate(
                pos, at.m.connect, at.beside.neighbors, ancestors, field, orphans, zel::ELEMENT_T3);
            watch.stop();
            if (status != 0) std::abort();
        };
    };
    measure(state, 1000, {{"within", onto(0.45, 0.95)}}, onto(0, 0.38));
}
BENCHMARK(interpolate_in_a_hole)
    ->ArgNames({"nodes"})
    ->ArgsProduct({{10000, 100000, 1000000}})
    ->UseManualTime();

// ----------------------------------------------------------------------------------- interpolation

void interpolate(benchmark::State& state) {
    const located at(state.range(0), jittered);
    const auto components = static_cast<std::size_t>(state.range(1));
    const dense2D<double> points = random_points(1000000);
    const std::size_t nodes = at.m.pos.cols;
    const std::size_t all = nodes + points.cols;
    auto pos = fresh_copy(at.m.pos);
    auto ancestors = at.beside.ancestors;
    dense1D<unsigned, 8> orphans(points.cols);
    if (!pos.resize(2, all) || !ancestors.resize(all, no_node)) std::abort();
    for (std::size_t j = 0; j < points.cols; ++j) {
        std::copy_n(points[j], 2, pos[nodes + j]);
        orphans[j] = static_cast<unsigned>(nodes + j);
    }
    dense2D<double> field(components, all, 1.0);
    measure(state, static_cast<double>(points.cols), {locating("locate", at, points)},
            [&](stopwatch& watch) {
                watch.start();
                const int status =
                    zel::tessel2d::interpolate(pos, at.m.connect, at.beside.neighbors, ancestors,
                                               field, orphans, zel::ELEMENT_T3);
                watch.stop();
                if (status != 0) state.SkipWithError("failed");
            });
}
BENCHMARK(interpolate)
    ->ArgNames({"triangles", "components"})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {1, 6}})
    ->UseManualTime();

} // namespace
