#include "catalogue/product_version.h"

#include "catalogue/registry_view.h"
#include "environment/log.h"
#include "environment/wow64.h"
#include "registry/key_access.h"

#include <objbase.h>

#include <string_view>

namespace prodsweep {
namespace {

// In characters for the name of an entry; a display name has as many bytes.
constexpr DWORD bufferSize = 255;

// The entry's display name, whatever its type. Data need not end in a zero, nor be a whole number of
// characters: the text ends at the first zero character, or with the last whole character.
bool HasDisplayName(const std::wstring& entryKey, REGSAM access, std::wstring_view wanted)
{
    UniqueRegKey key;
    if (OpenKey(HKEY_LOCAL_MACHINE, entryKey, access, key) != ERROR_SUCCESS)
        return false;
    wchar_t data[bufferSize] = {};
    DWORD size = bufferSize;
    if (RegQueryValueExW(key.get(), L"DisplayName", nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size) !=
        ERROR_SUCCESS)
        return false;
    const std::wstring_view text(data, size / sizeof(wchar_t));
    return text.substr(0, text.find(L'\0')) == wanted;
}

bool IsGuid(const wchar_t* text)
{
    CLSID guid{};
    return SUCCEEDED(CLSIDFromString(text, &guid));
}

} // namespace

bool CProductVersion::SearchForProductCode()
{
    if (SearchForProductCode(viewOfProcess))
        return true;
    // The path that a second pass finds has no trace of the view it was found in.
    if (CWow64::Instance().IsWow64Process())
    {
        LOG(LogTrace, L"try KEY_WOW64_64KEY");
        return SearchForProductCode(view64);
    }
    LOG(LogTrace, L"try KEY_WOW64_32KEY");
    return SearchForProductCode(view32);
}

bool CProductVersion::SearchForProductCode(REGSAM access)
{
    UniqueRegKey list;
    if (OpenKey(HKEY_LOCAL_MACHINE, uninstallKey, access, list) != ERROR_SUCCESS)
        return false;
    bool found = false;
    wchar_t entry[bufferSize] = {};
    // A name that does not fit ends the list, like any other failure.
    for (DWORD i = 0; RegEnumKeyW(list.get(), i, entry, bufferSize) == ERROR_SUCCESS; ++i)
    {
        const std::wstring entryKey = uninstallKey + std::wstring(entry);
        if (!HasDisplayName(entryKey, access, prodName))
            continue;
        // Among entries of one display name a plain name beats a guid, and the last plain one wins. So
        // the list is read to its end also after a match.
        if (keyPath.empty() || !IsGuid(entry))
            keyPath = L"HKEY_LOCAL_MACHINE\\" + entryKey;
        found = true;
    }
    return found;
}

} // namespace prodsweep
