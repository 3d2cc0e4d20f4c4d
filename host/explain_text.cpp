#include "explain_report.h"

#include <algorithm>
#include <string_view>

#include "prodsweep/prodsweep.h"
#include "product.h"
#include "text.h"

namespace prodsweep {

namespace {

// Lines of an outline. What a line quotes cannot leave its line.
class COutline
{
public:
    void Add(int depth, std::string_view line)
    {
        text.append(static_cast<std::size_t>(depth) * 2, ' ');
        text += Printable(line);
        text += '\n';
    }
    void AddGap() { text += '\n'; }
    const std::string& Text() const { return text; }

private:
    std::string text;
};

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

std::string Points(int count) { return std::to_string(count) + (count == 1 ? " point" : " points"); }

// How it went, and what it was worth.
std::string OutcomeOf(const ExplainedEntry& entry)
{
    if (!entry.found)
        return entry.mandatory ? "NOT FOUND, mandatory" : "not found, 0 of " + Points(entry.score);
    return (entry.lookedFor ? "found, " : "counts as found unseen, ") + Points(entry.score) +
           (entry.mandatory ? ", mandatory" : "");
}

// What was looked for, unless an attribute says just that.
std::string TargetOf(const ExplainedEntry& entry)
{
    const bool said = std::any_of(entry.attributes.begin(), entry.attributes.end(),
                                  [&](const auto& attribute) { return attribute.second == entry.target; });
    return entry.target.empty() || said ? "" : " -> " + entry.target;
}

std::string EntryLine(const ExplainedEntry& entry)
{
    std::string line = (entry.found ? "+ " : "- ") + OutcomeOf(entry) + ':';
    for (const auto& [name, value] : entry.attributes)
        line += ' ' + name + '=' + Quoted(value);
    if (entry.attributes.empty())
        line += " (no attributes)";
    return line + (entry.fault.empty() ? TargetOf(entry) : " (" + entry.fault + ')');
}

std::string SectionOutcome(const ExplainedSection& section)
{
    using State = ExplainedSection::State;
    using Decided = ExplainedSection::Decided;
    if (section.state == State::NotEvaluated)
        return "not evaluated, the version had failed before it";
    if (section.state == State::Skipped)
        return "skipped, since a tool leaves nothing to look for";
    if (section.decided == Decided::Mandatory)
        return "FAILED, whatever its score: a mandatory entry is missing";
    if (section.decided == Decided::Fault)
        return section.opCode.empty() ? "FAILED, it has no op_code"
                                      : "FAILED, whatever its score: what comes next in it is not an entry";
    return (section.state == State::Passed ? "passed, " : "FAILED, ") + Points(section.score) + ", at least " +
           std::to_string(section.minimum) + " needed";
}

void AddSection(COutline& outline, const ExplainedSection& section)
{
    outline.Add(2, section.name + " (" + (section.opCode.empty() ? "no op_code" : section.opCode) +
                       "): " + SectionOutcome(section));
    for (const ExplainedEntry& entry : section.entries)
        outline.Add(3, EntryLine(entry));
    if (section.notReached == 1)
        outline.Add(3, "(1 entry behind it was not looked at)");
    else if (section.notReached != 0)
        outline.Add(3, "(" + std::to_string(section.notReached) + " entries behind it were not looked at)");
}

void AddVersion(COutline& outline, const ExplainedVersion& version)
{
    const std::string title = "version " + version.name + ": ";
    if (version.state == ExplainedVersion::State::NotReached)
        return outline.Add(1, title + "not looked at, a version before it has decided");
    if (version.state == ExplainedVersion::State::Absent)
        return outline.Add(1, title + "not detected, it is listed but not there");
    if (!version.hasSections)
        return outline.Add(1, title + "not detected, it has no win_nt");
    outline.Add(1, title + (version.detected ? "DETECTED" : "not detected") +
                       (version.allSections ? "; all sections have to pass" : "; one section that passes is enough"));
    outline.Add(2, version.appPath.empty() ? "app_path is not known" : "app_path is " + Quoted(version.appPath));
    for (const ExplainedSection& section : version.sections)
        AddSection(outline, section);
    if (version.sections.empty())
        outline.Add(2, "(no section)");
}

// What keeps a descriptor from being walked; empty when nothing does.
std::string Obstacle(ExplainedDescriptor::State state)
{
    using State = ExplainedDescriptor::State;
    switch (state)
    {
    case State::NotAsked:
        return "not asked: it has no say in the maker's own products";
    case State::Missing:
        return "the file is missing";
    case State::NotWellFormed:
        return "the file cannot be read, or is not well-formed";
    case State::NoRoot:
        return "it has no uninstall_information";
    case State::NoVersionList:
        return "it has no version_list";
    case State::Read:
        break;
    }
    return {};
}

void AddDescriptor(COutline& outline, const ExplainedDescriptor& descriptor)
{
    outline.Add(0, "Descriptor " + descriptor.file);
    if (const std::string obstacle = Obstacle(descriptor.state); !obstacle.empty())
        return outline.Add(1, obstacle);
    if (descriptor.versions.empty())
        outline.Add(1, "(lists no version)");
    for (const ExplainedVersion& version : descriptor.versions)
        AddVersion(outline, version);
}

std::string MarkOutcome(const ExplainedMark& mark, bool own)
{
    if (mark.key.empty())
        return mark.displayName.empty()
                   ? "no key to look for"
                   : "no key to look for: no uninstall entry shows the name " + Quoted(mark.displayName);
    const std::string what = mark.key + (mark.value.empty() ? "" : ", value " + Quoted(mark.value)) + ": ";
    if (mark.inOwnView)
        return what + "found in the own view";
    if (mark.inOtherView)
        return what + "found in the other view only" + (own ? ", which does not count" : "");
    return what + "not found";
}

void AddMarks(COutline& outline, const Explanation& explanation)
{
    outline.Add(0, "Registry marks (own view: 64-bit, other view: 32-bit)");
    for (const ExplainedMark& mark : explanation.marks)
        outline.Add(1, (mark.inOwnView || mark.inOtherView ? "+ version " : "- version ") + mark.version + ": " +
                           MarkOutcome(mark, explanation.kind == PRODSWEEP_KIND_OWN));
    if (explanation.marks.empty())
        outline.Add(1, "(the catalogue lists no version)");
}

std::string Verdict(const Explanation& explanation)
{
    using Rule = Explanation::Rule;
    const bool own = explanation.kind == PRODSWEEP_KIND_OWN;
    switch (explanation.rule)
    {
    case Rule::Nothing:
        break;
    case Rule::Descriptor:
        return "Installed: the descriptor's version " + explanation.version + " is detected.";
    case Rule::OwnView:
        return "Installed: the mark of version " + explanation.version + " is in the registry's own view" +
               (own ? ", by which alone the maker's own products go." : "; the descriptor detected nothing.");
    case Rule::OtherView:
        return "Installed: the mark of version " + explanation.version +
               " is in the registry's other view; the descriptor detected nothing.";
    }
    return own ? "Not installed: no mark is in the registry's own view, by which alone the maker's own products go."
               : "Not installed: the descriptor detected nothing, and no mark is in either view of the registry.";
}

} // namespace

std::string ExplanationAsText(const Explanation& explanation)
{
    COutline outline;
    outline.Add(0, "Is " + Quoted(explanation.name) + " (kind " + KindName(explanation.kind) + ") installed?");
    outline.AddGap();
    AddDescriptor(outline, explanation.descriptor);
    outline.AddGap();
    AddMarks(outline, explanation);
    outline.AddGap();
    outline.Add(0, Verdict(explanation));
    return outline.Text();
}

} // namespace prodsweep
