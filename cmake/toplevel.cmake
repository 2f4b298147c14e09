# SPDX-License-Identifier: Apache-2.0
# Defaults that are ours to choose only when this is the project being built.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug, RelWithDebInfo or MinSizeRel" FORCE)
endif()
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(ZEL_CCACHE ccache)
  if(ZEL_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${ZEL_CCACHE}")
  endif()
endif()

if(ZEL_COVERAGE)
  add_link_options(--coverage)
  add_compile_definitions(ZEL_COVERAGE) # own_code.cmake says why
endif()
