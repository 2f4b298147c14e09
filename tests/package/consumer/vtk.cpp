// SPDX-License-Identifier: Apache-2.0
// A program that hands a mesh to VTK and takes it back, with what the component "vtk" gives and no more.
#include <zel/host/vtk.h>
#include <zel/tessel2d.h>

#include <cstdio>
#include <cstring>

int main(int count, char** arguments) {
    zel::dense2D<double> pos(3, 3, 0.0);
    pos(0, 1) = pos(1, 2) = 1;
    zel::dense2D<unsigned> connect(3, 1);
    for (unsigned k = 0; k < 3; ++k) connect(k, 0) = k;
    vtkSmartPointer<vtkPolyData> mesh;
    unsigned edge_nodes = 0;
    if (zel::host::to_polydata(pos, connect, mesh) != 0) return 1;
    if (zel::host::from_vtk(mesh, pos, connect, edge_nodes) != 0 || connect.cols != 1) return 1;
    if (count != 2 || std::strcmp(arguments[1], zel::tessel2d::version()) != 0) return 1;
    std::puts("consumer: all as expected");
    return 0;
}
