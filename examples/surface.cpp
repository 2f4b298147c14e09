// SPDX-License-Identifier: Apache-2.0
//
// Host tools: a surface with fields goes into a file through VTK and comes back.
#include <zel/host.h>
#include <zel/host/vtk.h>
#include <zel/tessel2d.h>

#include <vtkXMLPolyDataReader.h>
#include <vtkXMLPolyDataWriter.h>

#include <cstdio>

using namespace zel;

namespace {

/// A sphere with the height of each node and the number of each element.
bool write(const char* path) {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    if (tessel2d::mesh_sphere_Q4(pos, {0, 0, 0}, 1, 8, connect) != 0) return false;
    dense2D<double> height(1, pos.cols);
    dense2D<double> number(1, connect.cols);
    for (std::size_t j = 0; j < pos.cols; ++j) height(0, j) = pos(2, j);
    for (std::size_t e = 0; e < connect.cols; ++e) number(0, e) = static_cast<double>(e);

    //! [polydata]
    vtkSmartPointer<vtkPolyData> surface;
    int status = host::to_polydata(pos, connect, surface); // its points are those of pos
    //! [polydata]
    if (status != 0) return false;

    //! [fields]
    status = host::add_field(surface, "height", height);
    if (status == 0) status = host::add_field(surface, "number", number, true); // of cells
    //! [fields]

    vtkNew<vtkXMLPolyDataWriter> writer;
    writer->SetFileName(path);
    writer->SetInputData(surface);
    return status == 0 && writer->Write() == 1;
}

} // namespace

int main() {
    if (!write("surface.vtp")) return 1;

    //! [read]
    vtkNew<vtkXMLPolyDataReader> reader; // or that of STL, PLY, OBJ, VTU
    reader->SetFileName("surface.vtp");
    reader->Update();
    dense2D<double> pos;
    dense2D<unsigned> connect;
    unsigned edge_nodes = 0; // 0: linear elements
    int status = host::from_vtk(reader->GetOutput(), pos, connect, edge_nodes);
    if (status != 0) return std::puts(host::explain("from_vtk", status)), 1;

    dense2D<double> height;
    status = host::get_field(reader->GetOutput(), "height", height);
    if (status != 0) return std::puts(host::explain("get_field", status)), 1;
    //! [read]

    double content = 0;
    if (edge_nodes != 0 || host::volume(pos, connect, content) != 0) return 1;
    for (std::size_t j = 0; j < pos.cols; ++j)
        if (height(0, j) != pos(2, j)) return 1;
    std::printf("%zu nodes, %zu elements, volume %.3f\n", pos.cols, connect.cols, content);
    return content > 4 ? 0 : 1;
}
