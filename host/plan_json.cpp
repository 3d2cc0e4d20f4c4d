#include "plan_report.h"

#include <nlohmann/json.hpp>

#include "product.h"

namespace prodsweep {

namespace {

Json ContentsAsJson(const PlannedContents& contents)
{
    return {{"folders", contents.folders}, {"files", contents.files},         {"bytes", contents.bytes},
            {"links", contents.links},     {"keys", contents.keys},           {"values", contents.values},
            {"inUse", contents.inUse},     {"atRestart", contents.atRestart}, {"complete", contents.complete}};
}

// Null for items that hold nothing, as most do.
Json ContentsOrNull(const PlannedContents& contents)
{
    const bool isEmpty = contents.folders + contents.files + contents.bytes + contents.links + contents.keys +
                             contents.values + contents.inUse + contents.atRestart ==
                         0;
    return isEmpty && contents.complete ? Json() : ContentsAsJson(contents);
}

Json PartAsJson(const PlannedPart& part)
{
    return {{"kind", KindWord(part.kind)},
            {"name", part.name},
            {"state", StateWord(part.state)},
            {"user", TextOrNull(part.user)},
            {"leadsTo", TextOrNull(part.leadsTo)}};
}

Json ItemAsJson(const PlannedItem& item)
{
    Json parts = Json::array();
    for (const PlannedPart& part : item.parts)
        parts.push_back(PartAsJson(part));
    return {{"kind", KindWord(item.kind)},
            {"name", item.name},
            {"value", item.kind == ItemKind::Value ? Json(item.valueName) : Json()},
            {"detail", TextOrNull(item.detail)},
            {"state", StateWord(item.state)},
            {"user", TextOrNull(item.user)},
            {"by", TextOrNull(item.by)},
            {"reason", TextOrNull(item.reason)},
            {"leadsTo", TextOrNull(item.leadsTo)},
            {"contents", ContentsOrNull(item.contents)},
            {"parts", std::move(parts)},
            {"partsLeftOut", item.partsLeftOut},
            {"mark", item.mark}};
}

Json StageAsJson(const PlannedStage& stage)
{
    Json items = Json::array();
    for (const PlannedItem& item : stage.items)
        items.push_back(ItemAsJson(item));
    return {{"stage", stage.name}, {"items", std::move(items)}};
}

Json ProductAsJson(const PlannedProduct& product)
{
    Json asked = Json::array();
    for (const AskedProduct& other : product.asked)
        asked.push_back({{"name", other.name}, {"descriptor", other.descriptor}, {"read", other.read}});
    Json stages = Json::array();
    for (const PlannedStage& stage : product.stages)
        stages.push_back(StageAsJson(stage));
    return {{"name", product.name},
            {"kind", KindName(product.kind)},
            {"why", product.why == PlannedProduct::Why::Chosen ? "chosen" : "clean-up"},
            {"installed", product.installed},
            {"descriptor", product.descriptor},
            {"digest", TextOrNull(product.descriptorDigest)},
            {"fault", TextOrNull(product.fault)},
            {"asksRestart", product.asksRestart},
            {"restart", product.restart},
            {"restartFor", product.restartFor},
            {"asked", std::move(asked)},
            {"stages", std::move(stages)}};
}

Json SelectionAsJson(const PlanSelection& selection)
{
    return {{"names", selection.names},
            {"kind", selection.kind},
            {"force", selection.force},
            {"allInstalled", selection.allInstalled},
            {"forceAll", selection.forceAll}};
}

Json WarningsAsJson(const Plan& plan)
{
    Json warnings = Json::array();
    for (const PlanWarning& warning : plan.warnings)
        warnings.push_back(
            {{"product", TextOrNull(warning.product)}, {"item", TextOrNull(warning.item)}, {"text", warning.text}});
    return warnings;
}

Json DangersAsJson(const Plan& plan)
{
    Json dangers = Json::array();
    for (const PlanDanger& danger : plan.dangers)
        dangers.push_back({{"product", danger.product},
                           {"item", danger.item},
                           {"leadsTo", TextOrNull(danger.leadsTo)},
                           {"place", danger.place},
                           {"reason", danger.reason}});
    return dangers;
}

} // namespace

Json PlanAsJson(const Plan& plan)
{
    Json json = NewReport();
    json["report"] = "plan";
    json["library"] = plan.library;
    json["machine"] = plan.machine;
    json["made"] = plan.made;
    json["selection"] = SelectionAsJson(plan.selection);
    json["catalogues"] = plan.catalogues;
    json["restart"] = plan.restart;
    json["total"] = ContentsAsJson(plan.total);
    json["dangers"] = DangersAsJson(plan);
    json["warnings"] = WarningsAsJson(plan);
    json["notInstalled"] = plan.notInstalled;
    Json& products = json["products"] = Json::array();
    for (const PlannedProduct& product : plan.products)
        products.push_back(ProductAsJson(product));
    return json;
}

std::string PlanJsonText(const Plan& plan) { return ReportText(PlanAsJson(plan)); }

} // namespace prodsweep
