// SPDX-License-Identifier: Apache-2.0
// Elements cut or turned over: each rank does so with its own ones, and a prefix sum in the order of the old
// elements gives the numbers of the new ones.
#include "distributed/elements.h"

#include "distributed/part.h"
#include "distributed/runs.h"

#include "zel/distributed/conversion.h"
#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/orientation.h"

#include <algorithm>
#include <numeric>

namespace zel::distributed {

namespace {

bool has_rows(const partitioned_mesh& mesh, std::size_t one, std::size_t other) {
    return mesh.comm != MPI_COMM_NULL && (mesh.connect.rows == one || mesh.connect.rows == other);
}

// The numbers of the own elements, in the order of slots; a part without halo has no others.
list<number> own_numbers(const partitioned_mesh& mesh) {
    return list<number>(mesh.element_numbers.begin(), mesh.element_numbers.end());
}

list<number> numbers_of_pieces(const list<number>& front, const list<number>& counts) {
    list<number> numbers;
    for (std::size_t e = 0; e < front.size(); ++e)
        for (number k = 0; k < counts[e]; ++k) numbers.push_back(front[e] + k);
    return numbers;
}

// Puts `pieces`, so many as `counts` says for each own element, in the place of these.
int replace_by_pieces(const dense2D<unsigned>& pieces, const list<number>& counts,
                      partitioned_mesh& mesh) {
    sums_in_front sums;
    list<number> old;
    int status = together(mesh.comm, [&] {
        old = own_numbers(mesh);
        return 0;
    });
    if (status) return status;
    if ((status = sum_in_front(mesh.comm, old, counts, mesh.elements, sums))) return status;
    return together(mesh.comm, [&] {
        return replace_elements(pieces, numbers_of_pieces(sums.front, counts), sums.all, mesh);
    });
}

int sum_over_ranks(MPI_Comm comm, number mine, number& all) {
    const int code = MPI_Allreduce(&mine, &all, 1, MPI_UINT64_T, MPI_SUM, comm);
    return agree(comm, code == MPI_SUCCESS ? 0 : engine_failed);
}

} // namespace

int replace_elements(const dense2D<unsigned>& connect, const list<number>& numbers, number total,
                     partitioned_mesh& mesh) {
    if (numbers.size() > most_local) return no_memory;
    list<unsigned> order(numbers.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(),
              [&](unsigned a, unsigned b) { return numbers[a] < numbers[b]; });
    dense2D<unsigned> columns;
    dense1D<number, 8> element_numbers;
    dense1D<home, 8> homes;
    if (!columns.resize(connect.rows, order.size()) || !element_numbers.resize(order.size()) ||
        !homes.resize(order.size())) {
        return no_memory;
    }
    const int me = rank_of(mesh.comm);
    for (std::size_t k = 0; k < order.size(); ++k) {
        std::copy_n(connect[order[k]], connect.rows, columns[k]);
        element_numbers[k] = numbers[order[k]];
        homes[k] = {me, static_cast<unsigned>(k)};
    }
    mesh.connect.swap(columns);
    mesh.element_numbers.swap(element_numbers);
    mesh.element_homes.swap(homes);
    mesh.elements = total;
    return 0;
}

int convert_into_linear(partitioned_mesh& mesh) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    const std::size_t rows = mesh.connect.rows;
    if (rows != 6 && rows != 8 && rows != 9) return mesh.elements == 0 ? 0 : -1;
    partitioned_mesh lowered = mesh;
    const int status = together(mesh.comm, [&] {
        dense2D<unsigned> connect;
        if (!connect.copy(mesh.connect)) return no_memory;
        if (connect.cols != 0) tessel2d::convert_into_linear(connect);
        lowered.connect.swap(connect);
        lowered.connect.rows = rows == 6 ? 3 : 4; // of an empty matrix too
        return 0;
    });
    if (status) return status;
    if (const int failed = drop_halo(lowered)) return failed;
    mesh = lowered;
    return 0;
}

int split_into_linear(partitioned_mesh& mesh) {
    if (!has_rows(mesh, 6, 9)) return mesh.comm != MPI_COMM_NULL && mesh.elements == 0 ? 0 : -1;
    partitioned_mesh own = mesh;
    if (const int status = drop_halo(own)) return status;
    dense2D<unsigned> pieces;
    list<number> counts;
    int status = together(mesh.comm, [&] {
        counts.assign(own.connect.cols, 4);
        const int failed =
            own.connect.cols == 0 ? 0 : tessel2d::split_into_linear(own.connect, pieces);
        pieces.rows = mesh.connect.rows == 6 ? 3 : 4;
        return failed;
    });
    if (status) return status;
    if ((status = replace_by_pieces(pieces, counts, own))) return status;
    mesh = own;
    return 0;
}

int split_Q4_into_T3(partitioned_mesh& mesh, diagonal by, number& cut) {
    if (!has_rows(mesh, 3, 4)) return mesh.comm != MPI_COMM_NULL && mesh.elements == 0 ? 0 : -1;
    partitioned_mesh own = mesh;
    if (const int status = drop_halo(own)) return status;
    dense2D<unsigned> pieces;
    list<number> counts;
    number mine = 0, all = 0;
    int status = together(mesh.comm, [&] {
        for (std::size_t e = 0; e < own.connect.cols; ++e)
            counts.push_back(own.connect.rows == 4 && own.connect(3, e) != no_node ? 2 : 1);
        const int result = own.connect.cols == 0 ? 0
                           : by == diagonal::first
                               ? tessel2d::split_Q4_into_T3(own.connect, pieces)
                               : tessel2d::split_Q4_into_T3(own.pos, own.connect, pieces);
        pieces.rows = 3;
        mine = static_cast<number>(std::max(result, 0));
        return result == no_memory ? no_memory : result < 0 ? -1 : 0;
    });
    if (status) return status;
    if ((status = sum_over_ranks(mesh.comm, mine, all))) return status;
    if ((status = replace_by_pieces(pieces, counts, own))) return status;
    mesh = own;
    cut = all;
    return 0;
}

int split_Q4_into_T3(partitioned_mesh& mesh, double min_quality, double min_angle_quality,
                     double min_warp_quality, int criterion, number& cut) {
    if (!has_rows(mesh, 4, 4)) return mesh.comm != MPI_COMM_NULL && mesh.elements == 0 ? 0 : -1;
    partitioned_mesh own = mesh;
    if (const int status = drop_halo(own)) return status;
    dense2D<unsigned> pieces;
    dense1D<unsigned, 8> kept, split;
    list<number> old, keeps, splits;
    int status = together(mesh.comm, [&] {
        const int result =
            own.connect.cols == 0
                ? 0
                : tessel2d::split_Q4_into_T3(own.pos, own.connect, min_quality, min_angle_quality,
                                             min_warp_quality, criterion, kept, split, pieces);
        pieces.rows = 4;
        old = own_numbers(own);
        keeps.assign(own.connect.cols, 0);
        splits.assign(own.connect.cols, 0);
        for (const unsigned e : kept) keeps[e] = 1;
        for (const unsigned e : split) splits[e] = 2;
        return result == no_memory ? no_memory : result < 0 ? -1 : 0;
    });
    if (status) return status;
    sums_in_front before_kept, before_split;
    if ((status = sum_in_front(mesh.comm, old, keeps, mesh.elements, before_kept))) return status;
    if ((status = sum_in_front(mesh.comm, old, splits, mesh.elements, before_split))) return status;
    status = together(mesh.comm, [&] {
        list<number> numbers;
        for (const unsigned e : kept) numbers.push_back(before_kept.front[e]);
        for (const unsigned e : split)
            for (number k = 0; k < 2; ++k)
                numbers.push_back(before_kept.all + before_split.front[e] + k);
        return replace_elements(pieces, numbers, before_kept.all + before_split.all, own);
    });
    if (status) return status;
    mesh = own;
    cut = before_split.all / 2;
    return 0;
}

int flip(partitioned_mesh& mesh, element_type type) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    dense2D<unsigned> connect;
    const int status = together(mesh.comm, [&] {
        if (!connect.copy(mesh.connect)) return no_memory;
        return tessel2d::flip(connect, type);
    });
    if (status == 0) mesh.connect.swap(connect);
    return status;
}

} // namespace zel::distributed
