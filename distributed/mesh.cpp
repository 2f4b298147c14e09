// SPDX-License-Identifier: Apache-2.0
// How a mesh in parts comes about: blocks, redistribution by the rank of each element, and back onto one rank.
#include "zel/distributed/mesh.h"

#include "distributed/numbers.h"
#include "distributed/part.h"

#include <petscsys.h>

#include <algorithm>
#include <climits>

namespace zel::distributed {

namespace {

bool petsc_stands() {
    PetscBool yes = PETSC_FALSE;
    PetscInitialized(&yes);
    return yes == PETSC_TRUE;
}

// Blocks of numbers, one per rank: rank r has [first[r], first[r + 1]).
struct blocks {
    list<number> first;

    int gather(MPI_Comm comm, number mine) {
        const int status = together(comm, [&] {
            first.assign(static_cast<std::size_t>(ranks_of(comm)) + 1, 0);
            return 0;
        });
        if (status) return status;
        const int code =
            MPI_Allgather(&mine, 1, MPI_UINT64_T, first.data() + 1, 1, MPI_UINT64_T, comm);
        for (std::size_t r = 1; r < first.size(); ++r) first[r] += first[r - 1];
        return agree(comm, code == MPI_SUCCESS ? 0 : engine_failed);
    }
    number all() const { return first.back(); }
    home home_of(number k) const {
        const auto rank = std::upper_bound(first.begin(), first.end(), k) - first.begin() - 1;
        return {static_cast<int>(rank),
                static_cast<unsigned>(k - first[static_cast<std::size_t>(rank)])};
    }
};

// One value for all ranks, or a complaint: those that bring no columns have no say. Leaves 0 if all bring none.
int common_rows(MPI_Comm comm, std::size_t rows, std::size_t cols, int complaint,
                std::size_t& common) {
    // MPI_MIN of the number and of its complement give the least and the greatest.
    const bool says = cols != 0 || rows != 0;
    const std::uint64_t mine[2] = {says ? rows : UINT64_MAX,
                                   says ? ~std::uint64_t{rows} : UINT64_MAX};
    std::uint64_t least[2] = {0, 0};
    if (MPI_Allreduce(mine, least, 2, MPI_UINT64_T, MPI_MIN, comm) != MPI_SUCCESS)
        return engine_failed;
    if (least[0] == UINT64_MAX) {
        common = 0;
        return 0;
    }
    common = least[0];
    return least[0] == ~least[1] ? 0 : complaint;
}

list<unsigned> all_columns(std::size_t n) {
    list<unsigned> columns(n);
    for (std::size_t k = 0; k < n; ++k) columns[k] = static_cast<unsigned>(k);
    return columns;
}

// An element on its way to another rank is followed by its corners: for each the number and the home.
struct traveller {
    number node;
    home where;
};

} // namespace

int from_blocks(MPI_Comm comm, const dense2D<double>& pos, const dense2D<number>& connect,
                partitioned_mesh& mesh) {
    if (comm == MPI_COMM_NULL || !petsc_stands()) return -1;
    std::size_t dimension = 0, rows = 0;
    if (const int status = common_rows(comm, pos.rows, pos.cols, -2, dimension)) return status;
    if (const int status =
            agree(comm, (dimension != 2 && dimension != 3) || pos.cols > INT_MAX ? -2 : 0))
        return status;
    if (const int status = common_rows(comm, connect.rows, connect.cols, -3, rows)) return status;

    blocks nodes, elements;
    if (const int status = nodes.gather(comm, pos.cols)) return status;
    if (const int status = elements.gather(comm, connect.cols)) return status;

    list<number> corners, element_numbers, node_numbers, old_numbers;
    list<home> homes;
    list<unsigned> columns;
    const auto me = static_cast<std::size_t>(rank_of(comm));
    int status = together(comm, [&] {
        if (connect.cols > INT_MAX || connect.cols * rows > most_local) return -3;
        corners.reserve(rows * connect.cols);
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (std::size_t i = 0; i < rows; ++i) {
                if (connect(i, e) != no_number && connect(i, e) >= nodes.all()) return -3;
                corners.push_back(connect(i, e));
            }
        for (std::size_t e = 0; e < connect.cols; ++e)
            element_numbers.push_back(elements.first[me] + e);
        node_numbers = distinct(corners);
        for (const number node : node_numbers) homes.push_back(nodes.home_of(node));
        for (std::size_t k = 0; k < pos.cols; ++k) old_numbers.push_back(nodes.first[me] + k);
        columns = all_columns(pos.cols);
        return 0;
    });
    if (status) return status;

    partitioned_mesh fresh;
    dense2D<double> block = pos;
    if (block.cols == 0) block.rows = dimension;
    status = settle(comm, rows, corners, element_numbers, node_numbers, homes, old_numbers, block,
                    columns, fresh);
    if (status) return status;
    fresh.nodes = nodes.all();
    fresh.elements = elements.all();
    mesh = fresh;
    return 0;
}

int redistribute(partitioned_mesh& mesh, const dense1D<int, 8>& ranks) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    MPI_Comm comm = mesh.comm;
    const int me = rank_of(comm), all = ranks_of(comm);
    const std::size_t rows = mesh.connect.rows;

    // Element numbers and corners travel in two outboxes of the same order.
    outbox<number> numbers(0);
    outbox<traveller> corners(0);
    list<unsigned> own_nodes;
    int status = together(comm, [&] {
        const list<unsigned> own = own_entries(mesh.element_homes, me);
        if (ranks.size != own.size()) return -2;
        numbers = outbox<number>(all);
        corners = outbox<traveller>(all);
        for (std::size_t s = 0; s < own.size(); ++s) {
            const int to = ranks[s];
            if (to < 0 || to >= all) return -2;
            numbers.add(to, mesh.element_numbers[own[s]]);
            for (std::size_t i = 0; i < rows; ++i) {
                const unsigned local = mesh.connect(i, own[s]);
                corners.add(to, local == no_node
                                    ? traveller{no_number, {0, 0}}
                                    : traveller{mesh.node_numbers[local], mesh.node_homes[local]});
            }
        }
        own_nodes = own_entries(mesh.node_homes, me);
        return 0;
    });
    if (status) return status;

    inbox<number> came;
    inbox<traveller> came_corners;
    if ((status = deliver(comm, numbers, came))) return status;
    if ((status = deliver(comm, corners, came_corners))) return status;

    list<number> element_corners, element_numbers, node_numbers, old_numbers;
    list<home> homes;
    status = together(comm, [&] {
        const std::size_t n = came.records.size();
        if (n > INT_MAX) return no_memory;
        list<unsigned> order = all_columns(n);
        std::sort(order.begin(), order.end(),
                  [&](unsigned a, unsigned b) { return came.records[a] < came.records[b]; });
        element_corners.reserve(n * rows);
        for (const unsigned e : order) {
            element_numbers.push_back(came.records[e]);
            for (std::size_t i = 0; i < rows; ++i)
                element_corners.push_back(came_corners.records[e * rows + i].node);
        }
        std::sort(came_corners.records.begin(), came_corners.records.end(),
                  [](const traveller& a, const traveller& b) { return a.node < b.node; });
        for (const traveller& corner : came_corners.records)
            if (corner.node != no_number &&
                (node_numbers.empty() || node_numbers.back() != corner.node)) {
                node_numbers.push_back(corner.node);
                homes.push_back(corner.where);
            }
        for (const unsigned k : own_nodes) old_numbers.push_back(mesh.node_numbers[k]);
        return 0;
    });
    if (status) return status;
    return settle(comm, rows, element_corners, element_numbers, node_numbers, homes, old_numbers,
                  mesh.pos, own_nodes, mesh);
}

int drop_halo(partitioned_mesh& mesh) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    const int me = rank_of(mesh.comm);
    partitioned_mesh fresh = mesh;
    const int status = together(mesh.comm, [&] {
        const list<unsigned> own = own_entries(mesh.element_homes, me);
        list<bool> used(mesh.pos.cols, false);
        for (const unsigned e : own)
            for (std::size_t i = 0; i < mesh.connect.rows; ++i)
                if (mesh.connect(i, e) != no_node) used[mesh.connect(i, e)] = true;

        loose_part loose;
        loose.rows = mesh.connect.rows;
        loose.dimension = mesh.pos.rows;
        for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
            if (!used[k] && mesh.node_homes[k].rank != me) continue;
            loose.node_numbers.push_back(mesh.node_numbers[k]);
            loose.node_homes.push_back(mesh.node_homes[k]);
            loose.coordinates.insert(loose.coordinates.end(), mesh.pos[k],
                                     mesh.pos[k] + mesh.pos.rows);
        }
        for (const unsigned e : own) {
            loose.element_numbers.push_back(mesh.element_numbers[e]);
            loose.element_homes.push_back(mesh.element_homes[e]);
            for (std::size_t i = 0; i < loose.rows; ++i)
                loose.corners.push_back(mesh.connect(i, e) == no_node
                                            ? no_number
                                            : mesh.node_numbers[mesh.connect(i, e)]);
        }
        return put_together(loose, fresh);
    });
    if (status) return status;
    fresh.halo = 0;
    mesh = fresh;
    return 0;
}

int gather(const partitioned_mesh& mesh, int root, dense2D<double>& pos,
           dense2D<unsigned>& connect) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    MPI_Comm comm = mesh.comm;
    const int me = rank_of(comm), all = ranks_of(comm);
    if (root < 0 || root >= all) return -2;
    struct point {
        number node;
        double at[3];
    };
    const std::size_t rows = mesh.connect.rows, dimension = mesh.pos.rows;
    outbox<point> points(0);
    outbox<number> columns(0);
    int status = together(comm, [&] {
        if (mesh.nodes > most_local || mesh.elements > most_local) return no_memory;
        points = outbox<point>(all);
        columns = outbox<number>(all);
        for (const unsigned k : own_entries(mesh.node_homes, me)) {
            point out{mesh.node_numbers[k], {0, 0, 0}};
            std::copy_n(mesh.pos[k], dimension, out.at);
            points.add(root, out);
        }
        for (const unsigned e : own_entries(mesh.element_homes, me)) {
            columns.add(root, mesh.element_numbers[e]);
            for (std::size_t i = 0; i < rows; ++i) {
                const unsigned local = mesh.connect(i, e);
                columns.add(root, local == no_node ? no_number : mesh.node_numbers[local]);
            }
        }
        return 0;
    });
    if (status) return status;

    inbox<point> came;
    inbox<number> came_columns;
    if ((status = deliver(comm, points, came))) return status;
    if ((status = deliver(comm, columns, came_columns))) return status;
    dense2D<double> whole;
    dense2D<unsigned> elements;
    status = together(comm, [&] {
        if (me != root) return 0;
        if (!whole.resize(dimension, mesh.nodes) || !elements.resize(rows, mesh.elements))
            return no_memory;
        return 0;
    });
    if (status || me != root) return status;
    for (const point& p : came.records) std::copy_n(p.at, dimension, whole[p.node]);
    for (std::size_t k = 0; k < came_columns.records.size(); k += rows + 1) {
        unsigned* const column = elements[came_columns.records[k]];
        for (std::size_t i = 0; i < rows; ++i)
            column[i] =
                static_cast<unsigned>(came_columns.records[k + 1 + i]); // no_number becomes no_node
    }
    pos.swap(whole);
    connect.swap(elements);
    return 0;
}

} // namespace zel::distributed
