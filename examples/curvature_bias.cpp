// SPDX-License-Identifier: Apache-2.0
// The share of a sphere's curvature that patches of growing radius see, drawn for three refinements as
// curvature_bias.svg. Ends with status 1 if the finest one is not within a tenth of what a patch without loss would see.
#include "support/svg.h"

#include <zel/host/adjacency.h>
#include <zel/tessel2d.h>

#include <cmath>
#include <cstdio>

namespace {

constexpr double width = 560;
constexpr double height = 340;
constexpr double left = 60;
constexpr double foot = 290;
constexpr double across = 470;
constexpr double upward = 250;
constexpr double largest_radius = 1;
constexpr double lowest_share = 0.6;

/// The place of a radius and a share on the drawing.
zel::examples::dot place(double radius, double share) {
    return {left + across * radius / largest_radius,
            foot - upward * (share - lowest_share) / (1.05 - lowest_share)};
}

/// The mean of -(k1 + k2)/2 over the unit sphere, whose limit is 1; 0 after a negative status.
double seen_share(unsigned n, double radius) {
    using namespace zel;
    dense2D<double> pos;
    dense2D<unsigned> triangles;
    host::adjacency beside;
    dense2D<double> curvatures;
    const dense2D<unsigned> no_hard_edges;
    if (tessel2d::mesh_sphere_T3(pos, {0, 0, 0}, 1.0, n, 2, triangles) != 0 ||
        host::build_adjacency(triangles, pos.cols, beside) != 0 ||
        tessel2d::principal_curvatures(pos, triangles, beside.neighbors, radius, 3.2, 100000,
                                       no_hard_edges, curvatures) != 0) {
        return 0;
    }
    double sum = 0;
    for (std::size_t k = 0; k < curvatures.cols; ++k) sum -= curvatures(6, k) + curvatures(7, k);
    return sum / 2 / static_cast<double>(curvatures.cols);
}

void draw_axes(zel::examples::svg& drawing) {
    using zel::examples::anchor;
    namespace palette = zel::examples::palette;
    for (int k = 0; k <= 5; ++k) {
        const double radius = 0.2 * k;
        const zel::examples::dot p = place(radius, lowest_share);
        char words[16];
        std::snprintf(words, sizeof words, "%.1f", radius);
        drawing.polyline({p, place(radius, 1.05)}, palette::grid, 1);
        drawing.text({p[0], p[1] + 16}, words, 11, palette::muted);
    }
    for (int k = 6; k <= 10; ++k) {
        const zel::examples::dot p = place(0, 0.1 * k);
        char words[16];
        std::snprintf(words, sizeof words, "%.1f", 0.1 * k);
        drawing.polyline({p, place(largest_radius, 0.1 * k)}, palette::grid, 1);
        drawing.text({p[0] - 6, p[1] + 4}, words, 11, palette::muted, anchor::end);
    }
    drawing.text({left + across / 2, foot + 34}, "radius of the patches on a sphere of radius 1",
                 12, palette::ink);
    drawing.text({18, foot - upward / 2}, "share of the curvature that is seen", 12, palette::ink,
                 anchor::middle, true);
}

} // namespace

int main() {
    namespace palette = zel::examples::palette;
    const zel::examples::colour lines[] = {palette::muted, palette::blue, palette::orange};
    const unsigned refinements[] = {5, 10, 20};
    zel::examples::svg drawing(width, height,
                               "Share of a sphere's curvature by the radius of the patches");
    draw_axes(drawing);

    std::vector<zel::examples::dot> limit;
    for (double radius = 0; radius <= largest_radius; radius += 0.02)
        limit.push_back(place(radius, 1 - radius * radius / 4));
    drawing.polyline(limit, palette::ink, 1.5, true);
    drawing.text({place(0.1, 1)[0], place(0, 1)[1] - 6}, "1 - r²/4", 12, palette::ink);

    bool as_expected = true;
    for (int k = 0; k < 3; ++k) {
        std::vector<zel::examples::dot> share;
        for (double radius = 0.2; radius < largest_radius + 0.05; radius += 0.1) {
            const double seen = seen_share(refinements[k], radius);
            share.push_back(place(radius, seen));
            if (k == 2 && radius > 0.55)
                as_expected &= std::fabs(seen - (1 - radius * radius / 4)) < 0.1;
        }
        drawing.polyline(share, lines[k], 2);
        const std::string words = "n = " + std::to_string(refinements[k]);
        drawing.text({share.front()[0] - 24, share.front()[1] + 4}, words, 11, lines[k]);
    }
    drawing.write("curvature_bias.svg");
    std::puts(as_expected ? "patches see what their radius leaves" : "a share is not as expected");
    return as_expected ? 0 : 1;
}
