// SPDX-License-Identifier: Apache-2.0
// Metrics: sizes and size tensors carried onto nodes without element, tensors between two, and the sizes of
// a surface.
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/located_mesh.h"
#include "fuzz/meshes.h"

#include "location/interpolate_metrics.h"
#include "metrics/blend.h"
#include "zel/tessel2d/metrics.h"

#include <algorithm>
#include <cmath>
#include <vector>

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

// ----------------------------------------------------------------------------------------- tensors

/// A positive definite tensor L L' + D of small numbers, packed in 3 or 6 of them; or anything.
void draw_tensor(input& in, std::size_t order, double* m) {
    const std::size_t entries = order * (order + 1) / 2;
    if (in.one_in(8)) {
        const bool absurd = in.flag();
        for (std::size_t k = 0; k < entries; ++k) m[k] = absurd ? in.absurd() : in.small();
        return;
    }
    double rows[3][3] = {};
    for (std::size_t i = 0; i < order; ++i)
        for (std::size_t j = 0; j <= i; ++j) rows[i][j] = in.small();
    const double at_least = in.one_of({1.0, 0.25, 4.0, 100.0});
    for (std::size_t j = 0, at = 0; j < order; ++j) {
        for (std::size_t i = 0; i <= j; ++i, ++at) {
            m[at] = i == j ? at_least : 0;
            for (std::size_t k = 0; k < order; ++k) m[at] += rows[i][k] * rows[j][k];
        }
    }
}

/// v' M v
long double square_of(const double* m, std::size_t order, const double* v) {
    long double sum = 0;
    for (std::size_t j = 0, at = 0; j < order; ++j)
        for (std::size_t i = 0; i <= j; ++i, ++at)
            sum += (i == j ? 1 : 2) * static_cast<long double>(m[at]) * v[i] * v[j];
    return sum;
}

long double determinant(const double* m, std::size_t order) {
    const long double a = m[0], b = m[1], c = m[2];
    if (order == 2) return a * c - b * b;
    const long double d = m[3], e = m[4], f = m[5];
    return a * (c * f - e * e) - b * (b * f - e * d) + d * (b * e - c * d);
}

/// The smallest eigenvalue is not below this, if the tensor is positive definite.
long double least_eigenvalue(const double* m, std::size_t order) {
    const long double trace = order == 2 ? m[0] + m[2] : m[0] + m[2] + m[5];
    return determinant(m, order) / (order == 2 ? trace : trace * trace);
}

/// A tensor as `draw_tensor` makes them: finite, positive definite, neither small nor large.
bool is_ordinary(const double* m, std::size_t order) {
    const std::size_t entries = order * (order + 1) / 2;
    for (std::size_t k = 0; k < entries; ++k)
        if (!(std::fabs(m[k]) < 1e4)) return false;
    return m[0] > 0.1 && determinant(m, 2) > 0.01L && determinant(m, order) > 1e-3L;
}

constexpr double directions[][3] = {{1, 0, 0}, {0, 1, 0},  {0, 0, 1},  {1, 1, 0},   {1, -1, 0},
                                    {1, 0, 1}, {0, 1, -1}, {1, 2, 3},  {-2, 1, 1},  {3, -1, 2},
                                    {1, 1, 1}, {1, -1, 1}, {-1, 1, 1}, {0.1, 5, 1}, {5, 0.1, -1}};

/// What comes of blends of these tensors is not above their sum, and not below what their inverses add up to.
template <std::size_t Order>
void require_within(const std::vector<const double*>& tensors, const double* m) {
    const auto count = static_cast<long double>(tensors.size());
    for (const auto& v : directions) {
        if (Order == 2 && v[2] != 0) continue;
        const long double length = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
        long double least = std::numeric_limits<long double>::infinity();
        long double sum = 0;
        for (const double* const t : tensors) {
            least = std::min(least, least_eigenvalue(t, Order));
            sum += square_of(t, Order, v);
        }
        const long double x = square_of(m, Order, v);
        require(x >= least * length / count * 0.999L,
                "a blend does not fall below what is blended");
        require(x <= sum * 1.001L, "a blend does not exceed what is blended");
    }
}

template <std::size_t Order>
void blend_two(input& in) {
    t2::tensor<Order> a, b, m;
    draw_tensor(in, Order, a.begin());
    draw_tensor(in, Order, b.begin());
    const double t = in.flag() ? in.below(9) / 8.0 : in.number();
    now = {"blend", 0, false};
    const bool exists = t2::blend<Order>(a, b, t, m);
    const auto equal = [&](const t2::tensor<Order>& x) {
        return std::equal(x.begin(), x.end(), m.begin(),
                          [](double p, double q) { return same(p, q); });
    };
    if (!(std::fabs(t) >= 1e-12)) {
        require(exists && equal(a), "a blend begins with the first tensor");
    } else if (!(std::fabs(1 - t) >= 1e-12)) {
        require(exists && equal(b), "a blend ends with the second tensor");
    } else if (is_ordinary(a.begin(), Order) && is_ordinary(b.begin(), Order) && t > 0 && t < 1) {
        require(exists, "there is a blend of two metrics");
        require_within<Order>({a.begin(), b.begin()}, m.begin());
    }
    if (!exists)
        require(std::all_of(m.begin(), m.end(), [](double x) { return x == 0; }), "none is zero");
    t2::tensor<Order> in_place = a;
    require(t2::blend<Order>(in_place, b, t, in_place) == exists, "a blend may be made in place");
    require(std::equal(m.begin(), m.end(), in_place.begin(),
                       [](double p, double q) { return same(p, q); }),
            "a blend in place is the same");
}

void blend_tensors(input& in) {
    if (in.flag()) {
        blend_two<2>(in);
    } else {
        blend_two<3>(in);
    }
}

// -------------------------------------------------------------------------------- onto other nodes

dense1D<unsigned, 8> all_nodes(std::size_t n) {
    dense1D<unsigned, 8> all(n);
    for (unsigned j = 0; j < n; ++j) all[j] = j;
    return all;
}

/// What the call is about: the mesh, the nodes to be served, and the options.
struct carrying {
    located_mesh l;
    dense1D<unsigned, 8> nodes;
    bool listed;
    bool keep_valid;
};
carrying draw_carrying(input& in, std::initializer_list<unsigned> heights) {
    carrying c;
    c.l = draw_located(in, heights);
    c.listed = in.flag();
    c.keep_valid = in.flag();
    c.nodes = c.listed ? listed_nodes(in, c.l.pos.cols) : laid_out(in, all_nodes(c.l.pos.cols));
    return c;
}
carrying plain_copy(const carrying& c) {
    return {zel_fuzz::plain_copy(c.l), zel_fuzz::plain_copy(c.nodes), c.listed, c.keep_valid};
}

/// The status of the tests; `fits` says whether the metrics have a column per node, and suitable rows.
int carrying_status(const carrying& c, zel::element_type tested, bool fits) {
    if (c.nodes.empty()) return 0;
    if (const int status = located_status(c.l, tested)) return status;
    if (!fits) return -5;
    const auto is_node = [&](unsigned node) { return node < c.l.pos.cols; };
    return std::all_of(c.nodes.begin(), c.nodes.end(), is_node) ? 0 : -6;
}
/// Without memory for the list of all nodes nothing is done, and a mesh without nodes has other statuses.
void require_carried_status(int status, const carrying& c, int expected) {
    if (now.failed && !c.listed && c.l.pos.cols == 0) return;
    require(status == expected, "the status is that of the first unusable argument");
}

/// Says whether a node is to receive values, and whether it may.
std::vector<bool> served_nodes(const carrying& c) {
    std::vector<bool> served(c.l.pos.cols);
    if (!is_searched(c.l.connect, c.l.type)) return served;
    const bounds box(c.l);
    for (const unsigned node : c.nodes) {
        const bool outside = box.finite && !box.holds(c.l.pos[node]);
        served[node] = is_orphan(c.l, node) && !outside;
    }
    return served;
}

bool is_size(double h) {
    return h > 0 && h < std::numeric_limits<double>::max();
}

void carry_sizes(input& in) {
    const carrying c = draw_carrying(in, {3, 4});
    dense1D<double, 8> sizes = in.one_in(8)
                                   ? sharing_list(in, c.l.pos)
                                   : double_list(in, in.one_in(16) ? in.below(16) : c.l.pos.cols);
    const carrying given = plain_copy(c);
    const dense1D<double, 8> before = zel_fuzz::plain_copy(sizes);
    const int status = call(
        in, "interpolate_metrics of sizes", {-1, -2, -3, -4, -5, -6},
        [&](auto& pos, auto& e, auto& n, auto& a, auto& m, auto& of) {
            return c.listed ? t2::interpolate_metrics(pos, e, n, a, m, of, c.keep_valid, c.l.type)
                            : t2::interpolate_metrics(pos, e, n, a, m, c.keep_valid, c.l.type);
        },
        reads(c.l.pos), reads(c.l.connect), reads(c.l.neighbors), reads(c.l.ancestors),
        turns(sizes), reads(c.nodes));
    require_carried_status(status, given,
                           carrying_status(given, given.l.type, before.size == given.l.pos.cols));
    require(sizes.size == before.size, "sizes keep their number");
    if (status != 0 || given.nodes.empty()) {
        require(snapshot(before).unchanged(sizes), "there is nothing to do");
        return;
    }
    const std::vector<bool> served = served_nodes(given);
    bool lattice = is_lattice(given.l);
    double low = std::numeric_limits<double>::infinity();
    double high = 0;
    for (unsigned j = 0; j < sizes.size; ++j) {
        if (is_orphan(given.l, j)) continue;
        lattice = lattice && before[j] > 0; // not a NaN either
        low = std::min(low, before[j]);
        high = std::max(high, before[j]);
    }
    for (unsigned j = 0; j < sizes.size; ++j) {
        const bool kept = given.keep_valid && is_size(before[j]);
        if (!served[j] || kept) {
            require(same(before[j], sizes[j]), "a node that is not served keeps its size");
        } else if (lattice && low > 1e-3 * high && high < 1e100 && !now.failed) {
            // A point may lie outside of its element by the tolerance of the search.
            require(sizes[j] >= low - 1e-5 * high && sizes[j] <= high * (1 + 1e-5),
                    "a size lies between those of the mesh");
        }
    }
}

template <std::size_t Order>
void check_tensors(const carrying& c, const dense2D<double>& before, const dense2D<double>& after) {
    constexpr std::size_t entries = Order * (Order + 1) / 2;
    const std::vector<bool> served = served_nodes(c);
    bool between = is_lattice(c.l) && !now.failed;
    std::vector<const double*> mesh_tensors;
    for (unsigned j = 0; j < before.cols; ++j) {
        if (is_orphan(c.l, j)) continue;
        between = between && is_ordinary(before[j], Order);
        mesh_tensors.push_back(before[j]);
    }
    for (unsigned j = 0; j < before.cols; ++j) {
        const bool kept = c.keep_valid && is_ordinary(before[j], Order);
        if (!served[j] || kept) {
            for (std::size_t i = 0; i < entries; ++i)
                require(same(before(i, j), after(i, j)),
                        "a node that is not served keeps its tensor");
            continue;
        }
        if (!between) continue;
        if (c.keep_valid && same(before(0, j), after(0, j))) continue; // it may have been valid
        require_within<Order>(mesh_tensors, after[j]);
    }
}

void carry_tensors(input& in) {
    const carrying c = draw_carrying(in, {3, 3, 3, 4});
    const std::size_t nrows = rows(in, {3, 6});
    dense2D<double> tensors = in.one_in(8) ? c.l.pos
                              : in.one_in(8)
                                  ? sharing_matrix(in, c.l.pos, nrows)
                                  : doubles(in, nrows, in.one_in(16) ? in.below(16) : c.l.pos.cols);
    const bool apart = tensors.storage.get() != c.l.pos.storage.get();
    const bool by_draw = apart && (tensors.rows == 3 || tensors.rows == 6) && !in.one_in(8);
    for (std::size_t j = 0; j < tensors.cols && by_draw; ++j)
        draw_tensor(in, tensors.rows / 3 + 1, tensors[j]);
    const carrying given = plain_copy(c);
    const dense2D<double> before = zel_fuzz::plain_copy(tensors);
    const int status = call(
        in, "interpolate_metrics of tensors", {-1, -2, -3, -4, -5, -6},
        [&](auto& pos, auto& e, auto& n, auto& a, auto& m, auto& of) {
            return c.listed ? t2::interpolate_metrics(pos, e, n, a, m, of, c.keep_valid, c.l.type)
                            : t2::interpolate_metrics(pos, e, n, a, m, c.keep_valid, c.l.type);
        },
        reads(c.l.pos), reads(c.l.connect), reads(c.l.neighbors), reads(c.l.ancestors),
        turns(tensors), reads(c.nodes));
    const bool fits = before.cols == given.l.pos.cols && (before.rows == 3 || before.rows == 6);
    require_carried_status(status, given, carrying_status(given, zel::ELEMENT_T3, fits));
    require(tensors.rows == before.rows && tensors.cols == before.cols, "tensors keep their shape");
    if (status != 0 || given.nodes.empty()) {
        require(snapshot(before).unchanged(tensors), "there is nothing to do");
    } else if (before.rows == 3) {
        check_tensors<2>(given, before, tensors);
    } else {
        check_tensors<3>(given, before, tensors);
    }
}

/// No public function carries tensors on quadrilaterals; the worker can.
void carry_tensors_on_quads(input& in) {
    const located_mesh l = draw_located(in, {4});
    if (located_status(l, l.type) != 0 || !is_searched(l.connect, l.type)) return;
    dense2D<double> tensors = blank_matrix<double>(in, in.one_of({3u, 6u}), l.pos.cols);
    for (std::size_t j = 0; j < tensors.cols && !tensors.empty(); ++j)
        draw_tensor(in, tensors.rows / 3 + 1, tensors[j]);
    const carrying c{l, listed_nodes(in, l.pos.cols), true, in.flag()};
    for (const unsigned node : c.nodes)
        if (node >= l.pos.cols) return;
    const carrying given = plain_copy(c);
    const dense2D<double> before = zel_fuzz::plain_copy(tensors);
    call(
        in, "carry_tensors", {},
        [&](auto& pos, auto& e, auto& n, auto& a, auto& m, auto& of) {
            t2::carry_tensors(pos, e, n, a, m, of, c.keep_valid, l.type);
            return 0;
        },
        reads(l.pos), reads(l.connect), reads(l.neighbors), reads(l.ancestors), turns(tensors),
        reads(c.nodes));
    if (given.nodes.empty() || before.empty()) return;
    if (before.rows == 3) {
        check_tensors<2>(given, before, tensors);
    } else {
        check_tensors<3>(given, before, tensors);
    }
}

// ------------------------------------------------------------------------------ sizes of a surface

/// The mean length of the edges at each node; 0 where there is none.
std::vector<long double> mean_lengths(const mesh& m) {
    std::vector<long double> sum(m.pos.cols);
    std::vector<unsigned> count(m.pos.cols);
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        for (unsigned k = 0; k < 3; ++k) {
            const unsigned a = m.connect(k, e);
            const unsigned b = m.connect((k + 1) % 3, e);
            long double squared = 0;
            for (std::size_t i = 0; i < m.pos.rows; ++i) {
                const long double d = static_cast<long double>(m.pos(i, b)) - m.pos(i, a);
                squared += d * d;
            }
            if (squared == 0) continue;
            for (const unsigned node : {a, b}) {
                sum[node] += std::sqrt(squared);
                ++count[node];
            }
        }
    }
    for (std::size_t j = 0; j < sum.size(); ++j)
        if (count[j] != 0) sum[j] /= count[j];
    return sum;
}

/// At each node the size along the normal of a triangle is not above what the caller asks for, and in the
/// plane of the triangle not above the mean length of the edges. To the first triangle alone, equal.
void check_asked(const mesh& m, double normal_size, const dense2D<double>& metrics) {
    const std::vector<long double> mean = mean_lengths(m);
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const double* const p[3] = {m.pos[m.connect(0, e)], m.pos[m.connect(1, e)],
                                    m.pos[m.connect(2, e)]};
        double u[3], w[3], n[3];
        for (std::size_t i = 0; i < 3; ++i) {
            u[i] = p[1][i] - p[0][i];
            w[i] = p[2][i] - p[0][i];
        }
        for (std::size_t i = 0; i < 3; ++i)
            n[i] = u[(i + 1) % 3] * w[(i + 2) % 3] - u[(i + 2) % 3] * w[(i + 1) % 3];
        const long double area =
            std::sqrt(static_cast<long double>(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]));
        if (area == 0) continue;
        for (unsigned k = 0; k < 3; ++k) {
            const unsigned node = m.connect(k, e);
            const long double h = mean[node];
            if (h == 0) break;
            const long double along = normal_size == 0  ? h
                                      : normal_size > 0 ? normal_size
                                                        : -normal_size * h;
            const long double asked = area * area / (along * along);
            const long double got = square_of(metrics[node], 3, n);
            require(got >= asked * (1 - 1e-6L),
                    "the size along a normal is not above what is asked for");
            for (const double* t : {u, w}) {
                const long double length = t[0] * t[0] + t[1] * t[1] + t[2] * t[2];
                require(square_of(metrics[node], 3, t) >= length / (h * h) * (1 - 1e-6L) - 1e-9L,
                        "sizes in the surface are not above the length of edges");
            }
        }
    }
}

void sizes_of_surface(input& in) {
    mesh m;
    if (in.flag()) {
        m = grid(in, 3, 3);
        for (std::size_t j = 0; j < m.pos.cols; ++j)
            if (in.one_in(4)) m.pos(2, j) = in.small();
    } else {
        m.pos = positions(in, {3, 4});
        m.connect = cells(in, {3}, m.pos.cols);
    }
    const double normal_size = in.flag() ? in.one_of({0.0, 0.1, -0.1, 2.0, -3.0}) : in.number();
    dense2D<double> metrics;
    const bool fresh = in.flag();
    if (!fresh) {
        metrics = in.one_in(8)   ? m.pos
                  : in.one_in(8) ? sharing_matrix(in, m.pos, 6)
                                 : doubles(in, rows(in, {6}), in.below(20));
        const bool apart = metrics.storage.get() != m.pos.storage.get();
        for (std::size_t j = 0; j < metrics.cols && apart && metrics.rows == 6; ++j)
            if (in.flag()) draw_tensor(in, 3, metrics[j]);
    }
    const mesh given{zel_fuzz::plain_copy(m.pos), zel_fuzz::plain_copy(m.connect)};
    const dense2D<double> before = zel_fuzz::plain_copy(metrics);
    const int status = call(
        in, "metrics_gen_aniso3d", {-1, -2, -4},
        [=](auto& p, auto& c, auto& to) { return t2::metrics_gen_aniso3d(p, c, normal_size, to); },
        reads(m.pos), reads(m.connect), turns(metrics));
    const dense2D<unsigned>& connect = given.connect;
    int expected = 0;
    if (given.pos.rows < 3) {
        expected = -1;
    } else if (connect.rows != 3 || given.pos.cols == 0 || !all_below(connect, given.pos.cols)) {
        expected = -2;
    } else if (!before.empty() && before.rows != 6) {
        expected = -4;
    }
    require_status(status, expected);
    if (status != 0) return;
    unsigned most = 0;
    for (const unsigned id : connect) most = std::max(most, id);
    require(metrics.rows == 6 && metrics.cols == std::max<std::size_t>(most + 1, before.cols),
            "one tensor per node");
    std::vector<bool> named(metrics.cols);
    for (const unsigned node : connect) named[node] = true;
    for (std::size_t j = 0; j < metrics.cols; ++j) {
        const bool known = j < before.cols && !before.empty();
        for (std::size_t i = 0; i < 6 && !named[j]; ++i)
            require(same(metrics(i, j), known ? before(i, j) : 0.0),
                    "a node without elements keeps its tensor");
    }
    if (fresh && all_exact(given.pos) && std::fabs(normal_size) < 100 &&
        (normal_size == 0 || std::fabs(normal_size) > 0.01))
        check_asked(given, normal_size, metrics);
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {blend_tensors, carry_sizes, carry_tensors,
                                           carry_tensors_on_quads, sizes_of_surface};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
