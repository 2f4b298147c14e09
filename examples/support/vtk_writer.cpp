// SPDX-License-Identifier: Apache-2.0
#include "support/vtk_writer.h"

#include "support/require.h"

#include <fstream>
#include <limits>

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

void open_array(std::ostream& out, const char* type, const std::string& name, int components = 1) {
    out << "<DataArray type=\"" << type << "\" Name=\"" << name << "\" NumberOfComponents=\""
        << components << "\" format=\"ascii\">\n";
}

void close_array(std::ostream& out) {
    out << "</DataArray>\n";
}

void write_points(std::ostream& out, const mesh& m) {
    out << "<Points>\n";
    open_array(out, "Float64", "Points", 3);
    for (std::size_t n = 0; n < m.pos.cols; ++n) {
        const point p = node(m, n);
        out << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
    }
    close_array(out);
    out << "</Points>\n";
}

void write_cells(std::ostream& out, const mesh& m) {
    out << "<Cells>\n";
    open_array(out, "Int64", "connectivity");
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        for (const unsigned n : vtk_nodes(m, e)) out << n << ' ';
        out << '\n';
    }
    close_array(out);
    open_array(out, "Int64", "offsets");
    std::size_t offset = 0;
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        out << (offset += cell_nodes(m, e).size()) << '\n';
    }
    close_array(out);
    open_array(out, "UInt8", "types");
    for (std::size_t e = 0; e < m.connect.cols; ++e) out << vtk_type(kind_of_cell(m, e)) << '\n';
    close_array(out);
    out << "</Cells>\n";
}

void write_fields(std::ostream& out, const char* place, const std::vector<field>& fields,
                  std::size_t count) {
    out << '<' << place << ">\n";
    for (const field& f : fields) {
        const bool vector = f.values.size() == 3 * count;
        require(vector || f.values.size() == count,
                "the field " + f.name + " does not fit the mesh it was given for");
        open_array(out, "Float64", f.name, vector ? 3 : 1);
        for (const double value : f.values) out << value << '\n';
        close_array(out);
    }
    out << "</" << place << ">\n";
}

} // namespace

void write_vtu(const std::filesystem::path& file, const mesh& m, const mesh_fields& fields) {
    std::ofstream out(file);
    out.precision(std::numeric_limits<double>::max_digits10);
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
