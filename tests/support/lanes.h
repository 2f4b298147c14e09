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

} // namespace zel_test
