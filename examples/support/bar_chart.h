// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/colours.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zel::examples {

/// How often values fall into intervals of equal width.
struct histogram {
    double first = 0;                ///< where the first interval begins
    double step = 1;                 ///< the width of each
    std::vector<std::size_t> counts; ///< one per interval
};

/// Counts values from `first` to `last` in `bars` intervals. A value on a limit belongs to the
/// interval above it, `last` to the last one; what lies outside, or is a NaN, is left out.
histogram count_values(const std::vector<double>& values, double first, double last,
                       std::size_t bars);

/// The words around a bar chart.
struct chart_words {
    std::string title;  ///< for those who cannot see it
    std::string across; ///< what is counted, with its unit
    std::string upward; ///< how it is counted
    double tick = 1;    ///< distance of the numbers under the bars
};

/// Writes a histogram as a picture, with a dashed mark at each of `marks`.
void write_bar_chart(const std::filesystem::path& file, const histogram& h,
                     const chart_words& words, const std::vector<double>& marks, double width,
                     double height);

/// Prints a histogram in lines of text, the limits with their unit.
void print_histogram(const histogram& h, const std::string& unit);

} // namespace zel::examples
