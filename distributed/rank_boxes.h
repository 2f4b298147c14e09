// SPDX-License-Identifier: Apache-2.0
// Which ranks hold something near a point: each rank tells all others a few boxes around what it has.
#pragma once

#include "distributed/box_tree.h"
#include "distributed/collective.h"

#include <mpi.h>

namespace zel::distributed {

/// The boxes of all ranks in a tree; `rank_of_box` says whose each is.
template <int Dim>
struct rank_boxes {
    box_tree<Dim> tree;
    list<int> rank_of_box;

    /// Gathers at most 16 boxes around those of `mine` from each rank. `widen(box)` changes each before it enters
    /// the tree. Collective; the status is the same on all ranks.
    template <class Widen>
    int gather(MPI_Comm comm, const box_tree<Dim>& mine, Widen&& widen) {
        list<share> all;
        share here;
        int status = together(comm, [&] {
            all.resize(static_cast<std::size_t>(ranks_of(comm)));
            for (const box<Dim>& b : mine.cover(depth)) here.boxes[here.count++] = b;
            return 0;
        });
        if (status) return status;
        const int bytes = static_cast<int>(sizeof here);
        const int code = MPI_Allgather(&here, bytes, MPI_BYTE, all.data(), bytes, MPI_BYTE, comm);
        return together(comm, [&] {
            if (code != MPI_SUCCESS) return engine_failed;
            list<box<Dim>> boxes;
            for (std::size_t r = 0; r < all.size(); ++r)
                for (std::size_t k = 0; k < all[r].count; ++k) {
                    boxes.push_back(all[r].boxes[k]);
                    widen(boxes.back());
                    rank_of_box.push_back(static_cast<int>(r));
                }
            tree.build(boxes);
            return 0;
        });
    }

    static constexpr unsigned depth = 4; ///< levels of a tree that are told to others

private:
    struct share {
        std::size_t count = 0;
        box<Dim> boxes[std::size_t{1} << depth];
    };
};

/// Ranks, each once, in ascending order.
inline void keep_distinct(list<int>& ranks) {
    std::sort(ranks.begin(), ranks.end());
    ranks.erase(std::unique(ranks.begin(), ranks.end()), ranks.end());
}

} // namespace zel::distributed
