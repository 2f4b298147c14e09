// SPDX-License-Identifier: Apache-2.0
// What the processor works on at a time.
#pragma once

namespace zel::tessel2d {

/// Returns true if the processor has AVX2. Callers that get false process one element at a time; the
/// results are bit-identical.
bool has_four_lanes() noexcept;

/// Returns true if the processor works on sixteen numbers of 32 bits at a time and keeps its clock while it does:
/// AVX-512 from VBMI2 on.
bool has_sixteen_numbers() noexcept;

} // namespace zel::tessel2d
