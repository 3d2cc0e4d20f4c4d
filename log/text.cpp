#include "text.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>

namespace prodsweep::logger {

namespace {

constexpr char hexDigits[] = "0123456789abcdef";
constexpr char hexDigitsLarge[] = "0123456789ABCDEF";

constexpr char32_t lowestPair = 0x10000;

bool IsLead(char32_t unit) { return unit >= 0xd800 && unit < 0xdc00; }
bool IsTrail(char32_t unit) { return unit >= 0xdc00 && unit < 0xe000; }

// Takes one character off the text. Half a surrogate pair is given out as it is.
char32_t TakeCharacter(std::wstring_view& text)
{
    const char32_t first = text.front();
    text.remove_prefix(1);
    if (!IsLead(first) || text.empty() || !IsTrail(text.front()))
        return first;
    const char32_t second = text.front();
    text.remove_prefix(1);
    return lowestPair + ((first - 0xd800) << 10) + (second - 0xdc00);
}

// Controls of both sets, of which some end a line; the two separators that do so as well; and what UTF-8 can't hold.
bool MustBeEscaped(char32_t character)
{
    return character < 0x20 || (character >= 0x7f && character < 0xa0) || character == 0x2028 || character == 0x2029 ||
           IsLead(character) || IsTrail(character);
}

void AppendHex(std::string& line, char32_t unit, const char* digits)
{
    for (int shift = 12; shift >= 0; shift -= 4)
        line += digits[(unit >> shift) & 0xf];
}

void AppendUtf8(std::string& line, char32_t character)
{
    const auto put = [&](char32_t byte) { line += static_cast<char>(static_cast<unsigned char>(byte)); };
    const auto putFollowing = [&](int shift) { put(0x80 | ((character >> shift) & 0x3f)); };
    if (character < 0x80)
        return put(character);
    if (character < 0x800)
        put(0xc0 | (character >> 6));
    else if (character < lowestPair)
        put(0xe0 | (character >> 12)), putFollowing(6);
    else
        put(0xf0 | (character >> 18)), putFollowing(12), putFollowing(6);
    putFollowing(0);
}

} // namespace

std::wstring FormatText(const wchar_t* format, va_list arguments)
{
    if (format == nullptr)
        return L"(null)";
    std::wstring text(500, L'\0');
    for (;;)
    {
        va_list copy;
        va_copy(copy, arguments);
        // Not the compiler's own: %s is a wide string to the one of the system. -1 for a text that does not fit.
        const int length = _vsnwprintf(text.data(), text.size(), format, copy);
        va_end(copy);
        if (length >= 0)
        {
            text.resize(static_cast<std::size_t>(length));
            return text;
        }
        if (text.size() == longestText)
            break;
        text.assign(std::min(text.size() * 4, longestText), L'\0');
    }
    // -1 also stands for an argument that the runtime can't print; then what precedes it is there.
    text.resize(wcsnlen(text.data(), text.size()));
    return text + L"...";
}

void AppendPlain(std::string& line, std::wstring_view text)
{
    while (!text.empty())
    {
        const char32_t character = TakeCharacter(text);
        if (character == L'\t' || !MustBeEscaped(character))
            AppendUtf8(line, character);
        else
        {
            line += "<U+";
            AppendHex(line, character, hexDigitsLarge);
            line += '>';
        }
    }
}

void AppendJson(std::string& line, std::wstring_view text)
{
    while (!text.empty())
    {
        const char32_t character = TakeCharacter(text);
        if (MustBeEscaped(character))
        {
            line += "\\u";
            AppendHex(line, character, hexDigits);
            continue;
        }
        if (character == L'"' || character == L'\\')
            line += '\\';
        AppendUtf8(line, character);
    }
}

} // namespace prodsweep::logger
