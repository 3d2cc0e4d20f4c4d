#include "profile_list.h"

#include "common/unique_reg_key.h"
#include "common/wide_string_list.h"
#include "registry/reg_key_helper.h"

namespace prodsweep {

namespace {

// With its environment variables written out, and without a separator at its end. Empty when there is none.
std::wstring FolderFrom(HKEY key, const wchar_t* subkey, const wchar_t* value)
{
    DWORD bytes = 0;
    if (RegGetValueW(key, subkey, value, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS)
        return {};
    std::wstring text(bytes / sizeof(wchar_t) + 1, L'\0');
    bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (RegGetValueW(key, subkey, value, RRF_RT_REG_SZ, nullptr, text.data(), &bytes) != ERROR_SUCCESS)
        return {};
    text.resize(text.find(L'\0'));
    while (text.size() > 3 && text.ends_with(L'\\'))
        text.pop_back();
    return text;
}

} // namespace

ProfileList ReadProfileList()
{
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList", 0,
                  KEY_READ | KEY_WOW64_64KEY, &opened);
    const UniqueRegKey list(opened);
    return opened == nullptr ? ProfileList() : ReadProfileList(opened);
}

ProfileList ReadProfileList(HKEY list)
{
    ProfileList profiles;
    profiles.folder = FolderFrom(list, nullptr, L"ProfilesDirectory");
    WideStringList users;
    static_cast<void>(CRegKeyHelper::GetSubKeys(list, users));
    for (const std::wstring& user : users)
    {
        if (std::wstring root = FolderFrom(list, user.c_str(), L"ProfileImagePath"); !root.empty())
            profiles.roots.push_back(std::move(root));
    }
    return profiles;
}

} // namespace prodsweep
