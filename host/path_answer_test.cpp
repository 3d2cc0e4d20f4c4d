#include "path_answer.h"

#include <gtest/gtest.h>

#include "real_path.h"
#include "support/temp_tree.h"

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
    for (const std::size_t length : {4U, 258U, 259U, 260U, 261U, 262U, 5000U})
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

TEST(PathAnswerTest, FolderTooDeepForAShortPathIsFollowed)
{
    const test::TempTree tree;
    // Else the path that is compared with would be another spelling.
    const std::wstring root = LR"(\\?\)" + RealPath(tree.Root());
    std::wstring path = root;
    for (const wchar_t letter : {L'a', L'b', L'c', L'd'})
    {
        path += L'\\' + std::wstring(80, letter);
        ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
    }

    EXPECT_EQ(path, LR"(\\?\)" + RealPath(path));
    EXPECT_EQ(path, LR"(\\?\)" + RealPath(path + L'\\'));
    // The tree's own end takes short paths alone.
    test::RemoveTree(root);
}

} // namespace
} // namespace prodsweep
