# SPDX-License-Identifier: Apache-2.0
# zel_restrict_exported_symbols(<target> <map>): a shared library that exports only the symbols that the
# version script allows, a file below the root of the project, and leaves none undefined that its own dependencies do not provide.
function(zel_restrict_exported_symbols target map)
  if(WIN32 OR APPLE)
    return()
  endif()
  set(script "${PROJECT_SOURCE_DIR}/${map}")
  target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
  if(NOT ZEL_SANITIZE)
    # The run time of a sanitizer is part of the program, not of its libraries.
    target_link_options(${target} PRIVATE "LINKER:--no-undefined")
  endif()
endfunction()
