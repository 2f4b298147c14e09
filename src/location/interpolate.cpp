// SPDX-License-Identifier: Apache-2.0
// Carries the columns of a field, or the entries of a list, onto orphans.
#include "zel/tessel2d/location.h"

#include "location/orphans.h"

namespace zel::tessel2d {

namespace {

/// Fills the columns of a field.
struct field_rule {
    static constexpr bool keep_valid = false;

    columns<double> field;
    std::size_t components;

    bool wants(unsigned) const noexcept { return true; }
    void in_element(unsigned node, const unsigned* cell, unsigned corners,
                    const point<2>& at) const noexcept {
        double* const to = field[node];
        const double* const f0 = field[cell[0]];
        const double* const f1 = field[cell[1]];
        const double* const f2 = field[cell[2]];
        if (corners == 3) {
            for (std::size_t i = 0; i < components; ++i)
                to[i] = triangle_value(f0[i], f1[i], f2[i], at);
        } else {
            const double* const f3 = field[cell[3]];
            for (std::size_t i = 0; i < components; ++i)
                to[i] = quad_value(f0[i], f1[i], f2[i], f3[i], at);
        }
    }
    void from_node(unsigned node, unsigned closest) const noexcept {
        std::copy_n(field[closest], components, field[node]);
    }
};

} // namespace

int interpolate(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                dense2D<double>& field, const dense1D<unsigned, 8>& nodes, element_type type) {
    if (nodes.empty()) return status_ok;
    if (const int status = check_located_mesh(pos, connect, neighbors, ancestors, type))
        return status;
    if (field.cols != pos.cols) return -5;
    if (!tessel::check_IDs(nodes, node_bound(pos))) return -6;
    dense2D<double> places = pos;
    if (!separate(places, field)) return status_ok; // out of memory
    carry_onto_orphans(places, connect, neighbors, ancestors, nodes, type,
                       field_rule{columns_of(field), field.rows});
    return status_ok;
}

int interpolate(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                const dense2D<unsigned>& neighbors, const dense1D<unsigned, 8>& ancestors,
                dense1D<double, 8>& field, const dense1D<unsigned, 8>& nodes, element_type type) {
    if (nodes.empty()) return status_ok;
    if (const int status = check_located_mesh(pos, connect, neighbors, ancestors, type))
        return status;
    if (field.size != pos.cols) return -5;
    if (!tessel::check_IDs(nodes, node_bound(pos))) return -6;
    dense2D<double> places = pos;
    if (!separate(places, field)) return status_ok;
    carry_onto_orphans(places, connect, neighbors, ancestors, nodes, type,
                       field_rule{{field.data(), 1}, 1});
    return status_ok;
}

} // namespace zel::tessel2d
