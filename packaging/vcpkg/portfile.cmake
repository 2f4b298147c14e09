# SPDX-License-Identifier: Apache-2.0
# The port for vcpkg, as an overlay of this checkout:
#
#     vcpkg install tessel2d --overlay-ports=packaging/vcpkg
#
# Its options are those of the project. It has not been run with vcpkg itself.

get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)

vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS -DZEL_INSTALL=ON -DZEL_BUILD_TESTS=OFF -DZEL_BUILD_EXAMPLES=OFF -DZEL_BUILD_VTK=OFF
          -DZEL_PACKAGE_TESTS=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME tessel2d CONFIG_PATH lib/cmake/tessel2d)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE" "${SOURCE_PATH}/NOTICE")
