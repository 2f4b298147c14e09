// SPDX-License-Identifier: Apache-2.0
// Each node is in the charge of the lowest rank that has an element of its own there. Whose a node becomes is
// found where the node has been: its users tell their ranks, the lowest one is told to all, and the new owner
// numbers what it owns and tells that in the same way.
#include "distributed/part.h"

#include "distributed/numbers.h"

#include <algorithm>
#include <climits>
#include <numeric>

namespace zel::distributed {

namespace {

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
    const number_index place(mesh.node_numbers.data(), nodes);
    for (std::size_t k = 0; k < elements; ++k) {
        const number* const from = loose.corners.data() + element_order[k] * loose.rows;
        for (std::size_t i = 0; i < loose.rows; ++i)
            connect(i, k) = from[i] == no_number ? no_node : place(from[i]);
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
    numbers = distinct(corners);
    homes.resize(numbers.size());
    const number_index place(numbers.data(), numbers.size());
    for (std::size_t k = 0; k < corners.size(); ++k)
        if (corners[k] != no_number) homes[place(corners[k])] = corner_homes[k];
}

int with_halo(const partitioned_mesh& mesh, unsigned layers, partitioned_mesh& wide) {
    wide = mesh;
    return mesh.halo >= layers ? 0 : grow_halo(wide, layers - mesh.halo);
}

namespace {

// Where nodes have been: those in the slots of this rank.
struct old_nodes {
    const list<number>& numbers;
    const dense2D<double>& pos;
    const list<unsigned>& columns;

    // Their coordinates end to end; `copy` holds them if they do not lie so.
    const double* coordinates(list<double>& copy) const {
        bool in_order = pos.contiguous() && columns.size() <= pos.cols;
        for (std::size_t k = 0; in_order && k < columns.size(); ++k) in_order = columns[k] == k;
        if (in_order) return pos.data();
        copy.resize(columns.size() * pos.rows);
        for (std::size_t k = 0; k < columns.size(); ++k)
            std::copy_n(pos[columns[k]], pos.rows, copy.data() + k * pos.rows);
        return copy.data();
    }
};

constexpr int nobody = INT_MAX;

// The lowest rank that uses each node, for the nodes used here and for those that have been here.
int find_owners(MPI_Comm comm, const star_forest& homes, std::size_t used, std::size_t kept,
                list<int>& owner, list<int>& owner_at_home) {
    list<int> users;
    int status = together(comm, [&] {
        users.assign(used, rank_of(comm));
        owner.reserve(used + kept); // those that stay join them
        owner.resize(used);
        owner_at_home.assign(kept, nobody);
        return 0;
    });
    if (status) return status;
    if ((status = homes.smallest(users.data(), owner_at_home.data()))) return status;
    return homes.spread(owner_at_home.data(), owner.data());
}

int fetch_coordinates(MPI_Comm comm, const star_forest& homes, const old_nodes& old,
                      loose_part& loose) {
    list<double> copy;
    const double* at_home = nullptr;
    const int status = together(comm, [&] {
        at_home = old.coordinates(copy);
        loose.coordinates.resize(loose.node_numbers.size() * loose.dimension);
        return 0;
    });
    return status ? status : homes.spread(at_home, loose.coordinates.data(), loose.dimension);
}

// Adds the nodes that nobody uses: they stay.
void keep_unused(const old_nodes& old, const list<int>& owner_at_home, int me, loose_part& loose,
                 list<int>& owner) {
    for (std::size_t k = 0; k < old.numbers.size(); ++k) {
        if (owner_at_home[k] != nobody) continue;
        const double* const at = old.pos[old.columns[k]];
        loose.node_numbers.push_back(old.numbers[k]);
        loose.coordinates.insert(loose.coordinates.end(), at, at + loose.dimension);
        owner.push_back(me);
    }
}

// Slots of the own nodes, which ascend with their numbers; 0 for the others.
list<unsigned> find_slots(const loose_part& loose, const list<int>& owner, int me) {
    list<number> owned;
    for (std::size_t k = 0; k < owner.size(); ++k)
        if (owner[k] == me) owned.push_back(loose.node_numbers[k]);
    std::sort(owned.begin(), owned.end());
    const number_index place(owned.data(), owned.size());
    list<unsigned> slot(owner.size(), 0);
    for (std::size_t k = 0; k < owner.size(); ++k)
        if (owner[k] == me) slot[k] = place(loose.node_numbers[k]);
    return slot;
}

// The owner tells where a node is now, by way of where it has been.
int find_homes(MPI_Comm comm, const star_forest& old_homes, std::size_t kept,
               const list<home>& been, const list<int>& owner, const list<unsigned>& slot,
               loose_part& loose) {
    const int me = rank_of(comm);
    list<home> owned_at, now, at_home;
    int status = together(comm, [&] {
        for (std::size_t k = 0; k < been.size(); ++k)
            if (owner[k] == me) {
                owned_at.push_back(been[k]);
                now.push_back({me, slot[k]});
            }
        at_home.resize(kept);
        loose.node_homes.resize(loose.node_numbers.size());
        return 0;
    });
    if (status) return status;
    star_forest owners;
    if ((status = owners.build(comm, kept, owned_at.data(), owned_at.size()))) return status;
    if ((status = owners.collect(now.data(), at_home.data()))) return status;
    if ((status = old_homes.spread(at_home.data(), loose.node_homes.data()))) return status;
    for (std::size_t k = been.size(); k < slot.size(); ++k) loose.node_homes[k] = {me, slot[k]};
    return 0;
}

} // namespace

int settle(MPI_Comm comm, std::size_t rows, list<number>& corners, list<number>& element_numbers,
           list<number>& node_numbers, const list<home>& node_homes,
           const list<number>& old_numbers, const dense2D<double>& old_pos,
           const list<unsigned>& old_columns, partitioned_mesh& mesh) {
    const int me = rank_of(comm);
    const std::size_t used = node_numbers.size(), kept = old_numbers.size();
    const old_nodes old{old_numbers, old_pos, old_columns};
    star_forest old_homes;
    int status = old_homes.build(comm, kept, node_homes.data(), used);
    if (status) return status;
    list<int> owner, owner_at_home;
    if ((status = find_owners(comm, old_homes, used, kept, owner, owner_at_home))) return status;

    loose_part loose;
    loose.rows = rows;
    loose.dimension = old_pos.rows;
    loose.corners.swap(corners);
    loose.element_numbers.swap(element_numbers);
    loose.node_numbers.swap(node_numbers);
    if ((status = fetch_coordinates(comm, old_homes, old, loose))) return status;
    list<unsigned> slot;
    status = together(comm, [&] {
        loose.element_homes.resize(loose.element_numbers.size());
        for (std::size_t e = 0; e < loose.element_homes.size(); ++e)
            loose.element_homes[e] = {me, static_cast<unsigned>(e)};
        keep_unused(old, owner_at_home, me, loose, owner);
        slot = find_slots(loose, owner, me);
        return 0;
    });
    if (status) return status;
    if ((status = find_homes(comm, old_homes, kept, node_homes, owner, slot, loose))) return status;

    partitioned_mesh fresh = mesh;
    if ((status = together(comm, [&] { return put_together(loose, fresh); }))) return status;
    fresh.comm = comm;
    fresh.halo = 0;
    mesh = fresh;
    return 0;
}

} // namespace zel::distributed
