# prodsweep_split_debug(TARGET FILE): moves the debug information of bin/FILE, which TARGET links, to
# bin/FILE.debug beside it.
#
# The program does not name that file: such a link holds its checksum, by which the paths in the debug
# information, and so the folder and the compiler cache of a build, would change the program's own bytes.
function(prodsweep_split_debug target file)
  if(NOT MINGW OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    return()
  endif()
  set(debug_file ${CMAKE_BINARY_DIR}/bin/${file}.debug)
  # These tools write the time of day into each file that they rewrite, unless they are told a time.
  set(at_no_time ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${at_no_time} ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> ${debug_file}
    COMMAND ${at_no_time} ${CMAKE_STRIP} --strip-all $<TARGET_FILE:${target}>
    BYPRODUCTS ${debug_file}
    VERBATIM)
endfunction()
