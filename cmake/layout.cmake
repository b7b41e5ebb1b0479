# SPDX-License-Identifier: Apache-2.0
# Where things go: the filter and the driver files where CUPS looks for them,
# the rest into the prefix. A folder given here may be relative to the prefix.
if(APPLE)
  set(default_layout macos)
else()
  set(default_layout linux)
endif()
set(DRAV_LAYOUT ${default_layout} CACHE STRING "Folders to install into: linux or macos")
set_property(CACHE DRAV_LAYOUT PROPERTY STRINGS linux macos)

if(DRAV_LAYOUT STREQUAL "macos")
  # Vendor filters live outside the sealed system; the PPD files carry the path.
  set(DRAV_FILTER_DIR "/Library/Printers/Drav" CACHE STRING "Folder of the filter")
  set(DRAV_DRIVER_DIR "/Library/Printers/PPDs/Contents/Resources" CACHE STRING
      "Folder of the PPD files")
else()
  set(DRAV_FILTER_DIR "${DRAV_CUPS_SERVERBIN}/filter" CACHE STRING "Folder of the filter")
  set(DRAV_DRIVER_DIR "${DRAV_CUPS_DATADIR}/drv" CACHE STRING "Folder of the driver source")
  set(DRAV_DRIVER_PARTS_DIR "${DRAV_CUPS_DATADIR}/ppdc" CACHE STRING
      "Folder of what the driver source includes")
endif()
cmake_path(ABSOLUTE_PATH DRAV_FILTER_DIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
           OUTPUT_VARIABLE DRAV_FILTER_FULL_DIR)
# The job that clears old diagnostic pictures, see packaging/systemd/.
set(DRAV_SYSTEMD_UNIT_DIR "lib/systemd/system" CACHE STRING "Folder of the systemd units")

# Installing `component` begins with these folders, missing parents included, made
# so that lp can pass them whatever the umask of who installs. CMake's own would
# be closed under root's frequent 077, and the scheduler could not run the filter.
function(drav_install_folders component)
  install(CODE "
set(wanted \"${ARGN}\")
set(folders \"\")
foreach(folder IN LISTS wanted)
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
  list(APPEND folders \"\$ENV{DESTDIR}\${folder}\")
endforeach()
execute_process(COMMAND sh -c \"umask 022 && mkdir -p -- \\\"\$@\\\"\" sh \${folders}
                COMMAND_ERROR_IS_FATAL ANY)" COMPONENT ${component})
endfunction()
