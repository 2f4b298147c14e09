// SPDX-License-Identifier: Apache-2.0
// Builds what a quarter of a disk and an octant of a sphere have in common: seven skeleton nodes,
// nine lines of n cells between them, and three four-sided patches between the lines.
#pragma once

#include "foundation/call_frame.h"
#include "generators/struct_patch.h"
#include "zel/tessel2d/generators.h"

namespace zel::tessel2d {

/// A line of n cells: node `from`, the n - 1 nodes from `first_new` on, node `to`.
struct node_line {
    std::size_t from;
    std::size_t to;
    std::size_t first_new;

    unsigned node(std::size_t k, std::size_t n) const noexcept {
        const std::size_t id = k == 0 ? from : k == n ? to : first_new + k - 1;
        return static_cast<unsigned>(id);
    }
};

/// A line as a side of a patch, perhaps against its own direction.
struct patch_side {
    unsigned line;
    bool reversed;
};

/// Which lines bound the patches and the whole, each in the direction of its loop.
struct quarter_plan {
    patch_side patches[3][4];
    unsigned outline[6];
};

/// The largest n that is tried: with it the nodes exceed 32-bit numbers in any case, and up to it
/// no count overflows.
constexpr unsigned most_divisions = 1U << 16;

/// Counts of a quarter of n cells per patch side.
struct quarter_counts {
    std::size_t nodes;
    std::size_t cells;
    std::size_t edges;     ///< around it
    std::size_t arc_edges; ///< of its outline, from one axis to the next
    std::size_t loop;      ///< entries of the closed loop around a patch

    explicit quarter_counts(std::size_t n) noexcept
        : nodes(3 * n * (n + 1) + 1),
          cells(3 * n * n),
          edges(6 * n),
          arc_edges(2 * n),
          loop(4 * n + 1) {}
};

/// How the cells of a patch become elements, and the sphere on which the patch lies, if any.
struct quad_patches {
    const ball* onto = nullptr;
    static constexpr std::size_t elements_per_cell = 1; // mutation (1 -> 2): how much is reserved
    static constexpr std::size_t least_rows = 4;

    static bool fit(const dense2D<unsigned>& connect) noexcept { return takes_rows(connect, 4); }
    static std::size_t rows(const dense2D<unsigned>&) noexcept { return 4; }
    int operator()(dense2D<double>& pos, const dense1D<unsigned, 8>& loop, unsigned n,
                   dense2D<unsigned>& connect) const {
        return mesh_struct_Q4(pos, loop, n, connect, onto);
    }
};
struct triangle_patches {
    int pattern;
    const ball* onto = nullptr;
    static constexpr std::size_t elements_per_cell = 2;
    static constexpr std::size_t least_rows = 3;

    static bool fit(const dense2D<unsigned>& connect) noexcept {
        return takes_rows(connect, 3) || takes_rows(connect, 4);
    }
    static std::size_t rows(const dense2D<unsigned>& connect) noexcept {
        return std::max<std::size_t>(3, connect.rows);
    }
    int operator()(dense2D<double>& pos, const dense1D<unsigned, 8>& loop, unsigned n,
                   dense2D<unsigned>& connect) const {
        return mesh_struct_T3(pos, loop, n, pattern, connect, onto);
    }
};

/// Reserves room for `more` columns behind the present ones. Returns false if memory is exhausted.
inline bool reserve_more(dense2D<unsigned>& m, std::size_t rows, std::size_t more) noexcept {
    std::size_t cols;
    return checked_add(m.cols, more, cols) && m.reserve(rows, cols, 1);
}

/// The same for nodes. Returns false also if 32-bit numbers cannot hold them.
inline bool reserve_nodes(dense2D<double>& pos, std::size_t rows, std::size_t more) noexcept {
    std::size_t cols;
    return node_total(pos.cols, more, cols) && pos.reserve(rows, cols, 1);
}

/// Appends local elements to an output whose memory has been reserved; it takes their row count.
inline void append_elements(const dense2D<unsigned>& elements,
                            dense2D<unsigned>& connect) noexcept {
    if (elements.empty()) return;
    if (connect.empty()) grow_columns(connect, elements.rows, connect.cols, no_node);
    append_columns(elements, connect);
}

/// The four sides of a patch as a closed loop.
inline void write_loop(const patch_side (&sides)[4], const node_line (&lines)[9], std::size_t n,
                       dense1D<unsigned, 8>& loop) noexcept {
    unsigned* out = loop.data();
    for (const patch_side& side : sides)
        for (std::size_t k = 0; k < n; ++k)
            *out++ = lines[side.line].node(side.reversed ? n - k : k, n);
    *out = loop[0];
}

/// Meshes the three patches. Their statuses are ignored.
template <class Patches>
void mesh_patches(const quarter_plan& plan, const node_line (&lines)[9], unsigned n,
                  const Patches& patches, dense1D<unsigned, 8>& loop, dense2D<double>& pos,
                  dense2D<unsigned>& connect) {
    loop.resize(std::size_t{4} * n + 1);
    for (const auto& sides : plan.patches) {
        write_loop(sides, lines, n, loop);
        patches(pos, loop, n, connect);
    }
}

/// Appends the edges of the outline.
inline void append_outline(const quarter_plan& plan, const node_line (&lines)[9], std::size_t n,
                           dense2D<unsigned>& boundary) noexcept {
    std::size_t e = boundary.cols;
    grow_columns(boundary, 2, e + 6 * n, no_node);
    for (const unsigned l : plan.outline)
        for (std::size_t k = 0; k < n; ++k, ++e) {
            boundary(0, e) = lines[l].node(k, n);
            boundary(1, e) = lines[l].node(k + 1, n);
        }
}

/// Tests the matrices to which a quarter or an octant is appended; `last` is the position of
/// `boundary` among the arguments.
template <std::size_t Dim, class Patches>
int check_quarter(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                  const dense2D<unsigned>& boundary, int last) noexcept {
    if (!pos.empty() && pos.rows != Dim) return -1;
    if (!Patches::fit(connect)) return -(last - 1);
    if (!takes_rows(boundary, 2)) return -last;
    return status_ok;
}

} // namespace zel::tessel2d
