# find_package(prodsweep CONFIG REQUIRED), then link prodsweep::prodsweep.
if(NOT TARGET prodsweep::prodsweep)
  get_filename_component(_prodsweep_root "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
  # The two kinds of import library hold the same and are read by different linkers.
  if(MSVC)
    set(_prodsweep_import_library prodsweep.lib)
  else()
    set(_prodsweep_import_library libprodsweep.dll.a)
  endif()
  add_library(prodsweep::prodsweep SHARED IMPORTED)
  set_target_properties(prodsweep::prodsweep PROPERTIES
    IMPORTED_LOCATION "${_prodsweep_root}/bin/prodsweep.dll"
    IMPORTED_IMPLIB "${_prodsweep_root}/lib/${_prodsweep_import_library}"
    INTERFACE_INCLUDE_DIRECTORIES "${_prodsweep_root}/include"
    # The header's helper that frees arrays calls it.
    INTERFACE_LINK_LIBRARIES oleaut32)
  unset(_prodsweep_root)
  unset(_prodsweep_import_library)
endif()
