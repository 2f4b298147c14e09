// SPDX-License-Identifier: Apache-2.0
// A mesh in parts, one per rank of MPI: what a part holds, how it comes about, and how deep it looks beyond
// its border.
#pragma once

#include "zel/dense.h"
#include "zel/distributed/export.h"

#include <mpi.h>

#include <cstdint>

/// Meshes in parts, one per rank, with the results of one rank.
///
/// Each rank holds a part of the mesh in the containers of the library, with 32-bit local numbers; the
/// number of a node or element within the whole mesh, its global number, has 64 bits. Local numbers ascend
/// with the global ones. So every tie that the library breaks by number, and every sum that it forms in the
/// order of numbers, comes out on a part as on the whole: in global numbers no result depends on the number
/// of ranks nor on the partition, to the bit.
///
/// Every call is collective: all ranks of the mesh's communicator make it, with the same values of all
/// arguments that are not spread over the ranks. The status is the same on each. A rank that cannot go on,
/// for lack of memory too, leaves the parts on all ranks as they were.
///
/// The program calls `PetscInitialize` (or `MPI_Init` and then `PetscInitialize`) before the first call and
/// `PetscFinalize` after the last one. MPI stays in charge of its own failures: its error handler, which ends
/// all ranks unless the program has chosen another.
namespace zel::distributed {

/// The number of a node or element within the whole mesh.
using number = std::uint64_t;
/// Stands where a connectivity in global numbers has no node: row 3 of a triangle among quadrilaterals.
constexpr number no_number = ~number{0};

/// Who is in charge of a node or element: the rank, and the position among those of which that rank is in
/// charge, in the order of numbers.
struct home {
    int rank;
    unsigned slot;
};

/// The part of a mesh that one rank holds.
///
/// Each element belongs to one rank. Besides its own elements a part may hold a halo: copies of elements of
/// other ranks around them. Each node belongs to the lowest rank that has an element of its own at the node,
/// or, at no element, to any one rank. A part holds the nodes of its elements and the nodes of its own.
///
/// Copies of the record share the matrices, as views do; the functions of this namespace put new matrices in
/// place of those of a part and never write into the old ones.
struct partitioned_mesh {
    MPI_Comm comm = MPI_COMM_NULL; ///< the ranks that hold the parts; not owned
    number nodes = 0;              ///< of the whole mesh
    number elements = 0;           ///< of the whole mesh
    dense2D<double> pos;           ///< 2 x N or 3 x N coordinates of the nodes of this part
    dense2D<unsigned> connect;     ///< R x E local node numbers, 0xFFFFFFFF where there is no node
    dense1D<number, 8> node_numbers;    ///< N global numbers, ascending
    dense1D<home, 8> node_homes;        ///< N
    dense1D<number, 8> element_numbers; ///< E global numbers, ascending
    dense1D<home, 8> element_homes;     ///< E
    unsigned halo =
        0; ///< how many layers of elements around the own ones are there; the same on all ranks
};

/// Makes a mesh in parts of blocks: each rank brings any run of the nodes and any run of the elements, which
/// follow one another in the order of the ranks.
///
/// The element in column j of the block of rank r gets the number that it has when the blocks of the ranks 0,
/// 1, 2, ... are put one behind the other, and so do nodes. Each rank keeps the elements of its block.
///
/// @param comm     the ranks; stays in use as long as the mesh.
/// @param pos      2 x N or 3 x N coordinates, the same number of rows on all ranks. A rank without nodes may
///                 bring an empty matrix.
/// @param connect  R x E global node numbers; `no_number` where an element has no node. The same number of
///                 rows on all ranks. A rank without elements may bring an empty matrix.
/// @param[out] mesh  what it held is dropped.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL on this rank, or PETSc is not initialised.
/// @retval -2    a rank's `pos` has neither 2 nor 3 rows, or ranks differ in them, or there are more than
///               2^32 - 2 nodes on a rank.
/// @retval -3    ranks differ in the rows of `connect`, a number names no node, or there are more than
///               2^32 - 2 elements or corners of them on a rank.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: one sort of the node numbers of a block; the coordinates of each node travel to the ranks that use
/// it, unless these brought it themselves.
ZEL_TESSEL2D_DISTRIBUTED_API int from_blocks(MPI_Comm comm, const dense2D<double>& pos,
                                             const dense2D<number>& connect,
                                             partitioned_mesh& mesh);

/// How elements are shared out among the ranks.
enum class partitioner {
    blocks, ///< runs of element numbers of equal length
    ptscotch, ///< PT-Scotch on the graph of neighbours across edges; blocks if it outgrows 32-bit numbers
};

/// Shares the elements out anew. Numbers stay as they are.
///
/// @param[in,out] mesh  a mesh; without halo afterwards.
/// @param by            the rule.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, or its elements have neither 3 nor 4 rows and `by` needs the
///               graph of neighbours.
/// @retval -198  MPI, PETSc or the partitioner reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: that of the partitioner; every element that changes hands travels once, with its nodes.
ZEL_TESSEL2D_DISTRIBUTED_API int partition(partitioned_mesh& mesh, partitioner by);

/// Gives each element to the rank that the caller names. Numbers stay as they are.
///
/// @param[in,out] mesh  a mesh; without halo afterwards.
/// @param ranks         one entry per own element of this rank, in the order of numbers: where it goes.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -2    a list has another length than its rank has own elements, or names a rank that does not
///               exist.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: every element that changes hands travels once, with its nodes.
ZEL_TESSEL2D_DISTRIBUTED_API int redistribute(partitioned_mesh& mesh, const dense1D<int, 8>& ranks);

/// Adds layers of elements of other ranks around the present part: in each layer all elements that have a
/// node in common with the part as it is.
///
/// With one layer every node of an own element has all of its elements on this rank.
///
/// @param[in,out] mesh  a mesh.
/// @param layers        how many layers are added.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: a sort of the part; what travels is proportional to the border and the new elements.
ZEL_TESSEL2D_DISTRIBUTED_API int grow_halo(partitioned_mesh& mesh, unsigned layers);

/// Drops the copies of elements of other ranks, and the nodes that only they use.
///
/// @param[in,out] mesh  a mesh; without halo afterwards.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves `mesh` as it was on all ranks.
///
/// Cost: one pass over the part.
ZEL_TESSEL2D_DISTRIBUTED_API int drop_halo(partitioned_mesh& mesh);

/// Brings a whole mesh together on one rank, for meshes that fit there.
///
/// @param mesh          a mesh.
/// @param root          the rank that gets it.
/// @param[out] pos      on `root` the coordinates of all nodes in the order of their numbers; elsewhere
///                      untouched. What it held is dropped.
/// @param[out] connect  on `root` the elements in the order of theirs, as the library has them.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator.
/// @retval -2    there is no rank `root`.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or the mesh outgrows 32-bit numbers.
///
/// A negative status leaves both outputs as they were.
///
/// Cost: the mesh travels once.
ZEL_TESSEL2D_DISTRIBUTED_API int gather(const partitioned_mesh& mesh, int root,
                                        dense2D<double>& pos, dense2D<unsigned>& connect);

/// What the calls of this rank have sent to other ranks since `reset_traffic`: messages of exchanges and
/// their bytes. What the collectives of MPI send for sums and statuses, some bytes a call, is not counted.
struct traffic {
    std::uint64_t messages;
    std::uint64_t bytes;
};
ZEL_TESSEL2D_DISTRIBUTED_API traffic traffic_so_far();
ZEL_TESSEL2D_DISTRIBUTED_API void reset_traffic();

} // namespace zel::distributed
