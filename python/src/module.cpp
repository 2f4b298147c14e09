// SPDX-License-Identifier: Apache-2.0

// The native module of the Python package.
#include "families.h"

PYBIND11_MODULE(_native, m) {
    namespace families = tessel2d_python;
    m.doc() = "The functions of the library on arrays of numpy; to be used through tessel2d.";
    families::add_generators(m);
    families::add_extrusion(m);
    families::add_normals(m);
    families::add_conversion(m);
    families::add_orientation(m);
    families::add_measures(m);
    families::add_location(m);
    families::add_host_tools(m);
    families::add_services(m);
}
