#include <cstdint>

#include "common/path_join.h"
#include "key_verdicts.h"
#include "native_key.h"
#include "registry/key_circle.h"
#include "registry/native_key_name.h"
#include "registry/reg_key_helper.h"
#include "text.h"

namespace prodsweep {

namespace {

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
    bool Run(const KeyPlace& place) { return RunKey(place, {}); }
    std::string Mark() { return digest.Text(); }
    // There is more than was looked at.
    bool IsCutOff() const { return isCutOff; }
    // Why a key stays that is not in use; else null.
    const char* Obstacle() const { return obstacle; }

private:
    // unlinked: the system's name of the key if it is no link; empty for the item itself.
    bool RunKey(const KeyPlace& place, const std::wstring& unlinked);
    bool RunOpened(const KeyPlace& place, HKEY key, const std::wstring& native);
    bool RunLink(const KeyPlace& place, HKEY key, const std::wstring& native);
    bool RunClosed(const KeyPlace& place, LSTATUS status);
    bool RunValues(const KeyPlace& place, HKEY key);
    bool RunSubkeys(const KeyPlace& place, HKEY key, const std::wstring& native);
    // True: an item before this one takes it, and it is counted there.
    bool IsTaken(const KeyPlace& place) const { return !context.swept.TakesKey(place.full).empty(); }
    bool IsTaken(const KeyPlace& place, const std::wstring& value) const
    {
        return IsTaken(place) || !context.swept.TakesValue(place.full, value).empty();
    }
    void Keep(PlannedPart::Kind kind, const std::wstring& name, const std::string& user);
    void Fail(const KeyPlace& place, const char* why);

    PlannedItem& item;
    bool view;
    const LookContext& context;
    CDigest digest;
    std::uint64_t things = 0;
    bool isCutOff = false;
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
        else if (!IsTaken(place, name))
        {
            ++item.contents.values;
        }
    }
    return stays;
}

bool CKeyLook::RunSubkeys(const KeyPlace& place, HKEY key, const std::wstring& native)
{
    WideStringList names;
    static_cast<void>(CRegKeyHelper::GetSubKeys(key, names));
    bool stays = false;
    for (const std::wstring& name : names)
    {
        if (things >= context.most)
        {
            item.contents.complete = false;
            isCutOff = true;
            break;
        }
        KeyPlace child = place;
        PathJoin(child.subkey, name);
        PathJoin(child.full, name);
        std::wstring unlinked = native;
        PathJoin(unlinked, name);
        stays = RunKey(child, unlinked) || stays;
    }
    return stays;
}

// True: it stays, for what is in it.
bool CKeyLook::RunOpened(const KeyPlace& place, HKEY key, const std::wstring& native)
{
    digest.Add(LastWrite(key));
    // Deliberate in the deletion: values go first, also those of a key that then stays for the sake of one below it.
    const bool valueStays = RunValues(place, key);
    const bool subkeyStays = RunSubkeys(place, key, native);
    if (valueStays || subkeyStays)
        return true;
    if (!IsTaken(place))
        ++item.contents.keys;
    return false;
}

// The deletion walks through links, and what it deletes at last by the name of one is the key behind it.
bool CKeyLook::RunLink(const KeyPlace& place, HKEY key, const std::wstring& native)
{
    const std::string real = ToUtf8(ReadableKeyName(native));
    digest.Add(native);
    ++item.contents.links;
    AddPart(item, {PlannedPart::Kind::Link, ToUtf8(place.full), ItemState::Present, {}, real});
    if (const ForbiddenPlace* const forbidden = context.forbidden.OfKey(place.hive, place.subkey))
    {
        context.Endanger(ToUtf8(place.full), real, *forbidden);
        item.contents.complete = false;
    }
    else
    {
        RunOpened(place, key, native);
    }
    Fail(place, "a link in it is walked through and not deleted");
    return true;
}

// A key that can't be opened. True: it stays.
bool CKeyLook::RunClosed(const KeyPlace& place, LSTATUS status)
{
    if (status == ERROR_ACCESS_DENIED)
        Fail(place, "access to a key in it is denied");
    else if (IsKeyLink(place.hive, place.subkey))
        Fail(place, "a link in it leads to no key");
    else
    {
        item.contents.complete = false;
        return false;
    }
    return true;
}

bool CKeyLook::RunKey(const KeyPlace& place, const std::wstring& unlinked)
{
    ++things;
    digest.Add(place.full);
    if (const std::string user = context.users.OfKey(place.full, view); !user.empty())
    {
        Keep(PlannedPart::Kind::Key, place.full, user);
        return true;
    }
    UniqueRegKey key;
    if (const LSTATUS status = OpenPlace(place, KEY_ALL_ACCESS, key); status != ERROR_SUCCESS)
        return RunClosed(place, status);
    if (LeadsBack(key.get(), place.hive, place.subkey, view))
    {
        Fail(place, "a link in it leads back to a key around it");
        return true;
    }
    const std::wstring native = NativeKeyName(key.get());
    const bool isElsewhere = !unlinked.empty() && ToLower(native) != ToLower(unlinked);
    return isElsewhere && IsKeyLink(place.hive, place.subkey) ? RunLink(place, key.get(), native)
                                                              : RunOpened(place, key.get(), native);
}

} // namespace

void LookInto(PlannedItem& item, const KeyPlace& place, bool x32view, const LookContext& context)
{
    if (const std::string user = context.unasked.OfKey(place.full, x32view); !user.empty())
        context.WarnOnce(item.name, "The installed product \"" + user + "\" uses this key as well, and is not asked.");
    CKeyLook look(item, x32view, context);
    const bool stays = look.Run(place);
    if (look.IsCutOff())
        context.EndangerUnjudged(item.name);
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

} // namespace prodsweep
