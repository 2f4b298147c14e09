// SPDX-License-Identifier: Apache-2.0
// Meshes and fields that go to VTK and come back, by memory and by files of each format.
#include "zel/host/vtk.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include "zel/tessel2d/conversion.h"

#include <filesystem>
#include <limits>
#include <string>

#include <unistd.h>
#include <vtkCell.h>
#include <vtkFloatArray.h>
#include <vtkOBJReader.h>
#include <vtkOBJWriter.h>
#include <vtkPLYReader.h>
#include <vtkPLYWriter.h>
#include <vtkPolyDataReader.h>
#include <vtkPolyDataWriter.h>
#include <vtkSTLReader.h>
#include <vtkSTLWriter.h>
#include <vtkUnstructuredGridReader.h>
#include <vtkUnstructuredGridWriter.h>
#include <vtkXMLPolyDataReader.h>
#include <vtkXMLPolyDataWriter.h>
#include <vtkXMLUnstructuredGridReader.h>
#include <vtkXMLUnstructuredGridWriter.h>

namespace {

using namespace zel_test;
using zel::host::add_field;
using zel::host::from_vtk;
using zel::host::get_field;
using zel::host::to_grid;
using zel::host::to_polydata;
using polydata = vtkSmartPointer<vtkPolyData>;
using grid = vtkSmartPointer<vtkUnstructuredGrid>;

constexpr double tiny = 1e-300; // survives in files of doubles alone

/// A quadrilateral and a triangle beside it, in space, with numbers that are no short decimals.
struct house {
    dense2D<double> pos = dense2D<double>(3, 5, 0.0);
    dense2D<unsigned> connect = dense2D<unsigned>(4, 2, no_node);

    house() {
        const double xyz[5][3] = {
            {0, 0, tiny}, {1. / 3, 0, 1}, {1, 1, 2}, {0, 1, .1}, {.5, 1.5, -4}};
        const unsigned nodes[7] = {0, 1, 2, 3, 3, 2, 4};
        std::copy_n(&xyz[0][0], 15, pos.data());
        std::copy_n(nodes, 7, connect.data());
    }
};

struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    unsigned edge_nodes = 77;
};

mesh taken_from(vtkPointSet* from) {
    mesh got;
    EXPECT_EQ(0, from_vtk(from, got.pos, got.connect, got.edge_nodes));
    return got;
}

void expect_house(const mesh& got) {
    const house sent;
    EXPECT_EQ(columns(sent.pos), columns(got.pos));
    EXPECT_EQ(columns(sent.connect), columns(got.connect));
    EXPECT_EQ(0U, got.edge_nodes);
}

/// A unit square in quadrilaterals or triangles of a higher order.
mesh raised(unsigned corners, unsigned a, unsigned inside) {
    mesh made{dense2D<double>(2, 4, 0.0), dense2D<unsigned>(corners, corners == 4 ? 1 : 2), a};
    made.pos(0, 1) = made.pos(0, 2) = made.pos(1, 2) = made.pos(1, 3) = 1;
    const unsigned nodes[6] = {0, 1, 2, corners == 4 ? 3U : 0U, 2, 3};
    std::copy_n(nodes, made.connect.size, made.connect.data());
    if (a != 0) {
        EXPECT_EQ(0, zel::tessel2d::convert_into_high_order(made.pos, made.connect, a,
                                                            corners == 4 ? inside : 0,
                                                            corners == 3 ? inside : 0, {}));
    }
    return made;
}

std::string file(const std::string& ending) {
    return (std::filesystem::temp_directory_path() /
            ("tessel2d_" + std::to_string(::getpid()) + ending))
        .string();
}

/// What a reader of VTK makes of what a writer of VTK has written.
template <class Reader, class Writer, class Mesh>
vtkSmartPointer<Mesh> written_and_read(const vtkSmartPointer<Mesh>& sent,
                                       const std::string& ending) {
    const std::string name = file(ending);
    vtkNew<Writer> writer;
    writer->SetFileName(name.c_str());
    writer->SetInputData(sent);
    EXPECT_EQ(1, writer->Write());
    vtkNew<Reader> reader;
    reader->SetFileName(name.c_str());
    reader->Update();
    std::filesystem::remove(name);
    return reader->GetOutput();
}

// ------------------------------------------------------------------------------ sharing memory

TEST(Vtk, ThreeRowsAreSharedAndWritesGoBothWays) {
    house h;
    vtkSmartPointer<vtkPolyData> polygons;
    ASSERT_EQ(0, zel::host::to_polydata(h.pos, h.connect, polygons));
    EXPECT_EQ(h.pos.data(), polygons->GetPoints()->GetVoidPointer(0));
    h.pos(0, 2) = 7;
    EXPECT_EQ(7, polygons->GetPoint(2)[0]);
    polygons->GetPoints()->SetPoint(4, 1, 2, 3);
    EXPECT_EQ(point(1, 2, 3), column(h.pos, 4));

    grid cells;
    ASSERT_EQ(0, to_grid(h.pos, h.connect, 0, cells));
    EXPECT_EQ(h.pos.data(), cells->GetPoints()->GetVoidPointer(0));
}

TEST(Vtk, AViewWithAStartIsSharedTooAndOneWithGapsIsCopied) {
    const house h;
    grid cells;
    const dense2D<double> tail = h.pos.sub_matrix(0, 1, 3, 4);
    ASSERT_EQ(0, to_grid(tail, {}, 0, cells));
    EXPECT_EQ(h.pos[1], cells->GetPoints()->GetVoidPointer(0));
    EXPECT_EQ(4, cells->GetNumberOfPoints());

    dense2D<double> wide(5, 5, 9.0);
    dense2D<double> gaps = wide.sub_matrix(1, 0, 3, 5);
    for (std::size_t j = 0; j < 5; ++j) std::copy_n(h.pos[j], 3, gaps[j]);
    dense2D<unsigned> tall(6, 2, 8U);
    dense2D<unsigned> nodes = tall.sub_matrix(1, 0, 4, 2);
    for (std::size_t e = 0; e < 2; ++e) std::copy_n(h.connect[e], 4, nodes[e]);
    ASSERT_EQ(0, to_grid(gaps, nodes, 0, cells));
    EXPECT_NE(gaps.data(), cells->GetPoints()->GetVoidPointer(0));
    expect_house(taken_from(cells));
    polydata polygons;
    ASSERT_EQ(0, to_polydata(gaps, nodes, polygons));
    expect_house(taken_from(polygons));
}

TEST(Vtk, PlanarCoordinatesAreCopiedWithZeroHeight) {
    const mesh square = raised(4, 0, 0);
    polydata polygons;
    ASSERT_EQ(0, to_polydata(square.pos, square.connect, polygons));
    const mesh got = taken_from(polygons);
    EXPECT_EQ(point(1, 1, 0), column(got.pos, 2));
    EXPECT_EQ(columns(square.connect), columns(got.connect));
}

TEST(Vtk, TheBlockLivesAsLongAsAnyMeshOfVtkNeedsIt) {
    const std::size_t before = live_blocks();
    auto shallow = vtkSmartPointer<vtkDoubleArray>::New();
    vtkNew<vtkPolyData> second;
    {
        polydata first;
        {
            const house h;
            ASSERT_EQ(0, to_polydata(h.pos, h.connect, first));
            ASSERT_EQ(0, add_field(first, "where", h.pos));
        }
        EXPECT_GT(live_blocks(), before);
        second->ShallowCopy(first);
        shallow->ShallowCopy(first->GetPoints()->GetData());
    }
    EXPECT_EQ(1. / 3, second->GetPoint(1)[0]);
    second->Initialize();
    EXPECT_EQ(1. / 3, shallow->GetComponent(1, 0)); // the array is gone, its buffer is not
    EXPECT_GT(live_blocks(), before);
    shallow = nullptr;
    EXPECT_EQ(before, live_blocks());
}

// ------------------------------------------------------------------------------------- formats

TEST(Vtk, FilesOfGridsGiveBackEveryBit) {
    const house h;
    grid cells;
    ASSERT_EQ(0, to_grid(h.pos, h.connect, 0, cells));
    expect_house(
        taken_from(written_and_read<vtkXMLUnstructuredGridReader, vtkXMLUnstructuredGridWriter>(
            cells, ".vtu")));
    vtkNew<vtkUnstructuredGridWriter> binary;
    binary->SetFileTypeToBinary();
    binary->WriteToOutputStringOn();
    binary->SetInputData(cells);
    ASSERT_EQ(1, binary->Write());
    vtkNew<vtkUnstructuredGridReader> reader;
    reader->ReadFromInputStringOn();
    reader->SetInputString(binary->GetOutputStdString());
    reader->Update();
    expect_house(taken_from(reader->GetOutput()));
    const mesh text = taken_from(
        written_and_read<vtkUnstructuredGridReader, vtkUnstructuredGridWriter>(cells, ".vtk"));
    EXPECT_EQ(columns(h.connect), columns(text.connect));
    EXPECT_EQ(1, text.pos(1, 2));
}

TEST(Vtk, FilesOfPolygonsGiveBackEveryBit) {
    const house h;
    polydata polygons;
    ASSERT_EQ(0, to_polydata(h.pos, h.connect, polygons));
    expect_house(
        taken_from(written_and_read<vtkXMLPolyDataReader, vtkXMLPolyDataWriter>(polygons, ".vtp")));
    const mesh text =
        taken_from(written_and_read<vtkPolyDataReader, vtkPolyDataWriter>(polygons, ".vtk"));
    EXPECT_EQ(columns(h.connect), columns(text.connect));
}

/// Coordinates that are exact in float and in short decimals.
house rounded() {
    house h;
    h.pos(2, 0) = 0;
    h.pos(0, 1) = h.pos(2, 3) = 0.25;
    return h;
}

TEST(Vtk, PlyAndObjGiveBackCornersAndElements) {
    const house h = rounded();
    polydata polygons;
    ASSERT_EQ(0, to_polydata(h.pos, h.connect, polygons));
    const mesh ply = taken_from(written_and_read<vtkPLYReader, vtkPLYWriter>(polygons, ".ply"));
    EXPECT_EQ(columns(h.pos), columns(ply.pos));
    EXPECT_EQ(columns(h.connect), columns(ply.connect));
    const mesh obj = taken_from(written_and_read<vtkOBJReader, vtkOBJWriter>(polygons, ".obj"));
    EXPECT_EQ(columns(h.pos), columns(obj.pos));
    EXPECT_EQ(columns(h.connect), columns(obj.connect));
}

TEST(Vtk, StlGivesBackTriangles) {
    house h = rounded();
    dense2D<unsigned> triangles(3, 3);
    const unsigned nodes[9] = {0, 1, 2, 0, 2, 3, 3, 2, 4};
    std::copy_n(nodes, 9, triangles.data());
    polydata polygons;
    ASSERT_EQ(0, to_polydata(h.pos, triangles, polygons));
    const mesh got = taken_from(written_and_read<vtkSTLReader, vtkSTLWriter>(polygons, ".stl"));
    ASSERT_EQ(3U, got.connect.cols); // nodes are numbered as the triangles have them first
    for (std::size_t e = 0; e < 3; ++e)
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(column(h.pos, triangles(k, e)), column(got.pos, got.connect(k, e)));
}

// ------------------------------------------------------------------------------- higher orders

TEST(Vtk, HigherOrdersComeBackThroughFiles) {
    const unsigned kinds[][3] = {{3, 0, 0}, {4, 0, 0}, {3, 1, 0}, {3, 1, 1}, {4, 1, 0},
                                 {4, 1, 1}, {3, 2, 1}, {4, 2, 4}, {4, 3, 9}};
    for (const auto& kind : kinds) {
        const mesh sent = raised(kind[0], kind[1], kind[2]);
        SCOPED_TRACE(sent.connect.rows);
        grid cells;
        ASSERT_EQ(0, to_grid(sent.pos, sent.connect, kind[1], cells));
        const mesh got =
            taken_from(written_and_read<vtkXMLUnstructuredGridReader, vtkXMLUnstructuredGridWriter>(
                cells, ".vtu"));
        EXPECT_EQ(columns(sent.connect), columns(got.connect));
        EXPECT_EQ(kind[1], got.edge_nodes);
        // VTK maps the middle of the cell onto the middle of the square, or of the triangle.
        int sub = 0;
        double middle[3], weights[32];
        vtkCell* const cell = cells->GetCell(0);
        double at[3] = {kind[0] == 3 ? 1. / 3 : .5, kind[0] == 3 ? 1. / 3 : .5, 0};
        cell->EvaluateLocation(sub, at, middle, weights);
        EXPECT_NEAR(kind[0] == 3 ? 2. / 3 : .5, middle[0], 1e-14);
        EXPECT_NEAR(kind[0] == 3 ? 1. / 3 : .5, middle[1], 1e-14);
    }
}

TEST(Vtk, MixedOrdersSideBySideKeepTheirFillers) {
    const house h;
    mesh sent{h.pos, {}, 1};
    ASSERT_TRUE(sent.connect.copy(h.connect));
    ASSERT_EQ(0, zel::tessel2d::convert_into_quadratic(sent.pos, sent.connect, {}));
    grid cells;
    ASSERT_EQ(0, to_grid(sent.pos, sent.connect, 1, cells));
    EXPECT_EQ(VTK_BIQUADRATIC_QUAD, cells->GetCellType(0));
    EXPECT_EQ(VTK_QUADRATIC_TRIANGLE, cells->GetCellType(1));
    const mesh got = taken_from(cells);
    EXPECT_EQ(columns(sent.connect), columns(got.connect));
}

TEST(Vtk, ElementsThatVtkDoesNotHaveAreRefused) {
    grid cells;
    const mesh serendipity = raised(4, 2, 0);
    EXPECT_EQ(-2, to_grid(serendipity.pos, serendipity.connect, 2, cells));
    const mesh square = raised(4, 0, 0);
    EXPECT_EQ(-2, to_grid(square.pos, square.connect, 1, cells));
    EXPECT_EQ(nullptr, cells);
}

// -------------------------------------------------------------------------------------- fields

TEST(Vtk, FieldsOfNodesAndCellsComeBackThroughFiles) {
    const house h;
    grid cells;
    ASSERT_EQ(0, to_grid(h.pos, h.connect, 0, cells));
    dense2D<double> heat(1, 5, 1. / 3);
    dense2D<double> gap(4, 2, tiny);
    int at_nodes = zel::host::add_field(cells, "heat", heat);
    int at_cells = zel::host::add_field(cells, "flow", gap.sub_matrix(0, 0, 2, 2), true);
    EXPECT_EQ(0, at_nodes);
    EXPECT_EQ(0, at_cells);
    EXPECT_EQ(heat.data(), cells->GetPointData()->GetArray("heat")->GetVoidPointer(0));
    const grid from =
        written_and_read<vtkXMLUnstructuredGridReader, vtkXMLUnstructuredGridWriter>(cells, ".vtu");
    dense2D<double> pos;
    dense2D<unsigned> connect;
    dense2D<double> field;
    unsigned edge_nodes = 0;
    int mesh_status = zel::host::from_vtk(from, pos, connect, edge_nodes);
    int field_status = zel::host::get_field(from, "heat", field);
    EXPECT_EQ(0, mesh_status);
    EXPECT_EQ(0, field_status);
    EXPECT_EQ(columns(heat), columns(field));
    ASSERT_EQ(0, get_field(from, "flow", field, true));
    EXPECT_EQ(columns(dense2D<double>(2, 2, tiny)), columns(field));
    EXPECT_EQ(-2, get_field(from, "flow", field));
    EXPECT_EQ(-2, get_field(from, "cold", field));
    EXPECT_EQ(2U, field.cols);
}

TEST(Vtk, AFieldOfTheSameNameIsReplaced) {
    const house h;
    polydata polygons;
    ASSERT_EQ(0, to_polydata(h.pos, h.connect, polygons));
    ASSERT_EQ(0, add_field(polygons, "a", dense2D<double>(1, 5, 1.0)));
    ASSERT_EQ(0, add_field(polygons, "a", dense2D<double>(2, 5, 2.0)));
    dense2D<double> got;
    ASSERT_EQ(0, get_field(polygons, "a", got));
    EXPECT_EQ(columns(dense2D<double>(2, 5, 2.0)), columns(got));
    EXPECT_EQ(1, polygons->GetPointData()->GetNumberOfArrays());
}

// ------------------------------------------------------------------- what others have in meshes

TEST(Vtk, StripsAreCutAndPointsAndLinesPassedOver) {
    const house h;
    polydata from;
    ASSERT_EQ(0, to_polydata(h.pos, {}, from));
    const vtkIdType line[2] = {0, 4}, triangle[3] = {0, 1, 2}, strip[4] = {0, 1, 3, 2};
    vtkNew<vtkCellArray> lines, polys, strips;
    lines->InsertNextCell(2, line);
    polys->InsertNextCell(3, triangle);
    strips->InsertNextCell(4, strip);
    from->SetLines(lines);
    from->SetPolys(polys);
    from->SetStrips(strips);
    dense2D<double> colour(1, 3);
    for (unsigned k = 0; k < 3; ++k) colour(0, k) = k;
    ASSERT_EQ(0, add_field(from, "colour", colour, true));

    const mesh got = taken_from(from);
    EXPECT_THAT(columns(got.connect),
                testing::ElementsAre(cell(0, 1, 2), cell(0, 1, 3), cell(1, 2, 3)));
    dense2D<double> field;
    ASSERT_EQ(0, get_field(from, "colour", field, true));
    EXPECT_THAT(columns(field), testing::ElementsAre(point(1), point(2), point(2)));
}

TEST(Vtk, PixelsBecomeQuadrilaterals) {
    grid from;
    ASSERT_EQ(0, to_grid(house().pos, {}, 0, from));
    const vtkIdType pixel[4] = {0, 1, 3, 2};
    from->InsertNextCell(VTK_PIXEL, 4, pixel);
    EXPECT_THAT(columns(taken_from(from).connect), testing::ElementsAre(cell(0, 1, 2, 3)));
}

TEST(Vtk, WhatTheLibraryDoesNotHaveIsRefusedAndNothingChanges) {
    const auto refused = [](int type, const std::vector<vtkIdType>& nodes) {
        grid from;
        EXPECT_EQ(0, to_grid(house().pos, {}, 0, from));
        from->InsertNextCell(type, static_cast<vtkIdType>(nodes.size()), nodes.data());
        mesh got{dense2D<double>(1, 1, 3.0), dense2D<unsigned>(1, 1, 4U), 5};
        EXPECT_EQ(-1, from_vtk(from, got.pos, got.connect, got.edge_nodes));
        EXPECT_EQ(3.0, got.pos(0, 0));
        EXPECT_EQ(4U, got.connect(0, 0));
        EXPECT_EQ(5U, got.edge_nodes);
    };
    refused(VTK_TETRA, {0, 1, 2, 3});
    refused(VTK_POLYGON, {0, 1, 2, 3, 4});
    refused(VTK_TRIANGLE, {0, 1});
    refused(VTK_TRIANGLE, {0, 1, 5});
    refused(VTK_TRIANGLE, {0, 1, -1});
    refused(VTK_LAGRANGE_TRIANGLE, {0, 1, 2, 3});
    mesh got;
    EXPECT_EQ(-1, from_vtk(nullptr, got.pos, got.connect, got.edge_nodes));

    grid orders;
    ASSERT_EQ(0, to_grid(raised(3, 1, 0).pos, raised(3, 1, 0).connect, 1, orders));
    const vtkIdType linear[3] = {0, 1, 2};
    orders->InsertNextCell(VTK_TRIANGLE, 3, linear);
    EXPECT_EQ(-1, from_vtk(orders, got.pos, got.connect, got.edge_nodes));
}

// VTK itself gives no nodes of any cell of such polygons.
TEST(Vtk, PolygonsWithTooFewCornersAreRefused) {
    polydata from;
    const house m;
    ASSERT_EQ(0, to_polydata(m.pos, m.connect, from));
    const vtkIdType numbers[2] = {0, 1};
    for (const vtkIdType n : {0, 1, 2}) {
        SCOPED_TRACE(n);
        vtkNew<vtkPolyData> few;
        few->DeepCopy(from);
        few->GetPolys()->InsertNextCell(n, numbers);
        mesh got;
        EXPECT_EQ(-1, from_vtk(few, got.pos, got.connect, got.edge_nodes));
    }
}

TEST(Vtk, PolygonsThatAreMarkedAsDeletedArePassedOver) {
    polydata from;
    const house m;
    ASSERT_EQ(0, to_polydata(m.pos, m.connect, from));
    from->BuildCells();
    from->DeleteCell(0);
    EXPECT_EQ(m.connect.cols - 1, taken_from(from).connect.cols);
}

TEST(Vtk, DegreesThatDoNotReachAllCellsAreRefused) {
    grid from;
    const mesh m = raised(4, 2, 4);
    ASSERT_EQ(0, to_grid(m.pos, m.connect, 2, from));
    vtkNew<vtkDoubleArray> degrees;
    degrees->SetNumberOfComponents(3);
    from->GetCellData()->SetHigherOrderDegrees(degrees);
    mesh got;
    EXPECT_EQ(-1, from_vtk(from, got.pos, got.connect, got.edge_nodes));
    for (int c = 0; c < from->GetNumberOfCells(); ++c) degrees->InsertNextTuple3(3, 3, 0);
    EXPECT_EQ(0, from_vtk(from, got.pos, got.connect, got.edge_nodes));
}

TEST(Vtk, PointsInSinglePrecisionAreRead) {
    vtkNew<vtkPolyData> from;
    vtkNew<vtkPoints> points;
    points->SetDataTypeToFloat();
    points->InsertNextPoint(0.25, 1, -2);
    from->SetPoints(points);
    const mesh got = taken_from(from);
    EXPECT_EQ(point(0.25, 1, -2), column(got.pos, 0));
    EXPECT_TRUE(got.connect.empty());
}

// ------------------------------------------------------------------- statuses and nothing at all

TEST(Vtk, StatusesOfWrongArguments) {
    const house h;
    const dense2D<double> line(1, 5, 0.0);
    polydata polygons;
    grid cells;
    EXPECT_EQ(-1, to_polydata(line, h.connect, polygons));
    EXPECT_EQ(-2, to_polydata(h.pos, dense2D<unsigned>(2, 1, 0U), polygons));
    EXPECT_EQ(-2, to_polydata(h.pos, dense2D<unsigned>(3, 1, 5U), polygons));
    EXPECT_EQ(-2, to_polydata(h.pos, dense2D<unsigned>(4, 1, no_node), polygons));
    EXPECT_EQ(nullptr, polygons);
    EXPECT_EQ(-1, to_grid(line, h.connect, 0, cells));
    EXPECT_EQ(-3, to_grid(h.pos, h.connect, 4, cells));
    EXPECT_EQ(-2, to_grid(h.pos, dense2D<unsigned>(3, 1, 5U), 0, cells));
    EXPECT_EQ(nullptr, cells);
    EXPECT_EQ(-1, add_field(nullptr, "a", h.pos));
    ASSERT_EQ(0, to_grid(h.pos, h.connect, 0, cells));
    EXPECT_EQ(-3, add_field(cells, "a", dense2D<double>(1, 4, 0.0)));
    EXPECT_EQ(-3, add_field(cells, "a", h.pos, true));
    dense2D<double> field;
    EXPECT_EQ(-1, get_field(nullptr, "a", field));
}

TEST(Vtk, NothingAtAllIsFine) {
    polydata polygons;
    grid cells;
    EXPECT_EQ(0, to_polydata({}, {}, polygons));
    EXPECT_EQ(0, to_grid({}, {}, 0, cells));
    EXPECT_EQ(0, add_field(cells, "none", {}));
    for (vtkPointSet* from :
         {static_cast<vtkPointSet*>(polygons), static_cast<vtkPointSet*>(cells)}) {
        const mesh got = taken_from(from);
        EXPECT_TRUE(got.pos.empty());
        EXPECT_TRUE(got.connect.empty());
        EXPECT_EQ(0U, got.edge_nodes);
    }
    vtkNew<vtkPolyData> without_points;
    EXPECT_TRUE(taken_from(without_points).pos.empty());
}

TEST(Vtk, ColumnsWithoutRowsAreNoNodesAndNoElements) {
    polydata surface;
    EXPECT_EQ(0, to_polydata(dense2D<double>(0, 4), dense2D<unsigned>(0, 3), surface));
    EXPECT_EQ(0, surface->GetNumberOfPoints());
    EXPECT_EQ(0, surface->GetNumberOfCells());
    grid made;
    EXPECT_EQ(0, to_grid(dense2D<double>(0, 4), dense2D<unsigned>(0, 3), 1, made));
    EXPECT_EQ(0, made->GetNumberOfPoints());
    EXPECT_EQ(0, made->GetNumberOfCells());
    EXPECT_EQ(-2, to_grid(dense2D<double>(0, 4), house().connect, 0, made));
}

TEST(Vtk, CoordinatesThatAreNoNumbersPass) {
    house h;
    h.pos(0, 0) = std::numeric_limits<double>::infinity();
    h.pos(1, 1) = std::numeric_limits<double>::quiet_NaN();
    grid cells;
    ASSERT_EQ(0, to_grid(h.pos, h.connect, 0, cells));
    const mesh got = taken_from(cells);
    EXPECT_EQ(h.pos(0, 0), got.pos(0, 0));
    EXPECT_NE(got.pos(1, 1), got.pos(1, 1));
}

TEST(Vtk, ExhaustedMemoryIsReportedAndNothingChanges) {
    const house h;
    grid cells;
    ASSERT_EQ(0, to_grid(h.pos, h.connect, 0, cells));
    ASSERT_EQ(0, add_field(cells, "a", h.pos));
    fail_each_allocation([&](std::size_t k) {
        mesh got{dense2D<double>(1, 1, 3.0), dense2D<unsigned>(1, 1, 4U), 5};
        dense2D<double> field(1, 1, 6.0);
        grid made;
        arm_allocator(k);
        const int mesh_status = from_vtk(cells, got.pos, got.connect, got.edge_nodes);
        const int field_status = get_field(cells, "a", field);
        const int grid_status = to_grid(h.pos, h.connect, 0, made);
        disarm_allocator();
        EXPECT_TRUE(mesh_status == 0 || mesh_status == -199);
        if (mesh_status != 0) {
            EXPECT_EQ(3.0, got.pos(0, 0));
            EXPECT_EQ(4U, got.connect(0, 0));
            EXPECT_EQ(5U, got.edge_nodes);
        }
        EXPECT_TRUE(field_status == 0 || field_status == -199);
        EXPECT_EQ(field_status == 0 ? 0.0 : 6.0, field_status == 0 ? field(1, 0) : field(0, 0));
        EXPECT_TRUE(grid_status == 0 || grid_status == -199);
        EXPECT_EQ(grid_status == 0, made != nullptr);
    });
}

} // namespace
