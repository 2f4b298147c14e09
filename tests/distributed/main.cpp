// SPDX-License-Identifier: Apache-2.0
// Runs the tests on all ranks at once: each rank makes the same calls. Rank 0 prints what went well; a failure
// is printed by the rank that sees it, and fails the run.
#include "distributed/support.h"
#include "support/failing_alloc.h"

#include <gtest/gtest.h>

#include <mpi.h>
#include <petscsys.h>

namespace {

// No test leaves a block of the library behind.
struct blocks_come_back : testing::EmptyTestEventListener {
    std::size_t before = 0;
    void OnTestStart(const testing::TestInfo&) override { before = zel_test::live_blocks(); }
    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(before, zel_test::live_blocks()) << "blocks left behind";
    }
};

struct failures_only : testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (!result.failed()) return;
        std::fprintf(stderr, "rank %d: %s:%d: %s\n", zel_test::rank(),
                     result.file_name() ? result.file_name() : "?", result.line_number(),
                     result.message());
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // PETSc would take its options from what is left; there are none for it.
    if (PetscInitializeNoArguments()) return 1;
    auto& listeners = testing::UnitTest::GetInstance()->listeners();
    if (zel_test::rank() != 0) {
        delete listeners.Release(listeners.default_result_printer());
        listeners.Append(new failures_only);
    }
    zel_test::meshes(); // stay to the end
    zel_test::sharings();
    listeners.Append(new blocks_come_back);
    int mine = RUN_ALL_TESTS(), any = 0;
    MPI_Allreduce(&mine, &any, 1, MPI_INT, MPI_MAX, PETSC_COMM_WORLD);
    PetscFinalize();
    return any;
}
