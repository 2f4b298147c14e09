// SPDX-License-Identifier: Apache-2.0
#include "support/bar_chart.h"

#include "support/require.h"
#include "support/svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zel::examples {

namespace {

/// A round step, 1, 2 or 5 times a power of ten, that divides `range` into at most five.
double round_step(double range) {
    const double power = std::pow(10.0, std::floor(std::log10(range / 5)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (range / (factor * power) <= 5) return factor * power;
    }
    return 10 * power;
}

std::string short_number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::size_t largest_count(const histogram& h) {
    return h.counts.empty() ? 0 : *std::max_element(h.counts.begin(), h.counts.end());
}

} // namespace

histogram count_values(const std::vector<double>& values, double first, double last,
                       std::size_t bars) {
    histogram h{first, (last - first) / static_cast<double>(bars),
                std::vector<std::size_t>(bars, 0)};
    for (const double value : values) {
        if (!(value >= first && value <= last)) continue;
        const auto bar = static_cast<std::size_t>((value - first) / h.step);
        ++h.counts[std::min(bar, bars - 1)];
    }
    return h;
}

void write_bar_chart(const std::filesystem::path& file, const histogram& h,
                     const chart_words& words, const std::vector<double>& marks, double width,
                     double height) {
    const double left = 58;
    const double right = width - 14;
    const double top = 14;
    const double foot = height - 46;
    const double span = h.step * static_cast<double>(h.counts.size());
    const double step_up = round_step(std::max(1.0, static_cast<double>(largest_count(h))));
    const double highest =
        step_up * std::ceil(std::max(1.0, static_cast<double>(largest_count(h))) / step_up);
    const auto across = [&](double value) {
        return left + (right - left) * (value - h.first) / span;
    };
    const auto upward = [&](double count) { return foot - (foot - top) * count / highest; };

    svg drawing(width, height, words.title);
    for (double count = 0; count <= highest; count += step_up) {
        drawing.polyline({{left, upward(count)}, {right, upward(count)}}, palette::grid, 1);
        drawing.text({left - 7, upward(count) + 4}, short_number(count), 11, palette::muted,
                     anchor::end);
    }
    const double wide = across(h.first + h.step) - left;
    for (std::size_t k = 0; k < h.counts.size(); ++k) {
        const double x = left + wide * static_cast<double>(k);
        const double y = upward(static_cast<double>(h.counts[k]));
        drawing.rectangle({x + 0.06 * wide, y}, 0.88 * wide, foot - y, palette::blue, "bar");
    }
    for (const double mark : marks) {
        drawing.polyline({{across(mark), top}, {across(mark), foot}}, palette::orange, 1.4, true);
    }
    drawing.polyline({{left, foot}, {right, foot}}, palette::ink, 1);
    for (double value = h.first; value <= h.first + span * (1 + 1e-9); value += words.tick) {
        drawing.polyline({{across(value), foot}, {across(value), foot + 4}}, palette::ink, 1);
        drawing.text({across(value), foot + 17}, short_number(value), 11, palette::muted);
    }
    drawing.text({(left + right) / 2, height - 9}, words.across, 12, palette::ink);
    drawing.text({15, (top + foot) / 2}, words.upward, 12, palette::ink, anchor::middle, true);
    drawing.write(file);
}

void print_histogram(const histogram& h, const std::string& unit) {
    constexpr std::size_t longest = 50;
    const std::size_t most = std::max<std::size_t>(1, largest_count(h));
    for (std::size_t k = 0; k < h.counts.size(); ++k) {
        const double from = h.first + h.step * static_cast<double>(k);
        const std::size_t length = (h.counts[k] * longest + most / 2) / most;
        const std::string bar = length == 0 ? "" : "  " + std::string(length, '#');
        std::printf("  %5g to %5g %s %7zu%s\n", from, from + h.step, unit.c_str(), h.counts[k],
                    bar.c_str());
    }
}

} // namespace zel::examples
