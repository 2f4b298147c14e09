# SPDX-License-Identifier: Apache-2.0
# What meshes in parts need: MPI, PETSc with real numbers and indices of 32 bits, and HDF5 over the same MPI.
# Sets zel_distributed_found; the targets zel_petsc, for the first two, and zel_hdf5.

set(zel_distributed_found OFF)
enable_language(C) # for FindMPI, which asks the C compiler for the C interface
find_package(MPI QUIET COMPONENTS C)
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(ZEL_PETSC QUIET IMPORTED_TARGET "PETSc>=3.18")
  # Debian has one HDF5 for each MPI; elsewhere there is one, with MPI or without.
  pkg_search_module(ZEL_HDF5 QUIET hdf5-openmpi hdf5-mpich hdf5)
endif()
if(MPI_C_FOUND AND ZEL_HDF5_FOUND)
  include(CheckSymbolExists)
  set(CMAKE_REQUIRED_INCLUDES ${ZEL_HDF5_INCLUDE_DIRS} ${MPI_C_INCLUDE_DIRS})
  check_symbol_exists(H5_HAVE_PARALLEL hdf5.h ZEL_HDF5_HAS_MPI)
  unset(CMAKE_REQUIRED_INCLUDES)
endif()
if(MPI_C_FOUND AND ZEL_PETSC_FOUND AND ZEL_HDF5_HAS_MPI)
  set(zel_distributed_found ON)
  add_library(zel_petsc INTERFACE)
  # Headers of others, whose warnings are not ours.
  target_include_directories(zel_petsc SYSTEM INTERFACE ${ZEL_PETSC_INCLUDE_DIRS})
  # Only the C interface of MPI is used.
  target_compile_definitions(zel_petsc INTERFACE OMPI_SKIP_MPICXX MPICH_SKIP_MPICXX)
  target_link_libraries(zel_petsc INTERFACE ${ZEL_PETSC_LINK_LIBRARIES} MPI::MPI_C)
  add_library(zel_hdf5 INTERFACE)
  target_include_directories(zel_hdf5 SYSTEM INTERFACE ${ZEL_HDF5_INCLUDE_DIRS})
  target_link_libraries(zel_hdf5 INTERFACE ${ZEL_HDF5_LINK_LIBRARIES} MPI::MPI_C)
elseif(ZEL_BUILD_DISTRIBUTED STREQUAL "AUTO")
  message(STATUS "MPI, PETSc or HDF5 with MPI (packages libpetsc-real-dev, libhdf5-openmpi-dev) is missing: meshes in parts are left out")
else()
  message(FATAL_ERROR "ZEL_BUILD_DISTRIBUTED needs MPI, PETSc and HDF5 with MPI (on Debian libpetsc-real-dev, libhdf5-openmpi-dev)")
endif()

# For tests: ranks may share a processor, may be root in a container, and nobody logs in anywhere.
set(zel_mpi_environment
    "OMPI_MCA_rmaps_base_oversubscribe=1;OMPI_ALLOW_RUN_AS_ROOT=1;OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1;OMPI_MCA_mpi_yield_when_idle=1;OMPI_MCA_btl_vader_single_copy_mechanism=none;OMPI_MCA_plm_rsh_agent=/bin/false"
)
