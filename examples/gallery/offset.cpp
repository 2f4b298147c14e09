// SPDX-License-Identifier: Apache-2.0
// A surface moved along its own normals.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> quads;
    gallery::grid_of_quads(pos, quads, 12);
    gallery::lift(pos);
    dense2D<double> moved;
    moved.copy(pos);

    const int status = tessel2d::offset(moved, quads, 0.15);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-60, 22));
    gallery::paint glass = examples::surface_paint();
    glass.opacity = 0.55;
    figure.mesh(pos, quads).mesh(moved, quads, glass);
    figure.result(moved);
    return figure.finish(
        "offset",
        "A hill, and the same hill moved by 0.15 along its normals, drawn as if of glass.", status);
}
