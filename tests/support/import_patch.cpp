#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace prodsweep::test {
namespace {

// The tables lie as the linker has put them, and not all align them.
template <class Type>
Type Read(const BYTE* place)
{
    Type value;
    std::memcpy(static_cast<void*>(&value), place, sizeof(value));
    return value;
}

// The slot of one module's part of the import table; null if the function is not in it.
BYTE* FindSlot(BYTE* image, const IMAGE_IMPORT_DESCRIPTOR& imports, const char* function)
{
    const BYTE* names = image + imports.OriginalFirstThunk;
    BYTE* slot = image + imports.FirstThunk;
    for (;; names += sizeof(IMAGE_THUNK_DATA), slot += sizeof(void*))
    {
        const auto name = Read<IMAGE_THUNK_DATA>(names);
        if (name.u1.AddressOfData == 0)
            return nullptr;
        if (IMAGE_SNAP_BY_ORDINAL(name.u1.Ordinal))
            continue;
        const BYTE* const imported = image + name.u1.AddressOfData + offsetof(IMAGE_IMPORT_BY_NAME, Name);
        if (std::strcmp(reinterpret_cast<const char*>(imported), function) == 0)
            return slot;
    }
}

// The slot of the import table that holds the function's address.
BYTE* FindSlot(HMODULE module, const char* function)
{
    auto* const image = reinterpret_cast<BYTE*>(module);
    const auto headers = Read<IMAGE_NT_HEADERS>(image + Read<IMAGE_DOS_HEADER>(image).e_lfanew);
    const BYTE* place = image + headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (;; place += sizeof(IMAGE_IMPORT_DESCRIPTOR))
    {
        const auto imports = Read<IMAGE_IMPORT_DESCRIPTOR>(place);
        if (imports.Name == 0)
            return nullptr;
        if (BYTE* const slot = FindSlot(image, imports, function))
            return slot;
    }
}

} // namespace

void WriteProtected(void* slot, void* value)
{
    DWORD protection = 0;
    VirtualProtect(slot, sizeof(value), PAGE_READWRITE, &protection);
    std::memcpy(slot, static_cast<const void*>(&value), sizeof(value));
    VirtualProtect(slot, sizeof(value), protection, &protection);
}

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement, int)
    : slot(FindSlot(module != nullptr ? module : GetModuleHandleW(nullptr), function))
{
    if (slot == nullptr)
    {
        ADD_FAILURE() << function << " is not imported";
        return;
    }
    original = Read<void*>(slot);
    WriteProtected(slot, replacement);
}

ImportPatch::~ImportPatch()
{
    if (slot != nullptr)
        WriteProtected(slot, original);
}

} // namespace prodsweep::test
