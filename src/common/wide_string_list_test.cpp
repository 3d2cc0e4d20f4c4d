#include "common/wide_string_list.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(HoldsTest, OnlyAWholeTextIsFound)
{
    const WideStringList list = {L"C:\\app\\a.txt", L"C:\\app\\b.txt"};

    EXPECT_TRUE(Holds(list, L"C:\\app\\a.txt"));
    EXPECT_TRUE(Holds(list, L"C:\\app\\b.txt"));
    EXPECT_FALSE(Holds(list, L"C:\\app\\c.txt"));
    EXPECT_FALSE(Holds(list, L"D:\\app\\a.txt"));
    EXPECT_FALSE(Holds(list, L"b.txt"));
    EXPECT_FALSE(Holds(list, L"C:\\C:\\app\\a.txt"));
}

TEST(HoldsTest, CaseMatters) { EXPECT_FALSE(Holds({L"C:\\app\\a.txt"}, L"C:\\App\\a.txt")); }

TEST(HoldsTest, EmptyTextIsATextLikeAnyOther)
{
    EXPECT_TRUE(Holds({L"a", L""}, L""));
    EXPECT_FALSE(Holds({L"a"}, L""));
    EXPECT_FALSE(Holds({}, L""));
}

} // namespace
} // namespace prodsweep
