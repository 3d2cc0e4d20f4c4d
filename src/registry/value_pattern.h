#pragma once

#include <string_view>

namespace prodsweep {

// The name of a value as a descriptor writes it: plain, or a pattern with a star at one end or both.
// Stars further inside a pattern are ordinary characters. Case counts, although the registry itself
// ignores it in names. Refers to the text that it was made of.
class CValuePattern
{
public:
    explicit CValuePattern(std::wstring_view text);

    [[nodiscard]] bool IsPlain() const { return kind == Kind::Plain; }
    // A star only inside, as in "ab*c", is not understood.
    [[nodiscard]] bool IsRefused() const { return kind == Kind::Refused; }

    // What a deletion removes, and an expansion lists.
    [[nodiscard]] bool Matches(std::wstring_view name) const;
    // What a check finds: less, for a star at both ends.
    [[nodiscard]] bool MatchesInCheck(std::wstring_view name) const;

private:
    enum class Kind
    {
        Plain,
        Prefix,
        Suffix,
        Inner,
        Refused
    };
    static Kind KindOf(std::wstring_view text);

    Kind kind;
    std::wstring_view needle;
};

} // namespace prodsweep
