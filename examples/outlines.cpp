// SPDX-License-Identifier: Apache-2.0
//
// Host tools: a quarter of a ring out of arcs and straight lines, raised along its curved sides, and twice.
#include "zel/host/outlines.h"
#include "zel/tessel1d.h"
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

using namespace zel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

} // namespace

int main() {
    // The corners of a quarter of a ring: (1, 0), (2, 0), (0, 2), (0, 1).
    dense2D<double> pos(2, 4, 0.0);
    pos(0, 0) = pos(1, 3) = 1;
    pos(0, 1) = pos(1, 2) = 2;

    //! [arc]
    dense1D<unsigned, 8> outer;
    dense1D<unsigned, 8> inner;
    require(host::arc(pos, 1, 2, {0, 0}, 16, outer) == 0);
    require(host::arc(pos, 0, 3, {0, 0}, 16, inner) == 0);
    //! [arc]
    require(std::abs(std::hypot(pos(0, outer[5]), pos(1, outer[5])) - 2) < 1e-14);

    //! [curved]
    dense1D<unsigned, 8> outer_corners; // every second node, for the patch
    dense1D<unsigned, 8> inner_corners;
    dense2D<unsigned> edges; // the others, for the order conversion
    require(host::curved_edges(outer, 1, outer_corners, edges) == 0);
    require(host::curved_edges(inner, 1, inner_corners, edges) == 0);
    //! [curved]
    require(edges.cols == 16);

    //! [patch]
    dense1D<unsigned, 8> start;
    dense1D<unsigned, 8> finish;
    require(tessel1d::mesh_straight(pos, 0, 1, 4, start) == 0);
    require(tessel1d::mesh_straight(pos, 2, 3, 4, finish) == 0);
    dense1D<unsigned, 8> loop; // `inner` runs backwards and is turned
    require(host::patch_loop(start, outer_corners, finish, inner_corners, loop) == 0);
    dense2D<unsigned> connect;
    require(tessel2d::mesh_struct_Q4(pos, loop, 8, connect) == 0);
    //! [patch]
    require(connect.cols == 32);
    require(tessel2d::convert_into_quadratic(pos, connect, edges) == 0);

    //! [append]
    dense2D<double> both;
    dense2D<unsigned> elements;
    require(host::append(both, elements, pos, connect) == 0);
    require(host::append(both, elements, pos, connect) == 0);
    //! [append]
    require(elements.cols == 64 && both.cols == 2 * pos.cols);
    std::printf("%zu nodes, %zu elements\n", both.cols, elements.cols);
    return 0;
}
