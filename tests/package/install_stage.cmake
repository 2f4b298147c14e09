# SPDX-License-Identifier: Apache-2.0
# Installs from a build folder for a test, and leaves there what the last real installation wrote down, by which
# "uninstall" knows what to remove.
#
#     cmake -DBUILD=<build folder> -DSTAGE=<prefix> [-DCOMPONENT=<component>] [-DMANIFEST=<file>] -P install_stage.cmake
#
# MANIFEST gets the list of what was installed.

set(name "install_manifest.txt")
set(component "")
if(DEFINED COMPONENT)
  set(name "install_manifest_${COMPONENT}.txt")
  set(component --component "${COMPONENT}")
endif()
set(manifest "${BUILD}/${name}")
if(EXISTS "${manifest}")
  file(RENAME "${manifest}" "${manifest}.kept")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${STAGE}" ${component}
                RESULT_VARIABLE failed)
if(DEFINED MANIFEST AND EXISTS "${manifest}")
  configure_file("${manifest}" "${MANIFEST}" COPYONLY)
endif()
file(REMOVE "${manifest}")
if(EXISTS "${manifest}.kept")
  file(RENAME "${manifest}.kept" "${manifest}")
endif()
if(failed)
  message(FATAL_ERROR "The installation failed")
endif()
