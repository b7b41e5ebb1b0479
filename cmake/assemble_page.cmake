# SPDX-License-Identifier: Apache-2.0
# Puts an HTML page together. Run as
#   cmake -DOUTPUT=page.html -DPAGE=a.html -DSTYLES=a.css,b.css -DSCRIPTS=a.js,b.js
#         [-DPARTS=c.html] [-DSTYLE_OUTPUT=page.css -DSCRIPT_OUTPUT=page.js]
#         -P assemble_page.cmake
# In the page @C@ stands for the part c.html, @STYLE@ and @SCRIPT@ for the texts, and
# @STYLE_HASH@ and @SCRIPT_HASH@ for what a Content-Security-Policy calls them. With the two
# outputs style and script become files of their own.

# Base64 (RFC 4648) of the SHA-256 of `text`; CMake gives hexadecimal digits alone.
function(content_hash text variable)
  set(letters ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  string(SHA256 digits "${text}")
  # 64 digits and two more are 22 groups of 12 bits, two letters each.
  set(digits ${digits}00)
  set(hash "")
  foreach(at RANGE 0 63 3)
    string(SUBSTRING ${digits} ${at} 3 group)
    math(EXPR high "0x${group} >> 6")
    math(EXPR low "0x${group} & 63")
    string(SUBSTRING ${letters} ${high} 1 first)
    string(SUBSTRING ${letters} ${low} 1 second)
    string(APPEND hash ${first}${second})
  endforeach()
  string(SUBSTRING ${hash} 0 43 hash) # 256 bits and 2 more
  set(${variable} "${hash}=" PARENT_SCOPE)
endfunction()

# The texts of the files, one behind the other.
function(join_files files variable)
  string(REPLACE "," ";" files "${files}")
  set(joined "")
  foreach(file IN LISTS files)
    file(READ ${file} text)
    string(APPEND joined "${text}")
  endforeach()
  set(${variable} "${joined}" PARENT_SCOPE)
endfunction()

join_files("${STYLES}" STYLE)
join_files("${SCRIPTS}" SCRIPT)
string(PREPEND SCRIPT "\"use strict\";\n")
content_hash("${STYLE}" STYLE_HASH)
content_hash("${SCRIPT}" SCRIPT_HASH)
file(READ ${PAGE} text)
string(REPLACE "," ";" parts "${PARTS}")
foreach(part IN LISTS parts)
  cmake_path(GET part STEM name)
  string(TOUPPER ${name} name)
  file(READ ${part} part_text)
  string(REPLACE "@${name}@" "${part_text}" text "${text}")
endforeach()
foreach(name STYLE_HASH SCRIPT_HASH STYLE SCRIPT)
  string(REPLACE "@${name}@" "${${name}}" text "${text}")
endforeach()
file(WRITE ${OUTPUT} "${text}")
if(DEFINED SCRIPT_OUTPUT)
  file(WRITE ${STYLE_OUTPUT} "${STYLE}")
  file(WRITE ${SCRIPT_OUTPUT} "${SCRIPT}")
endif()
