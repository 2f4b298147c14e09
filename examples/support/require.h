// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

/// What the example programs share: readers, writers, pictures. None of it belongs to the library.
namespace zel::examples {

/// Ends the work with `what` as its message, unless `condition` holds.
inline void require(bool condition, const std::string& what) {
    if (!condition) throw std::runtime_error(what);
}

/// Passes a status on. A negative one ends the work with a message that names the call: -k is the
/// k-th argument, -199 stands for exhausted memory.
inline int require(int status, const std::string& call) {
    if (status == -199) throw std::runtime_error(call + ": memory is exhausted");
    if (status < 0) {
        throw std::runtime_error(call + ": argument " + std::to_string(-status) + " is unusable");
    }
    return status;
}

} // namespace zel::examples
