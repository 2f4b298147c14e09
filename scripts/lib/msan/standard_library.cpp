// SPDX-License-Identifier: Apache-2.0
// What the compiled part of libc++ writes counts as unwritten wherever it goes. So std::to_string once more, to be
// compiled for the sanitizer; and names of types stay as the compiler writes them.
#include <cstddef>
#include <cstdio>
#include <string>

namespace {

template <class Number>
std::string printed(const char* format, Number x) {
    char text[400] = {};
    const int size = std::snprintf(text, sizeof text, format, x);
    return std::string(text, static_cast<std::size_t>(size));
}

} // namespace

extern "C" char* __cxa_demangle(const char*, char*, std::size_t*, int* status);
extern "C" char* __cxa_demangle(const char*, char*, std::size_t*, int* status) {
    *status = -1;
    return nullptr;
}

_LIBCPP_BEGIN_NAMESPACE_STD

// clang-format off
string to_string(int x) { return printed("%d", x); }
string to_string(long x) { return printed("%ld", x); }
string to_string(long long x) { return printed("%lld", x); }
string to_string(unsigned x) { return printed("%u", x); }
string to_string(unsigned long x) { return printed("%lu", x); }
string to_string(unsigned long long x) { return printed("%llu", x); }
string to_string(float x) { return printed("%f", static_cast<double>(x)); }
string to_string(double x) { return printed("%f", x); }
string to_string(long double x) { return printed("%Lf", x); }
// clang-format on

_LIBCPP_END_NAMESPACE_STD
