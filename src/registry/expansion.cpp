#include "registry/reg_key_helper.h"

#include "common/path_join.h"
#include "environment/log.h"
#include "registry/key_access.h"
#include "registry/key_circle.h"
#include "registry/split_key_path.h"
#include "registry/value_pattern.h"

namespace prodsweep {
namespace {

// Joined as the question whether a value is in use joins key and name, since the two meet in a
// comparison of texts.
UsedRegItem ValueItem(const std::wstring& keyPath, const std::wstring& value, bool x32view)
{
    UsedRegItem item{{}, x32view};
    item.path.reserve(keyPath.size() + 1 + value.size());
    item.path = keyPath;
    PathJoin(item.path, value);
    return item;
}

} // namespace

int CRegKeyHelper::ExpandKey(const wchar_t* key, bool x32view, UsedRegItemList& keys, UsedRegItemList& values)
{
    LOG(LogTrace, L"->\"%s\"", key);
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(key, hive, subkey))
        return _ERROR_NOT_FOUND;
    // The top key keeps the descriptor's spelling, because the deletion asks for that one first. It is
    // listed even if it does not exist.
    keys.push_back({key, x32view});
    return ExpandKey(hive, subkey, x32view, keys, values);
}

int CRegKeyHelper::ExpandKey(HKEY hive, const std::wstring& subkey, bool x32view, UsedRegItemList& keys,
                             UsedRegItemList& values)
{
    const wchar_t* const hiveName = HiveName(hive);
    if (hiveName == nullptr)
    {
        LOG(LogWarning, L"can't expand unknown hkey=0x%x, subkey=\"%s\"", KeyNumber(hive), subkey.c_str());
        return _ERROR_FAILED;
    }
    LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    UniqueRegKey key;
    if (const LSTATUS status = OpenKey(hive, subkey, ViewMask(x32view), key); status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    const std::wstring full = FullPath(hiveName, subkey);
    WideStringList names;
    if (const int result = GetValues(key.get(), names); result != _ERROR_SUCCESS)
        LOG(LogError, L"GetValues failed %s", ResultCodeName(result));
    for (const std::wstring& name : names)
        values.push_back(ValueItem(full, name, x32view));
    names.clear();
    if (const int result = GetSubKeys(key.get(), names); result != _ERROR_SUCCESS)
        LOG(LogError, L"GetSubKeys failed %s", ResultCodeName(result));
    if (!names.empty() && LeadsBack(key.get(), hive, subkey, x32view))
    {
        LOG(LogWarning, L"\"%s\" leads back to a key around it", subkey.c_str());
        return _ERROR_SUCCESS;
    }
    for (const std::wstring& name : names)
    {
        const std::wstring child = (subkey + L"\\").append(name);
        keys.push_back({FullPath(hiveName, child), x32view});
        if (const int result = ExpandKey(hive, child, x32view, keys, values); result != _ERROR_SUCCESS)
            LOG(LogWarning, L"ExpandKey \"%s\" \\ \"%s\" failed %s", hiveName, child.c_str(), ResultCodeName(result));
    }
    return _ERROR_SUCCESS;
}

int CRegKeyHelper::ExpandValue(const wchar_t* key, const wchar_t* value, bool x32view, UsedRegItemList& values)
{
    LOG(LogTrace, L"->\"%s\" \"%s\"", key, value);
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(key, hive, subkey))
        return _ERROR_NOT_FOUND;
    return ExpandValue(hive, subkey, value, x32view, values);
}

int CRegKeyHelper::ExpandValue(HKEY hive, const std::wstring& subkey, const std::wstring& value, bool x32view,
                               UsedRegItemList& values)
{
    const wchar_t* const hiveName = HiveName(hive);
    if (hiveName == nullptr)
    {
        LOG(LogWarning, L"can't expand unknown hkey=0x%x, subkey=\"%s\"", KeyNumber(hive), subkey.c_str());
        return _ERROR_FAILED;
    }
    LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    UniqueRegKey key;
    if (const LSTATUS status = OpenKey(hive, subkey, ViewMask(x32view), key); status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    const std::wstring full = FullPath(hiveName, subkey);
    const CValuePattern pattern(value);
    if (pattern.IsPlain())
    {
        // Whether the value exists is not asked: a name that is protected stays protected.
        values.push_back(ValueItem(full, value, x32view));
        return _ERROR_SUCCESS;
    }
    if (pattern.IsRefused())
    {
        // Deliberate: "delete", in an expansion as well as in a check.
        LOG(LogError, L"can't delete value \"%s\"", value.c_str());
        return _ERROR_FAILED;
    }
    WideStringList names;
    const int result = GetValues(key.get(), names);
    if (result != _ERROR_SUCCESS)
        LOG(LogError, L"GetValues failed %s", ResultCodeName(result));
    for (const std::wstring& name : names)
    {
        if (pattern.Matches(name))
            values.push_back(ValueItem(full, name, x32view));
    }
    return result;
}

} // namespace prodsweep
