// SPDX-License-Identifier: Apache-2.0
//
// Sweeps: strips of elements from a profile of edges.
// Ends with status 1 if a result is not the expected one.
#include "zel/tessel2d.h"

#include <cmath>
#include <cstdio>

namespace {

using zel::dense2D;
using zel::vector_fixed;

bool close_to(double expected, double x) {
    return std::abs(x - expected) < 1e-12;
}

bool counted_strip() {
    //! [counted_strip]
    // Two edges along y become a strip of 2 x 3 quadrilaterals along x.
    double corners[] = {0, 0, 0, 1, 0, 2};
    unsigned ends[] = {0, 1, 1, 2};
    auto pos = dense2D<double>::wrap(corners, 2, 3);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 2);

    dense2D<unsigned> quads;
    const int status =
        zel::tessel2d::extrude_translate_Q4(pos, profile, vector_fixed<double, 2>{6, 0}, 3, quads);
    // pos has 3 + 3*3 nodes, those of the first layer at x = 2; quads(.., 0) is (0, 1, 4, 3).
    //! [counted_strip]
    return status == 0 && pos.cols == 12 && pos(0, 3) == 2 && quads.cols == 6 && quads(0, 0) == 0 &&
           quads(1, 0) == 1 && quads(2, 0) == 4 && quads(3, 0) == 3;
}

bool graded_wall() {
    //! [graded_wall]
    // Ten units of length, elements growing from 1 to 2.
    double corners[] = {0, 0, 0, 1};
    unsigned ends[] = {0, 1};
    auto pos = dense2D<double>::wrap(corners, 2, 2);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 1);

    dense2D<unsigned> quads;
    const int status = zel::tessel2d::extrude_translate_Q4(
        pos, profile, vector_fixed<double, 2>{10, 0}, 1.0, 2.0, false, quads);
    // Seven layers; layer k ends at x = 10*(2^(k/7) - 1).
    //! [graded_wall]
    return status == 0 && quads.cols == 7 &&
           close_to(10 * (std::pow(2.0, 1.0 / 7) - 1), pos(0, 2)) && close_to(10, pos(0, 14));
}

bool triangle_patterns() {
    double corners[] = {0, 0, 0, 1};
    unsigned ends[] = {0, 1};
    auto pos = dense2D<double>::wrap(corners, 2, 2);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 1);
    //! [triangle_patterns]
    // Pattern 2 cuts neighbouring cells along different diagonals.
    dense2D<unsigned> triangles;
    const int status = zel::tessel2d::extrude_translate_T3(
        pos, profile, vector_fixed<double, 2>{2, 0}, 2, 2, triangles);
    // (0, 1, 3) (0, 3, 2) in the first layer, (2, 3, 4) (3, 5, 4) in the second
    //! [triangle_patterns]
    return status == 0 && triangles.cols == 4 && triangles(2, 0) == 3 && triangles(0, 3) == 3 &&
           triangles(2, 3) == 4;
}

bool ring() {
    //! [ring]
    // A spoke from radius 1 to 2 turns by a quarter, in triangles and in quadrilaterals.
    double corners[] = {1, 0, 2, 0};
    unsigned ends[] = {0, 1};
    const double quarter = std::acos(0.0);
    auto pos = dense2D<double>::wrap(corners, 2, 2);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 1);

    dense2D<unsigned> quads;
    dense2D<unsigned> triangles;
    const vector_fixed<double, 2> center{0, 0};
    const int status = zel::tessel2d::extrude_rotate_Q4(pos, profile, center, quarter, 6, quads);
    const int status_T3 = zel::tessel2d::extrude_rotate_T3(pos, profile, center, -quarter, 0.25,
                                                           0.25, 1, true, triangles);
    // Six layers counterclockwise; clockwise the path of the inner node has length pi/2, in six layers of 0.25.
    //! [ring]
    return status == 0 && status_T3 == 0 && quads.cols == 6 && triangles.cols == 12 &&
           close_to(0, pos(0, 12)) && close_to(1, pos(1, 12));
}

bool vase() {
    //! [vase]
    // An outline in the plane x, y turns around the axis y and becomes a surface in space.
    double outline[] = {1, 0, 2, 1, 1, 3};
    unsigned ends[] = {0, 1, 1, 2};
    auto pos = dense2D<double>::wrap(outline, 2, 3);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 2);

    dense2D<unsigned> quads;
    const double turn = 4 * std::acos(0.0);
    const int status =
        zel::tessel2d::extrude_rotate_Q4(pos, profile, vector_fixed<double, 3>{0, 0, 0},
                                         vector_fixed<double, 3>{0, turn, 0}, 12, quads);
    // pos has 3 rows now. The last layer lies on the outline with nodes of its own.
    //! [vase]
    return status == 0 && pos.rows == 3 && pos.cols == 39 && quads.cols == 24 &&
           close_to(2, pos(0, 37)) && close_to(0, pos(2, 37));
}

bool spiral() {
    //! [spiral]
    // A spoke climbs 3 units while it turns twice.
    double corners[] = {1, 0, 0, 2, 0, 0};
    unsigned ends[] = {0, 1};
    auto pos = dense2D<double>::wrap(corners, 3, 2);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 1);

    const vector_fixed<double, 3> origin{0, 0, 0};
    const vector_fixed<double, 3> two_turns{0, 0, 8 * std::acos(0.0)};
    const vector_fixed<double, 3> up{0, 0, 3};
    dense2D<unsigned> quads;
    const int status =
        zel::tessel2d::extrude_spiral_Q4(pos, profile, origin, two_turns, up, 60, quads);
    dense2D<unsigned> triangles;
    const int status_T3 = zel::tessel2d::extrude_spiral_T3(pos, profile, origin, two_turns, up, 0.1,
                                                           0.05, 0, false, triangles);
    //! [spiral]
    return status == 0 && status_T3 == 0 && quads.cols == 60 && triangles.cols == 2 * 42 &&
           close_to(3, pos(2, 121));
}

bool given_vectors() {
    //! [given_vectors]
    // Each node goes its own way: column j of `ways` belongs to node j.
    double corners[] = {0, 0, 1, 0};
    double ways[] = {0, 2, 0, 4};
    unsigned ends[] = {0, 1};
    auto pos = dense2D<double>::wrap(corners, 2, 2);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 1);

    dense2D<unsigned> quads;
    const int status =
        zel::tessel2d::extrude_normal_Q4(pos, profile, dense2D<double>::wrap(ways, 2, 2), 2, quads);
    // The first layer lies at y = 1 and y = 2, the second at the tips of the vectors.
    //! [given_vectors]
    return status == 0 && pos(1, 2) == 1 && pos(1, 3) == 2 && pos(1, 5) == 4;
}

bool boundary_layer() {
    //! [boundary_layer]
    // Thin elements along a corner, growing away from it; normals point to the left of the edges.
    double corners[] = {4, 0, 0, 0, 0, 4};
    unsigned ends[] = {2, 1, 1, 0};
    auto pos = dense2D<double>::wrap(corners, 2, 3);
    const auto profile = dense2D<unsigned>::wrap(ends, 2, 2);

    dense2D<unsigned> quads;
    dense2D<unsigned> triangles;
    const int status = zel::tessel2d::extrude_normal_Q4(pos, profile, 1.0, 0.1, 0.4, false, quads);
    const int status_T3 = zel::tessel2d::extrude_normal_T3(pos, profile, 1.0, 4, 0, triangles);
    // ln(4)/0.3 = 4.6 becomes 5 layers; the corner's nodes lie along (1, 1).
    //! [boundary_layer]
    return status == 0 && status_T3 == 0 && quads.cols == 10 && triangles.cols == 16 &&
           close_to(std::sqrt(0.5), pos(0, 16)) && close_to(std::sqrt(0.5), pos(1, 16));
}

} // namespace

int main() {
    int failed = 0;
    const auto check = [&](bool good, const char* what) {
        if (!good) std::fprintf(stderr, "%s: unexpected result\n", what);
        failed += !good;
    };
    check(counted_strip(), "counted_strip");
    check(graded_wall(), "graded_wall");
    check(triangle_patterns(), "triangle_patterns");
    check(ring(), "ring");
    check(vase(), "vase");
    check(spiral(), "spiral");
    check(given_vectors(), "given_vectors");
    check(boundary_layer(), "boundary_layer");
    return failed == 0 ? 0 : 1;
}
