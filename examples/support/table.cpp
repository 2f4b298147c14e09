// SPDX-License-Identifier: Apache-2.0
#include "support/table.h"

#include <algorithm>
#include <cstdio>

namespace zel::examples {

namespace {

/// How many characters a text in UTF-8 shows.
std::size_t shown(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

void print_row(const std::vector<std::string>& row, const std::vector<std::size_t>& widths) {
    std::string line = " ";
    for (std::size_t k = 0; k < row.size(); ++k) {
        const std::string gap(widths[k] - shown(row[k]), ' ');
        line += k == 0 ? ' ' + row[k] + gap : "  " + gap + row[k];
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::puts(line.c_str());
}

} // namespace

void print_table(const table& t) {
    std::vector<std::size_t> widths(t.head.size(), 0);
    const auto widen = [&](const std::vector<std::string>& row) {
        for (std::size_t k = 0; k < row.size(); ++k) widths[k] = std::max(widths[k], shown(row[k]));
    };
    widen(t.head);
    for (const auto& row : t.rows) widen(row);
    print_row(t.head, widths);
    for (const auto& row : t.rows) print_row(row, widths);
}

std::string fixed(double value, int digits) {
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    const std::string number(text);
    const bool zero = number.find_first_not_of("-0.") == std::string::npos;
    return zero && number[0] == '-' ? number.substr(1) : number;
}

std::string significant(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    return text;
}

std::string whole(std::size_t count) {
    return std::to_string(count);
}

std::string degrees(double radians) {
    return fixed(radians * 180 / 3.14159265358979323846, 1) + "°";
}

} // namespace zel::examples
