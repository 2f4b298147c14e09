// SPDX-License-Identifier: Apache-2.0
#pragma once

// Meshes in parts for the tests: whole meshes that every rank knows, ways to share them out, and a comparison of
// a result in parts with that of one rank.
#include "support/ranks.h"
#include "zel/dense.h"
#include "zel/distributed/mesh.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace zel_test {

using zel::dense1D;
using zel::dense2D;
using zel::distributed::number;
using zel::distributed::partitioned_mesh;

/// A mesh that each rank can make.
struct whole_mesh {
    std::string name;
    dense2D<double> pos;
    dense2D<unsigned> connect;
};

/// Planar and surface meshes, of triangles, of quadrilaterals and of both; in order and shuffled; with nodes of
/// no element; with edges of three elements; a Moebius band; one element; none.
const std::vector<whole_mesh>& meshes();

/// A copy that shares no block.
template <class T>
dense2D<T> copy_of(const dense2D<T>& table) {
    dense2D<T> out;
    EXPECT_TRUE(out.copy(table));
    return out;
}
whole_mesh copy_of(const whole_mesh& mesh);

/// The same numbers in 64 bits; `no_number` for 0xFFFFFFFF.
dense2D<number> widened(const dense2D<unsigned>& table);

/// This rank's run of a table that all ranks know: rank r of n has every column from r/n of it on.
dense2D<number> run_of(const dense2D<unsigned>& table);

/// A way to share a mesh out.
struct sharing {
    std::string name;
    std::function<int(partitioned_mesh&)> apply; ///< status
};

/// Blocks, PT-Scotch, at random, everything on the last rank, a rank without elements and one with a single
/// one, and elements dealt out like cards, so that no two neighbours meet.
const std::vector<sharing>& sharings();

/// The mesh in parts: blocks of unequal length that are shared out by `by`.
partitioned_mesh parts_of(const whole_mesh& mesh, const sharing& by);

/// Fails unless a mesh in parts is sound: numbers ascending, each owned once in all, homes that agree.
void expect_sound(const partitioned_mesh& mesh);

/// Fails unless the parts together are this mesh, to the bit.
void expect_whole(const partitioned_mesh& mesh, const dense2D<double>& pos,
                  const dense2D<unsigned>& connect);

/// Fails on this rank unless the stars of its own nodes are those of the whole mesh.
void expect_stars(const partitioned_mesh& mesh, const dense1D<number, 8>& own_starts,
                  const dense1D<number, 8>& own_elements, const dense1D<unsigned, 8>& starts,
                  const dense1D<unsigned, 8>& elements);

/// Fails on this rank unless column k of `part` equals column `numbers[k]` of `whole`, to the bit.
template <class T>
void expect_columns(const dense2D<T>& part, const dense1D<number, 8>& numbers,
                    const dense2D<T>& whole) {
    ASSERT_EQ(part.cols, numbers.size);
    if (part.cols == 0) return;
    ASSERT_EQ(part.rows, whole.rows);
    for (std::size_t k = 0; k < part.cols; ++k)
        ASSERT_EQ(0, std::memcmp(part[k], whole[numbers[k]], part.rows * sizeof(T)))
            << "column of number " << numbers[k];
}

/// Makes each allocation of the last rank fail in turn, until none does.
///
/// `prepare` runs first, with memory; then `call` with the allocator armed, which returns the status; then, if that is
/// -199, `unchanged`, and if it is 0, `done`. Fails unless -199 comes at least once, the status is 0 in the end, and it
/// is the same on all ranks. The more ranks, the more of the later allocations are passed over.
void fail_each_allocation_on_one_rank(
    const std::function<void()>& prepare, const std::function<int()>& call,
    const std::function<void()>& unchanged, const std::function<void()>& done = [] {});

/// Runs `body` for all meshes and all sharings, with a trace of which.
void for_all_parts(const std::function<void(const whole_mesh&, partitioned_mesh&)>& body);

} // namespace zel_test
