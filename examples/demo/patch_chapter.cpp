// zel tessel2d: planar and surface mesh tools.
#include "demo/chapters.h"
#include "demo/measure.h"
#include "support/outline.h"
#include "support/require.h"
#include "zel/tessel2d.h"

#include <cmath>

namespace demo {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr unsigned cells_across = 16;
constexpr unsigned cells_upward = 10;

/// A sail: waves below, a bow above, the sides bent to the right.
support::four_sides sail() {
    return {[](double t) {
                return support::point{4 * t, 0.32 * std::sin(2 * pi * t), 0};
            },
            [](double t) {
                return support::point{4 + 0.45 * std::sin(pi * t), 2.2 * t, 0};
            },
            [](double t) {
                return support::point{4 * t, 2.2 + 0.75 * std::sin(pi * t), 0};
            },
            [](double t) {
                return support::point{0.35 * std::sin(pi * t), 2.2 * t, 0};
            }};
}

/// The area within a closed loop of nodes, half the sum of the cross products along it.
double area_within(const support::mesh& m, const zel::dense1D<unsigned, 8>& loop) {
    double twice = 0;
    for (std::size_t k = 0; k + 1 < loop.size; ++k) {
        const double* a = m.pos[loop[k]];
        const double* b = m.pos[loop[k + 1]];
        twice += a[0] * b[1] - b[0] * a[1];
    }
    return twice / 2;
}

support::mesh sail_mesh(int pattern) {
    support::mesh m;
    const auto loop = support::add_outline(m.pos, sail(), cells_across, cells_upward, 2);
    if (pattern < 0) {
        support::require(zel::tessel2d::mesh_struct_Q4(m.pos, loop, cells_upward, m.connect),
                         "mesh_struct_Q4");
    } else {
        support::require(
            zel::tessel2d::mesh_struct_T3(m.pos, loop, cells_upward, pattern, m.connect),
            "mesh_struct_T3");
    }
    return m;
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

    support::section& s = begin_chapter(
        b, "A curved patch",
        "Four curved sides, 16 cells along two of them and 10 along the others, filled with "
        "quadrilaterals or with one of the three patterns of triangles. The colours show the "
        "smallest angle of each element. Straight edges run between the same nodes on the outline, "
        "so that all four meshes have the area of the outline.");
    s.columns = 4;
    support::table t = measures_table();
    for (const kind& k : kinds) {
        const support::mesh m = sail_mesh(k.pattern);
        const measures result = measure(m);
        const std::vector<double> smallest = in_degrees(result.smallest_angles);

        const double ideal = k.pattern < 0 ? 90 : 60;
        auto picture =
            picture_of(m, support::from_above(),
                       support::value_paint(smallest, support::quality_colours(), 0, ideal));
        picture.set_legend(support::quality_colours(), "0°", support::fixed(ideal, 0) + "°",
                           "smallest angle");
        add_figure(b, s, k.file, m, picture, std::string(k.name) + ".", {280, 240},
                   {{}, {{"smallest angle in degrees", smallest}}});
        add_measures(t, k.name, result);
    }

    support::mesh outline;
    const auto loop = support::add_outline(outline.pos, sail(), cells_across, cells_upward, 2);
    t.rows.push_back({"The outline alone", support::whole(outline.pos.cols), "–",
                      support::fixed(area_within(outline, loop), 6), "–", "–", "–"});
    add_table(s, t);
}

} // namespace demo
