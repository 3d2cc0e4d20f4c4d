#include "input.h"

#include <iterator>
#include <string_view>

#include <windows.h>

namespace prodsweep {

std::optional<bool> ReadYesOrNo()
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(input, &mode))
        return std::nullopt;
    wchar_t line[16]{};
    DWORD length = 0;
    if (!ReadConsoleW(input, line, static_cast<DWORD>(std::size(line)), &length, nullptr))
        return std::nullopt;
    std::wstring_view answer(line, length);
    while (!answer.empty() && (answer.back() == L'\n' || answer.back() == L'\r'))
        answer.remove_suffix(1);
    const auto equals = [&](const wchar_t* text) {
        return CompareStringOrdinal(answer.data(), static_cast<int>(answer.size()), text, -1, TRUE) == CSTR_EQUAL;
    };
    return !answer.empty() && (equals(L"y") || equals(L"yes"));
}

} // namespace prodsweep
