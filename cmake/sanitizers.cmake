# SPDX-License-Identifier: Apache-2.0
# DRAV_SANITIZE=address,undefined builds everything, the test framework
# included, with these sanitizers; any finding ends the program.
if(DRAV_SANITIZE)
  add_compile_options(-fsanitize=${DRAV_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DRAV_SANITIZE})
endif()
