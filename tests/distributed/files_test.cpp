// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"

#include "zel/distributed/files.h"
#include "zel/tessel2d.h"

#include <hdf5.h>
#include <mpi.h>
#include <petscsys.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>

using namespace zel;
using namespace zel::distributed;
using namespace zel_test;

namespace {

// A folder for this run, the same on all ranks. ZEL_FILES names one that stays, for the test that reads the
// files with another program.
const std::string& folder() {
    static const std::string name = [] {
        char path[4096] = "";
        const char* const given = std::getenv("ZEL_FILES");
        if (rank() == 0) {
            if (given) {
                std::snprintf(path, sizeof path, "%s", given);
                mkdir(path, 0777);
            } else {
                std::snprintf(path, sizeof path, "/tmp/zel_files_XXXXXX");
                if (!mkdtemp(path)) path[0] = 0;
            }
        }
        MPI_Bcast(path, sizeof path, MPI_CHAR, 0, PETSC_COMM_WORLD);
        if (!given && rank() == 0) {
            static std::string at_end = path;
            std::atexit([] {
                if (std::system(("rm -rf '" + at_end + "'").c_str()) != 0) std::abort();
            });
        }
        return std::string(path);
    }();
    return name;
}

std::string in_folder(const std::string& name) {
    return folder() + "/" + name;
}

std::string bytes_of(const std::string& path) {
    std::string bytes;
    if (std::FILE* const in = std::fopen(path.c_str(), "rb")) {
        char block[4096];
        while (const std::size_t n = std::fread(block, 1, sizeof block, in)) bytes.append(block, n);
        std::fclose(in);
    }
    return bytes;
}

// On rank 0, and not before all ranks are done with the file.
void put_bytes(const std::string& path, const std::string& bytes) {
    MPI_Barrier(PETSC_COMM_WORLD);
    if (rank() == 0) std::ofstream(path, std::ios::binary) << bytes;
    MPI_Barrier(PETSC_COMM_WORLD);
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// A field that depends on nothing but the global number.
field made_of_numbers(const char* name, std::size_t rows, const dense1D<number, 8>& numbers) {
    field f{name, dense2D<double>(rows, numbers.size)};
    for (std::size_t k = 0; k < numbers.size; ++k)
        for (std::size_t i = 0; i < rows; ++i)
            f.values(i, k) = 0.1 * static_cast<double>(numbers[k]) + static_cast<double>(i);
    return f;
}

std::vector<field> node_fields_of(const partitioned_mesh& mesh) {
    return {made_of_numbers("warm & <wet>", 1, mesh.node_numbers),
            made_of_numbers("away", 3, mesh.node_numbers)};
}

std::vector<field> element_fields_of(const partitioned_mesh& mesh) {
    return {made_of_numbers("stress", 6, mesh.element_numbers)};
}

void expect_field(const field& f, const char* name, std::size_t rows,
                  const dense1D<number, 8>& numbers) {
    const field want = made_of_numbers(name, rows, numbers);
    EXPECT_EQ(name, f.name);
    ASSERT_EQ(rows, f.values.rows);
    ASSERT_EQ(numbers.size, f.values.cols);
    EXPECT_TRUE(std::equal(f.values.begin(), f.values.end(), want.values.begin()));
}

// The files of a mesh on one rank alone, without any other.
void write_alone(const whole_mesh& whole, const std::string& path) {
    if (rank() == 0) {
        dense2D<number> connect(whole.connect.rows, whole.connect.cols);
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (std::size_t i = 0; i < connect.rows; ++i)
                connect(i, e) =
                    whole.connect(i, e) == 0xFFFFFFFFU ? no_number : number{whole.connect(i, e)};
        partitioned_mesh mesh;
        EXPECT_EQ(0, from_blocks(MPI_COMM_SELF, whole.pos, connect, mesh));
        EXPECT_EQ(0, write(mesh, path, node_fields_of(mesh), element_fields_of(mesh)));
    }
    MPI_Barrier(PETSC_COMM_WORLD);
}

// The plain square as a file, whose bytes tests spoil.
std::string small_file(const std::string& path) {
    const partitioned_mesh mesh = parts_of(meshes()[7], sharings()[1]);
    EXPECT_EQ(0, write(mesh, path, node_fields_of(mesh), element_fields_of(mesh)));
    const std::string bytes = bytes_of(path);
    MPI_Barrier(PETSC_COMM_WORLD);
    return bytes;
}

// Replaces a matrix of a file by another one, on rank 0.
void put_matrix(const std::string& path, const char* name, hid_t type, std::vector<hsize_t> dims,
                const void* values) {
    MPI_Barrier(PETSC_COMM_WORLD);
    if (rank() == 0) {
        const hid_t file = H5Fopen(path.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        H5Ldelete(file, name, H5P_DEFAULT);
        if (values) {
            const hid_t space =
                H5Screate_simple(static_cast<int>(dims.size()), dims.data(), nullptr);
            const hid_t data =
                H5Dcreate2(file, name, type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
            EXPECT_GE(H5Dwrite(data, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, values), 0);
            H5Dclose(data);
            H5Sclose(space);
        }
        EXPECT_GE(H5Fclose(file), 0);
    }
    MPI_Barrier(PETSC_COMM_WORLD);
}

int read_all(const std::string& path) {
    partitioned_mesh mesh;
    std::vector<field> at_nodes, at_elements;
    const int status = read(PETSC_COMM_WORLD, path, mesh, &at_nodes, &at_elements);
    if (status) {
        EXPECT_EQ(MPI_COMM_NULL, mesh.comm);
        EXPECT_TRUE(at_nodes.empty() && at_elements.empty());
    }
    return status;
}

} // namespace

TEST(Files, WhatIsWrittenIsReadAgain) {
    const std::string path = in_folder("round.h5");
    for (std::size_t m = 0; m < meshes().size(); ++m) {
        const whole_mesh& whole = meshes()[m];
        SCOPED_TRACE(whole.name);
        const partitioned_mesh mesh = parts_of(whole, sharings()[m % sharings().size()]);
        EXPECT_EQ(0, write(mesh, path, node_fields_of(mesh), element_fields_of(mesh)));
        partitioned_mesh back;
        std::vector<field> at_nodes, at_elements;
        ASSERT_EQ(0, read(PETSC_COMM_WORLD, path, back, &at_nodes, &at_elements));
        expect_sound(back);
        expect_whole(back, whole.pos, whole.connect);
        EXPECT_EQ(2U, at_nodes.size());
        EXPECT_EQ(1U, at_elements.size());
        if (at_nodes.size() == 2) {
            expect_field(at_nodes[0], "away", 3, back.node_numbers);
            expect_field(at_nodes[1], "warm & <wet>", 1, back.node_numbers);
        }
        if (at_elements.size() == 1)
            expect_field(at_elements[0], "stress", 6, back.element_numbers);
    }
}

TEST(Files, BytesAreThoseOfOneRankAlone) {
    const std::string alone = in_folder("alone.h5"), parts = in_folder("parts.h5");
    for (const whole_mesh& whole : meshes()) {
        write_alone(whole, alone);
        const std::string want = bytes_of(alone);
        for (const sharing& by : sharings()) {
            SCOPED_TRACE(whole.name + ", " + by.name);
            partitioned_mesh mesh = parts_of(whole, by);
            if (&by == &sharings()[3]) { // copies are not written
                EXPECT_EQ(0, grow_halo(mesh, 1));
            }
            EXPECT_EQ(0, write(mesh, parts, node_fields_of(mesh), element_fields_of(mesh)));
            if (rank() != 0) continue;
            EXPECT_TRUE(want == bytes_of(parts));
            EXPECT_FALSE(exists(parts + ".part"));
            EXPECT_EQ(exists(in_folder("alone.xdmf")), exists(in_folder("parts.xdmf")));
        }
    }
}

// Each kind of element for the test that reads these files with another program.
TEST(Files, ViewersGetEveryKindOfElement) {
    const auto put = [&](const char* name, const whole_mesh& whole) {
        const partitioned_mesh mesh = parts_of(whole, sharings()[3]);
        EXPECT_EQ(0, write(mesh, in_folder(name), node_fields_of(mesh), element_fields_of(mesh)));
    };
    put("triangles.h5", meshes()[0]);
    put("quadrilaterals.h5", meshes()[2]);
    put("mixed.h5", meshes()[3]);
    const auto put_raised = [&](const char* name, const whole_mesh& linear, unsigned inner) {
        whole_mesh whole = copy_of(linear);
        EXPECT_EQ(0, tessel2d::convert_into_high_order(whole.pos, whole.connect, 1, inner, 0,
                                                       dense2D<unsigned>()));
        put(name, whole);
    };
    put_raised("t6.h5", meshes()[1], 0);
    put_raised("q8.h5", meshes()[2], 0);
    put_raised("q9.h5", meshes()[2], 1);
    put_raised("t6_and_q8.h5", meshes()[3], 0);
    put_raised("t6_and_q9.h5", meshes()[3], 1);
    if (rank() == 0) {
        for (const char* name : {"triangles", "mixed", "t6", "q8", "q9", "t6_and_q8", "t6_and_q9"})
            EXPECT_TRUE(exists(in_folder(std::string(name) + ".xdmf"))) << name;
    }
    // Viewers know no cubic elements: an XDMF file of an earlier mesh would name what is gone.
    whole_mesh cubic = copy_of(meshes()[0]);
    EXPECT_EQ(0, tessel2d::convert_into_high_order(cubic.pos, cubic.connect, 2, 4, 1,
                                                   dense2D<unsigned>()));
    const partitioned_mesh parts = parts_of(cubic, sharings()[3]);
    EXPECT_EQ(0, write(parts, in_folder("triangles_3.h5")));
    put_bytes(in_folder("triangles_3.xdmf"), "old");
    EXPECT_EQ(0, write(parts, in_folder("triangles_3.h5")));
    MPI_Barrier(PETSC_COMM_WORLD);
    EXPECT_FALSE(exists(in_folder("triangles_3.xdmf")));
    partitioned_mesh back;
    EXPECT_EQ(0, read(PETSC_COMM_WORLD, in_folder("triangles_3.h5"), back));
    expect_whole(back, cubic.pos, cubic.connect);
}

TEST(Files, RefusesWhatCannotBeWritten) {
    const partitioned_mesh mesh = parts_of(meshes()[0], sharings()[3]);
    const std::string path = in_folder("refused.h5");
    const bool last = rank() == ranks() - 1;
    EXPECT_EQ(-1, write(partitioned_mesh(), path));
    EXPECT_EQ(-2, write(mesh, ""));
    EXPECT_EQ(-2, write(mesh, in_folder("no folder/file.h5")));
    EXPECT_EQ(-2, write(mesh, folder()));
    if (ranks() > 1) {
        EXPECT_EQ(-2, write(mesh, last ? path : in_folder("other.h5")));
    }
    const auto with = [&](const char* name, std::size_t rows) {
        return std::vector<field>{made_of_numbers(name, rows, mesh.node_numbers)};
    };
    // The last rank alone brings what does not fit.
    EXPECT_EQ(-3, write(mesh, path, with(last ? "" : "a", 1)));
    EXPECT_EQ(-3, write(mesh, path, with(last ? "." : "a", 1)));
    EXPECT_EQ(-3, write(mesh, path, with(last ? "a/b" : "a", 1)));
    EXPECT_EQ(-3, write(mesh, path, with(last ? "a\n" : "a", 1)));
    EXPECT_EQ(-3, write(mesh, path, with("a", last ? 0 : 1)));
    if (ranks() > 1) {
        EXPECT_EQ(-3, write(mesh, path, with("a", last ? 2 : 1)));
        EXPECT_EQ(-3, write(mesh, path, with(last ? "b" : "a", 1)));
        EXPECT_EQ(-3, write(mesh, path, last ? std::vector<field>() : with("a", 1)));
    }
    std::vector<field> twice = with("a", 1);
    if (last) twice.push_back(twice[0]);
    EXPECT_EQ(-3, write(mesh, path, twice));
    std::vector<field> short_of_one = with("a", 1);
    if (last) short_of_one[0].values.resize(1, mesh.pos.cols + 1, 0.0);
    EXPECT_EQ(-3, write(mesh, path, short_of_one));
    EXPECT_EQ(-4,
              write(mesh, path, {}, {made_of_numbers(last ? "" : "a", 1, mesh.element_numbers)}));
    EXPECT_EQ(-4, write(mesh, path, {}, {{"a", dense2D<double>(1, mesh.connect.cols + last)}}));
    MPI_Barrier(PETSC_COMM_WORLD);
    EXPECT_FALSE(exists(path));
    EXPECT_FALSE(exists(path + ".part"));
}

TEST(Files, RefusesWhatIsNoFileOfAMesh) {
    const std::string path = in_folder("bad.h5");
    partitioned_mesh mesh;
    EXPECT_EQ(-1, read(MPI_COMM_NULL, path, mesh));
    EXPECT_EQ(-2, read_all(""));
    EXPECT_EQ(-2, read_all(in_folder("none.h5")));
    EXPECT_EQ(-2, read_all(folder()));
    const std::string pipe = in_folder("pipe");
    if (rank() == 0) {
        EXPECT_EQ(0, mkfifo(pipe.c_str(), 0666));
    }
    EXPECT_EQ(-2, read_all(pipe));
    put_bytes(path, "");
    EXPECT_EQ(-2, read_all(path));
    put_bytes(path, "nodes 3\n");
    EXPECT_EQ(-2, read_all(path));
    if (ranks() > 1) {
        small_file(path);
        EXPECT_EQ(-2, read_all(rank() == 0 ? path : in_folder("none.h5")));
    }
}

TEST(Files, RefusesMatricesOfAnotherShape) {
    const std::string path = in_folder("shape.h5");
    const double reals[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    const std::int64_t wild[4] = {0, 1, 2, 4}, below[4] = {0, 1, 2, -2};
    const auto status_with = [&](const char* name, hid_t type, std::vector<hsize_t> dims,
                                 const void* values) {
        small_file(path);
        put_matrix(path, name, type, dims, values);
        return read_all(path);
    };
    EXPECT_EQ(-3, status_with("nodes", 0, {}, nullptr));
    EXPECT_EQ(-3, status_with("elements", 0, {}, nullptr));
    EXPECT_EQ(-3, status_with("nodes", H5T_NATIVE_DOUBLE, {3, 4}, reals));
    EXPECT_EQ(-3, status_with("nodes", H5T_NATIVE_DOUBLE, {12, 1}, reals));
    EXPECT_EQ(-3, status_with("nodes", H5T_NATIVE_DOUBLE, {2, 2, 3}, reals));
    EXPECT_EQ(-3, status_with("elements", H5T_NATIVE_DOUBLE, {1, 4}, reals));
    EXPECT_EQ(-3, status_with("elements", H5T_NATIVE_INT64, {4}, wild));
    EXPECT_EQ(-3, status_with("elements", H5T_NATIVE_INT64, {1, 4}, wild));
    EXPECT_EQ(-3, status_with("elements", H5T_NATIVE_INT64, {1, 4}, below));
    EXPECT_EQ(-4, status_with("node_fields/away", H5T_NATIVE_DOUBLE, {3, 4}, reals));
    EXPECT_EQ(-4, status_with("node_fields", H5T_NATIVE_DOUBLE, {4, 3}, reals));
    EXPECT_EQ(-5, status_with("element_fields/stress", H5T_NATIVE_DOUBLE, {2, 3}, reals));
    // Other numbers than those that `write` takes are converted.
    const float narrow[12] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    const std::int32_t short_numbers[4] = {3, 2, 1, -1};
    EXPECT_EQ(0, status_with("nodes", H5T_NATIVE_FLOAT, {4, 3}, narrow));
    EXPECT_EQ(0, status_with("elements", H5T_NATIVE_INT32, {1, 4}, short_numbers));
    EXPECT_EQ(0, status_with("node_fields/away", H5T_NATIVE_DOUBLE, {4}, reals));
}

// Whatever is wrong with the bytes, all ranks get one status.
TEST(Files, DamageEndsInAStatus) {
    const std::string path = in_folder("damaged.h5");
    const std::string bytes = small_file(path);
    for (std::size_t k = 1; k < 10; ++k) {
        put_bytes(path, bytes.substr(0, bytes.size() * k / 10));
        EXPECT_EQ(-2, read_all(path));
    }
    const std::set<int> fine{0, -2, -3, -4, -5, -199};
    const std::size_t places = ranks() <= 2 ? 400 : 50; // the more ranks, the longer each takes
    for (std::size_t at = 0; at < bytes.size(); at += 7 + bytes.size() / places) {
        std::string spoilt = bytes;
        spoilt[at] = static_cast<char>(~spoilt[at]);
        put_bytes(path, spoilt);
        EXPECT_TRUE(fine.count(read_all(path))) << "byte " << at;
    }
}

TEST(Files, MemoryThatFailsOnOneRankLeavesEverythingAsItWas) {
    const partitioned_mesh mesh = parts_of(meshes()[3], sharings()[3]);
    const std::string path = in_folder("memory.h5");
    const std::vector<field> at_nodes = node_fields_of(mesh), at_elements = element_fields_of(mesh);
    fail_each_allocation_on_one_rank([&] { put_bytes(path, "old"); },
                                     [&] { return write(mesh, path, at_nodes, at_elements); },
                                     [&] {
                                         EXPECT_FALSE(exists(path + ".part"));
                                         EXPECT_EQ("old", bytes_of(path));
                                         MPI_Barrier(PETSC_COMM_WORLD); // before it is written anew
                                     },
                                     [] { MPI_Barrier(PETSC_COMM_WORLD); });
    fail_each_allocation_on_one_rank([] {}, [&] { return read_all(path); }, [] {});
}
