// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/mesh.h"

#include <filesystem>

namespace zel::examples {

/// Reads a mesh in OFF format: the word OFF, the counts of nodes, faces and edges, a line `x y z` per
/// node, then a line `k n0 ... nk-1` per face. Text behind a `#` is skipped.
///
/// Faces are triangles, which gives 3 rows, or triangles and quadrilaterals, which gives 4. A file
/// whose z is 0 everywhere becomes a planar mesh of 2 rows. What cannot be read, or has no
/// faces, ends the work with a message that names the file.
mesh read_off(const std::filesystem::path& file);

} // namespace zel::examples
