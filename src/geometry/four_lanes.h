// zel tessel2d: planar and surface mesh tools.
#pragma once

namespace zel::tessel2d {

/// Whether this processor works on four doubles at a time (AVX2). What asks goes on one at a time where it
/// does not, with the same bits.
bool has_four_lanes() noexcept;

} // namespace zel::tessel2d
