#pragma once

#include <windows.h>

#include <winternl.h>

namespace prodsweep {

// Deletes a file by the native layer, bound at run time from "ntdll.dll". Results are the _ERROR_
// codes of common/result_codes.h.
class CForceDelFile
{
public:
    // The one that the operations use. Nothing is bound before the first Init().
    static CForceDelFile& Instance() noexcept;

    // Binds the entry points, each time anew. _ERROR_UNKNOWN when one is missing; once that has
    // happened with the module loaded, it stays so without another attempt.
    int Init();

    // path: a DOS path, or a native one that begins with "\??\" or "\DosDevices\". _ERROR_FAILED when
    // the system refuses, _ERROR_UNKNOWN when the path can't be handed over or Init() has not bound all.
    int Delete(const wchar_t* path);

private:
    using NtDeleteFileCall = NTSTATUS(NTAPI*)(OBJECT_ATTRIBUTES*);
    using DosPathNameToNtPathNameCall = BOOLEAN(NTAPI*)(const wchar_t*, UNICODE_STRING*, wchar_t**, void*);
    using CreateUnicodeStringCall = BOOLEAN(NTAPI*)(UNICODE_STRING*, const wchar_t*);
    using FreeUnicodeStringCall = void(NTAPI*)(UNICODE_STRING*);

    [[nodiscard]] bool AllBound() const noexcept;
    [[nodiscard]] void* EntryPoint(const char* name) const noexcept;

    HMODULE ntdll = nullptr;
    NtDeleteFileCall ntDeleteFile = nullptr;
    DosPathNameToNtPathNameCall dosPathNameToNtPathName = nullptr;
    CreateUnicodeStringCall createUnicodeString = nullptr;
    FreeUnicodeStringCall freeUnicodeString = nullptr;
};

} // namespace prodsweep
