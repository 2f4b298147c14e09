// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/colours.h"

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace zel::examples {

/// The characters that XML keeps for itself, written as entities.
std::string escaped(const std::string& text);

/// A point of a drawing: to the right and down.
using dot = std::array<double, 2>;

enum class anchor { start, middle, end };

/// A drawing, written as SVG: what is drawn later lies on top.
class svg {
public:
    svg(double width, double height, const std::string& title);

    /// A closed polygon, filled, with an outline unless `line_width` is 0. `kind` becomes its class.
    void polygon(const std::vector<dot>& corners, const colour& fill, const colour& line,
                 double line_width, double opacity = 1, const char* kind = nullptr);
    void polyline(const std::vector<dot>& points, const colour& line, double line_width,
                  bool dashed = false, double opacity = 1);
    void rectangle(const dot& corner, double width, double height, const colour& fill,
                   const char* kind = nullptr);
    void disc(const dot& centre, double radius, const colour& fill);
    void text(const dot& place, const std::string& words, double size, const colour& fill,
              anchor at = anchor::middle, bool upright = false);
    /// A bar from left to right in the colours of `map`, with `low` and `high` at its ends and
    /// `title` over it.
    void colour_bar(const dot& corner, double width, const colour_map& map, const std::string& low,
                    const std::string& high, const std::string& title);

    /// Writes the drawing; a file that cannot be written ends the work with a message.
    void write(const std::filesystem::path& file) const;

private:
    /// Opens a group with these attributes unless it is open, and with the colours that most of its shapes
    /// have; no attributes close what is open.
    void begin_group(const std::string& attributes, const std::string& fill = {},
                     const std::string& line = {});

    double width;
    double height;
    std::string heading;
    std::string body;
    std::string group; ///< attributes of the open group
    std::string group_fill;
    std::string group_line;
    int gradients = 0;
};

} // namespace zel::examples
