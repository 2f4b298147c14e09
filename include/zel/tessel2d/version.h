// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/tessel2d/export.h"

namespace zel::tessel2d {

/// The version of the library, "5.5.0.0": the same constant text on every call, not to be freed.
/// @snippet examples/host.cpp host
ZEL_TESSEL2D_API char const* version();

} // namespace zel::tessel2d
