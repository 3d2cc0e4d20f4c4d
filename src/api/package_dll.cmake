# What is done to the linked DLL: its debug information moves to a file beside it, and an import library
# is made for Microsoft's linker (GCC's comes from the link itself).
prodsweep_split_debug(prodsweep prodsweep.dll)

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
