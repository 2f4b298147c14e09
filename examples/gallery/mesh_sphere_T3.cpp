// SPDX-License-Identifier: Apache-2.0
// A sphere in triangles with two great circles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    dense2D<unsigned> equator;
    dense2D<unsigned> meridian;
    const int status =
        tessel2d::mesh_sphere_T3(pos, {0, 0, 0}, 1.0, 5, 2, elements, equator, meridian);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(30, 25));
    gallery::paint clay = examples::surface_paint();
    clay.hide_backs = true;
    figure.mesh(pos, elements, clay);
    figure.result(pos).result(elements).result(equator).result(meridian);
    return figure.finish("mesh_sphere_T3",
                         "A sphere in triangles, made of eight octants without a pole.", status);
}
