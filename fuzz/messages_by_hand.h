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

/// The names of the rows, with their parameters.
inline const std::vector<std::string>& message_names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const message& m : zel_fuzz_table::rows) {
            const std::string parameters = m.parameters;
            all.push_back(
                without_blanks(m.name + (parameters.empty() ? "" : '(' + parameters + ')')));
        }
        return all;
    }();
    return names;
}

/// What is left of a name in front of which `zel` and one of three other namespaces may stand.
inline std::string short_name(std::string function) {
    function = without_blanks(function);
    if (function.rfind("zel::", 0) == 0) function.erase(0, 5);
    for (const std::string inner : {"tessel2d::", "host::", "tessel::"})
        if (function.rfind(inner, 0) == 0) return function.substr(inner.size());
    return function;
}

/// A name of the table, mostly behind some namespaces, now and then with blanks or other characters; or any text.
inline std::string function_name(input& in) {
    std::string text;
    if (in.one_in(8)) {
        for (unsigned n = in.below(32); n > 0; --n) text += static_cast<char>(1 + in.below(255));
        return text;
    }
    constexpr std::size_t count = sizeof zel_fuzz_table::rows / sizeof *zel_fuzz_table::rows;
    const unsigned low = in.byte();
    const message& m = zel_fuzz_table::rows[(low + 256 * in.byte()) % count];
    for (unsigned outer = in.below(4); outer > 0; --outer)
        text += in.one_of({"zel::", "tessel2d::", "host::", "tessel::", "zel::", "tessel1d::",
                           "distributed::", "::"});
    text += m.name;
    if (!in.one_in(4) && *m.parameters != '\0') text += '(' + std::string(m.parameters) + ')';
    for (unsigned changes = in.flag() ? in.below(4) : 0; changes > 0; --changes) {
        const std::size_t at = in.one_in(4) ? text.size() : in.byte() % (text.size() + 1);
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
    const std::string name = short_name(function);
    for (std::size_t i = 0; i < message_names().size(); ++i) {
        if (message_names()[i] != name) continue;
        const message& m = zel_fuzz_table::rows[i];
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
