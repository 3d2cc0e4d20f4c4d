#include "html_text.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "text.h"

namespace prodsweep {

namespace {

struct Range
{
    wchar_t first;
    wchar_t last;
};

constexpr Range oddRanges[] = {
    {0x0000, 0x001F}, // controls, line ends among them
    {0x007F, 0x009F}, // more controls
    {0x00AD, 0x00AD}, // soft hyphen
    {0x061C, 0x061C}, // direction mark
    {0x200B, 0x200F}, // zero width, direction marks
    {0x2028, 0x202E}, // line ends, changes of direction
    {0x2060, 0x206F}, // invisible operators, isolates
    {0xFEFF, 0xFEFF}, // byte order mark
    {0xFFF9, 0xFFFB}, // annotations
};

bool IsOdd(wchar_t unit)
{
    return std::any_of(std::begin(oddRanges), std::end(oddRanges),
                       [unit](const Range& range) { return range.first <= unit && unit <= range.last; });
}

std::wstring_view Escape(wchar_t unit)
{
    switch (unit)
    {
    case L'&':
        return L"&amp;";
    case L'<':
        return L"&lt;";
    case L'>':
        return L"&gt;";
    case L'"':
        return L"&quot;";
    case L'\'':
        return L"&#39;";
    default:
        return {};
    }
}

std::wstring Number(wchar_t unit)
{
    wchar_t text[8]{};
    std::swprintf(text, std::size(text), L"U+%04X", static_cast<unsigned>(unit));
    return text;
}

std::string Escaped(std::string_view utf8, std::wstring_view before, std::wstring_view behind)
{
    std::wstring escaped;
    for (const wchar_t unit : ToWide(utf8))
    {
        if (const std::wstring_view escape = Escape(unit); !escape.empty())
            escaped += escape;
        else if (IsOdd(unit))
            escaped.append(before).append(Number(unit)).append(behind);
        else
            escaped += unit;
    }
    return ToUtf8(escaped);
}

} // namespace

std::string HtmlText(std::string_view utf8) { return Escaped(utf8, L"", L""); }

std::string HtmlContent(std::string_view utf8) { return Escaped(utf8, L"<span class=\"odd\">", L"</span>"); }

std::string FillPage(std::string_view page, const std::map<std::string_view, std::string>& values)
{
    std::string filled;
    for (std::size_t begin = 0;;)
    {
        const std::size_t open = page.find("{{", begin);
        filled += page.substr(begin, open == std::string_view::npos ? open : open - begin);
        if (open == std::string_view::npos)
            return filled;
        const std::size_t close = page.find("}}", open);
        filled += values.at(page.substr(open + 2, close - open - 2));
        begin = close + 2;
    }
}

} // namespace prodsweep
