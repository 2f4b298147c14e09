// SPDX-License-Identifier: Apache-2.0
// The containers that carry a mesh: lists and matrices are views on shared storage.
#include "zel/dense.h"
#include "zel/tessel.h"
#include "zel/tessel2d/generators.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace zel;

static void require(bool condition, const char* what) {
    if (condition) return;
    std::puts(what);
    std::abort();
}

static void lists() {
    //! [lists]
    dense1D<unsigned, 8> loop;
    if (!loop.reserve(5, 1)) return; // false: memory is exhausted, nothing is thrown
    for (unsigned node = 0; node < 4; ++node) loop.push_back(node);
    loop.push_back(loop[0]); // closed: 0 1 2 3 0

    dense1D<unsigned, 8> same = loop; // shares the storage, copies nothing
    same[1] = 7;                      // loop[1] is 7 as well

    double heights[3] = {0.1, 0.2, 0.4}; // memory of the program's own, wrapped without a copy
    auto graded = dense1D<double, 8>::wrap(heights, 3);
    //! [lists]
    require(loop[1] == 7 && loop.size == 5, "views share their storage");
    require(graded.data() == heights, "wrapped memory is not copied");
}

static void views() {
    //! [views]
    dense2D<double> pos(2, 4, 0.0); // one node per column
    pos(0, 1) = pos(0, 2) = 1.0;    // x of nodes 1 and 2
    pos(1, 2) = pos(1, 3) = 1.0;    // y of nodes 2 and 3

    dense2D<unsigned> connect(4, 2); // one element per column; row 3 may mark a triangle
    const unsigned quad[4] = {0, 1, 2, 3};
    const unsigned triangle[4] = {0, 1, 2, 0xFFFFFFFF};
    for (unsigned k = 0; k < 4; ++k) {
        connect(k, 0) = quad[k];
        connect(k, 1) = triangle[k];
    }
    bool usable = tessel::check_IDs(connect, ELEMENT_FACE, 4); // four nodes: true

    dense2D<unsigned> corners = connect.sub_matrix(0, 1, 3, 1); // the triangle alone, no copy
    bool as_triangle = tessel::check_IDs(corners, ELEMENT_T3, 4);

    dense2D<double> own;
    if (!own.copy(pos)) return; // the only deep copy
    own.resize(3, 4, 0.0);      // a third row, z = 0; elements stay at their places
    //! [views]
    require(usable && as_triangle, "entries are checked");
    require(corners[0] == connect[1] && corners.ld == 4, "a view looks into its parent");
    require(own.rows == 3 && own(1, 3) == 1.0 && pos.rows == 2, "the copy stands alone");
}

// const belongs to the view, not to the block: a copy that is not const may write to both.
static void copies_of_const() {
    //! [copies_of_const]
    const dense2D<double> given(2, 3, 1.0);
    dense2D<double> view = given; // a second view of the same block, although `given` is const
    view(0, 0) = 5.0;             // given(0, 0) is 5 as well

    dense2D<double> own;
    if (!own.copy(given)) return; // elements of its own; false: memory is exhausted
    own(0, 0) = 9.0;              // given stays
    //! [copies_of_const]
    require(given(0, 0) == 5.0 && view.data() == given.data(), "a copied view shares the block");
    require(own.data() != given.data(), "a deep copy does not");
}

// A matrix on memory of the program's own moves to memory of the library's when a call makes it grow.
static void stale_memory() {
    //! [stale_memory]
    std::vector<double> xy = {0, 0, 1, 0, 2, 0, 2, 1, 2, 2, 1, 2, 0, 2, 0, 1};
    auto pos = dense2D<double>::wrap(xy.data(), 2, 8); // the outline of a square, not copied
    dense1D<unsigned, 8> loop(9);
    for (unsigned k = 0; k < 9; ++k) loop[k] = k % 8;

    dense2D<unsigned> quads;
    if (tessel2d::mesh_struct_Q4(pos, loop, 2, quads) != 0) return; // appends node 8 to pos
    pos(0, 4) = 2.5; // no longer reaches xy: pos has moved, xy is stale
    bool stale = pos.data() != xy.data() && xy[8] == 2.0;

    xy.assign(pos.begin(), pos.end()); // where the program goes on with its own vector
    //! [stale_memory]
    require(stale && pos.cols == 9, "growth leaves the program's memory behind");
    require(xy.size() == 18 && xy[8] == 2.5, "brought up to date");
}

int main() {
    lists();
    views();
    copies_of_const();
    stale_memory();
}
