# SPDX-License-Identifier: Apache-2.0
# What meshes in parts need: MPI, and PETSc with real numbers and indices of 32 bits. Sets
# zel_distributed_found; the target zel_petsc stands for both.

set(zel_distributed_found OFF)
enable_language(C) # for FindMPI, which asks the C compiler for the C interface
find_package(MPI QUIET COMPONENTS C)
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(ZEL_PETSC QUIET IMPORTED_TARGET "PETSc>=3.18")
endif()
if(MPI_C_FOUND AND ZEL_PETSC_FOUND)
  set(zel_distributed_found ON)
  add_library(zel_petsc INTERFACE)
  # Headers of others, whose warnings are not ours.
  target_include_directories(zel_petsc SYSTEM INTERFACE ${ZEL_PETSC_INCLUDE_DIRS})
  # Only the C interface of MPI is used.
  target_compile_definitions(zel_petsc INTERFACE OMPI_SKIP_MPICXX MPICH_SKIP_MPICXX)
  target_link_libraries(zel_petsc INTERFACE ${ZEL_PETSC_LINK_LIBRARIES} MPI::MPI_C)
elseif(ZEL_BUILD_DISTRIBUTED STREQUAL "AUTO")
  message(STATUS "MPI or PETSc (package libpetsc-real-dev) is missing: meshes in parts are left out")
else()
  message(FATAL_ERROR "ZEL_BUILD_DISTRIBUTED needs MPI and PETSc (on Debian libpetsc-real-dev)")
endif()
