# SPDX-License-Identifier: Apache-2.0
# `cmake --build BUILD --target uninstall` removes what the last `cmake
# --install` of this build folder put there; with the same DESTDIR, if one was
# set. CMake's own list knows neither DESTDIR nor that a test has staged another
# copy meanwhile, so every install leaves a list of its own, by DESTDIR and
# component. Lists of stages that are gone go too.
set(DRAV_INSTALLED_LISTS ${PROJECT_BINARY_DIR}/installed)
file(MAKE_DIRECTORY ${DRAV_INSTALLED_LISTS})  # else root's first install would own it
install(CODE "
file(GLOB stages \"${DRAV_INSTALLED_LISTS}/*/stage\")
foreach(stage IN LISTS stages)
  file(READ \"\${stage}\" folder)
  if(folder AND NOT IS_DIRECTORY \"\${folder}\")
    cmake_path(GET stage PARENT_PATH stage)
    file(REMOVE_RECURSE \"\${stage}\")
  endif()
endforeach()
string(MD5 stage \"\$ENV{DESTDIR}\")
set(stage \"${DRAV_INSTALLED_LISTS}/\${stage}\")
if(NOT CMAKE_INSTALL_COMPONENT)  # replaces what was installed part by part
  file(REMOVE_RECURSE \"\${stage}\")
endif()
list(JOIN CMAKE_INSTALL_MANIFEST_FILES \"\\n\" names)
file(WRITE \"\${stage}/stage\" \"\$ENV{DESTDIR}\")
file(WRITE \"\${stage}/files-\${CMAKE_INSTALL_COMPONENT}.list\" \"\${names}\\n\")" ALL_COMPONENTS)

add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -DLISTS=${DRAV_INSTALLED_LISTS}
          -P ${PROJECT_SOURCE_DIR}/cmake/uninstall_files.cmake
  COMMENT "Removing what was installed" VERBATIM USES_TERMINAL)
