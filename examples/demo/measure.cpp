// SPDX-License-Identifier: Apache-2.0
#include "demo/measure.h"

#include "support/require.h"
#include "zel/tessel2d.h"

#include <algorithm>
#include <cmath>

namespace zel::demo {

namespace {

using examples::require;

double distance(const double* a, const double* b, std::size_t rows) {
    double sum = 0;
    for (std::size_t i = 0; i < rows; ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return std::sqrt(sum);
}

std::vector<double> circumradii_of(const examples::mesh& m) {
    dense2D<double> centers;
    require(tessel2d::circumcenters(m.pos, m.connect, centers), "circumcenters");
    std::vector<double> radii;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        radii.push_back(distance(centers[e], m.pos[m.connect(0, e)], m.pos.rows));
    }
    return radii;
}

} // namespace

measures measure(const examples::mesh& m) {
    measures result;
    result.nodes = m.pos.cols;
    result.elements = m.connect.cols;
    require(tessel2d::area(m.pos, m.connect, result.area), "area");

    dense1D<double, 8> smallest;
    dense1D<double, 8> largest;
    require(tessel2d::angles(m.pos, m.connect, false, smallest, largest), "angles");
    result.smallest_angles.assign(smallest.begin(), smallest.end());
    result.largest_angles.assign(largest.begin(), largest.end());
    result.smallest_angle = *std::min_element(smallest.begin(), smallest.end());
    result.largest_angle = *std::max_element(largest.begin(), largest.end());

    if (m.connect.rows == 3) {
        result.circumradii = circumradii_of(m);
        result.largest_circumradius =
            *std::max_element(result.circumradii.begin(), result.circumradii.end());
    }
    return result;
}

examples::table measures_table() {
    return {{"Mesh", "nodes", "elements", "area (units²)", "smallest angle", "largest angle",
             "largest circumradius (units)"},
            {}};
}

void add_measures(examples::table& t, const std::string& name, const measures& result) {
    t.rows.push_back(
        {name, examples::whole(result.nodes), examples::whole(result.elements),
         examples::fixed(result.area, 6), examples::degrees(result.smallest_angle),
         examples::degrees(result.largest_angle),
         result.circumradii.empty() ? "–" : examples::fixed(result.largest_circumradius, 4)});
}

examples::table areas_table() {
    return {{"Mesh", "nodes", "elements", "area (units²)", "area of the shape", "difference",
             "smallest angle", "largest angle"},
            {}};
}

void add_areas(examples::table& t, const std::string& name, const measures& result,
               std::optional<double> exact) {
    t.rows.push_back({name, examples::whole(result.nodes), examples::whole(result.elements),
                      examples::fixed(result.area, 6), exact ? examples::fixed(*exact, 6) : "–",
                      exact ? examples::fixed(100 * (result.area / *exact - 1), 3) + " %" : "–",
                      examples::degrees(result.smallest_angle),
                      examples::degrees(result.largest_angle)});
}

std::vector<double> in_degrees(const std::vector<double>& radians) {
    std::vector<double> values;
    for (const double angle : radians) values.push_back(angle * 180 / 3.14159265358979323846);
    return values;
}

} // namespace zel::demo
