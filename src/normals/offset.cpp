// SPDX-License-Identifier: Apache-2.0
// Moves the nodes of a surface along vectors, in place or as a copy.
//
// A node moves once, however many elements have it: the nodes are listed first, each once.
#include "foundation/node_set.h"
#include "zel/tessel2d/normals.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

// ----------------------------------------------------------------------------------------- motions

/// Moves a node along its vector.
struct by_distance {
    double d;

    void move(const double* n, double* x) const noexcept {
        if (d == 0) return; // a vector may be infinite
        for (std::size_t i = 0; i < 3; ++i) x[i] += d * n[i];
    }
};

/// Moves a node by the image of its vector.
struct by_tensor {
    symmetric_fixed<double, 3> M;

    void move(const double* n, double* x) const noexcept {
        for (std::size_t i = 0; i < 3; ++i)
            x[i] += M(i, 0) * n[0] + M(i, 1) * n[1] + M(i, 2) * n[2];
    }
};

// ------------------------------------------------------------------------------------------- steps

int check_offset(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                 const dense2D<double>& N) noexcept {
    if (pos.rows != 3) return -1;
    if (max_index(connect) >= std::min(N.cols, pos.cols)) return -2;
    return N.rows == 3 ? status_ok : -3;
}

/// What moves: the nodes that elements name, each once, and where in that list each entry of the elements
/// stands.
struct surface_nodes {
    dense1D<unsigned, 8> list;
    dense2D<unsigned> places;

    /// Columns that are neither triangles nor quadrilaterals name no node. Returns false if memory is
    /// exhausted.
    bool gather(const dense2D<unsigned>& connect, std::size_t node_count) noexcept {
        if (connect.rows == 3)
            return number_nodes<triangle_cells>(connect, node_count, list, places);
        if (connect.rows == 4) return number_nodes<mixed_cells>(connect, node_count, list, places);
        return places.copy(connect);
    }
};

template <class Motion>
int move_nodes(dense2D<double>& pos, const dense2D<unsigned>& connect, const dense2D<double>& N,
               const Motion& motion) noexcept {
    if (const int status = check_offset(pos, connect, N)) return status;
    dense2D<double> vectors = N;
    surface_nodes nodes;
    if (!separate(vectors, pos) || !nodes.gather(connect, pos.cols)) return status_memory;
    const auto x = columns_of(pos);
    const auto n = columns_of(vectors);
    for (const unsigned node : nodes.list) motion.move(n[node], x[node]);
    return status_ok;
}

/// The elements of the copy appear before its nodes: when there is no memory for these, `connect_out`
/// names nodes that do not exist.
template <class Motion>
int copy_nodes(dense2D<double>& pos, const dense2D<unsigned>& connect, const dense2D<double>& N,
               const Motion& motion, dense2D<unsigned>& connect_out) noexcept {
    if (const int status = check_offset(pos, connect, N)) return status;
    const std::size_t first_new = pos.cols;
    dense2D<double> vectors = N;
    surface_nodes nodes;
    std::size_t total;
    if (!separate(vectors, pos) || !nodes.gather(connect, first_new) ||
        !node_total(first_new, nodes.list.size, total)) {
        return status_memory;
    }
    if (!nodes.list.empty()) {
        for (unsigned& entry : nodes.places)
            if (entry != no_node) entry += static_cast<unsigned>(first_new);
    }
    connect_out.swap(nodes.places);
    if (!pos.resize(3, total)) return status_memory;
    const auto x = columns_of(pos);
    const auto n = columns_of(vectors);
    std::size_t next = first_new;
    for (const unsigned node : nodes.list) {
        double* const moved = x[next++];
        std::copy_n(x[node], 3, moved);
        motion.move(n[node], moved);
    }
    return status_ok;
}

/// The unit normals at the nodes, weighted by area. A connectivity that they refuse is reported as the
/// third argument of the functions that take vectors.
int own_vectors(const dense2D<double>& pos, const dense2D<unsigned>& connect, dense2D<double>& N) {
    const int status = normals(pos, connect, 1.0, true, N);
    return status == -2 ? -3 : status;
}

} // namespace

// ------------------------------------------------------------------------------------------- in place

int offset(dense2D<double>& pos, const dense2D<unsigned>& connect, const dense2D<double>& N,
           const symmetric_fixed<double, 3>& M) {
    if (connect.empty()) return status_ok;
    return move_nodes(pos, connect, N, by_tensor{M});
}

int offset(dense2D<double>& pos, const dense2D<unsigned>& connect, const dense2D<double>& N,
           double d) {
    if (connect.empty() || d == 0) return status_ok;
    return move_nodes(pos, connect, N, by_distance{d});
}

int offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
           const symmetric_fixed<double, 3>& M) {
    if (connect.empty()) return status_ok;
    dense2D<double> N;
    if (const int status = own_vectors(pos, connect, N)) return status;
    return offset(pos, connect, N, M);
}

int offset(dense2D<double>& pos, const dense2D<unsigned>& connect, double d) {
    if (connect.empty() || d == 0) return status_ok;
    dense2D<double> N;
    if (const int status = own_vectors(pos, connect, N)) return status;
    return offset(pos, connect, N, d);
}

// ---------------------------------------------------------------------------------------- as a copy

int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                     const dense2D<double>& N, const symmetric_fixed<double, 3>& M,
                     dense2D<unsigned>& connect_out) {
    if (connect.empty()) return status_ok;
    return copy_nodes(pos, connect, N, by_tensor{M}, connect_out);
}

int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                     const dense2D<double>& N, double d, dense2D<unsigned>& connect_out) {
    const dense2D<unsigned> given = connect; // keeps its block if `connect_out` is the same matrix
    connect_out.clear();
    if (given.empty()) return status_ok;
    const int status = copy_nodes(pos, given, N, by_distance{d}, connect_out);
    if (status < 0) connect_out.clear();
    return status;
}

int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect,
                     const symmetric_fixed<double, 3>& M, dense2D<unsigned>& connect_out) {
    if (connect.empty()) return status_ok;
    dense2D<double> N;
    if (const int status = own_vectors(pos, connect, N)) return status;
    return copy_with_offset(pos, connect, N, M, connect_out);
}

int copy_with_offset(dense2D<double>& pos, const dense2D<unsigned>& connect, double d,
                     dense2D<unsigned>& connect_out) {
    const dense2D<unsigned> given = connect;
    connect_out.clear();
    if (given.empty()) return status_ok;
    dense2D<double> N;
    if (const int status = own_vectors(pos, given, N)) return status;
    return copy_with_offset(pos, given, N, d, connect_out);
}

} // namespace zel::tessel2d
