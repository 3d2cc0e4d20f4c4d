#include "text.h"

#include <cstdarg>

#include <gtest/gtest.h>

namespace prodsweep::logger {
namespace {

std::wstring Format(const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::wstring text = FormatText(format, arguments);
    va_end(arguments);
    return text;
}

TEST(FormatTextTest, PlainFormatTakesWideStrings)
{
    EXPECT_EQ(L"load \"caf\x00e9\" failed 0x80070002", Format(L"load \"%s\" failed 0x%x", L"caf\x00e9", 0x80070002));
}

TEST(FormatTextTest, NullFormatAndNullArgumentAreTold)
{
    const wchar_t* const none = nullptr;
    EXPECT_EQ(L"(null)", Format(nullptr));
    EXPECT_EQ(L"\"(null)\"", Format(L"\"%s\"", none));
}

TEST(FormatTextTest, TextOfAnyLengthUpToTheLimitIsWhole)
{
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{499}, std::size_t{500}, std::size_t{501}, std::size_t{40000}, longestText})
        EXPECT_EQ(std::wstring(length, L'x'), Format(L"%s", std::wstring(length, L'x').c_str())) << length;
}

TEST(FormatTextTest, LongerTextIsCutAndSaysSo)
{
    const std::wstring text = Format(L"%s", std::wstring(longestText + 1, L'x').c_str());
    EXPECT_EQ(std::wstring(longestText, L'x') + L"...", text);
}

struct Row
{
    const char* name;
    std::wstring text;
    std::string plain;
    std::string json;
};

const Row rows[] = {
    {"ordinary", L"a <b> 'c'", "a <b> 'c'", "a <b> 'c'"},
    {"path", L"C:\\new\\table", "C:\\new\\table", "C:\\\\new\\\\table"},
    {"quotation marks", L"\"x\"", "\"x\"", "\\\"x\\\""},
    {"line breaks", L"a\r\nb", "a<U+000D><U+000A>b", "a\\u000d\\u000ab"},
    {"zero", std::wstring(L"a\0b", 3), "a<U+0000>b", "a\\u0000b"},
    {"tab", L"a\tb", "a\tb", "a\\u0009b"},
    {"escape and delete", L"\x1b[2J\x7f", "<U+001B>[2J<U+007F>", "\\u001b[2J\\u007f"},
    {"next line", L"a\x0085\x2028\x2029", "a<U+0085><U+2028><U+2029>", "a\\u0085\\u2028\\u2029"},
    {"two bytes", L"\x00a0\x00e9\x07ff", "\xc2\xa0\xc3\xa9\xdf\xbf", "\xc2\xa0\xc3\xa9\xdf\xbf"},
    {"three bytes", L"\x0800\x20ac\xffff", "\xe0\xa0\x80\xe2\x82\xac\xef\xbf\xbf",
     "\xe0\xa0\x80\xe2\x82\xac\xef\xbf\xbf"},
    {"four bytes", L"\xd83d\xde00\xdbff\xdfff", "\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf", "\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf"},
    {"lead alone", L"a\xd800z", "a<U+D800>z", "a\\ud800z"},
    {"lead at the end", L"a\xdbff", "a<U+DBFF>", "a\\udbff"},
    {"trail alone", L"\xdc00z", "<U+DC00>z", "\\udc00z"},
    {"halves the wrong way round", L"\xdc00\xd800", "<U+DC00><U+D800>", "\\udc00\\ud800"},
    {"two leads and a trail", L"\xd83d\xd83d\xde00", "<U+D83D>\xf0\x9f\x98\x80", "\\ud83d\xf0\x9f\x98\x80"},
};

class AppendTest : public testing::TestWithParam<Row>
{};

TEST_P(AppendTest, PlainTextStaysOnItsLine)
{
    std::string line = "before ";
    AppendPlain(line, GetParam().text);
    EXPECT_EQ("before " + GetParam().plain, line);
}

TEST_P(AppendTest, JsonTextStaysInItsString)
{
    std::string line = "before ";
    AppendJson(line, GetParam().text);
    EXPECT_EQ("before " + GetParam().json, line);
}

INSTANTIATE_TEST_SUITE_P(Texts, AppendTest, testing::ValuesIn(rows), [](const auto& row) {
    std::string name = row.param.name;
    for (char& letter : name)
        letter = letter == ' ' ? '_' : letter;
    return name;
});

} // namespace
} // namespace prodsweep::logger
