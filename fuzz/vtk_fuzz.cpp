// SPDX-License-Identifier: Apache-2.0
//
// Fuzz driver of the bridge to VTK, which itself is not instrumented.
#include "fuzz/adjacency.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include "zel/host/vtk.h"

#include <vtkObject.h>

#include <set>

namespace {

using namespace zel_fuzz;

using grid_pointer = vtkSmartPointer<vtkUnstructuredGrid>;
using polygons_pointer = vtkSmartPointer<vtkPolyData>;

/// Coordinates, now and then with a height that cannot be.
dense2D<double> nodes_for(input& in) {
    return doubles(in, in.one_in(8) ? in.below(5) : 2 + in.below(2), in.below(10));
}

bool are_coordinates(const dense2D<double>& pos) {
    return pos.empty() || pos.rows == 2 || pos.rows == 3;
}

/// The nodes of a column: those before the first filler.
std::size_t length(const dense2D<unsigned>& connect, std::size_t e) {
    std::size_t n = 0;
    while (n < connect.rows && connect(n, e) != no_node) ++n;
    return n;
}

template <class T>
std::size_t count(const dense2D<T>& m) {
    return m.empty() ? 0 : m.cols;
}

bool names_nodes(const dense2D<unsigned>& connect, std::size_t nodes) {
    for (std::size_t e = 0; e < count(connect); ++e)
        for (std::size_t k = 0; k < length(connect, e); ++k)
            if (connect(k, e) >= nodes) return false;
    return true;
}

/// Columns of some lengths, mostly those of elements with so many nodes on an edge.
dense2D<unsigned> columns_for(input& in, std::size_t nodes, unsigned edge_nodes) {
    static constexpr unsigned usual[4][4] = {
        {3, 4, 3, 4}, {6, 7, 8, 9}, {10, 16, 10, 16}, {25, 25, 25, 25}};
    const unsigned rows = in.one_in(8) ? in.below(28) : usual[edge_nodes % 4][3];
    auto connect = blank_matrix<unsigned>(in, rows, in.below(6));
    if (connect.empty()) return connect;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned n = in.one_in(8) ? in.below(rows + 1) : usual[edge_nodes % 4][in.below(4)];
        for (std::size_t k = 0; k < connect.rows; ++k)
            connect(k, e) = k < n ? in.node(nodes, true) : no_node;
    }
    return connect;
}

/// Requires that a mesh of VTK gives back the coordinates and elements that it was made of.
void require_mesh(vtkPointSet* mesh, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                  unsigned edge_nodes) {
    dense2D<double> points;
    dense2D<unsigned> elements;
    unsigned order = 7;
    const int status = zel::host::from_vtk(mesh, points, elements, order);
    if (status == -199) return;
    require_status(status, 0);
    require(count(points) == count(pos) && count(elements) == count(connect),
            "all of it comes back");
    require(order == (connect.empty() ? 0 : edge_nodes), "and its order");
    for (std::size_t j = 0; !pos.empty() && j < count(pos); ++j)
        for (std::size_t i = 0; i < 3; ++i)
            require(same(points(i, j), i < pos.rows ? pos(i, j) : 0.0), "a coordinate comes back");
    for (std::size_t e = 0; e < count(connect); ++e)
        for (std::size_t k = 0; k < elements.rows; ++k)
            require(elements(k, e) == (k < length(connect, e) ? connect(k, e) : no_node),
                    "a node of an element comes back");
}

void polygons(input& in) {
    const dense2D<double> pos = nodes_for(in);
    const dense2D<unsigned> connect =
        cells(in, in.one_in(8) ? in.below(7) : 3 + in.below(2), in.below(8), pos.cols);
    const int status = call(
        in, "to_polydata", {-1, -2},
        [](const auto& p, const auto& c) {
            polygons_pointer mesh;
            const int outcome = zel::host::to_polydata(p, c, mesh);
            require((outcome == 0) == (mesh != nullptr), "there is a mesh if the status says so");
            return outcome;
        },
        reads(pos), reads(connect));
    if (!are_coordinates(pos)) require_status(status, -1);
    if (status != 0) return;
    require(names_nodes(connect, count(pos)), "elements that name other nodes are refused");
    polygons_pointer mesh;
    if (zel::host::to_polydata(pos, connect, mesh) == 0) require_mesh(mesh, pos, connect, 0);
}

bool is_element(unsigned edge_nodes, std::size_t n) {
    static const std::set<std::size_t> lengths[4] = {{3, 4}, {6, 7, 8, 9}, {10, 16}, {25}};
    return lengths[edge_nodes].count(n) != 0;
}

/// A field of any shape, beside a mesh.
void fields(input& in, vtkPointSet* mesh) {
    const bool at_cells = in.flag();
    const auto wanted =
        static_cast<std::size_t>(at_cells ? mesh->GetNumberOfCells() : mesh->GetNumberOfPoints());
    const auto values = doubles(in, in.below(5), in.one_in(4) ? in.below(10) : wanted);
    static const std::string names[] = {"", "a", "b"};
    const std::string& name = names[in.below(3)];
    const int status = zel::host::add_field(mesh, name, values, at_cells);
    const bool fits = values.cols == wanted && (values.rows != 0 || wanted == 0);
    if (status == -199) return;
    require_status(status, fits ? 0 : -3);
    dense2D<double> taken;
    const int found = zel::host::get_field(mesh, name, taken, at_cells);
    if (status != 0) require(found == -2 || found == 0 || found == -199, "it may be there");
    if (status != 0 || found == -199) return;
    require_status(found, 0);
    if (wanted == 0) return;
    require(same(elements(values), elements(taken)) && taken.rows == values.rows,
            "values come back");
}

void grids(input& in) {
    const dense2D<double> pos = nodes_for(in);
    const unsigned edge_nodes = in.one_in(8) ? in.below(6) : in.below(4);
    const dense2D<unsigned> connect = columns_for(in, pos.cols, edge_nodes);
    const int status = call(
        in, "to_grid", {-1, -2, -3},
        [&](const auto& p, const auto& c) {
            grid_pointer mesh;
            const int outcome = zel::host::to_grid(p, c, edge_nodes, mesh);
            require((outcome == 0) == (mesh != nullptr), "there is a grid if the status says so");
            return outcome;
        },
        reads(pos), reads(connect));
    if (status == -199) return; // memory comes before the elements here
    bool good = names_nodes(connect, count(pos));
    for (std::size_t e = 0; good && e < count(connect); ++e)
        good = edge_nodes <= 3 && is_element(edge_nodes, length(connect, e));
    require_status(status, !are_coordinates(pos) ? -1 : edge_nodes > 3 ? -3 : good ? 0 : -2);
    grid_pointer mesh;
    if (status != 0 || zel::host::to_grid(pos, connect, edge_nodes, mesh) != 0) return;
    require_mesh(mesh, pos, connect, edge_nodes);
    fields(in, mesh);
    fields(in, mesh);
}

/// What `from_vtk` and `get_field` make of a mesh that VTK allows.
void take(input& in, vtkPointSet* mesh) {
    dense2D<double> pos = nodes_for(in);
    dense2D<unsigned> connect = columns_for(in, 9, 1);
    unsigned order = 7;
    const int status = call(
        in, "from_vtk", {-1},
        [&](auto& p, auto& c) { return zel::host::from_vtk(mesh, p, c, order); }, makes(pos),
        makes(connect));
    if (status == 0)
        require(names_nodes(connect, count(pos)) && order <= 3, "its elements name its nodes");
    dense2D<double> values;
    const bool at_cells = in.flag();
    const int found = call(
        in, "get_field", {-2},
        [&](auto& v) { return zel::host::get_field(mesh, "field", v, at_cells); }, makes(values));
    if (status != 0 || found != 0) return;
    require(values.cols == (at_cells ? connect.cols : pos.cols), "a column for each");
}

vtkSmartPointer<vtkPoints> some_points(input& in) {
    auto points = vtkSmartPointer<vtkPoints>::New();
    const unsigned n = in.below(10);
    for (unsigned j = 0; j < n; ++j) {
        const double x = in.number();
        points->InsertNextPoint(x, in.small(), in.number());
    }
    return points;
}

vtkNew<vtkIdList> some_numbers(input& in, std::size_t n, std::size_t points) {
    vtkNew<vtkIdList> numbers;
    for (std::size_t k = 0; k < n; ++k)
        numbers->InsertNextId(in.one_in(32) ? vtkIdType{in.below(12)} - 2
                                            : vtkIdType{in.node(points, false)});
    return numbers;
}

/// A field and degrees of cells, not always as long as the mesh wants them.
void add_data(input& in, vtkPointSet* mesh) {
    const auto cells = static_cast<unsigned>(mesh->GetNumberOfCells());
    const auto array = [&](const char* name, int components, unsigned tuples) {
        auto made = vtkSmartPointer<vtkDoubleArray>::New();
        made->SetName(name);
        made->SetNumberOfComponents(components);
        made->SetNumberOfTuples(tuples);
        for (vtkIdType i = 0; i < made->GetNumberOfValues(); ++i) made->SetValue(i, in.below(4));
        return made;
    };
    const int components = 1 + static_cast<int>(in.below(3));
    const unsigned length = in.one_in(4) ? in.below(9) : cells;
    mesh->GetCellData()->AddArray(array("field", components, length));
    if (in.flag())
        mesh->GetCellData()->SetHigherOrderDegrees(
            array("degrees", in.one_in(4) ? components : 3, in.one_in(4) ? in.below(9) : cells));
}

void any_grid(input& in) {
    grid_pointer mesh = grid_pointer::New();
    const auto points = some_points(in);
    mesh->SetPoints(points);
    mesh->Allocate(8);
    const unsigned n = in.below(6);
    for (unsigned c = 0; c < n; ++c) {
        static constexpr unsigned types[] = {VTK_TRIANGLE,
                                             VTK_QUAD,
                                             VTK_PIXEL,
                                             VTK_POLYGON,
                                             VTK_TRIANGLE_STRIP,
                                             VTK_QUADRATIC_TRIANGLE,
                                             VTK_BIQUADRATIC_TRIANGLE,
                                             VTK_QUADRATIC_QUAD,
                                             VTK_BIQUADRATIC_QUAD,
                                             VTK_LAGRANGE_TRIANGLE,
                                             VTK_LAGRANGE_QUADRILATERAL,
                                             VTK_LINE};
        static constexpr unsigned lengths[] = {3, 4, 4, 4, 5, 6, 7, 8, 9, 10, 16, 2, 25, 15};
        const unsigned usual = in.below(12);
        const unsigned type = in.one_in(8) ? in.below(82) : types[usual];
        const unsigned length = in.one_in(8) ? lengths[in.below(14)] : lengths[usual];
        if (type == VTK_POLYHEDRON) continue; // its numbers are a list of faces
        const auto numbers =
            some_numbers(in, length, static_cast<std::size_t>(points->GetNumberOfPoints()));
        mesh->InsertNextCell(static_cast<int>(type), numbers);
    }
    add_data(in, mesh);
    take(in, mesh);
}

void any_polygons(input& in) {
    polygons_pointer mesh = polygons_pointer::New();
    const auto points = some_points(in);
    mesh->SetPoints(points);
    vtkNew<vtkCellArray> kinds[4];
    for (unsigned c = in.below(8); c > 0; --c) {
        const unsigned kind = in.below(4);
        kinds[kind]->InsertNextCell(
            some_numbers(in, in.one_in(8) ? in.below(6) : kind + 1 + in.below(2),
                         static_cast<std::size_t>(points->GetNumberOfPoints())));
    }
    mesh->SetVerts(kinds[0]);
    mesh->SetLines(kinds[1]);
    mesh->SetPolys(kinds[2]);
    mesh->SetStrips(kinds[3]);
    add_data(in, mesh);
    take(in, mesh);
}

} // namespace

void zel_fuzz::run(input& in) {
    vtkObject::GlobalWarningDisplayOff();
    constexpr void (*drivers[])(input&) = {polygons, grids, any_grid, any_polygons};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
