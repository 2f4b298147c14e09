// SPDX-License-Identifier: Apache-2.0
#include "demo/chapters.h"
#include "demo/measure.h"
#include "demo/sail.h"
#include "support/require.h"
#include "zel/tessel2d.h"

#include <algorithm>

namespace zel::demo {

namespace {

using examples::require;
constexpr unsigned across = 6;
constexpr unsigned upward = 4;

/// Gives every edge of the outline a third node, which lies on its curved side, behind the columns of
/// `pos`. Returns the edges as conversions take them: ends, then the node between.
///
/// The nodes of the outline are the first of the mesh, in the order of its loop.
dense2D<unsigned> curved_edges(dense2D<double>& pos) {
    const unsigned count = 2 * (across + upward);
    dense2D<double> finer;
    add_outline(finer, sail(), 2 * across, 2 * upward, 2);

    const std::size_t nodes = pos.cols;
    dense2D<unsigned> edges(3, count);
    require(edges.cols == count && pos.resize(2, nodes + count), "memory is exhausted");
    for (unsigned e = 0; e < count; ++e) {
        std::copy_n(finer[2 * e + 1], 2, pos[nodes + e]);
        edges(0, e) = e;
        edges(1, e) = (e + 1) % count;
        edges(2, e) = static_cast<unsigned>(nodes + e);
    }
    return edges;
}

examples::mesh quadratic(const examples::mesh& triangles) {
    examples::mesh m = examples::deep_copy(triangles);
    const dense2D<unsigned> edges = curved_edges(m.pos);
    require(tessel2d::convert_into_quadratic(m.pos, m.connect, edges), "convert_into_quadratic");
    return m;
}

examples::mesh linear_pieces(const examples::mesh& six_nodes) {
    examples::mesh m;
    m.pos = six_nodes.pos;
    require(tessel2d::split_into_linear(six_nodes.connect, m.connect), "split_into_linear");
    return m;
}

examples::mesh all_quads(const examples::mesh& triangles) {
    examples::mesh m;
    m.pos = examples::deep_copy(triangles).pos;
    const dense2D<unsigned> edges = curved_edges(m.pos);
    require(tessel2d::split_into_Q4(m.pos, triangles.connect, m.connect, edges), "split_into_Q4");
    return m;
}

/// Quadrilaterals that are too bad, by shape or by angle, are cut along the better diagonal.
examples::mesh repaired(const examples::mesh& quads, std::size_t& cut) {
    examples::mesh m;
    m.pos = quads.pos;
    dense1D<unsigned, 8> kept;
    dense1D<unsigned, 8> split;
    require(tessel2d::split_Q4_into_T3(quads.pos, quads.connect, 0.6, 0.6, 0, 1, kept, split,
                                       m.connect),
            "split_Q4_into_T3");
    cut = split.size;
    return m;
}

/// All quadrilaterals cut, along the same diagonal or along the better one.
examples::mesh cut_all(const examples::mesh& quads, bool better) {
    examples::mesh m;
    m.pos = quads.pos;
    require(better ? tessel2d::split_Q4_into_T3(quads.pos, quads.connect, m.connect)
                   : tessel2d::split_Q4_into_T3(quads.connect, m.connect),
            "split_Q4_into_T3");
    return m;
}

examples::mesh_picture with_nodes(const examples::mesh& m) {
    auto picture = picture_of(m, examples::from_above(), {});
    for (std::size_t n = 0; n < m.pos.cols; ++n) {
        picture.add_dot(examples::node(m, n), 2, examples::palette::blue, 1);
    }
    return picture;
}

} // namespace

void conversion_chapter(book& b) {
    examples::section& s = begin_chapter(
        b, "Conversions",
        "A coarse patch of triangles gets nodes on its sides, those of the outline on the curves; "
        "it "
        "is cut into linear elements again, or into quadrilaterals alone. Of a mesh of "
        "quadrilaterals only the bad ones are cut, or all of them, along the better diagonal.",
        {"angles", "area", "convert_into_quadratic", "mesh_struct_Q4", "mesh_struct_T3",
         "split_Q4_into_T3", "split_into_Q4", "split_into_linear"});
    s.columns = 4;
    examples::table t = areas_table();
    const picture_size size{280, 220};

    const examples::mesh coarse = sail_of_triangles(2, across, upward);
    add_figure(b, s, "convert_linear", coarse, with_nodes(coarse), "Triangles with 3 nodes.", size);
    add_areas(t, "Triangles", measure(coarse), area_of_sail());

    const examples::mesh curved = quadratic(coarse);
    add_figure(b, s, "convert_quadratic", curved, with_nodes(curved),
               "Triangles with 6 nodes and curved sides.", size);

    const examples::mesh pieces = linear_pieces(curved);
    add_figure(b, s, "convert_pieces", pieces, with_nodes(pieces), "Each cut into four triangles.",
               size);
    add_areas(t, "Four triangles for each", measure(pieces), area_of_sail());

    const examples::mesh quads = all_quads(coarse);
    add_figure(b, s, "convert_quads", quads, with_nodes(quads),
               "Each cut into three quadrilaterals.", size);
    add_areas(t, "Three quadrilaterals for each", measure(quads), area_of_sail());
    add_table(s, t);

    const examples::mesh regular = sail_of_quads();
    add_figure(b, s, "convert_regular", regular, picture_of(regular, examples::from_above(), {}),
               "Quadrilaterals.", size);
    std::size_t cut = 0;
    const examples::mesh mixed = repaired(regular, cut);
    add_figure(b, s, "convert_mixed", mixed, picture_of(mixed, examples::from_above(), {}),
               examples::whole(cut) + " bad quadrilaterals of " +
                   examples::whole(regular.connect.cols) + " cut.",
               size);
    const examples::mesh blind = cut_all(regular, false);
    add_figure(b, s, "convert_blind", blind, picture_of(blind, examples::from_above(), {}),
               "All cut along the same diagonal.", size);
    const examples::mesh better = cut_all(regular, true);
    add_figure(b, s, "convert_better", better, picture_of(better, examples::from_above(), {}),
               "All cut along the better diagonal.", size);

    examples::table angles = measures_table();
    add_measures(angles, "Quadrilaterals", measure(regular));
    add_measures(angles, "Bad ones cut", measure(mixed));
    add_measures(angles, "All cut along the same diagonal", measure(blind));
    add_measures(angles, "All cut along the better diagonal", measure(better));
    add_table(s, angles);
}

} // namespace zel::demo
