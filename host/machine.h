// What a removal needs of the machine besides the library.
#pragma once

#include <memory>

#include <windows.h>

namespace prodsweep {

// Does this process have an administrator's rights?
bool HasAdministratorRights();

// Keeps a second removal by this program away, on the whole machine, for as long as it lives.
class CRemovalLock
{
public:
    CRemovalLock();

    // False when another process has it.
    bool IsOurs() const noexcept { return ours; }

private:
    struct HandleCloser
    {
        void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
    };
    std::unique_ptr<void, HandleCloser> mutex;
    bool ours;
};

} // namespace prodsweep
