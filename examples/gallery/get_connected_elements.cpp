// SPDX-License-Identifier: Apache-2.0
// The star of each node, in the order of a turn.
#include "gallery/figure.h"
#include "gallery/shapes.h"

#include <zel/host/adjacency.h>

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 4);
    host::adjacency beside;
    int status = host::build_adjacency(triangles, pos.cols, beside);

    dense1D<unsigned, 8> starts;
    dense1D<unsigned, 8>
        elements; // the star of node n: elements[starts[n]] to elements[starts[n + 1]]
    if (status == 0) {
        status = tessel2d::get_connected_elements(triangles, beside.neighbors, beside.ancestors,
                                                  starts, elements);
    }
    //! [program]

    gallery::figure figure;
    unsigned middle = 0; // the node with the most elements around it
    for (unsigned n = 0; n + 1 < starts.size; ++n)
        if (starts[n + 1] - starts[n] > starts[middle + 1] - starts[middle]) middle = n;
    std::vector<double> in_star(triangles.cols, 0.0);
    for (unsigned k = starts[middle]; k < starts[middle + 1]; ++k) in_star[elements[k]] = 1;
    gallery::paint how = examples::value_paint(in_star, examples::signed_colours(), -1, 2);
    figure.mesh(pos, triangles, how).dots(pos, middle, middle + 1);
    for (unsigned k = starts[middle]; k < starts[middle + 1]; ++k) {
        const unsigned* t = triangles[elements[k]];
        figure.label({(pos(0, t[0]) + pos(0, t[1]) + pos(0, t[2])) / 3,
                      (pos(1, t[0]) + pos(1, t[1]) + pos(1, t[2])) / 3, 0},
                     std::to_string(k - starts[middle]));
    }
    figure.result(starts).result(elements);
    return figure.finish("get_connected_elements",
                         "A square in triangles; the star of one node, marked by a dot, is "
                         "numbered counterclockwise in the order in which it is listed.",
                         status);
}
