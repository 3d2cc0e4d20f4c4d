# What is done to the linked DLL: its debug information moves to a file beside it, and an import library
# is made for Microsoft's linker (GCC's comes from the link itself).
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(debug_file ${CMAKE_BINARY_DIR}/bin/prodsweep.dll.debug)
  # The DLL does not name that file: such a link holds its checksum, by which the paths in the debug
  # information, and so the folder and the compiler cache of a build, would change the DLL's own bytes.
  # These tools write the time of day into each file that they rewrite, unless they are told a time.
  set(at_no_time ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0)
  add_custom_command(TARGET prodsweep POST_BUILD
    COMMAND ${at_no_time} ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:prodsweep> ${debug_file}
    COMMAND ${at_no_time} ${CMAKE_STRIP} --strip-all $<TARGET_FILE:prodsweep>
    BYPRODUCTS ${debug_file}
    VERBATIM)
endif()

find_program(LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-19 llvm-dlltool-14)
if(NOT LLVM_DLLTOOL)
  message(FATAL_ERROR "llvm-dlltool is missing. ./dev setup installs what the build needs.")
endif()
set(msvc_import_library ${CMAKE_BINARY_DIR}/lib/prodsweep.lib)
add_custom_command(OUTPUT ${msvc_import_library}
  COMMAND ${LLVM_DLLTOOL} -m i386:x86-64 -d ${CMAKE_CURRENT_SOURCE_DIR}/prodsweep.def -l ${msvc_import_library}
  DEPENDS prodsweep.def
  VERBATIM)
add_custom_target(prodsweep_import_library ALL DEPENDS ${msvc_import_library})
