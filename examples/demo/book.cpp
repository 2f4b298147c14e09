// SPDX-License-Identifier: Apache-2.0
#include "demo/book.h"

#include <cstdio>

namespace zel::demo {

examples::section& begin_chapter(book& b, const std::string& title, const std::string& text,
                                 const std::vector<std::string>& functions) {
    std::printf("\n%s\n", title.c_str());
    b.page.sections.push_back({title, text, {}, 2, {}, functions});
    return b.page.sections.back();
}

void add_table(examples::section& s, const examples::table& t) {
    if (!s.tables.empty()) std::printf("\n");
    examples::print_table(t);
    s.tables.push_back(t);
}

void add_figure(book& b, examples::section& s, const std::string& name, const examples::mesh& m,
                const examples::mesh_picture& picture, const std::string& caption,
                picture_size size, const examples::mesh_fields& fields) {
    examples::write_vtu(b.output / (name + ".vtu"), m, fields);
    picture.write(b.output / (name + ".svg"), size.width, size.height, caption);
    s.figures.push_back({name + ".svg", caption, name + ".vtu"});
}

examples::mesh_picture picture_of(const examples::mesh& m, const examples::camera& view,
                                  const examples::paint& how) {
    examples::mesh_picture picture(view);
    picture.add(m, how);
    return picture;
}

} // namespace zel::demo
