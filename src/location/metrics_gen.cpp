// SPDX-License-Identifier: Apache-2.0
// Makes anisotropic size tensors at the nodes of a triangulated surface from the lengths of its
// edges.
//
// Each triangle asks for the mean edge length of a node in its plane and for a given size along its
// normal; a node gets the intersection (`minimum_metric`) of the tensors of its triangles.
#include "foundation/call_frame.h"
#include "geometry/point.h"
#include "geometry/tangent_frame.h"
#include "geometry/triangles.h"
#include "metrics/blend.h"
#include "zel/tessel.h"
#include "zel/tessel2d/metrics.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

double distance(const double* a, const double* b, std::size_t rows) noexcept {
    double sum = 0;
    for (std::size_t i = 0; i < rows; ++i) sum += (b[i] - a[i]) * (b[i] - a[i]);
    return std::sqrt(sum);
}

/// The mean length of the edges at each node, where an edge counts once for each triangle that it
/// bounds; 0 at a node without an edge. Edges whose length is 0 or not finite do not count.
void mean_edge_lengths(const dense2D<double>& pos, const dense2D<unsigned>& connect, double* mean,
                       unsigned* count) noexcept {
    const columns<const double> points = columns_of(pos);
    const columns<const unsigned> cells = columns_of(connect);
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned* const cell = cells[e];
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned a = cell[k];
            const unsigned b = cell[(k + 1) % 3];
            const double length = distance(points[a], points[b], pos.rows);
            if (length == 0 || !std::isfinite(length)) continue;
            mean[a] += length;
            mean[b] += length;
            ++count[a];
            ++count[b];
        }
    }
    for (std::size_t node = 0; node < pos.cols; ++node)
        if (count[node] != 0) mean[node] = mean[node] / count[node];
}

/// The eigenvalue along the normal, from that in the tangent plane.
double normal_eigenvalue(double tangential, double normal_size) noexcept {
    if (normal_size == 0) return tangential;
    return (normal_size > 0 ? 1 : tangential) / (normal_size * normal_size);
}

/// The tensor with one eigenvalue in the plane of t1 and t2, and one along n.
tensor3 plane_tensor(double tangential, const point<3>& t1, const point<3>& t2, double along_normal,
                     const point<3>& n) noexcept {
    tensor3 m;
    for (std::size_t j = 0, at = 0; j < 3; ++j)
        for (std::size_t i = 0; i <= j; ++i, ++at)
            m[at] = tangential * t1[i] * t1[j] + tangential * t2[i] * t2[j] +
                    along_normal * n[i] * n[j];
    return m;
}

void divide_by_length(point<3>& a) noexcept {
    const double squared = squared_length<3>(a);
    if (squared == 0 || squared == 1) return;
    const double length = std::sqrt(squared);
    for (double& x : a) x /= length;
}

bool is_finite(const point<3>& a) noexcept {
    return std::isfinite(a[0]) && std::isfinite(a[1]) && std::isfinite(a[2]);
}

/// Intersects the tensors of all triangles in the columns of their nodes.
///
/// The first tangent of a triangle is the seed for that of the next. Any seed is valid, as the
/// tensor is the same all around the normal; a NaN would spread to all following triangles, so it
/// is replaced by zero.
void merge_tensors(const dense2D<double>& pos, const dense2D<unsigned>& connect, const double* mean,
                   double normal_size, const columns<double>& metrics) noexcept {
    const points_view<3> points(pos);
    const columns<const unsigned> cells = columns_of(connect);
    point<3> t1{0, 0, 0};
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned* const cell = cells[e];
        point<3> normal = triangle_normal(cell[0], cell[1], cell[2], points);
        divide_by_length(normal);
        point<3> t2;
        tangent_frame(normal, t1, t2);
        for (std::size_t k = 0; k < 3; ++k) {
            const double h = mean[cell[k]];
            // The remaining nodes get nothing from this triangle.
            if (!(h > 0) || !std::isfinite(h)) break;
            const double tangential = 1 / (h * h);
            const tensor3 asked = plane_tensor(tangential, t1, t2,
                                               normal_eigenvalue(tangential, normal_size), normal);
            double* const column = metrics[cell[k]];
            const tensor3 present = tensor_at<3>(column);
            tensor3 result = present; // stays if the two have no intersection
            tessel::minimum_metric(asked, present, result);
            std::copy(result.begin(), result.end(), column);
        }
        if (!is_finite(t1)) t1 = {0, 0, 0};
    }
}

} // namespace

int metrics_gen_aniso3d(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        double normal_size, dense2D<double>& metrics) {
    if (pos.rows < 3) return -1;
    if (connect.rows != 3) return -2;
    const unsigned largest = connect.empty() ? 0 : max_index(connect);
    if (largest >= pos.cols) return -2;
    if (!tessel::check_IDs(connect, ELEMENT_T3, node_bound(pos))) return -2;
    if (!metrics.empty() && metrics.rows != 6) return -4;
    dense2D<double> places = pos;
    dense1D<double, 8> mean;
    dense1D<unsigned, 8> count;
    const std::size_t nodes = std::max(std::size_t{largest} + 1, metrics.cols);
    if (!separate(places, metrics) || !mean.resize(pos.cols, 0.0) || !count.resize(pos.cols, 0U) ||
        !metrics.reserve(6, nodes, 1) || !metrics.resize(6, nodes, 0.0)) {
        return status_memory;
    }
    mean_edge_lengths(places, connect, mean.data(), count.data());
    merge_tensors(places, connect, mean.data(), normal_size, columns_of(metrics));
    return status_ok;
}

} // namespace zel::tessel2d
