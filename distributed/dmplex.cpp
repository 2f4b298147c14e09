// SPDX-License-Identifier: Apache-2.0
// Cells and vertices of a plex are numbered rank by rank, so they are blocks, of which a mesh is made. The other way
// the star forest of the plex's points says of each vertex with its home elsewhere which point it is there.
#include "zel/distributed/dmplex.h"

#include "distributed/part.h"
#include "distributed/petsc.h"

#include <petscsf.h>

#include <algorithm>
#include <climits>
#include <utility>

namespace zel::distributed {

namespace {

// ---------------------------------------------------------------------------------------- from a plex

// Points of a plex that are cells, or vertices: those that are this rank's own, ascending, and numbers of all.
struct stratum {
    PetscInt first = 0, end = 0;
    list<PetscInt> own;
    list<number> numbers;

    bool has(PetscInt point) const { return point >= first && point < end; }
    number of(PetscInt point) const { return numbers[static_cast<std::size_t>(point - first)]; }
};

// Points with their home on another rank, in a list over all points. A plex on one rank may have no graph.
int mark_away(DM plex, list<bool>& away) {
    PetscInt first = 0, end = 0, roots = 0, leaves = 0;
    const PetscInt* points = nullptr;
    const PetscSFNode* homes = nullptr;
    PetscSF forest = nullptr;
    PetscErrorCode code = DMPlexGetChart(plex, &first, &end);
    if (!code) code = DMGetPointSF(plex, &forest);
    if (!code) code = PetscSFGetGraph(forest, &roots, &leaves, &points, &homes);
    if (code) return status_of(code);
    away.assign(static_cast<std::size_t>(end), false);
    for (PetscInt k = 0; roots >= 0 && k < leaves; ++k)
        away[static_cast<std::size_t>(points ? points[k] : k)] = true;
    return 0;
}

// Numbers own points one behind the other, over all ranks; the others hear theirs from home. Collective.
int number_stratum(MPI_Comm comm, DM plex, const list<bool>& away, stratum& points) {
    list<number> by_point;
    number mine = 0, before = 0;
    int status = together(comm, [&] {
        by_point.assign(away.size(), 0);
        for (PetscInt p = points.first; p < points.end; ++p)
            if (!away[static_cast<std::size_t>(p)]) points.own.push_back(p);
        points.numbers.resize(static_cast<std::size_t>(points.end - points.first));
        mine = points.own.size();
        return 0;
    });
    if (status) return status;
    const int summed = MPI_Exscan(&mine, &before, 1, MPI_UINT64_T, MPI_SUM, comm);
    if (rank_of(comm) == 0) before = 0; // undefined there
    for (const PetscInt p : points.own) by_point[static_cast<std::size_t>(p)] = before++;
    PetscSF forest = nullptr;
    PetscInt roots = -1;
    PetscErrorCode code = DMGetPointSF(plex, &forest);
    if (!code) code = PetscSFGetGraph(forest, &roots, nullptr, nullptr, nullptr);
    if ((status = agree(comm, summed == MPI_SUCCESS ? status_of(code) : engine_failed)))
        return status;
    if (roots >= 0) { // on all ranks or on none
        number* const data = by_point.data();
        code = PetscSFBcastBegin(forest, MPI_UINT64_T, data, data, MPI_REPLACE);
        if (!code) code = PetscSFBcastEnd(forest, MPI_UINT64_T, data, data, MPI_REPLACE);
    }
    std::copy(by_point.begin() + points.first, by_point.begin() + points.end,
              points.numbers.begin());
    return agree(comm, status_of(code));
}

int look_up(MPI_Comm comm, DM plex, stratum& cells, stratum& vertices) {
    list<bool> away;
    PetscErrorCode code = DMPlexGetHeightStratum(plex, 0, &cells.first, &cells.end);
    if (!code) code = DMPlexGetDepthStratum(plex, 0, &vertices.first, &vertices.end);
    int status = together(comm, [&] { return code ? status_of(code) : mark_away(plex, away); });
    if (!status) status = number_stratum(comm, plex, away, cells);
    return status ? status : number_stratum(comm, plex, away, vertices);
}

// The corners of a cell in their order; returns how many there are, 5 for more than 4.
PetscErrorCode corners_of(DM plex, const stratum& vertices, PetscInt cell, number (&corners)[4],
                          int& count) {
    PetscInt size = 0;
    PetscInt* closure = nullptr;
    PetscErrorCode code = DMPlexGetTransitiveClosure(plex, cell, PETSC_TRUE, &size, &closure);
    if (code) return code;
    count = 0;
    for (PetscInt k = 0; k < size; ++k) {
        const PetscInt point =
            closure[2 * static_cast<std::ptrdiff_t>(k)]; // each is followed by its orientation
        if (!vertices.has(point)) continue;
        if (count < 4) corners[count] = vertices.of(point);
        if (++count > 4) break;
    }
    return DMPlexRestoreTransitiveClosure(plex, cell, PETSC_TRUE, &size, &closure);
}

// Columns of 4 rows, `no_number` behind three corners. Returns a status of this rank.
int read_cells(DM plex, const list<PetscInt>& own, const stratum& vertices, list<number>& columns,
               bool& quadrilaterals) {
    columns.reserve(4 * own.size());
    for (const PetscInt cell : own) {
        number corners[4] = {no_number, no_number, no_number, no_number};
        int count = 0;
        if (const PetscErrorCode code = corners_of(plex, vertices, cell, corners, count))
            return status_of(code);
        if (count != 3 && count != 4) return -1;
        quadrilaterals = quadrilaterals || count == 4;
        columns.insert(columns.end(), corners, corners + 4);
    }
    return 0;
}

// Coordinates of own vertices, where the plex has them at its vertices.
int read_coordinates(DM plex, const list<PetscInt>& own, dense2D<double>& pos) {
    PetscInt dimension = 0;
    PetscSection section = nullptr;
    Vec values = nullptr;
    PetscErrorCode code = DMGetCoordinateDim(plex, &dimension);
    if (!code) code = DMGetCoordinateSection(plex, &section);
    if (!code) code = DMGetCoordinatesLocal(plex, &values);
    if (code) return status_of(code);
    if (!values || (dimension != 2 && dimension != 3)) return -1;
    if (!pos.resize(static_cast<std::size_t>(dimension), own.size())) return no_memory;
    const PetscScalar* data = nullptr;
    if ((code = VecGetArrayRead(values, &data))) return status_of(code);
    int status = 0;
    for (std::size_t k = 0; k < own.size() && !status; ++k) {
        PetscInt size = 0, offset = 0;
        code = PetscSectionGetDof(section, own[k], &size);
        if (!code) code = PetscSectionGetOffset(section, own[k], &offset);
        if (code) status = status_of(code);
        if (!status && size != dimension) status = -1;
        if (!status) std::copy_n(data + offset, dimension, pos[k]);
    }
    VecRestoreArrayRead(values, &data);
    return status;
}

bool is_plex(DM plex) {
    PetscBool yes = PETSC_FALSE;
    PetscInt dimension = 0;
    return plex && !PetscObjectTypeCompare(reinterpret_cast<PetscObject>(plex), DMPLEX, &yes) &&
           yes && !DMGetDimension(plex, &dimension) && dimension == 2;
}

// The points in the order of a part's nodes.
list<int> points_in_order(const stratum& points, const dense1D<number, 8>& numbers) {
    list<std::pair<number, int>> known;
    for (PetscInt p = points.first; p < points.end; ++p) known.emplace_back(points.of(p), p);
    std::sort(known.begin(), known.end());
    list<int> found;
    for (const number n : numbers)
        found.push_back(std::lower_bound(known.begin(), known.end(), std::make_pair(n, 0))->second);
    return found;
}

int put_points(const list<int>& points, dense1D<int, 8>& out) {
    if (!out.resize(points.size())) return no_memory;
    std::copy(points.begin(), points.end(), out.begin());
    return 0;
}

// ---------------------------------------------------------------------------------------- into a plex

// The points of a rank: own elements, then the nodes that these have.
struct plex_points {
    list<unsigned> elements;   ///< own ones
    list<unsigned> nodes;      ///< local numbers
    list<PetscInt> of_node;    ///< by local number; -1 where the node is no vertex
    list<PetscInt> shared;     ///< points whose home lies elsewhere
    list<PetscSFNode> at_home; ///< and which these are there
};

int number_points(const partitioned_mesh& mesh, plex_points& out) {
    out.elements = own_entries(mesh.element_homes, rank_of(mesh.comm));
    out.of_node.assign(mesh.pos.cols, -1);
    for (const unsigned e : out.elements)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i)
            if (mesh.connect(i, e) != no_node) out.of_node[mesh.connect(i, e)] = 0;
    auto next = static_cast<PetscInt>(out.elements.size());
    for (std::size_t k = 0; k < mesh.pos.cols; ++k)
        if (out.of_node[k] == 0) {
            out.of_node[k] = next++;
            out.nodes.push_back(static_cast<unsigned>(k));
        }
    return 0;
}

// Asks the homes which of their points the nodes are. Collective.
int find_homes(const partitioned_mesh& mesh, plex_points& points) {
    const int me = rank_of(mesh.comm);
    list<unsigned> own_nodes;
    list<home> homes;
    list<PetscInt> at_home, told;
    int status = together(mesh.comm, [&] {
        own_nodes = own_entries(mesh.node_homes, me);
        for (const unsigned k : own_nodes) at_home.push_back(points.of_node[k]);
        for (const unsigned k : points.nodes) homes.push_back(mesh.node_homes[k]);
        told.resize(homes.size());
        return 0;
    });
    if (status) return status;
    star_forest forest;
    if ((status = forest.build(mesh.comm, own_nodes.size(), homes.data(), homes.size())))
        return status;
    if ((status = forest.spread(at_home.data(), told.data()))) return status;
    return together(mesh.comm, [&] {
        for (std::size_t k = 0; k < homes.size(); ++k)
            if (homes[k].rank != me) {
                points.shared.push_back(points.of_node[points.nodes[k]]);
                points.at_home.push_back({homes[k].rank, told[k]});
            }
        return 0;
    });
}

PetscErrorCode set_cells(const partitioned_mesh& mesh, const plex_points& points, DM plex) {
    const auto cells = static_cast<PetscInt>(points.elements.size());
    const auto corners = [&](PetscInt cell, PetscInt(&out)[4]) {
        const unsigned e = points.elements[static_cast<std::size_t>(cell)];
        PetscInt n = 0;
        for (std::size_t i = 0; i < mesh.connect.rows; ++i)
            if (mesh.connect(i, e) != no_node) out[n++] = points.of_node[mesh.connect(i, e)];
        return n;
    };
    PetscInt cone[4];
    PetscErrorCode code =
        DMPlexSetChart(plex, 0, cells + static_cast<PetscInt>(points.nodes.size()));
    for (PetscInt c = 0; !code && c < cells; ++c)
        code = DMPlexSetConeSize(plex, c, corners(c, cone));
    if (!code) code = DMSetUp(plex);
    for (PetscInt c = 0; !code && c < cells; ++c) {
        corners(c, cone);
        code = DMPlexSetCone(plex, c, cone);
    }
    if (!code) code = DMPlexSymmetrize(plex);
    if (!code) code = DMPlexStratify(plex);
    return code;
}

PetscErrorCode set_coordinates(const partitioned_mesh& mesh, const plex_points& points, DM plex) {
    const auto dimension = static_cast<PetscInt>(mesh.pos.rows);
    const auto first = static_cast<PetscInt>(points.elements.size());
    const auto count = static_cast<PetscInt>(points.nodes.size());
    PetscSection section = nullptr;
    Vec values = nullptr;
    PetscErrorCode code = DMSetCoordinateDim(plex, dimension);
    if (!code) code = DMGetCoordinateSection(plex, &section);
    if (!code) code = PetscSectionSetNumFields(section, 1);
    if (!code) code = PetscSectionSetFieldComponents(section, 0, dimension);
    if (!code) code = PetscSectionSetChart(section, first, first + count);
    for (PetscInt p = first; !code && p < first + count; ++p) {
        code = PetscSectionSetDof(section, p, dimension);
        if (!code) code = PetscSectionSetFieldDof(section, p, 0, dimension);
    }
    if (!code) code = PetscSectionSetUp(section);
    if (!code) code = VecCreateSeq(PETSC_COMM_SELF, count * dimension, &values);
    if (!code) code = VecSetBlockSize(values, dimension);
    PetscScalar* data = nullptr;
    if (!code) code = VecGetArray(values, &data);
    if (!code) {
        for (const unsigned k : points.nodes) data = std::copy_n(mesh.pos[k], dimension, data);
        data -= static_cast<std::ptrdiff_t>(count) * dimension;
        code = VecRestoreArray(values, &data);
    }
    if (!code) code = DMSetCoordinatesLocal(plex, values);
    VecDestroy(&values);
    return code;
}

PetscErrorCode set_homes(plex_points& points, DM plex) {
    PetscSF forest = nullptr;
    PetscErrorCode code = DMGetPointSF(plex, &forest);
    if (!code)
        code = PetscSFSetGraph(forest,
                               static_cast<PetscInt>(points.elements.size() + points.nodes.size()),
                               static_cast<PetscInt>(points.shared.size()), points.shared.data(),
                               PETSC_COPY_VALUES, points.at_home.data(), PETSC_COPY_VALUES);
    return code;
}

} // namespace

int from_dmplex(DM plex, partitioned_mesh& mesh, dense1D<int, 8>* cells,
                dense1D<int, 8>* vertices) {
    const quiet petsc;
    if (!is_plex(plex)) return -1;
    MPI_Comm comm = PetscObjectComm(reinterpret_cast<PetscObject>(plex));
    stratum cell_points, vertex_points;
    int status = look_up(comm, plex, cell_points, vertex_points);
    if (status) return status;

    const list<PetscInt>& own_cells = cell_points.own;
    list<number> columns;
    dense2D<double> pos;
    bool quadrilaterals = false;
    status = together(comm, [&] {
        if (const int failed = read_coordinates(plex, vertex_points.own, pos)) return failed;
        return read_cells(plex, own_cells, vertex_points, columns, quadrilaterals);
    });
    if (status) return status;
    const int mine = quadrilaterals;
    int any = 0;
    MPI_Allreduce(&mine, &any, 1, MPI_INT, MPI_MAX, comm);
    const std::size_t rows = any ? 4 : 3;
    dense2D<number> connect;
    status = together(comm, [&] {
        if (!connect.resize(rows, own_cells.size())) return no_memory;
        for (std::size_t e = 0; e < own_cells.size(); ++e)
            std::copy_n(columns.data() + 4 * e, rows, connect[e]);
        return 0;
    });
    if (status) return status;
    partitioned_mesh fresh;
    if ((status = from_blocks(comm, pos, connect, fresh))) return status > -100 ? -1 : status;
    dense1D<int, 8> points_of_cells, points_of_nodes;
    status = together(comm, [&] {
        const list<int> own(own_cells.begin(), own_cells.end());
        if (const int failed = put_points(own, points_of_cells)) return failed;
        return put_points(points_in_order(vertex_points, fresh.node_numbers), points_of_nodes);
    });
    if (status) return status;
    mesh = fresh;
    if (cells) cells->swap(points_of_cells);
    if (vertices) vertices->swap(points_of_nodes);
    return 0;
}

int to_dmplex(const partitioned_mesh& mesh, DM* plex) {
    if (mesh.comm == MPI_COMM_NULL || (mesh.connect.rows != 3 && mesh.connect.rows != 4)) return -1;
    const quiet petsc;
    plex_points points;
    int status = together(mesh.comm, [&] {
        if (mesh.nodes > INT_MAX || mesh.elements > INT_MAX) return no_memory;
        return number_points(mesh, points);
    });
    if (status) return status;
    if ((status = find_homes(mesh, points))) return status;

    DM fresh = nullptr;
    PetscErrorCode code = DMPlexCreate(mesh.comm, &fresh);
    if ((status = agree(mesh.comm, status_of(code)))) return status;
    code = DMSetDimension(fresh, 2);
    if (!code) code = set_cells(mesh, points, fresh);
    status = agree(mesh.comm, status_of(code));
    if (!status) status = agree(mesh.comm, status_of(set_homes(points, fresh)));
    if (!status) status = agree(mesh.comm, status_of(set_coordinates(mesh, points, fresh)));
    if (status) {
        DMDestroy(&fresh);
        return status;
    }
    *plex = fresh;
    return 0;
}

} // namespace zel::distributed
