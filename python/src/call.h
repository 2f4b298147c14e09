// SPDX-License-Identifier: Apache-2.0
#pragma once

// A call of the library: without the interpreter lock, and with its status turned into an exception.
#include <pybind11/pybind11.h>

#include <initializer_list>

namespace tessel2d_python {

namespace py = pybind11;

/// Throws tessel2d.Error, or MemoryError for -199. `arguments` names the argument that status -1, -2, ...
/// complains of; "" where that is not a single one.
[[noreturn]] void raise(const char* function, int status,
                        std::initializer_list<const char*> arguments);

/// The same for one argument, told by its number.
[[noreturn]] void raise_for(const char* function, int argument, const char* name);

/// Runs `body`, which calls the library and returns its status.
template <class Body>
int run(const char* function, std::initializer_list<const char*> arguments, const Body& body) {
    int status;
    {
        const py::gil_scoped_release unlocked;
        status = body();
    }
    if (status < 0) raise(function, status, arguments);
    return status;
}

} // namespace tessel2d_python
