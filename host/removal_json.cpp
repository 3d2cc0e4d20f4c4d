#include "removal_report.h"

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

Json ProductAsJson(const ProductOutcome& product)
{
    Json events = Json::array();
    for (const StageReport& stage : product.stages)
        events.push_back({{"stage", stage.stage}, {"done", stage.done}});
    return {{"name", product.name},
            {"kind", KindName(product.kind)},
            {"outcome", OutcomeWord(product.outcome)},
            {"reason", product.reason.empty() ? Json() : Json(product.reason)},
            {"events", std::move(events)}};
}

} // namespace

std::string RemovalAsJson(const RemovalReport& report)
{
    Json json = NewReport();
    json["library"] = report.library;
    json["exitCode"] = ExitCodeOf(report);
    json["restart"] = report.restart;
    json["seconds"] = report.seconds;
    Json& products = json["products"] = Json::array();
    for (const ProductOutcome& product : report.products)
        products.push_back(ProductAsJson(product));
    return ReportText(json);
}

} // namespace prodsweep
