// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/index_page.h"
#include "support/mesh.h"
#include "support/mesh_picture.h"
#include "support/vtk_writer.h"

#include <filesystem>
#include <string>

namespace zel::demo {

/// What a chapter works with: where its files go, the meshes that come from files, and the page it
/// adds to.
struct book {
    std::filesystem::path output;
    examples::mesh surface; ///< a scanned surface, closed, in space
    examples::mesh island;  ///< an island in the plane
    examples::index_page page;
};

/// Begins a chapter on the page and on the console. `functions` are those that make its meshes and numbers.
examples::section& begin_chapter(book& b, const std::string& title, const std::string& text,
                                 const std::vector<std::string>& functions);

/// Prints a table and puts it on the page.
void add_table(examples::section& s, const examples::table& t);

/// The size of a picture, in the units of the page.
struct picture_size {
    double width = 480;
    double height = 400;
};

/// Writes a mesh as `<name>.vtu` and its picture as `<name>.svg`, and puts the picture on the page.
void add_figure(book& b, examples::section& s, const std::string& name, const examples::mesh& m,
                const examples::mesh_picture& picture, const std::string& caption,
                picture_size size = {}, const examples::mesh_fields& fields = {});

/// The picture of a mesh alone.
examples::mesh_picture picture_of(const examples::mesh& m, const examples::camera& view,
                                  const examples::paint& how);

} // namespace zel::demo
