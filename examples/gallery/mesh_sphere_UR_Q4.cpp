// SPDX-License-Identifier: Apache-2.0
// An octant of a sphere in quadrilaterals.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    dense2D<unsigned> boundary;
    const int status = tessel2d::mesh_sphere_UR_Q4(pos, {0, 0, 0}, 1.0, 6, elements, boundary);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(40, 30));
    figure.mesh(pos, elements).lines(pos, boundary);
    figure.result(pos).result(elements).result(boundary);
    return figure.finish(
        "mesh_sphere_UR_Q4",
        "The octant of a sphere beyond the centre in x, y and z, in quadrilaterals: three patches "
        "around its middle, with its boundary in orange.",
        status);
}
