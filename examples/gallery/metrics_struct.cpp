// SPDX-License-Identifier: Apache-2.0
// Sizes inside a patch, from the sizes at the nodes of its outline.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense1D<unsigned, 8> loop;
    gallery::outline(pos, loop, 20, 14);
    dense2D<unsigned> quads;
    int status = tessel2d::mesh_struct_Q4(pos, loop, 14, quads);

    dense1D<double, 8> sizes(loop.size - 1); // small at the left, large at the right
    for (std::size_t k = 0; k < sizes.size; ++k) sizes[k] = 0.1 + pos(0, k);
    if (status == 0) status = tessel2d::metrics_struct(loop, 14, sizes);
    //! [program]

    gallery::figure figure;
    const std::vector<double> values(sizes.begin(), sizes.end());
    figure.mesh(pos, quads, values, examples::growing_colours(), 0.1, 1.6, "size");
    figure.result(sizes);
    return figure.finish(
        "metrics_struct",
        "A patch coloured by size, which grows from 0.1 at its left side to 1.5 at its right side.",
        status);
}
