# SPDX-License-Identifier: Apache-2.0
# In place of CMake's module of this name: the one routine that the library calls, from the file beside this
# one, so that all machines compute with the same.
if(NOT TARGET LAPACK::LAPACK)
  add_library(zel_same_dspev STATIC "${CMAKE_CURRENT_LIST_DIR}/dspev.cpp")
  target_compile_options(zel_same_dspev PRIVATE -O1 -ffp-contract=off)
  add_library(LAPACK::LAPACK INTERFACE IMPORTED)
  set_target_properties(LAPACK::LAPACK PROPERTIES INTERFACE_LINK_LIBRARIES zel_same_dspev)
endif()
set(LAPACK_FOUND TRUE)
set(LAPACK_LIBRARIES zel_same_dspev)
