# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# bare_build: options of CMake for the libraries and their tests alone, without what other packages would add: those
# are there for the machine at hand, its compiler and its standard library only. To be sourced.
# shellcheck disable=SC2034
bare_build=(
    -DZEL_BUILD_DISTRIBUTED=OFF -DZEL_BUILD_PYTHON=OFF -DZEL_BUILD_VTK=OFF -DCMAKE_DISABLE_FIND_PACKAGE_VTK=ON
    -DCMAKE_DISABLE_FIND_PACKAGE_Eigen3=ON -DZEL_GMSH_INCLUDE=OFF
    -DZEL_BUILD_EXAMPLES=OFF -DZEL_PACKAGE_TESTS=OFF -DZEL_INSTALL=OFF
)
