# SPDX-License-Identifier: Apache-2.0
# Puts style and scripts into an HTML page, so that it is one file. Run as
#   cmake -DOUTPUT=page.html -DPAGE=a.html -DSTYLE=a.css -DSCRIPTS=a.js,b.js -P assemble_page.cmake
# In the page @STYLE@ and @SCRIPT@ stand for the texts, @STYLE_HASH@ and @SCRIPT_HASH@
# for what a Content-Security-Policy calls them.

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

file(READ ${STYLE} STYLE)
string(REPLACE "," ";" files "${SCRIPTS}")
set(SCRIPT "\"use strict\";\n")
foreach(file IN LISTS files)
  file(READ ${file} text)
  string(APPEND SCRIPT "${text}")
endforeach()
content_hash("${STYLE}" STYLE_HASH)
content_hash("${SCRIPT}" SCRIPT_HASH)
file(READ ${PAGE} text)
foreach(name STYLE_HASH SCRIPT_HASH STYLE SCRIPT)
  string(REPLACE "@${name}@" "${${name}}" text "${text}")
endforeach()
file(WRITE ${OUTPUT} "${text}")
