// SPDX-License-Identifier: Apache-2.0
// What travels between ranks: records to ranks that do not expect them, and values between a home and its
// copies. Everything is counted.
#pragma once

#include "distributed/collective.h"
#include "distributed/list.h"

#include "zel/distributed/mesh.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

// PETSc's own name, so that its headers stay in one source.
// NOLINTNEXTLINE(readability-identifier-naming)
using PetscSF = struct _p_PetscSF*;

namespace zel::distributed {

/// Sends `bytes[r]` to each rank r whose list is not empty; `from` lists the ranks that something came from,
/// ascending, and `received` what it was. Collective. Returns a status that all ranks share.
int exchange_bytes(MPI_Comm comm, const list<list<unsigned char>>& bytes, list<int>& from,
                   list<list<unsigned char>>& received);

/// Records on their way: `to[r]` is what rank r gets.
template <class Record>
struct outbox {
    static_assert(std::is_trivially_copyable_v<Record>);
    list<list<unsigned char>> to;

    explicit outbox(int ranks) : to(static_cast<std::size_t>(ranks)) {}
    void add(int rank, const Record& record) {
        const auto* const first = reinterpret_cast<const unsigned char*>(&record);
        auto& bytes = to[static_cast<std::size_t>(rank)];
        bytes.insert(bytes.end(), first, first + sizeof(Record));
    }
};

/// Records that have come: those of rank `from[k]` are `records` [starts[k], starts[k + 1]).
template <class Record>
struct inbox {
    list<int> from;
    list<std::size_t> starts;
    list<Record> records;
};

/// Delivers an outbox. Collective; the status is the same on all ranks.
template <class Record>
int deliver(MPI_Comm comm, const outbox<Record>& out, inbox<Record>& in);

/// Values at homes and their copies on other ranks: a star forest of PETSc.
class star_forest {
public:
    star_forest() = default;
    star_forest(const star_forest&) = delete;
    star_forest& operator=(const star_forest&) = delete;
    ~star_forest();

    /// `slots` values have their home here; copy k on this rank is that of `homes[k]`. Collective.
    int build(MPI_Comm all_ranks, std::size_t slots, const home* homes, std::size_t copies);

    /// Gives each copy the value at its home.
    template <class T>
    int spread(const T* at_home, T* copies, std::size_t width = 1) const {
        return spread_bytes(at_home, copies, width * sizeof(T));
    }
    /// Leaves at each home the smallest of its value and those of its copies.
    int smallest(const int* copies, int* at_home) const;
    /// Leaves at each home the value of one of its copies, which are equal or of which only one is wanted:
    /// where `homes` was built with no other.
    template <class T>
    int collect(const T* copies, T* at_home, std::size_t width = 1) const {
        return collect_bytes(copies, at_home, width * sizeof(T));
    }

private:
    int spread_bytes(const void* at_home, void* copies, std::size_t bytes) const;
    int collect_bytes(const void* copies, void* at_home, std::size_t bytes) const;
    PetscSF forest = nullptr;
    MPI_Comm comm = MPI_COMM_NULL;
    std::uint64_t away = 0;  ///< copies here of homes elsewhere
    std::uint64_t ranks = 0; ///< that these homes lie on
};

template <class Record>
int deliver(MPI_Comm comm, const outbox<Record>& out, inbox<Record>& in) {
    list<list<unsigned char>> received;
    if (const int status = exchange_bytes(comm, out.to, in.from, received)) return status;
    return together(comm, [&] {
        std::size_t all = 0;
        in.starts.assign(1, 0);
        for (const auto& bytes : received)
            in.starts.push_back(all += bytes.size() / sizeof(Record));
        in.records.resize(all);
        for (std::size_t k = 0; k < received.size(); ++k)
            if (!received[k].empty())
                std::memcpy(in.records.data() + in.starts[k], received[k].data(),
                            received[k].size());
        return 0;
    });
}

} // namespace zel::distributed
