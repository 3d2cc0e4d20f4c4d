#include "common/path_join.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(PathJoinTest, SeparatorGoesBetween)
{
    std::wstring left = L"C:\\App";
    EXPECT_EQ(L"C:\\App\\file.txt", PathJoin(left, L"file.txt"));
}

TEST(PathJoinTest, EmptyLeftGivesRightAlone)
{
    std::wstring left;
    EXPECT_EQ(L"file.txt", PathJoin(left, L"file.txt"));
}

TEST(PathJoinTest, LeftThatEndsInEitherSlashTakesNoFurtherSeparator)
{
    std::wstring slash = L"C:/App/";
    EXPECT_EQ(L"C:/App/file.txt", PathJoin(slash, L"file.txt"));
    std::wstring backslash = L"C:\\App\\";
    EXPECT_EQ(L"C:\\App\\file.txt", PathJoin(backslash, L"file.txt"));
}

TEST(PathJoinTest, SecondJoinToTheSameTextGoesBelowTheFirst)
{
    std::wstring folder = L"C:\\App\\";
    PathJoin(folder, L"products.xml");
    EXPECT_EQ(L"C:\\App\\products.xml\\detection.xml", PathJoin(folder, L"detection.xml"));
}

TEST(AddSeparatorTest, EmptyTextStaysEmpty)
{
    std::wstring text;
    EXPECT_EQ(L"", AddSeparator(text));
}

} // namespace
} // namespace prodsweep
