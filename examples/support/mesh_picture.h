// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/mesh.h"
#include "support/svg.h"

#include <filesystem>

namespace zel::examples {

/// From where a mesh is seen, without perspective: three unit vectors in space.
struct camera {
    point right;  ///< what points to the right on the picture
    point up;     ///< what points up
    point toward; ///< what points at the eye
};

/// Straight down the third axis, as planar meshes are drawn.
camera from_above();
/// From `azimuth` degrees round the upright axis and `elevation` degrees over the horizon. Azimuth 0
/// looks against the x axis if z is upright, and against the z axis if y is.
camera with_z_upright(double azimuth, double elevation);
camera with_y_upright(double azimuth, double elevation);

/// How a mesh is painted.
struct paint {
    colour fill = palette::sky;
    colour line = palette::ink;
    double line_width = 0.6;
    double opacity = 1;
    bool lit = false;          ///< shaded by the direction of the element
    bool line_as_fill = false; ///< thin lines in the colour of the element, so that no gaps show
    bool hide_backs = false;   ///< elements that show their back are left out: for closed surfaces

    /// One value per node or per element that gives the colour instead of `fill`; null: none.
    const std::vector<double>* values = nullptr;
    const colour_map* map = nullptr;
    double low = 0;  ///< the value at the beginning of `map`
    double high = 1; ///< the value at its end
};

/// Shaded clay with thin edges: for surfaces.
paint surface_paint();
/// Colours by value with thin edges.
paint value_paint(const std::vector<double>& values, const colour_map& map, double low,
                  double high);

/// Meshes and lines in space on one picture, drawn from the farthest to the nearest.
class mesh_picture {
public:
    explicit mesh_picture(const camera& view) : eye(view) {}

    void add(const mesh& m, const paint& how);
    /// A line through points; `lift` brings it that much nearer to the eye than it is.
    void add_line(const std::vector<point>& points, const colour& line, double line_width,
                  double lift = 0);
    void add_dot(const point& p, double radius, const colour& fill, double lift = 0);
    /// Words centred on a point, `size` high in the units of the picture.
    void add_label(const point& p, const std::string& words, double size, const colour& fill,
                   double lift = 0);
    /// A colour bar below the picture for values from `low` to `high`.
    void set_legend(const colour_map& map, const std::string& low, const std::string& high,
                    const std::string& title);

    /// Writes all of it as large as it fits into width x height, legend included.
    void write(const std::filesystem::path& file, double width, double height,
               const std::string& title) const;

private:
    enum class shape_kind { face, line, spot, label };
    struct shape {
        shape_kind kind;
        std::vector<dot> points; ///< in the units of the mesh, upwards
        double depth;            ///< the larger, the nearer
        colour fill;
        colour line;
        double line_width; ///< a dot's radius, the height of a label
        double opacity;
        std::string words = {}; ///< of a label
    };

    dot project(const point& p) const;
    double depth(const point& p) const;

    camera eye;
    std::vector<shape> shapes;
    const colour_map* legend = nullptr;
    std::array<std::string, 3> legend_words;
};

} // namespace zel::examples
