// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zel_test {

/// While one of these lives the library works on one double at a time, as on a processor without AVX2.
/// Elsewhere it does what the processor can. Not for several threads.
class one_lane {
public:
    one_lane() noexcept;
    ~one_lane();
    one_lane(const one_lane&) = delete;
    one_lane& operator=(const one_lane&) = delete;
};

/// The same for a processor that works on eight numbers at a time at most, as one without AVX-512.
class eight_numbers {
public:
    eight_numbers() noexcept;
    ~eight_numbers();
    eight_numbers(const eight_numbers&) = delete;
    eight_numbers& operator=(const eight_numbers&) = delete;
};

} // namespace zel_test
