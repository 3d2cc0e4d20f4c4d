#include "check/checks.h"

#include <algorithm>

#include "check/known_names.h"

namespace prodsweep {

namespace {

bool IsMethod(const EntryPlace& place) { return place.section.Is(L"exec_tool") && place.entry.Find(L"module"); }

// op_code has a rule of its own; score and mandatory are the only names that may be written in any case.
bool IsReadWhateverTheOpCode(const std::wstring& name)
{
    return name == L"op_code" || name == L"restart_required" || EqualIgnoringCase(name, L"score") ||
           EqualIgnoringCase(name, L"mandatory") || name == L"xmlns" || name.find(L':') != std::wstring::npos;
}

void CheckNames(const EntryPlace& place, const CFileReport& report)
{
    // Without a known op_code nothing could be said of any.
    if (place.section.opCode == nullptr)
        return;
    for (const XmlAttribute& attribute : place.entry.node->attributes)
    {
        if (IsReadWhateverTheOpCode(attribute.name))
            continue;
        const EntryAttribute* known = FindEntryAttribute(place.section.opCodeText, attribute.name);
        if (known == nullptr)
            report.Add("unknown-attribute", attribute.at,
                       "Nothing reads an attribute " + Quoted(attribute.name) + " of " +
                           Quoted(place.section.opCodeText) + '.' +
                           Suggestion(attribute.name, AttributesOf(place.section.opCodeText)));
        else if (IsMethod(place) && known->use == AttributeUse::ToolOnly)
            report.Add("unused-attribute", attribute.at, Quoted(attribute.name) + " is not read beside \"module\".");
        else if (!IsMethod(place) &&
                 (known->use == AttributeUse::MethodOnly || known->use == AttributeUse::RequiredWithModule))
            report.Add("unused-attribute", attribute.at, Quoted(attribute.name) + " is only read beside \"module\".");
    }
}

void CheckPresence(const EntryPlace& place, const CFileReport& report)
{
    const auto missing = [&](const std::string& what) {
        report.Add("missing-attribute", place.entry.node->at,
                   "The entry has no attribute " + what + ", which " + Quoted(place.section.opCodeText) + " needs.");
    };
    for (const EntryAttribute& row : EntryAttributes())
    {
        const bool required =
            row.use == AttributeUse::Required || (row.use == AttributeUse::RequiredWithModule && IsMethod(place));
        if (required && EqualIgnoringCase(place.section.opCodeText, row.opCode) && !place.entry.Find(row.name))
            missing(Quoted(row.name));
    }
    if (place.section.Is(L"del_folder") && !place.entry.Find(L"name"))
    {
        const std::wstring* path = place.entry.Find(L"path");
        if (path == nullptr)
            missing(R"("path" or "name")");
        else if (path->empty())
            report.Add("missing-attribute", place.entry.At(L"path"), R"("path" is empty, and there is no "name".)");
    }
    if (place.section.Is(L"exec_tool") && !IsMethod(place) && !place.entry.Find(L"tool_name"))
        missing(R"("tool_name" or "module")");
}

struct NameAttribute
{
    const wchar_t* opCode;
    const wchar_t* name;
};

// Where an empty text means something that nobody would write on purpose. An empty value name is the key's default
// value, and an empty path of shortcuts the folder beside it.
constexpr NameAttribute filledNames[] = {
    {L"del_file", L"name"},
    {L"del_folder", L"name"},
    {L"del_shortcut", L"target_name"},
    {L"kill_process", L"target_name"},
    {L"exec_tool", L"tool_name"},
    {L"exec_tool", L"module"},
    {L"exec_tool", L"method_name"},
    {L"disable_driver", L"name"},
    {L"disable_service", L"name"},
    {L"disableandstop_driver", L"name"},
    {L"disableandstop_service", L"name"},
};

void CheckEmptyNames(const EntryPlace& place, const CFileReport& report)
{
    for (const NameAttribute& row : filledNames)
    {
        const std::wstring* value = place.entry.Find(row.name);
        // The marker alone leaves a file no name, either; elsewhere it is none.
        const bool isEmpty =
            value != nullptr && (value->empty() || (place.section.Is(L"del_file") && *value == L"#####"));
        // Beside "module" nothing reads it.
        const bool isRead = row.name != std::wstring_view(L"tool_name") || !IsMethod(place);
        if (isEmpty && isRead && place.section.Is(row.opCode))
            report.Add("empty-name", place.entry.At(row.name), Quoted(row.name) + " is empty.");
    }
}

void CheckCompany(const EntryPlace& place, const CFileReport& report)
{
    if (place.section.Is(L"del_regkey") && place.entry.Find(L"complete_str") && !place.entry.Find(L"data_str"))
        report.Add("unused-attribute", place.entry.At(L"complete_str"),
                   R"("complete_str" is only read beside "data_str".)");
}

constexpr EntryCheck entryChecks[] = {&CheckNames, &CheckPresence, &CheckEmptyNames, &CheckCompany};

} // namespace

void CheckAttributes(const DescriptorModel& model, const CFileReport& report)
{
    RunEntryChecks(entryChecks, model, report);
}

} // namespace prodsweep
