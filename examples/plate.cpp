// SPDX-License-Identifier: Apache-2.0
//
// Host tools: a square plate with a hole in its middle, out of four patches, as a file for ParaView.
//! [plate]
#include <zel/host.h>
#include <zel/host/vtk.h>
#include <zel/tessel1d.h>
#include <zel/tessel2d.h>

#include <vtkXMLUnstructuredGridWriter.h>

using namespace zel;

int main() {
    double xy[8][2] = {{-2, -2}, {2, -2}, {2, 2}, {-2, 2}, {-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    auto pos = dense2D<double>::wrap(&xy[0][0], 2, 8); // the corners and four nodes on the hole
    dense2D<unsigned> quads;
    bool ok = true;
    for (unsigned a = 3, b = 0; b < 4 && ok; a = b++) { // from a to b along the square and the hole
        dense1D<unsigned, 8> outside, down, hole, up, loop;
        ok = tessel1d::mesh_straight(pos, a, b, 12, outside) == 0 &&
             tessel1d::mesh_straight(pos, b, b + 4, 8, down) == 0 &&
             host::arc(pos, a + 4, b + 4, {0, 0}, 12, hole) == 0 &&
             tessel1d::mesh_straight(pos, a + 4, a, 8, up) == 0 &&
             host::patch_loop(outside, down, hole, up, loop) == 0 &&
             tessel2d::mesh_struct_Q4(pos, loop, 8, quads) == 0;
    }
    //! [write]
    // The patches are joined where they meet: no edge has more than two elements.
    host::adjacency adj;
    vtkSmartPointer<vtkUnstructuredGrid> out;
    ok = ok && tessel::merge(pos, quads, 1e-9, 0) == 0 && tessel::simplify(pos, quads, 0) == 0 &&
         host::build_adjacency(quads, pos.cols, adj) == 0 && host::to_grid(pos, quads, 0, out) == 0;
    vtkNew<vtkXMLUnstructuredGridWriter> writer;
    writer->SetFileName("plate.vtu");
    writer->SetInputData(out);
    return ok && adj.shared_by_more == 0 && writer->Write() == 1 ? 0 : 1;
    //! [write]
}
//! [plate]
