// SPDX-License-Identifier: Apache-2.0
// The principal curvatures and their directions at the nodes of a triangulated surface.
//
// The normal-cycle tensor of a patch of triangles: the sum over its inner edges of
//
//     (dihedral angle) (length) (direction of the edge) (direction of the edge)^T
//
// over the area of the patch. See D. Cohen-Steiner and J.-M. Morvan, "Restricted Delaunay
// triangulations and normal cycle", Symposium on Computational Geometry 2003.
//
// With patches of thirty triangles each triangle is in some fifteen of them. What an edge adds does not
// depend on the patch, nor does it whether a patch may grow across it; so both are found once for each
// edge, with memory proportional to the mesh.
#include "foundation/topology.h"
#include "geometry/tangent_frame.h"
#include "geometry/triangles.h"
#include "measures/stamp_marks.h"
#include "zel/hbuckets.h"
#include "zel/lapack.h"
#include "zel/tessel.h"
#include "zel/tessel2d/curvatures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace zel::tessel2d {

namespace {

/// What patches ask of a triangle: one line of the cache.
struct alignas(64) face {
    double centroid[3];
    double size;           // twice the area
    unsigned beside[3];    // across the edge opposite each corner; without one the face behind all
    std::uint8_t passable; // bit j: a patch may grow across edge j
    std::uint8_t seeds;    // bit i: no face before it holds the node at corner i
    std::size_t first_hinge; // those of its edges j with beside[j] <= its own number, in order
};

/// What an edge between two triangles adds to a tensor, packed as one: the dyad of its direction times
/// its length and the signed angle between their normals. All zero where the surface is flat.
struct hinge {
    double tensor[6];
};

using edge_set = hbuckets<elfes::edge2>;

/// Returns false if memory is exhausted.
bool collect_edges(const dense2D<unsigned>& edges, edge_set& set) noexcept {
    const std::size_t count = edges.empty() ? 0 : edges.cols;
    set.initialise(count, count, 1.0);
    const auto ends = columns_of(edges);
    for (std::size_t j = 0; j < count; ++j)
        if (set.insert({ends[j][0], ends[j][1]}) == nullptr) return false;
    return true;
}

/// How far patches grow.
struct limits {
    double squared_radius;
    double cosine;        // of the largest angle between the normals of two neighbours
    std::size_t elements; // no step is made from a patch of this size
};

/// A triangulated surface with what its patches need.
struct surface {
    points_view<3> points;
    columns<const unsigned> cells;
    columns<const unsigned> across;
    std::size_t count;
    dense2D<double> normals{}; // as long as twice the area; row 3: the squared length
    dense1D<face, 8> faces{};
    dense1D<hinge, 8> hinges{}; // the first one is flat and belongs to no face

    /// Returns false if memory is exhausted.
    bool start(const edge_set& hard, const limits& most) noexcept {
        if (!normals.resize(4, count) || !faces.resize(count + 1)) return false;
        faces[count] = {};
        std::size_t edges = 1;
        for (std::size_t e = 0; e < count; ++e) {
            prefetch_corners(e);
            edges += measure_face(e, edges);
        }
        if (!hinges.resize(edges)) return false;
        hinges[0] = {};
        for (std::size_t e = 0; e < count; ++e) {
            prefetch_corners(e);
            for (const unsigned next : faces[ahead(e)].beside)
                prefetch(std::as_const(normals)[next]);
            measure_hinges(e);
            faces[e].passable = passable_edges(e, hard, most.cosine);
        }
        return true;
    }

    point<3> normal(std::size_t e) const noexcept {
        const double* const n = normals[e];
        return {n[0], n[1], n[2]};
    }

private:
    std::size_t ahead(std::size_t e) const noexcept { return std::min(e + 12, count - 1); }

    [[gnu::always_inline]] void prefetch_corners(std::size_t e) const noexcept {
        for (unsigned k = 0; k < 3; ++k) prefetch(points.first + cells[ahead(e)][k] * points.ld);
    }

    /// Everything but `passable`; returns how many hinges the face has.
    std::size_t measure_face(std::size_t e, std::size_t first_hinge) noexcept {
        const unsigned* const nodes = cells[e];
        const point<3> p[3] = {points[nodes[0]], points[nodes[1]], points[nodes[2]]};
        const point<3> n = triangle_normal(p[0], p[1], p[2]);
        const double q = squared_length<3>(n);
        std::copy(n.begin(), n.end(), normals[e]);
        normals(3, e) = q;
        face& f = faces[e];
        for (std::size_t i = 0; i < 3; ++i)
            f.centroid[i] = (p[0][i] + p[1][i] + p[2][i]) * 0.3333333333333333;
        f.size = std::sqrt(q);
        f.first_hinge = first_hinge;
        std::size_t owned = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            f.beside[j] = static_cast<unsigned>(std::min<std::size_t>(across[e][j], count));
            owned += f.beside[j] <= e;
        }
        return owned;
    }

    void measure_hinges(std::size_t e) noexcept {
        const face& f = faces[e];
        hinge* next = hinges.data() + f.first_hinge;
        for (std::size_t j = 0; j < 3; ++j)
            if (f.beside[j] <= e) *next++ = measure_hinge(e, j, f.beside[j]);
    }

    hinge measure_hinge(std::size_t e, std::size_t j, std::size_t other) const noexcept {
        const unsigned* const nodes = cells[e];
        const point<3> n1 = normal(e);
        const point<3> n2 = normal(other);
        point<3> along = difference<3>(points[nodes[(j + 2) % 3]], points[nodes[(j + 1) % 3]]);
        const double length = make_unit<3>(along);
        const point<3> inward = cross(along, n1);
        const point<3> outward{-inward[0], -inward[1], -inward[2]};
        const double angle = std::atan2(dot<3>(outward, n2), dot<3>(n1, n2));
        const double weight = angle * length;
        if (weight == 0) return {};
        const double x = weight * along[0];
        const double y = weight * along[1];
        const double z = weight * along[2];
        return {
            {x * along[0], y * along[0], y * along[1], z * along[0], z * along[1], z * along[2]}};
    }

    std::uint8_t passable_edges(std::size_t e, const edge_set& hard, double cosine) const noexcept {
        const double bound = cosine * std::abs(cosine);
        const unsigned* const nodes = cells[e];
        unsigned passable = 0;
        for (unsigned j = 0; j < 3; ++j) {
            const unsigned other = faces[e].beside[j];
            if (other == count) continue;
            if (hard.item_count != 0 && hard.contains(edge_nodes(nodes, 3, j))) continue;
            if (cosine > -1) {
                const double d = dot<3>(normal(e), normal(other));
                const double s = d * std::abs(d);
                if (!(s > bound * normals(3, e) * normals(3, other))) continue;
            }
            passable |= 1u << j;
        }
        return static_cast<std::uint8_t>(passable);
    }
};

/// What a patch adds up to.
struct patch_sums {
    double area; // doubled
    symmetric_fixed<double, 3> tensor;
};

/// The triangles around one node after the other. Whether a triangle joins can hardly be predicted,
/// so the tests are branch-free.
struct patch {
    dense1D<unsigned, 8> list{};
    stamp_marks marks{}; // the stamp: tested and rejected; one more: a member
    const face* faces = nullptr;
    const hinge* hinges = nullptr;
    unsigned* members = nullptr;
    std::size_t size = 0;

    /// Returns false if memory is exhausted.
    bool start(const surface& s, const limits& most) noexcept {
        constexpr std::size_t step = 3; // written at a time, whether they are members or not
        const std::size_t room = std::min(most.elements, s.count) + step;
        marks.increment = 2;
        if (!list.resize(room) || !marks.start(s.count + 1)) return false;
        members = list.data();
        faces = s.faces.data();
        hinges = s.hinges.data();
        return true;
    }

    /// Gathers the triangles around `center`, breadth first from the seed on, and adds up what the edges
    /// between them give, each seen from its higher-numbered triangle. A triangle that one of its
    /// neighbours has turned down is not asked again; so, once a member has asked its neighbours, it is
    /// known which of them are members.
    void gather(const point<3>& center, unsigned seed, const limits& most,
                patch_sums& sum) noexcept {
        marks.renew();
        marks[seed] = marks.stamp + 1;
        members[0] = seed;
        size = 1;
        std::size_t i = 0;
        double t[6] = {0, 0, 0, 0, 0, 0};
        if (most.squared_radius > 0)
            for (; i < size && size < most.elements; ++i) {
                prefetch_around(members[std::min(i + 4, size - 1)]);
                ask_neighbors(i, center, most);
                add_hinges(members[i], t);
            }
        for (; i < size; ++i) add_hinges(members[i], t);
        sum.area = 0;
        for (i = 0; i < size; ++i) sum.area += faces[members[i]].size;
        std::copy_n(t, 6, sum.tensor.elements);
    }

private:
    /// Brings what will be asked of the neighbours of a member, and of itself when the hinges are summed.
    [[gnu::always_inline]] void prefetch_around(unsigned member) const noexcept {
        const face& f = faces[member];
        for (const unsigned next : f.beside) prefetch(faces + next);
        prefetch(hinges + f.first_hinge);
    }

    /// Lets those of its neighbours join that are near and that a patch may grow to.
    void ask_neighbors(std::size_t i, const point<3>& center, const limits& most) noexcept {
        const face& from = faces[members[i]];
        const unsigned asked = marks.stamp;
        unsigned batch[3];
        unsigned* const end = members + size;
        for (unsigned j = 0; j < 3; ++j) {
            const unsigned e = from.beside[j];
            const double* const g = faces[e].centroid;
            const point<3> offset = difference<3>({g[0], g[1], g[2]}, center);
            const bool near = !(squared_length<3>(offset) > most.squared_radius);
            unsigned& mark = marks[e];
            const unsigned joins = near & (mark < asked) & (unsigned{from.passable} >> j & 1u);
            mark = std::max(mark, asked + joins);
            batch[j] = e | (joins - 1); // `no_node` without
            size += joins;
        }
        store_in_order(batch, end);
    }

    /// Adds the terms of the edges between a member and lower-numbered members. For the others
    /// zeros are added, which is cheaper than a branch that cannot be predicted, and changes no
    /// bit.
    void add_hinges(unsigned e, double (&t)[6]) const noexcept {
        const face& f = faces[e];
        const unsigned member = marks.stamp + 1;
        std::size_t next = f.first_hinge;
        for (const unsigned other : f.beside) {
            const std::size_t own = other <= e;
            const std::size_t inner = own & (marks[other] == member);
            const double* const h = hinges[next & (0 - inner)].tensor;
            t[0] += h[0];
            t[1] += h[1];
            t[2] += h[2];
            t[3] += h[3];
            t[4] += h[4];
            t[5] += h[5];
            next += own;
        }
    }

    static void store_in_order(const unsigned (&batch)[3], unsigned* to) noexcept {
        const unsigned least = std::min(batch[0], std::min(batch[1], batch[2]));
        const unsigned most = std::max(std::max(batch[0], batch[1]), batch[2]);
        to[0] = least;
        to[1] = batch[0] ^ batch[1] ^ batch[2] ^ least ^ most;
        to[2] = most;
    }
};

/// Eigenvalues in ascending order with a right-handed frame of unit vectors.
struct eigenpairs {
    double value[3];
    point<3> vector[3];
};

/// Returns false if LAPACK reports failure.
bool find_eigenpairs(symmetric_fixed<double, 3> m, eigenpairs& found) noexcept {
    double vectors[9];
    double work[9];
    long info;
    lapack::dspev('V', 'U', 3, m.elements, found.value, vectors, 3, work, info);
    if (info != 0) return false;
    for (std::size_t k = 0; k < 2; ++k)
        found.vector[k] = {vectors[3 * k], vectors[3 * k + 1], vectors[3 * k + 2]};
    found.vector[2] = cross(found.vector[0], found.vector[1]);
    return true;
}

/// Which eigenvalues are the largest and the middle one in magnitude.
struct ranking {
    std::size_t largest;
    std::size_t middle;
};

ranking rank(const double (&value)[3]) noexcept {
    const double a0 = std::abs(value[0]);
    const double a1 = std::abs(value[1]);
    const double a2 = std::abs(value[2]);
    const std::size_t smaller = a0 > a1 ? 1 : 0;
    const std::size_t least = (smaller == 1 ? a1 : a0) > a2 ? 2 : smaller;
    const std::size_t larger = a1 > a0 ? 1 : 0;
    const std::size_t largest = a2 > (larger == 1 ? a1 : a0) ? 2 : larger;
    return {largest, largest == least ? (largest + 1) % 3 : 3 - largest - least};
}

/// Fills the column of a node: u1, u2, k1, k2. A tensor without eigenvalues leaves it zero.
void write_curvatures(const symmetric_fixed<double, 3>& tensor, double double_area,
                      const point<3>& normal, double* column) noexcept {
    constexpr double undetermined = 0.001; // of k1: a smaller k2 has no direction of its own
    eigenpairs found;
    if (double_area == 0 || !find_eigenpairs(tensor, found)) return;
    const double factor = 2 / double_area;
    if (factor != 1)
        for (double& value : found.value) value *= factor;
    const ranking order = rank(found.value);
    const double k1 = found.value[order.largest];
    const double k2 = found.value[order.middle];
    point<3> u1 = found.vector[order.largest];
    point<3> u2 = found.vector[order.middle];
    if (!(std::abs(k2) > std::abs(k1) * undetermined)) {
        point<3> n = normal;
        tangent_frame(u1, n, u2);
    }
    std::copy(u1.begin(), u1.end(), column);
    std::copy(u2.begin(), u2.end(), column + 3);
    column[6] = k1;
    column[7] = k2;
}

/// The normal of a triangle times its length; zero where that is 0.
point<3> weighted_normal(const surface& s, std::size_t e) noexcept {
    const double a = s.faces[e].size;
    const point<3> n = s.normal(e);
    if (a == 0) return {0, 0, 0};
    return {a * n[0], a * n[1], a * n[2]};
}

/// Marks the first element of each node. Returns false if memory is exhausted.
bool find_seeds(surface& s, std::size_t nodes) noexcept {
    element_set met;
    if (!met.start(nodes)) return false;
    face* const faces = s.faces.data();
    for (std::size_t e = 0; e < s.count; ++e) {
        faces[e].seeds = 0;
        for (unsigned i = 0; i < 3; ++i) {
            const unsigned node = s.cells[e][i];
            if (met.holds(node)) continue;
            met.add(node);
            faces[e].seeds = static_cast<std::uint8_t>(faces[e].seeds | 1u << i);
        }
    }
    return true;
}

/// An order of the elements in which neighbours are never far from each other, so that patches are gathered
/// from what the one before has brought to the caches.
struct itinerary {
    dense1D<unsigned, 8> list{};

    std::size_t operator[](std::size_t k) const noexcept { return list.size == 0 ? k : list[k]; }

    /// Returns false if memory is exhausted. Without a list the order is that of the numbers.
    bool start(const surface& s) noexcept {
        if (!is_scattered(s)) return true;
        element_set met;
        if (!list.resize(s.count) || !met.start(s.count + 1)) return false;
        met.add(s.count);
        std::size_t size = 0;
        for (std::size_t e = 0; e < s.count; ++e)
            if (!met.holds(e)) size = walk_from(s, static_cast<unsigned>(e), size, met);
        return true;
    }

private:
    /// Returns true if most edges join elements whose numbers lie far apart.
    static bool is_scattered(const surface& s) noexcept {
        constexpr std::size_t far = 1 << 14; // a megabyte of faces
        std::size_t edges = 0;
        for (std::size_t e = 0; e < s.count; ++e)
            for (const std::size_t next : s.faces.data()[e].beside)
                edges += next < s.count && (next > e ? next - e : e - next) > far;
        return edges > s.count / 2 * 3;
    }

    /// Lists those that hang together with an element, breadth first; returns the size of the list.
    std::size_t walk_from(const surface& s, unsigned e, std::size_t size,
                          element_set& met) noexcept {
        unsigned* const to = list.data();
        std::size_t i = size;
        met.add(e);
        to[size++] = e;
        for (; i < size; ++i) {
            for (const unsigned next : s.faces.data()[to[i]].beside) {
                if (met.holds(next)) continue;
                met.add(next);
                to[size++] = next;
            }
        }
        return size;
    }
};

/// Fills the columns of all nodes that the elements use, each from the first element that holds it.
/// Returns false if memory is exhausted.
bool measure_nodes(surface& s, std::size_t nodes, const edge_set& hard, const limits& most,
                   dense2D<double>& curvatures) noexcept {
    patch around;
    itinerary order;
    if (!s.start(hard, most) || !find_seeds(s, nodes) || !order.start(s) || !around.start(s, most))
        return false;
    const auto out = columns_of(curvatures);
    for (std::size_t k = 0; k < s.count; ++k) {
        const std::size_t e = order[k];
        for (unsigned i = 0; i < 3; ++i) {
            if ((unsigned{s.faces[e].seeds} >> i & 1u) == 0) continue;
            const unsigned node = s.cells[e][i];
            patch_sums sum;
            around.gather(s.points[node], static_cast<unsigned>(e), most, sum);
            write_curvatures(sum.tensor, sum.area, weighted_normal(s, e), out[node]);
        }
    }
    return true;
}

} // namespace

int principal_curvatures(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                         const dense2D<unsigned>& neighbors, double radius, double max_angle,
                         unsigned max_elements, const dense2D<unsigned>& hard_edges,
                         dense2D<double>& curvatures) {
    if (connect.empty()) return status_ok;
    if (pos.rows != 3) return -1;
    const unsigned bound = node_bound(pos);
    if (!tessel::check_IDs(connect, ELEMENT_T3, bound)) return -2;
    if (neighbors.cols != connect.cols || neighbors.rows < 3) return -3;
    if (!tessel::check_IDs(hard_edges, ELEMENT_E2, bound)) return -7;
    if (connect.cols > most_nodes) return status_memory;
    edge_set hard;
    if (!collect_edges(hard_edges, hard)) return status_memory;
    // A view of its own keeps the coordinates when `curvatures` shares their block or is `pos` itself.
    const dense2D<double> points = pos;
    curvatures.clear();
    surface s{points_view<3>(points), columns_of(connect), columns_of(neighbors), connect.cols};
    const limits most{radius * radius, std::cos(max_angle), max_elements};
    if (curvatures.resize(8, points.cols, 0.0) &&
        measure_nodes(s, points.cols, hard, most, curvatures)) {
        return status_ok;
    }
    curvatures.clear();
    return status_memory;
}

} // namespace zel::tessel2d
