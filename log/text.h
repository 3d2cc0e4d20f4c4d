// The caller's text and its way into UTF-8.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

namespace prodsweep::logger {

// Longer texts are cut, and end in "...".
constexpr std::size_t longestText = 0x10000;

// What the C runtime makes of a wide format; a null format gives "(null)".
std::wstring FormatText(const wchar_t* format, va_list arguments);

// Appends the text in such a form that it stays on its line and in its quotation marks, and is UTF-8 whatever it holds.
using Append = void (*)(std::string& line, std::wstring_view text);

// For a person: as it is, but line breaks, other control characters and halves of surrogate pairs stand as <U+000A>.
void AppendPlain(std::string& line, std::wstring_view text);

// As the inside of a JSON string. Nothing is lost: half a surrogate pair comes back as such.
void AppendJson(std::string& line, std::wstring_view text);

} // namespace prodsweep::logger
