// SPDX-License-Identifier: Apache-2.0
// Meshes in parts in files: HDF5, which all ranks write and read at once, and XDMF, by which viewers find their
// way in it.
#pragma once

#include "zel/distributed/mesh.h"

#include <string>
#include <vector>

namespace zel::distributed {

/// Values at the nodes or elements of a mesh in parts.
struct field {
    std::string name;
    dense2D<double>
        values; ///< any rows; one column per local node or element of the part, copies included
};

/// Writes a mesh and fields on it into a file, in the order of the global numbers.
///
/// The bytes of the file depend neither on the number of ranks nor on the partition. Copies of elements are not
/// written. The file holds
///
///     nodes                  N x 2 or 3, floating-point numbers of 64 bits
///     elements               E x R, integers of 64 bits; -1 where an element has no node
///     node_fields/<name>     N x rows
///     element_fields/<name>  E x rows
///     topology               only where viewers have the nodes in another order, or elements are of several
///                            kinds: for each element its nodes, behind its kind in XDMF if kinds differ
///
/// Beside it lies the XDMF file, with the ending .xdmf in place of .h5, which names these for viewers. It is left
/// out, and an older one removed, if an element has another number of nodes than 3, 4, 6, 8 and 9, or there is none.
///
/// @param mesh            a mesh, with or without halo.
/// @param path            of the HDF5 file, "plate.h5" for example, in a folder that all ranks see. What is there
///                        is replaced in one step when all has been written; until then the bytes lie in a
///                        file with ".part" behind its name.
/// @param node_fields     the same names with the same numbers of rows on all ranks, or none.
/// @param element_fields  likewise.
///
/// @retval 0     done.
/// @retval -1    the mesh has no communicator, or PETSc is not initialised.
/// @retval -2    `path` is empty or differs between ranks, or a file cannot be created or written there.
/// @retval -3    a node field has not one column per local node, no rows, a name that is empty, ".", used
///               twice or has a slash or a control character in it; or ranks differ in them.
/// @retval -4    an element field is unusable in one of the ways that -3 stands for with node fields.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank.
///
/// A negative status leaves a file of that name as it was.
///
/// Cost: every column travels once, to the rank that writes its block; one block at a time is in memory besides
/// the mesh.
ZEL_TESSEL2D_DISTRIBUTED_API int write(const partitioned_mesh& mesh, const std::string& path,
                                       const std::vector<field>& node_fields = {},
                                       const std::vector<field>& element_fields = {});

/// Reads a mesh, and fields on it, from an HDF5 file as `write` makes it, on any number of ranks.
///
/// Each rank reads one block of the elements and keeps it. Numbers of other widths and byte orders are
/// converted, so files of other programs do if they hold `nodes` and `elements`.
///
/// @param comm                 the ranks; stays in use as long as the mesh.
/// @param path                 of the HDF5 file.
/// @param[out] mesh            what it held is dropped; without halo.
/// @param[out] node_fields     all of them, by name; null: they are not read.
/// @param[out] element_fields  likewise.
///
/// @retval 0     done.
/// @retval -1    `comm` is MPI_COMM_NULL on this rank, or PETSc is not initialised.
/// @retval -2    `path` differs between ranks, there is no regular file that can be read, or it is not HDF5, or a
///               part of it is missing or damaged.
/// @retval -3    the file holds no mesh: `nodes` or `elements` are missing or have another shape or type, claim
///               more numbers than are stored, or a number names no node.
/// @retval -4    a node field has another shape or type, or claims more numbers than are stored.
/// @retval -5    an element field has another shape or type, or claims more numbers than are stored.
/// @retval -198  MPI or PETSc reported a failure.
/// @retval -199  memory is exhausted on a rank, or a part outgrows 32-bit numbers.
///
/// A negative status leaves all outputs as they were.
///
/// Cost: each rank reads its share of the file once; then that of `from_blocks`.
ZEL_TESSEL2D_DISTRIBUTED_API int read(MPI_Comm comm, const std::string& path,
                                      partitioned_mesh& mesh,
                                      std::vector<field>* node_fields = nullptr,
                                      std::vector<field>* element_fields = nullptr);

} // namespace zel::distributed
