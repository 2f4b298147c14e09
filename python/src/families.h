// SPDX-License-Identifier: Apache-2.0
#pragma once

// The functions of each family as members of the native module. The layer of Python above it has the
// signatures that users see; here all arguments are positional.
#include <pybind11/pybind11.h>

namespace tessel2d_python {

void add_generators(pybind11::module_& m);
void add_extrusion(pybind11::module_& m);
void add_normals(pybind11::module_& m);
void add_conversion(pybind11::module_& m);
void add_orientation(pybind11::module_& m);
void add_measures(pybind11::module_& m);
void add_location(pybind11::module_& m);
void add_host_tools(pybind11::module_& m);
void add_services(pybind11::module_& m);

} // namespace tessel2d_python
