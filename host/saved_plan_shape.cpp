#include "saved_plan_shape.h"

#include <algorithm>
#include <iterator>

#include <nlohmann/json.hpp>

#include "kind_option.h"

namespace prodsweep {

namespace {

using Check = bool (*)(const Json&);

struct Member
{
    const char* name;
    Check check;
};

bool IsText(const Json& json) { return json.is_string(); }
bool IsTextOrNull(const Json& json) { return json.is_string() || json.is_null(); }
bool IsFlag(const Json& json) { return json.is_boolean(); }
bool IsCount(const Json& json) { return json.is_number_unsigned(); }

template <Check check>
bool IsListOf(const Json& json)
{
    return json.is_array() && std::all_of(json.begin(), json.end(), check);
}

template <std::size_t size>
bool HasMembers(const Json& json, const Member (&members)[size])
{
    return json.is_object() && std::all_of(std::begin(members), std::end(members), [&](const Member& member) {
               const auto found = json.find(member.name);
               return found != json.end() && member.check(*found);
           });
}

bool IsContents(const Json& json)
{
    static constexpr Member members[] = {{"folders", IsCount}, {"files", IsCount},     {"bytes", IsCount},
                                         {"links", IsCount},   {"keys", IsCount},      {"values", IsCount},
                                         {"inUse", IsCount},   {"atRestart", IsCount}, {"complete", IsFlag}};
    return HasMembers(json, members);
}

bool IsContentsOrNull(const Json& json) { return json.is_null() || IsContents(json); }

bool IsPart(const Json& json)
{
    static constexpr Member members[] = {
        {"kind", IsText}, {"name", IsText}, {"state", IsText}, {"user", IsTextOrNull}, {"leadsTo", IsTextOrNull}};
    return HasMembers(json, members);
}

bool IsItem(const Json& json)
{
    static constexpr Member members[] = {{"kind", IsText},
                                         {"name", IsText},
                                         {"value", IsTextOrNull},
                                         {"detail", IsTextOrNull},
                                         {"state", IsText},
                                         {"user", IsTextOrNull},
                                         {"by", IsTextOrNull},
                                         {"reason", IsTextOrNull},
                                         {"leadsTo", IsTextOrNull},
                                         {"contents", IsContentsOrNull},
                                         {"parts", IsListOf<IsPart>},
                                         {"partsLeftOut", IsCount},
                                         {"mark", IsText}};
    return HasMembers(json, members);
}

bool IsStage(const Json& json)
{
    static constexpr Member members[] = {{"stage", IsText}, {"items", IsListOf<IsItem>}};
    return HasMembers(json, members);
}

bool IsAsked(const Json& json)
{
    static constexpr Member members[] = {{"name", IsText}, {"descriptor", IsText}, {"read", IsFlag}};
    return HasMembers(json, members);
}

bool IsProduct(const Json& json)
{
    static constexpr Member members[] = {{"name", IsText},
                                         {"kind", IsText},
                                         {"why", IsText},
                                         {"installed", IsFlag},
                                         {"descriptor", IsText},
                                         {"digest", IsTextOrNull},
                                         {"fault", IsTextOrNull},
                                         {"asksRestart", IsFlag},
                                         {"restart", IsFlag},
                                         {"restartFor", IsListOf<IsText>},
                                         {"asked", IsListOf<IsAsked>},
                                         {"stages", IsListOf<IsStage>}};
    return HasMembers(json, members);
}

bool IsWarning(const Json& json)
{
    static constexpr Member members[] = {{"product", IsTextOrNull}, {"item", IsTextOrNull}, {"text", IsText}};
    return HasMembers(json, members);
}

bool IsDanger(const Json& json)
{
    static constexpr Member members[] = {
        {"product", IsText}, {"item", IsText}, {"leadsTo", IsTextOrNull}, {"place", IsText}, {"reason", IsText}};
    return HasMembers(json, members);
}

bool AreUnique(const Json& names)
{
    return std::all_of(names.begin(), names.end(),
                       [&](const Json& name) { return std::count(names.begin(), names.end(), name) == 1; });
}

bool IsSelection(const Json& json)
{
    static constexpr Member members[] = {{"names", IsListOf<IsText>},
                                         {"kind", IsText},
                                         {"force", IsFlag},
                                         {"allInstalled", IsFlag},
                                         {"forceAll", IsFlag}};
    if (!HasMembers(json, members) || !IsKindName(json.at("kind").get<std::string>()))
        return false;
    const bool allInstalled = json.at("allInstalled").get<bool>();
    const bool forceAll = json.at("forceAll").get<bool>();
    const Json& names = json.at("names");
    if (!allInstalled && !forceAll)
        return !names.empty() && AreUnique(names);
    return allInstalled != forceAll && names.empty() && json.at("kind") != "all" && json.at("force") == false;
}

} // namespace

bool HasPlanShape(const Json& plan)
{
    static constexpr Member members[] = {{"format", IsCount},
                                         {"report", IsText},
                                         {"library", IsText},
                                         {"machine", IsText},
                                         {"made", IsText},
                                         {"selection", IsSelection},
                                         {"catalogues", IsText},
                                         {"restart", IsFlag},
                                         {"total", IsContents},
                                         {"dangers", IsListOf<IsDanger>},
                                         {"warnings", IsListOf<IsWarning>},
                                         {"notInstalled", IsListOf<IsText>},
                                         {"products", IsListOf<IsProduct>}};
    return HasMembers(plan, members);
}

} // namespace prodsweep
