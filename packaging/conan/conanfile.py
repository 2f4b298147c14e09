# SPDX-License-Identifier: Apache-2.0
"""The recipe for Conan 2, for this checkout: conan create packaging/conan. It has not been run with Conan."""
from pathlib import Path

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain
from conan.tools.files import copy


class Tessel2d(ConanFile):
    name = "tessel2d"
    version = "5.5.0.0"
    license = "Apache-2.0"
    description = "Generation, conversion and measures of two-dimensional meshes"
    settings = "os", "arch", "compiler", "build_type"
    requires = "openblas/0.3.27"
    default_options = {"openblas/*:build_lapack": True}

    def export_sources(self):
        root = Path(self.recipe_folder).parents[1]
        for part in ("CMakeLists.txt", "LICENSE", "NOTICE", "README.md", "CHANGELOG.md", "cmake/*",
                     "docs/*", "host/*", "include/*", "src/*"):
            copy(self, part, src=str(root), dst=self.export_sources_folder)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        for name, value in {"ZEL_INSTALL": True, "ZEL_BUILD_TESTS": False, "ZEL_BUILD_EXAMPLES": False,
                            "ZEL_BUILD_VTK": False, "ZEL_PACKAGE_TESTS": False}.items():
            toolchain.cache_variables[name] = value
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_find_mode", "none")  # the package has a configuration of its own
        self.cpp_info.builddirs = ["lib/cmake/tessel2d"]
