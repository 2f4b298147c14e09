// SPDX-License-Identifier: Apache-2.0
#include "fixtures.h"

#include "zel/tessel.h"

#include <cmath>
#include <limits>

namespace {

using namespace zel_bench;
using zel::vector_fixed;
using zel::tessel::node_detector;
using place = vector_fixed<double, 2>;

// ------------------------------------------------------------------------------- points and queries

constexpr std::size_t clusters = 100;
constexpr std::size_t points_of_mesh = 500000;
constexpr std::size_t queries_of_case = 1000000;

/// Points of the unit square, or of 100 places in it around which they get 64 times closer.
std::vector<place> draw(std::size_t n, bool clustered, std::uint64_t seed) {
    random_numbers centers{5};
    std::vector<place> center(clusters);
    for (auto& c : center) c = {centers.unit(), centers.unit()};
    random_numbers random{seed};
    std::vector<place> result(n);
    for (auto& p : result) {
        p = {random.unit(), random.unit()};
        if (!clustered) continue;
        const double distance = 0.1 * std::exp2(-6 * p[0]);
        const double angle = 6.283185307179586 * p[1];
        const place& c = center[random.below(clusters)];
        p = {c[0] + distance * std::cos(angle), c[1] + distance * std::sin(angle)};
    }
    return result;
}

/// The bits of x at the even places of the key, those of y at the odd ones.
std::uint64_t interleaved_key(const place& p) {
    std::uint64_t key = 0;
    for (std::size_t r = 0; r < 2; ++r) {
        auto bits = static_cast<std::uint64_t>((p[r] + 1) * 0x1p28);
        bits = (bits | bits << 16) & 0x0000FFFF0000FFFFU;
        bits = (bits | bits << 8) & 0x00FF00FF00FF00FFU;
        bits = (bits | bits << 4) & 0x0F0F0F0F0F0F0F0FU;
        bits = (bits | bits << 2) & 0x3333333333333333U;
        bits = (bits | bits << 1) & 0x5555555555555555U;
        key |= bits << r;
    }
    return key;
}

void sort_in_space(std::vector<place>& points) {
    std::sort(points.begin(), points.end(), [](const place& a, const place& b) {
        return interleaved_key(a) < interleaved_key(b);
    });
}

dense2D<double> as_matrix(const std::vector<place>& points) {
    dense2D<double> pos(2, points.size());
    for (std::size_t j = 0; j < points.size(); ++j) {
        pos(0, j) = points[j][0];
        pos(1, j) = points[j][1];
    }
    return pos;
}

// --------------------------------------------------------------------------------- the plain rival

/// Equal square cells, two points to each on average, with the points sorted by cell.
class uniform_grid {
public:
    explicit uniform_grid(const dense2D<double>& pos) : low_{pos(0, 0), pos(1, 0)} {
        place high = low_;
        for (std::size_t j = 0; j < pos.cols; ++j)
            for (std::size_t r = 0; r < 2; ++r) {
                low_[r] = std::min(low_[r], pos(r, j));
                high[r] = std::max(high[r], pos(r, j));
            }
        const double area = (high[0] - low_[0]) * (high[1] - low_[1]);
        size_ = std::sqrt(2 * area / static_cast<double>(pos.cols));
        for (std::size_t r = 0; r < 2; ++r)
            count_[r] = static_cast<long>((high[r] - low_[r]) / size_) + 1;
        std::vector<std::size_t> cell(pos.cols);
        begin_.assign(static_cast<std::size_t>(count_[0] * count_[1]) + 1, 0);
        for (std::size_t j = 0; j < pos.cols; ++j) {
            cell[j] = number(cell_along({pos(0, j), pos(1, j)}, 0),
                             cell_along({pos(0, j), pos(1, j)}, 1));
            ++begin_[cell[j] + 1];
        }
        for (std::size_t c = 1; c < begin_.size(); ++c) begin_[c] += begin_[c - 1];
        auto next = begin_;
        held_.resize(pos.cols);
        for (std::size_t j = 0; j < pos.cols; ++j)
            held_[next[cell[j]]++] = {pos(0, j), pos(1, j), static_cast<unsigned>(j)};
    }

    /// The nearest in the first ring of cells that is not empty.
    unsigned find_close(const place& p) const { return search<false>(p); }

    /// Rings of cells, until none farther out can hold a nearer point.
    unsigned find_closest(const place& p) const { return search<true>(p); }

private:
    struct point {
        double x, y;
        unsigned node;
    };
    struct candidate {
        double square = std::numeric_limits<double>::infinity();
        unsigned node = 0xFFFFFFFFU;
    };

    long cell_along(const place& p, std::size_t r) const {
        return std::clamp(static_cast<long>((p[r] - low_[r]) / size_), 0L, count_[r] - 1);
    }
    std::size_t number(long i, long j) const { return static_cast<std::size_t>(j * count_[0] + i); }

    /// The cells i0 to i1 of a row, whose points stand side by side.
    void look_through(long i0, long i1, long j, const place& p, candidate& best) const {
        i0 = std::max(i0, 0L);
        i1 = std::min(i1, count_[0] - 1);
        if (j < 0 || j >= count_[1] || i0 > i1) return;
        const std::uint32_t end = begin_[number(i1, j) + 1];
        for (std::uint32_t k = begin_[number(i0, j)]; k < end; ++k) {
            const double x = held_[k].x - p[0];
            const double y = held_[k].y - p[1];
            const double square = x * x + y * y;
            if (square < best.square) best = {square, held_[k].node};
        }
    }

    template <bool Proven>
    unsigned search(const place& p) const {
        const long i = cell_along(p, 0);
        const long j = cell_along(p, 1);
        candidate best;
        look_through(i, i, j, p, best);
        for (long ring = 1; ring <= std::max(count_[0], count_[1]); ++ring) {
            if (best.node != 0xFFFFFFFFU) {
                if (!Proven) break;
                const double x = p[0] - low_[0];
                const double y = p[1] - low_[1];
                const double reach = static_cast<double>(ring - 1);
                const double free = std::min({x - (static_cast<double>(i) - reach) * size_,
                                              (static_cast<double>(i) + reach + 1) * size_ - x,
                                              y - (static_cast<double>(j) - reach) * size_,
                                              (static_cast<double>(j) + reach + 1) * size_ - y});
                if (free > 0 && best.square <= free * free) break;
            }
            look_through(i - ring, i + ring, j - ring, p, best);
            look_through(i - ring, i + ring, j + ring, p, best);
            for (long between = j - ring + 1; between < j + ring; ++between) {
                look_through(i - ring, i - ring, between, p, best);
                look_through(i + ring, i + ring, between, p, best);
            }
        }
        return best.node;
    }

    place low_;
    double size_ = 0;
    long count_[2];
    std::vector<std::uint32_t> begin_; // of the points of each cell
    std::vector<point> held_;
};

// ----------------------------------------------------------------------------------------- the cases

double square_of_distance(const dense2D<double>& pos, unsigned node, const place& p) {
    const double x = pos(0, node) - p[0];
    const double y = pos(1, node) - p[1];
    return x * x + y * y;
}

template <class Find>
void ask_all(stopwatch& watch, const std::vector<place>& queries, const Find& find) {
    watch.start();
    unsigned sum = 0;
    for (const place& p : queries) sum += find(p);
    benchmark::DoNotOptimize(sum);
    watch.stop();
}

void detector_closest(benchmark::State& state, bool clustered, bool in_order) {
    const auto pos = as_matrix(draw(points_of_mesh, clustered, 1));
    auto queries = draw(queries_of_case, clustered, 2);
    if (in_order) sort_in_space(queries);
    const node_detector detector(pos);
    const uniform_grid grid(pos);
    for (std::size_t k = 0; k < queries.size(); k += 100) {
        const place& p = queries[k];
        if (square_of_distance(pos, detector.find_closest(p), p) !=
            square_of_distance(pos, grid.find_closest(p), p)) {
            return state.SkipWithError("detector and grid find nodes at different distances");
        }
    }
    const reference by_grid{"grid", [&](stopwatch& watch) {
                                ask_all(watch, queries,
                                        [&](const place& p) { return grid.find_closest(p); });
                            }};
    measure(state, static_cast<double>(queries.size()), {by_grid}, [&](stopwatch& watch) {
        ask_all(watch, queries, [&](const place& p) { return detector.find_closest(p); });
    });
}

void detector_close(benchmark::State& state, bool clustered, bool in_order) {
    const auto pos = as_matrix(draw(points_of_mesh, clustered, 1));
    auto queries = draw(queries_of_case, clustered, 2);
    if (in_order) sort_in_space(queries);
    const node_detector detector(pos);
    const uniform_grid grid(pos);
    const reference by_grid{"grid", [&](stopwatch& watch) {
                                ask_all(watch, queries,
                                        [&](const place& p) { return grid.find_close(p); });
                            }};
    measure(state, static_cast<double>(queries.size()), {by_grid}, [&](stopwatch& watch) {
        ask_all(watch, queries, [&](const place& p) { return detector.find_close(p); });
    });
}

void detector_build(benchmark::State& state, bool clustered) {
    const auto points = draw(points_of_mesh, clustered, 1);
    const auto pos = as_matrix(points);
    const reference sort{"sort", [&](stopwatch& watch) {
                             watch.start();
                             std::vector<std::uint64_t> keys(points.size());
                             std::transform(points.begin(), points.end(), keys.begin(),
                                            interleaved_key);
                             std::sort(keys.begin(), keys.end());
                             benchmark::DoNotOptimize(keys.data());
                             watch.stop();
                         }};
    const reference grid{"grid", [&](stopwatch& watch) {
                             watch.start();
                             const uniform_grid made(pos);
                             benchmark::DoNotOptimize(made.find_close(points[0]));
                             watch.stop();
                         }};
    measure(state, static_cast<double>(points.size()), {sort, grid}, [&](stopwatch& watch) {
        watch.start();
        const node_detector made(pos);
        benchmark::DoNotOptimize(made.size());
        watch.stop();
    });
}

/// Points around nodes that lie in a ring: in its hole, and outside.
void detector_around(benchmark::State& state, double inner, double outer) {
    random_numbers random{11};
    const auto between = [&random](double low, double high) {
        const double radius = low + (high - low) * random.unit();
        const double angle = 6.283185307179586 * random.unit();
        return place{radius * std::cos(angle), radius * std::sin(angle)};
    };
    std::vector<place> nodes(points_of_mesh);
    for (auto& p : nodes) p = between(0.4, 1);
    std::vector<place> within(10000);
    for (auto& p : within) p = between(0.45, 0.95);
    std::vector<place> around(10000);
    for (auto& p : around) p = between(inner, outer);
    const node_detector detector(as_matrix(nodes));
    const auto ask = [&detector](const std::vector<place>& places, stopwatch& watch) {
        unsigned sum = 0;
        watch.start();
        for (const place& p : places) sum += detector.find_closest(p);
        watch.stop();
        benchmark::DoNotOptimize(sum);
    };
    measure(state, static_cast<double>(around.size()),
            {{"within", [&](stopwatch& watch) { ask(within, watch); }}},
            [&](stopwatch& watch) { ask(around, watch); });
}

void few_runs(benchmark::internal::Benchmark* b) {
    b->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(detector_closest, uniform_random, false, false)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_closest, uniform_in_order, false, true)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_closest, clustered_random, true, false)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_closest, clustered_in_order, true, true)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_close, uniform_random, false, false)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_close, uniform_in_order, false, true)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_close, clustered_random, true, false)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_close, clustered_in_order, true, true)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_around, hole, 0, 0.38)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_around, outside, 1.1, 3)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_around, far_outside, 1e5, 1e6)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_build, uniform, false)->Apply(few_runs);
BENCHMARK_CAPTURE(detector_build, clustered, true)->Apply(few_runs);

} // namespace
