// SPDX-License-Identifier: Apache-2.0
//
// Host tools: neighbours, edges, boundary loops, components and orientation of a plate with a hole.
#include "zel/host/adjacency.h"
#include "zel/tessel2d.h"

#include <cstdio>
#include <cstdlib>

using namespace zel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

/// 3 x 3 squares without the one in the middle; node 4*row + column.
dense2D<unsigned> plate() {
    dense2D<unsigned> connect;
    for (unsigned s = 0; s < 9; ++s) {
        const unsigned a = s / 3 * 4 + s % 3;
        const unsigned square[4] = {a, a + 1, a + 5, a + 4};
        if (s != 4) push_back_column4(square, connect);
    }
    return connect;
}

} // namespace

int main() {
    const dense2D<unsigned> connect = plate();
    constexpr std::size_t nodes = 16;

    //! [adjacency]
    host::adjacency beside;
    require(host::build_adjacency(connect, nodes, beside) == 0);
    dense1D<unsigned, 8> starts;
    dense1D<unsigned, 8> elements;
    require(tessel2d::get_connected_elements(connect, beside.neighbors, beside.ancestors, starts,
                                             elements) == 0);
    //! [adjacency]
    require(elements.size == 4 * connect.cols);

    //! [edges]
    dense2D<unsigned> edges;
    dense2D<unsigned> both; // the elements on each edge
    require(host::unique_edges(connect, nodes, edges, both) == 0);
    std::printf("%zu edges\n", edges.cols);
    //! [edges]
    require(edges.cols == 24);

    //! [boundary]
    dense2D<unsigned> outline; // a profile for the sweeps
    require(host::boundary_edges(connect, nodes, outline) == 0);
    //! [boundary]
    require(outline.cols == 16);

    //! [loops]
    dense1D<unsigned, 8> first;
    dense1D<unsigned, 8> loops;
    require(host::boundary_loops(connect, nodes, first, loops) == 0);
    for (std::size_t i = 0; i + 1 < first.size; ++i)
        std::printf("loop of %u edges\n", first[i + 1] - first[i] - 1);
    //! [loops]
    require(first.size == 3 && first[1] == 13 && first[2] == 18);

    //! [components]
    dense1D<unsigned, 8> component;
    std::printf("%d component\n", host::components(beside.neighbors, component));
    //! [components]
    require(component.size == 8 && component[7] == 0);

    //! [orientable]
    host::orientation found;
    if (host::is_orientable(connect, beside.neighbors, found) == 0)
        std::printf("edge %u of element %u stands in the way\n", found.edge, found.element);
    //! [orientable]
    require(found.against == 0);
    return 0;
}
