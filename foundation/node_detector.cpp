// zel tessel2d: planar and surface mesh tools.
#include "foundation/call_frame.h"
#include "foundation/tessel.h"

#include <cmath>
#include <limits>

// The tree has no pointers: branch b has the branches 2b + 1 and 2b + 2 below it, and the nodes of a
// branch are a run [low, high) of the sorted nodes, halved at each step, until a leaf is small enough to
// be looked through. Left of the cut are coordinates not above it, right of it none below.

namespace zel::tessel {

using namespace tessel2d;

namespace {

constexpr std::size_t leaf_size = 8;
constexpr double all_equal = 2; // in place of a direction: the nodes of the branch lie on one point

struct sorted_node {
    double x[2];
    unsigned node;
};
using run = sorted_node*;

/// Numbers of branches above the leaves.
std::size_t branch_count(std::size_t nodes) noexcept {
    std::size_t count = 0;
    for (std::size_t width = 1; nodes > leaf_size; width *= 2) {
        count += width;
        nodes -= nodes / 2; // the larger half
    }
    return count;
}

bool before(const sorted_node& a, const sorted_node& b, std::size_t direction) noexcept {
    if (a.x[direction] != b.x[direction]) return a.x[direction] < b.x[direction];
    return a.node < b.node;
}

/// The longer side of the box around the nodes; `all_equal` if it has no extent.
double longer_side(const sorted_node* first, const sorted_node* last) noexcept {
    double low[2] = {first->x[0], first->x[1]};
    double high[2] = {low[0], low[1]};
    for (const sorted_node* s = first; s != last; ++s)
        for (std::size_t i = 0; i < 2; ++i) {
            low[i] = std::min(low[i], s->x[i]);
            high[i] = std::max(high[i], s->x[i]);
        }
    const double width = high[0] / 2 - low[0] / 2; // halved: the difference may overflow
    const double height = high[1] / 2 - low[1] / 2;
    if (low[0] == high[0] && low[1] == high[1]) return all_equal;
    if (width == height) return low[0] == high[0] ? 1 : 0;
    return width > height ? 0 : 1;
}

void build(run nodes, std::size_t low, std::size_t high, std::size_t branch,
           double* cuts) noexcept {
    const auto by_number = [](const sorted_node& a, const sorted_node& b) {
        return a.node < b.node;
    };
    if (high - low <= leaf_size) {
        std::sort(nodes + low, nodes + high, by_number);
        return;
    }
    const double side = longer_side(nodes + low, nodes + high);
    cuts[2 * branch + 1] = side;
    if (side == all_equal) {
        cuts[2 * branch] = 0;
        std::iter_swap(nodes + low, std::min_element(nodes + low, nodes + high, by_number));
        return;
    }
    const std::size_t direction = side == 0 ? 0 : 1;
    const std::size_t middle = low + (high - low) / 2;
    std::nth_element(nodes + low, nodes + middle, nodes + high,
                     [direction](const sorted_node& a, const sorted_node& b) {
                         return before(a, b, direction);
                     });
    cuts[2 * branch] = nodes[middle].x[direction];
    build(nodes, low, middle, 2 * branch + 1, cuts);
    build(nodes, middle, high, 2 * branch + 2, cuts);
}

/// Squares of distances, in units that keep them from overflowing or vanishing.
struct plain_distance {
    static double square(double d) noexcept { return d * d; }
    static double along(double a, double b) noexcept { return square(a - b); }
};
struct large_distance {
    static double along(double a, double b) noexcept {
        return plain_distance::square(a * 0x1p-540 - b * 0x1p-540);
    }
};
struct small_distance {
    static double along(double a, double b) noexcept {
        return plain_distance::square((a - b) * 0x1p700);
    }
};

/// What the rounding of two squares of distances can hide: nodes within it are compared otherwise.
constexpr double rounding = 0x1p-50;

struct candidate {
    unsigned node = no_node;
    std::size_t place = 0; // in the order of the tree
    double square = std::numeric_limits<double>::infinity();
};

struct tree_view {
    const double* points;
    const unsigned* nodes;
    const double* cuts;
    std::size_t count;

    /// Of two nodes almost equally near, tells whether the one at `other` is nearer than the one at
    /// `held`, or as near and of the lower number. |p-a|^2 - |p-b|^2 = (b-a)(2p-a-b) keeps the digits
    /// that the squares lose far away from the nodes.
    bool wins_close_call(std::size_t other, std::size_t held,
                         const vector_fixed<double, 2>& p) const noexcept {
        double excess = 0; // of the square that is held
        for (std::size_t i = 0; i < 2; ++i) {
            const double a = points[2 * held + i];
            const double b = points[2 * other + i];
            excess += (b - a) * ((p[i] - a) + (p[i] - b));
        }
        return excess > 0 || (!(excess < 0) && nodes[other] < nodes[held]);
    }

    void offer(std::size_t place, double square, const vector_fixed<double, 2>& p,
               candidate& best) const noexcept {
        if (square > best.square * (1 + rounding)) return;
        if (best.node == no_node || square < best.square * (1 - rounding) ||
            wins_close_call(place, best.place, p)) {
            best = {nodes[place], place, square};
        }
    }

    template <class Distance>
    void look_through(std::size_t low, std::size_t high, const vector_fixed<double, 2>& p,
                      candidate& best) const noexcept {
        for (std::size_t k = low; k < high; ++k) {
            const double square =
                Distance::along(p[0], points[2 * k]) + Distance::along(p[1], points[2 * k + 1]);
            offer(k, square, p, best);
        }
    }

    unsigned close(const vector_fixed<double, 2>& p) const noexcept {
        std::size_t low = 0;
        std::size_t high = count;
        std::size_t branch = 0;
        while (high - low > leaf_size) {
            const double side = cuts[2 * branch + 1];
            if (side == all_equal) return nodes[low];
            const std::size_t middle = low + (high - low) / 2;
            const bool right = p[side == 0 ? 0 : 1] >= cuts[2 * branch];
            (right ? low : high) = middle;
            branch = 2 * branch + (right ? 2 : 1);
        }
        candidate best;
        look_through<plain_distance>(low, high, p, best);
        return best.node;
    }

    /// A branch still to be visited, with the squares of its distance along both axes.
    struct visit {
        std::size_t branch, low, high;
        double away[2];
    };

    template <class Distance>
    candidate closest(const vector_fixed<double, 2>& p) const noexcept {
        candidate best;
        visit stack[64];
        std::size_t height = 0;
        stack[height++] = {0, 0, count, {0, 0}};
        while (height > 0) {
            visit v = stack[--height];
            if (v.away[0] + v.away[1] > best.square * (1 + rounding)) continue;
            while (v.high - v.low > leaf_size) {
                const double side = cuts[2 * v.branch + 1];
                if (side == all_equal) {
                    v.high = v.low + 1;
                    break;
                }
                const std::size_t direction = side == 0 ? 0 : 1;
                const double cut = cuts[2 * v.branch];
                const std::size_t middle = v.low + (v.high - v.low) / 2;
                const bool right = p[direction] >= cut;
                visit other = v;
                (right ? other.high : other.low) = middle;
                other.branch = 2 * v.branch + (right ? 1 : 2);
                other.away[direction] = Distance::along(p[direction], cut);
                stack[height++] = other;
                (right ? v.low : v.high) = middle;
                v.branch = 2 * v.branch + (right ? 2 : 1);
            }
            look_through<Distance>(v.low, v.high, p, best);
        }
        return best;
    }
};

} // namespace

node_detector::node_detector(const dense2D<double>& pos) noexcept {
    if (pos.rows != 2 || pos.cols > most_nodes) return;
    dense1D<sorted_node, 8> sorted;
    if (!sorted.resize(pos.cols)) return;
    std::size_t count = 0;
    const columns<const double> given = columns_of(pos);
    for (std::size_t i = 0; i < pos.cols; ++i) {
        if (!std::isfinite(given[i][0]) || !std::isfinite(given[i][1])) continue;
        sorted[count++] = {{given[i][0], given[i][1]}, static_cast<unsigned>(i)};
    }
    if (!points_.resize(2 * count) || !cuts_.resize(2 * branch_count(count), 0.0) ||
        !nodes_.resize(count)) {
        return;
    }
    if (count > 0) build(sorted.data(), 0, count, 0, cuts_.data());
    for (std::size_t k = 0; k < count; ++k) {
        points_[2 * k] = sorted[k].x[0];
        points_[2 * k + 1] = sorted[k].x[1];
        nodes_[k] = sorted[k].node;
    }
}

unsigned node_detector::find_close(const vector_fixed<double, 2>& point) const noexcept {
    if (nodes_.empty() || !std::isfinite(point[0]) || !std::isfinite(point[1])) return no_node;
    return tree_view{points_.data(), nodes_.data(), cuts_.data(), nodes_.size}.close(point);
}

unsigned node_detector::find_closest(const vector_fixed<double, 2>& point) const noexcept {
    if (nodes_.empty() || !std::isfinite(point[0]) || !std::isfinite(point[1])) return no_node;
    const tree_view tree{points_.data(), nodes_.data(), cuts_.data(), nodes_.size};
    const candidate found = tree.closest<plain_distance>(point);
    if (found.square > 1e300) return tree.closest<large_distance>(point).node;
    const double* const at = tree.points + 2 * found.place;
    if (found.square >= 1e-280 || (at[0] == point[0] && at[1] == point[1])) return found.node;
    return tree.closest<small_distance>(point).node;
}

} // namespace zel::tessel
