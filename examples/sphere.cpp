// SPDX-License-Identifier: Apache-2.0
//
// An octant of a sphere, a whole sphere, and its great circles.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>

namespace {

bool meshes_an_octant() {
    //! [octant]
    // The octant of the unit sphere with positive coordinates, four cells per side of a patch.
    zel::dense2D<double> pos;
    zel::dense2D<unsigned> quads, boundary;
    const int status = zel::tessel2d::mesh_sphere_UR_Q4(pos, {0, 0, 0}, 1, 4, quads, boundary);
    // 61 nodes, 48 quadrilaterals, and 24 edges: 8 each from x to y, from y to z and from z to x.

    zel::dense2D<double> other_pos;
    zel::dense2D<unsigned> triangles, other_boundary;
    const int other_status =
        zel::tessel2d::mesh_sphere_UR_T3(other_pos, {0, 0, 0}, 1, 4, 1, triangles, other_boundary);
    //! [octant]
    return status == 0 && pos.cols == 61 && quads.cols == 48 && boundary.cols == 24 &&
           other_status == 0 && other_pos.cols == 61 && triangles.cols == 96 &&
           other_boundary.cols == 24;
}

bool meshes_a_sphere() {
    //! [sphere]
    // The sphere of radius 10 around the origin in quadrilaterals and in triangles.
    const unsigned n = 3;
    zel::dense2D<double> pos, other_pos;
    zel::dense2D<unsigned> quads, triangles;
    const int status = zel::tessel2d::mesh_sphere_Q4(pos, {0, 0, 0}, 10, n, quads);
    const int other_status =
        zel::tessel2d::mesh_sphere_T3(other_pos, {0, 0, 0}, 10, n, 0, triangles);
    // 24*n*n + 2 nodes; 24*n*n quadrilaterals or twice as many triangles, turned outward.
    //! [sphere]
    return status == 0 && pos.cols == 218 && quads.cols == 216 && other_status == 0 &&
           other_pos.cols == 218 && triangles.cols == 432;
}

bool marks_great_circles() {
    //! [great_circles]
    // The equator and a meridian come as edges between nodes of the mesh.
    const unsigned n = 3;
    zel::dense2D<double> pos, other_pos;
    zel::dense2D<unsigned> quads, equator, meridian;
    const int status =
        zel::tessel2d::mesh_sphere_Q4(pos, {0, 0, 0}, 1, n, quads, equator, meridian);

    zel::dense2D<unsigned> triangles, other_equator, other_meridian;
    const int other_status = zel::tessel2d::mesh_sphere_T3(other_pos, {0, 0, 0}, 1, n, 0, triangles,
                                                           other_equator, other_meridian);
    // Each has 8*n edges and ends where it began; together they have two nodes in common.
    //! [great_circles]
    bool flat = true;
    for (std::size_t e = 0; e < equator.cols; ++e)
        flat = flat && std::fabs(pos(2, equator(0, e))) < 1e-15;
    return status == 0 && equator.cols == 24 && meridian.cols == 24 && flat &&
           equator(0, 0) == equator(1, 23) && other_status == 0 && other_equator.cols == 24 &&
           other_meridian.cols == 24 && quads.cols == 216 && triangles.cols == 432;
}

} // namespace

int main() {
    if (!meshes_an_octant()) {
        std::puts("the octant is not as expected");
        return 1;
    }
    if (!meshes_a_sphere()) {
        std::puts("the sphere is not as expected");
        return 1;
    }
    if (!marks_great_circles()) {
        std::puts("the great circles are not as expected");
        return 1;
    }
    std::puts("an octant of 48 quadrilaterals, and spheres of 216 with two great circles");
    return 0;
}
