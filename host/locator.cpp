// SPDX-License-Identifier: Apache-2.0
//
// Searches in a mesh that is tested and prepared once.
//
// The searches themselves are those of the library: `locate` walks from a node that a `node_detector` finds,
// like get_element_containing_point, and `transfer` from one that the tree of interpolate finds; so both give
// what these give. What is done once here is the test of the mesh and the making of detector and tree, and of a
// grid that rules out most points that no element holds: they are not searched. Points of a batch do not
// depend on one another, so they are taken in the order of a Z curve, and any number of threads may share
// them.
#include "zel/host/locator.h"

#include "host/covered_grid.h"
#include "location/local_coords.h"
#include "location/locate.h"
#include "zel/host/adjacency.h"
#include "zel/tessel.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <thread>
#include <utility>

namespace zel::host {

using namespace tessel2d;

namespace {

constexpr double transfer_tolerance = 1e-6; // that of interpolate

// --------------------------------------------------------------------- what is used of the searches

/// A search of the library, from `element` if it is one: 1 found, 0 not found, -1 met a degenerate element.
template <class Shape, class Searcher>
int search(const located_mesh& mesh, const Searcher& searcher, const point<2>& p, double tolerance,
           unsigned& element, search_record& memory) noexcept {
    switch (tessel2d::locate<Shape>(mesh, searcher, p, tolerance, element, true, memory)) {
    case outcome::found:
        return 1;
    case outcome::met_degenerate:
        return -1;
    default:
        return 0;
    }
}

/// The searches of a node detector, with nothing to prefetch.
struct detector_searcher {
    const tessel::node_detector& detector;

    void prefetch_close(const point<2>*, std::size_t) const noexcept {}
    unsigned find_close(const point<2>& p) const noexcept { return detector.find_close(p); }
    unsigned find_closest(const point<2>& p) const noexcept { return detector.find_closest(p); }
};

// --------------------------------------------------------------------------------- points of a batch

bool are_points(const dense2D<double>& points) noexcept {
    return (points.rows == 2 || (points.rows == 0 && points.cols == 0)) && points.cols <= no_node;
}

point<2> point_at(const dense2D<double>& points, std::size_t j) noexcept {
    return {points(0, j), points(1, j)};
}

/// The points of a batch that are left when some are left out, in the order of a Z curve; or as they come, if
/// they are few. If memory is short none is left out.
class visiting_order {
public:
    template <class LeftOut>
    visiting_order(const node_grid& grid, const dense2D<double>& points,
                   const LeftOut& left_out) noexcept
        : size_(points.cols) {
        constexpr std::size_t worth_sorting = 4096;
        dense1D<unsigned, 8> all;
        if (!all.resize(points.cols)) return;
        size_ = 0;
        for (std::size_t j = 0; j < points.cols; ++j) {
            all[size_] = static_cast<unsigned>(j);
            size_ += left_out(point_at(points, j)) ? 0U : 1U;
        }
        all.resize(size_);
        const bool sorted =
            size_ >= worth_sorting && order_.sort(grid, points_view<2>(points), all);
        if (!sorted) order_.nodes.swap(all);
    }
    std::size_t size() const noexcept { return size_; }
    std::size_t operator[](std::size_t i) const noexcept {
        return order_.nodes.empty() ? i : order_.nodes[i];
    }

private:
    curve_order order_;
    std::size_t size_;
};

/// Calls work(first, last) for parts of [0, n), each on a thread of its own, as far as they can be had.
template <class Work>
void share(std::size_t n, unsigned threads, const Work& work) noexcept {
    constexpr std::size_t least = 256; // for fewer points a thread does not pay
    constexpr unsigned most = 256;
    if (threads == 0) threads = std::max(1u, std::thread::hardware_concurrency());
    const std::size_t parts = std::clamp<std::size_t>(n / least, 1, std::min(threads, most));
    std::thread started[most];
    const auto begin = [&](std::size_t i) { return n / parts * i + std::min(i, n % parts); };
    for (std::size_t i = 1; i < parts; ++i) {
        try {
            started[i] = std::thread([&work, &begin, i] { work(begin(i), begin(i + 1)); });
        } catch (...) { // no thread, or no memory for one
        }
    }
    work(begin(0), begin(1));
    for (std::size_t i = 1; i < parts; ++i) {
        if (started[i].joinable()) {
            started[i].join();
        } else {
            work(begin(i), begin(i + 1));
        }
    }
}

/// Calls work(p, j, start) for a part of the points of a batch: point j is p, and its walk is to start at an
/// element, or at none. Points for which served(p, j) is true are done with.
template <class Searcher, class Served, class Work>
void in_groups(const located_mesh& mesh, const Searcher& searcher, const dense2D<double>& points,
               const visiting_order& order, std::size_t first, std::size_t last,
               const Served& served, const Work& work) noexcept {
    point_group group;
    std::size_t numbers[point_group::most];
    while (first < last) {
        std::size_t n = 0;
        for (; first < last && n < group.most; ++first) {
            numbers[n] = order[first];
            n += served(point_at(points, numbers[n]), numbers[n]) ? 0U : 1U;
        }
        group.find_starts(mesh, searcher, n,
                          [&](std::size_t i) { return point_at(points, numbers[i]); });
        for (std::size_t i = 0; i < n; ++i) work(group.points[i], numbers[i], group.starts[i]);
    }
}

/// Local coordinates in an element; see local_coords.h.
point<2> local_coords(const located_mesh& mesh, const unsigned* cell, unsigned corners,
                      const point<2>& p) noexcept {
    point<2> at{0, 0};
    if (corners == 3) {
        local_coords_T3(mesh.pos, cell, p, at);
    } else {
        local_coords_Q4(mesh.pos, cell, p, at);
    }
    return at;
}

/// The value of a field at local coordinates, by the formulas of interpolate.
template <class Field>
double value_at(const unsigned* cell, unsigned corners, const point<2>& at,
                const Field& f) noexcept {
    if (corners == 3) return triangle_value(f(cell[0]), f(cell[1]), f(cell[2]), at);
    return quad_value(f(cell[0]), f(cell[1]), f(cell[2]), f(cell[3]), at);
}

/// The shares of the nodes of an element at local coordinates.
void shape_weights(unsigned corners, const point<2>& at, double* weights) noexcept {
    if (corners == 3) {
        weights[0] = at[0];
        weights[1] = at[1];
        weights[2] = 1 - at[0] - at[1];
        return;
    }
    const double s = (at[0] + 1) * 0.5;
    const double t = (at[1] + 1) * 0.5;
    weights[0] = (1 - s) * (1 - t);
    weights[1] = s * (1 - t);
    weights[2] = s * t;
    weights[3] = (1 - s) * t;
}

constexpr unsigned as_number(place p) noexcept {
    return static_cast<unsigned>(p);
}
constexpr unsigned as_number(source s) noexcept {
    return static_cast<unsigned>(s);
}

} // namespace

// ------------------------------------------------------------------------------------- the mesh itself

struct locator::prepared_mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    adjacency beside;
    located_mesh view;
    tessel::node_detector detector;
    node_tree tree;
    covered_grid covered;

    prepared_mesh(dense2D<double>&& own_pos, dense2D<unsigned>&& own_connect,
                  adjacency&& own) noexcept
        : pos(std::move(own_pos)),
          connect(std::move(own_connect)),
          beside(std::move(own)),
          view(pos, connect, beside.neighbors, beside.ancestors),
          detector(pos),
          tree(pos) {
        // Columns without rows are no elements, whatever ancestors and tables name.
        if (connect.empty()) view.elements = 0;
    }

    /// Fills the tree and the grid. False: memory is exhausted. Where it runs out on the way, nodes are left
    /// out, as interpolate leaves them out, or the grid rules out nothing.
    bool prepare() noexcept {
        if (connect.empty()) return true;
        const std::size_t taken = connect.rows == 3 ? tree.fill<triangle_cells>(connect)
                                                    : tree.fill<mixed_cells>(connect);
        covered.fill(pos, connect, tree.box_min, tree.box_max);
        return (taken != 0 || !names_finite_node()) && (detector.size() != 0 || !has_finite_node());
    }
    bool is_finite_node(std::size_t j) const noexcept {
        return std::isfinite(pos(0, j)) && std::isfinite(pos(1, j));
    }
    bool has_finite_node() const noexcept {
        for (std::size_t j = 0; j < pos.cols; ++j)
            if (is_finite_node(j)) return true;
        return false;
    }
    bool names_finite_node() const noexcept {
        for (std::size_t e = 0; e < connect.cols; ++e)
            for (std::size_t i = 0; i < connect.rows; ++i)
                if (connect(i, e) < pos.cols && is_finite_node(connect(i, e))) return true;
        return false;
    }

    /// Returns true if a search would find no element that holds p, and meet no degenerate one.
    bool rules_out(const point<2>& p, double tolerance) const noexcept {
        return tolerance <= covered_grid::most_tolerance && covered.rules_out(p);
    }

    /// Calls use(shape) with the shape of the cells.
    template <class Use>
    auto with_shape(const Use& use) const noexcept {
        return connect.rows == 3 ? use(triangle_cells{}) : use(mixed_cells{});
    }

    template <class Shape>
    void locate_one(const point<2>& p, double tolerance, unsigned& element, double* weights,
                    unsigned& state, search_record& memory) const noexcept {
        const int status = search<Shape>(view, detector, p, tolerance, element, memory);
        state = as_number(status == 1   ? place::inside
                          : status == 0 ? place::outside
                                        : place::degenerate);
        std::fill_n(weights, connect.rows, 0.0);
        if (status != 1) return;
        const unsigned* const cell = view.connect[element];
        const unsigned corners = Shape::corners(cell);
        shape_weights(corners, local_coords(view, cell, corners, p), weights);
    }

    template <class Shape>
    void serve_one(const tree_searcher& searcher, const point<2>& p, unsigned element,
                   std::size_t j, transfer_table& table, search_record& memory) const noexcept {
        if (search<Shape>(view, searcher, p, transfer_tolerance, element, memory) == 1) {
            const unsigned* const cell = view.connect[element];
            const point<2> at = local_coords(view, cell, Shape::corners(cell), p);
            table.states[j] = as_number(source::inside);
            table.elements[j] = element;
            table.local(0, j) = at[0];
            table.local(1, j) = at[1];
        } else {
            serve_from_nearest(memory.closest ? *memory.closest : searcher.find_closest(p), j,
                               table);
        }
    }
    /// Serves a point from the node nearest to it, if there is one.
    static void serve_from_nearest(unsigned node, std::size_t j, transfer_table& table) noexcept {
        if (node == no_node) return;
        table.states[j] = as_number(source::nearest);
        table.elements[j] = node;
    }

    /// Returns true if a table names only elements and nodes that the mesh has; without a mesh, none.
    static bool consistent(const prepared_mesh* mesh, const transfer_table& table) noexcept {
        const std::size_t n = table.states.size;
        if (table.elements.size != n || table.local.cols != n || (n != 0 && table.local.rows != 2))
            return false;
        const std::size_t bound[3] = {mesh ? mesh->view.elements : 0, mesh ? mesh->pos.cols : 0,
                                      std::size_t{no_node} + 1};
        for (std::size_t j = 0; j < n; ++j)
            if (table.states[j] > 2 || table.elements[j] >= bound[table.states[j]]) return false;
        return true;
    }

    /// Carries `components` numbers per node from `field` onto the points that are served.
    void carry(const transfer_table& table, std::size_t components,
               const columns<const double>& field, const columns<double>& values) const noexcept {
        for (std::size_t j = 0; j < table.states.size; ++j) {
            const unsigned from = table.states[j];
            const unsigned number = table.elements[j];
            double* const to = values[j];
            if (from == as_number(source::inside)) {
                const unsigned* const cell = view.connect[number];
                const unsigned corners = connect.rows == 3 ? 3 : mixed_cells::corners(cell);
                const point<2> at{table.local(0, j), table.local(1, j)};
                for (std::size_t i = 0; i < components; ++i)
                    to[i] =
                        value_at(cell, corners, at, [&](unsigned node) { return field[node][i]; });
            } else if (from == as_number(source::nearest)) {
                std::copy_n(field[number], components, to);
            }
        }
    }
};

locator::locator(locator&& other) noexcept : mesh_(std::exchange(other.mesh_, nullptr)) {}

locator& locator::operator=(locator&& other) noexcept {
    std::swap(mesh_, other.mesh_);
    return *this;
}

locator::~locator() {
    delete mesh_;
}

int locator::build(const dense2D<double>& pos, const dense2D<unsigned>& connect) {
    if (pos.rows != 2 || pos.cols > no_node) return -1;
    adjacency beside;
    if (const int status = build_adjacency(connect, pos.cols, beside))
        return status == -1 ? -2 : status;
    // Of the connectivity's shape also when it is empty.
    if (connect.empty() && !beside.neighbors.resize(connect.rows, connect.cols))
        return status_memory;
    return build(pos, connect, beside.neighbors, beside.ancestors);
}

int locator::build(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors) {
    if (pos.rows != 2 || pos.cols > no_node) return -1;
    if (!connect.empty() && connect.rows != 3 && connect.rows != 4) return -2;
    if (const int status = check_located_mesh(pos, connect, neighbors, ancestors, ELEMENT_FACE))
        return status;
    dense2D<double> own_pos;
    dense2D<unsigned> own_connect;
    adjacency own;
    if (!own_pos.copy(pos) || !own_connect.copy(connect) || !own.neighbors.copy(neighbors) ||
        !own.ancestors.resize(ancestors.size)) {
        return status_memory;
    }
    std::copy_n(ancestors.data(), ancestors.size, own.ancestors.data());
    prepared_mesh* const fresh = new (std::nothrow)
        prepared_mesh(std::move(own_pos), std::move(own_connect), std::move(own));
    if (!fresh || !fresh->prepare()) {
        delete fresh;
        return status_memory;
    }
    delete std::exchange(mesh_, fresh);
    return status_ok;
}

int locator::locate(const vector_fixed<double, 2>& p, unsigned& element,
                    double tolerance) const noexcept {
    element = no_node;
    if (!mesh_ || mesh_->rules_out(p, tolerance)) return 0;
    return mesh_->with_shape([&](auto shape) {
        search_record memory;
        return search<decltype(shape)>(mesh_->view, mesh_->detector, p, tolerance, element, memory);
    });
}

int locator::locate(const dense2D<double>& points, dense1D<unsigned, 8>& elements,
                    dense2D<double>& weights, dense1D<unsigned, 8>& places, double tolerance,
                    unsigned threads) const {
    if (!are_points(points)) return -1;
    const std::size_t rows = mesh_ ? mesh_->connect.rows : 0;
    dense1D<unsigned, 8> found;
    dense1D<unsigned, 8> states;
    dense2D<double> shares;
    if (!found.resize(points.cols, no_node) ||
        !states.resize(points.cols, as_number(place::outside)) ||
        !shares.resize(rows, points.cols, 0.0)) {
        return status_memory;
    }
    if (mesh_ && !mesh_->connect.empty()) {
        const visiting_order order(mesh_->tree.grid, points, [&](const point<2>& p) {
            return mesh_->rules_out(p, tolerance);
        });
        const auto nothing_served = [](const point<2>&, std::size_t) { return false; };
        mesh_->with_shape([&](auto shape) {
            share(order.size(), threads, [&](std::size_t first, std::size_t last) noexcept {
                search_record memory;
                const detector_searcher searcher{mesh_->detector};
                in_groups(mesh_->view, searcher, points, order, first, last, nothing_served,
                          [&](const point<2>& p, std::size_t j, unsigned start) {
                              found[j] = start;
                              mesh_->locate_one<decltype(shape)>(p, tolerance, found[j], shares[j],
                                                                 states[j], memory);
                          });
            });
        });
    }
    elements.swap(found);
    weights.swap(shares);
    places.swap(states);
    return status_ok;
}

int locator::transfer(const dense2D<double>& points, transfer_table& table,
                      unsigned threads) const {
    if (!are_points(points)) return -1;
    transfer_table fresh;
    if (!fresh.states.resize(points.cols, as_number(source::unserved)) ||
        !fresh.elements.resize(points.cols, no_node) || !fresh.local.resize(2, points.cols, 0.0)) {
        return status_memory;
    }
    if (mesh_ && !mesh_->connect.empty()) {
        const visiting_order order(mesh_->tree.grid, points, [](const point<2>&) { return false; });
        mesh_->with_shape([&](auto shape) {
            share(order.size(), threads, [&](std::size_t first, std::size_t last) noexcept {
                const tree_searcher searcher(mesh_->tree, mesh_->view);
                search_record memory;
                const auto served = [&](const point<2>& p, std::size_t j) {
                    const bool ruled_out = mesh_->rules_out(p, transfer_tolerance);
                    if (ruled_out)
                        prepared_mesh::serve_from_nearest(searcher.find_closest(p), j, fresh);
                    return ruled_out;
                };
                in_groups(mesh_->view, searcher, points, order, first, last, served,
                          [&](const point<2>& p, std::size_t j, unsigned start) {
                              mesh_->serve_one<decltype(shape)>(searcher, p, start, j, fresh,
                                                                memory);
                          });
            });
        });
    }
    table.states.swap(fresh.states);
    table.elements.swap(fresh.elements);
    table.local.swap(fresh.local);
    return status_ok;
}

int locator::carry(const transfer_table& table, const dense2D<double>& field,
                   dense2D<double>& values, double unserved) const {
    if (!prepared_mesh::consistent(mesh_, table)) return -1;
    if (field.cols != (mesh_ ? mesh_->pos.cols : 0)) return -2;
    dense2D<double> fresh;
    if (!fresh.resize(field.rows, table.states.size, unserved)) return status_memory;
    if (mesh_) mesh_->carry(table, field.rows, columns_of(field), columns_of(fresh));
    values.swap(fresh);
    return status_ok;
}

int locator::carry(const transfer_table& table, const dense1D<double, 8>& field,
                   dense1D<double, 8>& values, double unserved) const {
    if (!prepared_mesh::consistent(mesh_, table)) return -1;
    if (field.size != (mesh_ ? mesh_->pos.cols : 0)) return -2;
    dense1D<double, 8> fresh;
    if (!fresh.resize(table.states.size, unserved)) return status_memory;
    if (mesh_) mesh_->carry(table, 1, {field.data(), 1}, {fresh.data(), 1});
    values.swap(fresh);
    return status_ok;
}

} // namespace zel::host
