// SPDX-License-Identifier: Apache-2.0
// Each node is in the charge of the lowest rank that has an element of its own there. Whose a node becomes is
// found where the node has been: its users tell their ranks, the lowest one is told to all, and the new owner
// numbers what it owns and tells that in the same way.
#include "distributed/part.h"

#include <algorithm>
#include <climits>
#include <numeric>

namespace zel::distributed {

namespace {

// The order in which `keys` ascend.
list<unsigned> ascending(const list<number>& keys) {
    list<unsigned> order(keys.size());
    std::iota(order.begin(), order.end(), 0U);
    if (!std::is_sorted(keys.begin(), keys.end()))
        std::sort(order.begin(), order.end(),
                  [&](unsigned a, unsigned b) { return keys[a] < keys[b]; });
    return order;
}

unsigned position_of(const dense1D<number, 8>& sorted, number key) {
    return static_cast<unsigned>(std::lower_bound(sorted.begin(), sorted.end(), key) -
                                 sorted.begin());
}

template <class T>
bool arrange(const list<T>& values, const list<unsigned>& order, dense1D<T, 8>& out) {
    dense1D<T, 8> fresh;
    if (!fresh.resize(order.size())) return false;
    for (std::size_t k = 0; k < order.size(); ++k) fresh[k] = values[order[k]];
    out.swap(fresh);
    return true;
}

} // namespace

list<unsigned> own_entries(const dense1D<home, 8>& homes, int rank) {
    list<unsigned> own;
    for (std::size_t k = 0; k < homes.size; ++k)
        if (homes[k].rank == rank) own.push_back(static_cast<unsigned>(k));
    return own;
}

int put_together(const loose_part& loose, partitioned_mesh& mesh) {
    const std::size_t nodes = loose.node_numbers.size(), elements = loose.element_numbers.size();
    if (nodes > most_local || elements > most_local) return -199;
    const list<unsigned> node_order = ascending(loose.node_numbers);
    const list<unsigned> element_order = ascending(loose.element_numbers);

    dense2D<double> pos;
    dense2D<unsigned> connect;
    if (!arrange(loose.node_numbers, node_order, mesh.node_numbers) ||
        !arrange(loose.node_homes, node_order, mesh.node_homes) ||
        !arrange(loose.element_numbers, element_order, mesh.element_numbers) ||
        !arrange(loose.element_homes, element_order, mesh.element_homes) ||
        !pos.resize(loose.dimension, nodes) || !connect.resize(loose.rows, elements)) {
        return -199;
    }
    for (std::size_t k = 0; k < nodes; ++k)
        std::copy_n(loose.coordinates.data() + node_order[k] * loose.dimension, loose.dimension,
                    pos[k]);
    for (std::size_t k = 0; k < elements; ++k) {
        const number* const from = loose.corners.data() + element_order[k] * loose.rows;
        for (std::size_t i = 0; i < loose.rows; ++i)
            connect(i, k) =
                from[i] == no_number ? no_node : position_of(mesh.node_numbers, from[i]);
    }
    mesh.pos.swap(pos);
    mesh.connect.swap(connect);
    return 0;
}

list<number> global_corners(const partitioned_mesh& mesh) {
    list<number> corners(mesh.connect.rows * mesh.connect.cols);
    number* out = corners.data();
    for (std::size_t e = 0; e < mesh.connect.cols; ++e)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i) {
            const unsigned local = mesh.connect(i, e);
            *out++ = local == no_node ? no_number : mesh.node_numbers[local];
        }
    return corners;
}

void distinct_nodes(const list<number>& corners, const list<home>& corner_homes,
                    list<number>& numbers, list<home>& homes) {
    list<std::size_t> order(corners.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return corners[a] < corners[b]; });
    numbers.clear();
    homes.clear();
    for (const std::size_t k : order) {
        if (corners[k] == no_number) break;
        if (!numbers.empty() && numbers.back() == corners[k]) continue;
        numbers.push_back(corners[k]);
        homes.push_back(corner_homes[k]);
    }
}

int with_halo(const partitioned_mesh& mesh, unsigned layers, partitioned_mesh& wide) {
    wide = mesh;
    return mesh.halo >= layers ? 0 : grow_halo(wide, layers - mesh.halo);
}

int settle(MPI_Comm comm, std::size_t rows, const list<number>& corners,
           const list<number>& element_numbers, const list<number>& node_numbers,
           const list<home>& node_homes, const list<number>& old_numbers,
           const dense2D<double>& old_pos, const list<unsigned>& old_columns,
           partitioned_mesh& mesh) {
    const int me = rank_of(comm);
    const std::size_t dimension = old_pos.rows, used = node_numbers.size(),
                      kept = old_numbers.size();
    star_forest old_homes;
    if (const int status = old_homes.build(comm, kept, node_homes.data(), used)) return status;

    // Whose each node becomes.
    list<int> users, owner_at_home, owner;
    list<double> there, here;
    int status = together(comm, [&] {
        users.assign(used, me);
        owner.resize(used);
        owner_at_home.assign(kept, INT_MAX);
        there.resize(kept * dimension);
        for (std::size_t k = 0; k < kept; ++k)
            std::copy_n(old_pos[old_columns[k]], dimension, there.data() + k * dimension);
        here.resize(used * dimension);
        return 0;
    });
    if (status) return status;
    if ((status = old_homes.smallest(users.data(), owner_at_home.data()))) return status;
    for (int& rank : owner_at_home)
        if (rank == INT_MAX) rank = -1 - me;
    if ((status = old_homes.spread(owner_at_home.data(), owner.data()))) return status;
    if ((status = old_homes.spread(there.data(), here.data(), dimension))) return status;

    // The nodes of this part: those of its elements, and those that no element uses and that stay.
    loose_part loose;
    list<unsigned> slot;
    list<home> new_at_home, told;
    list<unsigned> mine; // which of `used` this rank is in charge of
    list<home> owned_at; // where these have been
    list<home> new_home;
    status = together(comm, [&] {
        loose.rows = rows;
        loose.dimension = dimension;
        loose.corners = corners;
        loose.element_numbers = element_numbers;
        loose.element_homes.resize(element_numbers.size());
        for (std::size_t e = 0; e < element_numbers.size(); ++e)
            loose.element_homes[e] = {me, static_cast<unsigned>(e)};
        loose.node_numbers = node_numbers;
        loose.coordinates = here;
        for (std::size_t k = 0; k < kept; ++k)
            if (owner_at_home[k] < 0) {
                loose.node_numbers.push_back(old_numbers[k]);
                owner.push_back(me);
                loose.coordinates.insert(loose.coordinates.end(),
                                         there.begin() + static_cast<long>(k * dimension),
                                         there.begin() + static_cast<long>((k + 1) * dimension));
            }
        loose.node_homes.resize(loose.node_numbers.size());
        // Slots ascend with the numbers of what is owned.
        list<number> owned;
        for (std::size_t k = 0; k < owner.size(); ++k)
            if (owner[k] == me) owned.push_back(loose.node_numbers[k]);
        std::sort(owned.begin(), owned.end());
        slot.resize(owner.size());
        for (std::size_t k = 0; k < owner.size(); ++k)
            slot[k] = owner[k] != me
                          ? 0
                          : static_cast<unsigned>(std::lower_bound(owned.begin(), owned.end(),
                                                                   loose.node_numbers[k]) -
                                                  owned.begin());
        for (std::size_t k = 0; k < used; ++k)
            if (owner[k] == me) {
                owned_at.push_back(node_homes[k]);
                new_home.push_back({me, slot[k]});
            }
        new_at_home.resize(kept);
        told.resize(used);
        return 0;
    });
    if (status) return status;

    // The owner tells where the node is now, by way of where it has been.
    star_forest owners;
    if ((status = owners.build(comm, kept, owned_at.data(), owned_at.size()))) return status;
    if ((status = owners.collect(new_home.data(), new_at_home.data()))) return status;
    if ((status = old_homes.spread(new_at_home.data(), told.data()))) return status;

    partitioned_mesh fresh = mesh;
    status = together(comm, [&] {
        std::copy(told.begin(), told.end(), loose.node_homes.begin());
        for (std::size_t k = used; k < loose.node_homes.size(); ++k)
            loose.node_homes[k] = {me, slot[k]};
        return put_together(loose, fresh);
    });
    if (status) return status;
    fresh.comm = comm;
    fresh.halo = 0;
    mesh = fresh;
    return 0;
}

} // namespace zel::distributed
