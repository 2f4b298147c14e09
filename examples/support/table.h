// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zel::examples {

/// A table of measures: the first column names things, the others hold numbers.
struct table {
    std::vector<std::string> head;
    std::vector<std::vector<std::string>> rows;
};

/// Prints a table with its columns aligned.
void print_table(const table& t);

/// A number with so many digits behind the point; "-0.0" loses its sign.
std::string fixed(double value, int digits);
/// A number with so many significant digits.
std::string significant(double value, int digits);
std::string whole(std::size_t count);
/// An angle given in radians, in degrees with one digit behind the point.
std::string degrees(double radians);

} // namespace zel::examples
