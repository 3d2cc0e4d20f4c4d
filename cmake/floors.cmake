# A floor is one static library that sees the headers of the floors it links, and of no other.
#
# Its headers are reached as "floor/header.h". To let a wrong include fail, each floor offers an
# include folder that holds nothing but a link to itself. Windows hosts may not make links; there
# the common root serves, and the check is left to the hosts that can.
function(prodsweep_floor name)
  cmake_parse_arguments(FLOOR "" "" "SOURCES;LINKS;SYSTEM" ${ARGN})
  set(target prodsweep_${name})
  add_library(${target} STATIC ${FLOOR_SOURCES})
  if(CMAKE_HOST_UNIX)
    set(root ${PROJECT_BINARY_DIR}/floors/${name})
    file(MAKE_DIRECTORY ${root})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${name} SYMBOLIC)
  else()
    set(root ${PROJECT_SOURCE_DIR}/src)
  endif()
  target_include_directories(${target} PUBLIC ${root})
  target_link_libraries(${target} PUBLIC ${FLOOR_LINKS} ${FLOOR_SYSTEM} PRIVATE prodsweep_options)
  if(name STREQUAL common)
    target_precompile_headers(${target} PRIVATE
      <windows.h> <shlobj.h> <msxml2.h> <algorithm> <functional> <map> <memory> <optional> <set> <string> <vector>)
  else()
    prodsweep_read_headers_once(${target})
  endif()
endfunction()

# prodsweep_read_headers_once(TARGET): for the floors, the host, the logger and the tests' tools. Each source still
# includes what it uses: the linter compiles without this. Visual C++ wants the very same definitions for it, and has
# others for DLLs.
function(prodsweep_read_headers_once target)
  if(NOT MSVC)
    target_precompile_headers(${target} REUSE_FROM prodsweep_common)
  endif()
endfunction()
