// SPDX-License-Identifier: Apache-2.0
// One orientation for a whole surface.
#include "gallery/figure.h"
#include "gallery/shapes.h"

#include <zel/host/adjacency.h>

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 8);
    gallery::lift(pos);
    dense2D<unsigned> mixed; // every third element shows its back
    mixed.copy(triangles);
    for (std::size_t e = 1; e < mixed.cols; e += 3) std::swap(mixed(0, e), mixed(2, e));

    host::adjacency beside;
    int status = host::build_adjacency(mixed, pos.cols, beside);
    dense2D<unsigned> oriented;
    oriented.copy(mixed);
    if (status == 0) status = tessel2d::mesh_reorient(oriented, beside.neighbors, 0, 1);
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-70, 40));
    const auto backs = [&](const dense2D<unsigned>& c) {
        std::vector<double> values;
        for (std::size_t e = 0; e < c.cols; ++e)
            values.push_back(c(0, e) == triangles(0, e) ? 1 : 0);
        return values;
    };
    const std::vector<double> before = backs(mixed);
    const std::vector<double> after = backs(oriented);
    figure.mesh(pos, mixed, before, examples::quality_colours(), 0, 1, "back or front");
    figure.at(1.5).mesh(pos, oriented, after, examples::quality_colours(), 0, 1, "back or front");
    figure.result(oriented);
    return figure.finish("mesh_reorient",
                         "A hill before and after: elements that show their back are red, those "
                         "that show their front green. Afterwards all are green.",
                         status);
}
