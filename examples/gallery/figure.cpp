// SPDX-License-Identifier: Apache-2.0
// The picture and the checksum of a program of the gallery.
#include "gallery/figure.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <utility>

namespace zel::gallery {

using examples::point;

namespace {

constexpr double width = 480;
constexpr double height = 360;

/// The coordinates with a third row, moved.
dense2D<double> in_space(const dense2D<double>& pos, const point& shift) {
    dense2D<double> moved(3, pos.cols, 0.0);
    for (std::size_t n = 0; n < pos.cols; ++n)
        for (std::size_t i = 0; i < 3; ++i)
            moved(i, n) = (i < pos.rows ? pos(i, n) : 0.0) + shift[i];
    return moved;
}

paint plain_paint(const dense2D<double>& pos) {
    return pos.rows == 3 ? examples::surface_paint() : paint{};
}

std::string fixed(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

} // namespace

figure::figure(const camera& view) : eye(view), picture(view) {}

figure& figure::at(double right, double up) {
    for (std::size_t i = 0; i < 3; ++i) shift[i] = right * eye.right[i] + up * eye.up[i];
    return *this;
}

point figure::place(const dense2D<double>& pos, std::size_t node) const {
    point p = shift;
    for (std::size_t i = 0; i < pos.rows && i < 3; ++i) p[i] += pos(i, node);
    return p;
}

figure& figure::mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    return mesh(pos, connect, plain_paint(pos));
}

figure& figure::mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                     const paint& how) {
    const examples::mesh moved{in_space(pos, shift), connect};
    picture.add(moved, how);
    if (pos.rows == 3) keep_surface(moved, how);
    return *this;
}

figure& figure::mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                     const std::vector<double>& values, const examples::colour_map& map, double low,
                     double high, const std::string& meaning) {
    paint how = examples::value_paint(values, map, low, high);
    how.lit = pos.rows == 3;
    how.line_width = 0.4;
    mesh(pos, connect, how);
    picture.set_legend(map, fixed(low), fixed(high), meaning);
    legend = &map;
    legend_words[0] = fixed(low);
    legend_words[1] = fixed(high);
    legend_words[2] = meaning;
    return *this;
}

figure& figure::lines(const dense2D<double>& pos, const dense2D<unsigned>& edges,
                      const colour& line, double line_width) {
    for (std::size_t e = 0; e < edges.cols; ++e) {
        const std::vector<point> ends{place(pos, edges(0, e)), place(pos, edges(1, e))};
        picture.add_line(ends, line, line_width, 0.05);
        keep_line(ends, line);
    }
    return *this;
}

figure& figure::line(const std::vector<point>& points, const colour& line, double line_width) {
    std::vector<point> moved = points;
    for (point& p : moved)
        for (std::size_t i = 0; i < 3; ++i) p[i] += shift[i];
    picture.add_line(moved, line, line_width, 0.05);
    keep_line(moved, line);
    return *this;
}

figure& figure::dots(const dense2D<double>& pos, std::size_t first, std::size_t last,
                     const colour& fill, double radius) {
    for (std::size_t n = first; n < last && n < pos.cols; ++n)
        picture.add_dot(place(pos, n), radius, fill, 0.05);
    return *this;
}

figure& figure::arrows(const dense2D<double>& pos, const dense2D<double>& vectors, double scale) {
    for (std::size_t n = 0; n < pos.cols && n < vectors.cols; ++n) {
        const point foot = place(pos, n);
        point tip = foot;
        for (std::size_t i = 0; i < vectors.rows && i < 3; ++i) tip[i] += scale * vectors(i, n);
        picture.add_line({foot, tip}, palette::orange, 1.4, 0.05);
        keep_line({foot, tip}, palette::orange);
        picture.add_dot(tip, 1.8, palette::orange, 0.05);
    }
    return *this;
}

figure& figure::number_nodes(const dense2D<double>& pos) {
    for (std::size_t n = 0; n < pos.cols; ++n) {
        picture.add_dot(place(pos, n), 9, {1, 1, 1}, 0.05);
        picture.add_label(place(pos, n), std::to_string(n), 12, palette::ink, 0.05);
    }
    return *this;
}

figure& figure::number_elements(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    const examples::mesh m{pos, connect};
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const std::vector<unsigned> nodes = examples::cell_nodes(m, e);
        point middle{0, 0, 0};
        for (const unsigned n : nodes)
            for (std::size_t i = 0; i < 3; ++i)
                middle[i] += place(pos, n)[i] / static_cast<double>(nodes.size());
        picture.add_label(middle, std::to_string(e), 14, palette::blue, 0.05);
    }
    return *this;
}

figure& figure::label(const point& p, const std::string& words, double size) {
    picture.add_label({p[0] + shift[0], p[1] + shift[1], p[2] + shift[2]}, words, size,
                      palette::ink, 0.05);
    return *this;
}

// ---------------------------------------------------------------------------------- the checksum

// CRC-32 as in zlib, which other languages have at hand.
void figure::add_bytes(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t k = 0; k < size; ++k) {
        checksum ^= bytes[k];
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum >> 1) ^ ((checksum & 1u) != 0 ? 0xEDB88320u : 0u);
    }
}

figure& figure::result(const dense2D<double>& numbers) {
    for (std::size_t c = 0; c < numbers.cols; ++c)
        add_bytes(numbers[c], numbers.rows * sizeof(double));
    return *this;
}

figure& figure::result(const dense2D<unsigned>& numbers) {
    for (std::size_t c = 0; c < numbers.cols; ++c)
        add_bytes(numbers[c], numbers.rows * sizeof(unsigned));
    return *this;
}

figure& figure::result(const dense1D<double, 8>& numbers) {
    if (!numbers.empty()) add_bytes(numbers.data(), numbers.size * sizeof(double));
    return *this;
}

figure& figure::result(const dense1D<unsigned, 8>& numbers) {
    if (!numbers.empty()) add_bytes(numbers.data(), numbers.size * sizeof(unsigned));
    return *this;
}

figure& figure::result(double number) {
    add_bytes(&number, sizeof number);
    return *this;
}

// ------------------------------------------------------------------------------------- the files

void figure::keep_surface(const examples::mesh& m, const paint& how) {
    surface kept{{}, how.opacity};
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const std::vector<unsigned> around = examples::cell_outline(m, e);
        colour fill = how.fill;
        if (how.values != nullptr) {
            double sum = 0;
            const bool per_element = how.values->size() == m.connect.cols;
            for (const unsigned n : around) sum += (*how.values)[per_element ? e : n];
            const double mean = sum / static_cast<double>(around.size());
            fill = examples::colour_at(*how.map, (mean - how.low) / (how.high - how.low));
        }
        for (std::size_t k = 2; k < around.size(); ++k) {
            kept.triangles.push_back(
                {{examples::node(m, around[0]), examples::node(m, around[k - 1]),
                  examples::node(m, around[k])},
                 fill});
        }
    }
    surfaces.push_back(std::move(kept));
}

void figure::keep_line(const std::vector<point>& points, const colour& line) {
    for (std::size_t k = 1; k < points.size(); ++k)
        segments.push_back({{points[k - 1], points[k]}, line});
}

namespace {

/// Words, joined by commas.
std::string listed(const std::vector<std::string>& words) {
    std::string list;
    for (const std::string& word : words) list += (list.empty() ? "" : ",") + word;
    return list;
}

std::string quoted(const std::string& word) {
    return '"' + word + '"';
}

/// Two or three points in a row, as lists of coordinates and of one colour for each run of them.
template <class Pieces, class Points>
std::string coordinates_and_colours(const Pieces& pieces, const Points& points_and_colour) {
    std::vector<std::string> coordinates;
    std::vector<std::string> colours;
    for (const auto& piece : pieces) {
        const auto [points, shade] = points_and_colour(piece);
        for (const point& p : *points)
            for (const double x : p) coordinates.push_back(fixed(x));
        colours.push_back(quoted(examples::hex(shade)));
    }
    return "\"positions\": [" + listed(coordinates) + "], \"colours\": [" + listed(colours) + "]";
}

} // namespace

// The view is a script, because a browser loads no data for a page that it has from a file.
void figure::write_view(const std::string& name) const {
    std::vector<std::string> parts;
    for (const surface& s : surfaces) {
        const auto corners = [](const triangle& t) { return std::pair(&t.corners, t.fill); };
        parts.push_back("{" + coordinates_and_colours(s.triangles, corners) +
                        ", \"opacity\": " + fixed(s.opacity) + "}");
    }
    const auto ends = [](const segment& s) { return std::pair(&s.ends, s.line); };
    std::ofstream file(name + ".mesh.js");
    file << "tessel2dMeshes[" << quoted(name) << "] = {\"parts\": [" << listed(parts)
         << "], \"lines\": {" << coordinates_and_colours(segments, ends) << "}";
    if (legend != nullptr) {
        std::vector<std::string> colours;
        for (const colour& c : *legend) colours.push_back(quoted(examples::hex(c)));
        file << ", \"legend\": {\"colours\": [" << listed(colours)
             << "], \"low\": " << quoted(legend_words[0])
             << ", \"high\": " << quoted(legend_words[1])
             << ", \"meaning\": " << quoted(legend_words[2]) << "}";
    }
    file << "};\n";
}

int figure::finish(const std::string& name, const std::string& seen, int status) const {
    if (status < 0) {
        std::printf("%s: status %d\n", name.c_str(), status);
        return 1;
    }
    picture.write(name + ".svg", width, height, seen);
    std::ofstream(name + ".txt") << seen << '\n';
    if (!surfaces.empty()) write_view(name);
    std::printf("%s %08x\n", name.c_str(), ~checksum);
    return 0;
}

} // namespace zel::gallery
