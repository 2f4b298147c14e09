// SPDX-License-Identifier: Apache-2.0
// Fills the interior nodes of a structured patch with sizes or size tensors from its boundary.
//
// Each interior node lies on two lines of the grid. On each line the size is interpolated between
// its two ends, and the node gets the value halfway between the two. A node has no size unless all
// four ends have one.
#include "foundation/call_frame.h"
#include "generators/struct_patch.h"
#include "metrics/blend.h"
#include "zel/tessel.h"
#include "zel/tessel2d/generators.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

// ------------------------------------------------------------------------------------------- sizes

/// The size at t between two sides, where t is at least 2^-32 away from 0 and 1. It is 0, which
/// stands for no size, unless both sides have one.
double size_between(double from, double to, double t) noexcept {
    return from > 0 && to > 0 ? (to - from) * t + from : 0.0;
}

double share(std::size_t i, std::size_t n) noexcept {
    return static_cast<double>(i) / static_cast<double>(n);
}

void fill_sizes(const struct_patch& patch, double* sizes) noexcept {
    double* out = sizes + patch.first_new;
    for (std::size_t i = 1; i < patch.n1; ++i) {
        const double u = share(i, patch.n1);
        const double bottom = sizes[patch.bottom(i)];
        const double top = sizes[patch.top(i)];
        for (std::size_t j = 1; j < patch.n; ++j) {
            const double v = share(j, patch.n);
            const double across = size_between(sizes[patch.left(j)], sizes[patch.right(j)], u);
            const double up = size_between(bottom, top, v);
            *out++ = up > 0 && across > 0 ? (across - up) * 0.5 + up : 0.0;
        }
    }
}

// ----------------------------------------------------------------------------------------- tensors

// All nodes of a line of the grid share its two ends, so that one reduction per line suffices. The
// interior is filled in strips of this many lines across, whose reductions are kept on the stack.
constexpr std::size_t strip_width = 32;

template <std::size_t Order>
metric_segment<Order> line_between(const columns<double>& metrics, unsigned from,
                                   unsigned to) noexcept {
    return {tensor_at<Order>(metrics[from]), tensor_at<Order>(metrics[to])};
}

/// The tensor in the middle of the two lines through a node, written to `out` unless there is none.
template <std::size_t Order>
void fill_tensor(const metric_segment<Order>& up, double v, const metric_segment<Order>& across,
                 double u, double* out) noexcept {
    tensor<Order> m;
    tensor<Order> from_sides;
    if (!up.at(v, m) || !across.at(u, from_sides)) return;
    blend<Order>(m, from_sides, 0.5, m); // zero, as `out` is, if it fails
    std::copy_n(m.begin(), tensor_entries<Order>, out);
}

template <std::size_t Order>
void fill_tensors(const struct_patch& patch, const columns<double>& metrics) noexcept {
    metric_segment<Order> across[strip_width];
    for (std::size_t first_j = 1; first_j < patch.n; first_j += strip_width) {
        const std::size_t width = std::min(strip_width, patch.n - first_j);
        for (std::size_t t = 0; t < width; ++t)
            across[t] =
                line_between<Order>(metrics, patch.left(first_j + t), patch.right(first_j + t));
        for (std::size_t i = 1; i < patch.n1; ++i) {
            const auto up = line_between<Order>(metrics, patch.bottom(i), patch.top(i));
            const double u = share(i, patch.n1);
            for (std::size_t t = 0; t < width; ++t) {
                const std::size_t j = first_j + t;
                fill_tensor<Order>(up, share(j, patch.n), across[t], u,
                                   metrics[patch.interior(i, j)]);
            }
        }
    }
}

// ------------------------------------------------------------------------------------- call frame

/// Tests the loop and its length.
int check_loop(const dense1D<unsigned, 8>& boundary, std::size_t n, std::size_t n1,
               std::size_t first_new) noexcept {
    const std::size_t s = boundary.size;
    if (s < 5) return -1;
    if (boundary[0] != boundary[s - 1]) return -1;
    const std::size_t bound = std::min<std::size_t>(first_new, no_node - 1);
    if (!tessel::check_IDs(boundary, static_cast<unsigned>(bound))) return -1;
    if (2 * n > s) return -2;
    if ((n + n1) * 2 != s - 1) return -2;
    return status_ok;
}

/// Counts the nodes with the interior ones. A patch without cells along the bottom (n1 = 0) loses n
/// - 1 nodes. Returns false if there are too few or too many.
bool with_interior(std::size_t present, std::size_t n1, std::size_t n,
                   std::size_t& total) noexcept {
    if (n1 == 0) {
        total = present - (n - 1);
        return present >= n - 1;
    }
    std::size_t interior;
    return checked_multiply(n1 - 1, n - 1, interior) && node_total(present, interior, total);
}

/// The steps of both public functions: the tests, the growth of `metrics`, which has `present`
/// nodes, by grow(total), and the interpolation by fill(patch).
template <class Grow, class Fill>
int fill_interior(const dense1D<unsigned, 8>& boundary, std::size_t n, std::size_t present,
                  const Grow& grow, const Fill& fill) noexcept {
    if (n == 0 || boundary.empty()) return status_ok;
    const std::size_t n1 = (boundary.size - 2 * n - 1) / 2;
    if (const int status = check_loop(boundary, n, n1, present)) return status;
    std::size_t total;
    if (!with_interior(present, n1, n, total) || !grow(total)) return status_memory;
    if (n1 > 1 && n > 1) fill(struct_patch{boundary.data(), n1, n, present});
    return status_ok;
}

} // namespace

int metrics_struct(const dense1D<unsigned, 8>& boundary, unsigned n, dense1D<double, 8>& metrics) {
    return fill_interior(
        boundary, n, metrics.size,
        [&](std::size_t total) { return metrics.reserve(total, 1) && metrics.resize(total, 0.0); },
        [&](const struct_patch& patch) { fill_sizes(patch, metrics.data()); });
}

int metrics_struct(const dense1D<unsigned, 8>& boundary, unsigned n, dense2D<double>& metrics) {
    const std::size_t rows = metrics.rows;
    if (rows != 3 && rows != 6) return -3;
    return fill_interior(
        boundary, n, metrics.cols,
        [&](std::size_t total) {
            return metrics.reserve(rows, total, 1) && metrics.resize(rows, total, 0.0);
        },
        [&](const struct_patch& patch) {
            if (rows == 3) {
                fill_tensors<2>(patch, columns_of(metrics));
            } else {
                fill_tensors<3>(patch, columns_of(metrics));
            }
        });
}

} // namespace zel::tessel2d
