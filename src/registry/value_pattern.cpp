#include "registry/value_pattern.h"

namespace prodsweep {

CValuePattern::CValuePattern(std::wstring_view text) : kind(KindOf(text)), needle(text)
{
    if (kind == Kind::Suffix || kind == Kind::Inner)
        needle.remove_prefix(1);
    // "*" is its own first and last character: nothing is left to cut at the end.
    if ((kind == Kind::Prefix || kind == Kind::Inner) && !needle.empty())
        needle.remove_suffix(1);
}

CValuePattern::Kind CValuePattern::KindOf(std::wstring_view text)
{
    if (text.find(L'*') == std::wstring_view::npos)
        return Kind::Plain;
    const bool starInFront = text.front() == L'*';
    const bool starBehind = text.back() == L'*';
    if (starInFront && starBehind)
        return Kind::Inner;
    if (starInFront)
        return Kind::Suffix;
    return starBehind ? Kind::Prefix : Kind::Refused;
}

bool CValuePattern::Matches(std::wstring_view name) const
{
    const std::size_t first = name.find(needle);
    if (first == std::wstring_view::npos)
        return false;
    switch (kind)
    {
    case Kind::Prefix:
        return first == 0;
    case Kind::Suffix:
        // Deliberate: only the first occurrence counts, so "*abc" leaves "abcxabc" alone.
        return first + needle.size() == name.size();
    case Kind::Inner:
        return true;
    default:
        return false;
    }
}

bool CValuePattern::MatchesInCheck(std::wstring_view name) const
{
    if (kind != Kind::Inner)
        return Matches(name);
    // Deliberate: with a star at both ends, a check wants something on both sides of the first
    // occurrence. "*abc*" is not found in "abc", "abcx" or "xabc", all of which a deletion removes.
    const std::size_t first = name.find(needle);
    return first != std::wstring_view::npos && first > 0 && name.size() - first > needle.size();
}

} // namespace prodsweep
