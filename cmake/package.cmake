# Install rules: both libraries, the public headers below one include root of the package's own, and
# the files by which CMake and pkg-config find them.

include(CMakePackageConfigHelpers)

set(zel_include_root "${CMAKE_INSTALL_INCLUDEDIR}/zel-tessel2d")
set(zel_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/tessel2d")

# -- headers --------------------------------------------------------------------------------------

# Everything below include/ is public, and nothing else is.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/zel" DESTINATION "${zel_include_root}"
        FILES_MATCHING PATTERN "*.h")

# -- libraries ------------------------------------------------------------------------------------

# Two export sets: who links the shared library must not be asked for LAPACK.
foreach(kind IN ITEMS shared static)
  if(kind STREQUAL "shared")
    set(library zel_tessel2d)
  else()
    set(library zel_tessel2d_static)
  endif()
  install(
    TARGETS ${library}
    EXPORT tessel2d-${kind}-targets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    INCLUDES DESTINATION "${zel_include_root}")
  install(EXPORT tessel2d-${kind}-targets NAMESPACE zel:: DESTINATION "${zel_config_dir}")
endforeach()

# -- CMake ----------------------------------------------------------------------------------------

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/tessel2d-config.cmake.in"
  "${PROJECT_BINARY_DIR}/tessel2d-config.cmake" INSTALL_DESTINATION "${zel_config_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/tessel2d-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/tessel2d-config.cmake"
              "${PROJECT_BINARY_DIR}/tessel2d-config-version.cmake"
        DESTINATION "${zel_config_dir}")

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

configure_file("${PROJECT_SOURCE_DIR}/cmake/zel-tessel2d.pc.in"
               "${PROJECT_BINARY_DIR}/zel-tessel2d.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zel-tessel2d.pc" DESTINATION "${zel_pc_dir}")
