// SPDX-License-Identifier: Apache-2.0
#pragma once

// What statuses mean, looked up once more in the table of messages, in strings without blanks.
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include <climits>
#include <string>

namespace zel_fuzz_table {

// Names of the table.
constexpr int any_count = INT_MAX;

struct row {
    const char* name;
    const char* parameters;
    int status;
    const char* sentence;
};
constexpr row rows[] = {
#include "host/messages_table.inc"
};

} // namespace zel_fuzz_table

namespace zel_fuzz {

using message = zel_fuzz_table::row;

inline std::string without_blanks(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

/// The names by which a row is found: short, and with the namespaces in front that may be left out.
inline bool is_named(const message& m, std::string function) {
    function = without_blanks(function);
    std::string name = m.name;
    if (*m.parameters != '\0') name += '(' + std::string(m.parameters) + ')';
    name = without_blanks(name);
    for (const char* outer : {"", "zel::"})
        for (const char* inner : {"", "tessel2d::", "host::", "tessel::"})
            if (function == outer + (inner + name)) return true;
    return false;
}

/// A name of the table, now and then with a namespace, blanks, or another character; or any text.
inline std::string function_name(input& in) {
    std::string text;
    if (in.one_in(8)) {
        for (unsigned n = in.below(32); n > 0; --n) text += static_cast<char>(1 + in.below(255));
        return text;
    }
    constexpr std::size_t count = sizeof zel_fuzz_table::rows / sizeof *zel_fuzz_table::rows;
    const unsigned low = in.byte();
    const message& m = zel_fuzz_table::rows[(low + 256 * in.byte()) % count];
    if (in.one_in(4)) text += "zel::";
    if (in.one_in(4))
        text += in.one_of(
            {"tessel2d::", "host::", "tessel::", "tessel1d::", "distributed::", "zel::", "::"});
    text += m.name;
    if (!in.one_in(4) && *m.parameters != '\0') text += '(' + std::string(m.parameters) + ')';
    for (unsigned changes = in.one_in(4) ? in.below(4) : 0; changes > 0; --changes) {
        const std::size_t at = in.byte() % (text.size() + 1);
        const char what = in.one_of({' ', ' ', '(', ')', ',', ':', 'a', '\t', '\0'});
        if (in.flag()) {
            text.insert(at, 1, what);
        } else {
            text.resize(at);
        }
    }
    return text.c_str(); // what stands in front of a null
}

/// What `explain` has to say.
inline std::string explained(const std::string& function, int status) {
    const char* exact = nullptr;
    const char* count = nullptr;
    bool known = false;
    for (const message& m : zel_fuzz_table::rows) {
        if (!is_named(m, function)) continue;
        known = true;
        if (m.status == zel_fuzz_table::any_count) {
            if (status >= 0) count = m.sentence;
        } else if (m.status == status) {
            require(exact == nullptr, "a name has one sentence for a status");
            exact = m.sentence;
        }
    }
    if (exact) return exact;
    if (count) return count;
    return known ? "The function has no such status." : "There is no such function.";
}

} // namespace zel_fuzz
