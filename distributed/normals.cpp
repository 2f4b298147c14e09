// SPDX-License-Identifier: Apache-2.0
// A node's normal is a sum over its elements in the order of their numbers: with one layer of halo the part has them
// all, in this order. What the home of a node finds goes to its copies.
#include "zel/distributed/normals.h"

#include "distributed/fields.h"
#include "distributed/runs.h"

#include "zel/tessel2d/normals.h"

#include <algorithm>

namespace zel::distributed {

namespace {

bool is_surface(const partitioned_mesh& mesh) {
    return mesh.comm != MPI_COMM_NULL && mesh.pos.rows == 3 &&
           (mesh.connect.rows == 3 || mesh.connect.rows == 4);
}

// The status of a call of the library on one part: what it can complain about besides memory is the mesh.
int status_of_part(int status) {
    return status == no_memory ? no_memory : status < 0 ? -1 : 0;
}

bool suits(const partitioned_mesh& mesh, const dense2D<double>& N) {
    return mesh.pos.cols == 0 || (N.rows == 3 && N.cols == mesh.pos.cols);
}

// Vectors for all columns where the library gives none: of a part without elements.
int fill_up(std::size_t columns, dense2D<double>& N) {
    if (N.cols == columns) return 0;
    N.clear();
    return N.resize(3, columns, 0.0) ? 0 : no_memory;
}

template <class By>
int offset_by(partitioned_mesh& mesh, const dense2D<double>& N, const By& by) {
    if (!is_surface(mesh)) return -1;
    dense2D<double> pos;
    const int status = together(mesh.comm, [&] {
        if (!suits(mesh, N)) return -2;
        if (!pos.copy(mesh.pos)) return no_memory;
        if (mesh.connect.cols == 0) return 0;
        return status_of_part(tessel2d::offset(pos, mesh.connect, N, by));
    });
    if (status == 0) mesh.pos.swap(pos);
    return status;
}

template <class By>
int offset_by_own_normals(partitioned_mesh& mesh, const By& by) {
    dense2D<double> N;
    const int status = normals(mesh, 1, true, N);
    return status ? status : offset_by(mesh, N, by);
}

constexpr unsigned most_corners = 4;

// Numbers and homes of the nodes that an element makes, which is the first to name their originals.
struct made_nodes {
    number node[most_corners];
    unsigned slot[most_corners];
};

// A part whose elements are all there, and their copies.
struct copied_part {
    partitioned_mesh wide;
    dense2D<double> pos;       ///< of the nodes of `wide`, and behind them of their copies
    dense2D<unsigned> connect; ///< in these numbers
    list<unsigned> own;        ///< own elements by slot
    list<unsigned> maker;      ///< of copy k: 4 * element + corner
};

template <class By>
int copy_locally(const dense2D<double>& N, const By& by, copied_part& part) {
    const partitioned_mesh& wide = part.wide;
    part.own = own_entries(wide.element_homes, rank_of(wide.comm));
    if (wide.connect.cols > most_local / most_corners || !part.pos.copy(wide.pos)) return no_memory;
    if (wide.connect.cols == 0) return 0;
    const int status = tessel2d::copy_with_offset(part.pos, wide.connect, N, by, part.connect);
    if (status) return status_of_part(status);
    auto next = static_cast<unsigned>(wide.pos.cols);
    for (std::size_t e = 0; e < part.connect.cols; ++e)
        for (std::size_t i = 0; i < part.connect.rows; ++i) {
            if (part.connect(i, e) != next) continue;
            part.maker.push_back(static_cast<unsigned>(most_corners * e + i));
            ++next;
        }
    return 0;
}

// How many copies each own element makes, by slot, and where among the own elements each element is.
list<number> count_made(const copied_part& part, list<unsigned>& slot) {
    slot.assign(part.wide.connect.cols, no_node);
    for (std::size_t s = 0; s < part.own.size(); ++s) slot[part.own[s]] = static_cast<unsigned>(s);
    list<number> counts(part.own.size(), 0);
    for (const unsigned made : part.maker)
        if (slot[made / most_corners] != no_node) ++counts[slot[made / most_corners]];
    return counts;
}

// This rank's nodes, present and made: numbers and columns of `copied_part::pos`; and what its elements make.
struct own_copies {
    list<number> numbers;
    list<unsigned> columns;
    list<made_nodes> made;
};

int list_own(const copied_part& part, const list<unsigned>& slot, const sums_in_front& sums,
             own_copies& own) {
    const partitioned_mesh& wide = part.wide;
    for (const unsigned k : own_entries(wide.node_homes, rank_of(wide.comm))) {
        own.numbers.push_back(wide.node_numbers[k]);
        own.columns.push_back(k);
    }
    own.made.resize(part.own.size());
    list<number> next(sums.front);
    for (std::size_t k = 0; k < part.maker.size(); ++k) {
        const unsigned s = slot[part.maker[k] / most_corners];
        if (s == no_node) continue;
        const unsigned corner = part.maker[k] % most_corners;
        own.made[s].node[corner] = wide.nodes + next[s]++;
        own.made[s].slot[corner] = static_cast<unsigned>(own.numbers.size());
        own.numbers.push_back(own.made[s].node[corner]);
        own.columns.push_back(static_cast<unsigned>(wide.pos.cols + k));
    }
    return own.numbers.size() > most_local ? no_memory : 0;
}

template <class By>
int copy_by(const partitioned_mesh& mesh, const dense2D<double>& N, const By& by,
            partitioned_mesh& copy) {
    if (!is_surface(mesh)) return -1;
    MPI_Comm comm = mesh.comm;
    int status = agree(comm, suits(mesh, N) ? 0 : -2);
    if (status) return status;
    copied_part part;
    if ((status = with_halo(mesh, 1, part.wide))) return status;
    dense2D<double> wide_normals, given;
    status = together(comm, [&] {
        given = N;
        given.rows = 3; // also of a rank without nodes
        return 0;
    });
    if (status) return status;
    if ((status = spread_columns(comm, given, mesh.node_homes, part.wide.node_homes, wide_normals)))
        return status;

    list<unsigned> slot;
    list<number> counts, element_numbers;
    status = together(comm, [&] {
        if (const int failed = copy_locally(wide_normals, by, part)) return failed;
        counts = count_made(part, slot);
        for (const unsigned e : part.own) element_numbers.push_back(part.wide.element_numbers[e]);
        return 0;
    });
    if (status) return status;
    sums_in_front sums;
    if ((status = sum_in_front(comm, element_numbers, counts, mesh.elements, sums))) return status;

    own_copies own;
    list<made_nodes> made;
    status = together(comm, [&] {
        made.resize(part.wide.connect.cols);
        return list_own(part, slot, sums, own);
    });
    if (status) return status;
    star_forest copies;
    status =
        copies.build(comm, part.own.size(), part.wide.element_homes.data(), part.wide.connect.cols);
    if (status) return status;
    if ((status = copies.spread(own.made.data(), made.data()))) return status;

    list<number> corners, node_numbers;
    list<home> homes, node_homes;
    status = together(comm, [&] {
        for (const unsigned e : part.own)
            for (std::size_t i = 0; i < part.connect.rows; ++i) {
                const unsigned local = part.connect(i, e);
                if (local == no_node) {
                    corners.push_back(no_number);
                    homes.push_back({0, 0});
                    continue;
                }
                const unsigned maker = part.maker[local - part.wide.pos.cols];
                const made_nodes& from = made[maker / most_corners];
                corners.push_back(from.node[maker % most_corners]);
                homes.push_back({part.wide.element_homes[maker / most_corners].rank,
                                 from.slot[maker % most_corners]});
            }
        distinct_nodes(corners, homes, node_numbers, node_homes);
        return 0;
    });
    if (status) return status;
    partitioned_mesh fresh = mesh;
    status = settle(comm, mesh.connect.rows, corners, element_numbers, node_numbers, node_homes,
                    own.numbers, part.pos, own.columns, fresh);
    if (status) return status;
    fresh.nodes = mesh.nodes + sums.all;
    copy = fresh;
    return 0;
}

template <class By>
int copy_by_own_normals(const partitioned_mesh& mesh, const By& by, partitioned_mesh& copy) {
    dense2D<double> N;
    const int status = normals(mesh, 1, true, N);
    return status ? status : copy_by(mesh, N, by, copy);
}

} // namespace

int normals(const partitioned_mesh& mesh, double power, bool unit, dense2D<double>& N) {
    if (!is_surface(mesh)) return -1;
    partitioned_mesh wide;
    int status = with_halo(mesh, 1, wide);
    if (status) return status;
    dense2D<double> found;
    status = together(mesh.comm, [&] {
        const int failed = tessel2d::normals(wide.pos, wide.connect, power, unit, found);
        return failed ? status_of_part(failed) : fill_up(wide.pos.cols, found);
    });
    if (status) return status;
    return spread_columns(mesh.comm, found, wide.node_homes, mesh.node_homes, N);
}

int element_normals(const partitioned_mesh& mesh, bool unit, dense2D<double>& N) {
    if (!is_surface(mesh)) return -1;
    dense2D<double> found;
    const int status = together(mesh.comm, [&] {
        const int failed = tessel2d::normals(mesh.pos, mesh.connect, unit, found);
        return failed ? status_of_part(failed) : fill_up(mesh.connect.cols, found);
    });
    if (status == 0) N.swap(found);
    return status;
}

int offset(partitioned_mesh& mesh, const dense2D<double>& N, double d) {
    return offset_by(mesh, N, d);
}

int offset(partitioned_mesh& mesh, const dense2D<double>& N, const symmetric_fixed<double, 3>& M) {
    return offset_by(mesh, N, M);
}

int offset(partitioned_mesh& mesh, double d) {
    return offset_by_own_normals(mesh, d);
}

int offset(partitioned_mesh& mesh, const symmetric_fixed<double, 3>& M) {
    return offset_by_own_normals(mesh, M);
}

int copy_with_offset(const partitioned_mesh& mesh, const dense2D<double>& N, double d,
                     partitioned_mesh& copy) {
    return copy_by(mesh, N, d, copy);
}

int copy_with_offset(const partitioned_mesh& mesh, const dense2D<double>& N,
                     const symmetric_fixed<double, 3>& M, partitioned_mesh& copy) {
    return copy_by(mesh, N, M, copy);
}

int copy_with_offset(const partitioned_mesh& mesh, double d, partitioned_mesh& copy) {
    return copy_by_own_normals(mesh, d, copy);
}

int copy_with_offset(const partitioned_mesh& mesh, const symmetric_fixed<double, 3>& M,
                     partitioned_mesh& copy) {
    return copy_by_own_normals(mesh, M, copy);
}

} // namespace zel::distributed
