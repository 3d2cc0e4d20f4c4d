// How Windows tells a path of any length.
#pragma once

#include <string>

#include <windows.h>

namespace prodsweep {

// Windows' own limit, with the terminating zero.
constexpr DWORD longestPath = 32768;

// What call(buffer, size) writes. It returns the length, the size that it needs when the buffer is too small, or 0 when
// it fails. The answer is empty then, and when it would be longer than a path may be.
template <typename Call>
std::wstring PathAnswer(const Call& call)
{
    // Few paths are longer, and there is one question for each of many items: a buffer for the longest path takes more
    // time to clear than Windows takes to answer.
    std::wstring answer(MAX_PATH, L'\0');
    DWORD length = call(answer.data(), static_cast<DWORD>(answer.size()));
    if (length >= answer.size() && length <= longestPath)
    {
        answer.resize(length + std::size_t{1});
        length = call(answer.data(), static_cast<DWORD>(answer.size()));
    }
    answer.resize(length < answer.size() ? length : 0);
    return answer;
}

} // namespace prodsweep
