#include "explain_report.h"

#include <nlohmann/json.hpp>

#include "json.h"
#include "product.h"

namespace prodsweep {

namespace {

const char* RuleName(Explanation::Rule rule)
{
    using Rule = Explanation::Rule;
    switch (rule)
    {
    case Rule::Nothing:
        break;
    case Rule::Descriptor:
        return "descriptor";
    case Rule::OwnView:
        return "mark in own view";
    case Rule::OtherView:
        return "mark in other view";
    }
    return "nothing";
}

const char* StateName(ExplainedDescriptor::State state)
{
    using State = ExplainedDescriptor::State;
    switch (state)
    {
    case State::NotAsked:
        break;
    case State::Missing:
        return "missing";
    case State::NotWellFormed:
        return "not well-formed";
    case State::NoRoot:
        return "no uninstall_information";
    case State::NoVersionList:
        return "no version_list";
    case State::Read:
        return "read";
    }
    return "not asked";
}

const char* StateName(const ExplainedVersion& version)
{
    using State = ExplainedVersion::State;
    switch (version.state)
    {
    case State::NotReached:
        break;
    case State::Absent:
        return "absent";
    case State::Walked:
        return version.hasSections ? "walked" : "no win_nt";
    }
    return "not looked at";
}

const char* StateName(ExplainedSection::State state)
{
    using State = ExplainedSection::State;
    switch (state)
    {
    case State::NotEvaluated:
        break;
    case State::Skipped:
        return "skipped";
    case State::Passed:
        return "passed";
    case State::Failed:
        return "failed";
    }
    return "not evaluated";
}

Json DecidedName(ExplainedSection::Decided decided)
{
    using Decided = ExplainedSection::Decided;
    switch (decided)
    {
    case Decided::Nothing:
        break;
    case Decided::Score:
        return "score";
    case Decided::Mandatory:
        return "mandatory entry";
    case Decided::Fault:
        return "fault";
    }
    return {};
}

Json EntryAsJson(const ExplainedEntry& entry)
{
    Json attributes = Json::object();
    for (const auto& [name, value] : entry.attributes)
        attributes[name] = value;
    return {{"attributes", std::move(attributes)}, {"score", entry.score},
            {"mandatory", entry.mandatory},        {"found", entry.found},
            {"lookedFor", entry.lookedFor},        {"target", TextOrNull(entry.target)},
            {"fault", TextOrNull(entry.fault)}};
}

Json SectionAsJson(const ExplainedSection& section)
{
    Json entries = Json::array();
    for (const ExplainedEntry& entry : section.entries)
        entries.push_back(EntryAsJson(entry));
    const bool evaluated = section.decided != ExplainedSection::Decided::Nothing;
    return {{"name", section.name},
            {"opCode", TextOrNull(section.opCode)},
            {"state", StateName(section.state)},
            {"decidedBy", DecidedName(section.decided)},
            {"score", evaluated ? Json(section.score) : Json()},
            {"minimum", evaluated ? Json(section.minimum) : Json()},
            {"entries", std::move(entries)},
            {"entriesNotReached", section.notReached}};
}

Json VersionAsJson(const ExplainedVersion& version)
{
    Json sections = Json::array();
    for (const ExplainedSection& section : version.sections)
        sections.push_back(SectionAsJson(section));
    const bool walked = version.state == ExplainedVersion::State::Walked;
    return {{"name", version.name},
            {"state", StateName(version)},
            {"detected", version.detected},
            {"appPath", TextOrNull(version.appPath)},
            {"mandatorySections", walked ? Json(version.allSections ? "all" : "any") : Json()},
            {"sections", std::move(sections)}};
}

Json DescriptorAsJson(const ExplainedDescriptor& descriptor)
{
    Json versions = Json::array();
    for (const ExplainedVersion& version : descriptor.versions)
        versions.push_back(VersionAsJson(version));
    return {{"file", descriptor.file},
            {"state", StateName(descriptor.state)},
            {"detected", descriptor.detected},
            {"versions", std::move(versions)}};
}

Json MarkAsJson(const ExplainedMark& mark)
{
    return {{"version", mark.version},     {"displayName", TextOrNull(mark.displayName)},
            {"key", TextOrNull(mark.key)}, {"value", TextOrNull(mark.value)},
            {"inOwnView", mark.inOwnView}, {"inOtherView", mark.inOtherView}};
}

} // namespace

std::string ExplanationAsJson(const std::string& library, const Explanation& explanation)
{
    Json report = NewReport();
    report["library"] = library;
    report["name"] = explanation.name;
    report["kind"] = KindName(explanation.kind);
    report["installed"] = explanation.installed;
    report["rule"] = RuleName(explanation.rule);
    report["version"] = explanation.installed ? Json(explanation.version) : Json();
    report["descriptor"] = DescriptorAsJson(explanation.descriptor);
    Json& marks = report["marks"] = Json::array();
    for (const ExplainedMark& mark : explanation.marks)
        marks.push_back(MarkAsJson(mark));
    return ReportText(report);
}

} // namespace prodsweep
