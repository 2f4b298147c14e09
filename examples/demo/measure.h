// zel tessel2d: planar and surface mesh tools.
#pragma once

#include "support/mesh.h"
#include "support/table.h"

namespace demo {

/// The measures of a mesh, angles in radians.
struct measures {
    std::size_t nodes = 0;
    std::size_t elements = 0;
    double area = 0;
    double smallest_angle = 0;
    double largest_angle = 0;
    double largest_circumradius = 0;       ///< 0 for a mesh that is not of triangles only
    std::vector<double> smallest_angles{}; ///< one per element
    std::vector<double> largest_angles{};  ///< one per element
    std::vector<double> circumradii{};     ///< one per triangle, or empty
};

/// Measures a mesh of triangles, quadrilaterals or both; it has at least one element.
measures measure(const support::mesh& m);

/// A table that `add_measures` fills, one mesh per row.
support::table measures_table();
void add_measures(support::table& t, const std::string& name, const measures& result);

/// A table of areas beside those of the shape that is meant, which are known from a formula.
support::table areas_table();
void add_areas(support::table& t, const std::string& name, const measures& result, double exact);

/// The values, given in radians, in degrees.
std::vector<double> in_degrees(const std::vector<double>& radians);

} // namespace demo
