// Text between Windows (UTF-16) and everything that the host reads and writes (UTF-8).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace prodsweep {

// Half a surrogate pair, which the registry may hold, becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring ToWide(std::string_view utf8);

// For comparing names as Windows does, whatever the user's language.
std::wstring ToLower(std::wstring_view text);

// Columns that the text takes on a terminal: 2 for East Asian wide characters and emoji, 0 for
// combining marks, 1 for all others.
std::size_t DisplayWidth(std::string_view utf8);

// The text, or as much of it as leaves room for "..." behind it in so many columns.
std::string CutToWidth(std::string_view utf8, std::size_t columns);

// The text on one line: control characters, by which a name out of a catalogue could steer the
// reader's terminal, become U+FFFD.
std::string Printable(std::string_view utf8);

// "own, other or all"
std::string Listed(const std::vector<std::string>& words);

} // namespace prodsweep
