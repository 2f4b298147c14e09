# SPDX-License-Identifier: Apache-2.0
# Warnings of our own code. Headers of other libraries come in as system headers and are not judged.

set(zel_warnings
    -Wall
    -Wextra
    -Wpedantic
    -Wcast-align
    -Wcast-qual
    -Wconversion
    -Wextra-semi
    -Wfloat-conversion
    -Wformat=2
    -Wimplicit-fallthrough
    -Wmissing-declarations
    -Wnon-virtual-dtor
    -Wold-style-cast
    -Woverloaded-virtual
    -Wredundant-decls
    -Wshadow
    -Wsign-conversion
    -Wundef
    -Wunused
    -Wvla)

# clang's -Wdouble-promotion objects to long double as well, which is deliberate wherever it occurs.
set(zel_warnings_gcc -Wdouble-promotion -Wduplicated-branches -Wduplicated-cond -Wlogical-op
                     -Wnull-dereference)

# The test framework's macros leave a variadic argument out, which is allowed from C++20 on.
set(zel_warnings_clang -Wshadow-uncaptured-local -Wunreachable-code
                       -Wno-gnu-zero-variadic-macro-arguments)

# Instrumented code hides from gcc what it needs to know for these two.
set(zel_warnings_gcc_instrumented -Wno-maybe-uninitialized -Wno-null-dereference)

# zel_set_warnings(<target>): the warnings for one of our own targets.
function(zel_set_warnings target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE ${zel_warnings} ${zel_warnings_gcc})
    if(ZEL_SANITIZE OR ZEL_COVERAGE)
      target_compile_options(${target} PRIVATE ${zel_warnings_gcc_instrumented})
    endif()
  elseif(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE ${zel_warnings} ${zel_warnings_clang})
  elseif(MSVC)
    target_compile_options(${target} PRIVATE /W4)
  endif()
  if(ZEL_WARNINGS_AS_ERRORS)
    if(MSVC)
      target_compile_options(${target} PRIVATE /WX)
    else()
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
endfunction()
