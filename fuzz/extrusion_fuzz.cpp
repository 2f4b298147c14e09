// SPDX-License-Identifier: Apache-2.0

// All sweeps: which status comes back, what stays as it was, every number of the new elements, and where
// the new nodes lie, from a plain calculation in extended precision.
#include "zel/tessel2d/extrusion.h"

#include "fuzz/checks.h"
#include "fuzz/input.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using namespace zel_fuzz;
using zel::vector_fixed;
using namespace zel::tessel2d;

enum class motion { translate2, translate3, rotate2, rotate3, spiral, vectors, normals };
constexpr unsigned motions = 7;

/// One call: which of the overloads, and all numbers that any of them takes.
struct sweep_options {
    motion kind;
    bool triangles;
    bool sized;
    vector_fixed<double, 3> C;
    vector_fixed<double, 3> A;
    vector_fixed<double, 3> T;
    double angle;
    double H;
    double h0;
    double h1;
    unsigned layers;
    int pattern;
    bool force_even;

    vector_fixed<double, 2> centre2() const { return {C[0], C[1]}; }
    vector_fixed<double, 2> way2() const { return {T[0], T[1]}; }
    bool takes_count() const { return !sized || kind == motion::vectors; }
    /// A counted sweep that hands sizes on to the sized one.
    bool hands_on() const {
        return !sized && kind != motion::rotate2 && kind != motion::rotate3 &&
               kind != motion::vectors;
    }
};

/// All views of a call.
struct sweep_views {
    dense2D<double> pos;
    dense2D<unsigned> profile;
    dense2D<double> V;
    dense2D<unsigned> connect;
};

// --------------------------------------------------------------------------------------- the calls

int call_counted(const sweep_options& o, dense2D<double>& pos, const dense2D<unsigned>& profile,
                 const dense2D<double>& V, dense2D<unsigned>& out) {
    const unsigned n = o.layers;
    const int cut = o.pattern;
    const bool t = o.triangles;
    switch (o.kind) {
    case motion::translate2:
        return t ? extrude_translate_T3(pos, profile, o.way2(), n, cut, out)
                 : extrude_translate_Q4(pos, profile, o.way2(), n, out);
    case motion::translate3:
        return t ? extrude_translate_T3(pos, profile, o.T, n, cut, out)
                 : extrude_translate_Q4(pos, profile, o.T, n, out);
    case motion::rotate2:
        return t ? extrude_rotate_T3(pos, profile, o.centre2(), o.angle, n, cut, out)
                 : extrude_rotate_Q4(pos, profile, o.centre2(), o.angle, n, out);
    case motion::rotate3:
        return t ? extrude_rotate_T3(pos, profile, o.C, o.A, n, cut, out)
                 : extrude_rotate_Q4(pos, profile, o.C, o.A, n, out);
    case motion::spiral:
        return t ? extrude_spiral_T3(pos, profile, o.C, o.A, o.T, n, cut, out)
                 : extrude_spiral_Q4(pos, profile, o.C, o.A, o.T, n, out);
    case motion::vectors:
        return t ? extrude_normal_T3(pos, profile, V, n, cut, out)
                 : extrude_normal_Q4(pos, profile, V, n, out);
    default:
        return t ? extrude_normal_T3(pos, profile, o.H, n, cut, out)
                 : extrude_normal_Q4(pos, profile, o.H, n, out);
    }
}

int call_sized(const sweep_options& o, dense2D<double>& pos, const dense2D<unsigned>& profile,
               dense2D<unsigned>& out) {
    const double h0 = o.h0;
    const double h1 = o.h1;
    const int cut = o.pattern;
    const bool even = o.force_even;
    const bool t = o.triangles;
    switch (o.kind) {
    case motion::translate2:
        return t ? extrude_translate_T3(pos, profile, o.way2(), h0, h1, cut, even, out)
                 : extrude_translate_Q4(pos, profile, o.way2(), h0, h1, even, out);
    case motion::translate3:
        return t ? extrude_translate_T3(pos, profile, o.T, h0, h1, cut, even, out)
                 : extrude_translate_Q4(pos, profile, o.T, h0, h1, even, out);
    case motion::rotate2:
        return t ? extrude_rotate_T3(pos, profile, o.centre2(), o.angle, h0, h1, cut, even, out)
                 : extrude_rotate_Q4(pos, profile, o.centre2(), o.angle, h0, h1, even, out);
    case motion::rotate3:
        return t ? extrude_rotate_T3(pos, profile, o.C, o.A, h0, h1, cut, even, out)
                 : extrude_rotate_Q4(pos, profile, o.C, o.A, h0, h1, even, out);
    case motion::spiral:
        return t ? extrude_spiral_T3(pos, profile, o.C, o.A, o.T, h0, h1, cut, even, out)
                 : extrude_spiral_Q4(pos, profile, o.C, o.A, o.T, h0, h1, even, out);
    default:
        return t ? extrude_normal_T3(pos, profile, o.H, h0, h1, even, cut, out)
                 : extrude_normal_Q4(pos, profile, o.H, h0, h1, even, out);
    }
}

// -------------------------------------------------------------------------------- documented statuses

/// The status that the tests of the arguments must return. `work` is true when none of them fails and there is
/// something to do, so that only memory and numbers can run out.
struct verdict {
    int status = 0;
    bool work = false;
};

/// The statuses of one function, with the arguments in whose order they are tested; 0 where there is none.
struct status_table {
    int edges;
    int h0;
    int h1;
    int pattern;
    int output;
    std::size_t output_rows;
};

status_table table_of(const sweep_options& o) {
    const bool t = o.triangles;
    const std::size_t rows = t ? 3 : 4;
    switch (o.kind) {
    case motion::translate2:
    case motion::translate3:
        return {-2, -4, -5, t ? -6 : 0, t ? -8 : -7, rows};
    case motion::rotate2:
        if (!o.sized) return {-2, 0, 0, 0, t ? -7 : -6, rows};
        return {-2, -5, -6, t ? -7 : 0, t ? -9 : -8, rows};
    case motion::rotate3:
        if (!o.sized) return {-2, 0, 0, 0, t ? -7 : -3, 3};
        return {t ? -1 : -2, -5, -6, 0, t ? -9 : -8, 3};
    case motion::spiral:
        return {-2, -6, t ? -4 : -7, 0, t ? -10 : -9, rows};
    case motion::vectors:
        return {-2, 0, 0, 0, t ? -6 : -5, rows};
    default:
        return {-2, -4, -5, 0, t ? -8 : -7, rows};
    }
}

bool rows_fit(const sweep_options& o, std::size_t rows) {
    switch (o.kind) {
    case motion::translate3:
    case motion::rotate3:
        return rows == 2 || rows == 3;
    case motion::rotate2:
        return rows == 2 || (rows == 3 && !o.sized);
    case motion::spiral:
        return rows == 3;
    default:
        return rows == 2;
    }
}

/// The size that a counted sweep hands on.
double counted_size(const sweep_options& o) {
    if (o.kind == motion::normals) return o.H / o.layers;
    const double plane = o.T[0] * o.T[0] + o.T[1] * o.T[1];
    const double whole = o.kind == motion::translate2 ? plane : plane + o.T[2] * o.T[2];
    return std::sqrt(whole) * (1.0 / o.layers);
}

bool all_below(const dense2D<unsigned>& ids, std::size_t bound) {
    return std::all_of(ids.begin(), ids.end(), [=](unsigned id) { return id < bound; });
}

verdict documented(const sweep_options& o, const sweep_views& given) {
    if (o.takes_count() && o.kind != motion::vectors && o.layers == 0) return {};
    if (given.profile.empty()) return {};
    const status_table table = table_of(o);
    if (!rows_fit(o, given.pos.rows)) return {-1, false};
    if (given.profile.rows != 2 || !all_below(given.profile, given.pos.cols))
        return {table.edges, false};
    if (o.kind == motion::vectors && given.V.rows != 2) return {-3, false};
    if (o.kind == motion::normals && !(o.H > 0)) return {-3, false};
    const double h0 = o.hands_on() ? counted_size(o) : o.h0;
    const double h1 = o.hands_on() ? h0 : o.h1;
    if (table.h0 != 0 && !(h0 > 0)) return {table.h0, false};
    if (table.h1 != 0 && !(h1 > 0)) return {table.h1, false};
    if (table.pattern != 0 && static_cast<unsigned>(o.pattern) > 2) return {table.pattern, false};
    if (!given.connect.empty() && given.connect.rows != table.output_rows)
        return {table.output, false};
    const bool along_vectors = o.kind == motion::vectors && o.layers != 0;
    if (along_vectors && !all_below(given.profile, given.V.cols)) return {-3, false};
    return {0, true};
}

// ------------------------------------------------------------------------------------ layers and nodes

/// The nodes of the profile, each once, in the order of the edges, and where each stands in that order.
struct numbered_profile {
    std::vector<unsigned> nodes;
    std::vector<unsigned> place;

    numbered_profile(const dense2D<unsigned>& profile, std::size_t count) : place(count, 0) {
        std::vector<bool> met(count);
        for (const unsigned node : profile) {
            if (met[node]) continue;
            met[node] = true;
            place[node] = static_cast<unsigned>(nodes.size());
            nodes.push_back(node);
        }
    }
};

long double length(long double x, long double y, long double z) {
    return std::sqrt(x * x + y * y + z * z);
}

/// The way that layers are counted along; infinite for a rotation far from its axis, where the way is a
/// small difference of large numbers, or of numbers too large for a double.
long double way_of(const sweep_options& o, const sweep_views& given) {
    if (o.kind == motion::normals) return o.H;
    if (o.kind == motion::translate2) return length(o.T[0], o.T[1], 0);
    if (o.kind == motion::translate3 || o.kind == motion::spiral)
        return length(o.T[0], o.T[1], o.T[2]);
    const double* const p = given.pos[given.profile(0, 0)];
    const long double x = static_cast<long double>(p[0]) - o.C[0];
    const long double y = static_cast<long double>(p[1]) - o.C[1];
    // Squares of larger numbers overflow, and zero times infinity is NaN.
    const bool overflows = !(std::fabs(x) < 1e150L && std::fabs(y) < 1e150L);
    if (overflows) return std::numeric_limits<long double>::infinity();
    if (o.kind == motion::rotate2) return length(x, y, 0) * std::fabs(o.angle);
    const long double z = (given.pos.rows == 3 ? p[2] : 0) - static_cast<long double>(o.C[2]);
    if (!(std::fabs(z) < 1e150L)) return std::numeric_limits<long double>::infinity();
    return length(y * o.A[2] - z * o.A[1], z * o.A[0] - x * o.A[2], x * o.A[1] - y * o.A[0]);
}

/// Sizes for which the formulas hold to many digits: neither extreme nor extremely different.
bool ordinary_sizes(double h0, double h1) {
    return h0 > 1e-3 && h1 > 1e-3 && h0 < 1e3 && h1 < 1e3;
}

/// How many layers there should be, before rounding; below 0 when it cannot be told.
long double unrounded_layers(const sweep_options& o, long double way) {
    if (!ordinary_sizes(o.h0, o.h1) || !(way < 1e9L)) return -1;
    const long double growth = static_cast<long double>(o.h1) - o.h0;
    return way *
           (growth == 0 ? 1 / static_cast<long double>(o.h0) : std::log1p(growth / o.h0) / growth);
}

void check_layer_count(const sweep_options& o, const sweep_views& given, std::uint64_t layers) {
    if (o.takes_count()) {
        const double h = o.hands_on() ? counted_size(o) : 1;
        if (h > 1e-100 && h < 1e100)
            require(layers == o.layers, "there are as many layers as asked for");
        return;
    }
    const std::uint64_t m = o.force_even ? 2 : 1;
    require(layers >= m && layers % m == 0, "the number of layers is a multiple");
    const long double x = unrounded_layers(o, way_of(o, given));
    if (x < 0) return;
    const auto n = static_cast<long double>(layers);
    if (layers > m) require(x * x >= n * (n - m) * (1 - 1e-9L), "layers are not too many");
    require(x * x <= n * (n + m) * (1 + 1e-9L), "layers are not too few");
}

/// The fraction of the sweep at which layer k of n ends; below 0 when it cannot be told.
long double fraction(const sweep_options& o, std::uint64_t k, std::uint64_t n) {
    const long double t = static_cast<long double>(k) / static_cast<long double>(n);
    if (o.takes_count()) return t;
    if (!ordinary_sizes(o.h0, o.h1)) return -1;
    const long double growth = (static_cast<long double>(o.h1) - o.h0) / o.h0;
    return growth == 0 ? t : std::expm1(t * std::log1p(growth)) / growth;
}

using place = vector_fixed<long double, 3>;

/// Rodrigues' formula for the rotation by s*A about the axis through C.
place turned(const sweep_options& o, const place& p, long double s) {
    const place d{p[0] - o.C[0], p[1] - o.C[1], p[2] - o.C[2]};
    const place w{s * o.A[0], s * o.A[1], s * o.A[2]};
    const long double theta = length(w[0], w[1], w[2]);
    const bool tiny = theta < 1e-12L;
    const long double sine = tiny ? 1 : std::sin(theta) / theta;
    const long double half = tiny ? 1 : std::sin(theta / 2) / (theta / 2);
    const long double along = w[0] * d[0] + w[1] * d[1] + w[2] * d[2];
    place r;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3;
        const std::size_t k = (i + 2) % 3;
        r[i] = o.C[i] + d[i] + sine * (w[j] * d[k] - w[k] * d[j]) +
               half * half / 2 * (w[i] * along - theta * theta * d[i]);
    }
    return r;
}

/// Where the node at p, which goes along v, lies after the fraction s of the sweep.
place moved(const sweep_options& o, const place& p, const place& v, long double s) {
    switch (o.kind) {
    case motion::rotate2: {
        const long double x = p[0] - o.C[0];
        const long double y = p[1] - o.C[1];
        const long double phi = s * o.angle;
        return {o.C[0] + x * std::cos(phi) - y * std::sin(phi),
                o.C[1] + y * std::cos(phi) + x * std::sin(phi), 0};
    }
    case motion::rotate3:
        return turned(o, p, s);
    case motion::spiral: {
        const place r = turned(o, p, s);
        return {r[0] + s * o.T[0], r[1] + s * o.T[1], r[2] + s * o.T[2]};
    }
    default:
        return {p[0] + s * v[0], p[1] + s * v[1], p[2] + s * v[2]};
    }
}

place place_of(const dense2D<double>& pos, unsigned node) {
    return {pos(0, node), pos(1, node), pos.rows == 3 ? pos(2, node) : 0};
}

/// The way of a node in a sweep along a straight line.
place straight_way(const sweep_options& o, const dense2D<double>& V, unsigned node) {
    if (o.kind == motion::vectors) return {V(0, node), V(1, node), 0};
    return {o.T[0], o.T[1], o.T[2]};
}

/// A bound for the lengths that a call works with, and for the angles; not finite when one of them is not.
long double largest_length(const sweep_options& o, const sweep_views& given,
                           const std::vector<unsigned>& nodes) {
    long double sum = 1;
    const auto add = [&](const auto& v) {
        for (const auto x : v) sum += std::fabs(x);
    };
    for (const unsigned node : nodes) {
        add(place_of(given.pos, node));
        add(straight_way(o, given.V, node));
    }
    add(o.C);
    return sum;
}
long double largest_angle(const sweep_options& o) {
    if (o.kind == motion::rotate2) return std::fabs(o.angle);
    if (o.kind == motion::rotate3 || o.kind == motion::spiral)
        return length(o.A[0], o.A[1], o.A[2]);
    return 0;
}

/// Nodes go one thickness along a unit vector, or stay.
void check_thickness(const sweep_options& o, const double* at, const place& p, long double s,
                     long double scale) {
    const long double far = length(at[0] - p[0], at[1] - p[1], 0);
    const long double whole = s * o.H;
    if (!(whole < 1e20L)) return;
    require(far <= 1e-12L * scale || std::fabs(far - whole) <= 1e-8L * whole + 1e-12L * scale,
            "a node goes its part of the thickness, or stays");
}

/// Coordinates so small that their squares vanish make no unit vectors.
bool has_tiny_numbers(const dense2D<double>& pos) {
    return std::any_of(pos.begin(), pos.end(),
                       [](double x) { return x != 0 && std::fabs(x) < 1e-100; });
}

void check_places(const sweep_options& o, const sweep_views& given, const numbered_profile& profile,
                  std::uint64_t layers, const dense2D<double>& pos) {
    const long double scale = largest_length(o, given, profile.nodes);
    const long double angle = largest_angle(o);
    if (!(scale < 1e20L) || !(angle < 1e6L)) return;
    if (o.kind == motion::normals && has_tiny_numbers(given.pos)) return;
    const long double slack = 1e-8L * scale * (1 + angle);
    std::size_t column = given.pos.cols;
    for (std::uint64_t k = 1; k <= layers; ++k) {
        const long double s = fraction(o, k, layers);
        if (s < 0) return;
        for (const unsigned node : profile.nodes) {
            const double* const at = pos[column++];
            const place p = place_of(given.pos, node);
            if (o.kind == motion::normals) {
                check_thickness(o, at, p, s, scale);
                continue;
            }
            const place to = moved(o, p, straight_way(o, given.V, node), s);
            for (std::size_t i = 0; i < pos.rows; ++i)
                require(std::fabs(at[i] - to[i]) <= slack,
                        "a new node lies where the motion brings it");
        }
    }
}

// --------------------------------------------------------------------------------------- the elements

/// Every new column, from the numbers of its layer.
void check_elements(const sweep_options& o, const sweep_views& given,
                    const numbered_profile& profile, std::uint64_t layers,
                    const dense2D<unsigned>& connect) {
    const std::size_t n = profile.nodes.size();
    const auto number = [&](unsigned node, std::uint64_t layer) {
        if (layer == 0) return node;
        return static_cast<unsigned>(given.pos.cols + (layer - 1) * n + profile.place[node]);
    };
    std::size_t column = given.connect.cols;
    const auto expect = [&](unsigned a, unsigned b, unsigned c, unsigned d) {
        const unsigned* const cell = connect[column++];
        const bool equal =
            cell[0] == a && cell[1] == b && cell[2] == c && (o.triangles || cell[3] == d);
        require(equal, "a new element has the nodes of its edge and layer");
    };
    for (std::size_t e = 0; e < given.profile.cols; ++e) {
        for (std::uint64_t k = 0; k < layers; ++k) {
            const unsigned a = number(given.profile(0, e), k);
            const unsigned b = number(given.profile(1, e), k);
            const unsigned c = number(given.profile(1, e), k + 1);
            const unsigned d = number(given.profile(0, e), k + 1);
            if (!o.triangles) {
                expect(a, b, c, d);
            } else if (o.pattern == 0 || (o.pattern == 2 && (k + e) % 2 == 1)) {
                expect(a, b, d, no_node);
                expect(b, c, d, no_node);
            } else {
                expect(a, b, c, no_node);
                expect(a, c, d, no_node);
            }
        }
    }
    require(column == connect.cols, "no element is left over");
}

// --------------------------------------------------------------------------------------- after the call

/// Rows that `pos` may be left with when the sweep could not be made.
bool rows_after_failure(const sweep_options& o, std::size_t before, std::size_t after) {
    if (after == before) return true;
    switch (o.kind) {
    case motion::translate3:
        return after == 3;
    case motion::rotate3:
        return o.sized && after == 3;
    case motion::rotate2:
    case motion::spiral:
        return after == 2;
    default:
        return false;
    }
}

/// The columns that there were hold what they held; rows that they gained hold `fill`.
template <class T>
void check_present(const dense2D<T>& before, const dense2D<T>& after, T fill) {
    const std::size_t known = before.empty() ? 0 : before.rows;
    for (std::size_t j = 0; j < before.cols; ++j)
        for (std::size_t i = 0; i < after.rows; ++i)
            require(same(after(i, j), i < known ? before(i, j) : fill),
                    "present columns keep their values");
}

/// Returns true if numbers or memory can run out, whatever the allocator does.
bool may_run_out(const sweep_options& o, const sweep_views& given) {
    long double layers = o.layers;
    if (o.hands_on()) {
        const double h = counted_size(o);
        if (!(h > 1e-100 && h < 1e100)) return true;
    } else if (!o.takes_count()) {
        layers = unrounded_layers(o, way_of(o, given)) + 2;
        if (layers < 2) return true;
    }
    const numbered_profile profile(given.profile, given.pos.cols);
    return !(layers * static_cast<long double>(profile.nodes.size()) < 4e9L);
}

void check_refused(const sweep_options& o, int status, const verdict& expected,
                   const sweep_views& given, const dense2D<double>& pos) {
    if (!expected.work) {
        require(status == expected.status, "the status is that of the first unusable argument");
        require(pos.rows == given.pos.rows, "a refused call leaves the rows of the nodes");
    } else {
        require(status == -199, "usable arguments fail for memory only");
        require(now.failed || may_run_out(o, given), "memory and numbers are not short");
        require(rows_after_failure(o, given.pos.rows, pos.rows),
                "rows of the nodes after a failure");
    }
    require(pos.cols == given.pos.cols, "no node is added");
    check_present(given.pos, pos, 0.0);
}

void check_done(const sweep_options& o, const sweep_views& given, const dense2D<double>& pos,
                const dense2D<unsigned>& connect) {
    const numbered_profile profile(given.profile, given.pos.cols);
    const std::size_t per_layer = (o.triangles ? 2 : 1) * given.profile.cols;
    require(connect.rows == (o.triangles ? 3U : 4U), "elements have their rows");
    require(connect.cols >= given.connect.cols, "elements are appended");
    const std::uint64_t layers = (connect.cols - given.connect.cols) / per_layer;
    require(connect.cols == given.connect.cols + layers * per_layer, "each edge has all layers");
    require(pos.cols == given.pos.cols + layers * profile.nodes.size(), "each node has all layers");
    check_present(given.pos, pos, 0.0);
    check_present(given.connect, connect, no_node);
    check_layer_count(o, given, layers);
    check_elements(o, given, profile, layers, connect);
    if (layers > 0) check_places(o, given, profile, layers, pos);
}

// ------------------------------------------------------------------------------------------ the input

sweep_options draw_options(input& in) {
    sweep_options o;
    o.kind = static_cast<motion>(in.below(motions));
    o.triangles = in.flag();
    o.sized = in.flag() && o.kind != motion::vectors;
    o.C = vector<3>(in);
    o.A = {in.angle(), in.angle(), in.angle()};
    o.T = vector<3>(in);
    o.angle = in.angle();
    o.H = in.number();
    o.h0 = in.one_in(4) ? in.number() : in.one_of({1.0, 0.5, 2.0, 0.125, 3.0});
    o.h1 = in.one_in(4) ? in.number()
                        : o.h0 * in.one_of({1.0, 2.0, 0.25, 1.004, 0.998, 1 + 1e-11, 1 - 1e-13});
    o.layers = in.count();
    o.pattern = in.option();
    o.force_even = in.flag();
    return o;
}

sweep_views draw_views(input& in, const sweep_options& o) {
    sweep_views v;
    if (o.kind == motion::spiral) {
        v.pos = positions(in, {3});
    } else if (o.kind == motion::translate3 || o.kind == motion::rotate3) {
        v.pos = positions(in, {3, 2});
    } else {
        v.pos = positions(in, {2});
    }
    v.profile = cells(in, {2}, v.pos.cols);
    const unsigned taken = o.kind == motion::rotate3 || o.triangles ? 3 : 4;
    if (in.one_in(4)) {
        v.connect = sharing_matrix(in, v.profile, rows(in, {taken}));
    } else if (in.flag()) {
        v.connect = cells(in, {taken}, v.pos.cols);
    }
    if (o.kind != motion::vectors) return v;
    if (in.one_in(8)) {
        v.V = v.pos;
    } else if (in.one_in(8)) {
        v.V = sharing_matrix(in, v.pos, rows(in, {2}));
    } else {
        v.V = doubles(in, rows(in, {2}), in.one_in(4) ? in.below(16) : v.pos.cols);
    }
    return v;
}

} // namespace

void zel_fuzz::run(input& in) {
    const sweep_options o = draw_options(in);
    sweep_views v = draw_views(in, o);
    const sweep_views given{plain_copy(v.pos), plain_copy(v.profile), plain_copy(v.V),
                            plain_copy(v.connect)};
    const verdict expected = documented(o, given);
    const auto sweep = [&](auto& pos, auto& profile, auto& V, auto& out) {
        return o.sized ? call_sized(o, pos, profile, out) : call_counted(o, pos, profile, V, out);
    };
    in.outgrows = true; // check_refused knows when it does
    // Rows of the nodes may change, also with a negative status; that is looked at here.
    const int status = call(in, "a sweep", {-1, -2, -3, -4, -5, -6, -7, -8, -9, -10}, sweep,
                            makes(v.pos), reads(v.profile), reads(v.V), grows(v.connect));
    if (expected.work && status == 0) {
        check_done(o, given, v.pos, v.connect);
    } else {
        check_refused(o, status, expected, given, v.pos);
    }
}
