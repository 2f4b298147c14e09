// SPDX-License-Identifier: Apache-2.0
// Values at nodes and elements: from their homes to all copies.
#pragma once

#include "distributed/part.h"

#include <algorithm>

namespace zel::distributed {

/// Gives each node or element of a part the column that its home has. `columns` are those of the own ones in `values`,
/// by slot; `out` gets a column for each of `homes`. Collective; `out` stays as it was if the status is not 0.
template <class T>
int spread_columns(MPI_Comm comm, const dense2D<T>& values, const list<unsigned>& columns,
                   const dense1D<home, 8>& homes, dense2D<T>& out) {
    const std::size_t rows = values.rows;
    list<T> at_home;
    dense2D<T> fresh;
    int status = together(comm, [&] {
        at_home.resize(rows * columns.size());
        for (std::size_t s = 0; s < columns.size(); ++s)
            std::copy_n(values[columns[s]], rows, at_home.data() + s * rows);
        return fresh.resize(rows, homes.size) ? 0 : no_memory;
    });
    if (status) return status;
    star_forest forest;
    if ((status = forest.build(comm, columns.size(), homes.data(), homes.size))) return status;
    if ((status = forest.spread(at_home.data(), fresh.data(), rows))) return status;
    out.swap(fresh);
    return 0;
}

/// The same with the columns of the own ones among `from`, of which `values` has one each.
template <class T>
int spread_columns(MPI_Comm comm, const dense2D<T>& values, const dense1D<home, 8>& from,
                   const dense1D<home, 8>& homes, dense2D<T>& out) {
    list<unsigned> own;
    const int status = together(comm, [&] {
        own = own_entries(from, rank_of(comm));
        return 0;
    });
    return status ? status : spread_columns(comm, values, own, homes, out);
}

} // namespace zel::distributed
