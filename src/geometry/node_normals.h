// SPDX-License-Identifier: Apache-2.0
// Normals at nodes as weighted sums over the elements around them.
#pragma once

// One algorithm for lines in the plane and for surfaces in space.
//
// What is summed comes from `elements`, an object that knows the mesh. It has
//
//     has_gap(nodes)        an element with a gap adds to no node
//     corners(nodes)        how many of another element's nodes get its normal
//     for_each(visit)       calls visit(e, nodes, v, size) for every element in its order, where v is its
//                           vector made a unit vector and size the length that this had
#include "geometry/point.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::tessel2d {

// ----------------------------------------------------------------------------------------- weights

/// The two powers that pick one element instead of weighting all.
constexpr double largest_element = std::numeric_limits<double>::max();
constexpr double smallest_element = -largest_element;

inline bool picks_one_element(double power) noexcept {
    return power == largest_element || power == smallest_element;
}

/// All elements count alike: the power 0, NaN, and what lies beyond the extremes.
inline bool weighs_alike(double power) noexcept {
    return power == 0 || !(smallest_element <= power && power <= largest_element);
}

/// The weight of an element of the given size. In the extreme modes it is that of an element which is
/// not picked.
inline double element_weight(double size, double power) noexcept {
    if (weighs_alike(power) || picks_one_element(power)) return 1.0;
    return power == 1 ? size : std::pow(size, power);
}

// -------------------------------------------------------------------------------------------- sums

template <int Dim>
inline void add_scaled(double weight, const point<Dim>& v, double* normal) noexcept {
    for (int i = 0; i < Dim; ++i) normal[i] += weight * v[static_cast<std::size_t>(i)];
}

/// Sums the normals of all elements at their nodes. `normals` holds a zero vector per node, `weights` a
/// zero.
///
/// An element that does not win in one of the extreme modes is added with weight 1 all the same.
template <int Dim, class Elements>
void sum_normals(const Elements& elements, double power, columns<double> normals,
                 double* weights) noexcept {
    elements.for_each([&](std::size_t, const unsigned* nodes, const point<Dim>& v, double size) {
        if (Elements::has_gap(nodes)) return;
        const double weight = element_weight(size, power);
        const unsigned corners = Elements::corners(nodes);
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
                add_scaled<Dim>(weight, v, normal);
            }
        }
    });
}

/// Makes the sums unit vectors, or divides them by the sums of the weights. A node without weight keeps
/// its vector.
template <int Dim>
void scale_normals(std::size_t count, bool unit, columns<double> normals,
                   const double* weights) noexcept {
    for (std::size_t j = 0; j < count; ++j) {
        if (weights[j] == 0) continue;
        point<Dim> v;
        std::copy_n(normals[j], Dim, v.begin());
        if (unit) {
            make_unit<Dim>(v);
        } else {
            const double factor = 1 / weights[j];
            for (double& component : v) component *= factor;
        }
        std::copy_n(v.begin(), Dim, normals[j]);
    }
}

// ------------------------------------------------------------------------------- without weights

/// The unit vectors of the sums can do without the sums of the weights: a node whose weights sum up to
/// zero has a zero vector then, which stays what it is.
///
/// Other powers than 0 and 1 give no such promise: an infinite size has the weight 0 for a negative
/// power, and a vector of NaN.
inline bool needs_no_weights(double power, bool unit) noexcept {
    return unit && (weighs_alike(power) || power == 1);
}

/// Adds the unit normal of an element, or, if `BySize`, this times the size, to the sums at its nodes.
template <int Dim, bool BySize>
void add_direction(const point<Dim>& v, double size, const unsigned* nodes, unsigned corners,
                   columns<double> normals) noexcept {
    point<Dim> weighted = v;
    if (BySize)
        for (double& component : weighted) component *= size;
    for (unsigned k = 0; k < corners; ++k) {
        double* const normal = normals[nodes[k]];
        for (std::size_t i = 0; i < Dim; ++i) normal[i] += weighted[i];
    }
}

/// `sum_normals` where `needs_no_weights`.
template <int Dim, bool BySize, class Elements>
void sum_directions(const Elements& elements, columns<double> normals) noexcept {
    elements.for_each([&](std::size_t, const unsigned* nodes, const point<Dim>& v, double size) {
        if (Elements::has_gap(nodes)) return;
        add_direction<Dim, BySize>(v, size, nodes, Elements::corners(nodes), normals);
    });
}

/// Makes all vectors unit vectors, one by one.
template <int Dim>
void make_unit_columns(std::size_t count, columns<double> vectors) noexcept {
    for (std::size_t j = 0; j < count; ++j) {
        point<Dim> v;
        std::copy_n(vectors[j], Dim, v.begin());
        make_unit<Dim>(v);
        std::copy_n(v.begin(), Dim, vectors[j]);
    }
}

/// Sums and scales with the weights of the elements. `normals` has a zero vector for each of its
/// columns. Returns false if memory is exhausted.
template <int Dim, class Elements>
bool find_weighted_normals(const Elements& elements, double power, bool unit,
                           dense2D<double>& normals) noexcept {
    const auto out = columns_of(normals);
    dense1D<double, 8> weights;
    if (!weights.resize(normals.cols, 0.0)) return false;
    sum_normals<Dim>(elements, power, out, weights.data());
    if (!picks_one_element(power)) scale_normals<Dim>(normals.cols, unit, out, weights.data());
    return true;
}

/// Sums and scales. `normals` has a zero vector for each of its columns. Returns false if memory is exhausted.
template <int Dim, class Elements>
bool find_node_normals(const Elements& elements, double power, bool unit,
                       dense2D<double>& normals) noexcept {
    if (!needs_no_weights(power, unit))
        return find_weighted_normals<Dim>(elements, power, unit, normals);
    const auto out = columns_of(normals);
    if (power == 1) {
        sum_directions<Dim, true>(elements, out);
    } else {
        sum_directions<Dim, false>(elements, out);
    }
    make_unit_columns<Dim>(normals.cols, out);
    return true;
}

} // namespace zel::tessel2d
