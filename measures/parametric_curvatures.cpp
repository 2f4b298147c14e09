// zel tessel2d: planar and surface mesh tools.
//
// The second fundamental form from first derivatives: the derivatives of Su . n and Sv . n, where n is
// held fast at the node, are averaged over the triangles around it by the divergence theorem.
#include "foundation/node_normals.h"
#include "foundation/tessel.h"
#include "measures/kernels.h"
#include "zel/tessel2d/curvatures.h"

#include <algorithm>
#include <cmath>

namespace zel::tessel2d {

namespace {

/// A node while the triangles around it are summed: one line of the cache.
struct alignas(64) node_sums {
    point<3> normal; // of the surface, of length 1
    double area;     // doubled, in the parameter plane
    double uu, uv, vv;
};

struct derivatives {
    point<3> u;
    point<3> v;
};

derivatives derivatives_at(const double* column) noexcept {
    return {{column[0], column[1], column[2]}, {column[3], column[4], column[5]}};
}

void start_sums(const dense2D<double>& D, dense1D<node_sums, 8>& nodes) noexcept {
    const auto columns = columns_of(D);
    for (std::size_t i = 0; i < nodes.size; ++i) {
        const derivatives s = derivatives_at(columns[i]);
        nodes[i] = {cross(s.u, s.v), 0, 0, 0, 0};
        make_unit<3>(nodes[i].normal);
    }
}

point<3> sum(const point<3>& a, const point<3>& b) noexcept {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

/// Adds a triangle to the sums of its corner c, opposite the edge from a to b.
void add_corner(const point<2>& a, const point<2>& b, const point<2>& c, const derivatives& at_a,
                const derivatives& at_b, node_sums& to) noexcept {
    const point<2> w1 = difference<2>(a, c);
    const point<2> w2 = difference<2>(b, c);
    const double dv = w1[1] - w2[1];
    const double du = w2[0] - w1[0];
    const double determinant = dv * w1[0] + du * w1[1];
    if (determinant == 0) return;
    const double m = std::abs(w1[0] * w2[1] - w2[0] * w1[1]);
    const double s = m / determinant; // the orientation, up to rounding
    const double f = dot<3>(sum(at_a.u, at_b.u), to.normal) * s;
    const double g = dot<3>(sum(at_a.v, at_b.v), to.normal) * s;
    to.area += m;
    to.uu -= f * dv;
    to.vv -= g * du;
    to.uv -= (g * dv + f * du) * 0.5;
}

void add_triangles(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                   const dense2D<double>& D, node_sums* nodes) noexcept {
    const points_view<2> points(pos);
    const auto cells = columns_of(connect);
    const auto columns = columns_of(D);
    for (std::size_t e = 0; e < connect.cols; ++e) {
        const unsigned* const n = cells[e];
        const point<2> p[3] = {points[n[0]], points[n[1]], points[n[2]]};
        const derivatives s[3] = {derivatives_at(columns[n[0]]), derivatives_at(columns[n[1]]),
                                  derivatives_at(columns[n[2]])};
        add_corner(p[0], p[1], p[2], s[0], s[1], nodes[n[2]]);
        add_corner(p[1], p[2], p[0], s[1], s[2], nodes[n[0]]);
        add_corner(p[2], p[0], p[1], s[2], s[0], nodes[n[1]]);
    }
}

void write_means(const dense1D<node_sums, 8>& nodes, dense2D<double>& H) noexcept {
    const auto out = columns_of(H);
    for (std::size_t i = 0; i < nodes.size; ++i) {
        const node_sums& node = nodes[i];
        const double factor = node.area > 0 ? 1 / node.area : node.area;
        out[i][0] = node.uu * factor;
        out[i][1] = node.uv * factor;
        out[i][2] = node.vv * factor;
    }
}

} // namespace

int parametric_curvatures(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                          const dense2D<double>& D, dense2D<double>& H) {
    // Views of their own keep the inputs when `H` shares their block or is one of them.
    const dense2D<double> parameters = pos;
    const dense2D<double> slopes = D;
    H.clear();
    if (connect.empty()) return status_ok;
    if (parameters.rows != 2) return -1;
    if (!tessel::check_IDs(connect, ELEMENT_T3, node_bound(parameters))) return -2;
    if (slopes.rows != 6 || slopes.cols != parameters.cols) return -3;
    dense1D<node_sums, 8> nodes;
    if (!nodes.resize(parameters.cols) || !H.resize(3, parameters.cols)) return status_memory;
    start_sums(slopes, nodes);
    add_triangles(parameters, connect, slopes, nodes.data());
    write_means(nodes, H);
    return status_ok;
}

} // namespace zel::tessel2d
