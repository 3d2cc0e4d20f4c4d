#include "look.h"

#include <algorithm>

#include "common/path_join.h"
#include "common/unique_reg_key.h"
#include "registry/key_circle.h"
#include "registry/reg_key_helper.h"
#include "registry/split_key_path.h"
#include "registry/value_pattern.h"
#include "text.h"

namespace prodsweep {

namespace {

// A key as the operations take it apart.
struct KeyPlace
{
    HKEY hive = nullptr;
    std::wstring subkey;
    std::wstring full; // with the long name of the hive, as IUsed sees it
};

// False when the hive is none.
bool Split(const std::wstring& key, KeyPlace& place)
{
    if (!CSplitKeyPath().Split(key.c_str(), place.hive, place.subkey))
        return false;
    place.full = HiveName(place.hive);
    PathJoin(place.full, place.subkey);
    return true;
}

// A removal asks for all access, and takes a refusal for absence. Looking needs less, and so tells the two apart.
LSTATUS Open(const KeyPlace& place, REGSAM access, UniqueRegKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(place.hive, place.subkey.c_str(), 0, access, &opened);
    key.reset(opened);
    return status;
}

bool MayBeDeleted(const KeyPlace& place)
{
    UniqueRegKey key;
    return Open(place, KEY_ALL_ACCESS, key) == ERROR_SUCCESS;
}

// Every write to a key or its values sets this.
std::uint64_t LastWrite(HKEY key)
{
    FILETIME time{};
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     &time);
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

// Goes through a key as the deletion will, and counts instead.
class CKeyLook
{
public:
    CKeyLook(PlannedItem& lookedAt, bool x32view, const LookContext& lookContext)
        : item(lookedAt), view(x32view), context(lookContext)
    {}

    // True: it stays, for itself or for what is below it.
    bool Run(const KeyPlace& place);
    std::string Mark() { return digest.Text(); }
    // Why a key stays that is not in use; else null.
    const char* Obstacle() const { return obstacle; }

private:
    bool RunValues(const KeyPlace& place, HKEY key);
    bool RunSubkeys(const KeyPlace& place, HKEY key);
    void Keep(PlannedPart::Kind kind, const std::wstring& name, const std::string& user);
    void Fail(const KeyPlace& place, const char* why);

    PlannedItem& item;
    bool view;
    const LookContext& context;
    CDigest digest;
    std::uint64_t things = 0;
    const char* obstacle = nullptr;
};

void CKeyLook::Keep(PlannedPart::Kind kind, const std::wstring& name, const std::string& user)
{
    ++item.contents.inUse;
    AddPart(item, {kind, ToUtf8(name), ItemState::InUse, user, {}});
    digest.Add(std::wstring_view(L"in use"));
}

void CKeyLook::Fail(const KeyPlace& place, const char* why)
{
    AddPart(item, {PlannedPart::Kind::Key, ToUtf8(place.full), ItemState::Fails, {}, {}});
    digest.Add(std::wstring_view(L"stays"));
    obstacle = why;
}

bool CKeyLook::RunValues(const KeyPlace& place, HKEY key)
{
    WideStringList names;
    static_cast<void>(CRegKeyHelper::GetValues(key, names)); // what was read until a failure is dealt with as well
    bool stays = false;
    for (const std::wstring& name : names)
    {
        ++things;
        digest.Add(name);
        if (const std::string user = context.users.OfValue(place.full, name, view); !user.empty())
        {
            std::wstring full = place.full;
            Keep(PlannedPart::Kind::Value, PathJoin(full, name), user);
            stays = true;
        }
        else
        {
            ++item.contents.values;
        }
    }
    return stays;
}

bool CKeyLook::RunSubkeys(const KeyPlace& place, HKEY key)
{
    WideStringList names;
    static_cast<void>(CRegKeyHelper::GetSubKeys(key, names));
    bool stays = false;
    for (const std::wstring& name : names)
    {
        if (things > mostThings)
        {
            item.contents.complete = false;
            break;
        }
        KeyPlace child = place;
        PathJoin(child.subkey, name);
        PathJoin(child.full, name);
        stays = Run(child) || stays;
    }
    return stays;
}

bool CKeyLook::Run(const KeyPlace& place)
{
    ++things;
    digest.Add(place.full);
    if (const std::string user = context.users.OfKey(place.full, view); !user.empty())
    {
        Keep(PlannedPart::Kind::Key, place.full, user);
        return true;
    }
    UniqueRegKey key;
    const LSTATUS status = Open(place, KEY_ALL_ACCESS, key);
    if (status == ERROR_ACCESS_DENIED)
    {
        Fail(place, "access to a key in it is denied");
        return true;
    }
    if (status != ERROR_SUCCESS)
    {
        item.contents.complete = false;
        return false;
    }
    if (LeadsBack(key.get(), place.hive, place.subkey, view))
    {
        Fail(place, "a link in it leads back to a key around it");
        return true;
    }
    digest.Add(LastWrite(key.get()));
    // Deliberate in the deletion: values go first, also those of a key that then stays for the sake of one below it.
    const bool valueStays = RunValues(place, key.get());
    const bool subkeyStays = RunSubkeys(place, key.get());
    if (valueStays || subkeyStays)
        return true;
    ++item.contents.keys;
    return false;
}

// The key alone, which is there and is not in use as it is spelt.
void LookInto(PlannedItem& item, const KeyPlace& place, bool x32view, const LookContext& context)
{
    if (const std::string user = context.unasked.OfKey(place.full, x32view); !user.empty())
        context.WarnOnce(item.name, "The installed product \"" + user + "\" uses this key as well, and is not asked.");
    CKeyLook look(item, x32view, context);
    const bool stays = look.Run(place);
    if (look.Obstacle() != nullptr)
    {
        item.state = ItemState::Fails;
        item.reason = look.Obstacle();
        item.reason += ": that one stays, and so do the keys around it, without their values; the rest goes";
    }
    else if (stays)
        item.state = item.contents.keys + item.contents.values == 0 ? ItemState::InUse : ItemState::PartlyInUse;
    item.mark += look.Mark();
    if (item.state == ItemState::InUse && !item.parts.empty())
        item.user = item.parts.front().user;
    if (item.state == ItemState::Present)
        context.swept.AddKey(place.full);
}

// True: the item is settled.
bool IsForbidden(PlannedItem& item, const KeyPlace& place, const LookContext& context)
{
    const ForbiddenPlace* const forbidden = context.forbidden.OfKey(place.hive, place.subkey);
    if (forbidden == nullptr)
        return false;
    context.Endanger(item.name, ToUtf8(place.full), *forbidden);
    item.state = ItemState::Present;
    item.contents.complete = false;
    item.reason = "it is not looked into: nobody should delete this";
    return true;
}

// The empty text is in every value, and a list that ends in a separator ends in one: such a search takes nearly all
// keys below the one that it starts at, so it is judged as if it took that one. True: the item is settled.
bool IsForbiddenForItsEmptyText(PlannedItem& item, const CachedRegKeySearch& search, const LookContext& context)
{
    KeyPlace start;
    const bool hasEmptyText = std::find(search.data.begin(), search.data.end(), L"") != search.data.end();
    if (!hasEmptyText || !Split(search.key, start))
        return false;
    context.Warn(item.name, search.complete
                                ? "It also searches for the empty text, which every empty value is equal to."
                                : "It also searches for the empty text, which is in every value.");
    return IsForbidden(item, start, context);
}

void FailForAccess(PlannedItem& item, const std::string& what)
{
    item.state = ItemState::Fails;
    item.reason = "access to " + what + " is denied, which the removal takes for absence";
}

bool IsThere(PlannedItem& item, const KeyPlace& place)
{
    UniqueRegKey key;
    const LSTATUS status = Open(place, KEY_READ, key);
    if (status == ERROR_SUCCESS && MayBeDeleted(place))
        return true;
    item.state = ItemState::Absent;
    if (status == ERROR_SUCCESS || status == ERROR_ACCESS_DENIED)
        FailForAccess(item, "it");
    return false;
}

bool IsGone(PlannedItem& item, const KeyPlace& place, const LookContext& context)
{
    const std::wstring by = context.swept.TakesKey(place.full);
    if (by.empty())
        return false;
    item.state = ItemState::GoesWith;
    item.by = ToUtf8(by);
    return true;
}

// Each key that the search finds, which are the first of their branches in the list.
std::vector<KeyPlace> FoundKeys(const CachedRegKeySearch& search)
{
    UsedRegItemList keys;
    UsedRegItemList values;
    static_cast<void>(
        CRegKeyHelper::ExpandKeySearch(search.key.c_str(), search.data, search.complete, search.x32view, keys, values));
    std::vector<KeyPlace> found;
    for (const UsedRegItem& key : keys)
    {
        KeyPlace place;
        const bool isBelow = !found.empty() && key.path.starts_with(found.back().full + L'\\');
        if (!isBelow && Split(key.path, place))
            found.push_back(std::move(place));
    }
    return found;
}

std::string SearchedTexts(const CachedRegKeySearch& search)
{
    std::string text = search.complete ? "values equal to" : "values that hold";
    for (std::size_t i = 0; i < search.data.size(); ++i)
        text += (i == 0 ? " \"" : " or \"") + ToUtf8(search.data[i]) + '"';
    return text;
}

void AddFound(PlannedItem& item, const PlannedItem& found)
{
    AddPart(item, {PlannedPart::Kind::Key, found.name, found.state, found.user, {}});
    item.contents.keys += found.contents.keys;
    item.contents.values += found.contents.values;
    item.contents.inUse += found.contents.inUse;
    item.contents.complete = item.contents.complete && found.contents.complete;
    item.mark += found.name + found.mark;
    for (const PlannedPart& part : found.parts)
        AddPart(item, part);
}

// What becomes of the search, from what becomes of the keys that it finds.
void JudgeSearch(PlannedItem& item, const std::vector<PlannedItem>& keys)
{
    const auto firstThat = [&](ItemState state) {
        return std::find_if(keys.begin(), keys.end(), [&](const PlannedItem& key) { return key.state == state; });
    };
    const auto inUse = firstThat(ItemState::InUse);
    const auto gone = firstThat(ItemState::GoesWith);
    if (firstThat(ItemState::Present) != keys.end() || firstThat(ItemState::PartlyInUse) != keys.end())
    {
        item.state = item.contents.inUse == 0 ? ItemState::Present : ItemState::PartlyInUse;
    }
    else if (inUse != keys.end())
    {
        item.state = ItemState::InUse;
        item.user = inUse->user;
    }
    else if (gone != keys.end())
    {
        item.state = ItemState::GoesWith;
        item.by = gone->by;
    }
    // Where one fails, the search does.
    if (const auto failing = firstThat(ItemState::Fails); failing != keys.end())
    {
        item.state = ItemState::Fails;
        item.reason = failing->reason;
    }
}

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

void LookAtKey(PlannedItem& item, const CachedRegItem& key, const LookContext& context)
{
    item.kind = ItemKind::Key;
    KeyPlace place;
    if (!Split(key.key, place))
    {
        item.state = ItemState::Absent;
        item.reason = "it begins with no known hive; their names are in capitals";
        return;
    }
    if (IsForbidden(item, place, context) || !IsThere(item, place) || IsGone(item, place, context))
        return;
    // The descriptor's own spelling is asked about first, then the long one.
    item.user = context.users.OfKey(key.key, key.x32view);
    if (!item.user.empty())
        item.state = ItemState::InUse;
    else
        LookInto(item, place, key.x32view, context);
}

void LookAtKeySearch(PlannedItem& item, const CachedRegKeySearch& search, const LookContext& context)
{
    item.kind = ItemKind::KeySearch;
    item.detail = SearchedTexts(search);
    if (IsForbiddenForItsEmptyText(item, search, context))
        return;
    item.state = ItemState::Absent;
    std::vector<PlannedItem> all;
    for (const KeyPlace& place : FoundKeys(search))
    {
        PlannedItem& found = all.emplace_back();
        found.name = ToUtf8(place.full);
        if (!IsForbidden(found, place, context) && !IsGone(found, place, context))
            LookInto(found, place, search.x32view, context);
        AddFound(item, found);
    }
    JudgeSearch(item, all);
}

void LookAtValue(PlannedItem& item, const CachedRegItem& value, const LookContext& context)
{
    item.kind = ItemKind::Value;
    item.valueName = ToUtf8(value.valueName);
    KeyPlace place;
    UniqueRegKey key;
    item.state = ItemState::Absent;
    if (!Split(value.key, place))
        return;
    if (const LSTATUS status = Open(place, KEY_READ, key); status != ERROR_SUCCESS)
    {
        if (status == ERROR_ACCESS_DENIED)
            FailForAccess(item, "its key");
        return;
    }
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
        context.Endanger(item.name, "", *forbidden);
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
