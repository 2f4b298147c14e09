// SPDX-License-Identifier: Apache-2.0
// Meshes a quarter of a disk, and a disk from four of them, each turned by a right angle more.
#include "generators/disk_quarter.h"
#include "zel/tessel2d/disks.h"

namespace zel::tessel2d {

namespace {

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
