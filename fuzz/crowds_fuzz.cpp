// SPDX-License-Identifier: Apache-2.0
// Crowds: meshes so large that the library takes them in portions, and nodes with up to 100 000 elements around
// them. A driver of its own, since an input takes a hundred times as long as those of the others.
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/meshes.h"

#include "zel/tessel.h"
#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/measures.h"

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

/// The star of node 0 goes all around it from its ancestor on, the others have two elements.
void require_stars(unsigned n, unsigned begin, const dense1D<unsigned, 8>& starts,
                   const dense1D<unsigned, 8>& elements) {
    require(starts.size == n + 2 && elements.size == std::size_t{3} * n, "every star is whole");
    for (unsigned i = 0; i < n; ++i)
        require(elements[i] == (begin + i) % n, "a star turns counterclockwise from its ancestor");
    for (unsigned i = 0; i < n; ++i) {
        const unsigned* const two = elements.data() + starts[1 + i];
        require(starts[2 + i] == starts[1 + i] + 2 && two[0] == i && two[1] == (i + n - 1) % n,
                "a node at the boundary has two elements");
    }
}

/// As many triangles around one node as a few bytes say, up to 100 000.
void turn_around_star(input& in) {
    in.room = std::size_t{1} << 26;
    const unsigned n = in.one_of({200u, 5000u, 66000u, 100000u}) - in.byte() % 128;
    const shape s = star(n);
    dense2D<double> pos(2, s.places.size());
    dense2D<unsigned> connect(3, n), neighbors(3, n);
    dense1D<unsigned, 8> ancestors(n + 1);
    for (std::size_t j = 0; j < pos.cols; ++j)
        for (std::size_t i = 0; i < 2; ++i) pos(i, j) = s.places[j][i];
    const unsigned begin = in.word() % n;
    ancestors[0] = begin;
    long double expected = 0;
    for (unsigned e = 0; e < n; ++e) {
        std::copy_n(s.elements[e].data(), 3, connect[e]);
        neighbors(0, e) = no_node;
        neighbors(1, e) = (e + 1) % n;
        neighbors(2, e) = (e + n - 1) % n;
        ancestors[1 + e] = e;
        const auto &a = s.places[connect(1, e)], &b = s.places[connect(2, e)];
        expected +=
            (static_cast<long double>(a[0]) * b[1] - static_cast<long double>(a[1]) * b[0]) / 2;
    }
    dense1D<unsigned, 8> starts, elements;
    const int listed = call(
        in, "get_connected_elements of a star", {},
        [](auto& c, auto& b, auto& a, auto& first, auto& list) {
            return zel::tessel2d::get_connected_elements(c, b, a, first, list);
        },
        reads(connect), reads(neighbors), reads(ancestors), makes(starts), makes(elements));
    if (listed == 0 && !now.failed) require_stars(n, begin, starts, elements);
    double sum = 0;
    require(zel::tessel2d::area(pos, connect, sum) == 0 && std::fabs(sum - expected) < 1e-9L,
            "the area is that of all triangles");
    const int raised = call(
        in, "convert_into_quadratic of a star", {},
        [](auto& p, auto& c) { return zel::tessel2d::convert_into_quadratic(p, c); }, grows(pos),
        makes(connect));
    if (raised == 0 && !now.failed)
        require(pos.cols == std::size_t{3} * n + 1 && connect.rows == 6 && connect.cols == n,
                "each edge gets one node");
}

} // namespace

void zel_fuzz::run(input& in) {
    if (in.one_in(4)) {
        turn_around_star(in);
    } else {
        fuse_crowd(in);
    }
}
