// zel tessel2d: planar and surface mesh tools.
// The containers that carry a mesh: lists and matrices are views on shared storage.
#include "zel/dense.h"
#include "zel/tessel.h"

#include "support/require.h"

using namespace zel;
using examples::require;

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

int main() {
    lists();
    views();
}
