// SPDX-License-Identifier: Apache-2.0
// A quarter of a disk in triangles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    dense2D<unsigned> boundary;
    const int status = tessel2d::mesh_disk_UR_T3(pos, {0, 0}, 1.0, 6, 2, elements, boundary);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, elements).lines(pos, boundary);
    figure.result(pos).result(elements).result(boundary);
    return figure.finish("mesh_disk_UR_T3",
                         "The upper right quarter of a disk in triangles, three patches that meet "
                         "in one node. Its boundary is drawn in orange.",
                         status);
}
