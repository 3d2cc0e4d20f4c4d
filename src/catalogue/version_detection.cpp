#include "catalogue/product_version.h"

#include "catalogue/registry_view.h"
#include "environment/log.h"
#include "environment/wow64.h"
#include "registry/key_access.h"
#include "registry/split_key_path.h"

namespace prodsweep {
namespace {

// Neither type nor content matter.
LSTATUS FindValue(const UniqueRegKey& key, const std::wstring& value)
{
    return RegQueryValueExW(key.get(), value.c_str(), nullptr, nullptr, nullptr, nullptr);
}

} // namespace

bool CProductVersion::IsInstalled() const
{
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(keyPath.c_str(), hive, subkey))
    {
        LOG(LogError, L"failed split key \"%s\"", keyPath.c_str());
        return false;
    }
    const REGSAM access = CWow64::Instance().IsWow64Process() ? view64 : viewOfProcess;
    UniqueRegKey key;
    if (const LSTATUS status = OpenKey(hive, subkey, access, key); status != ERROR_SUCCESS)
    {
        LOG(LogTrace, L"failed RegOpenKeyEx \"%s\" error 0x%x", keyPath.c_str(), status);
        return false;
    }
    if (keyValue.empty())
        return true;
    if (const LSTATUS status = FindValue(key, keyValue); status != ERROR_SUCCESS)
    {
        LOG(LogTrace, L"failed RegQueryValueEx \"%s\" error 0x%x", keyValue.c_str(), status);
        return false;
    }
    return true;
}

bool CProductVersion::IsInstalled2() const
{
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(keyPath.c_str(), hive, subkey))
    {
        LOG(LogError, L"failed split key \"%s\"", keyPath.c_str());
        return false;
    }
    UniqueRegKey key;
    if (LSTATUS status = OpenKey(hive, subkey, viewOfProcess, key); status != ERROR_SUCCESS)
    {
        LOG(LogTrace, L"failed RegOpenKeyEx (OS redirect) \"%s\" error 0x%x", keyPath.c_str(), status);
        const bool wow64 = CWow64::Instance().IsWow64Process();
        if (wow64)
            LOG(LogTrace, L"try KEY_WOW64_64KEY");
        else
            LOG(LogTrace, L"try KEY_WOW64_32KEY");
        status = OpenKey(hive, subkey, wow64 ? view64 : view32, key);
        if (status != ERROR_SUCCESS)
        {
            LOG(LogTrace, L"failed RegOpenKeyEx \"%s\" error 0x%x", keyPath.c_str(), status);
            return false;
        }
        LOG(LogTrace, L"success");
    }
    if (keyValue.empty())
        return true;
    // Only the key is looked for in both views: the first view that has it decides about the value.
    if (const LSTATUS status = FindValue(key, keyValue); status != ERROR_SUCCESS)
    {
        LOG(LogTrace, L"failed RegQueryValueEx \"%s\" error 0x%x", keyValue.c_str(), status);
        return false;
    }
    return true;
}

} // namespace prodsweep
