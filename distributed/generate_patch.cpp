// SPDX-License-Identifier: Apache-2.0
// A patch in shares of whole lines of cells. Nodes and elements come line by line in the order of their numbers, so
// the shares are blocks, of which a mesh is made as of any others. Nodes are computed and cells cut by the library's own
// formulas. Shares begin at even lines.
#include "distributed/exchange.h"
#include "distributed/part.h"

#include "foundation/cell_cut.h"
#include "generators/struct_patch.h"
#include "zel/distributed/generators.h"
#include "zel/tessel.h"

#include <petscsys.h>

#include <climits>

namespace zel::distributed {

namespace {

int check_patch(const dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n) {
    const std::size_t size = boundary.size;
    if (pos.rows != 2 && pos.rows != 3) return -2;
    if (size < 5 || boundary[0] != boundary[size - 1] ||
        !tessel::check_IDs(boundary, static_cast<unsigned>(std::min(pos.cols, most_local))))
        return -3;
    if (n == 0 || size % 2 == 0 || std::size_t{2} * n >= size - 1) return -4;
    return 0;
}

// The lines of cells of a rank.
struct lines {
    std::size_t first, end;

    lines(MPI_Comm comm, std::size_t all) {
        const auto ranks = static_cast<std::size_t>(ranks_of(comm));
        const auto me = static_cast<std::size_t>(rank_of(comm));
        const std::size_t pairs = (all + 1) / 2, share = pairs / ranks, more = pairs % ranks;
        const auto begin = [&](std::size_t r) {
            return std::min(all, 2 * (r * share + std::min(r, more)));
        };
        first = begin(me);
        end = begin(me + 1);
    }
};

// The nodes that this rank brings: the present ones on the first rank, and the interior ones of the lines at which
// its cells begin.
int make_nodes(MPI_Comm comm, const tessel2d::struct_patch& patch, const lines& share,
               const dense2D<double>& pos, dense2D<double>& block) {
    const std::size_t present = rank_of(comm) == 0 ? pos.cols : 0;
    const std::size_t first = std::max<std::size_t>(share.first, 1);
    const std::size_t count = share.end > first ? share.end - first : 0;
    if (count * (patch.n - 1) > INT_MAX) return no_memory;
    if (!block.resize(pos.rows, present + count * (patch.n - 1))) return no_memory;
    for (std::size_t k = 0; k < present; ++k) std::copy_n(pos[k], pos.rows, block[k]);
    if (count != 0 && patch.n > 1)
        tessel2d::place_lines(patch, nullptr, pos, first, first + count, block, present);
    return 0;
}

// Cuts the cells of the share: the library says which corners an element has, 0 to 3 for a to d.
template <class Cut>
int make_elements(const tessel2d::struct_patch& patch, const lines& share,
                  dense2D<number>& connect) {
    const std::size_t cells = (share.end - share.first) * patch.n;
    if (cells > INT_MAX / (Cut::columns * Cut::rows) ||
        !connect.resize(Cut::rows, cells * Cut::columns))
        return no_memory;
    number* out = connect.data();
    for (std::size_t i = share.first; i < share.end; ++i)
        for (std::size_t j = 0; j < patch.n; ++j) {
            const number corners[4] = {
                struct_node_number(patch, i, j), struct_node_number(patch, i + 1, j),
                struct_node_number(patch, i + 1, j + 1), struct_node_number(patch, i, j + 1)};
            unsigned places[Cut::columns * Cut::rows];
            Cut::write(places, Cut::rows, (i + j) % 2 == 0, 0, 1, 2, 3);
            for (const unsigned place : places) *out++ = corners[place];
        }
    return 0;
}

// `cut` is called with the patch, the share and the connectivity to be made.
template <class Make>
int mesh_patch(MPI_Comm comm, const dense2D<double>& pos, const dense1D<unsigned, 8>& boundary,
               unsigned n, int pattern, Make&& make, partitioned_mesh& mesh) {
    PetscBool stands = PETSC_FALSE;
    PetscInitialized(&stands);
    if (comm == MPI_COMM_NULL || !stands) return -1;
    int status = check_patch(pos, boundary, n);
    if (!status && (pattern < 0 || pattern > 2)) status = -5;
    if ((status = agree(comm, status))) return status;

    dense2D<double> block;
    dense2D<number> connect;
    status = together(comm, [&] {
        // What is passed on are views: the loop must be contiguous, and starts where it starts.
        const list<unsigned> loop(boundary.begin(), boundary.end());
        const tessel2d::struct_patch patch{loop.data(), (boundary.size - 1) / 2 - n, n, pos.cols};
        const lines share(comm, patch.n1);
        const int failed = make_nodes(comm, patch, share, pos, block);
        return failed ? failed : make(patch, share, connect);
    });
    return status ? status : from_blocks(comm, block, connect, mesh);
}

} // namespace

int mesh_struct_Q4(MPI_Comm comm, const dense2D<double>& pos, const dense1D<unsigned, 8>& boundary,
                   unsigned n, partitioned_mesh& mesh) {
    const auto make = [](const auto& patch, const lines& share, dense2D<number>& connect) {
        return make_elements<tessel2d::whole_cell>(patch, share, connect);
    };
    return mesh_patch(comm, pos, boundary, n, 0, make, mesh);
}

int mesh_struct_T3(MPI_Comm comm, const dense2D<double>& pos, const dense1D<unsigned, 8>& boundary,
                   unsigned n, int pattern, partitioned_mesh& mesh) {
    const auto make = [&](const auto& patch, const lines& share, dense2D<number>& connect) {
        int status = 0;
        tessel2d::with_halves<3>(pattern, [&](auto cut) {
            status = make_elements<decltype(cut)>(patch, share, connect);
        });
        return status;
    };
    return mesh_patch(comm, pos, boundary, n, pattern, make, mesh);
}

} // namespace zel::distributed
