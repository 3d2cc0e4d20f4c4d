#include "registry/reg_key_helper.h"

#include "common/path_join.h"
#include "environment/log.h"
#include "environment/wow64.h"
#include "registry/key_access.h"
#include "registry/key_circle.h"
#include "registry/key_enumerator.h"
#include "registry/key_in_use.h"
#include "registry/split_key_path.h"

namespace prodsweep {

int CRegKeyHelper::DeleteKey(const wchar_t* key, bool x32view, IUsed* used)
{
    LOG(LogTrace, L"->\"%s\"", key);
    // The descriptor's own spelling is asked about here; from the inner form on it is the long hive name.
    if (used != nullptr && used->IsUsedRegKey(key, x32view))
    {
        LOG(LogTrace, L"in use");
        return _ERROR_SUCCESS;
    }
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath().Split(key, hive, subkey))
        return _ERROR_NOT_FOUND;
    bool inUse = false;
    return DeleteKey(hive, subkey, x32view, used, &inUse);
}

int CRegKeyHelper::DeleteKey(HKEY hive, const std::wstring& subkey, bool x32view, IUsed* used, bool* inUse)
{
    const wchar_t* const hiveName = HiveName(hive);
    if (hiveName == nullptr)
    {
        LOG(LogWarning, L"can't delete unknown hkey=0x%x, subkey=\"%s\"", KeyNumber(hive), subkey.c_str());
        return _ERROR_FAILED;
    }
    LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    bool unasked = false;
    bool& stays = inUse != nullptr ? *inUse : unasked;
    const CKeyInUse needed(used, hiveName, subkey, x32view);
    if (needed.Key())
    {
        stays = true;
        LOG(LogTrace, L"in use");
        return _ERROR_SUCCESS;
    }
    const REGSAM access = ViewMask(x32view);
    UniqueRegKey key;
    LSTATUS status = OpenKey(hive, subkey, access, key);
    if (status != ERROR_SUCCESS)
    {
        // Whatever the reason, access denied too: it counts as absent.
        LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    stays = DeleteKey(key.get(), needed, hive, subkey, x32view, used);
    key.reset();
    if (stays)
        return _ERROR_SUCCESS;
    status = DeleteKeyEx(hive, subkey.c_str(), access);
    if (status == ERROR_SUCCESS)
        return _ERROR_SUCCESS;
    LOG(LogError, L"DeleteKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), status);
    return _ERROR_FAILED;
}

// Each list is complete before anything is deleted; what could be read of it is gone through even if the
// rest could not.

bool CRegKeyHelper::DeleteKey(HKEY key, const WideStringList& names, const CKeyInUse& needed)
{
    bool stays = false;
    for (const std::wstring& name : names)
    {
        if (needed.Value(name))
            stays = true;
        else if (const LSTATUS status = RegDeleteValueW(key, name.c_str()); status != ERROR_SUCCESS)
            LOG(LogError, L"RegDeleteValue \"%s\" failed 0x%x", name.c_str(), status);
    }
    return stays;
}

bool CRegKeyHelper::DeleteKey(HKEY key, const CKeyInUse& needed, HKEY hive, const std::wstring& subkey, bool x32view,
                              IUsed* used)
{
    WideStringList names;
    KeyMaxima maxima;
    if (const int result = GetValues(key, names, maxima); result != _ERROR_SUCCESS)
        LOG(LogError, L"GetValues failed %s", ResultCodeName(result));
    if (maxima.subkeyName != 0 && LeadsBack(key, hive, subkey, x32view))
    {
        // What is in it goes, or stays, by the names that it has on the way to the link.
        LOG(LogWarning, L"\"%s\" leads back to a key around it", subkey.c_str());
        return false;
    }
    // The values go first: those of a key that stays for the sake of a subkey are gone, unless they are in
    // use themselves.
    bool stays = DeleteKey(key, names, needed);
    names.clear();
    if (const int result = GetSubKeys(key, names); result != _ERROR_SUCCESS)
        LOG(LogError, L"GetSubKeys failed %s", ResultCodeName(result));
    for (const std::wstring& name : names)
    {
        std::wstring child = subkey;
        PathJoin(child, name);
        bool childInUse = false;
        const int result = DeleteKey(hive, child, x32view, used, &childInUse);
        // A child that failed does not spare the key above it the attempt, which fails by itself if the
        // child is still there.
        if (result != _ERROR_SUCCESS)
            LOG(LogError, L"DeleteKey \"%s\" failed 0x%x", child.c_str(), result);
        else if (childInUse)
            stays = true;
    }
    return stays;
}

LSTATUS CRegKeyHelper::DeleteKeyEx(HKEY hive, const wchar_t* subkey, REGSAM access)
{
    using RegDeleteKeyExCall = LSTATUS(WINAPI*)(HKEY, const wchar_t*, REGSAM, DWORD);

    if (CWow64::Instance().IsWow64Process())
    {
        // Bound at run time: not every system that this has to run on has it.
        const HMODULE module = GetModuleHandleW(L"Advapi32.dll");
        const FARPROC entry = module != nullptr ? GetProcAddress(module, "RegDeleteKeyExW") : nullptr;
        const DWORD error = GetLastError();
        if (entry != nullptr)
            return reinterpret_cast<RegDeleteKeyExCall>(reinterpret_cast<void*>(entry))(hive, subkey, access, 0);
        if (module == nullptr)
            LOG(LogWarning, L"GetModuleHandle Advapi32.dll failed 0x%x", error);
        else
            LOG(LogWarning, L"GetProcAddress RegDeleteKeyEx failed 0x%x", error);
    }
    return RegDeleteKeyW(hive, subkey);
}

} // namespace prodsweep
