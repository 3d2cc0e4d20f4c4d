#include "check/checks.h"

#include <algorithm>

namespace prodsweep {

namespace {

// Beside mandatory, which alone is read in any case.
constexpr const wchar_t* yesAttributes[] = {L"restart_required", L"wait", L"show_window", L"disable_wow64_redir"};

void CheckYes(const EntryPlace& place, const CFileReport& report)
{
    for (const XmlAttribute& attribute : place.entry.node->attributes)
    {
        const bool asked = (place.model.IsScored() && EqualIgnoringCase(attribute.name, L"mandatory")) ||
                           std::any_of(std::begin(yesAttributes), std::end(yesAttributes),
                                       [&](const wchar_t* name) { return attribute.name == name; });
        if (asked && !EqualIgnoringCase(attribute.value, L"yes") && !EqualIgnoringCase(attribute.value, L"no"))
            report.Add("yes-value", attribute.at,
                       Quoted(attribute.name) + " is " + Quoted(attribute.value) + R"(, which is no "yes".)");
    }
}

// An attribute that some op_codes have; null elsewhere.
const std::wstring* FindOf(const EntryPlace& place, std::initializer_list<const wchar_t*> opCodes, const wchar_t* name)
{
    const bool has =
        std::any_of(opCodes.begin(), opCodes.end(), [&](const wchar_t* opCode) { return place.section.Is(opCode); });
    return has ? place.entry.Find(name) : nullptr;
}

void CheckCompleteStr(const EntryPlace& place, const CFileReport& report)
{
    const std::wstring* value = FindOf(place, {L"del_regkey"}, L"complete_str");
    if (value != nullptr && *value != L"yes" && *value != L"no")
        report.Add("complete-str-value", place.entry.At(L"complete_str"), Quoted(*value) + R"( is not exactly "yes".)");
}

void CheckX32View(const EntryPlace& place, const CFileReport& report)
{
    const std::wstring* value = FindOf(place, {L"del_regkey", L"del_regvalue"}, L"x32view");
    if (value == nullptr)
        return;
    const Position at = place.entry.At(L"x32view");
    if (*value == L"1" || EqualIgnoringCase(*value, L"true"))
        report.Add("x32view-no-effect", at, "The key is looked for in the 64-bit view all the same.");
    else if (*value != L"0" && !EqualIgnoringCase(*value, L"false"))
        report.Add("x32view-value", at, Quoted(*value) + R"( is neither "1" nor "true".)");
}

void CheckOs(const EntryPlace& place, const CFileReport& report)
{
    const std::wstring* value = FindOf(place, {L"exec_tool"}, L"os");
    if (value == nullptr)
        return;
    const Position at = place.entry.At(L"os");
    if (*value == L"x32")
        report.Add("os-never", at, "This library is 64-bit, and so is every system that it runs on.");
    else if (*value != L"x64")
        report.Add("os-value", at, Quoted(*value) + R"( is neither "x32" nor "x64".)");
}

void CheckRedirection(const EntryPlace& place, const CFileReport& report)
{
    if (place.section.Is(L"exec_tool") && IsYes(place.entry.attributes, L"disable_wow64_redir"))
        report.Add("redirection-no-effect", place.entry.At(L"disable_wow64_redir"),
                   "This library is 64-bit, and never redirected.");
}

constexpr EntryCheck entryChecks[] = {&CheckYes, &CheckCompleteStr, &CheckX32View, &CheckOs, &CheckRedirection};

} // namespace

void CheckValues(const DescriptorModel& model, const CFileReport& report)
{
    RunEntryChecks(entryChecks, model, report);
}

} // namespace prodsweep
