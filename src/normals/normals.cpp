// SPDX-License-Identifier: Apache-2.0
// Normals of surface meshes, one per element or one per node.
//
// Elements are worked on in runs: the nodes of a run are tested, its normals found, four at a time where the
// processor has lanes, and then used in the order of the elements, so that the bits are always the same.
#include "zel/tessel2d/normals.h"

#include "foundation/cell_shapes.h"
#include "geometry/element_normals.h"
#include "geometry/node_normals.h"
#include "geometry/triangles.h"
#include "zel/tessel.h"

#include <algorithm>
#include <type_traits>

namespace zel::tessel2d {

namespace {

/// The elements of a surface in the form that node_normals.h asks for. `Gaps`: a corner may be no node;
/// such an element has no normal.
template <class Shape, bool Unit, bool Gaps>
struct surface_elements {
    points_view<3> points;
    columns<const unsigned> cells;
    std::size_t count;

    static bool has_gap(const unsigned* nodes) noexcept {
        return Gaps && std::max(std::max(nodes[0], nodes[1]), nodes[2]) == no_node;
    }
    static constexpr unsigned corners(const unsigned* nodes) noexcept {
        return Shape::corners(nodes);
    }
    /// Of a triangle, and of a quadrilateral whose last corner is the very last node that there can be: its
    /// normal is that of its first three corners, though it counts at all four.
    static bool has_normal_of_triangle(const unsigned* nodes) noexcept {
        if constexpr (std::is_same_v<Shape, triangle_cells>)
            return true;
        else
            return nodes[3] >= no_node - 1;
    }

    auto corners_of(std::size_t e) const noexcept {
        const unsigned* const n = cells[e];
        if constexpr (std::is_same_v<Shape, triangle_cells> && !Gaps) {
            return triangle_corners{n, points};
        } else {
            static constexpr double origin[3] = {0, 0, 0}; // an element with a gap collapses in it
            const auto p = [&](std::size_t k) { return points.first + n[k] * points.ld; };
            if (has_gap(n)) return any_corners{{origin, origin, origin, origin, origin}};
            if (has_normal_of_triangle(n)) return any_corners{{p(0), p(2), p(1), p(2), p(0)}};
            return any_corners{{p(2), p(0), p(3), p(1), p(1)}};
        }
    }
    point<3> normal(const unsigned* n) const noexcept {
        if (has_gap(n)) return {};
        if (has_normal_of_triangle(n)) return triangle_normal(n[0], n[1], n[2], points);
        return cross(difference<3>(points[n[2]], points[n[0]]),
                     difference<3>(points[n[3]], points[n[1]]));
    }

    /// The first normals of a run, as far as they are found four at a time; returns how many.
    template <class Out>
    std::size_t find_by_four(std::size_t first, std::size_t n, const Out& out) const noexcept {
        if (!has_four_lanes()) return 0;
        return find_normals_by_four<Unit>([*this](std::size_t e) { return corners_of(e); }, first,
                                          n, out);
    }

    sized_normal find_one(std::size_t e) const noexcept {
        point<3> v = normal(cells[e]);
        const double size = Unit ? make_unit<3>(v) : 0;
        return {{v[0], v[1], v[2], size}};
    }

    template <class Visit>
    void for_each(Visit&& visit) const noexcept {
        sized_normal run[normal_run];
        for (std::size_t first = 0; first < count; first += normal_run) {
            const std::size_t n = std::min(normal_run, count - first);
            for (std::size_t i = find_by_four(first, n, &run[0]); i < n; ++i)
                run[i] = find_one(first + i);
            for (std::size_t i = 0; i < n; ++i)
                visit(first + i, cells[first + i], run[i].vector(), run[i].size());
        }
    }

    /// Writes the normals of all elements.
    void write(packed_columns out) const noexcept {
        for (std::size_t e = find_by_four(0, count, out); e < count; ++e)
            std::copy_n(find_one(e).n, 3, out[e]);
    }

    /// `sum_directions`, in the loop that finds the normals where the processor has lanes and no element has
    /// a gap.
    template <bool BySize>
    void sum(packed_columns sums) const noexcept {
        if (Gaps || !has_four_lanes()) return sum_directions<3, BySize>(*this, {sums.first, 3});
        const node_sums<Shape, BySize> out{cells, sums};
        for (std::size_t e = find_by_four(0, count, out); e < count; ++e) {
            const sized_normal found = find_one(e);
            add_direction<3, BySize>(found.vector(), found.size(), cells[e], corners(cells[e]),
                                     columns<double>{sums.first, 3});
        }
    }
};

void make_units(std::size_t n, packed_columns vectors) noexcept {
    const std::size_t done = has_four_lanes() ? make_units_by_four(vectors, n) : 0;
    make_unit_columns<3>(n - done, {vectors[done], 3});
}

template <bool Unit, bool Gaps, class Work>
bool with_shape(const dense2D<double>& pos, const dense2D<unsigned>& connect, const Work& work) {
    const points_view<3> points(pos);
    const auto cells = columns_of(connect);
    if (connect.rows == 3)
        return work(surface_elements<triangle_cells, Unit, Gaps>{points, cells, connect.cols});
    return work(surface_elements<mixed_cells, Unit, Gaps>{points, cells, connect.cols});
}

/// Calls `work` with the elements, whose normals are unit vectors if `Unit`.
template <bool Unit, class Work>
bool with_elements(const dense2D<double>& pos, const dense2D<unsigned>& connect, bool gaps,
                   const Work& work) {
    return gaps ? with_shape<Unit, true>(pos, connect, work)
                : with_shape<Unit, false>(pos, connect, work);
}

/// Returns true if every entry is a node of `pos` or no node; `gaps` is set if a corner may be none.
bool nodes_exist(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                 bool& gaps) noexcept {
    gaps = !tessel::check_IDs(connect, ELEMENT_FACE, node_bound(pos));
    return !gaps || tessel::check_IDs(connect, node_bound(pos));
}

int check_rows(const dense2D<double>& pos, const dense2D<unsigned>& connect) noexcept {
    if (pos.rows != 3) return -1;
    return connect.rows == 3 || connect.rows == 4 ? status_ok : -2;
}

// Columns that are tested and worked on in one go: the node numbers are still in the first cache when
// they are read again.
// mutation: speed only
constexpr std::size_t tested_run = 8 * normal_run;

/// Tests the nodes and calls `work(first, elements)` for one part of the elements after the other.
/// Returns false if a node does not exist.
template <bool Unit, class Work>
bool for_each_part(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   const Work& work) noexcept {
    for (std::size_t first = 0; first < connect.cols; first += tested_run) {
        const std::size_t count = std::min(tested_run, connect.cols - first);
        const auto part = connect.sub_matrix(0, first, connect.rows, count);
        bool gaps;
        if (!nodes_exist(pos, part, gaps)) return false;
        with_elements<Unit>(pos, part, gaps, [&](const auto& elements) {
            work(first, elements);
            return true;
        });
    }
    return true;
}

/// Writes the normals of all elements. Returns false if a node does not exist.
template <bool Unit>
bool write_normals(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   packed_columns out) noexcept {
    return for_each_part<Unit>(pos, connect, [&](std::size_t first, const auto& elements) {
        elements.write({out[first]});
    });
}

/// Node normals that need no weights. `normals` has a zero vector for each node. Returns false if a node
/// does not exist.
bool find_directions(const dense2D<double>& pos, const dense2D<unsigned>& connect, bool by_size,
                     packed_columns normals) noexcept {
    const bool exist = for_each_part<true>(pos, connect, [&](std::size_t, const auto& elements) {
        if (by_size) {
            elements.template sum<true>(normals);
        } else {
            elements.template sum<false>(normals);
        }
    });
    if (exist) make_units(pos.cols, normals);
    return exist;
}

int find_node_normals(const dense2D<double>& pos, const dense2D<unsigned>& connect, double power,
                      bool unit, dense2D<double>& N) noexcept {
    const bool room = N.resize(3, pos.cols, 0.0);
    if (room && needs_no_weights(power, unit))
        return find_directions(pos, connect, power == 1, {N.data()}) ? status_ok : -2;
    bool gaps;
    if (!nodes_exist(pos, connect, gaps)) return -2;
    const bool done = room && with_elements<true>(pos, connect, gaps, [&](const auto& elements) {
                          return find_weighted_normals<3>(elements, power, unit, N);
                      });
    return done ? status_ok : status_memory;
}

} // namespace

int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect, double power, bool unit,
            dense2D<double>& N) {
    const dense2D<double> given = pos; // keeps its block if `N` is the same matrix
    N.clear();
    if (given.empty() || connect.empty()) return status_ok;
    if (const int status = check_rows(given, connect)) return status;
    const int status = find_node_normals(given, connect, power, unit, N);
    if (status != status_ok) N.clear();
    return status;
}

int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect, bool unit,
            dense2D<double>& N) {
    const dense2D<double> given = pos;
    N.clear();
    if (given.empty() || connect.empty()) return status_ok;
    if (const int status = check_rows(given, connect)) return status;
    if (!N.resize(3, connect.cols)) { // every entry is written
        bool gaps;
        return nodes_exist(given, connect, gaps) ? status_memory : -2;
    }
    const packed_columns out{N.data()};
    if (unit ? write_normals<true>(given, connect, out)
             : write_normals<false>(given, connect, out)) {
        return status_ok;
    }
    N.clear();
    return -2;
}

} // namespace zel::tessel2d
