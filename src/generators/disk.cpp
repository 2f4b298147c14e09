// SPDX-License-Identifier: Apache-2.0
// Meshes a quarter of a disk, and a disk from four of them, each turned by a right angle more.
#include "generators/round_mesh.h"
#include "tessel1d/line.h"
#include "zel/tessel2d/disks.h"

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

struct disk_quarter {
    static constexpr std::size_t dimension = 2;
    static constexpr quarter_plan plan = {
        {{{OA, false}, {AM, false}, {MB, false}, {BO, false}},
         {{AP, false}, {arc1, false}, {MQ, true}, {AM, true}},
         {{MQ, false}, {arc2, false}, {SB, false}, {MB, true}}},
        {arc1, arc2, SB, BO, OA, AP},
    };

    static void place_lines(dense2D<double>& pos, const round_shape<2>& disk,
                            node_line (&lines)[9]) noexcept;
};

constexpr double junction = 0.41018862050852034; // M, in x and in y

constexpr arc<2> arcs[] = {
    {arc1, P, Q, 0.0, eighth_turn, false, {0, 1}},
    {arc2, Q, S, 1.0, eighth_turn, false, {0, 1}},
};

void place_disk_skeleton(columns<double> points, std::size_t c,
                         const round_shape<2>& disk) noexcept {
    const double cx = disk.center[0];
    const double cy = disk.center[1];
    const double radius = disk.radius;
    const double half = 0.5 * radius;
    const double m = junction * radius;
    const double s = diagonal * radius;
    // O, A, M, B, P, Q, S
    place_skeleton<2>(points, c,
                      {{cx, cy},
                       {cx + half, cy},
                       {cx + m, cy + m},
                       {cx, cy + half},
                       {cx + radius, cy},
                       {cx + s, cy + s},
                       {cx, cy + radius}});
}

/// Places the nodes of all lines; memory has been reserved.
///
/// The matrix gets the number of columns that skeleton and arcs need in an empty matrix, while the
/// nodes go behind the columns that were present. If there were any, some nodes are written beyond
/// the last column, but within the reserved memory, and the straight lines that follow may
/// overwrite them.
void disk_quarter::place_lines(dense2D<double>& pos, const round_shape<2>& disk,
                               node_line (&lines)[9]) noexcept {
    const std::size_t n = disk.n;
    const std::size_t c = pos.cols;
    // mutation (2 -> 3): the next line gives the matrix its two rows, and what is filled is zero
    if (pos.empty()) grow_columns(pos, 2, c, 0.0);
    pos.resize(2, 2 * n + 5);
    const columns<double> points = columns_of(pos);
    place_disk_skeleton(points, c, disk);
    place_arcs(points, c, arcs, disk, lines);

    constexpr unsigned ends[][3] = {{OA, O, A}, {AP, A, P}, {SB, S, B}, {BO, B, O},
                                    {AM, A, M}, {MB, M, B}, {MQ, M, Q}};
    for (const auto& [l, from, to] : ends) {
        lines[l] = {c + from, c + to, pos.cols};
        tessel1d::place_line(points, 2, c + from, c + to, n, pos.cols);
        pos.resize(2, pos.cols + n - 1);
    }
}

template <class Patches>
int mesh_disk(dense2D<double>& pos, const round_shape<2>& disk, const Patches& patches,
              dense2D<unsigned>& connect, dense2D<unsigned>& boundary, int last) {
    if (disk.n == 0) return status_ok;
    if (const int status = check_quarter<2, Patches>(pos, connect, boundary, last)) return status;
    copied_quarter<disk_quarter, Patches> quarter(disk);
    const std::size_t arc_edges = quarter.counts.arc_edges;
    const std::size_t behind = 3 * (arc_edges + 1);
    if (disk.n > most_divisions || !reserve_nodes(pos, 2, 4 * quarter.counts.nodes + behind) ||
        !reserve_more(connect, Patches::rows(connect), 4 * quarter.elements) ||
        !reserve_more(boundary, 2, 4 * arc_edges) || !quarter.reserve(1)) {
        return status_memory;
    }
    const std::size_t first_node = pos.cols;
    quarter.make(pos, patches);
    quarter.append_copies(quarter.connect, quarter_turn, 3, pos, connect);
    quarter.boundary.resize(2, arc_edges);
    quarter.append_copies(quarter.boundary, quarter_turn, 3, pos, boundary);
    dense2D<unsigned> both[2] = {connect, boundary};
    quarter.join(4, behind, first_node, pos, both);
    return status_ok;
}

} // namespace

int mesh_disk_UR_Q4(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                    unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_quarter<disk_quarter>(pos, {center, radius, n}, quad_patches{}, connect, boundary,
                                      6);
}

int mesh_disk_UR_T3(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                    unsigned n, int pattern, dense2D<unsigned>& connect,
                    dense2D<unsigned>& boundary) {
    return mesh_quarter<disk_quarter>(pos, {center, radius, n}, triangle_patches{pattern}, connect,
                                      boundary, 7);
}

int mesh_disk_Q4(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                 unsigned n, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_disk(pos, {center, radius, n}, quad_patches{}, connect, boundary, 6);
}

int mesh_disk_T3(dense2D<double>& pos, const vector_fixed<double, 2>& center, double radius,
                 unsigned n, int pattern, dense2D<unsigned>& connect, dense2D<unsigned>& boundary) {
    return mesh_disk(pos, {center, radius, n}, triangle_patches{pattern}, connect, boundary, 7);
}

} // namespace zel::tessel2d
