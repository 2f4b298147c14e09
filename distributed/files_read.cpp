// SPDX-License-Identifier: Apache-2.0
// A mesh in parts from a file: each rank reads one block of nodes and one of elements, from which a mesh is made
// as from any other blocks; fields follow from the blocks to where their nodes and elements have gone.
#include "zel/distributed/files.h"

#include "distributed/blocks.h"
#include "distributed/hdf5.h"
#include "distributed/part.h"

#include <petscsys.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace zel::distributed {

namespace {

// The largest ratio of what is stored to what is read that compression can reach: that of zlib.
constexpr number most_compression = 1032;

// Opening what is no file of bytes, a pipe for example, might not return.
int regular_file(MPI_Comm comm, const std::string& path) {
    int yes = 0;
    if (rank_of(comm) == 0) {
        struct stat about {};
        yes = stat(path.c_str(), &about) == 0 && S_ISREG(about.st_mode);
    }
    MPI_Bcast(&yes, 1, MPI_INT, 0, comm);
    return yes ? 0 : -2;
}

bool same_path(MPI_Comm comm, const std::string& path) {
    std::uint64_t mine[2] = {path.size(), 0};
    for (const char c : path) mine[1] = mine[1] * 1099511628211U + static_cast<unsigned char>(c);
    std::uint64_t least[4];
    const std::uint64_t both[4] = {mine[0], ~mine[0], mine[1], ~mine[1]};
    MPI_Allreduce(both, least, 4, MPI_UINT64_T, MPI_MIN, comm);
    return least[0] == ~least[1] && least[2] == ~least[3] && !path.empty();
}

hid_t open_file(MPI_Comm comm, const std::string& path) {
    const hdf5_properties access(H5Pcreate(H5P_FILE_ACCESS));
    if (!access.stands() || H5Pset_fapl_mpio(access, comm, MPI_INFO_NULL) < 0)
        return H5I_INVALID_HID;
    return H5Fopen(path.c_str(), H5F_ACC_RDONLY, access);
}

// A matrix of numbers in the file: `rows` of `width`, a list has width 1.
struct matrix {
    hdf5_data data;
    number rows = 0;
    number width = 0;
    bool good = false;

    matrix(hid_t parent, const char* name, bool integers) : data(open(parent, name)) {
        if (!data.stands()) return;
        const hdf5_type type(H5Dget_type(data));
        const hdf5_space space(H5Dget_space(data));
        const H5T_class_t kind = H5Tget_class(type);
        if (kind != H5T_INTEGER && (integers || kind != H5T_FLOAT)) return;
        const int rank = H5Sget_simple_extent_ndims(space);
        if (rank != 2 && (rank != 1 || integers)) return;
        hsize_t dims[2] = {0, 1};
        if (H5Sget_simple_extent_dims(space, dims, nullptr) < 0) return;
        rows = dims[0];
        width = dims[1];
        good = stored(H5Tget_size(type));
    }

private:
    // Links are followed within the file alone, and only to matrices.
    static hid_t open(hid_t parent, const char* name) {
        H5L_info_t link;
        if (H5Lget_info(parent, name, &link, H5P_DEFAULT) < 0 || link.type != H5L_TYPE_HARD)
            return H5I_INVALID_HID;
        return H5Dopen2(parent, name, H5P_DEFAULT);
    }
    // Returns true if the numbers can be there: a matrix that claims more than is stored is damaged.
    bool stored(number bytes_of_each) const {
        if (rows == 0 || width == 0) return true;
        if (rows > (number{1} << 62) / width / bytes_of_each) return false;
        const number claimed = rows * width * bytes_of_each, there = H5Dget_storage_size(data);
        const hdf5_properties made(H5Dget_create_plist(data));
        const H5D_layout_t layout = H5Pget_layout(made);
        if (H5Pget_external_count(made) != 0 || layout == H5D_VIRTUAL) return false;
        return layout == H5D_CHUNKED ? claimed / most_compression <= there : claimed <= there;
    }
};

// Reads rows [first, first + length) as doubles or as integers of 64 bits.
bool read_rows(const matrix& from, bool real, hsize_t first, hsize_t length, number* words) {
    const hdf5_space space(H5Dget_space(from.data));
    const int rank = H5Sget_simple_extent_ndims(space);
    return in_pieces(length, from.width, [&](hsize_t row, hsize_t rows, hsize_t offset) {
        const hsize_t start[2] = {first + row, 0}, count[2] = {rows, from.width};
        const hdf5_space memory(H5Screate_simple(rank, count, nullptr));
        return H5Sselect_hyperslab(space, H5S_SELECT_SET, start, nullptr, count, nullptr) >= 0 &&
               H5Dread(from.data, real ? H5T_NATIVE_DOUBLE : H5T_NATIVE_INT64, memory, space,
                       H5P_DEFAULT, words + offset) >= 0;
    });
}

// The block of this rank. Collective.
int read_block(MPI_Comm comm, const matrix& from, bool real, list<number>& block) {
    const equal_blocks blocks(comm, from.rows);
    const int me = rank_of(comm);
    const int status = together(comm, [&] {
        if (blocks.length(me) > INT_MAX) return no_memory;
        block.resize(blocks.length(me) * from.width);
        return 0;
    });
    if (status || from.width == 0) return status;
    const bool well = read_rows(from, real, blocks.first(me), blocks.length(me), block.data());
    return agree(comm, well ? 0 : -2);
}

int read_mesh(MPI_Comm comm, hid_t file, partitioned_mesh& mesh) {
    const matrix nodes(file, "nodes", false), elements(file, "elements", true);
    const bool good = nodes.good && elements.good && (nodes.width == 2 || nodes.width == 3) &&
                      elements.width <= INT_MAX;
    int status = agree(comm, good ? 0 : -3);
    if (status) return status;
    dense2D<double> pos;
    dense2D<number> connect;
    {
        list<number> block;
        if ((status = read_block(comm, nodes, true, block))) return status;
        status = together(comm, [&] {
            const std::size_t rows = nodes.width == 2 ? 2 : 3;
            if (!pos.resize(rows, block.size() / rows)) return no_memory;
            if (!block.empty())
                std::memcpy(pos.data(), block.data(), block.size() * sizeof(number));
            return 0;
        });
        if (status) return status;
    }
    {
        list<number> block;
        if ((status = read_block(comm, elements, false, block))) return status;
        status = together(comm, [&] {
            const std::size_t rows = elements.width;
            if (!connect.resize(rows, rows ? block.size() / rows : 0)) return no_memory;
            std::copy(block.begin(), block.end(), connect.data());
            return 0;
        });
        if (status) return status;
    }
    status = from_blocks(comm, pos, connect, mesh);
    // Whatever it complains about is what stands in the file.
    return status == -2 ? -3 : status;
}

// Names of the links of a group, ascending; none if there is no such group.
struct group_names {
    std::vector<std::string> names;
    hid_t group = H5I_INVALID_HID;
    bool good = true;

    group_names(hid_t file, const char* name) {
        if (H5Lexists(file, name, H5P_DEFAULT) <= 0) return;
        H5L_info_t link;
        good = H5Lget_info(file, name, &link, H5P_DEFAULT) >= 0 && link.type == H5L_TYPE_HARD;
        if (!good) return;
        group = H5Gopen2(file, name, H5P_DEFAULT);
        good = group >= 0 &&
               H5Literate(group, H5_INDEX_NAME, H5_ITER_INC, nullptr, &take, &names) >= 0;
    }
    ~group_names() {
        if (group >= 0) H5Gclose(group);
    }
    group_names(const group_names&) = delete;
    group_names& operator=(const group_names&) = delete;

private:
    // HDF5 is C: nothing may be thrown through it.
    static herr_t take(hid_t, const char* name, const H5L_info_t*, void* names) {
        try {
            static_cast<std::vector<std::string>*>(names)->emplace_back(name);
        } catch (...) {
            return -1;
        }
        return 0;
    }
};

// Collective.
int read_field(MPI_Comm comm, hid_t group, const std::string& name,
               const dense1D<number, 8>& numbers, number total, int complaint, field& out) {
    const matrix from(group, name.c_str(), false);
    const bool good = from.good && from.rows == total && from.width != 0 && from.width <= INT_MAX;
    int status = agree(comm, good ? 0 : complaint);
    if (status) return status;
    list<number> block;
    if ((status = read_block(comm, from, true, block))) return status;
    out.values.rows = from.width;
    out.name = name;
    return out_of_blocks(comm, block, numbers, total, out.values);
}

int read_fields(MPI_Comm comm, hid_t file, const char* group_name,
                const dense1D<number, 8>& numbers, number total, int complaint,
                std::vector<field>& fields) {
    const group_names links(file, group_name);
    int status = agree(comm, links.good ? 0 : complaint);
    if (status) return status;
    status = together(comm, [&] {
        fields.resize(links.names.size());
        return 0;
    });
    for (std::size_t k = 0; !status && k < fields.size(); ++k)
        status =
            read_field(comm, links.group, links.names[k], numbers, total, complaint, fields[k]);
    return status;
}

} // namespace

int read(MPI_Comm comm, const std::string& path, partitioned_mesh& mesh,
         std::vector<field>* node_fields, std::vector<field>* element_fields) {
    PetscBool stands = PETSC_FALSE;
    PetscInitialized(&stands);
    if (comm == MPI_COMM_NULL || !stands) return -1;
    if (!same_path(comm, path)) return -2;
    if (const int status = regular_file(comm, path)) return status;

    const quiet_hdf5 quiet;
    const hdf5_file file(open_file(comm, path));
    int status = agree(comm, file.stands() ? 0 : -2);
    if (status) return status;
    partitioned_mesh fresh;
    std::vector<field> at_nodes, at_elements;
    status = read_mesh(comm, file, fresh);
    if (!status && node_fields)
        status =
            read_fields(comm, file, "node_fields", fresh.node_numbers, fresh.nodes, -4, at_nodes);
    if (!status && element_fields)
        status = read_fields(comm, file, "element_fields", fresh.element_numbers, fresh.elements,
                             -5, at_elements);
    if (status) return status;
    mesh = fresh;
    if (node_fields) node_fields->swap(at_nodes);
    if (element_fields) element_fields->swap(at_elements);
    return 0;
}

} // namespace zel::distributed
