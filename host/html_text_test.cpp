#include "html_text.h"

#include <gtest/gtest.h>

#include "text.h"

namespace prodsweep {
namespace {

TEST(HtmlTextTest, WhatMarkupIsMadeOfIsEscaped)
{
    EXPECT_EQ("&lt;img src=&quot;x&quot; onerror=&#39;a&amp;b&#39;&gt;", HtmlText("<img src=\"x\" onerror='a&b'>"));
}

TEST(HtmlTextTest, OtherTextStaysAsItIs)
{
    const std::string text = ToUtf8(L"C:\\\x00C4 \x65E5\xD834\xDD1E~");

    EXPECT_EQ(text, HtmlText(text));
    EXPECT_EQ(text, HtmlContent(text));
}

TEST(HtmlTextTest, WhatCannotBeSeenBecomesItsNumber)
{
    EXPECT_EQ("aU+2028bU+202EU+000AU+0085U+200DU+FEFF", HtmlText(ToUtf8(L"a\x2028"
                                                                        L"b\x202E\n\x85\x200D\xFEFF")));
    EXPECT_EQ("a<span class=\"odd\">U+202E</span>", HtmlContent(ToUtf8(L"a\x202E")));
}

TEST(HtmlTextTest, HalfASurrogatePairIsTheReplacementCharacter)
{
    EXPECT_EQ("a\xEF\xBF\xBD", HtmlText(ToUtf8(L"a\xD834")));
    EXPECT_EQ("a\xEF\xBF\xBD", HtmlText("a\xFF"));
}

TEST(FillPageTest, NamesInValuesStayAsTheyAre)
{
    EXPECT_EQ("<{{b}}|2|{{b}}>", FillPage("<{{a}}|{{b}}|{{a}}>", {{"a", "{{b}}"}, {"b", "2"}}));
}

TEST(FillPageTest, PageWithoutNamesStaysAsItIs) { EXPECT_EQ("{a} }}", FillPage("{a} }}", {})); }

} // namespace
} // namespace prodsweep
