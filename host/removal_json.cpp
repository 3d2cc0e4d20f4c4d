#include "removal_report.h"

#include <nlohmann/json.hpp>

#include "exit_codes.h"
#include "json.h"

namespace prodsweep {

namespace {

const char* OutcomeWord(Outcome outcome)
{
    switch (outcome)
    {
    case Outcome::Gone:
        return "gone";
    case Outcome::GoneAfterRestart:
        return "gone after restart";
    case Outcome::Remains:
        return "remains";
    case Outcome::NotInstalled:
        break;
    }
    return "not installed";
}

Json StagesAsJson(const std::vector<StageReport>& stages)
{
    Json events = Json::array();
    for (const StageReport& stage : stages)
        events.push_back({{"stage", stage.stage}, {"done", stage.done}});
    return events;
}

Json ProductAsJson(const ProductOutcome& product)
{
    Json stayed = Json::array();
    for (const StayedItem& item : product.stayed)
        stayed.push_back({{"kind", item.kind}, {"name", item.name}, {"user", item.user}});
    return {{"name", product.name},
            {"kind", KindName(product.kind)},
            {"outcome", OutcomeWord(product.outcome)},
            {"reason", product.reason.empty() ? Json() : Json(product.reason)},
            {"events", StagesAsJson(product.stages)},
            {"stayed", std::move(stayed)}};
}

} // namespace

std::string RemovalAsJson(const RemovalReport& report)
{
    Json json = NewReport();
    json["library"] = report.library;
    json["exitCode"] = ExitCodeOf(report);
    json["restart"] = report.restart;
    json["seconds"] = report.seconds;
    json["lifted"] = report.lifted;
    Json& products = json["products"] = Json::array();
    for (const ProductOutcome& product : report.products)
        products.push_back(ProductAsJson(product));
    Json& cleanedUp = json["cleanedUp"] = Json::array();
    for (const CleanedUp& product : report.cleanedUp)
        cleanedUp.push_back({{"name", product.name},
                             {"kind", KindName(product.kind)},
                             {"descriptorRead", product.descriptorRead},
                             {"events", StagesAsJson(product.stages)}});
    return ReportText(json);
}

} // namespace prodsweep
