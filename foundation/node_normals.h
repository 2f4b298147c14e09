// zel tessel2d: planar and surface mesh tools.
#pragma once

// Normals at nodes as weighted sums over the elements around them; one algorithm for lines in the
// plane and for surfaces in space.
#include "foundation/point.h"

#include <cmath>
#include <limits>

namespace zel::tessel2d {

/// Makes v a unit vector and returns its length. A vector whose squared length is 0 or 1 stays as it
/// is, and a zero vector stays zero.
template <int Dim>
inline double make_unit(point<Dim>& v) noexcept {
    const double q = squared_length<Dim>(v);
    if (q == 0 || q == 1) return q;
    const double length = std::sqrt(q);
    const double factor = 1 / length;
    for (double& component : v) component *= factor;
    return length;
}

/// The two powers that pick one element instead of weighting all.
constexpr double largest_element = std::numeric_limits<double>::max();
constexpr double smallest_element = -largest_element;

/// The weight of an element of the given size. Powers beyond the extremes, and NaN, weight all alike.
inline double element_weight(double size, double power) noexcept {
    if (!(smallest_element < power && power < largest_element) || power == 0) return 1.0;
    return power == 1 ? size : std::pow(size, power);
}

/// Sums the normals of all elements at their nodes.
///
/// `elements` has `count`, `operator[]` for the node numbers of an element, `corners` for how many they
/// are and `normal` for the element's vector, whose length is its size. `normals` holds a zero vector
/// per node, `weights` a zero.
///
/// An element that does not win in one of the extreme modes is added with weight 1 all the same.
template <int Dim, class Elements>
void sum_normals(const Elements& elements, double power, columns<double> normals,
                 double* weights) noexcept {
    for (std::size_t e = 0; e < elements.count; ++e) {
        const unsigned* const nodes = elements[e];
        point<Dim> v = elements.normal(nodes);
        const double size = make_unit<Dim>(v);
        const double weight = element_weight(size, power);
        const unsigned corners = elements.corners(nodes);
        for (unsigned k = 0; k < corners; ++k) {
            double* const normal = normals[nodes[k]];
            double& held = weights[nodes[k]];
            const bool wins = (power == largest_element && size > held) ||
                              (power == smallest_element && (size < held || held == 0));
            if (wins) {
                held = size;
                std::copy_n(v.begin(), Dim, normal);
            } else {
                held += weight;
                for (int i = 0; i < Dim; ++i) normal[i] += weight * v[static_cast<std::size_t>(i)];
            }
        }
    }
}

/// Makes the sums unit vectors, or divides them by the sums of the weights, once for each node; the
/// sums of the extreme modes stay as they are.
template <int Dim, class Elements>
void scale_normals(const Elements& elements, double power, bool unit, columns<double> normals,
                   double* weights) noexcept {
    if (power == largest_element || power == smallest_element) return;
    for (std::size_t e = 0; e < elements.count; ++e) {
        const unsigned* const nodes = elements[e];
        const unsigned corners = elements.corners(nodes);
        for (unsigned k = 0; k < corners; ++k) {
            double* const normal = normals[nodes[k]];
            double& held = weights[nodes[k]];
            if (held == 0) continue;
            point<Dim> v;
            std::copy_n(normal, Dim, v.begin());
            if (unit) {
                make_unit<Dim>(v);
            } else {
                const double factor = 1 / held;
                for (double& component : v) component *= factor;
            }
            std::copy_n(v.begin(), Dim, normal);
            held = 0;
        }
    }
}

} // namespace zel::tessel2d
