// SPDX-License-Identifier: Apache-2.0
// The call frame, containers and LAPACK.
#include "every_function/calls.h"
#include "every_function/inputs.h"
#include "zel/lapack.h"
#include "zel/tessel2d/version.h"

namespace zel_test::every_function {

namespace {

void add_frame(std::vector<call>& calls) {
    calls_of<const char*()>(calls, "version", zel::tessel2d::version)
        .with(
            "text",
            [](auto f, std::string& text) {
                text = f();
                return text.size();
            },
            std::string("as long as the text that comes"));
    calls_of<std::size_t(zel::element_type)>(calls, "element_node_count", zel::element_node_count)
        .with(
            "all kinds",
            [](auto f, number_list& counts) {
                for (unsigned kind = 0; kind < counts.size; ++kind)
                    counts[kind] = static_cast<unsigned>(f(static_cast<zel::element_type>(kind)));
                return 0;
            },
            number_list(25, 99u));
}

void add_memory(std::vector<call>& calls) {
    calls_of<void*(std::size_t)>(calls, "__vector_num_alloc", zel::__vector_num_alloc)
        .with("written to and returned", [](auto f) {
            void* const memory = f(1000);
            if (memory) std::memset(memory, 1, 1000);
            zel::__vector_num_free(memory);
            return memory != nullptr;
        });
    calls_of<void(void*)>(calls, "__vector_num_free", zel::__vector_num_free)
        .with("nothing", [](auto f) {
            f(nullptr);
            return true;
        });
    calls_of_class{calls, "vector_num"}.with("made and dropped", [] {
        const zel::Ptr<zel::vector_num<double>> block(zel::vector_num<double>::create());
        return block->capacity == 0 && block->data == nullptr;
    });
}

void add_containers(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    calls_of_class{calls, "dense1D"}
        .with(
            "pushed, one by one",
            [](number_list& list) {
                for (unsigned i = 0; i < 300; ++i) list.push_back(i);
                return list.size > 0;
            },
            in.loop)
        .with(
            "resized with a fill", [](value_list& list) { return list.resize(400, 2.5); },
            in.outline_sizes)
        .with(
            "reserved and cleared",
            [](number_list& list) {
                if (!list.reserve(500)) return false;
                list.clear();
                return true;
            },
            in.loop)
        .with("views of a shared block", [&in] {
            number_list view = in.loop;
            const number_list other = view;
            view.clear();
            return other.size + view.size;
        });
    calls_of_class{calls, "dense2D"}
        .with(
            "one row more, with a fill",
            [](connectivity& m) { return m.resize(m.rows + 1, m.cols + 7, no_node); }, in.crowd)
        .with(
            "columns added to a view", [](coordinates& m) { return m.resize(3, m.cols + 60, 0.5); },
            framed(in.outline_space).view)
        .with(
            "deep copy of a view", [&in](coordinates& m) { return m.copy(in.plane_views[0].pos); },
            in.outline_plane)
        .with(
            "reserved", [](coordinates& m) { return m.reserve(5, 300, 2); }, in.outline_plane)
        .with(
            "shallow copy of a part",
            [&in](connectivity& m) {
                m.shallow_copy(in.surface[1].connect.sub_matrix(1, 10, 2, 30));
                return m.empty();
            },
            in.crowd);
}

void add_appending(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto one_to_other = [](const auto& from) {
        return [&from](auto f, auto& to) { return f(from, to); };
    };
    calls_of<bool(const number_list&, number_list&)>(calls, "append", zel::append)
        .with("to a list", one_to_other(in.view_of_loop), in.plane[0].ancestors)
        .with("to nothing", one_to_other(in.loop), in.no_list);
    calls_of<number_list&(const unsigned*, const unsigned*, number_list&)>(calls, "append_reversed",
                                                                           zel::append_reversed)
        .with(
            "to a list",
            [&in](auto f, number_list& to) { return f(in.loop.end(), in.loop.begin(), to).size; },
            in.no_list);
    calls_of<bool(const connectivity&, connectivity&)>(calls, "append_columns", zel::append_columns)
        .with("to others", one_to_other(in.plane_views[1].connect), in.quads_there)
        .with("to a view", one_to_other(in.plane[0].connect), in.triangles_view);
    const auto push = [&in](auto f, connectivity& to) {
        bool all = true;
        for (unsigned i = 0; i < 30; ++i) all = f(in.loop.begin() + i, to) && all;
        return all;
    };
    calls_of<bool(const unsigned*, connectivity&)>(calls, "push_back_column3",
                                                   zel::push_back_column3)
        .with("behind others", push, in.triangles_there)
        .with("columns of another height", push, in.quads_there);
    calls_of<bool(const unsigned*, connectivity&)>(calls, "push_back_column4",
                                                   zel::push_back_column4)
        .with("into nothing", push, in.none);
    calls_of<unsigned(const connectivity&)>(calls, "max_index", zel::max_index)
        .with("mixed", [&in](auto f) { return f(in.plane[2].connect); })
        .with("view", [&in](auto f) { return f(in.plane_views[1].connect); });
}

void add_eigenvalues(std::vector<call>& calls) {
    const shared_inputs& in = inputs();
    const auto dspev =
        calls_of<int(char, char, long, double*, double*, double*, long, double*, long&)>(
            calls, "lapack::dspev", zel::lapack::dspev);
    for (const char uplo : {'U', 'L'})
        for (const char jobz : {'N', 'V'})
            for (const long n : {1L, 3L, 8L}) {
                dspev.with(
                    std::string("order ") + std::to_string(n) + ", " + jobz + uplo,
                    [=](auto f, value_list& ap, value_list& w, coordinates& z) {
                        double work[24];
                        long info = 5;
                        return f(jobz, uplo, n, ap.begin(), w.begin(), z.begin(), n, work, info);
                    },
                    in.outline_sizes, value_list(8, 0.0), coordinates(8, 8, 0.0));
            }
}

} // namespace

void add_foundation_calls(std::vector<call>& calls) {
    add_frame(calls);
    add_memory(calls);
    add_containers(calls);
    add_appending(calls);
    add_eigenvalues(calls);
}

} // namespace zel_test::every_function
