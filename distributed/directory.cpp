// SPDX-License-Identifier: Apache-2.0
#include "distributed/directory.h"

#include <algorithm>

namespace zel::distributed {

int directory::build(const partitioned_mesh& mesh) {
    const int me = rank_of(mesh.comm), all = ranks_of(mesh.comm);
    per_block = mesh.nodes / static_cast<number>(all) + 1;
    outbox<run> out(0);
    const int status = together(mesh.comm, [&] {
        out = outbox<run>(all);
        const auto own = [&](std::size_t k) { return mesh.node_homes[k].rank == me; };
        for (std::size_t k = 0; k < mesh.node_numbers.size;) {
            const number first = mesh.node_numbers[k];
            std::size_t end = k + 1;
            while (end < mesh.node_numbers.size && mesh.node_numbers[end] == first + (end - k) &&
                   own(end) == own(k) && keeper(mesh.node_numbers[end]) == keeper(first)) {
                ++end;
            }
            out.add(keeper(first), {first, end - k, mesh.node_homes[k].slot, own(k)});
            k = end;
        }
        return 0;
    });
    return status ? status : deliver(mesh.comm, out, entries);
}

const directory::run* directory::find(std::size_t from, number node) const {
    const run* const first = entries.records.data() + entries.starts[from];
    const run* const last = entries.records.data() + entries.starts[from + 1];
    const run* const behind =
        std::upper_bound(first, last, node, [](number n, const run& r) { return n < r.first; });
    if (behind == first) return nullptr;
    const run* const at = behind - 1;
    return node - at->first < at->count ? at : nullptr;
}

int directory::find_homes(MPI_Comm comm, const list<number>& nodes, list<home>& homes) const {
    const int all = ranks_of(comm);
    outbox<number> questions(0);
    int status = together(comm, [&] {
        questions = outbox<number>(all);
        for (const number node : nodes) questions.add(keeper(node), node);
        return 0;
    });
    if (status) return status;
    inbox<number> asked;
    if ((status = deliver(comm, questions, asked))) return status;

    outbox<home> back(0);
    status = together(comm, [&] {
        back = outbox<home>(all);
        for (std::size_t asker = 0; asker < asked.from.size(); ++asker)
            for (std::size_t i = asked.starts[asker]; i < asked.starts[asker + 1]; ++i)
                for (std::size_t k = 0; k < entries.from.size(); ++k) {
                    const run* const at = find(k, asked.records[i]);
                    if (!at || !at->own) continue;
                    const auto slot =
                        at->slot + static_cast<unsigned>(asked.records[i] - at->first);
                    back.add(asked.from[asker], {entries.from[k], slot});
                    break;
                }
        return 0;
    });
    if (status) return status;
    inbox<home> answers;
    if ((status = deliver(comm, back, answers))) return status;
    return together(comm, [&] {
        // The answers of a keeper are in the order of the questions to it.
        list<std::size_t> next(static_cast<std::size_t>(all), 0);
        for (std::size_t k = 0; k < answers.from.size(); ++k)
            next[static_cast<std::size_t>(answers.from[k])] = answers.starts[k];
        homes.clear();
        for (const number node : nodes)
            homes.push_back(answers.records[next[static_cast<std::size_t>(keeper(node))]++]);
        return 0;
    });
}

} // namespace zel::distributed
