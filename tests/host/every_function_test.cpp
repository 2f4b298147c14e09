// SPDX-License-Identifier: Apache-2.0
// Every function of the host tools on meshes in order, as views, and rough ones: none is left out, its results are
// those that are written down, bit for bit, and an allocation that fails leaves its outputs as they were.
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "support/checks.h"
#include "support/failing_alloc.h"
#include "zel/host/adjacency.h"
#include "zel/host/locator.h"
#include "zel/host/messages.h"
#include "zel/host/node_orders.h"
#include "zel/host/outlines.h"
#include "zel/host/views.h"
#include "zel/host/volume.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace zel;
using namespace zel_test;
using namespace zel_test::every_function;

constexpr unsigned any_number = 77;

calls_of_class of(std::vector<call>& calls, const char* name) {
    return {calls, name};
}

number_list list_of(std::initializer_list<unsigned> given) {
    number_list l(given.size());
    std::copy(given.begin(), given.end(), l.begin());
    return l;
}

// ------------------------------------------------------------------------------------ the catalogue

void add_adjacency(std::vector<call>& calls, const std::string& name, const shared_mesh& m) {
    const shared_inputs& in = inputs();
    const number_list there = list_of({3, 1});
    of(calls, "build_adjacency")
        .with(
            name,
            [&m](connectivity& neighbors, number_list& ancestors, unsigned& shared) {
                host::adjacency a{neighbors, ancestors, shared};
                const int status = host::build_adjacency(m.connect, m.pos.cols, a);
                neighbors = a.neighbors;
                ancestors = a.ancestors;
                shared = static_cast<unsigned>(a.shared_by_more);
                return status;
            },
            in.edges_there, there, any_number);
    of(calls, "unique_edges")
        .with(
            name,
            [&m](connectivity& edges, connectivity& elements) {
                return host::unique_edges(m.connect, m.pos.cols, edges, elements);
            },
            in.edges_there, in.edges_there);
    of(calls, "boundary_edges")
        .with(
            name,
            [&m](connectivity& edges) {
                return host::boundary_edges(m.connect, m.pos.cols, edges);
            },
            in.edges_there);
    of(calls, "boundary_loops")
        .with(
            name,
            [&m](number_list& starts, number_list& nodes) {
                return host::boundary_loops(m.connect, m.pos.cols, starts, nodes);
            },
            there, there);
    of(calls, "components")
        .with(
            name, [&m](number_list& component) { return host::components(m.neighbors, component); },
            there);
    of(calls, "is_orientable")
        .with(
            name,
            [&m](unsigned& what, unsigned& element, unsigned& edge, unsigned& against) {
                host::orientation o;
                const int status = host::is_orientable(m.connect, m.neighbors, o);
                if (status < 0) return status;
                what = static_cast<unsigned>(o.what);
                element = o.element;
                edge = o.edge;
                against = static_cast<unsigned>(o.against);
                return status;
            },
            any_number, any_number, any_number, any_number);
    of(calls, "volume")
        .with(
            name, [&m](double& result) { return host::volume(m.pos, m.connect, result); }, -7.0);
    of(calls, "append")
        .with(
            name,
            [&m](coordinates& pos, connectivity& connect) {
                return host::append(pos, connect, m.pos, m.connect);
            },
            m.pos, m.connect);
    of(calls, "append")
        .with(
            name + " to nothing",
            [&m](coordinates& pos, connectivity& connect) {
                return host::append(pos, connect, m.pos, m.connect);
            },
            in.no_points, in.none);
    of(calls, "widen")
        .with(
            name,
            [&m](value_list& numbers) {
                std::vector<std::int64_t> wide(m.connect.rows * m.connect.cols);
                host::widen(m.connect, wide.data());
                for (std::size_t k = 0; k < wide.size(); ++k)
                    numbers[k] = static_cast<double>(wide[k]);
                return 0;
            },
            value_list(m.connect.rows * m.connect.cols, -1.0));
    const auto wide = std::make_shared<std::vector<std::int64_t>>(m.connect.rows * m.connect.cols);
    host::widen(m.connect, wide->data());
    of(calls, "narrow")
        .with(
            name,
            [&m, wide](connectivity& connect) {
                return host::narrow(wide->data(), m.connect.rows, m.connect.cols, m.connect.rows,
                                    m.pos.cols, connect);
            },
            in.edges_there);
}

/// Points in and around the mesh: those of its nodes, drawn together and apart.
coordinates questions(const shared_mesh& m) {
    coordinates points(2, 2 * m.pos.cols);
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        for (std::size_t i = 0; i < 2; ++i) {
            points(i, 2 * j) = m.pos(i, j) * 0.97 + 0.01;
            points(i, 2 * j + 1) = m.pos(i, j) * 1.25 - 0.125;
        }
    return points;
}

void add_locator(std::vector<call>& calls, const std::string& name, const shared_mesh& m) {
    const auto built = std::make_shared<host::locator>();
    if (built->build(m.pos, m.connect) != 0) std::abort();
    const auto points = std::make_shared<coordinates>(questions(m));
    const auto table = std::make_shared<host::transfer_table>();
    if (built->transfer(*points, *table) != 0) std::abort();
    const number_list there = list_of({3, 1});
    const coordinates columns_there(2, 3, 4.0);

    of(calls, "locator::build(pos, connect)").with(name, [&m] {
        return host::locator().build(m.pos, m.connect);
    });
    of(calls, "locator::build(pos, connect, neighbors, ancestors)").with(name, [&m] {
        return host::locator().build(m.pos, m.connect, m.neighbors, m.ancestors);
    });
    for (const char* member : {"locator::locator", "locator::operator=", "locator::~locator"})
        of(calls, member)
            .with(
                name,
                [&m, points,
                 assigned = std::string(member) == "locator::operator="](unsigned& element) {
                    host::locator first;
                    const int status = first.build(m.pos, m.connect);
                    if (status != 0) return status;
                    host::locator second(std::move(first));
                    if (assigned) first = std::move(second);
                    return (assigned ? first : second)
                        .locate({(*points)(0, 0), (*points)(1, 0)}, element);
                },
                any_number);
    of(calls, "locator::locate(p, element, tolerance)")
        .with(
            name,
            [built, points](number_list& elements, number_list& statuses) {
                for (std::size_t j = 0; j < points->cols; ++j)
                    statuses[j] = static_cast<unsigned>(built->locate(
                        {(*points)(0, j), (*points)(1, j)}, elements[j], j % 2 ? 1e-6 : 0.1));
                return 0;
            },
            number_list(points->cols, any_number), number_list(points->cols, any_number));
    for (const unsigned threads : {1u, 3u})
        of(calls, "locator::locate(points, elements, weights, places, tolerance, threads)")
            .with(
                name + ", threads " + std::to_string(threads),
                [built, points, threads](number_list& elements, coordinates& weights,
                                         number_list& places) {
                    return built->locate(*points, elements, weights, places, 1e-6, threads);
                },
                there, columns_there, there);
    of(calls, "locator::transfer")
        .with(
            name,
            [built, points](number_list& states, number_list& elements, coordinates& local) {
                host::transfer_table t{states, elements, local};
                const int status = built->transfer(*points, t);
                states = t.states;
                elements = t.elements;
                local = t.local;
                return status;
            },
            there, there, columns_there);
    of(calls, "locator::carry(table, field, values) of a matrix")
        .with(
            name,
            [built, table, &m](coordinates& values) {
                return built->carry(*table, m.pos, values, -1.0);
            },
            columns_there);
    value_list heights(m.pos.cols);
    for (std::size_t j = 0; j < m.pos.cols; ++j) heights[j] = m.pos(0, j) - 2 * m.pos(1, j);
    of(calls, "locator::carry(table, field, values) of a list")
        .with(
            name,
            [built, table, heights](value_list& values) {
                return built->carry(*table, heights, values);
            },
            value_list(2, 5.0));
}

void add_outlines(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    coordinates corners(2, 4, 0.0);
    corners(0, 0) = corners(1, 3) = 1;
    corners(0, 1) = corners(1, 2) = 2.5;
    coordinates wide(3, 6, 9.0);
    for (std::size_t j = 0; j < 4; ++j)
        for (std::size_t i = 0; i < 2; ++i) wide(i + 1, j + 1) = corners(i, j);
    const coordinates view = wide.sub_matrix(1, 1, 2, 4);
    for (const unsigned n : {0u, 1u, 2u, 16u, 301u})
        for (const bool as_view : {false, true})
            of(calls, "arc")
                .with(
                    "cells " + std::to_string(n) + (as_view ? ", view" : ""),
                    [n](coordinates& pos, number_list& line) {
                        return host::arc(pos, 1, 3, {0.1, -0.2}, n, line);
                    },
                    as_view ? view : corners, list_of({3, 1}));
    of(calls, "arc")
        .with(
            "around a node",
            [](coordinates& pos, number_list& line) {
                return host::arc(pos, 1, 3, {2.5, 0}, 4, line);
            },
            corners, list_of({3, 1}));
    // Of four sides two run backwards; then one does not meet the next.
    const number_list backwards[] = {list_of({0, 1, 2}), list_of({2, 3}), list_of({5, 4, 3}),
                                     list_of({0, 5})};
    const number_list apart[] = {list_of({0, 1}), list_of({1, 2}), list_of({7, 3}),
                                 list_of({3, 0})};
    for (const bool meet : {true, false}) {
        const number_list* const s = meet ? backwards : apart;
        of(calls, "patch_loop")
            .with(
                meet ? "two sides backwards" : "a side that does not meet the next",
                [bottom = s[0], right = s[1], top = s[2], left = s[3]](number_list& loop) {
                    return host::patch_loop(bottom, right, top, left, loop);
                },
                list_of({3, 1}));
    }
    for (const unsigned a : {1u, 2u, 5u})
        of(calls, "curved_edges")
            .with(
                "nodes between " + std::to_string(a),
                [a, line = list_of({0, 5, 1, 6, 2})](number_list& ends, connectivity& edges) {
                    return host::curved_edges(line, a, ends, edges);
                },
                list_of({3, 1}), in.edges_there);
}

void add_node_orders(std::vector<call>& calls) {
    using host::nodal_element;
    using host::node_format;
    constexpr nodal_element elements[] = {
        nodal_element::T3,  nodal_element::T6,  nodal_element::T7, nodal_element::T10,
        nodal_element::T15, nodal_element::Q4,  nodal_element::Q8, nodal_element::Q9,
        nodal_element::Q12, nodal_element::Q16, nodal_element::Q25};
    for (const nodal_element e : elements) {
        const std::string number = "element " + std::to_string(static_cast<unsigned>(e));
        const unsigned nodes = host::node_count(e);
        of(calls, "node_count").with(number, [nodes] { return static_cast<int>(nodes); });
        for (const node_format format : {node_format::vtk, node_format::gmsh}) {
            const std::string name = number + (format == node_format::vtk ? ", vtk" : ", gmsh");
            const auto taken = [nodes](const unsigned* order, number_list& places) {
                if (!order) return 0;
                std::copy_n(order, nodes, places.begin());
                return 1;
            };
            of(calls, "order_to")
                .with(
                    name, [=](number_list& l) { return taken(host::order_to(format, e), l); },
                    number_list(nodes, any_number));
            of(calls, "order_from")
                .with(
                    name, [=](number_list& l) { return taken(host::order_from(format, e), l); },
                    number_list(nodes, any_number));
        }
    }
    const shared_inputs& in = inputs();
    const std::pair<const char*, const connectivity*> quadratic[] = {{"T6", &in.T6},
                                                                     {"Q8", &in.Q8},
                                                                     {"Q9", &in.Q9},
                                                                     {"mixed8", &in.mixed8},
                                                                     {"mixed9", &in.mixed9}};
    for (const auto& [name, connect] : quadratic) {
        of(calls, "reorder_to")
            .with(
                name, [](connectivity& c) { return host::reorder_to(node_format::vtk, 1, c); },
                *connect);
        of(calls, "reorder_from")
            .with(
                name, [](connectivity& c) { return host::reorder_from(node_format::gmsh, 1, c); },
                *connect);
    }
    of(calls, "reorder_to")
        .with(
            "another order",
            [](connectivity& c) { return host::reorder_to(node_format::vtk, 2, c); }, in.T6);
    of(calls, "explain").with("area", [] { return host::explain("area", -1) ? 1 : 0; });
}

const std::vector<call>& host_calls() {
    static const std::vector<call> calls = [] {
        std::vector<call> all;
        const shared_inputs& in = inputs();
        for (std::size_t k = 0; k < 3; ++k) {
            const std::pair<std::string, const shared_mesh*> meshes[] = {
                {"plane", &in.plane[k]},
                {"plane as views", &in.plane_views[k]},
                {"rough plane", &in.rough_plane[k]},
                {"surface", &in.surface[k]},
                {"surface as views", &in.surface_views[k]},
                {"rough surface", &in.rough_surface[k]}};
            for (const auto& [name, mesh] : meshes) {
                const std::string whole = name + " " + std::to_string(k);
                add_adjacency(all, whole, *mesh);
                if (mesh->pos.rows == 2) add_locator(all, whole, *mesh);
            }
        }
        add_outlines(all);
        add_node_orders(all);
        return all;
    }();
    return calls;
}

// -------------------------------------------------------------------------------------------- proofs

std::string without_parameters(const std::string& name) {
    return name.substr(0, name.find('('));
}

TEST(HostCatalogue, HasCallsOfEveryExportedFunctionAndOfNoOther) {
    std::ifstream list(std::string(ZEL_TEST_DATA) + "/package/exported_symbols_host.txt");
    const std::string begin = "zel::host::";
    std::map<std::string, std::size_t> exported; // with the number of overloads
    for (std::string line; std::getline(list, line);) {
        ASSERT_EQ(0U, line.rfind(begin, 0)) << line;
        ++exported[without_parameters(line).substr(begin.size())];
    }
    std::map<std::string, std::set<std::string>> called;
    for (const call& c : host_calls()) called[without_parameters(c.function)].insert(c.function);
    for (const auto& [function, overloads] : exported)
        EXPECT_EQ(overloads, called[function].size()) << function;
    EXPECT_EQ(exported.size(), called.size());
    EXPECT_GE(exported.size(), 25U);
}

TEST(HostCatalogue, NamesEveryCallOnce) {
    std::set<std::string> names;
    for (const call& c : host_calls()) EXPECT_TRUE(names.insert(c.name()).second) << c.name();
}

TEST(HostCatalogue, ViewsGiveWhatMatricesGive) {
    std::map<std::string, outcome> plain;
    for (const call& c : host_calls()) plain[c.name()] = c.run({});
    std::size_t compared = 0;
    for (const auto& [name, o] : plain) {
        std::string other = name;
        for (const char* mark : {" as views", ", view"}) {
            const std::size_t at = other.find(mark);
            if (at != std::string::npos) other.erase(at, std::string(mark).size());
        }
        if (other == name) continue;
        ++compared;
        EXPECT_EQ(plain.at(other).status, o.status) << name;
        EXPECT_TRUE(plain.at(other).after == o.after) << name;
    }
    EXPECT_GT(compared, 100U);
}

/// The results that are written down, of every function but one. To write them anew, after a change that is meant:
///     ZEL_WRITE_DIGESTS=1 build/release/tests/host/host_tests --gtest_filter=HostCatalogue.*Bit
TEST(HostCatalogue, ResultsAreThoseWrittenDownToTheBit) {
    const std::string path = std::string(ZEL_TEST_DATA) + "/host/digests.txt";
    std::vector<std::string> lines;
    for (const call& c : host_calls()) {
        if (c.function == "arc") continue; // stands on sine and cosine of the machine
        const outcome o = c.run({});
        char digest[32];
        std::snprintf(digest, sizeof digest, "\t%d\t%016" PRIx64, o.status, digest_of(o));
        lines.push_back(c.name() + digest);
    }
    if (std::getenv("ZEL_WRITE_DIGESTS")) {
        std::ofstream file(path);
        for (const std::string& line : lines) file << line << '\n';
    }
    std::ifstream file(path);
    std::vector<std::string> written;
    for (std::string line; std::getline(file, line);) written.push_back(line);
    ASSERT_EQ(written.size(), lines.size());
    for (std::size_t k = 0; k < lines.size(); ++k) EXPECT_EQ(written[k], lines[k]);
}

bool same(const outcome& a, const outcome& b) {
    return a.status == b.status && a.after == b.after;
}

/// A long search that finds no memory ends without an element.
bool found_less(const outcome& o, const outcome& whole) {
    const part& some = o.after[0];
    const part& all = whole.after[0];
    if (o.status != whole.status || some.cols != all.cols) return false;
    for (std::size_t j = 0; j < all.cols; ++j)
        if (some.bits[j] != all.bits[j] && some.bits[j] != 0xFFFFFFFF) return false;
    return true;
}

TEST(HostCatalogue, ExhaustedMemoryIsReportedAndNothingChanges) {
    std::size_t failures = 0;
    for (const call& c : host_calls()) {
        SCOPED_TRACE(c.name());
        std::size_t allocations = 0;
        const outcome whole = c.run({[&] { allocations = allocation_count(); },
                                     [&] { allocations = allocation_count() - allocations; }});
        for (const bool for_good : {false, true}) {
            for (std::size_t k = 1; k <= allocations; ++k) {
                const std::size_t blocks = live_blocks();
                fail_for_good(for_good);
                const outcome o = c.run({[k] { arm_allocator(k); }, [] { disarm_allocator(); }});
                fail_for_good(false);
                ++failures;
                const bool searches = c.function.rfind("locator::locate", 0) == 0;
                EXPECT_TRUE(same(o, whole) || (o.status == -199 && o.after == o.before) ||
                            (searches && found_less(o, whole)))
                    << "allocation " << k << " of " << allocations << ", status " << o.status;
                EXPECT_EQ(blocks, live_blocks()) << "blocks left behind";
            }
        }
        EXPECT_TRUE(same(c.run({}), whole)) << "the call behind the failures has another result";
    }
    EXPECT_GT(failures, 1000U);
}

} // namespace
