// SPDX-License-Identifier: Apache-2.0
// What all sweeps promise alike: statuses in their order, numbering, views, shared storage, exhausted
// memory.
#include "extrusion/sweeps.h"
#include "support/failing_alloc.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>

namespace {

using namespace zel_test;
using namespace zel::tessel2d;

// ------------------------------------------------------------------------------------- the sweeps

// How each is called, what it tests in which order, and what it leaves behind when memory runs out.
struct sweep_fault {
    std::string name;
    int status;
    std::function<void(sweep_arguments&)> apply;
};

struct sweep_case {
    std::string name;
    std::size_t rows;        ///< of `pos` in a plain call
    std::size_t result_rows; ///< of `pos` after it
    std::size_t side_rows;   ///< of the output
    bool counted;            ///< takes `layers` rather than sizes
    bool zero_layers_first;  ///< returns 0 for no layers before any test
    bool recounted;          ///< a counted sweep that goes through the sized one
    std::size_t failed_rows; ///< of `pos` when memory has run out; 0: as on entry
    std::function<int(sweep_arguments&)> run;
    std::vector<sweep_fault> faults; ///< in the order of the tests
};

sweep_fault rows_of_pos(int status, std::size_t rows) {
    return {"pos of " + std::to_string(rows) + " rows", status, [rows](sweep_arguments& a) {
                dense2D<double> other(rows, a.pos.cols, 0.25);
                a.pos = other;
            }};
}
sweep_fault node_out_of_range(int status) {
    return {"a node too many", status,
            [](sweep_arguments& a) { a.edges(1, 1) = static_cast<unsigned>(a.pos.cols); }};
}
sweep_fault no_node_in_edges(int status) {
    return {"no node", status, [](sweep_arguments& a) { a.edges(0, 0) = no_node; }};
}
sweep_fault edges_of_three_rows(int status) {
    return {"edges of 3 rows", status, [](sweep_arguments& a) {
                a.edges = cells({{3, 1, 0}, {1, 4, 0}});
            }};
}
sweep_fault h0(int status, double value) {
    return {"h0 = " + std::to_string(value), status, [value](sweep_arguments& a) { a.h0 = value; }};
}
sweep_fault h1(int status, double value) {
    return {"h1 = " + std::to_string(value), status, [value](sweep_arguments& a) { a.h1 = value; }};
}
sweep_fault zero_vector(int status) {
    return {"T of length 0", status, [](sweep_arguments& a) { a.T = {0, 0, 0}; }};
}
sweep_fault pattern(int status, int value) {
    return {"pattern " + std::to_string(value), status,
            [value](sweep_arguments& a) { a.pattern = value; }};
}
sweep_fault rows_of_output(int status, std::size_t rows) {
    return {"output of " + std::to_string(rows) + " rows", status, [rows](sweep_arguments& a) {
                dense2D<unsigned> other(rows, 2, 1U);
                a.out = other;
            }};
}
sweep_fault thickness(int status, double value) {
    return {"H = " + std::to_string(value), status, [value](sweep_arguments& a) { a.H = value; }};
}
sweep_fault rows_of_V(int status) {
    return {"V of 3 rows", status, [](sweep_arguments& a) {
                dense2D<double> other(3, 5, 0.5);
                a.V = other;
            }};
}

using faults = std::vector<sweep_fault>;
faults operator+(faults a, const faults& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
faults profile(int status) {
    return {node_out_of_range(status), no_node_in_edges(status), edges_of_three_rows(status)};
}
faults sizes(int first, int second) {
    return {h0(first, 0),  h0(first, -1),  h0(first, zel_test::nan),
            h1(second, 0), h1(second, -2), h1(second, zel_test::nan)};
}
faults patterns(int status) {
    return {pattern(status, 3), pattern(status, -1), pattern(status, 1 << 30)};
}

/// All sweeps.
const std::vector<sweep_case>& all_sweeps() {
    using arguments = sweep_arguments;
    const faults not_2 = {rows_of_pos(-1, 1), rows_of_pos(-1, 3), rows_of_pos(-1, 4)};
    const faults not_2_3 = {rows_of_pos(-1, 1), rows_of_pos(-1, 4)};
    const faults not_3 = {rows_of_pos(-1, 1), rows_of_pos(-1, 2), rows_of_pos(-1, 4)};
    const faults not_thick = {thickness(-3, 0), thickness(-3, -1), thickness(-3, zel_test::nan)};
    const auto not_4_rows = [](int status) {
        return faults{rows_of_output(status, 3), rows_of_output(status, 5)};
    };
    const auto not_3_rows = [](int status) {
        return faults{rows_of_output(status, 4), rows_of_output(status, 2)};
    };
    static const std::vector<sweep_case> cases = {
        {"translate_Q4 2-D counted", 2, 2, 4, true, true, true, 2,
         [](arguments& a) { return extrude_translate_Q4(a.pos, a.edges, a.T2(), a.layers, a.out); },
         not_2 + profile(-2) + faults{zero_vector(-4)} + not_4_rows(-7)},
        {"translate_Q4 2-D sized", 2, 2, 4, false, false, false, 2,
         [](arguments& a) {
             return extrude_translate_Q4(a.pos, a.edges, a.T2(), a.h0, a.h1, a.force_even, a.out);
         },
         not_2 + profile(-2) + sizes(-4, -5) + not_4_rows(-7)},
        {"translate_Q4 3-D counted", 2, 3, 4, true, true, true, 3,
         [](arguments& a) { return extrude_translate_Q4(a.pos, a.edges, a.T, a.layers, a.out); },
         not_2_3 + profile(-2) + faults{zero_vector(-4)} + not_4_rows(-7)},
        {"translate_Q4 3-D sized", 2, 3, 4, false, false, false, 3,
         [](arguments& a) {
             return extrude_translate_Q4(a.pos, a.edges, a.T, a.h0, a.h1, a.force_even, a.out);
         },
         not_2_3 + profile(-2) + sizes(-4, -5) + not_4_rows(-7)},
        {"translate_T3 2-D counted", 2, 2, 3, true, true, true, 2,
         [](arguments& a) {
             return extrude_translate_T3(a.pos, a.edges, a.T2(), a.layers, a.pattern, a.out);
         },
         not_2 + profile(-2) + faults{zero_vector(-4)} + patterns(-6) + not_3_rows(-8)},
        {"translate_T3 2-D sized", 2, 2, 3, false, false, false, 2,
         [](arguments& a) {
             return extrude_translate_T3(a.pos, a.edges, a.T2(), a.h0, a.h1, a.pattern,
                                         a.force_even, a.out);
         },
         not_2 + profile(-2) + sizes(-4, -5) + patterns(-6) + not_3_rows(-8)},
        {"translate_T3 3-D counted", 2, 3, 3, true, true, true, 3,
         [](arguments& a) {
             return extrude_translate_T3(a.pos, a.edges, a.T, a.layers, a.pattern, a.out);
         },
         not_2_3 + profile(-2) + faults{zero_vector(-4)} + patterns(-6) + not_3_rows(-8)},
        {"translate_T3 3-D sized", 2, 3, 3, false, false, false, 3,
         [](arguments& a) {
             return extrude_translate_T3(a.pos, a.edges, a.T, a.h0, a.h1, a.pattern, a.force_even,
                                         a.out);
         },
         not_2_3 + profile(-2) + sizes(-4, -5) + patterns(-6) + not_3_rows(-8)},
        {"rotate_Q4 2-D counted", 3, 2, 4, true, true, false, 2,
         [](arguments& a) {
             return extrude_rotate_Q4(a.pos, a.edges, a.C2(), a.angle, a.layers, a.out);
         },
         not_2_3 + profile(-2) + not_4_rows(-6)},
        {"rotate_Q4 2-D sized", 2, 2, 4, false, false, false, 2,
         [](arguments& a) {
             return extrude_rotate_Q4(a.pos, a.edges, a.C2(), a.angle, a.h0, a.h1, a.force_even,
                                      a.out);
         },
         not_2 + profile(-2) + sizes(-5, -6) + not_4_rows(-8)},
        {"rotate_Q4 3-D counted", 2, 3, 4, true, true, false, 0,
         [](arguments& a) { return extrude_rotate_Q4(a.pos, a.edges, a.C, a.A, a.layers, a.out); },
         not_2_3 + profile(-2) + not_3_rows(-3)},
        {"rotate_Q4 3-D sized", 2, 3, 4, false, false, false, 3,
         [](arguments& a) {
             return extrude_rotate_Q4(a.pos, a.edges, a.C, a.A, a.h0, a.h1, a.force_even, a.out);
         },
         not_2_3 + profile(-2) + sizes(-5, -6) + not_3_rows(-8)},
        {"rotate_T3 2-D counted", 3, 2, 3, true, true, false, 2,
         [](arguments& a) {
             return extrude_rotate_T3(a.pos, a.edges, a.C2(), a.angle, a.layers, a.pattern, a.out);
         },
         not_2_3 + profile(-2) + not_3_rows(-7)},
        {"rotate_T3 2-D sized", 2, 2, 3, false, false, false, 2,
         [](arguments& a) {
             return extrude_rotate_T3(a.pos, a.edges, a.C2(), a.angle, a.h0, a.h1, a.pattern,
                                      a.force_even, a.out);
         },
         not_2 + profile(-2) + sizes(-5, -6) + patterns(-7) + not_3_rows(-9)},
        {"rotate_T3 3-D counted", 2, 3, 3, true, true, false, 0,
         [](arguments& a) {
             return extrude_rotate_T3(a.pos, a.edges, a.C, a.A, a.layers, a.pattern, a.out);
         },
         not_2_3 + profile(-2) + not_3_rows(-7)},
        {"rotate_T3 3-D sized", 2, 3, 3, false, false, false, 3,
         [](arguments& a) {
             return extrude_rotate_T3(a.pos, a.edges, a.C, a.A, a.h0, a.h1, a.pattern, a.force_even,
                                      a.out);
         },
         not_2_3 + profile(-1) + sizes(-5, -6) + not_3_rows(-9)},
        {"spiral_Q4 counted", 3, 3, 4, true, true, true, 2,
         [](arguments& a) {
             return extrude_spiral_Q4(a.pos, a.edges, a.C, a.A, a.T, a.layers, a.out);
         },
         not_3 + profile(-2) + faults{zero_vector(-6)} + not_4_rows(-9)},
        {"spiral_Q4 sized", 3, 3, 4, false, false, false, 2,
         [](arguments& a) {
             return extrude_spiral_Q4(a.pos, a.edges, a.C, a.A, a.T, a.h0, a.h1, a.force_even,
                                      a.out);
         },
         not_3 + profile(-2) + sizes(-6, -7) + not_4_rows(-9)},
        {"spiral_T3 counted", 3, 3, 3, true, true, true, 2,
         [](arguments& a) {
             return extrude_spiral_T3(a.pos, a.edges, a.C, a.A, a.T, a.layers, a.pattern, a.out);
         },
         not_3 + profile(-2) + faults{zero_vector(-6)} + not_3_rows(-10)},
        {"spiral_T3 sized", 3, 3, 3, false, false, false, 2,
         [](arguments& a) {
             return extrude_spiral_T3(a.pos, a.edges, a.C, a.A, a.T, a.h0, a.h1, a.pattern,
                                      a.force_even, a.out);
         },
         not_3 + profile(-2) + sizes(-6, -4) + not_3_rows(-10)},
        {"normal_Q4 along V", 2, 2, 4, true, false, false, 0,
         [](arguments& a) { return extrude_normal_Q4(a.pos, a.edges, a.V, a.layers, a.out); },
         not_2 + profile(-2) + faults{rows_of_V(-3)} + not_4_rows(-5)},
        {"normal_T3 along V", 2, 2, 3, true, false, false, 0,
         [](arguments& a) {
             return extrude_normal_T3(a.pos, a.edges, a.V, a.layers, a.pattern, a.out);
         },
         not_2 + profile(-2) + faults{rows_of_V(-3)} + not_3_rows(-6)},
        {"normal_Q4 counted", 2, 2, 4, true, true, true, 0,
         [](arguments& a) { return extrude_normal_Q4(a.pos, a.edges, a.H, a.layers, a.out); },
         not_2 + profile(-2) + not_thick + not_4_rows(-7)},
        {"normal_Q4 sized", 2, 2, 4, false, false, false, 0,
         [](arguments& a) {
             return extrude_normal_Q4(a.pos, a.edges, a.H, a.h0, a.h1, a.force_even, a.out);
         },
         not_2 + profile(-2) + not_thick + sizes(-4, -5) + not_4_rows(-7)},
        {"normal_T3 counted", 2, 2, 3, true, true, true, 0,
         [](arguments& a) {
             return extrude_normal_T3(a.pos, a.edges, a.H, a.layers, a.pattern, a.out);
         },
         not_2 + profile(-2) + not_thick + not_3_rows(-8)},
        {"normal_T3 sized", 2, 2, 3, false, false, false, 0,
         [](arguments& a) {
             return extrude_normal_T3(a.pos, a.edges, a.H, a.h0, a.h1, a.force_even, a.pattern,
                                      a.out);
         },
         not_2 + profile(-2) + not_thick + sizes(-4, -5) + not_3_rows(-8)},
    };
    return cases;
}

sweep_arguments arguments_of(const sweep_case& c) {
    return chain_arguments(c.rows);
}
/// The layers of a plain call, known beforehand for counted sweeps only.
unsigned layers_made(const sweep_case& c, const sweep_arguments& a, std::size_t first_element) {
    if (c.counted) return a.layers;
    const std::size_t per_cell = c.side_rows == 4 ? 1 : 2;
    return static_cast<unsigned>((a.out.cols - first_element) / (per_cell * a.edges.cols));
}
void expect_sides(const sweep_case& c, const sweep_arguments& a, std::size_t first_new,
                  std::size_t first_element, const dense2D<unsigned>& edges) {
    const unsigned layers = layers_made(c, a, first_element);
    const auto expected = expected_sides(edges, first_new, layers, c.side_rows, a.pattern);
    ASSERT_EQ(c.side_rows, a.out.rows);
    ASSERT_EQ(first_element + expected.size(), a.out.cols);
    for (std::size_t j = 0; j < expected.size(); ++j)
        ASSERT_EQ(expected[j], column(a.out, first_element + j)) << "element " << j;
    EXPECT_EQ(first_new + layers * profile_nodes(edges).size(), a.pos.cols);
}

// ------------------------------------------------------------------------------------ normal use

TEST(AllSweeps, NumberNodesAndElementsFromTheProfileOutward) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        for (const int pattern : {0, 1, 2})
            for (const unsigned layers : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 12u, 13u}) {
                sweep_arguments a = arguments_of(c);
                a.pattern = pattern;
                a.layers = layers;
                a.h0 = a.h1 = 13.0 / layers;
                ASSERT_EQ(0, c.run(a));
                EXPECT_EQ(c.result_rows, a.pos.rows);
                expect_sides(c, a, 5, 0, a.edges);
            }
    }
}

// ---------------------------------------------------------------------------------- beyond 16 bits

/// How many elements of a swept chain of nodes 0, 1, 2, ... are not as the numbering promises.
std::size_t wrong_sides(const sweep_arguments& a, unsigned layers) {
    const auto nodes = static_cast<unsigned>(a.edges.cols + 1);
    std::size_t wrong = 0, at = 0;
    for (unsigned e = 0; e < a.edges.cols; ++e)
        for (unsigned k = 0; k < layers; ++k) {
            const unsigned p = k * nodes + e, q = p + 1, r = q + nodes, s = p + nodes;
            const bool along_ps = a.pattern == 0 || (a.pattern == 2 && (k + e) % 2 == 1);
            const unsigned quad[4] = {p, q, r, s};
            const unsigned cut[6] = {p, q, along_ps ? s : r, along_ps ? q : p, r, s};
            const bool quads = a.out.rows == 4;
            for (unsigned i = 0; i < (quads ? 4U : 6U); ++i)
                wrong += quads ? a.out(i, at) != quad[i] : a.out(i % 3, at + i / 3) != cut[i];
            at += quads ? 1 : 2;
        }
    return wrong + (at != a.out.cols);
}

/// A chain of `count` edges whose places repeat after 64 nodes.
sweep_arguments long_chain(const sweep_case& c, unsigned count) {
    sweep_arguments a = arguments_of(c);
    a.pos = dense2D<double>(c.rows, count + 1, 0.0);
    a.edges = dense2D<unsigned>(2, count);
    a.V = dense2D<double>(2, count + 1, 0.5);
    for (unsigned k = 0; k <= count; ++k) {
        a.pos(0, k) = 1 + (k % 64 < 32 ? k % 64 : 64 - k % 64) / 8.0;
        a.pos(1, k) = 2 + k % 64 / 16.0;
        if (k < count) a.edges(0, k) = k, a.edges(1, k) = k + 1;
    }
    return a;
}

TEST(AllSweeps, AProfileBeyondSixteenBitsIsSweptByFormula) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = long_chain(c, 65600);
        a.layers = 2;
        a.h0 = a.h1 = 6.5;
        ASSERT_EQ(0, c.run(a));
        const auto layers = static_cast<unsigned>(a.pos.cols / 65601 - 1);
        ASSERT_EQ(std::size_t{65601} * (layers + 1), a.pos.cols);
        EXPECT_EQ(0U, wrong_sides(a, layers));
        std::size_t strange = 0; // nodes that are not where those 64 before them in the chain are
        for (std::size_t layer = 1; layer <= layers; ++layer)
            for (std::size_t k = 65; k < 65600; ++k)
                for (std::size_t i = 0; i < a.pos.rows; ++i)
                    strange += a.pos(i, layer * 65601 + k) != a.pos(i, layer * 65601 + k - 64);
        EXPECT_EQ(0U, strange);
    }
}

/// Makes `a` ask for 65 600 layers, or by their size for about as many, an even number.
void ask_for_many_layers(const sweep_case& c, sweep_arguments& a) {
    a.layers = 65600;
    if (c.counted) return;
    sweep_arguments few = long_chain(c, 2);
    few.h0 = few.h1 = 0.001;
    ASSERT_EQ(0, c.run(few));
    a.h0 = a.h1 = 0.001 * (layers_made(c, few, 0) - 1) / 65600;
    a.force_even = true;
}

TEST(AllSweeps, LayersBeyondSixteenBitsAreMadeByFormula) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments whole = long_chain(c, 2);
        ask_for_many_layers(c, whole);
        sweep_arguments half = long_chain(c, 2);
        half.layers = 32800;
        half.h0 = half.h1 = 2 * whole.h0;
        half.force_even = false;
        ASSERT_EQ(0, c.run(whole));
        ASSERT_EQ(0, c.run(half));
        const unsigned layers = layers_made(c, whole, 0);
        ASSERT_LT(65536U, layers);
        ASSERT_EQ(layers, 2 * layers_made(c, half, 0));
        ASSERT_EQ(std::size_t{3} * (layers + 1), whole.pos.cols);
        EXPECT_EQ(0U, wrong_sides(whole, layers));
        std::size_t strange = 0; // nodes of even layers that are elsewhere with half the layers
        for (std::size_t layer = 1; layer <= layers / 2; ++layer)
            for (std::size_t k = 0; k < 3; ++k)
                for (std::size_t i = 0; i < whole.pos.rows; ++i)
                    strange += !(
                        std::abs(whole.pos(i, 6 * layer + k) - half.pos(i, 3 * layer + k)) < 1e-8);
        EXPECT_EQ(0U, strange);
    }
}

/// The sweeps that take two rows of `pos` as well as three.
std::vector<sweep_case> sweeps_of_two_or_three_rows() {
    std::vector<sweep_case> some;
    for (const sweep_case& c : all_sweeps()) {
        const auto refused = [&](const sweep_fault& fault) {
            return fault.name == "pos of 2 rows" || fault.name == "pos of 3 rows";
        };
        if (std::none_of(c.faults.begin(), c.faults.end(), refused)) some.push_back(c);
    }
    return some;
}
TEST(AllSweeps, TwoRowsGiveTheSameAsThreeWithZeros) {
    EXPECT_EQ(10U, sweeps_of_two_or_three_rows().size());
    for (const sweep_case& c : sweeps_of_two_or_three_rows()) {
        SCOPED_TRACE(c.name);
        for (const double z : {0.0, 0.75}) { // of the centre, which measures the way in space too
            sweep_arguments two = chain_arguments(2);
            two.C = {0.5, -0.25, z};
            sweep_arguments three = two;
            two.pos = fresh_copy(three.pos);
            three.pos.resize(3, 5, 0.0);
            ASSERT_EQ(0, c.run(two));
            ASSERT_EQ(0, c.run(three));
            EXPECT_EQ(c.result_rows, two.pos.rows);
            EXPECT_EQ(snapshot(two.pos, two.out), snapshot(three.pos, three.out));
        }
    }
}
TEST(AllSweeps, InSpaceTheThirdRowIsSweptLikeTheOthers) {
    for (const sweep_case& c : sweeps_of_two_or_three_rows()) {
        if (c.result_rows == 2) continue;
        SCOPED_TRACE(c.name);
        const bool turns = c.name.find("rotate") == 0;
        sweep_arguments a = chain_arguments(3);
        a.C = {0.5, -0.25, 0.75};
        const auto before = fresh_copy(a.pos);
        ASSERT_EQ(0, c.run(a));
        ASSERT_EQ(3U, a.pos.rows);
        expect_sides(c, a, 5, 0, a.edges);
        for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ(column(before, j), column(a.pos, j));
        const auto nodes = profile_nodes(a.edges);
        const std::size_t layers = (a.pos.cols - 5) / nodes.size();
        for (std::size_t k = 1; k <= layers; ++k) {
            for (std::size_t i = 0; i < nodes.size(); ++i) {
                const double* const from = before[nodes[i]];
                const double* const to = a.pos[5 + (k - 1) * nodes.size() + i];
                double along_from = 0, along_to = 0, square_from = 0, square_to = 0;
                for (std::size_t r = 0; r < 3; ++r) {
                    if (!turns && k == layers) {
                        EXPECT_NEAR(from[r] + a.T[r], to[r], 1e-14) << "row " << r;
                    }
                    along_from += (from[r] - a.C[r]) * a.A[r];
                    along_to += (to[r] - a.C[r]) * a.A[r];
                    square_from += (from[r] - a.C[r]) * (from[r] - a.C[r]);
                    square_to += (to[r] - a.C[r]) * (to[r] - a.C[r]);
                }
                if (turns) {
                    EXPECT_NEAR(along_from, along_to, 1e-13);
                    EXPECT_NEAR(square_from, square_to, 1e-12);
                    EXPECT_GT(std::abs(from[2] - to[2]), 1e-3);
                } else { // the way in the third row is 4 times that in the first
                    EXPECT_NEAR(4 * (to[0] - from[0]), to[2] - from[2], 1e-13);
                }
            }
        }
    }
}
TEST(AllSweeps, PresentNodesKeepTheirValues) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        const auto before = fresh_copy(a.pos);
        ASSERT_EQ(0, c.run(a));
        for (std::size_t j = 0; j < before.cols; ++j)
            for (std::size_t i = 0; i < a.pos.rows; ++i)
                EXPECT_EQ(i < before.rows ? before(i, j) : 0.0, a.pos(i, j));
    }
}
TEST(AllSweeps, TheSameEdgeTwiceDoublesElementsOnOneSetOfNodes) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        a.edges = cells({{3, 1}, {3, 1}, {1, 3}});
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, 5, 0, a.edges);
        EXPECT_EQ(0u, (a.pos.cols - 5) % 2);
    }
}
TEST(AllSweeps, ALoopIsSweptToAClosedBand) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        a.edges = cells({{3, 1}, {1, 4}, {4, 0}, {0, 3}});
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, 5, 0, a.edges);
        EXPECT_EQ(0u, (a.pos.cols - 5) % 4);
    }
}
TEST(AllSweeps, AnEdgeMayJoinANodeToItself) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        a.edges = cells({{2, 2}});
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, 5, 0, a.edges);
    }
}
TEST(AllSweeps, AFewNodesOfALargeMeshAreNumberedAlike) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        dense2D<double> large(c.rows, 3000, 0.5);
        a.pos = large;
        a.V = dense2D<double>(2, 3000, 0.5);
        a.edges = cells({{2999, 17}, {17, 1234}, {40, 2999}});
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, 3000, 0, a.edges);
    }
}

// --------------------------------------------------------------------------- shapes and appending

TEST(AllSweeps, AppendBehindPresentElements) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        const bool three_rows = c.side_rows == 3 || c.name.find("rotate_Q4 3-D") == 0;
        a.out = three_rows ? cells({{7, 8, 9}, {4, 5, 6}}) : cells({{7, 8, 9, 2}, {4, 5, 6, 1}});
        const auto before = fresh_copy(a.out);
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, 5, 2, a.edges);
        for (std::size_t j = 0; j < 2; ++j)
            for (std::size_t i = 0; i < a.out.rows; ++i)
                EXPECT_EQ(i < before.rows ? before(i, j) : no_node, a.out(i, j));
    }
}
TEST(AllSweeps, AnOutputWithoutColumnsTakesItsRowCount) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        a.out.resize(7, 0);
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, 5, 0, a.edges);
    }
}
TEST(AllSweeps, ColumnsWithoutRowsBecomeColumnsWithoutNodes) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        a.out.resize(0, 2);
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, 5, 2, a.edges);
        for (std::size_t i = 0; i < c.side_rows; ++i) EXPECT_EQ(no_node, a.out(i, 1));
    }
}
TEST(AllSweeps, ViewsWithALargerLeadingDimension) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments plain = arguments_of(c);
        plain.out = dense2D<unsigned>(c.name.find("rotate_Q4 3-D") == 0 ? 3 : c.side_rows, 2, 3U);
        sweep_arguments viewed = plain;
        const auto pos = framed(plain.pos);
        const auto edges = framed(plain.edges);
        const auto V = framed(plain.V);
        const auto out = framed(plain.out);
        viewed.pos = pos.view;
        viewed.edges = edges.view;
        viewed.V = V.view;
        viewed.out = out.view;
        ASSERT_EQ(0, c.run(plain));
        ASSERT_EQ(0, c.run(viewed));
        EXPECT_EQ(snapshot_of(plain), snapshot_of(viewed));
        EXPECT_LT(viewed.out.rows, viewed.out.ld);
    }
}
TEST(AllSweeps, AProfileMayShareItsBlockWithTheOutput) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments apart = arguments_of(c);
        // One block: an empty output in front, the profile behind it where elements will be written.
        for (const std::size_t room : {std::size_t{40}, std::size_t{4000}}) {
            sweep_arguments shared = arguments_of(c);
            dense2D<unsigned> block(2, room, 0U);
            std::copy_n(apart.edges.data(), 4, block.data() + 4);
            shared.edges = block.sub_matrix(0, 2, 2, 2);
            shared.out = block;
            shared.out.rows = shared.out.cols = shared.out.ld = shared.out.size = 0;
            sweep_arguments reference = arguments_of(c);
            ASSERT_EQ(0, c.run(reference));
            ASSERT_EQ(0, c.run(shared));
            EXPECT_EQ(snapshot(reference.pos, reference.out), snapshot(shared.pos, shared.out));
        }
    }
}

// --------------------------------------------------------------------------------------- statuses

TEST(AllSweeps, AnEmptyProfileIsNothingToDoWhateverElseIsWrong) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        for (const std::size_t rows : {0U, 2U, 5U}) {
            sweep_arguments a = arguments_of(c);
            for (const sweep_fault& fault : c.faults) fault.apply(a);
            a.layers = 7;
            a.edges = dense2D<unsigned>(rows, rows == 0 ? 4 : 0);
            a.T = {1, 1, 1};
            const auto before = snapshot_of(a);
            EXPECT_EQ(0, c.run(a));
            EXPECT_EQ(before, snapshot_of(a));
        }
    }
}
TEST(AllSweeps, NoLayersAreNothingToDoWhateverElseIsWrong) {
    for (const sweep_case& c : all_sweeps()) {
        if (!c.zero_layers_first) continue;
        SCOPED_TRACE(c.name);
        for (const sweep_fault& fault : c.faults) {
            SCOPED_TRACE(fault.name);
            sweep_arguments a = arguments_of(c);
            a.layers = 0;
            fault.apply(a);
            const auto before = snapshot_of(a);
            EXPECT_EQ(0, c.run(a));
            EXPECT_EQ(before, snapshot_of(a));
        }
    }
}
TEST(AllSweeps, EachFaultHasItsStatusAndChangesNothing) {
    for (const sweep_case& c : all_sweeps()) {
        for (const sweep_fault& fault : c.faults) {
            SCOPED_TRACE(c.name + ": " + fault.name);
            sweep_arguments a = arguments_of(c);
            fault.apply(a);
            const auto before = snapshot_of(a);
            EXPECT_EQ(fault.status, c.run(a));
            EXPECT_EQ(before, snapshot_of(a));
        }
    }
}
TEST(AllSweeps, OfTwoFaultsTheOneTestedFirstIsReported) {
    for (const sweep_case& c : all_sweeps()) {
        for (std::size_t i = 0; i < c.faults.size(); ++i)
            for (std::size_t j = i + 1; j < c.faults.size(); ++j) {
                if (c.faults[i].status == c.faults[j].status) continue;
                SCOPED_TRACE(c.name + ": " + c.faults[i].name + " and " + c.faults[j].name);
                for (const bool first_last : {false, true}) {
                    sweep_arguments a = arguments_of(c);
                    c.faults[first_last ? j : i].apply(a);
                    c.faults[first_last ? i : j].apply(a);
                    const auto before = snapshot_of(a);
                    EXPECT_EQ(c.faults[i].status, c.run(a));
                    EXPECT_EQ(before, snapshot_of(a));
                }
            }
    }
}
TEST(AllSweeps, ThereAreTwentySixOfThem) {
    EXPECT_EQ(26u, all_sweeps().size());
}

// ------------------------------------------------------------------------------- exhausted memory

/// The first thing that needs memory is the third row of `pos`.
bool widens_first(const sweep_case& c) {
    return c.rows == 2 && c.failed_rows == 3;
}
/// What is left when the sweep fails: `pos` with the rows it is left with, new ones zero, and all else as
/// it is. Without a third row if that could not be had.
contents snapshot_of_failed(const sweep_case& c, const sweep_arguments& a, bool without_third_row) {
    const bool same_rows = c.failed_rows == 0 || without_third_row;
    sweep_arguments left = a;
    left.pos = fresh_copy(a.pos);
    left.pos.resize(same_rows ? a.pos.rows : c.failed_rows, a.pos.cols, 0.0);
    return snapshot_of(left);
}
TEST(AllSweeps, ExhaustedMemoryLeavesElementsAndColumnsOfNodes) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        for (const bool large : {false, true}) {
            std::size_t failures = 0;
            fail_each_allocation([&](std::size_t k) {
                sweep_arguments a = arguments_of(c);
                if (large) { // hashed numbers
                    dense2D<double> many(c.rows, 3000, 0.5);
                    a.pos = many;
                    a.V = dense2D<double>(2, 3000, 0.5);
                }
                a.out =
                    dense2D<unsigned>(c.name.find("rotate_Q4 3-D") == 0 ? 3 : c.side_rows, 2, 3U);
                const auto expected = snapshot_of_failed(c, a, k == 1 && widens_first(c));
                arm_allocator(k);
                const int status = c.run(a);
                disarm_allocator();
                if (status == 0) return;
                ++failures;
                EXPECT_EQ(-199, status);
                EXPECT_EQ(expected, snapshot_of(a)) << "allocation " << k;
            });
            EXPECT_GE(failures, 3U);
        }
    }
}
TEST(AllSweeps, ExhaustedMemoryLeavesThreeRowsInSpaceAndTwoInThePlane) {
    for (const sweep_case& c : sweeps_of_two_or_three_rows()) {
        SCOPED_TRACE(c.name);
        fail_each_allocation([&](std::size_t k) {
            sweep_arguments a = chain_arguments(c.result_rows);
            const auto before = snapshot_of(a);
            arm_allocator(k);
            const int status = c.run(a);
            disarm_allocator();
            if (status == 0) return;
            EXPECT_EQ(-199, status);
            EXPECT_EQ(before, snapshot_of(a));
        });
    }
}
TEST(AllSweeps, ACopyOfASharedProfileMayFailToo) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        fail_each_allocation([&](std::size_t k) {
            sweep_arguments a = arguments_of(c);
            dense2D<unsigned> block(2, 4000, 0U);
            std::copy_n(a.edges.data(), 4, block.data());
            a.edges = block.sub_matrix(0, 0, 2, 2);
            a.out = block;
            a.out.rows = a.out.cols = a.out.ld = a.out.size = 0;
            const auto edges = snapshot(a.edges);
            arm_allocator(k);
            const int status = c.run(a);
            disarm_allocator();
            if (status == 0) return;
            EXPECT_EQ(-199, status);
            EXPECT_EQ(edges, snapshot(a.edges));
            EXPECT_EQ(0u, a.out.cols);
        });
    }
}
TEST(AllSweeps, NodesBeyond32BitNumbersLeaveWhatExhaustedMemoryLeaves) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        if (c.counted) {
            a.layers = 1431655766; // with three nodes each
        } else {
            a.T = {1, 0, 0};
            a.A = {0, 0, 1};
            a.angle = a.H = 1;
            a.C = {2.25, 3.75, 0}; // the first node is 1 away
            a.h0 = a.h1 = 4e-10;   // 2.5e9 layers
        }
        const auto left = snapshot_of_failed(c, a, false);
        EXPECT_EQ(-199, c.run(a));
        EXPECT_EQ(left, snapshot_of(a));
    }
}
TEST(AllSweeps, ACountOfLayersThatIsNaNOrTooLargeLeavesWhatExhaustedMemoryLeaves) {
    for (const sweep_case& c : all_sweeps()) {
        if (c.counted) continue;
        SCOPED_TRACE(c.name);
        for (const double way : {1e40, 1e300, zel_test::infinity, zel_test::nan}) {
            if (std::isnan(way) && c.name.find("normal") == 0) continue; // not above 0
            sweep_arguments a = arguments_of(c);
            a.T = {way, 0, 0};
            a.A = {way, way, 0};
            a.angle = a.H = way;
            const auto left = snapshot_of_failed(c, a, false);
            EXPECT_EQ(-199, c.run(a)) << way;
            EXPECT_EQ(left, snapshot_of(a));
        }
        sweep_arguments a = arguments_of(c);
        a.h0 = a.h1 = 4e-324;
        const auto left = snapshot_of_failed(c, a, false);
        EXPECT_EQ(-199, c.run(a));
        EXPECT_EQ(left, snapshot_of(a));
    }
}
// Below 2^32 the real count is one that is rounded; rounded up to 2^32 it must not count as 0 layers, also
// where the profile has a single node.
TEST(AllSweeps, ACountThatIsRoundedUpTo2To32IsTooLarge) {
    for (const sweep_case& c : all_sweeps()) {
        if (c.counted) continue;
        SCOPED_TRACE(c.name);
        for (const double way : {0x1p32 - 0.25, 0x1p32 - 0x1p-20, 0x1p32}) {
            for (const bool even : {false, true}) {
                for (const bool one_node : {false, true}) {
                    sweep_arguments a = arguments_of(c);
                    if (one_node) a.edges = cells({{3, 3}});
                    a.T = {way, 0, 0};
                    a.angle = a.H = way;
                    a.A = {0, 0, way};
                    a.C = {2.25, 3.75, 0}; // node 3 is 1 away
                    a.h0 = a.h1 = 1;
                    a.force_even = even;
                    const auto left = snapshot_of_failed(c, a, false);
                    reset_peak();
                    const std::size_t bytes = live_bytes();
                    EXPECT_EQ(-199, c.run(a)) << way;
                    EXPECT_EQ(left, snapshot_of(a));
                    EXPECT_LT(peak_bytes(), bytes + 10000);
                }
            }
        }
    }
}
// Sizes so far apart that the smaller one is lost beside the larger one ask for infinitely many layers.
TEST(AllSweeps, SizesOfExtremeRatioHaveNoCount) {
    for (const sweep_case& c : all_sweeps()) {
        if (c.counted) continue;
        SCOPED_TRACE(c.name);
        for (const auto& sizes : {std::pair(1.0, 1e-17), std::pair(1e300, 1e-300)}) {
            for (const bool rising : {false, true}) {
                sweep_arguments a = arguments_of(c);
                a.h0 = rising ? sizes.second : sizes.first;
                a.h1 = rising ? sizes.first : sizes.second;
                const auto left = snapshot_of_failed(c, a, false);
                EXPECT_EQ(-199, c.run(a));
                EXPECT_EQ(left, snapshot_of(a));
            }
        }
    }
}
TEST(AllSweeps, SizesOfALargeRatioStillHaveOne) {
    for (const sweep_case& c : all_sweeps()) {
        if (c.counted) continue;
        SCOPED_TRACE(c.name);
        for (const bool rising : {false, true}) {
            sweep_arguments a = arguments_of(c);
            a.T = {1, 0, 0};
            a.A = {0, 0, 1};
            a.C = {2.25, 3.75, 0};
            a.angle = a.H = 1; // all ways are 1
            if (c.rows == 3) a.C[2] = 4.25;
            a.h0 = rising ? 0x1p-50 : 1;
            a.h1 = rising ? 1 : 0x1p-50;
            ASSERT_EQ(0, c.run(a));
            // 50 ln 2 = 34.66; the cut between 34 and 35 is at 34.50.
            EXPECT_EQ(35u, layers_made(c, a, 0));
            for (const double x : a.pos) EXPECT_TRUE(std::isfinite(x));
        }
    }
}
TEST(AllSweeps, InfiniteSizesAskForTheFewestLayers) {
    for (const sweep_case& c : all_sweeps()) {
        if (c.counted) continue;
        SCOPED_TRACE(c.name);
        for (const bool even : {false, true}) {
            for (int both = 0; both < 3; ++both) {
                sweep_arguments a = arguments_of(c);
                if (both != 1) a.h0 = infinity;
                if (both != 0) a.h1 = infinity;
                a.force_even = even;
                ASSERT_EQ(0, c.run(a));
                EXPECT_EQ(even ? 2u : 1u, layers_made(c, a, 0));
            }
        }
    }
}
TEST(AllSweeps, CountedSweepsGiveTheirCountBack) {
    for (const sweep_case& c : all_sweeps()) {
        if (!c.recounted) continue;
        SCOPED_TRACE(c.name);
        for (unsigned layers = 1; layers < 3000; layers += 1 + layers / 16) {
            sweep_arguments a = arguments_of(c);
            a.layers = layers;
            a.T = {0.1 * layers, 0.7, 1e-3};
            ASSERT_EQ(0, c.run(a));
            ASSERT_EQ(5 + 3 * std::size_t{layers}, a.pos.cols);
        }
    }
}
TEST(AllSweeps, ForceEvenGivesAMultipleOfTwo) {
    for (const sweep_case& c : all_sweeps()) {
        if (c.counted) continue;
        SCOPED_TRACE(c.name);
        for (int k = 1; k < 60; ++k) {
            sweep_arguments a = arguments_of(c);
            a.force_even = true;
            a.h0 = 0.2 * k;
            a.h1 = 0.1 * k;
            ASSERT_EQ(0, c.run(a));
            const unsigned layers = layers_made(c, a, 0);
            EXPECT_GE(layers, 2u);
            EXPECT_EQ(0u, layers % 2);
        }
    }
}

// ------------------------------------------------------------------------------------- properties

TEST(AllSweeps, RandomProfilesAreNumberedAsPromised) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        random_numbers random(seed);
        const sweep_case& c = all_sweeps()[random.below(26)];
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << c.name);
        sweep_arguments a = arguments_of(c);
        const unsigned nodes = 1 + random.below(random.below(2) == 0 ? 12 : 2000);
        const unsigned edges = 1 + random.below(80);
        dense2D<double> pos(c.rows, nodes, 0.0);
        for (double& x : pos) x = random.between(-2, 2);
        a.pos = pos;
        a.V = dense2D<double>(2, nodes, 0.5);
        dense2D<unsigned> profile(2, edges);
        for (unsigned& id : profile) id = random.below(nodes);
        a.edges = profile;
        a.layers = 1 + random.below(12);
        a.pattern = static_cast<int>(random.below(3));
        a.h0 = random.between(0.2, 5);
        a.h1 = random.between(0.2, 5);
        ASSERT_EQ(0, c.run(a));
        expect_sides(c, a, nodes, 0, a.edges);
        for (const double x : a.pos) EXPECT_TRUE(std::isfinite(x));
    }
}

TEST(AllSweeps, ColumnsWithoutRowsThatCannotBeCountedFurtherAreAMemoryStatus) {
    for (const sweep_case& c : all_sweeps()) {
        SCOPED_TRACE(c.name);
        sweep_arguments a = arguments_of(c);
        const std::size_t nodes = a.pos.cols;
        ASSERT_TRUE(a.out.resize(0, SIZE_MAX));
        EXPECT_EQ(-199, c.run(a));
        EXPECT_EQ(SIZE_MAX, a.out.cols);
        EXPECT_EQ(nodes, a.pos.cols);
    }
}

} // namespace
