// SPDX-License-Identifier: Apache-2.0
// The smallest corner angle of each element.
#include "gallery/figure.h"
#include "gallery/shapes.h"

int main() {
    using namespace zel;
    //! [program]
    dense2D<double> pos;
    dense1D<unsigned, 8> loop;
    gallery::outline(pos, loop, 16, 12);
    dense2D<unsigned> triangles;
    int status = tessel2d::mesh_struct_T3(pos, loop, 12, 2, triangles);

    dense1D<double, 8> smallest;
    dense1D<double, 8> largest;
    if (status == 0) status = tessel2d::angles(pos, triangles, true, smallest, largest);
    //! [program]

    gallery::figure figure;
    const std::vector<double> values(smallest.begin(), smallest.end());
    figure.mesh(pos, triangles, values, examples::quality_colours(), 0.45, 1,
                "smallest angle, in units of 60 degrees");
    figure.result(smallest).result(largest);
    return figure.finish("angles",
                         "A patch in triangles coloured by their smallest angle, from red at 27 "
                         "degrees to green at 60 degrees.",
                         status);
}
