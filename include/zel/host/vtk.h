// SPDX-License-Identifier: Apache-2.0
// Meshes and fields as data of VTK and back, so that all of its readers, writers and filters serve a program.
// Needs VTK 9 (modules CommonCore and CommonDataModel) and the host tools: target `zel::tessel2d_vtk`, component
// `vtk` of the CMake package. Who does not include this header does not need VTK.
#pragma once

#include "zel/dense.h"
#include "zel/host/node_orders.h"

#include <vtkCallbackCommand.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkCellType.h>
#include <vtkCommand.h>
#include <vtkDataArray.h>
#include <vtkDoubleArray.h>
#include <vtkIdList.h>
#include <vtkIdTypeArray.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPointSet.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>
#include <vtkUnsignedCharArray.h>
#include <vtkUnstructuredGrid.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>
#include <utility>

namespace zel::host {

namespace vtk_detail {

constexpr unsigned no_node = 0xFFFFFFFFu;

/// An array of VTK over the elements of a contiguous matrix. What VTK's shallow copies share is the buffer of
/// the array, so the buffer keeps the storage block: an observer that waits for nothing holds a view.
class shared_array : public vtkDoubleArray {
public:
    static vtkSmartPointer<vtkDoubleArray> over(const dense2D<double>& m) {
        vtkNew<vtkCallbackCommand> keeper;
        keeper->SetClientData(new dense2D<double>(m));
        keeper->SetClientDataDeleteCallback(
            [](void* view) { delete static_cast<dense2D<double>*>(view); });
        auto* const made = new shared_array;
        made->InitializeObjectBase();
        const auto result = vtkSmartPointer<vtkDoubleArray>::Take(made);
        made->SetNumberOfComponents(static_cast<int>(m.rows));
        made->SetArray(const_cast<double*>(m.data()), static_cast<vtkIdType>(m.rows * m.cols), 1);
        made->Buffer->AddObserver(vtkCommand::UserEvent, keeper);
        return result;
    }
};

/// The columns of a matrix; without rows it has none.
template <class T>
std::size_t count_of(const dense2D<T>& m) {
    return m.empty() ? 0 : m.cols;
}

/// A copy with `rows` rows, zero where the matrix has none.
inline vtkSmartPointer<vtkDoubleArray> copied(const dense2D<double>& m, std::size_t rows) {
    auto result = vtkSmartPointer<vtkDoubleArray>::New();
    result->SetNumberOfComponents(static_cast<int>(rows));
    result->SetNumberOfTuples(static_cast<vtkIdType>(count_of(m)));
    double* to = result->GetPointer(0);
    for (std::size_t j = 0; j < count_of(m); ++j, to += rows)
        std::fill(std::copy_n(m[j], std::min(m.rows, rows), to), to + rows, 0.0);
    return result;
}

inline vtkSmartPointer<vtkDoubleArray> columns(const dense2D<double>& m, std::size_t rows) {
    return m.contiguous() && m.rows == rows && !m.empty() ? shared_array::over(m) : copied(m, rows);
}

inline vtkSmartPointer<vtkPoints> points_of(const dense2D<double>& pos) {
    auto result = vtkSmartPointer<vtkPoints>::New();
    result->SetData(columns(pos, 3));
    return result;
}

/// The nodes of an element: those before the first filler.
inline std::size_t nodes_in(const dense2D<unsigned>& connect, std::size_t e) {
    const unsigned* const column = connect[e];
    return static_cast<std::size_t>(std::find(column, column + connect.rows, no_node) - column);
}

inline bool names_only(const dense2D<unsigned>& connect, std::size_t nodes) {
    for (std::size_t e = 0; e < count_of(connect); ++e) {
        const unsigned* const column = connect[e];
        const std::size_t n = nodes_in(connect, e);
        if (std::any_of(column, column + n, [nodes](unsigned a) { return a >= nodes; }))
            return false;
    }
    return true;
}

inline vtkSmartPointer<vtkCellArray> cells_of(const dense2D<unsigned>& connect) {
    vtkNew<vtkIdTypeArray> offsets;
    vtkNew<vtkIdTypeArray> numbers;
    offsets->SetNumberOfValues(static_cast<vtkIdType>(count_of(connect) + 1));
    vtkIdType count = 0;
    for (std::size_t e = 0; e < count_of(connect); ++e) {
        offsets->SetValue(static_cast<vtkIdType>(e), count);
        count += static_cast<vtkIdType>(nodes_in(connect, e));
    }
    offsets->SetValue(static_cast<vtkIdType>(count_of(connect)), count);
    numbers->SetNumberOfValues(count);
    vtkIdType* to = numbers->GetPointer(0);
    for (std::size_t e = 0; e < count_of(connect); ++e)
        to = std::copy_n(connect[e], nodes_in(connect, e), to);
    auto result = vtkSmartPointer<vtkCellArray>::New();
    result->SetData(offsets, numbers);
    return result;
}

/// VTK's type of a cell with that many nodes on an edge and in all.
inline int type_of(unsigned edge_nodes, std::size_t nodes) {
    const bool triangle = nodes == 3 || nodes == 6 || nodes == 7 || nodes == 10;
    if (edge_nodes == 0) return triangle ? VTK_TRIANGLE : VTK_QUAD;
    if (edge_nodes > 1) return triangle ? VTK_LAGRANGE_TRIANGLE : VTK_LAGRANGE_QUADRILATERAL;
    if (triangle) return nodes == 6 ? VTK_QUADRATIC_TRIANGLE : VTK_BIQUADRATIC_TRIANGLE;
    return nodes == 8 ? VTK_QUADRATIC_QUAD : VTK_BIQUADRATIC_QUAD;
}

/// What a cell of VTK is here: elements that it gives, their nodes and nodes on an edge. Points and lines
/// give none.
struct cell_shape {
    bool known = false;
    std::size_t elements = 0;
    std::size_t nodes = 0;
    unsigned edge_nodes = 0;
};

inline cell_shape element(std::size_t nodes, unsigned edge_nodes) {
    return {true, 1, nodes, edge_nodes};
}

/// A triangle or quadrilateral of any order, by its number of nodes.
inline cell_shape lagrange(bool triangle, std::size_t nodes) {
    for (unsigned k = 1; k <= 4; ++k) {
        const std::size_t full = triangle ? (k + 1) * (k + 2) / 2 : (k + 1) * (k + 1);
        if (full == nodes && !(triangle && k == 4)) return element(nodes, k - 1);
    }
    return {};
}

inline cell_shape shape_of_type(int type, std::size_t nodes) {
    switch (type) {
    case VTK_EMPTY_CELL:
    case VTK_VERTEX:
    case VTK_POLY_VERTEX:
    case VTK_LINE:
    case VTK_POLY_LINE:
    case VTK_QUADRATIC_EDGE:
    case VTK_CUBIC_LINE:
    case VTK_LAGRANGE_CURVE:
        return {true};
    case VTK_TRIANGLE:
        return element(3, 0);
    case VTK_QUAD:
    case VTK_PIXEL:
        return element(4, 0);
    case VTK_POLYGON:
        return nodes == 3 || nodes == 4 ? element(nodes, 0) : cell_shape{};
    case VTK_TRIANGLE_STRIP:
        return nodes < 3 ? cell_shape{} : cell_shape{true, nodes - 2, 3, 0};
    case VTK_QUADRATIC_TRIANGLE:
        return element(6, 1);
    case VTK_BIQUADRATIC_TRIANGLE:
        return element(7, 1);
    case VTK_QUADRATIC_QUAD:
        return element(8, 1);
    case VTK_BIQUADRATIC_QUAD:
        return element(9, 1);
    case VTK_LAGRANGE_TRIANGLE:
        return lagrange(true, nodes);
    case VTK_LAGRANGE_QUADRILATERAL:
        return lagrange(false, nodes);
    default:
        return {};
    }
}

/// The same, and unknown if the cell has not as many nodes as its type says.
inline cell_shape shape_of(int type, const vtkIdList& numbers) {
    const auto nodes = static_cast<std::size_t>(numbers.GetNumberOfIds());
    const cell_shape shape = shape_of_type(type, nodes);
    return shape.elements == 1 && shape.nodes != nodes ? cell_shape{} : shape;
}

/// What a whole mesh of VTK gives.
struct census {
    bool usable = true;
    std::size_t elements = 0;
    std::size_t rows = 0;
    unsigned edge_nodes = 0;
};

/// `for_each_cell` of polygons, strips, lines and points, array by array: VTK itself has no nodes for any cell if one of
/// them has too few for its kind. Cells that are marked as deleted are empty.
template <class Use>
void for_each_polygon(vtkPolyData* mesh, Use use) {
    const std::pair<vtkCellArray*, int> kinds[] = {{mesh->GetVerts(), VTK_POLY_VERTEX},
                                                   {mesh->GetLines(), VTK_POLY_LINE},
                                                   {mesh->GetPolys(), VTK_POLYGON},
                                                   {mesh->GetStrips(), VTK_TRIANGLE_STRIP}};
    const bool marked = !mesh->NeedToBuildCells();
    vtkNew<vtkIdList> nodes;
    vtkIdType c = 0;
    for (const auto& [cells, kind] : kinds) {
        for (vtkIdType i = 0; i < cells->GetNumberOfCells(); ++i, ++c) {
            cells->GetCellAtId(i, nodes);
            const bool deleted = marked && mesh->GetCellType(c) == VTK_EMPTY_CELL;
            use(c, deleted ? VTK_EMPTY_CELL : kind, *nodes);
        }
    }
}

/// Calls use(cell, its type, its nodes) for each cell of the mesh, in the order of its cell data.
template <class Use>
void for_each_cell(vtkPointSet* mesh, Use use) {
    if (auto* const polygons = vtkPolyData::SafeDownCast(mesh)) {
        for_each_polygon(polygons, use);
        return;
    }
    vtkNew<vtkIdList> nodes;
    for (vtkIdType c = 0; c < mesh->GetNumberOfCells(); ++c) {
        mesh->GetCellPoints(c, nodes);
        use(c, mesh->GetCellType(c), *nodes);
    }
}

/// Returns true if a table of degrees has the same degree for both directions of a cell.
inline bool is_square(vtkDataArray& degrees, vtkIdType cell) {
    return cell < degrees.GetNumberOfTuples() && degrees.GetNumberOfComponents() > 1 &&
           degrees.GetComponent(cell, 0) == degrees.GetComponent(cell, 1);
}

inline census census_of(vtkPointSet* mesh) {
    census found;
    vtkDataArray* const degrees = mesh->GetCellData()->GetHigherOrderDegrees();
    for_each_cell(mesh, [&](vtkIdType c, int type, vtkIdList& nodes) {
        const cell_shape shape = shape_of(type, nodes);
        if (!shape.known) found.usable = false;
        if (shape.elements == 0) return;
        if (found.elements != 0 && shape.edge_nodes != found.edge_nodes) found.usable = false;
        if (type == VTK_LAGRANGE_QUADRILATERAL && degrees && !is_square(*degrees, c))
            found.usable = false;
        for (vtkIdType k = 0; k < nodes.GetNumberOfIds(); ++k)
            if (nodes.GetId(k) < 0 || nodes.GetId(k) >= mesh->GetNumberOfPoints())
                found.usable = false;
        found.elements += shape.elements;
        found.rows = std::max(found.rows, shape.nodes);
        found.edge_nodes = shape.edge_nodes;
    });
    return found;
}

/// Writes the elements of one cell from `column` on. Every second triangle of a strip runs the other way.
/// Returns the column behind them.
inline std::size_t take_cell(int type, vtkIdList& nodes, dense2D<unsigned>& connect,
                             std::size_t column) {
    const cell_shape shape = shape_of(type, nodes);
    for (std::size_t e = 0; e < shape.elements; ++e) {
        unsigned* const to = connect[column + e];
        for (std::size_t k = 0; k < shape.nodes; ++k)
            to[k] = static_cast<unsigned>(nodes.GetId(static_cast<vtkIdType>(e + k)));
        if (e % 2 == 1) std::swap(to[1], to[2]);
        if (type == VTK_PIXEL) std::swap(to[2], to[3]);
    }
    return column + shape.elements;
}

inline vtkDataSetAttributes* attributes_of(vtkPointSet* mesh, bool at_cells) {
    if (at_cells) return mesh->GetCellData();
    return mesh->GetPointData();
}

inline void take_tuple(vtkDataArray* from, vtkIdType tuple, double* to) {
    for (int i = 0; i < from->GetNumberOfComponents(); ++i) to[i] = from->GetComponent(tuple, i);
}

/// The columns of a field: one per point, or one per element that the cells give.
inline void take_field(vtkPointSet* mesh, vtkDataArray* from, bool at_cells,
                       dense2D<double>& values) {
    std::size_t column = 0;
    if (!at_cells) {
        for (; column < values.cols; ++column)
            take_tuple(from, static_cast<vtkIdType>(column), values[column]);
        return;
    }
    for_each_cell(mesh, [&](vtkIdType c, int type, const vtkIdList& nodes) {
        for (std::size_t e = shape_of(type, nodes).elements; e > 0; --e)
            take_tuple(from, c, values[column++]);
    });
}

} // namespace vtk_detail

/// Triangles and quadrilaterals as polygons of VTK, for its formats of surfaces (VTP, STL, PLY, OBJ) and filters.
///
/// @param pos      2 x N or 3 x N coordinates. Three contiguous rows are shared, not copied: the points of VTK
///                 keep the storage block, and writes on either side are seen on the other. While they do,
///                 no view of the block may grow, since that moves it; and memory that has been wrapped
///                 (`wrap`, `view_of`) remains the program's to keep alive. Other matrices are copied, two
///                 rows with z = 0.
/// @param connect  3 x E triangles, or 4 x E quadrilaterals and triangles, these with 0xFFFFFFFF in row 3; or
///                 empty. Copied.
/// @param[out] mesh  a new object.
///
/// @retval 0     done.
/// @retval -1    `pos` has neither 2 nor 3 rows and is not empty.
/// @retval -2    `connect` has neither 3 nor 4 rows, a column with fewer than 3 nodes, or names a node that does
///               not exist.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `mesh` as it was.
///
/// Cost: proportional to the elements, and to the nodes where they are copied.
/// @snippet examples/surface.cpp polydata
inline int to_polydata(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                       vtkSmartPointer<vtkPolyData>& mesh) {
    if (!pos.empty() && pos.rows != 2 && pos.rows != 3) return -1;
    if (!connect.empty() && connect.rows != 3 && connect.rows != 4) return -2;
    for (std::size_t e = 0; e < vtk_detail::count_of(connect); ++e)
        if (vtk_detail::nodes_in(connect, e) < 3) return -2;
    if (!vtk_detail::names_only(connect, vtk_detail::count_of(pos))) return -2;
    try {
        auto made = vtkSmartPointer<vtkPolyData>::New();
        made->SetPoints(vtk_detail::points_of(pos));
        made->SetPolys(vtk_detail::cells_of(connect));
        mesh = made;
        return 0;
    } catch (const std::bad_alloc&) {
        return -199;
    }
}

/// Elements of every order that VTK has as cells of an unstructured grid, in VTK's order of nodes, for VTU and the
/// older format of VTK.
///
/// @param pos      coordinates, shared or copied as by `to_polydata`.
/// @param connect  one element per column in the library's order of nodes; a column ends before its first
///                 0xFFFFFFFF. May be empty. Copied.
/// @param edge_nodes  nodes on an edge, 0 to 3: the `a` of `convert_into_high_order`.
/// @param[out] mesh  a new object. T10, Q16 and Q25 become Lagrange cells.
///
/// @retval 0     done.
/// @retval -1    `pos` has neither 2 nor 3 rows and is not empty.
/// @retval -2    a column of `connect` is no element that VTK has (Q12 and T15 are none) with so many nodes on
///               an edge, or names a node that does not exist.
/// @retval -3    `edge_nodes` is above 3.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `mesh` as it was. Tests come in the order -1, -3, -199, -2.
///
/// Cost: proportional to the elements, and to the nodes where they are copied.
/// @snippet examples/plate.cpp write
inline int to_grid(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   unsigned edge_nodes, vtkSmartPointer<vtkUnstructuredGrid>& mesh) {
    if (!pos.empty() && pos.rows != 2 && pos.rows != 3) return -1;
    if (edge_nodes > 3) return -3;
    dense2D<unsigned> ordered;
    if (!ordered.copy(connect)) return -199;
    if (!vtk_detail::names_only(ordered, vtk_detail::count_of(pos)) ||
        (!ordered.empty() && reorder_to(node_format::vtk, edge_nodes, ordered) != 0))
        return -2;
    try {
        const std::size_t elements = vtk_detail::count_of(ordered);
        vtkNew<vtkUnsignedCharArray> types;
        types->SetNumberOfValues(static_cast<vtkIdType>(elements));
        for (std::size_t e = 0; e < elements; ++e) {
            const int type = vtk_detail::type_of(edge_nodes, vtk_detail::nodes_in(ordered, e));
            types->SetValue(static_cast<vtkIdType>(e), static_cast<unsigned char>(type));
        }
        auto made = vtkSmartPointer<vtkUnstructuredGrid>::New();
        made->SetPoints(vtk_detail::points_of(pos));
        made->SetCells(types, vtk_detail::cells_of(ordered));
        mesh = made;
        return 0;
    } catch (const std::bad_alloc&) {
        return -199;
    }
}

/// Gives a mesh of VTK a field: one column per node, or one per cell.
///
/// @param[in,out] mesh  polygons or a grid. A field of the same name is replaced.
/// @param name      the name in files.
/// @param values    components x N, or components x E. A contiguous matrix is shared as the coordinates are by
///                  `to_polydata`, any other is copied.
/// @param at_cells  whether the columns belong to cells.
///
/// @retval 0     done.
/// @retval -1    `mesh` is null.
/// @retval -3    `values` has not one column per node or cell, or no rows while there are some.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `mesh` as it was. Cost: none to speak of, or one copy.
/// @snippet examples/surface.cpp fields
inline int add_field(vtkPointSet* mesh, const std::string& name, const dense2D<double>& values,
                     bool at_cells = false) {
    if (mesh == nullptr) return -1;
    const vtkIdType wanted = at_cells ? mesh->GetNumberOfCells() : mesh->GetNumberOfPoints();
    if (values.cols != static_cast<std::size_t>(wanted)) return -3;
    if (values.rows == 0 && wanted != 0) return -3;
    try {
        const auto field = vtk_detail::columns(values, std::max<std::size_t>(values.rows, 1));
        field->SetName(name.c_str());
        vtk_detail::attributes_of(mesh, at_cells)->AddArray(field);
        return 0;
    } catch (const std::bad_alloc&) {
        return -199;
    }
}

/// A mesh of VTK, as its readers give it, in the containers of the library. Everything is copied.
///
/// Taken are triangles and quadrilaterals of the orders that `to_grid` makes, polygons of three or four corners,
/// strips, which give one triangle after the other, and pixels, which become quadrilaterals. Cells of points and
/// lines are passed over; polygons of more corners are refused (VTK's `vtkTriangleFilter` cuts them). Points that
/// coincide stay apart, as in files where each element has corners of its own: `tessel::merge` and then
/// `tessel::simplify` join them.
///
/// @param mesh          polygons or a grid.
/// @param[out] pos      3 x N coordinates. Of a planar mesh, `pos.sub_matrix(0, 0, 2, pos.cols)` is what the
///                      planar functions want.
/// @param[out] connect  one element per column in the library's order of nodes, as many rows as the largest
///                      needs, the rest 0xFFFFFFFF. Empty without elements.
/// @param[out] edge_nodes  nodes on an edge, the same in all elements; 0 without any.
///
/// @retval 0     done.
/// @retval -1    `mesh` is null, has other cells than these or cells of different orders, names a point that does
///               not exist, or has more points than 32-bit numbers can tell apart.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves the outputs as they were; else they are in memory of their own.
///
/// Cost: proportional to points and cells.
/// @snippet examples/surface.cpp read
inline int from_vtk(vtkPointSet* mesh, dense2D<double>& pos, dense2D<unsigned>& connect,
                    unsigned& edge_nodes) {
    if (mesh == nullptr) return -1;
    const auto nodes = static_cast<std::size_t>(mesh->GetNumberOfPoints());
    if (nodes > vtk_detail::no_node) return -1;
    try {
        const vtk_detail::census found = vtk_detail::census_of(mesh);
        if (!found.usable) return -1;
        dense2D<double> points;
        dense2D<unsigned> elements;
        if (nodes != 0 && !points.resize(3, nodes)) return -199;
        if (!elements.resize(found.rows, found.elements, vtk_detail::no_node)) return -199;
        for (std::size_t j = 0; j < nodes; ++j)
            mesh->GetPoint(static_cast<vtkIdType>(j), points[j]);
        std::size_t column = 0;
        vtk_detail::for_each_cell(mesh, [&](vtkIdType, int type, vtkIdList& numbers) {
            column = vtk_detail::take_cell(type, numbers, elements, column);
        });
        if (reorder_from(node_format::vtk, found.edge_nodes, elements) != 0) return -1;
        pos = points;
        connect = elements;
        edge_nodes = found.edge_nodes;
        return 0;
    } catch (const std::bad_alloc&) {
        return -199;
    }
}

/// A field of a mesh of VTK, copied.
///
/// @param mesh      polygons or a grid.
/// @param name      the name of the field.
/// @param[out] values  components x N, or components x E with the elements that `from_vtk` gives: none for points
///                  and lines, the same for each triangle of a strip.
/// @param at_cells  whether it is a field of cells.
///
/// @retval 0     done.
/// @retval -1    `mesh` is null.
/// @retval -2    `mesh` has no field of numbers of that name, or one of another length.
/// @retval -199  memory is exhausted.
///
/// A negative status leaves `values` as it was; else it is in memory of its own.
///
/// Cost: proportional to the field, and to the cells.
/// @snippet examples/surface.cpp read
inline int get_field(vtkPointSet* mesh, const std::string& name, dense2D<double>& values,
                     bool at_cells = false) {
    if (mesh == nullptr) return -1;
    vtkDataArray* const from = vtk_detail::attributes_of(mesh, at_cells)->GetArray(name.c_str());
    const vtkIdType wanted = at_cells ? mesh->GetNumberOfCells() : mesh->GetNumberOfPoints();
    if (from == nullptr || from->GetNumberOfTuples() != wanted) return -2;
    try {
        auto columns = static_cast<std::size_t>(wanted);
        if (at_cells) {
            columns = 0;
            vtk_detail::for_each_cell(mesh, [&](vtkIdType, int type, const vtkIdList& nodes) {
                columns += vtk_detail::shape_of(type, nodes).elements;
            });
        }
        dense2D<double> taken;
        if (!taken.resize(static_cast<std::size_t>(from->GetNumberOfComponents()), columns))
            return -199;
        vtk_detail::take_field(mesh, from, at_cells, taken);
        values = taken;
        return 0;
    } catch (const std::bad_alloc&) {
        return -199;
    }
}

} // namespace zel::host
