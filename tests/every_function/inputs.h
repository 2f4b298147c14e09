// SPDX-License-Identifier: Apache-2.0
#pragma once

// The inputs that all calls of the catalogue share: meshes of a few hundred elements with their
// adjacency, from fixed seeds. Nothing here is computed by the library, but for the search trees.
#include "support/meshes.h"
#include "zel/dense.h"
#include "zel/tessel.h"

#include <array>
#include <string>

namespace zel_test::every_function {

using coordinates = zel::dense2D<double>;
using connectivity = zel::dense2D<unsigned>;
using number_list = zel::dense1D<unsigned, 8>;
using value_list = zel::dense1D<double, 8>;
using vector2 = zel::vector_fixed<double, 2>;
using vector3 = zel::vector_fixed<double, 3>;
using tensor3 = zel::symmetric_fixed<double, 3>;

/// A mesh of triangles, quadrilaterals or both with what lies beside its elements.
struct shared_mesh {
    std::string name;
    zel::element_type type;
    coordinates pos;
    connectivity connect;
    connectivity neighbors;
    number_list ancestors;
};

/// A mesh to which nodes of no element have been appended, inside, on its border and outside, and fields
/// at all its nodes.
struct located_mesh {
    shared_mesh mesh;
    number_list orphans;
    coordinates field;    ///< 3 components
    coordinates tensors3; ///< 3 rows
    coordinates tensors6; ///< 6 rows
    value_list sizes;
    zel::tessel::node_detector detector;
};

/// Edges of a profile for sweeps.
struct shared_profile {
    std::string name;
    coordinates plane;
    coordinates space;
    connectivity edges;
};

struct shared_inputs {
    std::array<shared_mesh, 3> plane;       ///< triangles, quadrilaterals, both
    std::array<shared_mesh, 3> plane_views; ///< the same as views with start and leading dimension
    std::array<shared_mesh, 3> surface;     ///< a wavy surface in space
    std::array<shared_mesh, 3> surface_views;
    std::array<shared_mesh, 3>
        rough_plane; ///< coincident, huge, infinite nodes and ones that are NaN
    std::array<shared_mesh, 3> rough_surface;
    std::array<located_mesh, 3> located;
    std::array<shared_profile, 3> profiles;            ///< an open chain, a loop, a tangle
    coordinates vectors{};                             ///< one for each node of the surfaces
    coordinates derivatives{};                         ///< 6 rows, for `plane[0]`
    connectivity T6{}, Q8{}, Q9{}, mixed8{}, mixed9{}; ///< quadratic elements
    connectivity collapsed_Q4{}, collapsed_Q8{}, collapsed_Q9{};
    connectivity disordered{}; ///< `surface[2]` with elements turned over
    connectivity disordered_neighbors{};
    connectivity given_edges{};       ///< 3 rows: edges of the meshes with a node between
    connectivity given_edges_cubic{}; ///< 4 rows, with the first of two nodes
    connectivity hard_edges{};
    number_list loop{}; ///< the outline of a patch of 12 x 9 cells, numbers 0 to 41
    number_list view_of_loop{};
    coordinates outline_plane{}, outline_space{};
    value_list outline_sizes{};
    coordinates outline_tensors3{}, outline_tensors6{};
    coordinates crowd_plane{}, crowd_space{}; ///< nodes of which many coincide nearly
    connectivity crowd{};

    // Outputs on entry.
    connectivity none{}; ///< empty
    coordinates no_points{};
    number_list no_list{};
    value_list no_values{};
    connectivity edges_there{}, triangles_there{}, quads_there{}; ///< a few columns
    connectivity triangles_view{}, quads_view{};                  ///< the same as views
};

const shared_inputs& inputs();

} // namespace zel_test::every_function
