#include "interpreter/attribute_map.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <limits>

namespace prodsweep {

const std::wstring* FindAttribute(const AttributeMap& attributes, const wchar_t* name)
{
    const auto found = attributes.find(name);
    return found != attributes.end() ? &found->second : nullptr;
}

const std::wstring* FindFilledAttribute(const AttributeMap& attributes, const wchar_t* name)
{
    const std::wstring* value = FindAttribute(attributes, name);
    return value != nullptr && !value->empty() ? value : nullptr;
}

bool EqualIgnoringCase(const std::wstring& left, const wchar_t* right) { return _wcsicmp(left.c_str(), right) == 0; }

bool IsYes(const AttributeMap& attributes, const wchar_t* name)
{
    const std::wstring* value = FindAttribute(attributes, name);
    return value != nullptr && EqualIgnoringCase(*value, L"yes");
}

int DecimalPrefix(const std::wstring& text)
{
    const wchar_t* next = text.c_str();
    while (std::iswspace(*next))
        ++next;
    const bool negative = *next == L'-';
    if (*next == L'-' || *next == L'+')
        ++next;
    // One more than the largest number there is room for on the positive side, for the negative one.
    const long long limit = std::numeric_limits<int>::max() + (negative ? 1LL : 0LL);
    long long number = 0;
    for (; *next >= L'0' && *next <= L'9'; ++next)
        number = std::min(number * 10 + (*next - L'0'), limit);
    return static_cast<int>(negative ? -number : number);
}

std::wstring DescribeAttributes(const AttributeMap& attributes)
{
    std::wstring text;
    for (const auto& [name, value] : attributes)
        text.append(name).append(L" = \"").append(value).append(L"\"; ");
    return text;
}

} // namespace prodsweep
