// SPDX-License-Identifier: Apache-2.0
// Normals and offsets: statuses in their order, normals from a plain sum in extended precision, and every
// node that an offset moves or copies.
#include "fuzz/adjacency.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/meshes.h"

#include "zel/tessel2d/normals.h"

#include <algorithm>
#include <cmath>
#include <vector>

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

using zel::symmetric_fixed;
using zel::vector_fixed;
using vector3 = vector_fixed<long double, 3>;

// ------------------------------------------------------------------------------------- what is known

vector3 minus(const double* a, const double* b) {
    vector3 d;
    for (std::size_t i = 0; i < 3; ++i) d[i] = static_cast<long double>(a[i]) - b[i];
    return d;
}
vector3 cross(const vector3& a, const vector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
long double length(const vector3& a) {
    return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
}

/// The normal of an element, as long as twice its area; none if it lacks a corner.
vector3 element_normal(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                       std::size_t e) {
    const unsigned* const cell = connect[e];
    if (std::count(cell, cell + 3, no_node) != 0) return {0, 0, 0};
    const double* const a = pos[cell[0]];
    const double* const b = pos[cell[1]];
    const double* const c = pos[cell[2]];
    if (corners(connect, e) == 3) return cross(minus(b, a), minus(c, a));
    return cross(minus(c, a), minus(pos[cell[3]], b));
}

bool is_unit(const double* v) {
    const vector3 n{v[0], v[1], v[2]};
    return std::fabs(length(n) - 1) <= 1e-15L * 4;
}
bool is_zero(const double* v) {
    return v[0] == 0 && v[1] == 0 && v[2] == 0;
}
bool has_nan(const double* v) {
    return v[0] != v[0] || v[1] != v[1] || v[2] != v[2];
}
void require_near(const double* v, const vector3& expected, long double slack, const char* what) {
    for (std::size_t i = 0; i < 3; ++i) require(std::fabs(v[i] - expected[i]) <= slack, what);
}

bool names_only(const dense2D<unsigned>& ids, std::size_t nodes) {
    return std::all_of(ids.begin(), ids.end(),
                       [=](unsigned id) { return id < nodes || id == no_node; });
}

/// The status of the tests of both kinds of normals.
int normals_status(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    if (pos.empty() || connect.empty()) return 0;
    if (pos.rows != 3) return -1;
    if (connect.rows != 3 && connect.rows != 4) return -2;
    return names_only(connect, pos.cols) ? 0 : -2;
}

// ------------------------------------------------------------------------------------------- input

/// A surface: loose elements, or a grid that is lifted here and there.
mesh surface(input& in) {
    mesh m;
    if (in.flag()) {
        m = grid(in, 3, in.one_of({3u, 4u}));
        for (std::size_t j = 0; j < m.pos.cols; ++j)
            if (in.one_in(4)) m.pos(2, j) = in.small();
        return m;
    }
    m.pos = positions(in, {3});
    m.connect = cells(in, {3, 4}, m.pos.cols);
    return m;
}

/// An output, or the vectors of an offset: `pos` itself, a view of its block, or a matrix of its own.
dense2D<double> beside(input& in, const dense2D<double>& pos) {
    if (in.one_in(8)) return pos;
    if (in.one_in(8)) return sharing_matrix(in, pos, rows(in, {3}));
    if (in.one_in(4)) return doubles(in, rows(in, {3}), in.below(16));
    return doubles(in, rows(in, {3}), pos.cols);
}

// ----------------------------------------------------------------------------------------- normals

void of_elements(input& in) {
    const mesh m = surface(in);
    const bool unit = in.flag();
    dense2D<double> N = beside(in, m.pos);
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const int status = call(
        in, "normals of elements", {-1, -2},
        [=](auto& p, auto& c, auto& n) { return t2::normals(p, c, unit, n); }, reads(m.pos),
        reads(m.connect), makes(N));
    require_status(status, normals_status(given.pos, given.connect));
    if (status != 0 || given.pos.empty() || given.connect.empty()) {
        require(N.empty(), "there are no normals");
        return;
    }
    require(N.rows == 3 && N.cols == given.connect.cols, "there is one normal per element");
    if (!all_exact(given.pos)) return;
    for (std::size_t e = 0; e < N.cols; ++e) {
        const vector3 n = element_normal(given.pos, given.connect, e);
        const long double size = length(n);
        const double* const v = N[e];
        if (size == 0) {
            require(is_zero(v), "an element of no area has no normal");
        } else if (unit) {
            require(is_unit(v), "a unit normal is as long as 1");
            require_near(v, {n[0] / size, n[1] / size, n[2] / size}, 1e-15L, "a normal is normal");
        } else {
            require_near(v, n, 0, "a normal is exact where its terms are");
        }
    }
}

constexpr double largest = std::numeric_limits<double>::max();

/// The sums at the nodes, before they are divided. `weight` is the size held for the extreme powers.
struct node_sum {
    vector3 sum{0, 0, 0};
    long double weight = 0;
    long double magnitude = 0;
};

std::vector<node_sum> sum_up(const mesh& given, double power) {
    std::vector<node_sum> sums(given.pos.cols);
    for (std::size_t e = 0; e < given.connect.cols; ++e) {
        const unsigned* const cell = given.connect[e];
        if (std::count(cell, cell + 3, no_node) != 0) continue;
        vector3 n = element_normal(given.pos, given.connect, e);
        const long double size = length(n);
        if (size != 0)
            for (long double& x : n) x /= size;
        const bool extreme = std::fabs(power) == largest;
        const bool weighted = std::isfinite(power) && !extreme;
        const long double w = weighted ? std::pow(size, static_cast<long double>(power)) : 1;
        for (unsigned k = 0; k < corners(given.connect, e); ++k) {
            node_sum& s = sums[cell[k]];
            const bool wins = power == largest ? size > s.weight : size < s.weight || s.weight == 0;
            if (extreme && wins) {
                s.weight = size;
                s.sum = n;
                continue;
            }
            s.weight += w;
            s.magnitude += std::fabs(w);
            for (std::size_t i = 0; i < 3; ++i) s.sum[i] += w * n[i];
        }
    }
    return sums;
}

/// Compares with the sums where these say something: where terms do not nearly cancel.
void check_node_normal(const double* v, const node_sum& s, double power, bool unit) {
    const bool extreme = std::fabs(power) == largest;
    const long double size = length(s.sum);
    if (!(s.magnitude < 1e15L) || (s.magnitude != 0 && s.magnitude < 1e-15L)) return;
    if (extreme) {
        // Two elements of one size are told apart by rounding; what holds in any case is the length.
        require(!has_nan(v), "a normal is a number");
    } else if (s.weight == 0) {
        require(is_zero(v), "a node without elements of any area has no normal");
    } else if (!unit) {
        const vector3 mean{s.sum[0] / s.weight, s.sum[1] / s.weight, s.sum[2] / s.weight};
        require_near(v, mean, 1e-13L, "a mean normal is the mean");
    } else if (size > 1e-9L * s.magnitude) {
        require(is_unit(v), "a unit normal is as long as 1");
        require_near(v, {s.sum[0] / size, s.sum[1] / size, s.sum[2] / size},
                     1e-14L * s.magnitude / size, "a normal is the weighted sum");
    } else {
        require(is_zero(v) || is_unit(v), "a normal is a unit vector or none");
    }
}

void of_nodes(input& in) {
    const mesh m = surface(in);
    const bool unit = in.flag();
    const double power =
        in.flag() ? in.one_of({1.0, 0.0, 2.0, 0.5, -1.0, -2.0, largest, -largest}) : in.number();
    dense2D<double> N = beside(in, m.pos);
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const int status = call(
        in, "normals of nodes", {-1, -2},
        [=](auto& p, auto& c, auto& n) { return t2::normals(p, c, power, unit, n); }, reads(m.pos),
        reads(m.connect), makes(N));
    require_status(status, normals_status(given.pos, given.connect));
    if (status != 0 || given.pos.empty() || given.connect.empty()) {
        require(N.empty(), "there are no normals");
        return;
    }
    require(N.rows == 3 && N.cols == given.pos.cols, "there is one normal per node");
    std::vector<bool> named(given.pos.cols);
    for (const unsigned node : given.connect)
        if (node != no_node) named[node] = true;
    for (std::size_t j = 0; j < N.cols; ++j)
        require(named[j] || is_zero(N[j]), "a node that no element names has no normal");
    if (!all_exact(given.pos)) return;
    const std::vector<node_sum> sums = sum_up(given, power);
    for (std::size_t j = 0; j < N.cols; ++j) check_node_normal(N[j], sums[j], power, unit);
}

// ----------------------------------------------------------------------------------------- offsets

/// How far a node goes: along its vector by a distance, or by a tensor.
struct amount {
    bool by_tensor;
    double d;
    symmetric_fixed<double, 3> M;
};
amount draw_amount(input& in) {
    amount a;
    a.by_tensor = in.flag();
    a.d = in.number();
    const bool absurd = in.one_in(16);
    for (double& x : a.M) x = absurd ? in.absurd() : in.small();
    return a;
}

/// The place of a node after the move, in the order of terms that is documented.
vector_fixed<double, 3> moved(const amount& a, const double* p, const double* n) {
    vector_fixed<double, 3> to{p[0], p[1], p[2]};
    for (std::size_t i = 0; i < 3; ++i) {
        if (a.by_tensor) {
            to[i] += a.M(i, 0) * n[0] + a.M(i, 1) * n[1] + a.M(i, 2) * n[2];
        } else if (a.d != 0) {
            to[i] += a.d * n[i];
        }
    }
    return to;
}

/// The nodes that move, each once, in the order of the elements.
std::vector<unsigned> named_nodes(const dense2D<unsigned>& connect, std::size_t nodes) {
    std::vector<unsigned> list;
    if (connect.rows != 3 && connect.rows != 4) return list;
    std::vector<bool> met(nodes);
    for (const unsigned node : connect) {
        if (node == no_node || met[node]) continue;
        met[node] = true;
        list.push_back(node);
    }
    return list;
}

/// The status of the tests of an offset along given vectors, if there is something to do.
int given_status(const mesh& m, const dense2D<double>& N) {
    if (m.pos.rows != 3) return -1;
    const std::size_t bound = std::min(m.pos.cols, N.cols);
    unsigned most = 0;
    for (const unsigned id : m.connect)
        if (id != no_node) most = std::max(most, id);
    if (most >= bound) return -2;
    return N.rows == 3 ? 0 : -3;
}
int computed_status(const mesh& m) {
    if (m.pos.empty()) return m.pos.rows == 3 ? -2 : -1;
    const int status = normals_status(m.pos, m.connect);
    return status == -2 ? -3 : status;
}

/// Normals as offsets compute them, with memory enough.
dense2D<double> own_normals(const mesh& m) {
    dense2D<double> N;
    t2::normals(m.pos, m.connect, 1.0, true, N);
    return N;
}

/// Nodes that `list` names stand where they belong; from `first` on if that is not 0, in its order.
void require_moved(const std::vector<unsigned>& list, std::size_t first, const amount& a,
                   const dense2D<double>& before, const dense2D<double>& N,
                   const dense2D<double>& after) {
    std::size_t next = first;
    for (const unsigned node : list) {
        const vector_fixed<double, 3> to = moved(a, before[node], N[node]);
        const double* const at = after[first == 0 ? node : next++];
        require(same(at[0], to[0]) && same(at[1], to[1]) && same(at[2], to[2]),
                "a node goes along its vector");
    }
}

void check_offset(int status, int expected, const amount& a, const mesh& given,
                  const dense2D<double>& N, const dense2D<double>& pos) {
    if (given.connect.empty() || (!a.by_tensor && a.d == 0)) {
        require(status == 0 && snapshot(given.pos).unchanged(pos), "there is nothing to do");
        return;
    }
    require_status(status, expected);
    if (status != 0) return; // that `pos` is as it was has been looked at
    const std::vector<unsigned> list = named_nodes(given.connect, given.pos.cols);
    std::vector<bool> moves(given.pos.cols);
    for (const unsigned node : list) moves[node] = true;
    for (std::size_t j = 0; j < given.pos.cols; ++j)
        for (std::size_t i = 0; i < 3; ++i)
            require(moves[j] || same(given.pos(i, j), pos(i, j)),
                    "nodes that no element names stay");
    require_moved(list, 0, a, given.pos, N, pos);
}

void offset_along(input& in) {
    mesh m = surface(in);
    const amount a = draw_amount(in);
    const dense2D<double> N = beside(in, m.pos);
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const dense2D<double> vectors = plain_copy(N);
    const int status = call(
        in, "offset along vectors", {-1, -2, -3},
        [=](auto& p, auto& c, auto& n) {
            return a.by_tensor ? t2::offset(p, c, n, a.M) : t2::offset(p, c, n, a.d);
        },
        turns(m.pos), reads(m.connect), reads(N));
    check_offset(status, given_status(given, vectors), a, given, vectors, m.pos);
}

void offset_own(input& in) {
    mesh m = surface(in);
    const amount a = draw_amount(in);
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const int status = call(
        in, "offset", {-1, -2, -3},
        [=](auto& p, auto& c) {
            return a.by_tensor ? t2::offset(p, c, a.M) : t2::offset(p, c, a.d);
        },
        turns(m.pos), reads(m.connect));
    const int expected = computed_status(given);
    check_offset(status, expected, a, given, own_normals(given), m.pos);
}

// ------------------------------------------------------------------------------------------ copies

/// The connectivity of the copy.
void require_copied(const dense2D<unsigned>& connect, const std::vector<unsigned>& list,
                    std::size_t first, std::size_t nodes, const dense2D<unsigned>& out) {
    std::vector<unsigned> number(nodes, no_node);
    for (std::size_t i = 0; i < list.size(); ++i)
        number[list[i]] = static_cast<unsigned>(first + i);
    require(out.rows == connect.rows && out.cols == connect.cols, "a copy has as many elements");
    for (std::size_t e = 0; e < connect.cols; ++e) {
        for (std::size_t i = 0; i < connect.rows; ++i) {
            const unsigned id = connect(i, e);
            const bool plain = id == no_node || list.empty();
            require(out(i, e) == (plain ? id : number[id]), "elements of the copy name its nodes");
        }
    }
}

void check_copy(int status, int expected, const amount& a, const mesh& given,
                const dense2D<double>& N, const dense2D<unsigned>& out_before,
                const dense2D<double>& pos, const dense2D<unsigned>& out) {
    const bool kept = snapshot(out_before).unchanged(out);
    if (given.connect.empty()) {
        require(status == 0 && snapshot(given.pos).unchanged(pos), "there is nothing to do");
        require(a.by_tensor ? kept : out.empty(), "without elements there is no copy");
        return;
    }
    require_status(status, expected);
    const std::vector<unsigned> list =
        expected == 0 ? named_nodes(given.connect, given.pos.cols) : std::vector<unsigned>();
    const std::size_t first = given.pos.cols;
    if (status == -199 && a.by_tensor && !kept) {
        require_copied(given.connect, list, first, first, out); // the last step failed
    } else if (status != 0) {
        require(a.by_tensor ? kept : out.empty(), "there is no copy");
    } else {
        require_copied(given.connect, list, first, first, out);
        require(pos.rows == 3 && pos.cols == first + list.size(), "each node is copied once");
        require_moved(list, first, a, given.pos, N, pos);
    }
}

dense2D<unsigned> copy_output(input& in, const mesh& m) {
    if (in.one_in(8)) return m.connect;
    if (in.one_in(8)) return sharing_matrix(in, m.connect, rows(in, {3, 4}));
    return in.flag() ? cells(in, {3, 4}, m.pos.cols) : dense2D<unsigned>();
}

void copy_along(input& in) {
    mesh m = surface(in);
    const amount a = draw_amount(in);
    const dense2D<double> N = beside(in, m.pos);
    dense2D<unsigned> out = copy_output(in, m);
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const dense2D<double> vectors = plain_copy(N);
    const dense2D<unsigned> out_before = plain_copy(out);
    const int status = call(
        in, "copy_with_offset along vectors", {-1, -2, -3},
        [=](auto& p, auto& c, auto& n, auto& o) {
            return a.by_tensor ? t2::copy_with_offset(p, c, n, a.M, o)
                               : t2::copy_with_offset(p, c, n, a.d, o);
        },
        grows(m.pos), reads(m.connect), reads(N), makes(out));
    check_copy(status, given_status(given, vectors), a, given, vectors, out_before, m.pos, out);
}

void copy_own(input& in) {
    mesh m = surface(in);
    const amount a = draw_amount(in);
    dense2D<unsigned> out = copy_output(in, m);
    const mesh given{plain_copy(m.pos), plain_copy(m.connect)};
    const dense2D<unsigned> out_before = plain_copy(out);
    const int status = call(
        in, "copy_with_offset", {-1, -2, -3},
        [=](auto& p, auto& c, auto& o) {
            return a.by_tensor ? t2::copy_with_offset(p, c, a.M, o)
                               : t2::copy_with_offset(p, c, a.d, o);
        },
        grows(m.pos), reads(m.connect), makes(out));
    check_copy(status, computed_status(given), a, given, own_normals(given), out_before, m.pos,
               out);
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {of_elements, of_nodes,   offset_along,
                                           offset_own,  copy_along, copy_own};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
