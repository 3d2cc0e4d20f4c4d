#include "registry/reg_key_helper.h"

#include "environment/log.h"
#include "registry/key_access.h"
#include "registry/split_key_path.h"
#include "registry/value_pattern.h"

#include <algorithm>

namespace prodsweep {

int CRegKeyHelper::CheckKey(const wchar_t* key, bool x32view)
{
    LOG(LogTrace, L"->\"%s\"", key);
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(key, hive, subkey))
        return _ERROR_NOT_FOUND;
    return CheckKey(hive, subkey, x32view);
}

int CRegKeyHelper::CheckKey(HKEY hive, const std::wstring& subkey, bool x32view)
{
    // A check takes any open key for a hive, unlike deletion and expansion, which need its name.
    if (const wchar_t* const hiveName = HiveName(hive); hiveName != nullptr)
        LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    else
        LOG(LogTrace, L"\"%s\"", subkey.c_str());
    UniqueRegKey key;
    // All access is asked for, as in a deletion: a key that may only be read counts as absent.
    if (const LSTATUS status = OpenKey(hive, subkey, ViewMask(x32view), key); status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    return _ERROR_SUCCESS;
}

int CRegKeyHelper::CheckValue(const wchar_t* key, const wchar_t* value, bool x32view)
{
    LOG(LogTrace, L"\"%s\" \"%s\"", key, value);
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(key, hive, subkey))
        return _ERROR_NOT_FOUND;
    return CheckValue(hive, subkey, value, x32view);
}

int CRegKeyHelper::CheckValue(HKEY hive, const std::wstring& subkey, const std::wstring& value, bool x32view)
{
    const wchar_t* const hiveName = HiveName(hive);
    if (hiveName != nullptr)
        LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    else
        LOG(LogTrace, L"\"%s\"", subkey.c_str());
    UniqueRegKey key;
    if (const LSTATUS status = OpenKey(hive, subkey, ViewMask(x32view), key); status != ERROR_SUCCESS)
    {
        if (hiveName != nullptr)
            LOG(LogError, L"RegOpenKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), status);
        else
            LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    const CValuePattern pattern(value);
    if (pattern.IsPlain())
    {
        const LSTATUS status = RegQueryValueExW(key.get(), value.c_str(), nullptr, nullptr, nullptr, nullptr);
        return status == ERROR_SUCCESS ? _ERROR_SUCCESS : _ERROR_NOT_FOUND;
    }
    if (pattern.IsRefused())
    {
        // Deliberate: "delete", in a check as well as in an expansion.
        LOG(LogError, L"can't delete value \"%s\"", value.c_str());
        return _ERROR_FAILED;
    }
    WideStringList names;
    if (const int result = GetValues(key.get(), names); result != _ERROR_SUCCESS)
        LOG(LogError, L"GetValues failed %s", ResultCodeName(result));
    const bool found =
        std::any_of(names.begin(), names.end(), [&](const std::wstring& name) { return pattern.MatchesInCheck(name); });
    // Deliberate: a pattern without a match is a failure, where a plain name that is absent is "not found".
    return found ? _ERROR_SUCCESS : _ERROR_FAILED;
}

} // namespace prodsweep
