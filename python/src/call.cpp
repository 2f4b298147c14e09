// SPDX-License-Identifier: Apache-2.0

// Statuses of the library as exceptions.
#include "call.h"

#include "zel/host/messages.h"

#include <cctype>
#include <string>

namespace tessel2d_python {

namespace {

constexpr int out_of_memory = -199;

/// The name as Python writes it: without parameters, "Locator.locate" for "locator::locate", and "distributed.merge".
std::string shown(const char* function) {
    std::string name = function;
    name = name.substr(0, name.find('('));
    const std::size_t at = name.find("::");
    if (at == name.npos) return name;
    name.replace(at, 2, ".");
    if (name.compare(0, at, "distributed") == 0) return name;
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return name;
}

[[noreturn]] void raise_named(const char* function, int status, const char* argument) {
    const std::string sentence = zel::host::explain(function, status);
    if (status == out_of_memory) {
        PyErr_SetString(PyExc_MemoryError, (shown(function) + ": " + sentence).c_str());
        throw py::error_already_set();
    }
    const py::object type = py::module_::import("tessel2d").attr("Error");
    const py::object name = *argument ? py::object(py::str(argument)) : py::none();
    PyErr_SetObject(type.ptr(), type(shown(function), status, name, sentence).ptr());
    throw py::error_already_set();
}

} // namespace

void raise(const char* function, int status, std::initializer_list<const char*> arguments) {
    const auto k = static_cast<std::size_t>(-static_cast<long>(status));
    raise_named(function, status, k <= arguments.size() ? arguments.begin()[k - 1] : "");
}

void raise_for(const char* function, int argument, const char* name) {
    raise_named(function, -argument, name);
}

} // namespace tessel2d_python
