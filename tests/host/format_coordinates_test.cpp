// SPDX-License-Identifier: Apache-2.0
// The node orders of file formats against the coordinates that VTK and gmsh give to the nodes of their own
// elements. Each of the two is asked only where it was found when this was configured.
#include "zel/host/node_orders.h"

#include "support/meshes.h"

#include "zel/tessel2d/conversion.h"

#include <array>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#ifdef ZEL_TEST_WITH_VTK
#include <vtkBiQuadraticQuad.h>
#include <vtkBiQuadraticTriangle.h>
#include <vtkLagrangeQuadrilateral.h>
#include <vtkLagrangeTriangle.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkQuad.h>
#include <vtkQuadraticQuad.h>
#include <vtkQuadraticTriangle.h>
#include <vtkTriangle.h>
#endif
#ifdef ZEL_TEST_WITH_GMSH
#include <gmsh.h>
#endif

namespace {

using namespace zel;
using host::nodal_element;
using host::node_format;

struct point {
    double x, y;
};

/// Corners, nodes on an edge and inside of an element.
struct recipe {
    nodal_element element;
    unsigned corners, a, inside;
};

/// Where the library puts the nodes of an element over the unit triangle or square.
std::vector<point> positions(const recipe& made) {
    dense2D<double> pos(2, made.corners, 0.0);
    pos(0, 1) = pos(1, made.corners - 1) = 1.0;
    if (made.corners == 4) pos(0, 2) = pos(1, 2) = 1.0;
    dense2D<unsigned> connect(made.corners, 1);
    for (unsigned k = 0; k < made.corners; ++k) connect(k, 0) = k;
    const dense2D<unsigned> none;
    if (made.a != 0) {
        EXPECT_EQ(0, tessel2d::convert_into_high_order(pos, connect, made.a,
                                                       made.corners == 4 ? made.inside : 0,
                                                       made.corners == 3 ? made.inside : 0, none));
    }
    std::vector<point> result;
    for (std::size_t k = 0; k < connect.rows; ++k)
        result.push_back({pos(0, connect(k, 0)), pos(1, connect(k, 0))});
    return result;
}

/// Place k of the format's element lies where the library has the node of row order[k].
void expect_order(node_format format, const recipe& made, const std::vector<point>& of_format) {
    const unsigned* const order = host::order_to(format, made.element);
    ASSERT_NE(nullptr, order);
    const std::vector<point> own = positions(made);
    ASSERT_EQ(host::node_count(made.element), own.size());
    ASSERT_EQ(own.size(), of_format.size());
    for (std::size_t k = 0; k < own.size(); ++k) {
        EXPECT_NEAR(of_format[k].x, own[order[k]].x, 1e-12) << own.size() << " nodes, place " << k;
        EXPECT_NEAR(of_format[k].y, own[order[k]].y, 1e-12) << own.size() << " nodes, place " << k;
    }
}

#ifdef ZEL_TEST_WITH_VTK

/// The parametric coordinates of a cell's nodes.
template <class Cell>
std::vector<point> vtk_positions(unsigned nodes) {
    vtkNew<Cell> cell;
    cell->GetPointIds()->SetNumberOfIds(nodes);
    cell->GetPoints()->SetNumberOfPoints(nodes);
    if constexpr (std::is_same_v<Cell, vtkLagrangeQuadrilateral>)
        cell->SetUniformOrderFromNumPoints(nodes);
    cell->Initialize();
    const double* const coordinates = cell->GetParametricCoords();
    std::vector<point> result;
    for (unsigned k = 0; k < nodes; ++k)
        result.push_back({coordinates[3 * k], coordinates[3 * k + 1]});
    return result;
}

TEST(VtkOrder, OfTrianglesIsWhereVtkHasTheNodes) {
    using cell = nodal_element;
    const auto format = node_format::vtk;
    expect_order(format, {cell::T3, 3, 0, 0}, vtk_positions<vtkTriangle>(3));
    expect_order(format, {cell::T6, 3, 1, 0}, vtk_positions<vtkQuadraticTriangle>(6));
    expect_order(format, {cell::T7, 3, 1, 1}, vtk_positions<vtkBiQuadraticTriangle>(7));
    expect_order(format, {cell::T10, 3, 2, 1}, vtk_positions<vtkLagrangeTriangle>(10));
}

TEST(VtkOrder, OfQuadrilateralsIsWhereVtkHasTheNodes) {
    using cell = nodal_element;
    const auto format = node_format::vtk;
    expect_order(format, {cell::Q4, 4, 0, 0}, vtk_positions<vtkQuad>(4));
    expect_order(format, {cell::Q8, 4, 1, 0}, vtk_positions<vtkQuadraticQuad>(8));
    expect_order(format, {cell::Q9, 4, 1, 1}, vtk_positions<vtkBiQuadraticQuad>(9));
    expect_order(format, {cell::Q16, 4, 2, 4}, vtk_positions<vtkLagrangeQuadrilateral>(16));
    expect_order(format, {cell::Q25, 4, 3, 9}, vtk_positions<vtkLagrangeQuadrilateral>(25));
}

#endif
#ifdef ZEL_TEST_WITH_GMSH

/// Where gmsh has the nodes of its element of that family and order, over the unit triangle or square.
std::vector<point> gmsh_positions(const std::string& family, int order, bool serendipity) {
    const int type = gmsh::model::mesh::getElementType(family, order, serendipity);
    std::string name;
    int dimension, found_order, nodes, corners;
    std::vector<double> local;
    gmsh::model::mesh::getElementProperties(type, name, dimension, found_order, nodes, local,
                                            corners);
    std::vector<point> result;
    for (std::size_t k = 0; k < static_cast<std::size_t>(nodes); ++k) {
        const double x = local[2 * k], y = local[2 * k + 1];
        result.push_back(corners == 3 ? point{x, y} : point{(x + 1) / 2, (y + 1) / 2});
    }
    return result;
}

struct GmshOrder : testing::Test {
    static void SetUpTestSuite() { gmsh::initialize(); }
    static void TearDownTestSuite() { gmsh::finalize(); }
};

TEST_F(GmshOrder, OfTrianglesIsWhereGmshHasTheNodes) {
    using cell = nodal_element;
    const auto format = node_format::gmsh;
    expect_order(format, {cell::T3, 3, 0, 0}, gmsh_positions("Triangle", 1, false));
    expect_order(format, {cell::T6, 3, 1, 0}, gmsh_positions("Triangle", 2, false));
    expect_order(format, {cell::T10, 3, 2, 1}, gmsh_positions("Triangle", 3, false));
}

TEST_F(GmshOrder, OfQuadrilateralsIsWhereGmshHasTheNodes) {
    using cell = nodal_element;
    const auto format = node_format::gmsh;
    expect_order(format, {cell::Q4, 4, 0, 0}, gmsh_positions("Quadrangle", 1, false));
    expect_order(format, {cell::Q8, 4, 1, 0}, gmsh_positions("Quadrangle", 2, true));
    expect_order(format, {cell::Q9, 4, 1, 1}, gmsh_positions("Quadrangle", 2, false));
    expect_order(format, {cell::Q12, 4, 2, 0}, gmsh_positions("Quadrangle", 3, true));
    expect_order(format, {cell::Q16, 4, 2, 4}, gmsh_positions("Quadrangle", 3, false));
    expect_order(format, {cell::Q25, 4, 3, 9}, gmsh_positions("Quadrangle", 4, false));
}

#endif

} // namespace
