// SPDX-License-Identifier: Apache-2.0
// Quadratic elements made linear: their mid-side nodes fall out.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    gallery::grid_of_quads(pos, elements, 4);
    int status = tessel2d::convert_into_quadratic(pos, elements);
    const dense2D<unsigned> nine = elements.sub_matrix(0, 0, 9, elements.cols);
    dense2D<unsigned> quadratic;
    quadratic.copy(nine);

    if (status == 0) status = tessel2d::convert_into_linear(elements);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, quadratic).dots(pos, 0, pos.cols);
    figure.at(1.25).mesh(pos, elements).dots(pos, 0, 25);
    figure.result(elements);
    return figure.finish("convert_into_linear",
                         "Left: 16 quadrilaterals with nine nodes each. Right: the same with their "
                         "four corners alone.",
                         status);
}
