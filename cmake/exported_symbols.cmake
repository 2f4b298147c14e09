# zel_restrict_exported_symbols(<target>): a shared library that exports symbols of namespace zel only
# and leaves none undefined that its own dependencies do not provide.
function(zel_restrict_exported_symbols target)
  if(WIN32 OR APPLE)
    return()
  endif()
  set(script "${PROJECT_SOURCE_DIR}/cmake/exported_symbols.map")
  target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
  if(NOT ZEL_SANITIZE)
    # The run time of a sanitizer is part of the program, not of its libraries.
    target_link_options(${target} PRIVATE "LINKER:--no-undefined")
  endif()
endfunction()
