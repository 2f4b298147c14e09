// SPDX-License-Identifier: Apache-2.0
// Runs the tests on all ranks at once: each rank makes the same calls. Rank 0 prints what went well; a failure
// is printed by the rank that sees it, and fails the run.
#include <gtest/gtest.h>

#include <mpi.h>
#include <petscsys.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // PETSc would take its options from what is left; there are none for it.
    if (PetscInitializeNoArguments()) return 1;
    int rank = 0;
    MPI_Comm_rank(PETSC_COMM_WORLD, &rank);
    if (rank != 0) {
        auto& listeners = testing::UnitTest::GetInstance()->listeners();
        struct failures_only : testing::EmptyTestEventListener {
            void OnTestPartResult(const testing::TestPartResult& result) override {
                if (!result.failed()) return;
                int here = 0;
                MPI_Comm_rank(PETSC_COMM_WORLD, &here);
                std::fprintf(stderr, "rank %d: %s:%d: %s\n", here,
                             result.file_name() ? result.file_name() : "?", result.line_number(),
                             result.message());
            }
        };
        delete listeners.Release(listeners.default_result_printer());
        listeners.Append(new failures_only);
    }
    int mine = RUN_ALL_TESTS(), any = 0;
    MPI_Allreduce(&mine, &any, 1, MPI_INT, MPI_MAX, PETSC_COMM_WORLD);
    PetscFinalize();
    return any;
}
