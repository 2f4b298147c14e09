// zel tessel2d: planar and surface mesh tools.
#pragma once

#include "foundation/dense.h"
#include "foundation/element_type.h"
#include "zel/tessel2d/export.h"

/// Mesh services that hosts and the library share.
namespace zel::tessel {

/// Tells whether a connectivity can be trusted: its rows suit `kind` and every entry is below `bound`.
///
/// @param connect  one element per column, one node number per row. An empty matrix passes.
/// @param kind     a concrete kind asks for exactly `element_node_count(kind)` rows. ELEMENT_FACE takes
///                 3 rows, or 4 rows in which row 3 may hold 0xFFFFFFFF: that column is a triangle.
/// @param bound    number of nodes; an entry equal to it fails, and so does any other 0xFFFFFFFF. The
///                 bound 0xFFFFFFFF switches the range test off: only the rows are tested then.
///
/// Cost: one pass over the entries at the speed of memory.
ZEL_TESSEL2D_API bool check_IDs(const dense2D<unsigned>& connect, element_type kind,
                                unsigned bound) noexcept;

/// Tells whether every entry is below `bound` or is 0xFFFFFFFF, which stands for no neighbour or no
/// node. An empty matrix passes.
ZEL_TESSEL2D_API bool check_IDs(const dense2D<unsigned>& ids, unsigned bound) noexcept;

/// Tells whether every entry is below `bound`. An empty vector passes.
ZEL_TESSEL2D_API bool check_IDs(const dense1D<unsigned, 8>& ids, unsigned bound) noexcept;

} // namespace zel::tessel
