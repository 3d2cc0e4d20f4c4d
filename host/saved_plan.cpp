#include "saved_plan.h"

#include <algorithm>

#include <nlohmann/json.hpp>
#include <windows.h>

#include "common/unique_handle.h"
#include "exit_codes.h"
#include "failure.h"
#include "module_path.h"
#include "plan_report.h"
#include "saved_plan_shape.h"
#include "text.h"
#include "whole_file.h"

namespace prodsweep {

namespace {

std::string WindowsError(DWORD error) { return " (Windows error " + std::to_string(error) + ")."; }

std::string ReadAll(const std::string& path)
{
    const UniqueHandle file = OwnHandle(CreateFileW(FullPath(ToWide(path)).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                                    nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (file == nullptr)
        throw CFailure(exitBadArguments, "the plan \"" + path + "\" cannot be read" + WindowsError(GetLastError()));
    std::string text;
    std::string chunk(std::size_t{1} << 20, '\0');
    for (;;)
    {
        DWORD read = 0;
        if (!ReadFile(file.get(), chunk.data(), static_cast<DWORD>(chunk.size()), &read, nullptr))
            throw CFailure(exitBadArguments, "the plan \"" + path + "\" cannot be read" + WindowsError(GetLastError()));
        if (read == 0)
            return text;
        text.append(chunk, 0, read);
    }
}

// What some shells make of a report that they redirect to a file; with their mark or without it. No JSON in UTF-8 has a
// zero in it.
bool IsUtf16(const std::string& text)
{
    return text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") ||
           std::string_view(text).substr(0, 2).find('\0') != std::string_view::npos;
}

PlanSelection ReadSelection(const Json& json)
{
    PlanSelection selection;
    json.at("names").get_to(selection.names);
    json.at("kind").get_to(selection.kind);
    json.at("force").get_to(selection.force);
    json.at("allInstalled").get_to(selection.allInstalled);
    json.at("forceAll").get_to(selection.forceAll);
    return selection;
}

// What is there at this moment, and can't be deleted at this moment, is there.
std::string LastingState(const Json& item, const std::string& stage)
{
    const std::string state = item.at("state").get<std::string>();
    if (stage == "processes")
        return {};
    return state == "at restart" && stage != "restart" ? "present" : state;
}

// Somebody may have put anything there.
std::string TextOf(const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

std::string NameOf(const Json& item)
{
    const Json& value = item.at("value");
    std::string name = '"' + TextOf(item.at("name")) + '"';
    return value.is_null() ? name : "\"" + TextOf(value) + "\" of " + name;
}

// Counted things of which there are more or fewer.
std::string CountDrift(const Json& saved, const Json& now)
{
    static constexpr const char* counted[] = {"folders", "files", "bytes", "links", "keys", "values"};
    for (const char* const name : counted)
    {
        const auto before = saved.is_null() ? 0 : saved.at(name).get<std::uint64_t>();
        const auto after = now.is_null() ? 0 : now.at(name).get<std::uint64_t>();
        if (before != after)
            return "would take " + std::to_string(after) + ' ' + name + ", not " + std::to_string(before);
    }
    return {};
}

std::string ItemDrift(const Json& saved, const Json& now, const std::string& stage)
{
    const std::string before = LastingState(saved, stage);
    const std::string after = LastingState(now, stage);
    if (before != after)
        return "is \"" + after + "\", and was \"" + before + '"';
    for (const char* const member : {"user", "by", "leadsTo"})
    {
        if (saved.at(member) != now.at(member))
            return std::string("has another \"") + member + "\": " + TextOf(now.at(member)) + ", not " +
                   TextOf(saved.at(member));
    }
    if (const std::string counts = CountDrift(saved.at("contents"), now.at("contents")); !counts.empty())
        return counts;
    return saved.at("mark") == now.at("mark") ? "" : "is not what it was: something in it has changed";
}

bool IsSameItem(const Json& saved, const Json& now)
{
    static constexpr const char* naming[] = {"kind", "name", "value"};
    return std::all_of(std::begin(naming), std::end(naming),
                       [&](const char* member) { return saved.at(member) == now.at(member); });
}

std::string StageDrift(const Json& saved, const Json& now)
{
    if (saved.at("stage") != now.at("stage"))
        return "its stage \"" + TextOf(now.at("stage")) + "\" stands where \"" + TextOf(saved.at("stage")) + "\" was";
    const Json& before = saved.at("items");
    const Json& after = now.at("items");
    for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i)
    {
        if (i >= before.size())
            return NameOf(after[i]) + " was not in the plan";
        if (i >= after.size())
            return NameOf(before[i]) + " is not dealt with any more";
        if (!IsSameItem(before[i], after[i]))
            return NameOf(after[i]) + " stands where " + NameOf(before[i]) + " was";
        const std::string drift = ItemDrift(before[i], after[i], TextOf(now.at("stage")));
        if (!drift.empty())
            return NameOf(after[i]) + ' ' + drift;
    }
    return {};
}

std::string ProductDrift(const Json& saved, const Json& now)
{
    if (saved.at("digest") != now.at("digest"))
        return "its descriptor is not the one of the plan";
    if (saved.at("asked") != now.at("asked"))
        return "other products stay and are asked what they use";
    const Json& before = saved.at("stages");
    const Json& after = now.at("stages");
    for (std::size_t i = 0; i < std::min(before.size(), after.size()); ++i)
    {
        const std::string drift = StageDrift(before[i], after[i]);
        if (!drift.empty())
            return drift;
    }
    return before.size() == after.size() ? "" : "it has other stages";
}

std::string ProductsDrift(const Json& before, const Json& after)
{
    for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i)
    {
        if (i >= before.size())
            return '"' + TextOf(after[i].at("name")) + "\" would go, and was not in the plan";
        const std::string name = '"' + TextOf(before[i].at("name")) + '"';
        if (i >= after.size())
            return name + " would not be dealt with any more";
        for (const char* const member : {"name", "kind", "why", "descriptor"})
        {
            if (before[i].at(member) != after[i].at(member))
                return '"' + TextOf(after[i].at("name")) + "\" would go where " + name + " was";
        }
        const std::string drift = ProductDrift(before[i], after[i]);
        if (!drift.empty())
            return ("of " + name).append(", ").append(drift);
    }
    return {};
}

CFailure NoPlan(const std::string& path)
{
    return {exitBadCatalogue, "\"" + path + "\" is no plan that this program has saved."};
}

} // namespace

void SavePlan(const Plan& plan, const std::string& path) { WriteWholeFile("the plan", path, PlanJsonText(plan)); }

SavedPlan ReadSavedPlan(const std::string& path)
{
    const std::string text = ReadAll(path);
    if (IsUtf16(text))
        throw CFailure(exitBadCatalogue,
                       "the plan \"" + path + "\" is UTF-16, and must be UTF-8, as --save writes it.");
    const auto json = std::make_shared<const Json>(Json::parse(text, nullptr, false));
    if (json->is_discarded())
        throw CFailure(exitBadCatalogue, "the plan \"" + path + "\" is not whole, or is no JSON.");
    try
    {
        if (json->at("report") != "plan")
            throw CFailure(exitBadCatalogue, "\"" + path + "\" is a report of another kind, and no plan.");
        if (json->at("format") != NewReport().at("format"))
            throw CFailure(exitBadCatalogue, "the plan \"" + path + "\" is of another format than this program's.");
        if (!HasPlanShape(*json))
            throw NoPlan(path);
        return {ReadSelection(json->at("selection")), json};
    }
    catch (const Json::exception&)
    {
        // Not even an object with the first two of them.
        throw NoPlan(path);
    }
}

std::string FindDrift(const Json& saved, const Json& now)
{
    if (saved.at("machine") != now.at("machine"))
        return "it was made on \"" + TextOf(saved.at("machine")) + "\", and this is \"" + TextOf(now.at("machine")) +
               '"';
    if (saved.at("library") != now.at("library"))
        return "it was made with the library \"" + TextOf(saved.at("library")) + '"';
    if (const std::string drift = ProductsDrift(saved.at("products"), now.at("products")); !drift.empty())
        return drift;
    if (saved.at("notInstalled") != now.at("notInstalled"))
        return "other products of it are installed";
    return saved.at("catalogues") == now.at("catalogues") ? "" : "the catalogue has changed";
}

std::string FindDrift(const SavedPlan& saved, const Plan& now) { return FindDrift(*saved.json, PlanAsJson(now)); }

} // namespace prodsweep
