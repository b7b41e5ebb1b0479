# SPDX-License-Identifier: Apache-2.0
# `cpack` makes three Debian packages from any build: printer-driver-drav, drav-pictures
# and drav-tools. What Debian lays out differently from `cmake --install` is in the
# components driver_debian, pictures_debian and tools_debian, which nothing else installs.
find_program(DRAV_DPKG_DEB dpkg-deb)
find_program(DRAV_GZIP gzip)
mark_as_advanced(DRAV_DPKG_DEB DRAV_GZIP)
if(NOT DRAV_DPKG_DEB OR NOT DRAV_GZIP OR NOT DRAV_LAYOUT STREQUAL "linux")
  return()
endif()
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(made ${PROJECT_BINARY_DIR}/debian)

# The changelog's first entry has the version and the date of all packages.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${debian}/changelog)
file(STRINGS ${debian}/changelog entry REGEX "^drav \\(" LIMIT_COUNT 1)
if(NOT entry MATCHES "^drav \\(([^)]+)-([0-9a-z.+~]+)\\)" OR
   NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "packaging/debian/changelog begins with \"${entry}\", not with an entry "
                      "of version ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})
file(STRINGS ${debian}/changelog trailer REGEX "^ -- .*>  " LIMIT_COUNT 1)
string(REGEX REPLACE "^.*>  " "" DRAV_PACKAGE_DATE "${trailer}")
execute_process(COMMAND date -u -d "${DRAV_PACKAGE_DATE}" +%s OUTPUT_VARIABLE DRAV_PACKAGE_EPOCH
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

# Compressed without name and time of day, as in every package.
set(compressed "")
function(drav_compress source name)
  add_custom_command(OUTPUT ${made}/${name}.gz
                     COMMAND ${CMAKE_COMMAND} -E make_directory ${made}
                     COMMAND sh -c "\"$1\" -9n <\"$2\" >\"$3\"" sh ${DRAV_GZIP} ${source}
                             ${made}/${name}.gz
                     DEPENDS ${source} VERBATIM)
  list(APPEND compressed ${made}/${name}.gz)
  set(compressed ${compressed} PARENT_SCOPE)
endfunction()
drav_compress(${debian}/changelog changelog.Debian)
drav_compress(${PROJECT_SOURCE_DIR}/CHANGES.md changelog)
drav_compress(${PROJECT_SOURCE_DIR}/man/rastertodrav.8 rastertodrav.8)
drav_compress(${PROJECT_SOURCE_DIR}/man/picturetodrav.8 picturetodrav.8)
drav_compress(${PROJECT_SOURCE_DIR}/man/drav.1 drav.1)
add_custom_target(drav_package_files ALL DEPENDS ${compressed})

function(drav_install_package_docs package component)
  set(folder share/doc/${package})
  drav_install_folders(${component} ${folder})
  # cpack has made the prefix itself, under the umask of who packs.
  install(CODE "execute_process(COMMAND chmod 755 \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\"
                COMMAND_ERROR_IS_FATAL ANY)" COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${debian}/copyright ${made}/changelog.Debian.gz ${made}/changelog.gz
          DESTINATION ${folder} COMPONENT ${component} EXCLUDE_FROM_ALL)
  set(overrides ${debian}/${package}.lintian-overrides)
  if(EXISTS ${overrides})
    drav_install_folders(${component} share/lintian/overrides)
    install(FILES ${overrides} DESTINATION share/lintian/overrides RENAME ${package}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endfunction()

drav_install_package_docs(printer-driver-drav driver_debian)
drav_install_guides(share/doc/printer-driver-drav driver_debian EXCLUDE_FROM_ALL)
drav_install_folders(driver_debian share/man/man8 ${DRAV_CUPS_DATADIR}/ppd-updaters)
install(FILES ${made}/rastertodrav.8.gz DESTINATION share/man/man8
        COMPONENT driver_debian EXCLUDE_FROM_ALL)
# A new file here makes cups renew the PPD files of the queues.
install(FILES ${debian}/printer-driver-drav.ppd-updater
        DESTINATION ${DRAV_CUPS_DATADIR}/ppd-updaters COMPONENT driver_debian EXCLUDE_FROM_ALL)
if(TARGET drav-clean)
  drav_configure_units(/usr/${CMAKE_INSTALL_LIBEXECDIR}/drav/drav-clean ${made})
  drav_install_folders(driver_debian lib/systemd/system)
  install(FILES ${made}/drav-clean.service ${made}/drav-clean.timer
          DESTINATION lib/systemd/system COMPONENT driver_debian EXCLUDE_FROM_ALL)
endif()

drav_install_package_docs(drav-pictures pictures_debian)
drav_install_folders(pictures_debian share/man/man8)
install(FILES ${made}/picturetodrav.8.gz DESTINATION share/man/man8
        COMPONENT pictures_debian EXCLUDE_FROM_ALL)

drav_install_package_docs(drav-tools tools_debian)
drav_install_folders(tools_debian share/man/man1)
install(FILES ${made}/drav.1.gz DESTINATION share/man/man1
        COMPONENT tools_debian EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME drav)
set(CPACK_PACKAGE_CONTACT "Drav developers <developers@drav.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE drav)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DRIVER_PACKAGE_NAME printer-driver-drav)
set(CPACK_DEBIAN_DRIVER_PACKAGE_SECTION text)
# cups makes the PPD files and brings the converters and ppd-updaters.
set(CPACK_DEBIAN_DRIVER_PACKAGE_DEPENDS "cups, cups-filters")
# Who prints PDF alone does without libvips and the hundred libraries behind it.
set(CPACK_DEBIAN_DRIVER_PACKAGE_RECOMMENDS drav-pictures)
set(CPACK_DEBIAN_DRIVER_PACKAGE_SUGGESTS drav-tools)
if(TARGET drav-clean)
  set(CPACK_DEBIAN_DRIVER_PACKAGE_CONTROL_EXTRA
      "${debian}/postinst;${debian}/prerm;${debian}/postrm")
endif()
file(READ ${debian}/printer-driver-drav.description description)
string(STRIP "${description}" CPACK_DEBIAN_DRIVER_DESCRIPTION)

set(CPACK_DEBIAN_PICTURES_PACKAGE_NAME drav-pictures)
set(CPACK_DEBIAN_PICTURES_PACKAGE_SECTION text)
# cups has the folders of the filter and of the rules. Ghostscript draws PDF pages.
set(CPACK_DEBIAN_PICTURES_PACKAGE_DEPENDS "cups, ghostscript, fonts-dejavu-core")
set(CPACK_DEBIAN_PICTURES_PACKAGE_RECOMMENDS printer-driver-drav)
set(CPACK_DEBIAN_PICTURES_PACKAGE_CONTROL_EXTRA
    "${debian}/pictures/postinst;${debian}/pictures/postrm")
file(READ ${debian}/drav-pictures.description description)
string(STRIP "${description}" CPACK_DEBIAN_PICTURES_DESCRIPTION)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME drav-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION text)
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "printer-driver-drav, drav-pictures, ghostscript")
file(READ ${debian}/drav-tools.description description)
string(STRIP "${description}" CPACK_DEBIAN_TOOLS_DESCRIPTION)

configure_file(${PROJECT_SOURCE_DIR}/cmake/packages_run.cmake.in ${made}/packages_run.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${made}/packages_run.cmake)
set(CPACK_COMPONENTS_ALL driver driver_debian pictures pictures_debian tools tools_debian)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
include(CPack)
foreach(group driver pictures tools)
  cpack_add_component_group(${group})
  cpack_add_component(${group} GROUP ${group})
  cpack_add_component(${group}_debian GROUP ${group})
endforeach()
