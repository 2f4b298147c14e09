// SPDX-License-Identifier: Apache-2.0
// Sums over meshes in parts. Each rank adds up its share without rounding; the digits of all shares are added up, and
// the sum is rounded once.
#include "zel/distributed/measures.h"

#include "distributed/part.h"

#include "foundation/topology.h"
#include "geometry/quadrilaterals.h"
#include "geometry/triangles.h"
#include "geometry/volume_terms.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace zel::distributed {

namespace {

using tessel2d::long_sum;

/// A sum whose terms need not be finite.
struct share {
    long_sum finite;
    std::int64_t odd_ones[3] = {0, 0, 0}; ///< how many NaN, infinities, negative infinities

    void add(double x) {
        if (std::isfinite(x))
            finite.add(x);
        else
            ++odd_ones[std::isnan(x) ? 0 : x > 0 ? 1 : 2];
    }
};

/// Adds the shares of all ranks up and rounds, after a division by 1 to 12.
int add_up(MPI_Comm comm, share& mine, std::int64_t divisor, double& result) {
    std::int64_t sums[long_sum::count] = {}, odd_ones[3] = {0, 0, 0};
    std::int64_t* const digits = mine.finite.settled_digits();
    int code =
        MPI_Allreduce(digits, sums, static_cast<int>(long_sum::count), MPI_INT64_T, MPI_SUM, comm);
    if (code == MPI_SUCCESS)
        code = MPI_Allreduce(mine.odd_ones, odd_ones, 3, MPI_INT64_T, MPI_SUM, comm);
    if (const int status = agree(comm, code == MPI_SUCCESS ? 0 : engine_failed)) return status;
    std::copy_n(sums, long_sum::count, digits);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (odd_ones[0] != 0 || (odd_ones[1] != 0 && odd_ones[2] != 0))
        result = std::numeric_limits<double>::quiet_NaN();
    else if (odd_ones[1] != 0 || odd_ones[2] != 0)
        result = odd_ones[1] != 0 ? infinity : -infinity;
    else
        result = mine.finite.rounded(divisor);
    return 0;
}

bool is_quad(const partitioned_mesh& mesh, std::size_t e) {
    return mesh.connect.rows == 4 && mesh.connect(3, e) != no_node;
}

template <int Dim>
void add_areas(const partitioned_mesh& mesh, share& sum) {
    const int me = rank_of(mesh.comm);
    const tessel2d::points_view<Dim> pos(mesh.pos);
    for (std::size_t e = 0; e < mesh.connect.cols; ++e) {
        if (mesh.element_homes[e].rank != me) continue;
        const unsigned* const n = mesh.connect[e];
        sum.add(is_quad(mesh, e) ? tessel2d::quad_double_area<Dim>(pos, n[0], n[1], n[2], n[3])
                                 : tessel2d::triangle_double_area<Dim>(pos, n[0], n[1], n[2]));
    }
}

/// A side of an element, by the nodes at its ends.
struct side {
    unsigned low, high;
    unsigned element;
    bool upwards;

    bool on_edge_of(const side& other) const { return low == other.low && high == other.high; }
};

list<side> list_sides(const dense2D<unsigned>& connect) {
    list<side> sides;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned corners = connect.rows == 3 || connect(3, e) == no_node ? 3 : 4;
        for (unsigned k = 0; k < corners; ++k) {
            const auto ends = tessel2d::edge_nodes(connect[e], corners, k);
            if (ends.a == ends.b) continue;
            sides.push_back({std::min(ends.a, ends.b), std::max(ends.a, ends.b),
                             static_cast<unsigned>(e), ends.a < ends.b});
        }
    }
    std::sort(sides.begin(), sides.end(), [](const side& s, const side& t) {
        return std::tie(s.low, s.high, s.element) < std::tie(t.low, t.high, t.element);
    });
    return sides;
}

/// Counts the edges that are not shared by two sides in opposite directions. The rank that has the first element of an
/// edge counts it; with one layer around the part it knows all sides of the edge.
std::int64_t count_open_edges(const partitioned_mesh& wide) {
    const int me = rank_of(wide.comm);
    const list<side> sides = list_sides(wide.connect);
    std::int64_t open = 0;
    for (std::size_t k = 0; k < sides.size();) {
        std::size_t end = k + 1;
        while (end < sides.size() && sides[end].on_edge_of(sides[k])) ++end;
        const bool closed = end - k == 2 && sides[k].upwards != sides[k + 1].upwards;
        open += !closed && wide.element_homes[sides[k].element].rank == me;
        k = end;
    }
    return open;
}

/// -1 if the elements cannot be measured, on all ranks alike.
int check_elements(const partitioned_mesh& mesh) {
    if (mesh.elements == 0) return 0;
    if (mesh.connect.rows != 3 && mesh.connect.rows != 4) return -1;
    const bool fine =
        tessel::check_IDs(mesh.connect, ELEMENT_FACE, static_cast<unsigned>(mesh.pos.cols));
    return agree(mesh.comm, fine ? 0 : -1);
}

int sum_own(MPI_Comm comm, const dense1D<home, 8>& homes, const dense1D<double, 8>& values,
            double& result) {
    if (const int status = agree(comm, values.size == homes.size ? 0 : -2)) return status;
    const int me = rank_of(comm);
    share mine;
    for (std::size_t k = 0; k < values.size; ++k)
        if (homes[k].rank == me) mine.add(values[k]);
    return add_up(comm, mine, 1, result);
}

} // namespace

int area(const partitioned_mesh& mesh, double& result) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    if (const int status = check_elements(mesh)) return status;
    share mine;
    if (mesh.pos.rows == 2)
        add_areas<2>(mesh, mine);
    else
        add_areas<3>(mesh, mine);
    return add_up(mesh.comm, mine, 2, result);
}

int volume(const partitioned_mesh& mesh, double& result) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    if (mesh.elements == 0) {
        result = 0;
        return 0;
    }
    if (mesh.pos.rows != 3) return -1;
    int status = check_elements(mesh);
    if (status) return status;
    partitioned_mesh wide;
    if ((status = with_halo(mesh, 1, wide))) return status;
    std::int64_t mine = 0, open = 0;
    status = together(mesh.comm, [&] {
        mine = count_open_edges(wide);
        return 0;
    });
    if (status) return status;
    const int code = MPI_Allreduce(&mine, &open, 1, MPI_INT64_T, MPI_SUM, mesh.comm);
    if ((status = agree(mesh.comm, code == MPI_SUCCESS ? 0 : engine_failed))) return status;
    if (open != 0) return tessel2d::as_count(static_cast<std::size_t>(open));

    share sum;
    const int me = rank_of(mesh.comm);
    for (std::size_t e = 0; e < mesh.connect.cols; ++e)
        if (mesh.element_homes[e].rank == me)
            tessel2d::add_element(sum.finite, mesh.pos, mesh.connect[e], is_quad(mesh, e));
    sum.odd_ones[0] = !sum.finite.is_finite();
    return add_up(mesh.comm, sum, 12, result);
}

int sum_over_elements(const partitioned_mesh& mesh, const dense1D<double, 8>& values,
                      double& result) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    return sum_own(mesh.comm, mesh.element_homes, values, result);
}

int sum_over_nodes(const partitioned_mesh& mesh, const dense1D<double, 8>& values, double& result) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    return sum_own(mesh.comm, mesh.node_homes, values, result);
}

} // namespace zel::distributed
