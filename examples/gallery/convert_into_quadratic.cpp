// SPDX-License-Identifier: Apache-2.0
// Linear elements raised to quadratic ones, with nodes on edges and in centres.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> elements;
    gallery::grid_of_triangles(pos, elements, 4);
    const std::size_t corners = pos.cols;

    const int status = tessel2d::convert_into_quadratic(pos, elements);
    //! [program]

    gallery::figure figure;
    figure.mesh(pos, elements).dots(pos, 0, corners, gallery::palette::ink);
    figure.dots(pos, corners, pos.cols);
    figure.result(pos).result(elements);
    return figure.finish("convert_into_quadratic",
                         "A square in triangles of six nodes: corners in black, the new nodes on "
                         "the edges in orange.",
                         status);
}
