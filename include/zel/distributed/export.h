// SPDX-License-Identifier: Apache-2.0
#pragma once

#if defined(__GNUC__) && !defined(_WIN32)
#define ZEL_TESSEL2D_DISTRIBUTED_API __attribute__((visibility("default")))
#else
#define ZEL_TESSEL2D_DISTRIBUTED_API
#endif
