// SPDX-License-Identifier: Apache-2.0
// Raises the order of the elements of a mesh in parts.
//
// 1. With one layer of halo a part has all elements at the edges of its own elements. The library raises the
//    part: since local numbers ascend with the global ones, each edge of an own element is first used by the
//    element that uses it first in the whole mesh, and its nodes run in that direction and lie where they do there.
// 2. The element that uses an edge first makes its nodes. Each rank counts what its own elements make; prefix sums
//    in the order of the elements give the numbers.
// 3. Ranks tell the numbers of what their elements make to those that have copies of these elements. Then each
//    knows all nodes of its own elements.
//
// Given edges travel to the ranks that have both their ends, with the homes of their nodes; `settle` finds out
// whose all nodes are in the end.
#include "distributed/elements.h"
#include "distributed/given_edges.h"
#include "distributed/part.h"
#include "distributed/runs.h"

#include "zel/distributed/conversion.h"
#include "zel/tessel2d/conversion.h"

#include <algorithm>
#include <cmath>

namespace zel::distributed {

namespace {

constexpr unsigned most_edges = 4;

// Numbers and homes of the first nodes on the edges that an element makes; the others follow both.
struct made_edges {
    number first[most_edges];
    unsigned slot[most_edges];
};

struct order {
    unsigned a, b, c;

    unsigned inside(unsigned corners) const { return corners == 3 ? c : b; }
    // The library fills only two of the three places in a triangle.
    unsigned filled(unsigned corners) const { return corners == 3 && c == 3 ? 2 : inside(corners); }
    std::size_t rows(unsigned corners) const {
        return std::size_t{corners} * (a + 1U) + inside(corners);
    }
};

unsigned corners_of(const dense2D<unsigned>& connect, std::size_t e) {
    return connect.rows == 4 && connect(3, e) != no_node ? 4 : 3;
}

// The part as the library raises it, and who makes the nodes on edges.
struct raised_part {
    partitioned_mesh wide;     ///< with halo, and with the nodes of given edges
    dense2D<double> pos;       ///< of the nodes of `wide`, and behind them of those made
    dense2D<unsigned> connect; ///< columns with local numbers
    list<unsigned> maker;      ///< of the nodes on made edge k: 4 * element + edge
    list<unsigned> own;        ///< own elements by slot
    std::size_t present = 0;   ///< nodes of `wide`

    std::size_t edge_of(unsigned node, unsigned a) const { return (node - present) / a; }
};

// Where the nodes of edge k begin in a column, and the lowest of their numbers, with which they were made.
std::size_t edge_row(unsigned corners, unsigned k, unsigned a) {
    return corners + std::size_t{k} * a;
}
unsigned lowest(const unsigned* run, unsigned a) {
    return std::min(run[0], run[a - 1]);
}

void find_makers(const order& o, raised_part& part) {
    unsigned next = static_cast<unsigned>(part.present);
    for (std::size_t e = 0; e < part.connect.cols; ++e) {
        const unsigned corners = corners_of(part.wide.connect, e);
        for (unsigned k = 0; k < corners; ++k) {
            if (lowest(part.connect[e] + edge_row(corners, k, o.a), o.a) != next) continue;
            part.maker.push_back(static_cast<unsigned>(most_edges * e + k));
            next += o.a;
        }
    }
}

// An edge or a place inside without a node is memory that the library has not got.
bool complete(const order& o, const raised_part& part) {
    for (const unsigned e : part.own) {
        const unsigned corners = corners_of(part.wide.connect, e);
        const unsigned* const column = part.connect[e];
        const std::size_t used = o.rows(corners) - o.inside(corners) + o.filled(corners);
        if (std::find(column, column + used, no_node) != column + used) return false;
    }
    return true;
}

int raise_locally(const order& o, const dense2D<unsigned>& given, raised_part& part) {
    const partitioned_mesh& wide = part.wide;
    part.present = wide.pos.cols;
    part.own = own_entries(wide.element_homes, rank_of(wide.comm));
    if (!part.pos.copy(wide.pos)) return no_memory;
    if (wide.connect.cols == 0) return 0;
    if (wide.connect.cols > most_local / most_edges) return no_memory;
    const int status = tessel2d::convert_into_high_order(part.pos, wide.connect, o.a, o.b, o.c,
                                                         part.connect, given);
    if (status) return status == no_memory ? no_memory : -1;
    if (!complete(o, part)) return no_memory;
    find_makers(o, part);
    return 0;
}

// What the own elements make, in the order of slots.
struct made_counts {
    list<number> edges;  ///< edges made by each own element
    list<number> inside; ///< nodes inside each
    number triangles = 0, quads = 0;
};

made_counts count_made(const order& o, const raised_part& part) {
    made_counts counts;
    list<unsigned> slot(part.wide.connect.cols, no_node);
    for (std::size_t s = 0; s < part.own.size(); ++s) slot[part.own[s]] = static_cast<unsigned>(s);
    counts.edges.assign(part.own.size(), 0);
    counts.inside.resize(part.own.size());
    for (const unsigned made : part.maker)
        if (slot[made / most_edges] != no_node) ++counts.edges[slot[made / most_edges]];
    for (std::size_t s = 0; s < part.own.size(); ++s) {
        const unsigned corners = corners_of(part.wide.connect, part.own[s]);
        counts.inside[s] = o.filled(corners);
        ++(corners == 3 ? counts.triangles : counts.quads);
    }
    return counts;
}

// The nodes that this rank has or makes: numbers, and columns of `raised_part::pos`. Those made come behind those
// that are its own already, first those on edges, then those inside.
struct own_nodes {
    list<number> numbers;
    list<unsigned> columns;
    unsigned first_inside = 0; ///< slot
};

struct numbering {
    sums_in_front edges, inside;
    number nodes = 0;                ///< of the mesh so far
    number first_inside = 0;         ///< the first number of a node inside
    number in_all = 0;               ///< the number of nodes when all is done
    number triangles = 0, quads = 0; ///< of the whole mesh
    number behind_inside = 0; ///< behind the number of the last element that has nodes inside
};

int number_all(const order& o, const partitioned_mesh& mesh, const raised_part& part,
               const made_counts& counts, numbering& n) {
    list<number> numbers;
    int status = together(mesh.comm, [&] {
        for (const unsigned e : part.own) numbers.push_back(part.wide.element_numbers[e]);
        return 0;
    });
    if (status) return status;
    if ((status = sum_in_front(mesh.comm, numbers, counts.edges, mesh.elements, n.edges)))
        return status;
    if ((status = sum_in_front(mesh.comm, numbers, counts.inside, mesh.elements, n.inside)))
        return status;
    const number mine[2] = {counts.triangles, counts.quads};
    number all[2] = {0, 0};
    const int code = MPI_Allreduce(mine, all, 2, MPI_UINT64_T, MPI_SUM, mesh.comm);
    if ((status = agree(mesh.comm, code == MPI_SUCCESS ? 0 : engine_failed))) return status;
    number last = 0;
    for (std::size_t s = 0; s < counts.inside.size(); ++s)
        if (counts.inside[s] != 0) last = numbers[s] + 1;
    const int found = MPI_Allreduce(&last, &n.behind_inside, 1, MPI_UINT64_T, MPI_MAX, mesh.comm);
    if ((status = agree(mesh.comm, found == MPI_SUCCESS ? 0 : engine_failed))) return status;
    n.triangles = all[0];
    n.quads = all[1];
    n.nodes = mesh.nodes;
    n.first_inside = mesh.nodes + o.a * n.edges.all;
    n.in_all = n.first_inside + o.c * n.triangles + o.b * n.quads;
    return 0;
}

// Three places in a triangle, of which two are filled, leave numbers behind the last node. The library has
// zeros there, but for the first of them if the last element with nodes inside is a triangle: that is its third
// node. It goes to the owner of the element, the others are dealt out in runs.
void list_passed_over(const order& o, const raised_part& part, const numbering& n, own_nodes& own) {
    const number first = n.first_inside + n.inside.all;
    if (n.in_all == first) return;
    for (const unsigned e : part.own) {
        if (part.wide.element_numbers[e] + 1 != n.behind_inside) continue;
        own.numbers.push_back(first);
        own.columns.push_back(corners_of(part.wide.connect, e) == 3
                                  ? part.connect(edge_row(3, 3, o.a) + 1, e) + 1
                                  : no_node);
    }
    const number zeros = n.in_all - first - 1;
    const auto r = static_cast<number>(rank_of(part.wide.comm)),
               ranks = static_cast<number>(ranks_of(part.wide.comm));
    for (number z = zeros * r / ranks; z < zeros * (r + 1) / ranks; ++z) {
        own.numbers.push_back(first + 1 + z);
        own.columns.push_back(no_node);
    }
}

// Lists what this rank has and makes, and fills in what its elements make on edges, in the order of slots.
int list_own_nodes(const order& o, const raised_part& part, const numbering& n, own_nodes& own,
                   list<made_edges>& made) {
    for (const unsigned k : own_entries(part.wide.node_homes, rank_of(part.wide.comm))) {
        own.numbers.push_back(part.wide.node_numbers[k]);
        own.columns.push_back(k);
    }
    list<unsigned> slot(part.wide.connect.cols, no_node);
    for (std::size_t s = 0; s < part.own.size(); ++s) slot[part.own[s]] = static_cast<unsigned>(s);
    made.assign(part.own.size(), {{no_number, no_number, no_number, no_number}, {0, 0, 0, 0}});
    list<number> next(n.edges.front);
    for (std::size_t edge = 0; edge < part.maker.size(); ++edge) {
        const unsigned s = slot[part.maker[edge] / most_edges];
        if (s == no_node) continue;
        const unsigned k = part.maker[edge] % most_edges;
        made[s].first[k] = n.nodes + o.a * next[s]++;
        made[s].slot[k] = static_cast<unsigned>(own.numbers.size());
        for (unsigned i = 0; i < o.a; ++i) {
            own.numbers.push_back(made[s].first[k] + i);
            own.columns.push_back(static_cast<unsigned>(part.present + edge * o.a + i));
        }
    }
    own.first_inside = static_cast<unsigned>(own.numbers.size());
    for (std::size_t s = 0; s < part.own.size(); ++s) {
        const unsigned corners = corners_of(part.wide.connect, part.own[s]);
        const unsigned* const inside = part.connect[part.own[s]] + edge_row(corners, corners, o.a);
        for (unsigned i = 0; i < o.filled(corners); ++i) {
            own.numbers.push_back(n.first_inside + n.inside.front[s] + i);
            own.columns.push_back(inside[i]);
        }
    }
    list_passed_over(o, part, n, own);
    return own.numbers.size() > most_local ? no_memory : 0;
}

// The columns of the own elements in global numbers, and the home of each node: `rows` per element.
struct global_columns {
    list<number> numbers;
    list<home> homes;
};

global_columns columns_of_own(const order& o, const raised_part& part, const own_nodes& own,
                              const list<made_edges>& made, std::size_t rows) {
    global_columns out;
    out.numbers.assign(rows * part.own.size(), no_number);
    out.homes.assign(rows * part.own.size(), {0, 0});
    const int me = rank_of(part.wide.comm);
    unsigned at_inside = own.first_inside;
    for (std::size_t s = 0; s < part.own.size(); ++s) {
        const unsigned e = part.own[s], corners = corners_of(part.wide.connect, e);
        const unsigned* const column = part.connect[e];
        const std::size_t first_inside = edge_row(corners, corners, o.a);
        for (std::size_t i = 0; i < first_inside + o.filled(corners); ++i) {
            number& node = out.numbers[s * rows + i];
            home& where = out.homes[s * rows + i];
            if (i >= first_inside) {
                node = own.numbers[at_inside];
                where = {me, at_inside++};
            } else if (column[i] < part.present) {
                node = part.wide.node_numbers[column[i]];
                where = part.wide.node_homes[column[i]];
            } else {
                const unsigned maker = part.maker[part.edge_of(column[i], o.a)];
                const made_edges& edges = made[maker / most_edges];
                const auto k = static_cast<unsigned>((column[i] - part.present) % o.a);
                node = edges.first[maker % most_edges] + k;
                where = {part.wide.element_homes[maker / most_edges].rank,
                         edges.slot[maker % most_edges] + k};
            }
        }
    }
    return out;
}

bool square(unsigned b) {
    const auto root = static_cast<unsigned>(std::lround(std::sqrt(static_cast<double>(b))));
    return static_cast<std::uint64_t>(root) * root == b;
}

int test_arguments(const partitioned_mesh& mesh, const order& o) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    if (mesh.elements != 0 && mesh.connect.rows != 3 && mesh.connect.rows != 4) return -1;
    if (o.a == 0 && (o.b != 0 || o.c != 0)) return -2;
    if (!square(o.b)) return -3;
    if (o.c == 2 || o.c > 3) return -4;
    return 0;
}

// Makes the raised mesh of the columns: all nodes find their owners.
int settle_raised(const raised_part& part, const own_nodes& own, global_columns& columns,
                  std::size_t rows, number in_all, partitioned_mesh& mesh) {
    list<number> element_numbers, node_numbers;
    list<home> node_homes;
    dense2D<double> pos;
    list<unsigned> pos_columns;
    int status = together(mesh.comm, [&] {
        for (const unsigned e : part.own) element_numbers.push_back(part.wide.element_numbers[e]);
        distinct_nodes(columns.numbers, columns.homes, node_numbers, node_homes);
        // One more column, of zeros, for the numbers that have no place.
        if (!pos.copy(part.pos) || !pos.resize(pos.rows, pos.cols + 1)) return no_memory;
        std::fill_n(pos[pos.cols - 1], pos.rows, 0.0);
        for (const unsigned column : own.columns)
            pos_columns.push_back(column == no_node ? static_cast<unsigned>(pos.cols - 1) : column);
        return 0;
    });
    if (status) return status;
    partitioned_mesh fresh = mesh;
    status = settle(mesh.comm, rows, columns.numbers, element_numbers, node_numbers, node_homes,
                    own.numbers, pos, pos_columns, fresh);
    if (status) return status;
    fresh.nodes = in_all;
    mesh = fresh;
    return 0;
}

} // namespace

int convert_into_high_order(partitioned_mesh& mesh, unsigned a, unsigned b, unsigned c,
                            const dense2D<number>& edges) {
    const order o{a, b, c};
    if (const int status = test_arguments(mesh, o)) return status;
    raised_part part;
    if (const int status = with_halo(mesh, 1, part.wide)) return status;
    dense2D<unsigned> given;
    if (const int status = bring_given_edges(edges, a, -5, part.wide, given)) return status;
    if (mesh.elements == 0 || a == 0) return 0;

    made_counts counts;
    int status = together(mesh.comm, [&] {
        if (const int failed = raise_locally(o, given, part)) return failed;
        counts = count_made(o, part);
        return 0;
    });
    if (status) return status;
    numbering n;
    if ((status = number_all(o, mesh, part, counts, n))) return status;

    own_nodes own;
    list<made_edges> made_here, made;
    status = together(mesh.comm, [&] {
        made.resize(part.wide.connect.cols);
        return list_own_nodes(o, part, n, own, made_here);
    });
    if (status) return status;
    star_forest copies;
    status = copies.build(mesh.comm, part.own.size(), part.wide.element_homes.data(),
                          part.wide.connect.cols);
    if (status) return status;
    if ((status = copies.spread(made_here.data(), made.data()))) return status;

    const std::size_t rows =
        std::max(n.triangles == 0 ? 0 : o.rows(3), n.quads == 0 ? 0 : o.rows(4));
    global_columns columns;
    status = together(mesh.comm, [&] {
        columns = columns_of_own(o, part, own, made, rows);
        return 0;
    });
    if (status) return status;
    return settle_raised(part, own, columns, rows, n.in_all, mesh);
}

int convert_into_quadratic(partitioned_mesh& mesh, const dense2D<number>& edges) {
    return convert_into_high_order(mesh, 1, 1, 0, edges);
}

int convert_into_quadratic(partitioned_mesh& mesh) {
    return convert_into_high_order(mesh, 1, 1, 0, dense2D<number>());
}

int split_into_Q4(partitioned_mesh& mesh, const dense2D<number>& edges) {
    partitioned_mesh raised = mesh;
    if (const int status = convert_into_high_order(raised, 1, 1, 1, edges))
        return status == -5 ? -2 : status;
    if (mesh.elements == 0) return 0;
    // Places in a column of T7 and Q9: corners, nodes on edges, the middle.
    static constexpr unsigned of_triangle[3][4] = {{0, 5, 6, 4}, {1, 3, 6, 5}, {2, 4, 6, 3}};
    static constexpr unsigned of_quad[4][4] = {
        {0, 4, 8, 7}, {1, 5, 8, 4}, {2, 6, 8, 5}, {3, 7, 8, 6}};
    list<number> counts, old;
    dense2D<unsigned> pieces;
    int status = together(mesh.comm, [&] {
        const dense2D<unsigned>& connect = raised.connect;
        const auto quad = [&](std::size_t e) {
            return connect.rows == 9 && connect(8, e) != no_node;
        };
        std::size_t all = 0;
        for (std::size_t e = 0; e < connect.cols; ++e) {
            counts.push_back(quad(e) ? 4 : 3);
            all += counts.back();
        }
        old.assign(raised.element_numbers.begin(), raised.element_numbers.end());
        if (!pieces.resize(4, all)) return no_memory;
        std::size_t at = 0;
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (std::size_t k = 0; k < counts[e]; ++k, ++at)
                for (std::size_t i = 0; i < 4; ++i)
                    pieces(i, at) = connect(quad(e) ? of_quad[k][i] : of_triangle[k][i], e);
        return 0;
    });
    if (status) return status;
    sums_in_front sums;
    if ((status = sum_in_front(mesh.comm, old, counts, raised.elements, sums))) return status;
    status = together(mesh.comm, [&] {
        list<number> numbers;
        for (std::size_t e = 0; e < old.size(); ++e)
            for (number k = 0; k < counts[e]; ++k) numbers.push_back(sums.front[e] + k);
        return replace_elements(pieces, numbers, sums.all, raised);
    });
    if (status) return status;
    mesh = raised;
    return 0;
}

} // namespace zel::distributed
