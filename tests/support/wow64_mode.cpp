#include "support/wow64_mode.h"

#include "environment/special_folder.h"
#include "environment/wow64.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace prodsweep::test {
namespace {

struct FolderTable : CSpecialFolder
{
    static void Clear() { folders.clear(); }
};

template <class Function>
FARPROC AsEntry(Function* function)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

} // namespace

Wow64Mode* Wow64Mode::current = nullptr;

Wow64Mode::Wow64Mode(HMODULE module) : patch(module, "GetProcAddress", GiveStandIn)
{
    EXPECT_EQ(nullptr, current) << "one Wow64Mode at a time";
    current = this;
    ForgetWhatIsKnown();
}

Wow64Mode::~Wow64Mode()
{
    ForgetWhatIsKnown();
    current = nullptr;
}

void Wow64Mode::ForgetWhatIsKnown()
{
    CWow64::Cleanup();
    FolderTable::Clear();
}

FARPROC WINAPI Wow64Mode::GiveStandIn(HMODULE module, const char* name)
{
    if (reinterpret_cast<ULONG_PTR>(name) > 0xFFFF) // else an ordinal
    {
        if (std::strcmp(name, "IsWow64Process") == 0)
            return AsEntry(SayYes);
        if (std::strcmp(name, "Wow64DisableWow64FsRedirection") == 0)
            return AsEntry(Disable);
        if (std::strcmp(name, "Wow64RevertWow64FsRedirection") == 0)
            return AsEntry(Revert);
    }
    return current->patch.Original<FARPROC WINAPI(HMODULE, const char*)>()(module, name);
}

BOOL WINAPI Wow64Mode::SayYes(HANDLE, BOOL* answer)
{
    *answer = TRUE;
    return TRUE;
}

BOOL WINAPI Wow64Mode::Disable(void** oldValue)
{
    current->calls.emplace_back("disable");
    if (current->disableError != 0)
    {
        SetLastError(current->disableError);
        return FALSE;
    }
    // A value of its own for each call, so that a revert with another one shows.
    static std::uintptr_t next = 0xC0000;
    *oldValue = reinterpret_cast<void*>(++next);
    current->open.push_back(*oldValue);
    return TRUE;
}

BOOL WINAPI Wow64Mode::Revert(void* oldValue)
{
    current->calls.emplace_back("revert");
    if (!current->open.empty() && current->open.back() == oldValue)
        current->open.pop_back();
    else if (current->disableError == 0)
        ++current->mismatches;
    if (current->revertError == 0)
        return TRUE;
    errno = EACCES; // what the runtime remembers is lost with the last error
    SetLastError(current->revertError);
    return FALSE;
}

} // namespace prodsweep::test
