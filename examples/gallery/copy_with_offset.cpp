// SPDX-License-Identifier: Apache-2.0
// A parallel surface: a copy moved along the normals of the original.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 12);
    gallery::lift(pos);

    dense2D<unsigned> copy; // its nodes are appended to `pos`
    const int status = tessel2d::copy_with_offset(pos, triangles, -0.2, copy);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-60, 15));
    gallery::paint glass = examples::surface_paint();
    glass.opacity = 0.55;
    figure.mesh(pos, copy).mesh(pos, triangles, glass);
    figure.result(pos).result(copy);
    return figure.finish("copy_with_offset",
                         "A hill, drawn as if of glass, and under it its copy at a distance of 0.2 "
                         "along the normals.",
                         status);
}
