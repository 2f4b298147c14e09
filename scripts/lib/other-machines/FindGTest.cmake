# SPDX-License-Identifier: Apache-2.0
# In place of CMake's module of this name: GoogleTest built for the target from Debian's sources.
if(NOT TARGET GTest::gmock_main)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
  foreach(name gtest gtest_main gmock gmock_main)
    if(NOT TARGET GTest::${name})
      add_library(GTest::${name} ALIAS ${name})
    endif()
  endforeach()
endif()
set(GTest_FOUND TRUE)
set(GTEST_FOUND TRUE)
