// SPDX-License-Identifier: Apache-2.0
#pragma once

// A catalogue of calls that covers every function of the library and of the services beside it. What is
// true of all functions is proved with it: equal bytes whichever compiler built the library, equal
// results on many threads at once, and what is promised when memory runs out.
#include "every_function/listener.h"
#include "every_function/outcome.h"
#include "every_function/signature.h"

#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace zel_test::every_function {

/// What is done directly before and directly behind a call, when its outputs are made and not yet read.
struct around {
    std::function<void()> before = [] {};
    std::function<void()> behind = [] {};
};

/// One call: a function, what is special about its arguments, and the call itself. `run` makes outputs
/// of its own and reads inputs that all calls share and none changes, so it may run on any number of
/// threads at once.
struct call {
    std::string function; ///< as in functions.txt
    std::string options;  ///< distinguishes the calls of one function
    std::function<outcome(const around&)> run;

    std::string name() const { return function + ": " + options; }
};

/// Runs a body on fresh copies of its outputs.
template <class Body, class... Outputs>
outcome run_on_copies(const around& at, const Body& body, const Outputs&... given) {
    std::tuple<Outputs...> own{fresh(given)...};
    return std::apply(
        [&](auto&... outputs) {
            outcome o;
            (o.before.push_back(part_of(outputs)), ...);
            at.before();
            o.status = static_cast<int>(body(outputs...));
            at.behind();
            (o.after.push_back(part_of(outputs)), ...);
            return o;
        },
        own);
}

/// The calls of one function, which `body` gets as its first argument, so that the overload is the one
/// that the name tells.
template <class Signature>
struct calls_of_function {
    std::vector<call>& calls;
    std::string name;
    Signature* function;

    /// `outputs` are what the outputs hold on entry.
    template <class Body, class... Outputs>
    const calls_of_function& with(std::string options, Body body, const Outputs&... outputs) const {
        const auto bound = [f = listened<Signature>{function}, body](auto&... own) {
            return body(f, own...);
        };
        calls.push_back({name, std::move(options),
                         [=](const around& at) { return run_on_copies(at, bound, outputs...); }});
        return *this;
    }
};
template <class Signature>
calls_of_function<Signature> calls_of(std::vector<call>& calls, const char* name,
                                      Signature* function) {
    return {calls, name + parameters_of(function), function};
}

/// The same for the members of a class, which share one line of functions.txt.
struct calls_of_class {
    std::vector<call>& calls;
    std::string name;

    template <class Body, class... Outputs>
    const calls_of_class& with(std::string options, Body body, const Outputs&... outputs) const {
        calls.push_back({name, std::move(options),
                         [=](const around& at) { return run_on_copies(at, body, outputs...); }});
        return *this;
    }
};

void add_foundation_calls(std::vector<call>& calls);
void add_service_calls(std::vector<call>& calls);
void add_generator_calls(std::vector<call>& calls);
void add_extrusion_calls(std::vector<call>& calls);
void add_normal_calls(std::vector<call>& calls);
void add_conversion_calls(std::vector<call>& calls);
void add_measure_calls(std::vector<call>& calls);
void add_location_calls(std::vector<call>& calls);

/// The catalogue; made at the first use, together with the inputs.
const std::vector<call>& all_calls();

} // namespace zel_test::every_function
