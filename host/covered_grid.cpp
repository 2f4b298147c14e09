// SPDX-License-Identifier: Apache-2.0
// Marks the cells that the elements of a planar mesh may touch.
//
// A walk finds an element where, for each of its edges, d(p), twice the area of the triangle of edge and point,
// is at least -t s: t is the tolerance, s twice the area of the element. Where these p can lie:
//
// 1. Let c be a point of the element with d(c) >= s/m for each edge, and let d(p) >= -f s. Then d(q) >= 0 holds
//    for each edge at q = c + (p - c)/(1 + m f), since d is linear. All around c the edges turn one way, so
//    the element is seen from c as a whole, and q lies within it. Hence p lies within the box of the
//    element, enlarged from c by 1 + m f: at most m f of its width and height beyond each side.
// 2. For a triangle c is the centroid, and m is 3. A quadrilateral is cut along a diagonal, and c is the middle of
//    it: for each edge d(c) is half of d of one of the two triangles, so m is 2 s divided by the smaller one. A
//    quadrilateral with two corners in one place is a triangle.
// 3. Rounding: a computed d(p) is off by less than 11 * 2^-53 r^2, where r is the distance to the farthest
//    corner. Let L be the sum of the mesh's width and height, D that of the element, s at least 64e-10 L D, and
//    p not farther than 64 L from any corner. Then d(p) is off by less than 1.3e-5 (r/D) s, and r is at most
//    2 D and what p lies outside. With t up to 1e-4 and m up to 4096 this leaves f < 1.4e-4; `slack` is larger.
//
// So the cells are marked that a box touches when it is enlarged by `slack` times m. A cell is found by steps that
// never decrease, rounding included, so no point within a box is in a cell that is not marked. Nothing is
// ruled out farther away, nor anywhere if an element has a smaller s, which may end a walk, or no such m.
//
// A box of up to 6 x 6 cells sets one bit, for its lower left cell, in the layer of its size. In the end each layer
// is spread into the next smaller one: its bits, and those to the right, above, and above to the right.
// Larger boxes are marked row by row.
//
// The numbers of cells follow from a sample of the boxes: 2.5 cells along each side on average, fewer if there
// were more than four cells per element, or rows of bits so long that writing them would take more than a few words
// per element. If marking does take more, the sample was not like the mesh, and all boxes are taken.
#include "host/covered_grid.h"

#include "foundation/cell_shapes.h"
#include "geometry/lanes.h"
#include "location/lookahead.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zel::host {

using namespace tessel2d;

namespace {

// Letters are those of the head of this file.
constexpr double slack = 2e-4;          // f
constexpr double triangle_spread = 3;   // m
constexpr double usual_spread = 16;     // of most quadrilaterals
constexpr double most_spread = 4096;    // and of any
constexpr double reach = 64;            // how far from a corner points are ruled out, in L
constexpr double flattest = 1e-10;      // s/D, in what is reached
constexpr double least_extent = 1e-100; // L: products do not vanish,
constexpr double most_extent = 1e100;   // nor overflow
constexpr double cells_per_box = 2.5;
constexpr double most_cells = 1 << 26;
constexpr unsigned layers = 6;
constexpr double margin = 2; // cells around the mesh, the outermost also for all points beyond
constexpr std::size_t sample = 256;
constexpr std::size_t writes_per_element = 16;

/// x, at least 1 and at most `most`; NaN gives 1.
double limited(double x, double most) noexcept {
    return x >= 1 ? std::min(x, most) : 1;
}

/// What counts of an element, or of four.
template <class Number>
struct region {
    vector_of<Number, 2> low; ///< of the bounding box
    vector_of<Number, 2> high;
    Number size;   ///< twice the area; NaN if a coordinate is
    Number spread; ///< m, or more than `most_spread`

    [[gnu::always_inline]] Number width() const noexcept { return high[0] - low[0]; }
    [[gnu::always_inline]] Number height() const noexcept { return high[1] - low[1]; }

    [[gnu::always_inline]] void set_box(const vector_of<Number, 2>& p0,
                                        const vector_of<Number, 2>& p1,
                                        const vector_of<Number, 2>& p2) noexcept {
        low = {smaller(smaller(p0[0], p1[0]), p2[0]), smaller(smaller(p0[1], p1[1]), p2[1])};
        high = {larger(larger(p0[0], p1[0]), p2[0]), larger(larger(p0[1], p1[1]), p2[1])};
    }
    [[gnu::always_inline]] void widen_box(const vector_of<Number, 2>& p) noexcept {
        low = {smaller(low[0], p[0]), smaller(low[1], p[1])};
        high = {larger(high[0], p[0]), larger(high[1], p[1])};
    }
};

template <class Number>
[[gnu::always_inline]] inline Number double_area(const vector_of<Number, 2>& a,
                                                 const vector_of<Number, 2>& b,
                                                 const vector_of<Number, 2>& c) noexcept {
    return cross(difference<2>(b, a), difference<2>(c, a));
}

/// The smaller one of the two triangles that a diagonal of a quadrilateral leaves, with the better diagonal.
template <class Number>
[[gnu::always_inline]] inline Number
smaller_half(const vector_of<Number, 2>& p0, const vector_of<Number, 2>& p1,
             const vector_of<Number, 2>& p2, const vector_of<Number, 2>& p3,
             const Number& size) noexcept {
    const Number at_1 = double_area(p0, p1, p2);
    const Number at_2 = double_area(p1, p2, p3);
    return larger(smaller(at_1, size - at_1), smaller(at_2, size - at_2));
}

bool is_one_place(const point<2>& a, const point<2>& b) noexcept {
    return a[0] == b[0] && a[1] == b[1];
}

/// m of a quadrilateral, or more than `most_spread`.
double quad_spread(const point<2> (&p)[4], double size) noexcept {
    const double half = smaller_half(p[0], p[1], p[2], p[3], size);
    if (half * usual_spread > 2 * size) return usual_spread;
    if (half * most_spread >= 2 * size) return 2 * size / half;
    for (unsigned i = 0; i < 4; ++i)
        if (is_one_place(p[i], p[(i + 1) % 4])) return triangle_spread;
    return 2 * most_spread;
}

template <class Shape>
region<double> region_of(const points_view<2>& pos, const unsigned* cell) noexcept {
    const point<2> p[3] = {pos[cell[0]], pos[cell[1]], pos[cell[2]]};
    region<double> r;
    r.set_box(p[0], p[1], p[2]);
    if (Shape::corners(cell) == 3) {
        r.size = double_area(p[0], p[1], p[2]);
        r.spread = triangle_spread;
        return r;
    }
    const point<2> q[4] = {p[0], p[1], p[2], pos[cell[3]]};
    r.widen_box(q[3]);
    r.size = cross(difference<2>(q[2], q[0]), difference<2>(q[3], q[1]));
    r.spread = quad_spread(q, r.size);
    return r;
}

void set_bit(unsigned* words, double bit) noexcept {
    const auto i = static_cast<std::int64_t>(bit);
    words[i / 32] |= 1U << (i % 32);
}

/// Sets the bits from one up to another.
void set_run(unsigned* words, std::size_t first, std::size_t last) noexcept {
    const unsigned from_first = ~0U << (first % 32);
    const unsigned to_last = ~0U >> (31 - last % 32);
    std::size_t i = first / 32;
    if (i == last / 32) {
        words[i] |= from_first & to_last;
        return;
    }
    words[i] |= from_first;
    while (++i < last / 32) words[i] = ~0U;
    words[i] |= to_last;
}

/// Sets the bit behind each that is set.
void spread_right(unsigned* words, std::size_t n) noexcept {
    unsigned before = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned word = words[i];
        words[i] = word | word << 1 | before >> 31;
        before = word;
    }
}

/// Sets each bit in `words` that is set in `layer`, and the one `length` bits behind it.
void spread_up(const unsigned* __restrict layer, unsigned* __restrict words, std::size_t n,
               std::size_t length) noexcept {
    const std::size_t whole = length / 32;
    const unsigned rest = length % 32;
    for (std::size_t i = 0; i < n; ++i) words[i] |= layer[i];
    if (whole < n) words[whole] |= layer[0] << rest;
    for (std::size_t i = whole + 1; i < n; ++i)
        words[i] |= layer[i - whole] << rest | layer[i - whole - 1] >> (31 - rest) >> 1;
}

/// The mesh that a grid is filled with.
struct meshed_region {
    points_view<2> pos;
    columns<const unsigned> elements;
    std::size_t count;
    point<2> low; ///< of the bounding box
    point<2> high;

    double length(std::size_t k) const noexcept { return high[k] - low[k]; }
    double extent() const noexcept { return length(0) + length(1); }
    bool is_within_bounds() const noexcept {
        return extent() >= least_extent && low[0] >= -most_extent && low[1] >= -most_extent &&
               high[0] <= most_extent && high[1] <= most_extent;
    }
    /// `Leading` is the leading dimension of the positions where it is known; 0 stands for any.
    template <class Shape, std::size_t Leading = 0>
    [[gnu::always_inline]] void prefetch_nodes(std::size_t e) const noexcept {
        const unsigned* const cell = elements[e];
        for (unsigned i = 0; i < Shape::corners(cell); ++i)
            prefetch(pos.first + cell[i] * (Leading == 0 ? pos.ld : Leading));
    }
};

// ----------------------------------------------------------------------------------------- the cells

struct grid_axes {
    grid_axis x;
    grid_axis y;

    double row_length() const noexcept { return x.last + 1; }
    std::size_t cells() const noexcept {
        return static_cast<std::size_t>(row_length() * (y.last + 1));
    }
};

/// Decides about the cells, from every `step`-th element.
template <class Shape>
grid_axes lay_out(const meshed_region& mesh, std::size_t step) noexcept {
    double widths = 0;
    double heights = 0;
    double areas = 0;
    double taken = 0;
    for (std::size_t e = 0; e < mesh.count; e += step) {
        const region<double> r = region_of<Shape>(mesh.pos, mesh.elements[e]);
        widths += r.width();
        heights += r.height();
        areas += r.width() * r.height();
        taken += 1;
    }
    const double boxes = mesh.length(0) / areas * mesh.length(1) * taken;
    const double most = std::min(limited(4 * static_cast<double>(mesh.count) + 64, most_cells),
                                 limited(64 * boxes, most_cells));
    const double across = limited(cells_per_box * taken * (mesh.length(0) / widths), most_cells);
    const double up = limited(cells_per_box * taken * (mesh.length(1) / heights), most_cells);
    const double share = std::min(1.0, std::sqrt(most / (across * up)));
    const double at_a_side = std::max(1.0, most / 8); // or the margins would be more than the rest
    const double columns = std::floor(limited(across * share, at_a_side));
    const double rows = std::floor(limited(up * share, std::min(most / columns, at_a_side)));
    const auto axis_of = [&mesh](std::size_t k, double cells) {
        const double beyond = (reach / 2 - 1) * mesh.extent();
        grid_axis a;
        a.low = mesh.low[k] - beyond;
        a.high = mesh.high[k] + beyond;
        a.scale = cells / mesh.length(k);
        a.origin = mesh.low[k] - margin / a.scale;
        a.last = cells + 2 * margin + (layers - 1);
        return a;
    };
    return {axis_of(0, columns), axis_of(1, rows)};
}

/// The cells that one element touches, or four.
template <class Number>
struct touched_cells {
    vector_of<Number, 2> first;
    vector_of<Number, 2> last;
};

template <class Number>
[[gnu::always_inline]] inline touched_cells<Number> cells_of(const grid_axes& axes,
                                                             const region<Number>& r) noexcept {
    const Number share = r.spread * Number(slack);
    const Number x = r.width() * share;
    const Number y = r.height() * share;
    return {{axes.x.cell_of(r.low[0] - x), axes.y.cell_of(r.low[1] - y)},
            {axes.x.cell_of(r.high[0] + x), axes.y.cell_of(r.high[1] + y)}};
}

/// Reads four elements from e on, in a mesh of which the positions have the leading dimension 2. Returns false
/// if one of them has fewer corners than others of the mesh, or an unusual spread.
template <class Shape>
ZEL_FOUR_LANES_INLINED bool read_four(const meshed_region& mesh, std::size_t e,
                                      region<lanes>& r) noexcept {
    unsigned n[Shape::rows][lane_count];
    for (std::size_t lane = 0; lane < lane_count; ++lane)
        for (std::size_t k = 0; k < Shape::rows; ++k) n[k][lane] = mesh.elements[e + lane][k];
    if constexpr (Shape::rows == 4)
        for (const unsigned node : n[3])
            if (node == no_node) return false;
    const vector_of<lanes, 2> p0 = load_nodes<2, 2>(mesh.pos, n[0]);
    const vector_of<lanes, 2> p1 = load_nodes<2, 2>(mesh.pos, n[1]);
    const vector_of<lanes, 2> p2 = load_nodes<2, 2>(mesh.pos, n[2]);
    r.set_box(p0, p1, p2);
    if constexpr (Shape::rows == 3) {
        r.size = double_area(p0, p1, p2);
        r.spread = lanes(triangle_spread);
        return true;
    } else {
        const vector_of<lanes, 2> p3 = load_nodes<2, 2>(mesh.pos, n[3]);
        r.widen_box(p3);
        r.size = cross(difference<2>(p2, p0), difference<2>(p3, p1));
        r.spread = lanes(usual_spread);
        const lanes least = r.size * lanes(2 / usual_spread);
        return none(!(smaller_half(p0, p1, p2, p3, r.size) > least));
    }
}

// ------------------------------------------------------------------------------------------ marking

/// The layers, while elements are marked in them.
struct marking {
    /// `unsound` stands for memory that is exhausted, too: no grid can be had.
    enum class outcome { done, unsound, too_many_writes };

    const meshed_region& mesh;
    const grid_axes& axes;
    unsigned* words;      ///< those of layer 0, behind them those of layer 1, and so on
    std::size_t in_layer; ///< words
    std::size_t left;     ///< words that may still be written

    double least_height() const noexcept { return flattest * reach * mesh.extent(); }
    double bits_of_layer() const noexcept { return static_cast<double>(in_layer * 32); }

    template <class Shape>
    outcome mark_all() noexcept;
    template <class Shape>
    outcome mark_one(std::size_t e) noexcept;
    template <class Shape>
    ZEL_FOUR_LANES std::size_t mark_by_four(std::size_t e) const noexcept;
    bool mark_rows(const touched_cells<double>& at) noexcept;
    void merge_layers() const noexcept;
};

/// Marks a box of any size row by row. Returns false if that is too much to write.
bool marking::mark_rows(const touched_cells<double>& at) noexcept {
    const auto row_length = static_cast<std::size_t>(axes.row_length());
    const auto first = static_cast<std::size_t>(at.first[0]);
    const auto last = static_cast<std::size_t>(at.last[0]);
    const auto bottom = static_cast<std::size_t>(at.first[1]);
    const auto top = static_cast<std::size_t>(at.last[1]);
    const std::size_t writes = ((last - first) / 32 + 2) * (top - bottom + 1);
    if (writes > left) return false;
    left -= writes;
    for (std::size_t y = bottom; y <= top; ++y)
        set_run(words, y * row_length + first, y * row_length + last);
    return true;
}

template <class Shape>
marking::outcome marking::mark_one(std::size_t e) noexcept {
    const region<double> r = region_of<Shape>(mesh.pos, mesh.elements[e]);
    if (!(r.size > least_height() * (r.width() + r.height())) || r.spread > most_spread)
        return outcome::unsound;
    const touched_cells<double> at = cells_of(axes, r);
    const double layer = std::max(at.last[0] - at.first[0], at.last[1] - at.first[1]);
    if (!(layer < layers)) return mark_rows(at) ? outcome::done : outcome::too_many_writes;
    set_bit(words, layer * bits_of_layer() + at.first[1] * axes.row_length() + at.first[0]);
    return outcome::done;
}

/// Marks elements from e on, four at a time, as long as there are four that have as many corners as the
/// connectivity has rows, no unusual spread, and fit the layers. Returns the first that is not marked.
template <class Shape>
ZEL_FOUR_LANES std::size_t marking::mark_by_four(std::size_t e) const noexcept {
    const meshed_region from = mesh;
    const grid_axes to = axes;
    const lanes least(least_height());
    const lanes bits_in_layer(bits_of_layer());
    const lanes bits_in_row(to.row_length());
    unsigned* const all_words = words;
    for (; from.count - e >= lane_count; e += lane_count) {
        if (from.count - e >= lookahead + lane_count)
            for (std::size_t i = 0; i < lane_count; ++i)
                from.prefetch_nodes<Shape, 2>(e + lookahead + i);
        region<lanes> r;
        if (!read_four<Shape>(from, e, r)) break;
        const touched_cells<lanes> at = cells_of(to, r);
        const lanes layer = larger(at.last[0] - at.first[0], at.last[1] - at.first[1]);
        const auto sound = r.size > least * (r.width() + r.height());
        if (!none(!both(sound, layer < lanes(layers)))) break;
        double bits[lane_count];
        store_lanes(layer * bits_in_layer + at.first[1] * bits_in_row + at.first[0], bits);
        for (const double bit : bits) set_bit(all_words, bit);
    }
    return e;
}

template <class Shape>
marking::outcome marking::mark_all() noexcept {
    const bool by_four = has_four_lanes() && mesh.pos.ld == 2;
    for (std::size_t e = 0; e < mesh.count;) {
        if (by_four) e = mark_by_four<Shape>(e);
        for (const std::size_t end = std::min(e + lane_count, mesh.count); e < end; ++e) {
            if (mesh.count - e > lookahead) mesh.prefetch_nodes<Shape>(e + lookahead);
            const outcome marked = mark_one<Shape>(e);
            if (marked != outcome::done) return marked;
        }
    }
    return outcome::done;
}

/// Spreads each layer into the next, down to layer 0.
void marking::merge_layers() const noexcept {
    for (std::size_t k = layers - 1; k > 0; --k) {
        unsigned* const layer = words + k * in_layer;
        spread_right(layer, in_layer);
        spread_up(layer, layer - in_layer, in_layer, static_cast<std::size_t>(axes.row_length()));
    }
}

/// Lays out the cells from every `step`-th element and marks them. `words` gets layer 0.
template <class Shape>
marking::outcome mark(const meshed_region& mesh, std::size_t step, grid_axes& axes,
                      dense1D<unsigned, 8>& words) noexcept {
    axes = lay_out<Shape>(mesh, step);
    const std::size_t in_layer = axes.cells() / 32 + 1;
    dense1D<unsigned, 8> marks;
    if (!words.resize(in_layer) || !marks.resize(layers * in_layer, 0))
        return marking::outcome::unsound;
    marking m{mesh, axes, marks.data(), in_layer, writes_per_element * mesh.count};
    const marking::outcome end = m.mark_all<Shape>();
    if (end != marking::outcome::done) return end;
    m.merge_layers();
    std::copy_n(marks.data(), in_layer, words.data());
    return end;
}

/// The same from a sample, or from all elements if need be. Returns false if no grid can be trusted.
template <class Shape>
bool mark(const meshed_region& mesh, grid_axes& axes, dense1D<unsigned, 8>& words) noexcept {
    auto end = mark<Shape>(mesh, mesh.count / sample + 1, axes, words);
    if (end == marking::outcome::too_many_writes) end = mark<Shape>(mesh, 1, axes, words);
    return end == marking::outcome::done;
}

} // namespace

void covered_grid::fill(const dense2D<double>& pos, const dense2D<unsigned>& connect,
                        const point<2>& low, const point<2>& high) noexcept {
    x_ = y_ = grid_axis();
    const meshed_region mesh{points_view<2>(pos), columns_of(connect), connect.cols, low, high};
    if (connect.empty() || !mesh.is_within_bounds()) return;
    grid_axes axes;
    const bool done = connect.rows == 3 ? mark<triangle_cells>(mesh, axes, words_)
                                        : mark<mixed_cells>(mesh, axes, words_);
    if (!done) return;
    x_ = axes.x;
    y_ = axes.y;
}

} // namespace zel::host
