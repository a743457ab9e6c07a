# Installs the development files into PREFIX and compiles every installed header on its own,
# with nothing but the prefix (and nlohmann_json, which the public headers use) on the include
# path: a header that leans on an internal one, or on an include it does not make itself,
# fails here. Also fails when an installed header is not one of the public headers.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DPREFIX=... -DCXX=... -DEXTRA_INCLUDES=... -P this
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX} --component dev
                OUTPUT_QUIET RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cmake --install failed (${result})")
endif()

file(GLOB_RECURSE installed RELATIVE ${PREFIX}/include ${PREFIX}/include/*)
file(GLOB_RECURSE public RELATIVE ${SOURCE_DIR}/include ${SOURCE_DIR}/include/*.h)
list(APPEND public zo/version.h)
list(SORT installed)
list(SORT public)
if(NOT installed STREQUAL public)
  message(FATAL_ERROR "installed headers differ from the public ones:\n"
                      "installed: ${installed}\npublic: ${public}")
endif()

set(include_flags -I${PREFIX}/include)
foreach(dir IN LISTS EXTRA_INCLUDES)
  list(APPEND include_flags -I${dir})
endforeach()
set(failures "")
foreach(header IN LISTS installed)
  file(WRITE ${PREFIX}/check.cpp "#include <${header}>\n")
  execute_process(
    COMMAND ${CXX} -std=c++20 -fsyntax-only -Wall -Wextra -Werror ${include_flags}
            ${PREFIX}/check.cpp
    RESULT_VARIABLE result ERROR_VARIABLE errors)
  if(NOT result EQUAL 0)
    string(APPEND failures "${header}:\n${errors}\n")
  endif()
endforeach()
if(failures)
  message(FATAL_ERROR "installed headers that do not compile on their own:\n${failures}")
endif()
list(LENGTH installed count)
message(STATUS "${count} installed headers compile on their own")
