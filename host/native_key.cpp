#include "native_key.h"

#include <vector>

#include "common/unique_reg_key.h"
#include "registry/native_key_name.h"
#include "text.h"

namespace prodsweep {

namespace {

struct NamedHive
{
    std::wstring native;
    const wchar_t* name;
};

// This user's hive lies in the one of all users.
const std::vector<NamedHive>& NamedHives()
{
    static const std::vector<NamedHive> hives = [] {
        std::vector<NamedHive> all;
        HKEY opened = nullptr;
        RegOpenCurrentUser(KEY_READ, &opened);
        const UniqueRegKey user(opened);
        if (std::wstring native = NativeKeyName(opened); !native.empty())
            all.push_back({std::move(native), L"HKEY_CURRENT_USER"});
        all.push_back({LR"(\Registry\User)", L"HKEY_USERS"});
        all.push_back({LR"(\Registry\Machine)", L"HKEY_LOCAL_MACHINE"});
        return all;
    }();
    return hives;
}

} // namespace

std::wstring ReadableKeyName(const std::wstring& nativeName)
{
    for (const NamedHive& hive : NamedHives())
    {
        const std::size_t length = hive.native.size();
        const bool isThere = nativeName.size() == length || (nativeName.size() > length && nativeName[length] == L'\\');
        if (isThere && ToLower(nativeName.substr(0, length)) == ToLower(hive.native))
            return hive.name + nativeName.substr(length);
    }
    return nativeName;
}

bool IsKeyLink(HKEY hive, const std::wstring& subkey)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(hive, subkey.c_str(), REG_OPTION_OPEN_LINK, KEY_QUERY_VALUE, &opened) != ERROR_SUCCESS)
        return false;
    const UniqueRegKey key(opened);
    DWORD type = REG_NONE;
    return RegQueryValueExW(opened, L"SymbolicLinkValue", nullptr, &type, nullptr, nullptr) == ERROR_SUCCESS &&
           type == REG_LINK;
}

} // namespace prodsweep
