// SPDX-License-Identifier: Apache-2.0
// The public search for the element that holds a point, with the node detector of a host.
#include "location/locate.h"

#include "zel/tessel.h"
#include "zel/tessel2d/location.h"

namespace zel::tessel2d {

namespace {

/// Searches with the detector of the host. Returns the status of the public function.
template <class Shape>
int locate_once(const located_mesh& mesh, const tessel::node_detector& detector, const point<2>& p,
                double tolerance, unsigned& element) noexcept {
    search_record record;
    switch (locate<Shape>(mesh, detector, p, tolerance, element, true, record)) {
    case outcome::found:
        return 1;
    case outcome::met_degenerate:
        return -1;
    default:
        return 0;
    }
}

} // namespace

int get_element_containing_point(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                                 const dense2D<unsigned>& neighbors,
                                 const dense1D<unsigned, 8>& ancestors,
                                 const tessel::node_detector& detector, element_type type,
                                 const vector_fixed<double, 2>& p, unsigned& element,
                                 double tolerance) {
    element = no_node;
    // `element` may be an entry of an input, which the search goes on reading.
    unsigned holder = no_node;
    if (const int status = check_located_mesh(pos, connect, neighbors, ancestors, type))
        return status;
    const located_mesh mesh(pos, connect, neighbors, ancestors);
    int status = 0;
    if (connect.rows == 3 && type == ELEMENT_T3) {
        status = locate_once<triangle_cells>(mesh, detector, p, tolerance, holder);
    } else if (connect.rows == 4 && type == ELEMENT_Q4) {
        status = locate_once<quad_cells>(mesh, detector, p, tolerance, holder);
    } else if (connect.rows == 4 && type == ELEMENT_FACE) {
        status = locate_once<mixed_cells>(mesh, detector, p, tolerance, holder);
    }
    element = holder;
    return status;
}

} // namespace zel::tessel2d
