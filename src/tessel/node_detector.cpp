// zel tessel2d: planar and surface mesh tools.
#include "foundation/call_frame.h"
#include "tessel/exact_sum.h"
#include "zel/tessel.h"

#include <cmath>
#include <cstring>
#include <limits>

// A grid of equal cells lies over the box of the nodes, and the nodes are sorted by cell, so that those
// of neighbouring cells of a row stand side by side. The nodes of a crowded cell have a grid of their
// own over their box, and so on: clusters cost no more than even nodes. A grid that is mostly empty gets
// larger cells, so that a search does not walk through empty ones.
//
// Where a grid does not part the nodes, because most of them lie in one cell or because its sizes are
// out of the range of numbers, they are cut into halves of equal count. This bounds the depth.

namespace zel::tessel {

using namespace tessel2d;

namespace {

constexpr std::size_t leaf_size = 24;  // nodes that are looked through one by one
constexpr double nodes_per_cell = 2.5; // of a grid over even nodes
constexpr std::size_t few_cells = 16;  // a grid has as many at least, even if they are mostly empty

using held_node = vector_fixed<double, 3>;    // coordinates and number
using kept_branch = vector_fixed<double, 10>; // a branch as it is stored

/// The nodes [first, last) of the sorted ones.
struct node_run {
    std::size_t first;
    std::size_t last;

    std::size_t count() const noexcept { return last - first; }
    bool crowded() const noexcept { return count() > leaf_size; }
};

/// How a crowded run is divided.
struct branch {
    double low[2]; ///< the box of the nodes
    double high[2];
    double per_length[2]; ///< grid: cells in a unit of length. Cut: the place and the direction
    double cells[2];      ///< grid: their counts. Else 0
    double begins;        ///< grid: where the list of numbers tells the first node of each cell
    double children; ///< grid: where it tells their branches, 0 if none is crowded. Cut: the first
                     ///< of the two branches

    bool is_point() const noexcept { return low[0] == high[0] && low[1] == high[1]; }
    bool is_grid() const noexcept { return cells[0] > 0; }
    std::size_t across() const noexcept { return static_cast<std::size_t>(cells[0]); }
    std::size_t up() const noexcept { return static_cast<std::size_t>(cells[1]); }
    std::size_t first_begin() const noexcept { return static_cast<std::size_t>(begins); }
    std::size_t first_child() const noexcept { return static_cast<std::size_t>(children); }

    std::size_t cell_along(std::size_t i, double x) const noexcept {
        const double at = (x - low[i]) * per_length[i];
        return at > 0 ? static_cast<std::size_t>(std::min(at, cells[i] - 1)) : 0;
    }
    std::size_t cell_at(const double* p) const noexcept {
        return cell_along(1, p[1]) * across() + cell_along(0, p[0]);
    }
    std::size_t cut_direction() const noexcept { return static_cast<std::size_t>(per_length[1]); }
    double cut_place() const noexcept { return per_length[0]; }
};
static_assert(sizeof(branch) == sizeof(kept_branch));

// ------------------------------------------------------------------------------------ construction

/// Adds elements to a list whose memory at least doubles. False: memory is exhausted.
template <class T>
bool add_to(dense1D<T, 8>& list, std::size_t more) noexcept {
    const std::size_t size = list.size + more;
    if (!list.reserve(size, 2)) return false;
    list.resize(size);
    return true;
}

void include(branch& box, const double* p) noexcept {
    for (std::size_t i = 0; i < 2; ++i) {
        box.low[i] = std::min(box.low[i], p[i]);
        box.high[i] = std::max(box.high[i], p[i]);
    }
}

constexpr branch empty_box() noexcept {
    constexpr double most = std::numeric_limits<double>::max();
    return {{most, most}, {-most, -most}, {0, 0}, {0, 0}, 0, 0};
}

/// Lays a grid of cells over the box that are as square as may be, one for every two nodes. False: the
/// sizes are out of the range of numbers.
bool lay_grid(branch& b, std::size_t count) noexcept {
    const double wanted = std::max(static_cast<double>(count) / nodes_per_cell, 1.0);
    const double width = b.high[0] - b.low[0];
    const double height = b.high[1] - b.low[1];
    const double across = std::floor(std::clamp(std::sqrt(wanted * (width / height)), 1.0, wanted));
    const double cells[2] = {across, std::floor(wanted / across)};
    for (std::size_t i = 0; i < 2; ++i) {
        const double extent = b.high[i] - b.low[i];
        b.per_length[i] = extent > 0 ? cells[i] / extent : 1;
        if (!(b.per_length[i] > 1e-290 && b.per_length[i] < 1e290)) return false;
    }
    b.cells[0] = cells[0];
    b.cells[1] = cells[1];
    return true;
}

/// Joins cells, two by two in each direction, while most are empty. The node counts follow.
void make_coarser(branch& b, unsigned* counts) noexcept {
    for (;;) {
        const std::size_t across = b.across();
        const std::size_t up = b.up();
        const std::size_t cells = across * up;
        const auto empty = static_cast<std::size_t>(std::count(counts, counts + cells, 0U));
        if (cells <= few_cells || 8 * (cells - empty) >= cells) return;
        const std::size_t half_across = (across + 1) / 2;
        const std::size_t half_up = (up + 1) / 2;
        // A sum is written where all counts have been taken from.
        for (std::size_t j = 0; j < half_up; ++j)
            for (std::size_t i = 0; i < half_across; ++i) {
                unsigned sum = 0;
                for (std::size_t y = 2 * j; y < std::min(2 * j + 2, up); ++y)
                    for (std::size_t x = 2 * i; x < std::min(2 * i + 2, across); ++x)
                        sum += counts[y * across + x];
                counts[j * half_across + i] = sum;
            }
        b.cells[0] = static_cast<double>(half_across);
        b.cells[1] = static_cast<double>(half_up);
        for (double& scale : b.per_length) scale /= 2;
    }
}

bool before(const held_node& a, const held_node& b, std::size_t direction) noexcept {
    return a[direction] != b[direction] ? a[direction] < b[direction] : a[2] < b[2];
}

struct detector_maker {
    dense1D<held_node, 8>& nodes;
    dense1D<unsigned, 8>& numbers;
    dense1D<kept_branch, 8>& branches;
    dense1D<held_node, 8> given; // the nodes of the run that is being sorted, in their former order
    dense1D<unsigned, 8> cell_of;

    // All of these answer false when memory is exhausted.

    bool make(const dense2D<double>& pos) noexcept {
        if (!given.resize(pos.cols)) return false;
        branch box = empty_box();
        std::size_t count = 0;
        const columns<const double> points = columns_of(pos);
        for (std::size_t i = 0; i < pos.cols; ++i) {
            const double* const p = points[i];
            if (!std::isfinite(p[0]) || !std::isfinite(p[1])) continue;
            given[count++] = {p[0], p[1], static_cast<double>(i)};
            include(box, p);
        }
        if (!nodes.resize(count)) return false;
        const node_run all{0, count};
        if (all.crowded())
            return cell_of.resize(count) && add_to(branches, 1) && divide(all, box, 0, true);
        std::copy_n(given.begin(), count, nodes.begin());
        return true;
    }

    void store(const branch& b, std::size_t index) noexcept {
        std::memcpy(branches[index].begin(), &b, sizeof b);
    }

    /// Divides a crowded run, which stands in `given`.
    bool divide(const node_run& run, branch& b, std::size_t index, bool by_grid) noexcept {
        if (!b.is_point() && by_grid && lay_grid(b, run.count()))
            return divide_by_grid(run, b, index);
        std::copy_n(given.begin(), run.count(), &nodes[run.first]);
        if (!b.is_point()) return cut(run, b, index);
        store(b, index); // the nodes are in ascending order
        return true;
    }

    /// Divides the runs that stand at `run`, in order of their numbers, again.
    bool divide_again(const node_run& run, std::size_t index, bool by_grid) noexcept {
        branch box = empty_box();
        for (std::size_t k = run.first; k < run.last; ++k) include(box, nodes[k].begin());
        std::copy_n(&nodes[run.first], run.count(), given.begin());
        return divide(run, box, index, by_grid);
    }

    bool divide_by_grid(const node_run& run, branch& b, std::size_t index) noexcept {
        const std::size_t begins = numbers.size;
        const std::size_t most_cells = b.across() * b.up();
        if (!add_to(numbers, most_cells + 1)) return false;
        unsigned* const counts = &numbers[begins];
        std::fill_n(counts, most_cells, 0U);
        for (std::size_t k = 0; k < run.count(); ++k) {
            cell_of[k] = static_cast<unsigned>(b.cell_at(given[k].begin()));
            ++counts[cell_of[k]];
        }
        make_coarser(b, counts);
        const std::size_t cells = b.across() * b.up();
        if (cells != most_cells) {
            numbers.resize(begins + cells + 1);
            for (std::size_t k = 0; k < run.count(); ++k)
                cell_of[k] = static_cast<unsigned>(b.cell_at(given[k].begin()));
        }
        std::size_t begin = run.first;
        for (std::size_t c = 0; c < cells; ++c)
            begin += std::exchange(counts[c], static_cast<unsigned>(begin));
        for (std::size_t k = 0; k < run.count(); ++k) nodes[counts[cell_of[k]]++] = given[k];
        std::copy_backward(counts, counts + cells, counts + cells + 1);
        counts[0] = static_cast<unsigned>(run.first);
        b.begins = static_cast<double>(begins);
        return divide_cells(run.count(), b, cells, index);
    }

    node_run cell(std::size_t begins, std::size_t c) const noexcept {
        return {numbers[begins + c], numbers[begins + c + 1]};
    }

    bool divide_cells(std::size_t count, branch& b, std::size_t cells, std::size_t index) noexcept {
        const std::size_t begins = b.first_begin();
        std::size_t crowded = 0;
        for (std::size_t c = 0; c < cells; ++c) crowded += cell(begins, c).crowded();
        if (crowded > 0) b.children = static_cast<double>(numbers.size);
        store(b, index);
        if (crowded == 0) return true;
        std::size_t child = branches.size;
        if (!add_to(numbers, cells) || !add_to(branches, crowded)) return false;
        for (std::size_t c = 0; c < cells; ++c) {
            const node_run run = cell(begins, c);
            if (!run.crowded()) continue;
            numbers[b.first_child() + c] = static_cast<unsigned>(child);
            if (!divide_again(run, child++, run.count() <= count / 4 * 3)) return false;
        }
        return true;
    }

    /// Halves a run across the longer side of its box. To the left are coordinates not above the cut, to
    /// the right none below it.
    bool cut(const node_run& run, branch& b, std::size_t index) noexcept {
        const double width = b.high[0] / 2 - b.low[0] / 2; // halved: the difference may overflow
        const double height = b.high[1] / 2 - b.low[1] / 2;
        const std::size_t direction = height > width || b.low[0] == b.high[0] ? 1 : 0;
        const std::size_t middle = run.first + run.count() / 2;
        held_node* const all = nodes.begin();
        std::nth_element(all + run.first, all + middle, all + run.last,
                         [direction](const held_node& x, const held_node& y) {
                             return before(x, y, direction);
                         });
        b.per_length[0] = nodes[middle][direction];
        b.per_length[1] = static_cast<double>(direction);
        b.begins = static_cast<double>(middle);
        b.children = static_cast<double>(branches.size);
        b.cells[0] = 0;
        store(b, index);
        const std::size_t child = branches.size;
        if (!add_to(branches, 2)) return false;
        const held_node pivot = nodes[middle];
        std::size_t next[2] = {run.first, middle};
        for (std::size_t k = 0; k < run.count(); ++k) // in order of their numbers again
            nodes[next[before(given[k], pivot, direction) ? 0 : 1]++] = given[k];
        const node_run halves[2] = {{run.first, middle}, {middle, run.last}};
        for (std::size_t h = 0; h < 2; ++h)
            if (halves[h].crowded() && !divide_again(halves[h], child + h, true)) return false;
        return true;
    }
};

// ------------------------------------------------------------------------------------------ search

/// Units of length in which squares of distances neither overflow nor vanish. Coordinates are multiplied
/// by `shrink` and their differences by `enlarge`. A search ends as soon as it meets a square below `least`
/// or above `most`, which is for other units to tell. `lost` is more than what underflow takes from a sum
/// of products of differences.
struct plain_distance {
    static constexpr double shrink = 1;
    static constexpr double enlarge = 1;
    static constexpr double least = 1e-280;
    static constexpr double most = 1e300;
    static constexpr double lost = 1e-300;
};
struct large_distance {
    static constexpr double shrink = 0x1p-540;
    static constexpr double enlarge = 1;
    static constexpr double least = plain_distance::least;
    static constexpr double most = std::numeric_limits<double>::infinity();
    static constexpr double lost = 1e-170; // coordinates up to 2^484 lose up to 2^-1075
};
struct small_distance {
    static constexpr double shrink = 1;
    static constexpr double enlarge = 0x1p700;
    static constexpr double least = 0;
    static constexpr double most = std::numeric_limits<double>::infinity();
    static constexpr double lost = 0;
};

template <class Distance>
double difference(double a, double b) noexcept {
    return (a * Distance::shrink - b * Distance::shrink) * Distance::enlarge;
}

double square(double d) noexcept {
    return d * d;
}

/// The square of a least distance. It is 0 only for 0, so that a node at the point itself, with the square 0,
/// ends the search in any units.
double bound(double d) noexcept {
    return d != 0 ? std::max(d * d, std::numeric_limits<double>::denorm_min()) : 0;
}

/// What the rounding of two squares of distances can hide: nodes within it are compared otherwise.
constexpr double rounding = 0x1p-49;

struct candidate {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    std::size_t place = none; ///< among the sorted nodes
    double square = std::numeric_limits<double>::infinity();
    double limit = std::numeric_limits<double>::infinity(); ///< what is above is farther away

    /// The nodes are so near or so far that other units are needed; the search is over.
    bool out_of_range() const noexcept { return limit < 0; }
};

struct detector_view {
    const held_node* nodes;
    const unsigned* numbers;
    const kept_branch* branches;
    std::size_t count;

    branch branch_at(std::size_t index) const noexcept {
        branch b;
        std::memcpy(&b, branches[index].begin(), sizeof b);
        return b;
    }
};

/// Where a search stands along one side of a grid: cells `from` to `to` have been visited. The places
/// of the borders are a little uncertain, and so are the ways to them.
template <class Distance>
struct window {
    std::size_t from;
    std::size_t to;
    std::size_t last;
    // Not enlarged: cells may be too large for that.
    double at;   ///< of the point, from the low side of the box
    double size; ///< of a cell
    double uncertain;
    double away; ///< square of the distance from the box, along this side, in units of the search

    window(const branch& b, std::size_t i, double x) noexcept
        : from(b.cell_along(i, x)),
          to(from),
          last(static_cast<std::size_t>(b.cells[i]) - 1),
          at(x * Distance::shrink - b.low[i] * Distance::shrink),
          size(1 / b.per_length[i] * Distance::shrink),
          uncertain((std::fabs(at) + size * b.cells[i]) * 0x1p-48),
          away(0) {
        if (x < b.low[i]) away = bound(at * Distance::enlarge);
        if (x > b.high[i]) away = bound(difference<Distance>(x, b.high[i]));
    }
    void widen() noexcept {
        from -= from > 0;
        to += to < last;
    }
    /// Squares of the least distance, along this side, of what lies beyond. NaN counts as near.
    double below() const noexcept {
        return bound_of(at - static_cast<double>(from) * size - uncertain);
    }
    double above() const noexcept {
        return bound_of(static_cast<double>(to + 1) * size - at - uncertain);
    }

private:
    static double bound_of(double way) noexcept {
        return bound(std::max(0.0, way) * Distance::enlarge);
    }
};

template <class Distance>
struct closest_search {
    const detector_view& view;
    const vector_fixed<double, 2>& p;
    candidate best{};

    /// Of two nodes almost equally near, tells whether `other` is nearer than the one that is held, or
    /// as near and of the lower number. |p-a|^2 - |p-b|^2 = (b-a)(2p-a-b) keeps the digits that the
    /// squares lose far away from the nodes; if it is small against its terms, it is summed exactly.
    bool wins_close_call(const held_node& other) const noexcept {
        const held_node& held = view.nodes[best.place];
        if (other[0] == held[0] && other[1] == held[1]) return other[2] < held[2];
        double excess = 0; // of the square that is held
        double size = 0;
        for (std::size_t i = 0; i < 2; ++i) {
            const double across = difference<Distance>(other[i], held[i]);
            const double from_held = difference<Distance>(p[i], held[i]);
            const double from_other = difference<Distance>(p[i], other[i]);
            excess += across * (from_held + from_other);
            size += std::fabs(across) * (std::fabs(from_held) + std::fabs(from_other));
        }
        if (std::fabs(excess) > size * rounding + Distance::lost) return excess > 0;
        const int sign = sign_of_excess(held, other);
        return sign > 0 || (sign == 0 && other[2] < held[2]);
    }

    /// The sign of |p-a|^2 - |p-b|^2, which is the sum of 2pb - bb - 2pa + aa over both coordinates.
    int sign_of_excess(const held_node& a, const held_node& b) const noexcept {
        exact_sum sum;
        for (std::size_t i = 0; i < 2; ++i) {
            if (a[i] == b[i]) continue;
            sum.add_product(p[i], b[i], 1);
            sum.add_product(-b[i], b[i]);
            sum.add_product(-p[i], a[i], 1);
            sum.add_product(a[i], a[i]);
        }
        return sum.sign();
    }

    double square_to(const held_node& node) const noexcept {
        return square(difference<Distance>(p[0], node[0])) +
               square(difference<Distance>(p[1], node[1]));
    }

    /// Offers the nodes one by one, with care for those that are almost equally near.
    void look_closely(const node_run& run) noexcept {
        for (std::size_t k = run.first; k < run.last; ++k) {
            const double d = square_to(view.nodes[k]);
            if (d > best.limit) continue;
            if (best.place == candidate::none || d < best.square * (1 - rounding) ||
                wins_close_call(view.nodes[k])) {
                best = {k, d, d * (1 + rounding)};
            }
        }
    }

    /// Finds the least and the second least square without branches that depend on them. Only if the two
    /// are almost equal are the nodes looked at closely.
    template <std::size_t N>
    void look_through(const node_run (&runs)[N]) noexcept {
        std::size_t nodes = 0;
        for (const node_run& run : runs) nodes += run.count();
        if (nodes == 0 || best.out_of_range()) return;
        std::size_t place = best.place;
        double least = best.square;
        double second = std::numeric_limits<double>::infinity();
        for (const node_run& run : runs)
            for (std::size_t k = run.first; k < run.last; ++k) {
                const double d = square_to(view.nodes[k]);
                const double larger = d > least ? d : least;
                second = larger < second ? larger : second;
                place = d < least ? k : place;
                least = d < least ? d : least;
            }
        const double limit = least * (1 + rounding);
        if (least > Distance::most || (least < Distance::least && !is_at(place))) {
            best = {place, least, -1};
        } else if (second > limit) {
            best = {place, least, limit};
        } else {
            for (const node_run& run : runs) look_closely(run);
        }
    }
    /// A node at the point itself is the nearest in any units; only another one there may have a lower
    /// number.
    bool is_at(std::size_t place) const noexcept {
        return view.nodes[place][0] == p[0] && view.nodes[place][1] == p[1];
    }
    void look_through(const node_run& run) noexcept {
        const node_run runs[1] = {run};
        look_through(runs);
    }

    bool beyond(double square_of_distance) const noexcept {
        return square_of_distance > best.limit;
    }

    void visit(const node_run& run, std::size_t index) noexcept {
        if (!run.crowded()) return look_through(run);
        const branch b = view.branch_at(index);
        if (b.is_grid()) {
            in_grid(b);
        } else if (b.is_point()) {
            look_through({run.first, run.first + 1});
        } else {
            at_cut(b, run);
        }
    }

    void at_cut(const branch& b, const node_run& run) noexcept {
        double away = 0; // square of the distance from the box
        for (std::size_t i = 0; i < 2; ++i)
            away += bound(difference<Distance>(p[i], std::clamp(p[i], b.low[i], b.high[i])));
        if (beyond(away)) return;
        const std::size_t middle = b.first_begin();
        const std::size_t direction = b.cut_direction();
        const node_run halves[2] = {{run.first, middle}, {middle, run.last}};
        const std::size_t near = p[direction] >= b.cut_place() ? 1 : 0;
        visit(halves[near], b.first_child() + near);
        if (beyond(bound(difference<Distance>(p[direction], b.cut_place())))) return;
        visit(halves[1 - near], b.first_child() + 1 - near);
    }

    node_run row(const branch& b, std::size_t j, std::size_t from, std::size_t to) const noexcept {
        const unsigned* const begins = view.numbers + b.first_begin() + j * b.across();
        return {begins[from], begins[to + 1]};
    }

    void look_at_row(const branch& b, std::size_t j, std::size_t from, std::size_t to) noexcept {
        const node_run run = row(b, j, from, to);
        if (b.children == 0 || !run.crowded()) return look_through(run);
        for (std::size_t i = from; i <= to; ++i) {
            const node_run cell = row(b, j, i, i);
            if (cell.crowded()) {
                visit(cell, view.numbers[b.first_child() + j * b.across() + i]);
            } else {
                look_through(cell);
            }
        }
    }

    /// Looks at the cells around the one of the point at once, if there are few nodes: their memory is
    /// asked for before the first is compared.
    bool look_at_block(const branch& b, window<Distance>& x, window<Distance>& y) noexcept {
        const std::size_t middle = y.from;
        window<Distance> wide = x;
        wide.widen();
        const std::size_t low = middle > 0 ? middle - 1 : middle;
        const std::size_t high = middle < y.last ? middle + 1 : middle;
        node_run rows[3] = {row(b, middle, wide.from, wide.to), row(b, low, wide.from, wide.to),
                            row(b, high, wide.from, wide.to)};
        for (const node_run& run : rows) prefetch(view.nodes + run.first);
        if (b.children != 0)
            for (const node_run& run : rows)
                if (run.crowded()) return false;
        if (low == middle) rows[1].last = rows[1].first;
        if (high == middle) rows[2].last = rows[2].first;
        look_through(rows);
        x = wide;
        y.from = low;
        y.to = high;
        return true;
    }

    /// The cell of the point or the one next to it outside, then rows and columns around what has been
    /// seen, as long as they may hold a nearer node.
    void in_grid(const branch& b) noexcept {
        window<Distance> x(b, 0, p[0]);
        window<Distance> y(b, 1, p[1]);
        if (beyond(x.away + y.away)) return;
        if (!look_at_block(b, x, y)) look_at_row(b, y.from, x.from, x.to);
        for (;;) {
            bool done = true;
            if (y.from > 0 && !beyond(x.away + y.below())) {
                look_at_row(b, --y.from, x.from, x.to);
                done = false;
            }
            if (y.to < y.last && !beyond(x.away + y.above())) {
                look_at_row(b, ++y.to, x.from, x.to);
                done = false;
            }
            if (x.from > 0 && !beyond(y.away + x.below())) {
                --x.from;
                for (std::size_t j = y.from; j <= y.to; ++j) look_at_row(b, j, x.from, x.from);
                done = false;
            }
            if (x.to < x.last && !beyond(y.away + x.above())) {
                ++x.to;
                for (std::size_t j = y.from; j <= y.to; ++j) look_at_row(b, j, x.to, x.to);
                done = false;
            }
            if (done) return;
        }
    }
};

/// `known` is a node that is near, or `none`.
template <class Distance>
candidate closest(const detector_view& view, const vector_fixed<double, 2>& p,
                  std::size_t known = candidate::none) noexcept {
    closest_search<Distance> search{view, p};
    if (known != candidate::none) search.look_through({known, known + 1});
    search.visit({0, view.count}, 0);
    return search.best;
}

unsigned number_of(const detector_view& view, const candidate& found) noexcept {
    return static_cast<unsigned>(view.nodes[found.place][2]);
}

unsigned find_in(const detector_view& view, const vector_fixed<double, 2>& p) noexcept {
    constexpr double large = 1e150;
    candidate found;
    if (!(std::fabs(p[0]) > large || std::fabs(p[1]) > large)) {
        found = closest<plain_distance>(view, p);
        if (!found.out_of_range()) return number_of(view, found);
    }
    if (!(found.square < plain_distance::least)) {
        found = closest<large_distance>(view, p);
        if (!found.out_of_range()) return number_of(view, found);
        found = closest<plain_distance>(view, p, found.place);
        if (!found.out_of_range()) return number_of(view, found);
    }
    return number_of(view, closest<small_distance>(view, p, found.place));
}

/// The run at the end of the way down to the cell of the point.
node_run descend(const detector_view& view, const vector_fixed<double, 2>& p) noexcept {
    node_run run{0, view.count};
    std::size_t index = 0;
    while (run.crowded()) {
        const branch b = view.branch_at(index);
        if (b.is_grid()) {
            const std::size_t cell = b.cell_at(p.begin());
            const unsigned* const begins = view.numbers + b.first_begin() + cell;
            run = {begins[0], begins[1]};
            if (run.crowded()) index = view.numbers[b.first_child() + cell];
        } else if (b.is_point()) {
            return {run.first, run.first + 1};
        } else {
            const bool right = p[b.cut_direction()] >= b.cut_place();
            (right ? run.first : run.last) = b.first_begin();
            index = b.first_child() + (right ? 1 : 0);
        }
    }
    return run;
}

} // namespace

node_detector::node_detector(const dense2D<double>& pos) noexcept {
    if (pos.rows != 2 || pos.cols > most_nodes) return;
    dense1D<held_node, 8> nodes;
    dense1D<unsigned, 8> numbers;
    dense1D<kept_branch, 8> branches;
    if (!detector_maker{nodes, numbers, branches, {}, {}}.make(pos)) return;
    nodes_.swap(nodes);
    numbers_.swap(numbers);
    branches_.swap(branches);
}

unsigned node_detector::find_close(const vector_fixed<double, 2>& point) const noexcept {
    if (nodes_.empty() || !std::isfinite(point[0]) || !std::isfinite(point[1])) return no_node;
    const detector_view view{nodes_.data(), numbers_.data(), branches_.data(), nodes_.size};
    const node_run run = descend(view, point);
    if (run.count() == 0) return find_in(view, point);
    closest_search<plain_distance> search{view, point};
    search.look_through(run);
    // Squares of distances to nodes so far away may all be infinite.
    if (search.best.place == candidate::none) return find_in(view, point);
    return number_of(view, search.best);
}

unsigned node_detector::find_closest(const vector_fixed<double, 2>& point) const noexcept {
    if (nodes_.empty() || !std::isfinite(point[0]) || !std::isfinite(point[1])) return no_node;
    return find_in({nodes_.data(), numbers_.data(), branches_.data(), nodes_.size}, point);
}

} // namespace zel::tessel
