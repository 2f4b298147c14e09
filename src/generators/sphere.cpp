// SPDX-License-Identifier: Apache-2.0
#include "generators/quarter.h"
#include "generators/seams.h"
#include "geometry/point.h"
#include "tessel/copy_mesh.h"
#include "zel/tessel2d/spheres.h"

#include <cmath>

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

constexpr quarter_plan plan = {
    {{{X_XY, false}, {XY_C, false}, {XZ_C, true}, {XZ_X, false}},
     {{XY_Y, false}, {Y_YZ, false}, {YZ_C, false}, {XY_C, true}},
     {{XZ_C, false}, {YZ_C, true}, {YZ_Z, false}, {Z_XZ, false}}},
    {X_XY, XY_Y, Y_YZ, YZ_Z, Z_XZ, XZ_X},
};

constexpr double eighth_turn = 0.7853981633974483;  // pi/4
constexpr double quarter_turn = 1.5707963267948966; // pi/2
constexpr double half_turn = 3.141592653589793;     // pi
constexpr double middle_angle = 0.6154797086703874; // from XY to C: atan(1/sqrt(2))
constexpr double diagonal = 0.7071067811865476;     // 1/sqrt(2)
constexpr double middle_flat = 0.816496580927726;   // cosine of the middle angle
constexpr double middle_rise = 0.5773502691896258;  // its sine

/// An arc of the table: its node at angle t has the coordinates factor*cos t or radius*sin t.
struct arc {
    unsigned line;
    unsigned from;
    unsigned to;
    double first; ///< the angle begins at first*extent and grows by extent
    double extent;
    bool meets_middle; ///< the two coordinates with the cosine have the smaller radius
    int rising[3];     ///< 1: sine, 0: cosine, -1: stays at the centre
};

constexpr arc arcs[] = {
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

void place(columns<double> points, std::size_t column, double x, double y, double z) noexcept {
    points[column][0] = x;
    points[column][1] = y;
    points[column][2] = z;
}

void place_skeleton(columns<double> points, std::size_t c, const point<3>& center,
                    double radius) noexcept {
    const double cx = center[0];
    const double cy = center[1];
    const double cz = center[2];
    const double s = radius * diagonal;
    place(points, c + X, cx + radius, cy, cz);
    place(points, c + XY, cx + s, cy + s, cz);
    place(points, c + Y, cx, cy + radius, cz);
    place(points, c + XZ, cx + s, cy, cz + s);
    place(points, c + C, cx + s * middle_flat, cy + s * middle_flat, cz + radius * middle_rise);
    place(points, c + YZ, cx, cy + s, cz + s);
    place(points, c + Z, cx, cy, cz + radius);
}

void place_arc(columns<double> points, const arc& a, const point<3>& center, double radius,
               std::size_t n, std::size_t first_new) noexcept {
    const double step = 1.0 / static_cast<double>(n);
    const double flat = a.meets_middle ? radius * diagonal : radius;
    for (std::size_t k = 1; k < n; ++k) {
        const double t = (static_cast<double>(k) * step + a.first) * a.extent;
        const double along = flat * std::cos(t);
        const double up = radius * std::sin(t);
        double* const p = points[first_new + k - 1];
        for (std::size_t i = 0; i < 3; ++i)
            p[i] = a.rising[i] < 0 ? center[i] : center[i] + (a.rising[i] == 1 ? up : along);
    }
}

/// Places skeleton and arcs; memory has been reserved.
void sphere_octant_skeleton(dense2D<double>& pos, const point<3>& center, double radius,
                            std::size_t n, node_line (&lines)[9]) noexcept {
    const std::size_t c = pos.cols;
    grow_columns(pos, 3, c + 9 * n - 2, 0.0);
    const columns<double> points = columns_of(pos);
    place_skeleton(points, c, center, radius);
    std::size_t first_new = c + 7;
    for (const arc& a : arcs) {
        lines[a.line] = {c + a.from, c + a.to, first_new};
        place_arc(points, a, center, radius, n, first_new);
        first_new += n - 1;
    }
}

/// The octant, once all memory is there; `loop` has room for 4n + 1 entries.
template <class Patches>
void sphere_octant(dense2D<double>& pos, const point<3>& center, double radius, unsigned n,
                   const Patches& patches, dense1D<unsigned, 8>& loop, node_line (&lines)[9],
                   dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    sphere_octant_skeleton(pos, center, radius, n, lines);
    const ball onto{center, radius};
    Patches on_sphere = patches;
    on_sphere.onto = &onto;
    append_outline(plan, lines, n, boundary);
    mesh_patches(plan, lines, n, on_sphere, loop, pos, connect);
}

template <class Patches>
int mesh_sphere_UR(dense2D<double>& pos, const point<3>& center, double radius, unsigned n,
                   const Patches& patches, dense2D<unsigned>& connect, dense2D<unsigned>& boundary,
                   int last) {
    return mesh_quarter<3, Patches>(
        pos, n, connect, boundary, last, [&](dense1D<unsigned, 8>& loop, node_line(&lines)[9]) {
            sphere_octant(pos, center, radius, n, patches, loop, lines, connect, boundary);
        });
}

/// Where the great circles go; both null when they are not wanted.
struct great_circles {
    dense2D<unsigned>* z = nullptr;
    dense2D<unsigned>* y = nullptr;

    bool wanted() const noexcept { return z != nullptr; }
    bool reserve(std::size_t edges) const noexcept {
        return !wanted() || (reserve_more(*z, 2, edges) && reserve_more(*y, 2, edges));
    }
};

/// A great circle: a quarter of it and three copies, turned about its axis.
void append_circle(dense2D<double>& pos, dense2D<unsigned>& circle, const point<3>& center,
                   const point<3>& turn, const dense2D<unsigned>& quarter,
                   tessel::copy_scratch& scratch) {
    append_elements(quarter, circle);
    tessel::copy_mesh(pos, circle, {0, 0, 0}, center, turn, 3, quarter, scratch);
}

/// Both kinds of elements ask for 4 rows in a `connect` that is not empty.
template <class Patches>
int mesh_sphere(dense2D<double>& pos, const point<3>& center, double radius, unsigned n,
                const Patches& patches, dense2D<unsigned>& connect, const great_circles& circles) {
    if (n == 0) return status_ok;
    if (!pos.empty() && pos.rows != 3) return -1;
    if (!takes_rows(connect, 4)) return -5;
    if (circles.wanted() && !takes_rows(*circles.z, 2)) return -6;
    if (circles.wanted() && !takes_rows(*circles.y, 2)) return -7;
    const quarter_counts octant(n);
    const std::size_t elements = octant.cells * Patches::elements_per_cell;
    const std::size_t arc_edges = 2 * std::size_t{n};
    const std::size_t circle_nodes = circles.wanted() ? 6 * (arc_edges + 1) : 0;
    dense2D<unsigned> octant_connect, hemisphere_connect, octant_boundary;
    dense1D<unsigned, 8> loop;
    tessel::copy_scratch scratch;
    // mutation (1 -> 2 #2): twice nothing is nothing: the list is empty
    if (n > most_divisions || !loop.reserve(std::size_t{4} * n + 1, 1) ||
        !reserve_nodes(pos, 3, 8 * octant.nodes + circle_nodes) ||
        !scratch.reserve(4 * octant.nodes) || !reserve_more(connect, 4, 8 * elements) ||
        !circles.reserve(4 * arc_edges) ||
        !octant_connect.reserve(Patches::least_rows, elements, 1) ||
        // mutation (2 -> 3): how much is reserved
        !octant_boundary.reserve(2, octant.edges, 1) ||
        !hemisphere_connect.reserve(Patches::least_rows, 4 * elements, 1)) {
        return status_memory;
    }
    const auto c = static_cast<unsigned>(pos.cols);
    const point<3> still{0, 0, 0};
    const point<3> about_z{0, 0, quarter_turn};
    const point<3> about_y{0, quarter_turn, 0};
    node_line lines[9];
    sphere_octant(pos, center, radius, n, patches, loop, lines, octant_connect, octant_boundary);
    append_elements(octant_connect, hemisphere_connect);
    tessel::copy_mesh(pos, hemisphere_connect, still, center, about_z, 3, octant_connect, scratch);
    append_elements(hemisphere_connect, connect);
    tessel::copy_mesh(pos, connect, still, center, {half_turn, 0, 0}, 1, hemisphere_connect,
                      scratch);
    if (circles.wanted()) {
        append_circle(pos, *circles.z, center, about_z,
                      octant_boundary.sub_matrix(0, 0, 2, arc_edges), scratch);
        append_circle(pos, *circles.y, center, about_y,
                      octant_boundary.sub_matrix(0, 2 * arc_edges, 2, arc_edges), scratch);
    }
    // Shallow copies, so that the new numbers reach the outputs.
    dense2D<unsigned> all[3] = {connect, circles.wanted() ? *circles.z : connect,
                                circles.wanted() ? *circles.y : connect};
    join_copies({plan, lines, n, 8, circle_nodes, c},
                std::fabs(center[0]) + std::fabs(center[1]) + std::fabs(center[2]), radius, pos,
                all, all + (circles.wanted() ? 3 : 1));
    return status_ok;
}

} // namespace

int mesh_sphere_UR_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                      unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_sphere_UR(pos, center, radius, n, quad_patches{}, connect, boundary, 6);
}

int mesh_sphere_UR_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                      unsigned n, int pattern, dense2D<unsigned>& connect,
                      dense2D<unsigned>& boundary) {
    return mesh_sphere_UR(pos, center, radius, n, triangle_patches{pattern}, connect, boundary, 7);
}

int mesh_sphere_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, dense2D<unsigned>& connect) {
    return mesh_sphere(pos, center, radius, n, quad_patches{}, connect, {});
}

int mesh_sphere_Q4(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& circle_z,
                   dense2D<unsigned>& circle_y) {
    return mesh_sphere(pos, center, radius, n, quad_patches{}, connect, {&circle_z, &circle_y});
}

int mesh_sphere_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, int pattern, dense2D<unsigned>& connect) {
    return mesh_sphere(pos, center, radius, n, triangle_patches{pattern}, connect, {});
}

int mesh_sphere_T3(dense2D<double>& pos, const vector_fixed<double, 3>& center, double radius,
                   unsigned n, int pattern, dense2D<unsigned>& connect, dense2D<unsigned>& circle_z,
                   dense2D<unsigned>& circle_y) {
    return mesh_sphere(pos, center, radius, n, triangle_patches{pattern}, connect,
                       {&circle_z, &circle_y});
}

} // namespace zel::tessel2d
