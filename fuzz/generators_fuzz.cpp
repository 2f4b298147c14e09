// zel tessel2d: planar and surface mesh tools.
// Generators: structured patches with their metrics, disks and spheres.
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include "zel/tessel2d/disks.h"
#include "zel/tessel2d/generators.h"
#include "zel/tessel2d/spheres.h"

using namespace zel_fuzz;
namespace t2 = zel::tessel2d;

namespace {

// ----------------------------------------------------------------------------------------- patches

/// A loop for n cells in the second direction; mostly one that fits.
struct outline {
    dense1D<unsigned, 8> loop;
    unsigned n;

    /// A loop that leaves no cell in the first direction; outputs then lose columns.
    bool flat() const { return loop.size == 2 * std::size_t{n} + 1; }
};
outline any_outline(input& in, std::size_t nodes) {
    outline o;
    o.n = in.count();
    const unsigned m = in.one_in(16) ? 0 : 1 + in.below(8);
    std::size_t size = 2 * (std::size_t{m} + (o.n < 300 ? o.n : 3)) + 1;
    if (in.one_in(16)) size = in.below(12);
    o.loop = node_list(in, size, nodes);
    if (in.flag()) { // around the grid of nodes in turn
        for (std::size_t k = 0; k < size; ++k)
            o.loop[k] = static_cast<unsigned>(nodes == 0 ? 0 : k % nodes);
    }
    if (size > 0 && !in.one_in(16)) o.loop[size - 1] = o.loop[0];
    return o;
}

/// An output connectivity: empty, its own columns, or in the block of a list.
dense2D<unsigned> output(input& in, std::initializer_list<unsigned> wanted, std::size_t nodes) {
    return in.flag() ? cells(in, wanted, nodes) : blank_matrix<unsigned>(in, in.below(5), 0);
}

template <class View>
argument<View> loses(bool columns, View& v) {
    return columns ? turns(v) : grows(v);
}

void require_patch(int status, const outline& o, std::size_t added, unsigned per_cell) {
    if (status != 0 || o.n == 0 || o.loop.empty() || o.flat()) return;
    const std::size_t m = (o.loop.size - 1) / 2 - o.n;
    require(added == m * o.n * per_cell, "there are as many elements as cells ask for");
}

void patch_Q4(input& in) {
    dense2D<double> pos = positions(in);
    const outline o = any_outline(in, pos.cols);
    dense2D<unsigned> connect =
        in.one_in(8) ? sharing_matrix(in, o.loop, rows(in, {4})) : output(in, {4}, pos.cols);
    const std::size_t first = connect.cols;
    const int status = call(
        in, "mesh_struct_Q4", {-1, -2, -3, -4},
        [&](auto& p, auto& b, auto& c) { return t2::mesh_struct_Q4(p, b, o.n, c); },
        loses(o.flat(), pos), reads(o.loop), grows(connect));
    if (status != 0 || o.n == 0 || connect.empty()) return;
    require_nodes(connect, first, pos.cols, {});
    require_patch(status, o, connect.cols - first, 1);
}

void patch_T3(input& in) {
    dense2D<double> pos = positions(in);
    const outline o = any_outline(in, pos.cols);
    const int pattern = in.option();
    dense2D<unsigned> connect =
        in.one_in(8) ? sharing_matrix(in, o.loop, rows(in, {4, 3})) : output(in, {4, 3}, pos.cols);
    const std::size_t first = connect.cols;
    const int status = call(
        in, "mesh_struct_T3", {-1, -2, -3, -4, -5},
        [&](auto& p, auto& b, auto& c) { return t2::mesh_struct_T3(p, b, o.n, pattern, c); },
        loses(o.flat(), pos), reads(o.loop), grows(connect));
    if (status != 0 || o.n == 0 || connect.empty()) return;
    require_nodes(connect, first, pos.cols, {no_node});
    require_patch(status, o, connect.cols - first, 2);
}

void patch_sizes(input& in) {
    dense1D<double, 8> metrics = double_list(in, in.below(16));
    const outline o = any_outline(in, metrics.size);
    call(
        in, "metrics_struct of sizes", {-1, -2},
        [&](auto& b, auto& m) { return t2::metrics_struct(b, o.n, m); }, reads(o.loop),
        loses(o.flat(), metrics));
}

void patch_tensors(input& in) {
    dense2D<double> metrics = positions(in, {3, 6});
    if (in.flag()) { // make them positive definite
        for (std::size_t j = 0; j < metrics.cols; ++j) {
            if (metrics.rows == 3) metrics(0, j) += 10, metrics(2, j) += 10;
            if (metrics.rows == 6) metrics(0, j) += 20, metrics(2, j) += 20, metrics(5, j) += 20;
        }
    }
    const outline o = any_outline(in, metrics.cols);
    call(
        in, "metrics_struct of tensors", {-1, -2, -3},
        [&](auto& b, auto& m) { return t2::metrics_struct(b, o.n, m); }, reads(o.loop),
        loses(o.flat(), metrics));
}

// ------------------------------------------------------------------------------- disks and spheres

/// What the disks and spheres are made from: an empty mesh mostly.
template <std::size_t Dim>
struct round_shape {
    dense2D<double> pos;
    zel::vector_fixed<double, Dim> center;
    double radius;
    unsigned n;
    int pattern;
    bool fresh;

    explicit round_shape(input& in)
        : pos(in.one_in(4) ? positions(in, {Dim}) : blank_matrix<double>(in, in.below(5), 0)),
          center(vector<Dim>(in)),
          radius(in.number()),
          n(in.count()),
          pattern(in.option()),
          fresh(pos.cols == 0) {}

    /// Ordinary numbers, for which the counts are known.
    bool ordinary() const {
        bool small = fresh && n != 0 && radius > 0.25 && radius < 100 && !now.failed;
        for (const double x : center) small = small && std::fabs(x) < 100;
        return small && pos.rows == Dim;
    }

    /// The nodes of an ordinary mesh of quadrilaterals.
    std::size_t quarter_nodes() const { return 3 * std::size_t{n} * (n + 1) + 1; }
    std::size_t disk_nodes() const { return 12 * std::size_t{n} * n + 4 * n + 1; }
    std::size_t sphere_nodes() const { return 24 * std::size_t{n} * n + 2; }
};

/// A function that meshes a round shape, and what it may answer.
template <class Function>
struct mesher {
    const char* name;
    std::initializer_list<int> statuses;
    Function mesh;
};
template <class Function>
mesher(const char*, std::initializer_list<int>, Function) -> mesher<Function>;

/// Meshes a shape with quadrilaterals or with triangles, whose functions differ in the pattern alone. The
/// outputs are given with their roles; `promised` nodes come of quadrilaterals.
template <std::size_t Dim, class Quads, class Triangles, class... Edges>
void mesh_round(input& in, const round_shape<Dim>& s, std::size_t promised,
                const mesher<Quads>& quads, const mesher<Triangles>& triangles,
                argument<dense2D<double>> pos, argument<dense2D<unsigned>> connect,
                Edges... edges) {
    const bool with_quads = in.flag();
    const std::size_t first = connect.view->cols;
    const int status =
        with_quads
            ? call(
                  in, quads.name, quads.statuses,
                  [&](auto& p, auto&... outputs) {
                      return quads.mesh(p, s.center, s.radius, s.n, outputs...);
                  },
                  pos, connect, edges...)
            : call(
                  in, triangles.name, triangles.statuses,
                  [&](auto& p, auto&... outputs) {
                      return triangles.mesh(p, s.center, s.radius, s.n, s.pattern, outputs...);
                  },
                  pos, connect, edges...);
    if (status != 0 || s.n == 0) return;
    require_nodes(*connect.view, first, s.pos.cols, {no_node});
    if (s.ordinary() && with_quads)
        require(s.pos.cols == promised, "there are as many nodes as promised");
}

void quarter_disk(input& in) {
    round_shape<2> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> boundary = output(in, {2}, s.pos.cols);
    // On nodes that are there, columns are lost.
    mesh_round(
        in, s, s.quarter_nodes(),
        mesher{
            "mesh_disk_UR_Q4", {-1, -5, -6}, [](auto&... a) { return t2::mesh_disk_UR_Q4(a...); }},
        mesher{
            "mesh_disk_UR_T3", {-1, -6, -7}, [](auto&... a) { return t2::mesh_disk_UR_T3(a...); }},
        turns(s.pos), grows(connect), grows(boundary));
}

void whole_disk(input& in) {
    round_shape<2> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> boundary = output(in, {2}, s.pos.cols);
    // Numbers that were there are rewritten where nodes are joined.
    mesh_round(
        in, s, s.disk_nodes(),
        mesher{"mesh_disk_Q4", {-1, -5, -6}, [](auto&... a) { return t2::mesh_disk_Q4(a...); }},
        mesher{"mesh_disk_T3", {-1, -6, -7}, [](auto&... a) { return t2::mesh_disk_T3(a...); }},
        turns(s.pos), turns(connect), turns(boundary));
}

void octant(input& in) {
    round_shape<3> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> boundary = output(in, {2}, s.pos.cols);
    mesh_round(in, s, s.quarter_nodes(),
               mesher{"mesh_sphere_UR_Q4",
                      {-1, -5, -6},
                      [](auto&... a) { return t2::mesh_sphere_UR_Q4(a...); }},
               mesher{"mesh_sphere_UR_T3",
                      {-1, -6, -7},
                      [](auto&... a) { return t2::mesh_sphere_UR_T3(a...); }},
               grows(s.pos), grows(connect), grows(boundary));
}

constexpr auto sphere_Q4 = [](auto&... a) { return t2::mesh_sphere_Q4(a...); };
constexpr auto sphere_T3 = [](auto&... a) { return t2::mesh_sphere_T3(a...); };

void whole_sphere(input& in) {
    round_shape<3> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    mesh_round(in, s, s.sphere_nodes(), mesher{"mesh_sphere_Q4", {-1, -5}, sphere_Q4},
               mesher{"mesh_sphere_T3", {-1, -5}, sphere_T3}, grows(s.pos), turns(connect));
}

void sphere_with_circles(input& in) {
    round_shape<3> s(in);
    dense2D<unsigned> connect = output(in, {4, 3}, s.pos.cols);
    dense2D<unsigned> circle_z = output(in, {2}, s.pos.cols);
    dense2D<unsigned> circle_y = output(in, {2}, s.pos.cols);
    mesh_round(in, s, s.sphere_nodes(),
               mesher{"mesh_sphere_Q4 with circles", {-1, -5, -6, -7}, sphere_Q4},
               mesher{"mesh_sphere_T3 with circles", {-1, -5, -6, -7}, sphere_T3}, grows(s.pos),
               turns(connect), turns(circle_z), turns(circle_y));
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {patch_Q4,      patch_T3,     patch_sizes,
                                           patch_tensors, quarter_disk, whole_disk,
                                           octant,        whole_sphere, sphere_with_circles};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
