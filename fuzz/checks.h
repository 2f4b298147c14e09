// SPDX-License-Identifier: Apache-2.0
#pragma once

// Calls a function of the library and checks what every function promises. A check that fails says what
// is wrong and aborts, so that libFuzzer keeps the input.
//
//     const int status = call(in, "split_into_linear", {-1, -2},
//         [](auto& from, auto& to) { return split_into_linear(from, to); }, reads(from), grows(to));
//
// The arguments that are views come behind the function, each with its role; all else is captured. The
// function runs twice: with the views as they are and with the memory that the input grants, and then
// on plain copies with memory enough, filled with another pattern. Checked are
//
//     - the status: one of those listed, 0, or a count if `any_count` is in the list; -199 only if an
//       allocation of the call has failed or the driver has set `in.outgrows`;
//     - shape of all views: start and ld stay inside of the block;
//     - elements in front of an output and in the rows beside it: unchanged;
//     - roles, see below;
//     - equality of both runs, if no allocation has failed: layout of the arguments, storage that an
//       input shares with an output, and what fresh memory held make no difference. If one has failed,
//       the second run must not be refused for want of memory.
//
// Where two outputs share a block, only the first two of these are looked at.
#include "fuzz/allocator.h"
#include "fuzz/input.h"

#include "foundation/call_frame.h"
#include "zel/dense.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace zel_fuzz {

using zel::vector_num;

/// The call that is being checked, and its status.
struct situation {
    const char* function = "(no call)";
    int status = 0;
    bool failed = false; ///< an allocation of the call has failed
};
inline situation now;

/// Aborts unless `holds`.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "\n%s, status %d: it does not hold that %s\n", now.function, now.status,
                 what);
    std::abort();
}

// ------------------------------------------------------------------------------------------ roles

enum class role {
    reads,   // an input: nothing changes
    grows,   // unchanged with a negative status; else new columns, old ones keep their values
    gathers, // the same, but with a negative status new columns may have been added
    turns,   // changed in place; unchanged with a negative status
    makes    // what it holds is dropped
};

template <class View>
struct argument {
    View* view;
    role what;
};
template <class View>
argument<View> reads(const View& v) {
    return {const_cast<View*>(&v), role::reads};
}
template <class View>
argument<View> grows(View& v) {
    return {&v, role::grows};
}
template <class View>
argument<View> gathers(View& v) {
    return {&v, role::gathers};
}
template <class View>
argument<View> turns(View& v) {
    return {&v, role::turns};
}
template <class View>
argument<View> makes(View& v) {
    return {&v, role::makes};
}

constexpr int any_count = 1;

// --------------------------------------------------------------------------------------- contents

/// Where the elements of a view are; a list is a matrix of one column.
struct layout {
    const void* block;
    std::size_t start, rows, cols, ld;

    std::size_t extent() const { return rows * cols == 0 ? 0 : (cols - 1) * ld + rows; }
};
template <class T>
layout layout_of(const dense2D<T>& m) {
    return {m.storage.get(), m.start, m.rows, m.cols, m.ld};
}
template <class T>
layout layout_of(const dense1D<T, 8>& v) {
    return {v.storage.get(), v.start, v.size, 1, v.size};
}

/// All elements of a view, column by column.
template <class View>
std::vector<typename View::value_type> elements(const View& view) {
    const layout at = layout_of(view);
    std::vector<typename View::value_type> all;
    if (at.rows * at.cols == 0) return all;
    all.reserve(at.rows * at.cols);
    for (std::size_t j = 0; j < at.cols; ++j)
        all.insert(all.end(), view.data() + j * at.ld, view.data() + j * at.ld + at.rows);
    return all;
}

inline bool same(unsigned a, unsigned b) {
    return a == b;
}
/// Bit for bit, except for signs and payloads of NaN.
inline bool same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b);
}
template <class T>
bool same(const std::vector<T>& a, const std::vector<T>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](T x, T y) { return same(x, y); });
}

template <class T>
dense2D<T> plain_copy(const dense2D<T>& m) {
    dense2D<T> own;
    own.copy(m);
    return own;
}
template <class T>
dense1D<T, 8> plain_copy(const dense1D<T, 8>& v) {
    dense1D<T, 8> own(v.size);
    if (v.size != 0) std::copy_n(v.data(), v.size, own.data());
    return own;
}

/// A view as it was before the call.
template <class View>
struct snapshot {
    layout at;
    std::vector<typename View::value_type> values;

    explicit snapshot(const View& view) : at(layout_of(view)), values(elements(view)) {}

    bool unchanged(const View& view) const {
        const layout then = layout_of(view);
        return then.rows == at.rows && then.cols == at.cols && same(values, elements(view));
    }
    /// The old elements are still at their places.
    bool kept(const View& view) const {
        const layout then = layout_of(view);
        if (at.rows * at.cols == 0) return true;
        if (std::is_same_v<View, dense1D<typename View::value_type, 8>>)
            return then.rows >= at.rows && std::equal(values.begin(), values.end(), view.data(),
                                                      [](auto x, auto y) { return same(x, y); });
        if (then.rows < at.rows || then.cols < at.cols) return false;
        for (std::size_t j = 0; j < at.cols; ++j)
            for (std::size_t i = 0; i < at.rows; ++i)
                if (!same(values[j * at.rows + i], view.data()[j * then.ld + i])) return false;
        return true;
    }
};

/// A storage block as it was before the call. When another view holds it, the block survives as a whole;
/// else it may be dropped, or moved without what lies behind the view.
template <class T>
struct block_snapshot {
    vector_num<T, 8>* block;
    zel::Ptr<vector_num<T, 8>> held;
    T* memory;
    bool plain; // not owned by the block
    std::vector<T> values;
    bool unique;                // the block of one view alone
    std::size_t safe;           // elements that stay in any case
    std::vector<char> writable; // elements of outputs

    /// The elements of an output are its own, and the places behind it in which it may grow.
    void allow(const layout& at) {
        if (at.block != block) return;
        const bool empty = at.rows * at.cols == 0;
        for (std::size_t k = at.start; k < writable.size(); ++k)
            if (empty || (k - at.start) % at.ld < at.rows) writable[k] = 1;
    }
    bool kept(const T* data, std::size_t n) const {
        for (std::size_t k = 0; k < std::min(n, values.size()); ++k)
            if (!writable[k] && !same(values[k], data[k])) return false;
        return true;
    }
};

/// The blocks of all arguments.
struct block_snapshots {
    std::vector<block_snapshot<unsigned>> numbers;
    std::vector<block_snapshot<double>> doubles;

    std::vector<block_snapshot<unsigned>>& of(unsigned) { return numbers; }
    std::vector<block_snapshot<double>>& of(double) { return doubles; }

    template <class View>
    void add(const View& view, bool hold) {
        using T = typename View::value_type;
        auto* const block = view.storage.get();
        if (block->is_none()) return;
        auto& all = of(T());
        const layout at = layout_of(view);
        for (auto& known : all) {
            if (known.block != block) continue;
            known.safe = std::max(known.safe, at.start + at.extent());
            return;
        }
        block_snapshot<T> s;
        s.block = block;
        s.memory = block->data;
        s.plain = block->shift == vector_num<T, 8>::not_owned;
        s.values.assign(block->data, block->data + block->capacity);
        s.unique = block->is_unique() && !hold;
        s.safe = s.unique ? at.start + at.extent() : block->capacity;
        s.writable.assign(block->capacity, 0);
        if (hold) s.held = view.storage;
        all.push_back(std::move(s));
    }
};

// ------------------------------------------------------------------------------------------- call

template <class View>
void require_shape(const View& view) {
    const auto* const block = view.storage.get();
    require(block != nullptr, "a view has a block");
    const layout at = layout_of(view);
    require(view.size == at.rows * at.cols, "the size of a view is rows times columns");
    if (view.size == 0) return;
    require(at.ld >= at.rows, "ld is at least the number of rows");
    require(at.start <= block->capacity && at.extent() <= block->capacity - at.start,
            "a view lies within its block");
}

template <class View>
void require_role(const View& view, role what, const snapshot<View>& before, bool shared,
                  int status) {
    switch (what) {
    case role::reads:
        if (shared) return;
        require(before.unchanged(view), "an input is unchanged");
        break;
    case role::grows:
        if (status < 0)
            require(before.unchanged(view), "an output that grows is unchanged on failure");
        require(before.kept(view), "old columns of an output stay");
        break;
    case role::gathers:
        require(before.kept(view), "old columns of an output stay");
        break;
    case role::turns:
        if (status < 0)
            require(before.unchanged(view), "what is changed in place is unchanged on failure");
        break;
    case role::makes:
        break;
    }
}

template <class View>
void require_equal(const View& view, const View& copy, role what) {
    if (what == role::reads) return;
    const layout a = layout_of(view);
    const layout b = layout_of(copy);
    require(a.rows == b.rows && a.cols == b.cols,
            "layout, sharing and old memory do not change the shape of a result");
    require(same(elements(view), elements(copy)),
            "layout, sharing and old memory do not change a result");
}

template <class Call, class... Views, std::size_t... I>
int call_with(input& in, std::initializer_list<int> statuses, Call&& f, std::index_sequence<I...>,
              const argument<Views>&... arguments) {
    const bool hold = in.one_in(4);
    const std::tuple<snapshot<Views>...> before(snapshot<Views>(*arguments.view)...);
    block_snapshots blocks;
    (blocks.add(*arguments.view, hold), ...);

    // Which outputs share a block, with another output or with an input?
    std::vector<const void*> output_blocks;
    std::vector<const void*> outputs;
    bool tangled = false;
    const auto note = [&](const layout& at, role what, bool none) {
        if (what == role::reads || none) return;
        if (std::count(output_blocks.begin(), output_blocks.end(), at.block)) tangled = true;
        output_blocks.push_back(at.block);
    };
    (note(layout_of(*arguments.view), arguments.what, arguments.view->storage->is_none()), ...);
    ((arguments.what == role::reads ? void() : outputs.push_back(arguments.view)), ...);
    const auto is_shared = [&](const void* view, const void* block) {
        return std::count(outputs.begin(), outputs.end(), view) != 0 ||
               std::count(output_blocks.begin(), output_blocks.end(), block) != 0;
    };

    std::tuple<Views...> copies(plain_copy(*arguments.view)...);

    start_of_call(in.memory());
    const int status = f(*arguments.view...);
    const bool failed = end_of_call();

    now.status = status;
    now.failed = failed;
    const bool listed =
        status == 0 || status == -199 || std::any_of(statuses.begin(), statuses.end(), [&](int s) {
            return s == status || (s == any_count && status > 0);
        });
    require(listed, "the status is documented");
    require(status != -199 || failed || in.outgrows, "-199 tells of an allocation that has failed");
    (require_shape(*arguments.view), ...);
    if (tangled) return status;

    (require_role(*arguments.view, arguments.what, std::get<I>(before),
                  is_shared(arguments.view, std::get<I>(before).at.block), status),
     ...);

    const auto check_blocks = [&](auto& all) {
        for (auto& s : all) {
            const auto allow = [&](const layout& was, const layout& is, role what) {
                if (what == role::reads) return;
                // A view that is cleared may begin anew at the front of a block of its own.
                if (what == role::makes && s.unique && was.block == s.block)
                    s.writable.assign(s.writable.size(), 1);
                s.allow(was);
                s.allow(is);
            };
            (allow(std::get<I>(before).at, layout_of(*arguments.view), arguments.what), ...);
            if (s.plain) require(s.kept(s.memory, s.values.size()), "memory around a view stays");
            const bool alive =
                s.held ||
                ((layout_of(*arguments.view).block == static_cast<const void*>(s.block)) || ...);
            if (!alive) continue;
            const bool moved = s.block->data != s.memory;
            require(s.block->capacity >= s.safe || !s.held, "a block that others hold is not cut");
            require(s.kept(s.block->data,
                           std::min(moved ? s.safe : s.values.size(), s.block->capacity)),
                    "elements around a view stay");
        }
    };
    check_blocks(blocks.numbers);
    check_blocks(blocks.doubles);

    memory_plan plan;
    plan.pattern = 1;
    if (in.room > plan.bytes) plan.bytes = in.room;
    start_of_call(plan);
    const int again = f(std::get<I>(copies)...);
    if (end_of_call()) return status;
    require(again != -199 || in.outgrows,
            "with memory enough a call is not refused for want of it");
    if (failed) return status;
    require(again == status, "layout, sharing and old memory do not change the status");
    (require_equal(*arguments.view, std::get<I>(copies), arguments.what), ...);
    return status;
}

/// See the top of this file.
template <class Call, class... Views>
int call(input& in, const char* function, std::initializer_list<int> statuses, Call&& f,
         const argument<Views>&... arguments) {
    now.function = function;
    now.status = 0;
    const int status =
        call_with(in, statuses, f, std::index_sequence_for<Views...>(), arguments...);
    in.outgrows = false;
    return status;
}

// ------------------------------------------------------------------------------------ node numbers

/// Numbers of the inputs that name no node; they may come back in outputs.
template <class... Views>
std::vector<unsigned> odd_numbers(std::size_t nodes, const Views&... views) {
    std::vector<unsigned> odd{no_node};
    const auto add = [&](const auto& view) {
        for (const unsigned id : elements(view))
            if (id >= nodes) odd.push_back(id);
    };
    (add(views), ...);
    return odd;
}

/// All numbers from column `first` on are nodes, or odd ones of the input.
inline void require_nodes(const dense2D<unsigned>& connect, std::size_t first, std::size_t nodes,
                          const std::vector<unsigned>& odd) {
    if (connect.empty()) return;
    for (std::size_t j = first; j < connect.cols; ++j) {
        for (std::size_t i = 0; i < connect.rows; ++i) {
            const unsigned id = connect(i, j);
            require(id < nodes || std::count(odd.begin(), odd.end(), id),
                    "new elements name nodes");
        }
    }
}

} // namespace zel_fuzz
