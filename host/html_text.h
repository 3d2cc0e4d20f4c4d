// Text as it stands in a page.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace prodsweep {

// Escaped for an element's content and for an attribute in double quotes alike. Characters that can't be seen, or turn
// the direction of what stands around them, would make one name look like another: each becomes its number, "U+202E".
std::string HtmlText(std::string_view utf8);

// The same, with each such number in an element of the class "odd". For content only.
std::string HtmlContent(std::string_view utf8);

// The page with a value in the place of each {{name}}. What a value holds is left as it is, names in braces too. Every
// name must have a value.
std::string FillPage(std::string_view page, const std::map<std::string_view, std::string>& values);

} // namespace prodsweep
