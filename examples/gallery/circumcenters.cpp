// SPDX-License-Identifier: Apache-2.0
// The circumcentres of triangles: the corners of the dual mesh.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    dense2D<unsigned> circle;
    int status = tessel2d::mesh_disk_UR_T3(pos, {0, 0}, 1.0, 4, 1, triangles, circle);

    dense2D<double> centers;
    if (status == 0) status = tessel2d::circumcenters(pos, triangles, centers);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, triangles).dots(centers, 0, centers.cols);
    figure.result(centers);
    return figure.finish("circumcenters",
                         "A quarter of a disk in triangles with the circumcentre of each marked by "
                         "a dot; those of obtuse triangles lie outside them.",
                         status);
}
