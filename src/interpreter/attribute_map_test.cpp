#include "interpreter/attribute_map.h"

#include <gtest/gtest.h>

#include <climits>

namespace prodsweep {
namespace {

TEST(AttributeMapTest, InsertionNeverReplaces)
{
    AttributeMap attributes{{L"op_code", L"del_file"}};
    attributes.emplace(L"op_code", L"del_folder");
    EXPECT_EQ(L"del_file", *FindAttribute(attributes, L"op_code"));
}

TEST(AttributeMapTest, NamesAreFoundInTheirExactSpellingOnly)
{
    const AttributeMap attributes{{L"Name", L"a"}};
    EXPECT_EQ(nullptr, FindAttribute(attributes, L"name"));
    EXPECT_NE(nullptr, FindAttribute(attributes, L"Name"));
}

TEST(AttributeMapTest, EmptyValueIsPresentButNotFilled)
{
    const AttributeMap attributes{{L"path", L""}, {L"name", L"a"}};
    EXPECT_NE(nullptr, FindAttribute(attributes, L"path"));
    EXPECT_EQ(nullptr, FindFilledAttribute(attributes, L"path"));
    EXPECT_EQ(nullptr, FindFilledAttribute(attributes, L"absent"));
    EXPECT_EQ(L"a", *FindFilledAttribute(attributes, L"name"));
}

TEST(AttributeMapTest, YesCountsInAnyCaseAndNothingElseDoes)
{
    const AttributeMap attributes{{L"a", L"yes"}, {L"b", L"YES"}, {L"c", L"true"}, {L"d", L" yes"}, {L"e", L""}};
    EXPECT_TRUE(IsYes(attributes, L"a"));
    EXPECT_TRUE(IsYes(attributes, L"b"));
    for (const wchar_t* name : {L"c", L"d", L"e", L"absent"})
        EXPECT_FALSE(IsYes(attributes, name)) << name;
}

TEST(AttributeMapTest, PairsAreDescribedInKeyOrderByCharacterValue)
{
    const AttributeMap attributes{{L"name", L"x"}, {L"Zebra", L""}, {L"op_code", L"del_file"}};
    EXPECT_EQ(L"Zebra = \"\"; name = \"x\"; op_code = \"del_file\"; ", DescribeAttributes(attributes));
    EXPECT_EQ(L"", DescribeAttributes({}));
}

struct PrefixCase
{
    const wchar_t* text;
    int number;
};

void PrintTo(const PrefixCase& row, std::ostream* out) { *out << testing::PrintToString(std::wstring(row.text)); }

class DecimalPrefixTest : public testing::TestWithParam<PrefixCase>
{};

TEST_P(DecimalPrefixTest, ReadsTheNumberThatTheTextBeginsWith)
{
    EXPECT_EQ(GetParam().number, DecimalPrefix(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Texts, DecimalPrefixTest,
                         testing::Values(PrefixCase{L"7", 7}, PrefixCase{L"007", 7}, PrefixCase{L" \t\r\n 7", 7},
                                         PrefixCase{L"+7", 7}, PrefixCase{L"-7", -7}, PrefixCase{L"  -7x9", -7},
                                         PrefixCase{L"3.9", 3}, PrefixCase{L"1e3", 1}, PrefixCase{L"0x10", 0},
                                         PrefixCase{L"", 0}, PrefixCase{L"   ", 0}, PrefixCase{L"abc", 0},
                                         PrefixCase{L"-", 0}, PrefixCase{L"+-7", 0}, PrefixCase{L"- 7", 0},
                                         PrefixCase{L"\x0667", 0}, PrefixCase{L"-0", 0}));

INSTANTIATE_TEST_SUITE_P(Limits, DecimalPrefixTest,
                         testing::Values(PrefixCase{L"2147483647", INT_MAX}, PrefixCase{L"-2147483648", INT_MIN},
                                         PrefixCase{L"2147483648", INT_MAX}, PrefixCase{L"-2147483649", INT_MIN},
                                         PrefixCase{L"4294967296", INT_MAX},
                                         PrefixCase{L"99999999999999999999999999999999", INT_MAX},
                                         PrefixCase{L"-99999999999999999999999999999999", INT_MIN}));

} // namespace
} // namespace prodsweep
