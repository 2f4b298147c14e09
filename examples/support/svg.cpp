// SPDX-License-Identifier: Apache-2.0
#include "support/svg.h"

#include "support/require.h"

#include <cmath>
#include <cstdio>
#include <fstream>

namespace zel::examples {

namespace {

/// A coordinate, with no more digits than a screen shows.
std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string digits(text);
    while (digits.back() == '0') digits.pop_back();
    if (digits.back() == '.') digits.pop_back();
    return digits == "-0" ? "0" : digits;
}

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + '"';
}

/// A line through points: the first place, then steps, in hundredths of a unit.
std::string path_of(const std::vector<dot>& points) {
    std::string path;
    long long last[2] = {0, 0};
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (k < 2) path += k == 0 ? 'M' : 'l';
        const dot& p = points[k];
        for (std::size_t i = 0; i < 2; ++i) {
            const long long place = std::llround(100 * p[i]);
            const std::string step = number(static_cast<double>(place - last[i]) / 100);
            const bool joined = path.back() == 'M' || path.back() == 'l' || step[0] == '-';
            path += joined ? step : ' ' + step;
            last[i] = place;
        }
    }
    return path;
}

std::string class_of(const char* kind) {
    return kind == nullptr ? "" : attribute("class", kind);
}

std::string see_through(double opacity) {
    return opacity < 1 ? attribute("opacity", number(opacity)) : "";
}

} // namespace

std::string escaped(const std::string& text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += c;
        }
    }
    return safe;
}

svg::svg(double width_, double height_, const std::string& title)
    : width(width_), height(height_), heading(title) {}

void svg::polygon(const std::vector<dot>& corners, const colour& fill, const colour& line,
                  double line_width, double opacity, const char* kind) {
    // What neighbours share stands once, around them: pictures of large meshes are half as long.
    const bool one_colour = line_width > 0 && hex(fill) == hex(line);
    const std::string shared =
        class_of(kind) + (line_width > 0 ? attribute("stroke-width", number(line_width)) : "") +
        (one_colour ? attribute("fill", "currentColor") + attribute("stroke", "currentColor")
                    : "") +
        ' ';
    if (shared != group) {
        begin_group(shared, one_colour ? "" : attribute("fill", hex(fill)),
                    one_colour || line_width == 0 ? "" : attribute("stroke", hex(line)));
    }
    body += "<path" + attribute("d", path_of(corners) + 'z') + see_through(opacity);
    if (one_colour) {
        body += attribute("color", hex(fill));
    } else {
        if (attribute("fill", hex(fill)) != group_fill) body += attribute("fill", hex(fill));
        if (line_width > 0 && attribute("stroke", hex(line)) != group_line)
            body += attribute("stroke", hex(line));
    }
    body += "/>\n";
}

void svg::begin_group(const std::string& attributes, const std::string& fill,
                      const std::string& line) {
    if (attributes == group) return;
    if (!group.empty()) body += "</g>\n";
    if (!attributes.empty()) body += "<g" + attributes + fill + line + ">\n";
    group = attributes;
    group_fill = fill;
    group_line = line;
}

void svg::polyline(const std::vector<dot>& points, const colour& line, double line_width,
                   bool dashed, double opacity) {
    begin_group("");
    body += "<path" + attribute("d", path_of(points)) + attribute("fill", "none") +
            attribute("stroke", hex(line)) + attribute("stroke-width", number(line_width)) +
            (dashed ? attribute("stroke-dasharray", "4 3") : "") + see_through(opacity) + "/>\n";
}

void svg::rectangle(const dot& corner, double wide, double high, const colour& fill,
                    const char* kind) {
    begin_group("");
    body += "<rect" + class_of(kind) + attribute("x", number(corner[0])) +
            attribute("y", number(corner[1])) + attribute("width", number(wide)) +
            attribute("height", number(high)) + attribute("fill", hex(fill)) + "/>\n";
}

void svg::disc(const dot& centre, double radius, const colour& fill) {
    begin_group("");
    body += "<circle" + attribute("cx", number(centre[0])) + attribute("cy", number(centre[1])) +
            attribute("r", number(radius)) + attribute("fill", hex(fill)) + "/>\n";
}

void svg::text(const dot& place, const std::string& words, double size, const colour& fill,
               anchor at, bool upright) {
    static constexpr const char* anchors[] = {"start", "middle", "end"};
    begin_group("");
    const std::string x = number(place[0]);
    const std::string y = number(place[1]);
    body += "<text" + attribute("x", x) + attribute("y", y) + attribute("font-size", number(size)) +
            attribute("fill", hex(fill)) + attribute("text-anchor", anchors[static_cast<int>(at)]);
    if (upright) body += attribute("transform", "rotate(-90 " + x + ' ' + y + ')');
    body += '>' + escaped(words) + "</text>\n";
}

void svg::colour_bar(const dot& corner, double wide, const colour_map& map, const std::string& low,
                     const std::string& high, const std::string& title) {
    begin_group("");
    const std::string name = "map" + std::to_string(gradients++);
    body += "<defs><linearGradient" + attribute("id", name) + ">\n";
    for (std::size_t k = 0; k < map.size(); ++k) {
        const double place = static_cast<double>(k) / static_cast<double>(map.size() - 1);
        body += "<stop" + attribute("offset", number(place)) +
                attribute("stop-color", hex(map[k])) + "/>\n";
    }
    body += "</linearGradient></defs>\n<rect" + attribute("x", number(corner[0])) +
            attribute("y", number(corner[1])) + attribute("width", number(wide)) +
            attribute("height", "9") + attribute("rx", "2") +
            attribute("fill", "url(#" + name + ")") + "/>\n";
    const double foot = corner[1] + 21;
    text({corner[0], foot}, low, 11, palette::muted, anchor::start);
    text({corner[0] + wide, foot}, high, 11, palette::muted, anchor::end);
    text({corner[0] + wide / 2, foot}, title, 11, palette::ink);
}

void svg::write(const std::filesystem::path& file) const {
    std::ofstream out(file);
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << number(width) << ' '
        << number(height) << "\" width=\"" << number(width) << "\" height=\"" << number(height)
        << "\" font-family=\"system-ui, 'Segoe UI', 'DejaVu Sans', sans-serif\""
        << " stroke-linejoin=\"round\" stroke-linecap=\"round\">\n"
        << "<title>" << escaped(heading) << "</title>\n"
        << body << (group.empty() ? "" : "</g>\n") << "</svg>\n";
    out.close();
    require(!out.fail(), "cannot write " + file.string());
}

} // namespace zel::examples
