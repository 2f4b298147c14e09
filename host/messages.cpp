// SPDX-License-Identifier: Apache-2.0
// Statuses in words: a table that scripts/make-messages takes from the comments of the headers.
#include "zel/host/messages.h"

#include <climits>
#include <initializer_list>

namespace zel::host {
namespace {

// Stands for all counts, 0 and above, of a function that returns one.
constexpr int any_count = INT_MAX;

/// What one function says of one status; `parameters` is empty where all overloads speak together.
struct row {
    const char* name;
    const char* parameters;
    int status;
    const char* sentence;
};

constexpr row table[] = {
#include "host/messages_table.inc"
};

const char* skip_blanks(const char* text) noexcept {
    while (*text == ' ') ++text;
    return text;
}

/// Moves `text` behind `words` if it begins with them, blanks aside.
bool take(const char*& text, const char* words) noexcept {
    const char* at = text;
    for (words = skip_blanks(words); *words != '\0'; words = skip_blanks(words + 1)) {
        at = skip_blanks(at);
        if (*at != *words) return false;
        ++at;
    }
    text = skip_blanks(at);
    return true;
}

/// Skips the namespaces that the table leaves out.
const char* without_namespace(const char* function) noexcept {
    take(function, "zel::");
    for (const char* inner : {"tessel2d::", "host::", "tessel::"})
        if (take(function, inner)) break;
    return function;
}

/// Whether `function` is the name of the row with its parameters, or without for rows that have none.
bool names(const row& r, const char* function) noexcept {
    if (!take(function, r.name)) return false;
    if (*r.parameters == '\0') return *function == '\0';
    return take(function, "(") && take(function, r.parameters) && take(function, ")") &&
           *function == '\0';
}

} // namespace

const char* explain(const char* function, int status) noexcept {
    bool known = false;
    const char* count = nullptr;
    const char* const name = without_namespace(function ? function : "");
    for (const row& r : table) {
        if (!names(r, name)) continue;
        known = true;
        if (r.status == status && status != any_count) return r.sentence;
        if (r.status == any_count && status >= 0) count = r.sentence;
    }
    if (count) return count;
    return known ? "The function has no such status." : "There is no such function.";
}

} // namespace zel::host
