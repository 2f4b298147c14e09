// SPDX-License-Identifier: Apache-2.0
// Size tensors derived from a surface of triangles.
#include "gallery/figure.h"
#include "gallery/shapes.h"

#include <cmath>

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    dense2D<unsigned> circle;
    int status = tessel2d::mesh_sphere_UR_T3(pos, {0, 0, 0}, 1.0, 8, 2, triangles, circle);

    dense2D<double> tensors; // along the normal the size of the edges too
    if (status == 0) status = tessel2d::metrics_gen_aniso3d(pos, triangles, 0.0, tensors);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(40, 30));
    std::vector<double> size; // the mean of all directions
    for (std::size_t n = 0; n < pos.cols; ++n) {
        const double trace = tensors(0, n) + tensors(2, n) + tensors(5, n);
        size.push_back(1 / std::sqrt(trace / 3));
    }
    figure.mesh(pos, triangles, size, examples::growing_colours(), 0.1, 0.22, "size");
    figure.result(tensors);
    return figure.finish(
        "metrics_gen_aniso3d",
        "An octant of a sphere in triangles, coloured by the size that the tensors ask for in the "
        "surface: the mean length of the edges at each node.",
        status);
}
