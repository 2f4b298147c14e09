// zel tessel2d: planar and surface mesh tools.
#include "demo/book.h"

#include <cstdio>

namespace demo {

support::section& begin_chapter(book& b, const std::string& title, const std::string& text) {
    std::printf("\n%s\n", title.c_str());
    b.page.sections.push_back({title, text, {}, 2, {}});
    return b.page.sections.back();
}

void add_table(support::section& s, const support::table& t) {
    support::print_table(t);
    s.tables.push_back(t);
}

void add_figure(book& b, support::section& s, const std::string& name, const support::mesh& m,
                const support::mesh_picture& picture, const std::string& caption, picture_size size,
                const support::mesh_fields& fields) {
    support::write_vtu(b.output / (name + ".vtu"), m, fields);
    picture.write(b.output / (name + ".svg"), size.width, size.height, caption);
    s.figures.push_back({name + ".svg", caption, name + ".vtu"});
}

support::mesh_picture picture_of(const support::mesh& m, const support::camera& view,
                                 const support::paint& how) {
    support::mesh_picture picture(view);
    picture.add(m, how);
    return picture;
}

} // namespace demo
