// zel tessel2d: planar and surface mesh tools.
#include "foundation/call_frame.h"
#include "foundation/hbuckets.h"
#include "zel/tessel2d/normals.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

// ------------------------------------------------------------------------------------------ nodes

/// The nodes that a connectivity names, each once in first-seen order, and the place of each in the list.
/// Entries that are no node are passed over.
///
/// Where the connectivity names a fair share of all nodes, a table over the nodes serves better than
/// hashing; the outcome is the same.
class named_nodes {
public:
    /// All entries are below `node_count` or no node. False: memory is exhausted.
    bool gather(const dense2D<unsigned>& connect, std::size_t node_count) noexcept {
        constexpr std::size_t sparse =
            16; // nodes per column from which on hashing takes less memory
        hashed = node_count / sparse > connect.cols;
        return hashed ? gather_in_set(connect) : gather_in_table(connect, node_count);
    }
    std::size_t count() const noexcept { return hashed ? set.size : list.size; }
    const unsigned* begin() const noexcept { return hashed ? set.begin() : list.begin(); }
    const unsigned* end() const noexcept { return begin() + count(); }
    unsigned place(unsigned node) const noexcept {
        return hashed ? static_cast<unsigned>(set.positions.find(node)->value.second) : table[node];
    }

private:
    template <class Visit>
    static void for_each_named(const dense2D<unsigned>& connect, const Visit& visit) noexcept {
        const auto cells = columns_of(connect);
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (std::size_t k = 0; k < connect.rows; ++k)
                if (cells[e][k] != no_node) visit(cells[e][k]);
    }

    bool gather_in_set(const dense2D<unsigned>& connect) noexcept {
        if (!set.reserve(connect.cols, 1)) return false;
        if (connect.cols > set.positions.bucket_count && !set.positions.rehash(connect.cols))
            return false;
        bool all = true;
        for_each_named(connect, [&](unsigned node) {
            vector_fast_insert(set, node);
            all &= set.complete() && set.positions.contains(node);
        });
        return all;
    }

    bool gather_in_table(const dense2D<unsigned>& connect, std::size_t node_count) noexcept {
        std::size_t entries;
        if (!checked_multiply(connect.rows, connect.cols, entries) ||
            !table.resize(node_count, no_node) || !list.resize(std::min(entries, node_count))) {
            return false;
        }
        unsigned* const place_of = table.data();
        unsigned* const node_at = list.data();
        unsigned found = 0;
        for_each_named(connect, [&](unsigned node) {
            if (place_of[node] != no_node) return;
            place_of[node] = found;
            node_at[found++] = node;
        });
        list.size = found;
        return true;
    }

    bool hashed = false;
    vector_fast<unsigned> set;
    dense1D<unsigned, 8> table;
    dense1D<unsigned, 8> list;
};

/// Elements are triangles, quadrilaterals or both; of others no node is gathered.
bool has_elements(const dense2D<unsigned>& connect) noexcept {
    return connect.rows == 3 || connect.rows == 4;
}

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

template <class Motion>
int move_nodes(dense2D<double>& pos, const dense2D<unsigned>& connect, const dense2D<double>& N,
               const Motion& motion) noexcept {
    if (const int status = check_offset(pos, connect, N)) return status;
    if (!has_elements(connect)) return status_ok;
    dense2D<double> vectors = N;
    named_nodes nodes;
    if (!separate(vectors, pos) || !nodes.gather(connect, pos.cols)) return status_memory;
    const auto vector = columns_of(vectors);
    const auto x = columns_of(pos);
    for (const unsigned node : nodes) motion.move(vector[node], x[node]);
    return status_ok;
}

void renumber(const named_nodes& nodes, std::size_t first_new,
              dense2D<unsigned>& connect) noexcept {
    for (unsigned& entry : connect)
        if (entry != no_node) entry = static_cast<unsigned>(first_new + nodes.place(entry));
}

template <class Motion>
int copy_nodes(dense2D<double>& pos, const dense2D<unsigned>& connect, const dense2D<double>& N,
               const Motion& motion, dense2D<unsigned>& connect_out) noexcept {
    if (const int status = check_offset(pos, connect, N)) return status;
    const std::size_t first_new = pos.cols;
    dense2D<double> vectors = N;
    named_nodes nodes;
    dense2D<unsigned> copied;
    std::size_t total;
    if (!separate(vectors, pos) || (has_elements(connect) && !nodes.gather(connect, first_new)) ||
        !node_total(first_new, nodes.count(), total) || !copied.copy(connect)) {
        return status_memory;
    }
    if (has_elements(connect)) renumber(nodes, first_new, copied);
    connect_out.swap(copied);
    if (!pos.resize(3, total)) return status_memory;
    const auto vector = columns_of(vectors);
    const auto x = columns_of(pos);
    std::size_t next = first_new;
    for (const unsigned node : nodes) {
        double* const moved = x[next++];
        std::copy_n(x[node], 3, moved);
        motion.move(vector[node], moved);
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
