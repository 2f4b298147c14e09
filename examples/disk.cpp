// SPDX-License-Identifier: Apache-2.0
//
// A quarter of a disk and a whole disk, with the edges along their border.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>

namespace {

bool meshes_a_quarter() {
    //! [quarter]
    // The upper right quarter of the disk of radius 2 around (1, 1), three cells per side of a patch.
    const zel::vector_fixed<double, 2> center{1, 1};
    zel::dense2D<double> pos;
    zel::dense2D<unsigned> quads, boundary;
    const int status = zel::tessel2d::mesh_disk_UR_Q4(pos, center, 2, 3, quads, boundary);
    // 37 nodes, 27 quadrilaterals, and 18 edges that run around the quarter, along the arc first.

    zel::dense2D<double> other_pos;
    zel::dense2D<unsigned> triangles, other_boundary;
    const int pattern = 2; // alternating diagonals
    const int other_status =
        zel::tessel2d::mesh_disk_UR_T3(other_pos, center, 2, 3, pattern, triangles, other_boundary);
    // The same nodes and edges, and 54 triangles.
    //! [quarter]
    return status == 0 && pos.cols == 37 && quads.cols == 27 && boundary.cols == 18 &&
           other_status == 0 && other_pos.cols == 37 && triangles.cols == 54 &&
           other_boundary.cols == 18 && pos(0, boundary(0, 0)) == 3 && pos(1, boundary(0, 0)) == 1;
}

bool meshes_a_disk() {
    //! [disk]
    // The unit disk in quadrilaterals: 40 edges along the circle.
    const unsigned n = 5;
    zel::dense2D<double> pos;
    zel::dense2D<unsigned> quads, circle;
    const int status = zel::tessel2d::mesh_disk_Q4(pos, {0, 0}, 1, n, quads, circle);
    // 12*n*n + 4*n + 1 nodes, 12*n*n quadrilaterals, 8*n edges.

    // The same in triangles, whose areas add up to that of a regular polygon of 40 sides.
    zel::dense2D<double> other_pos;
    zel::dense2D<unsigned> triangles, other_circle;
    const int other_status =
        zel::tessel2d::mesh_disk_T3(other_pos, {0, 0}, 1, n, 0, triangles, other_circle);
    double area = 0;
    const int area_status = zel::tessel2d::area(other_pos, triangles, area);
    //! [disk]
    const double polygon = 20 * std::sin(2 * 3.14159265358979323846 / 40);
    return status == 0 && pos.cols == 321 && quads.cols == 300 && circle.cols == 40 &&
           other_status == 0 && other_pos.cols == 321 && triangles.cols == 600 &&
           other_circle.cols == 40 && area_status == 0 && std::fabs(area - polygon) < 1e-13;
}

} // namespace

int main() {
    if (!meshes_a_quarter()) {
        std::puts("the quarter of a disk is not as expected");
        return 1;
    }
    if (!meshes_a_disk()) {
        std::puts("the disk is not as expected");
        return 1;
    }
    std::puts("a quarter of 27 quadrilaterals, and the unit disk in 300 quadrilaterals");
    return 0;
}
