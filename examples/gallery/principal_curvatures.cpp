// SPDX-License-Identifier: Apache-2.0
// Principal curvatures of a surface from its triangles alone.
#include "gallery/figure.h"
#include "gallery/shapes.h"

#include <zel/host/adjacency.h>

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    gallery::grid_of_triangles(pos, triangles, 32);
    gallery::lift(pos);
    host::adjacency beside;
    int status = host::build_adjacency(triangles, pos.cols, beside);

    dense2D<double> curvatures; // rows 0 to 5: directions, 6 and 7: k1 and k2
    const dense2D<unsigned> no_hard_edges;
    if (status == 0) {
        status = tessel2d::principal_curvatures(pos, triangles, beside.neighbors, 0.1, 1.0, 100,
                                                no_hard_edges, curvatures);
    }
    //! [program]

    gallery::figure figure(gallery::with_z_upright(-60, 35));
    std::vector<double> strongest;
    for (std::size_t n = 0; n < pos.cols; ++n) strongest.push_back(curvatures(6, n));
    figure.mesh(pos, triangles, strongest, examples::signed_colours(), -4, 4,
                "curvature of largest magnitude");
    figure.result(curvatures);
    return figure.finish("principal_curvatures",
                         "A hill coloured by its curvature of largest magnitude: blue where it "
                         "bends away from its normal, red where it bends toward it.",
                         status);
}
