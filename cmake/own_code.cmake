# SPDX-License-Identifier: Apache-2.0
# zel_own_code(<target>): how every target of ours is compiled: library, tests, benchmarks, examples.
#
# Results are reproducible to the bit. No multiplication and addition is fused behind our back, and
# no flag lets the compiler reorder a sum. Only errno after a mathematical function, which nobody
# reads here, is given up.
function(zel_own_code target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_features(${target} PRIVATE cxx_std_17)
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE -ffp-contract=off -fno-math-errno)
  endif()
  zel_set_warnings(${target})
  zel_sanitize(${target})
  if(ZEL_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    # What is inlined by force would be counted anew at each call.
    target_compile_definitions(${target} PRIVATE always_inline=noinline)
    # Formulas over four lanes are then functions of their own, which pass lanes in registers of AVX2; those of
    # AVX-512 stay unused.
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
      target_compile_options(${target} PRIVATE -mavx2)
    endif()
  endif()
  target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
endfunction()

# zel_no_fused_instructions(<target>): for what is built into a library.
#
# In spite of -ffp-contract=off gcc fuses where it vectorises (a*b - c, d*e + f) for a processor that adds
# and subtracts in turn. So it is told that the library runs without such instructions; nothing else needs
# them. Those of AVX-512 go only with the rest of it.
function(zel_no_fused_instructions target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$")
    target_compile_options(${target} PRIVATE -mno-fma -mno-fma4 -mno-avx512f)
  endif()
endfunction()
