// zel tessel2d: planar and surface mesh tools.
#include "zel/tessel2d/normals.h"

#include "foundation/cell_shapes.h"
#include "foundation/node_normals.h"
#include "foundation/tessel.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

// Elements that are worked on in one go: first all corners are fetched, component by component, so that
// the formulas run over vectors of elements.
constexpr std::size_t run_length = 64;

/// The normals of a run of elements. They are a x b or a x c: of a triangle with the sides a, b from its
/// third corner and c from its first to its second those of the two that cancel less.
struct element_run {
    double a[3][run_length];
    double b[3][run_length];
    double c[3][run_length];
    double v[3][run_length];
    double size[run_length];

    void set(std::size_t i, const point<3>& first, const point<3>& second,
             const point<3>& other) noexcept {
        for (std::size_t k = 0; k < 3; ++k) {
            a[k][i] = first[k];
            b[k][i] = second[k];
            c[k][i] = other[k];
        }
    }
    point<3> vector(std::size_t i) const noexcept { return {v[0][i], v[1][i], v[2][i]}; }
};

/// The same as `triangle_normal` in each lane; of a quadrilateral, whose b and c are the same, the
/// product of its diagonals.
inline void find_vectors(element_run& r, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        const point<3> a{r.a[0][i], r.a[1][i], r.a[2][i]};
        const point<3> b{r.b[0][i], r.b[1][i], r.b[2][i]};
        const point<3> c{r.c[0][i], r.c[1][i], r.c[2][i]};
        const double aa = squared_length<3>(a);
        const double bb = squared_length<3>(b);
        const double shorter = bb < aa ? bb : aa;
        const bool from_b = squared_length<3>(c) > shorter;
        const point<3> d{from_b ? b[0] : c[0], from_b ? b[1] : c[1], from_b ? b[2] : c[2]};
        const point<3> n = cross(a, d);
        r.v[0][i] = n[0];
        r.v[1][i] = n[1];
        r.v[2][i] = n[2];
    }
}

/// The same as `make_unit` in each lane.
inline void find_units(element_run& r, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        const double q = r.v[0][i] * r.v[0][i] + r.v[1][i] * r.v[1][i] + r.v[2][i] * r.v[2][i];
        const double length = std::sqrt(q);
        const double factor = 1 / length;
        const bool stays = (q == 0) | (q == 1);
        r.size[i] = stays ? q : length;
        const double times = stays ? 1.0 : factor;
        r.v[0][i] *= times;
        r.v[1][i] *= times;
        r.v[2][i] *= times;
    }
}

/// The elements of a surface, as node normals want theirs.
template <class Shape, bool Unit>
struct surface_elements {
    points_view<3> points;
    columns<const unsigned> cells;
    std::size_t count;

    static bool has_gap(const unsigned* nodes) noexcept {
        return std::max(std::max(nodes[0], nodes[1]), nodes[2]) == no_node;
    }
    static unsigned corners(const unsigned* nodes) noexcept {
        return has_gap(nodes) ? 0 : Shape::corners(nodes);
    }

    void fetch(const unsigned* nodes, std::size_t i, element_run& r) const noexcept {
        if (has_gap(nodes)) {
            r.set(i, {}, {}, {});
            return;
        }
        const point<3> p0 = points[nodes[0]];
        const point<3> p1 = points[nodes[1]];
        const point<3> p2 = points[nodes[2]];
        if (Shape::corners(nodes) == 3) {
            r.set(i, difference<3>(p0, p2), difference<3>(p1, p2), difference<3>(p1, p0));
        } else {
            const point<3> across = difference<3>(points[nodes[3]], p1);
            r.set(i, difference<3>(p2, p0), across, across);
        }
    }

    template <class Visit>
    void for_each(Visit&& visit) const noexcept {
        element_run r{};
        for (std::size_t first = 0; first < count; first += run_length) {
            const std::size_t n = std::min(run_length, count - first);
            for (std::size_t i = 0; i < n; ++i) fetch(cells[first + i], i, r);
            find_vectors(r, n);
            if constexpr (Unit) find_units(r, n);
            for (std::size_t i = 0; i < n; ++i)
                visit(first + i, cells[first + i], r.vector(i), r.size[i]);
        }
    }
};

template <bool Unit, class Work>
bool with_elements(const dense2D<double>& pos, const dense2D<unsigned>& connect, Work&& work) {
    const points_view<3> points(pos);
    const auto cells = columns_of(connect);
    if (connect.rows == 3)
        return work(surface_elements<triangle_cells, Unit>{points, cells, connect.cols});
    return work(surface_elements<mixed_cells, Unit>{points, cells, connect.cols});
}

int check_surface(const dense2D<double>& pos, const dense2D<unsigned>& connect) noexcept {
    if (pos.rows != 3) return -1;
    if (connect.rows < 3 || !tessel::check_IDs(connect, node_bound(pos))) return -2;
    return connect.rows > 4 ? -2 : status_ok;
}

} // namespace

int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect, double power, bool unit,
            dense2D<double>& N) {
    const dense2D<double> given = pos; // keeps its block if `N` is the same matrix
    N.clear();
    if (given.empty() || connect.empty()) return status_ok;
    if (const int status = check_surface(given, connect)) return status;
    if (!N.resize(3, given.cols, 0.0)) return status_memory;
    const bool done = with_elements<true>(given, connect, [&](const auto& elements) {
        return find_node_normals<3>(elements, power, unit, N);
    });
    if (done) return status_ok;
    N.clear();
    return status_memory;
}

int normals(const dense2D<double>& pos, const dense2D<unsigned>& connect, bool unit,
            dense2D<double>& N) {
    const dense2D<double> given = pos;
    N.clear();
    if (given.empty() || connect.empty()) return status_ok;
    if (const int status = check_surface(given, connect)) return status;
    if (!N.resize(3, connect.cols)) return status_memory; // every entry is written
    const auto out = columns_of(N);
    const auto write = [&](const auto& elements) {
        elements.for_each([&](std::size_t e, const unsigned*, const point<3>& v, double) {
            std::copy_n(v.begin(), 3, out[e]);
        });
        return true;
    };
    if (unit) {
        with_elements<true>(given, connect, write);
    } else {
        with_elements<false>(given, connect, write);
    }
    return status_ok;
}

} // namespace zel::tessel2d
