# SPDX-License-Identifier: Apache-2.0
# Looks for what the Python package needs: an interpreter with numpy, its headers, and pybind11. Sets
# zel_python_found; with ZEL_BUILD_PYTHON=ON it is an error if something is missing.

set(zel_python_found OFF)
if(NOT Python_EXECUTABLE)
  # Debian's interpreter is the one that Debian's modules belong to, whatever the PATH finds first.
  find_program(Python_EXECUTABLE python3 PATHS /usr/bin NO_DEFAULT_PATH)
endif()
find_package(Python 3.9 QUIET COMPONENTS Interpreter Development.Module)
if(Python_FOUND)
  set(PYBIND11_FINDPYTHON ON)
  find_package(pybind11 2.10 CONFIG QUIET)
  execute_process(COMMAND "${Python_EXECUTABLE}" -c "import numpy" RESULT_VARIABLE zel_numpy_missing
                  OUTPUT_QUIET ERROR_QUIET)
  if(pybind11_FOUND AND zel_numpy_missing EQUAL 0)
    set(zel_python_found ON)
  endif()
endif()
if(NOT zel_python_found AND NOT ZEL_BUILD_PYTHON STREQUAL "AUTO")
  message(FATAL_ERROR "The Python package needs Python 3.9 with headers and numpy, and pybind11 2.10 "
                      "(on Debian python3-dev, python3-numpy and pybind11-dev)")
endif()
if(zel_python_found AND NOT ZEL_BUILD_HOST)
  if(ZEL_BUILD_PYTHON STREQUAL "AUTO")
    message(STATUS "The Python package is left out: it needs the host tools, ZEL_BUILD_HOST")
    set(zel_python_found OFF)
  else()
    message(FATAL_ERROR "The Python package needs the host tools: ZEL_BUILD_HOST")
  endif()
endif()
