// SPDX-License-Identifier: Apache-2.0
// Any linear mesh made all-quadrilateral.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    dense2D<unsigned> circle;
    int status = tessel2d::mesh_disk_UR_T3(pos, {0, 0}, 1.0, 3, 0, triangles, circle);
    const std::size_t corners = pos.cols;

    dense2D<unsigned> quads;
    const dense2D<unsigned> no_edges; // none has its middle already
    if (status == 0) status = tessel2d::split_into_Q4(pos, triangles, quads, no_edges);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, triangles).dots(pos, 0, corners);
    figure.at(1.2).mesh(pos, quads).dots(pos, 0, corners);
    figure.result(pos).result(quads);
    return figure.finish("split_into_Q4",
                         "Left: a quarter of a disk in triangles. Right: each triangle cut into "
                         "three quadrilaterals around its centre.",
                         status);
}
