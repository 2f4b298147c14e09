// SPDX-License-Identifier: Apache-2.0
// The four doubles of lanes.h in plain C++, for processors without AVX2.
#pragma once

// Included by lanes.h alone. The names and what they do are those of lanes_avx2.h.
#include <cstdint>

#define ZEL_FOUR_LANES
#define ZEL_FOUR_LANES_INLINED inline

namespace zel::tessel2d {

struct lane_mask {
    bool holds[lane_count];

    friend lane_mask operator!(const lane_mask& a) noexcept {
        return {{!a.holds[0], !a.holds[1], !a.holds[2], !a.holds[3]}};
    }
};

inline lane_mask both(const lane_mask& a, const lane_mask& b) noexcept {
    lane_mask out;
    for (std::size_t i = 0; i < lane_count; ++i) out.holds[i] = a.holds[i] && b.holds[i];
    return out;
}
inline lane_mask either(const lane_mask& a, const lane_mask& b) noexcept {
    return !both(!a, !b);
}
inline unsigned bits_of(const lane_mask& a) noexcept {
    unsigned bits = 0;
    for (std::size_t i = 0; i < lane_count; ++i) bits |= (a.holds[i] ? 1U : 0U) << i;
    return bits;
}
inline bool none(const lane_mask& a) noexcept {
    return bits_of(a) == 0;
}

struct lanes {
    double x[lane_count];

    lanes() = default;
    lanes(double number) noexcept : x{number, number, number, number} {}

    /// Lane i is `f(a[i], b[i])`.
    template <class F>
    static lanes each(const lanes& a, const lanes& b, F&& f) noexcept {
        lanes out;
        for (std::size_t i = 0; i < lane_count; ++i) out.x[i] = f(a.x[i], b.x[i]);
        return out;
    }
    template <class F>
    static lane_mask mask(const lanes& a, const lanes& b, F&& f) noexcept {
        lane_mask out;
        for (std::size_t i = 0; i < lane_count; ++i) out.holds[i] = f(a.x[i], b.x[i]);
        return out;
    }

    friend lanes operator-(const lanes& a) noexcept {
        return each(a, a, [](double s, double) { return -s; });
    }
    friend lanes operator+(const lanes& a, const lanes& b) noexcept {
        return each(a, b, [](double s, double t) { return s + t; });
    }
    friend lanes operator-(const lanes& a, const lanes& b) noexcept {
        return each(a, b, [](double s, double t) { return s - t; });
    }
    friend lanes operator*(const lanes& a, const lanes& b) noexcept {
        return each(a, b, [](double s, double t) { return s * t; });
    }
    friend lanes operator/(const lanes& a, const lanes& b) noexcept {
        return each(a, b, [](double s, double t) { return s / t; });
    }
    friend lane_mask operator<(const lanes& a, const lanes& b) noexcept {
        return mask(a, b, [](double s, double t) { return s < t; });
    }
    friend lane_mask operator>(const lanes& a, const lanes& b) noexcept {
        return mask(a, b, [](double s, double t) { return s > t; });
    }
    friend lane_mask operator>=(const lanes& a, const lanes& b) noexcept {
        return mask(a, b, [](double s, double t) { return s >= t; });
    }
    friend lane_mask operator==(const lanes& a, const lanes& b) noexcept {
        return mask(a, b, [](double s, double t) { return s == t; });
    }
};

inline lane_mask nowhere(const lanes&) noexcept {
    return {{false, false, false, false}};
}
inline lanes choose(const lane_mask& mask, const lanes& a, const lanes& b) noexcept {
    lanes out;
    for (std::size_t i = 0; i < lane_count; ++i) out.x[i] = mask.holds[i] ? a.x[i] : b.x[i];
    return out;
}
inline lanes kept_where(const lane_mask& mask, const lanes& a) noexcept {
    return choose(mask, a, lanes(0.0));
}
inline lanes zero_where(const lane_mask& mask, const lanes& a) noexcept {
    return choose(mask, lanes(0.0), a);
}
inline lanes smaller(const lanes& a, const lanes& b) noexcept {
    return lanes::each(a, b, [](double s, double t) { return smaller(s, t); });
}
inline lanes larger(const lanes& a, const lanes& b) noexcept {
    return lanes::each(a, b, [](double s, double t) { return larger(s, t); });
}
inline lanes square_root(const lanes& a) noexcept {
    return lanes::each(a, a, [](double s, double) { return square_root(s); });
}
inline lanes absolute(const lanes& a) noexcept {
    return lanes::each(a, a, [](double s, double) { return absolute(s); });
}

inline lanes load_lanes(const double* first) noexcept {
    lanes out;
    std::copy_n(first, lane_count, out.x);
    return out;
}
template <int A, int B, int C, int D>
inline lanes rearranged(const lanes& a) noexcept {
    const double numbers[lane_count] = {a.x[A], a.x[B], a.x[C], a.x[D]};
    return load_lanes(numbers);
}
inline void store_lanes(const lanes& a, double* first) noexcept {
    std::copy_n(a.x, lane_count, first);
}

struct lane_pairs {
    lane_columns<const double> p;

    explicit lane_pairs(const lane_columns<const double>& points) noexcept
        : p{points[0], points[1], points[2], points[3]} {}

    vector_of<lanes, 2> components() const noexcept {
        vector_of<lanes, 2> v;
        for (std::size_t k = 0; k < 2; ++k)
            for (std::size_t i = 0; i < lane_count; ++i) v[k].x[i] = p[i][k];
        return v;
    }
    void store(double* evens, double* odds) const noexcept {
        for (std::size_t i = 0; i < lane_count; ++i)
            std::copy_n(p[i], 2, (i % 2 == 0 ? evens : odds) + i / 2 * 2);
    }
};

template <int Dim>
vector_of<lanes, Dim> load_columns(const lane_columns<const double>& p) noexcept {
    vector_of<lanes, Dim> v;
    for (std::size_t k = 0; k < Dim; ++k)
        for (std::size_t i = 0; i < lane_count; ++i) v[k].x[i] = p[i][k];
    return v;
}

inline void store_choices(const lane_mask& one, const lane_mask& two, int unit,
                          std::int64_t (&to)[lane_count]) noexcept {
    for (std::size_t i = 0; i < lane_count; ++i)
        to[i] = two.holds[i] ? std::int64_t{2} * unit : one.holds[i] ? unit : 0;
}

inline vector_of<lanes, 4> transposed(const vector_of<lanes, 4>& v) noexcept {
    vector_of<lanes, 4> out;
    for (std::size_t k = 0; k < 4; ++k)
        for (std::size_t i = 0; i < lane_count; ++i) out[i].x[k] = v[k].x[i];
    return out;
}

template <int Dim>
struct lane_vectors {
    vector_of<lanes, Dim> v;

    explicit lane_vectors(const vector_of<lanes, Dim>& vectors) noexcept : v(vectors) {}
    void store(std::size_t lane, double* to) const noexcept {
        for (std::size_t k = 0; k < Dim; ++k) to[k] = v[k].x[lane];
    }
    void add(std::size_t lane, double* to) const noexcept {
        for (std::size_t k = 0; k < Dim; ++k) to[k] += v[k].x[lane];
    }
};

inline void store_packed(const vector_of<lanes, 3>& v, double* to) noexcept {
    const lane_vectors<3> vectors(v);
    for (std::size_t i = 0; i < lane_count; ++i) vectors.store(i, to + 3 * i);
}

} // namespace zel::tessel2d
