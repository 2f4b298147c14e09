// zel tessel2d: planar and surface mesh tools.
#include "fixtures.h"
#include "meshes.h"

#include "zel/host/adjacency.h"

#include <algorithm>
#include <unordered_map>

namespace {

using namespace zel_bench;

// ------------------------------------------------------------------------------------------ references

/// What a program does that has nothing: a hash table from pairs of nodes to the element that came first.
reference hash_loop(const mesh& m) {
    return {"hash", [&m](stopwatch& watch) {
                watch.start();
                std::unordered_map<std::uint64_t, std::uint64_t> seen;
                seen.reserve(m.connect.cols * 2);
                dense2D<unsigned> neighbors(3, m.connect.cols, 0xFFFFFFFFU);
                dense1D<unsigned, 8> ancestors(m.pos.cols, 0xFFFFFFFFU);
                for (std::size_t e = 0; e < m.connect.cols; ++e) {
                    for (unsigned k = 0; k < 3; ++k) {
                        const unsigned a = m.connect((k + 1) % 3, e);
                        const unsigned b = m.connect((k + 2) % 3, e);
                        ancestors[a] = static_cast<unsigned>(e);
                        const std::uint64_t key =
                            std::uint64_t{std::min(a, b)} << 32 | std::max(a, b);
                        const auto [at, fresh] = seen.try_emplace(key, e * 4 + k);
                        if (fresh) continue;
                        neighbors(k, e) = static_cast<unsigned>(at->second / 4);
                        neighbors(at->second % 4, at->second / 4) = static_cast<unsigned>(e);
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

} // namespace
