// SPDX-License-Identifier: Apache-2.0
// Carries sizes and size tensors onto orphans.
#include "location/interpolate_metrics.h"

#include "zel/tessel2d/metrics.h"

#include <numeric>

namespace zel::tessel2d {

void carry_tensors(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                   dense2D<double>& metrics, const dense1D<unsigned, 8>& nodes, bool keep_valid,
                   element_type type) noexcept {
    if (metrics.rows == 3) {
        carry_onto_orphans(pos, connect, neighbors, ancestors, nodes, type,
                           tensor_rule<2>{columns_of(metrics), keep_valid});
    } else {
        carry_onto_orphans(pos, connect, neighbors, ancestors, nodes, type,
                           tensor_rule<3>{columns_of(metrics), keep_valid});
    }
}

namespace {

/// Lists the numbers of all nodes. Returns false if memory is exhausted.
bool list_all(const dense2D<double>& pos, dense1D<unsigned, 8>& nodes) noexcept {
    if (!nodes.resize(std::min<std::size_t>(pos.cols, most_nodes))) return false;
    std::iota(nodes.begin(), nodes.end(), 0U);
    return true;
}

// Tests all arguments but the list. Tensors are only carried on triangles, whatever `type` says.
int check_tensors(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                  const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                  const dense2D<double>& metrics) noexcept {
    if (const int status = check_located_mesh(pos, connect, neighbors, ancestors, ELEMENT_T3))
        return status;
    if (metrics.cols != pos.cols) return -5;
    if (metrics.rows != 3 && metrics.rows != 6) return -5;
    return status_ok;
}
int check_sizes(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                const dense1D<double, 8>& metrics, element_type type) noexcept {
    if (const int status = check_located_mesh(pos, connect, neighbors, ancestors, type))
        return status;
    return metrics.size == pos.cols ? status_ok : -5;
}

} // namespace

int interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                        dense2D<double>& metrics, const dense1D<unsigned, 8>& nodes,
                        bool keep_valid, element_type type) {
    if (nodes.empty()) return status_ok;
    if (const int status = check_tensors(pos, connect, neighbors, ancestors, metrics))
        return status;
    if (!tessel::check_IDs(nodes, node_bound(pos))) return -6;
    dense2D<double> places = pos;
    if (!separate(places, metrics)) return status_ok; // out of memory
    carry_tensors(places, connect, neighbors, ancestors, metrics, nodes, keep_valid, type);
    return status_ok;
}

int interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                        dense2D<double>& metrics, bool keep_valid, element_type type) {
    dense1D<unsigned, 8> nodes;
    if (!list_all(pos, nodes)) return check_tensors(pos, connect, neighbors, ancestors, metrics);
    return interpolate_metrics(pos, connect, neighbors, ancestors, metrics, nodes, keep_valid,
                               type);
}

int interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                        dense1D<double, 8>& metrics, const dense1D<unsigned, 8>& nodes,
                        bool keep_valid, element_type type) {
    if (nodes.empty()) return status_ok;
    if (const int status = check_sizes(pos, connect, neighbors, ancestors, metrics, type))
        return status;
    if (!tessel::check_IDs(nodes, node_bound(pos))) return -6;
    dense2D<double> places = pos;
    if (!separate(places, metrics)) return status_ok;
    carry_onto_orphans(places, connect, neighbors, ancestors, nodes, type,
                       size_rule{metrics.data(), keep_valid});
    return status_ok;
}

int interpolate_metrics(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                        dense1D<double, 8>& metrics, bool keep_valid, element_type type) {
    dense1D<unsigned, 8> nodes;
    if (!list_all(pos, nodes))
        return check_sizes(pos, connect, neighbors, ancestors, metrics, type);
    return interpolate_metrics(pos, connect, neighbors, ancestors, metrics, nodes, keep_valid,
                               type);
}

} // namespace zel::tessel2d
