// SPDX-License-Identifier: Apache-2.0
#pragma once

// Calls of the host tools that the tests repeat from Python.
#include "every_function/calls.h"

#include <vector>

namespace tessel2d_python {

std::vector<zel_test::every_function::call> host_calls();

} // namespace tessel2d_python
