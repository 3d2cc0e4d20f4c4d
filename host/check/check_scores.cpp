#include "check/checks.h"

#include <algorithm>
#include <cwctype>
#include <string_view>

namespace prodsweep {

namespace {

// Detection counts these as found without a look at the machine.
bool IsAlwaysFound(const SectionModel& section)
{
    return section.Is(L"kill_process") || section.Is(L"disableandstop_driver") ||
           section.Is(L"disableandstop_service") || (section.Is(L"exec_tool") && !section.IsSkippedByDetection());
}

// What the entries can bring, from the machine that has the fewest points to the one that has the most.
struct ScoreRange
{
    long long lowest = 0;
    long long highest = 0;
    bool mayFailOtherwise = false; // by a mandatory entry, or by a node that ends the section
};

ScoreRange RangeOf(const SectionModel& section)
{
    ScoreRange range;
    const bool always = IsAlwaysFound(section);
    const bool never = section.opCode == nullptr;
    for (const EntryModel& entry : section.entries)
    {
        if (!entry.detected)
            continue;
        range.lowest += always ? entry.score : never ? 0 : std::min(entry.score, 0);
        range.highest += always ? entry.score : never ? 0 : std::max(entry.score, 0);
        range.mayFailOtherwise = range.mayFailOtherwise || (entry.mandatory && !always);
    }
    const auto& children = section.node->children;
    // Without an op_code a section fails; with one that does not exist, only its entries do.
    range.mayFailOtherwise =
        range.mayFailOtherwise || section.node->Find(L"op_code") == nullptr ||
        std::any_of(children.begin(), children.end(), [](const XmlNode& child) { return !child.IsElement(); });
    return range;
}

// A larger number counts as this one.
constexpr std::wstring_view largestNumber = L"2147483647";

bool AlwaysPasses(const SectionModel& section)
{
    const ScoreRange range = RangeOf(section);
    return !range.mayFailOtherwise && range.lowest >= section.minimum;
}

void CheckMinimum(const SectionModel& section, const CFileReport& report)
{
    const XmlAttribute* minimum = section.node->Find(L"minimum_score");
    if (minimum == nullptr || section.IsSkippedByDetection())
        return;
    if (const ScoreRange range = RangeOf(section); section.opCode != nullptr && range.highest < section.minimum)
        report.Add("minimum-out-of-reach", minimum->at,
                   "The entries bring " + std::to_string(range.highest) + " at most, and " +
                       std::to_string(section.minimum) + " are asked for.");
    if (section.minimum < 0)
        report.Add("negative-score", minimum->at, "The minimum is negative.");
}

void CheckVersion(const VersionModel& version, const CFileReport& report)
{
    std::vector<const SectionModel*> evaluated;
    for (const SectionModel& section : version.sections)
    {
        if (!section.IsSkippedByDetection())
            evaluated.push_back(&section);
    }
    // What has no win_nt, or a node in it that fails, is told of for that.
    if (evaluated.empty() && version.node->Child(L"win_nt") != nullptr && !version.hasStrayNode)
        report.Add("never-installed", version.node->at,
                   Quoted(version.node->name) + " has no section that detection looks at.");
    const auto passes = [](const SectionModel* section) { return AlwaysPasses(*section); };
    const bool certain = version.allSections ? std::all_of(evaluated.begin(), evaluated.end(), passes)
                                             : std::any_of(evaluated.begin(), evaluated.end(), passes);
    const bool fails = version.allSections && version.hasStrayNode;
    if (!certain || fails || evaluated.empty())
        return;
    const SectionModel& deciding = **std::find_if(evaluated.begin(), evaluated.end(), passes);
    report.Add("always-installed", version.allSections ? version.node->at : deciding.node->at,
               version.allSections
                   ? "No section of " + Quoted(version.node->name) + " can fail."
                   : Quoted(deciding.node->name) + " passes whatever is there, and one section is enough for " +
                         Quoted(version.node->name) + '.');
}

// It says the number that is read. Blanks around it do no harm.
bool IsPlainNumber(const std::wstring& text)
{
    constexpr const wchar_t* blanks = L" \t\r\n";
    const std::size_t first = std::min(text.find_first_not_of(blanks), text.size());
    std::wstring digits = text.substr(first, text.find_last_not_of(blanks) + 1 - first);
    if (digits.starts_with(L'-') || digits.starts_with(L'+'))
        digits.erase(0, 1);
    digits.erase(0, std::min(digits.find_first_not_of(L'0'), digits.size() - 1));
    return !digits.empty() && std::all_of(digits.begin(), digits.end(), [](wchar_t c) { return std::iswdigit(c); }) &&
           (digits.size() < largestNumber.size() || (digits.size() == largestNumber.size() && digits <= largestNumber));
}

void CheckNumber(const XmlAttribute& attribute, const CFileReport& report)
{
    if (!IsPlainNumber(attribute.value))
        report.Add("number-value", attribute.at,
                   Quoted(attribute.value) + " is read as " + std::to_string(DecimalPrefix(attribute.value)) + '.');
}

void CheckEntry(const EntryPlace& place, const CFileReport& report)
{
    for (const XmlAttribute& attribute : place.entry.node->attributes)
    {
        const bool score = EqualIgnoringCase(attribute.name, L"score");
        if ((score && place.model.IsScored()) || attribute.name == L"sleep_after_exec")
            CheckNumber(attribute, report);
        if (place.model.IsScored() && place.section.IsSkippedByDetection() &&
            (score || EqualIgnoringCase(attribute.name, L"mandatory")))
            report.Add("score-of-tool", attribute.at, Quoted(attribute.name) + " stands on an entry of exec_tool.");
        if (score && place.entry.score < 0 && place.model.IsScored() &&
            (place.entry.mandatory || IsAlwaysFound(place.section)))
            report.Add("negative-score", attribute.at,
                       place.entry.mandatory ? "What must be found speaks against the product."
                                             : "It counts as found on every machine, and speaks against the product.");
    }
}

constexpr EntryCheck entryChecks[] = {&CheckEntry};

} // namespace

void CheckScores(const DescriptorModel& model, const CFileReport& report)
{
    RunEntryChecks(entryChecks, model, report);
    for (const VersionModel& version : model.versions)
    {
        for (const SectionModel& section : version.sections)
        {
            if (!model.IsScored())
                continue;
            const XmlAttribute* minimum = section.node->Find(L"minimum_score");
            if (minimum != nullptr)
                CheckNumber(*minimum, report);
            if (minimum != nullptr && section.IsSkippedByDetection())
                report.Add("score-of-tool", minimum->at, R"("minimum_score" stands on a section of exec_tool.)");
            CheckMinimum(section, report);
        }
        if (model.IsScored() && version.listed)
            CheckVersion(version, report);
    }
}

} // namespace prodsweep
