#include "pending_report.h"

#include <nlohmann/json.hpp>

#include "json.h"
#include "text.h"

namespace prodsweep {

namespace {

Json OperationAsJson(const PendingOperation& operation)
{
    return {{"list", operation.list},
            {"action", ActionWord(operation.action)},
            {"path", ToUtf8(operation.path)},
            {"target", operation.target.empty() ? Json() : Json(ToUtf8(operation.target))},
            {"replaces", operation.replaces}};
}

Json LineAsJson(const PendingLine& line)
{
    Json json = OperationAsJson(line.operation);
    Json& products = json["products"] = Json::array();
    for (const Product& product : line.products)
        products.push_back({{"name", product.name}, {"kind", KindName(product.kind)}});
    return json;
}

} // namespace

std::string PendingAsJson(const PendingReport& report)
{
    Json json = NewReport();
    json["library"] = report.library;
    Json& operations = json["operations"] = Json::array();
    for (const PendingLine& line : report.lines)
        operations.push_back(LineAsJson(line));
    json["faults"] = report.faults;
    return ReportText(json);
}

std::string OperationsOnAsJson(const std::wstring& path, const char* question,
                               const std::vector<PendingOperation>& operations)
{
    Json json = NewReport();
    json["path"] = ToUtf8(path);
    Json& list = json[question] = Json::array();
    for (const PendingOperation& operation : operations)
    {
        list.push_back(OperationAsJson(operation));
        list.back()["loses"] = operation.loses;
    }
    return ReportText(json);
}

} // namespace prodsweep
