// SPDX-License-Identifier: Apache-2.0
// Meshes an octant of a sphere, and a sphere from eight turned ones.
#include "generators/sphere_octant.h"
#include "zel/tessel2d/spheres.h"

namespace zel::tessel2d {

namespace {

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
    octant.make(pos, patches);
    octant.append_copies(octant.connect, sphere_octant::about_z, 3, pos, hemisphere);
    octant.append_copies(hemisphere, sphere_octant::about_x, 1, pos, connect);
    if (!circles.wanted()) {
        dense2D<unsigned> all[1] = {connect};
        octant.join(8, circle_nodes, first_node, pos, all);
        return status_ok;
    }
    const auto from_x_to_y = octant.boundary.sub_matrix(0, 0, 2, arc_edges);
    const auto from_z_to_x = octant.boundary.sub_matrix(0, 2 * arc_edges, 2, arc_edges);
    octant.append_copies(from_x_to_y, sphere_octant::about_z, 3, pos, *circles.z);
    octant.append_copies(from_z_to_x, sphere_octant::about_y, 3, pos, *circles.y);
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
