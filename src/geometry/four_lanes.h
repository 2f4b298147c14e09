// SPDX-License-Identifier: Apache-2.0
// Whether the processor works on four doubles at a time.
#pragma once

namespace zel::tessel2d {

/// Returns true if the processor has AVX2. Callers that get false process one element at a time; the
/// results are bit-identical.
bool has_four_lanes() noexcept;

} // namespace zel::tessel2d
