// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "demo/outline.h"
#include "support/require.h"
#include "zel/host/adjacency.h"
#include "zel/tessel.h"
#include "zel/tessel2d.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zel::demo {

namespace {

using examples::point;
using examples::require;
constexpr unsigned grid_across = 228;
constexpr unsigned grid_upward = 438;
constexpr unsigned drawn = 3; // cells each way that are drawn as one

/// A field of waves.
double waves(double x, double y) {
    return std::sin(2.2 * x) * std::cos(1.6 * y) + 0.25 * (y - 54);
}

/// A field that triangles reproduce exactly.
double slope(double x, double y) {
    return 3 * x - 2 * y + 7;
}

/// A grid over the box around a mesh. Its nodes go behind those of the mesh, which share `pos`.
dense2D<unsigned> grid_over(dense2D<double>& pos) {
    point low{pos(0, 0), pos(1, 0), 0};
    point high = low;
    for (std::size_t n = 0; n < pos.cols; ++n) {
        for (std::size_t i = 0; i < 2; ++i) {
            low[i] = std::min(low[i], pos(i, n));
            high[i] = std::max(high[i], pos(i, n));
        }
    }
    const auto at = [=](double u, double v) {
        return point{low[0] + u * (high[0] - low[0]), low[1] + v * (high[1] - low[1]), 0};
    };
    const four_sides box{[=](double t) { return at(t, 0); }, [=](double t) { return at(1, t); },
                         [=](double t) { return at(t, 1); }, [=](double t) { return at(0, t); }};
    const auto loop = add_outline(pos, box, grid_across, grid_upward, 2);
    dense2D<unsigned> grid;
    require(tessel2d::mesh_struct_Q4(pos, loop, grid_upward, grid), "mesh_struct_Q4");
    return grid;
}

/// The grid over every third node each way. All nodes stay.
dense2D<unsigned> coarse(const dense2D<unsigned>& grid) {
    dense2D<unsigned> result;
    for (std::size_t i = 0; i < grid_across; i += drawn) {
        for (std::size_t j = 0; j < grid_upward; j += drawn) {
            const unsigned* const left = grid[i * grid_upward + j];
            const unsigned* const left_top = grid[i * grid_upward + j + drawn - 1];
            const unsigned* const right = grid[(i + drawn - 1) * grid_upward + j];
            const unsigned* const right_top = grid[(i + drawn - 1) * grid_upward + j + drawn - 1];
            const unsigned cell[4] = {left[0], right[1], right_top[2], left_top[3]};
            require(push_back_column4(cell, result), "memory is exhausted");
        }
    }
    return result;
}

using segment = std::array<point, 2>;

/// The sides that only one triangle has.
std::vector<segment> border_of(const examples::mesh& m, const host::adjacency& beside) {
    std::vector<segment> border;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        for (unsigned k = 0; k < 3; ++k) {
            if (beside.neighbors(k, e) != 0xFFFFFFFF) continue;
            border.push_back({examples::node(m, m.connect((k + 1) % 3, e)),
                              examples::node(m, m.connect((k + 2) % 3, e))});
        }
    }
    return border;
}

/// Whether a ray from p to the right crosses the border an odd number of times.
bool lies_within(const std::vector<segment>& border, const double* p) {
    bool within = false;
    for (const auto& [a, b] : border) {
        if ((a[1] > p[1]) == (b[1] > p[1])) continue;
        within ^= p[0] < a[0] + (p[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0]);
    }
    return within;
}

void add_border(examples::mesh_picture& picture, const std::vector<segment>& border) {
    for (const auto& [a, b] : border) picture.add_line({a, b}, examples::palette::ink, 0.7, 1);
}

std::vector<double> row_of(const dense2D<double>& matrix, std::size_t row) {
    std::vector<double> values;
    for (std::size_t n = 0; n < matrix.cols; ++n) values.push_back(matrix(row, n));
    return values;
}

/// The nodes and values from `first` on, with the elements renumbered to them.
examples::mesh from_node(const examples::mesh& m, std::size_t first) {
    examples::mesh part =
        examples::deep_copy({m.pos.sub_matrix(0, first, 2, m.pos.cols - first), m.connect});
    for (unsigned& n : part.connect) n -= static_cast<unsigned>(first);
    return part;
}

/// The elements with a node within the border, or those with none; all nodes stay.
examples::mesh cells_where(const examples::mesh& m, const std::vector<segment>& border,
                           bool within) {
    std::vector<bool> inside;
    for (std::size_t n = 0; n < m.pos.cols; ++n) inside.push_back(lies_within(border, m.pos[n]));
    examples::mesh part;
    part.pos = m.pos;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const unsigned* cell = m.connect[e];
        const bool any = std::any_of(cell, cell + 4, [&](unsigned n) { return inside[n]; });
        if (any == within) require(push_back_column4(cell, part.connect), "memory is exhausted");
    }
    return part;
}

/// Whether a search finds a triangle around each of the nodes from `first` on.
std::vector<bool> found_by_search(const examples::mesh& land, const host::adjacency& beside,
                                  const dense2D<double>& pos, std::size_t first) {
    const tessel::node_detector detector(land.pos);
    std::vector<bool> found;
    for (std::size_t n = first; n < pos.cols; ++n) {
        unsigned triangle = 0;
        found.push_back(require(tessel2d::get_element_containing_point(
                                    land.pos, land.connect, beside.neighbors, beside.ancestors,
                                    detector, ELEMENT_T3, {pos(0, n), pos(1, n)}, triangle, 1e-6),
                                "get_element_containing_point") != 0);
    }
    return found;
}

} // namespace

void field_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "A field on other nodes",
        "An island in triangles carries a field of waves. A regular grid of a hundred "
        "thousand nodes is laid over it, and each of them finds the triangle it lies in and takes "
        "the field from there; a node "
        "in the sea takes the value of the closest node ashore and is drawn pale. A search walks "
        "from triangle to triangle, so that beside a narrow inlet it may end on the wrong shore "
        "without a result.",
        {"get_element_containing_point", "interpolate", "mesh_struct_Q4"});
    s.columns = 3;
    examples::mesh m = examples::deep_copy(b.island);
    host::adjacency beside_alone;
    require(host::build_adjacency(m.connect, m.pos.cols, beside_alone), "build_adjacency");
    const std::vector<segment> border = border_of(m, beside_alone);
    const std::size_t nodes = m.pos.cols;
    examples::mesh grid;
    grid.connect = grid_over(m.pos);
    grid.pos = m.pos;

    // Two components: the waves, and a plane field for the check. The grid's nodes start without.
    host::adjacency beside;
    require(host::build_adjacency(m.connect, m.pos.cols, beside), "build_adjacency");
    dense2D<double> values(2, m.pos.cols, 0.0);
    dense1D<unsigned, 8> wanted(m.pos.cols - nodes);
    require(values.cols == m.pos.cols && wanted.size == m.pos.cols - nodes, "memory is exhausted");
    for (std::size_t n = 0; n < nodes; ++n) {
        values(0, n) = waves(m.pos(0, n), m.pos(1, n));
        values(1, n) = slope(m.pos(0, n), m.pos(1, n));
    }
    for (std::size_t k = 0; k < wanted.size; ++k) wanted[k] = static_cast<unsigned>(nodes + k);
    require(tessel2d::interpolate(m.pos, m.connect, beside.neighbors, beside.ancestors, values,
                                  wanted, ELEMENT_T3),
            "interpolate");

    const picture_size size{380, 560};
    const examples::camera down = examples::from_above();
    const auto& colours = examples::growing_colours();
    const examples::mesh land = {m.pos.sub_matrix(0, 0, 2, nodes), m.connect};
    const std::vector<double> on_land = row_of(values.sub_matrix(0, 0, 2, nodes), 0);
    examples::paint thin;
    thin.line_width = 0.2;
    thin.line = examples::palette::muted;
    auto mesh_alone = picture_of(land, down, thin);
    add_border(mesh_alone, border);
    mesh_alone.write(b.output / "field_mesh.svg", size.width, size.height, "The island");
    s.figures.push_back({"field_mesh.svg",
                         "The island, " + examples::whole(land.connect.cols) + " triangles.", ""});

    examples::paint coloured = examples::value_paint(on_land, colours, -1.5, 2);
    coloured.line_width = 0.4;
    coloured.line_as_fill = true;
    auto source = picture_of(land, down, coloured);
    add_border(source, border);
    source.set_legend(colours, "-1.5", "2", "field");
    add_figure(b, s, "field_source", land, source, "The field on the triangles.", size,
               {{{"waves", on_land}}, {}});

    const examples::mesh apart = from_node(grid, nodes);
    const std::vector<double> on_grid =
        row_of(values.sub_matrix(0, nodes, 2, values.cols - nodes), 0);
    examples::paint cells = examples::value_paint(on_grid, colours, -1.5, 2);
    cells.line_width = 0.08;
    examples::paint faded = cells;
    faded.opacity = 0.25;
    const examples::mesh shown = {apart.pos, coarse(apart.connect)};
    auto target = picture_of(cells_where(shown, border, false), down, faded);
    target.add(cells_where(shown, border, true), cells);
    add_border(target, border);
    target.set_legend(colours, "-1.5", "2", "field");
    add_figure(b, s, "field_grid", apart, target,
               "The field on the grid of " + examples::whole(wanted.size) +
                   " nodes; every third each way is drawn.",
               size, {{{"waves", on_grid}}, {}});

    const std::vector<bool> found = found_by_search(land, beside_alone, m.pos, nodes);
    std::size_t ashore = 0;
    std::size_t found_ashore = 0;
    std::size_t exact = 0;
    double wave_error = 0;
    for (std::size_t n = nodes; n < m.pos.cols; ++n) {
        const double* p = m.pos[n];
        if (!lies_within(border, p)) continue;
        ++ashore;
        if (found[n - nodes]) ++found_ashore;
        if (!(std::abs(values(1, n) - slope(p[0], p[1])) < 1e-9)) continue;
        ++exact;
        wave_error = std::max(wave_error, std::abs(values(0, n) - waves(p[0], p[1])));
    }
    examples::table t{{"Nodes of the grid", "in all", "ashore", "found by a search",
                       "plane field exact", "largest error of these, waves"},
                      {}};
    t.rows.push_back({"Grid over the island", examples::whole(wanted.size), examples::whole(ashore),
                      examples::whole(found_ashore), examples::whole(exact),
                      examples::significant(wave_error, 2)});
    add_table(s, t);
}

} // namespace zel::demo
