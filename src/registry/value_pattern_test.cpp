#include "registry/value_pattern.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

struct PatternCase
{
    const char* name;
    const wchar_t* pattern;
    const wchar_t* valueName;
    bool touched; // by a deletion, listed by an expansion
    bool found;   // by a check
};

constexpr PatternCase patternCases[] = {
    {"PrefixAlone", L"abc*", L"abc", true, true},
    {"PrefixWithMoreBehind", L"abc*", L"abcx", true, true},
    {"PrefixThatComesTwice", L"abc*", L"abcabc", true, true},
    {"PrefixFurtherInside", L"abc*", L"xabc", false, false},
    {"PrefixInAnotherCase", L"abc*", L"Abcx", false, false},
    {"PrefixLongerThanTheName", L"abc*", L"ab", false, false},
    {"PrefixOfAnEmptyName", L"abc*", L"", false, false},
    {"SuffixAlone", L"*abc", L"abc", true, true},
    {"SuffixWithMoreInFront", L"*abc", L"xabc", true, true},
    {"SuffixNotAtTheEnd", L"*abc", L"abcx", false, false},
    {"SuffixInAnotherCase", L"*abc", L"xABC", false, false},
    // Only the first occurrence is looked at.
    {"SuffixThatComesTwice", L"*abc", L"abcabc", false, false},
    {"SuffixThatComesTwiceApart", L"*abc", L"abcxabc", false, false},
    // The check wants something on both sides; deletion and expansion do not.
    {"InnerInTheMiddle", L"*abc*", L"xabcx", true, true},
    {"InnerAlone", L"*abc*", L"abc", true, false},
    {"InnerAtTheStart", L"*abc*", L"abcx", true, false},
    {"InnerAtTheEnd", L"*abc*", L"xabc", true, false},
    {"InnerAtTheStartAndAgainInside", L"*abc*", L"abcxabcx", true, false},
    {"InnerInsideAndAgainAtTheEnd", L"*abc*", L"xabcxabc", true, true},
    {"InnerThatIsNotThere", L"*abc*", L"xabx", false, false},
    {"InnerInAnotherCase", L"*abc*", L"xAbCx", false, false},
    // One star is first and last character at once, so it counts as a star at both ends.
    {"OneStarMatchesEveryName", L"*", L"anything", true, false},
    {"OneStarMatchesTheEmptyName", L"*", L"", true, false},
    {"TwoStarsMatchEveryName", L"**", L"anything", true, false},
    {"TwoStarsMatchTheEmptyName", L"**", L"", true, false},
    // Stars further inside are characters.
    {"ThirdStarIsACharacter", L"***", L"a*b", true, true},
    {"ThirdStarIsNotAWildcard", L"***", L"ab", false, false},
    {"StarInsideAPrefixIsACharacter", L"a*b*", L"a*bc", true, true},
    {"StarInsideAPrefixIsNotAWildcard", L"a*b*", L"axbc", false, false},
    {"StarInsideASuffixIsACharacter", L"*a*b", L"xa*b", true, true},
    {"StarInsideASuffixIsNotAWildcard", L"*a*b", L"xaxb", false, false},
    {"StarInsideAnInnerIsACharacter", L"*a*b*", L"xa*bx", true, true},
    {"DoubledStarAtTheEnd", L"a**", L"a*", true, true},
    {"DoubledStarAtTheEndIsNotAWildcard", L"a**", L"ab", false, false},
};

class ValuePatternTest : public testing::TestWithParam<PatternCase>
{};

TEST_P(ValuePatternTest, MatchesAsItsShapeSays)
{
    const CValuePattern pattern(GetParam().pattern);
    ASSERT_FALSE(pattern.IsPlain());
    ASSERT_FALSE(pattern.IsRefused());
    EXPECT_EQ(GetParam().touched, pattern.Matches(GetParam().valueName));
    EXPECT_EQ(GetParam().found, pattern.MatchesInCheck(GetParam().valueName));
}

INSTANTIATE_TEST_SUITE_P(Shapes, ValuePatternTest, testing::ValuesIn(patternCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ValuePatternKindTest, NameWithoutAStarIsPlain)
{
    for (const wchar_t* const name : {L"", L"abc", L"a?c", L"%", L" "})
    {
        EXPECT_TRUE(CValuePattern(name).IsPlain());
        EXPECT_FALSE(CValuePattern(name).IsRefused());
    }
}

TEST(ValuePatternKindTest, StarOnlyInsideIsRefused)
{
    for (const wchar_t* const name : {L"ab*c", L"a**c", L"a*b*c"})
    {
        EXPECT_TRUE(CValuePattern(name).IsRefused());
        EXPECT_FALSE(CValuePattern(name).IsPlain());
        EXPECT_FALSE(CValuePattern(name).Matches(name));
        EXPECT_FALSE(CValuePattern(name).MatchesInCheck(name));
    }
}

} // namespace
} // namespace prodsweep
