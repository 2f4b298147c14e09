// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/mesh.h"

#include <filesystem>

namespace zel::examples {

/// Fields that go with a mesh: one number per node or element, or three, which make a vector.
struct mesh_fields {
    std::vector<field> on_nodes;
    std::vector<field> on_elements;
};

/// Writes a mesh as VTK unstructured grid (.vtu, XML with binary numbers), which ParaView opens. A
/// field of another length, or a file that cannot be written, ends the work with a message.
void write_vtu(const std::filesystem::path& file, const mesh& m, const mesh_fields& fields = {});

} // namespace zel::examples
