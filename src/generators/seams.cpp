// SPDX-License-Identifier: Apache-2.0
// Fuses the nodes on the seams of disks and spheres and renumbers the rest.
#include "generators/seams.h"

#include "tessel/merge.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cstring>

namespace zel::tessel2d {

namespace {

/// Lists the nodes that may coincide with others, in ascending order. Returns false if memory is
/// exhausted.
bool list_seam_nodes(const copied_parts& parts, std::size_t stride,
                     dense1D<unsigned, 8>& seam) noexcept {
    const quarter_counts quarter(parts.n);
    if (!seam.resize(parts.copies * quarter.edges + parts.behind)) return false;
    unsigned* out = seam.data();
    for (const unsigned l : parts.plan.outline)
        for (std::size_t k = 0; k < parts.n; ++k) *out++ = parts.lines[l].node(k, parts.n);
    std::sort(seam.data(), out);
    for (std::size_t k = quarter.edges; k < parts.copies * quarter.edges; ++k)
        *out++ = seam[k - quarter.edges] + static_cast<unsigned>(stride);
    for (std::size_t k = 0; k < parts.behind; ++k)
        *out++ = static_cast<unsigned>(parts.copies * stride + k);
    return true;
}

bool gather(const dense2D<double>& pos, const dense1D<unsigned, 8>& nodes,
            dense2D<double>& gathered) noexcept {
    if (!gathered.resize(pos.rows, nodes.size)) return false;
    for (std::size_t k = 0; k < nodes.size; ++k) std::copy_n(pos[nodes[k]], pos.rows, gathered[k]);
    return true;
}

} // namespace

bool fuse_seams(const copied_parts& parts, std::size_t stride, double tolerance,
                const dense2D<double>& pos, dense1D<unsigned, 8>& seam,
                dense1D<unsigned, 8>& stands_for) noexcept {
    dense2D<double> seam_pos;
    std::size_t fused;
    return list_seam_nodes(parts, stride, seam) && gather(pos, seam, seam_pos) &&
           stands_for.resize(seam.size) &&
           tessel::find_coincident(seam_pos, tolerance, stands_for, fused);
}

namespace {

/// Removes the nodes of `seam` that are fused with another and writes the new number of each node.
/// The nodes between two removed ones keep their order and move as one block: `pos` began empty, so
/// that its columns are contiguous.
void close_seam(const dense1D<unsigned, 8>& seam, const dense1D<unsigned, 8>& stands_for,
                dense2D<double>& pos, dense1D<unsigned, 8>& numbers) noexcept {
    std::size_t from = 0; // the first node that has not been moved
    std::size_t to = 0;
    const auto move_up_to = [&](std::size_t end) {
        const std::size_t length = end - from;
        for (std::size_t k = 0; k < length; ++k) numbers[from + k] = static_cast<unsigned>(to + k);
        if (length > 0 && to != from)
            std::memmove(pos[to], pos[from], length * pos.rows * sizeof(double));
        to += length;
        from = end;
    };
    for (std::size_t k = 0; k < seam.size; ++k) {
        if (stands_for[k] == k) continue;
        move_up_to(seam[k]);
        numbers[from++] = numbers[seam[stands_for[k]]]; // a node before this one
    }
    move_up_to(pos.cols);
    pos.resize(pos.rows, to);
}

/// Joins by the nodes of outlines and edges alone. Returns false, with nothing changed, if the
/// counts differ from the expected ones, if matrices share storage, or if memory is exhausted.
bool join_seams(const copied_parts& parts, double tolerance, dense2D<double>& pos,
                dense2D<unsigned>* first, dense2D<unsigned>* last) noexcept {
    if (pos.cols != parts.copies * quarter_counts(parts.n).nodes + parts.behind) return false;
    for (const dense2D<unsigned>* a = first; a != last; ++a)
        for (const dense2D<unsigned>* b = first; b != a; ++b)
            if (a->storage == b->storage) return false;
    dense1D<unsigned, 8> seam, stands_for, numbers;
    if (!numbers.resize(pos.cols) ||
        !fuse_seams(parts, quarter_counts(parts.n).nodes, tolerance, pos, seam, stands_for)) {
        return false;
    }
    close_seam(seam, stands_for, pos, numbers);
    for (dense2D<unsigned>* connect = first; connect != last; ++connect)
        tessel::replace_entries(*connect, numbers);
    return true; // mutation: else the services look at all nodes once more and find nothing to fuse
}

} // namespace

void join_copies(const copied_parts& parts, double from_origin, double radius, dense2D<double>& pos,
                 dense2D<unsigned>* first, dense2D<unsigned>* last) noexcept {
    const double tolerance = radius * seam_tolerance;
    const bool only_seams = parts.first_node == 0 &&
                            nodes_stay_apart(from_origin, radius, static_cast<double>(parts.n)) &&
                            join_seams(parts, tolerance, pos, first, last);
    if (only_seams) return;
    tessel::merge(pos, first, last, tolerance, 0);
    tessel::simplify(pos, first, last, parts.first_node);
}

} // namespace zel::tessel2d
