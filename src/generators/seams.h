// SPDX-License-Identifier: Apache-2.0
// Joins the turned copies of a quarter or an octant where their outlines meet. The result is that
// of merging all nodes and removing the unused ones, but only the nodes of outlines are compared.
#pragma once

#include "generators/quarter.h"

namespace zel::tessel2d {

/// Nodes that are closer than this times the radius become one.
constexpr double seam_tolerance = 1e-12;

/// Returns true if no two nodes of a quarter or octant, and no node inside it and one of its
/// outline, can come near the tolerance, whatever the rounding. `from_origin` is the sum of the
/// magnitudes of the centre's coordinates.
///
/// The patches are images of the unit square that do not depend on n, under which the nodes stay at least
/// 0.41 radius/n apart and the inner nodes as far from the outline. Rounding moves a node by less than
/// 2^-46 (from_origin + radius), and 10^-12 radius are less than 2^-23 radius/n.
inline bool nodes_stay_apart(double from_origin, double radius, double n) noexcept {
    const double scale = from_origin + radius;
    // mutation (> -> <=): else the services look at all nodes, with the same result
    return radius > 1e-250 && scale < 1e250 && scale * n * 0x1p-35 < radius;
}

/// Where the nodes of a quarter and its copies are: `copies` times the nodes of the quarter from
/// `first_node` on, and `behind` nodes of copied edges after them. Elements use each node of a
/// copy, and edges each node after them.
struct copied_parts {
    const quarter_plan& plan;
    const node_line (&lines)[9];
    std::size_t n;
    std::size_t copies;
    std::size_t behind;
    unsigned first_node;
};

/// Lists the nodes of outlines and copied edges, ascending, in `seam`, and the place in that list of the node that each is
/// fused with, its own if it is kept, in `stands_for`. In `pos` the copies are `stride` columns apart, and the copied edges
/// follow the last one; lines have the same columns in each copy. Returns false if memory is exhausted.
bool fuse_seams(const copied_parts& parts, std::size_t stride, double tolerance,
                const dense2D<double>& pos, dense1D<unsigned, 8>& seam,
                dense1D<unsigned, 8>& stands_for) noexcept;

/// Fuses coincident nodes, removes the fused ones and rewrites the matrices [first, last), which
/// may share storage. If `nodes_stay_apart` holds and `pos` was empty before, only the nodes of
/// outlines and edges are compared.
void join_copies(const copied_parts& parts, double from_origin, double radius, dense2D<double>& pos,
                 dense2D<unsigned>* first, dense2D<unsigned>* last) noexcept;

} // namespace zel::tessel2d
