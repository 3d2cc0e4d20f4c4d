#include "api/guid_arrays.h"

#include "api/array_builder.h"
#include "common/wide_string_list.h"
#include "environment/log.h"

#include <prodsweep/prodsweep.h>

#include <set>
#include <string>
#include <string_view>

namespace prodsweep {
namespace {

// Null when the key path has no backslash.
const wchar_t* LastPart(const std::wstring& keyPath)
{
    const std::size_t separator = keyPath.rfind(L'\\');
    return separator != std::wstring::npos ? keyPath.c_str() + separator + 1 : nullptr;
}

bool IsDetected(const CProductVersion& version) { return !version.keyPath.empty() && version.IsInstalled2(); }

void FillChild(ChildEntry& entry, const std::wstring& name, const WideStringList& values)
{
    entry.Name = SysAllocString(name.c_str());
    void* data = nullptr;
    // The result is not looked at: a child without values is still worth its name.
    AllocSafeArray(&entry.Values, sizeof(BSTR), static_cast<unsigned int>(values.size()), &data);
    auto* text = static_cast<BSTR*>(data);
    for (std::size_t i = 0; text != nullptr && i < values.size(); ++i)
        text[i] = SysAllocString(values[i].c_str());
    SafeArrayUnaccessData(entry.Values);
}

void FillGuid(GuidEntry& entry, const CProductVersion& version)
{
    const wchar_t* const guid = LastPart(version.keyPath);
    // Deliberate: such a version keeps its place in the array, as an entry of zeros.
    if (guid == nullptr)
        return;
    entry.Guid = SysAllocString(guid);
    void* data = nullptr;
    // The result is not looked at here either: the guid stands without its children.
    AllocSafeArray(&entry.Children, sizeof(ChildEntry), static_cast<unsigned int>(version.ChildValues.size()), &data);
    auto* child = static_cast<ChildEntry*>(data);
    if (child != nullptr)
    {
        for (const auto& [name, values] : version.ChildValues)
            FillChild(*child++, name, values);
    }
    SafeArrayUnaccessData(entry.Children);
}

} // namespace

bool GetInstalledGuids(const VersionList& versions, SAFEARRAY** guids)
{
    *guids = nullptr;
    WideStringList found;
    for (const CProductVersion& version : versions)
    {
        if (!IsDetected(version))
            continue;
        if (const wchar_t* const guid = LastPart(version.keyPath); guid != nullptr)
            found.emplace_back(guid);
    }
    if (found.empty())
        return false;

    ArrayBuilder array(guids, ProdsweepFreeStrings);
    if (const HRESULT result = array.AllocDescriptor(sizeof(BSTR), static_cast<ULONG>(found.size())); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAllocDescriptor failed 0x%x", result);
        return false;
    }
    if (const HRESULT result = array.AllocData(); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAllocData failed 0x%x", result);
        return false;
    }
    void* data = nullptr;
    if (const HRESULT result = array.AccessData(&data); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAccessData failed 0x%x", result);
        return false;
    }
    auto* text = static_cast<BSTR*>(data);
    for (const std::wstring& guid : found)
        *text++ = SysAllocString(guid.c_str());
    if (const HRESULT result = array.HandOver(); FAILED(result))
        LOG(LogError, L"SafeArrayUnaccessData failed 0x%x", result);
    return true;
}

bool GetInstalledGuidsEx(const VersionList& versions, SAFEARRAY** guids)
{
    std::vector<const CProductVersion*> found;
    std::set<std::wstring_view> keyPaths;
    for (const CProductVersion& version : versions)
    {
        // Every version is probed, also one whose key path is known already.
        if (IsDetected(version) && keyPaths.insert(version.keyPath).second)
            found.push_back(&version);
    }
    if (found.empty())
        return true;

    void* data = nullptr;
    const HRESULT result = AllocSafeArray(guids, sizeof(GuidEntry), static_cast<unsigned int>(found.size()), &data);
    if (FAILED(result))
    {
        // The words name the first step whichever it was; AllocSafeArray has logged the one that failed.
        LOG(LogError, L"SafeArrayAllocDescriptor failed 0x%x", result);
        return true;
    }
    auto* entry = static_cast<GuidEntry*>(data);
    for (std::size_t i = 0; entry != nullptr && i < found.size(); ++i)
        FillGuid(entry[i], *found[i]);
    // Also without data, when memory was short: the caller gets no array that is locked.
    SafeArrayUnaccessData(*guids);
    return true;
}

HRESULT AllocSafeArray(SAFEARRAY** array, unsigned int elementSize, unsigned int elementCount, void** data)
{
    *array = nullptr;
    if (const HRESULT result = SafeArrayAllocDescriptor(1, array); FAILED(result))
        LOG(LogError, L"SafeArrayAllocDescriptor failed 0x%x", result);
    // Without a descriptor there is nothing to describe; the steps below refuse the null array themselves.
    if (*array != nullptr)
    {
        (*array)->cbElements = elementSize;
        (*array)->rgsabound[0].cElements = elementCount;
        (*array)->rgsabound[0].lLbound = 0;
    }
    if (const HRESULT result = SafeArrayAllocData(*array); FAILED(result))
    {
        // Deliberate: the descriptor stays, so that the caller has an array, if one without data.
        SafeArrayDestroyData(*array);
        LOG(LogError, L"SafeArrayAllocData failed 0x%x", result);
    }
    const HRESULT result = SafeArrayAccessData(*array, data);
    if (FAILED(result))
    {
        // Twice, as ever: the second finds nothing left to destroy.
        SafeArrayDestroyData(*array);
        SafeArrayDestroyData(*array);
        LOG(LogError, L"SafeArrayAccessData failed 0x%x", result);
    }
    return result;
}

} // namespace prodsweep
