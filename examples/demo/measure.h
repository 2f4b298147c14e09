// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/mesh.h"
#include "support/table.h"

#include <optional>

namespace zel::demo {

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
measures measure(const examples::mesh& m);

/// A table that `add_measures` fills, one mesh per row.
examples::table measures_table();
void add_measures(examples::table& t, const std::string& name, const measures& result);

/// A table of areas beside those of the shape that is meant, where a formula is known for it.
examples::table areas_table();
void add_areas(examples::table& t, const std::string& name, const measures& result,
               std::optional<double> exact = {});

/// The values, given in radians, in degrees.
std::vector<double> in_degrees(const std::vector<double>& radians);

} // namespace zel::demo
