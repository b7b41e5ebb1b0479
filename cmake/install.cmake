# SPDX-License-Identifier: Apache-2.0
# What is installed; DESTDIR stages all of it, cmake/layout.cmake has the folders.
# Components: `driver`, `pictures`, `tools` and `app` are the same for everyone; `host` is what a
# distribution's package lays out in its own way (debian/*.install).
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(units ${PROJECT_BINARY_DIR}/systemd)
drav_install_folders(driver ${DRAV_FILTER_DIR} ${DRAV_DRIVER_DIR})
if(DRAV_LAYOUT STREQUAL "macos")
  install(FILES ${DRAV_PPD_FILES} DESTINATION ${DRAV_DRIVER_DIR} COMPONENT driver)
else()
  # The source alone: CUPS makes the PPD files from it when a queue is added.
  # PPD files besides would list every model twice. What it includes, and its
  # translations, go where CUPS looks for such parts; in the folder of the sources
  # CUPS would take them for drivers.
  install(FILES ${PROJECT_SOURCE_DIR}/ppd/drav.drv DESTINATION ${DRAV_DRIVER_DIR}
          COMPONENT driver)
  if(DRAV_DRIVER_PARTS)
    drav_install_folders(driver ${DRAV_DRIVER_PARTS_DIR})
    install(FILES ${DRAV_DRIVER_PARTS} DESTINATION ${DRAV_DRIVER_PARTS_DIR} COMPONENT driver)
  endif()
  # With the driver: a scheduler that does not know a kind of file may send it to the
  # printer as it is.
  drav_install_folders(driver ${DRAV_CUPS_DATADIR}/mime)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/mime/drav.types
          DESTINATION ${DRAV_CUPS_DATADIR}/mime COMPONENT driver)
endif()

# The scheduler refuses a filter that group or others can write to.
set(program_permissions OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                        WORLD_READ WORLD_EXECUTE)
install(TARGETS rastertodrav RUNTIME DESTINATION ${DRAV_FILTER_DIR} COMPONENT driver
        PERMISSIONS ${program_permissions})
drav_install_folders(tools ${CMAKE_INSTALL_BINDIR})
install(TARGETS drav RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools
        PERMISSIONS ${program_permissions})

# Guides for users, and the pictures they show. Other documents are for who
# works on the source; a guide's links to them would lead nowhere once it is
# installed, so there it names them instead.
set(DRAV_GUIDES "")
set(DRAV_GUIDE_PICTURES "")
set(guides install printer-application options troubleshooting scale proof inspect doctor log-lines
           glossary)
file(GLOB_RECURSE other_documents CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/docs
     ${PROJECT_SOURCE_DIR}/docs/*.md)
list(TRANSFORM guides APPEND .md OUTPUT_VARIABLE guide_files)
list(REMOVE_ITEM other_documents ${guide_files})

# Writes the guide at `path` as it is installed.
function(drav_make_guide path made)
  file(READ ${path} text)
  string(REGEX REPLACE "\\[([^]]*)\\]\\(\\.\\./([^)#]*)(#[^)]*)?\\)" "\\1 (`\\2` of the source)"
         text "${text}")
  foreach(other IN LISTS other_documents)
    string(REPLACE "." "\\." pattern "${other}")
    string(REGEX REPLACE "\\[([^]]*)\\]\\(${pattern}(#[^)]*)?\\)"
           "\\1 (`docs/${other}` of the source)" text "${text}")
  endforeach()
  file(CONFIGURE OUTPUT ${made} CONTENT "${text}" @ONLY)
endfunction()

foreach(guide IN LISTS guides)
  set(path ${PROJECT_SOURCE_DIR}/docs/${guide}.md)
  if(NOT EXISTS ${path})
    continue()
  endif()
  set(made ${PROJECT_BINARY_DIR}/guides/${guide}.md)
  drav_make_guide(${path} ${made})
  list(APPEND DRAV_GUIDES ${made})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  file(STRINGS ${path} lines REGEX "\\(images/[^)]+\\)")
  string(REGEX MATCHALL "\\(images/[^)]+\\)" links "${lines}")
  foreach(link IN LISTS links)
    string(REGEX REPLACE "^\\((.*)\\)$" "${PROJECT_SOURCE_DIR}/docs/\\1" picture "${link}")
    list(APPEND DRAV_GUIDE_PICTURES ${picture})
  endforeach()
endforeach()
list(REMOVE_DUPLICATES DRAV_GUIDE_PICTURES)

drav_install_folders(host ${CMAKE_INSTALL_MANDIR}/man1 ${CMAKE_INSTALL_MANDIR}/man8
                     ${CMAKE_INSTALL_DOCDIR})
install(FILES ${PROJECT_SOURCE_DIR}/man/rastertodrav.8 ${PROJECT_SOURCE_DIR}/man/picturetodrav.8
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT host)
install(FILES ${PROJECT_SOURCE_DIR}/man/drav.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT host)
install(FILES ${PROJECT_SOURCE_DIR}/CHANGES.md ${PROJECT_SOURCE_DIR}/LICENSE
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT host)
install(FILES ${DRAV_GUIDES} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT host)
foreach(picture IN LISTS DRAV_GUIDE_PICTURES)  # below it, as the guides name them
  cmake_path(RELATIVE_PATH picture BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/docs OUTPUT_VARIABLE below)
  cmake_path(GET below PARENT_PATH below)
  drav_install_folders(host ${CMAKE_INSTALL_DOCDIR}/${below})
  install(FILES ${picture} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${below} COMPONENT host)
endforeach()

# With libvips come many libraries: who prints no pictures does without these programs.
drav_install_folders(pictures ${DRAV_FILTER_DIR} ${CMAKE_INSTALL_LIBEXECDIR}/drav)
install(TARGETS picturetodrav RUNTIME DESTINATION ${DRAV_FILTER_DIR} COMPONENT pictures
        PERMISSIONS ${program_permissions})
install(TARGETS drav-picture-reader drav-text-reader RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/drav
        COMPONENT pictures PERMISSIONS ${program_permissions})
# The rules by which the scheduler calls the filter: it reads them when it starts, and
# passes over those whose program is missing. The system of macOS is sealed.
if(DRAV_LAYOUT STREQUAL "linux")
  drav_install_folders(pictures ${DRAV_CUPS_DATADIR}/mime)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/mime/drav.convs
          DESTINATION ${DRAV_CUPS_DATADIR}/mime COMPONENT pictures)
endif()

if(TARGET drav-printer-app AND DRAV_LAYOUT STREQUAL "linux")
  drav_install_folders(app ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_MANDIR}/man1
                       ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
                       ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
                       ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  install(TARGETS drav-printer-app RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT app
          PERMISSIONS ${program_permissions})
  set(completions ${PROJECT_SOURCE_DIR}/app/completion)
  install(FILES ${completions}/drav-printer-app
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT app)
  install(FILES ${completions}/_drav-printer-app
          DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT app)
  install(FILES ${completions}/drav-printer-app.fish
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT app)
  install(FILES ${PROJECT_SOURCE_DIR}/man/drav-printer-app.1
          DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT app)
  # Its service: the unit, its user, the name by which the other commands find it, and the
  # rights on printers.
  set(DRAV_APP_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR}/drav-printer-app)
  configure_file(${packaging}/systemd/drav-printer-app.service.in
                 ${units}/drav-printer-app.service @ONLY)
  drav_install_folders(app ${DRAV_SYSTEMD_UNIT_DIR} lib/sysusers.d lib/tmpfiles.d lib/udev/rules.d)
  install(FILES ${units}/drav-printer-app.service DESTINATION ${DRAV_SYSTEMD_UNIT_DIR}
          COMPONENT app)
  install(FILES ${packaging}/systemd/drav-printer-app.sysusers DESTINATION lib/sysusers.d
          RENAME drav-printer-app.conf COMPONENT app)
  install(FILES ${packaging}/systemd/drav-printer-app.tmpfiles DESTINATION lib/tmpfiles.d
          RENAME drav-printer-app.conf COMPONENT app)
  install(FILES ${packaging}/udev/60-drav-printer-app.rules DESTINATION lib/udev/rules.d
          COMPONENT app)
endif()

if(TARGET drav-clean)
  drav_install_folders(driver ${CMAKE_INSTALL_LIBEXECDIR}/drav)
  install(TARGETS drav-clean RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/drav COMPONENT driver
          PERMISSIONS ${program_permissions})
  if(DRAV_LAYOUT STREQUAL "linux")
    set(DRAV_CLEAN_PROGRAM ${CMAKE_INSTALL_FULL_LIBEXECDIR}/drav/drav-clean)
    configure_file(${packaging}/systemd/drav-clean.service.in ${units}/drav-clean.service @ONLY)
    configure_file(${packaging}/systemd/drav-clean.timer ${units}/drav-clean.timer COPYONLY)
    drav_install_folders(host ${DRAV_SYSTEMD_UNIT_DIR})
    install(FILES ${units}/drav-clean.service ${units}/drav-clean.timer
            DESTINATION ${DRAV_SYSTEMD_UNIT_DIR} COMPONENT host)
  endif()
endif()

# The scheduler wants root as the owner; who may give files away makes sure,
# since a file that is up to date keeps its owner.
function(drav_install_owner filter component)
  install(CODE "
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX NORMALIZE OUTPUT_VARIABLE prefix)
cmake_path(SET filter \"${DRAV_FILTER_DIR}/${filter}\")
cmake_path(ABSOLUTE_PATH filter BASE_DIRECTORY \"\${prefix}\")
set(filter \"\$ENV{DESTDIR}\${filter}\")
execute_process(COMMAND id -u OUTPUT_VARIABLE user OUTPUT_STRIP_TRAILING_WHITESPACE)
if(user STREQUAL \"0\")
  execute_process(COMMAND chown 0:0 \"\${filter}\" RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(WARNING \"\${filter} must belong to root, or the scheduler will not run it\")
  endif()
endif()" COMPONENT ${component})
endfunction()
drav_install_owner(rastertodrav driver)
drav_install_owner(picturetodrav pictures)
