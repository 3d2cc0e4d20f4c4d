// What a removal needs of the machine besides the library.
#pragma once

#include "common/unique_handle.h"

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
    UniqueHandle mutex;
    bool ours;
};

} // namespace prodsweep
