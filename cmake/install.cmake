# SPDX-License-Identifier: Apache-2.0
# Where things go: the filter and the driver files where CUPS looks for them, the
# tool into the prefix. DESTDIR stages all of it. A folder given here may be
# relative to the prefix.
if(APPLE)
  # Vendor filters live outside the sealed system; the PPD files carry the path.
  set(DRAV_FILTER_DIR "/Library/Printers/Drav" CACHE STRING "Folder of the filter")
  set(DRAV_DRIVER_DIR "/Library/Printers/PPDs/Contents/Resources" CACHE STRING
      "Folder of the PPD files")
  install(FILES ${DRAV_PPD_FILES} DESTINATION ${DRAV_DRIVER_DIR})
else()
  # The source alone: CUPS makes the PPD files from it when a queue is added.
  # PPD files besides would list every model twice.
  set(DRAV_FILTER_DIR "${DRAV_CUPS_SERVERBIN}/filter" CACHE STRING "Folder of the filter")
  set(DRAV_DRIVER_DIR "${DRAV_CUPS_DATADIR}/drv" CACHE STRING "Folder of the driver source")
  install(FILES ${PROJECT_SOURCE_DIR}/ppd/drav.drv DESTINATION ${DRAV_DRIVER_DIR})
  # What it includes, and its translations, where CUPS looks for such parts; in
  # the folder of the sources CUPS would take them for drivers.
  set(DRAV_DRIVER_PARTS_DIR "${DRAV_CUPS_DATADIR}/ppdc" CACHE STRING
      "Folder of what the driver source includes")
  install(FILES ${DRAV_DRIVER_PARTS} DESTINATION ${DRAV_DRIVER_PARTS_DIR})
endif()

# The scheduler refuses a filter that group or others can write to.
install(TARGETS rastertodrav RUNTIME DESTINATION ${DRAV_FILTER_DIR}
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                    WORLD_READ WORLD_EXECUTE)
install(TARGETS drav RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
