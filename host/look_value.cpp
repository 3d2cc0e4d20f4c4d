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

void LookAtNames(PlannedItem& item, const WideStringList& names, const std::wstring& key, bool x32view,
                 const LookContext& context)
{
    for (const std::wstring& name : names)
    {
        item.mark += ToUtf8(name) + '\n';
        const std::string user = context.users.OfValue(key, name, x32view);
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
    LookAtNames(item, NamesMeant(pattern, value.valueName, key.get()), place.full, value.x32view, context);
    if (item.contents.values != 0 && !MayBeDeleted(place))
        KeepForAccess(item);
    // A plain name says by itself what it means.
    if (pattern.IsPlain())
        item.parts.clear();
}

} // namespace prodsweep
