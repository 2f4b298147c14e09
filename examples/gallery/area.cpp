// SPDX-License-Identifier: Apache-2.0
// The area of a mesh, element by element and in all.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    dense2D<unsigned> circle;
    int status = tessel2d::mesh_disk_T3(pos, {0, 0}, 1.0, 4, 2, triangles, circle);

    double total = 0; // pi, less what the chords cut off
    if (status == 0) status = tessel2d::area(pos, triangles, total);
    //! [program]

    gallery::figure figure;
    std::vector<double> parts;
    for (std::size_t e = 0; e < triangles.cols; ++e) {
        double part = 0;
        tessel2d::area(pos, triangles.sub_matrix(0, e, 3, 1), part);
        parts.push_back(1000 * part);
    }
    figure.mesh(pos, triangles, parts, examples::growing_colours(), 4, 12, "area in thousandths");
    figure.result(total);
    return figure.finish("area",
                         "A disk in triangles coloured by their area; together they have 3.121, a "
                         "little less than pi.",
                         status);
}
