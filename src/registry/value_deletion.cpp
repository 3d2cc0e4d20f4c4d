#include "registry/reg_key_helper.h"

#include "environment/log.h"
#include "registry/key_access.h"
#include "registry/key_in_use.h"
#include "registry/split_key_path.h"
#include "registry/value_pattern.h"

namespace prodsweep {
namespace {

int ResultOf(LSTATUS status)
{
    if (status == ERROR_SUCCESS)
        return _ERROR_SUCCESS;
    return IsAbsent(status) ? _ERROR_NOT_FOUND : _ERROR_FAILED;
}

} // namespace

int CRegKeyHelper::DeleteValue(const wchar_t* key, const wchar_t* value, bool x32view, IUsed* used)
{
    LOG(LogTrace, L"->\"%s\" \"%s\"", key, value);
    // Unlike the deletion of a key, nothing is asked about the descriptor's own spelling here.
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(key, hive, subkey))
        return _ERROR_NOT_FOUND;
    bool inUse = false;
    return DeleteValue(hive, subkey, value, x32view, used, &inUse);
}

int CRegKeyHelper::DeleteValue(HKEY hive, const std::wstring& subkey, const std::wstring& value, bool x32view,
                               IUsed* used, bool* inUse)
{
    const wchar_t* const hiveName = HiveName(hive);
    if (hiveName == nullptr)
    {
        LOG(LogWarning, L"can't delete unknown hkey=0x%x, subkey=\"%s\"", KeyNumber(hive), subkey.c_str());
        return _ERROR_FAILED;
    }
    LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    UniqueRegKey key;
    if (const LSTATUS status = OpenKey(hive, subkey, ViewMask(x32view), key); status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    bool unasked = false;
    bool& stays = inUse != nullptr ? *inUse : unasked;
    stays = false;
    const CKeyInUse needed(used, hiveName, subkey, x32view);

    const CValuePattern pattern(value);
    if (pattern.IsPlain())
    {
        if (needed.Value(value))
        {
            stays = true;
            LOG(LogTrace, L"in use");
            return _ERROR_SUCCESS;
        }
        // Not logged here: the callers do.
        return ResultOf(RegDeleteValueW(key.get(), value.c_str()));
    }
    if (pattern.IsRefused())
    {
        LOG(LogError, L"can't delete value \"%s\"", value.c_str());
        return _ERROR_FAILED;
    }
    return DeleteValue(key.get(), pattern, needed, stays);
}

int CRegKeyHelper::DeleteValue(HKEY key, const CValuePattern& pattern, const CKeyInUse& needed, bool& stays)
{
    WideStringList names;
    int result = GetValues(key, names);
    if (result != _ERROR_SUCCESS)
        LOG(LogError, L"GetValues failed %s", ResultCodeName(result));
    for (const std::wstring& name : names)
    {
        if (!pattern.Matches(name))
            continue;
        LOG(LogTrace, L"\t\tDelete \"%s\"", name.c_str());
        if (needed.Value(name))
        {
            stays = true;
            LOG(LogTrace, L"in use");
            continue;
        }
        if (const LSTATUS status = RegDeleteValueW(key, name.c_str()); status != ERROR_SUCCESS)
        {
            LOG(LogError, L"RegDeleteValue \"%s\" failed 0x%x", name.c_str(), status);
            result = _ERROR_FAILED;
        }
    }
    return result;
}

} // namespace prodsweep
