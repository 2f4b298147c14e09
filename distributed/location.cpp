// SPDX-License-Identifier: Apache-2.0
// Points in planar meshes in parts.
//
//   1. Each rank has a tree over boxes around its own elements, and all ranks know a few boxes that cover each of these
//      trees. A point is sent to the ranks of the boxes that hold it; each answers with the lowest of its own elements
//      that hold the point, and the lowest of all answers counts.
//   2. A point that no element holds is sent to the ranks that may have the nearest node: no box of theirs is farther
//      away than some other box is in its farthest corner. Each answers with its nearest node.
//
// No answer depends on which rank gives it, so that the result is that of the rule for the whole mesh.
#include "zel/distributed/location.h"

#include "distributed/part.h"
#include "distributed/rank_boxes.h"

#include "location/local_coords.h"
#include "location/locate.h"
#include "tessel/exact_sum.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <utility>

namespace zel::distributed {

namespace {

using host::source;
using point = tessel2d::point<2>;
using plane_box = box<2>;

/// A point on its way to a rank that may hold it.
struct question {
    unsigned index;
    double at[2];
};

/// An element that holds a point, with its local coordinates.
struct held {
    unsigned index;
    unsigned slot;
    number element;
    double local[2];
};

/// The node of a rank that is nearest to a point.
struct near_node {
    unsigned index;
    home where;
    number node;
    double at[2];
};

bool is_finite(const double* p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]);
}

/// Negative if the first node is nearer to p than the second one, 0 if they are as near. Exact.
int compare_distances(const double* p, const double* a, const double* b) {
    tessel::exact_sum sum;
    for (std::size_t i = 0; i < 2; ++i) {
        sum.add_product(a[i], a[i]);
        sum.add_product(b[i], -b[i]);
        sum.add_product(p[i], -a[i], 1);
        sum.add_product(p[i], b[i], 1);
    }
    return sum.sign();
}

/// Squares of the least and the greatest distance from a point to a box.
double least_square(const plane_box& b, const double* p) {
    double sum = 0;
    for (std::size_t i = 0; i < 2; ++i) {
        const double d = std::max({b.low[i] - p[i], p[i] - b.high[i], 0.0});
        sum += d * d;
    }
    return sum;
}
double greatest_square(const plane_box& b, const double* p) {
    double sum = 0;
    for (std::size_t i = 0; i < 2; ++i) {
        const double d = std::max(p[i] - b.low[i], b.high[i] - p[i]);
        sum += d * d;
    }
    return sum;
}

/// What a rank has of the mesh to answer questions: its own elements and their nodes.
class own_share {
public:
    own_share(const partitioned_mesh& of, double how_far)
        : mesh(of), tolerance(how_far), reach(how_far > 0 ? 4 * std::sqrt(how_far) : 0) {}

    /// Throws std::bad_alloc. Returns a status.
    int prepare() {
        own = own_entries(mesh.element_homes, rank_of(mesh.comm));
        list<bool> used(mesh.pos.cols, false);
        list<plane_box> boxes, at_nodes;
        for (std::size_t s = 0; s < own.size(); ++s) {
            const unsigned* const cell = mesh.connect[own[s]];
            for (unsigned i = 0; i < corners(cell); ++i) used[cell[i]] = true;
            if (!has_size(cell)) continue;
            boxes.push_back(box_around(cell));
            slots.push_back(static_cast<unsigned>(s));
        }
        elements.build(boxes);
        for (std::size_t k = 0; k < used.size(); ++k) {
            if (!used[k] || !is_finite(mesh.pos[k])) continue;
            at_nodes.emplace_back().add(mesh.pos[k]);
            node_of.push_back(static_cast<unsigned>(k));
        }
        nodes.build(at_nodes, rank_boxes<2>::depth);
        dense2D<double> pos;
        if (!pos.resize(2, node_of.size())) return no_memory;
        for (std::size_t k = 0; k < node_of.size(); ++k)
            std::copy_n(mesh.pos[node_of[k]], 2, pos[k]);
        detector = tessel::node_detector(pos);
        return detector.size() == node_of.size() ? 0 : no_memory;
    }

    /// Returns true if an element holds the point; the lowest one that does.
    bool find_element(const question& q, held& answer) const {
        const point p{q.at[0], q.at[1]};
        unsigned lowest = no_node;
        elements.for_each_around(q.at, [&](unsigned k) {
            if (slots[k] < lowest && holds(mesh.connect[own[slots[k]]], p)) lowest = slots[k];
        });
        if (lowest == no_node) return false;
        const unsigned* const cell = mesh.connect[own[lowest]];
        const tessel2d::points_view<2> pos(mesh.pos);
        point local{0, 0};
        if (corners(cell) == 3)
            tessel2d::local_coords_T3(pos, cell, p, local);
        else
            tessel2d::local_coords_Q4(pos, cell, p, local);
        answer = {q.index, lowest, mesh.element_numbers[own[lowest]], {local[0], local[1]}};
        return true;
    }

    /// There is a node.
    near_node find_node(const question& q) const {
        const unsigned k = node_of[detector.find_closest({q.at[0], q.at[1]})];
        const double* const at = mesh.pos[k];
        return {q.index, mesh.node_homes[k], mesh.node_numbers[k], {at[0], at[1]}};
    }

    box_tree<2> elements, nodes;

private:
    unsigned corners(const unsigned* cell) const {
        return mesh.connect.rows == 3 || cell[3] == no_node ? 3 : 4;
    }
    bool has_size(const unsigned* cell) const {
        const tessel2d::points_view<2> pos(mesh.pos);
        const double size = corners(cell) == 3
                                ? tessel2d::double_size<tessel2d::triangle_cells>(pos, cell)
                                : tessel2d::double_size<tessel2d::quad_cells>(pos, cell);
        return size > 0 && size <= std::numeric_limits<double>::max();
    }
    /// A point that the half-planes of the sides admit is in this box: an element that ends in a point between sides of
    /// length L may be left there by some sqrt(tolerance) L, and anywhere else by less.
    plane_box box_around(const unsigned* cell) const {
        plane_box b;
        for (unsigned i = 0; i < corners(cell); ++i) b.add(mesh.pos[cell[i]]);
        const double way = reach * std::max(b.high[0] - b.low[0], b.high[1] - b.low[1]);
        for (std::size_t i = 0; i < 2; ++i) {
            b.low[i] -= way;
            b.high[i] += way;
        }
        return b;
    }
    bool holds(const unsigned* cell, const point& p) const {
        const tessel2d::points_view<2> pos(mesh.pos);
        constexpr unsigned beside[] = {no_node, no_node, no_node, no_node}; // whichever edge it is
        const auto test =
            corners(cell) == 3
                ? tessel2d::exit_edge<tessel2d::triangle_cells>(pos, cell, beside, p, tolerance, 0)
                : tessel2d::exit_edge<tessel2d::quad_cells>(pos, cell, beside, p, tolerance, 0);
        return test.where == tessel2d::side::inside;
    }

    const partitioned_mesh& mesh;
    const double tolerance;
    const double reach;
    list<unsigned> own;     // local numbers of own elements by slot
    list<unsigned> slots;   // of the elements in the tree, ascending
    list<unsigned> node_of; // local numbers of the nodes in the tree and the detector, ascending
    tessel::node_detector detector{dense2D<double>(2, 0)};
};

/// Sends questions out and brings the answers back. `ask(outbox)` fills in the questions; `answer(question, answers)`
/// returns true if it has left an answer.
template <class Answer, class Ask, class Find>
int ask_around(MPI_Comm comm, Ask&& ask, Find&& find, inbox<Answer>& answers) {
    outbox<question> out(0);
    inbox<question> came;
    outbox<Answer> back(0);
    int status = together(comm, [&] {
        out = outbox<question>(ranks_of(comm));
        ask(out);
        return 0;
    });
    if (status) return status;
    if ((status = deliver(comm, out, came))) return status;
    status = together(comm, [&] {
        back = outbox<Answer>(ranks_of(comm));
        Answer found;
        for (std::size_t k = 0; k < came.from.size(); ++k)
            for (std::size_t i = came.starts[k]; i < came.starts[k + 1]; ++i)
                if (find(came.records[i], found)) back.add(came.from[k], found);
        return 0;
    });
    if (status) return status;
    return deliver(comm, back, answers);
}

/// The search for all points of all ranks.
class search {
public:
    search(const partitioned_mesh& of, const dense2D<double>& at, double tolerance)
        : mesh(of), points(at), share(of, tolerance) {}

    int run(location_table& table) {
        int status = together(mesh.comm, [&] {
            const int failed = share.prepare();
            return failed ? failed : make_room();
        });
        if (status) return status;
        if ((status = find_elements())) return status;
        if ((status = find_nodes())) return status;
        table.states.swap(found.states);
        table.numbers.swap(found.numbers);
        table.homes.swap(found.homes);
        table.local.swap(found.local);
        return 0;
    }

private:
    int make_room() {
        const std::size_t n = points.cols;
        const bool done = found.states.resize(n, source::unserved) &&
                          found.numbers.resize(n, no_number) && found.homes.resize(n, {-1, 0}) &&
                          found.local.resize(2, n, 0.0);
        return done ? 0 : no_memory;
    }
    question ask_for(std::size_t k) const {
        return {static_cast<unsigned>(k), {points(0, k), points(1, k)}};
    }
    void send(std::size_t k, list<int>& ranks, outbox<question>& out) const {
        keep_distinct(ranks);
        for (const int r : ranks) out.add(r, ask_for(k));
        ranks.clear();
    }

    int find_elements() {
        rank_boxes<2> around;
        int status = around.gather(mesh.comm, share.elements, [](plane_box&) {});
        if (status) return status;
        inbox<held> answers;
        const auto ask = [&](outbox<question>& out) {
            list<int> ranks;
            for (std::size_t k = 0; k < points.cols; ++k) {
                if (!is_finite(points[k])) continue;
                around.tree.for_each_around(
                    points[k], [&](unsigned b) { ranks.push_back(around.rank_of_box[b]); });
                send(k, ranks, out);
            }
        };
        const auto find = [&](const question& q, held& h) { return share.find_element(q, h); };
        if ((status = ask_around<held>(mesh.comm, ask, find, answers))) return status;
        for (std::size_t r = 0; r < answers.from.size(); ++r)
            for (std::size_t i = answers.starts[r]; i < answers.starts[r + 1]; ++i)
                take(answers.records[i], answers.from[r]);
        return 0;
    }
    void take(const held& h, int rank) {
        if (h.element >= found.numbers[h.index]) return;
        found.states[h.index] = source::inside;
        found.numbers[h.index] = h.element;
        found.homes[h.index] = {rank, h.slot};
        std::copy_n(h.local, 2, found.local[h.index]);
    }

    int find_nodes() {
        rank_boxes<2> around;
        int status = around.gather(mesh.comm, share.nodes, [](plane_box&) {});
        if (status) return status;
        plane_box all;
        for (unsigned b = 0; b < around.tree.size(); ++b) all.add(around.tree.at(b));
        inbox<near_node> answers;
        const auto ask = [&](outbox<question>& out) {
            list<int> ranks;
            for (std::size_t k = 0; k < points.cols; ++k) {
                if (found.states[k] == source::inside || !all.holds(points[k])) continue;
                list_candidates(around, points[k], ranks);
                send(k, ranks, out);
            }
        };
        const auto find = [&](const question& q, near_node& n) {
            n = share.find_node(q);
            return true;
        };
        if ((status = ask_around<near_node>(mesh.comm, ask, find, answers))) return status;
        return together(mesh.comm, [&] {
            list<point> nearest(points.cols);
            for (const near_node& n : answers.records) take(n, nearest);
            return 0;
        });
    }
    /// The ranks of which a box is not farther away than the farthest corner of any box. The slack is for rounding.
    static void list_candidates(const rank_boxes<2>& around, const double* p, list<int>& ranks) {
        double least = std::numeric_limits<double>::infinity();
        const auto in_reach = [&](const plane_box& b) {
            return !(least_square(b, p) > least * (1 + 1e-12) + DBL_MIN);
        };
        around.tree.for_each_if(in_reach, [&](unsigned b) {
            least = std::min(least, greatest_square(around.tree.at(b), p));
        });
        around.tree.for_each_if(in_reach,
                                [&](unsigned b) { ranks.push_back(around.rank_of_box[b]); });
    }
    void take(const near_node& n, list<point>& nearest) {
        const std::size_t k = n.index;
        if (found.states[k] == source::nearest) {
            const double other[2] = {nearest[k][0], nearest[k][1]};
            const int order = compare_distances(points[k], n.at, other);
            if (order > 0 || (order == 0 && n.node >= found.numbers[k])) return;
        }
        found.states[k] = source::nearest;
        found.numbers[k] = n.node;
        found.homes[k] = n.where;
        nearest[k] = {n.at[0], n.at[1]};
    }

    const partitioned_mesh& mesh;
    const dense2D<double>& points;
    own_share share;
    location_table found;
};

/// -1 if points cannot be found in the mesh, on all ranks alike.
int check_mesh(const partitioned_mesh& mesh) {
    if (mesh.comm == MPI_COMM_NULL || mesh.pos.rows != 2) return -1;
    if (mesh.elements == 0) return 0;
    if (mesh.connect.rows != 3 && mesh.connect.rows != 4) return -1;
    const bool fine =
        tessel::check_IDs(mesh.connect, ELEMENT_FACE, static_cast<unsigned>(mesh.pos.cols));
    return agree(mesh.comm, fine ? 0 : -1);
}

bool are_points(const dense2D<double>& points) {
    return points.cols == 0 || (points.rows == 2 && points.cols <= most_local);
}

/// A request for a value: of a node, or of an element at local coordinates.
struct request {
    unsigned slot;
    source from;
    double local[2];
};

bool is_consistent(const location_table& table, int ranks) {
    const std::size_t n = table.states.size;
    if (table.numbers.size != n || table.homes.size != n || table.local.cols != n ||
        (n != 0 && table.local.rows != 2))
        return false;
    for (std::size_t k = 0; k < n; ++k) {
        if (table.states[k] == source::unserved) continue;
        if (table.states[k] != source::inside && table.states[k] != source::nearest) return false;
        if (table.homes[k].rank < 0 || table.homes[k].rank >= ranks) return false;
    }
    return true;
}

/// The rows of a field, as all ranks that have nodes see them; -3 if they differ.
int common_rows(MPI_Comm comm, const dense2D<double>& field, std::size_t nodes, std::size_t& rows) {
    if (const int status = agree(comm, field.cols == nodes ? 0 : -3)) return status;
    // The least of a number and of its complement are the least and the greatest.
    const std::uint64_t mine[2] = {nodes ? field.rows : UINT64_MAX,
                                   nodes ? ~std::uint64_t{field.rows} : UINT64_MAX};
    std::uint64_t least[2] = {0, 0};
    const int code = MPI_Allreduce(mine, least, 2, MPI_UINT64_T, MPI_MIN, comm);
    if (const int status = agree(comm, code == MPI_SUCCESS ? 0 : engine_failed)) return status;
    rows = least[0] == UINT64_MAX ? 0 : least[0];
    return least[0] == UINT64_MAX || least[0] == ~least[1] ? 0 : -3;
}

/// The values at a request, one after the other into `out`; -2 if there is no such node or element.
int evaluate(const partitioned_mesh& mesh, const dense2D<double>& field,
             const list<unsigned>& nodes, const list<unsigned>& elements, const request& r, int to,
             outbox<double>& out) {
    if (r.from == source::nearest) {
        if (r.slot >= nodes.size()) return -2;
        for (std::size_t i = 0; i < field.rows; ++i) out.add(to, field(i, nodes[r.slot]));
        return 0;
    }
    if (r.slot >= elements.size()) return -2;
    const unsigned* const n = mesh.connect[elements[r.slot]];
    const point local{r.local[0], r.local[1]};
    for (std::size_t i = 0; i < field.rows; ++i)
        out.add(to, mesh.connect.rows == 3 || n[3] == no_node
                        ? tessel2d::triangle_value(field(i, n[0]), field(i, n[1]), field(i, n[2]),
                                                   local)
                        : tessel2d::quad_value(field(i, n[0]), field(i, n[1]), field(i, n[2]),
                                               field(i, n[3]), local));
    return 0;
}

int evaluate_all(const partitioned_mesh& mesh, const dense2D<double>& field,
                 const inbox<request>& came, outbox<double>& back) {
    const int me = rank_of(mesh.comm);
    const list<unsigned> nodes = own_entries(mesh.node_homes, me);
    const list<unsigned> elements = own_entries(mesh.element_homes, me);
    back = outbox<double>(ranks_of(mesh.comm));
    for (std::size_t k = 0; k < came.from.size(); ++k)
        for (std::size_t i = came.starts[k]; i < came.starts[k + 1]; ++i)
            if (const int status =
                    evaluate(mesh, field, nodes, elements, came.records[i], came.from[k], back))
                return status;
    return 0;
}

/// Writes what has come into the columns of the served points; those of one rank come in the order of the points.
void write_values(const location_table& table, std::size_t rows, const inbox<double>& came,
                  list<std::size_t>& next, dense2D<double>& values) {
    for (std::size_t r = 0; r < came.from.size(); ++r)
        next[static_cast<std::size_t>(came.from[r])] = came.starts[r];
    for (std::size_t k = 0; k < values.cols && rows != 0; ++k) {
        if (table.states[k] == source::unserved) continue;
        std::size_t& at = next[static_cast<std::size_t>(table.homes[k].rank)];
        std::copy_n(came.records.data() + at, rows, values[k]);
        at += rows;
    }
}

/// Fills the columns of served points in new memory, in front of which `prepare(values)` sees to the others.
template <class Prepare>
int carry_onto(const partitioned_mesh& mesh, const location_table& table,
               const dense2D<double>& field, std::size_t rows, Prepare&& prepare,
               dense2D<double>& values) {
    MPI_Comm comm = mesh.comm;
    outbox<request> out(0);
    inbox<request> came;
    outbox<double> back(0);
    inbox<double> answers;
    list<std::size_t> next;
    dense2D<double> fresh;
    int status = together(comm, [&] {
        out = outbox<request>(ranks_of(comm));
        next.assign(static_cast<std::size_t>(ranks_of(comm)), 0);
        for (std::size_t k = 0; k < table.states.size; ++k)
            if (table.states[k] != source::unserved)
                out.add(
                    table.homes[k].rank,
                    {table.homes[k].slot, table.states[k], {table.local(0, k), table.local(1, k)}});
        return fresh.resize(rows, table.states.size) ? 0 : no_memory;
    });
    if (status) return status;
    if ((status = deliver(comm, out, came))) return status;
    status = together(comm, [&] { return evaluate_all(mesh, field, came, back); });
    if (status) return status;
    if ((status = deliver(comm, back, answers))) return status;
    prepare(fresh);
    write_values(table, rows, answers, next, fresh);
    values.swap(fresh);
    return 0;
}

} // namespace

int locate(const partitioned_mesh& mesh, const dense2D<double>& points, double tolerance,
           location_table& table) {
    if (const int status = check_mesh(mesh)) return status;
    if (const int status = agree(mesh.comm, are_points(points) ? 0 : -2)) return status;
    return search(mesh, points, tolerance).run(table);
}

int carry(const partitioned_mesh& mesh, const location_table& table, const dense2D<double>& field,
          dense2D<double>& values, double unserved) {
    if (mesh.comm == MPI_COMM_NULL) return -1;
    const bool fine = is_consistent(table, ranks_of(mesh.comm));
    if (const int status = agree(mesh.comm, fine ? 0 : -2)) return status;
    std::size_t rows = 0;
    if (const int status = common_rows(mesh.comm, field, mesh.pos.cols, rows)) return status;
    const auto fill = [unserved](dense2D<double>& fresh) {
        std::fill(fresh.begin(), fresh.end(), unserved);
    };
    return carry_onto(mesh, table, field, rows, fill, values);
}

int interpolate(const partitioned_mesh& mesh, const dense2D<double>& field,
                const dense2D<double>& points, dense2D<double>& values) {
    if (const int status = check_mesh(mesh)) return status;
    std::size_t rows = 0;
    if (const int status = common_rows(mesh.comm, field, mesh.pos.cols, rows))
        return status == -3 ? -2 : status;
    if (const int status = agree(mesh.comm, are_points(points) ? 0 : -3)) return status;
    const bool fits = values.cols == points.cols && (points.cols == 0 || values.rows == rows);
    if (const int status = agree(mesh.comm, fits ? 0 : -4)) return status;
    location_table table;
    if (const int status = search(mesh, points, 1e-6).run(table)) return status;
    const auto keep = [&](dense2D<double>& fresh) {
        for (std::size_t k = 0; k < fresh.cols; ++k)
            std::copy_n(std::as_const(values)[k], rows, fresh[k]);
    };
    return carry_onto(mesh, table, field, rows, keep, values);
}

} // namespace zel::distributed
