# SPDX-License-Identifier: Apache-2.0
# `cmake --build BUILD --target uninstall` removes what the last `cmake
# --install` of this build folder put there; with the same DESTDIR, if one was
# set. CMake's own list knows neither DESTDIR nor that a test has staged another
# copy meanwhile, so every install leaves a list of its own, by DESTDIR and
# component. The lists that CPack's staging would leave are of no use.
set(DRAV_INSTALLED_LISTS ${PROJECT_BINARY_DIR}/installed)
install(CODE "
if(NOT \"\$ENV{DESTDIR}\" MATCHES \"/_CPack_Packages/\")
  string(MD5 stage \"\$ENV{DESTDIR}\")
  list(JOIN CMAKE_INSTALL_MANIFEST_FILES \"\\n\" names)
  file(WRITE \"${DRAV_INSTALLED_LISTS}/\${stage}/\${CMAKE_INSTALL_COMPONENT}.list\" \"\${names}\\n\")
  if(NOT CMAKE_INSTALL_COMPONENT)
    file(GLOB parts \"${DRAV_INSTALLED_LISTS}/\${stage}/?*.list\")
    if(parts)
      file(REMOVE \${parts})
    endif()
  endif()
endif()" ALL_COMPONENTS)

add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -DLISTS=${DRAV_INSTALLED_LISTS}
          -P ${PROJECT_SOURCE_DIR}/cmake/uninstall_files.cmake
  COMMENT "Removing what was installed" VERBATIM USES_TERMINAL)
