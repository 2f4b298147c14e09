// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "demo/sail.h"

namespace zel::demo {

namespace {

/// The area within a closed loop of nodes, half the sum of the cross products along it.
double area_within(const examples::mesh& m, const dense1D<unsigned, 8>& loop) {
    double twice = 0;
    for (std::size_t k = 0; k + 1 < loop.size; ++k) {
        const double* a = m.pos[loop[k]];
        const double* b = m.pos[loop[k + 1]];
        twice += a[0] * b[1] - b[0] * a[1];
    }
    return twice / 2;
}

} // namespace

void patch_chapter(book& b) {
    struct kind {
        int pattern;
        const char* file;
        const char* name;
    };
    static constexpr kind kinds[] = {{-1, "patch_quads", "Quadrilaterals"},
                                     {0, "patch_falling", "Triangles, falling diagonals"},
                                     {1, "patch_rising", "Triangles, rising diagonals"},
                                     {2, "patch_alternating", "Triangles, alternating"}};

    examples::section& s = begin_chapter(
        b, "A curved patch",
        "Four curved sides, 16 cells along two of them and 10 along the others, filled with "
        "quadrilaterals or with one of the three patterns of triangles. The colours show the "
        "smallest angle of each element. Straight edges run between the same nodes on the outline, "
        "so that all four meshes have the area of the outline.",
        {"angles", "area", "mesh_struct_Q4", "mesh_struct_T3"});
    s.columns = 4;
    examples::table t = measures_table();
    for (const kind& k : kinds) {
        const examples::mesh m = k.pattern < 0 ? sail_of_quads() : sail_of_triangles(k.pattern);
        const measures result = measure(m);
        const std::vector<double> smallest = in_degrees(result.smallest_angles);

        const double ideal = k.pattern < 0 ? 90 : 60;
        auto picture =
            picture_of(m, examples::from_above(),
                       examples::value_paint(smallest, examples::quality_colours(), 0, ideal));
        picture.set_legend(examples::quality_colours(), "0°", examples::fixed(ideal, 0) + "°",
                           "smallest angle");
        add_figure(b, s, k.file, m, picture, std::string(k.name) + ".", {280, 240},
                   {{}, {{"smallest angle in degrees", smallest}}});
        add_measures(t, k.name, result);
    }

    examples::mesh outline;
    const auto loop = add_outline(outline.pos, sail(), sail_cells_across, sail_cells_upward, 2);
    t.rows.push_back({"The outline alone", examples::whole(outline.pos.cols), "–",
                      examples::fixed(area_within(outline, loop), 6), "–", "–", "–"});
    add_table(s, t);
}

} // namespace zel::demo
