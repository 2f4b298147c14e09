// SPDX-License-Identifier: Apache-2.0
// Principal curvatures of surfaces in parts: the library's function on a part with a halo that no patch of an own node
// reaches through.
//
// A patch begins with a triangle at its node, in layer 0 or 1, and grows to neighbours whose centroids are near. If no
// triangle of layer L >= 2 is near, all of the patch lies in layers 0 to L - 1. All elements at the nodes of these are
// there, and so are their neighbours. A neighbour lies at most one layer further out, so that a patch of M triangles
// ends in layer M at the latest.
#include "zel/distributed/curvatures.h"

#include "distributed/part.h"

#include "geometry/point.h"
#include "zel/host/adjacency.h"
#include "zel/tessel.h"
#include "zel/tessel2d/curvatures.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zel::distributed {

namespace {

using point = tessel2d::point<3>;

/// The layer of each element of a part: 0 for the own ones.
list<unsigned> layers_of(const partitioned_mesh& mesh) {
    const int me = rank_of(mesh.comm);
    list<unsigned> layer(mesh.connect.cols, no_node);
    list<bool> reached(mesh.pos.cols, false);
    std::size_t left = layer.size();
    for (unsigned depth = 0; left != 0; ++depth) {
        const std::size_t before = left;
        for (std::size_t e = 0; e < layer.size(); ++e) {
            if (layer[e] != no_node) continue;
            const unsigned* const n = mesh.connect[e];
            const bool next = depth == 0 ? mesh.element_homes[e].rank == me
                                         : reached[n[0]] || reached[n[1]] || reached[n[2]];
            if (!next) continue;
            layer[e] = depth;
            --left;
        }
        if (left == before && depth != 0) break;
        for (std::size_t e = 0; e < layer.size(); ++e)
            if (layer[e] == depth)
                for (std::size_t i = 0; i < 3; ++i) reached[mesh.connect(i, e)] = true;
    }
    return layer;
}

/// The centroids of some triangles, for the question whether one is near a point.
class centroids {
public:
    explicit centroids(double radius) : squared_radius(radius * radius) {}

    void add(const partitioned_mesh& mesh, std::size_t e) {
        const tessel2d::points_view<3> points(mesh.pos);
        const unsigned* const n = mesh.connect[e];
        const point a = points[n[0]], b = points[n[1]], c = points[n[2]];
        point g; // rounded as the library does it
        for (std::size_t i = 0; i < 3; ++i) g[i] = (a[i] + b[i] + c[i]) * 0.3333333333333333;
        (is_finite(g) ? sorted : odd_ones).push_back(g);
    }
    void sort() {
        std::sort(sorted.begin(), sorted.end(),
                  [](const point& a, const point& b) { return a[0] < b[0]; });
    }
    /// Looks along the first axis only as far as the distance in that direction alone is not too large.
    bool any_near(const point& center) const {
        for (const point& g : odd_ones)
            if (is_near(g, center)) return true;
        if (!is_finite(center))
            return std::any_of(sorted.begin(), sorted.end(),
                               [&](const point& g) { return is_near(g, center); });
        const auto start = std::lower_bound(sorted.begin(), sorted.end(), center[0],
                                            [](const point& g, double x) { return g[0] < x; });
        for (auto at = start; at != sorted.end() && in_reach(*at, center); ++at)
            if (is_near(*at, center)) return true;
        for (auto at = start; at != sorted.begin() && in_reach(*(at - 1), center); --at)
            if (is_near(*(at - 1), center)) return true;
        return false;
    }

private:
    static bool is_finite(const point& p) {
        return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
    }
    bool in_reach(const point& g, const point& center) const {
        const double d = g[0] - center[0];
        return !(d * d > squared_radius);
    }
    bool is_near(const point& g, const point& center) const {
        return !(tessel2d::squared_length<3>(tessel2d::difference<3>(g, center)) > squared_radius);
    }

    double squared_radius;
    list<point> sorted, odd_ones;
};

unsigned position_of(const partitioned_mesh& mesh, number node) {
    const auto& all = mesh.node_numbers;
    return static_cast<unsigned>(std::lower_bound(all.begin(), all.end(), node) - all.begin());
}

/// Leaves in `open` the nodes near which there is a triangle of the outermost layer.
void keep_open(const partitioned_mesh& wide, double radius, list<number>& open) {
    const list<unsigned> layer = layers_of(wide);
    centroids outermost(radius);
    for (std::size_t e = 0; e < layer.size(); ++e)
        if (layer[e] == wide.halo) outermost.add(wide, e);
    outermost.sort();
    const tessel2d::points_view<3> points(wide.pos);
    open.erase(std::remove_if(open.begin(), open.end(),
                              [&](number node) {
                                  return !outermost.any_near(points[position_of(wide, node)]);
                              }),
               open.end());
}

/// The part with a halo that no patch of an own node passes.
int widen(const partitioned_mesh& mesh, double radius, unsigned max_elements,
          partitioned_mesh& wide) {
    const bool seeds_only = !(radius * radius > 0) || max_elements <= 1;
    const unsigned most = max_elements > ~0U - 3 ? ~0U : max_elements + 3;
    int status = with_halo(mesh, seeds_only ? 1 : 2, wide);
    if (status || seeds_only) return status;
    list<number> open;
    status = together(mesh.comm, [&] {
        for (const unsigned k : own_entries(mesh.node_homes, rank_of(mesh.comm)))
            open.push_back(mesh.node_numbers[k]);
        return 0;
    });
    while (status == 0 && wide.halo < most) {
        status = together(mesh.comm, [&] {
            keep_open(wide, radius, open);
            return 0;
        });
        if (status) break;
        int mine = !open.empty(), any = 0;
        const int code = MPI_Allreduce(&mine, &any, 1, MPI_INT, MPI_MAX, mesh.comm);
        if ((status = agree(mesh.comm, code == MPI_SUCCESS ? 0 : engine_failed))) break;
        if (any == 0) break;
        status = grow_halo(wide, 1);
    }
    return status;
}

/// An edge by its nodes, the lower one first.
struct hard_edge {
    number low, high;

    bool operator<(const hard_edge& other) const {
        return std::pair(low, high) < std::pair(other.low, other.high);
    }
};

/// The hard edges of all ranks at the nodes that have their home here.
int gather_at_homes(const partitioned_mesh& mesh, const dense2D<unsigned>& hard_edges,
                    list<hard_edge>& kept) {
    outbox<hard_edge> out(0);
    int status = together(mesh.comm, [&] {
        out = outbox<hard_edge>(ranks_of(mesh.comm));
        for (std::size_t j = 0; j < hard_edges.cols; ++j) {
            const unsigned a = std::min(hard_edges(0, j), hard_edges(1, j));
            const unsigned b = std::max(hard_edges(0, j), hard_edges(1, j));
            out.add(mesh.node_homes[a].rank, {mesh.node_numbers[a], mesh.node_numbers[b]});
        }
        return 0;
    });
    if (status) return status;
    inbox<hard_edge> came;
    if ((status = deliver(mesh.comm, out, came))) return status;
    return together(mesh.comm, [&] {
        kept = came.records;
        std::sort(kept.begin(), kept.end());
        return 0;
    });
}

/// The hard edges between nodes of a wide part, whichever rank has named them: 2 x H local numbers.
int find_hard_edges(const partitioned_mesh& mesh, const partitioned_mesh& wide,
                    const dense2D<unsigned>& hard_edges, dense2D<unsigned>& local) {
    number mine = hard_edges.empty() ? 0 : hard_edges.cols, all = 0;
    const int code = MPI_Allreduce(&mine, &all, 1, MPI_UINT64_T, MPI_SUM, mesh.comm);
    int status = agree(mesh.comm, code == MPI_SUCCESS ? 0 : engine_failed);
    if (status || all == 0) return status;
    list<hard_edge> kept;
    if ((status = gather_at_homes(mesh, hard_edges, kept))) return status;

    outbox<number> asked(0);
    outbox<hard_edge> told(0);
    status = together(mesh.comm, [&] {
        asked = outbox<number>(ranks_of(mesh.comm));
        told = outbox<hard_edge>(ranks_of(mesh.comm));
        for (std::size_t k = 0; k < wide.pos.cols; ++k)
            asked.add(wide.node_homes[k].rank, wide.node_numbers[k]);
        return 0;
    });
    if (status) return status;
    inbox<number> questions;
    inbox<hard_edge> came;
    if ((status = deliver(mesh.comm, asked, questions))) return status;
    status = together(mesh.comm, [&] {
        for (std::size_t k = 0; k < questions.from.size(); ++k)
            for (std::size_t i = questions.starts[k]; i < questions.starts[k + 1]; ++i) {
                const number node = questions.records[i];
                auto at = std::lower_bound(kept.begin(), kept.end(), hard_edge{node, 0});
                for (; at != kept.end() && at->low == node; ++at) told.add(questions.from[k], *at);
            }
        return 0;
    });
    if (status) return status;
    if ((status = deliver(mesh.comm, told, came))) return status;
    return together(mesh.comm, [&] {
        list<std::pair<unsigned, unsigned>> pairs;
        for (const hard_edge& edge : came.records) {
            const unsigned b = position_of(wide, edge.high);
            if (b < wide.pos.cols && wide.node_numbers[b] == edge.high)
                pairs.emplace_back(position_of(wide, edge.low), b);
        }
        if (!local.resize(2, pairs.size())) return no_memory;
        for (std::size_t j = 0; j < pairs.size(); ++j) {
            local(0, j) = pairs[j].first;
            local(1, j) = pairs[j].second;
        }
        return 0;
    });
}

/// Each rank's own nodes, in the order of slots, 8 numbers each.
int measure_own(const partitioned_mesh& wide, double radius, double max_angle,
                unsigned max_elements, const dense2D<unsigned>& hard, list<double>& at_home) {
    host::adjacency beside;
    dense2D<double> all;
    if (wide.connect.cols != 0) {
        if (host::build_adjacency(wide.connect, wide.pos.cols, beside)) return no_memory;
        if (tessel2d::principal_curvatures(wide.pos, wide.connect, beside.neighbors, radius,
                                           max_angle, max_elements, hard, all))
            return no_memory;
    }
    const list<unsigned> own = own_entries(wide.node_homes, rank_of(wide.comm));
    at_home.assign(8 * own.size(), 0.0);
    for (std::size_t s = 0; s < own.size() && all.cols != 0; ++s)
        std::copy_n(std::as_const(all)[own[s]], 8, at_home.data() + 8 * s);
    return 0;
}

} // namespace

int principal_curvatures(const partitioned_mesh& mesh, double radius, double max_angle,
                         unsigned max_elements, const dense2D<unsigned>& hard_edges,
                         dense2D<double>& curvatures) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    if (mesh.elements == 0) return 0;
    if (mesh.pos.rows != 3 || mesh.connect.rows != 3) return -1;
    const auto bound = static_cast<unsigned>(mesh.pos.cols);
    int status = agree(mesh.comm, tessel::check_IDs(mesh.connect, ELEMENT_T3, bound) ? 0 : -1);
    if (status) return status;
    status = agree(mesh.comm, tessel::check_IDs(hard_edges, ELEMENT_E2, bound) ? 0 : -5);
    if (status) return status;

    partitioned_mesh wide;
    dense2D<unsigned> hard;
    list<double> at_home;
    dense2D<double> fresh;
    if ((status = widen(mesh, radius, max_elements, wide))) return status;
    if ((status = find_hard_edges(mesh, wide, hard_edges, hard))) return status;
    status = together(mesh.comm, [&] {
        if (!fresh.resize(8, mesh.pos.cols)) return no_memory;
        return measure_own(wide, radius, max_angle, max_elements, hard, at_home);
    });
    if (status) return status;
    star_forest copies;
    status =
        copies.build(mesh.comm, at_home.size() / 8, mesh.node_homes.data(), mesh.node_homes.size);
    if (status) return status;
    if ((status = copies.spread(at_home.data(), fresh.data(), 8))) return status;
    curvatures.swap(fresh);
    return 0;
}

} // namespace zel::distributed
