// SPDX-License-Identifier: Apache-2.0
// Defines the version of the library.
#include "zel/tessel2d/version.h"

namespace zel::tessel2d {

char const* version() {
    return "5.5.0.0";
}

} // namespace zel::tessel2d
