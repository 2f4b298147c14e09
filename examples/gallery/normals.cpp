// SPDX-License-Identifier: Apache-2.0
// Unit normals at the nodes of a surface.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 10);
    gallery::lift(pos);

    dense2D<double> vectors;
    const int status = tessel2d::normals(pos, triangles, 1.0, true, vectors);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-60, 30));
    figure.mesh(pos, triangles).arrows(pos, vectors, 0.12);
    figure.result(vectors);
    return figure.finish("normals", "A hill in triangles with a unit normal drawn at each node.",
                         status);
}
