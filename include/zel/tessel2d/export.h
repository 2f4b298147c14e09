// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what the library exports. Everything else is built with hidden visibility.
///
/// ZEL_TESSEL2D_BUILD is defined while the library itself is compiled, ZEL_TESSEL2D_STATIC by the
/// users of the static library; the CMake targets and the pkg-config file set what is needed.
#if defined(_WIN32) && !defined(ZEL_TESSEL2D_STATIC)
#if defined(ZEL_TESSEL2D_BUILD)
#define ZEL_TESSEL2D_API __declspec(dllexport)
#else
#define ZEL_TESSEL2D_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define ZEL_TESSEL2D_API __attribute__((visibility("default")))
#else
#define ZEL_TESSEL2D_API
#endif
