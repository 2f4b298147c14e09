// SPDX-License-Identifier: Apache-2.0
#include "distributed/program/steps.h"

#include "zel/distributed/adjacency.h"
#include "zel/distributed/conversion.h"
#include "zel/distributed/generators.h"
#include "zel/distributed/measures.h"
#include "zel/distributed/normals.h"
#include "zel/distributed/orientation.h"
#include "zel/tessel2d.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace zel::distributed::program {

namespace {

constexpr unsigned long most_count = 1000000000;

bool is_first(const state& now) {
    int rank = 0;
    MPI_Comm_rank(now.mesh.comm, &rank);
    return rank == 0;
}

unsigned count_of(const std::string& word) {
    return static_cast<unsigned>(std::strtoul(word.c_str(), nullptr, 10));
}

// What a status means, whatever the function; `own` says it for the others.
std::string failure(int status, const std::string& own) {
    if (status == 0) return "";
    if (status == -199) return "memory is exhausted on a rank";
    if (status == -198) return "MPI or PETSc has reported a failure";
    return own + " (status " + std::to_string(status) + ")";
}

std::string needs_mesh(const state& now) {
    return now.mesh.comm == MPI_COMM_NULL ? "there is no mesh yet" : "";
}

// A step that changes the mesh: fields on the old one are dropped.
template <class Change>
std::string change(state& now, const char* otherwise, Change&& work) {
    if (std::string none = needs_mesh(now); !none.empty()) return none;
    const int status = work(now.mesh);
    if (status < 0) return failure(status, otherwise);
    now.node_fields.clear();
    now.element_fields.clear();
    return "";
}

// Memory of this program's own, on all ranks or on none.
std::string together(bool well) {
    const int mine = well;
    int all = 0;
    MPI_Allreduce(&mine, &all, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
    return all ? "" : failure(-199, "");
}

// ------------------------------------------------------------------------------------- generate, read

// The unit square: m cells along bottom and top, n along the others.
bool square(unsigned m, unsigned n, dense2D<double>& pos, dense1D<unsigned, 8>& loop) {
    const std::size_t count = 2 * (std::size_t{m} + n);
    if (!pos.resize(2, count) || !loop.resize(count + 1)) return false;
    const auto part = [](std::size_t k, unsigned of) { return static_cast<double>(k) / of; };
    for (std::size_t k = 0; k < count; ++k) {
        double* const p = pos[k];
        if (k < m)
            p[0] = part(k, m), p[1] = 0;
        else if (k < std::size_t{m} + n)
            p[0] = 1, p[1] = part(k - m, n);
        else if (k < 2 * std::size_t{m} + n)
            p[0] = part(2 * std::size_t{m} + n - k, m), p[1] = 1;
        else
            p[0] = 0, p[1] = part(count - k, n);
        loop[k] = static_cast<unsigned>(k);
    }
    loop[count] = 0;
    return true;
}

template <class Mesh>
std::string patch(state& now, const word_list& words, Mesh&& mesh) {
    const unsigned m = count_of(words[0]), n = count_of(words[1]);
    dense2D<double> pos;
    dense1D<unsigned, 8> loop;
    if (std::string failed = together(square(m, n, pos, loop)); !failed.empty()) return failed;
    now = state();
    return failure(mesh(pos, loop, n, now.mesh), "the patch cannot be made");
}

std::string patch_Q4(state& now, const word_list& words) {
    return patch(now, words, [](auto& pos, auto& loop, unsigned n, partitioned_mesh& mesh) {
        return mesh_struct_Q4(MPI_COMM_WORLD, pos, loop, n, mesh);
    });
}

std::string patch_T3(state& now, const word_list& words) {
    return patch(now, words, [](auto& pos, auto& loop, unsigned n, partitioned_mesh& mesh) {
        return mesh_struct_T3(MPI_COMM_WORLD, pos, loop, n, 2, mesh);
    });
}

// A circle of m edges, swept upwards in n layers.
std::string tube(state& now, const word_list& words) {
    const unsigned m = count_of(words[0]), n = count_of(words[1]);
    dense2D<double> pos;
    dense2D<unsigned> edges;
    if (std::string failed = together(pos.resize(3, m) && edges.resize(2, m)); !failed.empty())
        return failed;
    for (unsigned k = 0; k < m; ++k) {
        const double angle = 6.283185307179586 * k / m;
        const double at[3] = {std::cos(angle), std::sin(angle), 0};
        std::copy_n(at, 3, pos[k]);
        edges(0, k) = k;
        edges(1, k) = k + 1 == m ? 0 : k + 1;
    }
    now = state();
    const vector_fixed<double, 3> way{0, 0, 3};
    const sweep by = [&](dense2D<double>& to, const dense2D<unsigned>& some,
                         dense2D<unsigned>& connect) {
        return tessel2d::extrude_translate_Q4(to, some, way, n, connect);
    };
    return failure(extrude(MPI_COMM_WORLD, pos, edges, by, now.mesh), "the tube cannot be made");
}

std::string read_file(state& now, const word_list& words) {
    state fresh;
    const int status =
        read(MPI_COMM_WORLD, words[0], fresh.mesh, &fresh.node_fields, &fresh.element_fields);
    if (status == 0) now = fresh;
    return failure(status, status == -2   ? "there is no such file, or it is not HDF5 or is damaged"
                           : status == -3 ? "the file holds no mesh"
                                          : "a field in the file does not fit its mesh");
}

// ---------------------------------------------------------------------------------------- change

std::string share_out(state& now, const word_list& words) {
    return change(now, "elements must have 3 or 4 nodes", [&](partitioned_mesh& mesh) {
        return partition(mesh, words[0] == "blocks" ? partitioner::blocks : partitioner::ptscotch);
    });
}

constexpr const char* linear_only = "elements must have 3 or 4 nodes";

std::string quadratic(state& now, const word_list&) {
    return change(now, linear_only,
                  [](partitioned_mesh& mesh) { return convert_into_quadratic(mesh); });
}

std::string order(state& now, const word_list& words) {
    return change(now, "elements must have 3 or 4 nodes, B be a square and C 0, 1 or 3",
                  [&](partitioned_mesh& mesh) {
                      return convert_into_high_order(mesh, count_of(words[0]), count_of(words[1]),
                                                     count_of(words[2]), dense2D<number>());
                  });
}

std::string linear(state& now, const word_list&) {
    return change(now, "these elements have no linear form",
                  [](partitioned_mesh& mesh) { return convert_into_linear(mesh); });
}

std::string triangles(state& now, const word_list&) {
    return change(now, linear_only, [](partitioned_mesh& mesh) {
        number cut = 0;
        return split_Q4_into_T3(mesh, diagonal::better, cut);
    });
}

std::string quadrilaterals(state& now, const word_list&) {
    return change(now, linear_only,
                  [](partitioned_mesh& mesh) { return split_into_Q4(mesh, dense2D<number>()); });
}

std::string reorient(state& now, const word_list&) {
    return change(now, linear_only, [](partitioned_mesh& mesh) {
        reorientation found;
        return mesh_reorient(mesh, 0, true, found);
    });
}

// ---------------------------------------------------------------------------------- measure, write

std::string measure(state& now, const word_list&) {
    if (std::string none = needs_mesh(now); !none.empty()) return none;
    double all = 0, inside = 0;
    const int status = area(now.mesh, all);
    if (status < 0) return failure(status, linear_only);
    const bool closed = now.mesh.pos.rows == 3 && volume(now.mesh, inside) == 0;
    if (is_first(now)) {
        std::printf("  area   %.17g\n", all);
        if (closed) std::printf("  volume %.17g\n", inside);
    }
    return "";
}

// Normals at the nodes, as a field to be written.
std::string node_normals(state& now, const word_list&) {
    if (std::string none = needs_mesh(now); !none.empty()) return none;
    field f;
    const int status = normals(now.mesh, 1.0, true, f.values);
    if (status < 0) return failure(status, "elements must have 3 or 4 nodes in space");
    f.name = "normals";
    auto& fields = now.node_fields;
    fields.erase(std::remove_if(fields.begin(), fields.end(),
                                [&](const field& old) { return old.name == f.name; }),
                 fields.end());
    fields.push_back(f);
    return "";
}

// With the rank of each element, which says how the mesh was shared out, beside the other fields.
std::string write_file(state& now, const word_list& words, bool with_ranks) {
    if (std::string none = needs_mesh(now); !none.empty()) return none;
    std::vector<field> fields = now.element_fields;
    field ranks;
    ranks.name = "rank";
    if (std::string failed = together(ranks.values.resize(1, now.mesh.element_homes.size));
        !failed.empty())
        return failed;
    for (std::size_t e = 0; e < now.mesh.element_homes.size; ++e)
        ranks.values(0, e) = now.mesh.element_homes[e].rank;
    fields.erase(std::remove_if(fields.begin(), fields.end(),
                                [](const field& f) { return f.name == "rank"; }),
                 fields.end());
    if (with_ranks) fields.push_back(ranks);
    return failure(write(now.mesh, words[0], now.node_fields, fields),
                   "the file cannot be written");
}

std::string write_plain(state& now, const word_list& words) {
    return write_file(now, words, false);
}

std::string write_ranks(state& now, const word_list& words) {
    return write_file(now, words, true);
}

const step steps[] = {
    {"patch", "M N", "the unit square in M x N quadrilaterals", patch_Q4},
    {"patch-T3", "M N", "the unit square in 2 x M x N triangles", patch_T3},
    {"tube", "M N", "a tube of M quadrilaterals around and N along it", tube},
    {"read", "FILE", "a mesh with its fields from an HDF5 file", read_file},
    {"partition", "HOW", "shares the elements out anew: blocks or ptscotch", share_out},
    {"quadratic", "", "elements with nodes on their edges and in quadrilaterals", quadratic},
    {"order", "A B C", "A nodes on an edge, B in a quadrilateral, C in a triangle", order},
    {"linear", "", "elements without the nodes between their corners", linear},
    {"triangles", "", "quadrilaterals cut along the better diagonal", triangles},
    {"quadrilaterals", "", "elements cut into quadrilaterals", quadrilaterals},
    {"reorient", "", "neighbours that run the same way around", reorient},
    {"measure", "", "prints the area, and of a closed surface the volume", measure},
    {"normals", "", "a field of normals at the nodes, for the next write", node_normals},
    {"write", "FILE", "the mesh with its fields into an HDF5 file, and XDMF beside it",
     write_plain},
    {"write-ranks", "FILE", "the same with a field of the rank of each element", write_ranks},
};

std::vector<std::string> split(const char* words) {
    std::vector<std::string> out;
    std::string word;
    for (const char* c = words;; ++c) {
        if (*c != ' ' && *c) {
            word += *c;
        } else if (!word.empty()) {
            out.push_back(word);
            word.clear();
        }
        if (!*c) return out;
    }
}

// Counts above 0 for M and N; for the nodes inside of elements 0 is a count too.
bool good_argument(const std::string& kind, const std::string& word) {
    if (kind == "FILE") return !word.empty();
    if (kind == "HOW") return word == "blocks" || word == "ptscotch";
    if (word.empty() || word.size() > 10 ||
        word.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const unsigned long count = std::strtoul(word.c_str(), nullptr, 10);
    return count <= most_count && (count > 0 || (kind != "M" && kind != "N"));
}

} // namespace

std::string usage() {
    std::string text = "usage: mpirun -n RANKS tessel2d-distributed STEP...\n\nsteps, done in the "
                       "order given:\n";
    for (const step& s : steps) {
        std::string line = std::string("  ") + s.name + " " + s.arguments;
        line.resize(std::max<std::size_t>(line.size() + 1, 22), ' ');
        text += line + s.help + "\n";
    }
    return text;
}

std::string read_steps(const word_list& words, std::vector<call>& calls) {
    for (std::size_t k = 0; k < words.size();) {
        const auto found = std::find_if(std::begin(steps), std::end(steps),
                                        [&](const step& s) { return words[k] == s.name; });
        if (found == std::end(steps)) return "there is no step \"" + words[k] + "\"\n\n";
        call next{found, {}, words[k++]};
        for (const std::string& kind : split(found->arguments)) {
            if (k == words.size())
                return next.text + " needs " + found->arguments + " behind it\n\n";
            if (!good_argument(kind, words[k]))
                return next.text + ": \"" + words[k] + "\" is no " + kind + "\n\n";
            next.text += " " + words[k];
            next.arguments.push_back(words[k++]);
        }
        calls.push_back(next);
    }
    return "";
}

} // namespace zel::distributed::program
