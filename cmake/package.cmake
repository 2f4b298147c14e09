# SPDX-License-Identifier: Apache-2.0
# Install rules: the libraries, the public headers below one include root of the package's own, the files by
# which CMake and pkg-config find them, and what there is to read. All of it, or by component:
#
#     runtime      what programs need that are linked with the shared library
#     development  headers, archives, CMake and pkg-config
#     host         the shared library of host tools
#     distributed  the shared library of meshes in parts and the program tessel2d-distributed, if they are built
#     python       the Python package, if it is built (see python/CMakeLists.txt)
#     manual       the pages of build/manual if they are there, and the texts of docs/
#
# The target "uninstall" removes what the last installation from this build folder has put in place.

include(CMakePackageConfigHelpers)

set(zel_include_root "${CMAKE_INSTALL_INCLUDEDIR}/zel-tessel2d")
set(zel_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/tessel2d")

# -- headers --------------------------------------------------------------------------------------

# Everything below include/ is public, and nothing else is. Headers of companions that are not built stay
# away.
set(zel_without "")
if(NOT ZEL_BUILD_HOST)
  list(APPEND zel_without REGEX "/zel/host(\\.h)?$" EXCLUDE)
endif()
if(NOT TARGET zel_tessel2d_vtk)
  list(APPEND zel_without REGEX "/zel/host/vtk\\.h$" EXCLUDE)
endif()
if(NOT TARGET zel_tessel2d_distributed)
  list(APPEND zel_without REGEX "/zel/distributed$" EXCLUDE)
endif()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/zel" DESTINATION "${zel_include_root}"
        COMPONENT development FILES_MATCHING PATTERN "*.h" ${zel_without})

# -- libraries ------------------------------------------------------------------------------------

# zel_install_library(<target> <export set> <component of the shared library>)
function(zel_install_library library set component)
  install(
    TARGETS ${library}
    EXPORT tessel2d-${set}-targets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${component}
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component}
                                                  NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
    INCLUDES DESTINATION "${zel_include_root}")
  install(EXPORT tessel2d-${set}-targets NAMESPACE zel:: DESTINATION "${zel_config_dir}"
          COMPONENT development)
endfunction()

# An export set for each: who links the shared library must not be asked for LAPACK, and nobody for a
# companion that he does not use.
zel_install_library(zel_tessel2d shared runtime)
zel_install_library(zel_tessel2d_static static development)
if(ZEL_BUILD_HOST)
  zel_install_library(zel_tessel2d_host host host)
  zel_install_library(zel_tessel2d_host_static host-static development)
endif()
if(TARGET zel_tessel2d_distributed)
  zel_install_library(zel_tessel2d_distributed distributed distributed)
  install(TARGETS tessel2d_distributed_program RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
                                                       COMPONENT distributed)
  # The archive names where PETSc and HDF5 were found when it was built.
  set_target_properties(zel_petsc PROPERTIES EXPORT_NAME tessel2d_petsc)
  set_target_properties(zel_hdf5 PROPERTIES EXPORT_NAME tessel2d_hdf5)
  install(TARGETS zel_petsc zel_hdf5 EXPORT tessel2d-distributed-static-targets)
  zel_install_library(zel_tessel2d_distributed_static distributed-static development)
endif()
if(TARGET zel_tessel2d_vtk)
  zel_install_library(zel_tessel2d_vtk vtk development)
endif()

# -- CMake ----------------------------------------------------------------------------------------

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/tessel2d-config.cmake.in"
  "${PROJECT_BINARY_DIR}/tessel2d-config.cmake" INSTALL_DESTINATION "${zel_config_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/tessel2d-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/tessel2d-config.cmake"
              "${PROJECT_BINARY_DIR}/tessel2d-config-version.cmake"
        DESTINATION "${zel_config_dir}" COMPONENT development)

# -- gdb ------------------------------------------------------------------------------------------

# gdb reads <its data directory>/auto-load/<path of a library>-gdb.py when it loads that library. The path
# is that of the installed library, which is known for certain only when it is installed.
if(UNIX AND NOT APPLE)
  install(
    CODE "
    set(zel_library_dir \"${CMAKE_INSTALL_LIBDIR}\")
    if(NOT IS_ABSOLUTE \"\${zel_library_dir}\")
      get_filename_component(zel_library_dir \"\${CMAKE_INSTALL_PREFIX}/\${zel_library_dir}\" ABSOLUTE)
    endif()
    file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/gdb/auto-load\${zel_library_dir}\"
         TYPE FILE RENAME \"$<TARGET_FILE_NAME:zel_tessel2d>-gdb.py\"
         FILES \"${PROJECT_SOURCE_DIR}/packaging/gdb/zel_tessel2d.py\")"
    COMPONENT development)
endif()

# -- pkg-config -----------------------------------------------------------------------------------

# Relative to the .pc file, so that an installed tree may be moved, unless the directories were given
# as absolute paths.
set(zel_pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(zel_pc_prefix "${CMAKE_INSTALL_PREFIX}")
  set(zel_pc_libdir "${CMAKE_INSTALL_FULL_LIBDIR}")
  set(zel_pc_includedir "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
else()
  file(RELATIVE_PATH zel_pc_up "/${zel_pc_dir}" "/")
  string(REGEX REPLACE "/$" "" zel_pc_up "${zel_pc_up}")
  set(zel_pc_prefix "\${pcfiledir}/${zel_pc_up}")
  set(zel_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(zel_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()

# LAPACK by the name it has for pkg-config where it has one, else by what the linker was given here.
set(zel_pc_requires_private "")
set(zel_pc_libs_private "")
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(ZEL_PC_LAPACK QUIET lapack)
endif()
if(ZEL_PC_LAPACK_FOUND)
  set(zel_pc_requires_private "lapack")
else()
  string(JOIN " " zel_pc_libs_private ${LAPACK_LINKER_FLAGS} ${LAPACK_LIBRARIES})
endif()
# A C linker driver needs the run time of C++ in addition to the archive.
string(APPEND zel_pc_libs_private " -lstdc++ -lm")
string(STRIP "${zel_pc_libs_private}" zel_pc_libs_private)

# zel_install_pc(<name>): from cmake/<name>.pc.in.
function(zel_install_pc name)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${zel_pc_dir}"
          COMPONENT development)
endfunction()

zel_install_pc(zel-tessel2d)
if(ZEL_BUILD_HOST)
  zel_install_pc(zel-tessel2d-host)
endif()
if(TARGET zel_tessel2d_distributed)
  set(zel_pc_hdf5 "${ZEL_HDF5_MODULE_NAME}")
  zel_install_pc(zel-tessel2d-distributed)
endif()

# -- what there is to read ------------------------------------------------------------------------

install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
              "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/NOTICE"
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT manual)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" "${PROJECT_SOURCE_DIR}/examples"
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT manual
        PATTERN "__pycache__" EXCLUDE PATTERN "functions.md" EXCLUDE)
# The index of functions links to the headers, which lie elsewhere now.
set(zel_index "${PROJECT_SOURCE_DIR}/docs/functions.md")
set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${zel_index}")
file(RELATIVE_PATH zel_headers_from_index "${CMAKE_INSTALL_FULL_DOCDIR}/docs"
     "${CMAKE_INSTALL_FULL_INCLUDEDIR}/zel-tessel2d")
file(READ "${zel_index}" zel_index_text)
string(REPLACE "](../include/" "](${zel_headers_from_index}/" zel_index_text "${zel_index_text}")
file(WRITE "${PROJECT_BINARY_DIR}/installed/functions.md" "${zel_index_text}")
install(FILES "${PROJECT_BINARY_DIR}/installed/functions.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs"
        COMPONENT manual)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/build/manual/html" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
        COMPONENT manual OPTIONAL)

# -- the way back ---------------------------------------------------------------------------------

if(zel_top_level)
  add_custom_target(
    uninstall COMMAND "${CMAKE_COMMAND}" "-DZEL_BUILD_DIR=${PROJECT_BINARY_DIR}" -P
                      "${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake"
    COMMENT "Removing what has been installed" VERBATIM)
endif()
