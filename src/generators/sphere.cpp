// SPDX-License-Identifier: Apache-2.0
// Meshes an octant of a sphere, and a sphere from eight turned ones.
#include "generators/round_mesh.h"
#include "zel/tessel2d/spheres.h"

namespace zel::tessel2d {

namespace {

// The skeleton of the octant, seen from outside:
//
//            Z
//          /   \          X, Y and Z on the axes, XY, XZ and YZ half way between them,
//       XZ--.C.--YZ       C in the middle
//       /    |    \.
//      X----XY-----Y
enum node : unsigned { X, XY, Y, XZ, C, YZ, Z };
enum line : unsigned { X_XY, XY_Y, Y_YZ, YZ_Z, Z_XZ, XZ_X, XY_C, XZ_C, YZ_C };

struct sphere_octant {
    static constexpr std::size_t dimension = 3;
    static constexpr quarter_plan plan = {
        {{{X_XY, false}, {XY_C, false}, {XZ_C, true}, {XZ_X, false}},
         {{XY_Y, false}, {Y_YZ, false}, {YZ_C, false}, {XY_C, true}},
         {{XZ_C, false}, {YZ_C, true}, {YZ_Z, false}, {Z_XZ, false}}},
        {X_XY, XY_Y, Y_YZ, YZ_Z, Z_XZ, XZ_X},
    };

    static void place_lines(dense2D<double>& pos, const round_shape<3>& sphere,
                            node_line (&lines)[9]) noexcept;
};

constexpr double half_turn = 3.141592653589793;     // pi
constexpr double middle_angle = 0.6154797086703874; // from XY to C: atan(1/sqrt(2))
constexpr double middle_flat = 0.816496580927726;   // cosine of the middle angle
constexpr double middle_rise = 0.5773502691896258;  // its sine

constexpr arc<3> arcs[] = {
    {X_XY, X, XY, 0.0, eighth_turn, false, {0, 1, -1}},
    {XY_Y, XY, Y, 1.0, eighth_turn, false, {0, 1, -1}},
    {Y_YZ, Y, YZ, 0.0, eighth_turn, false, {-1, 0, 1}},
    {YZ_Z, YZ, Z, 1.0, eighth_turn, false, {-1, 0, 1}},
    {Z_XZ, Z, XZ, 0.0, eighth_turn, false, {1, -1, 0}},
    {XZ_X, XZ, X, 1.0, eighth_turn, false, {1, -1, 0}},
    {XY_C, XY, C, 0.0, middle_angle, true, {0, 0, 1}},
    {XZ_C, XZ, C, 0.0, middle_angle, true, {0, 1, 0}},
    {YZ_C, YZ, C, 0.0, middle_angle, true, {1, 0, 0}},
};

void place_sphere_skeleton(columns<double> points, std::size_t c,
                           const round_shape<3>& sphere) noexcept {
    const double cx = sphere.center[0];
    const double cy = sphere.center[1];
    const double cz = sphere.center[2];
    const double radius = sphere.radius;
    const double s = radius * diagonal;
    // X, XY, Y, XZ, C, YZ, Z
    place_skeleton<3>(points, c,
                      {{cx + radius, cy, cz},
                       {cx + s, cy + s, cz},
                       {cx, cy + radius, cz},
                       {cx + s, cy, cz + s},
                       {cx + s * middle_flat, cy + s * middle_flat, cz + radius * middle_rise},
                       {cx, cy + s, cz + s},
                       {cx, cy, cz + radius}});
}

/// Places skeleton and arcs; memory has been reserved.
void sphere_octant::place_lines(dense2D<double>& pos, const round_shape<3>& sphere,
                                node_line (&lines)[9]) noexcept {
    const std::size_t c = pos.cols;
    grow_columns(pos, 3, c + 9 * std::size_t{sphere.n} - 2, 0.0);
    const columns<double> points = columns_of(pos);
    place_sphere_skeleton(points, c, sphere);
    place_arcs(points, c, arcs, sphere, lines);
}

/// The outputs for the great circles, both null if they are not wanted.
struct great_circles {
    dense2D<unsigned>* z = nullptr;
    dense2D<unsigned>* y = nullptr;

    bool wanted() const noexcept { return z != nullptr; }
    bool reserve(std::size_t edges) const noexcept {
        return !wanted() || (reserve_more(*z, 2, edges) && reserve_more(*y, 2, edges));
    }
};

/// Meshes the whole sphere. Both kinds of elements need 4 rows in a `connect` that is not empty.
template <class Patches>
int mesh_sphere(dense2D<double>& pos, const round_shape<3>& sphere, const Patches& patches,
                dense2D<unsigned>& connect, const great_circles& circles) {
    if (sphere.n == 0) return status_ok;
    if (!pos.empty() && pos.rows != 3) return -1;
    if (!takes_rows(connect, 4)) return -5;
    if (circles.wanted() && !takes_rows(*circles.z, 2)) return -6;
    if (circles.wanted() && !takes_rows(*circles.y, 2)) return -7;
    copied_quarter<sphere_octant, Patches> octant(sphere);
    const std::size_t arc_edges = octant.counts.arc_edges;
    const std::size_t circle_nodes = circles.wanted() ? 6 * (arc_edges + 1) : 0;
    dense2D<unsigned> hemisphere;
    if (sphere.n > most_divisions ||
        !reserve_nodes(pos, 3, 8 * octant.counts.nodes + circle_nodes) ||
        !reserve_more(connect, 4, 8 * octant.elements) || !circles.reserve(4 * arc_edges) ||
        !octant.reserve(4) || !hemisphere.reserve(Patches::least_rows, 4 * octant.elements, 1)) {
        return status_memory;
    }
    const std::size_t first_node = pos.cols;
    const point<3> about_x{half_turn, 0, 0};
    const point<3> about_y{0, quarter_turn, 0};
    const point<3> about_z{0, 0, quarter_turn};
    octant.make(pos, patches);
    octant.append_copies(octant.connect, about_z, 3, pos, hemisphere);
    octant.append_copies(hemisphere, about_x, 1, pos, connect);
    if (!circles.wanted()) {
        dense2D<unsigned> all[1] = {connect};
        octant.join(8, circle_nodes, first_node, pos, all);
        return status_ok;
    }
    const auto from_x_to_y = octant.boundary.sub_matrix(0, 0, 2, arc_edges);
    const auto from_z_to_x = octant.boundary.sub_matrix(0, 2 * arc_edges, 2, arc_edges);
    octant.append_copies(from_x_to_y, about_z, 3, pos, *circles.z);
    octant.append_copies(from_z_to_x, about_y, 3, pos, *circles.y);
    dense2D<unsigned> all[3] = {connect, *circles.z, *circles.y};
    octant.join(8, circle_nodes, first_node, pos, all);
    return status_ok;
}

} // namespace

int mesh_sphere_UR_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                      unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_quarter<sphere_octant>(pos, {center, radius, n}, quad_patches{}, connect, boundary,
                                       6);
}

int mesh_sphere_UR_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                      unsigned n, int pattern, dense2D<unsigned>& connect,
                      dense2D<unsigned>& boundary) {
    return mesh_quarter<sphere_octant>(pos, {center, radius, n}, triangle_patches{pattern}, connect,
                                       boundary, 7);
}

int mesh_sphere_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, dense2D<unsigned>& connect) {
    return mesh_sphere(pos, {center, radius, n}, quad_patches{}, connect, {});
}

int mesh_sphere_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& circle_z,
                   dense2D<unsigned>& circle_y) {
    return mesh_sphere(pos, {center, radius, n}, quad_patches{}, connect, {&circle_z, &circle_y});
}

int mesh_sphere_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, int pattern, dense2D<unsigned>& connect) {
    return mesh_sphere(pos, {center, radius, n}, triangle_patches{pattern}, connect, {});
}

int mesh_sphere_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, int pattern, dense2D<unsigned>& connect, dense2D<unsigned>& circle_z,
                   dense2D<unsigned>& circle_y) {
    return mesh_sphere(pos, {center, radius, n}, triangle_patches{pattern}, connect,
                       {&circle_z, &circle_y});
}

} // namespace zel::tessel2d
