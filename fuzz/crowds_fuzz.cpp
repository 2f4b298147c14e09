// SPDX-License-Identifier: Apache-2.0
// Crowds: meshes so large that the library takes them in portions. A driver of its own, since an input takes
// a hundred times as long as those of the others.
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include "zel/tessel.h"

#include <array>
#include <cmath>
#include <map>

using namespace zel_fuzz;
namespace tessel = zel::tessel;

namespace {

/// So many nodes that they are taken in several portions: an even or crowded cloud from a few bytes.
void fuse_crowd(input& in) {
    in.room = std::size_t{1} << 23;
    const std::size_t dim = in.one_of({2u, 3u});
    const std::size_t nodes = 8100 + 40 * in.byte();
    const unsigned range = in.one_of({200u, 3u, 30u, 20000u});
    const double tolerance = in.one_of({0.0, 0.25, 0.75, 1.25, 2.5});
    const bool even = in.flag();
    std::uint64_t seed = in.word();
    const auto next = [&seed] {
        seed = seed * 6364136223846793005u + 1442695040888963407u;
        return static_cast<unsigned>(seed >> 33);
    };
    dense2D<double> pos(dim, nodes);
    dense2D<unsigned> connect(1, nodes);
    for (std::size_t j = 0; j < nodes; ++j) {
        for (std::size_t i = 0; i < dim; ++i)
            pos(i, j) = next() % range + (even ? 0 : next() % 8 / 16.0);
        connect(0, j) = static_cast<unsigned>(j);
    }
    const int status = call(
        in, "merge of a crowd", {-1},
        [=](auto& p, auto& c) { return tessel::merge(p, c, tolerance, 0); }, reads(pos),
        turns(connect));
    if (status != 0) return;
    // What stands for others is kept; nodes with the coordinates of another are not.
    std::map<std::array<double, 3>, std::size_t> at;
    for (std::size_t j = 0; j < nodes; ++j) {
        const unsigned kept = connect(0, j);
        require(kept <= j && connect(0, kept) == kept, "what a node is replaced by is kept");
        double sum = 0;
        std::array<double, 3> place{};
        for (std::size_t i = 0; i < dim; ++i) {
            const double d = pos(i, j) - pos(i, kept);
            sum += d * d;
            place[i] = pos(i, j);
        }
        require(kept == j || sum == 0 || std::sqrt(sum) < tolerance, "fused nodes are close");
        if (kept == j)
            require(at.emplace(place, j).second, "nodes with equal coordinates are fused");
    }
}

} // namespace

void zel_fuzz::run(input& in) {
    fuse_crowd(in);
}
