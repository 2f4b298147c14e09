# SPDX-License-Identifier: Apache-2.0
# ZEL_SANITIZE names the sanitizers our own code is built with: "address;undefined" or "thread".
# A finding ends the program, so that a test fails.

set(zel_sanitizer_flags "")
if(ZEL_SANITIZE)
  foreach(sanitizer IN LISTS ZEL_SANITIZE)
    if(NOT sanitizer MATCHES "^(address|undefined|thread|leak)$")
      message(FATAL_ERROR "ZEL_SANITIZE: unknown sanitizer \"${sanitizer}\"")
    endif()
  endforeach()
  if("thread" IN_LIST ZEL_SANITIZE AND ("address" IN_LIST ZEL_SANITIZE OR "leak" IN_LIST
                                                                          ZEL_SANITIZE))
    message(FATAL_ERROR "ZEL_SANITIZE: thread goes neither with address nor with leak")
  endif()
  string(REPLACE ";" "," zel_sanitizer_list "${ZEL_SANITIZE}")
  set(zel_sanitizer_flags -fsanitize=${zel_sanitizer_list} -fno-sanitize-recover=all
                          -fno-omit-frame-pointer)
endif()

# How findings are reported. Tests find this in their environment: ctest reads the file before it runs
# any of them.
if(ZEL_SANITIZE)
  file(
    WRITE "${PROJECT_BINARY_DIR}/sanitizer_environment.cmake"
    "set(ENV{ASAN_OPTIONS} detect_stack_use_after_return=1:strict_string_checks=1:allocator_may_return_null=1)
set(ENV{UBSAN_OPTIONS} print_stacktrace=1)
set(ENV{TSAN_OPTIONS} second_deadlock_stack=1:allocator_may_return_null=1)
")
  set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND
               PROPERTY TEST_INCLUDE_FILES "${PROJECT_BINARY_DIR}/sanitizer_environment.cmake")
endif()

# zel_sanitize(<target>): instruments the code of a target and links what that needs.
function(zel_sanitize target)
  target_compile_options(${target} PRIVATE ${zel_sanitizer_flags})
  zel_link_sanitizers(${target})
endfunction()

# zel_link_sanitizers(<target>): links what instrumented objects need.
function(zel_link_sanitizers target)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "STATIC_LIBRARY")
    target_link_options(${target} INTERFACE ${zel_sanitizer_flags})
  else()
    target_link_options(${target} PRIVATE ${zel_sanitizer_flags})
  endif()
endfunction()
