#include "operations/force_del_file.h"

#include "common/result_codes.h"
#include "environment/log.h"

#include <cwchar>
#include <string_view>

namespace prodsweep {
namespace {

// The first form is known by its exact characters, the second in any case.
bool IsNativePath(const wchar_t* path)
{
    constexpr std::wstring_view exact = L"\\??\\";
    constexpr std::wstring_view anyCase = L"\\DosDevices\\";
    return std::wcsncmp(path, exact.data(), exact.size()) == 0 || _wcsnicmp(path, anyCase.data(), anyCase.size()) == 0;
}

} // namespace

CForceDelFile& CForceDelFile::Instance() noexcept
{
    static constinit CForceDelFile instance;
    return instance;
}

int CForceDelFile::Init()
{
    if (ntdll != nullptr && !AllBound())
        return _ERROR_UNKNOWN;
    ntdll = LoadLibraryW(L"ntdll.dll");
    if (ntdll == nullptr)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"failed LoadLibrary 0x%x", error);
        return _ERROR_UNKNOWN;
    }
    ntDeleteFile = reinterpret_cast<NtDeleteFileCall>(EntryPoint("NtDeleteFile"));
    if (ntDeleteFile == nullptr)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"failed GetProcAddress NtDeleteFile 0x%x", error);
        return _ERROR_UNKNOWN;
    }
    dosPathNameToNtPathName = reinterpret_cast<DosPathNameToNtPathNameCall>(EntryPoint("RtlDosPathNameToNtPathName_U"));
    if (dosPathNameToNtPathName == nullptr)
    {
        const DWORD error = GetLastError();
        // This line alone has always come without the "0x".
        LOG(LogError, L"failed GetProcAddress RtlDosPathNameToNtPathName_U %x", error);
        return _ERROR_UNKNOWN;
    }
    createUnicodeString = reinterpret_cast<CreateUnicodeStringCall>(EntryPoint("RtlCreateUnicodeString"));
    if (createUnicodeString == nullptr)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"failed GetProcAddress RtlCreateUnicodeString 0x%x", error);
        return _ERROR_UNKNOWN;
    }
    freeUnicodeString = reinterpret_cast<FreeUnicodeStringCall>(EntryPoint("RtlFreeUnicodeString"));
    if (freeUnicodeString == nullptr)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"failed GetProcAddress RtlFreeUnicodeString 0x%x", error);
        return _ERROR_UNKNOWN;
    }
    return _ERROR_SUCCESS;
}

int CForceDelFile::Delete(const wchar_t* path)
{
    // It is called just when Init() has failed, so a missing entry point is to be reckoned with.
    if (!AllBound())
        return _ERROR_UNKNOWN;
    UNICODE_STRING name{};
    const bool converted = !IsNativePath(path) && dosPathNameToNtPathName(path, &name, nullptr, nullptr);
    if (!converted && !createUnicodeString(&name, path))
        return _ERROR_UNKNOWN;
    OBJECT_ATTRIBUTES attributes{};
    attributes.Length = sizeof(attributes);
    attributes.ObjectName = &name;
    const NTSTATUS status = ntDeleteFile(&attributes);
    freeUnicodeString(&name);
    return status == 0 ? _ERROR_SUCCESS : _ERROR_FAILED;
}

bool CForceDelFile::AllBound() const noexcept
{
    return ntDeleteFile != nullptr && dosPathNameToNtPathName != nullptr && createUnicodeString != nullptr &&
           freeUnicodeString != nullptr;
}

void* CForceDelFile::EntryPoint(const char* name) const noexcept
{
    return reinterpret_cast<void*>(GetProcAddress(ntdll, name));
}

} // namespace prodsweep
