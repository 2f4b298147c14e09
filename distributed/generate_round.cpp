// SPDX-License-Identifier: Apache-2.0
// Disks and spheres in shares of whole lines of cells.
//
// 1. Every rank places the nodes on the sides of the patches of the quarter or octant and turns copies of them, with the
//    library's own functions. These are O(n) nodes, and all that can be fused is among them.
// 2. The library says which of them are fused. A sorted list of those makes final numbers by bisection: a node keeps its
//    number among the loose copies less the fused ones before it.
// 3. A rank places the nodes inside the patches for its own lines alone, turns them as the copy is turned, and cuts its
//    cells. Nodes and elements come in the order of their numbers, so that the shares are blocks, of which a mesh is
//    made as of any others.
//
// Loose numbers are those before nodes are fused: copy by copy all nodes of the quarter, then nodes of copied edges. Columns
// are those of the nodes from step 1: the same order without the nodes inside the patches.
#include "distributed/blocks.h"
#include "distributed/exchange.h"
#include "distributed/part.h"

#include "foundation/cell_cut.h"
#include "generators/disk_quarter.h"
#include "generators/sphere_octant.h"
#include "geometry/turn.h"
#include "zel/distributed/generators.h"
#include "zel/tessel.h"

#include <petscsys.h>

#include <algorithm>
#include <climits>

namespace zel::distributed {

namespace {

using tessel2d::disk_quarter;
using tessel2d::node_line;
using tessel2d::point;
using tessel2d::quarter_counts;
using tessel2d::quarter_turn;
using tessel2d::round_shape;
using tessel2d::sphere_octant;

// ------------------------------------------------------------------------------------ sides of patches

// The sides of the patches of all copies.
struct frame {
    quarter_counts counts;
    std::size_t n;
    std::size_t copies;
    std::size_t line_nodes; // of a copy
    std::size_t behind = 0; // nodes of copied edges
    node_line lines[9]{};
    dense2D<double> pos{};
    list<number> fused{};   // loose numbers, ascending
    list<number> instead{}; // final numbers of those that stand for them

    frame(std::size_t cells, std::size_t times)
        : counts(cells), n(cells), copies(times), line_nodes(9 * cells - 2) {}

    number inside_patch() const { return number{n - 1} * (n - 1); }
    number all() const { return copies * number{counts.nodes} + behind; }

    number loose(std::size_t column) const {
        const std::size_t copy = std::min(column / line_nodes, copies);
        return copy * number{counts.nodes} + (column - copy * line_nodes);
    }
    bool is_fused(number node) const {
        return std::binary_search(fused.begin(), fused.end(), node);
    }
    number kept_before(number node) const {
        const auto at = std::lower_bound(fused.begin(), fused.end(), node);
        return node - static_cast<number>(at - fused.begin());
    }
    number final_number(number node) const {
        const auto at = std::lower_bound(fused.begin(), fused.end(), node);
        const auto before = static_cast<std::size_t>(at - fused.begin());
        return at != fused.end() && *at == node ? instead[before] : node - before;
    }
};

// The edges of all nine lines of the quarter, of which each node of a line is an end.
bool list_line_edges(const frame& f, dense2D<unsigned>& edges) {
    if (!edges.resize(2, 9 * f.n)) return false;
    unsigned* out = edges.data();
    for (const node_line& line : f.lines)
        for (std::size_t k = 0; k < f.n; ++k) {
            *out++ = line.node(k, f.n);
            *out++ = line.node(k + 1, f.n);
        }
    return true;
}

// Appends edges and copies of them that are turned once more each.
template <std::size_t Dim, class Rotation>
bool append_copies(const dense2D<unsigned>& edges, const vector_fixed<double, Dim>& center,
                   const Rotation& rotation, unsigned copies, dense2D<double>& pos,
                   dense2D<unsigned>& all) {
    if (!all.reserve(2, edges.cols * (copies + 1), 1)) return false;
    tessel2d::append_elements(edges, all);
    return tessel::copy_mesh(pos, all, vector_fixed<double, Dim>{}, center, rotation, copies,
                             edges) == 0;
}

// Up to two lists of edges, in columns or in numbers; one that is not made stays empty.
using edge_columns = dense2D<unsigned>[2];
using edge_numbers = dense2D<number>[2];

// What is made of a quarter or octant, and how: `copies` of it; `copy` appends to the lines of the first copy those of
// the others and copied edges, and makes the lists of edges; `turn` turns a node of the first copy.
template <class Quarter>
struct single {
    using quarter = Quarter;
    static constexpr std::size_t copies = 1;

    static bool copy(const round_shape<Quarter::dimension>&, const dense2D<unsigned>& outline,
                     frame&, edge_columns& edges) {
        edges[0] = outline;
        return true;
    }
    struct turn {
        turn(const round_shape<Quarter::dimension>&, std::size_t) {}
        void operator()(double*) const {}
    };
};

struct disk {
    using quarter = disk_quarter;
    static constexpr std::size_t copies = 4;

    static bool copy(const round_shape<2>& shape, const dense2D<unsigned>& outline, frame& f,
                     edge_columns& edges) {
        dense2D<unsigned> lines, all;
        const dense2D<unsigned> arc = outline.sub_matrix(0, 0, 2, f.counts.arc_edges);
        return list_line_edges(f, lines) &&
               append_copies<2>(lines, shape.center, quarter_turn, 3, f.pos, all) &&
               append_copies<2>(arc, shape.center, quarter_turn, 3, f.pos, edges[0]);
    }
    struct turn {
        const round_shape<2>& shape;
        std::size_t times;
        tessel2d::plane_turn by;

        turn(const round_shape<2>& given, std::size_t copy)
            : shape(given), times(copy), by(static_cast<double>(copy) * quarter_turn) {}
        void operator()(double* p) const {
            if (times == 0) return;
            const point<2> q = tessel2d::turned<2>(by, shape.center, {0, 0}, {p[0], p[1]});
            std::copy_n(q.begin(), 2, p);
        }
    };
};

// Four octants turned about z, and then all four about x.
template <bool Circles>
struct sphere {
    using quarter = sphere_octant;
    static constexpr std::size_t copies = 8;

    static bool copy(const round_shape<3>& shape, const dense2D<unsigned>& outline, frame& f,
                     edge_columns& edges) {
        dense2D<unsigned> lines, hemisphere, all;
        if (!list_line_edges(f, lines) ||
            !append_copies<3>(lines, shape.center, quarter::about_z, 3, f.pos, hemisphere) ||
            !append_copies<3>(hemisphere, shape.center, quarter::about_x, 1, f.pos, all)) {
            return false;
        }
        if (!Circles) return true;
        const std::size_t arc = f.counts.arc_edges;
        const dense2D<unsigned> from_x_to_y = outline.sub_matrix(0, 0, 2, arc);
        const dense2D<unsigned> from_z_to_x = outline.sub_matrix(0, 2 * arc, 2, arc);
        return append_copies<3>(from_x_to_y, shape.center, quarter::about_z, 3, f.pos, edges[0]) &&
               append_copies<3>(from_z_to_x, shape.center, quarter::about_y, 3, f.pos, edges[1]);
    }
    struct turn {
        const round_shape<3>& shape;
        std::size_t copy;
        tessel2d::space_turn within, over;

        turn(const round_shape<3>& given, std::size_t k)
            : shape(given),
              copy(k),
              within(quarter::about_z, static_cast<double>(k % 4)),
              over(quarter::about_x, 1) {}
        void operator()(double* p) const {
            point<3> q{p[0], p[1], p[2]};
            if (copy % 4 != 0) q = tessel2d::turned<3>(within, shape.center, {0, 0, 0}, q);
            if (copy >= 4) q = tessel2d::turned<3>(over, shape.center, {0, 0, 0}, q);
            std::copy_n(q.begin(), 3, p);
        }
    };
};

// Finds out which nodes the library fuses.
template <class Quarter>
int fuse(const round_shape<Quarter::dimension>& shape, frame& f) {
    if (f.copies == 1) return 0;
    dense1D<unsigned, 8> seam, stands_for;
    if (!tessel2d::fuse_seams({Quarter::plan, f.lines, f.n, f.copies, f.behind, 0}, f.line_nodes,
                              shape.radius * tessel2d::seam_tolerance, f.pos, seam, stands_for))
        return no_memory;
    for (std::size_t k = 0; k < seam.size; ++k) {
        if (stands_for[k] == k) continue;
        const number kept = f.final_number(f.loose(seam[stands_for[k]])); // a node before this one
        f.fused.push_back(f.loose(seam[k]));
        f.instead.push_back(kept);
    }
    return 0;
}

// Makes the frame and the lists of edges, which have final numbers.
template <class Kind>
int make_frame(const round_shape<Kind::quarter::dimension>& shape, frame& f,
               edge_numbers& borders) {
    constexpr std::size_t rows = Kind::quarter::dimension;
    dense2D<unsigned> outline;
    edge_columns columns;
    if (!f.pos.reserve(rows, f.line_nodes, 1) || !outline.reserve(2, f.counts.edges, 1))
        return no_memory;
    Kind::quarter::place_lines(f.pos, shape, f.lines);
    tessel2d::append_outline(Kind::quarter::plan, f.lines, f.n, outline);
    if (!Kind::copy(shape, outline, f, columns)) return no_memory;
    f.behind = f.pos.cols - f.copies * f.line_nodes;
    if (const int status = fuse<typename Kind::quarter>(shape, f)) return status;
    for (std::size_t b = 0; b < 2; ++b) {
        if (!borders[b].resize(2, columns[b].cols)) return no_memory;
        for (std::size_t e = 0; e < columns[b].cols; ++e)
            for (std::size_t i = 0; i < 2; ++i)
                borders[b](i, e) = f.final_number(f.loose(columns[b](i, e)));
    }
    return 0;
}

// --------------------------------------------------------------------------------- share of a rank

// Lines of cells of one patch of one copy.
struct run {
    std::size_t copy, patch, first, end;
};

// The lines of cells of a rank and the nodes that it brings: those inside a patch at which its lines begin, and the
// sides of the patches of each copy with the first line of the copy. The last rank also has the nodes of copied edges.
struct share {
    list<run> runs;
    std::size_t lines = 0;
    number first_node = 0, end_node = 0; // loose
    bool has_edges = false;

    share(MPI_Comm comm, const frame& f) {
        const equal_blocks blocks(comm, 3 * f.n * f.copies);
        const int me = rank_of(comm);
        const std::size_t first = blocks.first(me), end = blocks.first(me + 1);
        lines = end - first;
        has_edges = me + 1 == ranks_of(comm);
        first_node = node_at(f, first);
        end_node = has_edges ? f.all() : node_at(f, end);
        for (std::size_t l = first; l < end;) {
            const std::size_t more = std::min(end - l, f.n - l % f.n);
            runs.push_back({l / (3 * f.n), l / f.n % 3, l % f.n, l % f.n + more});
            l += more;
        }
    }

    static number node_at(const frame& f, std::size_t line) {
        const number copy = line / (3 * f.n), patch = line / f.n % 3, i = line % f.n;
        const number head = copy * f.counts.nodes;
        if (patch == 0 && i == 0) return head;
        const number above = i == 0 ? 0 : (i - 1) * (f.n - 1);
        return head + f.line_nodes + patch * f.inside_patch() + above;
    }
};

// The three patches of the first copy, in the numbers of its nodes.
struct patches {
    dense1D<unsigned, 8> loops[3];
    tessel2d::struct_patch of[3];

    template <class Quarter>
    int make(const frame& f) {
        for (std::size_t p = 0; p < 3; ++p) {
            if (!loops[p].resize(f.counts.loop)) return no_memory;
            tessel2d::write_loop(Quarter::plan.patches[p], f.lines, f.n, loops[p]);
            of[p] = {loops[p].data(), f.n, f.n, f.line_nodes + p * f.inside_patch()};
        }
        return 0;
    }
};

// Copies the nodes of some columns that are kept to the columns of `block` from `to` on.
void copy_kept(const frame& f, std::size_t first, std::size_t count, dense2D<double>& block,
               std::size_t& to) {
    for (std::size_t c = first; c < first + count; ++c)
        if (!f.is_fused(f.loose(c))) std::copy_n(f.pos[c], f.pos.rows, block[to++]);
}

template <class Kind>
int make_nodes(const round_shape<Kind::quarter::dimension>& shape, const frame& f,
               const patches& sides, const share& mine, dense2D<double>& block) {
    const number count = f.kept_before(mine.end_node) - f.kept_before(mine.first_node);
    if (count > INT_MAX || !block.resize(f.pos.rows, count)) return no_memory;
    const tessel2d::ball* onto = nullptr;
    [[maybe_unused]] tessel2d::ball surface;
    if constexpr (Kind::quarter::dimension == 3) {
        surface = {shape.center, shape.radius};
        onto = &surface;
    }
    std::size_t to = 0;
    for (const run& r : mine.runs) {
        if (r.patch == 0 && r.first == 0)
            copy_kept(f, r.copy * f.line_nodes, f.line_nodes, block, to);
        const std::size_t first = std::max<std::size_t>(r.first, 1);
        if (f.n == 1 || first >= r.end) continue;
        const std::size_t begin = to;
        tessel2d::place_lines(sides.of[r.patch], onto, f.pos, first, r.end, block, begin);
        to += (r.end - first) * (f.n - 1);
        const typename Kind::turn turn(shape, r.copy);
        for (std::size_t k = begin; k < to; ++k) turn(block[k]);
    }
    if (mine.has_edges) copy_kept(f, f.copies * f.line_nodes, f.behind, block, to);
    return 0;
}

// The final numbers of the nodes on line i of the grid of a patch.
struct grid_line {
    list<number> nodes;

    void fill(const frame& f, const tessel2d::struct_patch& patch, number copy, std::size_t i) {
        const number head = copy * f.counts.nodes;
        const number shift = head - (head + f.line_nodes - f.kept_before(head + f.line_nodes));
        nodes.resize(f.n + 1);
        for (std::size_t j = 0; j <= f.n; ++j) {
            const number node = struct_node_number(patch, i, j);
            nodes[j] = node < f.line_nodes ? f.final_number(head + node) : shift + node;
        }
    }
};

// Cuts the cells of the share: the library says which corners an element has, 0 to 3 for a to d.
template <class Cut>
int make_elements(const frame& f, const patches& sides, const share& mine,
                  dense2D<number>& connect) {
    const std::size_t cells = mine.lines * f.n;
    if (cells > INT_MAX / (Cut::columns * Cut::rows) ||
        !connect.resize(Cut::rows, cells * Cut::columns))
        return no_memory;
    number* out = connect.data();
    grid_line near, far;
    for (const run& r : mine.runs) {
        far.fill(f, sides.of[r.patch], r.copy, r.first);
        for (std::size_t i = r.first; i < r.end; ++i) {
            near.nodes.swap(far.nodes);
            far.fill(f, sides.of[r.patch], r.copy, i + 1);
            for (std::size_t j = 0; j < f.n; ++j) {
                const number corners[4] = {near.nodes[j], far.nodes[j], far.nodes[j + 1],
                                           near.nodes[j + 1]};
                unsigned places[Cut::columns * Cut::rows];
                Cut::write(places, Cut::rows, (i + j) % 2 == 0, 0, 1, 2, 3);
                for (const unsigned place : places) *out++ = corners[place];
            }
        }
    }
    return 0;
}

// ------------------------------------------------------------------------------------ call frame

// How cells become elements.
struct cells {
    bool halved;
    int pattern;

    bool known() const { return !halved || (pattern >= 0 && pattern <= 2); }
    int cut(const frame& f, const patches& sides, const share& mine,
            dense2D<number>& connect) const {
        if (!halved) return make_elements<tessel2d::whole_cell>(f, sides, mine, connect);
        int status = 0;
        tessel2d::with_halves<3>(pattern, [&](auto cut) {
            status = make_elements<decltype(cut)>(f, sides, mine, connect);
        });
        return status;
    }
};
constexpr cells whole_cells{false, 0};

template <class Kind>
int check_round(const round_shape<Kind::quarter::dimension>& shape, const cells& by) {
    if constexpr (Kind::copies > 1) {
        // Beyond these bounds the library compares all nodes, not those on seams alone.
        if (!(shape.from_origin() < 1e250)) return -2;
        const unsigned n = std::min(shape.n, tessel2d::most_divisions);
        if (!tessel2d::nodes_stay_apart(shape.from_origin(), shape.radius, n)) return -3;
    }
    if (shape.n == 0 || shape.n > tessel2d::most_divisions) return -4;
    return by.known() ? 0 : -5;
}

// `first` and `second` are where the lists of edges go; null if there is none.
template <class Kind>
int mesh_round(MPI_Comm comm, const round_shape<Kind::quarter::dimension>& shape, const cells& by,
               partitioned_mesh& mesh, dense2D<number>* first, dense2D<number>* second = nullptr) {
    PetscBool stands = PETSC_FALSE;
    PetscInitialized(&stands);
    if (comm == MPI_COMM_NULL || !stands) return -1;
    int status = agree(comm, check_round<Kind>(shape, by));
    if (status) return status;

    dense2D<double> block;
    dense2D<number> connect;
    edge_numbers borders;
    status = together(comm, [&] {
        frame f(shape.n, Kind::copies);
        patches sides;
        int failed = make_frame<Kind>(shape, f, borders);
        if (!failed) failed = sides.make<typename Kind::quarter>(f);
        if (failed) return failed;
        const share mine(comm, f);
        failed = make_nodes<Kind>(shape, f, sides, mine, block);
        return failed ? failed : by.cut(f, sides, mine, connect);
    });
    if (!status) status = from_blocks(comm, block, connect, mesh);
    if (status) return status;
    if (first) first->swap(borders[0]);
    if (second) second->swap(borders[1]);
    return 0;
}

} // namespace

int mesh_disk_UR_Q4(MPI_Comm comm, const vector_fixed<double, 2>& center, double radius, unsigned n,
                    partitioned_mesh& mesh, dense2D<number>& boundary) {
    return mesh_round<single<disk_quarter>>(comm, {center, radius, n}, whole_cells, mesh,
                                            &boundary);
}

int mesh_disk_UR_T3(MPI_Comm comm, const vector_fixed<double, 2>& center, double radius, unsigned n,
                    int pattern, partitioned_mesh& mesh, dense2D<number>& boundary) {
    return mesh_round<single<disk_quarter>>(comm, {center, radius, n}, {true, pattern}, mesh,
                                            &boundary);
}

int mesh_disk_Q4(MPI_Comm comm, const vector_fixed<double, 2>& center, double radius, unsigned n,
                 partitioned_mesh& mesh, dense2D<number>& boundary) {
    return mesh_round<disk>(comm, {center, radius, n}, whole_cells, mesh, &boundary);
}

int mesh_disk_T3(MPI_Comm comm, const vector_fixed<double, 2>& center, double radius, unsigned n,
                 int pattern, partitioned_mesh& mesh, dense2D<number>& boundary) {
    return mesh_round<disk>(comm, {center, radius, n}, {true, pattern}, mesh, &boundary);
}

int mesh_sphere_UR_Q4(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius,
                      unsigned n, partitioned_mesh& mesh, dense2D<number>& boundary) {
    return mesh_round<single<sphere_octant>>(comm, {center, radius, n}, whole_cells, mesh,
                                             &boundary);
}

int mesh_sphere_UR_T3(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius,
                      unsigned n, int pattern, partitioned_mesh& mesh, dense2D<number>& boundary) {
    return mesh_round<single<sphere_octant>>(comm, {center, radius, n}, {true, pattern}, mesh,
                                             &boundary);
}

int mesh_sphere_Q4(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius, unsigned n,
                   partitioned_mesh& mesh) {
    return mesh_round<sphere<false>>(comm, {center, radius, n}, whole_cells, mesh, nullptr);
}

int mesh_sphere_T3(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius, unsigned n,
                   int pattern, partitioned_mesh& mesh) {
    return mesh_round<sphere<false>>(comm, {center, radius, n}, {true, pattern}, mesh, nullptr);
}

int mesh_sphere_Q4(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius, unsigned n,
                   partitioned_mesh& mesh, dense2D<number>& circle_z, dense2D<number>& circle_y) {
    return mesh_round<sphere<true>>(comm, {center, radius, n}, whole_cells, mesh, &circle_z,
                                    &circle_y);
}

int mesh_sphere_T3(MPI_Comm comm, const vector_fixed<double, 3>& center, double radius, unsigned n,
                   int pattern, partitioned_mesh& mesh, dense2D<number>& circle_z,
                   dense2D<number>& circle_y) {
    return mesh_round<sphere<true>>(comm, {center, radius, n}, {true, pattern}, mesh, &circle_z,
                                    &circle_y);
}

} // namespace zel::distributed
