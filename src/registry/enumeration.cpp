#include "registry/reg_key_helper.h"

#include "environment/log.h"
#include "registry/key_enumerator.h"

namespace prodsweep {

int CRegKeyHelper::GetValues(HKEY key, std::vector<RegValueRecord>& values)
{
    KeyMaxima maxima;
    LSTATUS status = QueryMaxima(key, maxima);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegQueryInfoKey failed 0x%x", status);
        return _ERROR_UNKNOWN;
    }
    CValueEnumerator value(key, maxima, CValueEnumerator::Parts::NameAndData);
    while ((status = value.Next()) != ERROR_NO_MORE_ITEMS)
    {
        if (status == ERROR_MORE_DATA)
        {
            LOG(LogTrace, L"RegEnumValue ERROR_MORE_DATA");
            continue;
        }
        if (status != ERROR_SUCCESS)
        {
            LOG(LogError, L"RegEnumValue failed 0x%x", status);
            return _ERROR_UNKNOWN;
        }
        values.push_back({std::wstring(value.Name()), std::wstring(value.Data()), value.Type()});
    }
    return _ERROR_SUCCESS;
}

int CRegKeyHelper::GetValues(HKEY key, WideStringList& names)
{
    KeyMaxima maxima;
    return GetValues(key, names, maxima);
}

int CRegKeyHelper::GetValues(HKEY key, WideStringList& names, KeyMaxima& maxima)
{
    LSTATUS status = QueryMaxima(key, maxima);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegQueryInfoKey failed 0x%x", status);
        return _ERROR_UNKNOWN;
    }
    CValueEnumerator value(key, maxima, CValueEnumerator::Parts::Name);
    while ((status = value.Next()) != ERROR_NO_MORE_ITEMS)
    {
        if (status == ERROR_MORE_DATA)
        {
            LOG(LogTrace, L"RegEnumValue ERROR_MORE_DATA  Index = %d", value.Index());
            continue;
        }
        if (status != ERROR_SUCCESS)
        {
            LOG(LogError, L"RegEnumValue failed 0x%x", status);
            return _ERROR_UNKNOWN;
        }
        names.emplace_back(value.Name());
        LOG(LogTrace, L"\"%s\" %d", names.back().c_str(), value.Index());
    }
    return _ERROR_SUCCESS;
}

int CRegKeyHelper::GetSubKeys(HKEY key, WideStringList& names)
{
    KeyMaxima maxima;
    LSTATUS status = QueryMaxima(key, maxima);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegQueryInfoKey failed 0x%x", status);
        return _ERROR_UNKNOWN;
    }
    CSubkeyEnumerator subkey(key, maxima);
    while ((status = subkey.Next()) != ERROR_NO_MORE_ITEMS)
    {
        if (status == ERROR_MORE_DATA)
            continue;
        if (status != ERROR_SUCCESS)
        {
            LOG(LogError, L"RegEnumKeyEx failed 0x%x", status);
            return _ERROR_UNKNOWN;
        }
        names.emplace_back(subkey.Name());
    }
    return _ERROR_SUCCESS;
}

} // namespace prodsweep
