// SPDX-License-Identifier: Apache-2.0
// What the programs of the gallery share: one picture for each, and the digest of its results.
#pragma once

#include "support/mesh_picture.h"

#include <cstdint>
#include <string>

namespace zel::gallery {

using examples::camera;
using examples::colour;
using examples::from_above;
using examples::paint;
using examples::with_z_upright;
namespace palette = examples::palette;

/// A picture of one function: meshes, lines, dots, arrows and numbers. Meshes in space are also written
/// for a view that can be turned.
///
/// The results given to `result` make a checksum, which a program in another language must reach too.
class figure {
public:
    explicit figure(const camera& view = from_above());

    /// What is drawn next stands this far to the right and up, in the units of the mesh.
    figure& at(double right, double up = 0);

    /// A mesh: pale in the plane, shaded clay in space.
    figure& mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect);
    figure& mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect, const paint& how);
    /// A mesh in colours by a value per node or per element, with a bar that says what they mean.
    figure& mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                 const std::vector<double>& values, const examples::colour_map& map, double low,
                 double high, const std::string& meaning);
    /// The edges of a line mesh.
    figure& lines(const dense2D<double>& pos, const dense2D<unsigned>& edges,
                  const colour& line = palette::orange, double width = 2);
    /// A line through points.
    figure& line(const std::vector<examples::point>& points, const colour& line = palette::orange,
                 double width = 2);
    /// The nodes [first, last).
    figure& dots(const dense2D<double>& pos, std::size_t first, std::size_t last,
                 const colour& fill = palette::orange, double radius = 3);
    /// A vector at each node, `scale` long where it has length one.
    figure& arrows(const dense2D<double>& pos, const dense2D<double>& vectors, double scale);
    /// The number of each node beside it, and of each element in its middle.
    figure& number_nodes(const dense2D<double>& pos);
    figure& number_elements(const dense2D<double>& pos, const dense2D<unsigned>& connect);
    figure& label(const examples::point& p, const std::string& words, double size = 14);

    /// Adds a result to the checksum.
    figure& result(const dense2D<double>& numbers);
    figure& result(const dense2D<unsigned>& numbers);
    figure& result(const dense1D<double, 8>& numbers);
    figure& result(const dense1D<unsigned, 8>& numbers);
    figure& result(double number);

    /// Writes `<name>.svg`, `<name>.txt` with what is to be seen, and `<name>.mesh.js` where there is a
    /// surface; prints name and checksum. Returns 0, or 1 if `status` is negative.
    int finish(const std::string& name, const std::string& seen, int status) const;

private:
    struct triangle {
        examples::point corners[3];
        colour fill;
    };
    struct surface {
        std::vector<triangle> triangles;
        double opacity;
    };
    struct segment {
        examples::point ends[2];
        colour line;
    };

    examples::point place(const dense2D<double>& pos, std::size_t node) const;
    void add_bytes(const void* data, std::size_t size);
    void keep_surface(const examples::mesh& m, const paint& how);
    void keep_line(const std::vector<examples::point>& points, const colour& line);
    void write_view(const std::string& name) const;

    camera eye;
    examples::mesh_picture picture;
    examples::point shift{0, 0, 0};
    std::vector<surface> surfaces; ///< for the view that can be turned, with the lines on them
    std::vector<segment> segments;
    const examples::colour_map* legend = nullptr;
    std::string legend_words[3];
    std::uint32_t checksum = 0xFFFFFFFFu;
};

} // namespace zel::gallery
