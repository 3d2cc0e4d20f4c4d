#pragma once

#include <windows.h>

#include <string>

namespace prodsweep::test {

// Answers as the calls do that tell a path: its length, or the size that it needs when the buffer is too small.
inline DWORD TellPath(const std::wstring& path, wchar_t* buffer, DWORD size)
{
    const auto length = static_cast<DWORD>(path.size());
    if (size <= length)
        return length + 1;
    path.copy(buffer, path.size());
    buffer[length] = L'\0';
    return length;
}

} // namespace prodsweep::test
