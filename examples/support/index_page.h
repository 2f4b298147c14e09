// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/table.h"

#include <deque>
#include <filesystem>

namespace zel::examples {

/// A picture of the page with its caption, and the file that holds the mesh itself (may be empty).
/// Files are named relative to the page.
struct figure {
    std::string picture;
    std::string caption;
    std::string mesh_file;
};

struct section {
    std::string title;
    std::string text;
    std::vector<figure> figures;
    unsigned columns = 2; ///< figures side by side, where the window is wide enough
    std::vector<table> tables;
    std::vector<std::string>
        functions; ///< those that made the figures, each with a page in the manual
};

struct index_page {
    std::string title;
    std::string text;
    std::deque<section> sections;
    std::string foot;
};

/// Writes the page as HTML that needs nothing but the files it names; a file that cannot be written
/// ends the work with a message.
void write_index_page(const std::filesystem::path& file, const index_page& page);

} // namespace zel::examples
