#include "list_report.h"

#include <nlohmann/json.hpp>

#include "json.h"

namespace prodsweep {

namespace {

Json VersionAsJson(const FoundVersion& version)
{
    Json children = Json::object();
    for (const auto& [name, values] : version.children)
        children[name] = values;
    return {{"guid", version.guid ? Json(*version.guid) : Json()}, {"children", std::move(children)}};
}

Json ProductAsJson(const Product& product)
{
    Json versions = Json::array();
    for (const FoundVersion& version : product.versions)
        versions.push_back(VersionAsJson(version));
    return {{"name", product.name},
            {"kind", KindName(product.kind)},
            {"descriptor", product.descriptor},
            {"installed", product.installed},
            {"versions", std::move(versions)}};
}

} // namespace

std::string ListAsJson(const std::string& library, const std::vector<Product>& products)
{
    Json report = NewReport();
    report["library"] = library;
    Json& list = report["products"] = Json::array();
    for (const Product& product : products)
        list.push_back(ProductAsJson(product));
    return ReportText(report);
}

} // namespace prodsweep
