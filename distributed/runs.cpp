// SPDX-License-Identifier: Apache-2.0
// Rank r keeps the books for the r-th block of global numbers. Each rank breaks its items into runs of
// consecutive numbers within one block and sends the sum of each run to who keeps the books there; these sort
// the runs, add up, and send back what stands in front of each.
#include "distributed/runs.h"

#include "distributed/exchange.h"

#include <algorithm>

namespace zel::distributed {

namespace {

struct run {
    number first;
    number sum;
};

// Breaks items into runs; calls visit(first item, behind the last item, block).
template <class Visit>
void for_each_run(const list<number>& numbers, number per_block, Visit&& visit) {
    for (std::size_t k = 0; k < numbers.size();) {
        const number block = numbers[k] / per_block;
        std::size_t end = k + 1;
        while (end < numbers.size() && numbers[end] == numbers[end - 1] + 1 &&
               numbers[end] / per_block == block)
            ++end;
        visit(k, end, block);
        k = end;
    }
}

// What stands in front of each run of an inbox, within the block; returns the sum of the block.
number add_up(const inbox<run>& came, list<number>& front) {
    list<unsigned> order(came.records.size());
    for (std::size_t k = 0; k < order.size(); ++k) order[k] = static_cast<unsigned>(k);
    std::sort(order.begin(), order.end(), [&](unsigned a, unsigned b) {
        return came.records[a].first < came.records[b].first;
    });
    front.resize(order.size());
    number sum = 0;
    for (const unsigned k : order) {
        front[k] = sum;
        sum += came.records[k].sum;
    }
    return sum;
}

} // namespace

int sum_in_front(MPI_Comm comm, const list<number>& numbers, const list<number>& counts,
                 number total, sums_in_front& sums) {
    const auto all = static_cast<number>(ranks_of(comm));
    const number per_block = total / all + 1;
    outbox<run> out(0);
    int status = together(comm, [&] {
        out = outbox<run>(static_cast<int>(all));
        sums.front.resize(numbers.size());
        for_each_run(numbers, per_block, [&](std::size_t k, std::size_t end, number block) {
            run r{numbers[k], 0};
            for (; k < end; ++k) r.sum += counts[k];
            out.add(static_cast<int>(block), r);
        });
        return 0;
    });
    if (status) return status;
    inbox<run> came;
    if ((status = deliver(comm, out, came))) return status;

    list<number> front;
    number mine = 0, before = 0;
    status = together(comm, [&] {
        mine = add_up(came, front);
        return 0;
    });
    if (status) return status;
    int code = MPI_Exscan(&mine, &before, 1, MPI_UINT64_T, MPI_SUM, comm);
    if (rank_of(comm) == 0) before = 0; // undefined there
    if (code == MPI_SUCCESS) code = MPI_Allreduce(&mine, &sums.all, 1, MPI_UINT64_T, MPI_SUM, comm);
    if ((status = agree(comm, code == MPI_SUCCESS ? 0 : engine_failed))) return status;

    outbox<number> back(0);
    status = together(comm, [&] {
        back = outbox<number>(static_cast<int>(all));
        for (std::size_t k = 0; k < came.from.size(); ++k)
            for (std::size_t i = came.starts[k]; i < came.starts[k + 1]; ++i)
                back.add(came.from[k], before + front[i]);
        return 0;
    });
    if (status) return status;
    inbox<number> answers;
    if ((status = deliver(comm, back, answers))) return status;

    // Answers come in the order of the ranks, that is of the blocks, in which the runs are as well.
    std::size_t answer = 0;
    for_each_run(numbers, per_block, [&](std::size_t k, std::size_t end, number) {
        number sum = answers.records[answer++];
        for (; k < end; ++k) {
            sums.front[k] = sum;
            sum += counts[k];
        }
    });
    return 0;
}

} // namespace zel::distributed
