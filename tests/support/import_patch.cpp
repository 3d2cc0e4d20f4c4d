#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <cstring>

namespace prodsweep::test {
namespace {

template <class Pointed>
Pointed* At(HMODULE module, ULONGLONG offset)
{
    return reinterpret_cast<Pointed*>(reinterpret_cast<BYTE*>(module) + offset);
}

// The slot of the import table that holds the function's address.
void** FindSlot(HMODULE module, const char* function)
{
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* nt = At<IMAGE_NT_HEADERS>(module, static_cast<ULONGLONG>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* imports = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); imports->Name != 0; ++imports)
    {
        const auto* names = At<IMAGE_THUNK_DATA>(module, imports->OriginalFirstThunk);
        auto* slots = At<void*>(module, imports->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slots)
        {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal))
                continue;
            const auto* imported = At<IMAGE_IMPORT_BY_NAME>(module, names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(imported->Name), function) == 0)
                return slots;
        }
    }
    return nullptr;
}

} // namespace

void WriteProtected(void** slot, void* value)
{
    DWORD protection = 0;
    VirtualProtect(static_cast<void*>(slot), sizeof(*slot), PAGE_READWRITE, &protection);
    *slot = value;
    VirtualProtect(static_cast<void*>(slot), sizeof(*slot), protection, &protection);
}

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement, int)
    : slot(FindSlot(module != nullptr ? module : GetModuleHandleW(nullptr), function))
{
    if (slot == nullptr)
    {
        ADD_FAILURE() << function << " is not imported";
        return;
    }
    original = *slot;
    WriteProtected(slot, replacement);
}

ImportPatch::~ImportPatch()
{
    if (slot != nullptr)
        WriteProtected(slot, original);
}

} // namespace prodsweep::test
