// SPDX-License-Identifier: Apache-2.0
// A mesh in parts into a file. Columns go to equal blocks of global numbers first, so that each rank writes one
// run of bytes and the file is the same however the mesh was shared out. The newer form of HDF5's own records
// is taken: each carries a checksum, by which `read` finds damage, and none a time.
#include "zel/distributed/files.h"

#include "distributed/blocks.h"
#include "distributed/hdf5.h"
#include "distributed/part.h"

#include <petscsys.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace zel::distributed {

namespace {

// ------------------------------------------------------------------------------------------ arguments

std::uint64_t digest(const char* bytes, std::size_t n, std::uint64_t seed) {
    std::uint64_t h = seed ^ 0xcbf29ce484222325U; // FNV-1a
    for (std::size_t k = 0; k < n; ++k)
        h = (h ^ static_cast<unsigned char>(bytes[k])) * 0x100000001b3U;
    return h;
}

// Returns true if all ranks bring the same value.
bool same_on_all(MPI_Comm comm, std::uint64_t value) {
    const std::uint64_t mine[2] = {value, ~value};
    std::uint64_t least[2] = {0, 0};
    MPI_Allreduce(mine, least, 2, MPI_UINT64_T, MPI_MIN, comm);
    return least[0] == ~least[1];
}

bool good_name(const std::string& name) {
    return !name.empty() && name != "." && std::none_of(name.begin(), name.end(), [](char c) {
        return c == '/' || static_cast<unsigned char>(c) < 32 || c == 127;
    });
}

bool good_fields(const std::vector<field>& fields, std::size_t columns) {
    for (std::size_t k = 0; k < fields.size(); ++k) {
        if (!good_name(fields[k].name) || fields[k].values.rows == 0 ||
            fields[k].values.cols != columns)
            return false;
        for (std::size_t i = 0; i < k; ++i)
            if (fields[i].name == fields[k].name) return false;
    }
    return true;
}

std::uint64_t digest_of(const std::vector<field>& fields) {
    std::uint64_t h = fields.size();
    for (const field& f : fields) {
        h = digest(f.name.data(), f.name.size(), h);
        h = h * 31 + f.values.rows;
    }
    return h;
}

// ------------------------------------------------------------------------------------------ topology

// Kinds of elements as XDMF numbers them, by their number of nodes; 0 where it has none.
number xdmf_kind(std::size_t nodes) {
    switch (nodes) {
    case 3:
        return 4;
    case 4:
        return 5;
    case 6:
        return 36;
    case 8:
        return 37;
    case 9:
        return 35;
    default:
        return 0;
    }
}

const char* xdmf_name(std::size_t nodes) {
    switch (nodes) {
    case 3:
        return "Triangle";
    case 4:
        return "Quadrilateral";
    case 6:
        return "Triangle_6";
    case 8:
        return "Quadrilateral_8";
    case 9:
        return "Quadrilateral_9";
    default:
        return "Mixed";
    }
}

// How viewers get the elements: not at all, as they are, as columns of their own of equal height, or as a list of
// kinds and nodes.
struct topology {
    enum { none, as_they_are, columns, mixed } form = none;
    std::size_t nodes = 0; ///< of each element; 0 where they differ
    number words = 0;      ///< of all columns, or of the list, over all ranks
    number front = 0;      ///< on lower ranks
    list<number> mine;     ///< this rank's share of it

    bool own_data() const { return form == columns || form == mixed; }
};

std::size_t nodes_of(const number* column, std::size_t rows) {
    return static_cast<std::size_t>(std::find(column, column + rows, no_number) - column);
}

// Appends an element for viewers; a T6 has its edge nodes in another order there.
void append_viewed(const number* column, std::size_t nodes, bool kind, list<number>& out) {
    static constexpr unsigned t6[6] = {0, 1, 2, 5, 3, 4};
    if (kind) out.push_back(xdmf_kind(nodes));
    for (std::size_t i = 0; i < nodes; ++i) out.push_back(column[nodes == 6 ? t6[i] : i]);
}

// The form, from the least and the greatest number of nodes that an element has. Collective.
int find_form(MPI_Comm comm, const word_columns& block, topology& out) {
    const std::size_t rows = block.width;
    const std::size_t cols = rows ? block.words.size() / rows : 0;
    std::uint64_t mine[3] = {UINT64_MAX, UINT64_MAX, 1}; // least, ~greatest, whether all are known
    for (std::size_t e = 0; e < cols; ++e) {
        const std::uint64_t nodes = nodes_of(block.words.data() + e * rows, rows);
        mine[0] = std::min(mine[0], nodes);
        mine[1] = std::min(mine[1], ~nodes);
        mine[2] = std::min<std::uint64_t>(mine[2], xdmf_kind(nodes) != 0);
    }
    std::uint64_t all[3] = {0, 0, 0};
    if (MPI_Allreduce(mine, all, 3, MPI_UINT64_T, MPI_MIN, comm) != MPI_SUCCESS)
        return engine_failed;
    if (all[0] == UINT64_MAX || !all[2]) return 0; // no elements, or kinds without a name
    const bool alike = all[0] == ~all[1];
    out.nodes = alike ? all[0] : 0;
    out.form = !alike                                ? topology::mixed
               : out.nodes != rows || out.nodes == 6 ? topology::columns
                                                     : topology::as_they_are;
    return 0;
}

// Collective.
int find_topology(const partitioned_mesh& mesh, const word_columns& block, topology& out) {
    if (const int status = find_form(mesh.comm, block, out)) return status;
    if (!out.own_data()) return 0;
    const std::size_t rows = block.width;
    const int status = together(mesh.comm, [&] {
        for (std::size_t at = 0; at < block.words.size(); at += rows) {
            const number* const column = block.words.data() + at;
            append_viewed(column, nodes_of(column, rows), out.form == topology::mixed, out.mine);
        }
        return 0;
    });
    if (status) return status;
    const number length = out.mine.size();
    int code = MPI_Exscan(&length, &out.front, 1, MPI_UINT64_T, MPI_SUM, mesh.comm);
    if (rank_of(mesh.comm) == 0) out.front = 0; // undefined there
    if (code == MPI_SUCCESS)
        code = MPI_Allreduce(&length, &out.words, 1, MPI_UINT64_T, MPI_SUM, mesh.comm);
    return agree(mesh.comm, code == MPI_SUCCESS ? 0 : engine_failed);
}

// ------------------------------------------------------------------------------------------ HDF5

constexpr int not_written = -2;

hid_t create_file(MPI_Comm comm, const std::string& path) {
    const hdf5_properties access(H5Pcreate(H5P_FILE_ACCESS)), creation(H5Pcreate(H5P_FILE_CREATE));
    if (!access.stands() || !creation.stands() ||
        H5Pset_fapl_mpio(access, comm, MPI_INFO_NULL) < 0 ||
        H5Pset_libver_bounds(access, H5F_LIBVER_V18, H5F_LIBVER_V18) < 0 ||
        H5Pset_obj_track_times(creation, false) < 0)
        return H5I_INVALID_HID;
    return H5Fcreate(path.c_str(), H5F_ACC_TRUNC, creation, access);
}

// Writes one run of rows of a matrix, which every rank makes and of which each has a part.
bool write_rows(hid_t data, hid_t type, hsize_t first, hsize_t length, hsize_t width, int rank,
                const number* words) {
    const hdf5_space file_space(H5Dget_space(data));
    return in_pieces(length, width, [&](hsize_t row, hsize_t rows, hsize_t offset) {
        const hsize_t start[2] = {first + row, 0}, count[2] = {rows, width};
        const hdf5_space memory(H5Screate_simple(rank, count, nullptr));
        return H5Sselect_hyperslab(file_space, H5S_SELECT_SET, start, nullptr, count, nullptr) >=
                   0 &&
               H5Dwrite(data, type, memory, file_space, H5P_DEFAULT, words + offset) >= 0;
    });
}

// A matrix of `length` rows in all; a width of 0 makes a list. Collective.
int write_matrix(MPI_Comm comm, hid_t parent, const std::string& name, bool real, hsize_t length,
                 hsize_t width, hsize_t first, hsize_t mine, const number* words) {
    const int rank = width == 0 ? 1 : 2;
    const hsize_t dims[2] = {length, width};
    const hdf5_space space(H5Screate_simple(rank, dims, nullptr));
    const hdf5_properties creation(H5Pcreate(H5P_DATASET_CREATE));
    if (H5Pset_obj_track_times(creation, false) < 0 ||
        H5Pset_fill_time(creation, H5D_FILL_TIME_NEVER) < 0)
        return agree(comm, engine_failed);
    const hid_t stored = real ? H5T_IEEE_F64LE : H5T_STD_I64LE;
    const hdf5_data data(
        H5Dcreate2(parent, name.c_str(), stored, space, H5P_DEFAULT, creation, H5P_DEFAULT));
    if (const int status = agree(comm, data.stands() ? 0 : not_written)) return status;
    const hid_t type = real ? H5T_NATIVE_DOUBLE : H5T_NATIVE_INT64;
    const bool well = write_rows(data, type, first, mine, width ? width : 1, rank, words);
    return agree(comm, well ? 0 : not_written);
}

// --------------------------------------------------------------------------------- mesh and fields

// Columns on their way into the file; `fill` makes those of this rank. Collective.
template <class Fill>
int columns_into_block(const partitioned_mesh& mesh, const dense1D<number, 8>& numbers,
                       const dense1D<home, 8>& homes, number total, std::size_t width, Fill&& fill,
                       word_columns& block) {
    list<number> own_numbers;
    word_columns own;
    const int status = together(mesh.comm, [&] {
        const list<unsigned> entries = own_entries(homes, rank_of(mesh.comm));
        own.width = width;
        own.words.resize(entries.size() * width);
        own_numbers.reserve(entries.size());
        for (std::size_t s = 0; s < entries.size(); ++s) {
            own_numbers.push_back(numbers[entries[s]]);
            fill(entries[s], own.words.data() + s * width);
        }
        return 0;
    });
    return status ? status : into_blocks(mesh.comm, own_numbers, own, total, block);
}

int write_block(MPI_Comm comm, hid_t parent, const std::string& name, bool real, number total,
                const word_columns& block) {
    const equal_blocks blocks(comm, total);
    const int me = rank_of(comm);
    return write_matrix(comm, parent, name, real, total, block.width, blocks.first(me),
                        blocks.length(me), block.words.data());
}

int write_nodes(const partitioned_mesh& mesh, hid_t file) {
    word_columns block;
    const std::size_t bytes = mesh.pos.rows * sizeof(double);
    const int status = columns_into_block(
        mesh, mesh.node_numbers, mesh.node_homes, mesh.nodes, mesh.pos.rows,
        [&](unsigned k, number* out) { std::memcpy(out, mesh.pos[k], bytes); }, block);
    return status ? status : write_block(mesh.comm, file, "nodes", true, mesh.nodes, block);
}

int write_elements(const partitioned_mesh& mesh, hid_t file, topology& viewed) {
    word_columns block;
    const std::size_t rows = mesh.connect.rows;
    int status = columns_into_block(
        mesh, mesh.element_numbers, mesh.element_homes, mesh.elements, rows,
        [&](unsigned e, number* out) {
            for (std::size_t i = 0; i < rows; ++i) {
                const unsigned local = mesh.connect(i, e);
                out[i] = local == no_node ? no_number : mesh.node_numbers[local];
            }
        },
        block);
    if (status) return status;
    if ((status = write_block(mesh.comm, file, "elements", false, mesh.elements, block)))
        return status;
    if ((status = find_topology(mesh, block, viewed))) return status;
    if (!viewed.own_data()) return 0;
    const number each = viewed.form == topology::columns ? viewed.nodes : 1;
    return write_matrix(mesh.comm, file, "topology", false, viewed.words / each, viewed.nodes,
                        viewed.front / each, viewed.mine.size() / each, viewed.mine.data());
}

int write_fields(const partitioned_mesh& mesh, hid_t file, const char* group_name,
                 const dense1D<number, 8>& numbers, const dense1D<home, 8>& homes, number total,
                 const std::vector<field>& fields) {
    if (fields.empty()) return 0;
    const hdf5_properties creation(H5Pcreate(H5P_GROUP_CREATE));
    H5Pset_obj_track_times(creation, false);
    const hdf5_group group(H5Gcreate2(file, group_name, H5P_DEFAULT, creation, H5P_DEFAULT));
    if (const int status = agree(mesh.comm, group.stands() ? 0 : not_written)) return status;
    for (const field& f : fields) {
        word_columns block;
        const std::size_t bytes = f.values.rows * sizeof(double);
        int status = columns_into_block(
            mesh, numbers, homes, total, f.values.rows,
            [&](unsigned k, number* out) { std::memcpy(out, f.values[k], bytes); }, block);
        if (!status) status = write_block(mesh.comm, group, f.name, true, total, block);
        if (status) return status;
    }
    return 0;
}

int write_hdf5(const partitioned_mesh& mesh, const std::string& path,
               const std::vector<field>& node_fields, const std::vector<field>& element_fields,
               topology& viewed) {
    const quiet_hdf5 quiet;
    hdf5_file file(create_file(mesh.comm, path));
    int status = agree(mesh.comm, file.stands() ? 0 : not_written);
    if (!status) status = write_nodes(mesh, file);
    if (!status) status = write_elements(mesh, file, viewed);
    if (!status)
        status = write_fields(mesh, file, "node_fields", mesh.node_numbers, mesh.node_homes,
                              mesh.nodes, node_fields);
    if (!status)
        status = write_fields(mesh, file, "element_fields", mesh.element_numbers,
                              mesh.element_homes, mesh.elements, element_fields);
    const bool closed = file.close();
    const int at_close = agree(mesh.comm, closed ? 0 : not_written);
    return status ? status : at_close;
}

// ------------------------------------------------------------------------------------------ XDMF

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string data_item(const std::string& file, const std::string& dims, bool real,
                      const std::string& where) {
    return "<DataItem Dimensions=\"" + dims + "\" NumberType=\"" + (real ? "Float" : "Int") +
           "\" Precision=\"8\" Format=\"HDF\">" + escaped(file) + ":/" + escaped(where) +
           "</DataItem>";
}

const char* attribute_type(std::size_t rows) {
    switch (rows) {
    case 1:
        return "Scalar";
    case 3:
        return "Vector";
    case 6:
        return "Tensor6";
    case 9:
        return "Tensor";
    default:
        return "Matrix";
    }
}

std::string attributes(const std::string& file, const std::vector<field>& fields,
                       const char* center, const char* group, number total) {
    std::string out;
    for (const field& f : fields) {
        const std::string rows = std::to_string(f.values.rows);
        out += "      <Attribute Name=\"" + escaped(f.name) + "\" AttributeType=\"" +
               attribute_type(f.values.rows) + "\" Center=\"" + center + "\">" +
               data_item(file, std::to_string(total) + " " + rows, true,
                         std::string(group) + "/" + f.name) +
               "</Attribute>\n";
    }
    return out;
}

std::string xdmf_text(const partitioned_mesh& mesh, const std::string& file, const topology& viewed,
                      const std::vector<field>& node_fields,
                      const std::vector<field>& element_fields) {
    const std::string elements = std::to_string(mesh.elements), nodes = std::to_string(mesh.nodes);
    const std::string each = std::to_string(viewed.nodes);
    const std::string items = data_item(
        file, viewed.form == topology::mixed ? std::to_string(viewed.words) : elements + " " + each,
        false, viewed.own_data() ? "topology" : "elements");
    return "<?xml version=\"1.0\"?>\n<Xdmf Version=\"3.0\">\n  <Domain>\n    <Grid Name=\"mesh\" "
           "GridType=\"Uniform\">\n      <Topology TopologyType=\"" +
           std::string(xdmf_name(viewed.nodes)) + "\" NumberOfElements=\"" + elements + "\">" +
           items + "</Topology>\n      <Geometry GeometryType=\"" +
           (mesh.pos.rows == 2 ? "XY" : "XYZ") + "\">" +
           data_item(file, nodes + " " + std::to_string(mesh.pos.rows), true, "nodes") +
           "</Geometry>\n" + attributes(file, node_fields, "Node", "node_fields", mesh.nodes) +
           attributes(file, element_fields, "Cell", "element_fields", mesh.elements) +
           "    </Grid>\n  </Domain>\n</Xdmf>\n";
}

std::string xdmf_path(const std::string& path) {
    const bool ends = path.size() > 3 && path.compare(path.size() - 3, 3, ".h5") == 0;
    return (ends ? path.substr(0, path.size() - 3) : path) + ".xdmf";
}

bool write_text(const std::string& path, const std::string& text) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return (std::fclose(file) == 0) && written;
}

// Both files under their names, on one rank. What has been there stays if the new ones cannot be put in place.
bool put_in_place(const partitioned_mesh& mesh, const std::string& path, const topology& viewed,
                  const std::vector<field>& node_fields, const std::vector<field>& element_fields) {
    const std::string xdmf = xdmf_path(path), part = xdmf + ".part";
    const std::string name = path.substr(path.find_last_of('/') + 1);
    if (viewed.form != topology::none &&
        !write_text(part, xdmf_text(mesh, name, viewed, node_fields, element_fields))) {
        std::remove(part.c_str());
        return false;
    }
    if (std::rename((path + ".part").c_str(), path.c_str()) != 0) {
        std::remove(part.c_str());
        return false;
    }
    if (viewed.form != topology::none) return std::rename(part.c_str(), xdmf.c_str()) == 0;
    std::remove(xdmf.c_str());
    return true;
}

} // namespace

int write(const partitioned_mesh& mesh, const std::string& path,
          const std::vector<field>& node_fields, const std::vector<field>& element_fields) {
    PetscBool stands = PETSC_FALSE;
    PetscInitialized(&stands);
    if (mesh.comm == MPI_COMM_NULL || !stands) return -1;
    MPI_Comm comm = mesh.comm;
    const auto test = [&](bool good, std::uint64_t value, int complaint) {
        const int status = agree(comm, good ? 0 : complaint);
        return status ? status : same_on_all(comm, value) ? 0 : complaint;
    };
    int status = test(!path.empty() && path.find('\0') == std::string::npos,
                      digest(path.data(), path.size(), 0), -2);
    if (!status) status = test(good_fields(node_fields, mesh.pos.cols), digest_of(node_fields), -3);
    if (!status)
        status =
            test(good_fields(element_fields, mesh.connect.cols), digest_of(element_fields), -4);
    if (status) return status;

    topology viewed;
    std::string part;
    status = together(comm, [&] {
        part = path + ".part";
        return 0;
    });
    if (status) return status;
    status = write_hdf5(mesh, part, node_fields, element_fields, viewed);
    const bool first = rank_of(comm) == 0;
    const int placed = together(comm, [&] {
        if (!first || status) return 0;
        return put_in_place(mesh, path, viewed, node_fields, element_fields) ? 0 : not_written;
    });
    if (first && (status || placed)) std::remove(part.c_str());
    return status ? status : placed;
}

} // namespace zel::distributed
