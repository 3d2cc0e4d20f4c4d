#include "common/path_join.h"
#include "key_verdicts.h"
#include "registry/reg_key_helper.h"
#include "registry/value_pattern.h"
#include "text.h"

namespace prodsweep {

namespace {

// Those that are there.
WideStringList NamesMeant(const CValuePattern& pattern, const std::wstring& text, HKEY key)
{
    WideStringList names;
    if (!pattern.IsPlain())
    {
        static_cast<void>(CRegKeyHelper::GetValues(key, names));
        std::erase_if(names, [&](const std::wstring& name) { return !pattern.Matches(name); });
    }
    else if (RegQueryValueExW(key, text.c_str(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS)
    {
        names.push_back(text);
    }
    return names;
}

// True: an item before this one takes the value.
bool IsTaken(PlannedItem& item, const std::wstring& name, const KeyPlace& place, const LookContext& context)
{
    const std::wstring by = context.swept.TakesValue(place.full, name);
    if (by.empty())
        return false;
    if (item.by.empty())
        item.by = ToUtf8(by);
    AddPart(item, {PlannedPart::Kind::Value, ToUtf8(name), ItemState::GoesWith, {}, {}});
    return true;
}

void LookAtNames(PlannedItem& item, const WideStringList& names, const KeyPlace& place, bool x32view,
                 const LookContext& context)
{
    for (const std::wstring& name : names)
    {
        item.mark += ToUtf8(name) + '\n';
        if (IsTaken(item, name, place, context))
            continue;
        const std::string user = context.users.OfValue(place.full, name, x32view);
        (user.empty() ? item.contents.values : item.contents.inUse) += 1;
        if (item.user.empty())
            item.user = user;
        AddPart(
            item,
            {PlannedPart::Kind::Value, ToUtf8(name), user.empty() ? ItemState::Present : ItemState::InUse, user, {}});
    }
    if (item.contents.values != 0)
        item.state = item.contents.inUse != 0 ? ItemState::PartlyInUse : ItemState::Present;
    else if (item.contents.inUse != 0)
        item.state = ItemState::InUse;
    else if (!item.by.empty())
        item.state = ItemState::GoesWith;
    if (item.state != ItemState::GoesWith)
        item.by.clear();
}

// Those that the removal takes, for the items behind this one.
void SweepNames(const PlannedItem& item, const WideStringList& names, const KeyPlace& place, const CachedRegItem& value,
                const LookContext& context)
{
    if (item.contents.values == 0)
        return;
    std::wstring by = ToWide(item.name);
    PathJoin(by, value.valueName);
    for (const std::wstring& name : names)
    {
        if (context.users.OfValue(place.full, name, value.x32view).empty())
            context.swept.AddValue(place.full, name, by);
    }
}

// The removal deletes none of them; what is in use stays for that.
void KeepForAccess(PlannedItem& item)
{
    FailForAccess(item, "its key");
    item.contents.values = 0;
    for (PlannedPart& part : item.parts)
        part.state = part.state == ItemState::Present ? ItemState::Fails : part.state;
}

} // namespace

void LookAtValue(PlannedItem& item, const CachedRegItem& value, const LookContext& context)
{
    item.kind = ItemKind::Value;
    item.valueName = ToUtf8(value.valueName);
    KeyPlace place;
    UniqueRegKey key;
    item.state = ItemState::Absent;
    if (!SplitPlace(value.key, place))
        return;
    if (const LSTATUS status = OpenPlace(place, KEY_READ, key); status != ERROR_SUCCESS)
    {
        if (status == ERROR_ACCESS_DENIED)
            FailForAccess(item, "its key");
        return;
    }
    item.leadsTo = ToUtf8(LeadsElsewhere(place));
    const CValuePattern pattern(value.valueName);
    if (pattern.IsRefused())
    {
        item.state = ItemState::Fails;
        item.reason = "a star is allowed at the ends of a name only";
        return;
    }
    // A pattern that even the empty name matches takes all values of the key.
    if (!pattern.IsPlain() && pattern.Matches(L"") && IsForbidden(item, place, context))
        return;
    if (const ForbiddenPlace* const forbidden = context.forbidden.OfValue(place.hive, place.subkey, value.valueName))
        context.Endanger(item.name, item.leadsTo, *forbidden);
    if (IsGone(item, place, context))
        return;
    const WideStringList names = NamesMeant(pattern, value.valueName, key.get());
    LookAtNames(item, names, place, value.x32view, context);
    if (item.contents.values != 0 && !MayBeDeleted(place))
        KeepForAccess(item);
    SweepNames(item, names, place, value, context);
    // A plain name says by itself what it means.
    if (pattern.IsPlain())
        item.parts.clear();
}

} // namespace prodsweep
