// SPDX-License-Identifier: Apache-2.0
#include "support/vtk_writer.h"

#include "support/require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>

namespace zel::examples {

namespace {

/// The file format's number for an element.
int vtk_type(cell_kind kind) {
    switch (kind) {
    case cell_kind::edge:
        return 3;
    case cell_kind::triangle:
        return 5;
    case cell_kind::quad:
        return 9;
    case cell_kind::triangle6:
        return 22;
    case cell_kind::quad8:
        return 23;
    case cell_kind::quad9:
        return 28;
    }
    return 0;
}

/// The nodes in the file format's order: its nodes on the sides of a triangle follow the sides, ours
/// the opposite corners.
std::vector<unsigned> vtk_nodes(const mesh& m, std::size_t element) {
    const std::vector<unsigned> n = cell_nodes(m, element);
    if (kind_of_cell(m, element) != cell_kind::triangle6) return n;
    return {n[0], n[1], n[2], n[5], n[3], n[4]};
}

/// Bytes as text, four characters for three of them.
std::string base64(const std::string& bytes) {
    static constexpr char digits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t k = 0; k < bytes.size(); k += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - k);
        std::uint32_t three = 0;
        for (std::size_t i = 0; i < 3; ++i)
            three = three << 8 | (i < count ? static_cast<unsigned char>(bytes[k + i]) : 0u);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? digits[three >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

/// Numbers as the format wants them: how many bytes follow, and the bytes.
template <class T>
void write_array(std::ostream& out, const char* type, const std::string& name,
                 const std::vector<T>& values, int components = 1) {
    const std::uint64_t size = values.size() * sizeof(T);
    std::string bytes(sizeof size + size, '\0');
    std::memcpy(bytes.data(), &size, sizeof size);
    if (size > 0) std::memcpy(bytes.data() + sizeof size, values.data(), size);
    out << "<DataArray type=\"" << type << "\" Name=\"" << name << "\" NumberOfComponents=\""
        << components << "\" format=\"binary\">\n"
        << base64(bytes) << "\n</DataArray>\n";
}

void write_points(std::ostream& out, const mesh& m) {
    std::vector<double> places;
    for (std::size_t n = 0; n < m.pos.cols; ++n) {
        const point p = node(m, n);
        places.insert(places.end(), p.begin(), p.end());
    }
    out << "<Points>\n";
    write_array(out, "Float64", "Points", places, 3);
    out << "</Points>\n";
}

void write_cells(std::ostream& out, const mesh& m) {
    std::vector<std::int32_t> connectivity;
    std::vector<std::int32_t> offsets;
    std::vector<std::uint8_t> types;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        for (const unsigned n : vtk_nodes(m, e))
            connectivity.push_back(static_cast<std::int32_t>(n));
        offsets.push_back(static_cast<std::int32_t>(connectivity.size()));
        types.push_back(static_cast<std::uint8_t>(vtk_type(kind_of_cell(m, e))));
    }
    out << "<Cells>\n";
    write_array(out, "Int32", "connectivity", connectivity);
    write_array(out, "Int32", "offsets", offsets);
    write_array(out, "UInt8", "types", types);
    out << "</Cells>\n";
}

void write_fields(std::ostream& out, const char* place, const std::vector<field>& fields,
                  std::size_t count) {
    out << '<' << place << ">\n";
    for (const field& f : fields) {
        const bool vector = f.values.size() == 3 * count;
        require(vector || f.values.size() == count,
                "the field " + f.name + " does not fit the mesh it was given for");
        write_array(out, "Float64", f.name, f.values, vector ? 3 : 1);
    }
    out << "</" << place << ">\n";
}

} // namespace

void write_vtu(const std::filesystem::path& file, const mesh& m, const mesh_fields& fields) {
    std::ofstream out(file);
    out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" "
           "byte_order=\"LittleEndian\" header_type=\"UInt64\">\n<UnstructuredGrid>\n"
        << "<Piece NumberOfPoints=\"" << m.pos.cols << "\" NumberOfCells=\"" << m.connect.cols
        << "\">\n";
    write_fields(out, "PointData", fields.on_nodes, m.pos.cols);
    write_fields(out, "CellData", fields.on_elements, m.connect.cols);
    write_points(out, m);
    write_cells(out, m);
    out << "</Piece>\n</UnstructuredGrid>\n</VTKFile>\n";
    out.close();
    require(!out.fail(), "cannot write " + file.string());
}

} // namespace zel::examples
