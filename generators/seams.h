// zel tessel2d: planar and surface mesh tools.
#pragma once

// Joins the turned copies of a quarter or an octant where their outlines meet. What comes out is what
// merging all nodes and removing the unused ones gives, without looking at all nodes.
#include "generators/quarter.h"

namespace zel::tessel2d {

/// Tells that no two nodes of a quarter or octant, and no node inside it and one of its outline, come near
/// the tolerance, whatever the rounding. `from_origin` is the sum of the magnitudes of the centre's
/// coordinates.
///
/// The patches are images of the unit square that do not depend on n, under which the nodes stay at least
/// 0.41 radius/n apart and the inner nodes as far from the outline. Rounding moves a node by less than
/// 2^-46 (from_origin + radius), and 10^-12 radius are less than 2^-23 radius/n.
inline bool nodes_stay_apart(double from_origin, double radius, double n) noexcept {
    const double scale = from_origin + radius;
    return radius > 1e-250 && scale < 1e250 && scale * n * 0x1p-35 < radius;
}

/// Fuses the nodes of `copies` copies, the first nodes of `pos`, as many in each as the quarter has, and of
/// whatever stands behind them; takes the fused ones away and rewrites the matrices [first, last). Each node
/// of a copy must be used by an element, and each one behind the copies too, and only nodes of outlines or
/// behind the copies may coincide. False, with nothing changed: the counts are others, matrices share
/// storage, or memory is exhausted.
bool join_copies(const quarter_plan& plan, const node_line (&lines)[9], std::size_t n,
                 std::size_t copies, std::size_t behind, double tolerance, dense2D<double>& pos,
                 dense2D<unsigned>* first, dense2D<unsigned>* last) noexcept;

} // namespace zel::tessel2d
