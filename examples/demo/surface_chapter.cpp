// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "support/bar_chart.h"

#include <algorithm>
#include <cstdio>

namespace zel::demo {

namespace {

constexpr double pi = 3.14159265358979323846;

/// All corner angles of a mesh of triangles, in degrees: the smallest, the largest, and what they
/// leave to 180.
std::vector<double> corner_angles(const measures& result) {
    std::vector<double> angles;
    for (std::size_t e = 0; e < result.elements; ++e) {
        const double low = result.smallest_angles[e] * 180 / pi;
        const double high = result.largest_angles[e] * 180 / pi;
        angles.insert(angles.end(), {low, 180 - low - high, high});
    }
    return angles;
}

} // namespace

void surface_chapter(book& b) {
    const examples::mesh& m = b.surface;
    const measures result = measure(m);
    const std::vector<double> smallest = in_degrees(result.smallest_angles);

    examples::section& s = begin_chapter(
        b, "A scanned surface",
        "A closed surface from a scanner, read from a file and measured: its area, the "
        "angles of its triangles and their circumradii.",
        {"angles", "area", "circumcenters"});
    s.columns = 3;
    examples::paint clay = examples::surface_paint();
    clay.hide_backs = true;
    add_figure(
        b, s, "surface", m, picture_of(m, examples::with_y_upright(-25, 12), clay),
        "The surface as it was read.", {380, 390},
        {{}, {{"smallest angle in degrees", smallest}, {"circumradius", result.circumradii}}});

    examples::paint quality = examples::value_paint(smallest, examples::quality_colours(), 0, 60);
    quality.lit = true;
    quality.hide_backs = true;
    quality.line_width = 0.35;
    auto picture = picture_of(m, examples::with_y_upright(-25, 12), quality);
    picture.set_legend(examples::quality_colours(), "0°", "60°", "smallest angle");
    picture.write(b.output / "surface_angles.svg", 380, 390, "Smallest angle of each triangle");
    s.figures.push_back({"surface_angles.svg", "The smallest angle of each triangle.", ""});

    const std::vector<double> angles = corner_angles(result);
    examples::write_bar_chart(
        b.output / "surface_histogram.svg", examples::count_values(angles, 0, 180, 36),
        {"Histogram of the corner angles", "corner angle (degrees)", "corners", 30}, {60}, 380,
        390);
    s.figures.push_back({"surface_histogram.svg",
                         "All corner angles in steps of 5°; the dashed line marks 60°.", ""});

    examples::table t = measures_table();
    add_measures(t, "Scanned surface", result);
    add_table(s, t);
    std::printf("  corner angles, in steps of 15°\n");
    examples::print_histogram(examples::count_values(angles, 0, 180, 12), "°");
}

} // namespace zel::demo
