// SPDX-License-Identifier: Apache-2.0
//
// Orientation: turning elements over, making a surface agree with itself, collapsed quadrilaterals.
// Ends with status 1 if a result is not the expected one.
#include "zel/host/adjacency.h"
#include "zel/tessel2d.h"

#include <cstdio>

namespace {

constexpr unsigned none = 0xFFFFFFFF;

bool turns_over() {
    //! [flip]
    unsigned nodes[] = {0, 1, 2, 3, 1, 4, 2, none};
    auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 2);
    const int status = zel::tessel2d::flip(connect);
    // (2, 1, 0, 3) and (2, 4, 1, 0xFFFFFFFF)
    //! [flip]
    //! [flip_quadratic]
    unsigned six[] = {0, 1, 2, 3, 4, 5};
    auto quadratic = zel::dense2D<unsigned>::wrap(six, 6, 1);
    const int turned = zel::tessel2d::flip(quadratic, zel::ELEMENT_T6);
    // (2, 1, 0, 5, 4, 3)
    //! [flip_quadratic]
    return status == 0 && nodes[0] == 2 && nodes[3] == 3 && nodes[4] == 2 && turned == 0 &&
           six[3] == 5 && six[4] == 4;
}

bool keeps_neighbors() {
    //! [flip_neighbors]
    // A quadrilateral with element 1 across its edge from node 1 to node 2.
    unsigned nodes[] = {0, 1, 2, 3};
    unsigned across[] = {none, 1, none, none};
    auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 1);
    auto neighbors = zel::dense2D<unsigned>::wrap(across, 4, 1);
    const int status = zel::tessel2d::flip(connect, neighbors, zel::ELEMENT_FACE);
    // The quadrilateral is (2, 1, 0, 3) and that edge its first one: neighbours 1, -, -, -.
    //! [flip_neighbors]
    return status == 0 && nodes[0] == 2 && across[0] == 1 && across[1] == none;
}

bool reorients() {
    //! [reorient]
    // The second triangle runs the common edge from 1 to 2 as the first one does.
    unsigned nodes[] = {0, 1, 2, 1, 2, 3};
    auto connect = zel::dense2D<unsigned>::wrap(nodes, 3, 2);
    zel::host::adjacency beside;
    if (zel::host::build_adjacency(connect, 4, beside) != 0) return false;
    const int turned = zel::tessel2d::mesh_reorient(connect, beside.neighbors, 0, 1);
    // turned is 1: the second triangle is (3, 2, 1). Element 0, the seed, stays.
    //! [reorient]
    return turned == 1 && nodes[3] == 3 && nodes[4] == 2 && nodes[5] == 1;
}

bool repairs() {
    //! [collapsed]
    unsigned nodes[] = {5, 5, 7, 8, 0, 1, 2, 3};
    auto connect = zel::dense2D<unsigned>::wrap(nodes, 4, 2);
    const int changed = zel::tessel2d::convert_degenerated_Q4(connect);
    // changed is 1: the first column is (5, 7, 8, 0xFFFFFFFF).
    //! [collapsed]
    //! [collapsed_quadratic]
    unsigned eight[] = {0, 1, 2, 0, 4, 5, 6, 7};
    auto quadratic = zel::dense2D<unsigned>::wrap(eight, 8, 1);
    zel::dense1D<unsigned, 8> list;
    const int listed = zel::tessel2d::convert_degenerated_Q(quadratic, list);
    // listed is 1 and list holds 0: the column is the T6 (0, 1, 2, 5, 6, 4), then 0xFFFFFFFF twice.
    //! [collapsed_quadratic]
    return changed == 1 && nodes[1] == 7 && nodes[3] == none && listed == 1 && list[0] == 0 &&
           eight[3] == 5 && eight[5] == 4 && eight[6] == none;
}

} // namespace

int main() {
    const bool good = turns_over() && keeps_neighbors() && reorients() && repairs();
    if (!good) std::puts("a result is not the expected one");
    return good ? 0 : 1;
}
