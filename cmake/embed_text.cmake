# prodsweep_embed_text(TARGET NAME FILE): the text of a file as the constant prodsweep::NAME, declared where it is used, and
# behind it as NAMEHash its digest as a page's security policy names it. Visual C++ takes 16 KB for each file.

# Base64 of the 32 bytes of a digest.
function(prodsweep_base64 hex result)
  set(digits ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  set(text "")
  foreach(begin RANGE 0 60 6)
    string(SUBSTRING ${hex}00 ${begin} 6 group)
    foreach(shift 18 12 6 0)
      math(EXPR index "(0x${group} >> ${shift}) & 63")
      string(SUBSTRING ${digits} ${index} 1 digit)
      string(APPEND text ${digit})
    endforeach()
  endforeach()
  # The last group has one byte too many.
  string(REGEX REPLACE "A$" "=" text ${text})
  set(${result} ${text} PARENT_SCOPE)
endfunction()

function(prodsweep_embed_text target name file)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(READ ${file} content)
  string(SHA256 digest "${content}")
  prodsweep_base64(${digest} hash)
  file(CONFIGURE OUTPUT ${name}.cpp @ONLY CONTENT [[
#include <string_view>

namespace prodsweep {

extern const std::string_view @name@;
const std::string_view @name@ = R"embedded(@content@)embedded";
extern const std::string_view @name@Hash;
const std::string_view @name@Hash = "sha256-@hash@";

} // namespace prodsweep
]])
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
endfunction()
