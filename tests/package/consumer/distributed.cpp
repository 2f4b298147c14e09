// SPDX-License-Identifier: Apache-2.0
// Uses meshes in parts, as a program of somebody else would, here on one rank.
#include <zel/distributed/files.h>
#include <zel/distributed/generators.h>
#include <zel/distributed/measures.h>
#include <zel/tessel2d.h>

#include <mpi.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    using namespace zel::distributed;
    if (argc != 2 || std::strcmp(argv[1], zel::tessel2d::version()) != 0) return 1;
    // A mesh without communicator has no area; MPI is not started for that.
    partitioned_mesh mesh;
    double all = 0;
    const zel::dense2D<double> pos;
    const zel::dense1D<unsigned, 8> loop;
    if (area(mesh, all) != -1 || write(mesh, "none.h5") != -1) return 1;
    if (mesh_struct_Q4(MPI_COMM_NULL, pos, loop, 1, mesh) != -1) return 1;
    std::printf("meshes in parts of %s\n", argv[1]);
    return 0;
}
