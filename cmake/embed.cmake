# SPDX-License-Identifier: Apache-2.0
# Writes files into a C++ source as byte arrays. Run as
#   cmake -DOUTPUT=models.inc -DFILES=a.ppd,b.ppd -P embed.cmake
# For each file an array, and one list of {"name without ending", bytes}: kModels of
# EmbeddedModel, or what -DLIST and -DTYPE say.
if(NOT DEFINED LIST)
  set(LIST kModels)
  set(TYPE EmbeddedModel)
endif()
string(REPLACE "," ";" files "${FILES}")
set(text "// Made by cmake/embed.cmake.\n")
foreach(file IN LISTS files)
  cmake_path(GET file STEM name)
  file(READ ${file} bytes HEX)
  file(SIZE ${file} size)
  string(REGEX REPLACE "(................................)" "\\1\n" lines "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," lines "${lines}")
  string(APPEND text "constexpr unsigned char k_${name}[] = {\n${lines}};\n"
         "static_assert(sizeof k_${name} == ${size});\n")
  string(APPEND list "    {\"${name}\", {k_${name}, sizeof k_${name}}},\n")
endforeach()
string(APPEND text "constexpr ${TYPE} ${LIST}[] = {\n${list}};\n")
file(WRITE ${OUTPUT} "${text}")
