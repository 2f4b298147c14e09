// SPDX-License-Identifier: Apache-2.0
// The steps of the program: their names, arguments and what they do.
#pragma once

#include "zel/distributed/files.h"
#include "zel/distributed/mesh.h"

#include <string>
#include <vector>

namespace zel::distributed::program {

using word_list = std::vector<std::string>;

/// The mesh as it stands, and the fields that the last steps have put on it.
struct state {
    partitioned_mesh mesh;
    std::vector<field> node_fields, element_fields;
};

/// `run` returns nothing if all went well, else what went wrong, the same on all ranks.
struct step {
    const char* name;
    const char* arguments; ///< as the usage shows them, separated by blanks: M and N are counts
    const char* help;
    std::string (*run)(state&, const word_list&);
};

/// A step with its arguments, and both as they were given.
struct call {
    const step* what;
    word_list arguments;
    std::string text;
};

/// Takes words apart into calls; returns a complaint, or nothing.
std::string read_steps(const word_list& words, std::vector<call>& calls);
std::string usage();

} // namespace zel::distributed::program
