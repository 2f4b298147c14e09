// SPDX-License-Identifier: Apache-2.0
#include "support/off_reader.h"

#include "support/require.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace zel::examples {

namespace {

constexpr unsigned no_node = 0xFFFFFFFF;

/// The words of the file without its comments.
std::istringstream words_of(const std::filesystem::path& file) {
    std::ifstream in(file);
    require(in.is_open(), "cannot open " + file.string());
    std::string text;
    for (std::string line; std::getline(in, line);) text += line.substr(0, line.find('#')) + '\n';
    return std::istringstream(text);
}

dense2D<double> read_nodes(std::istream& in, std::size_t count, const std::string& name) {
    dense2D<double> pos(3, count);
    require(pos.cols == count, name + ": too many nodes");
    bool planar = true;
    for (std::size_t n = 0; n < count; ++n) {
        double* p = pos[n];
        require(bool(in >> p[0] >> p[1] >> p[2]),
                name + ": node " + std::to_string(n) + " is cut short");
        planar = planar && p[2] == 0;
    }
    if (!planar) return pos;
    dense2D<double> plane;
    require(plane.copy(pos.sub_matrix(0, 0, 2, count)), "memory is exhausted");
    return plane;
}

dense2D<unsigned> read_faces(std::istream& in, std::size_t count, std::size_t nodes,
                             const std::string& name) {
    dense2D<unsigned> connect(4, count, no_node);
    require(connect.cols == count, name + ": too many faces");
    bool triangles = true;
    for (std::size_t e = 0; e < count; ++e) {
        const std::string face = name + ": face " + std::to_string(e);
        std::size_t corners = 0;
        require(bool(in >> corners), face + " is cut short");
        require(corners == 3 || corners == 4, face + " is no triangle and no quadrilateral");
        triangles = triangles && corners == 3;
        for (std::size_t k = 0; k < corners; ++k) {
            std::size_t n = nodes;
            require(in >> n && n < nodes, face + " names a node that does not exist");
            connect(k, e) = static_cast<unsigned>(n);
        }
    }
    if (!triangles) return connect;
    dense2D<unsigned> three;
    require(three.copy(connect.sub_matrix(0, 0, 3, count)), "memory is exhausted");
    return three;
}

} // namespace

mesh read_off(const std::filesystem::path& file) {
    const std::string name = file.string();
    std::istringstream in = words_of(file);
    std::string word;
    std::size_t nodes = 0;
    std::size_t faces = 0;
    std::size_t edges = 0;
    require(in >> word >> nodes >> faces >> edges && word == "OFF", name + " is no OFF file");
    require(nodes > 0 && faces > 0, name + " has no faces");
    require(nodes < no_node && faces < no_node, name + ": the counts are too large");
    mesh m;
    m.pos = read_nodes(in, nodes, name);
    m.connect = read_faces(in, faces, nodes, name);
    return m;
}

} // namespace zel::examples
