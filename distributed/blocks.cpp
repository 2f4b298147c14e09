// SPDX-License-Identifier: Apache-2.0
#include "distributed/blocks.h"

#include <algorithm>
#include <climits>

namespace zel::distributed {

namespace {

void add_words(outbox<number>& out, int rank, const number* words, std::size_t n) {
    const auto* const first = reinterpret_cast<const unsigned char*>(words);
    auto& bytes = out.to[static_cast<std::size_t>(rank)];
    bytes.insert(bytes.end(), first, first + n * sizeof(number));
}

} // namespace

int into_blocks(MPI_Comm comm, const list<number>& numbers, const word_columns& columns,
                number total, word_columns& block) {
    const equal_blocks blocks(comm, total);
    const std::size_t width = columns.width;
    const int me = rank_of(comm);
    outbox<number> out(0);
    int status = together(comm, [&] {
        out = outbox<number>(static_cast<int>(blocks.ranks));
        for (std::size_t k = 0; k < numbers.size(); ++k) {
            const int to = blocks.home_of(numbers[k]).rank;
            out.add(to, numbers[k]);
            add_words(out, to, columns.words.data() + k * width, width);
        }
        return 0;
    });
    if (status) return status;
    inbox<number> came;
    if ((status = deliver(comm, out, came))) return status;
    return together(comm, [&] {
        block.width = width;
        block.words.resize(blocks.length(me) * width);
        const number first = blocks.first(me);
        for (std::size_t k = 0; k < came.records.size(); k += width + 1)
            std::copy_n(came.records.data() + k + 1, width,
                        block.words.data() + (came.records[k] - first) * width);
        return 0;
    });
}

int out_of_blocks(MPI_Comm comm, const list<number>& block, const dense1D<number, 8>& numbers,
                  number total, dense2D<double>& out) {
    const equal_blocks blocks(comm, total);
    const std::size_t width = out.rows;
    list<home> homes;
    dense2D<double> fresh;
    int status = together(comm, [&] {
        if (width * sizeof(number) > INT_MAX) return no_memory;
        homes.reserve(numbers.size);
        for (const number k : numbers) homes.push_back(blocks.home_of(k));
        return fresh.resize(width, numbers.size) ? 0 : no_memory;
    });
    if (status) return status;
    star_forest forest;
    status = forest.build(comm, blocks.length(rank_of(comm)), homes.data(), homes.size());
    if (status) return status;
    if ((status = forest.spread(block.data(), reinterpret_cast<number*>(fresh.data()), width)))
        return status;
    out.swap(fresh);
    return 0;
}

} // namespace zel::distributed
