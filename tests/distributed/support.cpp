// SPDX-License-Identifier: Apache-2.0
#include "distributed/support.h"
#include "support/failing_alloc.h"

#include "zel/tessel2d.h"

#include <mpi.h>
#include <petscsys.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

namespace zel_test {

using namespace zel;
using namespace zel::distributed;

namespace {

constexpr unsigned no_node = 0xFFFFFFFFU;

// m x n cells over the unit square, with a bump where there are three rows.
whole_mesh grid(const char* name, unsigned m, unsigned n, std::size_t dimension, bool triangles) {
    whole_mesh mesh;
    mesh.name = name;
    mesh.pos = dense2D<double>(dimension, std::size_t{m + 1} * (n + 1));
    for (unsigned j = 0; j <= n; ++j)
        for (unsigned i = 0; i <= m; ++i) {
            double* const p = mesh.pos[std::size_t{j} * (m + 1) + i];
            p[0] = static_cast<double>(i) / m + 0.01 * std::sin(7.0 * j);
            p[1] = static_cast<double>(j) / n + 0.01 * std::cos(5.0 * i);
            if (dimension == 3) p[2] = 0.3 * std::sin(3 * p[0]) * std::cos(4 * p[1]);
        }
    mesh.connect = dense2D<unsigned>(triangles ? 3 : 4, std::size_t{m} * n * (triangles ? 2 : 1));
    std::size_t e = 0;
    for (unsigned j = 0; j < n; ++j)
        for (unsigned i = 0; i < m; ++i) {
            const unsigned a = j * (m + 1) + i, b = a + 1, c = b + m + 1, d = c - 1;
            if (triangles) {
                const unsigned cells[2][3] = {{a, b, c}, {a, c, d}};
                for (const auto& cell : cells) std::copy_n(cell, 3, mesh.connect[e++]);
            } else {
                const unsigned cell[4] = {a, b, c, d};
                std::copy_n(cell, 4, mesh.connect[e++]);
            }
        }
    return mesh;
}

// Nodes and elements in another order, and every third element started at another corner.
whole_mesh shuffled(whole_mesh mesh, const char* name, unsigned seed) {
    std::mt19937 draw(seed);
    const std::size_t nodes = mesh.pos.cols, elements = mesh.connect.cols, rows = mesh.connect.rows;
    std::vector<unsigned> to(nodes), order(elements);
    std::iota(to.begin(), to.end(), 0U);
    std::iota(order.begin(), order.end(), 0U);
    std::shuffle(to.begin(), to.end(), draw);
    std::shuffle(order.begin(), order.end(), draw);
    whole_mesh out;
    out.name = name;
    out.pos = dense2D<double>(mesh.pos.rows, nodes);
    out.connect = dense2D<unsigned>(rows, elements);
    for (std::size_t k = 0; k < nodes; ++k) std::copy_n(mesh.pos[k], mesh.pos.rows, out.pos[to[k]]);
    for (std::size_t e = 0; e < elements; ++e) {
        const unsigned* const from = mesh.connect[order[e]];
        const std::size_t corners = rows == 4 && from[3] == no_node ? 3 : rows;
        for (std::size_t i = 0; i < rows; ++i)
            out.connect(i, e) = i < corners ? to[from[(i + e % 3) % corners]] : no_node;
    }
    return out;
}

// Every other quadrilateral cut in two.
whole_mesh mixed(whole_mesh mesh, const char* name) {
    whole_mesh out;
    out.name = name;
    out.pos = mesh.pos;
    const std::size_t elements = mesh.connect.cols;
    out.connect = dense2D<unsigned>(4, elements + elements / 2);
    std::size_t at = 0;
    for (std::size_t e = 0; e < elements; ++e) {
        const unsigned* const q = mesh.connect[e];
        const unsigned whole[4] = {q[0], q[1], q[2], q[3]};
        const unsigned halves[2][4] = {{q[0], q[1], q[2], no_node}, {q[2], q[3], q[0], no_node}};
        if (e % 2 == 0)
            std::copy_n(whole, 4, out.connect[at++]);
        else
            for (const auto& half : halves) std::copy_n(half, 4, out.connect[at++]);
    }
    return out;
}

// A band of n cells that is closed with a twist: its last edge is the first one turned over.
whole_mesh moebius(unsigned n) {
    whole_mesh mesh;
    mesh.name = "Moebius band";
    mesh.pos = dense2D<double>(3, std::size_t{n} * 2);
    mesh.connect = dense2D<unsigned>(3, std::size_t{n} * 2);
    for (unsigned i = 0; i < n; ++i) {
        const double t = 2 * 3.14159265358979 * i / n;
        for (unsigned k = 0; k < 2; ++k) {
            const double r = 1 + (k ? 0.3 : -0.3) * std::cos(t / 2);
            double* const p = mesh.pos[2 * i + k];
            p[0] = r * std::cos(t);
            p[1] = r * std::sin(t);
            p[2] = (k ? 0.3 : -0.3) * std::sin(t / 2);
        }
        const unsigned a = 2 * i, b = 2 * i + 1;
        const bool last = i + 1 == n;
        const unsigned c = last ? 1 : a + 2, d = last ? 0 : b + 2;
        const unsigned cells[2][3] = {{a, c, b}, {b, c, d}};
        for (unsigned k = 0; k < 2; ++k) std::copy_n(cells[k], 3, mesh.connect[2 * i + k]);
    }
    return mesh;
}

// Wings around one spine of edges: each inner edge has three triangles and more.
whole_mesh book(unsigned pages, unsigned n) {
    whole_mesh mesh;
    mesh.name = "book";
    mesh.pos = dense2D<double>(3, std::size_t{n + 1} * (pages + 1));
    mesh.connect = dense2D<unsigned>(3, std::size_t{n} * pages * 2);
    std::size_t e = 0;
    for (unsigned page = 0; page <= pages; ++page)
        for (unsigned i = 0; i <= n; ++i) {
            double* const p = mesh.pos[std::size_t{page} * (n + 1) + i];
            const double angle = 0.5 * page;
            p[0] = page == 0 ? 0 : std::cos(angle);
            p[1] = page == 0 ? 0 : std::sin(angle);
            p[2] = i;
        }
    for (unsigned page = 1; page <= pages; ++page)
        for (unsigned i = 0; i < n; ++i) {
            const unsigned a = i, b = i + 1, c = page * (n + 1) + i, d = c + 1;
            const unsigned cells[2][3] = {{a, b, c}, {c, b, d}};
            for (const auto& cell : cells) std::copy_n(cell, 3, mesh.connect[e++]);
        }
    return mesh;
}

// Nodes at no element in front, between and behind the others.
whole_mesh with_orphans(whole_mesh mesh, const char* name) {
    whole_mesh out;
    out.name = name;
    const std::size_t nodes = mesh.pos.cols, rows = mesh.pos.rows;
    out.pos = dense2D<double>(rows, nodes + nodes / 2 + 5);
    std::vector<unsigned> to(nodes);
    std::size_t at = 0;
    const auto orphan = [&] {
        for (std::size_t i = 0; i < rows; ++i)
            out.pos(i, at) = 0.37 + 0.011 * static_cast<double>(at % 17);
        ++at;
    };
    orphan();
    orphan();
    for (std::size_t k = 0; k < nodes; ++k) {
        to[k] = static_cast<unsigned>(at);
        std::copy_n(mesh.pos[k], rows, out.pos[at++]);
        if (k % 2 == 1) orphan();
    }
    while (at < out.pos.cols) orphan();
    out.connect = dense2D<unsigned>(mesh.connect.rows, mesh.connect.cols);
    for (std::size_t e = 0; e < mesh.connect.cols; ++e)
        for (std::size_t i = 0; i < mesh.connect.rows; ++i)
            out.connect(i, e) = mesh.connect(i, e) == no_node ? no_node : to[mesh.connect(i, e)];
    return out;
}

whole_mesh empty() {
    whole_mesh mesh;
    mesh.name = "no elements";
    mesh.pos = dense2D<double>(2, 3, 0.5);
    mesh.connect = dense2D<unsigned>(3, 0);
    return mesh;
}

// From a rule for each element: its number and how many there are.
sharing by_rule(const char* name, std::function<int(number, number)> rule) {
    return {name, [rule = std::move(rule)](partitioned_mesh& mesh) {
                dense1D<int, 8> to;
                for (std::size_t e = 0; e < mesh.connect.cols; ++e)
                    if (mesh.element_homes[e].rank == rank())
                        to.push_back(rule(mesh.element_numbers[e], mesh.elements));
                return redistribute(mesh, to);
            }};
}

} // namespace

const std::vector<whole_mesh>& meshes() {
    static const std::vector<whole_mesh> all = [] {
        std::vector<whole_mesh> list;
        list.push_back(grid("triangles in the plane", 9, 7, 2, true));
        list.push_back(shuffled(grid("", 12, 5, 3, true), "shuffled triangles in space", 1));
        list.push_back(grid("quadrilaterals in space", 8, 6, 3, false));
        list.push_back(shuffled(mixed(grid("", 7, 9, 2, false), ""), "shuffled mixed mesh", 2));
        list.push_back(with_orphans(mixed(grid("", 6, 4, 3, false), ""),
                                    "mixed mesh with nodes of no element"));
        list.push_back(moebius(13));
        list.push_back(shuffled(book(5, 6), "book", 3));
        list.push_back(grid("one quadrilateral", 1, 1, 2, false));
        list.push_back(
            grid("eight triangles in space", 2, 2, 3, true)); // each alone on one of eight ranks
        list.push_back(empty());
        return list;
    }();
    return all;
}

const std::vector<sharing>& sharings() {
    static const std::vector<sharing> all = [] {
        std::vector<sharing> list;
        list.push_back({"as the blocks came", [](partitioned_mesh&) { return 0; }});
        list.push_back({"blocks", [](partitioned_mesh& mesh) {
                            return partition(mesh, partitioner::blocks);
                        }});
        list.push_back({"PT-Scotch", [](partitioned_mesh& mesh) {
                            return mesh.connect.rows <= 4 ? partition(mesh, partitioner::ptscotch)
                                                          : 0;
                        }});
        list.push_back(by_rule("at random", [](number e, number) {
            return static_cast<int>(std::mt19937(static_cast<unsigned>(e) * 77U + 5U)() %
                                    static_cast<unsigned>(ranks()));
        }));
        list.push_back(by_rule("all on the last rank", [](number, number) { return ranks() - 1; }));
        list.push_back(
            by_rule("one element on rank 0, none on rank 1", [](number e, number all_elements) {
                if (e == all_elements / 2 || ranks() < 3) return 0;
                return 2 + static_cast<int>(e % static_cast<number>(ranks() - 2));
            }));
        list.push_back(by_rule("dealt out like cards", [](number e, number) {
            return static_cast<int>(e % static_cast<number>(ranks()));
        }));
        return list;
    }();
    return all;
}

whole_mesh copy_of(const whole_mesh& mesh) {
    whole_mesh out;
    out.name = mesh.name;
    out.pos = copy_of(mesh.pos);
    out.connect = copy_of(mesh.connect);
    return out;
}

dense2D<number> widened(const dense2D<unsigned>& table) {
    dense2D<number> out(table.rows, table.cols);
    std::transform(table.begin(), table.end(), out.begin(),
                   [](unsigned e) { return e == no_node ? no_number : e; });
    return out;
}

dense2D<number> run_of(const dense2D<unsigned>& table) {
    const auto r = static_cast<std::size_t>(rank()), n = static_cast<std::size_t>(ranks());
    const std::size_t first = table.cols * r / n, last = table.cols * (r + 1) / n;
    dense2D<number> run(last == first ? 0 : table.rows, last - first);
    for (std::size_t j = 0; j < run.cols; ++j) std::copy_n(table[first + j], run.rows, run[j]);
    return run;
}

partitioned_mesh parts_of(const whole_mesh& mesh, const sharing& by) {
    // Rank r gets a share of r + 1 of both, but rank 1 no nodes and rank 2 no elements.
    const auto share = [](std::size_t count, int without) {
        std::vector<std::size_t> ends(static_cast<std::size_t>(ranks()) + 1, 0);
        double weight = 0, all = 0;
        for (int r = 0; r < ranks(); ++r) all += r == without ? 0 : r + 1;
        for (int r = 0; r < ranks(); ++r) {
            weight += r == without ? 0 : r + 1;
            ends[static_cast<std::size_t>(r) + 1] =
                r + 1 == ranks()
                    ? count
                    : static_cast<std::size_t>(static_cast<double>(count) * weight / all);
        }
        return ends;
    };
    const auto me = static_cast<std::size_t>(rank());
    const auto nodes = share(mesh.pos.cols, ranks() > 2 ? 1 : -1);
    const auto elements = share(mesh.connect.cols, ranks() > 3 ? 2 : -1);
    const dense2D<double> pos =
        mesh.pos.sub_matrix(0, nodes[me], mesh.pos.rows, nodes[me + 1] - nodes[me]);
    dense2D<number> connect(mesh.connect.rows, elements[me + 1] - elements[me]);
    for (std::size_t e = 0; e < connect.cols; ++e)
        for (std::size_t i = 0; i < connect.rows; ++i) {
            const unsigned node = mesh.connect(i, elements[me] + e);
            connect(i, e) = node == no_node ? no_number : node;
        }
    partitioned_mesh parts;
    EXPECT_EQ(0, from_blocks(PETSC_COMM_WORLD, pos, connect, parts));
    EXPECT_EQ(0, by.apply(parts));
    return parts;
}

void expect_sound(const partitioned_mesh& mesh) {
    ASSERT_EQ(mesh.pos.cols, mesh.node_numbers.size);
    ASSERT_EQ(mesh.pos.cols, mesh.node_homes.size);
    ASSERT_EQ(mesh.connect.cols, mesh.element_numbers.size);
    ASSERT_EQ(mesh.connect.cols, mesh.element_homes.size);
    const auto ascend = [](const dense1D<number, 8>& numbers, number all) {
        for (std::size_t k = 0; k < numbers.size; ++k) {
            EXPECT_LT(numbers[k], all);
            if (k > 0) {
                EXPECT_LT(numbers[k - 1], numbers[k]);
            }
        }
    };
    ascend(mesh.node_numbers, mesh.nodes);
    ascend(mesh.element_numbers, mesh.elements);

    // Owners and slots, as all ranks see them: a rank's own are numbered in order, copies say the same.
    const auto compare = [](const dense1D<number, 8>& numbers, const dense1D<home, 8>& homes,
                            number all) {
        std::vector<long> owner(all, -1), slot(all, -1);
        long next = 0;
        for (std::size_t k = 0; k < numbers.size; ++k)
            if (homes[k].rank == rank()) {
                EXPECT_EQ(next++, homes[k].slot);
                owner[numbers[k]] = rank();
                slot[numbers[k]] = homes[k].slot;
            }
        std::vector<long> owners(all), slots(all), times(all), once(all);
        for (number k = 0; k < all; ++k) once[k] = owner[k] >= 0;
        const int n = static_cast<int>(all);
        MPI_Allreduce(owner.data(), owners.data(), n, MPI_LONG, MPI_MAX, PETSC_COMM_WORLD);
        MPI_Allreduce(slot.data(), slots.data(), n, MPI_LONG, MPI_MAX, PETSC_COMM_WORLD);
        MPI_Allreduce(once.data(), times.data(), n, MPI_LONG, MPI_SUM, PETSC_COMM_WORLD);
        for (number k = 0; k < all; ++k) EXPECT_EQ(1, times[k]) << "owners of number " << k;
        for (std::size_t k = 0; k < numbers.size; ++k) {
            EXPECT_EQ(owners[numbers[k]], homes[k].rank);
            EXPECT_EQ(slots[numbers[k]], homes[k].slot);
        }
    };
    compare(mesh.node_numbers, mesh.node_homes, mesh.nodes);
    compare(mesh.element_numbers, mesh.element_homes, mesh.elements);
}

void expect_whole(const partitioned_mesh& mesh, const dense2D<double>& pos,
                  const dense2D<unsigned>& connect) {
    ASSERT_EQ(pos.cols, mesh.nodes);
    ASSERT_EQ(connect.cols, mesh.elements);
    expect_columns(mesh.pos, mesh.node_numbers, pos);
    dense2D<unsigned> global(mesh.connect.rows, mesh.connect.cols);
    for (std::size_t e = 0; e < global.cols; ++e)
        for (std::size_t i = 0; i < global.rows; ++i) {
            const unsigned local = mesh.connect(i, e);
            global(i, e) =
                local == no_node ? no_node : static_cast<unsigned>(mesh.node_numbers[local]);
        }
    expect_columns(global, mesh.element_numbers, connect);
}

void expect_stars(const partitioned_mesh& mesh, const dense1D<number, 8>& own_starts,
                  const dense1D<number, 8>& own_elements, const dense1D<unsigned, 8>& starts,
                  const dense1D<unsigned, 8>& elements) {
    std::size_t slot = 0;
    for (std::size_t k = 0; k < mesh.pos.cols; ++k) {
        if (mesh.node_homes[k].rank != rank()) continue;
        const number node = mesh.node_numbers[k];
        ASSERT_LT(slot + 1, own_starts.size);
        EXPECT_TRUE(std::equal(
            own_elements.begin() + own_starts[slot], own_elements.begin() + own_starts[slot + 1],
            elements.begin() + starts[node], elements.begin() + starts[node + 1]))
            << "star of node " << node;
        ++slot;
    }
    EXPECT_EQ(slot + 1, own_starts.size);
}

void fail_each_allocation_on_one_rank(const std::function<void()>& prepare,
                                      const std::function<int()>& call,
                                      const std::function<void()>& unchanged,
                                      const std::function<void()>& done) {
    const int last = ranks() - 1;
    std::size_t failures = 0;
    int failing = 1;
    const std::size_t sparse = ranks() > 2 ? 10 : 100;
    for (std::size_t k = 1; failing && k < 50000; k += 1 + k / sparse) {
        SCOPED_TRACE(testing::Message() << "allocation " << k << " failed on the last rank");
        prepare();
        if (rank() == last) arm_allocator(k);
        const int status = call();
        failing = rank() == last && disarm_allocator();
        MPI_Bcast(&failing, 1, MPI_INT, last, PETSC_COMM_WORLD);
        int least = 0, most = 0;
        MPI_Allreduce(&status, &least, 1, MPI_INT, MPI_MIN, PETSC_COMM_WORLD);
        MPI_Allreduce(&status, &most, 1, MPI_INT, MPI_MAX, PETSC_COMM_WORLD);
        EXPECT_EQ(least, most) << "ranks disagree";
        if (status == -199) {
            ++failures;
            unchanged();
        } else {
            EXPECT_EQ(0, status);
            done();
        }
        if (!failing) {
            EXPECT_EQ(0, status) << "no allocation failed";
        }
    }
    EXPECT_EQ(0, failing) << "the function never gets through";
    EXPECT_GT(failures, 0U) << "no failure was reported";
}

void for_all_parts(const std::function<void(const whole_mesh&, partitioned_mesh&)>& body) {
    for (const whole_mesh& mesh : meshes())
        for (const sharing& by : sharings()) {
            SCOPED_TRACE(mesh.name + ", " + by.name);
            partitioned_mesh parts = parts_of(mesh, by);
            body(mesh, parts);
        }
}

} // namespace zel_test
