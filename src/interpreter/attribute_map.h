#pragma once

#include <map>
#include <string>

namespace prodsweep {

// The attributes of one entry of a descriptor, by their exact spelling and in the order of plain
// character comparison. "op_code" goes in first, with the section's value. Fill it with emplace or
// insert, which never replace: that is why an op_code attribute on an entry has no effect.
using AttributeMap = std::map<std::wstring, std::wstring, std::less<>>;

// The attribute's value; null when it is absent, which is not the same as empty.
[[nodiscard]] const std::wstring* FindAttribute(const AttributeMap& attributes, const wchar_t* name);

// The attribute's value, with absent and empty taken for the same: null for both.
[[nodiscard]] const std::wstring* FindFilledAttribute(const AttributeMap& attributes, const wchar_t* name);

[[nodiscard]] bool EqualIgnoringCase(const std::wstring& left, const wchar_t* right);

// Present and "yes", in any case.
[[nodiscard]] bool IsYes(const AttributeMap& attributes, const wchar_t* name);

// The number that a text begins with: white space and a sign may lead, the first other character ends
// it, and no digits give 0. What does not fit becomes the nearest number that does.
[[nodiscard]] int DecimalPrefix(const std::wstring& text);

// All pairs in key order as one text for the log: key = "value"; key = "value"; ...
[[nodiscard]] std::wstring DescribeAttributes(const AttributeMap& attributes);

} // namespace prodsweep
