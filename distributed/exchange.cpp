// SPDX-License-Identifier: Apache-2.0
// PetscCommBuildTwoSided tells each rank who sends it how much; the records follow from rank to rank in pieces
// that MPI's counts of 32 bits can express. A star forest is a PetscSF.
#include "distributed/exchange.h"

#include "distributed/collective.h"
#include "distributed/petsc.h"

#include <petscsf.h>
#include <petscsys.h>

#include <algorithm>
#include <climits>
#include <numeric>

namespace zel::distributed {

namespace {

traffic sent{0, 0};

constexpr std::size_t piece = std::size_t{1} << 30;
constexpr int tag = 7051;

std::size_t pieces_of(std::uint64_t bytes) {
    return static_cast<std::size_t>((bytes + piece - 1) / piece);
}

// Starts one request for each piece of a block.
template <class Start>
void for_pieces(unsigned char* data, std::uint64_t bytes, Start&& start) {
    for (std::uint64_t done = 0; done < bytes; done += piece)
        start(data + done, static_cast<int>(std::min<std::uint64_t>(piece, bytes - done)));
}

// A type of `bytes` bytes that PetscSF moves as one unit.
struct unit {
    MPI_Datatype type = MPI_DATATYPE_NULL;
    explicit unit(std::size_t bytes) {
        MPI_Type_contiguous(static_cast<int>(bytes), MPI_BYTE, &type);
        MPI_Type_commit(&type);
    }
    ~unit() { MPI_Type_free(&type); }
    unit(const unit&) = delete;
    unit& operator=(const unit&) = delete;
};

} // namespace

traffic traffic_so_far() {
    return sent;
}

void reset_traffic() {
    sent = {0, 0};
}

int exchange_bytes(MPI_Comm comm, const list<list<unsigned char>>& bytes, list<int>& from,
                   list<list<unsigned char>>& received) {
    list<PetscMPIInt> to;
    list<std::uint64_t> lengths;
    list<MPI_Request> requests;
    int status = together(comm, [&] {
        for (std::size_t r = 0; r < bytes.size(); ++r)
            if (!bytes[r].empty()) {
                to.push_back(static_cast<PetscMPIInt>(r));
                lengths.push_back(bytes[r].size());
            }
        return 0;
    });
    if (status) return status;

    PetscMPIInt senders = 0;
    PetscMPIInt* sender = nullptr;
    std::uint64_t* length = nullptr;
    const quiet petsc;
    status = agree(comm, status_of(PetscCommBuildTwoSided(
                             comm, 1, MPI_UINT64_T, static_cast<PetscMPIInt>(to.size()), to.data(),
                             lengths.data(), &senders, &sender, static_cast<void*>(&length))));
    if (status) return status;

    status = together(comm, [&] {
        const auto n = static_cast<std::size_t>(senders);
        list<std::size_t> order(n);
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::sort(order.begin(), order.end(),
                  [&](std::size_t a, std::size_t b) { return sender[a] < sender[b]; });
        from.clear();
        received.clear();
        received.resize(n);
        std::size_t count = 0;
        for (std::size_t k = 0; k < n; ++k) {
            from.push_back(sender[order[k]]);
            received[k].resize(length[order[k]]);
            count += pieces_of(length[order[k]]);
        }
        for (const std::uint64_t bytes_out : lengths) count += pieces_of(bytes_out);
        requests.reserve(count);
        return 0;
    });
    PetscFree(sender);
    PetscFree(length);
    if (status) return status;

    // Nothing is allocated from here on.
    int failed = MPI_SUCCESS;
    const auto keep = [&](int code, MPI_Request request) {
        if (code == MPI_SUCCESS)
            requests.push_back(request);
        else
            failed = code;
    };
    for (std::size_t k = 0; k < from.size(); ++k)
        for_pieces(received[k].data(), received[k].size(), [&](unsigned char* data, int n) {
            MPI_Request request = MPI_REQUEST_NULL;
            const int code = MPI_Irecv(data, n, MPI_BYTE, from[k], tag, comm, &request);
            keep(code, request);
        });
    const int me = rank_of(comm);
    for (std::size_t k = 0; k < to.size(); ++k) {
        const auto& out = bytes[static_cast<std::size_t>(to[k])];
        for_pieces(const_cast<unsigned char*>(out.data()), out.size(),
                   [&](unsigned char* data, int n) {
                       MPI_Request request = MPI_REQUEST_NULL;
                       const int code = MPI_Isend(data, n, MPI_BYTE, to[k], tag, comm, &request);
                       keep(code, request);
                   });
        if (to[k] == me) continue;
        sent.messages += pieces_of(lengths[k]);
        sent.bytes += lengths[k];
    }
    for (MPI_Request& request : requests) {
        const int code = MPI_Wait(&request, MPI_STATUS_IGNORE);
        if (code != MPI_SUCCESS) failed = code;
    }
    return agree(comm, failed == MPI_SUCCESS ? 0 : engine_failed);
}

star_forest::~star_forest() {
    if (forest) PetscSFDestroy(&forest);
}

int star_forest::build(MPI_Comm all_ranks, std::size_t slots, const home* homes,
                       std::size_t copies) {
    comm = all_ranks;
    const quiet petsc;
    list<PetscSFNode> remote;
    const int me = rank_of(comm);
    int status = together(comm, [&] {
        if (copies > INT_MAX || slots > INT_MAX) return no_memory;
        remote.resize(copies);
        list<bool> seen(static_cast<std::size_t>(ranks_of(comm)), false);
        away = ranks = 0;
        for (std::size_t k = 0; k < copies; ++k) {
            remote[k].rank = homes[k].rank;
            remote[k].index = static_cast<PetscInt>(homes[k].slot);
            if (homes[k].rank == me) continue;
            ++away;
            if (!seen[static_cast<std::size_t>(homes[k].rank)]) ++ranks;
            seen[static_cast<std::size_t>(homes[k].rank)] = true;
        }
        return 0;
    });
    if (status) return status;
    PetscErrorCode code = PetscSFCreate(comm, &forest);
    if (!code)
        code = PetscSFSetGraph(forest, static_cast<PetscInt>(slots), static_cast<PetscInt>(copies),
                               nullptr, PETSC_USE_POINTER, remote.data(), PETSC_COPY_VALUES);
    if (!code) code = PetscSFSetUp(forest);
    return agree(comm, status_of(code));
}

int star_forest::spread_bytes(const void* at_home, void* copies, std::size_t bytes) const {
    const quiet petsc;
    const unit whole(bytes);
    PetscErrorCode code = PetscSFBcastBegin(forest, whole.type, at_home, copies, MPI_REPLACE);
    if (!code) code = PetscSFBcastEnd(forest, whole.type, at_home, copies, MPI_REPLACE);
    sent.messages += ranks; // counted where they come in: as many as go out elsewhere
    sent.bytes += away * bytes;
    return agree(comm, status_of(code));
}

int star_forest::collect_bytes(const void* copies, void* at_home, std::size_t bytes) const {
    const quiet petsc;
    const unit whole(bytes);
    PetscErrorCode code = PetscSFReduceBegin(forest, whole.type, copies, at_home, MPI_REPLACE);
    if (!code) code = PetscSFReduceEnd(forest, whole.type, copies, at_home, MPI_REPLACE);
    sent.messages += ranks;
    sent.bytes += away * bytes;
    return agree(comm, status_of(code));
}

int star_forest::smallest(const int* copies, int* at_home) const {
    const quiet petsc;
    PetscErrorCode code = PetscSFReduceBegin(forest, MPI_INT, copies, at_home, MPI_MIN);
    if (!code) code = PetscSFReduceEnd(forest, MPI_INT, copies, at_home, MPI_MIN);
    sent.messages += ranks;
    sent.bytes += away * sizeof(int);
    return agree(comm, status_of(code));
}

} // namespace zel::distributed
