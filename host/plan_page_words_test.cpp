#include "plan_page_words.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(PlanPageWordsTest, DigitsStandInGroupsOfThree)
{
    EXPECT_EQ("0", Digits(0));
    EXPECT_EQ("999", Digits(999));
    EXPECT_EQ("1,000", Digits(1000));
    EXPECT_EQ("18,446,744,073,709,551,615", Digits(UINT64_MAX));
}

TEST(PlanPageWordsTest, SizesAreRoundedToTheirUnit)
{
    EXPECT_EQ("1 byte", SizeText(1));
    EXPECT_EQ("1,023 bytes", SizeText(1023));
    EXPECT_EQ("1.0 KB", SizeText(1024));
    EXPECT_EQ("9.9 KB", SizeText(10138));
    EXPECT_EQ("10 KB", SizeText(10240));
    EXPECT_EQ("1.0 MB", SizeText(1024 * 1024 - 1));
    EXPECT_EQ("16 EB", SizeText(UINT64_MAX));
}

TEST(PlanPageWordsTest, OnlyWhatGoesIsTold)
{
    PlannedContents contents;
    EXPECT_EQ("", GoingText(contents));
    contents.files = 1;
    contents.keys = 2;
    EXPECT_EQ("1 file, 2 keys", GoingText(contents));
    contents.complete = false;
    EXPECT_EQ("1 file, 2 keys and more", GoingText(contents));
    EXPECT_EQ("not counted", GoingText({.complete = false}));
}

TEST(PlanPageWordsTest, SumOfWhatIsNotWhollyCountedIsNot)
{
    PlannedContents sum{.files = 1, .bytes = 10};
    PlannedItem item;
    item.contents = {.files = 2, .bytes = 5, .inUse = 3, .complete = false};
    AddContents(sum, item);
    EXPECT_EQ("3 files, 15 bytes and more", GoingText(sum));
    EXPECT_EQ(3U, sum.inUse);
}

} // namespace
} // namespace prodsweep
