// SPDX-License-Identifier: Apache-2.0
#pragma once

// Kinds of elements by their names.
#include "zel/element_type.h"

#include <pybind11/pybind11.h>

namespace tessel2d_python {

/// "T3", "Q4", "FACE", ...; ValueError for a name that is none, TypeError for what is no name.
zel::element_type kind_of(pybind11::handle name);

} // namespace tessel2d_python
