#include "list_report.h"

#include <algorithm>

#include "table.h"

namespace prodsweep {

namespace {

std::string Joined(const std::vector<std::string>& texts, const char* separator)
{
    std::string joined;
    for (std::size_t i = 0; i < texts.size(); ++i)
        joined += (i == 0 ? "" : separator) + texts[i];
    return joined;
}

// "{...} (edition: Standard; language: en, de)"
std::string VersionText(const FoundVersion& version)
{
    std::vector<std::string> children;
    children.reserve(version.children.size());
    for (const auto& [name, values] : version.children)
        children.push_back(name + ": " + Joined(values, ", "));
    return version.guid.value_or("(key without a name)") +
           (children.empty() ? "" : " (" + Joined(children, "; ") + ")");
}

std::string FirstVersionCell(const Product& product)
{
    if (!product.versions.empty())
        return VersionText(product.versions.front());
    return product.installed ? "(found by its descriptor)" : "-";
}

std::string Counted(std::size_t count) { return std::to_string(count) + (count == 1 ? " product" : " products"); }

std::string ClosingSentence(const std::vector<Product>& products, bool installedOnly)
{
    const auto installed = static_cast<std::size_t>(
        std::count_if(products.begin(), products.end(), [](const Product& product) { return product.installed; }));
    if (installedOnly)
        return installed == 0 ? "No product is installed.\n" : "\n" + Counted(installed) + " installed.\n";
    if (products.empty())
        return "The catalogue is empty.\n";
    return "\n" + Counted(products.size()) + ", " + std::to_string(installed) + " installed.\n";
}

} // namespace

std::string ListAsTable(const std::vector<Product>& products, bool installedOnly)
{
    CTable table({"Product", "Kind", "Installed", "Versions found"});
    for (const Product& product : products)
    {
        table.Add({product.name, KindName(product.kind), product.installed ? "yes" : "no", FirstVersionCell(product)});
        for (std::size_t i = 1; i < product.versions.size(); ++i)
            table.Add({"", "", "", VersionText(product.versions[i])});
    }
    return (products.empty() ? "" : table.Text()) + ClosingSentence(products, installedOnly);
}

} // namespace prodsweep
