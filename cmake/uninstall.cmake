# SPDX-License-Identifier: Apache-2.0
# Removes the files that the last installation from a build folder has put in place, of all components, and
# the folders below them that are empty then.
#
#     cmake -DZEL_BUILD_DIR=<build folder> -P uninstall.cmake

file(GLOB manifests "${ZEL_BUILD_DIR}/install_manifest*.txt")
if(NOT manifests)
  message(FATAL_ERROR "Nothing has been installed from ${ZEL_BUILD_DIR}")
endif()
foreach(manifest IN LISTS manifests)
  file(STRINGS "${manifest}" files)
  foreach(file IN LISTS files)
    if(EXISTS "$ENV{DESTDIR}${file}" OR IS_SYMLINK "$ENV{DESTDIR}${file}")
      message(STATUS "Removing $ENV{DESTDIR}${file}")
      file(REMOVE "$ENV{DESTDIR}${file}")
    else()
      message(STATUS "$ENV{DESTDIR}${file} is gone already")
    endif()
    get_filename_component(folder "$ENV{DESTDIR}${file}" DIRECTORY)
    while(folder MATCHES "tessel2d" AND IS_DIRECTORY "${folder}")
      file(GLOB rest LIST_DIRECTORIES true "${folder}/*" "${folder}/.*")
      list(FILTER rest EXCLUDE REGEX "/[.][.]?$")
      if(rest)
        break()
      endif()
      file(REMOVE_RECURSE "${folder}")
      get_filename_component(folder "${folder}" DIRECTORY)
    endwhile()
  endforeach()
  file(REMOVE "${manifest}")
endforeach()
