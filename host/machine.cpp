#include "machine.h"

#include <memory>

#include <windows.h>

namespace prodsweep {

namespace {

struct SidFree
{
    void operator()(void* sid) const noexcept { FreeSid(sid); }
};

} // namespace

bool HasAdministratorRights()
{
    SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    PSID allocated = nullptr;
    if (!AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0,
                                  &allocated))
        return false;
    const std::unique_ptr<void, SidFree> administrators(allocated);
    BOOL member = FALSE;
    return CheckTokenMembership(nullptr, administrators.get(), &member) && member;
}

CRemovalLock::CRemovalLock() : mutex(CreateMutexW(nullptr, FALSE, L"Global\\prodsweep-removal")), ours(false)
{
    // That it exists is what counts; who owns it does not. It goes with the last process that has it, however that
    // ends.
    ours = GetLastError() != ERROR_ALREADY_EXISTS && mutex != nullptr;
}

} // namespace prodsweep
