// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace zel::examples {

using point = std::array<double, 3>;

/// Nodes and elements as the library takes them. A copy shares its storage with the original; use
/// `deep_copy` where both go on growing.
struct mesh {
    dense2D<double> pos;       ///< 2 x N or 3 x N coordinates
    dense2D<unsigned> connect; ///< one element per column
};

/// Numbers on a mesh, under a name.
struct field {
    std::string name;
    std::vector<double> values;
};

mesh deep_copy(const mesh& m);

/// Node `n`; its third coordinate is 0 in a planar mesh.
point node(const mesh& m, std::size_t n);

/// The kind of an element, found from the rows of the connectivity and from the filler 0xFFFFFFFF.
enum class cell_kind { edge, triangle, quad, triangle6, quad8, quad9 };
cell_kind kind_of_cell(const mesh& m, std::size_t element);

/// The nodes of an element in the order of its column, without fillers.
std::vector<unsigned> cell_nodes(const mesh& m, std::size_t element);

/// The nodes once around an element, with those on its sides between the corners.
std::vector<unsigned> cell_outline(const mesh& m, std::size_t element);

/// The diagonal of the box around all nodes.
double extent(const mesh& m);

} // namespace zel::examples
