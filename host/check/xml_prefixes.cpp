#include "check/xml_prefixes.h"

#include <algorithm>
#include <ranges>
#include <set>
#include <string_view>
#include <utility>

namespace prodsweep {

namespace {

constexpr std::wstring_view declaration = L"xmlns";

struct QualifiedName
{
    std::wstring_view prefix; // empty when it has none
    std::wstring_view local;
};

QualifiedName SplitName(std::wstring_view name)
{
    const std::size_t colon = name.find(L':');
    if (colon == std::wstring_view::npos)
        return {{}, name};
    return {name.substr(0, colon), name.substr(colon + 1)};
}

class CPrefixWalk
{
public:
    void Visit(const XmlNode& element)
    {
        const std::size_t outer = declared.size();
        for (const XmlAttribute& attribute : element.attributes)
        {
            const QualifiedName name = SplitName(attribute.name);
            // An empty namespace declares no prefix.
            if (name.prefix == declaration && !attribute.value.empty())
                declared.emplace_back(name.local, attribute.value);
        }
        NamespaceOf(element.name, element.at);
        VisitAttributes(element);
        for (const XmlNode& child : element.children)
        {
            if (child.IsElement())
                Visit(child);
        }
        declared.resize(outer);
    }

    std::vector<UndeclaredPrefix> TakeUndeclared() { return std::move(undeclared); }

private:
    void VisitAttributes(const XmlNode& element)
    {
        std::set<std::pair<std::wstring_view, std::wstring_view>> seen;
        for (const XmlAttribute& attribute : element.attributes)
        {
            const QualifiedName name = SplitName(attribute.name);
            if (name.prefix.empty() || name.prefix == declaration)
                continue;
            const std::wstring_view space = NamespaceOf(attribute.name, attribute.at);
            if (!space.empty() && !seen.emplace(space, name.local).second)
                throw CXmlFault(attribute.at, "duplicate attribute");
        }
    }

    // Empty when the name has no prefix, or one that is not declared; that is noted.
    std::wstring_view NamespaceOf(std::wstring_view name, Position at)
    {
        const std::wstring_view prefix = SplitName(name).prefix;
        if (prefix.empty())
            return {};
        // Declared in every document.
        if (prefix == L"xml")
            return L"http://www.w3.org/XML/1998/namespace";
        const auto innermost = std::ranges::reverse_view(declared);
        const auto found =
            std::find_if(innermost.begin(), innermost.end(), [=](const auto& pair) { return pair.first == prefix; });
        if (found != innermost.end())
            return found->second;
        if (told.insert(prefix).second)
            undeclared.push_back({std::wstring(prefix), std::wstring(name), at});
        return {};
    }

    std::vector<std::pair<std::wstring_view, std::wstring_view>> declared; // with their namespaces, the innermost last
    std::set<std::wstring_view> told;
    std::vector<UndeclaredPrefix> undeclared;
};

} // namespace

std::vector<UndeclaredPrefix> UndeclaredPrefixes(const XmlNode& root)
{
    CPrefixWalk walk;
    walk.Visit(root);
    return walk.TakeUndeclared();
}

} // namespace prodsweep
