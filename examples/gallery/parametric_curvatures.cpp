// SPDX-License-Identifier: Apache-2.0
// The second fundamental form of a surface that is known by its derivatives.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos; // parameters u, v
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 24);
    dense2D<double> derivatives(6, pos.cols); // of S = (u, v, u^3 - u v^2) by u and by v
    for (std::size_t n = 0; n < pos.cols; ++n) {
        const double u = pos(0, n);
        const double v = pos(1, n);
        const double d[6] = {1, 0, 3 * u * u - v * v, 0, 1, -2 * u * v};
        for (std::size_t i = 0; i < 6; ++i) derivatives(i, n) = d[i];
    }

    dense2D<double> form;
    const int status = tessel2d::parametric_curvatures(pos, triangles, derivatives, form);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-60, 35));
    dense2D<double> surface(3, pos.cols);
    std::vector<double> along_u;
    for (std::size_t n = 0; n < pos.cols; ++n) {
        const double u = pos(0, n);
        const double v = pos(1, n);
        surface(0, n) = u, surface(1, n) = v, surface(2, n) = u * u * u - u * v * v;
        along_u.push_back(form(0, n));
    }
    figure.mesh(surface, triangles, along_u, examples::signed_colours(), -3, 3,
                "coefficient of du du");
    figure.result(form);
    return figure.finish("parametric_curvatures",
                         "The surface u cubed minus u v squared, coloured by the first coefficient "
                         "of its second fundamental form.",
                         status);
}
