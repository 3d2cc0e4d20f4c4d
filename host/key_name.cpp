#include "key_name.h"

#include <algorithm>
#include <vector>

#include "common/unique_reg_key.h"
#include "registry/native_key_name.h"
#include "text.h"

namespace prodsweep {

namespace {

using Parts = std::vector<std::wstring>;

// Doubled and trailing separators name nothing.
Parts SplitKey(const std::wstring& subkey)
{
    Parts parts;
    for (std::size_t begin = 0; begin <= subkey.size();)
    {
        const std::size_t end = std::min(subkey.find(L'\\', begin), subkey.size());
        if (end != begin)
            parts.push_back(ToLower(std::wstring_view(subkey).substr(begin, end - begin)));
        begin = end + 1;
    }
    return parts;
}

std::wstring JoinKey(const std::wstring& hive, const Parts& parts)
{
    std::wstring key = hive;
    for (const std::wstring& part : parts)
        key += L'\\' + part;
    return key;
}

bool StartsWith(const Parts& parts, const Parts& begin)
{
    return parts.size() >= begin.size() && std::equal(begin.begin(), begin.end(), parts.begin());
}

void Prepend(Parts& parts, const Parts& begin) { parts.insert(parts.begin(), begin.begin(), begin.end()); }

// The 32-bit view lies in a key of its own, below which the native one is mirrored.
void LeaveView(Parts& parts)
{
    for (const Parts& view : {Parts{L"software", L"wow6432node"}, Parts{L"software", L"classes", L"wow6432node"}})
    {
        if (StartsWith(parts, view) && parts.size() > view.size())
            parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(view.size()) - 1);
    }
}

void LeaveControlSet(Parts& parts)
{
    if (parts.size() >= 2 && parts[0] == L"system" && parts[1].starts_with(L"controlset"))
        parts[1] = L"currentcontrolset";
}

// The current one of the hardware profiles leads to a numbered one.
void LeaveHardwareProfile(Parts& parts)
{
    if (StartsWith(parts, {L"system", L"currentcontrolset", L"hardware profiles"}) && parts.size() >= 4 &&
        parts[3].find_first_not_of(L"0123456789") == std::wstring::npos)
        parts[3] = L"current";
}

// The first part names a user, or a user's classes.
std::wstring CanonicalUser(Parts parts)
{
    if (parts.empty())
        return L"hku";
    const bool isClasses = parts.front().ends_with(L"_classes");
    parts.erase(parts.begin());
    if (isClasses)
        Prepend(parts, {L"software", L"classes"});
    LeaveView(parts);
    return JoinKey(L"hkcu", parts);
}

std::wstring CanonicalMachine(Parts parts)
{
    LeaveView(parts);
    LeaveControlSet(parts);
    LeaveHardwareProfile(parts);
    return JoinKey(L"hklm", parts);
}

} // namespace

std::wstring CanonicalKey(HKEY hive, const std::wstring& subkey)
{
    Parts parts = SplitKey(subkey);
    if (hive == HKEY_USERS)
        return CanonicalUser(std::move(parts));
    if (hive == HKEY_CURRENT_USER)
    {
        LeaveView(parts);
        return JoinKey(L"hkcu", parts);
    }
    // What is deleted there is a key of the machine or of the user, and lies at the same place in both.
    if (hive == HKEY_CLASSES_ROOT)
        Prepend(parts, {L"software", L"classes"});
    else if (hive == HKEY_PERFORMANCE_DATA)
        return JoinKey(L"hkpd", parts);
    else if (hive == HKEY_DYN_DATA)
        return JoinKey(L"hkdd", parts);
    else if (hive == HKEY_CURRENT_CONFIG)
        Prepend(parts, {L"system", L"currentcontrolset", L"hardware profiles", L"current"});
    else if (hive != HKEY_LOCAL_MACHINE)
        return {};
    return CanonicalMachine(std::move(parts));
}

std::wstring CanonicalOpenedKey(HKEY hive, const std::wstring& subkey)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(hive, subkey.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return {};
    const UniqueRegKey key(opened);
    Parts parts = SplitKey(NativeKeyName(opened));
    if (StartsWith(parts, {L"registry", L"machine"}))
        return CanonicalMachine({parts.begin() + 2, parts.end()});
    if (StartsWith(parts, {L"registry", L"user"}))
        return CanonicalUser({parts.begin() + 2, parts.end()});
    return {};
}

} // namespace prodsweep
