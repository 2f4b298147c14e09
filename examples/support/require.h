// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/host/messages.h"

#include <stdexcept>
#include <string>

/// What the example programs share: readers, writers, pictures. None of it belongs to the library.
namespace zel::examples {

/// Ends the work with `what` as its message, unless `condition` holds.
inline void require(bool condition, const std::string& what) {
    if (!condition) throw std::runtime_error(what);
}

/// Passes a status on. A negative one ends the work with the sentence that the function's header has for it.
inline int require(int status, const std::string& function) {
    if (status < 0) {
        throw std::runtime_error(function + ": " + host::explain(function.c_str(), status));
    }
    return status;
}

} // namespace zel::examples
