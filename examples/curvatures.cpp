// zel tessel2d: planar and surface mesh tools.
//
// The elements around a node, and curvatures of surfaces.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include "support/adjacency.h"

#include <cmath>
#include <cstdio>

namespace {

bool lists_stars() {
    //! [stars]
    // A square of four triangles around node 4. Edge k of a triangle lies opposite its node k.
    unsigned nodes[] = {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4};
    unsigned across[] = {1, 3, 0xFFFFFFFF, 2, 0, 0xFFFFFFFF, 3, 1, 0xFFFFFFFF, 0, 2, 0xFFFFFFFF};
    unsigned holders[] = {0, 0, 1, 2, 2}; // an element for each node
    const auto connect = zel::dense2D<unsigned>::wrap(nodes, 3, 4);
    const auto neighbors = zel::dense2D<unsigned>::wrap(across, 3, 4);
    const auto ancestors = zel::dense1D<unsigned, 8>::wrap(holders, 5);

    zel::dense1D<unsigned, 8> starts;
    zel::dense1D<unsigned, 8> elements;
    const int status =
        zel::tessel2d::get_connected_elements(connect, neighbors, ancestors, starts, elements);
    // status is 0. From starts[4] to starts[5] stand the elements around node 4: 2, 3, 0, 1.
    //! [stars]
    const unsigned expected[] = {2, 3, 0, 1};
    return status == 0 && starts.size == 6 && starts[4] == 8 && starts[5] == 12 &&
           std::equal(expected, expected + 4, elements.begin() + 8);
}

} // namespace

int main() {
    if (!lists_stars()) {
        std::puts("the elements around a node are not as expected");
        return 1;
    }
    std::puts("stars are as expected");
    return 0;
}
