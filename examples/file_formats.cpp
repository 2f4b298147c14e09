// SPDX-License-Identifier: Apache-2.0
//
// Host tools: meshes of higher order in the node order of a file format, and back.
#include "zel/host/node_orders.h"
#include "zel/tessel2d.h"

#include <cstdlib>

using namespace zel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

} // namespace

int main() {
    // One square and one triangle on its right side, raised to order 3: Q16 and T10.
    dense2D<double> pos(2, 5, 0.0);
    pos(0, 1) = pos(0, 2) = pos(1, 2) = pos(1, 3) = 1.0;
    pos(0, 4) = 2.0;
    dense2D<unsigned> connect(4, 2);
    const unsigned square[4] = {0, 1, 2, 3};
    const unsigned triangle[4] = {1, 4, 2, 0xFFFFFFFF};
    for (unsigned k = 0; k < 4; ++k) {
        connect(k, 0) = square[k];
        connect(k, 1) = triangle[k];
    }
    require(tessel2d::convert_into_high_order(pos, connect, 2, 4, 1, dense2D<unsigned>()) == 0);

    //! [node_orders]
    dense2D<unsigned> for_file;
    require(for_file.copy(connect));
    require(host::reorder_to(host::node_format::vtk, 2, for_file) == 0); // two nodes on each edge
    // ... written to a file, or read from one ...
    require(host::reorder_from(host::node_format::vtk, 2, for_file) == 0);

    const unsigned* order = host::order_to(host::node_format::gmsh, host::nodal_element::T10);
    unsigned first_on_first_side =
        connect(order[3], 1); // gmsh begins with the side from corner 0 to 1
    const unsigned* back = host::order_from(host::node_format::gmsh, host::nodal_element::T10);
    unsigned place_of_node_7 = back[7]; // 3
    //! [node_orders]
    require(place_of_node_7 == 3);
    require(first_on_first_side == connect(7, 1));
    for (std::size_t e = 0; e < connect.cols; ++e)
        for (std::size_t k = 0; k < connect.rows; ++k) require(for_file(k, e) == connect(k, e));
}
