// zel tessel2d: planar and surface mesh tools.
#pragma once

// One description of all sweeps for the tests that walk through them: how each is called, what it tests
// in which order, and what it leaves behind when memory runs out.
#include "zel/tessel2d/extrusion.h"

#include "support/checks.h"
#include "support/failing_alloc.h"
#include "support/meshes.h"

#include <functional>
#include <string>
#include <vector>

namespace zel_test {

using point2 = zel::vector_fixed<double, 2>;
using point3 = zel::vector_fixed<double, 3>;

/// The arguments of any sweep.
struct sweep_arguments {
    dense2D<double> pos;
    dense2D<unsigned> edges;
    point3 C{0, 0, 0};
    point3 A{0.3, -0.4, 1.2};
    point3 T{3, 4, 12};
    double angle = 1.25;
    double h0 = 1;
    double h1 = 2;
    bool force_even = false;
    unsigned layers = 3;
    int pattern = 2;
    dense2D<double> V;
    dense2D<unsigned> out;

    point2 C2() const { return {C[0], C[1]}; }
    point2 T2() const { return {T[0], T[1]}; }
};

/// Five nodes, three of them on a chain of two edges that starts at node 3.
inline sweep_arguments chain_arguments(std::size_t rows) {
    sweep_arguments a;
    a.pos = dense2D<double>(rows, 5, 0.0);
    for (std::size_t j = 0; j < 5; ++j)
        for (std::size_t i = 0; i < rows; ++i)
            a.pos(i, j) = 1.0 + 0.5 * static_cast<double>(i) + 0.75 * static_cast<double>(j);
    a.edges = cells({{3, 1}, {1, 4}});
    a.V = dense2D<double>(2, 5, 0.5);
    return a;
}

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

namespace sweep_faults {

inline sweep_fault rows_of_pos(int status, std::size_t rows) {
    return {"pos of " + std::to_string(rows) + " rows", status, [rows](sweep_arguments& a) {
                dense2D<double> other(rows, a.pos.cols, 0.25);
                a.pos = other;
            }};
}
inline sweep_fault node_out_of_range(int status) {
    return {"a node too many", status,
            [](sweep_arguments& a) { a.edges(1, 1) = static_cast<unsigned>(a.pos.cols); }};
}
inline sweep_fault no_node_in_edges(int status) {
    return {"no node", status, [](sweep_arguments& a) { a.edges(0, 0) = no_node; }};
}
inline sweep_fault edges_of_three_rows(int status) {
    return {"edges of 3 rows", status, [](sweep_arguments& a) {
                a.edges = cells({{3, 1, 0}, {1, 4, 0}});
            }};
}
inline sweep_fault h0(int status, double value) {
    return {"h0 = " + std::to_string(value), status, [value](sweep_arguments& a) { a.h0 = value; }};
}
inline sweep_fault h1(int status, double value) {
    return {"h1 = " + std::to_string(value), status, [value](sweep_arguments& a) { a.h1 = value; }};
}
inline sweep_fault zero_vector(int status) {
    return {"T of length 0", status, [](sweep_arguments& a) { a.T = {0, 0, 0}; }};
}
inline sweep_fault pattern(int status, int value) {
    return {"pattern " + std::to_string(value), status,
            [value](sweep_arguments& a) { a.pattern = value; }};
}
inline sweep_fault rows_of_output(int status, std::size_t rows) {
    return {"output of " + std::to_string(rows) + " rows", status, [rows](sweep_arguments& a) {
                dense2D<unsigned> other(rows, 2, 1U);
                a.out = other;
            }};
}
inline sweep_fault rows_of_V(int status) {
    return {"V of 3 rows", status, [](sweep_arguments& a) {
                dense2D<double> other(3, 5, 0.5);
                a.V = other;
            }};
}

using faults = std::vector<sweep_fault>;
inline faults operator+(faults a, const faults& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
inline faults profile(int status) {
    return {node_out_of_range(status), no_node_in_edges(status), edges_of_three_rows(status)};
}
inline faults sizes(int first, int second) {
    return {h0(first, 0),  h0(first, -1),  h0(first, nan),
            h1(second, 0), h1(second, -2), h1(second, nan)};
}
inline faults patterns(int status) {
    return {pattern(status, 3), pattern(status, -1), pattern(status, 1 << 30)};
}

} // namespace sweep_faults

/// All sweeps but those along the normals of the profile itself.
inline const std::vector<sweep_case>& all_sweeps() {
    using namespace zel::tessel2d;
    using namespace sweep_faults;
    using arguments = sweep_arguments;
    const faults not_2 = {rows_of_pos(-1, 1), rows_of_pos(-1, 3), rows_of_pos(-1, 4)};
    const faults not_2_3 = {rows_of_pos(-1, 1), rows_of_pos(-1, 4)};
    const faults not_3 = {rows_of_pos(-1, 1), rows_of_pos(-1, 2), rows_of_pos(-1, 4)};
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
    };
    return cases;
}

inline contents snapshot_of(const sweep_arguments& a) {
    return snapshot(a.pos, a.edges, a.V, a.out);
}

/// The elements of a sweep as the numbering promises them, made without any of the library's helpers.
inline std::vector<std::vector<unsigned>> expected_sides(const dense2D<unsigned>& edges,
                                                         std::size_t first_new, unsigned layers,
                                                         std::size_t rows, int pattern) {
    std::vector<unsigned> seen;
    const auto place = [&](unsigned node) {
        const auto at = std::find(seen.begin(), seen.end(), node);
        const auto index = static_cast<unsigned>(at - seen.begin());
        if (at == seen.end()) seen.push_back(node);
        return index;
    };
    for (std::size_t e = 0; e < edges.cols; ++e) place(edges(0, e)), place(edges(1, e));
    const auto number = [&](unsigned node, unsigned layer) {
        if (layer == 0) return node;
        return static_cast<unsigned>(first_new + (layer - 1) * seen.size() + place(node));
    };
    std::vector<std::vector<unsigned>> sides;
    for (std::size_t e = 0; e < edges.cols; ++e)
        for (unsigned k = 0; k < layers; ++k) {
            const unsigned a = number(edges(0, e), k);
            const unsigned b = number(edges(1, e), k);
            const unsigned c = number(edges(1, e), k + 1);
            const unsigned d = number(edges(0, e), k + 1);
            if (rows == 4) {
                sides.push_back({a, b, c, d});
            } else if (pattern == 0 || (pattern == 2 && (k + e) % 2 == 1)) {
                sides.push_back({a, b, d});
                sides.push_back({b, c, d});
            } else {
                sides.push_back({a, b, c});
                sides.push_back({a, c, d});
            }
        }
    return sides;
}

/// The nodes of a profile in first-seen order.
inline std::vector<unsigned> profile_nodes(const dense2D<unsigned>& edges) {
    std::vector<unsigned> seen;
    for (std::size_t e = 0; e < edges.cols; ++e)
        for (std::size_t i = 0; i < 2; ++i)
            if (std::find(seen.begin(), seen.end(), edges(i, e)) == seen.end())
                seen.push_back(edges(i, e));
    return seen;
}

} // namespace zel_test
