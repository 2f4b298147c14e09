// SPDX-License-Identifier: Apache-2.0
// Foundation: services for hosts, line meshes, containers and hash tables.
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/services_by_hand.h"
#include "fuzz/tensors_by_hand.h"

#include "foundation/cell_shapes.h"
#include "foundation/node_set.h"
#include "zel/hbuckets.h"
#include "zel/lapack.h"
#include "zel/tessel.h"
#include "zel/tessel1d.h"
#include "zel/tessel2d/version.h"

#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <set>

using namespace zel_fuzz;
namespace tessel = zel::tessel;
namespace tessel1d = zel::tessel1d;

namespace {

using tensor = zel::symmetric_fixed<double, 3>;

tensor any_tensor(input& in) {
    tensor t;
    const bool absurd = in.one_in(8);
    for (double& x : t) x = absurd && in.flag() ? in.absurd() : in.small();
    if (in.flag()) t[0] += 20, t[2] += 20, t[5] += 20;
    return t;
}

// ------------------------------------------------------------------------------------ mesh surgery

bool all_below(const dense2D<double>& pos, double bound) {
    for (const double x : elements(pos))
        if (!(std::fabs(x) < bound)) return false;
    return true;
}

/// Each number was kept, or names an earlier node not farther away than the tolerance.
void require_merged(const dense2D<double>& pos, const dense2D<unsigned>& before,
                    const dense2D<unsigned>& after, double tolerance) {
    const bool tame = all_below(pos, 1e6);
    for (std::size_t j = 0; j < before.cols; ++j) {
        for (std::size_t i = 0; i < before.rows; ++i) {
            const unsigned a = before(i, j);
            const unsigned b = after(i, j);
            if (a == b) continue;
            require(a < pos.cols && b < a, "a fused node has a lower number now");
            double sum = 0;
            bool equal = true;
            for (std::size_t k = 0; k < pos.rows; ++k) {
                const double d = pos(k, a) - pos(k, b);
                sum += d * d;
                equal = equal && pos(k, a) == pos(k, b);
            }
            if (tame)
                require(equal || std::sqrt(sum) <= tolerance * (1 + 1e-12),
                        "fused nodes are close");
        }
    }
}

/// As `by_hand::require_renamed`, where the slow way has a result.
void require_renamed(const dense2D<unsigned>& before, const dense2D<unsigned>& after,
                     const std::vector<unsigned>& now) {
    if (!now.empty())
        by_hand::require_renamed(before, after, now, "a node is fused with the first close one");
}

void fuse(input& in) {
    const dense2D<double> pos = positions(in);
    dense2D<unsigned> connect = cells(in, {4, 3, 2}, pos.cols);
    const double tolerance = in.number() / 4;
    const unsigned flag = in.count();
    const dense2D<unsigned> before = plain_copy(connect);
    const int status = call(
        in, "merge", {-1}, [=](auto& p, auto& c) { return tessel::merge(p, c, tolerance, flag); },
        reads(pos), turns(connect));
    if (status != 0) return;
    require_merged(pos, before, connect, tolerance);
    require_renamed(before, connect, by_hand::merged(pos, tolerance));
}

void fuse_two(input& in) {
    const dense2D<double> pos = positions(in);
    dense2D<unsigned> connect = cells(in, {4, 3, 2}, pos.cols);
    dense2D<unsigned> other =
        in.one_in(4) ? sharing_matrix(in, connect, in.below(5)) : cells(in, {2, 4}, pos.cols);
    const double tolerance = in.number() / 4;
    const unsigned flag = in.count();
    const dense2D<unsigned> before[2] = {plain_copy(connect), plain_copy(other)};
    const int status = call(
        in, "merge of two", {-1},
        [=](auto& p, auto& c, auto& d) { return tessel::merge(p, c, d, tolerance, flag); },
        reads(pos), turns(connect), turns(other));
    if (status != 0) return;
    const auto now = by_hand::merged(pos, tolerance);
    require_renamed(before[0], connect, now);
    require_renamed(before[1], other, now);
}

/// The connectivities as an array, as many as `count` says.
template <class Service>
int with_array(dense2D<unsigned>& a, dense2D<unsigned>& b, dense2D<unsigned>& c, unsigned count,
               Service&& service) {
    std::array<dense2D<unsigned>, 3> all{a, b, c};
    const int status = service(all.data(), all.data() + count);
    return status;
}

void fuse_many(input& in) {
    const dense2D<double> pos = positions(in);
    dense2D<unsigned> a = cells(in, {4, 3, 2}, pos.cols);
    dense2D<unsigned> b = cells(in, {2, 4}, pos.cols);
    dense2D<unsigned> c =
        in.one_in(4) ? sharing_matrix(in, a, in.below(5)) : cells(in, {1}, pos.cols);
    const double tolerance = in.number() / 4;
    const unsigned count = in.below(4);
    const dense2D<unsigned> before[3] = {plain_copy(a), plain_copy(b), plain_copy(c)};
    const int status = call(
        in, "merge of many", {-1},
        [=](auto& p, auto& x, auto& y, auto& z) {
            return with_array(x, y, z, count, [&](auto* first, auto* last) {
                return tessel::merge(p, first, last, tolerance, 0);
            });
        },
        reads(pos), turns(a), turns(b), turns(c));
    if (status != 0) return;
    const auto now = by_hand::merged(pos, tolerance);
    const dense2D<unsigned>* const after[3] = {&a, &b, &c};
    for (unsigned k = 0; k < count; ++k) require_renamed(before[k], *after[k], now);
}

/// What elements refer to does not change: coordinates of the nodes in use are what they were.
void require_simplified(const dense2D<double>& pos_before, const dense2D<unsigned>& before,
                        const dense2D<double>& pos, const dense2D<unsigned>& after) {
    require(pos.cols <= pos_before.cols, "nodes are taken away");
    for (std::size_t j = 0; j < before.cols; ++j) {
        for (std::size_t i = 0; i < before.rows; ++i) {
            const unsigned a = before(i, j);
            const unsigned b = after(i, j);
            if (a >= pos_before.cols) {
                require(a == b, "a number that names no node stays");
                continue;
            }
            require(b < pos.cols, "a node in use is kept");
            for (std::size_t k = 0; k < pos.rows; ++k)
                require(same(pos_before(k, a), pos(k, b)), "a node in use keeps its coordinates");
        }
    }
}

/// The nodes that are left and their numbers are those of the slow way.
void require_tidied(const dense2D<double>& pos_before, unsigned first,
                    const std::vector<const dense2D<unsigned>*>& before, const dense2D<double>& pos,
                    const std::vector<const dense2D<unsigned>*>& after) {
    if (pos_before.empty()) return;
    std::size_t left = 0;
    const auto now = by_hand::tidied(pos_before.cols, first, before, left);
    by_hand::require_tidied(pos_before, now, left, pos);
    for (std::size_t k = 0; k < before.size(); ++k)
        by_hand::require_renamed(*before[k], *after[k], now, "numbers move up with the nodes");
}

void tidy(input& in) {
    dense2D<double> pos = positions(in, {2, 3, 1});
    dense2D<unsigned> connect = cells(in, {4, 3, 2}, pos.cols);
    const unsigned first = in.count();
    const dense2D<double> pos_before = plain_copy(pos);
    const dense2D<unsigned> before = plain_copy(connect);
    const int status = call(
        in, "simplify", {}, [=](auto& p, auto& c) { return tessel::simplify(p, c, first); },
        turns(pos), turns(connect));
    if (status != 0) return;
    require_simplified(pos_before, before, pos, connect);
    require_tidied(pos_before, first, {&before}, pos, {&connect});
}

void tidy_two(input& in) {
    dense2D<double> pos = positions(in, {2, 3, 1});
    dense2D<unsigned> connect = cells(in, {4, 3, 2}, pos.cols);
    dense2D<unsigned> other =
        in.one_in(4) ? sharing_matrix(in, connect, in.below(5)) : cells(in, {2, 4}, pos.cols);
    const unsigned first = in.count();
    const dense2D<double> pos_before = plain_copy(pos);
    const dense2D<unsigned> before[2] = {plain_copy(connect), plain_copy(other)};
    const int status = call(
        in, "simplify of two", {},
        [=](auto& p, auto& c, auto& d) { return tessel::simplify(p, c, d, first); }, turns(pos),
        turns(connect), turns(other));
    if (status == 0)
        require_tidied(pos_before, first, {before, before + 1}, pos, {&connect, &other});
}

void tidy_many(input& in) {
    dense2D<double> pos = positions(in, {2, 3, 1});
    dense2D<unsigned> a = cells(in, {4, 3, 2}, pos.cols);
    dense2D<unsigned> b = cells(in, {2, 4}, pos.cols);
    dense2D<unsigned> c =
        in.one_in(4) ? sharing_matrix(in, a, in.below(5)) : cells(in, {1}, pos.cols);
    const unsigned first = in.count();
    const unsigned count = in.below(4);
    const dense2D<double> pos_before = plain_copy(pos);
    const dense2D<unsigned> before[3] = {plain_copy(a), plain_copy(b), plain_copy(c)};
    const int status = call(
        in, "simplify of many", {},
        [=](auto& p, auto& x, auto& y, auto& z) {
            return with_array(x, y, z, count, [&](auto* begin, auto* end) {
                return tessel::simplify(p, begin, end, first);
            });
        },
        turns(pos), turns(a), turns(b), turns(c));
    if (status != 0) return;
    std::vector<const dense2D<unsigned>*> was, is{&a, &b, &c};
    for (unsigned k = 0; k < count; ++k) was.push_back(before + k);
    require_tidied(pos_before, first, was, pos, is);
}

/// Numbers and places of all copies; places as far as numbers are ordinary.
template <std::size_t Dim>
void require_copies(const dense2D<double>& pos, std::size_t known, const dense2D<unsigned>& source,
                    const dense2D<unsigned>& connect, std::size_t first, unsigned count,
                    const std::array<long double, 3>& center,
                    const std::array<long double, 3>& rotation,
                    const std::array<long double, 3>& translation) {
    const std::vector<unsigned> all = elements(source);
    std::set<unsigned> used;
    for (const unsigned id : all)
        if (id < known) used.insert(id);
    require(pos.cols == known + count * used.size(), "each node in use has its copies");
    std::map<unsigned, unsigned> rank;
    for (const unsigned id : used) rank.emplace(id, static_cast<unsigned>(rank.size()));
    long double scale = 1;
    for (const auto* const v : {&center, &rotation, &translation})
        for (const long double x : *v) scale = std::max(scale, std::fabs(x) * (count + 1));
    for (const double x : elements(pos)) scale = std::max<long double>(scale, std::fabs(x));
    bool numbers = true; // NaN is no scale
    for (const auto* const v : {&center, &rotation, &translation})
        for (const long double x : *v) numbers = numbers && std::isfinite(x);
    const bool tame = numbers && scale < 1e6L && all_below(pos, 1e6);
    for (unsigned k = 1; k <= count; ++k) {
        const std::size_t base = known + (k - 1) * used.size();
        for (std::size_t e = 0; e < source.cols; ++e)
            for (std::size_t i = 0; i < source.rows; ++i) {
                const unsigned id = source(i, e);
                const auto expected = id < known ? static_cast<unsigned>(base + rank[id]) : id;
                require(connect(i, first + (k - 1) * source.cols + e) == expected,
                        "a copy has the new numbers");
            }
        for (const auto& [id, place] : rank) {
            std::array<long double, 3> p{};
            for (std::size_t i = 0; i < Dim; ++i) p[i] = pos(i, id);
            const auto q = by_hand::copied_place(p, center, rotation, translation, k);
            for (std::size_t i = 0; i < Dim && tame; ++i)
                require(std::fabs(pos(i, base + place) - q[i]) <= 1e-9L * scale,
                        "a copy is turned and moved");
        }
    }
}

template <std::size_t Dim>
void copies(input& in) {
    dense2D<double> pos = positions(in, {Dim});
    const dense2D<unsigned> source = cells(in, {4, 3, 2}, pos.cols);
    dense2D<unsigned> connect = in.one_in(8) ? sharing_matrix(in, source, source.rows)
                                : in.flag()  ? cells(in, source.rows, in.below(4), pos.cols)
                                             : dense2D<unsigned>();
    const std::size_t first = connect.empty() ? 0 : connect.cols;
    const auto translation = vector<Dim>(in);
    const auto center = vector<Dim>(in);
    const auto axis = vector<3>(in);
    const double angle = in.angle();
    const unsigned count = in.count();
    const std::vector<unsigned> odd = odd_numbers(pos.cols, source);
    const dense2D<unsigned> copied = plain_copy(source);
    const std::size_t known = pos.cols;
    in.outgrows = count > 0x10000;
    const int status = call(
        in, "copy_mesh", {-1, -2},
        [=](auto& p, auto& c, auto& s) {
            if constexpr (Dim == 2) {
                return tessel::copy_mesh(p, c, translation, center, angle, count, s);
            } else {
                return tessel::copy_mesh(p, c, translation, center, axis, count, s);
            }
        },
        grows(pos), grows(connect), reads(source));
    if (status != 0 || count == 0 || source.empty()) return;
    require(connect.cols == first + std::size_t{count} * source.cols, "all copies are there");
    require_nodes(connect, first, pos.cols, odd);
    const auto wide = [](const auto& v) {
        std::array<long double, 3> w{};
        std::copy(v.begin(), v.end(), w.begin());
        return w;
    };
    const std::array<long double, 3> turn =
        Dim == 2 ? std::array<long double, 3>{0, 0, angle} : wide(axis);
    require_copies<Dim>(pos, known, copied, connect, first, count, wide(center), turn,
                        wide(translation));
}

// -------------------------------------------------------------------------------- search, metrics

void detect(input& in) {
    const dense2D<double> pos = positions(in);
    start_of_call(in.memory());
    const tessel::node_detector detector(pos);
    const bool failed = end_of_call();
    now.function = "node_detector";
    require(detector.size() <= pos.cols, "it holds columns of pos only");
    const bool tame = all_below(pos, 1e100);
    if (tame && pos.rows == 2 && !failed)
        require(detector.size() == pos.cols, "all nodes are held if there is memory");
    for (unsigned queries = 1 + in.below(8); queries > 0; --queries) {
        const auto at = vector<2>(in);
        const unsigned close = detector.find_close(at);
        const unsigned closest = detector.find_closest(at);
        require((close == no_node) == (closest == no_node), "there is a close node or none");
        if (closest == no_node) {
            const bool finite = std::isfinite(at[0]) && std::isfinite(at[1]);
            require(!finite || detector.size() == 0, "a node is found for a finite point");
            continue;
        }
        require(close < pos.cols && closest < pos.cols, "what is found is a node");
        if (!tame || failed || std::fabs(at[0]) > 1e100 || std::fabs(at[1]) > 1e100) continue;
        const auto distance = [&](std::size_t j) {
            const double x = pos(0, j) - at[0];
            const double y = pos(1, j) - at[1];
            return x * x + y * y;
        };
        for (std::size_t j = 0; j < pos.cols; ++j)
            require(distance(closest) <= distance(j) * (1 + 1e-15), "no node is closer");
    }
}

/// The result is then the other tensor, whatever it is.
bool asks_for_nothing(const tensor& t) {
    return std::all_of(t.begin(), t.end(), [](double x) { return x == 0; });
}

/// Compares with the intersection found the slow way, where one of the two is clearly positive definite.
void require_intersection(const tensor& a, const tensor& b, const tensor& result) {
    for (std::size_t k = 0; k < 6; ++k)
        if (!(std::fabs(a[k]) < 1e3) || !(std::fabs(b[k]) < 1e3)) return;
    const auto p = by_hand::unpacked<3>(a.begin()), q = by_hand::unpacked<3>(b.begin());
    by_hand::square<3> expected;
    if (!by_hand::intersection<3>(p, q, expected) && !by_hand::intersection<3>(q, p, expected))
        return;
    require(by_hand::is_near<3>(result.begin(), expected, 1e-8L),
            "the larger eigenvalue counts in the common basis");
}

void smaller_metric(input& in) {
    const tensor a = any_tensor(in);
    const tensor b = any_tensor(in);
    tensor result = any_tensor(in);
    const tensor untouched = result;
    now.function = "minimum_metric";
    if (!tessel::minimum_metric(a, b, result)) {
        for (std::size_t k = 0; k < 6; ++k)
            require(same(result[k], untouched[k]), "the result is untouched on failure");
    } else if (!asks_for_nothing(a) && !asks_for_nothing(b)) {
        for (const double x : result) require(std::isfinite(x), "the result is finite");
    }
    require_intersection(a, b, result);
    tensor first = a;
    tensor second = b;
    const bool into_first = tessel::minimum_metric(first, b, first);
    const bool into_second = tessel::minimum_metric(a, second, second);
    require(into_first == into_second, "the result may be either argument");
    for (std::size_t k = 0; into_first && k < 6; ++k)
        require(same(first[k], result[k]) && same(second[k], result[k]),
                "the result may be either argument");
}

// ------------------------------------------------------------------------------------------ numbers

void check_numbers(input& in) {
    const dense2D<unsigned> connect = cells(in, {4, 3, 2, 6, 9}, 20);
    const dense1D<unsigned, 8> list = node_list(in, in.below(20), 20);
    const auto kind = static_cast<zel::element_type>(in.below(25));
    const unsigned bound = in.flag() ? 20 : in.count();
    now.function = "check_IDs";
    bool below = true;
    bool below_or_none = true;
    bool below_or_triangle = true;
    for (std::size_t j = 0; j < connect.cols; ++j) {
        for (std::size_t i = 0; i < connect.rows; ++i) {
            const unsigned id = connect(i, j);
            const bool good = bound == no_node ? id != no_node : id < bound;
            below = below && good;
            below_or_none = below_or_none && (id < bound || id == no_node);
            below_or_triangle = below_or_triangle && (good || (i == 3 && id == no_node));
        }
    }
    const std::size_t count = zel::element_node_count(kind);
    const bool face = kind == zel::ELEMENT_FACE;
    const bool suits = face ? connect.rows == 3 || connect.rows == 4 : connect.rows == count;
    const bool expected = connect.empty() || (suits && (face ? below_or_triangle : below));
    require(tessel::check_IDs(connect, kind, bound) == expected, "the kind is tested");
    require(tessel::check_IDs(connect, bound) == (connect.empty() || below_or_none),
            "numbers are tested");
    bool list_below = true;
    for (const unsigned id : list) list_below = list_below && id < bound;
    require(tessel::check_IDs(list, bound) == list_below, "a list is tested");
    unsigned largest = 0;
    for (const unsigned id : elements(connect))
        if (id != no_node) largest = std::max(largest, id);
    if (!connect.empty())
        require(zel::max_index(connect) == largest, "the largest number is found");
    require(std::strcmp(zel::tessel2d::version(), "5.5.0.0") == 0, "the version stays");
}

// --------------------------------------------------------------------------------------- line mesh

/// Edges are neither huge nor tiny, but may be of length zero.
bool has_plain_edges(const dense2D<double>& pos, const dense2D<unsigned>& edges) {
    if (!all_below(pos, 1e6)) return false;
    for (std::size_t e = 0; e < edges.cols; ++e) {
        const double length = std::hypot(pos(0, edges(0, e)) - pos(0, edges(1, e)),
                                         pos(1, edges(0, e)) - pos(1, edges(1, e)));
        if (length != 0 && length < 1e-3) return false;
    }
    return true;
}

void line_normals(input& in) {
    dense2D<double> pos = positions(in, {2});
    const dense2D<unsigned> connect = cells(in, {2}, pos.cols);
    const double power = in.one_in(4)
                             ? in.one_of({std::numeric_limits<double>::max(),
                                          -std::numeric_limits<double>::max(), 0.0, 1.0, -1.0})
                             : in.number();
    const bool unit = in.flag();
    dense2D<double> other = in.one_in(8)   ? sharing_matrix(in, pos, in.below(4))
                            : in.one_in(4) ? positions(in)
                                           : dense2D<double>();
    const bool same_matrix = in.one_in(8);
    dense2D<double>& result = same_matrix ? pos : other;
    const std::size_t nodes = pos.cols;
    const dense2D<double> pos_before = plain_copy(pos);
    const bool nothing = pos.empty() || connect.empty();
    const int status = call(
        in, "tessel1d::normals", {-1, -2},
        [=](auto& p, auto& c, auto& n) { return tessel1d::normals(p, c, power, unit, n); },
        reads(pos), reads(connect), makes(result));
    if (status == -199 || (status == 0 && nothing)) require(result.empty(), "there are no normals");
    if (status == 0 && !nothing)
        require(result.rows == 2 && result.cols == nodes, "each node has a normal");
    const double exponent = std::isfinite(power) ? power : 0;
    if (status == 0 && !nothing && std::fabs(exponent) <= 16 &&
        has_plain_edges(pos_before, connect))
        by_hand::require_line_normals(by_hand::line_normals(pos_before, connect, exponent), unit,
                                      result);
}

void straight_line(input& in) {
    dense2D<double> pos = positions(in);
    const unsigned a = in.node(pos.cols, true);
    const unsigned b = in.node(pos.cols, true);
    const unsigned n = in.count();
    dense1D<unsigned, 8> indices = node_list(in, in.below(4), 20);
    const std::size_t first = indices.size;
    const std::size_t known = pos.cols;
    in.outgrows = n > 0x10000;
    const int status = call(
        in, "mesh_straight", {-1, -2, -3},
        [=](auto& p, auto& l) { return tessel1d::mesh_straight(p, a, b, n, l); }, grows(pos),
        grows(indices));
    if (status != 0 || n == 0) return;
    require(indices.size == first + n + 1, "the line has all nodes");
    for (std::size_t k = first; k < indices.size; ++k)
        require(indices[k] < pos.cols, "the line names nodes");
    require(pos.cols == known + n - 1, "there are n - 1 new nodes");
    require(indices[first] == a && indices[first + n] == b, "the line has its ends");
    for (unsigned k = 1; k < n; ++k) {
        const std::size_t node = known + k - 1;
        require(indices[first + k] == node, "new nodes are in their order");
        for (std::size_t i = 0; i < pos.rows; ++i) {
            const long double from = pos(i, a), to = pos(i, b);
            const long double size = std::max(std::fabs(from), std::fabs(to));
            if (!(std::fabs(from) < 1e300L) || !(std::fabs(to) < 1e300L)) continue; // NaN too
            require(std::fabs(pos(i, node) - (from + (to - from) * k / n)) <=
                        1e-15L * size + 4 * std::numeric_limits<double>::denorm_min(),
                    "a node divides the line evenly");
        }
    }
}

void list_to_edges(input& in) {
    const dense1D<unsigned, 8> indices = node_list(in, in.below(40), 200);
    dense2D<unsigned> connect = in.one_in(4)   ? sharing_matrix(in, indices, rows(in, {2}))
                                : in.one_in(2) ? cells(in, {2}, 20)
                                               : dense2D<unsigned>();
    const std::size_t first = connect.cols; // columns without rows count here
    const std::vector<unsigned> numbers = elements(indices);
    const int status = call(
        in, "indices_to_connectE2", {-2},
        [](auto& l, auto& c) { return tessel1d::indices_to_connectE2(l, c); }, reads(indices),
        grows(connect));
    if (status == 0 && indices.size > 1)
        require(connect.cols == first + numbers.size() - 1, "there is an edge between neighbours");
    for (std::size_t k = 0; status == 0 && k + 1 < numbers.size(); ++k)
        require(connect(0, first + k) == numbers[k] && connect(1, first + k) == numbers[k + 1],
                "an edge joins two neighbours of the list");
}

// ------------------------------------------------------------------------------------- eigenvalues

void eigenvalues(input& in) {
    const char job = in.one_of({'V', 'N', 'v', 'n', '?'});
    const char part = in.one_of({'U', 'L', 'u', 'l', '?'});
    const long n = in.one_in(16) ? -static_cast<long>(in.below(3)) : in.below(7);
    const long ldz = in.one_in(8) ? in.one_of({0L, 1L, -1L, n - 1}) : n + in.below(3);
    const std::size_t order = n > 0 ? static_cast<std::size_t>(n) : 0;
    std::vector<double> ap(order * (order + 1) / 2);
    const bool absurd = in.one_in(8);
    bool finite = true;
    for (double& x : ap) {
        x = absurd && in.flag() ? in.absurd() : in.small();
        finite = finite && std::isfinite(x);
    }
    const double guard = -7.25;
    const std::size_t leading = ldz > 0 ? static_cast<std::size_t>(ldz) : 0;
    std::vector<double> w(order, guard), z(leading * order + 1, guard), work(3 * order);
    long info = 77;
    now.function = "dspev";
    now.status =
        zel::lapack::dspev(job, part, n, ap.data(), w.data(), z.data(), ldz, work.data(), info);
    require(now.status == info, "the result is info");
    require(now.status != 77, "info is set");
    if (now.status < 0 || !finite) {
        for (const double x : w) require(x == guard, "eigenvalues are untouched on failure");
    }
    if (now.status != 0) return;
    for (std::size_t k = 1; k < order; ++k) require(w[k - 1] <= w[k], "eigenvalues ascend");
    const bool vectors = job == 'V' || job == 'v';
    for (std::size_t j = 0; j < order; ++j) {
        for (std::size_t i = 0; i < leading; ++i)
            if (!vectors || i >= order) require(z[j * leading + i] == guard, "rows beside z stay");
    }
}

// -------------------------------------------------------------------------------------- containers

using known = std::optional<unsigned>; // nothing: undefined
using model_matrix = std::vector<std::vector<known>>;

/// A matrix and what it should hold.
struct modelled {
    dense2D<unsigned> m;
    model_matrix columns;
    std::size_t rows = 0;

    void check() const {
        require_shape(m);
        require(m.rows == rows && m.cols == columns.size(), "the shape is as asked for");
        for (std::size_t j = 0; j < columns.size(); ++j)
            for (std::size_t i = 0; i < rows; ++i)
                require(!columns[j][i] || *columns[j][i] == m(i, j),
                        "elements stay at their places");
    }
    void resize(std::size_t nrows, std::size_t ncols, known fill) {
        if (rows * columns.size() == 0) columns.clear();
        rows = nrows;
        columns.resize(ncols);
        for (auto& column : columns) column.resize(nrows, fill);
    }
    void define() {
        unsigned next = 0;
        for (std::size_t j = 0; j < columns.size(); ++j)
            for (std::size_t i = 0; i < rows; ++i)
                if (!columns[j][i]) columns[j][i] = m(i, j) = 1000 + next++;
    }
};

void matrices(input& in) {
    now.function = "dense2D";
    modelled a;
    modelled other;
    std::vector<dense2D<unsigned>> others; // hold blocks
    start_of_call(in.memory());
    for (unsigned steps = 0; steps < 40 && !in.exhausted(); ++steps) {
        const std::size_t r =
            in.one_in(32) ? in.absurd() > 0 ? ~std::size_t{0} : std::size_t{1} << 40 : in.below(7);
        const std::size_t c = in.one_in(32) ? ~std::size_t{0} - in.below(3) : in.below(24);
        const unsigned x = in.byte();
        bool done = false;
        const std::size_t failures = failed_allocations();
        const auto short_of_memory = [=] { return failed_allocations() != failures; };
        const auto may_be_refused = [&] { return r > 1000 || c > 1000 || short_of_memory(); };
        switch (in.below(14)) {
        case 0:
            if (a.m.resize(r, c)) a.resize(r, r == 0 && c > 1000 ? 0 : c, {}), done = true;
            require(done || may_be_refused(), "a shape is refused for memory alone");
            if (done && r == 0 && c > 1000) a.m.resize(0, 0);
            break;
        case 1:
            if (r == 0 && c > 1000) break;
            done = a.m.resize(r, c, x);
            require(done || may_be_refused(), "a shape is refused for memory alone");
            if (done) a.resize(r, c, x);
            break;
        case 2:
            done = a.m.reserve(r, c, 1 + in.below(3));
            require(done || may_be_refused(), "a reservation is refused for memory alone");
            break;
        case 3: {
            a.m.clear();
            a.resize(0, 0, {});
            break;
        }
        case 4: {
            const unsigned ids[4] = {x, x + 1, x + 2, x + 3};
            const bool three = in.flag();
            const std::size_t height = three ? 3 : 4;
            const bool fits = a.m.empty() || a.m.rows == height;
            const std::size_t n = a.m.cols;
            if (three ? zel::push_back_column3(ids, a.m) : zel::push_back_column4(ids, a.m)) {
                require(fits, "a column of another height is refused");
                a.resize(height, n + 1, {});
                for (std::size_t i = 0; i < height; ++i) a.columns[n][i] = ids[i];
            } else {
                require(!fits || short_of_memory(),
                        "a column that fits is refused for memory alone");
            }
            break;
        }
        case 5: { // a view of a part; the rest is held by nobody
            if (r > a.rows || c > a.columns.size() || a.m.empty()) break;
            const std::size_t row = in.below(static_cast<unsigned>(a.rows - r + 1));
            const std::size_t column = in.byte() % (a.columns.size() - c + 1);
            a.m = a.m.sub_matrix(row, column, r, c);
            model_matrix part;
            for (std::size_t j = 0; j < c; ++j)
                part.emplace_back(a.columns[column + j].begin() + static_cast<std::ptrdiff_t>(row),
                                  a.columns[column + j].begin() +
                                      static_cast<std::ptrdiff_t>(row + r));
            a.columns = part;
            a.rows = r;
            break;
        }
        case 6:
            if (others.size() < 4) others.push_back(a.m);
            break;
        case 7:
            if (!others.empty()) others.pop_back();
            break;
        case 8:
            done = other.m.copy(a.m);
            require(done || short_of_memory(), "a copy is refused for memory alone");
            if (done) other.columns = a.columns, other.rows = a.rows;
            break;
        case 9:
            std::swap(a, other);
            break;
        case 10: { // columns of another matrix, or of its own
            const bool own = in.one_in(4);
            modelled& from = own ? a : other;
            const model_matrix source = from.columns;
            const std::size_t height = from.rows;
            const std::size_t n = a.m.cols;
            if (source.size() + n > 400) break;
            done = zel::append_columns(from.m, a.m);
            require(done || short_of_memory(), "columns are refused for memory alone");
            if (!done) break;
            if (height * source.size() == 0) break;
            a.resize(height, n + source.size(), {});
            std::copy(source.begin(), source.end(),
                      a.columns.begin() + static_cast<std::ptrdiff_t>(n));
            break;
        }
        case 11:
            a.m.shallow_copy(dense2D<unsigned>(a.m));
            break;
        case 12:
            if (a.m.contiguous()) {
                const dense1D<unsigned, 8> flat = a.m.as_vector();
                require(flat.size == a.m.rows * a.m.cols, "a matrix is a list of its elements");
            }
            break;
        default:
            a.define();
            break;
        }
        a.check();
        other.check();
    }
    end_of_call();
}

void lists(input& in) {
    now.function = "dense1D";
    dense1D<unsigned, 8> v = node_list(in, in.below(8), 50);
    std::vector<known> model;
    for (const unsigned x : v) model.emplace_back(x);
    std::vector<dense1D<unsigned, 8>> others;
    if (in.one_in(4)) { // a view that is made by hand on a block without memory
        v.storage = zel::vector_num<unsigned, 8>::create();
        v.size = v.start = 0;
        model.clear();
    }
    start_of_call(in.memory());
    for (unsigned steps = 0; steps < 40 && !in.exhausted(); ++steps) {
        const std::size_t n = in.one_in(32) ? ~std::size_t{0} - in.below(9) : in.below(32);
        const unsigned x = in.byte();
        const std::size_t failures = failed_allocations();
        const auto may_be_refused = [=] { return n > 1000 || failed_allocations() != failures; };
        bool done = false;
        switch (in.below(10)) {
        case 0:
            done = v.resize(n);
            require(done || may_be_refused(), "a size is refused for memory alone");
            if (done) model.resize(n);
            break;
        case 1:
            done = v.resize(n, x);
            require(done || may_be_refused(), "a size is refused for memory alone");
            if (done) model.resize(n, x);
            break;
        case 2:
            done = v.reserve(n, 1 + in.below(3));
            require(done || may_be_refused(), "a reservation is refused for memory alone");
            break;
        case 3:
            v.clear();
            model.clear();
            break;
        case 4: {
            zel::push_back(v, x);
            done = v.size > model.size();
            require(done || may_be_refused(), "an element is refused for memory alone");
            if (done) model.emplace_back(x);
            break;
        }
        case 5: {
            if (model.size() > 400) break;
            const bool own = in.flag();
            const dense1D<unsigned, 8> some = own ? v : dense1D<unsigned, 8>(n % 32, x);
            const std::vector<known> source = own ? model : std::vector<known>(some.size, known(x));
            done = zel::append(some, v);
            require(done || may_be_refused(), "a list is refused for memory alone");
            if (done) model.insert(model.end(), source.begin(), source.end());
            break;
        }
        case 6: { // a run, of its own elements or others
            const unsigned run[3] = {x, x + 1, x + 2};
            const std::size_t from = v.empty() ? 0 : n % v.size;
            const bool own = in.flag() && !v.empty() && v.size < 400;
            const unsigned* const first = own ? v.data() + from : run;
            const unsigned* const last = own ? v.data() + v.size : run + 3;
            std::vector<known> source =
                own ? std::vector<known>(model.begin() + static_cast<std::ptrdiff_t>(from),
                                         model.end())
                    : std::vector<known>{x, x + 1, x + 2};
            std::reverse(source.begin(), source.end());
            const std::size_t before = v.size;
            zel::append_reversed(last, first, v);
            if (v.size == before + source.size()) {
                model.insert(model.end(), source.begin(), source.end());
            } else {
                require(may_be_refused(), "a run is refused for memory alone");
                model.resize(v.size);
            }
            break;
        }
        case 7:
            if (others.size() < 4) others.push_back(v);
            break;
        case 8:
            if (!others.empty()) others.pop_back();
            break;
        default: {
            dense1D<unsigned, 8> moved(std::move(v));
            v.swap(moved);
        }
        }
        require_shape(v);
        require(v.size == model.size(), "the size is as asked for");
        for (std::size_t i = 0; i < v.size; ++i)
            require(!model[i] || *model[i] == v[i], "elements stay at their places");
    }
    end_of_call();
}

/// Tables against std::map; with memory enough nothing is lost, and otherwise nothing is wrong.
void edge_table(input& in) {
    now.function = "hbuckets of edges";
    const unsigned range = 1 + in.below(64);
    start_of_call(in.memory());
    {
        zel::hbuckets<std::pair<zel::elfes::edge2, unsigned>> table;
        if (in.flag())
            table.initialise(in.count(), in.one_in(8) ? in.count() : in.below(64), in.number());
        std::map<std::pair<unsigned, unsigned>, unsigned> model;
        for (unsigned steps = 0; steps < 300 && !in.exhausted(); ++steps) {
            const unsigned a = in.node(range, true);
            const unsigned b = in.node(range, true);
            const zel::elfes::edge2 edge{a, b};
            const std::pair<unsigned, unsigned> key = std::minmax(a, b);
            const std::uint64_t before = table.item_count;
            if (in.one_in(32)) table.rehash(in.below(200));
            const auto* const slot = table.insert({edge, steps});
            if (slot) {
                const auto entry = model.insert({key, steps});
                require(slot->value.second == entry.first->second, "the first payload stays");
                require(table.item_count == before + (entry.second ? 1 : 0), "items are counted");
            } else {
                require(table.item_count == before, "what finds no memory changes nothing");
            }
        }
        std::size_t seen = 0;
        for (const auto& slot : table) {
            const auto found = model.find(std::minmax(slot.value.first.a, slot.value.first.b));
            require(found != model.end() && found->second == slot.value.second,
                    "slots hold the items");
            ++seen;
        }
        require(seen == model.size() && table.item_count == seen, "all items are held");
        for (const auto& item : model) {
            const auto* const slot = table.find({item.first.second, item.first.first});
            require(slot != table.end_position() && slot->value.second == item.second,
                    "items are found in both directions");
        }
    }
    end_of_call();
}

void distinct_nodes(input& in) {
    now.function = "collect_nodes";
    const std::size_t nodes = in.one_in(4) ? 2000 : 20;
    const dense2D<unsigned> connect = cells(in, in.one_of({4u, 2u}), in.below(64), nodes);
    if (connect.empty()) return;
    start_of_call(in.memory());
    zel::vector_fast<unsigned> set;
    const bool edges = connect.rows == 2;
    const int status = edges
                           ? zel::tessel2d::collect_edge_nodes(connect, set)
                           : zel::tessel2d::collect_nodes<zel::tessel2d::mixed_cells>(connect, set);
    const bool failed = end_of_call();
    std::vector<unsigned> expected;
    bool in_range = true;
    for (std::size_t j = 0; j < connect.cols; ++j) {
        for (std::size_t i = 0; i < connect.rows; ++i) {
            const unsigned id = connect(i, j);
            if (id == no_node) continue;
            in_range = in_range && id < nodes;
            if (std::count(expected.begin(), expected.end(), id) == 0) expected.push_back(id);
        }
    }
    if (!failed) {
        require(status == 0 && set.complete(), "with memory enough the list is complete");
        require(expected == elements(static_cast<const dense1D<unsigned, 8>&>(set)),
                "each node is listed once, in first-seen order");
    }
    for (std::size_t k = 0; k < set.size && set.complete(); ++k)
        require(zel::tessel2d::position_in(set, set[k]) == k, "places are known");
    if (!in_range) return;
    dense1D<unsigned, 8> list;
    dense2D<unsigned> places;
    start_of_call(in.memory());
    const bool numbered =
        edges
            ? zel::tessel2d::number_nodes<zel::tessel2d::edge_cells>(connect, nodes, list, places)
            : zel::tessel2d::number_nodes<zel::tessel2d::mixed_cells>(connect, nodes, list, places);
    if (!end_of_call()) require(numbered, "with memory enough nodes are numbered");
    if (!numbered) return;
    require(expected == elements(list), "each node is listed once, in first-seen order");
    for (std::size_t j = 0; j < connect.cols; ++j) {
        for (std::size_t i = 0; i < connect.rows; ++i) {
            const unsigned id = connect(i, j);
            const unsigned place = places(i, j);
            require(id == no_node ? place == no_node : place < list.size && list[place] == id,
                    "entries know their places");
        }
    }
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {
        fuse,          fuse_two,     fuse_many,     tidy,          tidy_two,
        tidy_many,     copies<2>,    copies<3>,     detect,        smaller_metric,
        check_numbers, line_normals, straight_line, list_to_edges, eigenvalues,
        matrices,      lists,        edge_table,    distinct_nodes};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
