#include "text.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include <windows.h>

namespace prodsweep {

namespace {

struct WidthRange
{
    char32_t first;
    char32_t last;
    std::size_t width;
};

// Everything that is not in here is one column wide.
constexpr WidthRange widthRanges[] = {
    {0x0300, 0x036F, 0},                                                 // combining marks
    {0x1100, 0x115F, 2},                                                 // Hangul initials
    {0x200B, 0x200F, 0},                                                 // zero-width characters and direction marks
    {0x20D0, 0x20FF, 0},   {0x2E80, 0x303E, 2},                          // CJK radicals, punctuation
    {0x3041, 0xA4CF, 2},                                                 // kana, CJK ideographs, Yi
    {0xAC00, 0xD7A3, 2},                                                 // Hangul syllables
    {0xF900, 0xFAFF, 2},   {0xFE00, 0xFE0F, 0},                          // variation selectors
    {0xFE30, 0xFE6F, 2},   {0xFF00, 0xFF60, 2},                          // full-width forms
    {0xFFE0, 0xFFE6, 2},   {0x1F300, 0x1F64F, 2},                        // emoji
    {0x1F680, 0x1F6FF, 2}, {0x1F900, 0x1F9FF, 2}, {0x20000, 0x3FFFD, 2}, // CJK extensions
};

std::size_t WidthOf(char32_t character)
{
    const auto* range = std::find_if(std::begin(widthRanges), std::end(widthRanges), [=](const WidthRange& candidate) {
        return candidate.first <= character && character <= candidate.last;
    });
    return range == std::end(widthRanges) ? 1 : range->width;
}

// Takes one character off the front of well-formed UTF-16.
char32_t TakeCharacter(std::wstring_view& text)
{
    const char32_t high = text.front();
    text.remove_prefix(1);
    if (high < 0xD800 || high > 0xDBFF || text.empty())
        return high;
    const char32_t low = text.front();
    text.remove_prefix(1);
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

bool IsControl(wchar_t unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

int Length(std::size_t length)
{
    if (length > static_cast<std::size_t>(INT_MAX))
        throw std::length_error("text too long");
    return static_cast<int>(length);
}

} // namespace

std::string ToUtf8(std::wstring_view text)
{
    if (text.empty())
        return {};
    const int length = Length(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::wstring ToWide(std::string_view utf8)
{
    if (utf8.empty())
        return {};
    const int length = Length(utf8.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, text.data(), size);
    return text;
}

std::wstring ToLower(std::wstring_view text)
{
    if (text.empty())
        return {};
    const int length = Length(text.size());
    std::wstring lower(text.size(), L'\0');
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, text.data(), length, lower.data(), length, nullptr, nullptr,
                  0);
    return lower;
}

std::size_t DisplayWidth(std::string_view utf8)
{
    const std::wstring wide = ToWide(utf8);
    std::size_t width = 0;
    for (std::wstring_view rest = wide; !rest.empty();)
        width += WidthOf(TakeCharacter(rest));
    return width;
}

std::string CutToWidth(std::string_view utf8, std::size_t columns)
{
    if (DisplayWidth(utf8) <= columns)
        return std::string(utf8);
    constexpr std::string_view dots = "...";
    const std::size_t room = columns - std::min(columns, dots.size());
    const std::wstring wide = ToWide(utf8);
    std::size_t length = 0;
    std::size_t width = 0;
    for (std::wstring_view rest = wide; width <= room;)
    {
        length = wide.size() - rest.size();
        width += WidthOf(TakeCharacter(rest));
    }
    return ToUtf8(wide.substr(0, length)) + std::string(dots.substr(0, columns));
}

std::string Printable(std::string_view utf8)
{
    std::wstring text = ToWide(utf8);
    std::replace_if(text.begin(), text.end(), IsControl, L'\xFFFD');
    return ToUtf8(text);
}

std::string Listed(const std::vector<std::string>& words)
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return text;
}

} // namespace prodsweep
