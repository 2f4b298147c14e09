// SPDX-License-Identifier: Apache-2.0
// A node's form is a mean over its triangles in the order of their numbers: with one layer of halo, and with the
// derivatives at its nodes, the part has them all.
#include "distributed/fields.h"

#include "zel/distributed/curvatures.h"
#include "zel/tessel2d/curvatures.h"

namespace zel::distributed {

namespace {

int curvatures_of_part(const partitioned_mesh& wide, const dense2D<double>& D,
                       dense2D<double>& found) {
    if (wide.connect.cols == 0) return found.resize(3, wide.pos.cols, 0.0) ? 0 : no_memory;
    const int status = tessel2d::parametric_curvatures(wide.pos, wide.connect, D, found);
    return status == no_memory ? no_memory : status < 0 ? -1 : 0;
}

} // namespace

int parametric_curvatures(const partitioned_mesh& mesh, const dense2D<double>& D,
                          dense2D<double>& curvatures) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    if (mesh.elements == 0) return 0;
    if (mesh.pos.rows != 2 || mesh.connect.rows != 3) return -1;
    const bool suits = mesh.pos.cols == 0 || (D.rows == 6 && D.cols == mesh.pos.cols);
    int status = agree(mesh.comm, suits ? 0 : -2);
    if (status) return status;
    partitioned_mesh wide;
    if ((status = with_halo(mesh, 1, wide))) return status;
    dense2D<double> given = D, wide_derivatives, found;
    given.rows = 6; // also of a rank without nodes
    if ((status =
             spread_columns(mesh.comm, given, mesh.node_homes, wide.node_homes, wide_derivatives)))
        return status;
    status = together(mesh.comm, [&] { return curvatures_of_part(wide, wide_derivatives, found); });
    if (status) return status;
    return spread_columns(mesh.comm, found, wide.node_homes, mesh.node_homes, curvatures);
}

} // namespace zel::distributed
