// zel tessel2d: planar and surface mesh tools.
#pragma once

#include "foundation/dense.h"
#include "zel/tessel2d/export.h"
namespace zel::tessel2d {
ZEL_TESSEL2D_API int convert_into_linear(dense2D<unsigned>& connect);
ZEL_TESSEL2D_API int convert_into_quadratic(dense2D<double>& pos, dense2D<unsigned>& connect);
ZEL_TESSEL2D_API int convert_into_quadratic(dense2D<double>& pos, dense2D<unsigned>& connect,
                                            const dense2D<unsigned>& edges);
ZEL_TESSEL2D_API int convert_into_high_order(dense2D<double>& pos, dense2D<unsigned>& connect,
                                             unsigned a, unsigned b, unsigned c,
                                             const dense2D<unsigned>& edges);
ZEL_TESSEL2D_API int convert_into_high_order(dense2D<double>& pos,
                                             const dense2D<unsigned>& connect_in, unsigned a,
                                             unsigned b, unsigned c,
                                             dense2D<unsigned>& connect_out,
                                             const dense2D<unsigned>& edges);
ZEL_TESSEL2D_API int split_into_linear(const dense2D<unsigned>& connect_in,
                                       dense2D<unsigned>& connect_out);
ZEL_TESSEL2D_API int split_into_Q4(dense2D<double>& pos, const dense2D<unsigned>& connect_in,
                                   dense2D<unsigned>& connect_out,
                                   const dense2D<unsigned>& edges);
ZEL_TESSEL2D_API int split_Q4_into_T3(const dense2D<unsigned>& connect_in,
                                      dense2D<unsigned>& connect_out);
ZEL_TESSEL2D_API int split_Q4_into_T3(const dense2D<double>& pos,
                                      const dense2D<unsigned>& connect_in,
                                      dense2D<unsigned>& connect_out);
ZEL_TESSEL2D_API int split_Q4_into_T3(const dense2D<double>& pos,
                                      const dense2D<unsigned>& connect_in, double min_quality,
                                      double min_angle_quality, double min_warp_quality,
                                      int criterion, dense1D<unsigned, 8>& kept,
                                      dense1D<unsigned, 8>& split,
                                      dense2D<unsigned>& connect_out);
} // namespace zel::tessel2d
