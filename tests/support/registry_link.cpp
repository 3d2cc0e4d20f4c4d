// Makes a link of the registry, or takes one away, for tests that are no Windows programs:
//   registry_link make KEY TARGET   KEY below HKEY_CURRENT_USER, TARGET as "\Registry\Machine\Software"
//   registry_link remove KEY
// Exit code 0 when that is done.
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

int Make(const wchar_t* path, const std::wstring& target)
{
    HKEY link = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, REG_OPTION_CREATE_LINK, KEY_ALL_ACCESS | KEY_CREATE_LINK,
                        nullptr, &link, nullptr) != ERROR_SUCCESS)
        return 1;
    const LSTATUS status =
        RegSetValueExW(link, L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(target.data()),
                       static_cast<DWORD>(target.size() * sizeof(wchar_t)));
    RegCloseKey(link);
    return status == ERROR_SUCCESS ? 0 : 1;
}

int Remove(const wchar_t* path)
{
    using DeleteKeyCall = LONG(NTAPI*)(HANDLE);
    const auto deleteKey = reinterpret_cast<DeleteKeyCall>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtDeleteKey")));
    HKEY link = nullptr;
    // Without the option it would be the target.
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path, REG_OPTION_OPEN_LINK, DELETE, &link) != ERROR_SUCCESS)
        return 1;
    const LONG status = deleteKey(link);
    RegCloseKey(link);
    return status == 0 ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    // The tests' keys have plain names.
    std::vector<std::wstring> words;
    for (int i = 1; i < count; ++i)
        words.emplace_back(arguments[i], arguments[i] + strlen(arguments[i]));
    if (words.size() == 3 && words[0] == L"make")
        return Make(words[1].c_str(), words[2]);
    return words.size() == 2 && words[0] == L"remove" ? Remove(words[1].c_str()) : 2;
}
