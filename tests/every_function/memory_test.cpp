// SPDX-License-Identifier: Apache-2.0
// Exhausted memory, in every function and at every allocation: the status, what becomes of the outputs,
// that nothing leaks, and that the next call is as good as ever.
#include "every_function/calls.h"
#include "support/failing_alloc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace zel_test;
using namespace zel_test::every_function;

constexpr int no_memory = -199;
constexpr std::uint64_t none = 0xFFFFFFFFu;

// ---------------------------------------------------------------------------- what may be left behind

/// Returns true if outputs are what the function promises after an allocation has failed. `whole` is the
/// outcome with enough memory.
using promise = std::function<bool(const outcome& o, const outcome& whole)>;

bool is_empty(const part& p) {
    return p.rows * p.cols == 0;
}

/// -199, and nothing has changed.
bool refused(const outcome& o, const outcome&) {
    return o.status == no_memory && o.after == o.before;
}
/// -199, and all outputs are empty.
bool emptied(const outcome& o, const outcome&) {
    return o.status == no_memory && std::all_of(o.after.begin(), o.after.end(), is_empty);
}
/// -199; outputs from `first` up to `last` are empty, the others have not changed.
promise emptied(std::size_t first, std::size_t last) {
    return [=](const outcome& o, const outcome&) {
        if (o.status != no_memory) return false;
        for (std::size_t i = 0; i < o.after.size(); ++i) {
            const bool may_be_empty = i >= first && i < last;
            if (may_be_empty ? !is_empty(o.after[i]) : o.after[i] != o.before[i]) return false;
        }
        return true;
    };
}
promise either(promise one, promise other) {
    return [=](const outcome& o, const outcome& whole) { return one(o, whole) || other(o, whole); };
}

/// -199; the matrix `pos` in front has become `rows` rows high, new ones are zero, and all else is as it
/// was.
promise with_rows(std::size_t rows) {
    return [=](const outcome& o, const outcome&) {
        const part& was = o.before[0];
        const part& is = o.after[0];
        if (o.status != no_memory || is.rows != rows || is.cols != was.cols) return false;
        for (std::size_t j = 0; j < is.cols; ++j)
            for (std::size_t i = 0; i < rows; ++i) {
                const std::uint64_t expected = i < was.rows ? was.bits[j * was.rows + i] : 0;
                if (is.bits[j * rows + i] != expected) return false;
            }
        return std::equal(o.after.begin() + 1, o.after.end(), o.before.begin() + 1);
    };
}

/// -199; `connect_out` holds the elements of the copy, and `pos` lacks its nodes.
bool copy_without_nodes(const outcome& o, const outcome& whole) {
    return o.status == no_memory && o.after[0] == o.before[0] && o.after[1] == whole.after[1];
}

/// All numbers are of nodes that exist.
bool names_nodes(const outcome& o) {
    for (std::size_t i = 1; i < o.after.size(); ++i)
        for (const std::uint64_t node : o.after[i].bits)
            if (node >= o.after[0].cols && node != none) return false;
    return true;
}
/// As many elements as there are to be.
bool has_all_elements(const outcome& o, const outcome& whole) {
    for (std::size_t i = 1; i < o.after.size(); ++i)
        if (o.after[i].rows != whole.after[i].rows || o.after[i].cols != whole.after[i].cols)
            return false;
    return o.status == whole.status;
}
/// Success; the elements are all there, on nodes that exist or on none.
bool with_missing_nodes(const outcome& o, const outcome& whole) {
    return has_all_elements(o, whole) && names_nodes(o);
}
/// Success; all parts are there, but have not been joined, or nodes that nothing uses have stayed. A disk
/// on nodes that were there names others that do not exist in any case.
bool not_joined(const outcome& o, const outcome& whole) {
    return has_all_elements(o, whole) && o.after[0].cols >= whole.after[0].cols &&
           (names_nodes(o) || !names_nodes(whole));
}

bool same_column(const part& a, const part& b, std::size_t j) {
    const std::uint64_t* const begin = a.bits.data() + j * a.rows;
    return std::equal(begin, begin + a.rows, b.bits.data() + j * b.rows);
}
/// Equal but for rounding.
bool close_column(const part& a, const part& b, std::size_t j) {
    const auto number = [j](const part& p, std::size_t i) {
        double x;
        std::memcpy(&x, &p.bits[j * p.rows + i], sizeof x);
        return x;
    };
    double largest = 0, farthest = 0;
    for (std::size_t i = 0; i < a.rows; ++i) {
        largest = std::max(largest, std::fabs(number(b, i)));
        farthest = std::max(farthest, std::fabs(number(a, i) - number(b, i)));
    }
    return farthest <= 1e-12 * largest;
}
/// Success; each column is the new one or has stayed. A node on a side may have been found in the other
/// element there, since the search has begun elsewhere.
bool served_in_part(const outcome& o, const outcome& whole) {
    const part& is = o.after[0];
    if (o.status != 0 || is.rows != whole.after[0].rows || is.cols != whole.after[0].cols)
        return false;
    for (std::size_t j = 0; j < is.cols; ++j)
        if (!same_column(is, o.before[0], j) && !same_column(is, whole.after[0], j) &&
            !close_column(is, whole.after[0], j))
            return false;
    return true;
}
/// The point is not found.
bool not_found(const outcome& o, const outcome&) {
    return o.status == 0 && o.after[0].bits[0] == none;
}

/// `few` comes out of `all` when values are left out.
bool left_out(const std::vector<std::uint64_t>& few, const std::vector<std::uint64_t>& all) {
    std::size_t k = 0;
    for (const std::uint64_t value : all)
        if (k < few.size() && few[k] == value) ++k;
    return k == few.size();
}
/// A list that lacks values; the status counts what it holds.
bool shorter_list(const outcome& o, const outcome& whole) {
    return o.after[0] == whole.after[0] && left_out(o.after[1].bits, whole.after[1].bits) &&
           o.status == static_cast<int>(o.after[1].cols);
}
/// Lists of the first nodes only.
bool first_stars(const outcome& o, const outcome& whole) {
    const auto begins = [](const part& few, const part& all) {
        return few.cols <= all.cols &&
               std::equal(few.bits.begin(), few.bits.end(), all.bits.begin());
    };
    return o.status == 0 && begins(o.after[0], whole.after[0]) &&
           begins(o.after[1], whole.after[1]);
}
/// Values or columns that could not be appended are left out, and all others are there.
bool appended_in_part(const outcome& o, const outcome& whole) {
    return left_out(o.after[0].bits, whole.after[0].bits) &&
           o.after[0].bits.size() >= o.before[0].bits.size();
}
/// The function returns false, and nothing has changed.
bool answers_false(const outcome& o, const outcome&) {
    return o.status == 0 && o.after == o.before;
}
/// A search tree without nodes finds nothing.
bool finds_nothing(const outcome& o, const outcome&) {
    for (const part& p : o.after)
        for (const std::uint64_t node : p.bits)
            if (node != none) return false;
    return o.status == 0;
}

/// What functions promise that do not leave all as it was, as their headers have it; by the name in
/// front of the parameters, or that with the parameters behind it. `first` asks for what holds where the
/// first allocation fails.
const std::map<std::string, promise>& promises(bool first) {
    static const auto make = [](bool of_first) {
        std::map<std::string, promise> p;
        for (const char* shape :
             {"mesh_disk_Q4", "mesh_disk_T3", "mesh_sphere_Q4", "mesh_sphere_T3"})
            p[shape] = either(refused, not_joined);

        const auto loses_third_row = with_rows(2);
        const auto stays_widened = of_first ? either(refused, with_rows(3)) : with_rows(3);
        for (const std::string shape : {"Q4", "T3"}) {
            const std::string begin = "(dense2D<double>&, const dense2D<unsigned>&, ";
            const std::string in_space = begin + "const vector_fixed<double, 3>&, ";
            const std::string in_plane = begin + "const vector_fixed<double, 2>&, ";
            p["extrude_translate_" + shape + in_space] = stays_widened;
            p["extrude_rotate_" + shape + in_plane] = loses_third_row;
            p["extrude_rotate_" + shape + in_space + "const vector_fixed<double, 3>&, double"] =
                stays_widened;
            p["extrude_spiral_" + shape] = loses_third_row;
        }

        p["normals"] = p["tessel1d::normals"] = emptied(0, 1);
        const std::string copy = "copy_with_offset(dense2D<double>&, const dense2D<unsigned>&, ";
        const std::string given = "const dense2D<double>&, ";
        const std::string tensor = "const symmetric_fixed<double, 3>&";
        p[copy + "double"] = p[copy + given + "double"] = emptied(1, 2);
        p[copy + tensor] = p[copy + given + tensor] = either(refused, copy_without_nodes);

        p["convert_into_quadratic"] = p["convert_into_high_order"] =
            either(emptied(1, 2), with_missing_nodes);
        p["split_into_Q4"] = either(refused, with_missing_nodes);
        p["split_Q4_into_T3(const dense2D<double>&, const dense2D<unsigned>&, double"] =
            emptied(0, 2);
        p["convert_degenerated_Q"] = shorter_list;

        p["angles"] = p["circumcenters"] = p["parametric_curvatures"] =
            static_cast<bool (*)(const outcome&, const outcome&)>(emptied);
        p["principal_curvatures"] = either(refused, emptied(0, 1));
        p["get_connected_elements"] = either(emptied(0, 2), first_stars);
        p["get_element_containing_point"] = not_found;
        p["interpolate"] = p["interpolate_metrics"] = served_in_part;

        p["tessel::node_detector"] = finds_nothing;
        p["dense1D"] = either(answers_false, appended_in_part);
        p["dense2D"] = p["vector_num"] = p["append"] = p["append_columns"] =
            p["__vector_num_alloc"] = answers_false;
        p["append_reversed"] = p["push_back_column3"] = p["push_back_column4"] = appended_in_part;
        return p;
    };
    static const auto of_first = make(true);
    static const auto of_later = make(false);
    return first ? of_first : of_later;
}

/// The promise whose name is the longest beginning of the function's, where its k-th allocation
/// fails.
const promise& promise_of(const std::string& function, std::size_t k) {
    static const promise usual = refused;
    const promise* found = &usual;
    std::size_t length = 0;
    const std::string bare = function.substr(0, function.find('('));
    for (const auto& [name, p] : promises(k == 1)) {
        const bool fits =
            name.find('(') == std::string::npos ? name == bare : function.rfind(name, 0) == 0;
        if (fits && name.size() > length) {
            found = &p;
            length = name.size();
        }
    }
    return *found;
}

// ------------------------------------------------------------------------------------------- the test

/// Functions that need no memory at all, whatever they are given.
bool needs_no_memory(const std::string& function) {
    static const std::set<std::string> all = {
        "version",       "element_node_count",  "__vector_num_free",      "max_index",
        "lapack::dspev", "tessel::check_IDs",   "tessel::minimum_metric", "area",
        "flip",          "convert_into_linear", "convert_degenerated_Q4"};
    return all.count(function.substr(0, function.find('('))) > 0;
}

/// What has been tried of one function.
struct tally {
    std::size_t calls = 0;
    std::size_t most_allocations = 0; ///< of one call
    std::size_t failures = 0;
};

outcome run_counted(const call& c, std::size_t& allocations) {
    std::size_t before = 0;
    return c.run(
        {[&] { before = allocation_count(); }, [&] { allocations = allocation_count() - before; }});
}

/// Runs a call whose k-th allocation fails.
outcome run_failing(const call& c, std::size_t k) {
    const std::size_t blocks = live_blocks();
    bool failed = false;
    const outcome o =
        c.run({[k] { arm_allocator(k); }, [&failed] { failed = disarm_allocator(); }});
    EXPECT_TRUE(failed) << "the call does not come to its " << k << ". allocation again";
    EXPECT_EQ(blocks, live_blocks()) << "blocks left behind";
    return o;
}

bool same(const outcome& a, const outcome& b) {
    return a.status == b.status && a.after == b.after;
}

std::string described(const outcome& o) {
    std::string text = "status " + std::to_string(o.status);
    for (const part& p : o.after)
        text += ", " + std::to_string(p.rows) + " x " + std::to_string(p.cols);
    return text;
}

void fail_every_allocation(const call& c, tally& tried) {
    std::size_t allocations = 0;
    const outcome whole = run_counted(c, allocations);
    ++tried.calls;
    tried.most_allocations = std::max(tried.most_allocations, allocations);
    if (needs_no_memory(c.function)) {
        EXPECT_EQ(0U, allocations);
    }
    for (const bool for_good : {false, true}) {
        for (std::size_t k = 1; k <= allocations; ++k) {
            SCOPED_TRACE(testing::Message() << "allocation " << k << " of " << allocations
                                            << (for_good ? " and all behind it" : "") << " failed");
            fail_for_good(for_good);
            const outcome o = run_failing(c, k);
            fail_for_good(false);
            ++tried.failures;
            EXPECT_TRUE(same(o, whole) || promise_of(c.function, k)(o, whole))
                << described(o) << " instead of " << described(whole);
        }
    }
    EXPECT_TRUE(same(c.run({}), whole)) << "the call behind the failures has another result";
}

TEST(ExhaustedMemory, EveryFunctionKeepsItsPromises) {
    std::map<std::string, tally> tried;
    for (const call& c : all_calls()) {
        SCOPED_TRACE(c.name());
        fail_every_allocation(c, tried[c.function]);
    }
    tally sum;
    std::printf("calls  allocations  failed  function\n");
    for (const auto& [function, t] : tried) {
        std::printf("%5zu  %11zu  %6zu  %s\n", t.calls, t.most_allocations, t.failures,
                    function.c_str());
        EXPECT_EQ(needs_no_memory(function), t.most_allocations == 0) << function;
        sum.calls += t.calls;
        sum.failures += t.failures;
    }
    std::printf("%zu functions, %zu calls, %zu failed allocations\n", tried.size(), sum.calls,
                sum.failures);
}

} // namespace
