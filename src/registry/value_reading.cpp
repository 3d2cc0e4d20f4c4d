#include "registry/reg_key_helper.h"

#include "environment/log.h"
#include "environment/wow64.h"
#include "registry/key_access.h"
#include "registry/split_key_path.h"

namespace prodsweep {

int CRegKeyHelper::GetValue(HKEY hive, const wchar_t* subkey, const wchar_t* value, wchar_t* text, bool)
{
    // Deliberate: 260 is taken as a size in bytes, so a text of 130 characters with its zero is the
    // longest that is read, although the buffer holds twice as much. A longer one counts as absent.
    constexpr DWORD textSize = 260;

    const wchar_t* const hiveName = HiveName(hive);
    const REGSAM access =
        KEY_QUERY_VALUE | static_cast<REGSAM>(CWow64::Instance().IsWow64Process() ? KEY_WOW64_64KEY : 0);
    UniqueRegKey key;
    LSTATUS status = OpenKey(hive, subkey, access, key);
    if (status != ERROR_SUCCESS)
    {
        if (hiveName != nullptr)
            LOG(LogError, L"RegOpenKeyEx failed %s\\%s error = 0x%x", hiveName, subkey, status);
        return IsAbsent(status) ? _ERROR_NOT_FOUND : _ERROR_FAILED;
    }
    const wchar_t* const shownHive = hiveName != nullptr ? hiveName : L"";
    DWORD type = REG_NONE;
    DWORD size = textSize;
    status = RegQueryValueExW(key.get(), value, nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegQueryValueEx failed %s\\%s %s error = 0x%x", shownHive, subkey, value, status);
        return _ERROR_NOT_FOUND;
    }
    if (type != REG_SZ)
    {
        LOG(LogError, L"RegQueryValueEx failed %s\\%s %s, type must be REG_SZ", shownHive, subkey, value);
        return _ERROR_NOT_FOUND;
    }
    // Registry data need not end in a zero; the buffer has room for one.
    text[size / sizeof(wchar_t)] = L'\0';
    return _ERROR_SUCCESS;
}

} // namespace prodsweep
