// SPDX-License-Identifier: Apache-2.0
// The element of a mesh that contains a point.
#include "gallery/figure.h"
#include "gallery/shapes.h"

#include <zel/host/adjacency.h>

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    dense2D<unsigned> circle;
    int status = tessel2d::mesh_disk_T3(pos, {0, 0}, 1.0, 4, 2, triangles, circle);
    host::adjacency beside;
    if (status == 0) status = host::build_adjacency(triangles, pos.cols, beside);

    const tessel::node_detector detector(pos);
    const vector_fixed<double, 2> p{0.35, 0.42};
    unsigned element = 0;
    if (status == 0) {
        status = tessel2d::get_element_containing_point(pos, triangles, beside.neighbors,
                                                        beside.ancestors, detector, ELEMENT_T3, p,
                                                        element, 1e-6); // 1: found
    }
    //! [program]

    gallery::figure figure;
    std::vector<double> found(triangles.cols, 0.0);
    if (element < triangles.cols) found[element] = 1;
    gallery::paint how = examples::value_paint(found, examples::signed_colours(), -1, 2);
    figure.mesh(pos, triangles, how)
        .dots(dense2D<double>::wrap(const_cast<double*>(p.begin()), 2, 1), 0, 1);
    figure.result(element);
    return figure.finish("get_element_containing_point",
                         "A disk in triangles: the one that contains the point, marked by a dot, "
                         "is in the warmer colour.",
                         status);
}
