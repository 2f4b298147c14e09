// SPDX-License-Identifier: Apache-2.0
// Elements shared out by PETSc's partitioners. PETSc numbers the vertices of the graph rank by rank, whatever
// their numbers in the mesh are: the vertex of an own element is what stands on lower ranks, and its slot.
#include "distributed/part.h"

#include "zel/host/adjacency.h"

#include <petscis.h>
#include <petscpartitioner.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <numeric>

namespace zel::distributed {

namespace {

// Objects of PETSc that go when the function ends.
struct partitioning {
    PetscPartitioner partitioner = nullptr;
    PetscSection sizes = nullptr;
    IS elements = nullptr;
    ~partitioning() {
        ISDestroy(&elements);
        PetscSectionDestroy(&sizes);
        PetscPartitionerDestroy(&partitioner);
    }
};

// Neighbours across edges of the own elements, as vertices of the graph.
struct graph {
    list<PetscInt> starts, neighbors;
};

int build_graph(const partitioned_mesh& mesh, const list<unsigned>& own,
                const list<PetscInt>& first, graph& out) {
    host::adjacency beside;
    if (const int status = host::build_adjacency(mesh.connect, mesh.pos.cols, beside))
        return status == no_memory ? no_memory : -1;
    out.starts.assign(1, 0);
    for (const unsigned e : own) {
        for (std::size_t k = 0; k < beside.neighbors.rows; ++k) {
            const unsigned other = beside.neighbors(k, e);
            if (other == no_node) continue;
            const home where = mesh.element_homes[other];
            out.neighbors.push_back(first[static_cast<std::size_t>(where.rank)] +
                                    static_cast<PetscInt>(where.slot));
        }
        if (out.neighbors.size() > INT_MAX) return no_memory;
        out.starts.push_back(static_cast<PetscInt>(out.neighbors.size()));
    }
    return 0;
}

// PT-Scotch 7 works on threads that talk to other ranks, which MPI allows only where it was asked to from the start;
// elsewhere it stops in the middle of a partition, more often on small meshes than on large ones. A user's own choice
// holds.
void keep_ptscotch_to_one_thread() {
    setenv("SCOTCH_PTHREAD_NUMBER", "1", 0);
}

PetscErrorCode run_partitioner(MPI_Comm comm, int parts, graph& dual, partitioning& result) {
    const auto vertices = static_cast<PetscInt>(dual.starts.size() - 1);
    keep_ptscotch_to_one_thread();
    PetscErrorCode code = PetscPartitionerCreate(comm, &result.partitioner);
    if (!code) code = PetscPartitionerSetType(result.partitioner, PETSCPARTITIONERPTSCOTCH);
    if (!code) code = PetscSectionCreate(comm, &result.sizes);
    if (!code)
        code = PetscPartitionerPartition(result.partitioner, parts, vertices, dual.starts.data(),
                                         dual.neighbors.data(), nullptr, nullptr, result.sizes,
                                         &result.elements);
    return code;
}

// Which rank each own element goes to, in PETSc's form: the elements of part 0, those of part 1, ...
PetscErrorCode read_parts(int parts, const partitioning& result, dense1D<int, 8>& ranks) {
    const PetscInt* elements = nullptr;
    PetscErrorCode code = ISGetIndices(result.elements, &elements);
    for (PetscInt part = 0; !code && part < parts; ++part) {
        PetscInt count = 0, offset = 0;
        code = PetscSectionGetDof(result.sizes, part, &count);
        if (!code) code = PetscSectionGetOffset(result.sizes, part, &offset);
        for (PetscInt k = 0; !code && k < count; ++k)
            ranks[static_cast<std::size_t>(elements[offset + k])] = part;
    }
    const PetscErrorCode restored = ISRestoreIndices(result.elements, &elements);
    return code ? code : restored;
}

int by_blocks(const partitioned_mesh& mesh, const list<unsigned>& own, dense1D<int, 8>& ranks) {
    const auto all = static_cast<number>(ranks_of(mesh.comm));
    const number share = mesh.elements / all,
                 more = mesh.elements % all; // the first `more` get one more
    for (std::size_t s = 0; s < own.size(); ++s) {
        const number e = mesh.element_numbers[own[s]];
        const number rank = share == 0               ? e
                            : e < more * (share + 1) ? e / (share + 1)
                                                     : more + (e - more * (share + 1)) / share;
        ranks[s] = static_cast<int>(rank);
    }
    return 0;
}

int by_graph(const partitioned_mesh& mesh, dense1D<int, 8>& ranks) {
    MPI_Comm comm = mesh.comm;
    const int all = ranks_of(comm), me = rank_of(comm);
    partitioned_mesh wide;
    int status = with_halo(mesh, 1, wide);
    if (status) return status;
    list<PetscInt> first;
    list<unsigned> own;
    PetscInt mine = 0;
    status = together(comm, [&] {
        first.assign(static_cast<std::size_t>(all) + 1, 0);
        own = own_entries(wide.element_homes, me);
        mine = static_cast<PetscInt>(own.size());
        return 0;
    });
    if (status) return status;
    int code = MPI_Allgather(&mine, 1, MPI_INT, first.data() + 1, 1, MPI_INT, comm);
    std::partial_sum(first.begin(), first.end(), first.begin());
    graph dual;
    status = together(comm, [&] {
        if (code != MPI_SUCCESS) return engine_failed;
        return build_graph(wide, own, first, dual);
    });
    if (status) return status;
    PetscPushErrorHandler(PetscReturnErrorHandler, nullptr);
    {
        partitioning result;
        PetscErrorCode failed = run_partitioner(comm, all, dual, result);
        if (!failed) failed = read_parts(all, result, ranks);
        status = agree(comm, failed ? engine_failed : 0);
    }
    PetscPopErrorHandler();
    return status;
}

} // namespace

int partition(partitioned_mesh& mesh, partitioner by) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    if (by == partitioner::ptscotch && mesh.connect.rows != 3 && mesh.connect.rows != 4) return -1;
    // The graph has at most 4 neighbours to an element, and PETSc's numbers have 31 bits.
    const bool graph_fits = mesh.elements <= INT_MAX / 4;
    dense1D<int, 8> ranks;
    list<unsigned> own;
    int status = together(mesh.comm, [&] {
        own = own_entries(mesh.element_homes, rank_of(mesh.comm));
        return ranks.resize(own.size(), 0) ? 0 : no_memory;
    });
    if (status) return status;
    if (by == partitioner::ptscotch && graph_fits && ranks_of(mesh.comm) > 1 && mesh.elements != 0)
        status = by_graph(mesh, ranks);
    else
        status = by_blocks(mesh, own, ranks);
    return status ? status : redistribute(mesh, ranks);
}

} // namespace zel::distributed
