// SPDX-License-Identifier: Apache-2.0
// The kinds of mesh elements and their numbers of nodes.
#pragma once

#include "zel/tessel2d/export.h"

#include <cstddef>

namespace zel {

/// Kinds of mesh elements. Node order within a column of a connectivity, corners first:
///
/// @code{.unparsed}
///     T3                 T6                  Q4               Q8 (Q9: node 8 at the centre)
///          2                  2              3-------2          3---6---2
///         / \                / \             |       |          |       |
///        /   \              4   3            |       |          7  (8)  5
///       /     \            /     \           |       |          |       |
///      0-------1          0---5---1          0-------1          0---4---1
/// @endcode
///
/// In a T6 node 3 lies opposite corner 0, node 4 opposite corner 1, node 5 opposite corner 2. The
/// generators number corners counterclockwise. In a 4-row matrix a column with 0xFFFFFFFF in row 3
/// is a triangle; in an 8- or 9-row matrix row 6 marks a T6 in the same way.
enum element_type {
    ELEMENT_NONE = 0,
    ELEMENT_NODE = 1,
    ELEMENT_E2 = 2,        ///< straight edge
    ELEMENT_E3 = 3,        ///< quadratic edge
    ELEMENT_E4 = 4,        ///< cubic edge
    ELEMENT_FACE = 5,      ///< any surface element: 3 rows, or 4 rows with T3 and Q4 side by side
    ELEMENT_FACE_HO = 6,   ///< any quadratic surface element
    ELEMENT_T3 = 7,        ///< triangle
    ELEMENT_T6 = 8,        ///< quadratic triangle
    ELEMENT_Q4 = 9,        ///< quadrilateral
    ELEMENT_Q8 = 10,       ///< quadratic quadrilateral
    ELEMENT_Q9 = 11,       ///< biquadratic quadrilateral
    ELEMENT_SOLID = 12,    ///< any linear solid element
    ELEMENT_SOLID_HO = 13, ///< any quadratic solid element
    ELEMENT_TH4 = 14,      ///< tetrahedron
    ELEMENT_TH10 = 15,     ///< quadratic tetrahedron
    ELEMENT_PY5 = 16,      ///< pyramid
    ELEMENT_PY13 = 17,     ///< quadratic pyramid
    ELEMENT_PY14 = 18,     ///< quadratic pyramid with centre
    ELEMENT_W6 = 19,       ///< wedge
    ELEMENT_W15 = 20,      ///< quadratic wedge
    ELEMENT_W18 = 21,      ///< quadratic wedge with face centres
    ELEMENT_H8 = 22,       ///< hexahedron
    ELEMENT_H20 = 23,      ///< serendipity hexahedron
    ELEMENT_H27 = 24       ///< triquadratic hexahedron
};

/// The number of nodes of an element, as in the list above (ELEMENT_FACE has 4, ELEMENT_FACE_HO 9,
/// ELEMENT_SOLID 8, ELEMENT_SOLID_HO 27). `kind` must be one of the enumerators; this is not
/// tested.
ZEL_TESSEL2D_API std::size_t element_node_count(element_type kind) noexcept;

} // namespace zel
