#pragma once

#include <string>
#include <string_view>

namespace prodsweep {

// Appends "\" unless the text is empty or ends in "\" or "/". An empty text stays empty.
std::wstring& AddSeparator(std::wstring& text);

// Appends right to left, with a separator between them where one is needed. left itself changes, so
// joining a second name to the same folder puts the first name into the path.
std::wstring& PathJoin(std::wstring& left, std::wstring_view right);

} // namespace prodsweep
