#include "path_answer.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

std::wstring Full(const std::wstring& path)
{
    return PathAnswer(
        [&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
}

TEST(PathAnswerTest, PathOfAnyLengthIsTakenWhole)
{
    const std::wstring drive = L"C:\\";
    for (const std::size_t length : {4U, 258U, 259U, 260U, 261U, 262U, 5000U, 32766U})
    {
        const std::wstring path = drive + std::wstring(length - drive.size(), L'x');
        EXPECT_EQ(path, Full(path)) << length;
    }
}

TEST(PathAnswerTest, FailureIsEmpty)
{
    EXPECT_EQ(L"", Full(L""));
    const auto neverContent = [](wchar_t*, DWORD size) { return size + 1; };
    EXPECT_EQ(L"", PathAnswer(neverContent));
}

// Windows refuses it, and other systems need not.
TEST(PathAnswerTest, PathLongerThanAnyMayBeIsAFailure) { EXPECT_EQ(L"", Full(L"C:\\" + std::wstring(40000, L'x'))); }

} // namespace
} // namespace prodsweep
