// SPDX-License-Identifier: Apache-2.0
#include "generators/quarter.h"
#include "generators/seams.h"
#include "geometry/point.h"
#include "tessel/copy_mesh.h"
#include "tessel1d/line.h"
#include "zel/tessel2d/disks.h"

#include <cmath>

namespace zel::tessel2d {

namespace {

// The skeleton of the upper right quarter:
//
//    S-.__
//    |    Q           O the centre, A and B half way out, M between them on the diagonal,
//    B---M |          P, Q and S on the circle
//    |   |  |
//    O---A--P
enum node : unsigned { O, A, M, B, P, Q, S };
enum line : unsigned { arc1, arc2, OA, AP, SB, BO, AM, MB, MQ };

constexpr quarter_plan plan = {
    {{{OA, false}, {AM, false}, {MB, false}, {BO, false}},
     {{AP, false}, {arc1, false}, {MQ, true}, {AM, true}},
     {{MQ, false}, {arc2, false}, {SB, false}, {MB, true}}},
    {arc1, arc2, SB, BO, OA, AP},
};

constexpr double eighth_turn = 0.7853981633974483;  // pi/4
constexpr double quarter_turn = 1.5707963267948966; // pi/2
constexpr double diagonal = 0.7071067811865476;     // 1/sqrt(2)
constexpr double junction = 0.41018862050852034;    // M, in x and in y

void place(columns<double> points, std::size_t column, double x, double y) noexcept {
    points[column][0] = x;
    points[column][1] = y;
}

void place_skeleton(columns<double> points, std::size_t c, const point<2>& center,
                    double radius) noexcept {
    const double cx = center[0];
    const double cy = center[1];
    place(points, c + O, cx, cy);
    place(points, c + A, cx + 0.5 * radius, cy);
    place(points, c + M, cx + junction * radius, cy + junction * radius);
    place(points, c + B, cx, cy + 0.5 * radius);
    place(points, c + P, cx + radius, cy);
    place(points, c + Q, cx + diagonal * radius, cy + diagonal * radius);
    place(points, c + S, cx, cy + radius);
}

/// The inner nodes of the arc whose angle runs from first*(pi/4) on, over pi/4.
void place_arc(columns<double> points, const point<2>& center, double radius, std::size_t n,
               double first, std::size_t first_new) noexcept {
    const double step = 1.0 / static_cast<double>(n);
    for (std::size_t k = 1; k < n; ++k) {
        const double t = (static_cast<double>(k) * step + first) * eighth_turn;
        place(points, first_new + k - 1, center[0] + radius * std::cos(t),
              center[1] + radius * std::sin(t));
    }
}

/// Places the nodes of all lines; memory has been reserved.
///
/// The matrix gets as many columns as skeleton and arcs need in an empty one, while the nodes go to the
/// columns behind those that were there. On nodes that were there the two do not fit together; then
/// some columns are written beyond the last one, but within what has been reserved, and the straight
/// lines that follow may overwrite them.
void disk_quarter_skeleton(dense2D<double>& pos, const point<2>& center, double radius,
                           std::size_t n, node_line (&lines)[9]) noexcept {
    const std::size_t c = pos.cols;
    // mutation (2 -> 3): the next line gives the matrix its two rows, and what is filled is zero
    if (pos.empty()) grow_columns(pos, 2, c, 0.0);
    pos.resize(2, 2 * n + 5);
    const columns<double> points = columns_of(pos);
    place_skeleton(points, c, center, radius);
    lines[arc1] = {c + P, c + Q, c + 7};
    lines[arc2] = {c + Q, c + S, c + 7 + (n - 1)};
    place_arc(points, center, radius, n, 0.0, lines[arc1].first_new);
    place_arc(points, center, radius, n, 1.0, lines[arc2].first_new);

    constexpr unsigned ends[][3] = {{OA, O, A}, {AP, A, P}, {SB, S, B}, {BO, B, O},
                                    {AM, A, M}, {MB, M, B}, {MQ, M, Q}};
    for (const auto& [l, from, to] : ends) {
        lines[l] = {c + from, c + to, pos.cols};
        tessel1d::place_line(points, 2, c + from, c + to, n, pos.cols);
        pos.resize(2, pos.cols + n - 1);
    }
}

/// The quarter, once all memory is there; `loop` has room for 4n + 1 entries.
template <class Patches>
void disk_quarter(dense2D<double>& pos, const point<2>& center, double radius, unsigned n,
                  const Patches& patches, dense1D<unsigned, 8>& loop, node_line (&lines)[9],
                  dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    disk_quarter_skeleton(pos, center, radius, n, lines);
    append_outline(plan, lines, n, boundary);
    mesh_patches(plan, lines, n, patches, loop, pos, connect);
}

template <class Patches>
int mesh_disk_UR(dense2D<double>& pos, const point<2>& center, double radius, unsigned n,
                 const Patches& patches, dense2D<unsigned>& connect, dense2D<unsigned>& boundary,
                 int last) {
    return mesh_quarter<2, Patches>(
        pos, n, connect, boundary, last, [&](dense1D<unsigned, 8>& loop, node_line(&lines)[9]) {
            disk_quarter(pos, center, radius, n, patches, loop, lines, connect, boundary);
        });
}

template <class Patches>
int mesh_disk(dense2D<double>& pos, const point<2>& center, double radius, unsigned n,
              const Patches& patches, dense2D<unsigned>& connect, dense2D<unsigned>& boundary,
              int last) {
    if (n == 0) return status_ok;
    if (const int status = check_quarter<2, Patches>(pos, connect, boundary, last)) return status;
    const quarter_counts quarter(n);
    const std::size_t elements = quarter.cells * Patches::elements_per_cell;
    const std::size_t arc_edges = 2 * std::size_t{n};
    dense2D<unsigned> quarter_connect, quarter_boundary;
    dense1D<unsigned, 8> loop;
    tessel::copy_scratch scratch;
    if (n > most_divisions || !loop.reserve(std::size_t{4} * n + 1, 1) ||
        !reserve_nodes(pos, 2, 4 * quarter.nodes + 3 * (arc_edges + 1)) ||
        !scratch.reserve(quarter.nodes) ||
        !reserve_more(connect, Patches::rows(connect), 4 * elements) ||
        !reserve_more(boundary, 2, 4 * arc_edges) ||
        // mutation (1 -> 2, 1 -> 0): twice nothing is nothing: the matrix is empty
        !quarter_connect.reserve(Patches::least_rows, elements, 1) ||
        !quarter_boundary.reserve(2, quarter.edges, 1)) {
        return status_memory;
    }
    const auto c = static_cast<unsigned>(pos.cols);
    const point<2> still{0, 0};
    node_line lines[9];
    disk_quarter(pos, center, radius, n, patches, loop, lines, quarter_connect, quarter_boundary);
    append_elements(quarter_connect, connect);
    tessel::copy_mesh(pos, connect, still, center, quarter_turn, 3, quarter_connect, scratch);
    quarter_boundary.resize(2, arc_edges);
    append_elements(quarter_boundary, boundary);
    tessel::copy_mesh(pos, boundary, still, center, quarter_turn, 3, quarter_boundary, scratch);
    dense2D<unsigned> both[2] = {connect, boundary}; // share storage with the arguments
    join_copies({plan, lines, n, 4, 3 * (arc_edges + 1), c},
                std::fabs(center[0]) + std::fabs(center[1]), radius, pos, both, both + 2);
    return status_ok;
}

} // namespace

int mesh_disk_UR_Q4(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                    unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_disk_UR(pos, center, radius, n, quad_patches{}, connect, boundary, 6);
}

int mesh_disk_UR_T3(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                    unsigned n, int pattern, dense2D<unsigned>& connect,
                    dense2D<unsigned>& boundary) {
    return mesh_disk_UR(pos, center, radius, n, triangle_patches{pattern}, connect, boundary, 7);
}

int mesh_disk_Q4(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                 unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_disk(pos, center, radius, n, quad_patches{}, connect, boundary, 6);
}

int mesh_disk_T3(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                 unsigned n, int pattern, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_disk(pos, center, radius, n, triangle_patches{pattern}, connect, boundary, 7);
}

} // namespace zel::tessel2d
