#include "text.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(TextTest, CharactersBeyondTheBasicPlaneGoThereAndBack)
{
    const std::wstring clef = L"a\xD834\xDD1E";

    EXPECT_EQ("a\xF0\x9D\x84\x9E", ToUtf8(clef));
    EXPECT_EQ(clef, ToWide(ToUtf8(clef)));
}

TEST(TextTest, HalfASurrogatePairBecomesTheReplacementCharacter)
{
    EXPECT_EQ("a\xEF\xBF\xBD"
              "b",
              ToUtf8(L"a\xD834"
                     L"b"));
    EXPECT_EQ("\xEF\xBF\xBD", ToUtf8(L"\xDD1E"));
}

TEST(TextTest, EmptyStaysEmpty)
{
    EXPECT_EQ("", ToUtf8({}));
    EXPECT_EQ(L"", ToWide({}));
    EXPECT_EQ("", Printable({}));
    EXPECT_EQ(0U, DisplayWidth({}));
}

TEST(TextTest, TextKeepsItsZeros) { EXPECT_EQ(std::string("a\0b", 3), ToUtf8(std::wstring_view(L"a\0b", 3))); }

struct WidthCase
{
    const char* name;
    const wchar_t* text;
    std::size_t width;
};

class DisplayWidthTest : public testing::TestWithParam<WidthCase>
{};

TEST_P(DisplayWidthTest, CountsColumns) { EXPECT_EQ(GetParam().width, DisplayWidth(ToUtf8(GetParam().text))); }

INSTANTIATE_TEST_SUITE_P(Text, DisplayWidthTest,
                         testing::Values(WidthCase{"Latin", L"abc", 3}, WidthCase{"Accent", L"\x00E9", 1},
                                         WidthCase{"CombiningAccent", L"e\x0301", 1},
                                         WidthCase{"Ideographs", L"\x65E5\x672C", 4}, WidthCase{"Hangul", L"\xD55C", 2},
                                         WidthCase{"FullWidth", L"\xFF21", 2}, WidthCase{"Clef", L"\xD834\xDD1E", 1},
                                         WidthCase{"Emoji", L"\xD83D\xDE00", 2},
                                         WidthCase{"RareIdeograph", L"\xD840\xDC00", 2},
                                         WidthCase{"ZeroWidthSpace", L"a\x200B", 1}),
                         [](const auto& row) { return row.param.name; });

TEST(CutToWidthTest, TextThatFitsStaysWhole)
{
    EXPECT_EQ("abcd", CutToWidth("abcd", 4));
    EXPECT_EQ("", CutToWidth("", 0));
}

TEST(CutToWidthTest, LongerTextEndsInDotsWithinItsColumns)
{
    EXPECT_EQ("ab...", CutToWidth("abcdef", 5));
    EXPECT_EQ("...", CutToWidth("abcdef", 3));
    EXPECT_EQ("..", CutToWidth("abcdef", 2));
    EXPECT_EQ("", CutToWidth("abcdef", 0));
}

TEST(CutToWidthTest, NoCharacterIsCutInTwo)
{
    EXPECT_EQ(ToUtf8(L"\x65E5..."), CutToWidth(ToUtf8(L"\x65E5\x672C\x8A9E"), 5));
    EXPECT_EQ(ToUtf8(L"\x65E5..."), CutToWidth(ToUtf8(L"\x65E5\x672C\x8A9E\x8A9E"), 6)) << "half of one has no room";
    EXPECT_EQ(ToUtf8(L"a\xD83D\xDE00..."), CutToWidth(ToUtf8(L"a\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00"), 6));
}

TEST(PrintableTest, ControlCharactersAreMadeVisible)
{
    EXPECT_EQ(ToUtf8(L"\xFFFD[2J\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD"), Printable(ToUtf8(L"\x1B[2J\r\n\x7F\x85\x2028")));
}

TEST(PrintableTest, OtherTextStaysAsItIs)
{
    const std::string text = ToUtf8(L" \"\x00A0\x00E9\x65E5\xD834\xDD1E~");

    EXPECT_EQ(text, Printable(text));
}

} // namespace
} // namespace prodsweep
