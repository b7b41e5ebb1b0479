# SPDX-License-Identifier: Apache-2.0
# libcups (PPD, options) and libcupsimage (raster), as cups-config names them.
# Since CUPS 2.3 the raster functions live in libcups; libcupsimage remains for
# older systems, where cups-config --image lists it.
find_program(CUPS_CONFIG cups-config REQUIRED)
execute_process(COMMAND ${CUPS_CONFIG} --serverbin OUTPUT_VARIABLE DRAV_CUPS_SERVERBIN
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CUPS_CONFIG} --datadir OUTPUT_VARIABLE DRAV_CUPS_DATADIR
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

find_path(DRAV_CUPS_INCLUDE_DIR cups/raster.h REQUIRED)
find_library(DRAV_CUPS_LIBRARY cups REQUIRED)
find_library(DRAV_CUPSIMAGE_LIBRARY cupsimage)

add_library(drav_cups INTERFACE)  # header types and PPD functions
target_include_directories(drav_cups SYSTEM INTERFACE ${DRAV_CUPS_INCLUDE_DIR})
target_link_libraries(drav_cups INTERFACE ${DRAV_CUPS_LIBRARY})

add_library(drav_cups_raster INTERFACE)  # the raster functions besides
target_link_libraries(drav_cups_raster INTERFACE drav_cups)
if(DRAV_CUPSIMAGE_LIBRARY)
  target_link_libraries(drav_cups_raster INTERFACE ${DRAV_CUPSIMAGE_LIBRARY})
endif()
